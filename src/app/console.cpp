#include "app/console.h"

#include <ftw.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "app/stage_work.h"
#include "files/alert.h"
#include "files/cmdline.h"
#include "files/log.h"
#include "files/number_text.h"
#include "files/paths.h"
#include "install/directory.h"
#include "install/person.h"
#include "install/preferences.h"
#include "install/selection.h"
#include "install/servers.h"
#include "install/stage.h"
#include "install/streams.h"
#include "net/clock.h"
#include "net/http.h"

const char* const kConsoleUsageText[] = {
    "",
    "INSTALLER OPTIONS",
    "zephyra-installer -path DIR --console [--agree] [--changed=ask|keep|overwrite|cancel]",
    "                  [--verify] [--server=HOST] [--wait=SECONDS]",
    "zephyra-installer --version",
    "-path DIR",
    "The folder to install into or update; it must come first. Without it the",
    "folder remembered from the last run is used (the first time, your home folder).",
    "--console",
    "Installs without a window: no display is needed. Progress is printed, and",
    "downloads wait in a folder of the run's own under $TMPDIR, or /tmp.",
    "--agree",
    "Accepts the agreement, which is printed; otherwise it is asked on a terminal.",
    "--changed=ask|keep|overwrite|cancel",
    "Answers every question about a file you changed by hand: keep your file,",
    "overwrite (or delete) it, or cancel the installation. Without a terminal and",
    "without this option your file is kept.",
    "--verify",
    "Lists what an installation would fetch, delete and ask about, and changes nothing.",
    "--server=HOST",
    "Takes the server list from HOST instead of the maker's main server, for this run.",
    "--wait=SECONDS",
    "Gives up when no server has sent a byte for this long (default 300). A server",
    "that refuses is asked again after 1 s, then 2, 4 and so on up to 30 s.",
    "--version",
    "Prints the installer's version and build, then quits.",
    "",
    "EXIT STATUS OF --console",
    "0  installed, nothing was needed, or --verify finished",
    "1  the installation failed",
    "2  the agreement was refused, or there was no terminal to ask it on",
    "3  cancelled at a question about a changed file",
    "4  the server list or the directory list can't be used by this installer",
    "5  wrong console options",
    "6  no server sent anything for --wait seconds",
    nullptr,
};

namespace {

enum changed_mode { changed_ask, changed_keep, changed_overwrite, changed_cancel };

struct console_options {
  bool agree = false;
  bool verify = false;
  changed_mode changed = changed_ask;
  bool changed_given = false;
  long wait = 300;  // seconds without a byte from any server before giving up
};
console_options opt;

// A question in the dry pass is noted, not asked.
bool dry_pass = false;
// After a refusal the run ends anyway; nobody is asked about files.
bool refused = false;
struct asked_file {
  std::string path;
  int deleting;
};
std::vector<asked_file> asked;

bool stdin_tty() { return isatty(STDIN_FILENO) == 1; }

// ---- output: rewritten in place on a terminal, a line now and then otherwise

struct console_screen {
  bool tty = false;
  int live_rows = 0;  // rows of the block now on screen, to be rewritten
  float last_show = -100;
  std::string last_message, last_lines;
  int last_failed = 0;
};
console_screen scr;

size_t terminal_width() {
  winsize ws{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &ws) == 0 && ws.ws_col > 1) return ws.ws_col - 1;
  return 79;
}

// Ends the live block so the next text starts on a line of its own.
void say(const std::string& text) {
  scr.live_rows = 0;
  printf("%s\n", text.c_str());
  fflush(stdout);
}

void show(const stage_text& message, const stage_lines& lines, bool force) {
  const std::string texts[4] = {message.text, lines.line[0].text, lines.line[1].text,
                                lines.line[2].text};
  if (scr.tty) {
    if (!force && xtim.real_time < scr.last_show + 0.1f) return;
    scr.last_show = xtim.real_time;
    // Clipped to the width, so each text takes exactly one row to rewrite.
    const size_t width = terminal_width();
    if (scr.live_rows) printf("\033[%dA", scr.live_rows);
    for (const std::string& t : texts) printf("\r\033[K%s\n", t.substr(0, width).c_str());
    scr.live_rows = 4;
    fflush(stdout);
    return;
  }
  if (message.text != scr.last_message) {
    scr.last_message = message.text;
    say(message.text);
  }
  std::string joined;
  // The end is told by the state message and the first line alike; once is enough.
  for (int i = 1; i < 4; ++i)
    if (!texts[i].empty() && texts[i] != message.text) joined += texts[i] + "\n";
  // A failure shows at once and so does its end; the rest every few seconds.
  const bool flipped = stg.file_failed != scr.last_failed;
  scr.last_failed = stg.file_failed;
  if (joined == scr.last_lines) return;
  if (!force && !flipped && xtim.real_time < scr.last_show + 3) return;
  scr.last_show = xtim.real_time;
  scr.last_lines = joined;
  printf("%s", joined.c_str());
  fflush(stdout);
}

