#include "install/destination.h"

#include <cstring>
#include <tuple>

#include "install_fixture.h"

namespace {

struct Destination : install_case {
  // The judged folder below tmp, and whether it was taken for the product.
  std::string judge(const std::string& path) {
    dest_dir_path = path;
    check_dest_path();
    return dest_dir_path.substr(std::min(tmp.path.size(), dest_dir_path.size())) +
           (stg.dest_known ? " known" : "");
  }
};

TEST_F(Destination, AProductIsFourFoldersByContainmentAnythingElseNests) {
  for (std::string f : {"Sim Folder/My ", "three/", "lower/", "linked/"})
    for (const char* word : {"Airfoils", "Instructions", "Output"}) tmp.mkdirs(f + word + "-2/");
  tmp.mkdirs("Sim Folder/Resources/");
  tmp.mkdirs("lower/resources/");
  tmp.put("three/Resources", "a file by the name doesn't count");
  ASSERT_EQ(symlink(tmp.mkdirs("plain/").c_str(), (tmp.path + "linked/ResourcesLink").c_str()), 0);
  std::string colons = tmp.path + "Sim Folder/";
  for (char& c : colons) c = c == '/' ? ':' : c;
  const std::vector<std::pair<std::string, std::string>> table = {
      {"Sim Folder/", "Sim Folder/ known"},  // containment: "My Airfoils-2" counts
      {"linked/", "linked/ known"},          // a link to a folder counts
      {"three/", "three/Zephyra/"},  {"lower/", "lower/Zephyra/"},
      {"sim folder/", "Sim Folder/ known"},  // case repaired from the disk
      {"Sim Folder", "Sim Folder/ known"},   // final separator supplied
      {"typo", "Zephyra/"},                  // a missing folder falls back to its parent
      {"plain/", "plain/Zephyra/"},
      {"plain/Zephyra/", "plain/Zephyra/"},  // not made yet: its parent is judged again
  };
  for (auto& [in, out] : table) EXPECT_EQ(judge(tmp.path + in), out) << in;
  EXPECT_EQ(judge(colons), "Sim Folder/ known");
  EXPECT_FALSE(tmp.exists("plain/Zephyra"));  // judging makes nothing
  tmp.mkdirs("plain/Zephyra/");
  EXPECT_EQ(judge(tmp.path + "plain/Zephyra/"), "plain/Zephyra/Zephyra/");
  // One character: nothing before it to search, and no read before the start.
  dest_dir_path = "/";
  check_dest_path();
  EXPECT_EQ(dest_dir_path.substr(dest_dir_path.size() - 8), "Zephyra/");
}

std::string chooser_saw;
const char* chooser_answer = nullptr;

TEST_F(Destination, PickAsksTheChooserAndJudgesTheAnswer) {
  // Without an app only the quiet seams answer; the rest have no default.
  dir_progress_bar(0, 1, 2, 0, "top", "bottom");
  person_prefs();
  EXPECT_FATAL(select_alert("/x/y", 0), "changed-file question");
  EXPECT_FATAL(person_agree(), "agreement");
  EXPECT_FATAL(pick_dest_path(), "folder chooser");
  person_hooks.GetFilePathFromUser = [](int mode, const char* prompt, const char* action,
                                        int filter, const char* start, char* result) {
    chooser_saw = std::to_string(mode * 10 + filter) + prompt + "|" + action + "|" + start;
    if (chooser_answer) strcpy(result, chooser_answer);
    return chooser_answer ? 1 : 0;
  };
  dest_dir_path = tmp.mkdirs("start/");
  stg.dest_known = 1;
  EXPECT_EQ(pick_dest_path(), 0);  // cancelled: nothing changes
  EXPECT_EQ(dest_dir_path + std::to_string(stg.dest_known), tmp.path + "start/1");
  EXPECT_EQ(chooser_saw, "21Pick a folder to install Zephyra to! Be sure to pick your existing "
                         "folder if you already have one!|This is my Zephyra destination|" +
                         tmp.path + "start/");
  const std::string other = tmp.mkdirs("other/");
  chooser_answer = other.c_str();
  EXPECT_EQ(pick_dest_path(), 1);
  chooser_answer = nullptr;
  EXPECT_EQ(dest_dir_path, other + "Zephyra/");
}

TEST_F(Destination, RenameFollowsTheFolderOrChangesNothing) {
  const std::string zephyra = tmp.mkdirs("Zephyra/");
  tmp.put("Zephyra/a.txt", "a");
  tmp.put("taken/x", "a folder that isn't empty holds the name");
  // A name that is no name or taken, a destination without a name of its
  // own, then a good one.
  const std::tuple<std::string, const char*, std::string> table[] = {
      {zephyra, "bad/name", zephyra}, {zephyra, "taken", zephyra}, {"/", "x", "/"},
      {zephyra, "8.70", tmp.path + "8.70/"}};
  for (auto& [from, name, to] : table) {
    dest_dir_path = from;
    install_name = name;
    EXPECT_EQ(rename_dest_folder() == 0, from != to) << name;
    EXPECT_EQ(dest_dir_path, to);
  }
  EXPECT_TRUE(tmp.exists("8.70/a.txt") && !tmp.exists("Zephyra"));
}

}  // namespace
