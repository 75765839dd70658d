// Each text colour against the body of the panels it is drawn on, by the WCAG
// contrast ratio: a new look that loses contrast fails here.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "assets/images.h"
#include "toolkit/sheet.h"

namespace {

float luminance(const float c[3]) {
  float l = 0;
  const float weight[3] = {0.2126f, 0.7152f, 0.0722f};
  for (int i = 0; i < 3; ++i)
    l += weight[i] * (c[i] <= 0.04045f ? c[i] / 12.92f : std::pow((c[i] + 0.055f) / 1.055f, 2.4f));
  return l;
}

TEST(Contrast, EveryTextColourReadsOnItsPanel) {
  raster sheet;
  std::string error;
  ASSERT_TRUE(read_png(std::string(ZEPHYRA_SOURCE_DIR) + "/assets/interface.png", &sheet, &error));
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
