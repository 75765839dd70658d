// Frames and hit boxes without a display: how panels are tiled, labels taken
// apart, and which boxes a click or the pointer reaches.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/interface.h"
#include "files/mnw.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/frames.h"
#include "toolkit/sheet.h"

namespace {

class Frames : public ::testing::Test {
 protected:
  void SetUp() override {
    shell_test_reset();
    mnw.win_dx = 400;
    mnw.win_dy = 300;
  }
};

// How strips are tiled is checked pixel by pixel under GL; here the types
// that have no strip or panel.
TEST_F(Frames, UnknownFrameTypes) {
  std::vector<strip_quad> q;
  EXPECT_FALSE(BTN_frame2_layout(21, 0, 0, 100, 100, &q));
  EXPECT_FALSE(BTN_frame1_layout(6, 100, 50, 80, &q));
  EXPECT_TRUE(q.empty());
  const child_result r = run_in_child([] {
    BTN_frame1(11, 100, 50, 80, 0);
    return 7;
  });
  EXPECT_NE(7, r.exit_code);
  EXPECT_NE(std::string::npos, r.out.find("Bad BTN_frame1 call!"));
}

TEST_F(Frames, PanelsAndTheVerticalStripTileBothWays) {
  for (const panel_source& p : frame2_panels) {
    std::vector<strip_quad> q;
    ASSERT_TRUE(BTN_frame2_layout(p.type, 20, 30, 157, 95, &q));
    // Covered once (the areas add up, nothing leaves the box), 1 to 1,
    // with the source's corners at the corners.
    float area = 0;
    for (const strip_quad& k : q) {
      EXPECT_TRUE(k.w == k.ds && k.h == k.dt && k.x >= 20 && k.x + k.w <= 177 && k.y >= 30 &&
                  k.y + k.h <= 125 && k.s >= p.s && k.s + k.ds <= p.s + p.size)
          << p.type;
      area += k.w * k.h;
    }
    EXPECT_EQ(157 * 95, area) << p.type;
    EXPECT_TRUE(q.front().s == p.s && q.front().t == p.t) << p.type;
    EXPECT_EQ(p.t + p.size, q.back().t + q.back().dt) << p.type;
  }
  std::vector<strip_quad> q;
  ASSERT_TRUE(BTN_frame0_layout(6, 490, 300, 260, &q));
  EXPECT_EQ(300, q.front().y);
  EXPECT_EQ(560, q.back().y + q.back().h);
  for (const strip_quad& k : q) EXPECT_TRUE(k.x == 490 && k.h == k.dt && k.w == k.ds);
}

TEST_F(Frames, LabelsTakenApart) {
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

TEST_F(Frames, HitBoxesIncludeTheirEdgesAndIgnoreAnOpenMenu) {
  struct probe {
    float x, y;
    int hit;
  };
  // interface_rect at (100, 200), 50 by 20, hot or not.
  const probe rect[] = {{100, 200, 1}, {150, 220, 1}, {99.9f, 210, 0}, {150.1f, 210, 0},
                        {125, 199.9f, 0}, {125, 220.1f, 0}};
  // Close corners: x 7 to 25 and 375 to 393, y 281 to 299.
  const probe zap[] = {{7, 281, 1},     {25, 299, 1},     {375, 281, 1},  {393, 299, 1},
                       {6.9f, 290, 0},  {25.1f, 290, 0},  {374.9f, 290, 0}, {393.1f, 290, 0},
                       {16, 280.9f, 0}, {16, 299.1f, 0}};
  for (int menu : {-1, 3}) {
    mnw.menu_open = menu;
    for (int click = 0; click < 2; ++click) {
      mnw.mouse_click = click;
      for (const probe& p : rect) {
        mnw.mouse_x = p.x, mnw.mouse_y = p.y;
        for (int hot = 0; hot < 2; ++hot)
          EXPECT_EQ(menu == -1 && click ? p.hit : 0,
                    interface_rect(100, 200, 513, 166, 50, 20, hot, 0))
              << p.x << "," << p.y;
      }
      for (const probe& p : zap) {
        mnw.mouse_x = p.x, mnw.mouse_y = p.y;
        EXPECT_EQ(menu == -1 && click ? p.hit : 0, BTN_zap_boxes(0)) << p.x << "," << p.y;
      }
    }
  }

  // The cell stays at rest when not hot, off the box or under an open menu;
  // its other states are followed through the pump on the installer screen.
  mnw.mouse_x = 110, mnw.mouse_y = 210, mnw.mouse_down = 1, mnw.menu_open = -1;
  EXPECT_EQ(166, interface_rect_v(100, 200, 166, 50, 22, 0));
  EXPECT_EQ(166, interface_rect_v(160, 200, 166, 50, 22, 1));
  mnw.menu_open = 3;
  EXPECT_EQ(166, interface_rect_v(100, 200, 166, 50, 22, 1));
  // Help: none with a menu open; otherwise the last box under the pointer wins.
  BTN_offer_help(100, 200, 150, 220, "help");
  EXPECT_EQ("", stls[stls_help]);
  mnw.menu_open = -1;
  BTN_offer_help(100, 200, 150, 220, "first");
  BTN_offer_help(0, 0, 400, 300, "last");
  BTN_offer_help(300, 0, 400, 100, "elsewhere");
  EXPECT_EQ("last", stls[stls_help]);
}

}  // namespace
