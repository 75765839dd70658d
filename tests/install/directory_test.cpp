#include "install/directory.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "files/alert.h"
#include "install/person.h"
#include "install/stage.h"
#include "install_fixture.h"

namespace {

const char kEmptyMd5[] = "d41d8cd98f00b204e9800998ecf8427e";
const std::string kSigA = "0f1e2d3c4b5a69788796a5b4c3d2e1f0";
const std::string kSigB = "00112233445566778899aabbccddeeff";

struct panel_call {
  float low, value, high;
  int mode;
  std::string top, bottom;
};
std::vector<panel_call> panel_calls;
std::vector<std::string> opened_urls;

void record_panel(float low, float value, float high, int mode, const std::string& top,
                  const std::string& bottom) {
  panel_calls.push_back({low, value, high, mode, top, bottom});
}
void record_url(const std::string& url) { opened_urls.push_back(url); }

std::string header(int version = 840, const std::string& eol = "\n") {
  return "I" + eol + std::to_string(version) + " test list" + eol + "INSTALLER" + eol;
}

class DirectoryList : public ::testing::Test {
 protected:
  scratch_dir tmp;
  std::string dest;

  void SetUp() override {
    set_run_defaults();
    app_done = 0;
    this_install_has_exes = 0;
    dest = tmp.mkdirs("dest/");
    dest_dir_path = dest;
    person_hooks = person_hooks_t{};
    person_hooks.dir_progress_bar = record_panel;
    person_hooks.go_to_URL = record_url;
    panel_calls.clear();
    opened_urls.clear();
  }
  void TearDown() override {
    person_hooks = person_hooks_t{};
    sim_info.clear();
    app_done = 0;
  }

