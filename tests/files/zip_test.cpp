// Unpacking archives made by Info-ZIP, by Python's zipfile and by our own
// file_to_zip: modes, dates, links, skipped members, refusals, error numbers.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <fstream>

#include "files/paths.h"
#include "files/zip.h"
#include "temp_log.h"

namespace {

int sh(const std::string& cmd) { return std::system(cmd.c_str()); }

void write_text(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

bool exists(const std::string& path) {
  struct stat st;
  return lstat(path.c_str(), &st) == 0;
}

struct stat lstat_of(const std::string& path) {
  struct stat st{};
  EXPECT_EQ(lstat(path.c_str(), &st), 0) << path;
  return st;
}

time_t local_time(int y, int mo, int d, int h, int mi, int s) {
  struct tm t{};
  t.tm_year = y - 1900;
  t.tm_mon = mo - 1;
  t.tm_mday = d;
  t.tm_hour = h;
  t.tm_min = mi;
  t.tm_sec = s;
  t.tm_isdst = -1;
  return mktime(&t);
}

// A source tree, an output folder and the log, all under one scratch folder.
struct ZipTest : ::testing::Test {
  temp_log log;
  std::string src = log.dir.file("src");
  std::string out = log.dir.file("out") + "/";
  std::string zip = log.dir.file("a.zip");

  void SetUp() override {
    mkdir(src.c_str(), 0755);
    mkdir(out.c_str(), 0755);
  }
  // Runs Info-ZIP inside src with the given flags and member names.
  void info_zip(const std::string& flags, const std::string& names) {
    ASSERT_EQ(sh("cd '" + src + "' && zip -q " + flags + " '" + zip + "' " + names + " >/dev/null"), 0)
        << names;
  }
  // Writes an archive with Python's zipfile; body gets `z` open for writing.
  void py_zip(const std::string& body) {
    std::string script = log.dir.file("make.py");
    write_text(script, "import zipfile, sys\nz = zipfile.ZipFile(sys.argv[1], 'w')\n" + body +
                           "\nz.close()\n");
    ASSERT_EQ(sh("python3 '" + script + "' '" + zip + "'"), 0);
  }
};

TEST_F(ZipTest, InfoZipRestoresContentModesDatesFoldersAndLinks) {
  mkdir((src + "/bin").c_str(), 0755);
  write_text(src + "/bin/run.sh", "#!/bin/sh\necho hi\n");
  write_text(src + "/readme.txt", "plain text\n");
  chmod((src + "/bin/run.sh").c_str(), 0755);
  chmod((src + "/readme.txt").c_str(), 0644);
  ASSERT_EQ(symlink("bin/run.sh", (src + "/run").c_str()), 0);
  sh("cd '" + src + "' && touch -d '2001-02-03 04:05:06' bin/run.sh && "
     "touch -d '1999-12-31 23:59:58' readme.txt && head -c 3000000 /dev/urandom > blob.bin");
  info_zip("-y", "bin/ bin/run.sh readme.txt run blob.bin");

  ASSERT_EQ(zip_to_file(zip, out, nullptr, 0), 0) << log.text();

  struct stat exe = lstat_of(out + "bin/run.sh");  // before reading moves the access time
  EXPECT_EQ(exe.st_mode & 07777, 0755u);
  EXPECT_EQ(exe.st_mtime, local_time(2001, 2, 3, 4, 5, 6));  // the archive's, not now
  EXPECT_EQ(exe.st_atime, exe.st_mtime);
  struct stat txt = lstat_of(out + "readme.txt");
  EXPECT_EQ(txt.st_mode & 07777, 0644u);
  EXPECT_EQ(txt.st_mtime, local_time(1999, 12, 31, 23, 59, 58));
  EXPECT_EQ(read_file(out + "bin/run.sh"), "#!/bin/sh\necho hi\n");
  EXPECT_EQ(read_file(out + "readme.txt"), "plain text\n");
  EXPECT_EQ(read_file(out + "blob.bin"), read_file(src + "/blob.bin"));

  ASSERT_TRUE(S_ISLNK(lstat_of(out + "run").st_mode));
  char target[64] = {};
  ASSERT_GT(readlink((out + "run").c_str(), target, sizeof target - 1), 0);
  EXPECT_STREQ(target, "bin/run.sh");
  EXPECT_EQ(read_file(out + "run"), "#!/bin/sh\necho hi\n");

  // Unpacking again over the result: existing folder, file and link are no error.
  EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 0) << log.text();
  EXPECT_TRUE(S_ISLNK(lstat_of(out + "run").st_mode));
}

TEST_F(ZipTest, MacintoshMembersAreSkippedByTheirFirstEightCharacters) {
  mkdir((src + "/__MACOSX").c_str(), 0755);
  write_text(src + "/__MACOSX/._icon", "resource fork");
  write_text(src + "/__MACOSX_notes.txt", "also skipped");
  write_text(src + "/__MACOS.txt", "kept: only seven characters match");
  write_text(src + "/icon", "the real file");
  info_zip("", "__MACOSX/ __MACOSX/._icon __MACOSX_notes.txt __MACOS.txt icon");

  ASSERT_EQ(zip_to_file(zip, out, nullptr, 0), 0) << log.text();
  EXPECT_FALSE(exists(out + "__MACOSX"));
  EXPECT_FALSE(exists(out + "__MACOSX_notes.txt"));
  EXPECT_EQ(read_file(out + "__MACOS.txt"), "kept: only seven characters match");
  EXPECT_EQ(read_file(out + "icon"), "the real file");
}

TEST_F(ZipTest, WhatIsInTheWayIsReplacedNotWrittenThrough) {
  std::string outside = log.dir.file("outside.txt");
  write_text(outside, "untouched");
  write_text(src + "/data.txt", "new data");
  write_text(src + "/lnk-target", "x");
  ASSERT_EQ(symlink("lnk-target", (src + "/lnk").c_str()), 0);
  info_zip("-y", "data.txt lnk");

  // A link at the file's name pointing outside, and a read-only file at the link's.
  ASSERT_EQ(symlink(outside.c_str(), (out + "data.txt").c_str()), 0);
  write_text(out + "lnk", "old file");
  chmod((out + "lnk").c_str(), 0444);

  ASSERT_EQ(zip_to_file(zip, out, nullptr, 0), 0) << log.text();
  EXPECT_FALSE(S_ISLNK(lstat_of(out + "data.txt").st_mode));
  EXPECT_EQ(read_file(out + "data.txt"), "new data");
  EXPECT_EQ(read_file(outside), "untouched");
  EXPECT_TRUE(S_ISLNK(lstat_of(out + "lnk").st_mode));
}

TEST_F(ZipTest, MemberWithoutItsFolderFailsWithNoSuchFile) {
  mkdir((src + "/sub").c_str(), 0755);
  write_text(src + "/first.txt", "1");
  write_text(src + "/sub/x.txt", "2");
  info_zip("-D", "first.txt sub/x.txt");  // -D: no folder members

  EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 2);
  EXPECT_EQ(read_file(out + "first.txt"), "1");  // earlier members stay
  std::string text = log.text();
  EXPECT_NE(text.find("Zip to file failed with error 2. file = "), std::string::npos) << text;
  EXPECT_NE(text.find(". inFile=" + out + "sub/x.txt."), std::string::npos) << text;
  EXPECT_NE(text.find("UNZIP zip_to_file failed with err=2\n"), std::string::npos);
  EXPECT_NE(text.find("Zip to file failed with error err = 2. file = "), std::string::npos);
  EXPECT_NE(text.find(". zip_file=" + zip + ", out_directory=" + out + ".\n"), std::string::npos);
  EXPECT_EQ(error_str(2), "No such file or directory");
}

