#include "shell/menus.h"

#include <algorithm>
#include <cctype>

#include "files/alert.h"
#include "files/log.h"
#include "files/mnw.h"
#include "files/number_text.h"
#include "files/xmap.h"
#include "shell/hooks.h"

std::vector<menu_struct> menu;
int active_popup_code = 0, select_popup_code = 0, popup_menu_select = 0;

namespace {

void ensure_table() {
  if (menu.size() < menu_count) menu.resize(menu_count);
}

// Lays every item of a menu under its title again, as wide as the widest.
void lay_items(menu_struct& m) {
  float w = 0;
  for (const item_struct& item : m.items) w = std::max(w, menu_dx(item.name));
  const short x2 = static_cast<short>(m.x1 + w + 30);
  for (size_t k = 0; k < m.items.size(); ++k) {
    item_struct& item = m.items[k];
    item.x1 = m.x1;
    item.x2 = x2;
    item.y2 = static_cast<short>(m.y1 - 2 - menu_row_height * static_cast<int>(k));
    item.y1 = static_cast<short>(item.y2 - menu_row_height);
  }
}

}  // namespace

void MACIBM_clear_menus(int) { menu.assign(menu_count, menu_struct()); }

void MACIBM_clear_menu(int index) {
  if (index >= 0 && index < static_cast<int>(menu.size())) menu[index] = menu_struct();
}

void MACIBM_clear_items(int index) {
  if (index >= 0 && index < static_cast<int>(menu.size())) menu[index].items.clear();
}

float menu_dx(const std::string& name) {
  if (mnw.lang == 6) return 8.0f * name.size();
  return shell_hooks.text_width ? shell_hooks.text_width(name) : 0.0f;
}

void MACIBM_create_menu(int index, int parent, const std::string& name) {
  if (index < 0 || index >= menu_count) {
    MACIBM_alert(0, "Menu index out of range in create_menu!", "", "", "", alert_fatal);
    return;
  }
  ensure_table();
  menu_struct& m = menu[index];
  m.name = name.substr(0, menu_max_name);
  m.parent = parent;
  m.x1 = m.y1 = m.x2 = m.y2 = -1;
  if (parent != -1) return;   // only the bar's menus have a box of their own
  float x = mnw.ui_left;
  for (int i = 0; i < popup_menu; ++i)
    if (i != index && menu[i].parent == -1 && menu[i].x2 >= 0)
      x = std::max(x, static_cast<float>(menu[i].x2 + 1));
  m.x1 = static_cast<short>(x);
  m.x2 = static_cast<short>(x + menu_dx(m.name) + menu_title_margin);
  m.y1 = static_cast<short>(mnw.ui_top + menu_bar_bottom);
  m.y2 = static_cast<short>(mnw.ui_top + menu_bar_top);
  lay_items(m);
}

void MACIBM_append_menu(int menu_index, int item, int id, const std::string& name, int checked) {
  if (menu_index < 0 || menu_index >= menu_count) {
    MACIBM_alert(0, "Menu index out of range in append_menu!", "", "", "", alert_fatal);
    return;
  }
  if (item < 0 || item > menu_max_item) {
    MACIBM_alert(0, "Item index out of range in append_menu!", "", "", "", alert_fatal);
    return;
  }
  if (name.size() > menu_max_name) {
    MACIBM_alert(0, "Menu name too long in append_menu!", "", "", "", alert_fatal);
    return;
  }
  ensure_table();
  menu_struct& m = menu[menu_index];
  if (static_cast<int>(m.items.size()) <= item) m.items.resize(item + 1);
  item_struct& it = m.items[item];
  it.name = name;
  it.id = id;
  it.checked = checked ? 1 : 0;
  lay_items(m);
}

int accept_menu(int) { return 1; }
int accept_item(int) { return 1; }

void char_string_to_int_string(std::string* text) {
  std::string out;
  int value = 0;
  bool in_number = false;
  for (char c : *text) {
    if (isdigit(static_cast<unsigned char>(c))) {
      value = (value * 10 + (c - '0')) & 0xFFFF;   // bounded on any length of digits
      in_number = true;
    } else if (in_number) {
      out += static_cast<char>(value & 0xFF);
      value = 0;
      in_number = false;
    }
  }
  if (in_number) out += static_cast<char>(value & 0xFF);
  *text = out;
}

void MACIBM_read_menus(const std::string& file, const std::string& language_folder) {
  static const char* const kFolders[] = {"menus:english:", "menus:french:",  "menus:german:",
                                         "menus:italian:", "menus:spanish:", "menus:portugese:",
                                         "menus:korean:"};
  MACIBM_clear_menus(1);
  const int lang = mnw.lang >= 0 && mnw.lang <= 6 ? mnw.lang : 0;
  xmap_class map(language_folder + kFolders[lang] + file);
  int versions[] = {1, 0};
  if (!map.check_file(file_type_text, versions, nullptr, nullptr)) {
    MACIBM_alert(0, "Cannot open file!", "Trash this copy and re-install Zephyra.", "", "",
                 alert_fatal);
    return;
  }
  for (;;) {
    map.TXT_prv_scan();
    if (map.mem_ptr >= map.mem_end) break;
    std::string line, title;
    map.TXT_str_scan_eoln(&line);
    const int index = str_to_int(line);
    map.TXT_str_scan_eoln(&title);
    if (lang == 6) char_string_to_int_string(&title);
    MACIBM_create_menu(index, -1, title);
    // Items: a number and a text each, up to an entry without text.
    for (int item = 0; map.mem_ptr < map.mem_end; ++item) {
      const int id = map.TXT_int_scan();
      std::string text;
      map.TXT_str_scan_eoln(&text);
      if (text.empty()) break;
      MACIBM_append_menu(index, item, id, text, 0);
    }
  }
}

void MACIBM_empty_popup_box() {
  if (menu.size() <= popup_menu) return;
  menu_struct& m = menu[popup_menu];
  m.x1 = m.y1 = m.x2 = m.y2 = -1;
}

bool menu_box_holds(short x1, short y1, short x2, short y2, float x, float y) {
  if (x1 == -1 && y1 == -1 && x2 == -1 && y2 == -1) return false;
  return x >= x1 && x <= x2 && y >= y1 && y <= y2;
}

bool menu_item_selectable(const item_struct& item) {
  return !item.name.empty() && item.name[0] != '-' && item.name[0] != '=';
}

int menu_hover_item(const menu_struct& m, float x, float y) {
  for (size_t i = 0; i < m.items.size(); ++i) {
    const item_struct& item = m.items[i];
    if (menu_item_selectable(item) &&
        menu_box_holds(item.x1, item.y1, item.x2, static_cast<short>(item.y2 - 1), x, y))
      return static_cast<int>(i);
  }
  return -1;
}
