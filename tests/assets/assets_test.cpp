// The built-in pictures: the committed PNGs are what the maker draws, and the
// glyphs the toolkit cuts out of them fit their advances.
#include <gtest/gtest.h>
#include <unistd.h>

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

}  // namespace
