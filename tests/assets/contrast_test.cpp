// Text must read on the panels it is drawn on: each text colour against the
// body of its panel in the committed interface sheet, by the WCAG contrast
// ratio. The palette colours come from the sheet itself, so a new look that
// loses contrast fails here.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "assets/images.h"
#include "toolkit/sheet.h"

namespace {

struct colour {
  float r, g, b;   // 0..1
};

const raster& sheet() {
  static raster r;
  static bool loaded = false;
  if (!loaded) {
    std::string error;
    EXPECT_TRUE(read_png(std::string(ZEPHYRA_SOURCE_DIR) + "/assets/interface.png", &r, &error))
        << error;
    loaded = true;
  }
  return r;
}

float channel(float c) { return c <= 0.04045f ? c / 12.92f : std::pow((c + 0.055f) / 1.055f, 2.4f); }
float luminance(colour c) {
  return 0.2126f * channel(c.r) + 0.7152f * channel(c.g) + 0.0722f * channel(c.b);
}
float contrast(colour a, colour b) {
  const float la = luminance(a), lb = luminance(b);
  return (std::max(la, lb) + 0.05f) / (std::min(la, lb) + 0.05f);
}

colour slot(int n) {
  // Slots fixed in the colour table, not read from the sheet.
  switch (n) {
    case 1: return {0.8f, 0, 0};
    case 13: return {0, 0.4f, 0};
    case 48: return {1, 1, 1};
    case 60: return {0.5f, 0.5f, 0.5f};
    case 68: return {1, 0, 0};
    case 38: {   // the mean of 37 and 40
      const colour a = slot(37), b = slot(40);
      return {(a.r + b.r) / 2, (a.g + b.g) / 2, (a.b + b.b) / 2};
    }
  }
  for (const palette_cell& p : palette_cells)
    if (p.slot == n) {
      const rgba c = sheet().get(p.column, p.row);
      return {c.r / 255.f, c.g / 255.f, c.b / 255.f};
    }
  ADD_FAILURE() << "no colour for slot " << n;
  return {0, 0, 0};
}

// The middle of a panel's body, over whatever shows through a see-through
// one: the worse of a white and a black background.
float panel_contrast(int type, colour text) {
  for (const panel_source& p : frame2_panels)
    if (p.type == type) {
      const rgba m = sheet().get(p.s + p.size / 2, p.t + p.size / 2);
      float worst = 1e9f;
      for (float under : {0.f, 1.f}) {
        const float a = m.a / 255.f;
        const colour body = {m.r / 255.f * a + under * (1 - a), m.g / 255.f * a + under * (1 - a),
                             m.b / 255.f * a + under * (1 - a)};
        worst = std::min(worst, contrast(text, body));
      }
      return worst;
    }
  ADD_FAILURE() << "no panel of type " << type;
  return 0;
}

TEST(Contrast, EveryTextColourReadsOnItsPanel) {
  struct pair {
    int panel, text;
    float least;
    const char* what;
  };
  const pair pairs[] = {
      {11, 42, 4.5f, "alert, question and labels on a sub-window"},
      {12, 42, 4.5f, "labels on a sub-window"},
      {13, 42, 4.5f, "labels and list items in a group panel"},
      {14, 46, 4.5f, "tool-tip"},
      {15, 46, 4.5f, "the chooser's path"},
      {15, 48, 4.5f, "start-up title"},
      {15, 60, 4.5f, "start-up line"},
      {16, 45, 4.5f, "agreement"},
      {17, 37, 4.5f, "menu items"},
      {17, 38, 4.5f, "dimmed menu items"},
      {20, 45, 4.5f, "main screen texts"},
      {20, 1, 4.5f, "no servers, no disk space"},
      {20, 13, 4.5f, "complete"},
      // Pure red reaches 4.0:1 at most against white, and this panel also
      // carries dark text, so white is the best it can have.
      {20, 68, 3.99f, "failure lines"},
  };
  for (const pair& p : pairs)
    EXPECT_GE(panel_contrast(p.panel, slot(p.text)), p.least)
        << "colour " << p.text << " on panel " << p.panel << " (" << p.what << ")";
}

}  // namespace