  int read(const std::string& text) {
    const std::string list = tmp.put("directory.txt", text);
    return read_directory(list, "Scanning");
  }
  // A list path mapped onto the destination, for files the scan should find.
  std::string put_dest(const std::string& rel, const std::string& bytes) {
    return tmp.put("dest/" + rel, bytes);
  }
  const file_version_struct& last(size_t entry) { return sim_info.at(entry).back(); }
};

// ---------------------------------------------------------------- header

TEST_F(DirectoryList, AcceptsOnlyTheTwoFormatsWithTheirMagic) {
  for (int v : {810, 840}) {
    EXPECT_EQ(read(header(v) + "FILE 0 0 1 2 3 " + kSigA + " a.txt\n"), 3) << v;
    EXPECT_EQ(sim_info.size(), 1u);
  }
  // The rest of each header line is free text.
  EXPECT_EQ(read("Ignored\n840 anything\nINSTALLER  more\nFILE 0 0 1 2 3 " + kSigA + " a\n"), 3);
  EXPECT_EQ(sim_info.size(), 1u);
  EXPECT_EQ(app_done, 0);
  EXPECT_TRUE(opened_urls.empty());

  const std::vector<std::string> refused = {
      header(820), header(839), header(841), header(8400), header(0),
      "i\n840\nINSTALLER\n",      // the letter is upper case only
      "a\n840\nINSTALLER\n",
      "X\n840\nINSTALLER\n",
      "I\n840\nINSTALLERS\n",     // a longer word is another word
      "I\n840\nSERVERS\n",
      "I\n840\n",                 // cut short before the magic
      "I\n840\nFILE 0 0 1 2 3 " + kSigA + " a.txt\n",
      "I",                        // one letter, no line end
      "",                         // empty file
      "\x01\x02\xff\n\0\0",       // junk
  };
  for (const std::string& text : refused) {
    SetUp();
    EXPECT_EQ(read(text), 2) << text;
    EXPECT_EQ(app_done, 1) << text;
    EXPECT_EQ(stg.stage, 2);
    ASSERT_EQ(opened_urls.size(), 1u);
    EXPECT_EQ(opened_urls[0], kProductDownloadURL);
    EXPECT_TRUE(sim_info.empty());
  }
}

TEST_F(DirectoryList, EmptyBodyReadsAsNothingToDo) {
  stg.tot_down = 99;
  stg.tot_disk = 99;
  deleted_files.insert("/somewhere/");
  EXPECT_EQ(read(header()), 3);
  EXPECT_TRUE(sim_info.empty());
  EXPECT_EQ(stg.tot_down, 0);
  EXPECT_EQ(stg.tot_disk, 0);
  EXPECT_TRUE(deleted_files.empty());
}

TEST_F(DirectoryList, LineEndsOfAllThreeKindsReadTheSame) {
  const std::string body[] = {"DIR Top:Res:", "FILE 0 3 840 120 310 " + kSigA + " font map.txt",
                              "", "FILE 1 0 810 5 6 GONE old.txt"};
  std::vector<std::vector<std::string>> seen;
  const std::string ends[] = {"\n", "\r\n", "\r", std::string(1, '\0')};
  for (const std::string& eol : ends) {
    std::string text = header(840, eol);
    for (const std::string& line : body) text += line + eol;
    SetUp();
    ASSERT_EQ(read(text), 3);
    std::vector<std::string> got;
    for (auto& e : sim_info)
      for (auto& r : e)
        got.push_back(r.file_path + "|" + r.sig_want + "|" + std::to_string(r.row_os) + "|" +
                      std::to_string(r.row_kind) + "|" + std::to_string((int)r.disk_size));
    seen.push_back(got);
  }
  ASSERT_EQ(seen[0].size(), 2u);
  EXPECT_EQ(seen[0][0], "Top/Res/font map.txt|" + kSigA + "|3|0|310");
  EXPECT_EQ(seen[0][1], "Top/Res/old.txt|GONE|0|1|6");
  for (size_t i = 1; i < seen.size(); ++i) EXPECT_EQ(seen[i], seen[0]) << "line end " << i;
}

TEST_F(DirectoryList, FieldsSeparatorsAndFolders) {
  ASSERT_EQ(read(header() +
                 "FILE 7 9 -5 1 2 " + kSigA + " Top:root.txt\n"
                 "DIR Top:A:\n"
                 "DIR Top\\Res\\\n"
                 "FILE -3 -1 840 120 310 " + kSigA + " sub:deep\\name/x.wav\n"
                 "DIR Top/Plain/\n"
                 "FILE 0 3 840 1 2 " + kSigB + " Zephyra Linux\n"
                 "  \tFILE 0 0 840 1 2 " + kSigA + "   two  blanks  \n"
                 "DIR Top:fonts\n"
                 "FILE 0 0 1 1 1 " + kSigA + " map.txt\n"),
            3);
  ASSERT_EQ(sim_info.size(), 5u);
  // The first two fields are held to their ranges; the third is kept as is.
  EXPECT_EQ(last(0).row_kind, 1);
  EXPECT_EQ(last(0).row_os, 6);
  EXPECT_EQ(last(0).row_tag, -5);
  EXPECT_EQ(last(1).row_kind, 0);
  EXPECT_EQ(last(1).row_os, 0);
  EXPECT_EQ(last(0).file_path, "Top/root.txt");
  // A DIR line replaces the folder, it is not joined to the one before.
  EXPECT_EQ(last(1).file_path, "Top/Res/sub/deep/name/x.wav");
  EXPECT_EQ(last(1).down_size, 120.0f);
  EXPECT_EQ(last(1).disk_size, 310.0f);
  EXPECT_EQ(last(2).file_path, "Top/Plain/Zephyra Linux");
  // Leading blanks of a row are skipped; blanks inside and after a name stay.
  EXPECT_EQ(last(3).file_path, "Top/Plain/two  blanks  ");
  // A folder without its final separator runs into the name.
  EXPECT_EQ(last(4).file_path, "Top/fontsmap.txt");
}

TEST_F(DirectoryList, HistoryRowsAndAdjacency) {
  ASSERT_EQ(read(header() +
                 "DIR Top:\n"
                 "FILE 0 0 810 118 305 " + kSigB + " a.txt\n"
                 "FILE 0 0 840 120 310 " + kSigA + " a.txt\n"
                 "FILE 0 0 840 1 1 " + kSigA + " b.txt\n"
                 "FILE 0 0 850 7 7 " + kSigB + " a.txt\n"
                 "DIR Other:\n"
                 "FILE 0 0 840 1 1 " + kSigA + " b.txt\n"),
            3);
  // a.txt twice, apart: two unrelated entries. The same name under another
  // folder is another path.
  ASSERT_EQ(sim_info.size(), 4u);
  ASSERT_EQ(sim_info[0].size(), 2u);
  EXPECT_EQ(sim_info[0][0].sig_want, kSigB);
  EXPECT_EQ(sim_info[0][1].sig_want, kSigA);
  EXPECT_EQ(sim_info[1][0].file_path, "Top/b.txt");
  ASSERT_EQ(sim_info[2].size(), 1u);
  EXPECT_EQ(sim_info[2][0].file_path, "Top/a.txt");
  EXPECT_EQ(sim_info[2][0].disk_size, 7.0f);
  EXPECT_EQ(sim_info[3][0].file_path, "Other/b.txt");
  // Only the last row of an entry is signed.
  EXPECT_TRUE(sim_info[0][0].sig_have.empty());
  EXPECT_EQ(sim_info[0][1].sig_have, "NONE");
}

TEST_F(DirectoryList, OnlyExactWordsFollowedByABlankAreRows) {
  ASSERT_EQ(read(header() +
                 "# a comment-like line\n"
                 "file 0 0 1 1 1 " + kSigA + " lower.txt\n"
                 "FILES 0 0 1 1 1 " + kSigA + " plural.txt\n"
                 "FILE\n"
                 "DIRECTORY Nope:\n"
                 "DIR\n"
                 "\n\n   \n"
                 "FILE 0 0 1 1 1 " + kSigA + " kept.txt\n"
                 "ENDOFLIST\n"),
            3);
  ASSERT_EQ(sim_info.size(), 1u);
  EXPECT_EQ(last(0).file_path, "kept.txt");
}

TEST_F(DirectoryList, MissingListAndRowsWithoutANameAreFatal) {
  EXPECT_FATAL(read_directory(tmp.path + "no_such_list.txt", "x"),
               "directory file that does not exist");
  EXPECT_FATAL(read(header() + "DIR Top:\nFILE 0 0 1 1 1 " + kSigA + " sub:\n"),
               "path that has no file");
  // A row cut after its numbers names the folder itself.
  EXPECT_FATAL(read(header() + "DIR Top:\nFILE 0 0 840 12\n"), "path that has no file");
}

// ---------------------------------------------------------------- bad input

TEST_F(DirectoryList, ListCutShortKeepsWhatWasRead) {
  const std::string full = header() + "DIR Top:\nFILE 0 0 840 12 34 " + kSigA + " whole.txt\n" +
                           "FILE 0 3 840 12 34 " + kSigB + " cut name";
  ASSERT_EQ(read(full), 3);
  ASSERT_EQ(sim_info.size(), 2u);
  EXPECT_EQ(last(1).file_path, "Top/cut name");
  EXPECT_EQ(last(1).sig_want, kSigB);

  // Cut inside the numbers: the missing ones read as 0.
  ASSERT_EQ(read(header() + "FILE 1 3 84"), 3);
  ASSERT_EQ(sim_info.size(), 1u);
  EXPECT_EQ(last(0).row_tag, 84);
  EXPECT_EQ(last(0).down_size, 0.0f);
  EXPECT_EQ(last(0).sig_want, "");
  EXPECT_EQ(last(0).file_path, "");

  // Short rows read their missing fields as empty and leave the next row whole.
  ASSERT_EQ(read(header() + "FILE 0 0\nFILE 0 0 840 5 6 " + kSigA + "\n" +
                 "FILE 0 0 840 7 8 " + kSigB + " good.txt\n"),
            3);
  ASSERT_EQ(sim_info.size(), 2u);  // the two short rows share the empty path
  EXPECT_EQ(sim_info[0][1].sig_want, kSigA);
  EXPECT_EQ(last(1).file_path, "good.txt");
  EXPECT_EQ(last(1).disk_size, 8.0f);
}

TEST_F(DirectoryList, BinaryJunkIsSkippedLineByLine) {
  std::mt19937 rng(1234);
  // Junk without letters, so it can never spell a keyword; NUL, CR and LF
  // are in it and end lines wherever they fall.
  const char extra[] = {0, 13, 10, ' ', '\t', ':', '/', '\\', '0', '9', '-'};
  std::string junk;
  for (int i = 0; i < 20000; ++i) {
    unsigned v = rng() % 140;
    junk += v < sizeof extra ? extra[v] : (char)(0x80 + v);
  }
  ASSERT_EQ(read(header() + junk + "\nFILE 0 0 1 2 3 " + kSigA + " after.txt\n" + junk), 3);
  ASSERT_EQ(sim_info.size(), 1u);
  EXPECT_EQ(last(0).file_path, "after.txt");

  // Junk that ends the file right after a keyword and its blank.
  ASSERT_EQ(read(header() + junk + "\nFILE "), 3);
  ASSERT_EQ(sim_info.size(), 1u);
  EXPECT_EQ(last(0).file_path, "");
  ASSERT_EQ(read(header() + "DIR "), 3);
  EXPECT_TRUE(sim_info.empty());
}

// ---------------------------------------------------------------- scan

TEST_F(DirectoryList, ScanSignsEveryLastRowAgainstTheDisk) {
  const std::string right = put_dest("Res/right.txt", "right contents\n");
  const std::string old = put_dest("Res/old.txt", "release one\n");
  const std::string changed = put_dest("Res/changed.txt", "edited by hand\n");
  const std::string empty = put_dest("Res/empty.txt", "");
  put_dest("blocker", "a file where a folder should be");
  tmp.mkdirs("dest/Res/folder.txt/");
  symlink((dest + "nowhere").c_str(), (dest + "Res/dangling.txt").c_str());
  const std::string sig_right = md5sum_of(right), sig_old = md5sum_of(old),
                    sig_changed = md5sum_of(changed);
  ASSERT_EQ(sig_right.size(), 32u);

  ASSERT_EQ(read(header() +
                 "DIR Zephyra:Res:\n"
                 "FILE 0 0 840 1 10 " + sig_right + " right.txt\n"
                 "FILE 0 0 840 2 20 " + kSigA + " missing.txt\n"
                 "FILE 0 0 810 3 30 " + sig_old + " old.txt\n"
                 "FILE 0 0 840 4 40 " + kSigA + " old.txt\n"
                 "FILE 0 0 840 8 80 " + kSigB + " changed.txt\n"
                 "FILE 0 0 840 16 160 " + kEmptyMd5 + " empty.txt\n"
                 "FILE 0 0 840 32 320 NONE dangling.txt\n"
                 "FILE 0 0 840 64 640 " + kSigA + " folder.txt\n"
                 "DIR Zephyra:\n"
                 "FILE 0 0 840 128 1280 " + kSigA + " blocker:inside.txt\n"),
            3);
  ASSERT_EQ(sim_info.size(), 8u);
  EXPECT_EQ(last(0).sig_have, sig_right);
  EXPECT_EQ(last(0).have_file, 1);
  EXPECT_EQ(last(1).sig_have, "NONE");
  EXPECT_EQ(last(1).have_file, 0);
  EXPECT_EQ(last(2).sig_have, sig_old);  // an old release: differs from the last row
  EXPECT_EQ(last(2).have_file, 0);
  EXPECT_EQ(last(3).sig_have, sig_changed);
  EXPECT_EQ(last(3).have_file, 0);
  EXPECT_EQ(last(4).sig_have, kEmptyMd5);  // empty is signed, not "NONE"
  EXPECT_EQ(last(4).have_file, 1);
  EXPECT_EQ(last(5).sig_have, "NONE");     // a "NONE" wish matches a missing file
  EXPECT_EQ(last(5).have_file, 1);
  EXPECT_EQ(last(6).sig_have, "NONE");     // a folder can't be signed
  EXPECT_EQ(last(7).sig_have, "NONE");     // nor a path through a file

  EXPECT_EQ(stg.tot_down, 2 + 4 + 8 + 64 + 128);
  EXPECT_EQ(stg.tot_disk, 20 + 40 + 80 + 640 + 1280);
  EXPECT_EQ(this_install_has_exes, 0);  // every row here is for all platforms

  // Folder and name spelt in another case than on the disk are still found.
  const std::string file = put_dest("Resources/Fonts/Map.TXT", "case\n");
  ASSERT_EQ(read(header() + "DIR Zephyra:resources:FONTS:\n"
                 "FILE 0 0 840 1 1 " + md5sum_of(file) + " map.txt\n"),
            3);
  EXPECT_EQ(last(0).have_file, 1);
}

TEST_F(DirectoryList, SumsSkipGoneOtherPlatformsAndPresentFiles) {
  const std::string present = put_dest("here.txt", "here\n");
  const std::string sig_present = md5sum_of(present);
  stg.download_os = 4;
  ASSERT_EQ(read(header() +
                 "DIR Zephyra:\n"
                 "FILE 0 0 840 1 1 GONE here.txt\n"          // gone, file on disk
                 "FILE 0 0 840 2 2 GONE away.txt\n"          // gone, file absent
                 "FILE 0 0 840 4 4 GONE back.txt\n"          // gone, then current again
                 "FILE 0 0 850 8 8 " + kSigA + " back.txt\n"
                 "FILE 0 0 840 16 16 " + kSigA + " later.txt\n"  // current, then gone
                 "FILE 0 0 850 32 32 GONE later.txt\n"
                 "FILE 0 1 840 64 64 " + kSigA + " mac\n"
                 "FILE 0 2 840 128 128 " + kSigA + " win\n"
                 "FILE 0 3 840 256 256 " + kSigA + " generic\n"
                 "FILE 0 5 840 512 512 " + kSigA + " athlon\n"
                 "FILE 0 6 840 1024 1024 " + kSigA + " linux-any\n"
                 "FILE 1 4 840 2048 2048 " + kSigA + " p3\n"
                 "FILE 0 0 840 4096 4096 " + sig_present + " here.txt\n"),
            3);
  EXPECT_EQ(stg.tot_down, 8 + 1024 + 2048);
  EXPECT_EQ(stg.tot_disk, 8 + 1024 + 2048);
  EXPECT_EQ(this_install_has_exes, 1);  // set by the row_os 4 file alone
}

TEST_F(DirectoryList, HasExesIsSetOnlyByOwnPlatformRowsAndNeverCleared) {
  const std::string bin = put_dest("bin", "binary\n");
  ASSERT_EQ(read(header() + "FILE 0 6 840 1 1 " + kSigA + " Zephyra:all-linux\n"
                 "FILE 0 0 840 1 1 " + kSigA + " Zephyra:data\n"
                 "FILE 0 3 840 1 1 GONE Zephyra:oldbin\n"
                 "FILE 0 3 840 1 1 " + md5sum_of(bin) + " Zephyra:bin\n"
                 "FILE 0 2 840 1 1 " + kSigA + " Zephyra:win.exe\n"),
            3);
  EXPECT_EQ(this_install_has_exes, 0);

  ASSERT_EQ(read(header() + "FILE 0 3 840 1 1 " + kSigA + " Zephyra:bin\n"), 3);
  EXPECT_EQ(this_install_has_exes, 1);
  ASSERT_EQ(read(header() + "FILE 0 0 840 1 1 " + kSigA + " Zephyra:data\n"), 3);
  EXPECT_EQ(this_install_has_exes, 1);
}

TEST_F(DirectoryList, ReadingAgainstAnotherFolderStartsAfresh) {
  scratch_dir other;
  const std::string text =
      header() + "FILE 0 0 840 5 50 " + md5sum_of(other.put("a.txt", "x")) + " Top:a.txt\n";
  ASSERT_EQ(read(text), 3);
  ASSERT_EQ(read(text), 3);
  EXPECT_EQ(stg.tot_down, 5);  // not 10: the sums start from zero
  dest_dir_path = other.path;
  ASSERT_EQ(read(text), 3);
  EXPECT_EQ(stg.tot_down, 0);
}

TEST_F(DirectoryList, WantThisFollowsThePlatform) {
  std::string text = header();
  for (int os = 0; os <= 6; ++os)
    text += "FILE 0 " + std::to_string(os) + " 840 1 1 " + kSigA + " f" + std::to_string(os) +
            "\n";
  ASSERT_EQ(read(text), 3);
  auto wanted = [&] {
    std::string s;
    for (int i = 0; i <= 6; ++i) s += want_this_f(i, 0, 0) ? '1' : '0';
    return s;
  };
  // Rows are 0..6; the download platform is read on every call.
  stg.download_os = 4;
  EXPECT_EQ(wanted(), "1000101");
  stg.download_os = 3;
  EXPECT_EQ(wanted(), "1001001");
  stg.download_os = 5;
  EXPECT_EQ(wanted(), "1000011");
  stg.download_os = 1;
  EXPECT_EQ(wanted(), "1100000");
  stg.download_os = 2;
  EXPECT_EQ(wanted(), "1010000");
  EXPECT_EQ(want_this_f(0, 0, 1), 0);  // a kind that differs from the row's
  EXPECT_FATAL(want_this_f(7, 0, 0), "not in the list");
}

TEST_F(DirectoryList, ProgressPanelPacing) {
  std::string text = header() + "DIR Top:\n";
  for (int i = 0; i < 1200; ++i)
    text += "FILE 0 0 840 1 1 " + kSigA + " f" + std::to_string(i) + "\n";
  const int before = read_directory_rows_parsed();
  ASSERT_EQ(read(text), 3);
  EXPECT_EQ(read_directory_rows_parsed(), before + 1200);

  std::vector<panel_call> parse, scan;
  for (auto& c : panel_calls) (c.mode == dir_progress_parsing ? parse : scan).push_back(c);
  // Once per 500 rows parsed since start-up, counted across reads.
  int expect = 0;
  for (int k = before; k < before + 1200; ++k) expect += k % 500 == 0;
  EXPECT_EQ((int)parse.size(), expect);
  for (auto& c : parse) {
    EXPECT_EQ(c.top, "Scanning");
    EXPECT_EQ(c.high, (float)text.size());
    EXPECT_LE(c.value, c.high);
    EXPECT_EQ(c.bottom.substr(0, 1), "f");
  }
  // 1200 entries: every sixth one, so 200 repaints.
  ASSERT_EQ(scan.size(), 200u);
  EXPECT_EQ(scan[0].value, 0);
  EXPECT_EQ(scan[1].value, 6);
  EXPECT_EQ(scan[0].high, 1200);
  EXPECT_EQ(scan[0].bottom, dest + "f0");

  // Fewer than 200 entries: one repaint per entry.
  panel_calls.clear();
  ASSERT_EQ(read(header() + "FILE 0 0 1 1 1 " + kSigA + " a\nFILE 0 0 1 1 1 " + kSigA + " b\n"),
            3);
  int scans = 0;
  for (auto& c : panel_calls) scans += c.mode == dir_progress_examining;
  EXPECT_EQ(scans, 2);
}

}  // namespace
