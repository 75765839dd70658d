// Frame time of the folder chooser, which lists its folder anew every frame:
// frames run through the pump with no wait, on the folder given.
// Needs an X display (the script starts Xvfb).
//
//   toolkit_chooser FOLDER [FRAMES]
#include <GL/gl.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "files/listing.h"
#include "shell/glprobe.h"
#include "shell/hooks.h"
#include "shell/window.h"
#include "toolkit/chooser.h"
#include "toolkit/textures.h"
#include "toolkit/toolkit.h"

void APP_update() {}
void APP_handlekey(int, int) {}
void APP_handlemenu(int) {}

namespace {

using steady = std::chrono::steady_clock;
int frames_wanted = 300, frames_run = 0;
const int kWarmUp = 20;
steady::time_point started;
void (*blink)(float) = nullptr;

// Counts the pump's frames; the timing starts after a warm-up.
void count_frame(float pulse) {
  blink(pulse);
  if (++frames_run == kWarmUp) started = steady::now();
  if (frames_run == kWarmUp + frames_wanted) MACIBM_startwind(0);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: toolkit_chooser FOLDER [FRAMES]\n");
    return 2;
  }
  if (argc > 2) frames_wanted = atoi(argv[2]);
  TOOLKIT_install_hooks();
  static const int no_wait = 1;
  shell_hooks.use_max_cpu = &no_wait;
  MACIBM_setres(1);
  if (!LIN_open_display() || !MACIBM_make_context(0)) {
    fprintf(stderr, "toolkit_chooser: no X display with OpenGL (set DISPLAY)\n");
    return 1;
  }
  glGetIntegerv(GL_MAX_TEXTURE_UNITS, &ren.max_tex_units);
  shell_hooks.pix_specs(0);
  shell_hooks.viewport_2d();
  shell_hooks.load_builtin_images();
  shell_hooks.init_colours();
  blink = shell_hooks.set_blink_colours;
  shell_hooks.set_blink_colours = count_frame;

  MACIBM_startwind(0);
  char result[2048];
  GetFilePathFromUser(2, "", "", 1, argv[1], result);
  glFinish();
  const double ms = std::chrono::duration<double, std::milli>(steady::now() - started).count();
  printf("entries=%d frame_ms=%.3f\n", opensave_getitems(1), ms / frames_wanted);
  return 0;
}
