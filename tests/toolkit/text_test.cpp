// Text placement, colours and screen metrics without a display: the glyph
// tables, where each character of a string or number goes, the colour table
// and its resolve.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "files/mnw.h"
#include "shell/glprobe.h"
#include "support.h"
#include "toolkit/builtin_images.h"
#include "toolkit/colours.h"
#include "toolkit/draw.h"
#include "toolkit/sheet.h"
#include "toolkit/text.h"

namespace {

class Text : public ::testing::Test {
 protected:
  void SetUp() override { shell_test_reset(); }
};

std::vector<glyph_place> layout(float x, float y, const std::string& s, float wrap = 9999,
                                int charset = charset_UI_diff_space) {
  std::vector<glyph_place> out;
  text_layout(x, y, s, wrap, charset, &out);
  return out;
}

// The characters and their (x, y), as "c@x,y" words, for readable failures.
std::string placed(const std::vector<glyph_place>& g) {
  std::string s;
  for (const glyph_place& p : g) {
    if (!s.empty()) s += ' ';
    s += static_cast<char>(p.c);
    s += "@" + std::to_string(static_cast<int>(p.x)) + "," + std::to_string(static_cast<int>(p.y));
  }
  return s;
}

// The tables are built from the sheet's grid: every listed byte finds its
// own cell, every other byte the blank's, and high bytes are not folded.
TEST_F(Text, EveryByteHasItsCellAndAdvance) {
  int want_col[256] = {}, want_row[256] = {};
  for (int r = 0; r < glyph_rows; ++r)
    for (int k = 0; k < glyph_cols; ++k) want_col[glyph_grid[r][k]] = k, want_row[glyph_grid[r][k]] = r;
  for (int c = 0; c < 256; ++c) {
    int col = -1, row = -1;
    text_cell(static_cast<unsigned char>(c), &col, &row);
    EXPECT_EQ((std::vector<int>{want_col[c], want_row[c], glyph_advance(c)}),
              (std::vector<int>{col, row, text_advance(static_cast<unsigned char>(c))}))
        << "byte " << c;
  }
  EXPECT_EQ(7 + 6 + 4 + 5, text_width("Ab c"));
  EXPECT_EQ(7 + 6, text_width("A\r\n\t\"{}~b"));
}

TEST_F(Text, SignedCharsFindTheirCells) {
  // Callers pass a plain char, so bytes above 127 arrive negative.
  float s = 0, t = 0;
  text_char_source(static_cast<signed char>(0xF1), charset_UI_diff_space, 0, 0, 8, 11, &s, &t);
  EXPECT_EQ(19 * 8, s);
  EXPECT_EQ(4 * 11, t);
  text_char_source(static_cast<signed char>(0xFB), charset_UI_mono_6, 168, 0, 8, 11, &s, &t);
  EXPECT_EQ(168 + 7 * 8, s);
  EXPECT_EQ(44, t);
}

TEST_F(Text, StringPlacement) {
  // Rounded half away from zero, then 2 down.
  EXPECT_EQ("a@3,2", placed(layout(2.5f, 3.5f, "a")));
  EXPECT_EQ("a@-3,-6", placed(layout(-2.5f, -3.5f, "a")));

  // No cell, no advance: the next character takes their place.
  EXPECT_EQ("a@0,-2 \"@6,-2 {@6,-2 }@6,-2 ~@6,-2 b@6,-2", placed(layout(0, 0, "a\"{}~b")));
  // Carriage return, new line and tab draw nothing, and without wrapping the
  // new line does not break the line either.
  EXPECT_EQ("a@0,-2 b@6,-2", placed(layout(0, 0, "a\r\n\tb")));
  EXPECT_EQ("a@0,-2 b@0,-12", placed(layout(0, 0, "a\nb", 200)));

  // Fixed steps for the monospaced charsets, two bytes a character for 103.
  EXPECT_EQ("i@0,-2 W@6,-2", placed(layout(0, 0, "iW", 9999, charset_UI_mono_6)));
  EXPECT_EQ("i@0,-2 W@10,-2", placed(layout(0, 0, "iW", 9999, charset_UI_mono_10)));
  const std::vector<glyph_place> kor = layout(0, 0, "\xB0\xA1\xB0", 9999, charset_UI_menus_KOR);
  ASSERT_EQ(2u, kor.size());
  EXPECT_EQ(0xA1 - 128 + 0xB0 * 127, kor[0].code);
  EXPECT_EQ(15, kor[1].x);
  EXPECT_EQ(0 - 128 + 0xB0 * 127, kor[1].code);   // a lone last byte pairs with nothing
  EXPECT_TRUE(layout(0, 0, "abc", 9999, 104).empty());
}

TEST_F(Text, WrappingAtWordEnds) {
  // "aaaa " ends at 28; "bbbb" is guessed at 24 more, 52.
  EXPECT_EQ(28, layout(0, 0, "aaaa bbbb", 52)[5].x);
  // Past it, a new line; the blank stays at the end of the first.
  const std::vector<glyph_place> g = layout(0, 0, "aaaa bbbb", 51);
  EXPECT_EQ(" @24,-2 b@0,-12", placed({g[4], g[5]}));
  // "-", "/" and ":" end words too, and stay on the line they end.
  EXPECT_EQ("a@0,-2 b@6,-2 -@12,-2 c@0,-12 d@5,-12", placed(layout(0, 0, "ab-cd", 20)));
  EXPECT_EQ(0, layout(0, 0, "ab/cd", 20)[3].x);
  EXPECT_EQ(0, layout(0, 0, "ab:cd", 20)[3].x);
  // A run of blanks is one word end: only the last one measures.
  EXPECT_EQ(0, layout(0, 0, "aaaa  bbbb", 30)[6].x);
  // A blank at the very end has no word after it: no new line.
  for (const glyph_place& g : layout(0, 0, "aaaa ", 10)) EXPECT_EQ(-2, g.y);
  // The first word is never measured, however long.
  for (const glyph_place& g : layout(0, 0, "aaaaaaaaaa", 10)) EXPECT_EQ(-2, g.y);
  // The next word is guessed at a flat 6 pixels a letter, deliberately: "WWWW"
  // (36 wide) runs past 36 unbroken, "iiiiiiii" (24 wide) breaks before 40.
  EXPECT_EQ(-2, layout(0, 0, "a WWWW", 36)[5].y);
  EXPECT_EQ(-12, layout(0, 0, "a iiiiiiii", 40)[2].y);
}

std::string number(float value, int digits, int decimals, int charset = charset_UI_mono_6,
                   float x = 100) {
  std::vector<glyph_place> out;
  text_number_layout(x, 52, value, digits, decimals, charset, &out);
  return placed(out);
}

TEST_F(Text, NumberFieldsAndTheOverflowForm) {
  // 1234.5 in six digits, one decimal: field 012345 from x = 100 in steps
  // of 6, the point between the 4th and 5th cells, a comma after the 2nd.
  EXPECT_EQ(".@127,50 ,@109,50 0@100,50 1@106,50 2@112,50 3@118,50 4@124,50 5@130,50",
            number(1234.5f, 6, 1));
  // Leading zeros fill the field, commas and all; steps of 10 for charset 102.
  EXPECT_EQ(",@105,50 0@100,50 0@110,50 0@120,50 7@130,50", number(7, 4, 0, charset_UI_mono_10));
  // A sign in the cell before the field, one pixel in.
  EXPECT_EQ("-@95,50 .@115,50 0@100,50 4@106,50 2@112,50 2@118,50 5@124,50",
            number(-42.25f, 5, 2));
  // Rounding carries into the field's digits: 9.96 in three with one decimal.
  EXPECT_EQ(".@109,50 1@100,50 0@106,50 0@112,50", number(9.96f, 3, 1));
  // Commas at every third place of the whole part.
  EXPECT_EQ(",@139,50 ,@121,50 ,@103,50 1@100,50 0@106,50 7@112,50 3@118,50 7@124,50 4@130,50 "
            "1@136,50 8@142,50 2@148,50 4@154,50",
            number(1073741824.f, 10, 0));
  // Too large for the field: 12345678 in four digits reads 1.23 x 10^7,
  // the point 1.5 cells and 2 pixels in, 1 down.
  EXPECT_EQ(".@107,49 1@100,50 2@110,50 3@120,50 x@130,50 7@140,50",
            number(12345678.f, 4, 0, charset_UI_mono_10));
  EXPECT_EQ(".@105,49 5@100,50 0@106,50 0@112,50 x@118,50 2@124,50", number(500, 2, 0));
  // A sign stays in front.
  EXPECT_EQ('-', number(-500, 2, 0)[0]);
}

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
  colr.assign(46, 0, 0, 0);
  expect_rgb({0, 0.01f, 0}, resolve(46, 1), "mono black");
  float c[3];   // the plotted scale folds the same way
  colr_spectrum_value(3, c);
  EXPECT_EQ((std::vector<float>{0, 1, 0}), (std::vector<float>{c[0], c[1], c[2]}));
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

TEST(PixSpecs, MetricsFollowTheWindowSize) {
  // Window size, then the upscale, left, top and centre x it gives.
  const float cases[][6] = {
      {1024, 768, 1, 0, 0, 512},
      {1280, 1024, 1.25f, 128, 256, 640},
      {800, 600, 1, -112, -168, 400},
  };
  const mnw_struct saved = mnw;
  for (const auto& c : cases) {
    mnw.x_res = int(c[0]);
    mnw.y_res = int(c[1]);
    mnw.win_now = -1;
    OGL_pix_specs(0);
    EXPECT_EQ((std::vector<float>{c[2], c[3], c[4], c[5], 384, 0, 0, c[0], c[1], 1}),
              (std::vector<float>{mnw.ui_upscale, mnw.ui_left, mnw.ui_top, mnw.scr_cx,
                                  mnw.scr_cy, mnw.ortho_l, mnw.ortho_b, mnw.ortho_r,
                                  mnw.ortho_t, mnw.pix_scale}))
        << c[0] << "x" << c[1];
  }
  mnw = saved;
}

}  // namespace
