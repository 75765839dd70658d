#include "toolkit/text.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>

#include "files/alert.h"
#include "files/mnw.h"
#include "toolkit/draw.h"
#include "toolkit/sheet.h"
#include "toolkit/textures.h"

oglp_struct oglp;

namespace {

// The advance and the grid cell of every byte, built once from the sheet's
// layout so that all measuring reads the same numbers.
struct text_tables {
  unsigned char advance[256] = {};
  unsigned char column[256] = {};
  unsigned char row[256] = {};
};

constexpr text_tables make_tables() {
  text_tables t;
  for (int c = 0; c < 256; ++c) t.advance[c] = static_cast<unsigned char>(glyph_advance(c));
  for (int r = 0; r < glyph_rows; ++r)
    for (int k = 0; k < glyph_cols; ++k) {
      const unsigned char c = glyph_grid[r][k];
      t.column[c] = static_cast<unsigned char>(k);
      t.row[c] = static_cast<unsigned char>(r);
    }
  return t;
}
constexpr text_tables tables = make_tables();

struct charset_info {
  int tex;
  float s, t, ds, dt;
  int advance;
};

bool charset_params(int charset, charset_info* out) {
  switch (charset) {
    case charset_UI_diff_space:
      *out = {tex_interface, glyph_prop_s, glyph_t, glyph_cell_w, glyph_cell_h, 0};
      return true;
    case charset_UI_mono_6:
      *out = {tex_interface, glyph_mono_s, glyph_t, glyph_cell_w, glyph_cell_h, 6};
      return true;
    case charset_UI_mono_10:
      *out = {tex_interface, glyph_mono_s, glyph_t, glyph_cell_w, glyph_cell_h, 10};
      return true;
    case charset_UI_menus_KOR:
      *out = {tex_korean, 0, 0, 13, 13, 15};
      return true;
    default:
      return false;
  }
}

bool word_end(unsigned char c) { return c == 0 || c == ' ' || c == '-' || c == '/' || c == ':'; }

// The one walk over a string that both drawing and measuring use, so the two
// can't disagree. emit(byte, code, x, y) gets each character's quad corner.
template <class Emit>
void walk_text(float x, float y, const std::string& text, float wrap, int charset, int fixed,
               Emit emit) {
  const float x0 = std::round(x + mnw.win_x);
  float cy = std::round(y + mnw.win_y) - 2;   // descender rows go under the line
  float cx = x0;
  const bool wrapping = wrap < text_no_wrap;
  const size_t n = text.size();
  auto byte = [&](size_t i) { return i < n ? static_cast<unsigned char>(text[i]) : 0; };

  for (size_t i = 0; i < n; ++i) {
    const unsigned char c = byte(i);
    if (c == '\n' && wrapping) {
      cx = x0;
      cy -= text_line_height;
      continue;
    }
    if (c == '\r' || c == '\n' || c == '\t') continue;
    int code = static_cast<signed char>(c);
    if (charset == charset_UI_menus_KOR) {
      code = byte(i + 1) - 128 + c * 127;
      ++i;
    }
    emit(c, code, cx, cy);
    cx += fixed ? fixed : tables.advance[c];

    // A cheap estimate, on purpose: the next word at a flat 6 pixels a
    // character, not by the table.
    if (wrapping && word_end(c) && !word_end(byte(i + 1))) {
      size_t j = i + 1;
      while (j < n && !word_end(byte(j))) ++j;
      if (cx + 6.0f * static_cast<float>(j - i - 1) > x0 + wrap) {
        cx = x0;
        cy -= text_line_height;
      }
    }
  }
}

int digit_char(double v) {
  if (!(v >= 0 && v <= 9)) return '0';
  return '0' + static_cast<int>(v);
}

}  // namespace

int text_advance(unsigned char c) { return tables.advance[c]; }

void text_cell(unsigned char c, int* column, int* row) {
  *column = tables.column[c];
  *row = tables.row[c];
}

float text_width(const std::string& text) {
  int w = 0;
  for (char c : text) w += tables.advance[static_cast<unsigned char>(c)];
  return static_cast<float>(w);
}

int text_charset_advance(int charset) {
  charset_info ci;
  return charset_params(charset, &ci) ? ci.advance : -1;
}

int OGL_strtex(int charset, int col, float* s, float* t, float* ds, float* dt) {
  charset_info ci;
  if (!charset_params(charset, &ci)) {
    MACIBM_alert(0, "String proc with bad charset!", "", "", "", alert_fatal);
    return 0;
  }
  OGL_setstate(fog_off, 1, lit_off, alpha_blend, depth_read_off, depth_write_off);
  OGL_set_colour(col, 1.0f);
  tman.bind_ref(ci.tex, 0, 0);
  *s = ci.s;
  *t = ci.t;
  *ds = ci.ds;
  *dt = ci.dt;
  return ci.advance;
}

void text_char_source(int ch, int charset, float s0, float t0, float ds, float dt, float* s,
                      float* t) {
  if (charset == charset_UI_menus_KOR) {
    *s = s0 + static_cast<float>(ch % 40) * ds;
    *t = t0 + static_cast<float>(ch / 40) * dt;
    return;
  }
  // Callers hand in a plain char: the byte is its low eight bits.
  const unsigned char c = static_cast<unsigned char>(ch & 0xFF);
  *s = s0 + tables.column[c] * ds;
  *t = t0 + tables.row[c] * dt;
}

