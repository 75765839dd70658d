// Path conventions and the small file operations. Each operation takes a path
// in any of the three separator styles and returns an error number.
#include "files/paths.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "files/alert.h"
#include "files/log.h"

std::string app_path;
int g_case_sensitive = 1;
const char* sErrFile = "";
int sErrLine = -1;

namespace {
const char kUnit[] = "Files/io_utils";

inline int fail_at(int err, int line) {
  sErrFile = kUnit;
  sErrLine = line;
  return err;
}

inline bool is_sep(char c) { return c == ':' || c == '\\' || c == '/'; }
}  // namespace

const err_msg_pair kErrMsgs[] = {
    {20001, "We were unable to open a zip file.  It may be missing or damaged"},
    {20002, "We were unable to read from a zip file.  It may be missing or damaged"},
    {20003, "We were unable to create a zip file"},
    {20004, "We were unable to write to a zip file.  It may be missing or damaged"},
    {20005, "We cannot compress a zip file because its source file resource fork is more than 2 GB.  "
            "The source file is probably damaged"},
    {20006, "We could not open a file to read from it"},
    {20007, "We were unable to connct to the network due to an internal reconnect error"},
    {20008, "We wre unable to connect to the network due to a bad state error"},
    {20009, "We could not allocate a connection to the network"},
    {20010, "We could not write the incoming file from the web to disk"},
    {20011, "We could not find the server over the network"},
    {20012, "Part of the downloaded zip file is corrupted (the resource fork header is bad)"},
    {11, "Resource temporarily unavailable"},
    {35, "Resource deadlock avoided"},
    {36, "File name too long"},
    {38, "Function not implemented"},
    {39, "Directory not empty"},
    {84, "Wide character encoding error"},
    {7, "Argument list too long"},
    {13, "Permission denied.  Perhaps you do not have access to a directory or file system"},
    {9, "Bad file descriptor"},
    {16, "Device busy"},
    {10, "No child processes"},
    {33, "Numerical argument out of domain"},
    {17, "File exists"},
    {14, "Bad address"},
    {27, "File too large"},
    {4, "Interrupted system call"},
    {22, "Invalid argument"},
    {5, "Input/output error"},
    {21, "Is a directory"},
    {24, "Too many open files"},
    {31, "Too many links"},
    {23, "Too many open files in system"},
    {19, "Operation not supported by device"},
    {2, "No such file or directory"},
    {8, "Exec format error"},
    {37, "No locks available"},
    {12, "Out of memory"},
    {28, "No space left on device.  Perhaps your hard drive is full"},
    {20, "Not a directory"},
    {25, "Inappropriate ioctl for device"},
    {6, "Device not configured"},
    {1, "Operation not permitted.  Perhaps you do not have access to a directory or file system"},
    {32, "Broken pipe"},
    {34, "Result too large"},
    {30, "The destination file system is read-only"},
    {29, "Illegal seek"},
    {3, "No such process"},
    {18, "Cross-device link"},
    {0, nullptr},
};

std::string error_str(int code) {
  for (const err_msg_pair* p = kErrMsgs; p->text; ++p)
    if (p->code == code) return p->text;
  static char buf[64];
  snprintf(buf, sizeof buf, "Unknown error occurred (%d)", code);
  return buf;
}

// ---------------------------------------------------------------------------
// Case repair.
//
// A full scan of the product asks for many files that don't exist yet in the
// same few folders, so folder listings are kept between calls. A listing is
// reused only while the folder's ctime is unchanged and that ctime lies
// safely before the moment the listing was taken: any later change of the
// folder's entries then moves ctime, even on file systems with coarse
// timestamps. ctime can't be set by user programs, unlike mtime. File
// systems that don't keep ctime honestly (proc, network) are never cached.

