// Frames and hit boxes without a display: how strips and panels are tiled,
// labels taken apart, and which boxes a click or the pointer reaches.
#include <gtest/gtest.h>

#include <cmath>
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

const strip_source& strip(int type) {
  for (const strip_source& s : frame1_strips)
    if (s.type == type) return s;
  return frame1_strips[0];
}

// Checks one strip's quads: caps at natural width at both ends, whole tiles
// in between (only the last cut), every quad 1 to 1 with its source, and
// nothing past the ends. Returns the strip's [left, right).
void check_strip(int type, float cx, float w, float* left_out, float* right_out) {
  std::vector<strip_quad> q;
  ASSERT_TRUE(BTN_frame1_layout(type, cx, 100, w, &q));
  const strip_source& s = strip(type);
  const float wide = (type == 9 || type == 10) ? 4 : 0;
  const float W = 2 * std::round((w + wide) / 2), X = 2 * std::round(cx / 2);
  const float left = X - W / 2, right = X + W / 2;
  *left_out = left;
  *right_out = right;
  const std::string where = "type " + std::to_string(type) + " w " + std::to_string(w);
  ASSERT_GE(q.size(), 2u) << where;
  for (const strip_quad& k : q) {
    EXPECT_EQ(k.w, k.ds) << where;   // never stretched
    EXPECT_EQ(k.h, k.dt) << where;
    EXPECT_EQ(s.height, k.h) << where;
    EXPECT_EQ(s.t, k.t) << where;
    EXPECT_EQ(100 - s.height / 2 - ((type == 0 || type == 1) ? 3 : 0), k.y) << where;
    EXPECT_EQ(k.x, std::round(k.x)) << where;   // whole pixels
  }
  EXPECT_EQ(left, q.front().x) << where;
  EXPECT_EQ(s.cap, q.front().w) << where;
  EXPECT_EQ(s.s, q.front().s) << where;
  EXPECT_EQ(right, q.back().x + q.back().w) << where;
  EXPECT_EQ(s.total - s.body_end, q.back().w) << where;
  EXPECT_EQ(s.s + s.body_end, q.back().s) << where;
  const float tile = s.body_end - s.cap;
  for (size_t i = 1; i + 1 < q.size(); ++i) {
    EXPECT_EQ(s.s + s.cap, q[i].s) << where;
    EXPECT_EQ(q[i - 1].x + q[i - 1].w, q[i].x) << where;   // no gap, no overlap
    if (i + 2 < q.size()) {
      EXPECT_EQ(tile, q[i].w) << where;
    }
    EXPECT_GT(q[i].w, 0) << where;
    EXPECT_LE(q[i].w, tile) << where;
  }
  if (q.size() > 2) {
    EXPECT_EQ(q.back().x, q[q.size() - 2].x + q[q.size() - 2].w) << where;
  }
}

TEST_F(Frames, StripsAreTiledNeverStretched) {
  const float widths[] = {20, 41, 57.5f, 100, 131, 300, 1008};
  for (const strip_source& s : frame1_strips)
    for (float w : widths) {
      if (w < 2 * s.cap) continue;
      float l, r;
      check_strip(s.type, 301, w, &l, &r);
      // Width and centre to even pixels; 9 and 10 four wider.
      const float wide = (s.type == 9 || s.type == 10) ? 4 : 0;
      EXPECT_EQ(2 * std::round((w + wide) / 2), r - l) << s.type << " " << w;
      EXPECT_EQ(302, (l + r) / 2);
    }
  // A body of exactly n tiles has no cut piece.
  std::vector<strip_quad> q;
  BTN_frame1_layout(2, 200, 20 + 3 * 32, 100, &q);
  EXPECT_EQ(5u, q.size());
  // The status screen's progress trough: 884 wide at 574.
  float l, r;
  check_strip(4, 574, 884, &l, &r);
  EXPECT_EQ(132, l);
  EXPECT_EQ(1016, r);
}

TEST_F(Frames, NarrowStripOverlapsItsCaps) {
  std::vector<strip_quad> q;
  ASSERT_TRUE(BTN_frame1_layout(2, 100, 50, 8, &q));
  ASSERT_EQ(2u, q.size());
  EXPECT_EQ(96, q[0].x);
  EXPECT_EQ(10, q[0].w);
  EXPECT_EQ(104, q[1].x + q[1].w);
  EXPECT_LT(q[1].x, q[0].x + q[0].w);
}

