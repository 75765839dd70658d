#include "app/controls_for_now.h"

#include "toolkit/frames.h"
#include "toolkit/text.h"

int BTN_action(float x, float y, float width, int, int, const std::string& label) {
  if (width <= 0) width = text_width(label) + 21;
  BTN_frame1(2, x, y, width, 0);
  BTN_util_draw_label(x, y - 4, 1, label, 0);
  return BTN_clicked_in(x - width / 2, y - 10, x + width / 2, y + 10) ? 1 : 0;
}

int BTN_is_int(float x, float y, int* value, int this_value, const std::string& label) {
  OGL_string(*value == this_value ? 13 : 45, x + 12, y, label, 9999, charset_UI_diff_space);
  if (!BTN_clicked_in(x - 8, y - 4, x + 8, y + 12)) return 0;
  *value = this_value;
  return 1;
}
