// Shared by the window tests: application hooks, a clock the test moves, a
// fresh shell state, and running code in a child process.
#pragma once
#include <functional>
#include <string>
#include <utility>
#include <vector>

// What the application hooks were called with; on_app_update runs each frame.
extern std::function<void()> on_app_update;
extern std::vector<int> menu_ids_seen;
extern std::vector<std::pair<int, int>> app_keys_seen;   // (mode, code)

extern unsigned long long test_now_us;   // the pump's clock
// Moves the clock by seconds and runs one frame.
void frame_after(double seconds);

// The shell's state back to a fresh start, with the test clock in place.
void shell_test_reset();

struct child_result {
  int exit_code = -1;   // -1 when ended by a signal
  int signal = 0;
  std::string out;      // stdout and stderr together
};
// Runs body in a forked child; its exit code is body's return value.
child_result run_in_child(const std::function<int()>& body);
// Runs one test of a copy of this program in folder (its Log.txt goes
// there), with extra environment.
child_result run_copy(const std::string& folder, const std::string& test,
                      const std::vector<std::string>& env);

std::string read_file(const std::string& path);
std::string make_temp_dir();
void remove_tree(const std::string& path);
