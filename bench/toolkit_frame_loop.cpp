// The empty frame loop's speed and the CPU it takes, paced and spinning.
// bench/frame_loop.sh runs it on a private Xvfb with Mesa.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "shell/hooks.h"
#include "shell/pump.h"
#include "shell/window.h"

namespace {

struct loop_figures {
  double fps, cpu_share;
};

loop_figures run_loop(double seconds) {
  using wall_clock = std::chrono::steady_clock;
  const wall_clock::time_point t0 = wall_clock::now();
  const std::clock_t c0 = std::clock();  // CPU time of the whole process
  int frames = 0;
  std::chrono::duration<double> wall{0};
  for (; wall.count() < seconds; wall = wall_clock::now() - t0, ++frames) MACIBM_event_proc();
  return {frames / wall.count(), double(std::clock() - c0) / CLOCKS_PER_SEC / wall.count()};
}

}  // namespace

// The loop is measured empty: no application behind it.
void APP_update() {}
void APP_handlemenu(int) {}

int main() {
  const double seconds = getenv("FRAME_LOOP_SECONDS") ? atof(getenv("FRAME_LOOP_SECONDS")) : 3.0;
  int use_max_cpu = 0;
  shell_hooks.use_max_cpu = &use_max_cpu;
  MACIBM_setres(1);
  if (MACIBM_make_context(0) != 1) {
    fprintf(stderr, "no GL context on DISPLAY\n");
    return 1;
  }
  MACIBM_event_proc();

  const loop_figures paced = run_loop(seconds);
  use_max_cpu = 1;
  const loop_figures spinning = run_loop(seconds);
  printf("fps_paced=%.1f cpu_paced=%.1f fps_max_cpu=%.1f cpu_max_cpu=%.1f\n", paced.fps,
         paced.cpu_share * 100, spinning.fps, spinning.cpu_share * 100);
  return 0;
}
