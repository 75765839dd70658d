#include "targets.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "files/alert.h"
#include "files/paths.h"
#include "files/prefs.h"
#include "files/zip.h"
#include "install/containment.h"
#include "install/directory.h"
#include "install/preferences.h"
#include "install/servers.h"
#include "install/stage.h"
#include "../net/net_support.h"  // also the sockets and streams the targets use
#include "net/http.h"

const fuzz_target_t kFuzzTargets[5] = {{"directory", fuzz_directory},
                                       {"servers", fuzz_servers},
                                       {"prefs", fuzz_prefs},
                                       {"http", fuzz_http},
                                       {"zip", fuzz_zip}};

namespace {

std::string guard_root;  // real path of the zip target's unpack folder; empty: no guard

[[noreturn]] void fault(const char* what, const std::string& detail) {
  guard_root.clear();  // the fuzzer's own crash file must still be written
  fprintf(stderr, "fuzz fault: %s: %s\n", what, detail.c_str());
  abort();
}

bool worker_always() { return true; }

// One scratch folder per process. Alerts throw, as on a worker thread, so a
// fatal one does not end the process.
const std::string& box() {
  // Never destroyed: the exit handler still needs it.
  static const std::string* path = [] {
    char tmpl[] = "/tmp/zephyra_fuzz_XXXXXX";
    if (!mkdtemp(tmpl)) fault("mkdtemp", strerror(errno));
    atexit([] { std::filesystem::remove_all(*path); });
    return new std::string(tmpl);
  }();
  alert_hooks.on_worker_thread = worker_always;
  return *path;
}

void write_file(const std::string& path, const uint8_t* data, size_t size) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  if (!out) fault("write", path);
}

std::string real_or_empty(const std::string& path) {
  char* r = realpath(path.c_str(), nullptr);
  std::string out = r ? r : "";
  free(r);
  return out;
}

bool within_root(const std::string& real) {
  return real == guard_root || real.compare(0, guard_root.size() + 1, guard_root + "/") == 0;
}

bool exists_no_follow(const char* path) {
  struct stat st;
  return lstat(path, &st) == 0;
}

// Where a call on path lands: through the last component when follow is set
// and it exists, else in the real parent folder.
bool lands_inside(const char* path, bool follow) {
  std::string p = path ? path : "";
  while (p.size() > 1 && p.back() == '/') p.pop_back();
  if (follow) {
    const std::string r = real_or_empty(p);
    if (!r.empty()) return within_root(r);
    // A dangling link would be written through to wherever it points.
    struct stat st;
    if (lstat(p.c_str(), &st) == 0 && S_ISLNK(st.st_mode)) return false;
  }
  const size_t cut = p.rfind('/');
  const std::string parent = cut == std::string::npos ? "." : cut == 0 ? "/" : p.substr(0, cut);
  const std::string base = cut == std::string::npos ? p : p.substr(cut + 1);
  if (base == "..") return false;
  const std::string r = real_or_empty(parent);
  return r.empty() || within_root(r + (base == "." ? "" : "/" + base));
}

void check(const char* call, const char* path, bool follow, bool harmless) {
  if (guard_root.empty() || harmless || lands_inside(path, follow)) return;
  fault(call, std::string(path) + " is outside " + guard_root);
}

}  // namespace

// The zip target's program is linked with --wrap for each call that changes
// the disk, so every one of them passes the guard first.
#define GUARDED(ret, name, params, args, follow, harmless) \
  extern "C" ret __real_##name params;                      \
  extern "C" ret __wrap_##name params {                     \
    check(#name, path, follow, harmless);                   \
    return __real_##name args;                              \
  }
GUARDED(FILE*, fopen, (const char* path, const char* mode), (path, mode), true, mode && !strpbrk(mode, "wa+"))
GUARDED(int, mkdir, (const char* path, mode_t mode), (path, mode), false, exists_no_follow(path))
GUARDED(int, rmdir, (const char* path), (path), false, !exists_no_follow(path))
GUARDED(int, unlink, (const char* path), (path), false, !exists_no_follow(path))
GUARDED(int, symlink, (const char* target, const char* path), (target, path), false, false)
GUARDED(int, chmod, (const char* path, mode_t mode), (path, mode), true, false)
GUARDED(int, utimes, (const char* path, const struct timeval times[2]), (path, times), true, false)
extern "C" int __real_rename(const char* from, const char* to);
extern "C" int __wrap_rename(const char* from, const char* to) {
  check("rename from", from, false, false);
  check("rename to", to, false, false);
  return __real_rename(from, to);
}

