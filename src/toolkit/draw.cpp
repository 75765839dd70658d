#include "toolkit/draw.h"

#include <GL/gl.h>
#include <GL/glx.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "files/mnw.h"
#include "shell/clock.h"
#include "shell/glprobe.h"
#include "shell/startup.h"
#include "toolkit/colours.h"
#include "toolkit/sheet.h"
#include "toolkit/textures.h"

int ogl_cache_bypass = 0;

namespace {

// What OGL_setstate believes GL to be set to.
bool o_read = false;
int o_fog = 0, o_tex = 0, o_lit = 0, o_alB = 0, o_alT = 0, o_deR = 0, o_deW = 0;

void set_cap(GLenum cap, bool on) {
  if (on)
    glEnable(cap);
  else
    glDisable(cap);
}

// GL always has at least one texture unit, even before the probe has counted them.
int texture_units() { return std::max(1, ren.max_tex_units); }

float px(float x) { return x + mnw.win_x; }
float py(float y) { return y + mnw.win_y; }

// Frames and lines blend only when the caller asks for transparency.
int line_alpha_code(float alpha) { return alpha < 0.99f ? alpha_blend : alpha_none; }

void fill_lookup_if_empty() {
  if (lookup_sin[90] != 0) return;
  for (int d = 0; d <= 360; ++d) {
    lookup_sin[d] = static_cast<float>(std::sin(d * 0.017453294));
    lookup_cos[d] = static_cast<float>(std::cos(d * 0.017453294));
  }
}

}  // namespace

bool OGL_live() { return glXGetCurrentContext() != nullptr; }

void OGL_setstate(int fog, int tex, int lit, int alpha, int depth_read, int depth_write) {
  if (!OGL_live()) return;
  if (!o_read) {
    o_fog = glIsEnabled(GL_FOG) ? fog_on : fog_off;
    o_tex = glIsEnabled(GL_TEXTURE_2D) ? 1 : 0;
    o_lit = glIsEnabled(GL_LIGHTING) ? lit_on : lit_off;
    o_alB = glIsEnabled(GL_BLEND) ? 1 : 0;
    o_alT = glIsEnabled(GL_ALPHA_TEST) ? 1 : 0;
    o_deR = glIsEnabled(GL_DEPTH_TEST) ? depth_read_on : depth_read_off;
    o_deW = 0;   // the mask can't be asked cheaply: the first call always sets it
    o_read = true;
  }
  const bool all = ogl_cache_bypass != 0;

  if (all || fog != o_fog) set_cap(GL_FOG, fog == fog_on);
  if (all || lit != o_lit) {
    set_cap(GL_LIGHTING, lit == lit_on);
    set_cap(GL_LIGHT0, lit == lit_on);
  }
  if (all || depth_read != o_deR) set_cap(GL_DEPTH_TEST, depth_read == depth_read_on);
  if (all || depth_write != o_deW) glDepthMask(depth_write == depth_write_on ? GL_TRUE : GL_FALSE);

  const int units = texture_units();
  const int new_tex = std::min(std::max(tex, 0), units);
  if (all || new_tex != o_tex) {
    set_cap(GL_TEXTURE_2D, new_tex > 0);
    if (all || o_tex > 1 || new_tex > 1) {
      const int walk = std::min(6, units);
      for (int u = 0; u < walk; ++u) {
        const bool was = u < o_tex, now = u < new_tex;
        if (!all && was == now) continue;
        glActiveTexture(GL_TEXTURE0 + u);
        set_cap(GL_TEXTURE_2D, now);
      }
      glActiveTexture(GL_TEXTURE0);
    }
  }

  const int blend = alpha == alpha_blend || alpha == alpha_both;
  const int test = alpha == alpha_test || alpha == alpha_both;
  if (all || blend != o_alB) set_cap(GL_BLEND, blend);
  if (all || test != o_alT) set_cap(GL_ALPHA_TEST, test);

  o_fog = fog;
  o_tex = new_tex;
  o_lit = lit;
  o_alB = blend;
  o_alT = test;
  o_deR = depth_read;
  o_deW = depth_write;
}

void OGL_reset_state_cache() { o_read = false; }

void OGL_cached_state(int out[7]) {
  out[0] = o_fog;
  out[1] = o_tex;
  out[2] = o_lit;
  out[3] = o_alB;
  out[4] = o_alT;
  out[5] = o_deR;
  out[6] = o_deW;
}

void OGL_viewport(int mode, float, float, float, float, float, float, float, float, float, float,
                  float div) {
  if (!OGL_live() || mode != 2) return;
  if (div == 0) div = 1;
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(mnw.ortho_l / div, mnw.ortho_r / div, mnw.ortho_b / div, mnw.ortho_t / div, -1, 1);
  glViewport(0, 0, mnw.x_res, mnw.y_res);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
}

void OGL_viewport_2d() { OGL_viewport(2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1.0f); }

