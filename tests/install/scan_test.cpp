// The scan on several threads against the scan on one: same answers, same
// log and panel, and no worker outliving an alert.
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>

#include <thread>

#include "../files/temp_log.h"
#include "files/alert.h"
#include "files/sign_ahead.h"
#include "files/signature.h"
#include "install/directory.h"
#include "install/person.h"
#include "install/stage.h"
#include "install_fixture.h"

namespace {

std::thread::id main_id;
void log_panel(float, float value, float high, int mode, const std::string&, const std::string& bottom) {
  EXPECT_EQ(std::this_thread::get_id(), main_id);
  if (mode == dir_progress_examining) xer << "panel " << value << "/" << high << " " << bottom << "\n";
}

int threads_running() {
  int n = 0;
  DIR* d = opendir("/proc/self/task");
  while (dirent* e = readdir(d)) n += e->d_name[0] != '.';
  closedir(d);
  return n;
}

std::string bytes(size_t n, unsigned seed) {
  std::string s(n, 0);
  for (size_t i = 0; i < n; ++i) s[i] = char((seed * 2654435761u + i * 40503u) >> 13);
  return s;
}

class Scan : public ::testing::Test {
 protected:
  scratch_dir tmp;
  std::string list = "I\n840 scan\nINSTALLER\nDIR Zephyra:\n";
  void SetUp() override {
    set_run_defaults();
    stg.download_os = 4;
    dest_dir_path = tmp.mkdirs("dest/");
    person_hooks = person_hooks_t{};
    person_hooks.dir_progress_bar = log_panel;
    main_id = std::this_thread::get_id();
  }
  void TearDown() override { sim_info.clear(), scan_threads = 0, alert_hooks = alert_hooks_t(); }
  void row(const std::string& name, int os = 0, const std::string& want = "0f1e2d3c4b5a69788796a5b4c3d2e1f0") {
    static int n = 0;
    ++n;
    list += "FILE 0 " + std::to_string(os) + " 840 " + std::to_string(n) + " " + std::to_string(2 * n) + " " +
            want + " " + name + "\n";
  }
  // Everything the scan leaves, and the log it wrote.
  std::string scan_with(int threads) {
    temp_log log;
    scan_threads = threads;
    this_install_has_exes = 0;
    EXPECT_EQ(read_directory(tmp.put("list.txt", list), "Scan"), 3);
    std::ostringstream s;
    s << stg.tot_down << " " << stg.tot_disk << " " << this_install_has_exes << "\n";
    for (auto& e : sim_info)
      for (auto& r : e)
        s << r.row_kind << r.row_os << r.row_tag << " " << r.down_size << " " << r.disk_size << " " << r.sig_want
          << " " << r.sig_have << " " << r.have_file << " " << r.file_path << "\n";
    return s.str() + log.text();
  }
};

TEST_F(Scan, EveryThreadCountGivesTheAnswersLogAndPanelOfOne) {
  // Sizes at the edges of MD5 blocks, of the read size and of a few reads.
  for (size_t n : {0, 1, 55, 56, 63, 64, 65, 65535, 65536, 65537, 131071, 131072, 131073, 393233}) {
    const std::string name = "sized:f" + std::to_string(n), sig = md5sum_of(tmp.put("dest/sized/f" + std::to_string(n), bytes(n, n)));
    row(name, n % 3 ? 0 : 4, n % 2 ? sig : "0f1e2d3c4b5a69788796a5b4c3d2e1f0");
  }
  for (int i = 0; i < 250; ++i) {  // enough for the workers to run ahead of the loop
    tmp.put("dest/many/m" + std::to_string(i), bytes(i * 997 % 150000, i));
    row("many:m" + std::to_string(i), i % 5 == 0 ? 2 : 6);
  }
  // Case twins, links, a folder, a path through a file, a pipe, missing
  // files, a withdrawn file and one the list says is absent.
  tmp.put("dest/Twin.txt", "upper"), tmp.put("dest/twin.txt", "lower"), tmp.put("dest/blocker", "x");
  tmp.mkdirs("dest/folder/");
  ASSERT_EQ(symlink("sized/f65536", (dest_dir_path + "link").c_str()), 0);
  ASSERT_EQ(symlink("sized", (dest_dir_path + "dirlink").c_str()), 0);
  ASSERT_EQ(symlink("nowhere", (dest_dir_path + "dangling").c_str()), 0);
  ASSERT_EQ(mkfifo((dest_dir_path + "pipe").c_str(), 0644), 0);
  const int writer = open((dest_dir_path + "pipe").c_str(), O_RDWR | O_NONBLOCK);  // opening it never blocks
  for (const char* name : {"TWIN.TXT", "Twin.txt", "twin.txt", "link", "dirlink", "dangling", "folder",
                           "blocker:inside", "pipe", "missing", "gone:x", "Many:M7"})
    row(name, 4);
  row("Twin.txt", 0, "GONE"), row("absent", 0, "NONE");

  const std::string one = scan_with(1);
  EXPECT_NE(one.find("pipe\nMem file error.  Err=29, file=" + dest_dir_path + "pipe\npanel"), std::string::npos);
  // The answers are those of signing each file on its own.
  for (size_t i = 0; i < sim_info.size(); ++i) {
    std::string sig = "NONE";
    calc_file_md5(row_disk_path(sim_info[i].back()), sig);
    EXPECT_EQ(sim_info[i].back().sig_have, sig) << sim_info[i].back().file_path;
  }
  for (int threads : {2, 3, 8}) EXPECT_EQ(scan_with(threads), one) << threads << " threads";

  // On one processor the scan keeps to the loop's own thread.
  cpu_set_t all, first;
  ASSERT_EQ(sched_getaffinity(0, sizeof all, &all), 0);
  CPU_ZERO(&first);
  for (int c = 0; !CPU_COUNT(&first); ++c)
    if (CPU_ISSET(c, &all)) CPU_SET(c, &first);
  ASSERT_EQ(sched_setaffinity(0, sizeof first, &first), 0);
  EXPECT_EQ(sign_thread_count(), 1);
  EXPECT_EQ(scan_with(0), one);
  sched_setaffinity(0, sizeof all, &all);
  close(writer);
}

int expected_threads = 0;

TEST_F(Scan, AnAlertInTheMiddleLeavesNoWorkerRunning) {
  const int before = threads_running();
  for (int i = 0; i < 4; ++i) row("small" + std::to_string(i)), tmp.put("dest/small" + std::to_string(i), "s");
  row(std::string(500, 'x'));  // too long a path: the loop's alert
  // Sparse files no worker can finish before the alert.
  for (int i = 0; i < 6; ++i) {
    ASSERT_EQ(truncate(tmp.put("dest/huge" + std::to_string(i), "").c_str(), 64LL << 30), 0);
    row("huge" + std::to_string(i));
  }
  // Raised here as on a pool thread: the alert leaves read_directory as an exception.
  alert_hooks.on_worker_thread = [] { return true; };
  expected_threads = before + 4;
  person_hooks.dir_progress_bar = [](float, float, float, int mode, const std::string&, const std::string&) {
    if (mode == dir_progress_examining) {
      EXPECT_EQ(threads_running(), expected_threads);
    }
  };
  scan_threads = 4;
  try {
    read_directory(tmp.put("list.txt", list), "Scan");
    ADD_FAILURE() << "the scan went on past the alert";
  } catch (const exce_class& e) {
    EXPECT_EQ(e.line1, "String too long!");
  }
  EXPECT_EQ(threads_running(), before);
}

}  // namespace
