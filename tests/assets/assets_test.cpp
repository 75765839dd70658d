// The built-in pictures: the committed PNGs are what the maker draws, the
// glyphs the toolkit cuts out of them fit their advances, and texts read.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>
#include <string>

#include "assets/images.h"
#include "toolkit/sheet.h"

namespace {

raster committed(const std::string& name) {
  raster r;
  std::string error;
  EXPECT_TRUE(read_png(std::string(ZEPHYRA_SOURCE_DIR) + "/assets/" + name, &r, &error)) << error;
  return r;
}

// Nobody edits a committed picture by hand: drawing them again gives the same
// pixels (a step of rounding allowed, should FreeType move a hair). The icon
// is drawn at each size, not scaled.
TEST(Maker, CommittedPicturesAndIconsAreWhatTheMakerDraws) {
  image_fonts fonts;
  std::string error;
  const std::string dejavu = "/usr/share/fonts/truetype/dejavu/";
  ASSERT_TRUE(open_fonts(dejavu + "DejaVuSans.ttf", dejavu + "DejaVuSans-Bold.ttf", &fonts, &error)) << error;
  char tmpl[] = "/tmp/zephyra_assets_XXXXXX";
  ASSERT_NE(mkdtemp(tmpl), nullptr);
  const std::string dir = tmpl;
  ASSERT_TRUE(make_images(dir, fonts, &error)) << error;
  std::vector<std::pair<std::string, raster>> made;
  for (const char* name : image_files) {
    made.emplace_back(name, raster());
    EXPECT_TRUE(read_png(dir + "/" + name, &made.back().second, &error)) << error;
    unlink((dir + "/" + name).c_str());
  }
  rmdir(dir.c_str());
  for (int size : icon_sizes) made.emplace_back(icon_file(size), draw_icon(size));
  for (const auto& [name, picture] : made) {
    const raster old = committed(name);
    ASSERT_EQ((std::vector<int>{old.w, old.h}), (std::vector<int>{picture.w, picture.h})) << name;
    size_t off = 0;
    for (size_t i = 0; i < picture.px.size(); ++i) off += std::abs(picture.px[i] - old.px[i]) > 2;
    EXPECT_EQ(off, 0u) << name << " differs from what the maker draws: run zephyra-make-images";
  }
  EXPECT_FALSE(make_images(dir + "/none", fonts, &error));
  image_fonts none;
  EXPECT_FALSE(open_fonts("/nonexistent.ttf", "/nonexistent.ttf", &none, &error));
}

// A byte has a cell exactly when it has an advance; its ink ends before the
// next letter starts; letters stand on the base line (row 0 is the bottom)
// and descenders reach the bottom row.
TEST(Glyphs, EveryCellHasAnAdvanceItsInkFitsAndSitsOnTheBaseLine) {
  const raster sheet = committed("interface.png");
  // Lowest row of solid ink, first and last column of any ink; -1 when none.
  auto ink = [&](int s, int t) {
    std::vector<int> found = {-1, -1, -1};
    for (int x = 0; x < glyph_cell_w; ++x)
      for (int y = 0; y < glyph_cell_h; ++y)
        if (const int a = sheet.get(s + x, t + y).a) {
          if (a > 64 && (found[0] < 0 || y < found[0])) found[0] = y;
          if (found[1] < 0) found[1] = x;
          found[2] = x;
        }
    return found;
  };
  std::set<unsigned char> in_grid;
  for (int row = 0; row < glyph_rows; ++row)
    for (int col = 0; col < glyph_cols; ++col) {
      const unsigned char c = glyph_grid[row][col];
      EXPECT_TRUE(in_grid.insert(c).second) << "byte " << int(c) << " twice";
      const int t = glyph_t + row * glyph_cell_h;
      const std::vector<int> prop = ink(glyph_prop_s + col * glyph_cell_w, t);
      const std::vector<int> mono = ink(glyph_mono_s + col * glyph_cell_w, t);
      // The blank is what every byte without a cell draws.
      if (c == ' ') {
        EXPECT_EQ((std::vector<int>{-1, -1}), (std::vector<int>{prop[1], mono[1]}));
        continue;
      }
      EXPECT_GE(prop[1], 0) << "no ink for byte " << int(c);
      EXPECT_LT(prop[2], std::min(glyph_advance(c) - 1, int(glyph_cell_w))) << "byte " << int(c);
      // Numbers step by 6: the monospaced copy keeps a free column.
      EXPECT_GE(mono[1], 0) << "no monospaced ink for byte " << int(c);
      EXPECT_LT(mono[2], 5) << "monospaced byte " << int(c);
      if (c == 'a' || c == 'E' || c == 'g' || c == 'p') {
        EXPECT_EQ(c == 'a' || c == 'E' ? glyph_baseline : 0, prop[0]) << c;
      }
    }
  for (int c = 0; c < 256; ++c) EXPECT_EQ(in_grid.count(c) == 1, glyph_advance(c) > 0) << "byte " << c;
}

// Each text colour against the body of the panels it is drawn on, by the WCAG
// contrast ratio: a new look that loses contrast fails here.
float luminance(const float c[3]) {
  float l = 0;
  const float weight[3] = {0.2126f, 0.7152f, 0.0722f};
  for (int i = 0; i < 3; ++i)
    l += weight[i] * (c[i] <= 0.04045f ? c[i] / 12.92f : std::pow((c[i] + 0.055f) / 1.055f, 2.4f));
  return l;
}

TEST(Contrast, EveryTextColourReadsOnItsPanel) {
  const raster sheet = committed("interface.png");
  // The colour table: fixed slots, the sheet's palette, and 38 between 37 and 40.
  float col[100][3] = {};
  auto set = [&](int slot, float r, float g, float b) { col[slot][0] = r, col[slot][1] = g, col[slot][2] = b; };
  set(1, 0.8f, 0, 0), set(13, 0, 0.4f, 0), set(48, 1, 1, 1), set(60, 0.5f, 0.5f, 0.5f), set(68, 1, 0, 0);
  for (const palette_cell& p : palette_cells) {
    const rgba c = sheet.get(p.column, p.row);
    set(p.slot, c.r / 255.f, c.g / 255.f, c.b / 255.f);
  }
  for (int i = 0; i < 3; ++i) col[38][i] = (col[37][i] + col[40][i]) / 2;

  // Panel, text colour. Pure red on white is 4.0:1 at best.
  const int pairs[][2] = {{11, 42}, {12, 42}, {13, 42}, {14, 46}, {15, 46}, {15, 48}, {15, 60},
                          {16, 45}, {17, 37}, {17, 38}, {20, 45}, {20, 1},  {20, 13}, {20, 68}};
  for (const auto& pair : pairs)
    for (const panel_source& p : frame2_panels) {
      if (p.type != pair[0]) continue;
      // The body's middle, over white and over black where it lets them through.
      const rgba m = sheet.get(p.s + p.size / 2, p.t + p.size / 2);
      for (float under : {0.f, 1.f}) {
        const float a = m.a / 255.f;
        const float body[3] = {m.r / 255.f * a + under * (1 - a), m.g / 255.f * a + under * (1 - a),
                               m.b / 255.f * a + under * (1 - a)};
        const float lt = luminance(col[pair[1]]), lb = luminance(body);
        EXPECT_GE((std::max(lt, lb) + 0.05f) / (std::min(lt, lb) + 0.05f), pair[1] == 68 ? 3.99f : 4.5f)
            << "colour " << pair[1] << " on panel " << pair[0];
      }
    }
}

}  // namespace
