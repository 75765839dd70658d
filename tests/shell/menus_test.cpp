// The menu table: building it, its misuses, reading a menu file, the lit
// row, and the clicks that open, choose from and close menus and the list
// control's pop-up, posted through the pump.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "shell/clock.h"
#include "shell/hooks.h"
#include "shell/menus.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/text.h"

namespace {

class Menus : public ::testing::Test {
 protected:
  void SetUp() override {
    shell_test_reset();
    xtim = xtim_class();
    shell_hooks.text_width = text_width;
    MACIBM_clear_menus(1);
    mnw.win_now = 0;
  }
  void TearDown() override { PUMP_set_time_source(nullptr); }
  // A press at (x, y) of the present sub-window, posted as X would give it.
  static void click(float x, float y) {
    PUMP_post_motion(static_cast<int>(mnw.win_x + x), static_cast<int>(768 - mnw.win_y - y));
    PUMP_post_button(1);
    PUMP_post_button(0);
  }
};

TEST_F(Menus, MisusesEndTheProcessWithTheirMessage) {
  const struct {
    void (*call)();
    const char* message;
  } misuses[] = {
      {[] { MACIBM_create_menu(1520, -1, "Far"); }, "Menu index out of range in create_menu!"},
      {[] { MACIBM_create_menu(-1, -1, "Far"); }, "Menu index out of range in create_menu!"},
      {[] { MACIBM_append_menu(1520, 0, 1, "Far", 0); }, "Menu index out of range in append_menu!"},
      {[] { MACIBM_append_menu(3, 300, 1, "Far", 0); }, "Item index out of range in append_menu!"},
      {[] { MACIBM_append_menu(3, 0, 1, std::string(40, 'x'), 0); },
       "Menu name too long in append_menu!"},
  };
  for (const auto& m : misuses) {
    const child_result r = run_in_child([&] {
      m.call();
      return 7;
    });
    EXPECT_NE(7, r.exit_code) << m.message;
    EXPECT_NE(std::string::npos, r.out.find(m.message)) << r.out;
  }
  // The last index, item and length of each are still fine; a long title is cut.
  MACIBM_create_menu(1519, -1, std::string(45, 'T'));
  MACIBM_append_menu(1519, 299, 5, std::string(39, 'x'), 1);
  EXPECT_EQ(std::string(39, 'T'), menu[1519].name);
  EXPECT_EQ(300u, menu[1519].items.size());
}

TEST_F(Menus, TitlesLineUpAlongTheBarAndItemsStackUnderThem) {
  const struct { int lang; const char* text; float width; } widths[] = {
      {0, "", 0}, {6, "", 0}, {6, "\xb0\xa1 ", 24}, {6, "iiii", 32}};
  for (const auto& w : widths) {
    mnw.lang = w.lang;
    EXPECT_EQ(w.width, menu_dx(w.text)) << w.lang << " " << w.text;
  }
  mnw.lang = 0;
  EXPECT_LT(menu_dx("iiii"), menu_dx("WWWW"));   // by the advance table, not the byte count

  mnw.ui_left = 100;
  MACIBM_create_menu(2, -1, "File");
  MACIBM_create_menu(7, -1, "Window");
  MACIBM_append_menu(7, 0, 70, "Zoom", 0);
  MACIBM_append_menu(7, 1, 71, "-", 0);
  MACIBM_append_menu(7, 2, 72, "[Show everything at once", 1);
  const menu_struct &a = menu[2], &b = menu[7];
  EXPECT_EQ(100, a.x1);
  EXPECT_EQ(a.x2 + 1, b.x1);
  EXPECT_GE(a.x2 - a.x1, menu_dx("File") + 10);
  EXPECT_EQ(a.y1, b.y1);
  // Rows share their edges downwards from the title, all as wide as the widest.
  EXPECT_LT(b.items[0].y2, b.y1);
  for (int i = 1; i < 3; ++i) {
    EXPECT_EQ(b.items[i - 1].y1, b.items[i].y2) << i;
    EXPECT_EQ(b.items[0].x2, b.items[i].x2) << i;
  }
  EXPECT_GE(b.items[0].x2 - b.items[0].x1, menu_dx("[Show everything at once"));
}

TEST_F(Menus, MenuFilesAndKoreanNumberTexts) {
  const struct { std::string in, out; } texts[] = {
      {"72 105", "Hi"}, {" 65,66 ", "AB"}, {"", ""}, {"300", ","}};
  for (const auto& t : texts) {
    std::string s = t.in;
    char_string_to_int_string(&s);
    EXPECT_EQ(t.out, s) << t.in;
  }
  // Any run of digits is one byte, however long.
  std::string digits = std::string(30, '9') + " 9";
  char_string_to_int_string(&digits);
  EXPECT_EQ(2u, digits.size());
  EXPECT_EQ('\x09', digits[1]);

  const std::string dir = make_temp_dir();
  const std::string folder = dir + "menus/english/";
  ASSERT_EQ(0, system(("mkdir -p " + folder).c_str()));
  std::ofstream(folder + "menus.txt") << "I\n1\n3\nFile\n10 Open\n11 -\n12 [Keep\n0\n\n5\nEdit\n"
                                         "20 Undo\n";
  MACIBM_read_menus("menus.txt", dir);
  ASSERT_EQ(1520u, menu.size());
  EXPECT_EQ("File", menu[3].name);
  ASSERT_EQ(3u, menu[3].items.size());
  EXPECT_EQ(12, menu[3].items[2].id);
  EXPECT_EQ("[Keep", menu[3].items[2].name);
  EXPECT_EQ("Edit", menu[5].name);
  ASSERT_EQ(1u, menu[5].items.size());
  EXPECT_EQ("Undo", menu[5].items[0].name);

  const child_result r = run_in_child([&] {
    MACIBM_read_menus("missing.txt", dir);
    return 7;
  });
  EXPECT_NE(7, r.exit_code);
  EXPECT_NE(std::string::npos, r.out.find("Cannot open file!")) << r.out;
  remove_tree(dir);
}

TEST_F(Menus, OneRowLightsAndItIsTheOneAClickWouldChoose) {
  MACIBM_create_menu(4, -1, "View");
  for (int i = 0; i < 5; ++i) MACIBM_append_menu(4, i, 40 + i, i == 2 ? "=" : "Row", 0);
  const menu_struct& m = menu[4];
  const float x = m.items[0].x1 + 5.0f;
  for (float y = m.items[4].y1 - 2.0f; y <= m.y1; y += 0.5f) {
    int clicked = -1;
    for (size_t i = 0; i < m.items.size() && clicked < 0; ++i)
      if (menu_item_selectable(m.items[i]) &&
          menu_box_holds(m.items[i].x1, m.items[i].y1, m.items[i].x2, m.items[i].y2, x, y))
        clicked = static_cast<int>(i);
    const int lit = menu_hover_item(m, x, y);
    EXPECT_TRUE(lit == -1 || lit == clicked) << y;
    if (y == m.items[1].y2) {
      EXPECT_EQ(0, lit) << "the shared edge lights the upper row";
    }
    if (y == m.items[0].y2) {
      EXPECT_EQ(-1, lit) << "the top edge lights nothing";
    }
  }
  EXPECT_EQ(-1, menu_hover_item(m, x, (m.items[2].y1 + m.items[2].y2) * 0.5f)) << "separator";
}

TEST_F(Menus, PressesOpenChooseAndCloseThroughThePump) {
  MACIBM_create_menu(3, -1, "File");
  MACIBM_append_menu(3, 0, 30, "Open", 0);
  const menu_struct& file = menu[3];
  std::vector<int> widget_clicks;
  on_app_update = [&] { widget_clicks.push_back(mnw.mouse_click); };
  // Title opens (the press used up), outside closes and reaches the widgets,
  // an item is chosen; the empty boxes of unused menus hold nothing.
  const struct { float x, y; int open_after, widgets_see; std::vector<int> ids; } presses[] = {
      {file.x1 + 2.0f, file.y1 + 2.0f, 3, 0, {}},
      {500, 300, -1, 1, {}},
      {file.x1 + 2.0f, file.y1 + 2.0f, 3, 0, {}},
      {file.items[0].x1 + 2.0f, file.items[0].y1 + 2.0f, -1, 0, {30}},
      {-1, -1, -1, 1, {30}},
  };
  frame_after(0.02);
  for (const auto& p : presses) {
    widget_clicks.clear();
    click(p.x, p.y);
    frame_after(0.02);
    EXPECT_EQ(p.open_after, mnw.menu_open) << p.x << "," << p.y;
    EXPECT_EQ(std::vector<int>{p.widgets_see}, widget_clicks) << p.x << "," << p.y;
    EXPECT_EQ(p.ids, menu_ids_seen) << p.x << "," << p.y;
  }
}

TEST_F(Menus, PopUpItemIsChosenByTheClickAndAPressOutsideLeavesItsOwner) {
  // A list control's pop-up in the preferences dialog: rows of 12 pixels
  // going down from the chosen one, as the control lays them.
  frame_after(0.02);
  MACIBM_startwind(2);
  auto open_popup = [] {
    menu_struct& p = menu[popup_menu];
    p.items.assign(3, item_struct());
    for (int i = 0; i < 3; ++i) {
      p.items[i].name = "Choice";
      p.items[i].x1 = 100, p.items[i].x2 = 180;
      p.items[i].y1 = short(196 - 12 * i), p.items[i].y2 = short(208 - 12 * i);
    }
    active_popup_code = 205000;
    mnw.menu_open = popup_menu;
  };
  const struct { float x, y; int active, select, chosen, click_left; } presses[] = {
      {150, 190, 0, 205000, 1, 0},       // the middle row
      {150, 196, 0, 205000, 0, 0},       // the shared edge: the upper row, as it is lit
      {300, 100, 205000, 0, -1, 1},      // outside: closed, the press goes on
  };
  for (const auto& p : presses) {
    open_popup();
    select_popup_code = 0;
    popup_menu_select = -1;
    click(p.x, p.y);
    frame_after(0.02);
    EXPECT_EQ(2, mnw.win_now);
    EXPECT_EQ(-1, mnw.menu_open) << p.y;
    EXPECT_EQ(p.active, active_popup_code) << p.y;
    EXPECT_EQ(p.select, select_popup_code) << p.y;
    EXPECT_EQ(p.chosen, popup_menu_select) << p.y;
    EXPECT_EQ(p.click_left, mnw.mouse_click) << p.y;
  }
}

}  // namespace
