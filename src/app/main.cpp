// Entry of the installer. With --console the stage machine runs in the
// terminal and no display is opened. Otherwise the shell brings up the log,
// the command line and the window, the run settles its folder, and the frame
// loop draws the main screen until Quit.
#include <string>

#include "app/console.h"
#include "app/main_screen.h"
#include "app/modal_screens.h"
#include "app/stage_work.h"
#include "files/alert.h"
#include "files/cmdline.h"
#include "files/log.h"
#include "install/person.h"
#include "install/preferences.h"
#include "install/stage.h"
#include "net/clock.h"
#include "shell/hooks.h"
#include "shell/pump.h"
#include "shell/startup.h"
#include "toolkit/chooser.h"
#include "toolkit/toolkit.h"

namespace {
// Time spent in the frames of stage 1, for the log at the end.
double stage1_seconds = 0;
long stage1_frames = 0;
}  // namespace

void APP_update() {
  const int installing = stg.stage == 1;
  const double start = xtim.microsecs() * 1e-6;
  main_screen_update();
  if (installing) {
    stage1_seconds += xtim.microsecs() * 1e-6 - start;
    ++stage1_frames;
  }
}
void APP_handlekey(int, int) {}
void APP_handlemenu(int) {}

int main(int argc, char** argv) {
  // Answered before anything opens, so asking for it leaves the log alone.
  for (int i = 1; i < argc; ++i)
    if (std::string(argv[i]) == "--version") {
      puts(version_text("zephyra-installer").c_str());
      return 0;
    }
  // The window's --help lists the installer's own options too.
  usage_tail = kConsoleUsageText;
  if (console_wanted(argc, argv)) return console_main(argc, argv);

  TOOLKIT_install_hooks();
  shell_hooks.save_prefs = [] { pref.IO_set(pref_set_installer, 1); };
  shell_hooks.use_max_cpu = &stg.use_max_cpu;

  if (!MACIBM_init(argc, argv)) return 1;

  APP_install_modal_screens();
  person_hooks.go_to_URL = app_go_to_URL;
  person_hooks.GetFilePathFromUser = GetFilePathFromUser;

  stage_main_start(argc, argv);
  while (!app_done) MACIBM_event_proc();
  if (stage1_frames)
    xer << "APP_update in stage 1: " << stage1_frames << " frames, mean "
        << stage1_seconds * 1000 / stage1_frames << " ms\n";
  MACIBM_finishup(1);
  return 0;
}
