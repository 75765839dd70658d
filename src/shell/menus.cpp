#include "shell/menus.h"

std::vector<menu_struct> menu;
int active_popup_code = 0, select_popup_code = 0, popup_menu_select = 0;

void MACIBM_clear_menus(int) { menu.assign(menu_count, menu_struct()); }

void MACIBM_clear_menu(int index) {
  if (index >= 0 && index < static_cast<int>(menu.size())) menu[index] = menu_struct();
}

void MACIBM_clear_items(int index) {
  if (index >= 0 && index < static_cast<int>(menu.size())) menu[index].items.clear();
}

void MACIBM_empty_popup_box() {
  if (menu.size() <= popup_menu) return;
  menu_struct& m = menu[popup_menu];
  m.x1 = m.y1 = m.x2 = m.y2 = -1;
}

bool menu_box_holds(short x1, short y1, short x2, short y2, float x, float y) {
  return x >= x1 && x <= x2 && y >= y1 && y <= y2;
}