namespace {

inline unsigned char fold(unsigned char c) { return (c >= 'A' && c <= 'Z') ? c + 32 : c; }

std::string folded(const char* s, size_t n) {
  std::string out(s, n);
  for (char& c : out) c = static_cast<char>(fold(static_cast<unsigned char>(c)));
  return out;
}

struct dir_listing {
  timespec ctime;
  bool reusable;
  // Folded name -> spelling of the first entry in listing order with it.
  std::unordered_map<std::string, std::string> names;
};

struct dir_key {
  dev_t dev;
  ino_t ino;
  bool operator==(const dir_key& o) const { return dev == o.dev && ino == o.ino; }
};
struct dir_key_hash {
  size_t operator()(const dir_key& k) const {
    return std::hash<unsigned long long>()(static_cast<unsigned long long>(k.ino) * 1000003u ^
                                           static_cast<unsigned long long>(k.dev));
  }
};

std::mutex g_listing_lock;
std::unordered_map<dir_key, dir_listing, dir_key_hash> g_listings;
const size_t kMaxListings = 256;
const long kCtimeMarginNs = 3L * 1000000000L;  // FAT keeps times in 2 s steps

bool honest_ctime_fs(long f_type) {
  switch (static_cast<unsigned long>(f_type)) {
    case 0xEF53UL:      // ext2/3/4
    case 0x58465342UL:  // xfs
    case 0x9123683EUL:  // btrfs
    case 0x01021994UL:  // tmpfs
    case 0x794C7630UL:  // overlayfs
    case 0xF2F52010UL:  // f2fs
      return true;
    default:
      return false;
  }
}

long long ns_of(const timespec& t) { return static_cast<long long>(t.tv_sec) * 1000000000LL + t.tv_nsec; }

// Looks up the entry of `folder` equal to `name` without regard to case.
// Returns false when the folder can't be listed or has no such entry.
bool find_entry_blind(const char* folder, const char* name, size_t len, std::string& spelling) {
  const std::string key = folded(name, len);
  std::lock_guard<std::mutex> guard(g_listing_lock);

  struct stat st;
  if (stat(folder, &st) == 0 && S_ISDIR(st.st_mode)) {
    auto it = g_listings.find(dir_key{st.st_dev, st.st_ino});
    if (it != g_listings.end() && it->second.reusable && ns_of(it->second.ctime) == ns_of(st.st_ctim)) {
      auto hit = it->second.names.find(key);
      if (hit == it->second.names.end()) return false;
      spelling = hit->second;
      return true;
    }
  }

  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  int fd = open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat dst;
  struct statfs fs;
  if (fstat(fd, &dst) != 0) {
    close(fd);
    return false;
  }
  bool reusable = fstatfs(fd, &fs) == 0 && honest_ctime_fs(fs.f_type) &&
                  ns_of(dst.st_ctim) + kCtimeMarginNs < ns_of(now);
  DIR* d = fdopendir(fd);
  if (!d) {
    close(fd);
    return false;
  }

  bool found = false;
  if (!reusable) {
    // Nothing to keep: stop at the first match, as a plain listing does.
    while (dirent* e = readdir(d)) {
      if (strlen(e->d_name) == len && folded(e->d_name, len) == key) {
        spelling.assign(e->d_name, len);
        found = true;
        break;
      }
    }
    closedir(d);
    return found;
  }

  if (g_listings.size() >= kMaxListings) g_listings.clear();
  dir_listing& l = g_listings[dir_key{dst.st_dev, dst.st_ino}];
  l.ctime = dst.st_ctim;
  l.reusable = true;
  l.names.clear();
  while (dirent* e = readdir(d)) {
    size_t n = strlen(e->d_name);
    l.names.emplace(folded(e->d_name, n), std::string(e->d_name, n));
  }
  closedir(d);
  auto hit = l.names.find(key);
  if (hit == l.names.end()) return false;
  spelling = hit->second;
  return true;
}

}  // namespace

