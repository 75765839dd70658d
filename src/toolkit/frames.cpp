#include "toolkit/frames.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "files/alert.h"
#include "files/mnw.h"
#include "shell/window.h"
#include "toolkit/builtin_images.h"
#include "toolkit/draw.h"
#include "toolkit/sheet.h"
#include "toolkit/text.h"
#include "toolkit/textures.h"

namespace {

// One run of a tiled piece along one axis: screen start and length, source
// start and length.
struct span {
  float x, w, s, ds;
};

// Lays [a, a + len) with a low cap of natural width, a body tiled whole
// (the last tile cut short, in screen and source alike) and a high cap that
// ends exactly at a + len. The caps overlap when len is shorter than both.
void tile_span(float a, float len, float src, int cap, int body_end, int total,
               std::vector<span>* out) {
  out->clear();
  const float tile = static_cast<float>(body_end - cap);
  const float hi = static_cast<float>(total - body_end);
  out->push_back({a, static_cast<float>(cap), src, static_cast<float>(cap)});
  const float body_lo = a + cap, body_hi = a + len - hi;
  if (tile > 0) {
    const long n = std::lround((len - 2.0f * cap) / tile) + 1;
    for (long i = 0; i < n; ++i) {
      const float x = body_lo + i * tile;
      if (x >= body_hi) break;
      const float w = std::min(tile, body_hi - x);
      out->push_back({x, w, src + cap, w});
    }
  }
  out->push_back({a + len - hi, hi, src + body_end, hi});
}

const strip_source* find_strip(int type) {
  for (const strip_source& s : frame1_strips)
    if (s.type == type) return &s;
  return nullptr;
}

const panel_source* find_panel(int type) {
  for (const panel_source& p : frame2_panels)
    if (p.type == type) return &p;
  return nullptr;
}

// The present interface sheet state for pieces in colour slot col.
void begin_sheet(int col) {
  OGL_setstate(fog_off, 1, lit_off, alpha_blend, depth_read_off, depth_write_off);
  tman.bind_ref(tex_interface, 0, 0);
  OGL_set_colour(col, 1.0f);
}

// All quads in one glBegin, in the vertex order of the glyphs.
void emit_quads(const std::vector<strip_quad>& quads, int col) {
  if (!OGL_live() || quads.empty()) return;
  begin_sheet(col);
  glBegin(GL_QUADS);
  for (const strip_quad& q : quads)
    OGL_quad_vertices(q.x + mnw.win_x, q.y + mnw.win_y, q.w, q.h, q.s, q.t, q.ds, q.dt,
                      sheet_interface_w);
  glEnd();
}

void sheet_quad(float x, float y, const sheet_rect& r, int col) {
  emit_quads({{x, static_cast<float>(r.w), static_cast<float>(r.s), static_cast<float>(r.w), y,
               static_cast<float>(r.h), static_cast<float>(r.t), static_cast<float>(r.h)}},
             col);
}

float round_even(float v) { return 2.0f * std::round(v * 0.5f); }

bool splits_at(char c) { return c == ' ' || c == '-' || c == '/'; }

// Light text on a dark panel, the dark label colour on a light one, judged
// from the top edge of the panel's picture so a new look needs no code.
int title_colour(int type, bool on_bar) {
  const panel_source* p = find_panel(type);
  if (!p || on_bar) return 37;   // on the title bar
  const int s = p->s + p->size / 2, t = p->t + p->size - p->edge / 2 - 1;
  const unsigned char* px = t_interface_dat + (static_cast<size_t>(t) * sheet_interface_w + s) * 4;
  return px[0] * 3 + px[1] * 6 + px[2] > 1280 ? 42 : 37;
}

// The panel's title, centred; full-window panels carry it on the title bar.
void draw_title(int type, float x, float y, float w, float h, const std::string& title,
                bool on_bar = false) {
  if (title.empty()) return;
  const float base = (type == 11 || type == 12) ? 16.0f : 12.0f;
  OGL_string(title_colour(type, on_bar), x + w * 0.5f - text_width(title) * 0.5f, y + h - base, title,
             text_no_wrap, charset_UI_diff_space);
}

void draw_panel(int type, float x, float y, float w, float h) {
  std::vector<strip_quad> quads;
  if (BTN_frame2_layout(type, x, y, w, h, &quads)) emit_quads(quads, 0);
}

}  // namespace

