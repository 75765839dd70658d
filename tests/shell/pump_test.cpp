// The frame pump without a display: input is posted by the test and time is
// the test's clock.
#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "shell/clock.h"
#include "shell/hooks.h"
#include "shell/menus.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"

namespace {

class Pump : public ::testing::Test {
 protected:
  void SetUp() override {
    shell_test_reset();
    xtim = xtim_class();
    MACIBM_clear_menus(1);
  }
  void TearDown() override { PUMP_set_time_source(nullptr); }
  // Main-screen frames until real_time has passed 1 s, so presses are far from the clock's start.
  void settle() {
    frame_after(0);
    for (int i = 0; i < 10; ++i) frame_after(0.2);
  }
  void click() {
    PUMP_post_button(1);
    frame_after(0.02);
  }
};

TEST_F(Pump, FirstFrameOpensTheMainScreen) {
  mnw.win_now = -1;
  int updates = 0;
  int first_seen = -1;
  on_app_update = [&] {
    ++updates;
    first_seen = xtim.first_frame;
  };
  frame_after(0);
  EXPECT_EQ(0, mnw.win_now);
  EXPECT_FLOAT_EQ(1024, mnw.win_dx);
  EXPECT_EQ(1, updates);
  EXPECT_EQ(1, first_seen);
  EXPECT_EQ(0, xtim.first_frame);
  EXPECT_EQ(1, xtim.frame_count);

  // A modal screen draws itself: the application is not called under it.
  MACIBM_startwind(2);
  frame_after(0.02);
  EXPECT_EQ(1, updates);
  EXPECT_EQ(2, xtim.frame_count);
  EXPECT_GE(mnw.pulse, 0.4f);
  EXPECT_LE(mnw.pulse, 1.0f);
}

TEST_F(Pump, FrameWaitFollowsTheScreenAndTheSetting) {
  int use_max_cpu = 0;
  shell_hooks.use_max_cpu = &use_max_cpu;
  mnw.win_now = 0;
  EXPECT_EQ(16000, PUMP_frame_wait_us());
  use_max_cpu = 1;
  EXPECT_EQ(0, PUMP_frame_wait_us());
  // An alert waits long whatever the setting.
  mnw.win_now = 995;
  EXPECT_EQ(160000, PUMP_frame_wait_us());
  mnw.win_now = 996;
  EXPECT_EQ(0, PUMP_frame_wait_us());
}

TEST_F(Pump, TicksFireOnceAFrameAndALateFrameShiftsTheRhythm) {
  std::vector<float> one_hz_at;   // real_time of the previous frame when the 1 s tick fired
  float previous = 0;
  on_app_update = [&] {
    if (xtim.ot1) one_hz_at.push_back(previous);
    previous = xtim.real_time;
  };
  frame_after(0);
  for (int i = 0; i < 9; ++i) frame_after(0.3);
  // Ticks are judged on the previous frame's time: 1.2 is the first above 1.0,
  // and the next must pass 2.2, so 2.1 doesn't fire and 2.4 does.
  ASSERT_EQ(2u, one_hz_at.size());
  EXPECT_NEAR(1.2, one_hz_at[0], 1e-4);
  EXPECT_NEAR(2.4, one_hz_at[1], 1e-4);

  // After a long stall the 100 Hz tick fires once, not for every period missed.
  int fired = 0;
  on_app_update = [&] { fired += xtim.ot00; };
  frame_after(1.0);
  frame_after(0.001);   // judged on the time after the stall: fires
  fired = 0;
  frame_after(0.001);
  frame_after(0.001);
  frame_after(0.001);
  EXPECT_EQ(0, fired);   // no catching up on the hundred periods missed
  for (int i = 0; i < 8; ++i) frame_after(0.001);
  EXPECT_EQ(1, fired);

  // Every tick has its own period: over 10.5 s in frames of 0.05 s, a tick of
  // period p fires between 10.5 / (p + 0.05) and 10.5 / p times, and at most once a frame.
  const float periods[10] = {10, 5, 2, 1, 0.5f, 0.2f, 0.1f, 0.05f, 0.025f, 0.01f};
  int counts[10] = {0};
  on_app_update = [&] {
    const int flags[10] = {xtim.ot01, xtim.ot02, xtim.ot05, xtim.ot1, xtim.ot2,
                           xtim.ot5,  xtim.ot10, xtim.ot20, xtim.ot40, xtim.ot00};
    for (int i = 0; i < 10; ++i) counts[i] += flags[i];
  };
  for (int i = 0; i < 210; ++i) frame_after(0.05);
  for (int i = 0; i < 10; ++i) {
    EXPECT_GE(counts[i], static_cast<int>(10.5f / (periods[i] + 0.05f)) - 1) << i;
    EXPECT_LE(counts[i], std::min(210, static_cast<int>(10.5f / periods[i]) + 1)) << i;
  }
}

TEST_F(Pump, TickNeedsTimeStrictlyAboveItsPeriod) {
  std::vector<float> fired_at;
  float previous = 0;
  on_app_update = [&] {
    if (xtim.ot2) fired_at.push_back(previous);
    previous = xtim.real_time;
  };
  frame_after(0);
  for (int i = 0; i < 8; ++i) frame_after(0.5);
  // Frames exactly one period apart fire every second frame.
  EXPECT_EQ((std::vector<float>{1.0f, 2.0f, 3.0f}), fired_at);
}

TEST_F(Pump, PeriodEstimatorsAreClampedAndPauseInAlerts) {
  frame_after(0);
  for (int i = 0; i < 600; ++i) frame_after(1.0);
  EXPECT_FLOAT_EQ(1.5f, xtim.rat_FM);
  EXPECT_FLOAT_EQ(0.05263158f, xtim.prd_FM);
  EXPECT_FLOAT_EQ(0.1f, xtim.prd_UI);

  for (int i = 0; i < 4000; ++i) frame_after(0);
  EXPECT_FLOAT_EQ(0.5f, xtim.rat_FM);
  EXPECT_FLOAT_EQ(0.0010000999f, xtim.prd_FM);
  EXPECT_FLOAT_EQ(0.0001f, xtim.prd_UI);

  // Ten frames of a steady 10 ms period: one measurement at the true value.
  xtim.prd_FM = xtim.prd_UI = 0.01f;
  for (int i = 0; i < 10; ++i) frame_after(0.01);
  EXPECT_NEAR(1.0, xtim.rat_FM, 1e-3);
  EXPECT_NEAR(0.01, xtim.prd_FM, 1e-5);

  // An alert's slow frames are not measured by either estimator...
  MACIBM_startwind(995);
  for (int i = 0; i < 40; ++i) frame_after(0.16);
  EXPECT_NEAR(0.01, xtim.prd_FM, 1e-5);
  EXPECT_NEAR(0.01, xtim.prd_UI, 1e-5);
  // ... and not afterwards either, since the last times followed the clock.
  MACIBM_handleclick(1);   // no effect on an alert
  mnw.win_now = 0;
  mnw.subwin_on = 0;
  for (int i = 0; i < 10; ++i) frame_after(0.01);
  EXPECT_NEAR(1.0, xtim.rat_FM, 0.02);
  // A dialog that isn't an alert still counts as interface time.
  MACIBM_startwind(1);
  for (int i = 0; i < 20; ++i) frame_after(0.02);
  EXPECT_GT(xtim.prd_UI, 0.0105f);
  EXPECT_NEAR(0.01, xtim.prd_FM, 1e-3);
}

TEST_F(Pump, ClickIsSeenForExactlyOneFrameAndHeldUntilRelease) {
  settle();
  mnw.text_focus = 4;
  std::vector<int> clicks;
  on_app_update = [&] { clicks.push_back(mnw.mouse_click); };
  click();
  EXPECT_EQ(1, mnw.mouse_down);
  EXPECT_EQ(-1, mnw.text_focus);   // a press takes the focus off a text field
  EXPECT_EQ(0, mnw.double_click);
  frame_after(0.02);
  frame_after(0.02);
  EXPECT_EQ((std::vector<int>{1, 0, 0}), clicks);
  EXPECT_EQ(1, mnw.mouse_down);
  EXPECT_EQ(0, mnw.mouse_repeat);
  frame_after(0.25);
  EXPECT_EQ(1, mnw.mouse_repeat);   // held long enough to auto-repeat

  PUMP_post_button(0);
  frame_after(0.02);
  EXPECT_EQ(1, mnw.mouse_release);
  EXPECT_EQ(0, mnw.mouse_down);
  EXPECT_EQ(0, mnw.mouse_repeat);
  EXPECT_EQ(0, mnw.quick_release);
  frame_after(0.02);
  EXPECT_EQ(0, mnw.mouse_release);
}

TEST_F(Pump, DoubleClickAndQuickReleaseMeasureFromThePreviousPress) {
  settle();
  click();
  EXPECT_EQ(0, mnw.double_click);
  PUMP_post_button(0);
  frame_after(0.1);
  EXPECT_EQ(1, mnw.quick_release);
  click();   // within 0.25 s of the first press
  EXPECT_EQ(1, mnw.double_click);
  frame_after(0.3);
  click();   // 0.32 s after the second
  EXPECT_EQ(0, mnw.double_click);
  PUMP_post_button(0);
  frame_after(0.3);
  EXPECT_EQ(0, mnw.quick_release);
}

TEST_F(Pump, PointerIsInSubWindowUnitsFromTheBottomLeft) {
  settle();
  MACIBM_startwind(1);   // 500 by 300, centred at 262, 234
  PUMP_post_motion(262, 768 - 234);
  frame_after(0.02);
  EXPECT_FLOAT_EQ(0, mnw.mouse_x);
  EXPECT_FLOAT_EQ(0, mnw.mouse_y);
  PUMP_post_motion(1023, 0);
  frame_after(0.02);
  EXPECT_FLOAT_EQ(1023 - 262, mnw.mouse_x);
  EXPECT_FLOAT_EQ(768 - 234, mnw.mouse_y);
  EXPECT_EQ(0, mnw.on_sec_mon);
}

TEST_F(Pump, CursorHidesAfterTenStillSecondsAndReturnsOnMotion) {
  settle();
  PUMP_post_motion(100, 100);
  frame_after(0.02);
  for (int i = 0; i < 49; ++i) frame_after(0.2);
  EXPECT_TRUE(PUMP_cursor_showing());   // 9.8 s
  frame_after(0.4);
  EXPECT_EQ(1, mnw.hide_cursor);
  EXPECT_FALSE(PUMP_cursor_showing());
  frame_after(5);
  EXPECT_FALSE(PUMP_cursor_showing());
  // A move of half a pixel or less is not motion.
  PUMP_post_motion(100, 100);
  frame_after(0.02);
  EXPECT_FALSE(PUMP_cursor_showing());
  PUMP_post_motion(101, 100);
  frame_after(0.02);
  EXPECT_EQ(0, mnw.hide_cursor);
  EXPECT_TRUE(PUMP_cursor_showing());
}

TEST_F(Pump, HelpTextShowsAfterOneStillSecondInsideTheScreen) {
  settle();
  struct shown { float x, y, h; std::string text; };
  static std::vector<shown> tips;
  tips.clear();
  shell_hooks.draw_help = [](float x, float y, float h, const std::string& text) {
    tips.push_back({x, y, h, text});
  };
  std::string help;
  on_app_update = [&] { stls[stls_help] = help; };

  help = std::string(120, 'a');
  PUMP_post_motion(100, 768 - 100);
  frame_after(0.02);
  frame_after(0.5);
  EXPECT_TRUE(tips.empty());   // the pointer moved less than a second ago
  frame_after(0.6);
  ASSERT_EQ(1u, tips.size());
  EXPECT_FLOAT_EQ(10, tips[0].x);    // 100 - 400 held at the left edge
  EXPECT_FLOAT_EQ(100, tips[0].y);
  EXPECT_FLOAT_EQ(60, tips[0].h);    // 2 * 10 + 20, raised to the minimum

  help = std::string(5000, 'b');
  PUMP_post_motion(900, 768 - 740);
  frame_after(0.02);
  frame_after(1.1);
  ASSERT_EQ(2u, tips.size());
  EXPECT_FLOAT_EQ(500, tips[1].x);
  EXPECT_FLOAT_EQ(300, tips[1].h);
  EXPECT_FLOAT_EQ(748 - 300, tips[1].y);

  // The help string lives for one frame: a screen that offers none shows none.
  help.clear();
  frame_after(0.02);
  EXPECT_EQ(2u, tips.size());
}

TEST_F(Pump, KeysReachTheKeyboardWithTheirKeysymAndModifiersAreKept) {
  settle();
  static std::vector<unsigned long> keys_seen;
  keys_seen.clear();
  shell_hooks.handle_key = [](unsigned long keysym) { keys_seen.push_back(keysym); };

  PUMP_post_key(XK_Shift_L, 1);
  frame_after(0.02);
  EXPECT_EQ(1, linkey_shft);
  EXPECT_EQ(0, mnw.key_hit);
  PUMP_post_key(XK_a, 1);
  frame_after(0.02);
  EXPECT_EQ(1, mnw.key_hit);
  EXPECT_EQ(1, mnw.key_down);
  frame_after(0.02);
  EXPECT_EQ(0, mnw.key_hit);
  EXPECT_EQ(1, mnw.key_down);
  PUMP_post_key(XK_a, 0);
  PUMP_post_key(XK_Shift_L, 0);
  frame_after(0.02);
  EXPECT_EQ(0, mnw.key_down);
  EXPECT_EQ(0, linkey_shft);

  PUMP_post_key(XK_Control_R, 1);
  PUMP_post_key(XK_Alt_L, 1);
  PUMP_post_key(XK_Super_L, 1);
  PUMP_post_key(XK_ISO_Level3_Shift, 1);
  frame_after(0.02);
  EXPECT_EQ(1, linkey_ctrl);
  EXPECT_EQ(1, linkey_optn);
  EXPECT_EQ(0, mnw.key_hit);   // Super and AltGr are dropped
  PUMP_post_key(XK_Return, 1);
  PUMP_post_key(XK_Super_L, 0);   // a dropped key's release still ends the hold
  frame_after(0.02);
  EXPECT_EQ(0, mnw.key_down);
  EXPECT_EQ((std::vector<unsigned long>{XK_a, XK_Return}), keys_seen);
}

struct wind_case {
  int code, dx, dy, subwin;
  const char* title;
  float x, y;
};

TEST(StartWind, EveryCodeIsCentredWithItsSizeAndTitle) {
  shell_test_reset();
  stls[601] = "alert title";
  stls[602] = "small title";
  stls[613] = "version";
  stls[614] = "chooser";
  const wind_case cases[] = {
      {0, 1024, 768, 0, "before", 0, 0},         {1, 500, 300, 1, "EULA", 262, 234},
      {2, 500, 380, 1, "Prefs", 262, 194},       {994, 500, 300, 1, "version", 262, 234},
      {995, 400, 230, 1, "alert title", 312, 269}, {996, 300, 166, 1, "small title", 362, 301},
      {997, 700, 146, 1, "small title", 162, 311}, {998, 341, 484, 1, "chooser", 342, 142},
      {999, 341, 484, 1, "chooser", 342, 142},   {-1, 1024, 768, 0, "before", 0, 0},
      {7, 1024, 768, 0, "before", 0, 0},
  };
  for (const wind_case& c : cases) {
    stls[0] = "before";
    mnw.mouse_down = mnw.mouse_click = mnw.scroll_delta = 1;
    mnw.text_focus = 3;
    mnw.menu_open = 2;
    stl_input = "typed";
    MACIBM_startwind(c.code);
    EXPECT_EQ(c.code, mnw.win_now);
    EXPECT_FLOAT_EQ(c.dx, mnw.win_dx) << c.code;
    EXPECT_FLOAT_EQ(c.dy, mnw.win_dy) << c.code;
    EXPECT_EQ(c.subwin, mnw.subwin_on) << c.code;
    EXPECT_EQ(c.title, stls[0]) << c.code;
    EXPECT_FLOAT_EQ(c.x, mnw.win_x) << c.code;   // 341.5 rounds away from zero to 342
    EXPECT_FLOAT_EQ(c.y, mnw.win_y) << c.code;
    EXPECT_EQ(0, mnw.mouse_down + mnw.mouse_click + mnw.scroll_delta);
    EXPECT_EQ(-1, mnw.text_focus);
    EXPECT_EQ(-1, mnw.menu_open);
    EXPECT_TRUE(stl_input.empty());
  }
  EXPECT_EQ(1, plot_init_lights);
}

TEST(StartWind, SmallWindowsClampOnlyTheBottom) {
  shell_test_reset();
  mnw.x_res = 300;
  mnw.y_res = 400;
  MACIBM_startwind(998);   // 341 by 484
  EXPECT_FLOAT_EQ(-21, mnw.win_x);   // -20.5, away from zero, and left unclamped
  EXPECT_FLOAT_EQ(0, mnw.win_y);
  mnw.x_res = 1025;
  mnw.y_res = 769;
  MACIBM_startwind(1);
  EXPECT_FLOAT_EQ(263, mnw.win_x);
  EXPECT_FLOAT_EQ(235, mnw.win_y);
}

TEST_F(Pump, CloseCornerClosesTheDialogBeforeAnyWidgetSeesThePress) {
  settle();
  static int zapped = 0;
  zapped = 0;
  shell_hooks.zap_boxes = [](int open) { zapped += open; };
  struct point { float x, y; bool closes; };
  const point points[] = {{0, 280, true},     {25, 300, true},   {475, 280, true},
                          {500, 300, true},   {26, 290, false},  {474, 290, false},
                          {10, 279.5f, false}, {250, 300, false}, {10, 301, false}};
  for (const point& p : points) {
    MACIBM_startwind(1);
    mnw.mouse_x = p.x;
    mnw.mouse_y = p.y;
    mnw.mouse_click = 1;
    MACIBM_handleclick(0);
    EXPECT_EQ(p.closes ? 0 : 1, mnw.win_now) << p.x << "," << p.y;
    EXPECT_EQ(p.closes ? 0 : 1, mnw.mouse_click) << p.x << "," << p.y;
  }
  EXPECT_EQ(4, zapped);

  // Through the pump: the application, drawn in the same frame, sees no click.
  MACIBM_startwind(2);
  std::vector<int> clicks;
  on_app_update = [&] { clicks.push_back(mnw.mouse_click); };
  PUMP_post_motion(static_cast<int>(mnw.win_x) + 3, 768 - static_cast<int>(mnw.win_y) - 378);
  PUMP_post_button(1);
  frame_after(0.02);
  EXPECT_EQ(0, mnw.win_now);
  EXPECT_EQ(0, mnw.subwin_on);
  EXPECT_FLOAT_EQ(0, mnw.win_x);
  EXPECT_FLOAT_EQ(1024, mnw.win_dx);
  EXPECT_EQ((std::vector<int>{0}), clicks);
  EXPECT_EQ(0, mnw.mouse_down);
  frame_after(0.02);
  EXPECT_EQ(0, mnw.mouse_click);

  // Return (a forced close) works anywhere; alerts and choosers have no corner.
  MACIBM_startwind(1);
  MACIBM_handleclick(1);
  EXPECT_EQ(0, mnw.win_now);
  for (int code : {995, 996, 997, 998, 999}) {
    MACIBM_startwind(code);
    mnw.mouse_x = 2;
    mnw.mouse_y = mnw.win_dy - 2;
    mnw.mouse_click = 1;
    MACIBM_handleclick(0);
    EXPECT_EQ(code, mnw.win_now);
    EXPECT_EQ(1, mnw.mouse_click);
  }
}

void set_box(short& x1, short& y1, short& x2, short& y2, int a, int b, int c, int d) {
  x1 = static_cast<short>(a);
  y1 = static_cast<short>(b);
  x2 = static_cast<short>(c);
  y2 = static_cast<short>(d);
}

TEST_F(Pump, MenusTakeThePressThatOpensAndPicksThem) {
  settle();
  menu_struct& file = menu[3];
  set_box(file.x1, file.y1, file.x2, file.y2, 10, 750, 60, 767);
  menu_struct& edit = menu[5];
  set_box(edit.x1, edit.y1, edit.x2, edit.y2, 70, 750, 120, 767);
  file.items.resize(3);
  file.items[0].name = "Open";
  file.items[0].id = 77;
  set_box(file.items[0].x1, file.items[0].y1, file.items[0].x2, file.items[0].y2, 10, 720, 200, 740);
  file.items[1].name = "-";
  file.items[1].id = 78;
  set_box(file.items[1].x1, file.items[1].y1, file.items[1].x2, file.items[1].y2, 10, 700, 200, 719);

  auto press_at = [](float x, float y) {
    mnw.mouse_x = x;
    mnw.mouse_y = y;
    mnw.mouse_click = 1;
    MACIBM_handleclick(0);
  };
  press_at(10, 767);   // the box's corner is inside
  EXPECT_EQ(3, mnw.menu_open);
  EXPECT_EQ(0, mnw.mouse_click);
  press_at(20, 760);   // pressing the open menu's title closes it
  EXPECT_EQ(-1, mnw.menu_open);

  press_at(20, 760);
  press_at(50, 710);   // a separator is not an item: the menu closes, the click goes on
  EXPECT_EQ(-1, mnw.menu_open);
  EXPECT_EQ(1, mnw.mouse_click);
  EXPECT_TRUE(menu_ids_seen.empty());

  press_at(20, 760);
  press_at(50, 730);
  EXPECT_EQ((std::vector<int>{77}), menu_ids_seen);
  EXPECT_EQ(-1, mnw.menu_open);
  EXPECT_EQ(0, mnw.mouse_click);

  // With a menu open, the bar follows the pointer without a press.
  press_at(20, 760);
  PUMP_post_motion(90, 768 - 760);
  frame_after(0.02);
  EXPECT_EQ(5, mnw.menu_open);
}

TEST_F(Pump, PopupItemHandsItsIndexToTheListControl) {
  menu_struct& pop = menu[popup_menu];
  set_box(pop.x1, pop.y1, pop.x2, pop.y2, 100, 464, 200, 511);
  pop.items.resize(4);
  for (int i = 0; i < 4; ++i) {
    pop.items[i].name = "row";
    set_box(pop.items[i].x1, pop.items[i].y1, pop.items[i].x2, pop.items[i].y2, 100,
            500 - i * 12, 200, 511 - i * 12);
  }
  mnw.menu_open = popup_menu;
  active_popup_code = 4242;
  mnw.mouse_x = 150;
  mnw.mouse_y = 478;   // third row
  mnw.mouse_click = 1;
  MACIBM_handleclick(0);
  EXPECT_EQ(4242, select_popup_code);
  EXPECT_EQ(0, active_popup_code);
  EXPECT_EQ(2, popup_menu_select);
  EXPECT_EQ(-1, mnw.menu_open);
  EXPECT_TRUE(menu_ids_seen.empty());
  // Opening any window empties the pop-up's box.
  MACIBM_startwind(0);
  EXPECT_EQ(-1, menu[popup_menu].x1);
  EXPECT_EQ(-1, menu[popup_menu].y2);
}

}  // namespace
