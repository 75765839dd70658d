// The controls, frames and hit boxes, run by the frame pump with no display:
// posted pointer input, one frame at a time, as a screen meets them.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "app/interface.h"
#include "files/mnw.h"
#include "shell/keys.h"
#include "shell/menus.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/controls.h"
#include "toolkit/draw.h"
#include "toolkit/entry.h"
#include "toolkit/frames.h"
#include "toolkit/sheet.h"
#include "toolkit/toolkit.h"

namespace {

void move_to(float x, float y) { PUMP_post_motion(int(x), int(768 - y)); }

// Press at (x, y), release a frame later; held frames in between.
void click_at(float x, float y, int held = 0) {
  move_to(x, y);
  frame_after(0.02);
  PUMP_post_button(1);
  frame_after(0.02);
  for (int i = 0; i < held; ++i) frame_after(0.05);
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
  std::string sv;
  const struct {
    const char* name;
    float x1, y1, x2, y2;
    std::function<int()> draw;
  } rows[] = {
      {"action", 183, 290, 217, 310, [&] { return BTN_action(200, 300, 0, 0, 0, "Go"); }},
      {"bool", 192, 296, 208, 312, [&] { return BTN_bool(200, 300, &iv, "a|b{c", 0); }},
      {"radio", 192, 296, 208, 312, [&] { return BTN_is_int(200, 300, &iv, 7, "") && iv == 7; }},
      {"tab", 91, 717, 181, 743, [&] { return BTN_tab(1, 0, &iv, 3, "Tab"); }},
      {"number", 200, 282, 230, 324, [&] { return BTN_flt_range(200, 300, &fv, 3, 0, -9, 9, ""); }},
      {"list", 381, 298, 439, 308,
       [&] { return BTN_textlist(400, 300, &iv, "Apple Pear", ""), active_popup_code == 307600; }},
      {"text field", 100, 200, 160, 208, [&] { return BTN_enterstring(100, 200, &sv, 10, 0, ""); }},
      {"slider", 90, 283, 310, 317,
       [&] { return BTN_horz_slider(100, 300, 200, 46, 0, 1, &fv, 1, "", ""); }},
      {"installer button", 100, 200, 150, 220,
       [&] { return interface_rect(100, 200, 513, 166, 50, 20, 1, 0); }},
      {"left close corner", 7, 749, 25, 767, [&] { return BTN_zap_boxes(0); }},
      {"right close corner", 999, 749, 1017, 767, [&] { return BTN_zap_boxes(0); }},
  };
  mnw.win_dx = 1024;
  mnw.win_dy = 768;
  for (const auto& r : rows) {
    int fired = 0;
    on_app_update = [&] { fired |= r.draw(); };
    const float mx = float(int((r.x1 + r.x2) / 2)), my = float(int((r.y1 + r.y2) / 2));
    // In and out by turns, so no click lands twice in a row on a field.
    const float at[8][2] = {{r.x1, my}, {r.x1 - 1, my}, {r.x2, my}, {r.x2 + 1, my},
                            {mx, r.y1}, {mx, r.y1 - 1}, {mx, r.y2}, {mx, r.y2 + 1}};
    for (int i = 0; i < 8; ++i) {
      fired = active_popup_code = 0;
      mnw.menu_open = -1;
      click_at(at[i][0], at[i][1]);
      EXPECT_EQ(i % 2 == 0, fired != 0) << r.name << (i % 2 ? " beyond edge " : " edge ") << i / 2;
    }
  }
  // An open menu takes the click from the boxes under it.
  mnw.menu_open = 3, mnw.mouse_click = 1, mnw.mouse_x = 16, mnw.mouse_y = 760;
  EXPECT_EQ(0, BTN_zap_boxes(0));
  mnw.mouse_x = 125, mnw.mouse_y = 210;
  EXPECT_EQ(0, interface_rect(100, 200, 513, 166, 50, 20, 1, 0));
}

TEST_F(Controls, NumberFieldsClampRoundAndStepTheDigitUnderThePointer) {
  const struct {
    const char* name;
    int digits, decimals;
    float lo, hi, start;
    float dx, dy;   // click offset from the field's origin; none when dx < 0
    float want;
    int ret;
  } rows[] = {
      {"above hi, no click", 3, 1, 0, 50, 75, -1, 0, 50, 0},
      {"rounded to decimals", 4, 2, 0, 99, 3.14159f, -1, 0, 3.14f, 0},
      {"first digit, upper half", 4, 1, 0, 999, 10, 0, 3, 110, 1},
      {"third digit, lower half", 4, 1, 0, 999, 10, 25, 2, 9, 1},
      {"right edge, last digit", 4, 1, 0, 999, 10, 40, 24, 10.1f, 1},
      {"below lo after a step", 2, 0, 5, 50, 6, 5, -10, 5, 1},
  };
  for (const auto& r : rows) {
    float v = r.start;
    int ret = 0;
    on_app_update = [&] {
      ret |= BTN_flt_range(200, 300, &v, r.digits, r.decimals, r.lo, r.hi, "");
    };
    r.dx < 0 ? frame_after(0.02) : click_at(200 + r.dx, 300 + r.dy);
    EXPECT_FLOAT_EQ(r.want, v) << r.name;
    EXPECT_EQ(r.ret, ret) << r.name;
  }

  // Integers go through a float: eight digits lose the last one.
  int big = 87654321;
  on_app_update = [&] { BTN_int_range(0, 100, &big, 9, 0, 1e9f, ""); };
  frame_after(0.02);
  EXPECT_EQ(87654320, big);
}

TEST_F(Controls, ListOpensOverTheChosenItemAndTheChoiceArrivesInTheNextFrame) {
  int value = 1, other = 0, box = 0, changed = 0;
  MACIBM_create_menu(2, -1, "File");   // the bar's menus outlive the pop-up
  on_app_update = [&] {
    changed += BTN_textlist(400, 300, &value, "Apple Pear Plum-Tree", "");
    BTN_bool(420, 300 - 40, &box, "", 0);   // under the open list's last item
    BTN_textlist(600, 300, &other, "One Two", "");
  };
  click_at(400, 303);
  const menu_struct& pop = menu[popup_menu];
  ASSERT_EQ(3u, pop.items.size());
  // The chosen item lies on the control, the others above and below it.
  EXPECT_EQ((std::vector<int>{popup_menu, 296, pop.items[2].y1, pop.items[0].y2 + 2}),
            (std::vector<int>{mnw.menu_open, pop.items[1].y1, pop.y1, pop.y2}));
  EXPECT_EQ("Plum Tree", pop.items[2].name);
  EXPECT_EQ("File", menu[2].name);
  click_at(420, 264);   // beside the items: the box under them stays inert
  click_at(pop.x1 + 2, 286);   // "Plum Tree"
  EXPECT_EQ((std::vector<int>{2, 1, -1, 0}),
            (std::vector<int>{value, changed, mnw.menu_open, box}));
  // Another list drawn after an open one takes the pop-up over.
  click_at(400, 303);
  click_at(600, 303);
  EXPECT_EQ("One", menu[popup_menu].items[0].name);
}

// The scroll bar: lo at the top, arrows beyond its ends, paging in the
// trough, repeating on the half-second tick while held; the knob is held
// while the button is down.
TEST_F(Controls, ScrollBarStepsPagesAndHoldsItsKnob) {
  int v = 0, vheld = 0;
  on_app_update = [&] { vheld = BTN_vert_slider(0, 500, 100, 400, 0, 100, &v); };
  const struct { float y; int held, least, most; } clicks[] = {
      {90, 0, 1, 1}, {150, 0, 11, 11}, {410, 0, 10, 10}, {90, 40, 14, 15}};
  for (const auto& c : clicks) {
    click_at(505, c.y, c.held);
    EXPECT_TRUE(v >= c.least && v <= c.most) << c.y << ": " << v;
  }
  move_to(500, 390 + (109.0f - 390) / 100 * v);   // on the knob
  PUMP_post_button(1);
  frame_after(0.02);
  move_to(500, 390);
  frame_after(0.02);
  EXPECT_EQ((std::vector<int>{1, 0}), (std::vector<int>{vheld, v}));
}

TEST_F(Controls, TextFieldTakesTheFocusOnAClickAndEndsOnAPressElsewhere) {
  std::string a = "old", mirror, other = "kept";
  int took = 0;
  on_app_update = [&] {
    took += BTN_enterstring(100, 200, &a, 5, 0, "");
    BTN_enterstring(100, 100, &mirror, 5, 0, "");
    BTN_enterstring(100, 300, &other, 5, 1, "");
  };
  KEYS_install_hook();
  click_at(110, 204);
  for (unsigned long key : {'a', 'b', 'c', 'd', 'e', 'f', 'g'}) PUMP_post_key(key, 1);
  frame_after(0.02);
  PUMP_post_key(0xff08, 1);
  frame_after(0.02);
  // Cut at max_chars, so BackSpace takes what shows; one index, one text.
  EXPECT_EQ((std::vector<std::string>{"abcd", "abcd", "kept"}),
            (std::vector<std::string>{a, mirror, other}));
  click_at(120, 204);   // again: the focus stays and nothing is erased
  click_at(600, 600);   // elsewhere: typing ends, the text stays
  PUMP_post_key('z', 1);
  frame_after(0.02);
  EXPECT_EQ((std::vector<int>{1, -1}), (std::vector<int>{took, mnw.text_focus}));
  EXPECT_EQ("abcd", a);

  // The caller's buffer holds 500 bytes; a longer text is a fault, not a copy.
  const child_result r = run_in_child([] {
    std::string longer(600, 'x');
    return BTN_enterstring(0, 0, &longer[0], 10, 2, "") + 7;
  });
  EXPECT_NE(7, r.exit_code);
  EXPECT_NE(std::string::npos, r.out.find("String too long!")) << r.out;
}


// The DESTINATION button's cell and place on the main screen.
const float bx = 10, by = 78, bu = 513, bv = 166, bw = 126, bh = 22;

TEST_F(Controls, InstallerButtonAndHelpAnswerThePump) {
  int hits = 0;
  float v = 0;   // the cell the button drew from in the last frame
  on_app_update = [&] {
    OGL_plot_back_col();
    hits += interface_rect(bx, by, bu, bv, bw, bh, 1, 1);
    v = interface_rect_v(bx, by, bv, bw, bh, 1);
    BTN_offer_help(bx, by, bx + bw, by + bh, "Choose the folder to install into");
  };
  frame_after(0.02);
  EXPECT_EQ(bv, v);

  // Over the button: the cell below; held: two below. The press fires once.
  move_to(bx + bw, by + bh);
  frame_after(0.02);
  EXPECT_EQ(bv - (bh + 1), v);
  PUMP_post_button(1);
  frame_after(0.02);
  EXPECT_EQ((std::vector<float>{1, bv - 2 * (bh + 1)}), (std::vector<float>{float(hits), v}));
  frame_after(0.02);
  EXPECT_EQ(1, hits) << "a press counts for one frame only";

  // Released elsewhere: the press still counted, and the button rests.
  move_to(bx + bw + 1, by);
  PUMP_post_button(0);
  frame_after(0.02);
  EXPECT_EQ((std::vector<float>{1, bv}), (std::vector<float>{float(hits), v}));

  // Help is offered only while the pointer is on the button.
  EXPECT_TRUE(stls[stls_help].empty());
  move_to(bx, by);
  frame_after(1.5);
  EXPECT_EQ("Choose the folder to install into", stls[stls_help]);

  // None with a menu open; otherwise the last box under the pointer wins.
  on_app_update = nullptr;
  stls[stls_help].clear();
  mnw.mouse_x = 110, mnw.mouse_y = 210, mnw.menu_open = 3;
  BTN_offer_help(100, 200, 150, 220, "help");
  EXPECT_EQ("", stls[stls_help]);
  mnw.menu_open = -1;
  BTN_offer_help(100, 200, 150, 220, "first");
  BTN_offer_help(0, 0, 400, 300, "last");
  BTN_offer_help(300, 0, 400, 100, "elsewhere");
  EXPECT_EQ("last", stls[stls_help]);
}

TEST_F(Controls, LabelsTakenApart) {
  const char* expand[][4] = {
      {"Speed|run fast{Runs at full speed", "Speed", "run fast", "Runs at full speed"},
      {"|run at full speed all the time", "", "run at full speed all the time", ""},
      {"plain", "plain", "", ""},
      {"a|b|c", "a|b", "c", ""},
      {"Field{tip", "Field", "", "tip"},
  };
  for (auto& e : expand) {
    std::string left = "x", right = "x", help = "x";
    BTN_expand_label(e[0], &left, &right, &help);
    EXPECT_EQ((std::vector<std::string>{e[1], e[2], e[3]}),
              (std::vector<std::string>{left, right, help}));
  }
  const char* split[][3] = {
      {"Download folder", "Download", "folder"},
      {"short label!", "short label!", ""},            // 12 characters stay whole
      {"-a very long label here", "a very long label here", ""},
      {"abcdefghijklmnop", "abcdefghijklmnop", ""},     // nowhere to break
      {"left-handed-mouse", "left-handed-", "mouse"},   // nearest the middle, "-" on top
      {"abcd efgh ijk", "abcd", "efgh ijk"},            // a tie goes to the first
  };
  for (auto& e : split) {
    std::string top, bottom;
    BTN_split_label(e[0], &top, &bottom);
    EXPECT_EQ((std::vector<std::string>{e[1], e[2]}), (std::vector<std::string>{top, bottom}));
  }
}

}  // namespace
