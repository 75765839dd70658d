// One release: scan and check the product, pack on every core, merge the
// history, then move everything into place at once.
#include "publish/publish.h"

#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>

#include "publish/pack.h"

std::atomic<bool> publish_stop{false};

namespace {

struct product_item {
  std::string inside;   // path inside the product folder, "/"-separated
  source_file src;
};

// A path made printable on one line: control bytes shown as escapes.
std::string shown(const std::string& path) {
  std::string out;
  for (unsigned char c : path) {
    if (c == '\n') out += "\\n";
    else if (c == '\r') out += "\\r";
    else if (c < 32) {
      char buf[8];
      snprintf(buf, sizeof buf, "\\x%02x", c);
      out += buf;
    } else out += static_cast<char>(c);
  }
  return out;
}

std::string errno_text(int e) { return std::strerror(e); }

class product_scan_class {
 public:
  std::vector<product_item> items;
  std::string error;

  product_scan_class(const std::string& root, const std::string& top) : root_(root), top_(top) {}

  bool walk(const std::string& inside) {
    std::string folder = inside.empty() ? root_ : root_ + "/" + inside;
    DIR* d = opendir(folder.c_str());
    if (!d) return fail(folder, "cannot read the folder: " + errno_text(errno));
    std::vector<std::string> names;
    while (struct dirent* e = readdir(d)) {
      if (strcmp(e->d_name, ".") != 0 && strcmp(e->d_name, "..") != 0) names.push_back(e->d_name);
    }
    closedir(d);
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
      std::string rel = inside.empty() ? name : inside + "/" + name;
      std::string os_path = root_ + "/" + rel;
      struct stat st;
      if (lstat(os_path.c_str(), &st) != 0) return fail(os_path, "cannot read: " + errno_text(errno));
      if (S_ISDIR(st.st_mode)) {
        // Inner folders only meet the list after a separator, so a leading
        // blank is harmless there.
        std::string why = name_problem(name, false);
        if (!why.empty()) return fail(os_path, why);
        if (!walk(rel)) return false;
        continue;
      }
      std::string why = name_problem(name);
      if (!why.empty()) return fail(os_path, why);
      std::string list_path = top_ + "/" + rel;
      if (list_path.size() > kMaxListPath)
        return fail(os_path, "the path in the list would be " + std::to_string(list_path.size()) +
                                 " characters; the installer's path buffer holds " +
                                 std::to_string(kMaxListPath));
      product_item item;
      item.inside = rel;
      item.src.os_path = os_path;
      item.src.member = name;
      item.src.mode = static_cast<uint32_t>(st.st_mode);
      item.src.mtime = st.st_mtime;
      item.src.size = static_cast<uint64_t>(st.st_size);
      if (S_ISLNK(st.st_mode)) {
        item.src.is_link = true;
      } else if (S_ISREG(st.st_mode)) {
        int fd = open(os_path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) return fail(os_path, "cannot read: " + errno_text(errno));
        close(fd);
      } else {
        return fail(os_path, "not a regular file, folder or link");
      }
      items.push_back(std::move(item));
    }
    return true;
  }

 private:
  std::string root_, top_;
  bool fail(const std::string& path, const std::string& why) {
    error = shown(path) + ": " + why;
    return false;
  }
};

// Folders and temporary files made by this run, removed again on failure.
class mirror_change_class {
 public:
  std::vector<std::string> made_folders;
  std::vector<std::string> temps;
  bool committed = false;

  ~mirror_change_class() {
    if (committed) return;
    for (const std::string& t : temps) unlink(t.c_str());
    for (auto it = made_folders.rbegin(); it != made_folders.rend(); ++it) rmdir(it->c_str());
  }

