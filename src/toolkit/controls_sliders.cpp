// The horizontal slider (and progress bar) and the vertical scroll bar.
#include <algorithm>
#include <cmath>

#include "files/alert.h"
#include "files/mnw.h"
#include "shell/clock.h"
#include "toolkit/controls.h"
#include "toolkit/frames.h"
#include "toolkit/sheet.h"
#include "toolkit/text.h"

namespace {

void sheet_piece(float cx, float cy, const sheet_rect& r, int col) {
  BTN_util_element(cx, cy, r.w * 0.5f, r.h * 0.5f, static_cast<float>(r.s),
                   static_cast<float>(r.t), col);
}

// Held horizontal slider; one for all of them, freed when the button goes up.
int horz_grabbed = 0;

}  // namespace

int BTN_horz_slider(float x, float y, float width, int col, float lo, float hi, float* value,
                    int grab, const std::string& text_left, const std::string& label) {
  std::string left, right, help;
  BTN_expand_label(label, &left, &right, &help);
  BTN_frame1(7, x + width * 0.5f, y, width, 0);
  BTN_util_draw_label(x - 8, y - 4, 0, left, 0);
  BTN_util_draw_label(x + width + 8, y - 4, 2, right, 0);
  BTN_offer_help(x, y - 7, x + width, y + 7, help);
  if (!text_left.empty())
    OGL_string(42, x + width * 0.5f - text_width(text_left) * 0.5f, y + 10, text_left,
               text_no_wrap, charset_UI_diff_space);

  if (grab) {
    if (!mnw.mouse_down)
      horz_grabbed = 0;
    else if (mnw.menu_open == -1 && BTN_mouse_in(x - 10, y - 17, x + width + 10, y + 17))
      horz_grabbed = 1;
    if (horz_grabbed && width > 0)
      *value = std::min(std::max(lo + (mnw.mouse_x - x) * (hi - lo) / width, std::min(lo, hi)),
                        std::max(lo, hi));
  }

  float fill = hi != lo ? (*value - lo) * width / (hi - lo) : 0;
  fill = std::min(std::max(fill, 0.0f), std::max(width, 0.0f));
  if (col != 12 && fill > 0) BTN_frame1(8, x + fill * 0.5f, y + 4, fill, col);
  if (grab) sheet_piece(x + fill, y, slider_knob, 0);
  return grab ? horz_grabbed : 0;
}

namespace {
int slider_grabbed[4] = {0, 0, 0, 0};
}

int BTN_vert_slider(int index, float x, float y_low, float y_high, int lo, int hi, int* value) {
  BTN_frame0(6, x - 8, y_low, y_high - y_low);
  if (lo >= hi) return 0;
  if (index < 0 || index > 3) {
    MACIBM_alert(0, "Too many sliders!", "", "", "", alert_fatal);
    return 0;
  }
  // The knob runs from top (lo) to bottom (hi), 10 pixels in from each end.
  const float top = y_high - 10, bottom = y_low + 9, span = bottom - top;
  auto knob_at = [&](int v) {
    if (span == 0) return (top + bottom) * 0.5f;
    const float k = top + span / (hi - lo) * (v - lo);
    return std::min(std::max(k, bottom), top);
  };
  float knob = knob_at(*value);

  int& grabbed = slider_grabbed[index];
  if (!mnw.mouse_down)
    grabbed = 0;
  else if (mnw.menu_open == -1 && std::fabs(mnw.mouse_x - x) <= 11 &&
           std::fabs(mnw.mouse_y - knob) <= 11)
    grabbed = 1;

  if (grabbed) {
    if (span != 0)
      *value = static_cast<int>(std::lround(lo + (mnw.mouse_y - top) * (hi - lo) / span));
  } else if (mnw.menu_open == -1 && (mnw.mouse_click || (mnw.mouse_repeat && xtim.ot2)) &&
             std::fabs(mnw.mouse_x - x) <= 10) {
    // Arrows of 20 pixels beyond either end; the trough between pages.
    const float my = mnw.mouse_y;
    if (my >= y_high && my <= y_high + 20)
      *value -= 1;
    else if (my >= y_low - 20 && my <= y_low)
      *value += 1;
    else if (my > y_low && my < y_high)
      *value += my > knob ? -10 : 10;
  }
  *value = std::min(std::max(*value, lo), hi);
  knob = knob_at(*value);

  sheet_piece(x, y_high + 10, scroll_up, 0);
  sheet_piece(x, y_low - 10, scroll_down, 0);
  sheet_piece(x, knob, scroll_knob, grabbed ? 46 : 0);
  return grabbed;
}
