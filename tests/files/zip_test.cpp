#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>

#include "files/paths.h"
#include "files/zip.h"
#include "temp_log.h"

namespace {

int sh(const std::string& cmd) { return std::system(cmd.c_str()); }
void write_text(const std::string& path, const std::string& text) { std::ofstream(path, std::ios::binary) << text; }
bool exists(const std::string& path) {
  struct stat st;
  return lstat(path.c_str(), &st) == 0;
}
struct stat lstat_of(const std::string& path) {
  struct stat st{};
  EXPECT_EQ(lstat(path.c_str(), &st), 0) << path;
  return st;
}
void expect_same_mode_and_time(const std::string& got, const std::string& want) {
  struct stat g = lstat_of(got), w = lstat_of(want);
  EXPECT_EQ(g.st_mode & 07777, w.st_mode & 07777) << got;
  EXPECT_EQ(g.st_mtime, w.st_mtime) << got;
}

struct ZipTest : ::testing::Test {
  temp_log log;
  std::string src = log.dir.file("src");
  std::string out = log.dir.file("out") + "/";
  std::string zip = log.dir.file("a.zip");

  void SetUp() override {
    mkdir(src.c_str(), 0755);
    mkdir(out.c_str(), 0755);
  }
  void info_zip(const std::string& flags, const std::string& names) {
    ASSERT_EQ(sh("cd '" + src + "' && zip -q " + flags + " '" + zip + "' " + names + " >/dev/null"), 0);
  }
  // Python's zipfile writes what Info-ZIP won't: hostile names and links.
  void py_zip(const std::string& body) {
    std::string script = log.dir.file("make.py");
    write_text(script, "import zipfile, sys\nz = zipfile.ZipFile(sys.argv[1], 'w')\n" + body + "\nz.close()\n");
    ASSERT_EQ(sh("python3 '" + script + "' '" + zip + "'"), 0);
  }
  void py_link(const std::string& name, const std::string& target, const std::string& then) {
    py_zip("i = zipfile.ZipInfo('" + name + "')\ni.create_system = 3\ni.external_attr = 0o120777 << 16\n"
           "z.writestr(i, '" + target + "')\n" + then);
  }
};

TEST_F(ZipTest, InfoZipRestoresContentModesDatesLinksAndSkipsMacMembers) {
  // Members are skipped by their first eight characters alone.
  ASSERT_EQ(sh("cd '" + src + "' && mkdir bin __MACOSX && echo hi > bin/run.sh && echo text > readme.txt && "
               "echo fork > __MACOSX/._icon && echo x > __MACOSX_notes.txt && echo kept > __MACOS.txt && "
               "chmod 755 bin/run.sh && chmod 644 readme.txt && ln -s bin/run.sh run && "
               "touch -d '2001-02-03 04:05:06' bin/run.sh && touch -d '1999-12-31 23:59:58' readme.txt && "
               "head -c 3000000 /dev/urandom > blob.bin"),
            0);
  info_zip("-y", "bin/ bin/run.sh readme.txt run blob.bin __MACOSX/ __MACOSX/._icon __MACOSX_notes.txt __MACOS.txt");
  // What is in the way is replaced, not written through: a link at a file's
  // name pointing outside, and a read-only file at the link's.
  ASSERT_EQ(sh("cd '" + out + "' && echo untouched > ../outside && ln -s ../outside readme.txt && "
               "echo old > run && chmod 444 run"),
            0);

  ASSERT_EQ(zip_to_file(zip, out, nullptr, 0), 0) << log.text();
  struct stat exe = lstat_of(out + "bin/run.sh");  // before reading moves the access time
  EXPECT_EQ(exe.st_atime, exe.st_mtime);
  expect_same_mode_and_time(out + "bin/run.sh", src + "/bin/run.sh");
  expect_same_mode_and_time(out + "readme.txt", src + "/readme.txt");
  EXPECT_EQ(read_file(out + "blob.bin"), read_file(src + "/blob.bin"));
  ASSERT_TRUE(S_ISLNK(lstat_of(out + "run").st_mode));
  EXPECT_EQ(read_file(out + "run"), "hi\n");
  EXPECT_FALSE(exists(out + "__MACOSX") || exists(out + "__MACOSX_notes.txt"));
  EXPECT_EQ(read_file(out + "__MACOS.txt"), "kept\n");
  EXPECT_EQ(read_file(log.dir.file("outside")), "untouched\n");

  // Again over the result: existing folder, file and link are no error.
  EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 0) << log.text();
  EXPECT_TRUE(S_ISLNK(lstat_of(out + "run").st_mode));
  EXPECT_EQ(log.text(), "");  // files and links that went well are not reported
}