TEST_F(ZipTest, EmptyArchivesUnpackToNothing) {
  write_text(src + "/a", "a");
  info_zip("", "a");
  ASSERT_EQ(sh("zip -q -d '" + zip + "' a >/dev/null 2>&1; test -s '" + zip + "'"), 0);
  EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 0) << log.text();

  py_zip("z.comment = b'nothing here'");
  EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 0) << log.text();

  // A stub in front moves the end record off offset 0: the library's own road.
  ASSERT_EQ(sh("printf 'stub' > '" + zip + ".x' && cat '" + zip + "' >> '" + zip + ".x' && mv '" +
               zip + ".x' '" + zip + "'"),
            0);
  EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 0) << log.text();
  EXPECT_EQ(sh("test -z \"$(ls -A '" + out + "')\""), 0);
}

TEST_F(ZipTest, WhatIsNotAZipIsError20001WithItsLogLines) {
  std::string fake = log.dir.file("notes.zip");
  write_text(fake, "this is a text file that only looks like an archive by its name\n");
  EXPECT_EQ(zip_to_file(fake, out, nullptr, 0), 20001);
  EXPECT_EQ(zip_to_file(log.dir.file("missing.zip"), out, nullptr, 0), 20001);
  write_text(log.dir.file("zero.zip"), "");
  EXPECT_EQ(zip_to_file(log.dir.file("zero.zip"), out, nullptr, 0), 20001);
  write_text(log.dir.file("pk.zip"), "PK\x05\x06");  // an end record cut short
  EXPECT_EQ(zip_to_file(log.dir.file("pk.zip"), out, nullptr, 0), 20001);

  std::string text = log.text();
  EXPECT_NE(text.find("ok i am about to report that i could not open a zip file for extraction!\n"
                      "that incoming file is " + fake + "\n"
                      "in c-form, it is " + fake + "\n"
                      "the size is " + std::to_string(fake.size()) + "\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("Zip to file failed with error err = 20001. file = "), std::string::npos);
  EXPECT_EQ(error_str(20001), "We were unable to open a zip file.  It may be missing or damaged");
}

TEST_F(ZipTest, TruncatedOrCorruptArchivesFailWithoutCrashing) {
  ASSERT_EQ(sh("head -c 200000 /dev/urandom > '" + src + "/blob'"), 0);
  write_text(src + "/small.txt", std::string(5000, 'z'));
  info_zip("-0", "blob small.txt");  // stored, so offsets below are predictable
  std::string whole = read_file(zip);

  for (size_t keep : {whole.size() / 2, size_t(30), size_t(3)}) {
    write_text(zip, whole.substr(0, keep));
    EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 20001) << keep;
  }
  // Cut inside the end record: the library opens it and then finds nonsense.
  write_text(zip, whole.substr(0, whole.size() - 10));
  EXPECT_NE(zip_to_file(zip, out, nullptr, 0), 0);

  // Intact directory, damaged data: the CRC check at the member's close fails.
  std::string bad = whole;
  bad[1000] ^= 0x55;
  write_text(zip, bad);
  int err = zip_to_file(zip, out, nullptr, 0);
  EXPECT_NE(err, 0);
  EXPECT_FALSE(exists(out + "blob"));

  // Headers that agree with each other but lie about the member's size.
  py_zip("z.writestr('big.txt', b'x' * 100)");
  std::string lied = read_file(zip);
  size_t central = lied.find("PK\x01\x02");
  ASSERT_NE(central, std::string::npos);
  ASSERT_EQ(lied.compare(0, 4, "PK\x03\x04"), 0);
  lied[central + 25] = 0x10;  // uncompressed size 100 -> 0x1064
  lied[22 + 1] = 0x10;
  write_text(zip, lied);
  EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 20002);
  EXPECT_EQ(error_str(20002), "We were unable to read from a zip file.  It may be missing or damaged");
}

