// Entry of the installer. With --console the stage machine runs in the
// terminal and no display is opened. Otherwise the shell brings up the log,
// the command line and the window; the run record and the preferences are
// set before the frame loop. The installer's screens are not built yet, so
// the window road stops after start-up with a plain word to the user.
#include <cstdio>
#include <string>

#include "app/console.h"
#include "files/alert.h"
#include "files/cmdline.h"
#include "files/log.h"
#include "files/paths.h"
#include "install/preferences.h"
#include "install/stage.h"
#include "shell/hooks.h"
#include "shell/startup.h"
#include "toolkit/toolkit.h"

// The pump calls these once a frame; the screens will fill them in.
void APP_update() {}
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
  shell_hooks.save_prefs = [] { pref.IO_set(11, 1); };
  shell_hooks.use_max_cpu = &stg.use_max_cpu;

  if (!MACIBM_init(argc, argv)) return 1;

  get_OS_abs_path(2, dest_dir_path);
  get_OS_abs_path(3, temp_path);
  xer << "os_dir_apps:" << dest_dir_path << "\n";
  xer << "os_dir_temp:" << temp_path << "\n";
  set_run_defaults();
  pref.IO_set(11, 0);

  puts("Zephyra Installer: the window and its start-up work, but the installer's screens are not built yet.");
  app_done = 1;
  MACIBM_finishup(1);
  return 0;
}
