#include <gtest/gtest.h>
#include <unistd.h>

#include "files/cmdline.h"
#include "temp_log.h"

namespace {

TEST(Cmdline, SplitsAtFirstEqualsKeepsFirstOfRepeatsAndLogsEach) {
  temp_log log;
  cmdline.clear();
  const char* argv[] = {"zephyra", "--flag=a=b", "--empty=", "--x=1", "--x=2"};
  cmdline.init_unix(5, argv);
  EXPECT_EQ(cmdline.get_option("--flag"), "a=b");
  EXPECT_TRUE(cmdline.has_option("--empty"));
  EXPECT_EQ(cmdline.get_option("--x"), "1");
  EXPECT_FALSE(cmdline.has_option("--fla"));  // names compare whole
  // No blank before "included": the warning reads as the product writes it.
  EXPECT_EQ(log.text(),
            "     '--flag'='a=b'\n     '--empty'=''\n     '--x'='1'\n"
            "WARNING: command line option --x=2included twice.\n");
  EXPECT_EQ(cmdline.get_option("--no_vbos"), "");
  EXPECT_TRUE(cmdline.has_option("--no_vbos"));  // asking for an absent name enters it
  cmdline.clear();
}

TEST(Cmdline, HelpAmongOtherOptionsPrintsUsageAndExitsZero) {
  for (const char* help : {"-h", "--help=yes"}) {
    const char* argv[] = {"zephyra", "--no_vbos", help, "--fps_test=3"};
    EXPECT_EXIT((dup2(STDERR_FILENO, STDOUT_FILENO), cmdline.init_unix(4, argv)), testing::ExitedWithCode(0),
                "^Usage: Zephyra \\[options\\.\\.\\.\\]\n\nZephyra can take.*whether Zephyra "
                "performance is as expected\\.\n$")
        << help;
  }
  // The text keeps its oddities: the joined "listof", and --no_glsl read but never listed.
  testing::internal::CaptureStdout();
  print_usage();
  const std::string text = testing::internal::GetCapturedStdout();
  EXPECT_NE(text.find("  Here is a listof current flags:\n\n--help\n-h\n"), std::string::npos);
  EXPECT_EQ(text.find("--no_glsl"), std::string::npos);
}

}  // namespace
