#include "install/folders.h"

#include <vector>

#include "files/paths.h"
#include "install_fixture.h"

namespace {

std::vector<std::vector<std::string>> alerts;  // four lines, level, place

struct Folders : install_case {
  void SetUp() override {
    install_case::SetUp();  // download_os 3
    alerts.clear();
    alert_hooks.show_screen = [](int, const std::string l[4], int level, const std::string& at) {
      alerts.push_back({l[0], l[1], l[2], l[3], std::to_string(level), at});
    };
    ogl_inited = 1;
  }
  // One entry of rows with the given signatures, the last one current.
  void entry(const std::string& path, std::vector<std::string> sigs = {"s"}, int os = 0) {
    sim_info.emplace_back();
    for (auto& sig : sigs) sim_info.back().push_back({0, os, 0, 0, 0, sig, "", path});
  }
  bool is_dir(const std::string& rel) { return dir_exists(dest_dir_path + rel) == 1; }
};

TEST_F(Folders, AncestorsParentsBeforeChildrenAndTheFixedSix) {
  dest_dir_path = tmp.path + "home/ann/Zephyra/";  // none of it exists yet
  // mkdir goes one level at a time: a child tried before its parent fails.
  entry("Zephyra/Resources/fonts/extra/a.txt");
  entry("Zephyra/Resources fonts/c.txt");  // sorts between "Resources" and "Resources/"
  entry("Zephyra/Resources-x/d/e/f/g.txt");
  entry("Zephyra/top.txt");                // directly in the destination
  entry("/Lead/h.txt");                    // a leading "/" is all that is cut
  entry("Zephyra/Win/x.dll", {"s"}, 2);    // another platform
  entry("Zephyra/Linux/x.so", {"s"}, 6);   // every Linux: wanted
  entry("Zephyra/Old/gone.txt", {"GONE"});
  entry("Zephyra/Back/again.txt", {"GONE", "s"});
  make_dirs();
  EXPECT_TRUE(alerts.empty()) << alerts[0][3];
  for (const char* rel : {"", "Resources/fonts/extra", "Resources fonts", "Resources-x/d/e/f",
                          "Lead", "Linux", "Back", "Output/FMS plans", "Output/logbooks",
                          "Output/movies", "Output/situations", "Resources/preferences"})
    EXPECT_TRUE(is_dir(rel)) << rel;
  for (const char* rel : {"Zephyra", "top.txt", "Win", "Old"}) EXPECT_FALSE(is_dir(rel)) << rel;

  // Again over a full folder: no error, contents kept. A new platform gets
  // its folders on the next press.
  tmp.put("home/ann/Zephyra/Output/logbooks/mine.log", "flight\n");
  stg.download_os = 2;
  make_dirs();
  EXPECT_TRUE(alerts.empty());
  EXPECT_TRUE(is_dir("Win") && tmp.exists("home/ann/Zephyra/Output/logbooks/mine.log"));
}

TEST_F(Folders, FailuresReportOncePerStepAndForEveryFixedFolder) {
  tmp.put("blocker", "a regular file, not a folder\n");
  dest_dir_path = tmp.path + "blocker/deeper/still/Zephyra/";
  entry("Zephyra/A/a.txt");
  entry("Zephyra/B/b.txt");
  make_dirs();
  // The ancestors stop at their first failure and the list's folders at
  // theirs; each of the six reports on its own.
  ASSERT_EQ(alerts.size(), 8u);
  EXPECT_EQ(alerts[0], (std::vector<std::string>{
                           "I am unable to install or update Zephyra. An error occurred while "
                           "creating new folders. Make sure you are installing to a directory that "
                           "you have access to!",
                           "Error: " + error_str(20), "Install Location: " + dest_dir_path,
                           "Install Path:" + tmp.path + "blocker/deeper",
                           std::to_string(alert_warning), alerts[0][5]}));
  EXPECT_EQ(alerts[0][1].find("Unknown"), std::string::npos) << alerts[0][1];
  EXPECT_EQ(alerts[1][3], "Install Path:" + dest_dir_path + "A");
  EXPECT_EQ(alerts[7][3], "Install Path:" + dest_dir_path + "Resources:preferences");
}

}  // namespace
