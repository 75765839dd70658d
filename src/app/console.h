// The installer without a window: the same stage machine, driven from a
// terminal or a script. It never connects to X and never touches OpenGL.
#pragma once

// Exit statuses of a console run.
enum {
  console_done = 0,         // installed, nothing was needed, or --verify finished
  console_failed = 1,       // a downloaded file could not be installed
  console_refused = 2,      // the agreement was refused, or could not be asked
  console_cancelled = 3,    // a changed-file question was answered with cancel
  console_bad_list = 4,     // a server or directory list this program can't use
  console_bad_options = 5,  // the console's own options were wrong
  console_silent = 6        // no server sent a byte for --wait seconds
};

// True when the arguments ask for the console front end.
bool console_wanted(int argc, char const* const* argv);

// The whole console run; returns the process's exit status.
int console_main(int argc, char const* const* argv);

// The console's options and exit statuses, printed after the usage text.
extern const char* const kConsoleUsageText[];
