#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <regex>

#include "files/alert.h"
#include "files/log.h"
#include "files/paths.h"
#include "temp_log.h"

namespace {

const char kHeaderTail[] =
    "This log file is generated automatically by Vantrell applications and contains diagnostics "
    "about your graphics hardware, installatoin, and\n"
    "any error conditions. If you need to contact tech support or file a bug, please send us this "
    "file. NOTE: this file is rewritten every time you\n"
    "start ANY of your Cirrovan applications.\n\n";

void check_header(const std::string& text) {
  const size_t eol = text.find('\n');
  ASSERT_NE(eol, std::string::npos);
  // Two blanks before "build" are part of the product's header.
  EXPECT_TRUE(std::regex_match(
      text.substr(0, eol),
      std::regex("log\\.txt for Zephyra 8\\.50 Installer  build 85017 compiled on "
                 "[A-Z][a-z][a-z] [0-9][0-9] [0-9]{4} [0-9][0-9]:[0-9][0-9]:[0-9][0-9]")))
      << text.substr(0, eol);
  EXPECT_EQ(text.substr(eol + 1), kHeaderTail);
}

TEST(LogHeader, ExactLines) {
  std::ostringstream out;
  write_log_header(out);
  check_header(out.str());
}

TEST(LogHeader, BuildDateKeepsTwoDigitDay) {
  EXPECT_EQ(build_date_text("Oct 14 2006", "12:19:22"), "Oct 14 2006 12:19:22");
  EXPECT_EQ(build_date_text("Oct  4 2006", "09:05:00"), "Oct 04 2006 09:05:00");
}

TEST(LogOpen, TruncatesWritesHeaderAndUsesFixedNotation) {
  temp_dir dir;
  const std::string path = dir.file("Log.txt");
  std::ofstream(path) << "left over from the last run, much longer than nothing at all\n";
  log_open(path);
  check_header(read_file(path));  // flushed without a further write
  xer << 1.5 << '\n';
  xer.flush();
  const std::string text = read_file(path);
  EXPECT_EQ(text.substr(text.size() - 9), "1.500000\n");
  EXPECT_EQ(text.find("left over"), std::string::npos);
  xer.close();
  xer.clear();
}

TEST(LogOpen, UnopenableLogLosesWritesQuietly) {
  temp_dir dir;
  std::ofstream(dir.file("plain")) << "x";
  log_open(dir.file("plain/Log.txt"));  // a file can't hold a folder
  EXPECT_FALSE(xer.is_open());
  xer << "lost\n";
  xer.flush();
  EXPECT_EQ(read_file(dir.file("plain")), "x");
  xer.close();
  xer.clear();
}

class OufOpen : public ::testing::Test {
 protected:
  void SetUp() override {
    saved_case_ = g_case_sensitive;
    g_case_sensitive = 0;  // letter-case repair is the path layer's business
    ogl_inited = 0;
    alert_hooks = alert_hooks_t();
  }
  void TearDown() override {
    g_case_sensitive = saved_case_;
    ouf.close();
    ouf.clear();
  }
  int saved_case_ = 1;
  temp_log log_;
  const temp_dir& dir() { return log_.dir; }
};

TEST_F(OufOpen, TextHeaders) {
  const std::string path = dir().file("a.txt");
  ASSERT_TRUE(ouf_open(path, file_type_text, 8500, "no-copyright-string"));
  ouf << 2.0f << '\n';  // fixed notation on data files too
  ouf.close();
  EXPECT_EQ(read_file(path), "I\n8500 version\n2.000000\n");

  // The copyright text follows the word without a blank, exactly as given.
  ASSERT_TRUE(ouf_open(path, file_type_text, 8500, "x"));
  ouf.close();
  EXPECT_EQ(read_file(path), "I\n8500 versionx\n");
}

TEST_F(OufOpen, BinaryHeaderIsLittleEndianVersion) {
  const std::string path = dir().file("b.bin");
  ASSERT_TRUE(ouf_open(path, file_type_binary, 0x01020304, "ignored"));
  ouf.close();
  EXPECT_EQ(read_file(path), std::string("i\x04\x03\x02\x01", 5));
}

TEST_F(OufOpen, SeparatorsAndLowerCaseExtension) {
  ASSERT_EQ(mkdir(dir().file("Dir").c_str(), 0755), 0);
  ASSERT_TRUE(ouf_open(dir().path + "/Dir:Name.TXT", file_type_text, 1, "no-copyright-string"));
  ouf.close();
  EXPECT_EQ(read_file(dir().file("Dir/Name.txt")), "I\n1 version\n");
  struct stat st;
  EXPECT_NE(stat(dir().file("Dir/Name.TXT").c_str(), &st), 0);
}

TEST_F(OufOpen, SecondOpenClosesFirstFile) {
  const std::string first = dir().file("first.txt"), second = dir().file("second.txt");
  ASSERT_TRUE(ouf_open(first, file_type_text, 7, "no-copyright-string"));
  ouf << "tail";
  ASSERT_TRUE(ouf_open(second, file_type_text, 8, "no-copyright-string"));
  EXPECT_EQ(read_file(first), "I\n7 version\ntail");
  ouf << "more";
  ouf.close();
  EXPECT_EQ(read_file(second), "I\n8 version\nmore");
}

TEST_F(OufOpen, UnwritablePathWarnsAndReturnsFalse) {
  std::ofstream(dir().file("plain")) << "x";
  const std::string path = dir().file("plain/data.txt");
  testing::internal::CaptureStdout();
  EXPECT_FALSE(ouf_open(path, file_type_text, 1, "no-copyright-string"));
  const std::string shown = testing::internal::GetCapturedStdout();
  EXPECT_EQ(shown.rfind("Cirrovan Error:\nI could not save the file! Could the directory", 0), 0u);
  EXPECT_NE(shown.find("\n\n" + path + "\n\n"), std::string::npos);
  const std::string logged = log_.text();
  EXPECT_NE(logged.find("\n" + path + "\nCould the file be flagged as read-only?"), std::string::npos);
  EXPECT_NE(logged.find("\nTry putting this stg.in the background"), std::string::npos);
  EXPECT_EQ(app_done, 0);
  // A failed open must not spoil the next one.
  ASSERT_TRUE(ouf_open(dir().file("ok.txt"), file_type_text, 2, "no-copyright-string"));
}

TEST_F(OufOpen, BadTypeIsFatal) {
  const std::string path = dir().file("bad.txt");
  xer.flush();
  EXPECT_EXIT(
      {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        ouf_open(path, 3, 1, "no-copyright-string");
      },
      testing::KilledBySignal(SIGABRT), "Bad ouf_open type!\n\n" + path);
  EXPECT_NE(log_.text().find("Bad ouf_open type!\n" + path + "\n\n\n("), std::string::npos);
}

}  // namespace