void findPath(char* path) {
  struct stat st;
  if (!path || !*path || stat(path, &st) == 0) return;
  const size_t n = strlen(path);

  // Component boundaries: [beg, end) of each non-empty name between slashes.
  std::vector<std::pair<size_t, size_t>> comps;
  for (size_t i = 0; i < n;) {
    while (i < n && path[i] == '/') ++i;
    size_t b = i;
    while (i < n && path[i] != '/') ++i;
    if (i > b) comps.emplace_back(b, i);
  }

  // The leading components that exist exactly as written need no repair;
  // find the longest such prefix from the end (the whole path already failed).
  size_t first_bad = 0;
  for (size_t k = comps.size(); k-- > 1;) {
    char save = path[comps[k - 1].second];
    path[comps[k - 1].second] = 0;
    bool ok = stat(path, &st) == 0;
    path[comps[k - 1].second] = save;
    if (ok) {
      first_bad = k;
      break;
    }
  }

  std::string folder, spelling;
  for (size_t k = first_bad; k < comps.size(); ++k) {
    const size_t b = comps[k].first, e = comps[k].second;
    if (k > first_bad) {
      // An earlier component was repaired; this one may now exist as written.
      char save = path[e];
      path[e] = 0;
      bool ok = stat(path, &st) == 0;
      path[e] = save;
      if (ok) continue;
    }
    if (b == 0)
      folder = ".";
    else
      folder.assign(path, b);
    if (!find_entry_blind(folder.c_str(), path + b, e - b, spelling)) return;
    memcpy(path + b, spelling.data(), e - b);
  }
}

void set_dir_chars(std::string& path) {
  if (path.size() > kMaxPath)
    __MACIBM_alert(0, "String too long!", path, "", "", alert_fatal, "GenH/kv_string", __LINE__);
  // Past the alert (which ends the process) the string itself is the buffer,
  // so no length can overrun anything.
  for (char& c : path)
    if (is_sep(c)) c = '/';
  if (g_case_sensitive && !path.empty()) findPath(&path[0]);
}

// ---------------------------------------------------------------------------

namespace {
// The executable's folder with its final slash, or "" to mean the current one.
std::string program_folder() {
  static char link[1024];
  char proc[128];
  snprintf(proc, sizeof proc, "/proc/%d/exe", static_cast<int>(getpid()));
  ssize_t got = readlink(proc, link, 1023);
  std::string text;
  if (got == 1023) {
    puts("WARNING: Zephyra is stored too deeply in the file system, so I\n"
         "could not find the path with a simple readlink! I will assume\n"
         "that you are running Zephyra from the directory in which it is\n"
         "stored; if you're not, then there will be errors. To get rid of\n"
         "this message, move Zephyra someplace where a readlink with a buflen\n"
         "of 1023 can find it. If that doesn't help, please write to Vantrell support.");
    text = "./";
  } else if (got < 0) {
    puts("WARNING: I could not find myself with a readlink! This might be\n"
         "because /proc isn't mounted. Avoiding entirely the issue of the\n"
         "stupidity of running something like Zephyra without /proc mounted,\n"
         "I'll just say that that won't work. I will assume that you are\n"
         "running Zephyra from the directory in which it is stored; if\n"
         "you're not, then there will be errors. Of course, it might've been\n"
         "something else, so I'll let perror do some talking for me.\n"
         "If it stays broken, please write to Vantrell support.");
    perror("readlink");
    text = "./";
  } else {
    link[got] = 0;
    char* slash = strrchr(link, '/');
    if (slash) {
      slash[1] = '/';
      slash[2] = 0;
    }
    text = link;
  }
  // Walk back from the character before the last one to a separator.
  size_t i = text.size() >= 2 ? text.size() - 2 : 0;
  while (i > 0 && !is_sep(text[i])) --i;
  if (i == 0)
    text.clear();
  else
    text.resize(i + 1);
  g_case_sensitive = 1;
  app_path.clear();
  return text;
}
}  // namespace

