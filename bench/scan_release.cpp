// Helper for scan_release.sh: makes a synthetic release on disk, writes its
// list from md5sum's output, and times read_directory over it.
//
//   scan_release gen <folder> <files> <total_megabytes>
//   scan_release list <md5sum output> <list out>
//   scan_release scan <list> <destination folder> [threads]
//   scan_release parse <rows> <scratch folder>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "files/sign_ahead.h"
#include "install/directory.h"
#include "install/person.h"
#include "install/stage.h"

namespace {

using clock_type = std::chrono::steady_clock;
clock_type::time_point scan_started;
bool scan_seen = false;

// The panel marks where parsing ends and examining begins.
void mark_phase(float, float, float, int mode, const std::string&, const std::string&) {
  if (mode == dir_progress_examining && !scan_seen) {
    scan_seen = true;
    scan_started = clock_type::now();
  }
}

clock_type::time_point parse_started;

// For the parse figure the scan of a list of missing files is of no interest:
// report at the first examining repaint and leave.
void stop_after_parse(float, float, float, int mode, const std::string&, const std::string&) {
  if (mode != dir_progress_examining) return;
  const double t = std::chrono::duration<double>(clock_type::now() - parse_started).count();
  const int parsed = read_directory_rows_parsed();
  size_t rows = 0;
  for (auto& e : sim_info) rows += e.size();
  printf("rows=%d entries=%zu parse=%.3f s rows_per_second=%.0f\n", parsed, sim_info.size(), t,
         parsed / t);
  fflush(stdout);
  _exit(rows == (size_t)parsed ? 0 : 1);
}

double seconds(clock_type::time_point a, clock_type::time_point b) {
  return std::chrono::duration<double>(b - a).count();
}

uint64_t rng_state = 0x9e3779b97f4a7c15ull;
uint64_t next_rand() {
  rng_state ^= rng_state << 13;
  rng_state ^= rng_state >> 7;
  rng_state ^= rng_state << 17;
  return rng_state;
}

int gen(const std::string& top, int files, long megabytes) {
  const long total = megabytes * 1000 * 1000;
  const long mean = total / files;
  mkdir(top.c_str(), 0755);
  std::vector<uint64_t> buf;
  long written = 0;
  for (int i = 0; i < files; ++i) {
    // Folders of about a hundred files, sizes spread from 0 to twice the mean.
    const std::string folder = top + "/dir" + std::to_string(i / 100) + "/";
    if (i % 100 == 0) mkdir(folder.c_str(), 0755);
    long size = i == files - 1 ? total - written : (long)(next_rand() % (2 * mean + 1));
    if (size < 0) size = 0;
    buf.resize(size / 8 + 1);
    for (auto& w : buf) w = next_rand();
    FILE* f = fopen((folder + "file" + std::to_string(i) + ".dat").c_str(), "wb");
    if (!f) {
      perror("scan_release gen");
      return 1;
    }
    fwrite(buf.data(), 1, size, f);
    fclose(f);
    written += size;
  }
  printf("generated %d files, %.1f MB\n", files, written / 1e6);
  return 0;
}

// md5sum prints "<sum>  <path>"; the list wants the top folder as its first
// element, folders as DIR lines with ":" separators, and the name alone.
int list(const std::string& sums, const std::string& out_path) {
  std::ifstream in(sums);
  std::ofstream out(out_path, std::ios::binary);
  out << "I\n840 generated release\nINSTALLER\n";
  std::string line, current;
  while (std::getline(in, line)) {
    if (line.size() < 35) continue;
    const std::string sum = line.substr(0, 32);
    std::string path = line.substr(34);
    struct stat st;
    long kb = stat(path.c_str(), &st) == 0 ? (long)(st.st_size + 1023) / 1024 : 0;
    const size_t cut = path.rfind('/');
    std::string folder = cut == std::string::npos ? "" : path.substr(0, cut + 1);
    const std::string name = path.substr(cut + 1);
    for (char& c : folder)
      if (c == '/') c = ':';
    if (folder != current) {
      out << "DIR " << folder << "\n";
      current = folder;
    }
    out << "FILE 0 0 840 " << kb << " " << kb << " " << sum << " " << name << "\n";
  }
  return 0;
}

int scan(const std::string& list_path, const std::string& dest, int threads) {
  set_run_defaults();
  scan_threads = threads;
  dest_dir_path = dest;
  person_hooks.dir_progress_bar = mark_phase;
  scan_seen = false;
  const auto t0 = clock_type::now();
  const int state = read_directory(list_path, "bench");
  const auto t1 = clock_type::now();
  size_t missing = 0;
  for (auto& e : sim_info) missing += e.back().have_file == 0;
  printf("threads=%d entries=%zu state=%d mismatched=%zu parse=%.3f scan=%.3f total=%.3f\n",
         threads > 0 ? threads : sign_thread_count(), sim_info.size(), state, missing, scan_seen ? seconds(t0, scan_started) : 0.0,
         scan_seen ? seconds(scan_started, t1) : 0.0, seconds(t0, t1));
  return state == 3 && missing == 0 ? 0 : 1;
}

int parse(int rows, const std::string& scratch) {
  const std::string list_path = scratch + "/big_list.txt";
  {
    std::ofstream out(list_path, std::ios::binary);
    out << "I\n840 generated\nINSTALLER\n";
    int written = 0;
    for (int i = 0; written < rows; ++i) {
      if (i % 100 == 0) out << "DIR Zephyra:Resources:folder" << i / 100 << ":\n";
      // Every fourth path carries a history row above its current one.
      if (i % 4 == 0 && written + 1 < rows) {
        out << "FILE 0 0 810 10 20 00112233445566778899aabbccddeeff file" << i << ".txt\n";
        ++written;
      }
      out << "FILE 0 " << i % 7 << " 840 12 24 0f1e2d3c4b5a69788796a5b4c3d2e1f0 file" << i
          << ".txt\n";
      ++written;
    }
  }
  set_run_defaults();
  dest_dir_path = scratch + "/nowhere/";
  person_hooks.dir_progress_bar = stop_after_parse;
  parse_started = clock_type::now();
  read_directory(list_path, "bench");
  return 1;  // the hook ends the process
}

}  // namespace

int main(int argc, char** argv) {
  const std::string cmd = argc > 1 ? argv[1] : "";
  if (cmd == "gen" && argc == 5) return gen(argv[2], atoi(argv[3]), atol(argv[4]));
  if (cmd == "list" && argc == 4) return list(argv[2], argv[3]);
  if (cmd == "scan" && (argc == 4 || argc == 5))
    return scan(argv[2], argv[3], argc == 5 ? atoi(argv[4]) : 0);
  if (cmd == "parse" && argc == 4) return parse(atoi(argv[2]), argv[3]);
  fprintf(stderr, "usage: scan_release gen|list|scan|parse ...\n");
  return 2;
}
