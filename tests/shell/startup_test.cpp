// Start-up and shutdown of the whole shell, in a copy of this program so
// that its log, statics and display are its own; links; the worker pool.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "files/alert.h"
#include "files/log.h"
#include "shell/hooks.h"
#include "shell/menus.h"
#include "shell/startup.h"
#include "shell/threads.h"
#include "shell/window.h"
#include "support.h"
#include "xvfb.h"

namespace {

std::string trace;

// Run only by the tests below, with a window under Xvfb or with a display
// nobody listens on.
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
  // Mesa's "4.5" counts as 100, below the minimum: --force_run goes on.
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
  // After the probe, two frames of the start-up screen at the least bar (0.02 of 1008, from 8).
  EXPECT_TRUE(has(r.out, "trace=pix0,images,colours,[Will init plugins.@28.16]"
                         "[Starting application.@28.16]\n"))
      << r.out;
  EXPECT_TRUE(has(r.out, "prefs saved\nafter: window=0 workers=0 log_open=0")) << r.out;

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

TEST(Links, OpenWithTheDesktopsXdgOpen) {
  const std::string dir = make_temp_dir(), url = "http://www.example.com/a b?c=1&d=2";
  std::ofstream(dir + "xdg-open") << "#!/bin/sh\nprintf '%s' \"$1\" > '" << dir << "opened'\n";
  chmod((dir + "xdg-open").c_str(), 0755);
  const std::string old_path = getenv("PATH");
  setenv("PATH", (dir + ":" + old_path).c_str(), 1);
  EXPECT_EQ(0, go_to_URL(url));
  setenv("PATH", old_path.c_str(), 1);
  // The call doesn't wait for the browser.
  for (int i = 0; i < 100 && read_file(dir + "opened").empty(); ++i) usleep(20000);
  EXPECT_EQ(url, read_file(dir + "opened"));
  remove_tree(dir);
}

long task_count() {
  std::filesystem::directory_iterator tasks("/proc/self/task");
  return std::distance(begin(tasks), end(tasks));
}

TEST(ProcessorCount, CountsModelNameLinesAndFallsBackToOne) {
  const std::string dir = make_temp_dir(), path = dir + "cpuinfo";
  // Only lines that begin with the key count; a machine that lists none, or
  // whose file can't be read, gets one.
  const struct { const char* text; int count; } cases[] = {
      {"processor\t: 0\nmodel name\t: A\nprocessor\t: 1\nmodel name\t: A\n"
       "model name\t: A\n  model name indented\nflags\t: model name\n", 3},
      {"processor\t: 0\n", 1},
      {nullptr, 1}};
  for (const auto& c : cases) {
    unlink(path.c_str());
    if (c.text) std::ofstream(path) << c.text;
    EXPECT_EQ(c.count, UTL_count_processors_in(path.c_str())) << (c.text ? c.text : "missing");
  }
  remove_tree(dir);
}

// A reader blocked for ever is woken by a later write from another thread.
TEST(MessageQueue, KeepsOrderWakesAWaitingReaderAndTimesOut) {
  UTL_message_queue* q = nullptr;
  UTL_message_queue_create(&q);
  EXPECT_EQ(nullptr, UTL_message_queue_read(q, 50));
  int a = 1, b = 2;
  UTL_message_queue_write(q, &a);
  EXPECT_EQ(&a, UTL_message_queue_read(q, 0));
  std::thread writer([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    UTL_message_queue_write(q, &a);
    UTL_message_queue_write(q, &b);
  });
  EXPECT_EQ(&a, UTL_message_queue_read(q, -1));
  writer.join();
  EXPECT_EQ(&b, UTL_message_queue_read(q, -1));
  UTL_message_queue_destroy(q);
}

std::atomic<int> arrived{0};

// Returns once all n calls are held at the same time, or after 5 s.
void* wait_for_all(void* n) {
  ++arrived;
  const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (arrived.load() < *static_cast<int*>(n) && std::chrono::steady_clock::now() < give_up)
    std::this_thread::yield();
  return reinterpret_cast<void*>(long(arrived.load()));
}

TEST(WorkerPool, OneWorkerPerProcessorRunningTogetherAndAllStopAtShutdown) {
  const long before = task_count();
  THREAD_init();
  int n = UTL_count_processors();
  EXPECT_EQ(before + n, task_count());
  // n calls that each wait for the others all see n only if n workers run at once.
  arrived = 0;
  std::vector<THREAD_call*> calls;
  for (int i = 0; i < n; ++i) calls.push_back(THREAD_run_async(wait_for_all, &n));
  for (THREAD_call* c : calls) {
    while (!THREAD_is_done(c, 100)) {
    }
    EXPECT_EQ(n, reinterpret_cast<long>(THREAD_cleanup(c))) << "calls did not run side by side";
  }
  THREAD_shutdown();
  EXPECT_EQ(before, task_count());
}

void* raise_alert(void*) {
  MACIBM_alert(0, "worker text one", "worker text two", "", "", alert_warning);
  return nullptr;
}

TEST(WorkerPool, AnAlertInAWorkerReachesTheCallerAsAFatalAlert) {
  child_result r = run_in_child([] {
    THREAD_init();
    THREAD_call* call = THREAD_run_async(raise_alert, nullptr);
    // Even a warning raised on a worker ends the process once the caller learns of it.
    for (int i = 0; i < 100; ++i) THREAD_is_done(call, 50);
    printf("survived\n");
    return 0;
  });
  EXPECT_EQ(SIGABRT, r.signal) << r.out;
  EXPECT_NE(std::string::npos, r.out.find("worker text one\n\nworker text two"));
  EXPECT_EQ(std::string::npos, r.out.find("survived"));
}

}  // namespace
