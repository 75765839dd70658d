// The menu table. The menu bar stays empty in this program; the last slot is
// the pop-up of the list control, which the click handling serves.
#pragma once
#include <string>
#include <vector>

struct item_struct {
  std::string name;   // "-" first: separator, "=" first: heavy separator, "[" first: check mark
  int id = 0;         // what APP_handlemenu gets
  unsigned char checked = 0;
  short x1 = -1, y1 = -1, x2 = -1, y2 = -1;
};

struct menu_struct {
  std::string name;
  int parent = -1;    // -1 for a top-level menu
  short x1 = -1, y1 = -1, x2 = -1, y2 = -1;
  std::vector<item_struct> items;
};

enum { menu_count = 1520, popup_menu = 1519 };
extern std::vector<menu_struct> menu;

// The pop-up handshake between the list control and the click handling.
extern int active_popup_code, select_popup_code, popup_menu_select;

void MACIBM_clear_menus(int);
void MACIBM_clear_menu(int index);
void MACIBM_clear_items(int index);
// The pop-up's box is marked empty so no stale click lands in it.
void MACIBM_empty_popup_box();
// Inclusive box test in the coordinates of mouse_x, mouse_y.
bool menu_box_holds(short x1, short y1, short x2, short y2, float x, float y);
