// The folder listing behind the chooser and the destination check.
#include "files/listing.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "files/paths.h"
#include "temp_log.h"

namespace {

std::string listed(int count) {
  std::string s;
  for (int i = 0; i < count; ++i) s += g_file[i] + "=" + std::to_string(g_file_type[i]) + " ";
  return s;
}

class Listing : public ::testing::Test {
 protected:
  temp_dir dir;
  std::string root = dir.path + "/";
  void put(const std::string& name) { std::ofstream(root + name) << "x"; }
};

TEST_F(Listing, FoldersLinksKindsAndOrder) {
  for (const char* d : {"b", "A", "b.d", "sub"}) ASSERT_EQ(mkdir((root + d).c_str(), 0755), 0);
  for (const char* f : {"a.txt", "plane.acf", "Z.Obj", "notes", ".hidden"}) put(f);
  ASSERT_EQ(symlink((root + "sub").c_str(), (root + "to_sub").c_str()), 0);
  ASSERT_EQ(symlink((root + "a.txt").c_str(), (root + "to_file").c_str()), 0);
  ASSERT_EQ(symlink((root + "gone").c_str(), (root + "dangling").c_str()), 0);

  // "." and ".." are dropped; a dangling link goes; a link takes its target's
  // kind; byte order, folders among files ('/' sorts after '.').
  const std::pair<int, const char*> table[] = {
      {0, ".hidden=0 A/=1 Z.Obj=7 a.txt=11 b.d/=1 b/=1 notes=0 plane.acf=3 sub/=1 to_file=0 "
          "to_sub/=1 "},
      {1, ".hidden=0 A/=1 Z.Obj=7 a.txt=11 b.d/=1 b/=1 notes=0 plane.acf=3 sub/=1 to_file=0 "
          "to_sub/=1 "},
      {3, "A/=1 b.d/=1 b/=1 plane.acf=3 sub/=1 to_sub/=1 "},
  };
  for (auto& [type, want] : table) {
    wrk_path = root;
    EXPECT_EQ(listed(opensave_getitems(type)), want) << "type " << type;
  }
  EXPECT_EQ(g_path_rel[0], root + "A/");

  // The path is normalised in place before it is read.
  wrk_path = root + "SUB:";
  EXPECT_EQ(opensave_getitems(0), 0);
  EXPECT_EQ(wrk_path, root + "sub/");
}

TEST_F(Listing, UnreadableFoldersAreEmptyAndTheListStopsAt2999) {
  put("file");
  for (std::string bad : {root + "file/", root + "missing/"}) {
    wrk_path = bad;
    EXPECT_EQ(opensave_getitems(0), 0) << bad;
  }
  ASSERT_EQ(mkdir((root + "many").c_str(), 0755), 0);
  for (int i = 0; i < 3100; ++i) put("many/f" + std::to_string(i));
  wrk_path = root + "many/";
  const int count = opensave_getitems(0);
  EXPECT_EQ(count, 2999);
  for (int i = 1; i < count; ++i) ASSERT_LT(g_file[i - 1], g_file[i]);
}

TEST_F(Listing, APathWithoutItsSeparatorIsAFatalMistake) {
  wrk_path = root + "no_separator";
  EXPECT_DEATH({ dup2(2, 1); opensave_getitems(0); }, "Working path does not appear to be a directory");
}

}  // namespace