void OGL_char(float x, float y, float s0, float t0, float ds, float dt, int ch, int charset) {
  if (!OGL_live()) return;
  float s, t;
  text_char_source(ch, charset, s0, t0, ds, dt, &s, &t);
  const float scale = oglp.glyph_scale > 1 ? oglp.glyph_scale : 1.0f;
  OGL_quad_vertices(x, y, ds * scale, dt * scale, s, t, ds, dt, sheet_interface_w);
}

void text_layout(float x, float y, const std::string& text, float wrap, int charset,
                 std::vector<glyph_place>* out) {
  out->clear();
  const int fixed = text_charset_advance(charset);
  if (fixed < 0) return;
  walk_text(x, y, text, wrap, charset, fixed, [&](unsigned char c, int code, float cx, float cy) {
    out->push_back({c, cx, cy, code});
  });
}

void OGL_string(int col, float x, float y, const std::string& text, float wrap, int charset) {
  float s0 = 0, t0 = 0, ds = 0, dt = 0;
  if (text_charset_advance(charset) < 0) {
    OGL_strtex(charset, col, &s0, &t0, &ds, &dt);   // tells of the bad charset
    return;
  }
  if (!OGL_live()) return;
  const int fixed = OGL_strtex(charset, col, &s0, &t0, &ds, &dt);
  glBegin(GL_QUADS);
  walk_text(x, y, text, wrap, charset, fixed, [&](unsigned char, int code, float cx, float cy) {
    OGL_char(cx, cy, s0, t0, ds, dt, code, charset);
  });
  glEnd();
}

void text_number_layout(float x, float y, float value, int digits, int decimals, int charset,
                        std::vector<glyph_place>* out) {
  out->clear();
  const float c = static_cast<float>(std::max(0, text_charset_advance(charset)));
  x = std::round(x + mnw.win_x);
  y = std::round(y + mnw.win_y) - 2;
  auto put = [&](char ch, float px, float py) {
    out->push_back({static_cast<unsigned char>(ch), px, py, static_cast<signed char>(ch)});
  };

  double a = std::fabs(static_cast<double>(value));
  const double v = a * std::pow(10.0, decimals);
  int need = v <= 9 ? 1 : 2;
  const double limits[] = {99, 999, 9999, 99999, 999999, 9999999, 1e8, 1e9};
  for (double l : limits)
    if (v > l) ++need;

  if (value < 0 && v > 0.1) put('-', x - c + 1, y);
  const float p = x - c;

  if (need > digits) {
    // Too large for the field: three digits, a point, "x" and the exponent.
    int e = 2;
    while (a >= 999 && e < 99) {
      a *= 0.1;
      ++e;
    }
    const double m = std::round(a);
    put('.', p + c * 1.5f + 2, y - 1);
    put(static_cast<char>(digit_char(std::floor(m / 100))), p + c, y);
    put(static_cast<char>(digit_char(std::fmod(std::floor(m / 10), 10))), p + 2 * c, y);
    put(static_cast<char>(digit_char(std::fmod(m, 10))), p + 3 * c, y);
    put('x', p + 4 * c, y);
    put(static_cast<char>(digit_char(e)), p + 5 * c, y);
    return;
  }

  const int n = std::min(digits, 11);
  const int w = n - decimals;
  if (decimals > 0) put('.', p + (w + 0.5f) * c, y);
  for (int k = 3; k <= 9; k += 3)
    if (w > k) put(',', p + (w - k + 0.5f) * c, y);
  for (int i = n - 1; i >= 0; --i) {
    const double d = std::fmod(std::floor((v + 0.5) * std::pow(10.0, -i)), 10.0);
    put(static_cast<char>(digit_char(d)), p + (n - i) * c, y);
  }
}

void OGL_number(int col, float x, float y, float value, int digits, int decimals, int charset) {
  if (charset != charset_UI_mono_6 && charset != charset_UI_mono_10)
    MACIBM_alert(0, "Numbers must be mono-spaced!",
                 "This is because we increment by a constant step size for each digit.", "", "",
                 alert_warning);
  float s0 = 0, t0 = 0, ds = 0, dt = 0;
  if (text_charset_advance(charset) < 0) {
    OGL_strtex(charset, col, &s0, &t0, &ds, &dt);
    return;
  }
  if (!OGL_live()) return;
  OGL_strtex(charset, col, &s0, &t0, &ds, &dt);
  std::vector<glyph_place> places;
  text_number_layout(x, y, value, digits, decimals, charset, &places);
  glBegin(GL_QUADS);
  for (const glyph_place& g : places) OGL_char(g.x, g.y, s0, t0, ds, dt, g.code, charset);
  glEnd();
}

void OGL_gray_string(int col, float x, float y, const std::string& text) {
  const float w = text_width(text) * 0.5f;
  OGL_grayrect(x - w - 2, y - 2, x + w + 2, y + 8, 0.5f);
  OGL_string(col, x - w, y, text, text_no_wrap, charset_UI_diff_space);
}
