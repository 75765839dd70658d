// The folder chooser in the window under Xvfb: its picture for the docs.
#include <sys/stat.h>

#include <fstream>

#include "screens_support.h"
#include "shell/hooks.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/chooser.h"

namespace {

int frame = 0;
void (*blink)(float) = nullptr;
// Typed text on the second frame, the picture on the fourth, then Cancel.
void step(float pulse) {
  blink(pulse);
  if (++frame == 2) stl_input = "My Zephyra";
  if (frame == 4) save_docs_screen_at_next_swap("chooser");
  if (frame == 5) MACIBM_startwind(0);
}

class ChooserWindow : public ScreenSuite {};

TEST_F(ChooserWindow, ScreenshotOfTheChooser) {
  const std::string top = make_temp_dir(), root = top + "home/pilot/";
  mkdir((top + "home").c_str(), 0755);
  mkdir(root.c_str(), 0755);
  for (const char* d : {"Airfoils", "Instructions", "Output", "Resources", "Zephyra 8.50"})
    mkdir((root + d).c_str(), 0755);
  for (const char* f : {"Read Me.txt", "flight plan.fms", "notes.txt"}) std::ofstream(root + f) << "x";
  blink = shell_hooks.set_blink_colours;
  shell_hooks.set_blink_colours = step;
  char result[2048];
  GetFilePathFromUser(2, "", "", 1, root.c_str(), result);
  shell_hooks.set_blink_colours = blink;
  EXPECT_EQ(frame, 5);
  remove_tree(top);
}

}  // namespace
