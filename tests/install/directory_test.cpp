

#include "install_fixture.h"

namespace {

const std::string kSig = "0f1e2d3c4b5a69788796a5b4c3d2e1f0";

std::string header(int version = 840, const std::string& eol = "\n") {
  return "I" + eol + std::to_string(version) + " test list" + eol + "INSTALLER" + eol;
}

struct DirectoryList : install_case {
  int read(const std::string& text) { return read_directory(tmp.put("list.txt", text), "Scan"); }
  std::string sig_of(const std::string& rel, const std::string& bytes) {
    return md5sum_of(tmp.put("dest/" + rel, bytes));
  }
  const file_version_struct& last(size_t entry) { return sim_info.at(entry).back(); }
  // An entry: its row count, then the last row's kind os tag down disk sig|path.
  std::string fields(size_t entry) {
    const file_version_struct& r = last(entry);
    std::ostringstream s;
    s << sim_info[entry].size() << ": " << r.row_kind << ' ' << r.row_os << ' ' << r.row_tag << ' '
      << r.down_size << ' ' << r.disk_size << ' ' << r.sig_want << '|' << r.file_path;
    return s.str();
  }
};

TEST_F(DirectoryList, HeaderAcceptsTwoVersionsAndRefusesTheRest) {
  // The rest of each line is free text.
  for (std::string text : {header(810), header(840), std::string("Ix\n840 a\nINSTALLER b\n")})
    EXPECT_EQ(read(text), 3) << text;
  for (const std::string& text :
       {header(820), header(8400), std::string("i\n840\nINSTALLER\n"),
        std::string("I\n840\nINSTALLERS\n"), std::string("I\n840\n"), std::string(""),
        std::string("\x01\x02\xff\n\0\0", 6)}) {
    SetUp();
    EXPECT_EQ(read(text + "FILE 0 0 1 2 3 s a.txt\n"), 2) << text;
    EXPECT_EQ(app_done, 1);
    EXPECT_TRUE(sim_info.empty());
  }
}

TEST_F(DirectoryList, RowsFoldersSeparatorsAndLineEnds) {
  const char* lines[] = {"FILE 7 9 -5 1 2 s Top:root.txt", "DIR Top:A:", "DIR Top\\Res\\",
                         "FILE -3 -1 840 120 310 s sub:deep\\name/x.wav",
                         "file 0 0 1 1 1 s lower.txt", "FILES 0 0 1 1 1 s s.txt", "FILE",
                         "DIRECTORY Nope:", "DIR", "", "   ", "  \tFILE 0 0 810 1 2 old  a b  ",
                         "FILE 1 0 840 3 4 GONE  a b  ", "FILE 0 0 840 1 1 s c",
                         "FILE 0 0 850 5 6 new  a b  ", "DIR Top:fonts", "FILE 0 0 1 1 1 s map"};
  for (const std::string& eol : {std::string("\n"), std::string("\r\n"), std::string("\r"),
                                 std::string(1, '\0')}) {
    std::string text = header(840, eol);
    for (const char* line : lines) text += line + eol;
    ASSERT_EQ(read(text), 3);
    ASSERT_EQ(sim_info.size(), 6u) << "line end " << (int)eol[0];
    // The first two fields are held to their ranges; the third is kept as is.
    EXPECT_EQ(fields(0), "1: 1 6 -5 1 2 s|Top/root.txt");
    // A DIR line replaces the folder rather than joining the one before.
    EXPECT_EQ(fields(1), "1: 0 0 840 120 310 s|Top/Res/sub/deep/name/x.wav");
    // Leading blanks of a row go, blanks in and after a name stay; only
    // adjacent rows of one path share an entry, and only its last is signed.
    EXPECT_EQ(fields(2), "2: 1 0 840 3 4 GONE|Top/Res/a b  ");
    EXPECT_EQ(sim_info[2][0].sig_have + "/" + sim_info[2][1].sig_have, "/NONE");
    EXPECT_EQ(fields(4), "1: 0 0 850 5 6 new|Top/Res/a b  ");
    // A folder without its final separator runs into the name.
    EXPECT_EQ(fields(5), "1: 0 0 1 1 1 s|Top/fontsmap");
  }
  EXPECT_FATAL(read_directory(tmp.path + "none.txt", "x"), "directory file that does not exist");
  EXPECT_FATAL(read(header() + "DIR Top:\nFILE 0 0 1 1 1 s sub:\n"), "path that has no file");
  EXPECT_FATAL(read(header() + "DIR Top:\nFILE 0 0 840 12\n"), "path that has no file");
}

TEST_F(DirectoryList, ShortRowsCutListsAndJunkKeepWhatWasRead) {
  // A short row doesn't swallow the next; the last line needs no end.
  ASSERT_EQ(read(header() + "FILE 0 0\nFILE 0 3 840 5 6 t cut"), 3);
  EXPECT_EQ(fields(1), "1: 0 3 840 5 6 t|cut");
  ASSERT_EQ(read(header() + "FILE 1 3 84"), 3);  // the missing fields read as 0 and empty
  EXPECT_EQ(fields(0), "1: 1 3 84 0 0 |");

  // Junk without letters never spells a keyword; the NUL, CR and LF in it
  // end lines wherever they fall. A list may end right after a keyword.
  std::string junk;
  for (int i = 0; i < 20000; ++i) junk += "\0\r\n \t:/\\09-\x80\xa7\xff"[(i * 79 + i / 13) % 14];
  ASSERT_EQ(read(header() + junk + "\nFILE 0 0 1 2 3 s after.txt\n" + junk), 3);
  ASSERT_EQ(sim_info.size(), 1u);
  EXPECT_EQ(last(0).file_path, "after.txt");
  ASSERT_EQ(read(header() + junk + "\nFILE "), 3);
  ASSERT_EQ(read(header() + "DIR "), 3);
  EXPECT_TRUE(sim_info.empty());
}

TEST_F(DirectoryList, ScanSignsEveryLastRowAgainstTheDisk) {
  const std::string right = sig_of("Res/right", "right\n"), old = sig_of("Res/old", "old\n"),
                    changed = sig_of("Res/changed", "edited\n"), empty = sig_of("Res/empty", "");
  tmp.put("dest/blocker", "a file where a folder should be");
  tmp.mkdirs("dest/Res/folder/");
  ASSERT_EQ(right.size(), 32u);
  ASSERT_EQ(read(header() + "DIR Zephyra:Res:\nFILE 0 0 840 1 10 " + right + " right\n" +
                 "FILE 0 0 840 2 20 " + kSig + " missing\n" +
                 "FILE 0 0 810 3 30 " + old + " old\nFILE 0 0 840 4 40 " + kSig + " old\n" +
                 "FILE 0 0 840 8 80 " + kSig + " changed\n" +
                 "FILE 0 0 840 16 160 " + empty + " empty\nFILE 0 0 840 32 320 NONE absent\n" +
                 "FILE 0 0 840 64 640 " + kSig + " folder\n" +
                 "DIR Zephyra:\nFILE 0 0 840 128 1280 " + kSig + " blocker:inside\n"),
            3);
  const std::pair<std::string, int> want[] = {  // sig_have, have_file
      {right, 1}, {"NONE", 0}, {old, 0}, {changed, 0},
      {empty, 1},                 // an empty file is signed, not "NONE"
      {"NONE", 1},                // a "NONE" wish matches a missing file
      {"NONE", 0}, {"NONE", 0}};  // a folder, and a path through a file, can't be signed
  ASSERT_EQ(sim_info.size(), 8u);
  for (size_t i = 0; i < 8; ++i)
    EXPECT_EQ(std::make_pair(last(i).sig_have, last(i).have_file), want[i]) << i;
  EXPECT_EQ(stg.tot_down, 2 + 4 + 8 + 64 + 128);
  EXPECT_EQ(stg.tot_disk, 20 + 40 + 80 + 640 + 1280);

  // Folder and name spelt in another case than on the disk are still found.
  const std::string cased = sig_of("Resources/Fonts/Map.TXT", "case\n");
  ASSERT_EQ(read(header() + "DIR Top:resources:FONTS:\nFILE 0 0 1 1 1 " + cased + " map.TxT"), 3);
  EXPECT_EQ(last(0).have_file, 1);
  EXPECT_EQ(stg.tot_down, 0);  // the sums start from zero on every read
}

TEST_F(DirectoryList, SumsAndExesCountOnlyWhatThisPlatformFetches) {
  const std::string here = sig_of("here", "here\n");
  stg.download_os = 4;
  // Gone (present or not), gone then back, current then gone, other
  // platforms, every Linux, and a present file of this platform.
  ASSERT_EQ(read(header() + "DIR Zephyra:\nFILE 0 0 840 1 1 GONE here\nFILE 0 0 840 2 2 GONE away\n"
                 "FILE 0 0 840 4 4 GONE back\nFILE 0 0 850 8 8 s back\n"
                 "FILE 0 0 840 16 16 s later\nFILE 0 0 850 32 32 GONE later\n"
                 "FILE 0 2 840 64 64 s win\nFILE 0 3 840 128 128 s generic\n"
                 "FILE 0 6 840 256 256 s linux\nFILE 0 4 840 512 512 " + here + " here\n"),
            3);
  EXPECT_EQ(stg.tot_down + stg.tot_disk, 2 * (8 + 256));
  // Only a file to fetch for this one platform marks executables, and no
  // later read clears the mark.
  EXPECT_EQ(this_install_has_exes, 0);
  stg.download_os = 1;  // the lowest platform number counts too
  ASSERT_EQ(read(header() + "FILE 1 1 840 1 1 s Zephyra:p3\n"), 3);
  ASSERT_EQ(read(header()), 3);
  EXPECT_EQ(this_install_has_exes, 1);
}

}  // namespace
