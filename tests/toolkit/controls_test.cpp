// The controls and the text field, run by the frame pump with no display:
// posted pointer input, one frame at a time, as a screen meets them.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "files/mnw.h"
#include "shell/hooks.h"
#include "shell/menus.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/controls.h"
#include "toolkit/draw.h"
#include "toolkit/entry.h"
#include "toolkit/toolkit.h"

namespace {

void move_to(float x, float y) { PUMP_post_motion(int(x), int(768 - y)); }

// A press and a release at (x, y), a frame each, after a frame to get there.
void click_at(float x, float y) {
  move_to(x, y);
  frame_after(0.02);
  PUMP_post_button(1);
  frame_after(0.02);
  PUMP_post_button(0);
  frame_after(0.02);
}

class Controls : public ::testing::Test {
 protected:
  void SetUp() override {
    shell_test_reset();
    TOOLKIT_install_hooks();
    frame_after(0.02);
    ASSERT_FALSE(OGL_live());
  }
  void TearDown() override {
    shell_test_reset();
    PUMP_set_time_source(nullptr);
  }
};

TEST_F(Controls, EachHitBoxTakesItsEdgesAndNotOnePixelMore) {
  int iv = 0;
  float fv = 0;
  char cv[4] = "abc";
  std::string sv;
  struct row {
    const char* name;
    float x1, y1, x2, y2;
    std::function<int()> draw;
  };
  const row rows[] = {
      {"action", 150, 290, 250, 310, [&] { return BTN_action(200, 300, 100, 0, 0, "Go"); }},
      {"action fitted", 183, 290, 217, 310, [&] { return BTN_action(200, 300, 0, 0, 0, "Go"); }},
      {"bool", 192, 296, 208, 312, [&] { return BTN_bool(200, 300, &iv, "a|b{c", 0); }},
      {"tab", 91, 717, 181, 743, [&] { return BTN_tab(1, 0, &iv, 3, "Tab"); }},
      {"number", 200, 282, 230, 324,
       [&] { return BTN_flt_range(200, 300, &fv, 3, 0, -999, 999, ""); }},
      {"chars", 200, 282, 230, 324, [&] { return BTN_chars(200, 300, cv, 3, ""); }},
      {"list", 381, 298, 439, 308,
       [&] {
         BTN_textlist(400, 300, &iv, "Apple Pear", "");
         return int(active_popup_code == 400 + 300 * 1024);
       }},
      {"text field", 100, 200, 160, 208,
       [&] { return BTN_enterstring(100, 200, &sv, 10, 0, ""); }},
      {"slider grab", 90, 283, 310, 317,
       [&] { return BTN_horz_slider(100, 300, 200, 46, 0, 1, &fv, 1, "", ""); }},
  };
  for (const row& r : rows) {
    int fired = 0;
    on_app_update = [&] { fired |= r.draw(); };
    const float mx = float(int((r.x1 + r.x2) / 2)), my = float(int((r.y1 + r.y2) / 2));
    const float in[4][2] = {{r.x1, my}, {r.x2, my}, {mx, r.y1}, {mx, r.y2}};
    const float out[4][2] = {{r.x1 - 1, my}, {r.x2 + 1, my}, {mx, r.y1 - 1}, {mx, r.y2 + 1}};
    for (int i = 0; i < 4; ++i) {
      fired = 0;
      active_popup_code = 0;
      mnw.menu_open = -1;
      click_at(in[i][0], in[i][1]);
      EXPECT_TRUE(fired) << r.name << " edge " << i;
      fired = 0;
      active_popup_code = 0;
      mnw.menu_open = -1;
      click_at(out[i][0], out[i][1]);
      EXPECT_FALSE(fired) << r.name << " beyond edge " << i;
    }
  }
}

TEST_F(Controls, ChecksRadiosAndTabsWriteTheirValues) {
  int b = 0, radio = 2, tab = 0;
  unsigned char byt = 7;
  bool bol = false;
  on_app_update = [&] {
    BTN_bool(100, 100, &b, "|check", 0);
    BTN_xbyt(100, 150, &byt, "");
    BTN_xbol(100, 200, &bol, "");
    BTN_is_int(300, 100, &radio, 5, "|five");
    BTN_tab(0, 0, &tab, 4, "Four");
  };
  click_at(100, 104);
  EXPECT_EQ(1, b);
  click_at(100, 104);
  EXPECT_EQ(0, b);
  click_at(100, 154);
  EXPECT_EQ(0, byt) << "a set byte reads as checked and flips to 0";
  click_at(100, 204);
  EXPECT_TRUE(bol);
  click_at(300, 104);
  EXPECT_EQ(5, radio);
  click_at(300, 104);
  EXPECT_EQ(5, radio) << "a selected radio stays selected";
  click_at(53, mnw.win_dy - 38);
  EXPECT_EQ(4, tab);
}

TEST_F(Controls, NumberFieldsClampRoundAndStepTheDigitUnderThePointer) {
  struct row {
    const char* name;
    int digits, decimals;
    float lo, hi, start;
    float dx, dy;   // click offset from the field's origin; none when dx < 0
    float want;
    int ret;
  };
  const row rows[] = {
      {"above hi, no click", 3, 1, 0, 50, 75, -1, 0, 50, 0},
      {"rounded to decimals", 4, 2, 0, 99, 3.14159f, -1, 0, 3.14f, 0},
      {"first digit, upper half", 4, 1, 0, 999, 10, 0, 3, 110, 1},
      {"third digit, upper half", 4, 1, 0, 999, 10, 25, 3, 11, 1},
      {"third digit, lower half", 4, 1, 0, 999, 10, 25, 2, 9, 1},
      {"right edge, last digit", 4, 1, 0, 999, 10, 40, 24, 10.1f, 1},
      {"below lo after a step", 2, 0, 5, 50, 6, 5, -10, 5, 1},
  };
  for (const row& r : rows) {
    float v = r.start;
    int ret = 0;
    on_app_update = [&] {
      ret |= BTN_flt_range(200, 300, &v, r.digits, r.decimals, r.lo, r.hi, "");
    };
    if (r.dx < 0)
      frame_after(0.02);
    else
      click_at(200 + r.dx, 300 + r.dy);
    EXPECT_FLOAT_EQ(r.want, v) << r.name;
    EXPECT_EQ(r.ret, ret) << r.name;
  }

  // Integers go through a float: eight digits lose the last one, a double doesn't.
  int big = 87654321, two = 150, neg = -150;
  double dbig = 87654321;
  float signed_v = 12;
  on_app_update = [&] {
    BTN_int_range(0, 100, &big, 9, 0, 1e9f, "");
    BTN_dob_range(0, 200, &dbig, 9, 0, 0, 1e9, "");
    BTN_int(0, 300, &two, 2, 0, "");
    BTN_int(0, 400, &neg, 2, 1, "");
    BTN_fltij(0, 500, &signed_v, 3, 0, 1, "");
  };
  frame_after(0.02);
  EXPECT_EQ(87654320, big);
  EXPECT_EQ(87654321, dbig);
  EXPECT_EQ(99, two);
  EXPECT_EQ(-99, neg);
  click_at(2, 500);   // the sign column's lower half
  EXPECT_EQ(-12, signed_v);
}

TEST_F(Controls, CharacterFieldStepsThroughThePrintableSet) {
  char text[4] = "a~ ";
  on_app_update = [&] { BTN_chars(100, 100, text, 3, ""); };
  click_at(105, 103);
  click_at(115, 103);
  click_at(125, 102);
  EXPECT_STREQ("b ~", text);
}

TEST_F(Controls, ListOpensOverTheChosenItemAndTheChoiceArrivesOnTheItemsClick) {
  int value = 1, other = 0, box = 0, changed = 0;
  on_app_update = [&] {
    changed += BTN_textlist(400, 300, &value, "Apple Pear Plum-Tree", "");
    BTN_bool(420, 300 - 40, &box, "{box help", 0);   // under the open list's last item
    BTN_textlist(600, 300, &other, "One Two", "");
  };
  click_at(400, 303);
  ASSERT_EQ(popup_menu, mnw.menu_open);
  const menu_struct& pop = menu[popup_menu];
  ASSERT_EQ(3u, pop.items.size());
  EXPECT_EQ("Plum Tree", pop.items[2].name);
  // Item 1, the chosen one, lies on the control; 0 above it, 2 below.
  EXPECT_EQ(296, pop.items[1].y1);
  EXPECT_EQ(308, pop.items[0].y1);
  EXPECT_EQ(284, pop.items[2].y1);
  EXPECT_EQ(pop.items[2].y1, pop.y1);
  EXPECT_EQ(pop.items[0].y2 + 2, pop.y2);

  // While it is open, the check box under it neither fires nor offers help.
  move_to(420, 264);
  frame_after(0.02);
  EXPECT_TRUE(stls[stls_help].empty());
  // A click beside the items closes it for a moment only; the box stays inert.
  click_at(420, 264);
  EXPECT_EQ(0, box);
  EXPECT_EQ(popup_menu, mnw.menu_open);
  EXPECT_EQ(0, changed);

  click_at(pop.x1 + 2, 286);   // "Plum Tree"
  EXPECT_EQ(2, value);
  EXPECT_EQ(1, changed);
  EXPECT_EQ(-1, mnw.menu_open);

  // Another list drawn after an open one takes the pop-up over.
  click_at(400, 303);
  click_at(600, 303);
  EXPECT_EQ(600 + 300 * 1024, active_popup_code);
  EXPECT_EQ("One", menu[popup_menu].items[0].name);
}

TEST_F(Controls, SlidersAreHeldWhileTheButtonIsDown) {
  float h = 0.5f;
  int held = 0;
  on_app_update = [&] { held = BTN_horz_slider(100, 300, 200, 46, 0, 10, &h, 1, "", ""); };
  move_to(150, 300);
  frame_after(0.02);
  EXPECT_EQ(0, held);
  PUMP_post_button(1);
  frame_after(0.02);
  EXPECT_EQ(1, held);
  EXPECT_FLOAT_EQ(2.5f, h);
  move_to(500, 600);   // far off the trough, still held and clamped
  frame_after(0.02);
  EXPECT_EQ(1, held);
  EXPECT_FLOAT_EQ(10, h);
  PUMP_post_button(0);
  move_to(120, 300);
  frame_after(0.02);
  EXPECT_EQ(0, held);
  EXPECT_FLOAT_EQ(10, h);

  // The scroll bar: lo at the top, arrows beyond its ends, paging in the trough.
  int v = 0, vheld = 0;
  on_app_update = [&] { vheld = BTN_vert_slider(0, 500, 100, 400, 0, 100, &v); };
  click_at(500, 90);
  EXPECT_EQ(1, v);
  click_at(500, 150);
  EXPECT_EQ(11, v);
  click_at(505, 410);
  EXPECT_EQ(10, v);
  // Held on an arrow, it repeats on the half-second tick only.
  move_to(500, 90);
  PUMP_post_button(1);
  frame_after(0.02);
  for (int i = 0; i < 40; ++i) frame_after(0.05);
  PUMP_post_button(0);
  frame_after(0.02);
  EXPECT_GE(v, 14);
  EXPECT_LE(v, 15);
  // Grabbed at the knob, it follows the pointer; the top end is lo.
  const float knob = 390 + (109.0f - 390) / 100 * v;
  move_to(500, knob);
  PUMP_post_button(1);
  frame_after(0.02);
  EXPECT_EQ(1, vheld);
  move_to(500, 390);
  frame_after(0.02);
  EXPECT_EQ(0, v);
  PUMP_post_button(0);
  frame_after(0.02);
  EXPECT_EQ(0, vheld);

  int flat = 3;
  EXPECT_EQ(0, BTN_vert_slider(1, 500, 100, 400, 5, 5, &flat));
  EXPECT_EQ(3, flat);
}

TEST_F(Controls, TextFieldTakesTheFocusOnAClickAndEndsOnAPressElsewhere) {
  std::string a = "old", mirror, other = "kept";
  int took = 0;
  on_app_update = [&] {
    took += BTN_enterstring(100, 200, &a, 5, 0, "");
    BTN_enterstring(100, 100, &mirror, 5, 0, "");
    BTN_enterstring(100, 300, &other, 5, 1, "");
  };
  click_at(110, 204);
  EXPECT_EQ(1, took);
  EXPECT_EQ("", a);
  EXPECT_EQ(0, mnw.text_focus);
  stl_input = "abcdefgh";   // as the keyboard would leave it
  frame_after(0.02);
  EXPECT_EQ("abcde", a) << "cut at max_chars";
  EXPECT_EQ("abcde", stl_input);
  EXPECT_EQ("abcde", mirror) << "same index, same typing";
  EXPECT_EQ("kept", other);

  click_at(120, 204);   // again: the focus stays and nothing is erased
  EXPECT_EQ(1, took);
  EXPECT_EQ("abcde", a);
  EXPECT_EQ(0, mnw.text_focus);

  click_at(600, 600);   // elsewhere: typing ends, the text stays
  EXPECT_EQ(-1, mnw.text_focus);
  stl_input = "zz";
  frame_after(0.02);
  EXPECT_EQ("abcde", a);

  char c_text[8] = "abc";
  on_app_update = [&] { BTN_enterstring(100, 200, c_text, 7, 2, ""); };
  click_at(110, 204);
  stl_input = "xy";
  frame_after(0.02);
  EXPECT_STREQ("xy", c_text);
}

TEST_F(Controls, ActionShowsThePressAtOnceOnlyWhenAskedAndUp) {
  static int swaps = 0;
  shell_hooks.swap_buffers = [] { ++swaps; };
  struct row {
    int down, flash, extra_swaps;
  };
  const row rows[] = {{0, 1, 1}, {0, 2, 1}, {0, 0, 0}, {1, 1, 0}};
  for (const row& r : rows) {
    int hit = 0, inside = 0;
    on_app_update = [&] {
      const int before = swaps;
      hit += BTN_action(200, 300, 80, r.down, r.flash, "Go");
      inside += swaps - before;
    };
    click_at(200, 300);
    EXPECT_EQ(1, hit) << r.down << r.flash;
    EXPECT_EQ(r.extra_swaps, inside) << r.down << r.flash;
  }
}

}  // namespace
