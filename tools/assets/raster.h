// A small RGBA raster for drawing the built-in pictures. Rows count from the
// bottom, as GL and the sheet layout do; PNG files are flipped on the way out
// and in. Shapes are drawn from signed distances, which gives clean one-pixel
// anti-aliasing and keeps every piece exactly where its numbers say.
#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct rgba {
  uint8_t r = 0, g = 0, b = 0, a = 0;
};
constexpr rgba opaque(uint8_t r, uint8_t g, uint8_t b) { return {r, g, b, 255}; }
// Linear mix, t 0 gives a, 1 gives b.
rgba mix(rgba a, rgba b, float t);
// The colour with its alpha scaled by f.
rgba fade(rgba c, float f);
// Brighter (f > 1) or darker (f < 1), alpha kept.
rgba shade(rgba c, float f);

struct raster {
  int w = 0, h = 0;
  std::vector<uint8_t> px;  // R G B A, row 0 (the bottom) first

  raster() = default;
  raster(int width, int height) : w(width), h(height), px(size_t(width) * height * 4, 0) {}
  bool inside(int x, int y) const { return x >= 0 && y >= 0 && x < w && y < h; }
  rgba get(int x, int y) const;
  void set(int x, int y, rgba c);
  // Source-over of c, its alpha scaled by cover (0 to 1).
  void blend(int x, int y, rgba c, float cover = 1.0f);
};

// A box of pixels: columns x to x + w, rows y to y + h.
struct box {
  int x, y, w, h;
};

void fill(raster& r, box b, rgba c);
// Overwrites (no blending) with a colour per row; t is 0 at the box's bottom
// row and 1 at its top row.
void fill_rows(raster& r, box b, const std::function<rgba(float t)>& colour);
// Copies a box of one raster into another at (x, y), overwriting.
void copy_box(const raster& from, box b, raster& to, int x, int y);

// Signed distance from a point to a shape: negative inside.
float sd_round_box(float x, float y, float x0, float y0, float x1, float y1, float radius);
float sd_circle(float x, float y, float cx, float cy, float radius);
float sd_segment(float x, float y, float ax, float ay, float bx, float by, float half_width);
// A convex polygon, corners counter-clockwise: the largest distance past an edge.
float sd_convex(float x, float y, const std::vector<float>& xy);

using distance_fn = std::function<float(float x, float y)>;
using paint_fn = std::function<rgba(float x, float y)>;
// Blends the shape over the box's pixels, sampled at pixel centres, its edge
// anti-aliased over one pixel; paint gives the colour at each point.
void paint(raster& r, box b, const distance_fn& shape, const paint_fn& colour);
void paint(raster& r, box b, const distance_fn& shape, rgba colour);

// The PNG file (top row first on disk). Failures come back as text.
bool write_png(const raster& r, const std::string& path, std::string* error);
bool read_png(const std::string& path, raster* r, std::string* error);