// ---- the frame clock the window's pump would keep

void console_frame() {
  static float ten_start = 0, last_tick = 0;
  static int frames = 0;
  xtim.real_time = static_cast<float>(xtim.microsecs() * 1e-6);
  xtim.ot10 = 0;
  if (xtim.real_time > last_tick + 0.1f) {
    xtim.ot10 = 1;
    last_tick = xtim.real_time;
  }
  if (++frames % 10 == 0) {
    float period = (xtim.real_time - ten_start) * 0.1f;
    if (period < 0.0001f) period = 0.0001f;
    if (period > 0.1f) period = 0.1f;
    xtim.prd_UI = period;
    ten_start = xtim.real_time;
  }
  ++xtim.frame_count;
}

// Everything that moves while a download makes headway.
long long progress_mark() {
  long long m = next.next_file * 1000003LL + stg.stage * 7 + stg.dir_state * 11 +
                stg.server_count * 13 + static_cast<long long>(next.bytes_done_b);
  for (int s = 0; s < stream_max; ++s) m += next.stream_entry[s] * 31LL + next.stream_fresh[s];
  for (const down_class* d : http.down_objects)
    if (d)
      m += 1 + d->bytes_done + static_cast<long long>(d->in_buf.size()) +
           static_cast<long long>(d->out_buf.size()) * 3 + d->status_code * 17LL +
           (d->header_done ? 19 : 0);
  return m;
}

// A stalled server must not cost a core: when nothing moved since the last
// look, wait before polling again, longer the longer it stays still.
void rest_if_idle() {
  static long long last = -1;
  static useconds_t rest = 0;
  const long long mark = progress_mark();
  if (mark != last) {
    rest = 0;
  } else {
    rest = rest == 0 ? 1000 : (rest < 16000 ? rest * 2 : 16000);
    usleep(rest);
  }
  last = mark;
}

// True once no server has sent a byte for opt.wait seconds; restart() starts
// the count again (after the person was asked something).
struct silence_watch {
  long long last_bytes = -1;
  double since = 0;
  bool ended = false;  // seen during a slice; the run loop stops on it
  void restart() { last_bytes = -1; }
  bool too_long() {
    const double now = static_cast<double>(xtim.microsecs()) * 1e-6;
    if (net_bytes_received != last_bytes) {
      last_bytes = net_bytes_received;
      since = now;
    }
    return now - since >= static_cast<double>(opt.wait);
  }
};
silence_watch silence;

// Between the transfer's calls: a failure that comes and goes inside one
// slice would never reach a frame's lines, so it is shown as it happens.
void between_calls() {
  if (stg.file_failed && !scr.last_failed) show(stage_state_message(), stage_failure_lines(), true);
  if (silence.too_long()) silence.ended = true;
  rest_if_idle();
}

// ---- the person's side: agreement, changed files, chooser, browser

std::string read_answer() {
  char buf[64];
  if (!fgets(buf, sizeof buf, stdin)) return "";
  std::string s = buf;
  while (!s.empty() && (s.back() == '\n' || s.back() == '\r' || s.back() == ' ')) s.pop_back();
  return s;
}

int console_agree() {
  say("");
  for (const char* text : kAgreementTexts) say(text);
  say("");
  if (opt.agree) {
    say("Agreed (--agree).");
    return 1;
  }
  refused = true;
  if (!stdin_tty()) return 0;
  printf("Do you agree? Type yes to agree: ");
  fflush(stdout);
  const std::string a = read_answer();
  refused = !(a == "yes" || a == "y" || a == "YES" || a == "Y");
  return refused ? 0 : 1;
}

int console_question(const std::string& path, int deleting) {
  if (dry_pass) {
    asked.push_back({path, deleting});
    return select_leave;
  }
  if (refused) return select_cancel;
  // Answered by meaning: keep leaves the user's file where it is, in either form.
  if (opt.changed == changed_keep) return select_leave;
  if (opt.changed == changed_overwrite) return select_go_on;
  if (opt.changed == changed_cancel) return select_cancel;
  const select_alert_texts& t = select_alert_text(deleting);
  if (!stdin_tty()) {
    say(std::string("Kept your changed file ") + path + " (no terminal to ask on).");
    return select_leave;
  }
  say(t.first);
  say("  " + path);
  say(t.second);
  for (int i = 0; i < 5; ++i) say("  " + std::to_string(i + 1) + ") " + t.labels[i]);
  for (;;) {
    printf("Answer 1-5: ");
    fflush(stdout);
    const std::string a = read_answer();
    if (feof(stdin)) return select_leave;
    if (a.size() == 1 && a[0] >= '1' && a[0] <= '5') return t.answers[a[0] - '1'];
  }
}

