// A screen run by the frame pump with no display: nothing is drawn, but the
// installer sheet's buttons, the close corners and the help text answer the
// posted input frame by frame.
#include <gtest/gtest.h>

#include <string>

#include "app/interface.h"
#include "shell/hooks.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/draw.h"
#include "toolkit/frames.h"
#include "toolkit/toolkit.h"

namespace {

// The DESTINATION button's cell and place on the main screen.
const float bx = 10, by = 78, bu = 513, bv = 166, bw = 126, bh = 22;

struct screen_log {
  int hits = 0;
  float v = 0;   // the cell the button drew from in the last frame
};

// Window pixels from the top left, as X gives them, for a point of the screen.
void move_to(float x, float y) { PUMP_post_motion(int(x), int(768 - y)); }

class HeadlessScreen : public ::testing::Test {
 protected:
  void SetUp() override {
    shell_test_reset();
    TOOLKIT_install_hooks();
  }
  // The hooks and the test clock must not reach the window tests.
  void TearDown() override {
    shell_test_reset();
    PUMP_set_time_source(nullptr);
  }
};

}  // namespace

TEST_F(HeadlessScreen, ButtonsAndHelpAnswerThePumpWithoutADisplay) {
  ASSERT_FALSE(OGL_live());
  screen_log log;
  on_app_update = [&] {
    OGL_plot_back_col();
    log.hits += interface_rect(bx, by, bu, bv, bw, bh, 1, 1);
    log.v = interface_rect_v(bx, by, bv, bw, bh, 1);
    BTN_offer_help(bx, by, bx + bw, by + bh, "Choose the folder to install into");
  };
  frame_after(0.02);
  EXPECT_EQ(bv, log.v);

  // Over the button: the cell below; held: two below. The press fires once.
  move_to(bx + bw, by + bh);
  frame_after(0.02);
  EXPECT_EQ(bv - (bh + 1), log.v);
  PUMP_post_button(1);
  frame_after(0.02);
  EXPECT_EQ(1, log.hits);
  EXPECT_EQ(bv - 2 * (bh + 1), log.v);
  frame_after(0.02);
  EXPECT_EQ(1, log.hits) << "a press counts for one frame only";

  // Released elsewhere: the press still counted, and the button rests.
  move_to(bx + bw + 1, by);
  PUMP_post_button(0);
  frame_after(0.02);
  EXPECT_EQ(1, log.hits);
  EXPECT_EQ(bv, log.v);

  // Help is offered only while the pointer is on the button.
  EXPECT_TRUE(stls[stls_help].empty());
  move_to(bx, by);
  frame_after(1.5);
  EXPECT_EQ("Choose the folder to install into", stls[stls_help]);
}

TEST_F(HeadlessScreen, CloseCornerEndsASubWindow) {
  frame_after(0.02);
  MACIBM_startwind(2);   // the preferences
  ASSERT_EQ(2, mnw.win_now);
  EXPECT_EQ(0, BTN_zap_boxes(0));
  // The corner's hit box is the window's top left, 7 to 25 across.
  mnw.mouse_x = 7, mnw.mouse_y = mnw.win_dy - 1, mnw.mouse_click = 1;
  EXPECT_EQ(1, BTN_zap_boxes(0));
  mnw.mouse_click = 0;
  // Through the pump, a press in the corner takes the user back to the main screen.
  move_to(mnw.win_x + 10, mnw.win_y + mnw.win_dy - 5);
  PUMP_post_button(1);
  frame_after(0.02);
  EXPECT_EQ(0, mnw.win_now);
}
