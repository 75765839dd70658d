#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <regex>

#include "files/alert.h"
#include "files/paths.h"
#include "temp_log.h"

namespace {

TEST(LogOpen, HeaderInFixedNotationBesideTheProgramElseInTheUsersFolder) {
  temp_log t;
  std::ofstream(t.path) << "left over from the last run\n";
  log_open(t.path);
  xer << 1.5 << '\n';
  const std::string text = t.text();
  const size_t eol = text.find('\n');
  // The doubled blank before "build" and the misspelling are the product's own.
  EXPECT_TRUE(std::regex_match(text.substr(0, eol),
                               std::regex("log\\.txt for Zephyra 8\\.50 Installer  build 85017 compiled on "
                                          "[A-Z][a-z][a-z] [0-9][0-9] [0-9]{4} [0-9][0-9]:[0-9][0-9]:[0-9][0-9]")))
      << text.substr(0, eol);
  EXPECT_EQ(text.substr(eol + 1),
            "This log file is generated automatically by Vantrell applications and contains "
            "diagnostics about your graphics hardware, installatoin, and\n"
            "any error conditions. If you need to contact tech support or file a bug, please "
            "send us this file. NOTE: this file is rewritten every time you\n"
            "start ANY of your Cirrovan applications.\n\n"
            "1.500000\n");
  EXPECT_EQ(build_date_text("Oct  4 2006", "09:05:00"), "Oct 04 2006 09:05:00");

  // An installed program's folder is not the user's to write: the log moves
  // to the user's own folder then, and is lost only when that fails too.
  std::ofstream(t.dir.file("plain")) << "x";
  const std::string home = t.dir.file("home"), saved = getenv("HOME") ? getenv("HOME") : "";
  ASSERT_EQ(mkdir(home.c_str(), 0755), 0);
  const struct {
    std::string folder, home, log;
  } cases[] = {
      {t.dir.path + "/", home, t.dir.file("Log.txt")},
      {t.dir.file("plain/"), home, home + "/.zephyra/Log.txt"},
      {t.dir.file("plain/"), t.dir.file("plain"), ""},
  };
  for (const auto& c : cases) {
    setenv("HOME", c.home.c_str(), 1);
    EXPECT_EQ(log_open_beside(c.folder), c.log) << c.folder;
    xer << "marker\n";
    xer.close();
    if (c.log.empty()) continue;
    EXPECT_EQ(read_file(c.log).rfind("log.txt for Zephyra", 0), 0u) << c.log;
    EXPECT_NE(read_file(c.log).find("marker"), std::string::npos) << c.log;
  }
  setenv("HOME", saved.c_str(), 1);
  EXPECT_EQ(version_text("zephyra-publish").rfind("zephyra-publish 8.50 build 85017 (compiled on ", 0), 0u);
}

// Data files: the settings are written through here.
TEST(OufOpen, HeaderSeparatorsLowerCaseExtensionAndFailures) {
  temp_log log;
  ogl_inited = 0;
  ASSERT_EQ(mkdir(log.dir.file("Dir").c_str(), 0755), 0);
  ASSERT_TRUE(ouf_open(log.dir.path + "/Dir:Name.TXT", file_type_text, 1, "no-copyright-string"));
  ouf.close();
  EXPECT_EQ(read_file(log.dir.file("Dir/Name.txt")), "I\n1 version\n");

  std::ofstream(log.dir.file("plain")) << "x";
  const std::string path = log.dir.file("plain/data.txt");  // a file can't hold a folder
  testing::internal::CaptureStdout();
  EXPECT_FALSE(ouf_open(path, file_type_text, 1, "no-copyright-string"));
  EXPECT_EQ(testing::internal::GetCapturedStdout().rfind("Cirrovan Error:\nI could not save the file!", 0), 0u);
  EXPECT_NE(log.text().find("\n" + path + "\nCould the file be flagged as read-only?"), std::string::npos);
  EXPECT_TRUE(ouf_open(log.dir.file("ok.txt"), file_type_text, 2, "no-copyright-string"));  // not spoiled

  const std::string d = log.dir.path, overlong = d + "/" + std::string(499 - d.size(), 'a');  // 500 characters
  testing::internal::CaptureStdout();  // 499 pass the length check; the name is too long for the disk
  EXPECT_FALSE(ouf_open(overlong.substr(0, 499), file_type_text, 1, ""));
  testing::internal::GetCapturedStdout();
  xer.flush();
  EXPECT_EXIT((dup2(STDERR_FILENO, STDOUT_FILENO), ouf_open(overlong, file_type_text, 1, "")),
              testing::KilledBySignal(SIGABRT), "String too long!");
  ouf.close();
  ouf.clear();
}

}  // namespace
