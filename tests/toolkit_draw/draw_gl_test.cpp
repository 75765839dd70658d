// The state cache and the primitives against real GL: a private Xvfb with
// Mesa, pixels read back from the back buffer.
#include <gtest/gtest.h>

#include <GL/gl.h>

#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "files/mnw.h"
#include "shell/glprobe.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/colours.h"
#include "toolkit/draw.h"
#include "toolkit/sheet.h"
#include "toolkit/textures.h"
#include "xvfb.h"

namespace {

class Gl : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    server = new xvfb_class;
    ASSERT_TRUE(server->start(1024, 768)) << "Xvfb did not start";
    shell_test_reset();
    MACIBM_setres(1);
    ASSERT_EQ(1, MACIBM_make_context(0));
    glGetIntegerv(GL_MAX_TEXTURE_UNITS, &ren.max_tex_units);
  }
  static void TearDownTestSuite() {
    delete server;
    server = nullptr;
  }
  void SetUp() override {
    ASSERT_TRUE(OGL_live());
    mnw.win_now = 0;
    mnw.win_x = mnw.win_y = 0;
    OGL_pix_specs(0);
    OGL_reset_state_cache();
    glDisable(GL_SCISSOR_TEST);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
  }
  static xvfb_class* server;
};
xvfb_class* Gl::server = nullptr;

// R, G, B of a window pixel, counted from the lower left.
std::vector<int> rgb_at(int x, int y) {
  unsigned char p[4] = {0, 0, 0, 0};
  glReadBuffer(GL_BACK);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, p);
  return {p[0], p[1], p[2]};
}

const std::vector<int> black = {0, 0, 0};

bool enabled_on_unit(int unit, GLenum cap) {
  glActiveTexture(GL_TEXTURE0 + unit);
  const bool on = glIsEnabled(cap);
  glActiveTexture(GL_TEXTURE0);
  return on;
}

// Fog, lighting, light 0, blending, alpha test, depth test, depth mask.
std::vector<bool> switches() {
  GLboolean mask = GL_FALSE;
  glGetBooleanv(GL_DEPTH_WRITEMASK, &mask);
  return {glIsEnabled(GL_FOG) != 0,   glIsEnabled(GL_LIGHTING) != 0,
          glIsEnabled(GL_LIGHT0) != 0, glIsEnabled(GL_BLEND) != 0,
          glIsEnabled(GL_ALPHA_TEST) != 0, glIsEnabled(GL_DEPTH_TEST) != 0, mask != 0};
}

std::vector<int> cached() {
  int s[7];
  OGL_cached_state(s);
  return std::vector<int>(s, s + 7);
}

TEST_F(Gl, StateSwitchReachesGlAndClampsTheTextureCount) {
  OGL_setstate(0, 0, 2, 7, 8, 10);
  EXPECT_EQ(std::vector<bool>(7, true), switches());
  OGL_setstate(1, 0, 3, 4, 9, 11);
  EXPECT_EQ(std::vector<bool>(7, false), switches());
  // Blending and the alpha test switch separately.
  OGL_setstate(1, 0, 3, 5, 9, 11);
  EXPECT_TRUE(glIsEnabled(GL_BLEND) && !glIsEnabled(GL_ALPHA_TEST));
  OGL_setstate(1, 0, 3, 6, 9, 11);
  EXPECT_TRUE(!glIsEnabled(GL_BLEND) && glIsEnabled(GL_ALPHA_TEST));

  // More units than the driver has: all of them, at most the six walked.
  ASSERT_GE(ren.max_tex_units, 2);
  const int walked = std::min(6, ren.max_tex_units);
  OGL_setstate(1, ren.max_tex_units + 5, 3, 4, 9, 11);
  EXPECT_EQ(ren.max_tex_units, cached()[1]);
  for (int u = 0; u < walked; ++u) EXPECT_TRUE(enabled_on_unit(u, GL_TEXTURE_2D)) << u;
  GLint active = 0;
  glGetIntegerv(GL_ACTIVE_TEXTURE, &active);
  EXPECT_EQ(GL_TEXTURE0, active);
  OGL_setstate(1, 1, 3, 4, 9, 11);
  EXPECT_TRUE(enabled_on_unit(0, GL_TEXTURE_2D));
  for (int u = 1; u < walked; ++u) EXPECT_FALSE(enabled_on_unit(u, GL_TEXTURE_2D)) << u;
  OGL_setstate(1, -3, 3, 4, 9, 11);
  EXPECT_EQ(0, cached()[1]);
  EXPECT_FALSE(enabled_on_unit(0, GL_TEXTURE_2D));
}

