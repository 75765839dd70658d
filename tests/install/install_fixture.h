// Scratch folders and list files for the installation tests.
#pragma once
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "files/alert.h"
#include "install/directory.h"
#include "install/person.h"
#include "install/stage.h"
#include "install/streams.h"
#include "net/clock.h"

struct scratch_dir {
  std::string path;  // with a final "/"
  scratch_dir() {
    char tmpl[] = "/tmp/zephyra_install_XXXXXX";
    path = std::string(mkdtemp(tmpl)) + "/";
  }
  ~scratch_dir() { std::system(("rm -rf '" + path + "'").c_str()); }
  scratch_dir(const scratch_dir&) = delete;
  scratch_dir& operator=(const scratch_dir&) = delete;

  // Makes the folders leading to rel, then the file with the given bytes.
  std::string put(const std::string& rel, const std::string& bytes) const {
    mkdirs(rel.substr(0, rel.rfind('/') + 1));  // npos + 1 is 0: no folder
    std::ofstream(path + rel, std::ios::binary) << bytes;
    return path + rel;
  }
  std::string mkdirs(const std::string& rel) const {
    for (size_t i = 0; i <= rel.size(); ++i)
      if (i == rel.size() || rel[i] == '/') mkdir((path + rel.substr(0, i)).c_str(), 0755);
    return path + rel;
  }
  bool exists(const std::string& rel) const {
    struct stat st;
    return stat((path + rel).c_str(), &st) == 0;
  }
};

// The engine lives in globals: every case starts from the run's defaults
// with an empty destination and leaves nothing behind for the next.
struct install_case : testing::Test {
  scratch_dir tmp;
  void SetUp() override {
    reset();
    dest_dir_path = tmp.mkdirs("dest/");
    temp_path = tmp.mkdirs("temp/");
  }
  void TearDown() override { reset(); }
  static void reset() {
    set_run_defaults();
    sim_info.clear();
    deleted_files.clear();
    next = next_class{};
    person_hooks = person_hooks_t{};
    alert_hooks = alert_hooks_t{};
    app_done = ogl_inited = this_install_has_exes = scan_threads = 0;
    xtim.real_time = 0;
  }
};

// A fatal alert ends the process after printing its texts on stdout; the
// death test matches stderr, so the child sends one to the other.
#define EXPECT_FATAL(statement, regex) EXPECT_DEATH({ dup2(2, 1); statement; }, regex)

// The MD5 of a file by the system's own md5sum, so our signatures are held
// against an outside tool.
inline std::string md5sum_of(const std::string& file) {
  FILE* p = popen(("md5sum '" + file + "'").c_str(), "r");
  char buf[64] = {0};
  if (!p || fscanf(p, "%32s", buf) != 1) buf[0] = 0;
  if (p) pclose(p);
  return buf;
}
