// The folder chooser run frame by frame through the pump, without a display,
// with input posted between the frames.
#include "toolkit/chooser.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <functional>
#include <vector>

#include "files/listing.h"
#include "shell/hooks.h"
#include "shell/keys.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/toolkit.h"

namespace {

// One step runs inside each frame, once the input is drained (the pump sets
// the blinking colours then; a pressed button swaps buffers on its own, so
// the swap can't count frames). The chooser sees posted input one frame
// later.
std::vector<std::function<void()>> steps;
size_t next_step = 0;

void (*blink)(float) = nullptr;

void run_step(float pulse) {
  blink(pulse);
  if (next_step < steps.size()) {
    steps[next_step++]();
  } else {
    ADD_FAILURE() << "the chooser outlived its script";
    MACIBM_startwind(0);
  }
}

// A press and release at a point of the sub-window.
void click(float x, float y) {
  PUMP_post_motion(int(x + mnw.win_x), int(mnw.y_res - (y + mnw.win_y)));
  PUMP_post_button(1);
  PUMP_post_button(0);
}
void type_keys(std::initializer_list<unsigned long> keysyms) {
  for (unsigned long k : keysyms) {
    PUMP_post_key(k, 1);
    PUMP_post_key(k, 0);
  }
}
void idle() {}

// Top of the list's row r (entry r while the list is not scrolled).
float row_y(int r) { return 280 - r * 20 - 10; }

class Chooser : public ::testing::Test {
 protected:
  std::string root = make_temp_dir();   // with its final "/"
  char result[2048] = "untouched";
  void SetUp() override {
    shell_test_reset();
    TOOLKIT_install_hooks();
    blink = shell_hooks.set_blink_colours;
    shell_hooks.set_blink_colours = run_step;
    KEYS_install_hook();
    steps.clear();
    next_step = 0;
    for (const char* d : {"alpha", "beta", "beta/inner", "beta/my-stuff"})
      mkdir((root + d).c_str(), 0755);
    std::ofstream(root + "beta/notes.txt") << "x";
    std::ofstream(root + "file.txt") << "x";
  }
  void TearDown() override {
    remove_tree(root);
    shell_test_reset();
    PUMP_set_time_source(nullptr);
  }
  int run(const char* start) {
    MACIBM_startwind(0);
    return GetFilePathFromUser(2, "prompt", "action", 1, start, result);
  }
};

TEST_F(Chooser, WalksTheTreeMakesAFolderCutsBackAndSelects) {
  steps = {
      // alpha/ beta/ file.txt: the middle row is selected; Return enters it.
      [] { type_keys({XK_Return}); },
      idle,
      // beta/: inner/ my-stuff/ notes.txt. A file row does nothing.
      [&] {
        EXPECT_EQ(wrk_path, root + "beta/");
        click(100, row_y(2));
      },
      idle,
      [&] {
        EXPECT_EQ(wrk_path, root + "beta/");
        // Typing needs no click on the field.
        type_keys({XK_m, XK_a, XK_d, XK_e, XK_space, XK_i, XK_t});
      },
      idle,
      [] { click(240, 28); },   // New Folder
      idle,
      idle,
      // The new folder is listed at once, in its place by name; a click enters it.
      [&] {
        EXPECT_EQ(g_file[1], "made it/");
        click(100, row_y(1));
      },
      idle,
      [&] {
        EXPECT_EQ(wrk_path, root + "beta/made it/");
        click(mnw.win_dx * 0.5f, 440);   // the parts pop-up, over the deepest part
      },
      idle,
      // One level up is the item just above.
      [] { click(mnw.win_dx * 0.5f, 438 + 12 + 2); },
      idle,
      idle,
      [&] {
        EXPECT_EQ(wrk_path, root + "beta/");
        click(115, 28);   // Select
      },
      idle,
  };
  EXPECT_EQ(run(root.c_str()), 1);
  EXPECT_STREQ(result, (root + "beta/").c_str());
  EXPECT_EQ(mnw.win_now, 0) << "the screen that called comes back";
  struct stat st;
  EXPECT_EQ(stat((root + "beta/made it").c_str(), &st), 0);
}

TEST_F(Chooser, CancelAndAnotherScreenReturnNothingSelectDropsDoubledRoots) {
  struct row {
    std::string start;
    std::function<void()> end;
    int answer;
    std::string chosen;
  };
  const std::string doubled = "//" + root.substr(1) + "alpha";   // no final separator
  const row table[] = {
      {root, [] { click(45, 28); }, 0, "untouched"},
      {root, [] { MACIBM_startwind(2); }, 0, "untouched"},
      {doubled, [] { click(115, 28); }, 1, root + "alpha/"},
  };
  for (const row& r : table) {
    steps = {idle, r.end, idle};
    next_step = 0;
    strcpy(result, "untouched");
    EXPECT_EQ(run(r.start.c_str()), r.answer) << r.start;
    EXPECT_EQ(result, r.chosen);
  }
}

TEST_F(Chooser, BadArgumentsAreFatal) {
  std::string path = root;
  char chars[2048] = "";
  const std::pair<std::function<void()>, const char*> table[] = {
      {[&] { BTN_select_file_stl(0, 0, 997, 2, 18, &path, ""); },
       "Bad open_save arg to BTN_select_file_stl!"},
      {[&] { BTN_select_file_stl(0, 0, 999, 2, 18, &path, ""); },
       "Bad file_path arg to BTN_select_file_stl!"},
      {[&] { BTN_select_file_chr(0, 0, 998, 1, -1, chars, ""); },
       "Bad file_type arg to BTN_select_file_chr!"},
      {[&] { BTN_select_file_chr(0, 0, 0, 0, 0, chars, ""); },
       "Bad open_save arg to BTN_select_file_chr!"},
      {[&] {
         int top = 0, selected = 0;
         BTN_big_name_list(997, 0, 0, 0, 0, 0, &top, &selected, 0);
       },
       "Bad big_name_list type!"},
  };
  for (auto& [call, message] : table) {
    const child_result r = run_in_child([&] {
      call();
      return 0;
    });
    EXPECT_NE(r.exit_code, 0) << message;
    EXPECT_NE(r.out.find(message), std::string::npos) << r.out;
  }
}

}  // namespace
