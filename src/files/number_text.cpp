#include "files/number_text.h"
