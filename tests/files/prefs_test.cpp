#include <gtest/gtest.h>

#include "files/prefs.h"
#include "temp_log.h"

namespace {

using namespace std::string_literals;

struct Loaded {
  int count = -7;
  float period = 0.5f;
  std::string folder = "default";
  size_t tags = 0;
  explicit Loaded(const std::string& bytes) {
    temp_dir dir;
    std::ofstream(dir.file("p.prf"), std::ios::binary) << bytes;
    scan_class in(dir.file("p.prf"), scan_read);
    in.int_io(&count, "_stream_count");
    in.float_io(&period, "_prd_FM");
    in.string_io(&folder, "_dest_dir_path");
    tags = in.tags.size();
  }
};

TEST(ScanClass, WritesExactBytesSkipsEmptyStringsAndReadsBack) {
  temp_dir dir;
  const std::string path = dir.file("Test.prf");
  {
    scan_class out(path, scan_write);
    int count = -4;
    float period = 0.0166f;
    std::string folder = "/media/big disk/Zephyra 8/", empty;
    out.int_io(&count, "_stream_count");
    out.float_io(&period, "_prd_FM");
    out.string_io(&empty, "_proxy_host");  // a cleared setting leaves the file
    EXPECT_FALSE(out.string_io(&folder, "_dest_dir_path"));
  }
  const std::string bytes = read_file(path);
  EXPECT_EQ(bytes, "I\n8500 version\n_stream_count -4\n_prd_FM 0.016600\n_dest_dir_path /media/big disk/Zephyra 8/\n");
  Loaded got(bytes);
  EXPECT_EQ(got.count, -4);
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

  // A number stops at letters; a tag with no value is an empty value;
  // garbage lines hide no good tags, and a NUL ends a line.
  Loaded odd("I\n8500 version\n\x01\xff garbage \0\0\t\x7f\nno_underscore\n\t_stream_count 12abc\t\n\0\0"
             "_dest_dir_path\n_prd_FM x\n"s);
  EXPECT_EQ(odd.count, 12);
  EXPECT_EQ(odd.folder, "");
  EXPECT_FLOAT_EQ(odd.period, 0.0f);
  Loaded cut("I\n8500 version\n_dest_dir_path /x\0tail\n"s);
  EXPECT_EQ(cut.folder, "/x");
}

}  // namespace