TEST_F(Gl, CacheStartsFromGlAndIsTrustedUnlessBypassed) {
  // Blending left on behind the cache's back is read on the first call.
  glEnable(GL_BLEND);
  OGL_setstate(1, 0, 3, 4, 9, 11);
  EXPECT_FALSE(glIsEnabled(GL_BLEND));
  EXPECT_EQ((std::vector<int>{1, 0, 3, 0, 0, 9, 11}), cached());

  // Once cached, a change behind its back stays unseen: that is the saving.
  OGL_setstate(1, 0, 3, 5, 9, 11);
  glDisable(GL_BLEND);
  OGL_setstate(1, 0, 3, 5, 9, 11);
  EXPECT_FALSE(glIsEnabled(GL_BLEND));
  ogl_cache_bypass = 1;
  OGL_setstate(1, 0, 3, 5, 9, 11);
  ogl_cache_bypass = 0;
  EXPECT_TRUE(glIsEnabled(GL_BLEND));
}

TEST_F(Gl, RectanglesAndLinesLandOnTheirPixelsInTheSubWindow) {
  mnw.win_x = 100;
  mnw.win_y = 50;
  colr.assign(90, 1, 0, 0);
  colr.assign(91, 0, 1, 0);
  colr.assign(92, 0, 0, 1);

  // Filled: columns 110 to 139, rows 70 to 84.
  OGL_fillrect(90, 1, 10, 20, 30, 15);
  EXPECT_EQ((std::vector<int>{255, 0, 0}), rgb_at(110, 70));
  EXPECT_EQ((std::vector<int>{255, 0, 0}), rgb_at(139, 84));
  EXPECT_EQ(black, rgb_at(109, 70));
  EXPECT_EQ(black, rgb_at(140, 84));
  EXPECT_EQ(black, rgb_at(110, 69));
  EXPECT_EQ(black, rgb_at(139, 85));

  // Framed: the outline through columns 300 and 320, rows 150 and 160.
  OGL_framerect(91, 1, 200, 100, 20, 10);
  const std::vector<int> green = {0, 255, 0};
  EXPECT_EQ(green, rgb_at(310, 150));
  EXPECT_EQ(green, rgb_at(310, 160));
  EXPECT_EQ(green, rgb_at(300, 155));
  EXPECT_EQ(green, rgb_at(320, 155));
  EXPECT_EQ(black, rgb_at(310, 155));
  EXPECT_EQ(black, rgb_at(310, 149));
  EXPECT_EQ(black, rgb_at(310, 161));
  EXPECT_EQ(black, rgb_at(299, 155));
  EXPECT_EQ(black, rgb_at(321, 155));

  // A line on a pixel boundary stays on the one row above it.
  OGL_line(92, 1, 0, 300, 50, 300);
  for (int x = 100; x < 150; x += 7) EXPECT_EQ((std::vector<int>{0, 0, 255}), rgb_at(x, 350)) << x;
  EXPECT_EQ(black, rgb_at(120, 349));
  EXPECT_EQ(black, rgb_at(120, 351));

  // The scissor box moves with the sub-window too.
  OGL_scissors(400, 400, 10, 10);
  GLint box[4];
  glGetIntegerv(GL_SCISSOR_BOX, box);
  EXPECT_EQ((std::vector<int>{500, 450, 10, 10}), std::vector<int>(box, box + 4));
  OGL_fillrect(90, 1, 390, 390, 30, 30);
  OGL_scissors_end();
  EXPECT_FALSE(glIsEnabled(GL_SCISSOR_TEST));
  EXPECT_EQ((std::vector<int>{255, 0, 0}), rgb_at(505, 455));
  EXPECT_EQ(black, rgb_at(495, 455));
  EXPECT_EQ(black, rgb_at(511, 455));
}

