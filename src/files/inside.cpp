#include "files/inside.h"

#include <sys/stat.h>

#include <cstdlib>
#include <vector>

#include "files/paths.h"

namespace {

std::vector<std::string> components(const std::string& path) {
  std::vector<std::string> out;
  size_t start = 0;
  while (start <= path.size()) {
    size_t end = path.find('/', start);
    if (end == std::string::npos) end = path.size();
    if (end > start) out.push_back(path.substr(start, end - start));
    start = end + 1;
  }
  return out;
}

std::string resolved(const std::string& path) {
  char* r = realpath(path.c_str(), nullptr);
  if (!r) return std::string();
  std::string out(r);
  free(r);
  return out;
}

bool under(const std::string& folder, const std::string& root) {
  if (folder.empty() || root.empty()) return false;
  if (folder == root || root == "/") return true;
  return folder.compare(0, root.size() + 1, root + "/") == 0;
}

std::string join(const std::string& folder, const std::string& name) {
  return folder == "/" ? "/" + name : folder + "/" + name;
}

}  // namespace

std::string real_folder(const std::string& path) {
  const bool absolute = !path.empty() && path[0] == '/';
  const std::vector<std::string> parts = components(path);
  // Up from the whole path to the first ancestor that exists.
  size_t n = parts.size();
  std::string base;
  for (;; --n) {
    std::string head = absolute ? "/" : "";
    for (size_t i = 0; i < n; ++i) head = head.empty() ? parts[i] : join(head, parts[i]);
    if (head.empty()) head = ".";
    base = resolved(head);
    if (!base.empty()) break;
    struct stat st;
    // A link that leads nowhere can't be judged.
    if (n == 0 || lstat(head.c_str(), &st) == 0) return std::string();
  }
  for (size_t i = n; i < parts.size(); ++i) {
    if (parts[i] == "..") return std::string();
    if (parts[i] != ".") base = join(base, parts[i]);
  }
  return base;
}

bool lies_inside(const std::string& path, const std::string& root) {
  std::string p = path, r = root;
  set_dir_chars(p);
  set_dir_chars(r);
  while (p.size() > 1 && p.back() == '/') p.pop_back();
  const size_t cut = p.rfind('/');
  const std::string leaf = cut == std::string::npos ? p : p.substr(cut + 1);
  if (leaf.empty() || leaf == "." || leaf == "..") return false;
  const std::string folder = cut == std::string::npos ? "." : cut == 0 ? "/" : p.substr(0, cut);
  return under(real_folder(folder), real_folder(r));
}

bool link_stays_inside(const std::string& link_path, const std::string& target,
                       const std::string& root) {
  if (target.empty() || target[0] == '/') return false;
  std::string p = link_path;
  set_dir_chars(p);
  while (p.size() > 1 && p.back() == '/') p.pop_back();
  const size_t cut = p.rfind('/');
  std::string at = real_folder(cut == std::string::npos ? "." : cut == 0 ? "/" : p.substr(0, cut));
  if (at.empty()) return false;
  bool climbing = true;
  for (const std::string& c : components(target)) {
    if (c == ".") continue;
    if (c == "..") {
      // After a name, ".." would climb from wherever a link there leads.
      if (!climbing) return false;
      at = at.size() > 1 ? at.substr(0, at.rfind('/')) : at;
      if (at.empty()) at = "/";
      continue;
    }
    climbing = false;
    at = join(at, c);
  }
  std::string r = root;
  set_dir_chars(r);
  // Where it leads already exists: judge the end of the road, links and all.
  const std::string real = resolved(at);
  if (!real.empty()) return under(real, real_folder(r));
  return lies_inside(at, r);
}
