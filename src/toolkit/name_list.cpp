// The scrolled list of the chooser's listing.
#include <algorithm>

#include "files/alert.h"
#include "files/listing.h"
#include "files/mnw.h"
#include "toolkit/chooser.h"
#include "toolkit/controls.h"
#include "toolkit/draw.h"
#include "toolkit/frames.h"
#include "toolkit/sheet.h"
#include "toolkit/text.h"

namespace {
const float kRow = 20;
}

int BTN_big_name_list(int type, int index, float x, float y, float w, float h, int* top,
                      int* selected, int count) {
  if (type != 994 && type != 998 && type != 999) {
    MACIBM_alert(0, "Bad big_name_list type!", "", "", "", alert_fatal);
    return 0;
  }
  if (w <= 0) w = 280;
  if (h <= 0) h = 200;
  count = std::clamp(count, 0, static_cast<int>(kListSize));
  const float bottom = y - h * 0.5f, top_y = y + h * 0.5f;
  const int visible = std::max(1, static_cast<int>(h / kRow));

  BTN_frame2(13, x, bottom, w, h, "");
  const int range = std::max(0, count - visible);
  BTN_vert_slider(index, x + w + 16, bottom, top_y, 0, range, top);

  const bool over = BTN_mouse_in(x, bottom, x + w, top_y) && mnw.menu_open == -1;
  if (over) {
    *top -= mnw.scroll_delta;
    mnw.scroll_delta = 0;
  }
  // The folder may have shrunk since the last frame.
  *top = std::clamp(*top, 0, range);

  int hit = 0;
  for (int r = 0; r < visible && *top + r < count; ++r) {
    const int i = *top + r;
    const float ry = top_y - (r + 1) * kRow;
    const bool under = over && mnw.mouse_y >= ry && mnw.mouse_y <= ry + kRow;
    const bool chosen = i == *selected;
    if (chosen) OGL_fillrect(46, 1, x + 4, ry + 1, w - 8, kRow - 2);
    if (under) OGL_framerect(42, 1, x + 4, ry + 1, w - 8, kRow - 2);
    const int kind = std::clamp(g_file_type[i], 0, static_cast<int>(list_icon_count) - 1);
    BTN_util_element(x + 16, ry + kRow * 0.5f, list_icon_size * 0.5f, list_icon_size * 0.5f,
                     static_cast<float>(list_icon_s + kind * list_icon_size),
                     static_cast<float>(list_icon_t), 0);
    OGL_string(chosen ? 33 : 42, x + 18 + 12, ry + 6, g_file[i], 9999, 100);
    if (under && mnw.mouse_click) {
      *selected = i;
      hit = 1;
    }
  }
  return hit;
}
