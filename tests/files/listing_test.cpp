#include "files/listing.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "temp_log.h"

namespace {

TEST(Listing, KindsLinksOrderUnreadableFoldersAndTheCut) {
  temp_dir dir;
  const std::string root = dir.path + "/";
  for (const char* d : {"b", "A", "b.d", "sub", "many"}) mkdir((root + d).c_str(), 0755);
  for (const char* f : {"a.txt", "plane.acf", "Z.Obj", "notes"}) std::ofstream(root + f) << "x";
  symlink((root + "sub").c_str(), (root + "to_sub").c_str());
  symlink((root + "gone").c_str(), (root + "dangling").c_str());
  for (int i = 0; i < 3100; ++i) std::ofstream(root + "many/f" + std::to_string(i));

  // "." and ".." dropped, the dangling link too; a link to a folder is one;
  // byte order with folders among files; type 3 keeps folders and its files.
  const std::pair<int, std::string> table[] = {
      {1, "A/1 Z.Obj7 a.txt11 b.d/1 b/1 many/1 notes0 plane.acf3 sub/1 to_sub/1 "},
      {3, "A/1 b.d/1 b/1 many/1 plane.acf3 sub/1 to_sub/1 "}};
  for (auto& [type, want] : table) {
    wrk_path = root;
    std::string got;
    for (int i = 0, n = opensave_getitems(type); i < n; ++i)
      got += g_file[i] + std::to_string(g_file_type[i]) + " ";
    EXPECT_EQ(got, want);
  }
  EXPECT_EQ(g_path_rel[0], root + "A/");
  for (std::string bad : {root + "a.txt/", root + "missing/"}) {
    wrk_path = bad;
    EXPECT_EQ(opensave_getitems(0), 0) << bad;
  }
  wrk_path = root + "MANY:";   // normalised in place first
  EXPECT_EQ(opensave_getitems(0), 2999);
  EXPECT_EQ(wrk_path, root + "many/");
}

}  // namespace
