// The publisher against the installer's own readers, md5sum and Info-ZIP;
// bad input must leave the mirror untouched.
#include <sys/wait.h>

#include <algorithm>

#include "../install/install_fixture.h"
#include "../net/net_support.h"
#include "files/zip.h"
#include "install/servers.h"
#include "publish/publish.h"

namespace {

std::string sh_quote(const std::string& s) {
  std::string q = "'";
  for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

using net_test::shell_output;

std::string read_file(const std::string& path) { return shell_output("cat " + sh_quote(path) + " 2>/dev/null"); }

// The real program, its output in where + "out.txt" and "err.txt".
int run_program(const std::vector<std::string>& args, const std::string& where, const std::string& prefix = "") {
  std::string cmd = prefix + sh_quote(ZEPHYRA_BINARY_DIR "/zephyra-publish");
  for (const std::string& a : args) cmd += " " + sh_quote(a);
  int status = std::system((cmd + " >" + sh_quote(where + "out.txt") + " 2>" + sh_quote(where + "err.txt")).c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

struct stat lstat_of(const std::string& path) {
  struct stat st{};
  EXPECT_EQ(lstat(path.c_str(), &st), 0) << path;
  return st;
}

// A mirror "as it was": every entry's kind, size, mode, time and inode. A
// folder's own time moves when an entry comes and goes, so it is left out.
std::string snapshot(const std::string& root) {
  return shell_output("cd " + sh_quote(root) +
                   " 2>/dev/null && find . -type d -printf '%p %m\\n' -o -printf '%p %y %s %m %T@ %i\\n' | sort");
}

struct Publisher : install_case {
  const std::string product = tmp.mkdirs("src/Zephyra/"), mirror = tmp.path + "mirror/";
  void TearDown() override { install_case::TearDown(), publish_stop = false; }

  std::string put(const std::string& rel, const std::string& bytes) { return tmp.put("src/Zephyra/" + rel, bytes); }

  // In-process; previous is a release of this mirror or a full path. The error, or "".
  std::string publish(const std::string& release, const std::string& previous = "",
                      std::vector<platform_rule> rules = {}, publish_summary* out = nullptr) {
    std::string prev = previous.empty() || previous[0] == '/' ? previous : mirror + previous + "/directory.txt.zip";
    publish_options opt{product, release, mirror, prev, {}, rules};
    publish_summary sum;
    std::string error;
    int rc = publish_release(opt, sum, error);
    if (out) *out = sum;
    return rc == 0 ? "" : error + " (failed)";
  }

  void read_release(const std::string& release, const std::string& dest) {
    std::string unpacked = tmp.mkdirs("list_" + release + "/");
    ASSERT_EQ(zip_to_file(mirror + release + "/directory.txt.zip", unpacked, nullptr, 0), 0);
    dest_dir_path = dest;
    ASSERT_EQ(read_directory(unpacked + "directory.txt", "test"), 3);
  }

  // As the installer does: file path + ".zip", unpacked into its folder.
  void install(const std::string& release, const std::string& dest) {
    read_release(release, dest);
    for (const auto& entry : sim_info) {
      const file_version_struct& r = entry.back();
      if (r.sig_want == "GONE") continue;
      std::string disk = row_disk_path(r);
      std::string folder = disk.substr(0, disk.rfind('/') + 1);
      shell_output("mkdir -p " + sh_quote(folder));
      ASSERT_EQ(zip_to_file(mirror + release + "/" + r.file_path + ".zip", folder, nullptr, 0, dest), 0) << r.file_path;
    }
  }

  const std::vector<file_version_struct>& rows_of(const std::string& path) {
    static const std::vector<file_version_struct> none;
    for (const auto& entry : sim_info)
      if (entry.back().file_path == path) return entry;
    ADD_FAILURE() << "no entry for " << path;
    return none;
  }
};

TEST_F(Publisher, InstalledTreeEqualsTheSourceWithModesDatesAndLinks) {
  chmod(put("bin/zephyra", std::string(200000, 'x') + "tail").c_str(), 0755);
  put("Resources/fonts/font map.txt", "blank in the name\n");
  put("Resources/empty.dat", "");
  put("Resources/noise.dds", net_test::pattern_bytes(300000, 3));
  ASSERT_EQ(symlink("zephyra", (product + "bin/run").c_str()), 0);
  ASSERT_EQ(symlink("../Resources", (product + "bin/res").c_str()), 0);
  shell_output("touch -d @1236000007 " + sh_quote(product + "bin/zephyra"));  // odd second: zip dates count in twos

  ASSERT_EQ(run_program({"--product", product, "--release=8.60r2", "--out", mirror, "--mirror",
                         "mirror1.example.com,/pub/sim/,Mirror one, fast in Europe", "--mirror=m2.example.com,pub,Two"},
                        tmp.path), 0) << read_file(tmp.path + "err.txt");
  EXPECT_NE(read_file(tmp.path + "out.txt").find("6 files: 6 packed, 0 reused"), std::string::npos);
  EXPECT_EQ(shell_output("find " + sh_quote(mirror) + " -name '*.publish-*'"), "");

  std::string dest = tmp.mkdirs("dest/");
  install("8.60r2", dest);
  ASSERT_EQ(sim_info.size(), 6u);
  for (const char* f : {"bin/zephyra", "Resources/fonts/font map.txt", "Resources/empty.dat", "Resources/noise.dds"}) {
    struct stat a = lstat_of(product + f), b = lstat_of(dest + f);
    EXPECT_EQ(read_file(product + f), read_file(dest + f)) << f;
    EXPECT_EQ(a.st_mode, b.st_mode) << f;
    EXPECT_EQ(a.st_mtime / 2 * 2, b.st_mtime) << f;
  }
  for (const char* l : {"bin/run", "bin/res"})
    EXPECT_EQ(shell_output("readlink " + sh_quote(dest + l)), shell_output("readlink " + sh_quote(product + l))) << l;

  // A second scan finds every file right, links included, and the
  // signatures are md5sum's. List paths carry the product's own name.
  read_release("8.60r2", dest);
  for (const auto& entry : sim_info) EXPECT_EQ(entry.back().have_file, 1) << entry.back().file_path;
  EXPECT_EQ(rows_of("Zephyra/bin/zephyra").back().sig_want, md5sum_of(product + "bin/zephyra"));
  EXPECT_EQ(rows_of("Zephyra/bin/run").back().sig_want, md5sum_of(product + "bin/zephyra"));
  // A link to a folder can't be signed, by the installer either.
  EXPECT_EQ(rows_of("Zephyra/bin/res").back().sig_want, "NONE");
  const file_version_struct& big = rows_of("Zephyra/bin/zephyra").back();
  EXPECT_EQ(big.disk_size, 201);  // whole thousands, rounded up
  EXPECT_EQ(big.down_size, (float)((lstat_of(mirror + "8.60r2/Zephyra/bin/zephyra.zip").st_size + 999) / 1000));

  // Info-ZIP sees a Unix mode on a deflated entry.
  std::string z = shell_output("unzip -Z " + sh_quote(mirror + "8.60r2/Zephyra/bin/zephyra.zip"));
  for (const char* word : {"-rwxr-xr-x", "unx", "defN", " zephyra\n"})
    EXPECT_NE(z.find(word), std::string::npos) << word << " in " << z;
  // Data that deflate can't shrink is stored: method 0 in the local header.
  EXPECT_EQ(read_file(mirror + "8.60r2/Zephyra/Resources/noise.dds.zip").substr(8, 2), std::string(2, '\0'));

  ASSERT_EQ(read_server_list(mirror + "serverlist.txt"), 1);
  EXPECT_EQ(install_name, "8.60r2");
  EXPECT_EQ(server_desc[0], "Mirror one, fast in Europe");
  EXPECT_EQ(server_path[1], "/pub/8.60r2/");
}

TEST_F(Publisher, PlatformRulesFirstMatchWinsAndStarCrossesFolders) {
  std::vector<platform_rule> rules = {{"bin/win/*", 2}, {"*.exe", 3}, {"bin/*", 6}};
  EXPECT_EQ(platform_of("bin/win/a/b.exe", rules), 2);
  EXPECT_EQ(platform_of("tools/x.exe", rules), 3);
  EXPECT_EQ(platform_of("bin/linux/run", rules), 6);
  EXPECT_EQ(platform_of("bin", rules), 0);
}

// Changed, withdrawn, returning and re-platformed files, and which archives
// the next release may take over.
TEST_F(Publisher, ReleasesAfterReleaseGiveTheRowsAReaderNeeds) {
  put("keep.txt", "never changes");
  put("a.txt", "a one");
  put("b.txt", "b one");
  put("mover.bin", "moves between platforms");
  publish_summary s;
  ASSERT_EQ(publish("1.0"), "");
  std::string dest = tmp.mkdirs("dest/");
  install("1.0", dest);

  put("a.txt", "a two, longer");
  ASSERT_EQ(unlink((product + "b.txt").c_str()), 0);
  put("c.txt", "c is new");
  ASSERT_EQ(publish("2.0", "1.0", {{"*.bin", 2}}, &s), "");
  EXPECT_EQ(s.packed, 2u);  // a changed, c new
  EXPECT_EQ(s.reused, 2u);  // keep and mover: same bytes, only mover's platform moved
  EXPECT_EQ(s.withdrawn, 1u);
  EXPECT_EQ(lstat_of(mirror + "1.0/Zephyra/keep.txt.zip").st_ino,
            lstat_of(mirror + "2.0/Zephyra/keep.txt.zip").st_ino);

  read_release("2.0", dest);
  const auto& a = rows_of("Zephyra/a.txt");
  ASSERT_EQ(a.size(), 2u);
  EXPECT_EQ(a[0].sig_want, md5sum_of(dest + "a.txt"));  // the installed 1.0 file is an untouched old one
  EXPECT_EQ(a[1].sig_want, md5sum_of(product + "a.txt"));
  EXPECT_EQ(rows_of("Zephyra/b.txt").back().sig_want, "GONE");
  EXPECT_EQ(rows_of("Zephyra/mover.bin").size(), 2u);
  EXPECT_EQ(rows_of("Zephyra/mover.bin").back().row_os, 2);
  EXPECT_EQ(rows_of("Zephyra/keep.txt").size(), 1u);  // unchanged: no new row

  // 3.0: b comes back, a is touched but not changed, mover moves back.
  put("b.txt", "b one");
  shell_output("touch -d @1500000000 " + sh_quote(product + "a.txt"));
  ASSERT_EQ(publish("3.0", "2.0", {}, &s), "");
  EXPECT_EQ(s.packed, 2u);  // b anew, a for its new date
  read_release("3.0", dest);
  EXPECT_EQ(rows_of("Zephyra/a.txt").size(), 2u);  // same bytes, so no new row
  const auto& b3 = rows_of("Zephyra/b.txt");
  ASSERT_EQ(b3.size(), 3u);
  EXPECT_EQ(b3[1].sig_want, "GONE");
  EXPECT_EQ(b3[2].sig_want, b3[0].sig_want);
  EXPECT_EQ(rows_of("Zephyra/mover.bin").back().row_os, 0);
  EXPECT_EQ(sim_info.size(), 5u);  // every path one entry: its rows stand together

  // A path withdrawn twice gets one GONE row only.
  ASSERT_EQ(unlink((product + "c.txt").c_str()), 0);
  ASSERT_EQ(publish("4.0", "3.0"), "");
  ASSERT_EQ(publish("5.0", "4.0"), "");
  read_release("5.0", dest);
  EXPECT_EQ(rows_of("Zephyra/c.txt").size(), 2u);

  // Beside a plain-text previous list there are no archives: all packed anew.
  ASSERT_EQ(publish("6.0", tmp.path + "list_5.0/directory.txt", {}, &s), "");
  EXPECT_EQ(s.reused, 0u);
  // A damaged archive beside the list is not served again.
  std::ofstream(mirror + "5.0/Zephyra/keep.txt.zip", std::ios::binary) << "PK junk";
  ASSERT_EQ(publish("7.0", "5.0", {}, &s), "");
  EXPECT_EQ(s.packed, 1u);
  install("7.0", tmp.mkdirs("dest7/"));
  EXPECT_EQ(read_file(tmp.path + "dest7/keep.txt"), "never changes");
}

// ---- Bad input: one line naming the file and why, the mirror untouched ----

struct BadInput : Publisher {
  std::string before;
  void SetUp() override {
    Publisher::SetUp();
    put("good.txt", "good");
    ASSERT_EQ(run_program({"--product", product, "--release", "1.0", "--out", mirror, "--quiet", "--mirror", "h,/p/,d"},
                          tmp.path), 0);
    before = snapshot(mirror);
  }
  void expect_refused(const std::vector<std::string>& words, const std::string& release = "2.0",
                      const std::string& previous = "", const std::string& prefix = "") {
    EXPECT_NE(run_program({"--product", product, "--release", release, "--out", mirror, "--mirror", "h,/p/,d",
                           "--previous", previous.empty() ? mirror + "1.0/directory.txt.zip" : previous},
                          tmp.path, prefix), 0);
    std::string err = read_file(tmp.path + "err.txt");
    for (const std::string& w : words) EXPECT_NE(err.find(w), std::string::npos) << "no \"" << w << "\" in: " << err;
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
    EXPECT_EQ(snapshot(mirror), before);
  }
};

TEST_F(BadInput, FilesAndReleaseNamesTheListCannotCarry) {
  struct refusal {
    std::vector<std::string> files;  // put into the product, removed after
    std::string release;
    std::vector<std::string> words;
  };
  const std::vector<refusal> cases = {
      {{"line\nend.txt"}, "2.0", {"line\\nend.txt", "line end"}},
      {{"mac:name.txt"}, "2.0", {"mac:name.txt", "\":\""}},
      {{"dir\\name.txt"}, "2.0", {"dir\\name.txt", "\"\\\""}},
      {{" lead.txt"}, "2.0", {" lead.txt", "blank"}},
      {{"bad:folder/ok.txt"}, "2.0", {"bad:folder", "\":\""}},
      // "x.zip" is a folder of the product: met after folders were made.
      {{"deep/new/x", "deep/new/x.zip/y"}, "2.0", {"x.zip", "in the way"}},
      {{}, "8.60/r2", {"8.60/r2", "separator"}},
      {{}, "8.60:r2", {"8.60:r2", "separator"}},
      {{}, "8.60\\r2", {"8.60\\r2", "separator"}},
  };
  for (const refusal& c : cases) {
    for (const std::string& f : c.files) put(f, "x");
    expect_refused(c.words, c.release);
    for (const std::string& f : c.files) shell_output("rm -rf " + sh_quote(product + f.substr(0, f.find('/'))));
  }
}

TEST_F(BadInput, PathTooLongForTheInstaller) {
  // "Zephyra/" + 4 * 100-character folders + a 90-character name = 498;
  // one character more and the list path passes 499.
  std::string folders;
  for (int i = 0; i < 4; ++i) folders += std::string(99, 'a' + i) + "/";
  put(folders + std::string(90, 'n'), "fits");
  EXPECT_EQ(run_program({"--product", product, "--release", "1.1", "--out", tmp.path + "other/"}, tmp.path), 0);
  put(folders + std::string(92, 'n'), "too long");
  expect_refused({std::string(92, 'n'), "499"});
}

TEST_F(BadInput, UnreadableFilesAndOddKinds) {
  ASSERT_EQ(mkfifo((product + "pipe").c_str(), 0644), 0);
  expect_refused({"pipe", "not a regular file"});
  unlink((product + "pipe").c_str());

  // Root reads anything, so the unreadable file is met by an ordinary user.
  chmod(put("secret.txt", "s").c_str(), 0000);
  chmod(tmp.path.c_str(), 0755);
  chmod((tmp.path + "src").c_str(), 0755);
  if (std::system("setpriv --reuid=65534 --regid=65534 --clear-groups true 2>/dev/null") != 0)
    GTEST_SKIP() << "setpriv can't change user here";
  chmod(mirror.c_str(), 0777);
  before = snapshot(mirror);
  expect_refused({"secret.txt", "Permission denied"}, "2.0", "", "setpriv --reuid=65534 --regid=65534 --clear-groups ");
}

TEST_F(BadInput, PreviousListsTheInstallerWouldRefuse) {
  const std::string bad = tmp.path + "directory.txt", not_list = "not a directory list";
  for (auto c : std::vector<std::pair<std::string, std::string>>{
           {"I\n820 x\nINSTALLER\n", not_list},
           {"I\n840\nINSTALLER\nDIR Zephyra:\nFILE 0 0 1 1 1 GONE sub:\n", "no file name"}}) {
    std::ofstream(bad, std::ios::binary) << c.first;
    expect_refused({bad, c.second}, "2.0", bad);
  }
  // A bad list inside an archive is named by the archive's path.
  std::ofstream(bad, std::ios::binary) << "I\n839\nINSTALLER\n";
  ASSERT_EQ(file_to_zip(bad, tmp.path + "old.zip"), 0);
  expect_refused({tmp.path + "old.zip", not_list}, "2.0", tmp.path + "old.zip");
  expect_refused({"nowhere.txt", "No such file"}, "2.0", tmp.path + "nowhere.txt");
}

TEST_F(BadInput, InterruptedRunCleansUp) {
  put("more/one.txt", "1");
  publish_stop = true;
  EXPECT_NE(publish("2.0").find("interrupted"), std::string::npos);
  EXPECT_EQ(snapshot(mirror), before);
}

}  // namespace
