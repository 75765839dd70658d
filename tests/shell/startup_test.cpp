// Start-up and shutdown of the whole shell, run as a separate copy of this
// program so that its log, its statics and its display are its own.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
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

// Not run by itself: the tests below start it in a copy of the program.
TEST(ShellProgram, DISABLED_StartAndEnd) {
  xvfb_class server;
  const char* mode = getenv("SHELL_TEST_MODE");
  if (mode && std::string(mode) == "window")
    ASSERT_TRUE(server.start(1280, 1024));
  else
    setenv("DISPLAY", ":4091", 1);   // nobody listens there

  shell_hooks.pix_specs = [](int which) { trace += "pix" + std::to_string(which) + ","; };
  shell_hooks.load_builtin_images = [] { trace += "images,"; };
  shell_hooks.init_colours = [] { trace += "colours,"; };
  shell_hooks.draw_init_screen = [](const std::string& text, float bar_end) {
    std::ostringstream s;
    s << "[" << text << "@" << bar_end << "]";
    trace += s.str();
  };
  shell_hooks.save_prefs = [] { printf("prefs saved\n"); };

  std::vector<std::string> words = {"zephyra-installer"};
  std::istringstream args(getenv("SHELL_TEST_ARGS") ? getenv("SHELL_TEST_ARGS") : "");
  for (std::string w; args >> w;) words.push_back(w);
  std::vector<const char*> argv;
  for (const std::string& w : words) argv.push_back(w.c_str());

  const int up = MACIBM_init(static_cast<int>(argv.size()), argv.data());
  printf("init=%d\n", up);
  if (!up) return;
  printf("win_now=%d ogl_inited=%d menus=%zu workers=%d finishup=%d\n", mnw.win_now, ogl_inited,
         menu.size(), THREAD_worker_count(), alert_hooks.finishup != nullptr);
  printf("trace=%s\n", trace.c_str());
  MACIBM_finishup(1);
  printf("after: window=%d workers=%d log_open=%d\n", win != 0, THREAD_worker_count(),
         xer.is_open() ? 1 : 0);
}

class StartUp : public ::testing::Test {
 protected:
  void SetUp() override { dir = make_temp_dir(); }
  void TearDown() override { remove_tree(dir); }
  child_result start(const std::string& mode, const std::string& args,
                     std::vector<std::string> env = {}) {
    env.push_back("SHELL_TEST_MODE=" + mode);
    env.push_back("SHELL_TEST_ARGS=" + args);
    return run_copy(dir, "ShellProgram.DISABLED_StartAndEnd", env);
  }
  std::string log() { return read_file(dir + "Log.txt"); }
  std::string dir;
};

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST_F(StartUp, WindowProbeAndLogComeUpInOrderAndGoDownAgain) {
  // Mesa's "4.5" version text counts as 100, below the minimum: only
  // --force_run lets the run go on, with the warning.
  child_result r = start("window", "--force_run");
  ASSERT_EQ(0, r.exit_code) << r.out;
  EXPECT_TRUE(has(r.out, "init=1")) << r.out;
  EXPECT_TRUE(has(r.out, "You have used the force-run command inline option"));
  EXPECT_TRUE(has(r.out, "win_now=-1 ogl_inited=1 menus=1520 workers=" +
                             std::to_string(UTL_count_processors()) + " finishup=1"))
      << r.out;
  // Metrics, images and colours after the probe, then two frames of the
  // start-up screen at the minimum bar (0.02 of 1008, from 8).
  EXPECT_TRUE(has(r.out, "trace=pix0,images,colours,[Will init plugins.@28.16]"
                         "[Starting application.@28.16]\n"))
      << r.out;
  EXPECT_TRUE(has(r.out, "prefs saved\nafter: window=0 workers=0 log_open=0")) << r.out;

  const std::string text = log();
  EXPECT_EQ(0u, text.find("log.txt for Zephyra 8.50 Installer"));
  EXPECT_TRUE(has(text, "\nmodel name"));
  EXPECT_TRUE(has(text, "\nMemTotal:"));
  // The program's folder is found, then app_path is emptied on purpose.
  EXPECT_TRUE(has(text, "Cirrovan folder= case sensitive=1\n"));
  EXPECT_TRUE(has(text, "CPU count = "));
  EXPECT_TRUE(has(text, "OpenGL Situation :\n"));
  EXPECT_TRUE(has(text, "OpenGL Render    :llvmpipe"));
  EXPECT_TRUE(has(text, "max point size   :"));
  EXPECT_TRUE(has(text, "Your system does not meet Zephyra's hardware requirements."));
  EXPECT_TRUE(has(text, "Clean exit from threads.\n"));
  EXPECT_LT(text.find("CPU count = "), text.find("OpenGL Situation"));
}

