// The one message screen of the system, and the exception that carries an
// alert off a worker thread. The core only knows the console road; the app
// installs the screen road at start-up, so the core links no graphics.
#pragma once
#include <string>

enum { alert_note = 0, alert_warning = 1, alert_fatal = 2 };

extern int app_done;      // non-zero ends the frame loop
extern int ogl_inited;    // set by the shell once drawing works

void __MACIBM_alert(int window, std::string line1, std::string line2, std::string line3,
                    std::string line4, int level, const char* file, int line);

// Raise an alert with the place of the call filled in.
#define MACIBM_alert(window, l1, l2, l3, l4, level) \
  __MACIBM_alert((window), (l1), (l2), (l3), (l4), (level), __FILE__, __LINE__)

// What the app provides. Any hook left null takes the console behaviour.
struct alert_hooks_t {
  // Runs the alert screen loop until the user accepts (step 7 of the alert).
  void (*show_screen)(int window, const std::string lines[4], int level,
                      const std::string& place) = nullptr;
  // Ends the shell before the process is aborted (MACIBM_finishup).
  void (*finishup)(int save_prefs) = nullptr;
  // True when worker threads are running and the caller is not the main thread.
  bool (*on_worker_thread)() = nullptr;
};
extern alert_hooks_t alert_hooks;

class exce_class {
 public:
  std::string line1, line2, line3, line4;
  const char* file = "";
  int line = 0;

  exce_class() = default;
  exce_class(std::string l1, std::string l2, std::string l3, std::string l4, const char* f, int ln);
  virtual ~exce_class() = default;
  exce_class(const exce_class&) = default;
  exce_class& operator=(const exce_class&) = default;

  void ReportAndContinue();
  void LogAndContinue();
};
