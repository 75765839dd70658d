#include <gtest/gtest.h>

#include <thread>

#include "files/alert.h"
#include "files/cmdline.h"
#include "temp_log.h"

namespace {

struct screen_call {
  int count = 0;
  int window = -1, level = -1;
  std::string lines[4], place;
};
screen_call shown;

void record_screen(int window, const std::string lines[4], int level, const std::string& place) {
  ++shown.count;
  shown.window = window;
  shown.level = level;
  for (int i = 0; i < 4; ++i) shown.lines[i] = lines[i];
  shown.place = place;
}

std::thread::id main_thread_id;
bool off_main_thread() { return std::this_thread::get_id() != main_thread_id; }

class Alert : public ::testing::Test {
 protected:
  void SetUp() override {
    cmdline.clear();
    ogl_inited = 0;
    app_done = 0;
    alert_hooks = alert_hooks_t();
    shown = screen_call();
    main_thread_id = std::this_thread::get_id();
  }
  void TearDown() override {
    cmdline.clear();
    ogl_inited = 0;
    alert_hooks = alert_hooks_t();
  }
  std::string console(int level, const std::string& a = "A", const std::string& b = "B",
                      const std::string& c = "C", const std::string& d = "D") {
    testing::internal::CaptureStdout();
    __MACIBM_alert(0, a, b, c, d, level, "unit.cpp", 12);
    return testing::internal::GetCapturedStdout();
  }
  temp_log log_;
};

TEST_F(Alert, ConsoleRoadPrintsAndLogsWarnings) {
  EXPECT_EQ(console(alert_warning), "Cirrovan Error:\nA\n\nB\n\nC\n\nD\n\nSorry.\n");
  EXPECT_EQ(log_.text(), "A\nB\nC\nD\n(unit.cpp line 12)\n");
  EXPECT_EQ(app_done, 0);

  // The language chooser level is never logged.
  EXPECT_EQ(console(alert_note, "N"), "Cirrovan Error:\nN\n\nB\n\nC\n\nD\n\nSorry.\n");
  EXPECT_EQ(log_.text(), "A\nB\nC\nD\n(unit.cpp line 12)\n");
}

TEST_F(Alert, ConsoleRoadWhileDrawingIsDownEvenWithScreen) {
  alert_hooks.show_screen = record_screen;
  EXPECT_EQ(console(alert_warning), "Cirrovan Error:\nA\n\nB\n\nC\n\nD\n\nSorry.\n");
  EXPECT_EQ(shown.count, 0);
}

TEST_F(Alert, ScreenRoadGetsTextsLevelAndPlace) {
  ogl_inited = 1;
  alert_hooks.show_screen = record_screen;
  EXPECT_EQ(console(alert_warning, "one", "", "three", ""), "");
  EXPECT_EQ(shown.count, 1);
  EXPECT_EQ(shown.window, 0);
  EXPECT_EQ(shown.level, alert_warning);
  EXPECT_EQ(shown.lines[0], "one");
  EXPECT_EQ(shown.lines[2], "three");
  EXPECT_EQ(shown.place, "(unit.cpp line 12)");
  EXPECT_EQ(log_.text(), "one\n\nthree\n\n(unit.cpp line 12)\n");

  // The flag is cleared on return: a later alert is not taken for a nested one.
  EXPECT_EQ(console(alert_note), "");
  EXPECT_EQ(shown.count, 2);
  EXPECT_EQ(log_.text(), "one\n\nthree\n\n(unit.cpp line 12)\n");
}

TEST_F(Alert, AllTextsEmptyShowNothingButLogEmptyBlock) {
  ogl_inited = 1;
  alert_hooks.show_screen = record_screen;
  EXPECT_EQ(console(alert_warning, "", "", "", ""), "");
  EXPECT_EQ(shown.count, 0);
  EXPECT_EQ(log_.text(), "\n\n\n\n(unit.cpp line 12)\n");
}

TEST_F(Alert, FpsTestOnlyLogs) {
  cmdline.options["--fps_test"] = "100";
  ogl_inited = 1;
  alert_hooks.show_screen = record_screen;
  EXPECT_EQ(console(alert_note), "");  // even the chooser level is logged here
  EXPECT_EQ(shown.count, 0);
  EXPECT_EQ(log_.text(), "A\nB\nC\nD\n(unit.cpp line 12)\n");

  EXPECT_EXIT(__MACIBM_alert(0, "F", "", "", "", alert_fatal, "unit.cpp", 3),
              testing::ExitedWithCode(1), "");
  EXPECT_EQ(log_.text(), "A\nB\nC\nD\n(unit.cpp line 12)\nF\n\n\n\n(unit.cpp line 3)\n");
}

TEST_F(Alert, FatalPrintsLogsAndAborts) {
  xer.flush();
  EXPECT_EXIT(
      {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        __MACIBM_alert(0, "fatal", "b", "", "", alert_fatal, nullptr, 40);
      },
      testing::KilledBySignal(SIGABRT), "^Cirrovan Error:\nfatal\n\nb\n\n\n\n\n\nSorry\\.\n");
  EXPECT_EQ(log_.text(), "fatal\nb\n\n\n( line 40)\n");
}

void finishup_to_stderr(int save) {
  fprintf(stderr, "finishup(%d) app_done=%d\n", save, app_done);
}

TEST_F(Alert, FatalOnScreenRoadEndsThroughFinishup) {
  ogl_inited = 1;
  alert_hooks.show_screen = record_screen;
  alert_hooks.finishup = finishup_to_stderr;
  EXPECT_EXIT(__MACIBM_alert(0, "fatal", "", "", "", alert_fatal, "u.cpp", 1),
              testing::KilledBySignal(SIGABRT), "^finishup\\(0\\) app_done=0\n$");
}

void alert_again(int, const std::string*, int, const std::string&) {
  __MACIBM_alert(0, "inner", "", "", "", alert_warning, "inner.cpp", 2);
}

TEST_F(Alert, NestedAlertPrintsLogsAndAborts) {
  ogl_inited = 1;
  alert_hooks.show_screen = alert_again;
  xer.flush();
  EXPECT_EXIT(
      {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        __MACIBM_alert(0, "outer", "", "", "", alert_note, "outer.cpp", 1);
      },
      testing::KilledBySignal(SIGABRT), "^Cirrovan Error:\ninner\n");
  EXPECT_EQ(log_.text(), "inner\n\n\n\n(inner.cpp line 2)\n");
}

TEST_F(Alert, WorkerThreadThrowsAndReportsToLog) {
  alert_hooks.on_worker_thread = off_main_thread;
  bool caught = false;
  std::thread worker([&] {
    try {
      __MACIBM_alert(0, "a", "b", "c", "d", alert_fatal, "w.cpp", 77);
    } catch (exce_class& e) {
      caught = true;
      EXPECT_EQ(e.line1 + e.line2 + e.line3 + e.line4, "abcd");
      EXPECT_STREQ(e.file, "w.cpp");
      EXPECT_EQ(e.line, 77);
      e.ReportAndContinue();
    }
  });
  worker.join();
  EXPECT_TRUE(caught);
  EXPECT_EQ(app_done, 0);
  EXPECT_EQ(log_.text(), "EXCEPTION REPORTED FROM THREAD!!  File: w.cpp, line 77.\na\nb\nc\nd\n");
}

TEST_F(Alert, ReportOnMainThreadIsWarningAndLogOnlyWrites) {
  alert_hooks.on_worker_thread = off_main_thread;
  exce_class e("a", "", "c", "", "m.cpp", 5);
  testing::internal::CaptureStdout();
  e.ReportAndContinue();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Cirrovan Error:\na\n\n\n\nc\n\n\n\nSorry.\n");
  e.LogAndContinue();
  EXPECT_EQ(log_.text(),
            "a\n\nc\n\n(m.cpp line 5)\n"
            "Logging Exception thrown from file: m.cpp, line 5.\na\n\nc\n\n");
}

}  // namespace
