// The publisher's command line: both option spellings, repeated options,
// the mirror and platform forms, and what is refused before any work.
#include <gtest/gtest.h>

#include "publish/options.h"

namespace {

parse_outcome parse(std::vector<std::string> args, publish_options& opt, std::string& error) {
  return parse_publish_args(args, opt, error);
}

TEST(PublishOptions, BothSpellingsAndRepeatsGiveTheSameRun) {
  publish_options a, b;
  std::string error;
  ASSERT_EQ(parse({"--product", "P", "--release", "8.60r2", "--out", "/srv/m", "--previous", "old.zip",
                   "--mirror", "h1,/pub/,One, with commas, and blanks", "--mirror", "h2,pub,Two",
                   "--platform", "bin/*=6", "--platform", "a=b=2"},
                  a, error),
            parse_run)
      << error;
  ASSERT_EQ(parse({"--product=P", "--release=8.60r2", "--out=/srv/m", "--previous=old.zip",
                   "--mirror=h1,/pub/,One, with commas, and blanks", "--mirror=h2,pub,Two",
                   "--platform=bin/*=6", "--platform=a=b=2"},
                  b, error),
            parse_run)
      << error;
  for (const publish_options* o : {&a, &b}) {
    EXPECT_EQ(o->product, "P");
    EXPECT_EQ(o->release, "8.60r2");
    EXPECT_EQ(o->out, "/srv/m");
    EXPECT_EQ(o->previous, "old.zip");
    ASSERT_EQ(o->mirrors.size(), 2u);
    EXPECT_EQ(o->mirrors[0].host, "h1");
    EXPECT_EQ(o->mirrors[0].desc, "One, with commas, and blanks");
    // The installer joins the release straight on: the folder gets its slashes.
    EXPECT_EQ(o->mirrors[1].folder, "/pub/");
    ASSERT_EQ(o->rules.size(), 2u);
    EXPECT_EQ(o->rules[0].pattern, "bin/*");
    EXPECT_EQ(o->rules[0].os, 6);
    EXPECT_EQ(o->rules[1].pattern, "a=b");
    EXPECT_EQ(o->rules[1].os, 2);
    EXPECT_TRUE(o->progress);
  }
}

TEST(PublishOptions, RefusedWithAReason) {
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
  for (const auto& c : cases) {
    publish_options opt;
    std::string error;
    EXPECT_EQ(parse(c.first, opt, error), parse_error) << c.second;
    EXPECT_NE(error.find(c.second), std::string::npos) << error;
  }
}

TEST(PublishOptions, HelpExplainsEveryOptionWithAnExample) {
  publish_options opt;
  std::string error;
  EXPECT_EQ(parse({"--product", "P", "--help"}, opt, error), parse_help);
  const std::string help = publish_help();
  for (const char* word : {"--product", "--release", "--out", "--previous", "--mirror", "--platform",
                           "--quiet", "--help", "Example", "serverlist.txt", "GONE"})
    EXPECT_NE(help.find(word), std::string::npos) << word;
}

TEST(PublishOptions, MoreMirrorsThanTheInstallerReadsAreRefused) {
  publish_options opt;
  opt.product = "/nonexistent";
  opt.release = "r";
  opt.out = "/nonexistent-out";
  for (int i = 0; i < 11; ++i) opt.mirrors.push_back({"h" + std::to_string(i), "/p/", "d"});
  publish_summary sum;
  std::string error;
  EXPECT_NE(publish_release(opt, sum, error), 0);
  EXPECT_NE(error.find("more than 10 mirrors"), std::string::npos) << error;
}

}  // namespace