void OGL_pix_specs(int) {
  const float xr = static_cast<float>(mnw.x_res), yr = static_cast<float>(mnw.y_res);
  mnw.ui_upscale = std::max(1.0f, std::min(xr / 1024, yr / 768));
  mnw.ortho_l = mnw.ortho_b = 0;
  mnw.ortho_r = xr;
  mnw.ortho_t = yr;
  mnw.pix_scale = 1;
  mnw.ui_left = (xr - 1024) / 2;
  mnw.ui_top = yr - 768;
  mnw.scr_cx = mnw.ui_left + 512;
  mnw.scr_cy = 384;
  if (mnw.win_now >= 0) OGL_viewport_2d();
}

void OGL_resolve_colour(int col, float a, float out[4]) {
  col = std::min(std::max(col, 0), colr_slots - 1);
  for (int c = 0; c < 3; ++c) out[c] = colr.col[col][c];
  if (col < colr_first_plain)
    for (int c = 0; c < 3; ++c) out[c] *= colr.lit[c];
  if (ren.mono) {
    out[1] = std::min(1.0f, std::max(0.01f, out[0] + out[1] + out[2]));
    out[0] = out[2] = 0;
  }
  out[3] = a * ren.alpha;
}

void OGL_set_colour(int col, float a) {
  if (!OGL_live()) return;
  float c[4];
  OGL_resolve_colour(col, a, c);
  if (c[3] > 0.99f)
    glColor3fv(c);
  else
    glColor4f(c[0], c[1], c[2], c[3]);
}

void OGL_scissors(float x, float y, float w, float h) {
  if (!OGL_live()) return;
  const float s = mnw.pix_scale;
  glEnable(GL_SCISSOR_TEST);
  glScissor(static_cast<GLint>(std::lround(px(x) * s)), static_cast<GLint>(std::lround(py(y) * s)),
            static_cast<GLsizei>(std::lround(w * s)), static_cast<GLsizei>(std::lround(h * s)));
}

void OGL_scissors_end() {
  if (!OGL_live()) return;
  glDisable(GL_SCISSOR_TEST);
}

void OGL_fillrect(int col, float alpha, float x, float y, float w, float h) {
  if (!OGL_live()) return;
  OGL_setstate(fog_off, 0, lit_off, alpha_blend, depth_read_off, depth_write_off);
  OGL_set_colour(col, alpha);
  x = px(x);
  y = py(y);
  // Clockwise: the context culls with GL_CW as the front face.
  glBegin(GL_QUADS);
  glVertex2f(x, y);
  glVertex2f(x, y + h);
  glVertex2f(x + w, y + h);
  glVertex2f(x + w, y);
  glEnd();
}

void OGL_framerect(int col, float alpha, float x, float y, float w, float h) {
  if (!OGL_live()) return;
  OGL_setstate(fog_off, 0, lit_off, line_alpha_code(alpha), depth_read_off, depth_write_off);
  OGL_set_colour(col, alpha);
  // Half a pixel puts the lines on pixel centres, crisp without smoothing.
  x = px(x) + 0.5f;
  y = py(y) + 0.5f;
  glBegin(GL_LINE_STRIP);
  glVertex2f(x, y);
  glVertex2f(x + w, y);
  glVertex2f(x + w, y + h);
  glVertex2f(x, y + h);
  glVertex2f(x, y);
  glEnd();
}

void OGL_line(int col, float alpha, float x1, float y1, float x2, float y2) {
  if (!OGL_live()) return;
  OGL_setstate(fog_off, 0, lit_off, line_alpha_code(alpha), depth_read_off, depth_write_off);
  OGL_set_colour(col, alpha);
  glBegin(GL_LINES);
  glVertex2f(px(x1) + 0.5f, py(y1) + 0.5f);
  glVertex2f(px(x2) + 0.5f, py(y2) + 0.5f);
  glEnd();
}

void OGL_fillcircle(int col, float x, float y, float r) {
  if (!OGL_live()) return;
  for (float dy = -r; dy <= r; dy += 1) {
    const float s = std::sqrt(std::max(0.0f, r * r - dy * dy));
    OGL_line(col, 1.0f, x - s, y + dy, x + s, y + dy);
  }
}

void OGL_framecircle(int col, float x, float y, float r) {
  if (!OGL_live()) return;
  fill_lookup_if_empty();
  OGL_setstate(fog_off, 0, lit_off, alpha_none, depth_read_off, depth_write_off);
  OGL_set_colour(col, 1.0f);
  const float cx = px(x) + 0.5f, cy = py(y) + 0.5f;
  glBegin(GL_LINE_STRIP);
  for (int d = 0; d <= 360; d += 5) glVertex2f(cx + r * lookup_cos[d], cy + r * lookup_sin[d]);
  glEnd();
}

void OGL_arc(int col, float x, float y, float r_in, float r_out, float a1, float a2) {
  if (!OGL_live()) return;
  const float rad = 0.017453294f;
  for (float r = r_in; r <= r_out; r += 1) {
    for (float a = a1; a < a2; a += 1) {
      const float b = std::min(a + 1, a2);
      OGL_line(col, 1.0f, x + r * std::cos(a * rad), y + r * std::sin(a * rad),
               x + r * std::cos(b * rad), y + r * std::sin(b * rad));
    }
  }
}

