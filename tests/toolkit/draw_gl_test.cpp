// The state cache, the primitives and the built-in textures against real GL,
// pixels read back from the back buffer.
#include <algorithm>
#include <cstring>
#include <string>

#include "gl_suite.h"
#include "toolkit/builtin_images.h"
#include "toolkit/colours.h"
#include "toolkit/sheet.h"
#include "toolkit/text.h"

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

TEST_F(Gl, StateSwitchStartsFromGlReachesItAndClampsTheTextureCount) {
  glEnable(GL_BLEND);   // behind the fresh cache's back: read on the first call
  OGL_setstate(1, 0, 3, 4, 9, 11);
  EXPECT_EQ(std::vector<bool>(7, false), switches());
  EXPECT_EQ((std::vector<int>{1, 0, 3, 0, 0, 9, 11}), cached());
  OGL_setstate(0, 0, 2, 7, 8, 10);
  EXPECT_EQ(std::vector<bool>(7, true), switches());
  // Blending and the alpha test switch separately.
  OGL_setstate(1, 0, 3, 5, 9, 11);
  EXPECT_TRUE(glIsEnabled(GL_BLEND) && !glIsEnabled(GL_ALPHA_TEST));
  OGL_setstate(1, 0, 3, 6, 9, 11);
  EXPECT_TRUE(!glIsEnabled(GL_BLEND) && glIsEnabled(GL_ALPHA_TEST));

  // More units than the driver has: all of them, at most the six walked,
  // with unit 0 active again; fewer than none: none.
  OGL_setstate(1, ren.max_tex_units + 5, 3, 4, 9, 11);
  EXPECT_EQ(ren.max_tex_units, cached()[1]);
  for (int u = 0; u < std::min(6, ren.max_tex_units); ++u)
    EXPECT_TRUE(enabled_on_unit(u, GL_TEXTURE_2D)) << u;
  GLint active = 0;
  glGetIntegerv(GL_ACTIVE_TEXTURE, &active);
  EXPECT_EQ(GL_TEXTURE0, active);
  OGL_setstate(1, -3, 3, 4, 9, 11);
  EXPECT_EQ(0, cached()[1]);
  EXPECT_FALSE(enabled_on_unit(0, GL_TEXTURE_2D));
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

TEST_F(Gl, TexturedQuadsCutTheirTexels) {
  recall_ins_texes();
  mnw.win_x = 10;
  mnw.win_y = 20;
  // One texel of the palette column, one to one, in plain white.
  const auto& cell = palette_cells[0];
  OGL_2dquad_d(tex_interface, 48, 1, 100, 100, cell.column / 512.0f, cell.row / 512.0f, 1, 1,
               1 / 512.0f, 1 / 512.0f, alpha_none);
  EXPECT_EQ((std::vector<int>{cell.r, cell.g, cell.b}), rgb_at(110, 120));
  EXPECT_EQ(black, rgb_at(111, 120));
}

// Each glyph of a string is its cell of the sheet, texel for texel, over black.
TEST_F(Gl, StringsDrawTheirGlyphCells) {
  recall_ins_texes();
  OGL_string(0, 100, 302, "A", text_no_wrap, charset_UI_diff_space);
  OGL_string(0, 200, 302, "7", text_no_wrap, charset_UI_mono_10);
  const struct {
    unsigned char ch;
    int x, s0;
  } glyphs[] = {{'A', 100, glyph_prop_s}, {'7', 200, glyph_mono_s}};
  for (const auto& g : glyphs) {
    int col = 0, row = 0, bad = 0;
    text_cell(g.ch, &col, &row);
    for (int j = 0; j < glyph_cell_h; ++j)
      for (int i = 0; i < glyph_cell_w; ++i) {
        const unsigned char* p = t_interface_dat + ((glyph_t + row * glyph_cell_h + j) * 512 +
                                                    g.s0 + col * glyph_cell_w + i) * 4;
        const std::vector<int> got = rgb_at(g.x + i, 300 + j);
        for (int c = 0; c < 3; ++c) bad += std::abs(p[c] * p[3] / 255 - got[c]) > 2;
      }
    EXPECT_EQ(0, bad) << g.ch;
  }
}

class GlTextures : public GlSuite {
 protected:
  static void SetUpTestSuite() {
    GlSuite::SetUpTestSuite();
    glExt.tex_clamp_avail = glExt.automini_avail = 1;   // what the probe finds on GL 4.5
  }
};

// The texture of a reference as GL holds it, RGBA, row 0 the bottom.
std::vector<unsigned char> read_back(int ref, int* w, int* h) {
  glBindTexture(GL_TEXTURE_2D, tman.record(ref)->tex_id);
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, w);
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, h);
  std::vector<unsigned char> px(static_cast<size_t>(*w) * *h * 4);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, px.data());
  tman.reset_bind();   // we bound behind the manager's back
  return px;
}

