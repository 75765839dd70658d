#include "toolkit/colours.h"

#include <GL/gl.h>

#include <algorithm>

#include "files/alert.h"
#include "shell/glprobe.h"
#include "toolkit/draw.h"
#include "toolkit/sheet.h"
#include "toolkit/text.h"

colr_class colr;

// The simulator's sun; the installer has none, so it stays white.
float ren_light_value[3] = {1, 1, 1};
float ren_light_value_2[3] = {1, 1, 1};

namespace {

struct constant_slot {
  int slot;
  float r, g, b;
};

const constant_slot kConstantSlots[] = {
    {0, 1, 1, 1},          {1, 0.8f, 0, 0},        {2, 1, 1, 0.2f},        {3, 0.7f, 0.7f, 0.7f},
    {4, 0.4f, 0, 0},       {5, 1, 1, 0},           {6, 0.3f, 0.3f, 0.3f},  {7, 0.2f, 0, 0},
    {8, 1, 0.8f, 0.2f},    {9, 0.1f, 0.1f, 0.1f},  {10, 0, 0.8f, 0},       {13, 0, 0.4f, 0},
    {15, 0.4f, 0.4f, 1},   {17, 0, 0, 0.6f},       {18, 0.9f, 0.9f, 0.9f}, {19, 0.8f, 0.1f, 0.1f},
    {20, 0.9f, 0.9f, 1},   {21, 0.9f, 0.9f, 0.9f}, {22, 0.1f, 0.1f, 0.1f}, {23, 1, 1, 0},
    {25, 1, 1, 1},         {26, 1, 1, 1},          {27, 1, 1, 1},          {28, 1, 1, 0},
    {30, 1, 1, 1},         {31, 1, 1, 1},          {32, 1, 1, 1},          {48, 1, 1, 1},
    {49, 0.4f, 1, 0.4f},   {50, 1, 0.4f, 0.4f},    {51, 1, 1, 0.6f},       {52, 0.6f, 0.6f, 1},
    {53, 1, 0.5f, 0},      {54, 0.8f, 0.8f, 0.8f}, {55, 0, 1, 0},          {56, 1, 0.2f, 0.2f},
    {57, 1, 1, 0.2f},      {58, 0.4f, 0.4f, 1},    {59, 0.5f, 0.3f, 0},    {60, 0.5f, 0.5f, 0.5f},
    {61, 0, 0.6f, 0},      {62, 0.6f, 0.2f, 0},    {63, 1, 1, 0},          {64, 0.2f, 0.2f, 0.8f},
    {65, 0.8f, 0, 0.8f},   {66, 0.2f, 0.2f, 0.2f}, {67, 0, 0.2f, 0},       {68, 1, 0, 0},
    {69, 0.6f, 0.6f, 0},   {70, 0.15f, 0.15f, 0.6f}, {71, 1, 0.2f, 1},     {73, 0, 0.1f, 0},
    {74, 0.49f, 0.43f, 0.24f}, {80, 1, 0, 1},      {82, 1, 0, 1},          {83, 1, 1, 1},
    {92, 0.5f, 0.5f, 0.4f}, {93, 1, 0.3f, 0},      {94, 0.5f, 0.5f, 0.4f}, {95, 0.8f, 0.8f, 0.7f},
    {96, 0, 0.6f, 0.2f},   {97, 1, 1, 0.9f},
};

// Linear mix between stops[k] and stops[k + 1] over equal parts of 0..1.
void mix_stops(const float (*stops)[3], int parts, float f, float out[3]) {
  float pos = f * parts;
  int k = static_cast<int>(pos);
  if (k >= parts) k = parts - 1;
  if (k < 0) k = 0;
  const float w = pos - k;
  for (int c = 0; c < 3; ++c) out[c] = stops[k][c] + (stops[k + 1][c] - stops[k][c]) * w;
}

}  // namespace

colr_class::colr_class() {
  for (auto& c : col) c[0] = c[1] = c[2] = 0;
  for (auto& s : spectrum) s[0] = s[1] = s[2] = 0;
  for (const auto& s : kConstantSlots) assign(s.slot, s.r, s.g, s.b);
}

