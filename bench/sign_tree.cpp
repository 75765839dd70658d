// Signs every regular file under a folder with calc_file_md5, the way a scan
// of the product does. Prints the throughput; with --list also prints each
// signature in md5sum's format so that the two can be compared.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "files/signature.h"

int main(int argc, char** argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: %s folder [--list]\n", argv[0]);
    return 2;
  }
  const bool list = argc > 2 && strcmp(argv[2], "--list") == 0;
  namespace fs = std::filesystem;

  auto t0 = std::chrono::steady_clock::now();
  std::vector<std::string> files;
  unsigned long long bytes = 0;
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(argv[1], ec); !ec && it != fs::recursive_directory_iterator();
       it.increment(ec)) {
    if (it->is_regular_file(ec)) {
      files.push_back(it->path().string());
      bytes += it->file_size(ec);
    }
  }

  int failed = 0;
  std::string sig;
  for (const std::string& f : files) {
    sig = "NONE";
    if (calc_file_md5(f, sig) != 0) ++failed;
    if (list) printf("%s  %s\n", sig.c_str(), f.c_str());
  }
  double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();

  fprintf(stderr, "files=%zu bytes=%llu failed=%d seconds=%.3f MB/s=%.1f\n", files.size(), bytes, failed, s,
          bytes / 1e6 / s);
  return failed ? 1 : 0;
}
