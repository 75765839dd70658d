// Texture sizes: the tex_res steps, the flags, the one-pixel floor, the
// driver's limit and the power-of-2 rounding.
#include <gtest/gtest.h>

#include <algorithm>

#include "toolkit/textures.h"

namespace {

struct sized {
  float scale;
  int tex_dx, tex_dy, pic_dx, pic_dy;
};

sized scale_of(int load_type, int flags, int dx, int dy, int tex_res, int maxtexdim = 1024,
               int force = 0) {
  sized s{};
  s.scale = get_scale("x.png", load_type, flags, dx, dy, tex_res, maxtexdim, force, &s.tex_dx,
                      &s.tex_dy, &s.pic_dx, &s.pic_dy);
  return s;
}

TEST(GetScale, EachTexResAndEachFlag) {
  const float by_res[6] = {0.03125f, 0.0625f, 0.125f, 0.25f, 0.5f, 1.0f};
  for (int r = 0; r <= 5; ++r) {
    SCOPED_TRACE(r);
    const float base = by_res[r];
    sized s = scale_of(tex_manual, tex_col_rgba, 1024, 512, r);
    EXPECT_FLOAT_EQ(base, s.scale);
    EXPECT_EQ(static_cast<int>(1024 * base), s.tex_dx);
    EXPECT_EQ(static_cast<int>(512 * base), s.tex_dy);

    EXPECT_FLOAT_EQ(std::min(1.0f, base * 2), scale_of(tex_manual, tex_finer, 1024, 512, r).scale);
    EXPECT_FLOAT_EQ(base / 2, scale_of(tex_manual, tex_coarser, 1024, 512, r).scale);
    // Full size wins over tex_res and over the coarser flag.
    EXPECT_FLOAT_EQ(1.0f, scale_of(tex_manual, tex_full_size | tex_coarser, 1024, 512, r).scale);
    EXPECT_FLOAT_EQ(1.0f, scale_of(tex_manual, tex_col_rgba, 1024, 512, r, 1024, 1).scale);
    EXPECT_EQ(1024, scale_of(tex_manual, tex_full_size, 1024, 512, r).tex_dx);

    // Other classes of texture are never scaled.
    EXPECT_FLOAT_EQ(1.0f, scale_of(tex_bitmap, tex_col_rgba, 256, 256, r).scale);
    EXPECT_FLOAT_EQ(1.0f, scale_of(tex_instrument, tex_coarser, 256, 256, r).scale);
  }
}

TEST(GetScale, OnePixelSideSurvivesAnyTexRes) {
  for (int r = 0; r <= 5; ++r) {
    SCOPED_TRACE(r);
    sized tall = scale_of(tex_manual, tex_col_rgba, 1, 512, r);
    EXPECT_EQ(1, tall.tex_dx);
    EXPECT_EQ(1, tall.pic_dx);
    EXPECT_GE(tall.tex_dy, 1);
    sized wide = scale_of(tex_manual, tex_coarser, 512, 1, r);
    EXPECT_EQ(1, wide.tex_dy);
    EXPECT_EQ(1, wide.pic_dy);
  }
}

TEST(GetScale, HalvedWhileOverTheDriversLimit) {
  sized s = scale_of(tex_manual, tex_full_size, 1024, 512, 5, 256);
  EXPECT_FLOAT_EQ(0.25f, s.scale);
  EXPECT_EQ(256, s.tex_dx);
  EXPECT_EQ(128, s.tex_dy);
  // A limit that is no power of 2 still ends on one.
  s = scale_of(tex_manual, tex_full_size, 1024, 1024, 5, 300);
  EXPECT_EQ(256, s.tex_dx);
}

TEST(GetScale, OtherSizesRoundUpToAPowerOf2) {
  sized s = scale_of(tex_manual, 642, 1010, 764, 0);   // the installer sheet's flags
  EXPECT_EQ(1024, s.tex_dx);
  EXPECT_EQ(1024, s.tex_dy);
  EXPECT_EQ(1010, s.pic_dx);
  EXPECT_EQ(764, s.pic_dy);

  s = scale_of(tex_manual, tex_col_rgba, 1010, 764, 4);
  EXPECT_EQ(512, s.tex_dx);
  EXPECT_EQ(512, s.tex_dy);
  EXPECT_EQ(505, s.pic_dx);
  EXPECT_EQ(382, s.pic_dy);

  s = scale_of(tex_manual, tex_full_size, 3, 5, 5);
  EXPECT_EQ(4, s.tex_dx);
  EXPECT_EQ(8, s.tex_dy);
  // Larger than any texture: held at 1024, the picture reduced to fit.
  s = scale_of(tex_bitmap, tex_full_size, 2000, 64, 5, 4096);
  EXPECT_EQ(1024, s.tex_dx);
  EXPECT_EQ(1024, s.pic_dx);
}

}  // namespace