TEST_F(StartUp, ModernDriverIsRefusedUnlessItReportsAListedVersion) {
  child_result r = start("window", "");
  EXPECT_EQ(SIGABRT, r.signal) << r.out;
  EXPECT_TRUE(has(r.out, "Your graphics hardware cannot support Zephyra."));
  EXPECT_FALSE(has(r.out, "init=1"));
  EXPECT_TRUE(has(log(), "First, try updating your graphics drivers."));

  r = start("window", "", {"MESA_GL_VERSION_OVERRIDE=2.1"});
  EXPECT_EQ(0, r.exit_code) << r.out;
  EXPECT_TRUE(has(r.out, "init=1"));
  EXPECT_FALSE(has(r.out, "Cirrovan Error:")) << r.out;
  EXPECT_TRUE(has(log(), "OpenGL Version   :2.1"));
}

TEST_F(StartUp, WithoutADisplayItSaysSoInOneLineAndStopsItsThreads) {
  child_result r = start("nodisplay", "");
  EXPECT_EQ(0, r.exit_code) << r.out;
  EXPECT_TRUE(has(r.out, "init=0"));
  EXPECT_TRUE(has(r.out, "Cannot open the X display \":4091\": start the installer on a desktop, "
                         "or run it with --console to install without a window.\n"));
  EXPECT_FALSE(has(r.out, "Whoah"));
  const std::string text = log();
  EXPECT_TRUE(has(text, "--console"));
  EXPECT_TRUE(has(text, "Clean exit from threads.\n"));
}

TEST(AppPath, ProgramFolderIsFoundAndAppPathStaysEmpty) {
  std::string out;
  app_path = "stale/";
  g_case_sensitive = 0;
  MACIBM_set_app_path(&out);
  EXPECT_EQ(std::string(ZEPHYRA_BINARY_DIR) + "/", out);
  EXPECT_TRUE(app_path.empty());
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
  float two = 2, zero = 0, half = 0.5f;
  plot_init_lights = 0;
  MACIBM_show_init("hidden", &half);
  EXPECT_TRUE(ends.empty());
  plot_init_lights = 1;
  mnw.ui_left = 128;
  MACIBM_show_init("full", &two);
  MACIBM_show_init("least", &zero);
  MACIBM_show_init("half", &half);
  EXPECT_EQ((std::vector<float>{1016 + 128, 0.02f * 1008 + 136, 504 + 136}), ends);
  // Without a fraction the call counter moves the bar a hundredth a call.
  ends.clear();
  for (int i = 0; i < 150; ++i) MACIBM_show_init("count", nullptr);
  EXPECT_FLOAT_EQ(0.02f * 1008 + 136, ends[0]);
  EXPECT_FLOAT_EQ(0.02f * 1008 + 136, ends[1]);
  EXPECT_FLOAT_EQ(0.5f * 1008 + 136, ends[50]);
  EXPECT_FLOAT_EQ(1016 + 128, ends[149]);
  mnw.ui_left = 0;
}

TEST(Links, OpenWithTheDesktopsXdgOpen) {
  const std::string dir = make_temp_dir();
  const std::string script = dir + "xdg-open";
  std::ofstream(script) << "#!/bin/sh\nprintf '%s' \"$1\" > '" << dir << "opened'\n";
  chmod(script.c_str(), 0755);
  const std::string old_path = getenv("PATH") ? getenv("PATH") : "";
  setenv("PATH", (dir + ":" + old_path).c_str(), 1);
  EXPECT_EQ(0, go_to_URL("http://www.example.com/a b?c=1&d=2"));
  setenv("PATH", old_path.c_str(), 1);
  // The call doesn't wait for the browser; give the script a moment.
  for (int i = 0; i < 100 && read_file(dir + "opened").empty(); ++i) usleep(20000);
  EXPECT_EQ("http://www.example.com/a b?c=1&d=2", read_file(dir + "opened"));
  remove_tree(dir);
}

}  // namespace