TEST_F(Frames, BadStripTypeIsTold) {
  std::vector<strip_quad> q;
  EXPECT_FALSE(BTN_frame1_layout(6, 100, 50, 80, &q));
  EXPECT_TRUE(q.empty());
  EXPECT_FALSE(BTN_frame1_layout(11, 100, 50, 80, &q));
  const child_result r = run_in_child([] {
    BTN_frame1(6, 100, 50, 80, 0);
    return 7;
  });
  EXPECT_NE(7, r.exit_code);
  EXPECT_NE(std::string::npos, r.out.find("Bad BTN_frame1 call!"));
}

TEST_F(Frames, PanelsAndVerticalStripTileBothWays) {
  for (const panel_source& p : frame2_panels) {
    std::vector<strip_quad> q;
    ASSERT_TRUE(BTN_frame2_layout(p.type, 20, 30, 157, 95, &q));
    // Covered exactly once: the areas add up, and nothing leaves the box.
    float area = 0;
    for (const strip_quad& k : q) {
      EXPECT_EQ(k.w, k.ds);
      EXPECT_EQ(k.h, k.dt);
      EXPECT_GE(k.x, 20);
      EXPECT_LE(k.x + k.w, 177);
      EXPECT_GE(k.y, 30);
      EXPECT_LE(k.y + k.h, 125);
      EXPECT_GE(k.s, p.s);
      EXPECT_LE(k.s + k.ds, p.s + p.size);
      EXPECT_GE(k.t, p.t);
      EXPECT_LE(k.t + k.dt, p.t + p.size);
      area += k.w * k.h;
    }
    EXPECT_EQ(157 * 95, area) << p.type;
    // The corners are the source's corners.
    EXPECT_EQ(p.s, q.front().s);
    EXPECT_EQ(p.t, q.front().t);
    EXPECT_EQ(p.s + p.size, q.back().s + q.back().ds);
    EXPECT_EQ(p.t + p.size, q.back().t + q.back().dt);
  }
  std::vector<strip_quad> q;
  EXPECT_FALSE(BTN_frame2_layout(21, 0, 0, 100, 100, &q));

  ASSERT_TRUE(BTN_frame0_layout(6, 490, 300, 260, &q));
  const vstrip_source& v = frame0_strips[0];
  EXPECT_EQ(300, q.front().y);
  EXPECT_EQ(560, q.back().y + q.back().h);
  for (const strip_quad& k : q) {
    EXPECT_EQ(490, k.x);
    EXPECT_EQ(v.width, k.w);
    EXPECT_EQ(k.h, k.dt);
  }
}

TEST_F(Frames, LabelsTakenApart) {
  struct row {
    const char *label, *left, *right, *help;
  } rows[] = {
      {"Speed|run fast{Runs at full speed", "Speed", "run fast", "Runs at full speed"},
      {"|run at full speed all the time", "", "run at full speed all the time", ""},
      {"plain", "plain", "", ""},
      {"a|b|c", "a|b", "c", ""},
      {"Field{tip", "Field", "", "tip"},
      {"", "", "", ""},
  };
  for (const row& r : rows) {
    std::string left = "x", right = "x", help = "x";
    BTN_expand_label(r.label, &left, &right, &help);
    EXPECT_EQ(r.left, left) << r.label;
    EXPECT_EQ(r.right, right) << r.label;
    EXPECT_EQ(r.help, help) << r.label;
  }

  struct split {
    const char *text, *top, *bottom;
  } splits[] = {
      {"Download folder", "Download", "folder"},
      {"short label!", "short label!", ""},           // 12: stays whole
      {"-a very long label here", "a very long label here", ""},
      {"abcdefghijklmnop", "abcdefghijklmnop", ""},    // nowhere to break
      {"left-handed-mouse", "left-handed-", "mouse"},  // nearest the middle, "-" on top
      {"ab/cdefghijklm", "ab/", "cdefghijklm"},
      {"abcd efgh ijk", "abcd", "efgh ijk"},           // a tie goes to the first
  };
  for (const split& s : splits) {
    std::string top, bottom;
    BTN_split_label(s.text, &top, &bottom);
    EXPECT_EQ(s.top, top) << s.text;
    EXPECT_EQ(s.bottom, bottom) << s.text;
  }
}

