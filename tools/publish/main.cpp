// zephyra-publish: the command line around publish_release.
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "files/log.h"
#include "publish/options.h"
#include "publish/publish.h"

namespace {
void on_signal(int) { publish_stop = true; }
}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  publish_options opt;
  std::string error;
  switch (parse_publish_args(args, opt, error)) {
    case parse_help:
      fputs(publish_help().c_str(), stdout);
      return 0;
    case parse_version:
      puts(version_text("zephyra-publish").c_str());
      return 0;
    case parse_error:
      fprintf(stderr, "zephyra-publish: %s\n", error.c_str());
      return 2;
    case parse_run:
      break;
  }
  // An interrupted run cleans up after itself instead of leaving temporaries.
  signal(SIGINT, on_signal);
  signal(SIGTERM, on_signal);
  publish_summary sum;
  if (publish_release(opt, sum, error) != 0) {
    fprintf(stderr, "zephyra-publish: %s\n", error.c_str());
    return 1;
  }
  fputs(summary_text(opt, sum).c_str(), stdout);
  return 0;
}
