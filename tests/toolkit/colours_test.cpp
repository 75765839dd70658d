// The colour table and the colour resolve, the screen metrics, and drawing
// with no context: all without a display.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "files/mnw.h"
#include "shell/glprobe.h"
#include "support.h"
#include "toolkit/builtin_images.h"
#include "toolkit/colours.h"
#include "toolkit/draw.h"
#include "toolkit/sheet.h"

namespace {

// Restores what a test changes in the shared records.
class Colours : public ::testing::Test {
 protected:
  void TearDown() override {
    colr = saved_colr;
    ren = saved_ren;
  }
  colr_class saved_colr = colr;
  ren_struct saved_ren = ren;
};

std::vector<float> resolve(int col, float a) {
  float c[4];
  OGL_resolve_colour(col, a, c);
  return {c[0], c[1], c[2], c[3]};
}

std::vector<float> rgb_of(int slot) {
  return {colr.col[slot][0], colr.col[slot][1], colr.col[slot][2]};
}

void expect_rgb(std::vector<float> want, std::vector<float> got, const std::string& at) {
  for (int c = 0; c < 3; ++c) EXPECT_NEAR(want[c], got[c], 1e-5) << at << " channel " << c;
}

TEST_F(Colours, LightTintsOnlySlotsBelow45MonoFoldsIntoGreenAlphaScales) {
  colr.assign(44, 0.8f, 0.6f, 0.4f);
  colr.assign(45, 0.8f, 0.6f, 0.4f);
  colr.lit[0] = 0.5f, colr.lit[1] = 0.25f, colr.lit[2] = 1.0f;
  expect_rgb({0.4f, 0.15f, 0.4f}, resolve(44, 1), "tinted");
  EXPECT_EQ((std::vector<float>{0.8f, 0.6f, 0.4f, 1}), resolve(45, 1));

  // Mono: the sum in green, clamped to 0.01..1, after the tint.
  ren.mono = 1;
  colr.lit[0] = colr.lit[1] = colr.lit[2] = 1;
  EXPECT_EQ((std::vector<float>{0, 1, 0, 1}), resolve(45, 1));
  colr.assign(46, 0.1f, 0.2f, 0.3f);
  EXPECT_NEAR(0.6f, resolve(46, 1)[1], 1e-6);
  colr.assign(46, 0, 0, 0);
  expect_rgb({0, 0.01f, 0}, resolve(46, 1), "mono black");
  ren.mono = 0;

  ren.alpha = 0.5f;
  EXPECT_NEAR(0.25f, resolve(45, 0.5f)[3], 1e-6);
}

TEST_F(Colours, SlotsFromThePaletteColumnAndSlot38HalfWayBetween37And40) {
  // A sheet of noise, where a wrong cell can't hide in a plain patch, and the
  // built-in sheet, whose cells must hold the colours the table names.
  std::vector<unsigned char> noise(512 * 512 * 4);
  unsigned v = 2654435762u;
  for (auto& b : noise) b = static_cast<unsigned char>((v = v * 1103515245u + 12345u) >> 16);
  const unsigned char* sheets[] = {noise.data(), t_interface_dat};
  for (const unsigned char* px : sheets) {
    colr_read_palette(px, 512, 512);
    for (const auto& cell : palette_cells) {
      const unsigned char* p = px + (cell.row * 512 + cell.column) * 4;
      const std::string at = "slot " + std::to_string(cell.slot);
      expect_rgb({p[0] / 255.0f, p[1] / 255.0f, p[2] / 255.0f}, rgb_of(cell.slot), at);
      if (px == t_interface_dat)
        expect_rgb({cell.r / 255.0f, cell.g / 255.0f, cell.b / 255.0f}, rgb_of(cell.slot), at);
    }
    for (int c = 0; c < 3; ++c)
      EXPECT_NEAR((colr.col[37][c] + colr.col[40][c]) / 2, colr.col[38][c], 1e-6);
  }
}

// The plotted scale: black to violet in six parts, clamped, folded by mono.
TEST_F(Colours, SpectrumScaleInterpolatesBetweenItsStops) {
  float c[3];
  colr_spectrum_value(1.0f / 12, c);
  EXPECT_NEAR(0.5f, c[0], 1e-5);
  colr_spectrum_value(3, c);
  EXPECT_EQ((std::vector<float>{0.8f, 0, 0.8f}), (std::vector<float>{c[0], c[1], c[2]}));
  ren.mono = 1;
  colr_spectrum_value(3, c);
  EXPECT_EQ((std::vector<float>{0, 1, 0}), (std::vector<float>{c[0], c[1], c[2]}));
}

TEST(PixSpecs, MetricsFollowTheWindowSize) {
  struct size_case {
    int x, y;
    float upscale, left, top, cx;
  } const cases[] = {
      {1024, 768, 1, 0, 0, 512},
      {1280, 1024, 1.25f, 128, 256, 640},
      {800, 600, 1, -112, -168, 400},
  };
  const mnw_struct saved = mnw;
  for (const auto& c : cases) {
    mnw.x_res = c.x;
    mnw.y_res = c.y;
    mnw.win_now = -1;
    OGL_pix_specs(0);
    EXPECT_EQ((std::vector<float>{c.upscale, c.left, c.top, c.cx, 384, 0, 0, float(c.x),
                                  float(c.y), 1}),
              (std::vector<float>{mnw.ui_upscale, mnw.ui_left, mnw.ui_top, mnw.scr_cx,
                                  mnw.scr_cy, mnw.ortho_l, mnw.ortho_b, mnw.ortho_r,
                                  mnw.ortho_t, mnw.pix_scale}))
        << c.x << "x" << c.y;
  }
  mnw = saved;
}

// Without a context the state cache stays untouched.
TEST(NoContext, StateSwitchDoesNothing) {
  ASSERT_FALSE(OGL_live());
  int before[7], after[7];
  OGL_cached_state(before);
  OGL_setstate(0, 3, 2, 7, 8, 10);
  OGL_cached_state(after);
  EXPECT_EQ(std::vector<int>(before, before + 7), std::vector<int>(after, after + 7));
}

}  // namespace
