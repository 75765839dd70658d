// The state cache and the primitives against real GL, pixels read back from
// the back buffer.
#include <algorithm>
#include <string>

#include "gl_suite.h"
#include "toolkit/colours.h"
#include "toolkit/sheet.h"

namespace {

class Gl : public GlSuite {};

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
  for (int u = 0; u < walked; ++u) EXPECT_EQ(u == 0, enabled_on_unit(u, GL_TEXTURE_2D)) << u;
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

TEST_F(Gl, RectanglesLinesAndScissorsLandOnTheirPixelsInTheSubWindow) {
  mnw.win_x = 100;
  mnw.win_y = 50;
  colr.assign(90, 1, 0, 0);
  colr.assign(91, 0, 1, 0);
  colr.assign(92, 0, 0, 1);
  OGL_fillrect(90, 1, 10, 20, 30, 15);      // columns 110 to 139, rows 70 to 84
  OGL_framerect(91, 1, 200, 100, 20, 10);   // outline on columns 300, 320, rows 150, 160
  OGL_line(92, 1, 0, 300, 50, 300);         // on a pixel boundary: the row above only
  OGL_scissors(400, 400, 10, 10);           // the box moves with the sub-window too
  GLint box[4];
  glGetIntegerv(GL_SCISSOR_BOX, box);
  EXPECT_EQ((std::vector<int>{500, 450, 10, 10}), std::vector<int>(box, box + 4));
  OGL_fillrect(90, 1, 390, 390, 30, 30);
  OGL_scissors_end();
  EXPECT_FALSE(glIsEnabled(GL_SCISSOR_TEST));

  const std::vector<int> red = {255, 0, 0}, green = {0, 255, 0}, blue = {0, 0, 255};
  const struct {
    int x, y;
    std::vector<int> rgb;
  } probes[] = {
      {110, 70, red},    {139, 84, red},    {109, 70, black},  {140, 84, black},
      {110, 69, black},  {139, 85, black},  {310, 150, green}, {310, 160, green},
      {300, 155, green}, {320, 155, green}, {310, 155, black}, {310, 149, black},
      {310, 161, black}, {299, 155, black}, {321, 155, black}, {100, 350, blue},
      {149, 350, blue},  {120, 349, black}, {120, 351, black}, {505, 455, red},
      {495, 455, black}, {511, 455, black},
  };
  for (const auto& p : probes) EXPECT_EQ(p.rgb, rgb_at(p.x, p.y)) << p.x << "," << p.y;
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

}  // namespace
