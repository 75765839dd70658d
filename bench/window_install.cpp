// Plays the person at the installer's window for bench/window_install.sh:
// START, Agree, wait for the end, Quit. Runs against $DISPLAY.
#include <cstdio>

#include "window_driver.h"

// The shell is linked only for the dialogs' layout; it never runs here.
void APP_update() {}
void APP_handlekey(int, int) {}
void APP_handlemenu(int) {}

int main() {
  window_driver_class w;
  if (!w.open()) {
    fprintf(stderr, "no display\n");
    return 1;
  }
  const std::string why = drive_window_install(w, 600);
  if (!why.empty()) fprintf(stderr, "window drive: %s\n", why.c_str());
  return why.empty() ? 0 : 1;
}
