#include "shell/startup.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "files/alert.h"
#include "files/cmdline.h"
#include "files/log.h"
#include "files/paths.h"
#include "shell/glprobe.h"
#include "shell/hooks.h"
#include "shell/keys.h"
#include "shell/menus.h"
#include "shell/threads.h"
#include "shell/window.h"

float randrat[10000];
float lookup_sin[361];
float lookup_cos[361];

namespace {

// Copies the lines of a /proc file that begin with one of the prefixes.
bool copy_proc_lines(const char* path, const char* const* prefixes, int count) {
  FILE* f = fopen(path, "r");
  if (!f) return false;
  char line[512];
  while (fgets(line, sizeof(line), f))
    for (int i = 0; i < count; ++i)
      if (strncmp(line, prefixes[i], strlen(prefixes[i])) == 0) {
        xer << line;
        break;
      }
  fclose(f);
  return true;
}

void finishup_hook(int save) { MACIBM_finishup(save); }

}  // namespace

std::string LIN_no_display_text() {
  const char* name = getenv("DISPLAY");
  return std::string("Cannot open the X display \"") + (name ? name : "") +
         "\": start the installer on a desktop, or run it with --console to install without a "
         "window.";
}

void MACIBM_set_app_path(std::string* out) {
  std::string folder;
  get_OS_abs_path(0, folder);
  *out = folder;
  // Resource paths stay relative to the current folder; only
  // get_OS_abs_path(0, ...) gives the program's own.
  g_case_sensitive = 1;
  app_path.clear();
}

std::string MACIBM_lang_prefix(int lang) {
  static const char* const kPrefixes[] = {"text:english:", "text:french:",  "text:german:",
                                          "text:italian:", "text:spanish:", "text:portugese:",
                                          "text:korean:"};
  if (lang < 0 || lang > 6) lang = 0;
  return kPrefixes[lang];
}

// No text files are read in this program, so the prefix goes unused.
void MACIBM_setupforlang() { (void)MACIBM_lang_prefix(mnw.lang); }

void IBM_turnoff() {}

int MACIBM_init(int argc, char const* const* argv) {
  // Vary the random sequence from run to run without seeding it.
  const long skip = static_cast<long>(clock()) % 1000;
  for (long i = 0; i < skip; ++i) (void)rand();
  for (float& r : randrat) r = static_cast<float>(rand()) * 4.6561471e-10f;
  for (int d = 0; d <= 360; ++d) {
    lookup_sin[d] = static_cast<float>(sin(d * 0.017453294));
    lookup_cos[d] = static_cast<float>(cos(d * 0.017453294));
  }

  MACIBM_set_app_path(&app_path);
  std::string log_path;
  get_OS_abs_path(0, log_path);
  log_open(log_path + "Log.txt");

  static const char* const kCpu[] = {"processor", "model name", "cpu MHz"};
  if (!copy_proc_lines("/proc/cpuinfo", kCpu, 3)) xer << "Unable to read CPU information.\n";
  static const char* const kMem[] = {"MemTotal"};
  if (!copy_proc_lines("/proc/meminfo", kMem, 1)) xer << "Unable to read mem information.\n";
  xer << "Cirrovan folder=" << app_path << " case sensitive=" << g_case_sensitive << "\n";
  xer.flush();

  cmdline.init_unix(argc, const_cast<const char**>(argv));
  // Typing works on every screen, whichever opens first.
  if (!shell_hooks.handle_key) KEYS_install_hook();
  THREAD_init();
  alert_hooks.finishup = finishup_hook;

  // Without a display there is nothing to draw on: say so plainly, not by a crash.
  if (!LIN_open_display()) {
    const std::string text = LIN_no_display_text();
    fprintf(stderr, "%s\n", text.c_str());
    xer << text << "\n";
    xer.flush();
    THREAD_shutdown();
    return 0;
  }

  // Fixed here: the preferences are read later, by main.
  mnw.x_res_req = 1024;
  mnw.y_res_req = 768;
  mnw.col_res_req = 32;
  mnw.tex_res = 5;
  mnw.lang = 0;

  MACIBM_setres(1);
  if (!MACIBM_make_context(0))
    MACIBM_alert(0,
                 "I could not set up the graphics for Zephyra! I hope your monitor is at 1024x768 "
                 "or higher! It must be!",
                 "You do not meet the system requirements or you do not have OpenGL drivers or "
                 "you entered a bad resolution in Zephyra!",
                 "You need at least 256 meg of RAM, 16 meg of VRAM, and OpenGl drivers for your "
                 "3-D accelerator card!",
                 "If you reset the resolution, you can try launching Zephyra again, since I am "
                 "resetting Zephyra to default resolution now.",
                 alert_fatal);

  if (shell_hooks.pix_specs) shell_hooks.pix_specs(0);
  glExt.init_extensions();
  if (shell_hooks.load_builtin_images) shell_hooks.load_builtin_images();
  if (shell_hooks.init_colours) shell_hooks.init_colours();

  MACIBM_clear_menus(1);
  MACIBM_startwind(-1);
  ogl_inited = 1;
  mnw.lang = 0;
  MACIBM_setupforlang();

  MACIBM_show_init("Will init plugins.", nullptr);
  MACIBM_show_init("Starting application.", nullptr);
  return 1;
}