bool BTN_mouse_in(float x1, float y1, float x2, float y2) {
  return mnw.mouse_x >= x1 && mnw.mouse_x <= x2 && mnw.mouse_y >= y1 && mnw.mouse_y <= y2;
}

bool BTN_clicked_in(float x1, float y1, float x2, float y2) {
  return mnw.menu_open == -1 && mnw.mouse_click && BTN_mouse_in(x1, y1, x2, y2);
}

void BTN_offer_help(float x1, float y1, float x2, float y2, const std::string& help) {
  if (help.empty() || mnw.menu_open != -1 || !BTN_mouse_in(x1, y1, x2, y2)) return;
  stls[stls_help] = help;
}

void BTN_util_element(float cx, float cy, float half_w, float half_h, float s, float t, int col) {
  emit_quads({{cx - half_w, 2 * half_w, s, 2 * half_w, cy - half_h, 2 * half_h, t, 2 * half_h}},
             col);
}

bool BTN_frame1_layout(int type, float cx, float cy, float w, std::vector<strip_quad>* out) {
  out->clear();
  const strip_source* src = find_strip(type);
  if (!src) return false;
  if (type == 9 || type == 10) w += 4;
  // Whole pixels at both ends, so the tiles land on texels.
  w = round_even(w);
  cx = round_even(cx);
  const float left = cx - w * 0.5f;
  float bottom = cy - src->height * 0.5f;
  if (type == 0 || type == 1) bottom -= 3;

  std::vector<span> runs;
  tile_span(left, w, static_cast<float>(src->s), src->cap, src->body_end, src->total, &runs);
  const float hgt = static_cast<float>(src->height), t = static_cast<float>(src->t);
  for (const span& r : runs) out->push_back({r.x, r.w, r.s, r.ds, bottom, hgt, t, hgt});
  return true;
}

void BTN_frame1(int type, float cx, float cy, float w, int col) {
  std::vector<strip_quad> quads;
  if (!BTN_frame1_layout(type, cx, cy, w, &quads)) {
    MACIBM_alert(0, "Bad BTN_frame1 call!", "", "", "", alert_fatal);
    return;
  }
  emit_quads(quads, col);
}

bool BTN_frame0_layout(int type, float x, float y, float h, std::vector<strip_quad>* out) {
  out->clear();
  const vstrip_source* src = nullptr;
  for (const vstrip_source& v : frame0_strips)
    if (v.type == type) src = &v;
  if (!src) return false;
  x = std::round(x);
  y = std::round(y);
  h = std::round(h);
  std::vector<span> runs;
  tile_span(y, h, static_cast<float>(src->t), src->cap, src->body_end, src->total, &runs);
  const float wid = static_cast<float>(src->width), s = static_cast<float>(src->s);
  for (const span& r : runs) out->push_back({x, wid, s, wid, r.x, r.w, r.s, r.ds});
  return true;
}

void BTN_frame0(int type, float x, float y, float h) {
  std::vector<strip_quad> quads;
  if (BTN_frame0_layout(type, x, y, h, &quads)) emit_quads(quads, 0);
}

bool BTN_frame2_layout(int type, float x, float y, float w, float h,
                       std::vector<strip_quad>* out) {
  out->clear();
  const panel_source* p = find_panel(type);
  if (!p) return false;
  x = std::round(x);
  y = std::round(y);
  w = std::round(w);
  h = std::round(h);
  std::vector<span> cols, rows;
  tile_span(x, w, static_cast<float>(p->s), p->edge, p->size - p->edge, p->size, &cols);
  tile_span(y, h, static_cast<float>(p->t), p->edge, p->size - p->edge, p->size, &rows);
  for (const span& r : rows)
    for (const span& c : cols) out->push_back({c.x, c.w, c.s, c.ds, r.x, r.w, r.s, r.ds});
  return true;
}

void BTN_frame2(int type, float x, float y, float w, float h, const std::string& title) {
  draw_panel(type, x, y, w, h);
  draw_title(type, x, y, w, h, title);
  if (type == 11 && (mnw.win_now < 995 || mnw.win_now > 999)) BTN_zap_boxes(0);
}

void BTN_subwin(float top_space, int type, float x, float y, float w, float h,
                const std::string& title, float* next_x, float* next_y) {
  if (x < 0) x = 10;
  if (y < 0) y = 10;
  if (w < 0) w = mnw.win_dx - x - 10;
  if (h < 0) h = mnw.win_dy - y - top_space - 28;
  BTN_frame2(type, x, y, w, h, title);
  *next_x = x + w + 10;
  *next_y = y + h + 10;
}