TEST_F(Frames, HitBoxesIncludeTheirEdges) {
  struct probe {
    float x, y;
    int hit;
  };
  // interface_rect at (100, 200), 50 by 20; hot or not, it reports.
  const probe rect[] = {{100, 200, 1}, {150, 220, 1},  {125, 210, 1}, {99.9f, 210, 0},
                        {150.1f, 210, 0}, {125, 199.9f, 0}, {125, 220.1f, 0}};
  for (const probe& p : rect)
    for (int hot = 0; hot < 2; ++hot) {
      mnw.mouse_x = p.x;
      mnw.mouse_y = p.y;
      mnw.mouse_click = 1;
      EXPECT_EQ(p.hit, interface_rect(100, 200, 513, 166, 50, 20, hot, 0)) << p.x << "," << p.y;
      mnw.mouse_click = 0;
      EXPECT_EQ(0, interface_rect(100, 200, 513, 166, 50, 20, hot, 0));
    }

  // Close corners: x 7 to 25 and win_dx - 25 to win_dx - 7, y win_dy - 19 to win_dy - 1.
  const probe zap[] = {{7, 281, 1},    {25, 299, 1},  {375, 281, 1}, {393, 299, 1},
                       {6.9f, 290, 0}, {25.1f, 290, 0}, {374.9f, 290, 0}, {393.1f, 290, 0},
                       {16, 280.9f, 0}, {16, 299.1f, 0}, {200, 290, 0}};
  mnw.mouse_click = 1;
  for (const probe& p : zap) {
    mnw.mouse_x = p.x;
    mnw.mouse_y = p.y;
    EXPECT_EQ(p.hit, BTN_zap_boxes(0)) << p.x << "," << p.y;
  }
}

TEST_F(Frames, NothingReactsWithAMenuOpen) {
  mnw.mouse_x = 16;
  mnw.mouse_y = 290;
  mnw.mouse_click = 1;
  mnw.mouse_down = 1;
  mnw.menu_open = 3;
  EXPECT_EQ(0, BTN_zap_boxes(0));
  EXPECT_EQ(0, interface_rect(10, 280, 513, 166, 20, 20, 1, 0));
  EXPECT_EQ(166, interface_rect_v(10, 280, 166, 20, 20, 1));
  BTN_offer_help(10, 280, 30, 300, "help");
  EXPECT_EQ("", stls[stls_help]);
  EXPECT_FALSE(BTN_clicked_in(0, 0, 400, 300));

  mnw.menu_open = -1;
  EXPECT_EQ(1, BTN_zap_boxes(0));
  EXPECT_TRUE(BTN_clicked_in(0, 0, 400, 300));
  BTN_offer_help(10, 280, 30, 300, "first");
  BTN_offer_help(0, 0, 400, 300, "last");   // the last control under the pointer wins
  BTN_offer_help(100, 100, 120, 120, "elsewhere");
  EXPECT_EQ("last", stls[stls_help]);
}

TEST_F(Frames, HotCellFollowsThePointer) {
  // Cell drawn from v, v - (h + 1) under the pointer, v - 2 (h + 1) pressed.
  mnw.mouse_x = 110;
  mnw.mouse_y = 210;
  EXPECT_EQ(166, interface_rect_v(100, 200, 166, 50, 22, 0));
  EXPECT_EQ(143, interface_rect_v(100, 200, 166, 50, 22, 1));
  mnw.mouse_down = 1;
  EXPECT_EQ(120, interface_rect_v(100, 200, 166, 50, 22, 1));
  EXPECT_EQ(166, interface_rect_v(100, 200, 166, 50, 22, 0));
  mnw.mouse_x = 151;
  EXPECT_EQ(166, interface_rect_v(100, 200, 166, 50, 22, 1));
}

TEST_F(Frames, SubPanelsStack) {
  float nx = 0, ny = 0;
  BTN_subwin(20, 13, -1, -1, -1, -1, "", &nx, &ny);
  // x and y 10; w to the right edge, 400 - 10 - 10; h to the top, 300 - 10 - 20 - 28.
  EXPECT_EQ(10 + 380 + 10, nx);
  EXPECT_EQ(10 + 242 + 10, ny);
  BTN_subwin(0, 13, 50, 60, 100, 40, "", &nx, &ny);
  EXPECT_EQ(160, nx);
  EXPECT_EQ(110, ny);
}

}  // namespace
