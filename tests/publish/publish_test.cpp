// The publisher against the installer's own readers: what it writes is read
// back by read_directory, read_server_list and zip_to_file, and checked with
// md5sum and Info-ZIP. History over three releases, and bad input that must
// leave the mirror untouched.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>

#include "../install/install_fixture.h"
#include "files/paths.h"
#include "files/xmap.h"
#include "files/zip.h"
#include "install/directory.h"
#include "install/servers.h"
#include "install/stage.h"
#include "publish/listing.h"
#include "publish/publish.h"

namespace {

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

struct run_result {
  int rc = -1;
  std::string out, err;
};

std::string sh_quote(const std::string& s) {
  std::string q = "'";
  for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

// Runs the real program; prefix may hold e.g. a setpriv call.
run_result run_program(const std::vector<std::string>& args, const std::string& where,
                       const std::string& prefix = "") {
  std::string cmd = prefix + sh_quote(ZEPHYRA_BINARY_DIR "/zephyra-publish");
  for (const std::string& a : args) cmd += " " + sh_quote(a);
  cmd += " >" + sh_quote(where + "out.txt") + " 2>" + sh_quote(where + "err.txt");
  run_result r;
  int status = std::system(cmd.c_str());
  r.rc = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  r.out = read_file(where + "out.txt");
  r.err = read_file(where + "err.txt");
  return r;
}

std::string shell_out(const std::string& cmd) {
  std::string out;
  FILE* p = popen(cmd.c_str(), "r");
  char buf[4096];
  size_t n;
  while (p && (n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
  if (p) pclose(p);
  return out;
}

struct stat lstat_of(const std::string& path) {
  struct stat st{};
  EXPECT_EQ(lstat(path.c_str(), &st), 0) << path;
  return st;
}

void set_mtime(const std::string& path, time_t t) {
  struct timespec ts[2] = {{t, 0}, {t, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), ts, AT_SYMLINK_NOFOLLOW), 0) << path;
}

// Everything under a folder with its kind, and for files their size, mode,
// time and inode: a mirror "as it was" means this is unchanged. A folder's
// own time moves when an entry is made and removed again, so it is left out.
std::string snapshot(const std::string& root) {
  return shell_out("cd " + sh_quote(root) +
                   " 2>/dev/null && find . -type d -printf '%p %m\\n' -o -printf '%p %y %s %m %T@ %i\\n' | sort");
}

class Publisher : public ::testing::Test {
 protected:
  scratch_dir tmp;
  std::string product, mirror;

  void SetUp() override {
    set_run_defaults();
    product = tmp.mkdirs("src/Zephyra/");
    mirror = tmp.path + "mirror/";
    publish_stop = false;
  }
  void TearDown() override {
    sim_info.clear();
    publish_stop = false;
  }

  std::string put(const std::string& rel, const std::string& bytes, mode_t mode = 0644) {
    std::string p = tmp.put("src/Zephyra/" + rel, bytes);
    chmod(p.c_str(), mode);
    return p;
  }

  // Publishes in-process, with --previous pointing at an earlier release.
  int publish(const std::string& release, const std::string& previous = "",
              std::vector<platform_rule> rules = {}, publish_summary* out = nullptr) {
    publish_options opt;
    opt.product = product;
    opt.release = release;
    opt.out = mirror;
    opt.previous = previous.empty() ? "" : mirror + previous + "/directory.txt.zip";
    opt.rules = rules;
    publish_summary sum;
    std::string error;
    int rc = publish_release(opt, sum, error);
    EXPECT_EQ(rc, 0) << error;
    if (out) *out = sum;
    return rc;
  }

  // The release's list, read by the installer's reader with dest as its folder.
  void read_release(const std::string& release, const std::string& dest) {
    std::string unpacked = tmp.mkdirs("list_" + release + "/");
    ASSERT_EQ(zip_to_file(mirror + release + "/directory.txt.zip", unpacked, nullptr, 0), 0);
    dest_dir_path = dest;
    ASSERT_EQ(read_directory(unpacked + "directory.txt", "test"), 3);
  }

  // Installs every current file of the list as the installer does: the
  // archive from server path + file path + ".zip", unpacked into the folder.
  void install(const std::string& release, const std::string& dest) {
    read_release(release, dest);
    for (const auto& entry : sim_info) {
      const file_version_struct& r = entry.back();
      if (r.sig_want == "GONE") continue;
      std::string disk = row_disk_path(r);
      std::string folder = disk.substr(0, disk.rfind('/') + 1);
      ASSERT_EQ(shell_out("mkdir -p " + sh_quote(folder) + " && echo ok"), "ok\n");
      ASSERT_EQ(zip_to_file(mirror + release + "/" + r.file_path + ".zip", folder, nullptr, 0), 0)
          << r.file_path;
    }
  }

  const std::vector<file_version_struct>& rows_of(const std::string& path) {
    for (const auto& entry : sim_info)
      if (entry.back().file_path == path) return entry;
    static std::vector<file_version_struct> none;
    ADD_FAILURE() << "no entry for " << path;
    return none;
  }
};

// ---- What it writes, read back by the installer and outside tools ----

TEST_F(Publisher, InstalledTreeEqualsTheSourceWithModesDatesAndLinks) {
  put("readme.txt", "read me\n");
  put("bin/zephyra", std::string(200000, 'x') + "tail", 0755);
  put("bin/secret.key", "k", 0600);
  put("Resources/fonts/font map.txt", "blank in the name\n");
  put("Resources/empty.dat", "");
  std::string noise(300000, 0);
  unsigned x = 12345;
  for (char& c : noise) c = static_cast<char>((x = x * 1103515245u + 12345u) >> 23);
  put("Resources/noise.dds", noise);
  ASSERT_EQ(symlink("zephyra", (product + "bin/run").c_str()), 0);
  ASSERT_EQ(symlink("../Resources", (product + "bin/res").c_str()), 0);
  set_mtime(product + "bin/zephyra", 1236000000 + 7);  // odd second: zip dates count in twos
  set_mtime(product + "readme.txt", 946684800);

  run_result r = run_program({"--product", product, "--release=8.60r2", "--out", mirror,
                              "--mirror", "mirror1.example.com,/pub/sim/,Mirror one, fast in Europe",
                              "--mirror=m2.example.com,pub,Two"},
                             tmp.path);
  ASSERT_EQ(r.rc, 0) << r.err;
  EXPECT_NE(r.out.find("8 files: 8 packed, 0 reused"), std::string::npos) << r.out;
  EXPECT_EQ(shell_out("find " + sh_quote(mirror) + " -name '*.publish-*'"), "");

  std::string dest = tmp.mkdirs("dest/");
  install("8.60r2", dest);
  ASSERT_EQ(sim_info.size(), 8u);
  const char* files[] = {"readme.txt", "bin/zephyra", "bin/secret.key", "Resources/fonts/font map.txt",
                         "Resources/empty.dat", "Resources/noise.dds"};
  for (const char* f : files) {
    struct stat a = lstat_of(product + f), b = lstat_of(dest + f);
    EXPECT_EQ(read_file(product + f), read_file(dest + f)) << f;
    EXPECT_EQ(a.st_mode, b.st_mode) << f;
    EXPECT_EQ(a.st_mtime / 2 * 2, b.st_mtime) << f;
  }
  for (const char* l : {"bin/run", "bin/res"}) {
    EXPECT_TRUE(S_ISLNK(lstat_of(dest + l).st_mode)) << l;
    char a[64] = {0}, b[64] = {0};
    ASSERT_GT(readlink((product + l).c_str(), a, sizeof a), 0);
    ASSERT_GT(readlink((dest + l).c_str(), b, sizeof b), 0);
    EXPECT_STREQ(a, b);
  }

  // A second scan of the installed folder finds every file right: the
  // signatures are the ones the installer computes, links included.
  read_release("8.60r2", dest);
  for (const auto& entry : sim_info) EXPECT_EQ(entry.back().have_file, 1) << entry.back().file_path;
  EXPECT_EQ(stg.tot_down, 0);

  // ... and what md5sum prints. The list paths carry the product's own name.
  EXPECT_EQ(rows_of("Zephyra/bin/zephyra").back().sig_want, md5sum_of(product + "bin/zephyra"));
  EXPECT_EQ(rows_of("Zephyra/bin/run").back().sig_want, md5sum_of(product + "bin/zephyra"));
  EXPECT_EQ(rows_of("Zephyra/Resources/empty.dat").back().sig_want, "d41d8cd98f00b204e9800998ecf8427e");
  // A link to a folder can't be signed, by the installer either.
  EXPECT_EQ(rows_of("Zephyra/bin/res").back().sig_want, "NONE");
  const file_version_struct& big = rows_of("Zephyra/bin/zephyra").back();
  EXPECT_EQ(big.disk_size, 201);
  EXPECT_EQ(big.down_size, (float)((lstat_of(mirror + "8.60r2/Zephyra/bin/zephyra.zip").st_size + 999) / 1000));

  // Info-ZIP sees Unix modes and a stored link.
  std::string z = shell_out("unzip -Z " + sh_quote(mirror + "8.60r2/Zephyra/bin/zephyra.zip"));
  EXPECT_NE(z.find("-rwxr-xr-x"), std::string::npos) << z;
  EXPECT_NE(z.find("unx"), std::string::npos) << z;
  EXPECT_NE(z.find(" zephyra\n"), std::string::npos) << z;
  EXPECT_NE(z.find("defN"), std::string::npos) << z;
  z = shell_out("unzip -Z " + sh_quote(mirror + "8.60r2/Zephyra/bin/run.zip"));
  EXPECT_NE(z.find("lrwxrwxrwx"), std::string::npos) << z;
  EXPECT_EQ(shell_out("unzip -p " + sh_quote(mirror + "8.60r2/Zephyra/bin/run.zip")), "zephyra");
  // Data that deflate can't shrink is stored, and comes back all the same.
  z = shell_out("unzip -Z " + sh_quote(mirror + "8.60r2/Zephyra/Resources/noise.dds.zip"));
  EXPECT_NE(z.find("stor"), std::string::npos) << z;
  z = shell_out("unzip -Z " + sh_quote(mirror + "8.60r2/Zephyra/bin/secret.key.zip"));
  EXPECT_NE(z.find("-rw-------"), std::string::npos) << z;

  // The server list through the installer's own reader.
  ASSERT_EQ(read_server_list(mirror + "serverlist.txt"), 1);
  EXPECT_EQ(install_name, "8.60r2");
  EXPECT_EQ(stg.server_count, 2);
  EXPECT_EQ(server_name[0], "mirror1.example.com");
  EXPECT_EQ(server_path[0], "/pub/sim/8.60r2/");
  EXPECT_EQ(server_desc[0], "Mirror one, fast in Europe");
  EXPECT_EQ(server_path[1], "/pub/8.60r2/");
}

TEST_F(Publisher, PlatformRulesFirstMatchWinsAndStarCrossesFolders) {
  std::vector<platform_rule> rules = {{"bin/win/*", 2}, {"*.exe", 3}, {"bin/*", 6}};
  EXPECT_EQ(platform_of("bin/win/a/b.exe", rules), 2);
  EXPECT_EQ(platform_of("tools/x.exe", rules), 3);
  EXPECT_EQ(platform_of("bin/linux/run", rules), 6);
  EXPECT_EQ(platform_of("readme.txt", rules), 0);
  EXPECT_EQ(platform_of("bin", rules), 0);
}

// ---- History over three releases ----

TEST_F(Publisher, ThreeReleasesGiveTheRowsAReaderNeeds) {
  put("keep.txt", "never changes");
  put("a.txt", "a one");
  put("b.txt", "b one");
  put("mover.bin", "moves between platforms");
  publish_summary s1, s2, s3;
  ASSERT_EQ(publish("1.0", "", {}, &s1), 0);
  EXPECT_EQ(s1.packed, 4u);

  // Installed copy of 1.0, to see how a reader of 2.0 judges it.
  std::string dest = tmp.mkdirs("dest/");
  install("1.0", dest);

  put("a.txt", "a two, longer");
  ASSERT_EQ(unlink((product + "b.txt").c_str()), 0);
  put("c.txt", "c is new");
  ASSERT_EQ(publish("2.0", "1.0", {{"*.bin", 2}}, &s2), 0);
  EXPECT_EQ(s2.packed, 2u);   // a changed, c new
  EXPECT_EQ(s2.reused, 2u);   // keep and mover: same bytes, only mover's platform moved
  EXPECT_EQ(s2.withdrawn, 1u);
  EXPECT_EQ(lstat_of(mirror + "1.0/Zephyra/keep.txt.zip").st_ino,
            lstat_of(mirror + "2.0/Zephyra/keep.txt.zip").st_ino);

  read_release("2.0", dest);
  const auto& a = rows_of("Zephyra/a.txt");
  ASSERT_EQ(a.size(), 2u);
  EXPECT_EQ(a[0].sig_want, md5sum_of(dest + "a.txt"));  // the installed 1.0 file is an untouched old one
  EXPECT_EQ(a[1].sig_want, md5sum_of(product + "a.txt"));
  EXPECT_EQ(a[0].row_tag, 1);
  EXPECT_EQ(a[1].row_tag, 2);
  const auto& b = rows_of("Zephyra/b.txt");
  ASSERT_EQ(b.size(), 2u);
  EXPECT_EQ(b[1].sig_want, "GONE");
  EXPECT_EQ(b[1].down_size, 0);
  const auto& m = rows_of("Zephyra/mover.bin");
  ASSERT_EQ(m.size(), 2u);
  EXPECT_EQ(m[0].row_os, 0);
  EXPECT_EQ(m[1].row_os, 2);
  EXPECT_EQ(m[0].sig_want, m[1].sig_want);
  EXPECT_EQ(rows_of("Zephyra/keep.txt").size(), 1u);  // unchanged: no new row
  EXPECT_EQ(rows_of("Zephyra/c.txt").size(), 1u);
  EXPECT_EQ(rows_of("Zephyra/keep.txt").back().have_file, 1);

  // 3.0: b comes back, a is touched but not changed, mover moves back.
  put("b.txt", "b one");
  set_mtime(product + "a.txt", 1500000000);
  ASSERT_EQ(publish("3.0", "2.0", {}, &s3), 0);
  EXPECT_EQ(s3.withdrawn, 0u);
  EXPECT_EQ(s3.packed, 2u);  // b anew, a for its new date
  read_release("3.0", dest);
  EXPECT_EQ(rows_of("Zephyra/a.txt").size(), 2u);  // same bytes, so no new row
  const auto& b3 = rows_of("Zephyra/b.txt");
  ASSERT_EQ(b3.size(), 3u);
  EXPECT_EQ(b3[1].sig_want, "GONE");
  EXPECT_EQ(b3[2].sig_want, b3[0].sig_want);
  EXPECT_EQ(rows_of("Zephyra/mover.bin").size(), 3u);
  EXPECT_EQ(rows_of("Zephyra/mover.bin").back().row_os, 0);
  EXPECT_EQ(sim_info.size(), 5u);  // every path one entry: its rows stand together

  // A path withdrawn twice gets one GONE row only.
  ASSERT_EQ(unlink((product + "c.txt").c_str()), 0);
  ASSERT_EQ(publish("4.0", "3.0"), 0);
  ASSERT_EQ(publish("5.0", "4.0"), 0);
  read_release("5.0", dest);
  EXPECT_EQ(rows_of("Zephyra/c.txt").size(), 2u);
}

TEST_F(Publisher, PreviousListMayBePlainTextAndArchivesBesideItAreReused) {
  put("same.txt", "same");
  ASSERT_EQ(publish("1.0"), 0);
  std::string txt_dir = tmp.mkdirs("plain/");
  ASSERT_EQ(zip_to_file(mirror + "1.0/directory.txt.zip", txt_dir, nullptr, 0), 0);

  // Beside the plain list there are no archives: packed anew, same rows.
  publish_options opt;
  opt.product = product;
  opt.release = "1.1";
  opt.out = mirror;
  opt.previous = txt_dir + "directory.txt";
  publish_summary sum;
  std::string error;
  ASSERT_EQ(publish_release(opt, sum, error), 0) << error;
  EXPECT_EQ(sum.packed, 1u);
  EXPECT_EQ(sum.reused, 0u);
  // A damaged archive beside the list is not served again.
  std::ofstream(mirror + "1.0/Zephyra/same.txt.zip", std::ios::binary) << "PK junk";
  opt.release = "1.2";
  opt.previous = mirror + "1.0/directory.txt.zip";
  ASSERT_EQ(publish_release(opt, sum, error), 0) << error;
  EXPECT_EQ(sum.packed, 1u);
  std::string dest = tmp.mkdirs("dest/");
  install("1.2", dest);
  EXPECT_EQ(read_file(dest + "same.txt"), "same");
  EXPECT_EQ(rows_of("Zephyra/same.txt").size(), 1u);
}

// ---- Bad input: a message naming the file and why, the mirror untouched ----

class BadInput : public Publisher {
 protected:
  std::string before;
  void SetUp() override {
    Publisher::SetUp();
    put("good.txt", "good");
    ASSERT_EQ(run_program({"--product", product, "--release", "1.0", "--out", mirror, "--quiet",
                           "--mirror", "h,/p/,d"}, tmp.path).rc, 0);
    before = snapshot(mirror);
  }
  // Runs release 2.0 and expects a refusal whose message holds each of words.
  void expect_refused(const std::vector<std::string>& words, std::vector<std::string> extra = {},
                      const std::string& prefix = "") {
    std::vector<std::string> args = {"--product", product, "--release", "2.0", "--out", mirror,
                                     "--mirror", "h,/p/,d", "--previous", mirror + "1.0/directory.txt.zip"};
    for (size_t i = 0; i + 1 < extra.size(); i += 2) {
      for (size_t k = 0; k < args.size(); k += 2)
        if (args[k] == extra[i]) args.erase(args.begin() + k, args.begin() + k + 2);
      args.push_back(extra[i]);
      args.push_back(extra[i + 1]);
    }
    run_result r = run_program(args, tmp.path, prefix);
    EXPECT_NE(r.rc, 0);
    for (const std::string& w : words) EXPECT_NE(r.err.find(w), std::string::npos) << "missing \"" << w << "\" in: " << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_EQ(snapshot(mirror), before);
  }
};

TEST_F(BadInput, NamesTheListCannotCarry) {
  std::string p = put("line\nend.txt", "x");
  expect_refused({"line\\nend.txt", "line end"});
  unlink(p.c_str());
  p = put("mac:name.txt", "x");
  expect_refused({"mac:name.txt", "\":\""});
  unlink(p.c_str());
  p = put("dir\\name.txt", "x");
  expect_refused({"dir\\name.txt", "\"\\\""});
  unlink(p.c_str());
  p = put(" lead.txt", "x");
  expect_refused({" lead.txt", "blank"});
  unlink(p.c_str());
  put("bad:folder/ok.txt", "x");
  expect_refused({"bad:folder", "\":\""});
}

TEST_F(BadInput, PathTooLongForTheInstaller) {
  // "Zephyra/" + 4 * 100-character folders + a 90-character name = 498;
  // one character more and the list path passes 499.
  std::string folders;
  for (int i = 0; i < 4; ++i) folders += std::string(99, 'a' + i) + "/";
  put(folders + std::string(90, 'n'), "fits");
  run_result ok = run_program({"--product", product, "--release", "1.1", "--out", tmp.path + "other/"}, tmp.path);
  EXPECT_EQ(ok.rc, 0) << ok.err;
  put(folders + std::string(92, 'n'), "too long");
  expect_refused({std::string(92, 'n'), "499"});
}

TEST_F(BadInput, UnreadableFilesAndOddKinds) {
  ASSERT_EQ(mkfifo((product + "pipe").c_str(), 0644), 0);
  expect_refused({"pipe", "not a regular file"});
  unlink((product + "pipe").c_str());

  // Root reads anything, so the unreadable file is met by an ordinary user.
  std::string secret = put("secret.txt", "s", 0000);
  chmod(tmp.path.c_str(), 0755);
  chmod((tmp.path + "src").c_str(), 0755);
  if (std::system("setpriv --reuid=65534 --regid=65534 --clear-groups true 2>/dev/null") != 0)
    GTEST_SKIP() << "setpriv can't change user here";
  chmod(mirror.c_str(), 0777);
  before = snapshot(mirror);
  expect_refused({"secret.txt", "Permission denied"}, {"--out", mirror},
                 "setpriv --reuid=65534 --regid=65534 --clear-groups ");
}

TEST_F(BadInput, ReleaseNamesWithSeparators) {
  for (std::string name : {"8.60/r2", "8.60:r2", "8.60\\r2"})
    expect_refused({name, "separator"}, {"--release", name});
}

TEST_F(BadInput, PreviousListsTheInstallerWouldRefuse) {
  std::string bad = tmp.path + "directory.txt";
  for (std::string text : {"I\n820 x\nINSTALLER\n", "a\n840 x\nINSTALLER\n", "I\n840 x\nINSTALLERS\n", ""}) {
    std::ofstream(bad, std::ios::binary) << text;
    expect_refused({bad, "not a directory list"}, {"--previous", bad});
  }
  // The same, zipped, is named by the archive's path.
  std::ofstream(bad, std::ios::binary) << "I\n839\nINSTALLER\n";
  std::string zipped = tmp.path + "old.zip";
  ASSERT_EQ(file_to_zip(bad, zipped), 0);
  expect_refused({zipped, "not a directory list"}, {"--previous", zipped});
  expect_refused({"nowhere.txt", "No such file"}, {"--previous", tmp.path + "nowhere.txt"});
  std::ofstream(bad, std::ios::binary) << "I\n840\nINSTALLER\nDIR Zephyra:\nFILE 0 0 1 1 1 GONE sub:\n";
  expect_refused({"no file name"}, {"--previous", bad});
}

TEST_F(BadInput, ClashAfterFoldersWereMadeIsUndone) {
  // "x" packs to "x.zip", where the product has a folder of that name.
  put("deep/new/x", "file");
  put("deep/new/x.zip/y", "file in the way");
  expect_refused({"x.zip", "in the way"});
}

TEST_F(BadInput, InterruptedRunCleansUp) {
  put("more/one.txt", "1");
  publish_stop = true;
  publish_options opt;
  opt.product = product;
  opt.release = "2.0";
  opt.out = mirror;
  publish_summary sum;
  std::string error;
  EXPECT_NE(publish_release(opt, sum, error), 0);
  EXPECT_NE(error.find("interrupted"), std::string::npos) << error;
  EXPECT_EQ(snapshot(mirror), before);
}

}  // namespace