TEST_F(ZipTest, EscapingMembersAreRefusedAndWriteNothingOutside) {
  struct Case {
    const char* name;
    const char* escaped_to;  // relative to the scratch folder, or absolute
  } cases[] = {
      {"../evil.txt", "evil.txt"},
      {"sub/../../evil2.txt", "evil2.txt"},
      {"..\\\\evil3.txt", "evil3.txt"},  // two backslashes: an empty component between
      {"ok:..:..:evil4.txt", "evil4.txt"},
      {"/tmp/zephyra_abs_evil.txt", "/tmp/zephyra_abs_evil.txt"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    py_zip("z.writestr('good.txt', b'fine')\nz.writestr(zipfile.ZipInfo(r'" +
           std::string(c.name) + "'), b'evil')");
    EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 20002);
    std::string where = c.escaped_to[0] == '/' ? c.escaped_to : log.dir.file(c.escaped_to);
    EXPECT_FALSE(exists(where));
    EXPECT_EQ(read_file(out + "good.txt"), "fine");
    std::string text = log.text();
    EXPECT_NE(text.find(std::string("UNZIP refused member \"") + c.name +
                        "\": it would land outside the folder " + out + "\n"),
              std::string::npos)
        << text;
  }
  EXPECT_FALSE(exists(out + "sub"));
}

