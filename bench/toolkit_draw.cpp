// Frame time of a full screen of toolkit drawing: 50 lines of 120 characters
// and 100 framed buttons with labels, with the GL state cache in use and
// bypassed. Needs an X display (the script starts Xvfb).
//
//   toolkit_draw [FRAMES]
#include <GL/gl.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "shell/glprobe.h"
#include "shell/window.h"
#include "toolkit/colours.h"
#include "toolkit/draw.h"
#include "toolkit/frames.h"
#include "toolkit/text.h"
#include "toolkit/textures.h"

void APP_update() {}
void APP_handlekey(int, int) {}
void APP_handlemenu(int) {}

namespace {

void draw_screen(const std::string& line) {
  OGL_plot_back_col();
  for (int i = 0; i < 50; ++i) OGL_string(45, 8, 755 - 15 * i, line, text_no_wrap, 100);
  for (int i = 0; i < 100; ++i) {
    const float x = 60 + (i % 10) * 100, y = 20 + (i / 10) * 74;
    BTN_frame1(2, x, y, 90, 0);
    BTN_util_draw_label(x, y - 4, 1, "Button " + std::to_string(i), 0);
  }
}

struct timing {
  double frame_ms;    // calls and rendering, to glFinish
  double submit_ms;   // the calls alone: what the state cache can save
};

timing ms_per_frame(int frames, const std::string& line) {
  using clock = std::chrono::steady_clock;
  for (int i = 0; i < 10; ++i) draw_screen(line);
  glFinish();
  std::chrono::duration<double, std::milli> total{0}, submit{0};
  for (int i = 0; i < frames; ++i) {
    const auto start = clock::now();
    draw_screen(line);
    const auto drawn = clock::now();
    glFinish();
    submit += drawn - start;
    total += clock::now() - start;
  }
  return {total.count() / frames, submit.count() / frames};
}

}  // namespace

int main(int argc, char** argv) {
  const int frames = argc > 1 ? atoi(argv[1]) : 200;
  MACIBM_setres(1);
  if (!LIN_open_display() || !MACIBM_make_context(0)) {
    fprintf(stderr, "toolkit_draw: no X display with OpenGL (set DISPLAY)\n");
    return 1;
  }
  glGetIntegerv(GL_MAX_TEXTURE_UNITS, &ren.max_tex_units);
  OGL_pix_specs(0);
  OGL_viewport_2d();
  recall_ins_texes();
  colr_read_palette(scratch_array, 512, 512);

  std::string line;
  const char* words = "The quick brown fox jumps over the lazy dog 0123456789, ";
  while (line.size() < 120) line += words;
  line.resize(120);

  ogl_cache_bypass = 0;
  const timing cached = ms_per_frame(frames, line);
  ogl_cache_bypass = 1;
  const timing bypassed = ms_per_frame(frames, line);
  ogl_cache_bypass = 0;
  printf("cached_ms=%.3f bypassed_ms=%.3f cached_submit_ms=%.3f bypassed_submit_ms=%.3f\n",
         cached.frame_ms, bypassed.frame_ms, cached.submit_ms, bypassed.submit_ms);
  return 0;
}