void OGL_grayrect(float x1, float y1, float x2, float y2, float alpha) {
  OGL_fillrect(12, alpha, x1, y1, x2 - x1, y2 - y1);
}

void OGL_2dquad(int tex, int col, float alpha, float x1, float y1, float s1, float t1, float x2,
                float y2, float s2, float t2, float x3, float y3, float s3, float t3, float x4,
                float y4, float s4, float t4, int units, int alpha_code) {
  if (!OGL_live()) return;
  OGL_setstate(fog_off, units, lit_off, alpha_code, depth_read_off, depth_write_off);
  if (tex > 0) tman.bind_ref(tex, 0, 0);
  OGL_set_colour(col, alpha);
  const float xs[4] = {x1, x2, x3, x4}, ys[4] = {y1, y2, y3, y4};
  const float ss[4] = {s1, s2, s3, s4}, ts[4] = {t1, t2, t3, t4};
  glBegin(GL_QUADS);
  for (int i = 0; i < 4; ++i) {
    if (units > 1) {
      for (int u = 0; u < units && u < texture_units(); ++u)
        glMultiTexCoord2f(GL_TEXTURE0 + u, ss[i], ts[i]);
    } else {
      glTexCoord2f(ss[i], ts[i]);
    }
    glVertex2f(px(xs[i]), py(ys[i]));
  }
  glEnd();
}

void OGL_2dquad_d(int tex, int col, float alpha, float x, float y, float s, float t, float w,
                  float h, float ds, float dt, int alpha_code) {
  // Clockwise, as the context's front face.
  OGL_2dquad(tex, col, alpha, x, y, s, t, x, y + h, s, t + dt, x + w, y + h, s + ds, t + dt,
             x + w, y, s + ds, t, 1, alpha_code);
}

void OGL_quad_vertices(float x, float y, float w, float h, float s, float t, float ds, float dt,
                       float size) {
  const float k = 1.0f / size;
  glTexCoord2f(s * k, t * k);
  glVertex2f(x, y);
  glTexCoord2f(s * k, (t + dt) * k);
  glVertex2f(x, y + h);
  glTexCoord2f((s + ds) * k, (t + dt) * k);
  glVertex2f(x + w, y + h);
  glTexCoord2f((s + ds) * k, t * k);
  glVertex2f(x + w, y);
}

void OGL_plot_back_col() {
  if (!OGL_live()) return;
  const float s = mnw.pix_scale > 0 ? mnw.pix_scale : 1;
  OGL_fillrect(33, 1.0f, -mnw.win_x, -mnw.win_y, mnw.x_res / s, mnw.y_res / s);
}

void OGL_plot_back_tex() {
  if (!OGL_live()) return;
  if (xtim.frame_count == 0 && (mnw.x_res > 1024 || mnw.y_res > 768)) OGL_plot_back_col();
  OGL_2dquad_d(tex_window_back, 48, 1.0f, mnw.ui_left - mnw.win_x, -mnw.win_y, 0, 0, 1024, 1024,
               1, 1, alpha_none);
}

void OGL_make_back_tex() {
  if (!OGL_live()) return;
  if (xtim.frame_count == 0) load_png_into_scratch("Resources:bitmaps:intro.png", 4);
  tman.load_texture(tex_fail_instl, tex_window_back,
                    tex_col_rgba | tex_full_size | tex_from_scratch | tex_background,
                    tex_load_now, "scratch_array-t_tex_back");
}

void OGL_screenshot(int save) {
  if (!OGL_live()) return;
  const int height = mnw.y_res > 0 && mnw.y_res <= 1024 ? mnw.y_res : 1024;
  const int x = (mnw.x_res - 1024) / 2;
  const int y = mnw.y_res > 1024 ? (mnw.y_res - height) / 2 : 0;
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(x, y, 1024, height, GL_RGB, GL_UNSIGNED_BYTE, scratch_array);
  if (!save) return;
  static int shot = 0;
  std::string name;
  struct stat st;
  do {
    ++shot;
    name = "screenshot_" + std::to_string(shot) + ".png";
  } while (stat(name.c_str(), &st) == 0);
  write_png_to_disk(name, 1024, height, 3);
}

void OGL_glow_colors() {
  if (!OGL_live()) return;
  glBlendFunc(GL_ONE, GL_ONE);
}

void OGL_nrml_colors() {
  if (!OGL_live()) return;
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
}

void OGL_poly_offset(int n) {
  if (!OGL_live()) return;
  if (n == 0) {
    glDisable(GL_POLYGON_OFFSET_FILL);
    return;
  }
  glEnable(GL_POLYGON_OFFSET_FILL);
  glPolygonOffset(n * -10.0f, -1.0f);
}

void OGL_setspec(float v) {
  if (!OGL_live()) return;
  const float spec[4] = {v, v, v, 1};
  glLightfv(GL_LIGHT0, GL_SPECULAR, spec);
  glMaterialfv(GL_FRONT, GL_SPECULAR, spec);
  glMaterialf(GL_FRONT, GL_SHININESS, 128);
}

void OGL_printer() {}
