#include "install/person.h"

#include <cstdlib>

#include "files/alert.h"
#include "files/log.h"

person_hooks_t person_hooks;

namespace {

// A call that needs an answer from a person while no screen has been
// installed is a wiring fault of the program, not something to guess around.
[[noreturn]] void no_provider(const char* what) {
  MACIBM_alert(0, std::string("No screen is installed for ") + what + "!",
               "The installer needs an answer from you here and cannot ask for one.", "", "",
               alert_fatal);
  abort();  // the fatal alert does not return; this keeps the compiler sure of it
}

const select_alert_texts kInstallTexts = {
    "I am about to install:",
    "but it appears you have modified this file. What to do?",
    {"OVERWRITE THE OLD FILE", "KEEP THE OLD FILE", "OVERWRITE EVERY OLD FILE IN THIS DIRECTORY",
     "KEEP EVERY OLD FILE IN THIS DIRECTORY", "CANCEL THE WHOLE INSTALLATION!"},
    {select_go_on, select_leave, select_go_on_folder, select_leave_folder, select_cancel}};

const select_alert_texts kDeleteTexts = {
    "I am about to DELETE:",
    "because we no longer use this file, but it appears you have modified it. What to do?",
    {"KEEP THE OLD FILE", "DELETE THE OLD FILE", "KEEP EVERY OLD FILE IN THIS DIRECTORY",
     "DELETE EVERY OLD FILE IN THIS DIRECTORY", "CANCEL THE WHOLE INSTALLATION!"},
    {select_go_on, select_leave, select_go_on_folder, select_leave_folder, select_cancel}};

}  // namespace

const char* dir_progress_mode_text(int mode) {
  return mode == dir_progress_parsing ? "Currently SCANNING the directory text file."
                                      : "Currently EXAMINING the hard disk.";
}

float dir_progress_fill(float low, float value, float high) {
  if (low == high) return 0.52f;
  float f = 0.04f + 0.96f * (value - low) / (high - low);
  if (f < 0.04f) f = 0.04f;
  if (f > 1.0f) f = 1.0f;
  return f;
}

void dir_progress_bar(float low, float value, float high, int mode, std::string top_text,
                      std::string bottom_text) {
  // Nothing to paint on the console road.
  if (person_hooks.dir_progress_bar)
    person_hooks.dir_progress_bar(low, value, high, mode, top_text, bottom_text);
}

const select_alert_texts& select_alert_text(int deleting) {
  return deleting ? kDeleteTexts : kInstallTexts;
}

int select_alert(std::string path, int deleting) {
  if (!person_hooks.select_alert) no_provider("the changed-file question");
  return person_hooks.select_alert(path, deleting);
}

int person_pick_folder(int mode, const char* prompt, const char* action, int filter,
                       const char* start, char* result) {
  if (!person_hooks.GetFilePathFromUser) no_provider("the folder chooser");
  return person_hooks.GetFilePathFromUser(mode, prompt, action, filter, start, result);
}

int person_agree() {
  if (!person_hooks.handle_EULA) no_provider("the agreement");
  return person_hooks.handle_EULA();
}

void person_prefs() {
  // The settings screen answers nothing, so without it there is nothing to do.
  if (person_hooks.handle_prefs) person_hooks.handle_prefs();
}

void person_open_url(const std::string& url) {
  if (person_hooks.go_to_URL) {
    person_hooks.go_to_URL(url);
    return;
  }
  xer << "go_to_URL: " << url << '\n';
  xer.flush();
}