int fuzz_directory(const uint8_t* data, size_t size) {
  const std::string list = box() + "/directory.txt";
  write_file(list, data, size);
  dest_dir_path = box() + "/dest/";
  mkdir(dest_dir_path.c_str(), 0755);
  try {
    if (read_directory(list, "fuzz") != 3) return 0;
  } catch (const exce_class&) {
    return 0;
  }
  for (const auto& entry : sim_info) {
    if (entry.empty()) fault("directory", "an entry without rows");
    for (const auto& row : entry) {
      if (row.row_kind < 0 || row.row_kind > 1 || row.row_os < 0 || row.row_os > 6)
        fault("directory", "row fields out of range: " + row.file_path);
      // A list that was read may not name anything outside the destination.
      if (row_path_escapes(row.file_path))
        fault("directory", "a row outside the destination: " + row.file_path);
    }
  }
  return 0;
}

int fuzz_servers(const uint8_t* data, size_t size) {
  const std::string list = box() + "/serverlist.txt";
  write_file(list, data, size);
  stg.server_count = -1;
  stg.server_index = 0;
  try {
    if (read_server_list(list) != 1) return 0;
  } catch (const exce_class&) {
    return 0;
  }
  if (stg.server_count < 0 || stg.server_count > server_rows)
    fault("servers", "row count " + std::to_string(stg.server_count));
  if (stg.server_count > 0 && (stg.server_index < 0 || stg.server_index >= stg.server_count))
    fault("servers", "drew row " + std::to_string(stg.server_index));
  return 0;
}

int fuzz_prefs(const uint8_t* data, size_t size) {
  setenv("HOME", box().c_str(), 1);
  const std::string path = pref_file_path(pref_set_installer);
  write_file(path, data, size);
  try {
    pref.IO_set(pref_set_installer, scan_read);
  } catch (const exce_class&) {
  }
  return 0;
}

int fuzz_http(const uint8_t* data, size_t size) {
  static unsigned short port = 0;
  static const int lfd = net_test::loopback_socket(true, &port);
  http._proxy_host.clear();  // the prefs target may have set one
  http._proxy_port_int = 0;
  const std::string body_file = box() + "/down.bin";
  unlink(body_file.c_str());

  auto* d = new down_class("127.0.0.1", port, "/zephyra/8.60r1/a b.zip", false, {{"Host", "127.0.0.1"}}, nullptr, 0,
                           body_file.c_str());
  pollfd p = {lfd, POLLIN, 0};
  if (poll(&p, 1, 5000) != 1) fault("http", "no connection");
  const int peer = accept(lfd, nullptr, nullptr);
  if (peer < 0) fault("accept", strerror(errno));
  fcntl(peer, F_SETFL, O_NONBLOCK);

  // The response, the peer's close, then polls until nothing moves.
  size_t sent = 0;
  int idle = 0;
  bool shut = false;
  char sink[4096];
  while (idle < 3 && !(d->IsDone() || d->IsComplete() || d->IsErr())) {
    const ssize_t n = sent < size ? send(peer, data + sent, size - sent, MSG_NOSIGNAL) : 0;
    if (n > 0) sent += static_cast<size_t>(n);
    if (sent == size && !shut) {
      shutdown(peer, SHUT_WR);
      shut = true;
    }
    while (recv(peer, sink, sizeof sink, 0) > 0) {
    }
    const size_t before = d->in_buf.size() + static_cast<size_t>(d->bytes_done);
    d->DoProcessing();
    const bool moved = d->in_buf.size() + static_cast<size_t>(d->bytes_done) != before;
    idle = (sent >= size && !moved) ? idle + 1 : 0;
  }
  const bool clean = d->header_done && d->os_err == 0;
  const long long counted = d->bytes_done;
  if (counted < 0) fault("http", "negative byte count");
  if (d->IsComplete() && d->content_len < 0) fault("http", "complete with a negative length");
  delete d;  // closes the file

  // Everything counted must be on disk: a short file would pass as whole.
  struct stat st;
  if (clean && stat(body_file.c_str(), &st) == 0 && st.st_size != counted)
    fault("http", "file holds " + std::to_string(st.st_size) + " bytes, counted " +
                      std::to_string(counted));

  // Reset instead of a close handshake, so a long run leaves no TIME_WAIT.
  linger off = {1, 0};
  setsockopt(peer, SOL_SOCKET, SO_LINGER, &off, sizeof off);
  close(peer);
  return 0;
}

int fuzz_zip(const uint8_t* data, size_t size) {
  const std::string here = box() + "/zip";
  const std::string archive = here + "/in.zip";
  const std::string out = here + "/out/";
  std::filesystem::remove_all(here);
  mkdir(here.c_str(), 0755);
  mkdir(out.c_str(), 0755);
  write_file(archive, data, size);

  guard_root = real_or_empty(out);
  std::string first;
  try {
    zip_to_file(archive, out, &first, 0);
  } catch (const exce_class&) {
  }
  guard_root.clear();

  // Nothing beside the archive and the unpack folder may have appeared.
  for (const auto& e : std::filesystem::directory_iterator(here)) {
    const std::string name = e.path().filename();
    if (name != "in.zip" && name != "out") fault("zip", "wrote " + name + " beside the folder");
  }
  return 0;
}