void get_OS_abs_path(int which, std::string& path) {
  switch (which) {
    case 0:
      path = program_folder();
      break;
    case 1:
    case 2:
      if (const char* home = getenv("HOME")) path = std::string(home) + "/";
      break;
    case 3:
      path = "/tmp/";
      break;
    case 4:
      if (const char* home = getenv("HOME")) {
        path = std::string(home) + "/.zephyra/";
        mkdir(path.c_str(), 0777);  // usually there already
      }
      break;
    default:
      break;
  }
}

namespace {

// The one search both splits share: backwards from the last character but
// one, down to the second, so a folder path "a/b/" splits at its inner
// separator. npos when there is none or the path is shorter than two.
size_t split_point(const std::string& path) {
  const size_t n = path.size();
  if (n < 2) return std::string::npos;
  for (size_t i = n - 2; i >= 1; --i)
    if (is_sep(path[i])) return i;
  return std::string::npos;
}

}  // namespace

void get_file_with_path(std::string& out, const std::string& path) {
  const size_t at = split_point(path);
  if (at != std::string::npos)
    out = path.substr(at + 1);
  else if (path.size() >= 2)
    out = path;
  else
    out.clear();
}

void get_path_with_path(std::string& out, const std::string& path) {
  const size_t at = split_point(path);
  if (at != std::string::npos)
    out = path.substr(0, at + 1);
  else
    out.clear();
}

int path_has_no_file(std::string path) {
  return !path.empty() && (path.back() == ':' || path.back() == '/');
}

bool file_exists(std::string path) {
  path = app_path + path;
  set_dir_chars(path);
  FILE* f = fopen(path.c_str(), "r");
  if (!f) return false;
  fclose(f);
  return true;
}

int dir_exists(std::string path) {
  path = app_path + path;
  set_dir_chars(path);
  if (!path.empty() && path.back() == '/') path.pop_back();
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode) ? 1 : 0;
}

int delete_file(std::string path) {
  path = app_path + path;
  set_dir_chars(path);
  if (path.empty()) return fail_at(2, __LINE__);
  if (path.back() == '/') {
    path.pop_back();
    if (rmdir(path.c_str()) != 0) return fail_at(errno, __LINE__);
  } else if (unlink(path.c_str()) != 0) {
    return fail_at(errno, __LINE__);
  }
  return 0;
}

int make_folder(const std::string& path) {
  std::string p = path;
  set_dir_chars(p);
  if (!p.empty() && p.back() == '/') p.pop_back();
  if (mkdir(p.c_str(), 0755) != 0) return fail_at(errno, __LINE__);
  return 0;
}

int rename_file(const std::string& folder, const std::string& old_name, const std::string& new_name) {
  std::string from = folder + old_name, to = folder + new_name;
  set_dir_chars(from);
  set_dir_chars(to);
  if (rename(from.c_str(), to.c_str()) != 0) return fail_at(errno, __LINE__);
  return 0;
}

int show_make_dir_err(int code) { return code == 0 || code == 17 ? 0 : 1; }

// Failed deletions are never reported: a file that stays behind is harmless.
int show_del_err(int) { return 0; }

int launch_app(const std::string& program, const std::string& argument) {
  std::string prog = program;
  set_dir_chars(prog);
  prog = app_path + prog;
  xer << "Launching: " << prog << " with " << argument << "\n";
  xer.flush();
  fflush(stdout);

  pid_t pid = fork();
  if (pid < 0) return fail_at(errno, __LINE__);
  if (pid == 0) {
    std::string flag = "-path";
    char* argv[4] = {&prog[0], nullptr, nullptr, nullptr};
    if (!argument.empty()) {
      argv[1] = &flag[0];
      argv[2] = const_cast<char*>(argument.c_str());
    }
    execv(prog.c_str(), argv);
    _exit(127);
  }
  if (alert_hooks.finishup)
    alert_hooks.finishup(1);
  else
    xer.flush();
  exit(0);
}
