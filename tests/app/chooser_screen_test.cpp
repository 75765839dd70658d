// The folder chooser in the window under Xvfb: its picture for the docs.
#include <sys/stat.h>

#include <fstream>
#include <functional>

#include "files/listing.h"
#include "screens_support.h"
#include "shell/hooks.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/chooser.h"

namespace {

std::function<void()> each_frame;
void (*blink)(float) = nullptr;
void blink_and_step(float pulse) {
  blink(pulse);
  each_frame();
}

class ChooserWindow : public ScreenSuite {};

TEST_F(ChooserWindow, ScreenshotOfTheChooser) {
  const std::string root = make_temp_dir() + "home/pilot/";
  mkdir((root.substr(0, root.size() - 7)).c_str(), 0755);
  mkdir(root.c_str(), 0755);
  for (const char* d : {"Airfoils", "Instructions", "Output", "Resources", "Zephyra 8.50"})
    mkdir((root + d).c_str(), 0755);
  for (const char* f : {"Read Me.txt", "flight plan.fms", "notes.txt"}) std::ofstream(root + f) << "x";

  blink = shell_hooks.set_blink_colours;
  shell_hooks.set_blink_colours = blink_and_step;
  int frame = 0;
  std::vector<unsigned char> rgb;
  float win_x = 0, win_y = 0;
  each_frame = [&] {
    if (++frame == 2) stl_input = "My Zephyra";
    if (frame == 4) save_docs_screen_at_next_swap("chooser");
    if (frame == 5) {
      rgb = read_back_buffer();
      win_x = mnw.win_x;
      win_y = mnw.win_y;
      PUMP_post_motion(window_x(mnw.win_x + 45), window_y(mnw.win_y + 28));
      PUMP_post_button(1);
      PUMP_post_button(0);
    }
    if (frame > 50) MACIBM_startwind(0);
  };
  MACIBM_startwind(0);
  char result[2048] = "";
  EXPECT_EQ(GetFilePathFromUser(2, "", "", 1, root.c_str(), result), 0);
  EXPECT_LT(frame, 10) << "Cancel did not end the chooser";
  shell_hooks.set_blink_colours = blink;

  // The selected row (the middle one of eight) is filled across the list.
  ASSERT_EQ(rgb.size(), 1024u * 768 * 3);
  const float row_top = 280 - (8 / 2) * 20;
  const int x = int(win_x) + 150, y = int(win_y + row_top - 10);
  const unsigned char* px = &rgb[(y * 1024 + x) * 3];
  const unsigned char* below = &rgb[((y - 20) * 1024 + x) * 3];
  EXPECT_GT(abs(px[0] - below[0]) + abs(px[1] - below[1]) + abs(px[2] - below[2]), 60);
  remove_tree(root.substr(0, root.size() - 11));
}

}  // namespace
