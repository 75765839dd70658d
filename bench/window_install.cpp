// Plays the person at the installer's window for bench/window_install.sh:
// START, Agree, wait for the end, Quit. Runs against $DISPLAY.
#include <chrono>
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
  const auto t0 = std::chrono::steady_clock::now();
  const std::string why = drive_window_install(w, 600, nullptr, [&](const char* step) {
    const std::chrono::duration<double> t = std::chrono::steady_clock::now() - t0;
    printf("  %6.2f s  %s\n", t.count(), step);
  });
  if (!why.empty()) fprintf(stderr, "window drive: %s\n", why.c_str());
  return why.empty() ? 0 : 1;
}
