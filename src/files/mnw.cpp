#include "files/mnw.h"

mnw_struct mnw;