  // Makes folder (which must have a parent that exists), or accepts one
  // that is there. Empty result on success.
  std::string make(const std::string& folder) {
    if (mkdir(folder.c_str(), 0755) == 0) {
      made_folders.push_back(folder);
      return std::string();
    }
    int e = errno;
    struct stat st;
    if (e == EEXIST && stat(folder.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) return std::string();
    if (e == EEXIST) return shown(folder) + ": is in the way of a folder of the mirror";
    return shown(folder) + ": cannot make the folder: " + errno_text(e);
  }

  // Every folder of path from its first missing one, parents first.
  std::string make_all(const std::string& path) {
    for (size_t i = 1; i <= path.size(); ++i) {
      if (i == path.size() || path[i] == '/') {
        std::string part = path.substr(0, i);
        struct stat st;
        if (stat(part.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) continue;
        std::string why = make(part);
        if (!why.empty()) return why;
      }
    }
    return std::string();
  }
};

bool write_text(const std::string& path, const std::string& text, std::string& error) {
  FILE* f = fopen(path.c_str(), "wb");
  if (!f) {
    error = shown(path) + ": cannot write: " + errno_text(errno);
    return false;
  }
  bool ok = fwrite(text.data(), 1, text.size(), f) == text.size();
  int e = errno;
  if (fclose(f) != 0 && ok) {
    ok = false;
    e = errno;
  }
  if (!ok) error = shown(path) + ": cannot write: " + errno_text(e);
  return ok;
}

// A hard link serves the old archive without a copy; across file systems, copy.
bool link_or_copy(const std::string& from, const std::string& to, std::string& error) {
  unlink(to.c_str());
  if (link(from.c_str(), to.c_str()) == 0) return true;
  int in = open(from.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) {
    error = shown(from) + ": cannot read: " + errno_text(errno);
    return false;
  }
  int out = open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (out < 0) {
    error = shown(to) + ": cannot write: " + errno_text(errno);
    close(in);
    return false;
  }
  std::vector<char> buf(1 << 20);
  bool ok = true;
  for (;;) {
    ssize_t n = read(in, buf.data(), buf.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      ok = n == 0;
      if (!ok) error = shown(from) + ": cannot read: " + errno_text(errno);
      break;
    }
    if (write(out, buf.data(), static_cast<size_t>(n)) != n) {
      ok = false;
      error = shown(to) + ": cannot write: " + errno_text(errno);
      break;
    }
  }
  close(in);
  if (close(out) != 0 && ok) {
    ok = false;
    error = shown(to) + ": cannot write: " + errno_text(errno);
  }
  return ok;
}

std::string base_name(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  size_t cut = path.rfind('/');
  return cut == std::string::npos ? path : path.substr(cut + 1);
}

std::string folder_of(const std::string& path) {
  size_t cut = path.rfind('/');
  return cut == std::string::npos ? std::string("./") : path.substr(0, cut + 1);
}

std::string megabytes(uint64_t bytes) {
  char buf[48];
  if (bytes >= 1000000000ull)
    snprintf(buf, sizeof buf, "%.2f GB", bytes / 1e9);
  else
    snprintf(buf, sizeof buf, "%.1f MB", bytes / 1e6);
  return buf;
}

// What the workers share.
struct pack_work {
  const std::vector<product_item>* items = nullptr;
  std::vector<size_t> order;             // biggest first, so no big file is left for last
  std::vector<std::string> archive, temp, previous;
  std::vector<pack_result> result;
  std::vector<char> reused;
  std::atomic<size_t> next{0};
  std::atomic<size_t> done{0};
  std::atomic<uint64_t> bytes_done{0};
  std::atomic<bool> failed{false};
  std::mutex error_lock;
  std::string error;

  void fail(const std::string& why) {
    std::lock_guard<std::mutex> hold(error_lock);
    if (error.empty()) error = why;
    failed = true;
  }

  void run() {
    for (;;) {
      if (failed || publish_stop) return;
      size_t k = next++;
      if (k >= order.size()) return;
      size_t i = order[k];
      const source_file& src = (*items)[i].src;
      std::string why;
      bool ok = false;
      if (!previous[i].empty() && archive_may_hold(previous[i], src)) {
        pack_result r;
        if (!sign_file(src, r, why)) {
          fail(shown(why));
          return;
        }
        if (archive_holds(previous[i], src, r.crc)) {
          ok = link_or_copy(previous[i], temp[i], why);
          if (!ok) {
            fail(why);
            return;
          }
          struct stat st;
          r.zip_bytes = stat(temp[i].c_str(), &st) == 0 ? static_cast<uint64_t>(st.st_size) : 0;
          result[i] = r;
          reused[i] = 1;
        }
      }
      if (!ok && !reused[i]) {
        if (!pack_file(src, temp[i], result[i], why)) {
          fail(shown(why));
          return;
        }
      }
      bytes_done += src.size;
      ++done;
    }
  }
};

}  // namespace

int platform_of(const std::string& inside_path, const std::vector<platform_rule>& rules) {
  for (const platform_rule& r : rules)
    if (fnmatch(r.pattern.c_str(), inside_path.c_str(), 0) == 0) return r.os;
  return 0;
}

int publish_release(const publish_options& opt, publish_summary& sum, std::string& error) {
  auto start = std::chrono::steady_clock::now();
  sum = publish_summary();

  std::string why = release_problem(opt.release);
  if (!why.empty()) {
    error = shown(why);
    return 1;
  }
  if (opt.mirrors.size() > kMaxMirrors) {
    error = "more than " + std::to_string(kMaxMirrors) + " mirrors: the installer reads only the first " +
            std::to_string(kMaxMirrors);
    return 1;
  }
  for (const mirror_row& m : opt.mirrors) {
    why = mirror_problem(m);
    if (!why.empty()) {
      error = shown(why);
      return 1;
    }
  }
  for (const platform_rule& r : opt.rules) {
    if (r.os < 0 || r.os > 6) {
      error = "platform rule \"" + r.pattern + "\": the platform must be 0 to 6";
      return 1;
    }
  }

  // The product folder's own name is the top of every list path.
  struct stat st;
  if (stat(opt.product.c_str(), &st) != 0) {
    error = shown(opt.product) + ": cannot read the product folder: " + errno_text(errno);
    return 1;
  }
  if (!S_ISDIR(st.st_mode)) {
    error = shown(opt.product) + ": the product is not a folder";
    return 1;
  }
  char* real = realpath(opt.product.c_str(), nullptr);
  std::string top = base_name(real ? real : opt.product);
  free(real);
  why = name_problem(top);
  if (!why.empty()) {
    error = shown(opt.product) + ": " + why;
    return 1;
  }
  if (top == "directory.txt.zip" || top == "/") {
    error = shown(opt.product) + ": the product folder's name \"" + top + "\" can't be the top of the list";
    return 1;
  }

  product_scan_class scan(opt.product, top);
  if (!scan.walk("")) {
    error = scan.error;
    return 1;
  }
  const std::vector<product_item>& items = scan.items;

  std::vector<list_entry> earlier;
  std::string earlier_dir;
  if (!opt.previous.empty()) {
    if (!read_list(opt.previous, earlier, why)) {
      error = shown(why);
      return 1;
    }
    earlier_dir = folder_of(opt.previous);
  }
  std::map<std::string, size_t> earlier_index;
  int tag = 1;
  for (size_t i = 0; i < earlier.size(); ++i) {
    earlier_index[earlier[i].path] = i;
    for (const file_version_struct& r : earlier[i].rows) tag = std::max(tag, r.row_tag + 1);
  }

  // Folders first, so every worker finds its own ready.
  std::string root = opt.out;
  while (root.size() > 1 && root.back() == '/') root.pop_back();
  const std::string release_dir = root + "/" + opt.release + "/";
  const std::string suffix = ".publish-" + std::to_string(getpid());
  mirror_change_class change;
  why = change.make_all(release_dir + top);
  for (size_t i = 0; why.empty() && i < items.size(); ++i) {
    size_t cut = items[i].inside.rfind('/');
    if (cut != std::string::npos) why = change.make_all(release_dir + top + "/" + items[i].inside.substr(0, cut));
  }
  if (!why.empty()) {
    error = why;
    return 1;
  }

  pack_work work;
  work.items = &items;
  const size_t n = items.size();
  work.archive.resize(n);
  work.temp.resize(n);
  work.previous.resize(n);
  work.result.resize(n);
  work.reused.assign(n, 0);
  for (size_t i = 0; i < n; ++i) {
    const std::string list_path = top + "/" + items[i].inside;
    work.archive[i] = release_dir + list_path + ".zip";
    work.temp[i] = work.archive[i] + suffix;
    if (!earlier_dir.empty()) work.previous[i] = earlier_dir + list_path + ".zip";
    if (lstat(work.archive[i].c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
      error = shown(work.archive[i]) + ": a folder is in the way of the archive of " + shown(items[i].src.os_path);
      return 1;
    }
    change.temps.push_back(work.temp[i]);
    work.order.push_back(i);
    sum.bytes_in += items[i].src.size;
  }
  std::stable_sort(work.order.begin(), work.order.end(),
                   [&](size_t a, size_t b) { return items[a].src.size > items[b].src.size; });

  unsigned cores = std::max(1u, std::thread::hardware_concurrency());
  size_t count = std::min<size_t>(cores, std::max<size_t>(n, 1));
  std::vector<std::thread> workers;
  for (size_t t = 0; t < count; ++t) workers.emplace_back([&work] { work.run(); });

  bool tty = isatty(2);
  auto last_line = std::chrono::steady_clock::now();
  while (work.done < n && !work.failed && !publish_stop) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    if (!opt.progress) continue;
    auto now = std::chrono::steady_clock::now();
    // A terminal gets a line redrawn in place; a log gets one now and then.
    if (!tty && now - last_line < std::chrono::seconds(10)) continue;
    last_line = now;
    fprintf(stderr, "%spacking: %zu of %zu files, %s of %s%s", tty ? "\r" : "", work.done.load(), n,
            megabytes(work.bytes_done).c_str(), megabytes(sum.bytes_in).c_str(), tty ? "   " : "\n");
  }
  for (std::thread& t : workers) t.join();
  if (opt.progress && tty) fprintf(stderr, "\r%60s\r", "");
  if (work.failed || publish_stop) {
    error = work.failed ? work.error : "interrupted; the mirror is left as it was";
    return 1;
  }

  // History: an unchanged path keeps its rows, a changed or moved one gets a
  // new row under its old ones, a vanished one a "GONE" row.
  std::vector<list_entry> entries = earlier;
  std::vector<char> seen(earlier.size(), 0);
  for (size_t i = 0; i < n; ++i) {
    const pack_result& r = work.result[i];
    file_version_struct row;
    row.row_kind = 0;
    row.row_os = platform_of(items[i].inside, opt.rules);
    row.row_tag = tag;
    row.down_size = static_cast<float>(kilobytes(r.zip_bytes));
    row.disk_size = static_cast<float>(kilobytes(items[i].src.size));
    row.sig_want = r.sig;
    row.file_path = top + "/" + items[i].inside;
    auto at = earlier_index.find(row.file_path);
    if (at == earlier_index.end()) {
      entries.push_back(list_entry{row.file_path, {row}});
    } else {
      seen[at->second] = 1;
      std::vector<file_version_struct>& rows = entries[at->second].rows;
      file_version_struct& last = rows.back();
      if (last.sig_want == row.sig_want && last.row_os == row.row_os && last.row_kind == 0)
        last.down_size = row.down_size;  // the archive may have been packed anew
      else
        rows.push_back(row);
    }
    sum.bytes_out += r.zip_bytes;
    if (work.reused[i]) ++sum.reused;
    else ++sum.packed;
  }
  for (size_t i = 0; i < earlier.size(); ++i) {
    if (seen[i]) continue;
    std::vector<file_version_struct>& rows = entries[i].rows;
    if (rows.back().sig_want == "GONE") continue;
    file_version_struct gone;
    gone.row_os = rows.back().row_os;
    gone.row_tag = tag;
    gone.sig_want = "GONE";
    gone.file_path = entries[i].path;
    rows.push_back(gone);
    ++sum.withdrawn;
  }
  sum.files = n;

  // The list travels as an archive of its own.
  const std::string list_txt = release_dir + "directory.txt" + suffix;
  const std::string list_zip = release_dir + "directory.txt.zip";
  change.temps.push_back(list_txt);
  change.temps.push_back(list_zip + suffix);
  if (!write_text(list_txt, list_text(entries, top + " " + opt.release), error)) return 1;
  source_file list_src;
  list_src.os_path = list_txt;
  list_src.member = "directory.txt";
  list_src.mode = S_IFREG | 0644;
  list_src.mtime = time(nullptr);
  list_src.size = stat(list_txt.c_str(), &st) == 0 ? static_cast<uint64_t>(st.st_size) : 0;
  pack_result list_packed;
  if (!pack_file(list_src, list_zip + suffix, list_packed, why)) {
    error = shown(why);
    return 1;
  }
  unlink(list_txt.c_str());
  sum.bytes_out += list_packed.zip_bytes;

  const std::string servers = root + "/serverlist.txt";
  if (!opt.mirrors.empty()) {
    change.temps.push_back(servers + suffix);
    if (!write_text(servers + suffix, serverlist_text(opt.release, opt.mirrors), error)) return 1;
  }
  if (publish_stop) {
    error = "interrupted; the mirror is left as it was";
    return 1;
  }

  // Archives before the list that names them, the server list last.
  std::vector<std::pair<std::string, std::string>> moves;
  for (size_t i = 0; i < n; ++i) moves.emplace_back(work.temp[i], work.archive[i]);
  moves.emplace_back(list_zip + suffix, list_zip);
  if (!opt.mirrors.empty()) moves.emplace_back(servers + suffix, servers);
  for (const auto& m : moves) {
    if (rename(m.first.c_str(), m.second.c_str()) != 0) {
      error = shown(m.second) + ": cannot put in place: " + errno_text(errno);
      return 1;
    }
  }
  change.committed = true;
  sum.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return 0;
}

std::string summary_text(const publish_options& opt, const publish_summary& sum) {
  char buf[512];
  snprintf(buf, sizeof buf,
           "published release %s to %s\n"
           "  %zu files: %zu packed, %zu reused from the previous release; %zu withdrawn\n"
           "  read %s, archives %s, in %.1f s\n",
           opt.release.c_str(), opt.out.c_str(), sum.files, sum.packed, sum.reused, sum.withdrawn,
           megabytes(sum.bytes_in).c_str(), megabytes(sum.bytes_out).c_str(), sum.seconds);
  return buf;
}