float MACIBM_init_bar_end(const float* fraction) {
  // The counter lives for the whole process: the start-up's calls stay at the minimum.
  static int counter = 0;
  float f = fraction ? *fraction : static_cast<float>(counter++) * 0.01f;
  if (f < 0.02f) f = 0.02f;
  if (f > 1.0f) f = 1.0f;
  return f * 1008 + mnw.ui_left + 8;
}

void MACIBM_show_init(const std::string& text, float* fraction) {
  if (!plot_init_lights) return;
  const float bar_end = MACIBM_init_bar_end(fraction);
  if (shell_hooks.draw_init_screen) shell_hooks.draw_init_screen(text, bar_end);
}

void MACIBM_finishup(int save) {
  if (save) {
    if (!cmdline.has_option("--fps_test") && shell_hooks.save_prefs) shell_hooks.save_prefs();
    THREAD_shutdown();
  }
  MACIBM_setres(0);
  if (mnw.sec_mon_open) MACIBM_nuke_context(1);
  MACIBM_nuke_context(0);
  xer.close();
  if (dpy) {
    XUngrabKeyboard(dpy, CurrentTime);
    if (cx) {
      glXMakeCurrent(dpy, None, nullptr);
      glXDestroyContext(dpy, cx);
      cx = nullptr;
    }
    if (win) {
      XDestroyWindow(dpy, win);
      win = 0;
    }
    XFlush(dpy);
  }
}

namespace {

// Whether program is an executable file in a folder of PATH.
bool on_path(const char* program) {
  const char* path = getenv("PATH");
  std::string all = path ? path : "";
  for (size_t start = 0; start <= all.size();) {
    size_t end = all.find(':', start);
    if (end == std::string::npos) end = all.size();
    const std::string file = (end > start ? all.substr(start, end - start) : ".") + "/" + program;
    if (access(file.c_str(), X_OK) == 0) return true;
    start = end + 1;
  }
  return false;
}

}  // namespace

int go_to_URL(const std::string& url) {
  if (!on_path("xdg-open")) {
    xer << "go_to_URL: no xdg-open to open " << url << "\n";
    xer.flush();
    return ENOENT;
  }
  fflush(stdout);
  // Two forks, so the browser is nobody's child here and leaves no zombie;
  // the child ends at once, so the wait below is short.
  pid_t child = fork();
  if (child < 0) return errno;
  if (child == 0) {
    pid_t grandchild = fork();
    if (grandchild == 0) {
      char* const argv[] = {const_cast<char*>("xdg-open"), const_cast<char*>(url.c_str()), nullptr};
      execvp("xdg-open", argv);
      _exit(127);
    }
    _exit(grandchild < 0 ? 1 : 0);
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return 0;
}
