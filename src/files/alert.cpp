#include "files/alert.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "files/cmdline.h"
#include "files/log.h"

int app_done = 0;
int ogl_inited = 0;
alert_hooks_t alert_hooks;

namespace {

// Set for the length of one alert; a second alert while it is set means the
// first one's own loop failed, and the process can't be trusted to go on.
int in_alert = 0;

const char* safe(const char* s) { return s ? s : ""; }

// The place names the unit from the top of the source tree, whatever folder
// the build ran in: a user's screen has no business with the build machine's paths.
std::string source_unit(const char* file) {
  const std::string f = safe(file);
  size_t from = std::string::npos;
  for (const char* top : {"src/", "tests/", "tools/", "bench/"}) {
    for (size_t at = f.find(top); at != std::string::npos; at = f.find(top, at + 1))
      if ((at == 0 || f[at - 1] == '/') && (from == std::string::npos || at > from)) from = at;
  }
  return from == std::string::npos ? f : f.substr(from);
}

void log_block(const std::string lines[4], const std::string& place) {
  for (int i = 0; i < 4; ++i) xer << lines[i] << '\n';
  xer << place << '\n';
  xer.flush();
}

}  // namespace

void __MACIBM_alert(int window, std::string line1, std::string line2, std::string line3,
                    std::string line4, int level, const char* file, int line) {
  // A worker can't draw: the texts travel to the main thread as an exception.
  if (alert_hooks.on_worker_thread && alert_hooks.on_worker_thread())
    throw exce_class(line1, line2, line3, line4, file, line);

  const std::string lines[4] = {line1, line2, line3, line4};
  const std::string place = "(" + source_unit(file) + " line " + std::to_string(line) + ")";

  // Unattended test runs must never wait for a user.
  if (cmdline.has_option("--fps_test")) {
    log_block(lines, place);
    if (level == alert_fatal) exit(1);
    return;
  }

  const int nested = in_alert;
  in_alert = 1;

  if (!ogl_inited || nested || !alert_hooks.show_screen) {
    puts("Cirrovan Error:");
    printf("%s\n\n%s\n\n%s\n\n%s\n\n", line1.c_str(), line2.c_str(), line3.c_str(),
           line4.c_str());
    puts("Sorry.");
    fflush(stdout);
  } else if (!(line1.empty() && line2.empty() && line3.empty() && line4.empty())) {
    alert_hooks.show_screen(window, lines, level, place);
  }

  if (nested || level == alert_warning || level == alert_fatal) log_block(lines, place);

  if (nested || level == alert_fatal) {
    if (alert_hooks.finishup)
      alert_hooks.finishup(0);
    else
      xer.flush();
    app_done = 1;
    abort();
  }
  in_alert = 0;
}

exce_class::exce_class(std::string l1, std::string l2, std::string l3, std::string l4,
                       const char* f, int ln)
    : line1(std::move(l1)), line2(std::move(l2)), line3(std::move(l3)), line4(std::move(l4)),
      file(f ? f : ""), line(ln) {}

void exce_class::ReportAndContinue() {
  if (alert_hooks.on_worker_thread && alert_hooks.on_worker_thread()) {
    xer << "EXCEPTION REPORTED FROM THREAD!!  File: " << file << ", line " << line << ".\n"
        << line1 << '\n'
        << line2 << '\n'
        << line3 << '\n'
        << line4 << '\n';
    xer.flush();
    return;
  }
  __MACIBM_alert(0, line1, line2, line3, line4, alert_warning, file, line);
}

void exce_class::LogAndContinue() {
  xer << "Logging Exception thrown from file: " << file << ", line " << line << ".\n"
      << line1 << '\n'
      << line2 << '\n'
      << line3 << '\n'
      << line4 << '\n';
  xer.flush();
}
