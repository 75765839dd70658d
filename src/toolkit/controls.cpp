// Buttons, check boxes, tabs, the pop-up list and the boxed text.
#include "toolkit/controls.h"

#include <cmath>

#include "files/alert.h"
#include "files/mnw.h"
#include "shell/menus.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "toolkit/frames.h"
#include "toolkit/sheet.h"
#include "toolkit/text.h"

namespace {

struct label_parts {
  std::string left, right, help;
};

label_parts split(const std::string& label) {
  label_parts p;
  BTN_expand_label(label, &p.left, &p.right, &p.help);
  return p;
}

void sheet_piece(float cx, float cy, const sheet_rect& r, int col) {
  BTN_util_element(cx, cy, r.w * 0.5f, r.h * 0.5f, static_cast<float>(r.s),
                   static_cast<float>(r.t), col);
}

// The visible text of a one-line label, as align 1 draws it.
std::string shown(const std::string& text) {
  return !text.empty() && text[0] == '-' ? text.substr(1) : text;
}

enum { textlist_max = 298 };

}  // namespace

int BTN_action(float x, float y, float width, int down, int flash, const std::string& label) {
  const label_parts l = split(label);
  const std::string text = shown(l.left);
  const float tw = text_width(text);
  if (width <= 0) width = text.empty() ? 21 : tw + 21;
  auto draw = [&](int is_down, int pressed) {
    BTN_frame1(2, x, y, width, 0);
    if (is_down) BTN_frame1(3, x, y, width, 0);
    BTN_util_draw_label(x - tw * 0.5f, y - 4, 1, text, pressed);
  };
  draw(down, flash == 2 && down);
  const float x1 = x - width * 0.5f, x2 = x + width * 0.5f;
  BTN_offer_help(x1, y - 10, x2, y + 10, l.help);
  if (!BTN_clicked_in(x1, y - 10, x2, y + 10)) return 0;
  if (!down && flash) {
    // The caller's work may take seconds: show the press first.
    draw(1, 1);
    OGL_sbuf();
  }
  return 1;
}

int BTN_bool(float x, float y, int* value, const std::string& label, int radio) {
  const label_parts l = split(label);
  sheet_piece(x, y + 4, radio ? radio_box : check_box, 0);
  if (*value) sheet_piece(x, y + 4, radio ? radio_mark : check_mark, 0);
  BTN_util_draw_label(x - 12, y, 0, l.left, 0);
  BTN_util_draw_label(x + 12, y, 2, l.right, 0);
  BTN_offer_help(x - 8, y - 4, x + 8, y + 12, l.help);
  if (!BTN_clicked_in(x - 8, y - 4, x + 8, y + 12)) return 0;
  *value = *value ? 0 : 1;
  return 1;
}

int BTN_is_int(float x, float y, int* value, int this_value, const std::string& label) {
  int on = *value == this_value;
  if (!BTN_bool(x, y, &on, label, 1)) return 0;
  *value = this_value;
  return 1;
}

namespace {
template <class T>
int bool_on(float x, float y, T* value, const std::string& label) {
  int v = *value ? 1 : 0;
  if (!BTN_bool(x, y, &v, label, 0)) return 0;
  *value = static_cast<T>(v);
  return 1;
}
}  // namespace

int BTN_xbyt(float x, float y, unsigned char* value, const std::string& label) {
  return bool_on(x, y, value, label);
}
int BTN_xchr(float x, float y, char* value, const std::string& label) {
  return bool_on(x, y, value, label);
}
int BTN_xbol(float x, float y, bool* value, const std::string& label) {
  return bool_on(x, y, value, label);
}

int BTN_tab(int column, int row, int* value, int this_value, const std::string& label) {
  const label_parts l = split(label);
  const float x = column * 88.0f + 53, y = mnw.win_dy - 38 - 32.0f * row;
  const bool selected = *value == this_value;
  const sheet_rect& r = selected ? tab_selected : tab_other;
  BTN_util_element(x - 5, y, r.w * 0.5f, r.h * 0.5f, static_cast<float>(r.s),
                   static_cast<float>(r.t), 0);
  OGL_string(selected ? 40 : 41, x - 35, y - 4, shown(l.left), text_no_wrap,
             charset_UI_diff_space);
  BTN_offer_help(x - 50, y - 13, x + 40, y + 13, l.help);
  if (!BTN_clicked_in(x - 50, y - 13, x + 40, y + 13)) return 0;
  *value = this_value;
  return 1;
}

