// Drives the installer's window from outside as a person would: XTEST clicks,
// and the screen read back from X. Points are interface units from the lower
// left of the 1024 by 768 window.
#pragma once
#include <X11/Xlib.h>

#include <functional>
#include <string>

struct window_rgb {
  int r = 0, g = 0, b = 0;
};

class window_driver_class {
 public:
  bool open();  // $DISPLAY
  ~window_driver_class();
  bool wait_for_window(double seconds);
  window_rgb pixel(float x, float y);
  // How many pixels of the box x1..x2, y1..y2 pass test.
  int count(float x1, float y1, float x2, float y2, const std::function<bool(window_rgb)>& test);
  void click(float x, float y);
  // The chooser's dark path panel above its light list.
  bool chooser_shown();
  // Until a dialog covers the main screen (shown) or has gone, judged by the
  // sky seen at remember_sky.
  void remember_sky();
  bool wait_for_dialog(bool shown, double seconds = 10);
  // Calls test every 20 ms until it is true or the time is up.
  static bool wait_until(const std::function<bool()>& test, double seconds);

 private:
  Display* d = nullptr;
  Window w = 0;
  int left = 0, top = 0;   // the window's place on the screen
  window_rgb sky;
};

struct window_spot {
  float x, y;
};
// A point of a dialog by its window code, as the installer centres it.
window_spot dialog_point(int code, float x, float y);
inline constexpr window_spot kStartSpot = {491, 89};  // green when enabled
inline constexpr window_spot kQuitSpot = {985, 89};
inline constexpr window_spot kPrefsSpot = {50, 750};
inline constexpr window_spot kAgreeSpot = {429, 21};  // from the agreement's origin
// The state message's first words.
inline constexpr window_spot kMessageLow = {154, 612}, kMessageHigh = {300, 624};
// Sky beside the dialogs, which darken it.
inline constexpr window_spot kSkySpot = {900, 400};

// A person's install: waits for START to turn green (Select on the chooser),
// runs before_start, presses START, agrees, keeps a file changed by hand when
// asked, waits for "INSTALLATION COMPLETE!" and quits. "" or what went wrong;
// step hears each stage reached.
std::string drive_window_install(window_driver_class& w, double seconds,
                                 const std::function<void()>& before_start = nullptr,
                                 const std::function<void(const char*)>& step = nullptr);
