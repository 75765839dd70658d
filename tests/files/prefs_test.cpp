// The tagged preference file in both directions through scan_class.
#include <gtest/gtest.h>

#include <string>

#include "files/prefs.h"
#include "temp_log.h"

namespace {

using namespace std::string_literals;

void write_bytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// Reads one file and runs the tags the way a caller with defaults does.
struct Loaded {
  int count = -7;
  float period = 0.5f;
  std::string folder = "default";
  bool found_count = false, found_period = false, found_folder = false;
  size_t tags = 0;
  explicit Loaded(const std::string& path) {
    scan_class in(path, scan_read);
    found_count = in.int_io(&count, "_stream_count");
    found_period = in.float_io(&period, "_prd_FM");
    found_folder = in.string_io(&folder, "_dest_dir_path");
    tags = in.tags.size();
  }
};

TEST(ScanClass, WritesExactBytesAndSkipsEmptyStrings) {
  temp_dir dir;
  const std::string path = dir.file("Test.prf");
  {
    scan_class out(path, scan_write);
    int download_os = 3, negative = -12;
    float period = 0.0166f;
    std::string folder = "/home/me/Zephyra", empty;
    EXPECT_FALSE(out.int_io(&download_os, "_download_os"));
    EXPECT_FALSE(out.int_io(&negative, "_neg"));
    EXPECT_FALSE(out.float_io(&period, "_prd_FM"));
    EXPECT_FALSE(out.string_io(&empty, "_proxy_host"));
    EXPECT_FALSE(out.string_io(&folder, "_dest_dir_path"));
    EXPECT_TRUE(out.tags.empty());
  }
  EXPECT_EQ(read_file(path),
            "I\n8500 version\n_download_os 3\n_neg -12\n_prd_FM 0.016600\n"
            "_dest_dir_path /home/me/Zephyra\n");
}

TEST(ScanClass, WhatIsWrittenReadsBack) {
  temp_dir dir;
  const std::string path = dir.file("Round.prf");
  {
    scan_class out(path, scan_write);
    int count = 4;
    float period = 0.25f;
    std::string folder = "/media/big disk/Zephyra 8/";
    out.int_io(&count, "_stream_count");
    out.float_io(&period, "_prd_FM");
    out.string_io(&folder, "_dest_dir_path");
  }
  Loaded got(path);
  EXPECT_TRUE(got.found_count && got.found_period && got.found_folder);
  EXPECT_EQ(got.count, 4);
  EXPECT_FLOAT_EQ(got.period, 0.25f);
  EXPECT_EQ(got.folder, "/media/big disk/Zephyra 8/");
}

TEST(ScanClass, ValueRulesOnReading) {
  temp_dir dir;
  const std::string path = dir.file("Values.prf");
  // Other header forms, CR LF ends, blank lines, a repeated tag, blanks kept at the end.
  write_bytes(path,
              "A\r\n8500 anything at all\r\n\r\n"
              "_stream_count 12abc\r\n"
              "_prd_FM   2.5e-1\r\n"
              "_dest_dir_path  /a b/c  \r\n"
              "_unknown_tag kept in the map\n"
              "_stream_count 9");
  Loaded got(path);
  EXPECT_EQ(got.count, 9);  // the last of a repeated tag wins; no line end at the end
  EXPECT_FLOAT_EQ(got.period, 0.25f);
  EXPECT_EQ(got.folder, "/a b/c  ");
  EXPECT_EQ(got.tags, 4u);

  write_bytes(path, "I\n8500 version\n_stream_count 12abc\n_dest_dir_path\n_prd_FM x\n");
  Loaded odd(path);
  EXPECT_EQ(odd.count, 12);  // strtol stops at the letters
  EXPECT_TRUE(odd.found_folder);
  EXPECT_EQ(odd.folder, "");  // a tag with no value is an empty value
  EXPECT_FLOAT_EQ(odd.period, 0.0f);

  write_bytes(path, "I\n8500 version\n_stream_count\n");
  EXPECT_EQ(Loaded(path).count, 0);  // an empty value reads as 0
}

TEST(ScanClass, UnusableFilesKeepEveryDefault) {
  temp_dir dir;
  const std::string path = dir.file("Bad.prf");
  const std::string files[] = {
      "I\n8400 version\n_stream_count 4\n",   // another version
      "B\n8500 version\n_stream_count 4\n",   // not a text header
      "I",                                    // header cut short
      "",                                     // empty
      "i\x34\x21\0\0_stream_count 4\n"s,      // a binary header
  };
  for (const std::string& bytes : files) {
    write_bytes(path, bytes);
    Loaded got(path);
    EXPECT_EQ(got.tags, 0u) << bytes;
    EXPECT_FALSE(got.found_count);
    EXPECT_EQ(got.count, -7);
    EXPECT_EQ(got.folder, "default");
  }
  Loaded missing(dir.file("none.prf"));
  EXPECT_EQ(missing.tags, 0u);
  EXPECT_EQ(missing.count, -7);
}

TEST(ScanClass, GarbageLinesNeitherCrashNorHideGoodTags) {
  temp_dir dir;
  const std::string path = dir.file("Junk.prf");
  std::string junk("I\n8500 version\n");
  junk += "\x01\xff\xfe garbage \0\0\t\t\x7f\n"s;
  junk += "no_underscore at all\n   \t  \n\t_stream_count 6\t\n";
  junk += "\0\0\0"s;
  junk += "_dest_dir_path /x\0tail\n"s;
  junk += "_prd_FM \t";  // cut off after the tag
  write_bytes(path, junk);
  Loaded got(path);
  EXPECT_EQ(got.count, 6);
  EXPECT_EQ(got.folder, "/x");  // a NUL ends a line
  EXPECT_TRUE(got.found_period);
  EXPECT_FLOAT_EQ(got.period, 0.0f);
}

}  // namespace
