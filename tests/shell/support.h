// Shared pieces of the shell tests: the application hooks, a clock the test
// moves, a fresh shell state, and running code in a child process.
#pragma once
#include <functional>
#include <string>
#include <utility>
#include <vector>

// What the pump calls in the application; each test sets what it needs.
extern std::function<void()> on_app_update;
extern std::vector<int> menu_ids_seen;
// Every APP_handlekey call as (mode, code).
extern std::vector<std::pair<int, int>> app_keys_seen;

// The pump's clock, in microseconds, moved by the test.
extern unsigned long long test_now_us;
// Moves the clock by seconds and runs one frame.
void frame_after(double seconds);

// mnw, hooks, menus, strings and the pump's statics back to a fresh start,
// with the test clock in place.
void shell_test_reset();

struct child_result {
  int exit_code = -1;   // -1 when ended by a signal
  int signal = 0;
  std::string out;      // stdout and stderr together
};
// Runs body in a forked child; its exit code is body's return value.
child_result run_in_child(const std::function<int()>& body);
// Runs this test program again, as a copy in its own folder (so its
// Log.txt is private), with one test selected and extra environment.
child_result run_copy(const std::string& folder, const std::string& test,
                      const std::vector<std::string>& env);

std::string read_file(const std::string& path);
std::string make_temp_dir();
void remove_tree(const std::string& path);
