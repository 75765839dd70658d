// The installer sheet: the six worded buttons in their three states, the
// product's artwork and the sixteen frames of the activity icon, a propeller
// that turns in front of the artwork's aircraft. The rest stays transparent.
#include <algorithm>
#include <cmath>

#include "assets/images.h"
#include "toolkit/sheet.h"

namespace {

constexpr float pi = 3.14159265f;
constexpr rgba button_text = opaque(24, 36, 54);

// ---------------------------------------------------------------- buttons

// The layered look of the interface sheet's buttons, one state at a time.
void button_face(raster& r, box b, int state) {
  const float x0 = b.x, y0 = b.y, x1 = b.x + b.w, y1 = b.y + b.h;
  auto shape = [=](float inset) {
    return [=](float x, float y) { return sd_round_box(x, y, x0 + inset, y0 + inset, x1 - inset, y1 - inset, 6 - inset); };
  };
  rgba bottom = opaque(192, 203, 216), top = opaque(248, 250, 252), rim = opaque(255, 255, 255);
  if (state == 1) bottom = opaque(214, 224, 235), top = opaque(255, 255, 255), rim = opaque(127, 220, 175);
  if (state == 2) bottom = opaque(222, 228, 236), top = opaque(168, 181, 196), rim = opaque(140, 153, 170);
  paint(r, b, shape(0), opaque(34, 48, 68));
  paint(r, b, shape(1), rim);
  paint(r, b, shape(2), [=](float, float y) { return mix(bottom, top, std::clamp((y - y0 - 2) / (b.h - 4), 0.0f, 1.0f)); });
}

void worded_button(raster& r, const face_class& bold, const sheet_button& btn) {
  // The biggest size up to 13 pixels at which the word leaves a margin.
  float size = 13;
  while (size > 8 && bold.text_width(btn.label, size) > btn.w - 14) size -= 0.5f;
  const int tw = bold.text_width(btn.label, size);
  const int cap = int(std::lround(size * 0.73f));
  for (int state = 0; state < 3; ++state) {
    const box b = {btn.u, btn.v - state * (btn.h + 1), btn.w, btn.h};
    button_face(r, b, state);
    // Pressed, the word sinks by a pixel with its button.
    const int x = b.x + (b.w - tw) / 2, y = b.y + (b.h - cap + 1) / 2 - (state == 2 ? 1 : 0);
    bold.draw_text(r, x, y, btn.label, size, button_text);
  }
}

// ---------------------------------------------------------------- artwork

// Where the activity icon's centre falls on the artwork: it is drawn at
// (29, 608) over the artwork at (0, 595), 64 pixels square.
constexpr float hub_x = 29 + 32, hub_y = 608 - 595 + 32;

void artwork(raster& r, const face_class& bold) {
  const sheet_rect& a = installer_artwork;
  const box b = {a.s, a.t, a.w, a.h};
  const float ox = a.s, oy = a.t;
  const float horizon = 22;
  // Sky, deep at the top, pale at the horizon, with a low sun up right.
  for (int y = 0; y < a.h; ++y)
    for (int x = 0; x < a.w; ++x) {
      const float t = std::clamp((y - horizon) / (a.h - horizon), 0.0f, 1.0f);
      rgba c = mix(opaque(210, 226, 242), opaque(36, 80, 146), std::pow(t, 0.8f));
      const float sun = std::exp(-std::hypot(x - 108.0f, y - 66.0f) / 14.0f);
      c = mix(c, opaque(255, 246, 220), std::min(1.0f, sun * 1.2f));
      r.set(a.s + x, a.t + y, c);
    }
  // A sea of cloud below the horizon.
  auto cloud_top = [=](float x) {
    const float u = x - ox;
    return oy + horizon + 2.5f * std::sin(u * 0.11f) + 1.8f * std::sin(u * 0.27f + 1.3f);
  };
  paint(r, b, [=](float x, float y) { return y - cloud_top(x); },
        [=](float, float y) { return mix(opaque(184, 198, 216), opaque(244, 247, 251), std::clamp((y - oy) / horizon, 0.0f, 1.0f)); });

  const float hx = ox + hub_x, hy = oy + hub_y;
  const rgba metal_dark = opaque(120, 132, 148), metal = opaque(226, 231, 237);
  // Tail behind the fuselage: fin and tailplane.
  paint(r, b, [=](float x, float y) { return sd_segment(x, y, hx - 16, hy + 12, hx + 16, hy + 12, 1.4f); }, metal_dark);
  paint(r, b, [=](float x, float y) { return sd_segment(x, y, hx, hy + 8, hx, hy + 26, 1.8f); }, metal_dark);
  // Wings with a little dihedral; seen nose on, the red light is on the right.
  for (int side : {-1, 1}) {
    const float tip = hx + side * 56, root = hx + side * 8;
    paint(r, b, [=](float x, float y) { return sd_segment(x, y, root, hy - 4, tip, hy + 4, 2.6f); }, metal_dark);
    paint(r, b, [=](float x, float y) { return sd_segment(x, y, root, hy - 3.4f, tip, hy + 4.6f, 1.7f); }, metal);
    paint(r, b, [=](float x, float y) { return sd_circle(x, y, tip, hy + 4.2f, 1.6f); },
          side < 0 ? opaque(60, 210, 90) : opaque(230, 50, 50));
    // Landing gear.
    paint(r, b, [=](float x, float y) { return sd_segment(x, y, hx + side * 10, hy - 8, hx + side * 15, hy - 22, 1.0f); },
          opaque(70, 78, 90));
    paint(r, b, [=](float x, float y) { return sd_circle(x, y, hx + side * 15, hy - 23, 3.5f); }, opaque(36, 40, 48));
  }
  // Fuselage seen nose on, and the cowling the propeller turns in front of.
  paint(r, b, [=](float x, float y) { return sd_circle(x, y, hx, hy, 12); }, metal_dark);
  paint(r, b, [=](float x, float y) { return sd_circle(x, y, hx, hy, 11); },
        [=](float x, float y) { return mix(metal, opaque(150, 162, 178), std::clamp((hy + 8 - y) / 18 + (x - hx) / 40, 0.0f, 1.0f)); });
  paint(r, b, [=](float x, float y) { return sd_circle(x, y, hx, hy, 7.5f); }, opaque(44, 54, 70));
  paint(r, b, [=](float x, float y) { return std::fabs(sd_circle(x, y, hx, hy, 9.3f)) - 0.7f; }, opaque(30, 84, 160));
  // The name above the icon's square.
  bold.draw_text(r, a.s + 5, a.t + 77, "ZEPHYRA", 8, opaque(255, 255, 255));
}

// ---------------------------------------------------------------- activity icon

// One blade as a convex outline in its own frame: along +x from the hub.
std::vector<float> blade(float cx, float cy, float angle) {
  const float local[] = {5, -1.6f, 15, -2.8f, 25, -2.0f, 27.5f, -0.6f, 27.5f, 0.6f, 25, 2.0f, 15, 2.8f, 5, 1.6f};
  std::vector<float> out;
  const float c = std::cos(angle), s = std::sin(angle);
  for (int i = 0; i < 8; ++i) {
    const float x = local[2 * i], y = local[2 * i + 1];
    out.push_back(cx + x * c - y * s);
    out.push_back(cy + x * s + y * c);
  }
  return out;
}

// Frame i turns the three blades by 7.5 degrees, so sixteen frames make a
// third of a turn and the loop is seamless; the rest frame stands one blade
// straight up.
void icon_frame(raster& r, int i) {
  const box b = {icon_cell * (i % 8), icon_cell * (i / 8) + icon_t0, icon_cell, icon_cell};
  const float cx = b.x + 32, cy = b.y + 32;
  const float turn = pi / 2 - (i - icon_rest) * (7.5f * pi / 180);
  // The faint disc of the turning blades.
  paint(r, b, [=](float x, float y) { return sd_circle(x, y, cx, cy, 27.5f); }, rgba{230, 236, 244, 34});
  for (int k = 0; k < 3; ++k) {
    const float ang = turn + k * 2 * pi / 3;
    // A trailing ghost gives the motion its direction.
    const std::vector<float> ghost = blade(cx, cy, ang + 6 * pi / 180);
    paint(r, b, [ghost](float x, float y) { return sd_convex(x, y, ghost); }, rgba{40, 44, 52, 70});
    const std::vector<float> pts = blade(cx, cy, ang);
    paint(r, b, [pts](float x, float y) { return sd_convex(x, y, pts); },
          [=](float x, float y) {
            return std::hypot(x - cx, y - cy) > 23.5f ? opaque(246, 204, 46) : opaque(42, 46, 54);
          });
  }
  // Spinner, lit from the upper left.
  paint(r, b, [=](float x, float y) { return sd_circle(x, y, cx, cy, 5.5f); }, opaque(120, 20, 24));
  paint(r, b, [=](float x, float y) { return sd_circle(x, y, cx, cy, 4.6f); },
        [=](float x, float y) { return mix(opaque(236, 70, 60), opaque(170, 26, 30), std::clamp((x - cx - (y - cy)) / 9 + 0.5f, 0.0f, 1.0f)); });
  paint(r, b, [=](float x, float y) { return sd_circle(x, y, cx - 1.5f, cy + 1.5f, 1.3f); }, rgba{255, 255, 255, 200});
}

}  // namespace

raster draw_installer_sheet(const image_fonts& fonts) {
  raster r(sheet_installer_w, sheet_installer_h);
  for (const sheet_button& b : installer_buttons) worded_button(r, fonts.bold, b);
  artwork(r, fonts.bold);
  for (int i = icon_first_frame; i < icon_first_frame + icon_frames; ++i) icon_frame(r, i);
  return r;
}
