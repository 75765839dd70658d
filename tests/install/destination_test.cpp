#include "install/destination.h"

#include <gtest/gtest.h>

#include <cstring>

#include "install/person.h"
#include "install/stage.h"
#include "install_fixture.h"

namespace {

class Destination : public ::testing::Test {
 protected:
  scratch_dir tmp;
  void SetUp() override {
    set_run_defaults();
    person_hooks = person_hooks_t{};
  }
  void TearDown() override { person_hooks = person_hooks_t{}; }

  std::string judge(const std::string& path) {
    dest_dir_path = path;
    check_dest_path();
    return dest_dir_path;
  }
  void make_product(const std::string& rel, const char* const names[4]) {
    for (int i = 0; i < 4; ++i)
      if (names[i]) tmp.mkdirs(rel + names[i] + "/");
  }
};

TEST(TrimDestFolder, RemovesTheFirstElementOnly) {
  const char* cases[][2] = {
      {"", ""},          {"abc", "abc"},    {"abc/def", "def"}, {"/abc/def", "abc/def"},
      {"a/b/c", "b/c"},  {"abc/", ""},      {"/", ""},          {"//x", "/x"},
  };
  for (auto& c : cases) {
    std::string s = c[0];
    trim_dest_folder(s);
    EXPECT_EQ(s, c[1]) << "input " << c[0];
  }
}

TEST_F(Destination, AFolderWithoutTheProductGetsANewSubfolder) {
  const std::string chosen = tmp.mkdirs("chosen/");
  EXPECT_EQ(judge(chosen), chosen + "Zephyra/");
  EXPECT_EQ(stg.dest_known, 0);
  EXPECT_FALSE(tmp.exists("chosen/Zephyra"));  // nothing is made here

  // The same choice again before anything was made: the target has gone, so
  // its parent is judged and the result doesn't move.
  EXPECT_EQ(judge(chosen + "Zephyra/"), chosen + "Zephyra/");

  // Once made, but still not a product, it nests.
  tmp.mkdirs("chosen/Zephyra/");
  EXPECT_EQ(judge(chosen + "Zephyra/"), chosen + "Zephyra/Zephyra/");
}

TEST_F(Destination, AllFourFoldersByContainmentMakeAProduct) {
  const char* exact[4] = {"Airfoils", "Instructions", "Output", "Resources"};
  make_product("exact/", exact);
  EXPECT_EQ(judge(tmp.path + "exact/"), tmp.path + "exact/");
  EXPECT_EQ(stg.dest_known, 1);

  const char* loose[4] = {"My Airfoils", "Instructions-old", "Output 2", "OldResources"};
  make_product("loose/", loose);
  EXPECT_EQ(judge(tmp.path + "loose/"), tmp.path + "loose/");
  EXPECT_EQ(stg.dest_known, 1);

  const char* three[4] = {"Airfoils", "Instructions", "Output", nullptr};
  make_product("three/", three);
  EXPECT_EQ(judge(tmp.path + "three/"), tmp.path + "three/Zephyra/");
  EXPECT_EQ(stg.dest_known, 0);

  // A file by the name doesn't count; a link to a folder does.
  tmp.put("three/Resources", "not a folder");
  EXPECT_EQ(judge(tmp.path + "three/"), tmp.path + "three/Zephyra/");
  tmp.mkdirs("elsewhere/");
  ASSERT_EQ(symlink((tmp.path + "elsewhere").c_str(), (tmp.path + "three/ResourcesLink").c_str()),
            0);
  EXPECT_EQ(judge(tmp.path + "three/"), tmp.path + "three/");
  EXPECT_EQ(stg.dest_known, 1);

  const char* wrong_case[4] = {"airfoils", "Instructions", "Output", "Resources"};
  make_product("lower/", wrong_case);
  judge(tmp.path + "lower/");
  EXPECT_EQ(stg.dest_known, 0);
}

TEST_F(Destination, PathFormsAreNormalised) {
  const char* exact[4] = {"Airfoils", "Instructions", "Output", "Resources"};
  make_product("Sim Folder/", exact);
  const std::string want = tmp.path + "Sim Folder/";

  std::string colons = want;
  for (char& c : colons)
    if (c == '/') c = ':';
  EXPECT_EQ(judge(colons), want);
  EXPECT_EQ(judge(tmp.path + "sim folder/"), want);        // case repaired from the disk
  EXPECT_EQ(judge(tmp.path + "Sim Folder"), want);         // final separator supplied
  EXPECT_EQ(stg.dest_known, 1);

  // A typed folder that doesn't exist falls back to its parent.
  EXPECT_EQ(judge(tmp.path + "typo/"), tmp.path + "Zephyra/");
  EXPECT_EQ(judge(tmp.path + "typo"), tmp.path + "Zephyra/");
}

TEST_F(Destination, ASingleCharacterSkipsTheParentSearch) {
  // Nothing before the one character to search; it must not read before
  // the string's start.
  const std::string got = judge("/");
  EXPECT_EQ(got.substr(got.size() - 8), "Zephyra/");
  EXPECT_EQ(stg.dest_known, 0);
}

// ---------------------------------------------------------------- chooser

struct chooser_call {
  int mode = -1, filter = -1;
  std::string prompt, action, start;
};
chooser_call last_call;
const char* chooser_answer = nullptr;

int fake_chooser(int mode, const char* prompt, const char* action, int filter, const char* start,
                 char* result) {
  last_call = {mode, filter, prompt, action, start};
  if (!chooser_answer) return 0;
  strcpy(result, chooser_answer);
  return 1;
}

TEST_F(Destination, PickAsksTheChooserAndJudgesTheAnswer) {
  person_hooks.GetFilePathFromUser = fake_chooser;
  const std::string start = tmp.mkdirs("start/");
  const std::string other = tmp.mkdirs("other/");
  dest_dir_path = start;
  stg.dest_known = 1;

  chooser_answer = nullptr;
  EXPECT_EQ(pick_dest_path(), 0);
  EXPECT_EQ(dest_dir_path, start);  // a cancel changes nothing
  EXPECT_EQ(stg.dest_known, 1);
  EXPECT_EQ(last_call.mode, 2);
  EXPECT_EQ(last_call.filter, 1);
  EXPECT_EQ(last_call.start, start);
  EXPECT_EQ(last_call.prompt,
            "Pick a folder to install Zephyra to! Be sure to pick your existing folder if you "
            "already have one!");
  EXPECT_EQ(last_call.action, "This is my Zephyra destination");

  chooser_answer = other.c_str();
  EXPECT_EQ(pick_dest_path(), 1);
  EXPECT_EQ(dest_dir_path, other + "Zephyra/");
  EXPECT_EQ(stg.dest_known, 0);
  chooser_answer = nullptr;
}

TEST_F(Destination, PickWithoutAChooserIsFatal) {
  EXPECT_FATAL(pick_dest_path(), "folder chooser");
}

// ---------------------------------------------------------------- rename

TEST_F(Destination, RenameFollowsTheFolderOrChangesNothing) {
  tmp.put("Zephyra/a.txt", "a");
  tmp.put("8.60r2/keep.txt", "someone else's");
  dest_dir_path = tmp.path + "Zephyra/";
  install_name = "8.60r2";
  EXPECT_NE(rename_dest_folder(), 0);  // the name is taken by a full folder
  install_name = "bad/name";
  EXPECT_NE(rename_dest_folder(), 0);
  EXPECT_EQ(dest_dir_path, tmp.path + "Zephyra/");
  EXPECT_TRUE(tmp.exists("Zephyra/a.txt"));
  EXPECT_TRUE(tmp.exists("8.60r2/keep.txt"));

  install_name = "8.70";
  EXPECT_EQ(rename_dest_folder(), 0);
  EXPECT_EQ(dest_dir_path, tmp.path + "8.70/");
  EXPECT_TRUE(tmp.exists("8.70/a.txt"));
  EXPECT_FALSE(tmp.exists("Zephyra"));

  // A destination with no name of its own is never renamed.
  dest_dir_path = "/";
  EXPECT_NE(rename_dest_folder(), 0);
  EXPECT_EQ(dest_dir_path, "/");
}

}  // namespace
