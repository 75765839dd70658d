// The empty frame loop's speed and idle CPU under Xvfb with Mesa. Disabled:
// bench/frame_loop.sh runs it and prints the figures.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/time.h>

#include <cstdio>
#include <cstdlib>

#include "shell/hooks.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"
#include "xvfb.h"

namespace {

double now_s() {
  timeval tv;
  gettimeofday(&tv, nullptr);
  return tv.tv_sec + tv.tv_usec * 1e-6;
}

double cpu_s() {
  rusage u;
  getrusage(RUSAGE_SELF, &u);
  return u.ru_utime.tv_sec + u.ru_utime.tv_usec * 1e-6 + u.ru_stime.tv_sec +
         u.ru_stime.tv_usec * 1e-6;
}

struct loop_figures {
  double fps, cpu_share;
};

loop_figures run_loop(double seconds) {
  const double t0 = now_s(), c0 = cpu_s();
  int frames = 0;
  while (now_s() - t0 < seconds) {
    MACIBM_event_proc();
    ++frames;
  }
  const double wall = now_s() - t0;
  return {frames / wall, (cpu_s() - c0) / wall};
}

TEST(FrameLoopBench, DISABLED_Run) {
  const double seconds = getenv("FRAME_LOOP_SECONDS") ? atof(getenv("FRAME_LOOP_SECONDS")) : 3.0;
  xvfb_class server;
  ASSERT_TRUE(server.start(1280, 1024));
  shell_test_reset();
  PUMP_set_time_source(nullptr);
  int use_max_cpu = 0;
  shell_hooks.use_max_cpu = &use_max_cpu;
  MACIBM_setres(1);
  ASSERT_EQ(1, MACIBM_make_context(0));
  MACIBM_event_proc();

  const loop_figures paced = run_loop(seconds);
  use_max_cpu = 1;
  const loop_figures spinning = run_loop(seconds);
  printf("fps_paced=%.1f cpu_paced=%.1f fps_max_cpu=%.1f cpu_max_cpu=%.1f\n", paced.fps,
         paced.cpu_share * 100, spinning.fps, spinning.cpu_share * 100);
}

}  // namespace
