// The tagged preference file in both directions through scan_class.
#include <gtest/gtest.h>

#include "files/prefs.h"
#include "temp_log.h"

namespace {

using namespace std::string_literals;

// Reads one file and runs the tags the way a caller with defaults does.
struct Loaded {
  int count = -7;
  float period = 0.5f;
  std::string folder = "default";
  bool found_folder = false, found_period = false;
  size_t tags = 0;
  explicit Loaded(const std::string& bytes) {
    temp_dir dir;
    std::ofstream(dir.file("p.prf"), std::ios::binary) << bytes;
    scan_class in(dir.file("p.prf"), scan_read);
    in.int_io(&count, "_stream_count");
    found_period = in.float_io(&period, "_prd_FM");
    found_folder = in.string_io(&folder, "_dest_dir_path");
    tags = in.tags.size();
  }
};

TEST(ScanClass, WritesExactBytesSkipsEmptyStringsAndReadsBack) {
  temp_dir dir;
  const std::string path = dir.file("Test.prf");
  {
    scan_class out(path, scan_write);
    int count = 4, negative = -12;
    float period = 0.0166f;
    std::string folder = "/media/big disk/Zephyra 8/", empty;
    EXPECT_FALSE(out.int_io(&count, "_stream_count"));
    EXPECT_FALSE(out.int_io(&negative, "_neg"));
    EXPECT_FALSE(out.float_io(&period, "_prd_FM"));
    EXPECT_FALSE(out.string_io(&empty, "_proxy_host"));  // a cleared setting leaves the file
    EXPECT_FALSE(out.string_io(&folder, "_dest_dir_path"));
  }
  const std::string bytes = read_file(path);
  EXPECT_EQ(bytes, "I\n8500 version\n_stream_count 4\n_neg -12\n_prd_FM 0.016600\n"
                   "_dest_dir_path /media/big disk/Zephyra 8/\n");
  Loaded got(bytes);
  EXPECT_EQ(got.count, 4);
  EXPECT_FLOAT_EQ(got.period, 0.0166f);
  EXPECT_EQ(got.folder, "/media/big disk/Zephyra 8/");
}

TEST(ScanClass, ValueRulesOnReading) {
  // Any capital in the header, CR LF ends, blank lines, trailing blanks kept,
  // unknown tags kept, the last of a repeated tag wins, no line end at the end.
  Loaded got("A\r\n8500 anything at all\r\n\r\n_stream_count 12abc\r\n_prd_FM   2.5e-1\r\n"
             "_dest_dir_path  /a b/c  \r\n_unknown_tag kept\n_stream_count 9");
  EXPECT_EQ(got.count, 9);
  EXPECT_FLOAT_EQ(got.period, 0.25f);
  EXPECT_EQ(got.folder, "/a b/c  ");
  EXPECT_EQ(got.tags, 4u);

  Loaded odd("I\n8500 version\n_stream_count 12abc\n_dest_dir_path\n_prd_FM x\n");
  EXPECT_EQ(odd.count, 12);  // the number stops at the letters
  EXPECT_TRUE(odd.found_folder);
  EXPECT_EQ(odd.folder, "");  // a tag with no value is an empty value
  EXPECT_FLOAT_EQ(odd.period, 0.0f);

  // Garbage lines neither crash nor hide good tags; a NUL ends a line.
  Loaded junk("I\n8500 version\n\x01\xff garbage \0\0\t\x7f\nno_underscore\n \t \n\t_stream_count 6\t\n\0\0"
              "_dest_dir_path /x\0tail\n_prd_FM \t"s);
  EXPECT_EQ(junk.count, 6);
  EXPECT_EQ(junk.folder, "/x");
  EXPECT_TRUE(junk.found_period);
  EXPECT_FLOAT_EQ(junk.period, 0.0f);
}

TEST(ScanClass, UnusableFilesKeepEveryDefault) {
  for (const std::string& bytes : {"I\n8400 version\n_stream_count 4\n"s, "B\n8500 version\n_stream_count 4\n"s,
                                   "I"s, ""s, "i\x34\x21\0\0_stream_count 4\n"s}) {
    Loaded got(bytes);
    EXPECT_EQ(got.tags, 0u) << bytes;
    EXPECT_EQ(got.count, -7);
    EXPECT_EQ(got.folder, "default");
  }
  scan_class missing("/nonexistent/none.prf", scan_read);
  EXPECT_TRUE(missing.tags.empty());
}

}  // namespace