// The chooser is not shown: the folder check_dest_path settled stands.
int console_chooser(int, const char*, const char*, int, const char*, char*) { return 0; }

void console_open_url(const std::string& url) { say("See " + url); }

// ---- the run

struct work_plan {
  std::vector<std::string> fetch, remove;
  float down = 0, disk = 0;
};

// choose_files without asking anyone: what the installation would do, and
// which changed files it would ask about. START decides afresh later.
work_plan plan_work() {
  asked.clear();
  dry_pass = true;
  choose_files();
  dry_pass = false;
  work_plan plan;
  for (const auto& entry : sim_info) {
    if (entry.empty()) continue;
    const file_version_struct& r = entry.back();
    if (r.want_down) {
      plan.fetch.push_back(row_disk_path(r));
      plan.down += r.down_size;
      plan.disk += r.disk_size;
    }
    if (r.want_del) plan.remove.push_back(row_disk_path(r));
  }
  return plan;
}

std::string size_text(float kilobytes) {
  std::string s;
  set_size_str(kilobytes, &s);
  return s;
}

void print_plan(const work_plan& plan) {
  for (const std::string& p : plan.fetch) say("fetch   " + p);
  for (const std::string& p : plan.remove) say("delete  " + p);
  for (const asked_file& a : asked)
    say(std::string("ask     ") + a.path + (a.deleting ? " (changed by hand, withdrawn)" : " (changed by hand)"));
  say("Totals: " + std::to_string(plan.fetch.size()) + " files to fetch (" + size_text(plan.down) +
      " to download, " + size_text(plan.disk) + " to install), " +
      std::to_string(plan.remove.size()) + " to delete, " + std::to_string(asked.size()) +
      " to ask about.");
}

int remove_entry(const char* path, const struct stat*, int, FTW*) { return remove(path); }

// Two console runs may share a machine; a folder of its own keeps their
// lists and archives apart. TMPDIR, when set, says where it goes.
std::string private_temp;
void make_private_temp() {
  const char* tmpdir = getenv("TMPDIR");
  std::string tmpl = (tmpdir && *tmpdir ? std::string(tmpdir) + "/" : temp_path) + "zephyra-XXXXXX";
  std::vector<char> buf(tmpl.begin(), tmpl.end());
  buf.push_back(0);
  if (mkdtemp(buf.data())) {
    private_temp = buf.data();
    temp_path = private_temp + "/";
  }
}

int finish(int status, bool save) {
  for (int s = 0; s < 6; ++s) {
    delete http.down_objects[s];
    http.down_objects[s] = nullptr;
  }
  if (save) pref.IO_set(pref_set_installer, 1);
  if (!private_temp.empty()) nftw(private_temp.c_str(), remove_entry, 8, FTW_DEPTH | FTW_PHYS);
  xer << "console run ends with status " << status << "\n";
  xer.close();
  return status;
}

int give_up() {
  say("No server has sent anything for " + std::to_string(opt.wait) + " seconds; giving up.");
  return console_silent;
}

bool parse_options(int argc, char const* const* argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i] ? argv[i] : "";
    // "-path --console" would otherwise install into a folder named "--console".
    if (a == "-path" && i == 1 && (i + 1 >= argc || !argv[i + 1] || argv[i + 1][0] == '-' ||
                                   argv[i + 1][0] == 0)) {
      fprintf(stderr, "-path needs a folder after it.\n");
      return false;
    }
    if (a == "-path" && i == 1) {
      ++i;
      continue;
    }
    // Read only in first place, so anywhere else it would silently not count.
    if (a == "-path" && i != 1) {
      fprintf(stderr, "-path and its folder must come first.\n");
      return false;
    }
    if (a == "--agree") opt.agree = true;
    if (a == "--verify") opt.verify = true;
    if (a.rfind("--changed=", 0) == 0) {
      const std::string v = a.substr(10);
      opt.changed_given = true;
      if (v == "ask") opt.changed = changed_ask;
      else if (v == "keep") opt.changed = changed_keep;
      else if (v == "overwrite") opt.changed = changed_overwrite;
      else if (v == "cancel") opt.changed = changed_cancel;
      else {
        fprintf(stderr, "--changed takes ask, keep, overwrite or cancel, not \"%s\".\n", v.c_str());
        return false;
      }
    }
    if (a.rfind("--wait", 0) == 0) {
      char* end = nullptr;
      const char* v = a.size() > 7 && a[6] == '=' ? a.c_str() + 7 : "";
      const long seconds = strtol(v, &end, 10);
      if (!*v || *end || seconds < 1 || seconds > 1000000) {
        fprintf(stderr, "--wait takes a number of seconds, as in --wait=300.\n");
        return false;
      }
      opt.wait = seconds;
    }
    if (a == "--server" || a == "--server=") {
      fprintf(stderr, "--server needs a host name.\n");
      return false;
    }
  }
  return true;
}

