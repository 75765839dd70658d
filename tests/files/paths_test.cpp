#include "files/paths.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <sys/stat.h>

#include <cerrno>
#include <thread>

#include "temp_log.h"

namespace {

void write_file(const std::string& p) { std::ofstream(p) << "x"; }

class PathsTest : public ::testing::Test {
 protected:
  temp_dir dir;
  std::string root = dir.path;  // no final slash

  void SetUp() override {
    g_case_sensitive = 1;
    app_path.clear();
    for (const char* d : {"/Resources", "/Resources/Menus", "/Output", "/Output/FMS plans"})
      ASSERT_EQ(mkdir((root + d).c_str(), 0755), 0);
    write_file(root + "/Resources/Menus/English.txt");
    write_file(root + "/plain.txt");
  }
  void TearDown() override {
    app_path.clear();
    g_case_sensitive = 1;
  }
  std::string fixed(std::string p) {
    set_dir_chars(p);
    return p;
  }
};

TEST_F(PathsTest, SeparatorsCaseRepairAndLengthLimit) {
  ASSERT_EQ(mkdir((root + "/DATA").c_str(), 0755), 0);
  ASSERT_EQ(mkdir((root + "/data").c_str(), 0755), 0);
  const struct { std::string in, want; } cases[] = {
      {":resources:MENUS:english.TXT", "/Resources/Menus/English.txt"},
      {"\\OUTPUT\\fms Plans/", "/Output/FMS plans/"},
      // Past the first missing level the text's own spelling stays, matching or not.
      {"/RESOURCES/nothere/menus/ENGLISH.TXT", "/Resources/nothere/menus/ENGLISH.TXT"},
      {"/PLAIN.TXT/inner", "/plain.txt/inner"},
      {"//resources::menus", "//Resources//Menus"},  // doubled separators kept
      {"/DATA/new.txt", "/DATA/new.txt"},  // the exact spelling wins over its case twin
  };
  for (const auto& c : cases) EXPECT_EQ(fixed(root + c.in), root + c.want) << c.in;

  char old[PATH_MAX];
  ASSERT_NE(getcwd(old, sizeof old), nullptr);
  ASSERT_EQ(chdir(root.c_str()), 0);
  std::string relative = fixed("resources:menus:ENGLISH.txt");
  ASSERT_EQ(chdir(old), 0);
  EXPECT_EQ(relative, "Resources/Menus/English.txt");

  g_case_sensitive = 0;  // repair off: nothing is looked up
  EXPECT_EQ(fixed(root + ":resources:menus\\x"), root + "/resources/menus/x");

  // 499 characters pass; 500 are fatal.
  std::string p = root + ":resources:";
  p += std::string(499 - p.size(), 'n');
  EXPECT_EQ(fixed(p).size(), 499u);
  EXPECT_DEATH((dup2(2, 1), set_dir_chars(p += "n")), "String too long!");
}

// Listings of folders quiet for a few seconds are reused, hence the wait.
TEST_F(PathsTest, RememberedListingsFollowChangesOnDisk) {
  ASSERT_EQ(mkdir((root + "/quiet").c_str(), 0755), 0);
  ASSERT_EQ(mkdir((root + "/quiet2").c_str(), 0755), 0);
  write_file(root + "/quiet2/Gamma.dat");
  std::this_thread::sleep_for(std::chrono::milliseconds(3300));

  EXPECT_EQ(fixed(root + "/quiet/beta.dat"), root + "/quiet/beta.dat");
  EXPECT_EQ(fixed(root + "/quiet2/GAMMA.dat"), root + "/quiet2/Gamma.dat");
  write_file(root + "/quiet/Beta.dat");
  EXPECT_EQ(fixed(root + "/quiet/beta.dat"), root + "/quiet/Beta.dat");
  // A folder replaced by another of the same name is a different folder.
  ASSERT_EQ(system(("rm -rf '" + root + "/quiet2' && mkdir '" + root + "/quiet2'").c_str()), 0);
  write_file(root + "/quiet2/Delta.dat");
  EXPECT_EQ(fixed(root + "/quiet2/GAMMA.dat"), root + "/quiet2/GAMMA.dat");
  EXPECT_EQ(fixed(root + "/quiet2/delta.DAT"), root + "/quiet2/Delta.dat");
}

TEST_F(PathsTest, ExistenceAndErrorNumbersOfFileOperations) {
  app_path = root + "/";  // goes in front of what these are given
  EXPECT_EQ(dir_exists("output:fms plans:"), 1);
  app_path.clear();

  EXPECT_EQ(make_folder(root + ":Output:"), EEXIST);
  EXPECT_EQ(show_make_dir_err(EEXIST), 0);  // an existing folder is no error
  EXPECT_EQ(make_folder(root + ":a:b:"), ENOENT);  // one level only

  EXPECT_EQ(rename_file(root + ":", "plain.txt", "moved.txt"), 0);
  EXPECT_EQ(rename_file(root + "/", "Output", "Resources"), ENOTEMPTY);
  // The old name's case is repaired; the new name is taken as given.
  EXPECT_EQ(rename_file(root + "\\", "OUTPUT", "Zephyra 8"), 0);
  EXPECT_EQ(dir_exists(root + "/Zephyra 8/FMS plans/"), 1);

  sErrLine = -1;
  EXPECT_EQ(delete_file(root + ":Resources:"), ENOTEMPTY);
  EXPECT_STREQ(sErrFile, "Files/io_utils");
  EXPECT_GT(sErrLine, 0);
  EXPECT_EQ(delete_file(root + "/Resources"), EISDIR);  // no final separator: a file
  EXPECT_EQ(delete_file(root + ":resources:menus:ENGLISH.TXT"), 0);
  EXPECT_EQ(delete_file(root + "\\resources\\menus\\"), 0);
  EXPECT_EQ(dir_exists(root + "/Resources/Menus"), 0);
}

TEST(ErrorStr, OwnNumbersPlatformNumbersAndUnknown) {
  EXPECT_EQ(error_str(20007), "We were unable to connct to the network due to an internal reconnect error");
  EXPECT_EQ(error_str(ENOTEMPTY), "Directory not empty");  // keyed by this platform's errno
  EXPECT_EQ(error_str(20013), "Unknown error occurred (20013)");
  for (const err_msg_pair* p = kErrMsgs; p->text; ++p)  // a repeated number would hide a text
    for (const err_msg_pair* q = kErrMsgs; q != p; ++q) EXPECT_NE(p->code, q->code) << p->code;
}

TEST(SplitPath, FileAndFolderParts) {
  // Separators are not normalised; neither the first nor the last character is looked at.
  const struct { const char *in, *file, *folder; } rows[] = {
      {"a:b:c.txt", "c.txt", "a:b:"}, {"a/b/", "b/", "a/"}, {"x\\y", "y", "x\\"}, {"abc", "abc", ""},
      {"/a", "/a", ""},               {"a", "", ""},        {"", "", ""},
  };
  for (const auto& r : rows) {
    std::string f = "junk", d = "junk";
    get_file_with_path(f, r.in);
    get_path_with_path(d, r.in);
    EXPECT_EQ(f, r.file) << r.in;
    EXPECT_EQ(d, r.folder) << r.in;
  }
  EXPECT_EQ(path_has_no_file("a:b:") + path_has_no_file("a/b/") + path_has_no_file("a\\") + path_has_no_file("a:b"), 2);
}

TEST_F(PathsTest, TheUsersFolderIsMadeOnTheWay) {
  const std::string home = getenv("HOME") ? getenv("HOME") : "";
  setenv("HOME", root.c_str(), 1);
  std::string p;
  get_OS_abs_path(4, p);
  setenv("HOME", home.c_str(), 1);
  EXPECT_EQ(p, root + "/.zephyra/");
  EXPECT_EQ(dir_exists(p), 1);
}

}  // namespace
