#include "support.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "files/cmdline.h"
#include "shell/hooks.h"
#include "shell/menus.h"
#include "shell/pump.h"
#include "shell/window.h"

std::function<void()> on_app_update;
std::vector<int> menu_ids_seen;
std::vector<std::pair<int, int>> app_keys_seen;
unsigned long long test_now_us = 0;

void APP_update() {
  if (on_app_update) on_app_update();
}
void APP_handlekey(int mode, int code) { app_keys_seen.emplace_back(mode, code); }
void APP_handlemenu(int id) { menu_ids_seen.push_back(id); }

static unsigned long long test_clock() { return test_now_us; }

void frame_after(double seconds) {
  test_now_us += static_cast<unsigned long long>(seconds * 1e6 + 0.5);
  MACIBM_event_proc();
}

void shell_test_reset() {
  mnw = mnw_struct();
  shell_hooks = shell_hooks_t();
  on_app_update = nullptr;
  menu_ids_seen.clear();
  app_keys_seen.clear();
  menu.clear();
  for (std::string& s : stls) s.clear();
  stl_input.clear();
  return_hit = 0;
  linkey_shft = linkey_ctrl = linkey_optn = 0;
  active_popup_code = select_popup_code = popup_menu_select = 0;
  cmdline.clear();
  PUMP_reset();
  // Start well away from zero so the clock's first reading is not special.
  test_now_us = 1000000;
  PUMP_set_time_source(test_clock);
}

child_result run_in_child(const std::function<int()>& body) {
  char path[] = "/tmp/shell_child_XXXXXX";
  const int fd = mkstemp(path);
  if (fd < 0) return child_result();
  fflush(stdout);
  fflush(stderr);
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(fd, 1);
    dup2(fd, 2);
    const int code = body();
    fflush(stdout);
    fflush(stderr);
    _exit(code);
  }
  close(fd);
  int status = 0;
  waitpid(pid, &status, 0);
  child_result r;
  r.out = read_file(path);
  unlink(path);
  if (WIFEXITED(status)) r.exit_code = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) r.signal = WTERMSIG(status);
  return r;
}

child_result run_copy(const std::string& folder, const std::string& test,
                      const std::vector<std::string>& env) {
  const std::string exe = folder + "test_shell";
  const std::string copy = "cp /proc/" + std::to_string(getpid()) + "/exe '" + exe + "'";
  if (system(copy.c_str()) != 0) return child_result();
  const std::string filter = "--gtest_filter=" + test;
  return run_in_child([&] {
    for (const std::string& e : env) putenv(const_cast<char*>(e.c_str()));
    execl(exe.c_str(), exe.c_str(), "--gtest_also_run_disabled_tests", filter.c_str(),
          static_cast<char*>(nullptr));
    return 127;
  });
}

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string make_temp_dir() {
  char tmpl[] = "/tmp/shell_test_XXXXXX";
  const char* d = mkdtemp(tmpl);
  return d ? std::string(d) + "/" : std::string();
}

void remove_tree(const std::string& path) {
  if (path.size() < 6 || path.compare(0, 5, "/tmp/") != 0) return;
  std::string cmd = "rm -rf '" + path + "'";
  if (system(cmd.c_str()) != 0) perror("rm");
}