TEST_F(Gl, OnlyATrueTransparencyBlendsFramesAndReachesGl) {
  colr.assign(90, 1, 1, 1);
  OGL_framerect(90, 0.99f, 0, 0, 10, 10);
  EXPECT_FALSE(glIsEnabled(GL_BLEND));
  OGL_framerect(90, 0.98f, 0, 0, 10, 10);
  EXPECT_TRUE(glIsEnabled(GL_BLEND));
  OGL_line(90, 1, 0, 0, 10, 10);
  EXPECT_FALSE(glIsEnabled(GL_BLEND));
  OGL_fillrect(90, 1, 0, 0, 10, 10);
  EXPECT_TRUE(glIsEnabled(GL_BLEND));

  // Up to 0.99 the alpha goes to GL; above it the colour is sent opaque.
  float c[4];
  OGL_set_colour(90, 0.99f);
  glGetFloatv(GL_CURRENT_COLOR, c);
  EXPECT_NEAR(0.99f, c[3], 1e-3);
  OGL_set_colour(90, 0.995f);
  glGetFloatv(GL_CURRENT_COLOR, c);
  EXPECT_EQ(1.0f, c[3]);
}

TEST_F(Gl, BackgroundFillsTheWholeWindowUnderTheLight) {
  mnw.win_x = 200;
  mnw.win_y = 100;
  colr.assign(33, 0.2f, 0.4f, 0.6f);
  colr.lit[0] = 0.5f;
  OGL_plot_back_col();
  colr.lit[0] = 1;
  const std::vector<int> back = {26, 102, 153};
  EXPECT_EQ(back, rgb_at(0, 0));
  EXPECT_EQ(back, rgb_at(1023, 767));
}

TEST_F(Gl, TexturedQuadsCutTheirTexelsAndTexZeroKeepsTheBinding) {
  recall_ins_texes();
  mnw.win_x = 10;
  mnw.win_y = 20;
  // One texel of the palette column, one to one, in plain white.
  const auto& cell = palette_cells[0];
  OGL_2dquad_d(tex_interface, 48, 1, 100, 100, cell.column / 512.0f, cell.row / 512.0f, 1, 1,
               1 / 512.0f, 1 / 512.0f, alpha_none);
  EXPECT_EQ((std::vector<int>{cell.r, cell.g, cell.b}), rgb_at(110, 120));
  EXPECT_EQ(black, rgb_at(111, 120));

  GLint before = 0, after = -1;
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &before);
  ASSERT_NE(0, before);
  OGL_2dquad(0, 48, 1, 0, 0, 0, 0, 0, 1, 0, 1, 1, 1, 1, 1, 1, 0, 1, 0, 1, alpha_none);
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &after);
  EXPECT_EQ(before, after);
}

TEST_F(Gl, ScreenshotsTakeTheNextFreeNumber) {
  const std::string dir = make_temp_dir();
  char old_cwd[4096];
  ASSERT_NE(nullptr, getcwd(old_cwd, sizeof old_cwd));
  ASSERT_EQ(0, chdir(dir.c_str()));
  FILE* f = fopen("screenshot_2.png", "w");
  ASSERT_NE(nullptr, f);
  fclose(f);
  colr.assign(90, 1, 0, 0);
  OGL_fillrect(90, 1, 0, 0, 1024, 768);
  OGL_screenshot(0);
  EXPECT_EQ(255, scratch_array[0]);   // read even when not saved
  EXPECT_EQ("", read_file(dir + "/screenshot_1.png"));
  OGL_screenshot(1);
  OGL_screenshot(1);
  EXPECT_EQ("\x89PNG", read_file(dir + "/screenshot_1.png").substr(0, 4));
  EXPECT_EQ("", read_file(dir + "/screenshot_2.png"));   // taken: left alone
  EXPECT_EQ("\x89PNG", read_file(dir + "/screenshot_3.png").substr(0, 4));
  ASSERT_EQ(0, chdir(old_cwd));
  remove_tree(dir);
}

TEST_F(Gl, BuiltInInterfacePictureSetsThePaletteSlots) {
  recall_ins_texes();
  colr_read_palette(scratch_array, sheet_interface_w, sheet_interface_h);
  for (const auto& cell : palette_cells) {
    EXPECT_NEAR(cell.r / 255.0f, colr.col[cell.slot][0], 1e-5) << "slot " << cell.slot;
    EXPECT_NEAR(cell.g / 255.0f, colr.col[cell.slot][1], 1e-5) << "slot " << cell.slot;
    EXPECT_NEAR(cell.b / 255.0f, colr.col[cell.slot][2], 1e-5) << "slot " << cell.slot;
  }
}

}  // namespace
