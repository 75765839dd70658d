#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "files/alert.h"
#include "files/cmdline.h"
#include "temp_log.h"

namespace {

int screens = 0;
std::string screen_seen;

void record_screen(int window, const std::string lines[4], int level, const std::string& place) {
  ++screens;
  screen_seen = std::to_string(window) + "|" + lines[0] + "|" + lines[3] + "|" +
                std::to_string(level) + "|" + place;
}

std::thread::id main_id;
bool off_main_thread() { return std::this_thread::get_id() != main_id; }

class Alert : public ::testing::Test {
 protected:
  void SetUp() override {
    cmdline.clear();
    ogl_inited = 0;
    app_done = 0;
    alert_hooks = alert_hooks_t();
    screens = 0;
    main_id = std::this_thread::get_id();
  }
  void TearDown() override { SetUp(); }
  // Raises an alert and returns what it printed.
  std::string raise(int level, const std::string& a = "A", const std::string& d = "D") {
    testing::internal::CaptureStdout();
    __MACIBM_alert(0, a, "B", "C", d, level, "unit.cpp", 12);
    return testing::internal::GetCapturedStdout();
  }
  temp_log log_;
};

TEST_F(Alert, ConsoleRoadPrintsAndLogsAllButNotes) {
  alert_hooks.show_screen = record_screen;  // no use while drawing is down
  EXPECT_EQ(raise(alert_warning), "Cirrovan Error:\nA\n\nB\n\nC\n\nD\n\nSorry.\n");
  EXPECT_EQ(raise(alert_note, "N"), "Cirrovan Error:\nN\n\nB\n\nC\n\nD\n\nSorry.\n");
  EXPECT_EQ(log_.text(), "A\nB\nC\nD\n(unit.cpp line 12)\n");
  EXPECT_EQ(screens, 0);
  EXPECT_EQ(app_done, 0);
}

TEST_F(Alert, ScreenRoadAndEmptyTexts) {
  ogl_inited = 1;
  alert_hooks.show_screen = record_screen;
  EXPECT_EQ(raise(alert_warning), "");
  EXPECT_EQ(screen_seen, "0|A|D|1|(unit.cpp line 12)");
  // The flag is cleared on return: the next alert is not taken for a nested one.
  EXPECT_EQ(raise(alert_note), "");
  EXPECT_EQ(screens, 2);
  // All texts empty: no screen, but an empty block in the log.
  __MACIBM_alert(0, "", "", "", "", alert_warning, "unit.cpp", 12);
  EXPECT_EQ(screens, 2);
  EXPECT_EQ(log_.text(), "A\nB\nC\nD\n(unit.cpp line 12)\n\n\n\n\n(unit.cpp line 12)\n");
}

TEST_F(Alert, FpsTestOnlyLogsAndExitsOneWhenFatal) {
  cmdline.options["--fps_test"] = "100";
  ogl_inited = 1;
  alert_hooks.show_screen = record_screen;
  EXPECT_EQ(raise(alert_note), "");  // even the chooser level is logged here
  EXPECT_EQ(screens, 0);
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
      testing::KilledBySignal(SIGABRT), "^Cirrovan Error:\nfatal\n\nb\n\n\n\n\n\nSorry\\.\n$");
  EXPECT_EQ(log_.text(), "fatal\nb\n\n\n( line 40)\n");
}

void finishup_to_stderr(int save) { fprintf(stderr, "finishup(%d)\n", save); }
void alert_again(int, const std::string*, int, const std::string&) {
  __MACIBM_alert(0, "inner", "", "", "", alert_warning, "inner.cpp", 2);
}

TEST_F(Alert, FatalAndNestedAlertsEndThroughFinishup) {
  ogl_inited = 1;
  alert_hooks.show_screen = record_screen;
  alert_hooks.finishup = finishup_to_stderr;
  EXPECT_EXIT(__MACIBM_alert(0, "fatal", "", "", "", alert_fatal, "u.cpp", 1),
              testing::KilledBySignal(SIGABRT), "^finishup\\(0\\)\n$");

  // An alert from inside an alert's loop prints, logs and aborts.
  alert_hooks.show_screen = alert_again;
  xer.flush();
  EXPECT_EXIT(
      {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        __MACIBM_alert(0, "outer", "", "", "", alert_note, "outer.cpp", 1);
      },
      testing::KilledBySignal(SIGABRT), "^Cirrovan Error:\ninner\n.*Sorry\\.\nfinishup\\(0\\)\n$");
  EXPECT_EQ(log_.text(), "fatal\n\n\n\n(u.cpp line 1)\ninner\n\n\n\n(inner.cpp line 2)\n");
}

TEST_F(Alert, WorkerThreadThrowsAndReportsToLog) {
  alert_hooks.on_worker_thread = off_main_thread;
  exce_class caught;
  std::thread worker([&] {
    try {
      __MACIBM_alert(0, "a", "b", "c", "d", alert_fatal, "w.cpp", 77);
    } catch (exce_class& e) {
      caught = e;
      e.ReportAndContinue();
    }
  });
  worker.join();
  EXPECT_EQ(caught.line1 + caught.line2 + caught.line3 + caught.line4, "abcd");
  EXPECT_EQ(std::string(caught.file) + ":" + std::to_string(caught.line), "w.cpp:77");
  EXPECT_EQ(app_done, 0);
  EXPECT_EQ(log_.text(), "EXCEPTION REPORTED FROM THREAD!!  File: w.cpp, line 77.\na\nb\nc\nd\n");
}

TEST_F(Alert, ReportOnMainThreadIsWarningAndLogOnlyWrites) {
  alert_hooks.on_worker_thread = off_main_thread;
  exce_class e("a", "", "c", "", "m.cpp", 5);
  testing::internal::CaptureStdout();
  e.ReportAndContinue();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Cirrovan Error:\na\n\n\n\nc\n\n\n\nSorry.\n");
  e.LogAndContinue();
  EXPECT_EQ(log_.text(),
            "a\n\nc\n\n(m.cpp line 5)\n"
            "Logging Exception thrown from file: m.cpp, line 5.\na\n\nc\n\n");
}

}  // namespace
