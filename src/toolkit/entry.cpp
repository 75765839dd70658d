#include "toolkit/entry.h"

#include <cstring>

#include "files/alert.h"
#include "files/mnw.h"
#include "shell/clock.h"
#include "shell/window.h"
#include "toolkit/draw.h"
#include "toolkit/frames.h"
#include "toolkit/text.h"

namespace {
// The field that last drew with the focus, and in which frame. The pump
// drops the focus on every press before the fields run, so this is how a
// second click on the typing field is told from a first one.
int focus_seen = -1;
int focus_frame = -10;
}  // namespace

int BTN_enterstring(float x, float y, std::string* text, int max_chars, int index,
                    const std::string& label) {
  std::string left, right, help;
  BTN_expand_label(label, &left, &right, &help);
  const float w = max_chars * 6.0f;
  BTN_frame1(9, x + w * 0.5f, y + 3, w, 0);
  BTN_util_draw_label(x - 12, y, 0, left, 0);
  BTN_util_draw_label(x + w + 6, y, 2, right, 0);
  OGL_string(44, x, y, *text, text_no_wrap, charset_UI_diff_space);

  int took = 0;
  BTN_offer_help(x, y, x + w, y + 8, help);
  // Taking the focus empties the field: typing always starts afresh.
  if (BTN_clicked_in(x, y, x + w, y + 8) && index != mnw.text_focus) {
    const bool had_it = mnw.text_focus == -1 && focus_seen == index &&
                        xtim.frame_count - focus_frame <= 1;
    mnw.text_focus = index;
    if (!had_it) {
      text->clear();
      stl_input.clear();
      took = 1;
    }
  }
  if (index == mnw.text_focus) {
    focus_seen = index;
    focus_frame = xtim.frame_count;
    const float cx = x + text_width(*text) + 1;
    OGL_line(44, mnw.pulse, cx, y + 6.5f, cx, y - 0.5f);
    // Cut the buffer itself, so BackSpace works from what shows.
    if (static_cast<int>(stl_input.size()) > max_chars && max_chars >= 0)
      stl_input.resize(static_cast<size_t>(max_chars));
    *text = stl_input;
  }
  return took;
}

int BTN_enterstring(float x, float y, char* text, int max_chars, int index,
                    const std::string& label) {
  enum { longest = 499 };
  if (std::strlen(text) > longest) {
    MACIBM_alert(0, "String too long!", "", "", "", alert_fatal);
    return 0;
  }
  std::string s(text);
  const int r = BTN_enterstring(x, y, &s, max_chars, index, label);
  if (s.size() > longest) {
    MACIBM_alert(0, "String too long!", "", "", "", alert_fatal);
    return 0;
  }
  std::memcpy(text, s.c_str(), s.size() + 1);
  return r;
}
