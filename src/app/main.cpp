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
#include "files/log.h"
#include "install/person.h"
#include "install/preferences.h"
#include "install/stage.h"
#include "shell/hooks.h"
#include "shell/pump.h"
#include "shell/startup.h"
#include "toolkit/chooser.h"
#include "toolkit/toolkit.h"

void APP_update() { main_screen_update(); }
void APP_handlekey(int, int) {}
void APP_handlemenu(int) {}

namespace {

// Until a chooser is on screen, asking for a folder is a cancel: the run
// goes on with the folder it has.
int no_chooser(int, const char* prompt, const char*, int, const char*, char*) {
  xer << "No folder chooser: keeping the folder (" << (prompt ? prompt : "") << ")\n";
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (console_wanted(argc, argv)) return console_main(argc, argv);

  TOOLKIT_install_hooks();
  shell_hooks.save_prefs = [] { pref.IO_set(pref_set_installer, 1); };
  shell_hooks.use_max_cpu = &stg.use_max_cpu;

  if (!MACIBM_init(argc, argv)) return 1;

  APP_install_modal_screens();
  person_hooks.go_to_URL = app_go_to_URL;
  person_hooks.GetFilePathFromUser = GetFilePathFromUser;
  if (!person_hooks.GetFilePathFromUser) person_hooks.GetFilePathFromUser = no_chooser;

  stage_main_start(argc, argv);
  while (!app_done) MACIBM_event_proc();
  MACIBM_finishup(1);
  return 0;
}
