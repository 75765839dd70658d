// The modal screens under Xvfb, each in its own loop: a script runs one step
// a frame from the pump's clock, and the runs save the documentation's pictures.
#include <X11/keysym.h>

#include <sys/stat.h>

#include <csignal>
#include <deque>
#include <fstream>
#include <functional>

#include "app/modal_screens.h"
#include "files/alert.h"
#include "install/person.h"
#include "install/preferences.h"
#include "install/stage.h"
#include "net/http.h"
#include "screens_support.h"
#include "shell/hooks.h"
#include "shell/keys.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/chooser.h"

namespace {

std::deque<std::function<void()>> steps;
int idle = 0;

unsigned long long script_clock() {
  test_now_us += 20000;
  if (!steps.empty()) {
    const auto step = steps.front();
    steps.pop_front();
    step();
    idle = 0;
  } else if (mnw.win_now > 0 && ++idle > 5) {   // never hang on a screen that stays
    ADD_FAILURE() << "screen " << mnw.win_now << " outlived its script";
    MACIBM_startwind(0);
  }
  return test_now_us;
}
void then(std::function<void()> f) { steps.push_back(std::move(f)); }
void click(float x, float y) {
  then([=] {
    PUMP_post_motion(int(mnw.win_x + x), window_y(mnw.win_y + y));
    PUMP_post_button(1);
    PUMP_post_button(0);
  });
  then([] {});
}
void shot(const std::string& name) { then([=] { save_docs_screen_at_next_swap(name); }); }

class ModalScreen : public ScreenSuite {
 protected:
  void SetUp() override {
    ScreenSuite::SetUp();
    steps.clear();
    MACIBM_startwind(0);
    APP_install_modal_screens();
    KEYS_install_hook();
    ogl_inited = 1;
    PUMP_set_time_source(script_clock);
  }
  void TearDown() override {
    EXPECT_TRUE(steps.empty());
    ogl_inited = 0;
    ScreenSuite::TearDown();
  }
};

TEST_F(ModalScreen, AlertLevelsAcceptAndReturnScreenshot) {
  const std::vector<std::string> texts = {
      "DIR-scan: The installer cannot extract a file.", "Error:No space left on device",
      "Compressed File:/tmp/zephyra/directory.txt.zip", "Destination Path:/tmp/zephyra/directory.txt"};
  shot("alert_warning");
  then([=] { EXPECT_EQ(texts, modal_texts_shown); });
  click(200, 18);
  MACIBM_alert(0, texts[0], texts[1], texts[2], texts[3], alert_warning);
  EXPECT_EQ(0, mnw.win_now);

  // The language chooser shows no texts and speaks the language chosen.
  click(175, 164);
  then([] { PUMP_post_key(XK_Return, 1); });
  MACIBM_alert(0, "not shown", "", "", "", alert_note);
  EXPECT_EQ(std::vector<std::string>{"Langue:"}, modal_texts_shown);
  mnw.lang = 0;

  // Level 2 shows its place and ends the process, as does an alert inside an alert.
  for (int nested = 0; nested < 2; ++nested) {
    const child_result r = run_in_child([=] {
      shell_hooks.swap_buffers = [] {};
      then([=] {
        for (const std::string& t : modal_texts_shown) printf("shown: %s\n", t.c_str());
        fflush(stdout);
        if (nested) MACIBM_alert(0, "inner", "", "", "", alert_warning);
        return_hit = 1;
      });
      MACIBM_alert(0, "outer", "", "", "", nested ? alert_warning : alert_fatal);
      return 0;
    });
    EXPECT_EQ(SIGABRT, r.signal);
    EXPECT_NE(std::string::npos, r.out.find(nested ? "Cirrovan Error:\ninner"
                                                    : "shown: (tests/app/modal_screens_test.cpp line "))
        << r.out;
  }
}

TEST_F(ModalScreen, QuestionAnswersByPositionInBothFormsScreenshot) {
  const float at[5][2] = {{166, 45}, {166, 20}, {378, 45}, {378, 20}, {654, 20}};
  const int answers[5] = {1, 2, 4, 5, 3};
  for (int deleting = 0; deleting < 2; ++deleting)
    for (int b = 0; b < 5; ++b) {
      if (b == 0) shot(deleting ? "question_delete" : "question_install");
      click(at[b][0], at[b][1]);
      EXPECT_EQ(answers[b], question_screen("/home/pilot/Zephyra/Aircraft/Cirrovan/Cirrovan.acf", deleting));
      EXPECT_EQ(select_alert_text(deleting).first, modal_texts_shown.at(0));
    }
}

TEST_F(ModalScreen, AgreementAnswersAndItsScreenshot) {
  handle_EULA_forget();
  shot("agreement");
  const int rows[3][3] = {{340, 21, 0}, {10, 292, 0}, {430, 21, 1}};   // Decline, corner, Agree
  for (const auto& r : rows) {
    click(r[0], r[1]);
    then([] {});   // an answer still pumps its frame
    EXPECT_EQ(r[2], handle_EULA());
  }
  EXPECT_EQ(1, handle_EULA()) << "asked once a run";
  handle_EULA_forget();
}

TEST_F(ModalScreen, PreferencesWriteTheirFieldsAndTheCornerLeavesScreenshot) {
  set_run_defaults();
  http._proxy_host = http._proxy_port = "";
  click(210, 313);   // opens with Linux Generic x86 over the control
  shot("preferences_list_open");
  click(200, 334);
  then([] { EXPECT_EQ(1, stg.download_os); });
  click(210, 313);
  click(200, 262);
  for (float y : {269, 234, 194, 114, 154}) click(30, y);   // the last one: manual streams, 1
  click(405, 160);
  then([] { EXPECT_EQ(2, stg.stream_count); });
  click(30, 154);
  click(95, 24);   // the port number follows its text, unless that is empty
  then([] { stl_input = "80a"; });
  then([] {
    EXPECT_EQ(-1, http._proxy_port_int);
    stl_input = "8080";
  });
  click(95, 44);
  then([] { stl_input = "proxy.example"; });
  click(95, 24);
  click(490, 375);   // the close corner
  handle_prefs();
  EXPECT_EQ(0, mnw.win_now);
  EXPECT_EQ(5, stg.download_os);
  EXPECT_EQ(3, stg.use_max_cpu + stg.always_ask_dir + stg.log_actions);
  EXPECT_EQ(0, stg.rename_folder + stg.stream_count);
  EXPECT_EQ("proxy.example", http._proxy_host);
  EXPECT_EQ("", http._proxy_port);
  EXPECT_EQ(8080, http._proxy_port_int);
  set_run_defaults();
}

TEST_F(ModalScreen, ScanPanelScreenshot) {
  save_docs_screen_at_next_swap("scan_panel");
  dir_progress_bar(0, 1234, 5000, 1, "Scanning directory text file to see if you already have Zephyra installed...",
                   "/home/pilot/Zephyra/Aircraft/Cirrovan/Cirrovan.acf");
}

TEST_F(ModalScreen, ChooserScreenshot) {
  const std::string top = make_temp_dir(), root = top + "home/pilot/";
  sh("mkdir -p '" + root + "'");
  for (const char* d : {"Airfoils", "Instructions", "Output", "Resources", "Zephyra 8.50"})
    mkdir((root + d).c_str(), 0755);
  for (const char* f : {"Read Me.txt", "flight plan.fms", "notes.txt"}) std::ofstream(root + f) << "x";
  then([] {});   // the chooser empties the field as it opens
  then([] { stl_input = "My Zephyra"; });
  then([] {});
  shot("chooser");
  click(45, 28);   // Cancel
  char result[2048];
  EXPECT_EQ(0, GetFilePathFromUser(2, "", "", 1, root.c_str(), result));
  remove_tree(top);
}

}  // namespace
