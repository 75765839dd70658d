// The built-in pictures: the committed PNGs are what the maker draws, and
// every piece the toolkit cuts out is where sheet.h says, whole and tileable.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdlib>
#include <set>
#include <string>
#include <vector>

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
const raster& installer_png() {
  static const raster r = committed("installer.png");
  return r;
}

bool same(rgba a, rgba b) { return a.r == b.r && a.g == b.g && a.b == b.b && a.a == b.a; }

// ---------------------------------------------------------------- layout

struct named_rect {
  std::string name;
  box b;
};

bool overlap(box a, box b) {
  return a.x < b.x + b.w && b.x < a.x + a.w && a.y < b.y + b.h && b.y < a.y + a.h;
}

// Every piece of the interface sheet, clipped to the sheet (the menu and
// title bars reach one row past its top, which GL wraps to a blank row).
std::vector<named_rect> interface_pieces() {
  std::vector<named_rect> v;
  v.push_back({"proportional glyphs", {glyph_prop_s, glyph_t, glyph_cols * glyph_cell_w, glyph_rows * glyph_cell_h}});
  v.push_back({"monospaced glyphs", {glyph_mono_s, glyph_t, glyph_cols * glyph_cell_w, glyph_rows * glyph_cell_h}});
  for (const strip_source& s : frame1_strips)
    v.push_back({"strip " + std::to_string(s.type),
                 {s.s, s.t, s.total, std::min(s.height, int(sheet_interface_h) - s.t)}});
  for (const vstrip_source& s : frame0_strips) v.push_back({"vertical strip", {s.s, s.t, s.width, s.total}});
  for (const panel_source& p : frame2_panels)
    v.push_back({"panel " + std::to_string(p.type), {p.s, p.t, p.size, p.size}});
  for (const palette_cell& p : palette_cells)
    v.push_back({"palette " + std::to_string(p.slot), {p.column, p.row, 1, 1}});
  const std::pair<const char*, sheet_rect> small[] = {
      {"zap left closed", zap_left_closed}, {"zap right closed", zap_right_closed},
      {"zap left open", zap_left_open},     {"zap right open", zap_right_open},
      {"check box", check_box},             {"radio box", radio_box},
      {"check mark", check_mark},           {"radio mark", radio_mark},
      {"digit up", digit_up},               {"digit down", digit_down},
      {"slider knob", slider_knob},         {"scroll up", scroll_up},
      {"scroll down", scroll_down},         {"scroll knob", scroll_knob},
      {"tab selected", tab_selected},       {"tab other", tab_other}};
  for (const auto& [name, s] : small) v.push_back({name, {s.s, s.t, s.w, s.h}});
  v.push_back({"list icons", {list_icon_s, list_icon_t, list_icon_size * list_icon_count, list_icon_size}});
  return v;
}

std::vector<named_rect> installer_pieces() {
  std::vector<named_rect> v;
  for (const sheet_button& b : installer_buttons)
    for (int k = 0; k < 3; ++k)
      v.push_back({std::string(b.label) + " state " + std::to_string(k), {b.u, b.v - k * (b.h + 1), b.w, b.h}});
  const sheet_rect& a = installer_artwork;
  v.push_back({"artwork", {a.s, a.t, a.w, a.h}});
  for (int i = icon_first_frame; i < icon_first_frame + icon_frames; ++i)
    v.push_back({"icon " + std::to_string(i), {icon_cell * (i % 8), icon_cell * (i / 8) + icon_t0, icon_cell, icon_cell}});
  return v;
}

// Pieces lie inside their sheet, apart from each other, and nothing is drawn
// outside them.
void check_pieces(const raster& r, const std::vector<named_rect>& pieces) {
  for (size_t i = 0; i < pieces.size(); ++i) {
    const box b = pieces[i].b;
    EXPECT_TRUE(b.x >= 0 && b.y >= 0 && b.x + b.w <= r.w && b.y + b.h <= r.h) << pieces[i].name;
    for (size_t j = i + 1; j < pieces.size(); ++j)
      EXPECT_FALSE(overlap(b, pieces[j].b)) << pieces[i].name << " and " << pieces[j].name;
  }
  int stray = 0;
  for (int y = 0; y < r.h; ++y)
    for (int x = 0; x < r.w; ++x) {
      if (r.get(x, y).a == 0) continue;
      bool in = false;
      for (const named_rect& p : pieces) in = in || overlap(p.b, {x, y, 1, 1});
      if (!in && ++stray <= 3) ADD_FAILURE() << "ink outside every piece at " << x << "," << y;
    }
}

TEST(SheetLayout, InterfacePiecesAreApartAndNothingStrays) {
  ASSERT_EQ(interface_png().w, sheet_interface_w);
  ASSERT_EQ(interface_png().h, sheet_interface_h);
  check_pieces(interface_png(), interface_pieces());
}

TEST(SheetLayout, InstallerPiecesAreApartAndNothingStrays) {
  ASSERT_EQ(installer_png().w, sheet_installer_w);
  ASSERT_EQ(installer_png().h, sheet_installer_h);
  check_pieces(installer_png(), installer_pieces());
}