// Where the picture is opaque its texels are its own; transparent ones keep
// alpha 0 (their colour is the edge clean's); the rest of the texture is clear.
void expect_lower_left(const std::vector<unsigned char>& tex, int tw, int th,
                       const unsigned char* pic, int pw, int ph) {
  int wrong = 0;
  for (int y = 0; y < th && wrong < 5; ++y)
    for (int x = 0; x < tw && wrong < 5; ++x) {
      const unsigned char* t = &tex[(static_cast<size_t>(y) * tw + x) * 4];
      bool ok = t[3] == 0;
      if (x < pw && y < ph) {
        const unsigned char* p = pic + (static_cast<size_t>(y) * pw + x) * 4;
        ok = t[3] == p[3] && (p[3] == 0 || memcmp(t, p, 3) == 0);
      }
      if (!ok) {
        ADD_FAILURE() << "texel " << x << ", " << y;
        ++wrong;
      }
    }
}

TEST_F(GlTextures, BuiltInPicturesSitAtTheLowerLeftOfPowerOf2Textures) {
  recall_ins_texes();
  const struct {
    int ref, dx, dy, tex;
  } want[] = {{tex_interface, 512, 512, 512},
              {tex_installer, 1010, 764, 1024},
              {tex_back_1, 1024, 768, 1024},
              {tex_back_2, 1024, 768, 1024}};
  for (const auto& e : want) {
    const ref_dat_struct* r = tman.record(e.ref);
    ASSERT_NE(nullptr, r) << e.ref;
    EXPECT_EQ((std::vector<float>{float(e.dx), float(e.dy), float(e.tex), float(e.tex)}),
              (std::vector<float>{r->dx, r->dy, r->tex_dx, r->tex_dy})) << e.ref;
    EXPECT_TRUE(glIsTexture(r->tex_id)) << e.ref;
  }
  // The interface sheet came last and is still there for the palette.
  EXPECT_EQ((std::vector<int>{512, 512}), (std::vector<int>{scratch_dx, scratch_dy}));
  EXPECT_EQ(0, memcmp(scratch_array, t_interface_dat, 512 * 512 * 4));

  int w = 0, h = 0;
  std::vector<unsigned char> tex = read_back(tex_installer, &w, &h);
  ASSERT_EQ(1024, w);
  ASSERT_EQ(1024, h);
  expect_lower_left(tex, w, h, t_installer_dat, 1010, 764);
}

// Each unit keeps its own binding, the cache skips no other texture, and
// unit 0 is the active one again.
TEST_F(GlTextures, BindRefBindsOnItsUnit) {
  recall_ins_texes();
  const GLint installer = static_cast<GLint>(tman.record(tex_installer)->tex_id);
  const GLint sheet = static_cast<GLint>(tman.record(tex_interface)->tex_id);
  GLint on_0 = 0, active = 0, on_1 = 0;
  tman.bind_ref(tex_installer, 1, 0);
  tman.bind_ref(tex_installer, 0, 0);
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &on_0);
  EXPECT_EQ(installer, on_0);
  tman.bind_ref(tex_interface, 0, 0);
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &on_0);
  glGetIntegerv(GL_ACTIVE_TEXTURE, &active);
  glActiveTexture(GL_TEXTURE1);
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &on_1);
  glActiveTexture(GL_TEXTURE0);
  EXPECT_EQ((std::vector<int>{sheet, GL_TEXTURE0, installer, GL_MODULATE}),
            (std::vector<int>{on_0, active, on_1, tman.bound_env[0]}));
}

}  // namespace
