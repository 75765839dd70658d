// The program's icon: the artwork's aircraft, nose on, with the activity
// icon's propeller at rest, over sky and a sea of cloud on a rounded tile.
// Drawn afresh at each size rather than scaled, so 48 pixels stay crisp.
#include <algorithm>
#include <cmath>

#include "assets/images.h"

namespace {

constexpr float pi = 3.14159265f;

}  // namespace

std::string icon_file(int size) { return "icon_" + std::to_string(size) + ".png"; }

raster draw_icon(int size) {
  raster r(size, size);
  const box all = {0, 0, size, size};
  // Laid out on a 256 grid.
  const float k = size / 256.0f;
  auto tile = [=](float x, float y) { return sd_round_box(x, y, 8 * k, 8 * k, 248 * k, 248 * k, 44 * k); };
  auto clip = [=](distance_fn shape) { return [=](float x, float y) { return std::max(shape(x, y), tile(x, y)); }; };

  // Sky, deep at the top and pale at the horizon, a low sun up right.
  const float horizon = 88 * k;
  paint(r, all, tile, [=](float x, float y) {
    const float t = std::clamp((y - horizon) / (240 * k - horizon), 0.0f, 1.0f);
    rgba c = mix(opaque(210, 226, 242), opaque(36, 80, 146), std::pow(t, 0.8f));
    const float sun = std::exp(-std::hypot(x - 200 * k, y - 196 * k) / (26 * k));
    return mix(c, opaque(255, 246, 220), std::min(1.0f, sun * 1.2f));
  });
  auto cloud_top = [=](float x) { return horizon + 7 * k * std::sin(x / k * 0.05f) + 5 * k * std::sin(x / k * 0.11f + 1.3f); };
  paint(r, all, clip([=](float x, float y) { return y - cloud_top(x); }),
        [=](float, float y) { return mix(opaque(184, 198, 216), opaque(244, 247, 251), std::clamp(y / horizon, 0.0f, 1.0f)); });

  const float hx = 128 * k, hy = 118 * k;
  const rgba metal_dark = opaque(120, 132, 148), metal = opaque(226, 231, 237);
  // Fin and tailplane behind the fuselage.
  paint(r, all, [=](float x, float y) { return sd_segment(x, y, hx - 36 * k, hy + 26 * k, hx + 36 * k, hy + 26 * k, 3.5f * k); }, metal_dark);
  paint(r, all, [=](float x, float y) { return sd_segment(x, y, hx, hy + 16 * k, hx, hy + 58 * k, 4.5f * k); }, metal_dark);
  // Wings with a little dihedral; seen nose on, the red light is on the right.
  for (int side : {-1, 1}) {
    const float tip = hx + side * 102 * k, root = hx + side * 16 * k;
    paint(r, all, [=](float x, float y) { return sd_segment(x, y, root, hy - 8 * k, tip, hy + 8 * k, 6.5f * k); }, metal_dark);
    paint(r, all, [=](float x, float y) { return sd_segment(x, y, root, hy - 6.5f * k, tip, hy + 9.5f * k, 4.2f * k); }, metal);
    paint(r, all, [=](float x, float y) { return sd_circle(x, y, tip, hy + 8.5f * k, 4.5f * k); },
          side < 0 ? opaque(60, 210, 90) : opaque(230, 50, 50));
  }
  // Fuselage and the cowling the propeller turns in front of.
  paint(r, all, [=](float x, float y) { return sd_circle(x, y, hx, hy, 26 * k); }, metal_dark);
  paint(r, all, [=](float x, float y) { return sd_circle(x, y, hx, hy, 24 * k); },
        [=](float x, float y) { return mix(metal, opaque(150, 162, 178), std::clamp((hy + 16 * k - y) / (36 * k) + (x - hx) / (80 * k), 0.0f, 1.0f)); });
  paint(r, all, [=](float x, float y) { return sd_circle(x, y, hx, hy, 16 * k); }, opaque(44, 54, 70));

  // Three blades, one straight up, yellow at the tips.
  const float blade[] = {10, -3.5f, 30, -6, 52, -4.5f, 58, -1.5f, 58, 1.5f, 52, 4.5f, 30, 6, 10, 3.5f};
  for (int b = 0; b < 3; ++b) {
    const float ang = pi / 2 + b * 2 * pi / 3, c = std::cos(ang), s = std::sin(ang);
    std::vector<float> pts;
    for (int i = 0; i < 8; ++i) {
      pts.push_back(hx + (blade[2 * i] * c - blade[2 * i + 1] * s) * k);
      pts.push_back(hy + (blade[2 * i] * s + blade[2 * i + 1] * c) * k);
    }
    paint(r, all, [pts](float x, float y) { return sd_convex(x, y, pts); },
          [=](float x, float y) { return std::hypot(x - hx, y - hy) > 46 * k ? opaque(246, 204, 46) : opaque(42, 46, 54); });
  }
  // Spinner, lit from the upper left.
  paint(r, all, [=](float x, float y) { return sd_circle(x, y, hx, hy, 11.5f * k); }, opaque(120, 20, 24));
  paint(r, all, [=](float x, float y) { return sd_circle(x, y, hx, hy, 9.8f * k); },
        [=](float x, float y) { return mix(opaque(236, 70, 60), opaque(170, 26, 30), std::clamp((x - hx - (y - hy)) / (19 * k) + 0.5f, 0.0f, 1.0f)); });
  paint(r, all, [=](float x, float y) { return sd_circle(x, y, hx - 3 * k, hy + 3 * k, 2.8f * k); }, rgba{255, 255, 255, 200});

  // A dark rim keeps the tile apart from a light panel.
  paint(r, all, [=](float x, float y) { return std::fabs(tile(x, y) + 1.2f * k + 0.5f) - 1.2f * k - 0.5f; }, opaque(24, 44, 78));
  return r;
}

bool make_icons(const std::string& dir, std::string* error) {
  const std::string folder = dir.empty() || dir.back() == '/' ? dir : dir + "/";
  for (int size : icon_sizes)
    if (!write_png(draw_icon(size), folder + icon_file(size), error)) return false;
  return true;
}