// ---------------------------------------------------------------- palette

TEST(Palette, CommittedSheetCarriesTheExactColours) {
  for (const palette_cell& p : palette_cells) {
    const rgba c = interface_png().get(p.column, p.row);
    EXPECT_TRUE(same(c, opaque(p.r, p.g, p.b)))
        << "slot " << p.slot << ": " << int(c.r) << "," << int(c.g) << "," << int(c.b) << "," << int(c.a);
  }
}

// ---------------------------------------------------------------- glyphs

TEST(Glyphs, GridAndAdvanceTablesAgree) {
  std::set<unsigned char> in_grid;
  for (const auto& row : glyph_grid)
    for (unsigned char c : row) EXPECT_TRUE(in_grid.insert(c).second) << "byte " << int(c) << " twice";
  EXPECT_EQ(in_grid.size(), size_t(glyph_rows * glyph_cols));
  for (int c = 0; c < 256; ++c)
    EXPECT_EQ(in_grid.count(c) == 1, glyph_advance(c) > 0) << "byte " << c;
  // Double quote, braces and tilde have neither a cell nor an advance.
  for (unsigned char c : {'"', '{', '}', '~'}) EXPECT_EQ(glyph_advance(c), 0);
}

// Columns of a cell that carry any ink: lowest and highest, -1 when empty.
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

TEST(Glyphs, InkStaysWithinTheAdvanceAndTheBlankIsEmpty) {
  for (int row = 0; row < glyph_rows; ++row)
    for (int col = 0; col < glyph_cols; ++col) {
      const unsigned char c = glyph_grid[row][col];
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
}

TEST(Glyphs, DescendersUseTheRowsUnderTheBaseLine) {
  auto lowest_ink_row = [](unsigned char c) {
    for (int row = 0; row < glyph_rows; ++row)
      for (int col = 0; col < glyph_cols; ++col)
        if (glyph_grid[row][col] == c)
          for (int y = 0; y < glyph_cell_h; ++y)
            for (int x = 0; x < glyph_cell_w; ++x)
              if (interface_png().get(col * glyph_cell_w + x, row * glyph_cell_h + y).a > 64) return y;
    return -1;
  };
  EXPECT_EQ(lowest_ink_row('a'), glyph_baseline);
  EXPECT_EQ(lowest_ink_row('E'), glyph_baseline);
  EXPECT_LT(lowest_ink_row('g'), glyph_baseline);
  EXPECT_LT(lowest_ink_row('p'), glyph_baseline);
}

// ---------------------------------------------------------------- tiling

// Pixels that differ by more than a rounding step.
bool near(rgba a, rgba b) {
  return std::abs(a.r - b.r) <= 1 && std::abs(a.g - b.g) <= 1 && std::abs(a.b - b.b) <= 1 &&
         std::abs(a.a - b.a) <= 1;
}

TEST(Tiling, StripBodiesRepeatWithoutASeam) {
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
}

TEST(Tiling, PanelEdgesAndMiddlesRepeatWithoutASeam) {
  const raster& r = interface_png();
  for (const panel_source& p : frame2_panels) {
    const int lo = p.edge, hi = p.size - p.edge;  // the tiled span of each direction
    for (int a = 0; a < p.size; ++a)
      for (int b = lo + 1; b < hi; ++b) {
        ASSERT_TRUE(near(r.get(p.s + b, p.t + a), r.get(p.s + lo, p.t + a))) << "panel " << p.type << " row " << a;
        ASSERT_TRUE(near(r.get(p.s + a, p.t + b), r.get(p.s + a, p.t + lo))) << "panel " << p.type << " column " << a;
      }
    EXPECT_EQ(r.get(p.s + p.size / 2, p.t + p.size / 2).a > 200, true) << "panel " << p.type << " is see-through";
  }
}

// ---------------------------------------------------------------- installer sheet

TEST(InstallerSheet, ButtonStatesDifferAndTheIconLetsTheArtworkShow) {
  const raster& r = installer_png();
  for (const sheet_button& b : installer_buttons) {
    int differ01 = 0, differ12 = 0;
    for (int y = 0; y < b.h; ++y)
      for (int x = 0; x < b.w; ++x) {
        differ01 += !same(r.get(b.u + x, b.v + y), r.get(b.u + x, b.v - (b.h + 1) + y));
        differ12 += !same(r.get(b.u + x, b.v - (b.h + 1) + y), r.get(b.u + x, b.v - 2 * (b.h + 1) + y));
      }
    EXPECT_GT(differ01, b.w) << b.label << ": hover looks like normal";
    EXPECT_GT(differ12, b.w) << b.label << ": pressed looks like hover";
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

// ---------------------------------------------------------------- the maker

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
    raster made, old;
    ASSERT_TRUE(read_png(dir + "/" + name, &made, &error)) << error;
    old = committed(name);
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

}  // namespace
