// The scan on several threads against the scan on one: same answers, log and
// panel, and no worker outliving an alert.
#include <fcntl.h>

#include <filesystem>

#include "../files/temp_log.h"
#include "../net/net_support.h"
#include "files/signature.h"
#include "install_fixture.h"

namespace {

int threads_running() { return (int)std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}); }
int threads_expected = 0;  // while the scan paints, when not 0

// The panel goes into the log, between the lines the scan writes there.
void log_panel(float, float value, float, int mode, const std::string&, const std::string& bottom) {
  EXPECT_TRUE(!threads_expected || threads_running() == threads_expected);
  if (mode == dir_progress_examining) xer << "panel " << value << " " << bottom << "\n";
}

struct Scan : install_case {
  std::string list = "I\n840 scan\nINSTALLER\nDIR Zephyra:\n";
  void SetUp() override {
    install_case::SetUp();
    stg.download_os = 4;
    person_hooks.dir_progress_bar = log_panel;
  }
  void TearDown() override { install_case::TearDown(), threads_expected = 0; }
  void row(const std::string& name, int os = 0, const std::string& want = "0f1e2d3c4b5a69788796a5b4c3d2e1f0") {
    const std::string n = std::to_string(list.size() % 1000);
    list += "FILE 0 " + std::to_string(os) + " 840 " + n + " " + n + "0 " + want + " " + name + "\n";
  }
  std::string put(const std::string& name, size_t n) {  // n bytes of noise
    return tmp.put("dest/" + name, net_test::pattern_bytes(n, unsigned(n)));
  }
  // Everything the scan leaves, then the log it wrote.
  std::string scan_with(int threads) {
    temp_log log;
    scan_threads = threads, this_install_has_exes = 0;
    EXPECT_EQ(read_directory(tmp.put("list.txt", list), "Scan"), 3);
    std::ostringstream s;
    s << stg.tot_down << " " << stg.tot_disk << " " << this_install_has_exes << "\n";
    for (auto& e : sim_info)
      for (auto& r : e)
        s << r.row_os << r.down_size << r.disk_size << r.sig_want << r.sig_have << r.have_file << r.file_path << "\n";
    return s.str() + log.text();
  }
};

TEST_F(Scan, EveryThreadCountGivesTheAnswersLogAndPanelOfOneAndAnAlertStopsThemAll) {
  // Sizes at the edges of MD5 blocks, of a read and of a few reads.
  for (size_t n : {0, 1, 55, 56, 63, 64, 65, 65535, 65536, 65537, 131071, 131072, 131073, 393233}) {
    const std::string sig = md5sum_of(put("sized/f" + std::to_string(n), n));
    row("sized:f" + std::to_string(n), n % 3 ? 0 : 4, n % 2 ? sig : "x");
  }
  for (int i = 0; i < 250; ++i)  // enough for the workers to run ahead of the loop
    put("many/m" + std::to_string(i), i * 997 % 150000), row("many:m" + std::to_string(i), i % 5 ? 6 : 2);
  // Case twins, links, a folder, a path through a file, a pipe (which logs),
  // missing files, a withdrawn file and one the list wants absent.
  put("Twin.txt", 5), put("twin.txt", 6), put("blocker", 1), tmp.mkdirs("dest/folder/");
  ASSERT_EQ(symlink("sized/f65536", (dest_dir_path + "link").c_str()) | symlink("sized", (dest_dir_path + "dirlink").c_str()) |
                symlink("nowhere", (dest_dir_path + "dangling").c_str()) | mkfifo((dest_dir_path + "pipe").c_str(), 0644),
            0);
  const int writer = open((dest_dir_path + "pipe").c_str(), O_RDWR | O_NONBLOCK);  // so opening it never blocks
  for (const char* name : {"TWIN.TXT", "Twin.txt", "twin.txt", "link", "dirlink", "dangling", "folder", "blocker:inside",
                           "pipe", "missing", "gone:x", "Many:M7"})
    row(name, 4);
  row("Twin.txt", 0, "GONE"), row("absent", 0, "NONE");

  const std::string one = scan_with(1);
  EXPECT_NE(one.find("pipe\nMem file error.  Err=29, file=" + dest_dir_path + "pipe\npanel"), std::string::npos);
  for (auto& e : sim_info) {  // the answers of signing each file alone
    std::string sig = "NONE";
    calc_file_md5(row_disk_path(e.back()), sig);
    EXPECT_EQ(e.back().sig_have, sig) << e.back().file_path;
  }
  for (int threads : {2, 3, 8}) EXPECT_EQ(scan_with(threads), one) << threads << " threads";

  // Then a path too long for the loop's alert, before sparse files no worker
  // can finish; as on a pool thread, the alert leaves as an exception.
  const int before = threads_running();
  row(std::string(500, 'x'));
  for (int i = 0; i < 4; ++i) {
    ASSERT_EQ(truncate(put("huge" + std::to_string(i), 0).c_str(), 64LL << 30), 0);
    row("huge" + std::to_string(i));
  }
  alert_hooks.on_worker_thread = [] { return true; };
  threads_expected = before + 3;
  EXPECT_THROW(scan_with(3), exce_class);
  EXPECT_EQ(threads_running(), before);
  close(writer);
}

}  // namespace