void BTN_fillwin(int title_type, int fill_type) {
  const int type = title_type == 0 ? 12 : 11;
  const float w = mnw.win_dx, h = mnw.win_dy;
  draw_panel(type, 0, 0, w, h);
  if (fill_type == 1)
    BTN_frame1(1, w * 0.5f, h - 9, w, 0);   // its top row is empty: the bar ends at the top
  else if (fill_type != 21)
    draw_panel(fill_type, 10, 10, w - 20, h - 40);
  // After the bar, so the bar doesn't hide it.
  draw_title(type, 0, 0, w, h, stls[0], fill_type == 1);
  if (type == 11 && (mnw.win_now < 995 || mnw.win_now > 999)) BTN_zap_boxes(0);
}

int BTN_zap_boxes(int open) {
  const float y = mnw.win_dy - 19, xr = mnw.win_dx - 25;
  sheet_quad(7, y, open ? zap_left_open : zap_left_closed, 0);
  sheet_quad(xr, y, open ? zap_right_open : zap_right_closed, 0);
  return BTN_clicked_in(7, y, 25, mnw.win_dy - 1) || BTN_clicked_in(xr, y, xr + 18, mnw.win_dy - 1)
             ? 1
             : 0;
}

void BTN_expand_label(const std::string& label, std::string* left, std::string* right,
                      std::string* help) {
  const size_t brace = label.rfind('{');
  const std::string body = brace == std::string::npos ? label : label.substr(0, brace);
  *help = brace == std::string::npos ? "" : label.substr(brace + 1);
  const size_t bar = body.rfind('|');
  if (bar == std::string::npos) {
    *left = body;
    right->clear();
  } else {
    *left = body.substr(0, bar);
    *right = body.substr(bar + 1);
  }
}

void BTN_split_label(const std::string& text, std::string* top, std::string* bottom) {
  bottom->clear();
  if (!text.empty() && text[0] == '-') {
    *top = text.substr(1);
    return;
  }
  *top = text;
  if (text.size() <= 12) return;
  // The break nearest the middle; a blank goes, a "-" or "/" stays on top.
  const double mid = text.size() * 0.5;
  size_t best = std::string::npos;
  for (size_t i = 0; i < text.size(); ++i)
    if (splits_at(text[i]) &&
        (best == std::string::npos || std::fabs(i - mid) < std::fabs(best - mid)))
      best = i;
  if (best == std::string::npos) return;
  *top = text.substr(0, text[best] == ' ' ? best : best + 1);
  *bottom = text.substr(best + 1);
}

void BTN_util_draw_label(float x, float y, int align, const std::string& text, int pressed) {
  if (text.empty()) return;
  std::string top, bottom;
  if (align == 1)
    top = text[0] == '-' ? text.substr(1) : text;
  else
    BTN_split_label(text, &top, &bottom);
  const int col = pressed ? 76 : 42;
  auto line = [&](const std::string& s, float ly) {
    const float lx = align == 0 ? x - text_width(s) : x;
    OGL_string(col, lx, ly, s, text_no_wrap, charset_UI_diff_space);
  };
  if (bottom.empty()) {
    line(top, y);
  } else {
    line(top, y + 5);
    line(bottom, y - 5);
  }
}

void BTN_draw_help(float x, float y, float h, const std::string& text) {
  BTN_frame2(14, x - 10, y - 10, 420, h + 20, "");
  OGL_string(46, x + 3, y + h - 10, text, 394, charset_UI_diff_space);
}

void BTN_util_draw_boxed_button(float x, float y, float w, int columns, int arrows) {
  // The digits sit 4 pixels in from x; the box is a little wider than they are.
  BTN_frame1(9, x + 4 + w * 0.5f, y + 3, w + 15, 0);
  if (!arrows) return;
  for (int k = 0; k < columns; ++k) {
    const float cx = x + 4 + 10 * k + 5;
    BTN_util_element(cx, y + 20, digit_up.w * 0.5f, digit_up.h * 0.5f, digit_up.s, digit_up.t, 0);
    BTN_util_element(cx, y - 14, digit_down.w * 0.5f, digit_down.h * 0.5f, digit_down.s,
                     digit_down.t, 0);
  }
}
