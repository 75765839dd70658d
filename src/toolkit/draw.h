// Drawing state and primitives. Positions are interface pixels from the lower
// left of the current sub-window: every primitive adds mnw.win_x, win_y itself.
// With no GL context current every call here draws nothing, so screens can be
// run frame by frame without a display and their hit tests still answer.
#pragma once

// Whether a GL context is current on this thread.
bool OGL_live();

// When set, OGL_setstate and tman.bind_ref issue every GL call as if nothing
// were cached (for measuring what the cache saves).
extern int ogl_cache_bypass;

// The fixed codes of OGL_setstate's six arguments.
enum {
  fog_on = 0, fog_off = 1,
  lit_on = 2, lit_off = 3,
  alpha_none = 4, alpha_blend = 5, alpha_test = 6, alpha_both = 7,
  depth_read_on = 8, depth_read_off = 9,
  depth_write_on = 10, depth_write_off = 11,
};
void OGL_setstate(int fog, int tex, int lit, int alpha, int depth_read, int depth_write);
// Forgets the cached state, for a new context (the next call reads GL again).
void OGL_reset_state_cache();
// What the cache believes, for tests: o_fog, o_tex, o_lit, o_alB, o_alT, o_deR, o_deW.
void OGL_cached_state(int out[7]);

// Mode 2 is the 2-D projection over the whole window; the other arguments
// are ignored except the last, which divides the bounds (callers pass 1).
void OGL_viewport(int mode, float a0, float a1, float a2, float a3, float a4, float a5, float a6,
                  float a7, float a8, float a9, float div);
void OGL_viewport_2d();   // OGL_viewport(2, ..., 1.0)
void OGL_pix_specs(int which);

// Sets the GL colour of a slot at alpha a (tinted by the light below slot 45,
// the mono rule, ren's alpha). Returns nothing; draws nothing.
void OGL_set_colour(int col, float a);
// The colour resolve without GL, for tests: r, g, b, a as they would be sent.
void OGL_resolve_colour(int col, float a, float out[4]);

void OGL_scissors(float x, float y, float w, float h);
void OGL_scissors_end();
void OGL_fillrect(int col, float alpha, float x, float y, float w, float h);
void OGL_framerect(int col, float alpha, float x, float y, float w, float h);
void OGL_line(int col, float alpha, float x1, float y1, float x2, float y2);
void OGL_fillcircle(int col, float x, float y, float r);
void OGL_framecircle(int col, float x, float y, float r);
void OGL_arc(int col, float x, float y, float r_in, float r_out, float a1, float a2);
void OGL_grayrect(float x1, float y1, float x2, float y2, float alpha);
// A textured quad with four free corners (x, y, s, t each), in the order given,
// which must run clockwise on the screen (the context culls the other face);
// s and t in texture units 0..1. tex 0 or less binds nothing.
void OGL_2dquad(int tex, int col, float alpha, float x1, float y1, float s1, float t1, float x2,
                float y2, float s2, float t2, float x3, float y3, float s3, float t3, float x4,
                float y4, float s4, float t4, int units, int alpha_code);
// An axis-aligned textured quad: lower left (x, y) at (s, t), size w by h,
// texture size ds by dt (texture units).
void OGL_2dquad_d(int tex, int col, float alpha, float x, float y, float s, float t, float w,
                  float h, float ds, float dt, int alpha_code);
// The four corners of an axis-aligned textured quad, clockwise from the lower
// left as the context's front face wants, between glBegin(GL_QUADS) and glEnd.
// Screen (x, y, w, h); source (s, t, ds, dt) in texels of a texture `size`
// texels square.
void OGL_quad_vertices(float x, float y, float w, float h, float s, float t, float ds, float dt,
                       float size);
void OGL_plot_back_col();
void OGL_plot_back_tex();
void OGL_make_back_tex();
void OGL_screenshot(int save);
void OGL_glow_colors();
void OGL_nrml_colors();
void OGL_poly_offset(int n);
void OGL_setspec(float v);
void OGL_printer();
