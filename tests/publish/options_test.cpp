// The publisher's command line: both option spellings, repeated options,
// the mirror and platform forms, and what is refused before any work.
#include <gtest/gtest.h>

#include "publish/options.h"

namespace {

TEST(PublishOptions, BothSpellingsAndRepeatsGiveTheSameRun) {
  const std::vector<std::vector<std::string>> spellings = {
      {"--product", "P", "--release", "8.60r2", "--out", "/srv/m", "--previous", "old.zip",
       "--mirror", "h1,/pub/,One, with commas, and blanks", "--mirror", "h2,pub,Two",
       "--platform", "bin/*=6", "--platform", "a=b=2"},
      {"--product=P", "--release=8.60r2", "--out=/srv/m", "--previous=old.zip",
       "--mirror=h1,/pub/,One, with commas, and blanks", "--mirror=h2,pub,Two",
       "--platform=bin/*=6", "--platform=a=b=2"}};
  for (const auto& args : spellings) {
    publish_options o;
    std::string error;
    ASSERT_EQ(parse_publish_args(args, o, error), parse_run) << error;
    EXPECT_EQ(o.release, "8.60r2");
    ASSERT_EQ(o.mirrors.size(), 2u);
    EXPECT_EQ(o.mirrors[0].desc, "One, with commas, and blanks");
    // The installer joins the release straight on: the folder gets its slashes.
    EXPECT_EQ(o.mirrors[1].folder, "/pub/");
    ASSERT_EQ(o.rules.size(), 2u);
    EXPECT_EQ(o.rules[0].os, 6);
    // The last "=" splits, so a pattern may hold one.
    EXPECT_EQ(o.rules[1].pattern, "a=b");
    EXPECT_EQ(o.rules[1].os, 2);
    EXPECT_TRUE(o.progress);  // on unless --quiet
  }
}

// Help and refusals come before any work: an incomplete line still gets help.
TEST(PublishOptions, HelpAndRefusalsComeFirst) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{"--product", "P", "--release", "r"}, "missing --out"},
      {{"--release", "r", "--out", "o"}, "missing --product"},
      {{"--product", "P", "--release", "r", "--out"}, "--out needs a value"},
      {{"--product=", "--release", "r", "--out", "o"}, "--product needs a value"},
      {{"--product", "P", "--product", "Q", "--release", "r", "--out", "o"}, "given twice"},
      {{"--product", "P", "--release", "r", "--out", "o", "--jobs", "3"}, "unknown option \"--jobs\""},
      {{"--product", "P", "--release", "r", "--out", "o", "--platform", "*.exe=7"}, "0 to 6"},
      {{"--product", "P", "--release", "r", "--out", "o", "--platform", "*.exe"}, "PATTERN=N"},
      {{"--product", "P", "--release", "r", "--out", "o", "--platform", "=2"}, "PATTERN=N"},
      {{"--product", "P", "--release", "r", "--out", "o", "--mirror", "host,/p/"}, "HOST,FOLDER,DESCRIPTION"},
      {{"--product", "P", "--release", "r", "--out", "o", "--mirror", "host,/p/,"}, "description"},
      {{"--product", "P", "--release", "r", "--out", "o", "--mirror", "a host,/p/,d"}, "blank"},
  };
  publish_options opt;
  std::string error;
  for (const auto& c : cases) {
    EXPECT_EQ(parse_publish_args(c.first, opt, error), parse_error) << c.second;
    EXPECT_NE(error.find(c.second), std::string::npos) << error;
    opt = publish_options();
  }
  EXPECT_EQ(parse_publish_args({"--product", "P", "--help"}, opt, error), parse_help);
  EXPECT_EQ(parse_publish_args({"--release", "r", "--version"}, opt, error), parse_version);
  EXPECT_NE(publish_help().find("--platform"), std::string::npos);

  // The installer reads ten mirrors at most; the eleventh is refused up front.
  opt = publish_options();
  opt.product = "/nonexistent";
  opt.release = "r";
  opt.out = "/nonexistent-out";
  for (int i = 0; i < 11; ++i) opt.mirrors.push_back({"h" + std::to_string(i), "/p/", "d"});
  publish_summary sum;
  EXPECT_NE(publish_release(opt, sum, error), 0);
  EXPECT_NE(error.find("more than 10 mirrors"), std::string::npos) << error;
}

}  // namespace
