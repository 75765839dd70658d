#include "app/modal_screens.h"

void APP_install_modal_screens() {}
