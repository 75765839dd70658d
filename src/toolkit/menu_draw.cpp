// The menus over the frame: the bar with its titles, the open menu's panel,
// the lit row under the pointer, separators, check marks and the texts.
#include <algorithm>

#include "files/mnw.h"
#include "shell/menus.h"
#include "toolkit/draw.h"
#include "toolkit/frames.h"
#include "toolkit/sheet.h"
#include "toolkit/text.h"
#include "toolkit/toolkit.h"

namespace {

enum { menu_text_col = 37, menu_dim_col = 38, menu_hover_col = 41 };

int menu_charset() { return mnw.lang == 6 ? charset_UI_menus_KOR : charset_UI_diff_space; }

void draw_bar() {
  BTN_frame1(0, mnw.x_res * 0.5f, mnw.ui_top + 759, static_cast<float>(mnw.x_res), 0);
  for (int i = 0; i < popup_menu && i < static_cast<int>(menu.size()); ++i) {
    const menu_struct& m = menu[i];
    if (m.parent != -1 || m.name.empty() || m.x2 < 0) continue;
    OGL_string(menu_text_col, m.x1 + 10.0f, m.y1 + 6.0f, m.name, text_no_wrap, menu_charset());
  }
}

void draw_separator(const item_struct& item) {
  const float y = (item.y1 + item.y2) * 0.5f;
  // A dark line over a light one; the heavy form doubles each.
  const int rows = item.name[0] == '=' ? 2 : 1;
  for (int r = 0; r < rows; ++r) {
    OGL_line(34, 1.0f, item.x1, y + 1 + r, item.x2, y + 1 + r);
    OGL_line(36, 1.0f, item.x1, y - r, item.x2, y - r);
  }
}

void draw_item(const item_struct& item) {
  std::string text = item.name;
  float x = item.x1 + 4.0f;
  if (text[0] == '[') text.erase(0, 1);
  if (item.checked || item.name[0] == '[') {
    // The mark is drawn for a light box; on the dark panel it needs the box.
    const float cx = x + check_box.w * 0.5f, cy = (item.y1 + item.y2) * 0.5f;
    BTN_util_element(cx, cy, check_box.w * 0.5f, check_box.h * 0.5f, check_box.s, check_box.t, 0);
    if (item.checked)
      BTN_util_element(cx, cy, check_mark.w * 0.5f, check_mark.h * 0.5f, check_mark.s,
                       check_mark.t, 0);
    x += check_box.w + 3;
  }
  // Text sits centred in its row: the glyphs stand 8 pixels above the base line.
  const float base = item.y1 + std::max(0.0f, (item.y2 - item.y1 - 8) * 0.5f);
  const int col = accept_item(item.id) ? menu_text_col : menu_dim_col;
  OGL_string(col, x, base, text, text_no_wrap, menu_charset());
}

}  // namespace

void TOOLKIT_draw_menus() {
  if (mnw.menu_open < 0 || mnw.menu_open >= static_cast<int>(menu.size())) return;
  const menu_struct& m = menu[mnw.menu_open];
  if (mnw.menu_open != popup_menu) draw_bar();

  float x1 = 9999, y1 = 9999, x2 = 0, y2 = 0;
  for (const item_struct& item : m.items) {
    x1 = std::min<float>(x1, item.x1);
    y1 = std::min<float>(y1, item.y1);
    x2 = std::max<float>(x2, item.x2);
    y2 = std::max<float>(y2, item.y2);
  }
  if (m.items.empty()) {
    // Nothing to list: a bare panel under the title.
    BTN_frame2(17, m.x1, m.y1 - 14.0f, m.x2 - m.x1, 12, "");
    return;
  }
  BTN_frame2(17, x1, y1, x2 - x1, y2 - y1, "");

  const int lit = menu_hover_item(m, mnw.mouse_x, mnw.mouse_y);
  if (lit >= 0) {
    const item_struct& item = m.items[lit];
    OGL_fillrect(menu_hover_col, 1.0f, item.x1, item.y1, item.x2 - item.x1,
                 item.y2 - 1 - item.y1);
  }
  for (const item_struct& item : m.items) {
    if (item.name.empty()) continue;
    if (item.name[0] == '-' || item.name[0] == '=')
      draw_separator(item);
    else
      draw_item(item);
  }
}
