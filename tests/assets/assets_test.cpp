// The built-in pictures: the committed PNGs are what the maker draws, and
// the pieces the toolkit cuts out of them are whole and tileable.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdlib>
#include <set>
#include <string>

#include "assets/images.h"
#include "toolkit/sheet.h"

namespace {

const std::string assets_dir = std::string(ZEPHYRA_SOURCE_DIR) + "/assets/";

raster committed(const char* name) {
  raster r;
  std::string error;
  EXPECT_TRUE(read_png(assets_dir + name, &r, &error)) << error;
  return r;
}

const raster& interface_png() {
  static const raster r = committed("interface.png");
  return r;
}

bool same(rgba a, rgba b) { return a.r == b.r && a.g == b.g && a.b == b.b && a.a == b.a; }

// Within a rounding step.
bool near(rgba a, rgba b) {
  return std::abs(a.r - b.r) <= 1 && std::abs(a.g - b.g) <= 1 && std::abs(a.b - b.b) <= 1 &&
         std::abs(a.a - b.a) <= 1;
}

// Nobody edits a committed picture by hand: drawing them again gives the
// same pixels (a step of rounding allowed, should FreeType move a hair).
TEST(Maker, CommittedPicturesAreWhatTheMakerDraws) {
  image_fonts fonts;
  std::string error;
  const std::string dejavu = "/usr/share/fonts/truetype/dejavu/";
  ASSERT_TRUE(open_fonts(dejavu + "DejaVuSans.ttf", dejavu + "DejaVuSans-Bold.ttf", &fonts, &error)) << error;
  char tmpl[] = "/tmp/zephyra_assets_XXXXXX";
  ASSERT_NE(mkdtemp(tmpl), nullptr);
  const std::string dir = tmpl;
  ASSERT_TRUE(make_images(dir, fonts, &error)) << error;
  for (const char* name : image_files) {
    raster made, old = committed(name);
    ASSERT_TRUE(read_png(dir + "/" + name, &made, &error)) << error;
    ASSERT_EQ(made.w, old.w) << name;
    ASSERT_EQ(made.h, old.h) << name;
    size_t off = 0;
    for (size_t i = 0; i < made.px.size(); ++i) off += std::abs(made.px[i] - old.px[i]) > 2;
    EXPECT_EQ(off, 0u) << name << " differs from what the maker draws: run zephyra-make-images";
    unlink((dir + "/" + name).c_str());
  }
  rmdir(dir.c_str());
  // A folder that isn't there is an error, not a crash.
  EXPECT_FALSE(make_images(dir + "/none", fonts, &error));
  EXPECT_FALSE(error.empty());
  image_fonts none;
  EXPECT_FALSE(open_fonts("/nonexistent.ttf", "/nonexistent.ttf", &none, &error));
}

// The icon is drawn at each size, not scaled: the committed files are what
// the maker draws now, and each is square at its own size.
TEST(Maker, CommittedIconsAreWhatTheMakerDraws) {
  for (int size : icon_sizes) {
    const raster old = committed(icon_file(size).c_str()), made = draw_icon(size);
    ASSERT_EQ((std::vector<int>{size, size}), (std::vector<int>{old.w, old.h})) << size;
    size_t off = 0;
    for (size_t i = 0; i < made.px.size(); ++i) off += std::abs(made.px[i] - old.px[i]) > 2;
    EXPECT_EQ(off, 0u) << icon_file(size) << " differs from what the maker draws: run zephyra-make-images";
  }
}

// Columns of a glyph cell that carry any ink: lowest and highest, -1 when empty.
std::pair<int, int> ink_columns(int s, int t) {
  int lo = -1, hi = -1;
  for (int x = 0; x < glyph_cell_w; ++x)
    for (int y = 0; y < glyph_cell_h; ++y)
      if (interface_png().get(s + x, t + y).a) {
        if (lo < 0) lo = x;
        hi = x;
      }
  return {lo, hi};
}

// Each byte has a cell exactly when it has an advance, and its ink ends
// before the next letter starts.
TEST(Glyphs, EveryCellHasAnAdvanceAndItsInkFitsIt) {
  std::set<unsigned char> in_grid;
  for (int row = 0; row < glyph_rows; ++row)
    for (int col = 0; col < glyph_cols; ++col) {
      const unsigned char c = glyph_grid[row][col];
      EXPECT_TRUE(in_grid.insert(c).second) << "byte " << int(c) << " twice";
      const int t = glyph_t + row * glyph_cell_h;
      const auto prop = ink_columns(glyph_prop_s + col * glyph_cell_w, t);
      const auto mono = ink_columns(glyph_mono_s + col * glyph_cell_w, t);
      if (c == ' ') {
        // Every byte without a cell draws this one.
        EXPECT_EQ(prop.first, -1);
        EXPECT_EQ(mono.first, -1);
        continue;
      }
      EXPECT_GE(prop.first, 0) << "no ink for byte " << int(c);
      EXPECT_LT(prop.second, std::min(glyph_advance(c) - 1, int(glyph_cell_w))) << "byte " << int(c);
      // Numbers step by 6: the monospaced copy keeps a free column.
      EXPECT_GE(mono.first, 0) << "no monospaced ink for byte " << int(c);
      EXPECT_LT(mono.second, 5) << "monospaced byte " << int(c);
    }
  for (int c = 0; c < 256; ++c) EXPECT_EQ(in_grid.count(c) == 1, glyph_advance(c) > 0) << "byte " << c;
}

// Row 0 is the bottom: letters stand on the base line, descenders go below.
TEST(Glyphs, DescendersUseTheRowsUnderTheBaseLine) {
  auto lowest_ink_row = [](unsigned char c) {
    for (int row = 0; row < glyph_rows; ++row)
      for (int col = 0; col < glyph_cols; ++col)
        if (glyph_grid[row][col] == c)
          for (int y = 0; y < glyph_cell_h; ++y)
            for (int x = 0; x < glyph_cell_w; ++x)
              if (interface_png().get(glyph_prop_s + col * glyph_cell_w + x, glyph_t + row * glyph_cell_h + y).a > 64)
                return y;
    return -1;
  };
  for (unsigned char c : {'a', 'E'}) EXPECT_EQ(lowest_ink_row(c), glyph_baseline) << c;
  for (unsigned char c : {'g', 'p'}) EXPECT_LT(lowest_ink_row(c), glyph_baseline) << c;
}

TEST(Tiling, StripsAndPanelsRepeatWithoutASeam) {
  const raster& r = interface_png();
  for (const strip_source& s : frame1_strips) {
    int opaque_rows = 0;
    for (int y = s.t; y < std::min(s.t + s.height, int(sheet_interface_h)); ++y) {
      // Repeating puts the first body column right after the last one: they
      // and every column between must read the same.
      const rgba first = r.get(s.s + s.cap, y);
      for (int x = s.s + s.cap + 1; x < s.s + s.body_end; ++x)
        ASSERT_TRUE(near(r.get(x, y), first)) << "strip " << s.type << " row " << y << " column " << x;
      opaque_rows += first.a == 255;
    }
    EXPECT_GE(opaque_rows, 6) << "strip " << s.type << " has hardly a body";
  }
  for (const vstrip_source& v : frame0_strips)
    for (int x = v.s; x < v.s + v.width; ++x)
      for (int y = v.t + v.cap + 1; y < v.t + v.body_end; ++y)
        ASSERT_TRUE(near(r.get(x, y), r.get(x, v.t + v.cap))) << "vertical strip column " << x;
  for (const panel_source& p : frame2_panels) {
    const int lo = p.edge, hi = p.size - p.edge;  // the tiled span of each direction
    for (int a = 0; a < p.size; ++a)
      for (int b = lo + 1; b < hi; ++b) {
        ASSERT_TRUE(near(r.get(p.s + b, p.t + a), r.get(p.s + lo, p.t + a))) << "panel " << p.type << " row " << a;
        ASSERT_TRUE(near(r.get(p.s + a, p.t + b), r.get(p.s + a, p.t + lo))) << "panel " << p.type << " column " << a;
      }
    EXPECT_GT(r.get(p.s + p.size / 2, p.t + p.size / 2).a, 200) << "panel " << p.type << " is see-through";
  }
}

// The three states of a button must look different, the artwork is solid,
// and the icon leaves its corners clear for it.
TEST(InstallerSheet, ButtonStatesDifferAndTheIconLetsTheArtworkShow) {
  const raster r = committed("installer.png");
  for (const sheet_button& b : installer_buttons)
    for (int k = 0; k < 2; ++k) {
      int differ = 0;
      for (int y = 0; y < b.h; ++y)
        for (int x = 0; x < b.w; ++x)
          differ += !same(r.get(b.u + x, b.v - k * (b.h + 1) + y), r.get(b.u + x, b.v - (k + 1) * (b.h + 1) + y));
      EXPECT_GT(differ, b.w) << b.label << ": state " << k + 1 << " looks like state " << k;
    }
  const sheet_rect& a = installer_artwork;
  for (int y = 0; y < a.h; ++y)
    for (int x = 0; x < a.w; ++x) ASSERT_EQ(r.get(a.s + x, a.t + y).a, 255) << "artwork has a hole";
  for (int i = icon_first_frame; i < icon_first_frame + icon_frames; ++i) {
    const int u = icon_cell * (i % 8), v = icon_cell * (i / 8) + icon_t0;
    EXPECT_EQ(r.get(u, v).a, 0) << "icon " << i;
    EXPECT_EQ(r.get(u + icon_cell - 1, v + icon_cell - 1).a, 0) << "icon " << i;
    EXPECT_EQ(r.get(u + icon_cell / 2, v + icon_cell / 2).a, 255) << "icon " << i;
  }
}

}  // namespace
