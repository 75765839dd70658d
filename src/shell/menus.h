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

enum { menu_count = 1520, popup_menu = 1519, menu_max_item = 299, menu_max_name = 39 };
// Where the bar's titles and the rows of a pull-down go.
enum { menu_bar_bottom = 746, menu_bar_top = 767, menu_row_height = 16, menu_title_margin = 20 };
extern std::vector<menu_struct> menu;

// The pop-up handshake between the list control and the click handling.
extern int active_popup_code, select_popup_code, popup_menu_select;

void MACIBM_clear_menus(int);
void MACIBM_clear_menu(int index);
void MACIBM_clear_items(int index);
// A top-level menu gets the next box along the bar, as wide as its title.
void MACIBM_create_menu(int index, int parent, const std::string& name);
// Items hang below their menu's title, one row each, all as wide as the widest.
void MACIBM_append_menu(int menu_index, int item, int id, const std::string& name, int checked);
float menu_dx(const std::string& name);
int accept_menu(int);
int accept_item(int);
void MACIBM_read_menus(const std::string& file, const std::string& language_folder);
// "72 105" becomes "Hi": each decimal number a byte.
void char_string_to_int_string(std::string* text);

// The pop-up's box is marked empty so no stale click lands in it.
void MACIBM_empty_popup_box();
// Inclusive box test in the coordinates of mouse_x, mouse_y. An empty box
// (all four words -1) holds nothing.
bool menu_box_holds(short x1, short y1, short x2, short y2, float x, float y);
// An item a click can choose: a label that is neither empty nor a separator.
bool menu_item_selectable(const item_struct& item);
// The item to light under the pointer, or -1. Its box is one pixel lower at
// the top than the click's, so of two rows sharing an edge only one lights.
int menu_hover_item(const menu_struct& m, float x, float y);
