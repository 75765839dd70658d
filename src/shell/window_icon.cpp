#include "shell/window_icon.h"

#include <X11/Xatom.h>

#include "shell/window.h"

void LIN_append_icon(std::vector<unsigned long>& out, const unsigned char* rgba, int size) {
  out.push_back(static_cast<unsigned long>(size));
  out.push_back(static_cast<unsigned long>(size));
  // Our pictures are stored bottom row first, as GL reads them.
  for (int y = size - 1; y >= 0; --y)
    for (int x = 0; x < size; ++x) {
      const unsigned char* p = rgba + (static_cast<size_t>(y) * size + x) * 4;
      out.push_back(static_cast<unsigned long>(p[3]) << 24 | static_cast<unsigned long>(p[0]) << 16 |
                    static_cast<unsigned long>(p[1]) << 8 | p[2]);
    }
}

void LIN_set_window_icon() {
  if (!dpy || !win) return;
  std::vector<unsigned long> data;
  LIN_append_icon(data, t_icon_48_dat, 48);
  LIN_append_icon(data, t_icon_128_dat, 128);
  XChangeProperty(dpy, win, XInternAtom(dpy, "_NET_WM_ICON", False), XA_CARDINAL, 32,
                  PropModeReplace, reinterpret_cast<const unsigned char*>(data.data()),
                  static_cast<int>(data.size()));
}
