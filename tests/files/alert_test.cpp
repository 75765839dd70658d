#include <gtest/gtest.h>
#include <unistd.h>

#include <thread>

#include "files/alert.h"
#include "files/cmdline.h"
#include "temp_log.h"

namespace {

std::string screens;  // what each screen was given, one line each
void record_screen(int window, const std::string lines[4], int level, const std::string& place) {
  screens += std::to_string(window) + "|" + lines[0] + "|" + lines[3] + "|" + std::to_string(level) + "|" + place + "\n";
}
void finishup_to_stderr(int save) { fprintf(stderr, "finishup(%d)\n", save); }
void alert_again(int, const std::string*, int, const std::string&) {
  __MACIBM_alert(0, "inner", "", "", "", alert_warning, "inner.cpp", 2);
}

class Alert : public ::testing::Test {
 protected:
  void SetUp() override {
    cmdline.clear();
    ogl_inited = 0;
    alert_hooks = alert_hooks_t();
    alert_hooks.show_screen = record_screen;
    screens.clear();
  }
  void TearDown() override { SetUp(), alert_hooks = alert_hooks_t(); }
  std::string raise(int level) {
    testing::internal::CaptureStdout();
    __MACIBM_alert(0, "A", "B", "C", "D", level, "unit.cpp", 12);
    return testing::internal::GetCapturedStdout();
  }
  temp_log log_;
};

TEST_F(Alert, ConsoleThenScreenAndNotesStayOutOfTheLog) {
  EXPECT_EQ(raise(alert_note), "Cirrovan Error:\nA\n\nB\n\nC\n\nD\n\nSorry.\n");
  EXPECT_EQ(screens, "");  // no screen while drawing is down
  ogl_inited = 1;
  EXPECT_EQ(raise(alert_warning), "");
  EXPECT_EQ(raise(alert_note), "");  // the nesting flag was cleared on return
  __MACIBM_alert(0, "", "", "", "", alert_warning, "unit.cpp", 12);  // nothing to show, but logged
  EXPECT_EQ(screens, "0|A|D|1|(unit.cpp line 12)\n0|A|D|0|(unit.cpp line 12)\n");
  EXPECT_EQ(log_.text(), "A\nB\nC\nD\n(unit.cpp line 12)\n\n\n\n\n(unit.cpp line 12)\n");
}

TEST_F(Alert, FatalAndNestedAlertsLogThenAbort) {
  xer.flush();
  EXPECT_EXIT((dup2(STDERR_FILENO, STDOUT_FILENO), __MACIBM_alert(0, "fatal", "b", "", "", alert_fatal, nullptr, 40)),
              testing::KilledBySignal(SIGABRT), "^Cirrovan Error:\nfatal\n\nb\n\n\n\n\n\nSorry\\.\n$");
  // An alert inside an alert's loop aborts too, after the shell is ended.
  ogl_inited = 1;
  alert_hooks.finishup = finishup_to_stderr;
  alert_hooks.show_screen = alert_again;
  EXPECT_EXIT((dup2(STDERR_FILENO, STDOUT_FILENO), __MACIBM_alert(0, "outer", "", "", "", alert_note, "o.cpp", 1)),
              testing::KilledBySignal(SIGABRT), "^Cirrovan Error:\ninner\n.*Sorry\\.\nfinishup\\(0\\)\n$");
  EXPECT_EQ(log_.text(), "fatal\nb\n\n\n( line 40)\ninner\n\n\n\n(inner.cpp line 2)\n");
}

TEST_F(Alert, WorkerThreadThrowsAndReportsToLog) {
  alert_hooks.on_worker_thread = [] { return true; };
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
  EXPECT_EQ(caught.line1 + caught.line4 + caught.file + std::to_string(caught.line), "adw.cpp77");
  EXPECT_EQ(log_.text(), "EXCEPTION REPORTED FROM THREAD!!  File: w.cpp, line 77.\na\nb\nc\nd\n");
}

}  // namespace
