// The main screen frame by frame, run by the pump with no display and posted
// clicks at the screen's own coordinates.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "app/main_screen.h"
#include "files/alert.h"
#include "files/log.h"
#include "files/mnw.h"
#include "install/directory.h"
#include "install/person.h"
#include "install/servers.h"
#include "install/stage.h"
#include "install/streams.h"
#include "screens_support.h"
#include "shell/pump.h"
#include "support.h"
#include "toolkit/toolkit.h"

namespace {

int chooser_calls, agree_calls, agree_answer, prefs_calls;
std::string chooser_folder;  // empty: the chooser is cancelled

int test_chooser(int, const char*, const char*, int, const char*, char* result) {
  ++chooser_calls;
  if (chooser_folder.empty()) return 0;
  snprintf(result, 2048, "%s", chooser_folder.c_str());
  return 1;
}
int test_agree() { return ++agree_calls, agree_answer; }
void test_prefs() { ++prefs_calls; }

// One product file of 5000 kilobytes that the folder lacks.
const char kList[] =
    "I\n840 test\nINSTALLER\nFILE 0 0 840 4000 5000 0f1e2d3c4b5a69788796a5b4c3d2e1f0 Zephyra:a.txt\n";

class MainScreen : public ::testing::Test {
 protected:
  std::string tmp;
  void SetUp() override {
    shell_test_reset();
    TOOLKIT_install_hooks();
    tmp = make_temp_dir();
    set_run_defaults();
    stage_reset_frame_state();
    next = next_class();
    sim_info.clear();
    app_done = 0;
    person_hooks = person_hooks_t{};
    person_hooks.GetFilePathFromUser = test_chooser;
    person_hooks.handle_EULA = test_agree;
    person_hooks.handle_prefs = test_prefs;
    chooser_calls = agree_calls = agree_answer = prefs_calls = 0;
    chooser_folder.clear();
    dest_dir_path = tmp + "dest/";
    temp_path = tmp;
    std::ofstream(tmp + "directory.txt") << kList;
    main_server = "127.0.0.1";
    stg.server_count = 2;
    // Nothing listens: a list fetch fails at once.
    server_name[0] = server_name[1] = "127.0.0.1";
    server_path[0] = server_path[1] = "/release/";
    server_desc[0] = "Mirror one", server_desc[1] = "Mirror two";
    stg.dir_state = 1;
    on_app_update = main_screen_update;
    frame_after(0.02);   // reads the list
  }
  void TearDown() override {
    on_app_update = nullptr;
    remove_tree(tmp);
  }
  void click(float x, float y) {
    PUMP_post_motion(window_x(x), window_y(y));
    PUMP_post_button(1);
    frame_after(0.02);
    PUMP_post_button(0);
    frame_after(0.02);
  }
};

TEST_F(MainScreen, StateMessageGoesByTheFirstRowThatApplies) {
  struct { int servers, done, stage, known, colour; const char* starts; } const rows[] = {
      {-1, 1, 1, 1, 45, "Looking for servers"},
      {0, 1, 1, 1, 1, "I could not find any servers"},
      {2, 1, 1, 1, 13, "INSTALLATION COMPLETE!"},
      {2, 0, 1, 1, 45, "OK I am installing this now..."},
      {2, 0, 0, 1, 45, "You have selected an earlier version"},
      {2, 0, 2, 0, 45, "To make the download a LOT faster"},
  };
  for (const auto& r : rows) {
    stg.server_count = r.servers, next.install_done = r.done, stg.stage = r.stage, stg.dest_known = r.known;
    main_screen_update();
    EXPECT_EQ(main_screen_last.message.colour, r.colour) << r.starts;
    EXPECT_EQ(main_screen_last.message.text.rfind(r.starts, 0), 0u) << main_screen_last.message.text;
  }
}

TEST_F(MainScreen, ThreeLinesOfEachStageAndTheRedFailureLinesOverThem) {
  struct { int stage, dir_state, failed; float disk; int colour; const char* line1; } const rows[] = {
      {0, 0, 0, 0, 45, "I am figuring out what the latest version of Zephyra is right now..."},
      {0, 3, 0, 0, 45, "Your copy of Zephyra is already the latest version."},
      {0, 3, 0, 5000, 45, "You are about to install 5.0 Meg of files to get Not Yet Scanned."},
      {2, 3, 0, 0, 45, "INSTALLATION COMPLETE!"},
      {2, 3, 1, 0, 68, "The installation was not completed because an error occurred."},
  };
  crnt_file_path = "Zephyra/a.txt";
  for (int file_failed : {0, 1})
    for (const auto& r : rows) {
      stg.stage = r.stage, stg.dir_state = r.dir_state, stg.install_failed = r.failed;
      stg.tot_disk = r.disk, stg.file_failed = file_failed;
      main_screen_update();
      EXPECT_EQ(main_screen_last.lines.line[0].text, file_failed ? "I can NOT download the file 'Zephyra/a.txt'!" : r.line1);
      EXPECT_EQ(main_screen_last.lines.line[2].colour, file_failed ? 68 : r.colour) << r.line1;
    }
}

TEST_F(MainScreen, DestinationFieldAndButtonPickAFolderOutsideStageOne) {
  // The field's box takes in its edges and nothing past them; the button beside it opens too.
  struct { float x, y; int opens; } const clicks[] = {
      {435, 99, 1}, {436, 99, 0}, {435, 100, 0}, {200, 79, 1}, {200, 78, 0}, {10, 78, 1}, {134, 90, 1}};
  for (const auto& c : clicks) {
    chooser_calls = 0;
    click(c.x, c.y);
    EXPECT_EQ(chooser_calls, c.opens) << c.x << "," << c.y;
  }
  // Frames in stage 1, which the empty run would otherwise end at once.
  on_app_update = [] {
    stg.stage = 1;
    main_screen_update();
  };
  chooser_calls = 0;
  click(200, 90);
  click(20, 88);
  EXPECT_EQ(chooser_calls, 0);
  EXPECT_FALSE(main_screen_last.destination_drawn || main_screen_last.start_drawn);
  on_app_update = main_screen_update;

  // A folder chosen after a run: back to stage 0, the same list read again.
  stg.stage = 2, stg.install_failed = 1;
  chooser_folder = tmp + "other/";
  const int rows = read_directory_rows_parsed();
  click(200, 90);
  EXPECT_EQ(stg.stage, 0);
  EXPECT_EQ(stg.install_failed, 0);
  EXPECT_EQ(stg.dir_state, 3);
  EXPECT_EQ(read_directory_rows_parsed(), rows + 1) << "the list is read again, not fetched";
}

TEST_F(MainScreen, StartRefusedAgreedAndDisabled) {
  ASSERT_EQ(stg.dir_state, 3);
  ASSERT_TRUE(main_screen_last.start_enabled);
  // Refused: folders made and the files chosen, yet still stage 0.
  click(480, 88);
  EXPECT_EQ(agree_calls, 1);
  EXPECT_EQ(stg.stage, 0);
  EXPECT_EQ(access((dest_dir_path + "Output").c_str(), F_OK), 0);
  EXPECT_EQ(sim_info.at(0).back().want_down, 1);
  agree_answer = 1;
  click(480, 88);
  EXPECT_EQ(agree_calls, 2);
  EXPECT_EQ(stg.stage, 1);
  EXPECT_FALSE(main_screen_last.start_drawn);
  click(480, 88);
  EXPECT_EQ(agree_calls, 2) << "no START in stage 1";

  // Cold and red without a read list: its clicks are ignored.
  stg.stage = 0, stg.dir_state = 0, stg.server_count = 0;
  click(480, 88);
  EXPECT_EQ(agree_calls, 2);
  EXPECT_FALSE(main_screen_last.start_enabled);
}

TEST_F(MainScreen, ServerRowsPreferencesStoreAndQuit) {
  click(142, 578 - 20);
  EXPECT_EQ(stg.server_index, 1);
  click(142, 578);
  EXPECT_EQ(stg.server_index, 0);
  click(50, 750);
  EXPECT_EQ(prefs_calls, 1);
  // The Store page through the app's browser seam; with no xdg-open it is logged.
  person_hooks.go_to_URL = app_go_to_URL;
  const std::string path = getenv("PATH");
  setenv("PATH", (tmp + "nothing").c_str(), 1);
  xer.open(tmp + "Log.txt", std::ios::out | std::ios::trunc);
  click(750, 89);
  xer.close();
  setenv("PATH", path.c_str(), 1);
  EXPECT_NE(read_file(tmp + "Log.txt").find(kStoreURL), std::string::npos);
  click(980, 88);
  EXPECT_EQ(stg.stage, 2);
  EXPECT_EQ(app_done, 1);
}

TEST(ProgressBar, TrackAndFill) {
  struct { float r; int stage, shown; float cx, w; } const rows[] = {
      {0, 1, 0, 0, 0}, {0.02f, 1, 0, 0, 0}, {0.5f, 0, 0, 0, 0},
      {0.5f, 1, 1, 354, 444}, {1, 1, 1, 574, 884}, {0.03f, 1, 1, 146, 28}};
  for (const auto& r : rows) {
    const progress_bar_strips p = progress_bar_layout(132, 1016, r.r, r.stage);
    EXPECT_EQ(p.track_cx, 574);
    EXPECT_EQ(p.track_w, 884);
    EXPECT_EQ(p.fill_shown, r.shown) << r.r;
    EXPECT_EQ(p.fill_cx, r.cx) << r.r;
    EXPECT_EQ(p.fill_w, r.w) << r.r;
  }
}

}  // namespace