TEST_F(ZipTest, LinkPlantedByAMemberIsNotARoadOut) {
  std::string outside = log.dir.file("elsewhere");
  mkdir(outside.c_str(), 0755);
  py_zip(
      "i = zipfile.ZipInfo('door')\n"
      "i.create_system = 3\n"
      "i.external_attr = 0o120777 << 16\n"
      "z.writestr(i, '../elsewhere')\n"
      "z.writestr('door/evil.txt', b'evil')\n"
      "z.writestr('door/sub/', b'')");
  EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 20002);
  EXPECT_TRUE(S_ISLNK(lstat_of(out + "door").st_mode));  // the link itself is inside
  EXPECT_FALSE(exists(outside + "/evil.txt"));
  EXPECT_NE(log.text().find("UNZIP refused member \"door/evil.txt\""), std::string::npos);

  // A link that stays inside the folder may be written through.
  mkdir((out + "real").c_str(), 0755);
  py_zip(
      "i = zipfile.ZipInfo('alias')\n"
      "i.create_system = 3\n"
      "i.external_attr = 0o120777 << 16\n"
      "z.writestr(i, 'real')\n"
      "z.writestr('alias/file.txt', b'in')");
  EXPECT_EQ(zip_to_file(zip, out, nullptr, 0), 0) << log.text();
  EXPECT_EQ(read_file(out + "real/file.txt"), "in");
}

TEST(ZipNames, EscapeRuleLooksAtWholeComponentsUnderAllSeparators) {
  for (const char* bad : {"..", "../x", "a/..", "a/../b", "..\\x", "a:..:b", "/abs", "\\abs", ":abs"})
    EXPECT_TRUE(zip_name_escapes(bad)) << bad;
  for (const char* fine : {"", "x", "a/b/", "..x", "x..", "a/...", "a..b/c", "./x", "a/./b"})
    EXPECT_FALSE(zip_name_escapes(fine)) << fine;
}

TEST_F(ZipTest, FirstNameTakesTheFirstMemberOnlyAndUseNameRedirects) {
  write_text(src + "/one.txt", "1");
  write_text(src + "/two.txt", "2");
  info_zip("", "one.txt two.txt");
  std::string first = "unchanged";
  ASSERT_EQ(zip_to_file(zip, out, &first, 0), 0);
  EXPECT_EQ(first, "one.txt");

  std::string renamed = "renamed.txt";
  ASSERT_EQ(zip_to_file(zip, out, &renamed, 1), 0);
  EXPECT_EQ(read_file(out + "renamed.txt"), "2");  // every member went there; the last wins
  EXPECT_EQ(renamed, "one.txt");
}

TEST_F(ZipTest, OwnArchivesRoundTripAndInfoZipReadsThem) {
  std::string file = src + "/tool";
  write_text(file, "#!/bin/sh\nexit 0\n");
  chmod(file.c_str(), 0755);
  sh("touch -d '2004-06-07 08:09:10' '" + file + "'");
  ASSERT_EQ(file_to_zip(file, zip), 0) << log.text();

  // The real tool agrees the archive is sound and holds just the bare name.
  EXPECT_EQ(sh("unzip -tqq '" + zip + "'"), 0);
  EXPECT_EQ(sh("test \"$(unzip -Z1 '" + zip + "')\" = tool"), 0);

  ASSERT_EQ(zip_to_file(zip, out, nullptr, 0), 0) << log.text();
  EXPECT_EQ(read_file(out + "tool"), "#!/bin/sh\nexit 0\n");
  struct stat st = lstat_of(out + "tool");
  EXPECT_EQ(st.st_mode & 07777, 0755u);
  EXPECT_EQ(st.st_mtime, local_time(2004, 6, 7, 8, 9, 10));

  // An empty file, and colon paths as the rest of the system writes them.
  std::string empty = src + "/empty";
  write_text(empty, "");
  std::string colon_zip = log.dir.file("e.zip");
  for (char& c : colon_zip) if (c == '/') c = ':';
  ASSERT_EQ(file_to_zip(empty, colon_zip), 0);
  ASSERT_EQ(zip_to_file(log.dir.file("e.zip"), out, nullptr, 0), 0);
  EXPECT_TRUE(exists(out + "empty"));
  EXPECT_EQ(read_file(out + "empty"), "");
}

TEST_F(ZipTest, PackingFailuresGiveTheirNumbersAndLogLines) {
  EXPECT_EQ(file_to_zip(src + "/missing", zip), 20006);
  EXPECT_EQ(error_str(20006), "We could not open a file to read from it");
  EXPECT_FALSE(exists(zip));

  write_text(src + "/f", "data");
  write_text(log.dir.file("plain"), "a file, not a folder");
  EXPECT_EQ(file_to_zip(src + "/f", log.dir.file("plain") + "/x.zip"), 20003);
  EXPECT_EQ(error_str(20003), "We were unable to create a zip file");

  std::string text = log.text();
  EXPECT_NE(text.find("file_to_zip failed with error 20006.\nfile = Files/io_utils line = "),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("file_to_zip failed with error 20003.\n"), std::string::npos);
}

}  // namespace
