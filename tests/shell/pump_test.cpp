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

template <class T>
void set_box(T& m, int x1, int y1, int x2, int y2) {
  m.x1 = static_cast<short>(x1);
  m.y1 = static_cast<short>(y1);
  m.x2 = static_cast<short>(x2);
  m.y2 = static_cast<short>(y2);
}

void press_at(float x, float y) {
  mnw.mouse_x = x;
  mnw.mouse_y = y;
  mnw.mouse_click = 1;
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

TEST_F(Pump, RepeatDoubleClickAndQuickReleaseMeasureFromThePress) {
  settle();
  click();
  EXPECT_EQ(0, mnw.double_click);
  frame_after(0.2);
  EXPECT_EQ(0, mnw.mouse_repeat);
  frame_after(0.1);
  EXPECT_EQ(1, mnw.mouse_repeat);   // held past 0.25 s
  PUMP_post_button(0);
  frame_after(0.02);
  EXPECT_EQ(0, mnw.mouse_repeat);
  EXPECT_EQ(0, mnw.quick_release);

  click();
  PUMP_post_button(0);
  frame_after(0.1);
  EXPECT_EQ(1, mnw.quick_release);
  click();   // within 0.25 s of the previous press
  EXPECT_EQ(1, mnw.double_click);
  frame_after(0.3);
  click();   // 0.32 s after it
  EXPECT_EQ(0, mnw.double_click);
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
    press_at(p.x, p.y);
    EXPECT_EQ(p.closes ? 0 : 1, mnw.win_now) << p.x << "," << p.y;
    EXPECT_EQ(p.closes ? 0 : 1, mnw.mouse_click) << p.x << "," << p.y;
  }
  EXPECT_EQ(4, zapped);

  // Return (a forced close) works anywhere; alerts and choosers have no corner.
  MACIBM_startwind(1);
  MACIBM_handleclick(1);
  EXPECT_EQ(0, mnw.win_now);
  for (int code : {995, 996, 997, 998, 999}) {
    MACIBM_startwind(code);
    press_at(2, mnw.win_dy - 2);
    EXPECT_EQ(code, mnw.win_now);
    EXPECT_EQ(1, mnw.mouse_click);
  }
}

TEST_F(Pump, MenusTakeThePressThatOpensAndPicksThem) {
  settle();
  set_box(menu[3], 10, 750, 60, 767);
  set_box(menu[5], 70, 750, 120, 767);
  menu[3].items.resize(3);   // the third item has no label
  menu[3].items[0].name = "Open";
  menu[3].items[0].id = 77;
  set_box(menu[3].items[0], 10, 720, 200, 740);
  menu[3].items[1].name = "-";
  set_box(menu[3].items[1], 10, 700, 200, 719);

  press_at(10, 767);   // box edges are inside
  EXPECT_EQ(3, mnw.menu_open);
  EXPECT_EQ(0, mnw.mouse_click);
  press_at(20, 760);   // the open menu's title closes it
  EXPECT_EQ(-1, mnw.menu_open);
  press_at(20, 760);
  press_at(50, 710);   // a separator is no item: the menu closes, the click goes on
  EXPECT_EQ(-1, mnw.menu_open);
  EXPECT_EQ(1, mnw.mouse_click);
  press_at(20, 760);
  press_at(50, 730);
  EXPECT_EQ((std::vector<int>{77}), menu_ids_seen);
  EXPECT_EQ(0, mnw.mouse_click);

  // With a menu open, the bar follows the pointer without a press.
  press_at(20, 760);
  PUMP_post_motion(90, 768 - 760);
  frame_after(0.02);
  EXPECT_EQ(5, mnw.menu_open);

  // The list's pop-up hands the picked row to its control, not to the app.
  menu_struct& pop = menu[popup_menu];
  set_box(pop, 100, 464, 200, 511);
  pop.items.resize(4);
  for (int i = 0; i < 4; ++i) {
    pop.items[i].name = "row";
    set_box(pop.items[i], 100, 500 - i * 12, 200, 511 - i * 12);
  }
  mnw.menu_open = popup_menu;
  active_popup_code = 4242;
  press_at(150, 478);
  EXPECT_EQ(4242, select_popup_code);
  EXPECT_EQ(0, active_popup_code);
  EXPECT_EQ(2, popup_menu_select);
  EXPECT_EQ(1u, menu_ids_seen.size());
  MACIBM_startwind(0);   // any window change empties the pop-up's box
  EXPECT_EQ(-1, pop.x1);
}

}  // namespace
