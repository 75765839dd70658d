// The keyboard and the menus, without a display: keysyms through
// keys.handle_key, keys and presses posted through the pump onto menus and
// dialogs.
#include <X11/keysym.h>
#include <gtest/gtest.h>

#include "shell/hooks.h"
#include "shell/keys.h"
#include "shell/menus.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/text.h"

namespace {

class Input : public ::testing::Test {
 protected:
  void SetUp() override {
    shell_test_reset();
    KEYS_install_hook();
    shell_hooks.text_width = text_width;
    MACIBM_clear_menus(1);
    MACIBM_create_menu(3, -1, "File");
    for (int i = 0; i < 4; ++i) MACIBM_append_menu(3, i, 30 + i, i == 2 ? "=" : "Row", i == 3);
    MACIBM_create_menu(5, -1, "Edit");
    frame_after(0.02);
  }
  void TearDown() override { PUMP_set_time_source(nullptr); }
  // A press and release at (x, y), then a frame.
  static void click(float x, float y) {
    PUMP_post_motion(static_cast<int>(x), static_cast<int>(768 - y));
    PUMP_post_button(1);
    PUMP_post_button(0);
    frame_after(0.02);
  }
};

TEST_F(Input, KeysymsBecomeCodesCharactersAndTyping) {
  // What the application gets (mode, character or code) and what "ab" becomes.
  const struct {
    KeySym sym;
    int shift, ctrl;
    std::vector<std::pair<int, int>> app;
    const char* typed;
  } presses[] = {
      {XK_a, 0, 0, {{0, 'a'}}, "aba"},      {XK_a, 1, 0, {{0, 'A'}}, "abA"},
      {XK_a, 0, 1, {{2, 'a'}}, "aba"},      {XK_1, 1, 0, {{0, '!'}}, "ab!"},
      {XK_grave, 1, 0, {{0, '~'}}, "ab~"},  {XK_slash, 1, 0, {{0, '?'}}, "ab?"},
      {XK_Return, 0, 0, {{0, 13}}, "ab"},   {XK_Tab, 0, 1, {{1, 0x3000}}, "ab"},
      {XK_Up, 1, 0, {{1, 50000}}, "ab"},    {XK_Next, 0, 0, {{1, 0xEA66}}, "ab"},
      {XK_F1, 0, 0, {{3, 50}, {0, 0}}, "ab"}, {XK_F12, 1, 0, {{3, 73}, {0, 0}}, "ab"},
      {XK_F10, 0, 0, {{3, 59}, {0, 0}}, "a"},   // shares Insert's code, so it erases
      {XK_Delete, 0, 0, {{0, 0}}, "a"},     {XK_Insert, 0, 0, {{0, 0}}, "a"},
      // The keypad gives codes, never characters; unknown keys nothing at all.
      {XK_KP_End, 0, 0, {{1, 0x5300}}, "ab"}, {XK_KP_Up, 0, 0, {{1, 0x5B00}}, "ab"},
      {XK_KP_1, 0, 0, {}, "ab"},
      {XK_odiaeresis, 0, 0, {}, "ab"},      {XK_Caps_Lock, 0, 0, {}, "ab"},
  };
  for (const auto& p : presses) {
    stl_input = "ab";
    app_keys_seen.clear();
    linkey_shft = p.shift, linkey_ctrl = p.ctrl;
    keys.handle_key(p.sym);
    EXPECT_EQ(p.app, app_keys_seen) << XKeysymToString(p.sym) << " " << p.shift;
    EXPECT_EQ(p.typed, stl_input) << XKeysymToString(p.sym) << " " << p.shift;
  }
  for (KeySym sym : {XK_Tab, XK_Down, XK_Prior}) {   // Tab and arrows end typing in a field
    mnw.text_focus = 4;
    keys.handle_key(sym);
    EXPECT_EQ(sym == XK_Prior ? 4 : -1, mnw.text_focus) << XKeysymToString(sym);
  }
  const child_result r = run_in_child([] { return keys.handle_key(XK_KP_1), 0; });
  EXPECT_NE(std::string::npos, r.out.find("Unknown key: \"KP_1\". ")) << r.out;
  EXPECT_NE(std::string::npos, r.out.find(".example")) << r.out;
}

TEST_F(Input, ReturnClosesADialogBeforeItsWidgetsAndNothingOnTheMainScreen) {
  // return_hit as the main screen's widgets find it (-1: they don't run).
  const struct { int code, win_after, return_hit, seen; } cases[] = {
      {0, 0, 1, 1}, {2, 0, 0, 0}, {995, 995, 1, -1}};
  for (const auto& c : cases) {
    MACIBM_startwind(c.code);
    int seen = -1;
    on_app_update = [&] { seen = return_hit; };
    PUMP_post_key(XK_Return, 1);
    frame_after(0.02);
    EXPECT_EQ((std::vector<int>{c.win_after, c.return_hit, c.seen}),
              (std::vector<int>{mnw.win_now, return_hit, seen})) << c.code;
  }
}

TEST_F(Input, MenuMisusesAlertAndWidthsFollowTheLanguage) {
  const struct { void (*call)(); const char* message; } misuses[] = {
      {[] { MACIBM_create_menu(1520, -1, "x"); }, "Menu index out of range in create_menu!"},
      {[] { MACIBM_append_menu(-1, 0, 1, "x", 0); }, "Menu index out of range in append_menu!"},
      {[] { MACIBM_append_menu(3, 300, 1, "x", 0); }, "Item index out of range in append_menu!"},
      {[] { MACIBM_append_menu(3, 0, 1, std::string(40, 'x'), 0); },
       "Menu name too long in append_menu!"},
  };
  for (const auto& m : misuses) {
    const child_result r = run_in_child([&] { return m.call(), 7; });
    EXPECT_NE(7, r.exit_code) << m.message;
    EXPECT_NE(std::string::npos, r.out.find(m.message)) << r.out;
  }
  EXPECT_LT(menu_dx("iiii"), menu_dx("WWWW"));   // the advance table, not the bytes
  mnw.lang = 6;
  EXPECT_EQ(32, menu_dx("iiii"));
  std::string korean = "176 161,32";
  char_string_to_int_string(&korean);
  EXPECT_EQ("\xb0\xa1 ", korean);
}

TEST_F(Input, PressesOpenChooseAndCloseMenus) {
  const menu_struct& m = menu[3];
  // On the edge two rows share, the upper one, the one lit.
  EXPECT_EQ(0, menu_hover_item(m, m.x1 + 2.0f, m.items[0].y1));
  std::vector<int> widgets;
  on_app_update = [&] { widgets.push_back(mnw.mouse_click); };
  // Box edges count. The title opens and closes with the press used up;
  // outside closes and reaches the widgets; an item is chosen; a separator
  // is none, so the press goes on; the empty boxes of unused menus hold nothing.
  const float title_x = m.x1 + 2.0f, title_y = m.y1 + 2.0f, x = m.x1 + 2.0f;
  const struct { float x, y; int open_after, widgets_see; size_t ids; } presses[] = {
      {float(m.x1), float(m.y2), 3, 0, 0}, {title_x, title_y, -1, 0, 0},
      {title_x, title_y, 3, 0, 0}, {500, 300, -1, 1, 0},
      {title_x, title_y, 3, 0, 0}, {x, m.items[1].y1 + 2.0f, -1, 0, 1},
      {title_x, title_y, 3, 0, 1}, {x, m.items[2].y1 + 2.0f, -1, 1, 1},
      {-1, -1, -1, 1, 1},          {title_x, title_y, 3, 0, 1}};
  for (const auto& p : presses) {
    widgets.clear();
    click(p.x, p.y);
    EXPECT_EQ((std::vector<int>{p.open_after, p.widgets_see, int(p.ids)}),
              (std::vector<int>{mnw.menu_open, widgets.at(0), int(menu_ids_seen.size())}))
        << p.x << "," << p.y;
  }
  EXPECT_EQ(31, menu_ids_seen.at(0));
  EXPECT_EQ((std::vector<int>{0, 1}), (std::vector<int>{m.items[0].checked, m.items[3].checked}));
  // With a menu open, the bar follows the pointer without a press.
  PUMP_post_motion(menu[5].x1 + 2, 768 - title_y);
  frame_after(0.02);
  EXPECT_EQ(5, mnw.menu_open);
}

}  // namespace