TEST_F(ZipTest, FirstNameAndAMemberWithoutItsFolder) {
  ASSERT_EQ(sh("cd '" + src + "' && mkdir sub && echo 1 > one.txt && echo 2 > two.txt && echo 3 > sub/x.txt"), 0);
  info_zip("", "one.txt two.txt");
  std::string first = "unchanged";
  ASSERT_EQ(zip_to_file(zip, out, &first, 0), 0);
  EXPECT_EQ(first, "one.txt");

  info_zip("-D", "sub/x.txt");  // -D: no folder members, so sub/ is never made
  EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 2);
  EXPECT_NE(log.text().find("Zip to file failed with error err = 2. file = "), std::string::npos) << log.text();
}

TEST_F(ZipTest, EmptyAndBrokenArchives) {
  ASSERT_EQ(sh("head -c 200000 /dev/urandom > '" + src + "/blob'"), 0);
  info_zip("-0", "blob");  // stored, so the offset below lands in the data
  const std::string whole = read_file(zip);
  ASSERT_EQ(sh("cp '" + zip + "' '" + zip + ".e' && zip -q -d '" + zip + ".e' blob >/dev/null 2>&1"), 0);
  EXPECT_EQ(zip_to_file(zip + ".e", out, nullptr, 0), 0) << log.text();
  EXPECT_EQ(sh("test -z \"$(ls -A '" + out + "')\""), 0);

  EXPECT_EQ(zip_to_file(log.dir.file("missing.zip"), out, nullptr, 0), 20001);
  for (std::string cut : {whole.substr(0, whole.size() / 2), std::string(), std::string("PK\x05\x06")}) {
    write_text(zip, cut);
    EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 20001) << cut.size();
  }
  EXPECT_NE(log.text().find("ok i am about to report that i could not open a zip file for extraction!\n"),
            std::string::npos);
  // Intact directory, damaged data: the check at the member's close fails.
  std::string bad = whole;
  bad[1000] ^= 0x55;
  write_text(zip, bad);
  EXPECT_NE(zip_to_file(zip, out, nullptr, 0), 0);
  EXPECT_FALSE(exists(out + "blob"));
}

TEST_F(ZipTest, EscapingMembersAndPlantedLinksWriteNothingOutside) {
  for (std::string name : {"sub/../../evil.txt", "/tmp/zephyra_abs_evil.txt"}) {
    py_zip("z.writestr('good.txt', b'fine')\nz.writestr(zipfile.ZipInfo(r'" + name + "'), b'evil')");
    EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 20002) << name;
    EXPECT_EQ(read_file(out + "good.txt"), "fine");
    EXPECT_NE(log.text().find("UNZIP refused member \"" + name + "\": it would land outside the folder " + out + "\n"),
              std::string::npos)
        << log.text();
  }
  EXPECT_FALSE(exists(log.dir.file("evil.txt")) || exists("/tmp/zephyra_abs_evil.txt"));
  for (const char* bad : {"..", "a/..", "..\\x", "a\\\\..\\b", "a:..:b", "\\abs", ":abs"})
    EXPECT_TRUE(zip_name_escapes(bad)) << bad;
  for (const char* fine : {"", "a/b/", "..x", "x..", "a/...", "./x"}) EXPECT_FALSE(zip_name_escapes(fine)) << fine;

  // A link is judged against the folder itself when it is made.
  mkdir(log.dir.file("elsewhere").c_str(), 0755);
  for (const char* target : {"../elsewhere", "/tmp", "real/../../elsewhere", "real/../real"}) {
    py_link("door", target, "");
    EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 20002) << target;
    EXPECT_FALSE(exists(out + "door")) << target;
  }
  // A link that stays inside the folder may be made and written through.
  mkdir((out + "real").c_str(), 0755);
  py_link("alias", "real", "z.writestr('alias/file.txt', b'in')");
  EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 0) << log.text();
  EXPECT_EQ(read_file(out + "real/file.txt"), "in");
  // A link that can't be made, a full folder in its place, fails the archive.
  write_text(out + "real/more.txt", "x");
  py_link("real", "elsewhere", "");
  EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), EEXIST);
}

