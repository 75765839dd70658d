#include "install/folders.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "files/alert.h"
#include "files/paths.h"
#include "install/directory.h"
#include "install/stage.h"
#include "install_fixture.h"

namespace {

struct alert_seen {
  std::string lines[4];
  int level;
  std::string place;
};
std::vector<alert_seen> alerts;

void record_alert(int, const std::string lines[4], int level, const std::string& place) {
  alerts.push_back({{lines[0], lines[1], lines[2], lines[3]}, level, place});
}

const char* const kSix[] = {"Output",        "Output/FMS plans",  "Output/logbooks",
                            "Output/movies", "Output/situations", "Resources/preferences"};

class Folders : public ::testing::Test {
 protected:
  scratch_dir tmp;

  void SetUp() override {
    set_run_defaults();  // download_os 3
    sim_info.clear();
    alerts.clear();
    alert_hooks = alert_hooks_t{};
    alert_hooks.show_screen = record_alert;
    ogl_inited = 1;
  }
  void TearDown() override {
    alert_hooks = alert_hooks_t{};
    ogl_inited = 0;
    sim_info.clear();
  }
  // One entry whose last row is the given one; earlier rows may precede it.
  void entry(const std::string& file_path, const std::string& sig = "0123456789abcdef0123456789abcdef",
             int os = 0, const std::string& earlier_sig = "") {
    std::vector<file_version_struct> e;
    file_version_struct r;
    r.file_path = file_path;
    r.row_os = os;
    if (!earlier_sig.empty()) {
      r.sig_want = earlier_sig;
      e.push_back(r);
    }
    r.sig_want = sig;
    e.push_back(r);
    sim_info.push_back(e);
  }
  bool is_dir(const std::string& rel) { return dir_exists(dest_dir_path + rel) == 1; }
};

TEST_F(Folders, DestinationAncestorsListFoldersAndTheFixedSix) {
  dest_dir_path = tmp.path + "home/ann/Zephyra/";  // none of it exists yet
  // mkdir goes one level at a time, so any child tried before its parent
  // would fail and report.
  entry("Zephyra/Resources/fonts/extra/a.txt");
  entry("Zephyra/Resources/fonts/b.txt");
  entry("Zephyra/Resources fonts/c.txt");   // sorts between "Resources" and "Resources/"
  entry("Zephyra/Resources-x/d/e/f/g.txt");
  entry("Zephyra/top.txt");                 // directly in the destination: no folder
  entry("/Lead/h.txt");                     // a leading "/" is all that is cut
  entry("Zephyra/Win/x.dll", "0123456789abcdef0123456789abcdef", 2);  // another platform
  entry("Zephyra/Mac/x", "0123456789abcdef0123456789abcdef", 1);
  entry("Zephyra/Linux/x.so", "0123456789abcdef0123456789abcdef", 6);  // all Linux: wanted
  entry("Zephyra/Old/gone.txt", "GONE");
  entry("Zephyra/Back/again.txt", "0123456789abcdef0123456789abcdef", 0, "GONE");
  make_dirs();
  EXPECT_TRUE(alerts.empty()) << alerts[0].lines[3];

  for (const char* rel : {"", "Resources", "Resources/fonts", "Resources/fonts/extra",
                          "Resources fonts", "Resources-x/d/e/f", "Lead", "Linux", "Back"})
    EXPECT_TRUE(is_dir(rel)) << rel;
  for (const char* rel : kSix) EXPECT_TRUE(is_dir(rel)) << rel;
  for (const char* rel : {"Zephyra", "top.txt", "Win", "Mac", "Old"})
    EXPECT_FALSE(tmp.exists("home/ann/Zephyra/" + std::string(rel))) << rel;

  // The platform changes: the next press makes what the new one needs.
  stg.download_os = 2;
  make_dirs();
  EXPECT_TRUE(alerts.empty());
  EXPECT_TRUE(is_dir("Win"));
  EXPECT_FALSE(is_dir("Mac"));
}

TEST_F(Folders, ExistingFoldersAreNoErrorAndKeepTheirContents) {
  dest_dir_path = tmp.mkdirs("Zephyra/");
  entry("Zephyra/Resources/fonts/a.txt");
  entry("Zephyra/Old/gone.txt", "GONE");
  make_dirs();
  tmp.put("Zephyra/Output/logbooks/mine.log", "flight\n");
  tmp.put("Zephyra/Old/kept.txt", "x");
  // A second run over a complete folder makes nothing and says nothing.
  make_dirs();
  make_dirs();
  EXPECT_TRUE(alerts.empty());
  EXPECT_TRUE(tmp.exists("Zephyra/Output/logbooks/mine.log"));
  EXPECT_TRUE(tmp.exists("Zephyra/Old/kept.txt"));
}

TEST_F(Folders, UnreachableDestinationReportsOncePerStepAndEveryFixedFolder) {
  tmp.put("blocker", "a regular file, not a folder\n");
  dest_dir_path = tmp.path + "blocker/deeper/still/Zephyra/";
  entry("Zephyra/A/a.txt");
  entry("Zephyra/B/b.txt");
  make_dirs();
  // Step one stops at its first failure (one report, not two), the list's
  // folders report once, each of the six its own.
  ASSERT_EQ(alerts.size(), 8u);
  const alert_seen& first = alerts[0];
  EXPECT_EQ(first.lines[0],
            "I am unable to install or update Zephyra. An error occurred while creating new "
            "folders. Make sure you are installing to a directory that you have access to!");
  EXPECT_EQ(first.lines[1], "Error: " + error_str(20));
  EXPECT_EQ(first.lines[1].find("Unknown"), std::string::npos) << first.lines[1];
  EXPECT_EQ(first.lines[2], "Install Location: " + dest_dir_path);
  EXPECT_EQ(first.lines[3], "Install Path:" + tmp.path + "blocker/deeper");
  EXPECT_EQ(first.level, alert_warning);
  EXPECT_NE(first.place.find("utils"), std::string::npos) << first.place;
  EXPECT_EQ(alerts[1].lines[3], "Install Path:" + dest_dir_path + "A");
  EXPECT_EQ(alerts[2].lines[3], "Install Path:" + dest_dir_path + "Output");
  EXPECT_EQ(alerts[7].lines[3], "Install Path:" + dest_dir_path + "Resources:preferences");
  EXPECT_FALSE(tmp.exists("blocker/deeper"));
}

TEST_F(Folders, AFailingListFolderAbandonsTheRestButNotTheFixedSix) {
  dest_dir_path = tmp.mkdirs("Zephyra/");
  // A regular file where "Resources" should be. mkdir answers "File exists"
  // for it, which passes, and everything below it then fails.
  tmp.put("Zephyra/Resources", "not a folder\n");
  entry("Zephyra/Data/a.txt");
  entry("Zephyra/Resources/fonts/b.txt");
  entry("Zephyra/Zz/c.txt");
  make_dirs();
  ASSERT_EQ(alerts.size(), 2u);
  EXPECT_EQ(alerts[0].lines[3], "Install Path:" + dest_dir_path + "Resources/fonts");
  EXPECT_EQ(alerts[1].lines[3], "Install Path:" + dest_dir_path + "Resources:preferences");
  EXPECT_TRUE(tmp.exists("Zephyra/Data"));
  EXPECT_FALSE(tmp.exists("Zephyra/Zz"));  // after the failure in sorted order
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(is_dir(kSix[i])) << kSix[i];
}

}  // namespace
