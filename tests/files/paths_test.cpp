// Path rules and file operations on a real temporary tree.
#include "files/paths.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

namespace {

void write_file(const std::string& p, const std::string& body = "x") {
  std::ofstream(p, std::ios::binary) << body;
}

std::string read_file(const std::string& p) {
  std::ifstream f(p);
  std::stringstream s;
  s << f.rdbuf();
  return s.str();
}

class PathsTest : public ::testing::Test {
 protected:
  std::string root;  // no final slash

  void SetUp() override {
    char tmpl[] = "/tmp/zephyra_paths_XXXXXX";
    ASSERT_NE(mkdtemp(tmpl), nullptr);
    root = tmpl;
    g_case_sensitive = 1;
    app_path.clear();
    ASSERT_EQ(mkdir((root + "/Resources").c_str(), 0755), 0);
    ASSERT_EQ(mkdir((root + "/Resources/Menus").c_str(), 0755), 0);
    ASSERT_EQ(mkdir((root + "/Output").c_str(), 0755), 0);
    ASSERT_EQ(mkdir((root + "/Output/FMS plans").c_str(), 0755), 0);
    write_file(root + "/Resources/Menus/English.txt", "menu");
    write_file(root + "/plain.txt");
  }
  void TearDown() override {
    app_path.clear();
    g_case_sensitive = 1;
    std::string cmd = "rm -rf '" + root + "'";
    ASSERT_EQ(system(cmd.c_str()), 0);
  }
  std::string fixed(std::string p) {
    set_dir_chars(p);
    return p;
  }
};

TEST_F(PathsTest, AllThreeSeparatorsBecomeSlash) {
  EXPECT_EQ(fixed(root + ":Output:FMS plans"), root + "/Output/FMS plans");
  EXPECT_EQ(fixed(root + "/Output/FMS plans"), root + "/Output/FMS plans");
  EXPECT_EQ(fixed(root + "\\Output\\FMS plans"), root + "/Output/FMS plans");
  // With case repair off the spelling is left alone, existing or not.
  g_case_sensitive = 0;
  EXPECT_EQ(fixed("output:fms PLANS\\x/y"), "output/fms PLANS/x/y");
}

TEST_F(PathsTest, CaseIsRepairedAcrossLevelsAndMissingTailKept) {
  EXPECT_EQ(fixed(root + ":resources:MENUS:english.TXT"), root + "/Resources/Menus/English.txt");
  EXPECT_EQ(fixed(root + "/OUTPUT/fms Plans/"), root + "/Output/FMS plans/");
  // A file that doesn't exist yet keeps its own spelling from there on.
  EXPECT_EQ(fixed(root + "/resources/new/file.txt"), root + "/Resources/new/file.txt");
  // Once a level is missing, later levels are not repaired even if they'd match.
  EXPECT_EQ(fixed(root + "/RESOURCES/nothere/menus/ENGLISH.TXT"), root + "/Resources/nothere/menus/ENGLISH.TXT");
  // Nothing to list below a regular file.
  EXPECT_EQ(fixed(root + "/PLAIN.TXT/inner"), root + "/plain.txt/inner");
  // Doubled separators are kept as they are.
  EXPECT_EQ(fixed(root + "//resources::menus"), root + "//Resources//Menus");
  // Case repair off: nothing is looked up.
  g_case_sensitive = 0;
  EXPECT_EQ(fixed(root + ":resources:menus"), root + "/resources/menus");
}

TEST_F(PathsTest, RelativePathsAreRepairedFromTheWorkingFolder) {
  char old[PATH_MAX];
  ASSERT_NE(getcwd(old, sizeof old), nullptr);
  ASSERT_EQ(chdir(root.c_str()), 0);
  std::string a = fixed("resources:menus:ENGLISH.txt");
  std::string b = fixed("OUTPUT:new");
  ASSERT_EQ(chdir((root + "/Resources").c_str()), 0);
  std::string c = fixed("menus/english.txt");
  ASSERT_EQ(chdir(old), 0);
  EXPECT_EQ(a, "Resources/Menus/English.txt");
  EXPECT_EQ(b, "Output/new");
  EXPECT_EQ(c, "Menus/English.txt");
}

TEST_F(PathsTest, ExactSpellingWinsOverCaseTwin) {
  ASSERT_EQ(mkdir((root + "/DATA").c_str(), 0755), 0);
  ASSERT_EQ(mkdir((root + "/data").c_str(), 0755), 0);
  EXPECT_EQ(fixed(root + "/data/new.txt"), root + "/data/new.txt");
  EXPECT_EQ(fixed(root + "/DATA/new.txt"), root + "/DATA/new.txt");
  std::string twin = fixed(root + "/Data/new.txt");
  EXPECT_TRUE(twin == root + "/data/new.txt" || twin == root + "/DATA/new.txt") << twin;
}

// Listings may be reused between calls; a folder that changed afterwards
// must be listed again. The listing is only kept once the folder has been
// quiet for a few seconds, hence the wait.
TEST_F(PathsTest, RememberedListingsFollowChangesOnDisk) {
  ASSERT_EQ(mkdir((root + "/quiet").c_str(), 0755), 0);
  ASSERT_EQ(mkdir((root + "/quiet2").c_str(), 0755), 0);
  write_file(root + "/quiet/Alpha.dat");
  write_file(root + "/quiet2/Gamma.dat");
  std::this_thread::sleep_for(std::chrono::milliseconds(3300));

  EXPECT_EQ(fixed(root + "/quiet/alpha.dat"), root + "/quiet/Alpha.dat");
  EXPECT_EQ(fixed(root + "/quiet/beta.dat"), root + "/quiet/beta.dat");
  EXPECT_EQ(fixed(root + "/quiet2/GAMMA.dat"), root + "/quiet2/Gamma.dat");
  write_file(root + "/quiet/Beta.dat");
  EXPECT_EQ(fixed(root + "/quiet/beta.dat"), root + "/quiet/Beta.dat");
  ASSERT_EQ(rename((root + "/quiet/Alpha.dat").c_str(), (root + "/quiet/ALPHA2.dat").c_str()), 0);
  EXPECT_EQ(fixed(root + "/quiet/alpha2.dat"), root + "/quiet/ALPHA2.dat");
  EXPECT_EQ(fixed(root + "/quiet/aLPHA.dat"), root + "/quiet/aLPHA.dat");
  // A folder replaced by another of the same name is a different folder.
  ASSERT_EQ(system(("rm -rf '" + root + "/quiet2'").c_str()), 0);
  ASSERT_EQ(mkdir((root + "/quiet2").c_str(), 0755), 0);
  write_file(root + "/quiet2/Delta.dat");
  EXPECT_EQ(fixed(root + "/quiet2/GAMMA.dat"), root + "/quiet2/GAMMA.dat");
  EXPECT_EQ(fixed(root + "/quiet2/delta.DAT"), root + "/quiet2/Delta.dat");
}

TEST_F(PathsTest, LengthLimitIs499Characters) {
  // 499 characters pass, whole and unharmed, even with repair on the way.
  std::string p = root + ":resources:";
  p += std::string(499 - p.size(), 'n');
  ASSERT_EQ(p.size(), 499u);
  std::string want = root + "/Resources/" + std::string(499 - (root.size() + 11), 'n');
  EXPECT_EQ(fixed(p), want);

  // 500 is fatal: the alert's console road prints the text, then the process ends.
  std::string q = p + "n";
  EXPECT_DEATH(
      {
        dup2(2, 1);
        set_dir_chars(q);
      },
      "String too long!");
  EXPECT_DEATH(
      {
        dup2(2, 1);
        file_exists(std::string(600, 'z'));
      },
      "String too long!");
}

TEST_F(PathsTest, ExistenceTests) {
  EXPECT_TRUE(file_exists(root + ":RESOURCES:menus:english.txt"));
  EXPECT_TRUE(file_exists(root + "/Resources"));  // a folder opens too
  EXPECT_FALSE(file_exists(root + "/missing.txt"));
  EXPECT_EQ(dir_exists(root + ":resources:"), 1);
  EXPECT_EQ(dir_exists(root + "/Resources"), 1);
  EXPECT_EQ(dir_exists(root + "/plain.txt"), 0);
  EXPECT_EQ(dir_exists(root + "/missing/"), 0);

  // app_path goes in front of what these are given.
  app_path = root + "/";
  EXPECT_TRUE(file_exists("Resources:Menus:English.txt"));
  EXPECT_EQ(dir_exists("output:fms plans:"), 1);
  EXPECT_EQ(delete_file("plain.txt"), 0);
  app_path.clear();
  EXPECT_FALSE(file_exists(root + "/plain.txt"));
}

TEST_F(PathsTest, DeleteFileResults) {
  sErrLine = -1;
  EXPECT_EQ(delete_file(""), 2);

  sErrFile = "";
  sErrLine = -1;
  EXPECT_EQ(delete_file(root + ":Resources:"), 39);  // not empty
  EXPECT_STREQ(sErrFile, "Files/io_utils");
  EXPECT_GT(sErrLine, 0);
  EXPECT_EQ(delete_file(root + "/plain.txt/x"), ENOTDIR);
  EXPECT_EQ(delete_file(root + "/missing.txt"), ENOENT);
  EXPECT_EQ(delete_file(root + "/Resources"), EISDIR);  // no final separator: unlink

  EXPECT_EQ(delete_file(root + ":resources:menus:ENGLISH.TXT"), 0);
  EXPECT_EQ(delete_file(root + "\\resources\\menus\\"), 0);
  EXPECT_EQ(dir_exists(root + "/Resources/Menus"), 0);
  EXPECT_EQ(show_del_err(39), 0);
  EXPECT_EQ(show_del_err(2), 0);
}

TEST_F(PathsTest, MakeFolderAndRenameResults) {
  EXPECT_EQ(make_folder(root + ":Output:"), EEXIST);
  EXPECT_EQ(show_make_dir_err(17), 0);
  EXPECT_EQ(show_make_dir_err(0), 0);
  EXPECT_EQ(show_make_dir_err(2), 1);
  EXPECT_EQ(make_folder(root + ":a:b:"), ENOENT);  // one level only
  EXPECT_EQ(make_folder(root + "/plain.txt/sub/"), ENOTDIR);
  EXPECT_EQ(make_folder(root + ":output:New:"), 0);
  EXPECT_EQ(dir_exists(root + "/Output/New"), 1);
  struct stat st;
  ASSERT_EQ(stat((root + "/Output/New").c_str(), &st), 0);
  mode_t mask = umask(0);
  umask(mask);
  EXPECT_EQ(st.st_mode & 0777, 0755 & ~mask) << std::oct << st.st_mode;

  EXPECT_EQ(rename_file(root + ":", "plain.txt", "moved.txt"), 0);
  EXPECT_TRUE(file_exists(root + "/moved.txt"));
  EXPECT_EQ(rename_file(root + ":", "plain.txt", "again.txt"), ENOENT);
  EXPECT_EQ(rename_file(root + "/", "moved.txt", "moved.txt/inner"), ENOTDIR);
  // A folder onto a non-empty one.
  EXPECT_EQ(rename_file(root + "/", "Output", "Resources"), ENOTEMPTY);
  // The old name's case is repaired; the new name is taken as given.
  EXPECT_EQ(rename_file(root + "\\", "OUTPUT", "Zephyra 8"), 0);
  EXPECT_EQ(dir_exists(root + "/Zephyra 8/FMS plans/"), 1);
}

TEST(ErrorStr, KnownUnknownAndPlatformNumbers) {
  EXPECT_EQ(error_str(20006), "We could not open a file to read from it");
  EXPECT_EQ(error_str(20007), "We were unable to connct to the network due to an internal reconnect error");
  EXPECT_EQ(error_str(28), "No space left on device.  Perhaps your hard drive is full");
  EXPECT_EQ(error_str(99999), "Unknown error occurred (99999)");
  EXPECT_EQ(error_str(0), "Unknown error occurred (0)");
  EXPECT_EQ(error_str(-102), "Unknown error occurred (-102)");
  EXPECT_EQ(error_str(20013), "Unknown error occurred (20013)");

  // The table is keyed by this platform's errno numbers.
  EXPECT_EQ(error_str(ENOTEMPTY), "Directory not empty");
  EXPECT_EQ(error_str(EEXIST), "File exists");
  EXPECT_EQ(error_str(ENOENT), "No such file or directory");
  EXPECT_EQ(error_str(ENOTDIR), "Not a directory");
  EXPECT_EQ(error_str(EROFS), "The destination file system is read-only");
  EXPECT_EQ(error_str(EACCES), "Permission denied.  Perhaps you do not have access to a directory or file system");
  EXPECT_EQ(error_str(EDEADLK), "Resource deadlock avoided");
  EXPECT_EQ(error_str(EILSEQ), "Wide character encoding error");
  EXPECT_EQ(error_str(EXDEV), "Cross-device link");

  int rows = 0;
  for (const err_msg_pair* p = kErrMsgs; p->text; ++p) {
    ++rows;
    for (const err_msg_pair* q = kErrMsgs; q != p; ++q) EXPECT_NE(p->code, q->code) << p->code;
  }
  EXPECT_EQ(rows, 50);
}

TEST(SplitPath, FileAndFolderParts) {
  struct row {
    const char* in;
    const char* file;
    const char* folder;
  };
  const row rows[] = {
      {"a:b:c.txt", "c.txt", "a:b:"},      // separators are not normalised
      {"a/b/", "b/", "a/"},                // the last character is not looked at
      {"x\\y", "y", "x\\"},
      {"Output:FMS plans", "FMS plans", "Output:"},
      {"abc", "abc", ""},                  // no separator
      {"ab", "ab", ""},
      {"/a", "/a", ""},                    // the first character is not looked at
      {"a:", "a:", ""},
      {"a", "", ""},                       // one character
      {"", "", ""},
      {"::x", "x", "::"},
  };
  for (const row& r : rows) {
    std::string f = "junk", d = "junk";
    get_file_with_path(f, r.in);
    get_path_with_path(d, r.in);
    EXPECT_EQ(f, r.file) << r.in;
    EXPECT_EQ(d, r.folder) << r.in;
  }
  // The output may be the input itself.
  std::string s = "a:b:c";
  get_path_with_path(s, s);
  EXPECT_EQ(s, "a:b:");

  EXPECT_EQ(path_has_no_file("a:b:"), 1);
  EXPECT_EQ(path_has_no_file("a/b/"), 1);
  EXPECT_EQ(path_has_no_file("a\\"), 0);
  EXPECT_EQ(path_has_no_file("a:b"), 0);
  EXPECT_EQ(path_has_no_file(""), 0);
}

TEST_F(PathsTest, SystemFolders) {
  const char* old_home = getenv("HOME");
  std::string saved = old_home ? old_home : "";

  setenv("HOME", root.c_str(), 1);
  std::string p = "unchanged";
  get_OS_abs_path(1, p);
  EXPECT_EQ(p, root + "/");
  p.clear();
  get_OS_abs_path(2, p);
  EXPECT_EQ(p, root + "/");
  get_OS_abs_path(4, p);
  EXPECT_EQ(p, root + "/.zephyra/");
  EXPECT_EQ(dir_exists(p), 1);
  get_OS_abs_path(4, p);  // already there: same answer
  EXPECT_EQ(p, root + "/.zephyra/");
  get_OS_abs_path(3, p);
  EXPECT_EQ(p, "/tmp/");
  get_OS_abs_path(7, p);
  EXPECT_EQ(p, "/tmp/");

  unsetenv("HOME");
  p = "kept";
  get_OS_abs_path(1, p);
  get_OS_abs_path(2, p);
  get_OS_abs_path(4, p);
  EXPECT_EQ(p, "kept");
  if (old_home) setenv("HOME", saved.c_str(), 1);

  // The program's own folder, with one final slash; app_path stays empty.
  char exe[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
  ASSERT_GT(n, 0);
  std::string self(exe, n);
  app_path = "stale/";
  get_OS_abs_path(0, p);
  EXPECT_EQ(p, self.substr(0, self.rfind('/') + 1));
  EXPECT_EQ(app_path, "");
}

TEST_F(PathsTest, LaunchAppStartsProgramAndEnds) {
  const std::string out = root + "/argv.txt";
  const std::string script = root + "/Child.sh";
  write_file(script, "#!/bin/sh\nfor a in \"$0\" \"$@\"; do echo \"[$a]\"; done > '" + out + ".part'\nmv '" + out +
                         ".part' '" + out + "'\n");
  ASSERT_EQ(chmod(script.c_str(), 0755), 0);

  // The program is given in colon form and the wrong case; the caller ends.
  EXPECT_EXIT(launch_app(root + ":child.SH", "/dest/Zephyra 8/"), ::testing::ExitedWithCode(0), "");
  for (int i = 0; i < 500 && access(out.c_str(), F_OK) != 0; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_EQ(read_file(out), "[" + script + "]\n[-path]\n[/dest/Zephyra 8/]\n");

  unlink(out.c_str());
  EXPECT_EXIT(launch_app(script, ""), ::testing::ExitedWithCode(0), "");
  for (int i = 0; i < 500 && access(out.c_str(), F_OK) != 0; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_EQ(read_file(out), "[" + script + "]\n");
}

}  // namespace
