// The two window backgrounds: a sky over a sea of cloud, with far hills on
// the horizon. The main screen writes dark text straight onto the lower two
// thirds (the server rows, the hint above the DESTINATION field), so that
// part stays pale; only the band above the product panel deepens.
#include <algorithm>
#include <cmath>

#include "assets/images.h"
#include "toolkit/sheet.h"

namespace {

struct colour_stop {
  float y;
  float r, g, b;
};

struct sky_look {
  colour_stop sky[4];  // from the horizon up
  float cloud[2][3];   // cloud sea: bottom of the picture, cloud tops
  float hills[3];
  float phase;         // moves the hills and clouds between the two looks
};

constexpr sky_look looks[2] = {
    {{{250, 222, 232, 242}, {560, 188, 207, 228}, {680, 112, 148, 194}, {767, 40, 76, 130}},
     {{204, 214, 228}, {242, 245, 250}},
     {178, 194, 214},
     0.0f},
    {{{250, 246, 228, 210}, {560, 214, 204, 214}, {680, 128, 118, 164}, {767, 44, 42, 94}},
     {{214, 206, 214}, {248, 240, 238}},
     {188, 176, 194},
     2.1f},
};

float lerp(float a, float b, float t) { return a + (b - a) * t; }

// A few fixed sines: the same gentle roughness on every run.
float ridge(float x, float phase, float scale) {
  return scale * (0.55f * std::sin(x * 0.006f + phase) + 0.3f * std::sin(x * 0.017f + 2 * phase + 0.7f) +
                  0.15f * std::sin(x * 0.041f + 3 * phase + 1.9f));
}

// Ordered dither of a 4 by 4 Bayer matrix keeps the long gradients free of bands.
uint8_t dithered(float v, int x, int y) {
  static const int bayer[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  const float d = (bayer[y & 3][x & 3] + 0.5f) / 16.0f - 0.5f;
  return uint8_t(std::clamp(std::floor(v + 0.5f + d), 0.0f, 255.0f));
}

}  // namespace

raster draw_background(int which) {
  const sky_look& k = looks[which == 2 ? 1 : 0];
  raster r(sheet_back_w, sheet_back_h);
  const float horizon = k.sky[0].y;
  for (int y = 0; y < r.h; ++y)
    for (int x = 0; x < r.w; ++x) {
      float c[3];
      // Sky by its stops, the pale part kept wide.
      int s = 0;
      while (s < 2 && y > k.sky[s + 1].y) ++s;
      const float t = std::clamp((y - k.sky[s].y) / (k.sky[s + 1].y - k.sky[s].y), 0.0f, 1.0f);
      const float e = t * t * (3 - 2 * t);
      c[0] = lerp(k.sky[s].r, k.sky[s + 1].r, e);
      c[1] = lerp(k.sky[s].g, k.sky[s + 1].g, e);
      c[2] = lerp(k.sky[s].b, k.sky[s + 1].b, e);
      // Thin streaks of high cloud.
      const float streak = std::max(0.0f, std::sin(y * 0.045f + ridge(x, k.phase, 1.5f)) - 0.75f) * 4;
      const float patchy = std::max(0.0f, std::sin(x * 0.005f + y * 0.013f + 3 * k.phase));
      const float high = streak * patchy * std::clamp((y - 380.0f) / 200, 0.0f, 1.0f) * 0.2f;
      for (float& v : c) v = lerp(v, 255, high);
      // Far hills, hazy, just over the horizon.
      const float hill = horizon + 26 + ridge(x, k.phase, 24);
      if (y < hill) {
        const float haze = std::clamp((hill - y) / 40.0f, 0.0f, 1.0f) * 0.55f;
        for (int i = 0; i < 3; ++i) c[i] = lerp(c[i], k.hills[i], 0.55f + haze * 0.3f);
      }
      // The sea of cloud, its rolling tops lit, its depths a little grey.
      const float top = horizon + ridge(x * 1.7f, k.phase + 1.0f, 14);
      if (y < top) {
        const float depth = std::clamp(y / top, 0.0f, 1.0f);
        const float roll = 0.5f + 0.5f * std::sin(x * 0.021f + y * 0.05f + k.phase);
        for (int i = 0; i < 3; ++i) {
          const float lit = lerp(k.cloud[0][i], k.cloud[1][i], std::pow(depth, 1.6f));
          c[i] = lit - (1 - depth) * roll * 6;
        }
      }
      r.set(x, y, {dithered(c[0], x, y), dithered(c[1], x, y), dithered(c[2], x, y), 255});
    }
  return r;
}
