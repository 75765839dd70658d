// A scratch folder with xer logging into it, to read back what was logged.
#pragma once
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "files/log.h"

struct temp_dir {
  std::string path;
  temp_dir() {
    char tmpl[] = "/tmp/zephyra_test_XXXXXX";
    path = mkdtemp(tmpl);
  }
  ~temp_dir() { std::system(("rm -rf '" + path + "'").c_str()); }
  std::string file(const std::string& name) const { return path + "/" + name; }
};

inline std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

struct temp_log {
  temp_dir dir;
  std::string path = dir.file("Log.txt");
  temp_log() {
    if (xer.is_open()) xer.close();
    xer.clear();
    xer.open(path, std::ios::out | std::ios::trunc);
  }
  ~temp_log() {
    xer.close();
    xer.clear();
  }
  std::string text() {
    xer.flush();
    return read_file(path);
  }
};
