// Start-up and shutdown of the whole shell, run as a separate copy of this
// program so that its log, its statics and its display are its own.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "files/alert.h"
#include "files/log.h"
#include "files/paths.h"
#include "shell/hooks.h"
#include "shell/menus.h"
#include "shell/startup.h"
#include "shell/threads.h"
#include "shell/window.h"
#include "support.h"
#include "xvfb.h"

namespace {

std::string trace;

// Not run by itself: the tests below start it in a copy of the program, with
// a window under Xvfb or with a display nobody listens on.
TEST(ShellProgram, DISABLED_StartAndEnd) {
  xvfb_class server;
  const bool window = getenv("SHELL_TEST_WINDOW") != nullptr;
  if (window)
    ASSERT_TRUE(server.start(1280, 1024));
  else
    setenv("DISPLAY", ":4091", 1);
  shell_hooks.pix_specs = [](int which) { trace += "pix" + std::to_string(which) + ","; };
  shell_hooks.load_builtin_images = [] { trace += "images,"; };
  shell_hooks.init_colours = [] { trace += "colours,"; };
  shell_hooks.draw_init_screen = [](const std::string& text, float bar_end) {
    std::ostringstream s;
    s << "[" << text << "@" << bar_end << "]";
    trace += s.str();
  };
  shell_hooks.save_prefs = [] { printf("prefs saved\n"); };
  // Mesa's "4.5" version text counts as 100, below the minimum: only
  // --force_run lets the run go on.
  const char* argv[] = {"zephyra-installer", "--force_run"};
  const int up = MACIBM_init(window ? 2 : 1, argv);
  printf("init=%d\n", up);
  if (!up) return;
  printf("win_now=%d ogl_inited=%d menus=%zu workers=%d finishup=%d keys=%d\ntrace=%s\n",
         mnw.win_now, ogl_inited, menu.size(), THREAD_worker_count(),
         alert_hooks.finishup != nullptr, shell_hooks.handle_key != nullptr, trace.c_str());
  MACIBM_finishup(1);
  printf("after: window=%d workers=%d log_open=%d\n", win != 0, THREAD_worker_count(),
         xer.is_open() ? 1 : 0);
}

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// Runs the start-up above in a copy of this program; its output and its log.
std::pair<child_result, std::string> start(bool window) {
  const std::string dir = make_temp_dir();
  const child_result r = run_copy(dir, "ShellProgram.DISABLED_StartAndEnd",
                                  {window ? "SHELL_TEST_WINDOW=1" : "SHELL_TEST_NONE=1"});
  const std::string log = read_file(dir + "Log.txt");
  remove_tree(dir);
  return {r, log};
}

TEST(StartUp, WindowProbeAndLogComeUpInOrderAndGoDownAgain) {
  const auto [r, text] = start(true);
  ASSERT_EQ(0, r.exit_code) << r.out;
  EXPECT_TRUE(has(r.out, "win_now=-1 ogl_inited=1 menus=1520 workers=" +
                             std::to_string(UTL_count_processors()) + " finishup=1 keys=1"))
      << r.out;
  // Metrics, images and colours after the probe, then two frames of the
  // start-up screen at the minimum bar (0.02 of 1008, from 8).
  EXPECT_TRUE(has(r.out, "trace=pix0,images,colours,[Will init plugins.@28.16]"
                         "[Starting application.@28.16]\n"))
      << r.out;
  EXPECT_TRUE(has(r.out, "prefs saved\nafter: window=0 workers=0 log_open=0")) << r.out;

  // Heading, machine lines, threads, then the probe; threads end cleanly.
  EXPECT_EQ(0u, text.find("log.txt for Zephyra 8.50 Installer"));
  // Start-up empties app_path on purpose: the folder is logged blank.
  EXPECT_TRUE(has(text, "Cirrovan folder= case sensitive=1\n"));
  EXPECT_LT(text.find("\nMemTotal:"), text.find("CPU count = "));
  EXPECT_LT(text.find("CPU count = "), text.find("OpenGL Situation"));
  EXPECT_TRUE(has(text, "Clean exit from threads.\n"));
}

TEST(StartUp, WithoutADisplayItSaysSoInOneLineAndStopsItsThreads) {
  const auto [r, text] = start(false);
  EXPECT_EQ(0, r.exit_code) << r.out;
  EXPECT_TRUE(has(r.out, "init=0\n"));
  EXPECT_TRUE(has(r.out, "Cannot open the X display \":4091\": start the installer on a desktop, "
                         "or run it with --console to install without a window.\n"));
  EXPECT_FALSE(has(r.out, "Whoah"));
  EXPECT_TRUE(has(text, "Clean exit from threads.\n"));
}

TEST(AppPath, ProgramFolderIsFoundAndAppPathStaysEmpty) {
  std::string out;
  app_path = "stale/";
  g_case_sensitive = 0;
  MACIBM_set_app_path(&out);
  EXPECT_EQ(std::string(ZEPHYRA_BINARY_DIR) + "/", out);
  EXPECT_EQ(1, g_case_sensitive);
  // Given app_path itself, the result is discarded on purpose.
  MACIBM_set_app_path(&app_path);
  EXPECT_TRUE(app_path.empty());
}

TEST(InitScreen, BarFollowsTheFractionWithinItsLimits) {
  shell_test_reset();
  static std::vector<float> ends;
  ends.clear();
  shell_hooks.draw_init_screen = [](const std::string&, float end) { ends.push_back(end); };
  float two = 2, zero = 0;
  plot_init_lights = 0;
  MACIBM_show_init("hidden", &two);   // not yet shown: nothing drawn
  plot_init_lights = 1;
  mnw.ui_left = 128;
  MACIBM_show_init("full", &two);
  MACIBM_show_init("least", &zero);
  // Without a fraction the call counter moves the bar a hundredth a call.
  for (int i = 0; i < 150; ++i) MACIBM_show_init("count", nullptr);
  const float least = 0.02f * 1008 + 136, full = 1016 + 128;
  ASSERT_EQ(152u, ends.size());
  EXPECT_EQ((std::vector<float>{full, least, least, 0.5f * 1008 + 136, full}),
            (std::vector<float>{ends[0], ends[1], ends[3], ends[52], ends[151]}));
  mnw.ui_left = 0;
}

TEST(Links, OpenWithTheDesktopsXdgOpen) {
  const std::string dir = make_temp_dir(), url = "http://www.example.com/a b?c=1&d=2";
  std::ofstream(dir + "xdg-open") << "#!/bin/sh\nprintf '%s' \"$1\" > '" << dir << "opened'\n";
  chmod((dir + "xdg-open").c_str(), 0755);
  const std::string old_path = getenv("PATH");
  setenv("PATH", (dir + ":" + old_path).c_str(), 1);
  EXPECT_EQ(0, go_to_URL(url));
  setenv("PATH", old_path.c_str(), 1);
  // The call doesn't wait for the browser; give the script a moment.
  for (int i = 0; i < 100 && read_file(dir + "opened").empty(); ++i) usleep(20000);
  EXPECT_EQ(url, read_file(dir + "opened"));
  remove_tree(dir);
}

}  // namespace
