#include "assets/raster.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {
uint8_t to_byte(float v) { return uint8_t(std::clamp(std::lround(v), 0L, 255L)); }
}  // namespace

rgba mix(rgba a, rgba b, float t) {
  auto m = [t](uint8_t p, uint8_t q) { return to_byte(p + (q - p) * t); };
  return {m(a.r, b.r), m(a.g, b.g), m(a.b, b.b), m(a.a, b.a)};
}

rgba fade(rgba c, float f) { return {c.r, c.g, c.b, to_byte(c.a * f)}; }

rgba shade(rgba c, float f) { return {to_byte(c.r * f), to_byte(c.g * f), to_byte(c.b * f), c.a}; }

rgba raster::get(int x, int y) const {
  if (!inside(x, y)) return {};
  const uint8_t* p = &px[(size_t(y) * w + x) * 4];
  return {p[0], p[1], p[2], p[3]};
}

void raster::set(int x, int y, rgba c) {
  if (!inside(x, y)) return;
  uint8_t* p = &px[(size_t(y) * w + x) * 4];
  p[0] = c.r, p[1] = c.g, p[2] = c.b, p[3] = c.a;
}

void raster::blend(int x, int y, rgba c, float cover) {
  if (!inside(x, y) || cover <= 0) return;
  const float sa = c.a / 255.0f * std::min(cover, 1.0f);
  const rgba d = get(x, y);
  const float da = d.a / 255.0f;
  const float oa = sa + da * (1 - sa);
  if (oa <= 0) return;
  auto ch = [&](uint8_t s, uint8_t t) { return to_byte((s * sa + t * da * (1 - sa)) / oa); };
  set(x, y, {ch(c.r, d.r), ch(c.g, d.g), ch(c.b, d.b), to_byte(oa * 255)});
}

void fill(raster& r, box b, rgba c) {
  for (int y = b.y; y < b.y + b.h; ++y)
    for (int x = b.x; x < b.x + b.w; ++x) r.set(x, y, c);
}

void fill_rows(raster& r, box b, const std::function<rgba(float)>& colour) {
  for (int y = b.y; y < b.y + b.h; ++y) {
    const rgba c = colour(b.h > 1 ? float(y - b.y) / (b.h - 1) : 0.0f);
    for (int x = b.x; x < b.x + b.w; ++x) r.set(x, y, c);
  }
}

void copy_box(const raster& from, box b, raster& to, int x, int y) {
  for (int j = 0; j < b.h; ++j)
    for (int i = 0; i < b.w; ++i) to.set(x + i, y + j, from.get(b.x + i, b.y + j));
}

float sd_round_box(float x, float y, float x0, float y0, float x1, float y1, float radius) {
  const float cx = (x0 + x1) / 2, cy = (y0 + y1) / 2;
  const float qx = std::fabs(x - cx) - ((x1 - x0) / 2 - radius);
  const float qy = std::fabs(y - cy) - ((y1 - y0) / 2 - radius);
  const float ox = std::max(qx, 0.0f), oy = std::max(qy, 0.0f);
  return std::sqrt(ox * ox + oy * oy) + std::min(std::max(qx, qy), 0.0f) - radius;
}

float sd_circle(float x, float y, float cx, float cy, float radius) {
  return std::hypot(x - cx, y - cy) - radius;
}

float sd_segment(float x, float y, float ax, float ay, float bx, float by, float half_width) {
  const float px = x - ax, py = y - ay, dx = bx - ax, dy = by - ay;
  const float len2 = dx * dx + dy * dy;
  const float t = len2 > 0 ? std::clamp((px * dx + py * dy) / len2, 0.0f, 1.0f) : 0.0f;
  return std::hypot(px - dx * t, py - dy * t) - half_width;
}

float sd_convex(float x, float y, const std::vector<float>& xy) {
  float d = -1e9f;
  const size_t n = xy.size() / 2;
  for (size_t i = 0; i < n; ++i) {
    const float ax = xy[2 * i], ay = xy[2 * i + 1];
    const float bx = xy[2 * ((i + 1) % n)], by = xy[2 * ((i + 1) % n) + 1];
    const float ex = bx - ax, ey = by - ay, len = std::hypot(ex, ey);
    if (len <= 0) continue;
    // Outward normal of a counter-clockwise edge is (ey, -ex).
    d = std::max(d, ((x - ax) * ey - (y - ay) * ex) / len);
  }
  return d;
}

void paint(raster& r, box b, const distance_fn& shape, const paint_fn& colour) {
  for (int y = b.y; y < b.y + b.h; ++y)
    for (int x = b.x; x < b.x + b.w; ++x) {
      const float px = x + 0.5f, py = y + 0.5f;
      const float cover = std::clamp(0.5f - shape(px, py), 0.0f, 1.0f);
      if (cover > 0) r.blend(x, y, colour(px, py), cover);
    }
}

void paint(raster& r, box b, const distance_fn& shape, rgba colour) {
  paint(r, b, shape, [colour](float, float) { return colour; });
}

bool write_png(const raster& r, const std::string& path, std::string* error) {
  png_image image;
  memset(&image, 0, sizeof(image));
  image.version = PNG_IMAGE_VERSION;
  image.width = r.w;
  image.height = r.h;
  image.format = PNG_FORMAT_RGBA;
  // A negative stride writes the last row (the picture's top) first.
  const png_int_32 stride = -static_cast<png_int_32>(r.w * 4);
  if (!png_image_write_to_file(&image, path.c_str(), 0, r.px.data(), stride, nullptr)) {
    if (error) *error = path + ": " + image.message;
    return false;
  }
  return true;
}

bool read_png(const std::string& path, raster* r, std::string* error) {
  png_image image;
  memset(&image, 0, sizeof(image));
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, path.c_str())) {
    if (error) *error = path + ": " + image.message;
    return false;
  }
  image.format = PNG_FORMAT_RGBA;
  *r = raster(image.width, image.height);
  const png_int_32 stride = -static_cast<png_int_32>(r->w * 4);
  if (!png_image_finish_read(&image, nullptr, r->px.data(), stride, nullptr)) {
    if (error) *error = path + ": " + image.message;
    return false;
  }
  return true;
}