bool has_arg(int argc, char const* const* argv, const char* name) {
  for (int i = 1; i < argc; ++i)
    if (argv[i] && std::strcmp(argv[i], name) == 0) return true;
  return false;
}

}  // namespace

bool console_wanted(int argc, char const* const* argv) { return has_arg(argc, argv, "--console"); }

int console_main(int argc, char const* const* argv) {
  if (has_arg(argc, argv, "--help") || has_arg(argc, argv, "-h")) {
    usage_tail = kConsoleUsageText;
    print_usage();
    return console_done;
  }
  if (!parse_options(argc, argv)) return console_bad_options;

  // The shell's start-up, less everything that needs a display.
  const long skip = static_cast<long>(clock()) % 1000;
  for (long i = 0; i < skip; ++i) (void)rand();
  g_case_sensitive = 1;
  app_path.clear();
  std::string program_folder;
  get_OS_abs_path(0, program_folder);
  log_open_beside(program_folder);
  cmdline.init_unix(argc, argv);
  xer << "console front end\n";

  person_hooks = person_hooks_t{};
  person_hooks.select_alert = console_question;
  person_hooks.GetFilePathFromUser = console_chooser;
  person_hooks.handle_EULA = console_agree;
  person_hooks.go_to_URL = console_open_url;
  scr = console_screen{};
  scr.tty = isatty(STDOUT_FILENO) == 1;

  if (cmdline.has_option("--server")) main_server = cmdline.get_option("--server");
  // A script may run for days against a refusing server: ask it less and less often.
  http.retry_wait_max = 30;
  silence = silence_watch{};

  stage_main_start(argc, argv);
  make_private_temp();
  stage_reset_frame_state();
  say("Destination: " + dest_dir_path);

  // Stage 0: the server list, the directory list, the scan.
  while (stg.dir_state != 3) {
    console_frame();
    stage_server_step();
    stage_build_paths();
    stage_list_step();
    stage_read_list();
    if (app_done || stg.dir_state == 2) {
      say("This installer can't use what the servers publish now.");
      return finish(console_bad_list, false);
    }
    if (silence.too_long()) return finish(give_up(), false);
    const stage_lines lines = stage_work_and_lines();
    show(stage_state_message(), lines, false);
    if (stg.server_count == 0) return finish(console_bad_list, false);
    rest_if_idle();
  }
  show(stage_state_message(), stage_work_and_lines(), true);

  const work_plan plan = plan_work();
  if (opt.verify) {
    print_plan(plan);
    return finish(console_done, false);
  }
  if (plan.fetch.empty() && plan.remove.empty() && asked.empty()) {
    say("Nothing to do.");
    return finish(console_done, true);
  }

  if (!opt.agree && !stdin_tty()) {
    say("");
    for (const char* text : kAgreementTexts) say(text);
    say("");
    say("The agreement above must be accepted to install. There is no terminal to ask on: "
        "run again with --agree to accept it.");
    return finish(console_refused, false);
  }
  if (!stage_start_enabled()) return finish(console_failed, false);
  const int agreed = stage_start();
  if (stg.stage != 1) {
    say(agreed ? "The installation was cancelled." : "The agreement was not accepted.");
    return finish(agreed ? console_cancelled : console_refused, true);
  }

  // Stage 1: ten-millisecond slices until grab_files is through.
  silence.restart();
  while (stg.stage == 1 && !silence.ended) {
    console_frame();
    stage_activity_icon();
    const stage_lines lines = stage_work_and_lines(between_calls);
    show(stage_state_message(), lines, false);
  }
  if (silence.ended) {
    next.reset_all_streams();
    return finish(give_up(), true);
  }
  show(stage_state_message(), stage_work_and_lines(), true);
  return finish(stg.install_failed ? console_failed : console_done, true);
}
