#include "shell/hooks.h"

shell_hooks_t shell_hooks;
