// Entry of the installer. Until the window and the stage machine arrive, the
// program opens its log beside itself and answers its command line.
#include <unistd.h>

#include <cstdio>
#include <string>

#include "files/cmdline.h"
#include "files/log.h"

namespace {

// The folder of the running executable, with a trailing slash; empty (the
// current folder) when /proc can't tell us.
std::string own_folder() {
  char buf[1024];
  const ssize_t n = readlink("/proc/self/exe", buf, sizeof(buf) - 1);
  if (n <= 0 || n >= static_cast<ssize_t>(sizeof(buf) - 1)) return "";
  const std::string path(buf, static_cast<size_t>(n));
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

}  // namespace

int main(int argc, char** argv) {
  log_open(own_folder() + "Log.txt");
  cmdline.init_unix(argc, argv);
  xer.flush();
  puts("Zephyra Installer: the installer window is not built yet. Run with --help to list the options.");
  return 0;
}