// A member's temporary name must not push a path the rules allow past the
// system's limits: 499 characters for a whole path, 255 for one name.
TEST_F(ZipTest, LongestLegalTargetsUnpack) {
  const std::string deep = out + std::string(200, 'd') + "/" + std::string(150, 'e') + "/";
  ASSERT_EQ(sh("mkdir -p '" + deep + "'"), 0);
  for (const std::string& folder : {deep, out}) {
    const std::string name(folder == out ? size_t(253) : 497 - deep.size(), 'n');
    py_zip("z.writestr('" + name + "', b'long')");
    EXPECT_EQ(zip_to_file(zip, folder, nullptr, 0), 0) << log.text();
    EXPECT_EQ(read_file(folder + name), "long");
  }
}

// Members are read whole, so their size is judged before the memory is taken:
// a compression bomb costs nothing, with the list's cap or a row's size.
TEST_F(ZipTest, MembersAboveTheirCapAreRefusedBeforeTheirMemory) {
  ASSERT_EQ(sh("head -c 200000000 /dev/zero | zip -q '" + zip + "' - && head -c 300000 /dev/urandom > '" +
               src + "/row' && cd '" + src + "' && zip -q '" + log.dir.file("row.zip") + "' row"),
            0);
  auto kb = [](const char* field) {
    std::string status = read_file("/proc/self/status");
    return std::atol(status.c_str() + status.find(field) + std::strlen(field));
  };
  write_text("/proc/self/clear_refs", "5");  // the peak starts again from here
  const long before = kb("VmRSS:");
  EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 27);
  EXPECT_EQ(zip_to_file(zip, out, nullptr, 0, "", 1000000), 27);
  EXPECT_LT(kb("VmHWM:") - before, 50000);
  EXPECT_EQ(zip_to_file(log.dir.file("row.zip"), out, nullptr, 0, "", 299999), 27);
  EXPECT_FALSE(exists(out + "-") || exists(out + "row"));
  EXPECT_EQ(zip_to_file(log.dir.file("row.zip"), out, nullptr, 0, "", 300000), 0);
}

TEST_F(ZipTest, OwnArchivesPassInfoZipAndRoundTrip) {
  std::string file = src + "/tool";
  ASSERT_EQ(sh("cd '" + src + "' && echo exit > tool && chmod 755 tool && touch -d '2004-06-07 08:09:10' tool"), 0);
  std::string colon_zip = zip;  // colon paths, as the rest of the system writes them
  for (char& c : colon_zip) c = c == '/' ? ':' : c;
  ASSERT_EQ(file_to_zip(file, colon_zip), 0) << log.text();
  EXPECT_EQ(sh("unzip -tqq '" + zip + "' && test \"$(unzip -Z1 '" + zip + "')\" = tool"), 0);
  ASSERT_EQ(zip_to_file(zip, out, nullptr, 0), 0) << log.text();
  EXPECT_EQ(read_file(out + "tool"), "exit\n");
  expect_same_mode_and_time(out + "tool", file);

  EXPECT_EQ(file_to_zip(src + "/missing", log.dir.file("b.zip")), 20006);
  EXPECT_FALSE(exists(log.dir.file("b.zip")));
  EXPECT_NE(log.text().find("file_to_zip failed with error 20006.\nfile = Files/io_utils line = "), std::string::npos);
}

}  // namespace
