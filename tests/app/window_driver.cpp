#include "window_driver.h"

#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "files/mnw.h"
#include "shell/window.h"

namespace {
// The window may go away under us; such a request simply fails.
int ignore_x_error(Display*, XErrorEvent*) { return 0; }
}  // namespace

bool window_driver_class::open() {
  XSetErrorHandler(ignore_x_error);
  d = XOpenDisplay(nullptr);
  return d != nullptr;
}

window_driver_class::~window_driver_class() {
  if (d) XCloseDisplay(d);
}

bool window_driver_class::wait_for_window(double seconds) {
  return wait_until(
      [&] {
        Window root = DefaultRootWindow(d), parent, *kids = nullptr;
        unsigned n = 0;
        if (!XQueryTree(d, root, &root, &parent, &kids, &n)) return false;
        for (unsigned i = 0; i < n && !w; ++i) {
          XWindowAttributes a;
          if (XGetWindowAttributes(d, kids[i], &a) && a.map_state == IsViewable && a.width == 1024 &&
              a.height == 768) {
            w = kids[i];
            Window child;
            XTranslateCoordinates(d, w, root, 0, 0, &left, &top, &child);
          }
        }
        if (kids) XFree(kids);
        return w != 0;
      },
      seconds);
}

window_rgb window_driver_class::pixel(float x, float y) {
  window_rgb c;
  count(x, y, x, y, [&](window_rgb p) { return c = p, true; });
  return c;
}

int window_driver_class::count(float x1, float y1, float x2, float y2,
                               const std::function<bool(window_rgb)>& test) {
  const int w_px = static_cast<int>(x2 - x1) + 1, h_px = static_cast<int>(y2 - y1) + 1;
  XImage* img = XGetImage(d, w, static_cast<int>(x1), 768 - static_cast<int>(y2), w_px, h_px, AllPlanes,
                          ZPixmap);
  if (!img) {
    w = 0;  // look for the window again next time
    wait_for_window(1);
    return 0;
  }
  int n = 0;
  for (int y = 0; y < h_px; ++y)
    for (int x = 0; x < w_px; ++x) {
      const unsigned long p = XGetPixel(img, x, y);
      n += test({static_cast<int>((p >> 16) & 255), static_cast<int>((p >> 8) & 255),
                 static_cast<int>(p & 255)});
    }
  XDestroyImage(img);
  return n;
}

void window_driver_class::click(float x, float y) {
  XTestFakeMotionEvent(d, -1, left + static_cast<int>(x), top + 768 - static_cast<int>(y), 0);
  XSync(d, False);
  // A frame or two on the button first, as a hand would rest there.
  std::this_thread::sleep_for(std::chrono::milliseconds(120));
  XTestFakeButtonEvent(d, 1, True, 0);
  XSync(d, False);
  std::this_thread::sleep_for(std::chrono::milliseconds(120));
  XTestFakeButtonEvent(d, 1, False, 0);
  XSync(d, False);
  std::this_thread::sleep_for(std::chrono::milliseconds(120));
}

bool window_driver_class::chooser_shown() {
  const window_spot a = dialog_point(998, 250, 420), b = dialog_point(998, 250, 100);
  const window_rgb path = pixel(a.x, a.y), list = pixel(b.x, b.y);
  return path.r + path.g + path.b < 100 && list.r + list.g + list.b > 600;
}

void window_driver_class::remember_sky() { sky = pixel(kSkySpot.x, kSkySpot.y); }

bool window_driver_class::wait_for_dialog(bool shown, double seconds) {
  return wait_until(
      [&] {
        const window_rgb c = pixel(kSkySpot.x, kSkySpot.y);
        return (std::abs(c.r - sky.r) + std::abs(c.g - sky.g) + std::abs(c.b - sky.b) > 30) == shown;
      },
      seconds);
}

bool window_driver_class::wait_until(const std::function<bool()>& test, double seconds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (!test()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

window_spot dialog_point(int code, float x, float y) {
  const wind_code_row* row = MACIBM_wind_row(code);
  mnw.x_res = 1024, mnw.y_res = 768, mnw.pix_scale = 1;
  float ox, oy;
  MACIBM_centre(row ? row->width : 1024, row ? row->height : 768, &ox, &oy);
  return {ox + x, oy + y};
}

std::string drive_window_install(window_driver_class& w, double seconds,
                                 const std::function<void()>& before_start,
                                 const std::function<void(const char*)>& step) {
  auto reached = [&](const char* name) {
    if (step) step(name);
  };
  if (!w.wait_for_window(30)) return "no window";
  reached("window");
  auto start_green = [&] {
    const window_rgb c = w.pixel(kStartSpot.x, kStartSpot.y);
    return c.g > c.r + 20 && c.g > c.b + 20;
  };
  // A folder with no copy yet brings up the chooser first: Select keeps it.
  const window_spot select = dialog_point(998, 115, 28);
  auto chooser_passed = [&] {
    if (w.chooser_shown()) w.click(select.x, select.y);
    return start_green();
  };
  if (!w.wait_until(chooser_passed, seconds)) return "START never turned green";
  reached("START green");
  if (before_start) before_start();
  // The agreement shows with Agree lit green; then the question for a file
  // changed by hand (back colour beside a light panel, Agree gone): KEEP.
  const window_spot agree = dialog_point(1, kAgreeSpot.x, kAgreeSpot.y),
                    lit = dialog_point(1, kAgreeSpot.x + 26, kAgreeSpot.y - 6), q = dialog_point(997, 0, 0);
  auto agree_lit = [&] {
    const window_rgb a = w.pixel(lit.x, lit.y);
    return a.g > a.r + 8 && a.g > a.b + 8;
  };
  w.click(kStartSpot.x, kStartSpot.y);
  if (!w.wait_until(agree_lit, 10)) return "no agreement with Agree lit after START";
  reached("agreement");
  w.click(agree.x, agree.y);
  auto complete = [&] {
    const window_rgb edge = w.pixel(q.x - 5, q.y + 70), panel = w.pixel(q.x + 350, q.y + 130);
    if (edge.r == 51 && edge.g == 67 && edge.b == 86 && panel.r + panel.g + panel.b > 600 && !agree_lit()) {
      w.click(q.x + 96, q.y + 28);
      reached("question");
    }
    return w.count(kMessageLow.x, kMessageLow.y, kMessageHigh.x, kMessageHigh.y,
                   [](window_rgb c) { return c.g > c.r + 40 && c.g > c.b + 40; }) > 20;
  };
  if (!w.wait_until(complete, seconds)) return "never INSTALLATION COMPLETE!";
  reached("INSTALLATION COMPLETE!");
  w.click(kQuitSpot.x, kQuitSpot.y);
  return "";
}
