// The places where the core needs the person at the screen. The core calls
// the functions below; the app fills person_hooks at start-up with its
// screens, and tests fill it with their own answers. The core defines
// dir_progress_bar and select_alert as free functions, so a screen that
// implements one goes by another name. The chooser, the agreement, the
// preference screen and the browser keep their own names in the toolkit and
// shell; the core reaches them through the person_ calls.
//
// Without an app the progress panel and the preference screen do nothing, and
// the question, the chooser and the agreement have no default answer: calling
// one with no provider is a misuse and ends the process with a fatal alert.
#pragma once
#include <string>

struct person_hooks_t {
  // Paints the scan's progress panel and shows it at once.
  void (*dir_progress_bar)(float low, float value, float high, int mode,
                           const std::string& top_text, const std::string& bottom_text) = nullptr;
  // The changed-file question; answers 1..5 (see select_alert).
  int (*select_alert)(const std::string& path, int deleting) = nullptr;
  // The folder chooser: 1 with the chosen folder in result, 0 on cancel.
  // result holds at least 2048 bytes.
  int (*GetFilePathFromUser)(int mode, const char* prompt, const char* action, int filter,
                             const char* start, char* result) = nullptr;
  // The agreement screen: 1 when the user agreed.
  int (*handle_EULA)() = nullptr;
  // The preference screen. Without it nothing happens.
  void (*handle_prefs)() = nullptr;
  // Opens an address in the system browser. Without it the address is logged.
  void (*go_to_URL)(const std::string& url) = nullptr;
};
extern person_hooks_t person_hooks;

// Modes of the progress panel and the middle line each one shows.
enum { dir_progress_parsing = 0, dir_progress_examining = 1 };
const char* dir_progress_mode_text(int mode);
// Filled part of the panel's bar, 0.04..1.0; 0.52 when low equals high.
float dir_progress_fill(float low, float value, float high);

void dir_progress_bar(float low, float value, float high, int mode,
                      std::string top_text, std::string bottom_text);

// Answers of select_alert, by the position of the button pressed.
enum {
  select_go_on = 1,         // first button: go on with this file
  select_leave = 2,         // second button: leave this file alone
  select_cancel = 3,        // cancel button, or the screen was closed
  select_go_on_folder = 4,  // go on with every changed file of this folder
  select_leave_folder = 5   // leave every changed file of this folder
};
int select_alert(std::string path, int deleting);

// The texts of the question. In the delete form the labels are crossed
// against the answers: "KEEP THE OLD FILE" answers select_go_on, which
// deletes the file. That inversion is deliberate and kept.
struct select_alert_texts {
  const char* first;
  const char* second;
  const char* labels[5];   // in button order: answers 1, 2, 4, 5, 3
  int answers[5];
};
const select_alert_texts& select_alert_text(int deleting);

int person_pick_folder(int mode, const char* prompt, const char* action, int filter,
                       const char* start, char* result);
int person_agree();
void person_prefs();
void person_open_url(const std::string& url);
