// The modal screens under Xvfb, each running its own loop: a script posts the
// input, one step a frame, from the pump's clock; its input is seen by the
// screen's pass after the next frame. The runs save the documentation's
// pictures on the way.
#include <csignal>
#include <deque>
#include <functional>

#include "app/modal_screens.h"
#include "files/alert.h"
#include "files/mnw.h"
#include "install/person.h"
#include "install/preferences.h"
#include "install/stage.h"
#include "net/http.h"
#include "screens_support.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/toolkit.h"

namespace {

std::deque<std::function<void()>> steps;

unsigned long long script_clock() {
  test_now_us += 20000;
  if (!steps.empty()) {
    const auto step = steps.front();
    steps.pop_front();
    step();
  } else if (mnw.win_now > 0) {
    ADD_FAILURE() << "a screen outlived its script";
    MACIBM_startwind(0);
    return_hit = 1;
  }
  return test_now_us;
}

void then(std::function<void()> f) { steps.push_back(std::move(f)); }
void wait_frame() { then([] {}); }
// A press and release at a point of the sub-window, seen after the release.
void click(float x, float y) {
  then([=] {
    PUMP_post_motion(int(mnw.win_x + x), window_y(mnw.win_y + y));
    PUMP_post_button(1);
  });
  then([] { PUMP_post_button(0); });
}
void shot(const std::string& name) { then([=] { save_docs_screen_at_next_swap(name); }); }

class ModalScreen : public ScreenSuite {
 protected:
  void SetUp() override {
    ScreenSuite::SetUp();
    steps.clear();
    MACIBM_startwind(0);
    PUMP_set_time_source(script_clock);
    APP_install_modal_screens();
    ogl_inited = 1;
  }
  void TearDown() override {
    EXPECT_TRUE(steps.empty()) << steps.size() << " steps left";
    ScreenSuite::TearDown();
  }
};

TEST_F(ModalScreen, AlertAcceptedByButtonOrReturnAndItsLanguageChooserScreenshot) {
  mnw.lang = 0;
  shot("alert_warning");
  then([] { EXPECT_EQ(std::vector<std::string>({"Disk full", "b", "c", ""}), modal_texts_shown); });
  click(200, 18);
  MACIBM_alert(0, "Disk full", "b", "c", "", alert_warning);
  EXPECT_EQ(0, mnw.win_now);

  // The language chooser shows no texts; a language changes the button's word.
  click(175, 164);
  wait_frame();   // the heading was drawn before the choice
  then([] { EXPECT_EQ("Langue:", modal_texts_shown.at(0)); });
  then([] { return_hit = 1; });
  MACIBM_alert(0, "not shown", "", "", "", alert_note);
  EXPECT_EQ(1, mnw.lang);
  EXPECT_EQ(1u, modal_texts_shown.size());
  mnw.lang = 0;
}

// Level 2, and an alert inside an alert, end the process: run in a copy of
// this program with no display, the one below as its only test.
TEST(ModalAlert, FatalAndNestedAlertsEndTheProcess) {
  const std::string dir = make_temp_dir();
  for (const char* nested : {"0", "1"}) {
    const child_result r = run_copy(dir, "ModalAlert.DISABLED_Child", {std::string("NESTED=") + nested});
    EXPECT_EQ(SIGABRT, r.signal) << r.out;
    const char* want = *nested == '1' ? "Cirrovan Error:\ninner" : "shown: (tests/app/modal_screens_test.cpp line ";
    EXPECT_NE(std::string::npos, r.out.find(want)) << r.out;
  }
  remove_tree(dir);
}

TEST(ModalAlert, DISABLED_Child) {
  shell_test_reset();
  TOOLKIT_install_hooks();
  APP_install_modal_screens();
  ogl_inited = 1;
  MACIBM_event_proc();   // the first frame reads the clock twice
  PUMP_set_time_source(script_clock);
  const bool nested = getenv("NESTED")[0] == '1';
  then([=] {
    for (const std::string& t : modal_texts_shown) printf("shown: %s\n", t.c_str());
    fflush(stdout);
    if (nested) MACIBM_alert(0, "inner", "", "", "", alert_warning);
    return_hit = 1;
  });
  MACIBM_alert(0, "outer", "", "", "", nested ? alert_warning : alert_fatal);
}

TEST_F(ModalScreen, QuestionAnswersByPositionInBothFormsScreenshot) {
  const float at[5][2] = {{96, 53}, {96, 28}, {308, 53}, {308, 28}, {584, 28}};
  const int answers[5] = {1, 2, 4, 5, 3};
  for (int deleting = 0; deleting < 2; ++deleting) {
    for (int b = 0; b < 5; ++b) {
      if (b == 0) shot(deleting ? "question_delete" : "question_install");
      click(at[b][0] + 70, at[b][1] - 8);
      EXPECT_EQ(answers[b], question_screen("Zephyra/Aircraft/Cirrovan/Cirrovan.acf", deleting));
      EXPECT_EQ(0, mnw.win_now);
    }
    EXPECT_EQ(select_alert_text(deleting).first, modal_texts_shown.at(0));
  }
  then([] { MACIBM_startwind(0); });   // closed from elsewhere
  EXPECT_EQ(3, question_screen("x", 0));
}

TEST_F(ModalScreen, AgreementAnswersAndItsScreenshot) {
  const struct {
    float x, y;
    int agreed;
  } rows[] = {{340, 21, 0}, {10, 292, 0}, {430, 21, 1}};   // Decline, close corner, Agree
  handle_EULA_forget();
  shot("agreement");
  for (const auto& r : rows) {
    click(r.x, r.y);
    wait_frame();   // the frame the screen still pumps after an answer
    EXPECT_EQ(r.agreed, handle_EULA());
  }
  EXPECT_EQ(1, handle_EULA()) << "asked once a run";
  handle_EULA_forget();
}

TEST_F(ModalScreen, PreferencesWriteTheirFieldsAndTheCornerLeavesScreenshot) {
  set_run_defaults();
  http._proxy_host.clear();
  http._proxy_port.clear();
  click(210, 313);   // the list opens with Linux Generic x86 over it
  shot("preferences_list_open");
  click(200, 334);
  then([] { EXPECT_EQ(1, stg.download_os); });
  click(210, 313);
  click(200, 262);
  then([] { EXPECT_EQ(5, stg.download_os); });
  for (float y : {265, 230, 190, 110}) click(30, y + 4);
  then([] {
    EXPECT_EQ(1, stg.use_max_cpu);
    EXPECT_EQ(0, stg.rename_folder);
    EXPECT_EQ(1, stg.always_ask_dir);
    EXPECT_EQ(1, stg.log_actions);
  });
  click(30, 154);   // manual streams: the count starts at 1
  click(405, 160);
  then([] { EXPECT_EQ(2, stg.stream_count); });
  click(30, 154);
  then([] { EXPECT_EQ(0, stg.stream_count); });
  click(95, 24);   // the port follows its text; an empty one leaves the number
  then([] { stl_input = "8080"; });
  then([] { EXPECT_EQ(8080, http._proxy_port_int); stl_input = "80a"; });
  then([] { EXPECT_EQ(-1, http._proxy_port_int); });
  click(95, 44);
  then([] { stl_input = "proxy.example"; });
  click(95, 24);
  then([] {
    EXPECT_EQ("proxy.example", http._proxy_host);
    EXPECT_EQ("", http._proxy_port);
    EXPECT_EQ(-1, http._proxy_port_int);
  });
  click(490, 375);   // the close corner
  handle_prefs();
  EXPECT_EQ(0, mnw.win_now);
  set_run_defaults();
}

TEST_F(ModalScreen, ScanPanelShowsAtOnceScreenshot) {
  save_docs_screen_at_next_swap("scan_panel");
  dir_progress_bar(0, 1234, 5000, 1, "Scanning directory text file to see if you already have Zephyra installed...",
                   "/home/pilot/Zephyra/Aircraft/Cirrovan/Cirrovan.acf");
  EXPECT_EQ(dir_progress_mode_text(1), modal_texts_shown.at(1));
}

}  // namespace