void colr_class::assign(int slot, float r, float g, float b) {
  col[slot][0] = r;
  col[slot][1] = g;
  col[slot][2] = b;
}

void colr_class::set_lites_for_interface() {
  for (float& c : lit) c = std::max(c, 0.75f);
}

void colr_class::set_lit_col(int kind) {
  float v[3];
  switch (kind) {
    case 0:
      for (int c = 0; c < 3; ++c) v[c] = std::max(lit[c], ren_light_value[c]);
      break;
    case 1:
      for (int c = 0; c < 3; ++c) v[c] = ren_light_value[c];
      break;
    case 2:
      for (int c = 0; c < 3; ++c) v[c] = ren_light_value_2[c];
      break;
    default:
      MACIBM_alert(0, "bad col_type!", "", "", "", alert_fatal);
      return;
  }
  assign(47, v[0], v[1], v[2]);
}

void colr_class::spectrum_init(int kind) {
  static const float kStops[6][3] = {{1, 0, 0}, {1, 0.32f, 0.08f}, {1, 1, 0},
                                     {0, 1, 0}, {0, 0, 1},         {0.8f, 0, 0.8f}};
  for (int i = 0; i < colr_spectrum_size; ++i) {
    const float f = i * 0.001f;
    float* e = spectrum[i];
    if (kind == 0) {
      mix_stops(kStops, 5, f, e);
    } else {
      e[0] = e[1] = e[2] = 0;
      if (kind >= 1 && kind <= 3) e[kind - 1] = f;
    }
  }
}

void colr_class::spectrum_plotscale(float lo, float hi, float x, float y) {
  spec_lo = lo;
  spec_hi = hi;
  spec_span = hi - lo;
  // The low end under the left of the scale, the high end under its right.
  OGL_number(0, x, y, lo, 6, 2, charset_UI_mono_6);
  OGL_number(0, x + 200, y, hi, 6, 2, charset_UI_mono_6);
  if (!OGL_live()) return;
  OGL_setstate(fog_off, 0, lit_off, alpha_blend, depth_read_off, depth_write_off);
  glPointSize(4);
}

void colr_read_palette(const unsigned char* rgba, int width, int height) {
  for (const auto& cell : palette_cells) {
    if (!rgba || cell.row >= height || cell.column >= width) continue;
    const unsigned char* p = rgba + (static_cast<long>(cell.row) * width + cell.column) * 4;
    const float k = 1.0f / 255;
    colr.assign(cell.slot, p[0] * k, p[1] * k, p[2] * k);
  }
  colr.assign(38, (colr.col[37][0] + colr.col[40][0]) * 0.5f,
              (colr.col[37][1] + colr.col[40][1]) * 0.5f,
              (colr.col[37][2] + colr.col[40][2]) * 0.5f);
}

void colr_set_blink(float p) {
  colr.assign(75, p, p, p);
  colr.assign(76, p, 0.3f * p, 0.3f * p);
  colr.assign(77, 0.3f * p, 0.3f * p, p);
  colr.assign(78, 0.2f * p, 0.8f * p, 0.2f * p);
  colr.assign(79, 0.7f * p, 0.7f * p, 0.2f * p);
}

void colr_spectrum_value(float f, float out[3]) {
  static const float kStops[7][3] = {{0, 0, 0}, {1, 0, 0}, {1, 0.32f, 0.08f}, {1, 1, 0},
                                     {0, 1, 0}, {0, 0, 1}, {0.8f, 0, 0.8f}};
  f = std::min(1.0f, std::max(0.0f, f));
  mix_stops(kStops, 6, f, out);
  if (ren.mono) {
    out[1] = std::min(1.0f, std::max(0.01f, out[0] + out[1] + out[2]));
    out[0] = out[2] = 0;
  }
}

void OGL_spectrum_rgb(float f) {
  if (!OGL_live()) return;
  float c[3];
  colr_spectrum_value(f, c);
  glColor3fv(c);
}