void BTN_textlist_items(const std::string& items, std::vector<std::string>* out, float* widest) {
  out->clear();
  *widest = 0;
  size_t i = 0;
  while (i < items.size()) {
    while (i < items.size() && items[i] == ' ') ++i;
    if (i >= items.size()) break;
    size_t j = i;
    while (j < items.size() && items[j] != ' ') ++j;
    std::string item = items.substr(i, j - i);
    if (item.find('|') != std::string::npos) {
      // "|" divides labels; an item can't carry one.
      MACIBM_alert(0, "Found | char in text string!", "", "", "", alert_fatal);
      return;
    }
    for (char& c : item)
      if (c == '-') c = ' ';
    if (static_cast<int>(out->size()) >= textlist_max) {
      MACIBM_alert(0, "BTN_text_list overflow!", "", "", "", alert_fatal);
      return;
    }
    *widest = std::max(*widest, text_width(item));
    out->push_back(item);
    i = j;
  }
}

int BTN_textlist(float x, float y, int* value, const std::string& items,
                 const std::string& label) {
  const label_parts l = split(label);
  std::vector<std::string> list;
  float m = 0;
  BTN_textlist_items(items, &list, &m);
  BTN_frame1(10, x + 10, y + 5, m + 28, 0);
  BTN_util_draw_label(x - m * 0.5f - 5, y, 0, l.left, 0);
  BTN_util_draw_label(x + m * 0.5f + 25, y, 2, l.right, 0);

  // Its place is its identity across the frames of the handshake.
  const int code = static_cast<int>(std::lround(y * 1024 + x));
  const float bx1 = x + 10 - m * 0.5f - 15, bx2 = x + 10 + m * 0.5f + 15;
  // No menu test: an open pop-up of another list, put up earlier in this
  // frame, must not keep this one from taking over.
  if (mnw.mouse_click && code != active_popup_code && BTN_mouse_in(bx1, y - 2, bx2, y + 8))
    active_popup_code = code;
  int changed = 0;
  if (code == select_popup_code) {
    *value = popup_menu_select;
    select_popup_code = 0;
    changed = 1;
  }
  const int last = static_cast<int>(list.size()) - 1;
  if (code != active_popup_code) {
    if (*value >= 0 && *value <= last)
      OGL_string(42, x - text_width(list[*value]) * 0.5f, y, list[*value], text_no_wrap,
                 charset_UI_diff_space);
    BTN_offer_help(bx1, y - 2, bx2, y + 8, l.help);
    return changed;
  }

  // Open: the chosen item lies exactly over the control.
  if (menu.size() < static_cast<size_t>(menu_count)) MACIBM_clear_menus(0);
  mnw.menu_open = popup_menu;
  menu_struct& pop = menu[popup_menu];
  const float left = x - m * 0.5f - 3, right = left + m + 8;
  pop.x1 = static_cast<short>(std::lround(left));
  pop.x2 = static_cast<short>(std::lround(right));
  pop.y1 = static_cast<short>(std::lround(y - (last - *value) * 12.0f - 4));
  pop.y2 = static_cast<short>(pop.y1 + last * 12 + 14);
  pop.items.assign(list.size(), item_struct());
  for (int i = 0; i <= last; ++i) {
    item_struct& it = pop.items[i];
    it.name = list[i];
    it.id = i;
    it.x1 = pop.x1;
    it.x2 = pop.x2;
    it.y1 = static_cast<short>(std::lround(y - (i - *value) * 12.0f - 4));
    it.y2 = static_cast<short>(it.y1 + 12);
  }
  return changed;
}

void OGL_boxed_string(float x, float y, const std::string& text, float width,
                      const std::string& label) {
  const label_parts l = split(label);
  BTN_frame1(9, x + width * 0.5f, y + 3, width, 0);
  BTN_util_draw_label(x - 12, y, 0, l.left, 0);
  BTN_util_draw_label(x + width + 6, y, 2, l.right, 0);
  OGL_string(44, x, y, text, text_no_wrap, charset_UI_diff_space);
  BTN_offer_help(x, y - 2, x + width, y + 8, l.help);
}
