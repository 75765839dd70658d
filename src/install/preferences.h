// The user's settings: which tag of the preference file belongs to which
// field of the other layers' globals. pref_class keeps no state of its own.
#pragma once
#include <string>

enum {
  pref_set_shell = 10,      // the shell's screen settings, beside the working folder
  pref_set_installer = 11,  // the installer's settings, in the user's folder
};

class pref_class {
 public:
  // Reads (direction 0) or writes (1) every tag of one set. Reading leaves a
  // field as it was when its tag is absent, so callers set defaults first.
  void IO_set(int which, int direction);
  int IO_sta(int, int, std::string) { return 0; }
};
extern pref_class pref;

// The file a set lives in: set 10 relative to the working folder, any other
// "$HOME/.zephyra/Zephyra Installer.prf" (that folder made when missing).
std::string pref_file_path(int which);
