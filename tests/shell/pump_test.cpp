// The frame pump, the keyboard and the menus without a display: input is
// posted by the test and time is the test's clock.
#include <X11/keysym.h>
#include <gtest/gtest.h>

#include "shell/clock.h"
#include "shell/hooks.h"
#include "shell/keys.h"
#include "shell/menus.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/text.h"

namespace {

void press_at(float x, float y) {
  mnw.mouse_x = x, mnw.mouse_y = y, mnw.mouse_click = 1;
  MACIBM_handleclick(0);
}

class Pump : public ::testing::Test {
 protected:
  void SetUp() override {
    shell_test_reset();
    xtim = xtim_class();
    MACIBM_clear_menus(1);
  }
  void TearDown() override { PUMP_set_time_source(nullptr); }
};

class Input : public Pump {
 protected:
  void SetUp() override {
    Pump::SetUp();
    KEYS_install_hook();
    shell_hooks.text_width = text_width;
    MACIBM_create_menu(3, -1, "File");
    for (int i = 0; i < 4; ++i) MACIBM_append_menu(3, i, 30 + i, i == 2 ? "=" : "Row", i == 3);
    MACIBM_create_menu(5, -1, "Edit");
    frame_after(0.02);
  }
  // A press and release at (x, y), then a frame.
  static void click(float x, float y) {
    PUMP_post_motion(static_cast<int>(x), static_cast<int>(768 - y));
    PUMP_post_button(1);
    PUMP_post_button(0);
    frame_after(0.02);
  }
};

TEST_F(Pump, FrameWaitFollowsTheScreenAndTheSetting) {
  // An alert waits long whatever the setting; other sub-windows pace as usual.
  const struct { int win_now, max_cpu; long wait_us; } cases[] = {
      {0, 0, 16000}, {0, 1, 0}, {995, 1, 160000}, {996, 1, 0}};
  int use_max_cpu = 0;
  shell_hooks.use_max_cpu = &use_max_cpu;
  for (const auto& c : cases) {
    mnw.win_now = c.win_now, use_max_cpu = c.max_cpu;
    EXPECT_EQ(c.wait_us, PUMP_frame_wait_us()) << c.win_now << "/" << c.max_cpu;
  }
}

TEST_F(Pump, TicksFireOnceAFrameAndALateFrameShiftsTheRhythm) {
  // Ticks are judged on the previous frame's time and need more than their
  // period: in frames of 0.3 s the 1 s tick fires after 1.2, then not at 2.1.
  const struct { double step; int frames; std::vector<float> fired_after; } cases[] = {
      {0.3, 9, {1.2f, 2.4f}}, {0.5, 8, {1.0f, 2.0f, 3.0f}}};
  for (const auto& c : cases) {
    shell_test_reset();
    xtim = xtim_class();
    std::vector<float> fired;
    float previous = 0;
    on_app_update = [&] {
      if (c.step == 0.3 ? xtim.ot1 : xtim.ot2) fired.push_back(previous);
      previous = xtim.real_time;
    };
    for (int i = 0; i <= c.frames; ++i) frame_after(i ? c.step : 0);
    ASSERT_EQ(c.fired_after.size(), fired.size()) << c.step;
    for (size_t i = 0; i < fired.size(); ++i) EXPECT_NEAR(c.fired_after[i], fired[i], 1e-4);
  }

  // After a long stall the 100 Hz tick fires once, not for every period missed.
  int fired = 0;
  on_app_update = [&] { fired += xtim.ot00; };
  frame_after(1.0);
  frame_after(0.001);   // judged on the time after the stall: fires
  fired = 0;
  for (int i = 0; i < 3; ++i) frame_after(0.001);
  EXPECT_EQ(0, fired);
  for (int i = 0; i < 8; ++i) frame_after(0.001);
  EXPECT_EQ(1, fired);
}

TEST_F(Pump, PeriodEstimatorsAreClampedAndPauseInAlerts) {
  const struct { double step; int frames; float rat_FM, prd_FM, prd_UI; } clamps[] = {
      {1.0, 600, 1.5f, 0.05263158f, 0.1f}, {0, 4000, 0.5f, 0.0010000999f, 0.0001f}};
  frame_after(0);
  for (const auto& c : clamps) {
    for (int i = 0; i < c.frames; ++i) frame_after(c.step);
    EXPECT_FLOAT_EQ(c.rat_FM, xtim.rat_FM) << c.step;
    EXPECT_FLOAT_EQ(c.prd_FM, xtim.prd_FM) << c.step;
    EXPECT_FLOAT_EQ(c.prd_UI, xtim.prd_UI) << c.step;
  }
  xtim.prd_FM = xtim.prd_UI = 0.01f;
  for (int i = 0; i < 10; ++i) frame_after(0.01);
  EXPECT_NEAR(1.0, xtim.rat_FM, 1e-3);
  // An alert's slow frames are measured by neither estimator, during or after.
  MACIBM_startwind(995);
  for (int i = 0; i < 40; ++i) frame_after(0.16);
  EXPECT_NEAR(0.01, xtim.prd_FM, 1e-5);
  EXPECT_NEAR(0.01, xtim.prd_UI, 1e-5);
  mnw.win_now = mnw.subwin_on = 0;
  for (int i = 0; i < 10; ++i) frame_after(0.01);
  EXPECT_NEAR(1.0, xtim.rat_FM, 0.02);
}

TEST_F(Pump, RepeatDoubleClickAndQuickReleaseMeasureFromThePress) {
  for (int i = 0; i <= 10; ++i) frame_after(i ? 0.2 : 0);   // far from the clock's start
  // A press or release (-1: none), the frame after it, and the edges then.
  // Repeat starts 0.25 s into a hold; a second press within 0.25 s of the
  // first is a double click, a release within 0.25 s a quick one.
  const struct { int press; double then; int repeat, double_click, quick_release; } steps[] = {
      {1, 0.02, 0, 0, 0}, {-1, 0.2, 0, 0, 0}, {-1, 0.1, 1, 0, 0}, {0, 0.02, 0, 0, 0},
      {1, 0.02, 0, 0, 0}, {0, 0.1, 0, 0, 1},  {1, 0.02, 0, 1, 0}, {-1, 0.3, 1, 0, 0},
      {1, 0.02, 1, 0, 0}};
  for (const auto& s : steps) {
    if (s.press >= 0) PUMP_post_button(s.press);
    frame_after(s.then);
    EXPECT_EQ((std::vector<int>{s.repeat, s.double_click, s.quick_release}),
              (std::vector<int>{mnw.mouse_repeat, mnw.double_click, mnw.quick_release}))
        << &s - steps;
  }
}

TEST(StartWind, EveryCodeIsCentredWithItsSizeAndTitle) {
  shell_test_reset();
  stls[601] = "alert title", stls[602] = "question", stls[614] = "chooser";
  const struct { int code, x_res, y_res; float dx, dy, x, y; const char* title; } cases[] = {
      {7, 1024, 768, 1024, 768, 0, 0, "before"},
      {997, 1024, 768, 700, 146, 162, 311, "question"},
      {995, 1024, 768, 400, 230, 312, 269, "alert title"},
      {998, 1024, 768, 341, 484, 342, 142, "chooser"},   // 341.5 rounds away from zero
      {998, 300, 400, 341, 484, -21, 0, "chooser"},      // only the bottom is clamped
      {1, 1025, 769, 500, 300, 263, 235, "EULA"}};
  for (const auto& c : cases) {
    stls[0] = "before";
    mnw.x_res = c.x_res, mnw.y_res = c.y_res;
    mnw.mouse_down = mnw.mouse_click = mnw.scroll_delta = 1;
    mnw.text_focus = mnw.menu_open = 3;
    stl_input = "typed";
    MACIBM_startwind(c.code);
    const std::string at = std::to_string(c.code) + " on " + std::to_string(c.x_res);
    EXPECT_EQ(c.code, mnw.win_now) << at;
    EXPECT_EQ(c.dx < 1024 ? 1 : 0, mnw.subwin_on) << at;
    EXPECT_EQ(c.title, stls[0]) << at;
    EXPECT_EQ((std::vector<float>{c.dx, c.dy, c.x, c.y}),
              (std::vector<float>{mnw.win_dx, mnw.win_dy, mnw.win_x, mnw.win_y})) << at;
    // Whatever was under way on the old screen is dropped.
    EXPECT_EQ(0, mnw.mouse_down + mnw.mouse_click + mnw.scroll_delta) << at;
    EXPECT_EQ(-2, mnw.text_focus + mnw.menu_open) << at;
    EXPECT_TRUE(stl_input.empty()) << at;
  }
  EXPECT_EQ(1, plot_init_lights);
}

TEST_F(Pump, CloseCornerClosesTheDialogBeforeAnyWidgetSeesThePress) {
  static int zapped = 0;
  zapped = 0;
  shell_hooks.zap_boxes = [](int open) { zapped += open; };
  // The corners' 25 by 20 boxes in the 500 by 300 dialog, edges included;
  // alerts and choosers have none.
  const struct { int code; float x, y; bool closes; } presses[] = {
      {1, 0, 280, true},    {1, 500, 300, true},    {1, 26, 290, false}, {1, 474, 290, false},
      {1, 10, 279.5f, false}, {1, 10, 301, false}, {995, 2, 228, false}, {998, 2, 482, false}};
  for (const auto& p : presses) {
    MACIBM_startwind(p.code);
    press_at(p.x, p.y);
    EXPECT_EQ(p.closes ? 0 : p.code, mnw.win_now) << p.code << ": " << p.x << "," << p.y;
    EXPECT_EQ(p.closes ? 0 : 1, mnw.mouse_click) << p.code << ": " << p.x << "," << p.y;
  }
  EXPECT_EQ(2, zapped);
  MACIBM_startwind(1);
  MACIBM_handleclick(1);   // Return: a forced close, wherever the pointer is
  EXPECT_EQ(0, mnw.win_now);
}

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
