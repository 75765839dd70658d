// The folder chooser run frame by frame through the pump, without a display.
#include "toolkit/chooser.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <functional>

#include "files/listing.h"
#include "shell/hooks.h"
#include "shell/keys.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/toolkit.h"

namespace {

// A step runs in each frame once its input is drained (the pump sets the
// blinking colours then; a pressed button swaps buffers on its own). What a
// step posts, the chooser sees a frame later.
std::vector<std::function<void()>> steps;
size_t next_step = 0;
void (*blink)(float) = nullptr;
void run_step(float pulse) {
  blink(pulse);
  if (next_step < steps.size()) return steps[next_step++]();
  ADD_FAILURE() << "the chooser outlived its script";
  MACIBM_startwind(0);
}
void click(float x, float y) {
  PUMP_post_motion(int(x + mnw.win_x), int(mnw.y_res - (y + mnw.win_y)));
  PUMP_post_button(1);
  PUMP_post_button(0);
}
void keys(std::initializer_list<unsigned long> keysyms) {
  for (unsigned long k : keysyms) PUMP_post_key(k, 1), PUMP_post_key(k, 0);
}
void idle() {}
float row_y(int r) { return 270 - r * 20; }

class Chooser : public ::testing::Test {
 protected:
  std::string root = make_temp_dir();   // with its final "/"
  char result[2048] = "untouched";
  void SetUp() override {
    shell_test_reset();
    TOOLKIT_install_hooks();
    KEYS_install_hook();
    blink = shell_hooks.set_blink_colours;
    shell_hooks.set_blink_colours = run_step;
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
  int run(const std::string& start, std::vector<std::function<void()>> script) {
    steps = std::move(script);
    next_step = 0;
    MACIBM_startwind(0);
    return GetFilePathFromUser(2, "prompt", "action", 1, start.c_str(), result);
  }
};

TEST_F(Chooser, WalksTheTreeMakesAFolderCutsBackAndSelects) {
  auto at = [&](const std::string& rel) { EXPECT_EQ(wrk_path, root + rel); };
  EXPECT_EQ(run(root, {
      [] { keys({XK_Return}); }, idle,   // enters the middle row: beta/
      [&] { at("beta/"); click(100, row_y(2)); }, idle,   // notes.txt: nothing
      [&] { at("beta/"); keys({XK_m, XK_a, XK_d, XK_e, XK_space, XK_i, XK_t}); }, idle,
      [] { click(240, 28); }, idle, idle,   // New Folder, listed in the next frame
      [&] { EXPECT_EQ(g_file[1], "made it/"); click(100, row_y(1)); }, idle,
      [&] { at("beta/made it/"); click(mnw.win_dx * 0.5f, 440); }, idle,   // the parts
      [] { click(mnw.win_dx * 0.5f, 452); }, idle, idle,   // one level up
      [&] { at("beta/"); click(115, 28); }, idle}),   // Select
      1);
  EXPECT_EQ(result, root + "beta/");
  EXPECT_EQ(mnw.win_now, 0) << "the screen that called comes back";
}

TEST_F(Chooser, CancelAnotherScreenAndDoubledRoots) {
  const std::tuple<std::string, std::function<void()>, int, std::string> table[] = {
      {root, [] { click(45, 28); }, 0, "untouched"},
      {root, [] { MACIBM_startwind(2); }, 0, "untouched"},
      {"//" + root.substr(1) + "alpha", [] { click(115, 28); }, 1, root + "alpha/"}};
  for (auto& [start, end, answer, chosen] : table) {
    EXPECT_EQ(run(start, {idle, end, idle}), answer) << start;
    EXPECT_EQ(result, chosen);
  }
}

}  // namespace
