// Reading an earlier directory list, writing the new one and the server list.
#include "publish/listing.h"

#include <ftw.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>

#include "files/log.h"
#include "files/xmap.h"
#include "files/zip.h"

namespace {

int remove_one(const char* path, const struct stat*, int, struct FTW*) {
  remove(path);
  return 0;
}

bool starts_with_zip_magic(const std::string& path) {
  FILE* f = fopen(path.c_str(), "rb");
  if (!f) return false;
  char magic[4] = {0};
  size_t n = fread(magic, 1, 4, f);
  fclose(f);
  return n == 4 && magic[0] == 'P' && magic[1] == 'K' && (magic[2] == 3 || magic[2] == 5);
}

bool has_line_end(const std::string& s) { return s.find_first_of(std::string("\r\n\0", 3)) != std::string::npos; }

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// The rows of a list already unpacked to text.
bool parse_list(const std::string& text_path, const std::string& shown, std::vector<list_entry>& out,
                std::string& reason) {
  xmap_class map(text_path);
  if (!map.mem_beg) {
    reason = shown + ": cannot read the list";
    return false;
  }
  int versions[] = {810, 840, 0};
  if (map.check_file(file_type_text, versions, "INSTALLER", nullptr) == 0) {
    reason = shown +
             ": not a directory list the installer accepts (it wants \"A\" or \"I\", then version "
             "810 or 840, then \"INSTALLER\")";
    return false;
  }
  std::map<std::string, size_t> index;
  std::string folder, name;
  file_version_struct row;
  while (scan_list_row(map, folder, name, row)) {
    // The installer stops dead on such a row; better to say so here.
    if (row.file_path.empty() || row.file_path.back() == '/') {
      reason = shown + ": a row has no file name (\"" + row.file_path + "\")";
      return false;
    }
    auto at = index.find(row.file_path);
    if (at == index.end()) {
      at = index.emplace(row.file_path, out.size()).first;
      out.push_back(list_entry{row.file_path, {}});
    }
    out[at->second].rows.push_back(std::move(row));
  }
  return true;
}

std::string list_folder(const std::string& path) {
  size_t cut = path.rfind('/');
  return cut == std::string::npos ? std::string() : path.substr(0, cut + 1);
}

}  // namespace

bool read_list(const std::string& path, std::vector<list_entry>& out, std::string& reason) {
  out.clear();
  // The installer's scanner treats longer paths as a fatal fault.
  if (path.size() >= 500) {
    reason = path + ": path too long to read (at most 499 characters)";
    return false;
  }
  if (access(path.c_str(), R_OK) != 0) {
    reason = path + ": cannot read: " + std::strerror(errno);
    return false;
  }
  if (!starts_with_zip_magic(path)) return parse_list(path, path, out, reason);

  char tmpl[] = "/tmp/zephyra_publish_XXXXXX";
  if (!mkdtemp(tmpl)) {
    reason = std::string("cannot make a scratch folder in /tmp: ") + std::strerror(errno);
    return false;
  }
  std::string scratch = std::string(tmpl) + "/";
  std::string first;
  int err = zip_to_file(path, scratch, &first, 0);
  bool ok = false;
  if (err != 0)
    reason = path + ": cannot unpack the list: " + error_str(err);
  else if (first.empty() || first.back() == '/')
    reason = path + ": the archive holds no list";
  else
    ok = parse_list(scratch + first, path, out, reason);
  nftw(tmpl, remove_one, 8, FTW_DEPTH | FTW_PHYS);
  return ok;
}

std::string list_text(std::vector<list_entry> entries, const std::string& title) {
  // Grouped by folder so each folder needs one DIR line; a path's rows stay
  // adjacent, which is what makes them one entry to the reader.
  std::stable_sort(entries.begin(), entries.end(), [](const list_entry& a, const list_entry& b) {
    std::string fa = list_folder(a.path), fb = list_folder(b.path);
    if (fa != fb) return fa < fb;
    return a.path < b.path;
  });
  std::string out = "I\n840 " + title + "\nINSTALLER\n";
  std::string current = "\n";  // no folder yet; never a real one
  char num[96];
  for (const list_entry& e : entries) {
    std::string folder = list_folder(e.path);
    if (folder != current) {
      std::string dir = folder;
      std::replace(dir.begin(), dir.end(), '/', ':');
      out += "DIR " + dir + "\n";
      current = folder;
    }
    std::string name = e.path.substr(folder.size());
    for (const file_version_struct& r : e.rows) {
      snprintf(num, sizeof num, "FILE %d %d %d %d %d ", r.row_kind, r.row_os, r.row_tag,
               static_cast<int>(r.down_size), static_cast<int>(r.disk_size));
      out += num + r.sig_want + " " + name + "\n";
    }
  }
  return out;
}

std::string serverlist_text(const std::string& release, const std::vector<mirror_row>& mirrors) {
  std::string out = "I\n820 written by zephyra-publish\nSERVERS\nFINAL " + release + "\n";
  for (const mirror_row& m : mirrors) out += "SERVER " + m.host + "\n" + m.folder + "\n" + m.desc + "\n";
  out += "ENDOFLIST\n";
  return out;
}

std::string name_problem(const std::string& name, bool starts_text) {
  if (has_line_end(name)) return "the name holds a line end, which the list cannot carry";
  if (name.find(':') != std::string::npos)
    return "the name holds \":\", which the installer reads as a folder separator";
  if (name.find('\\') != std::string::npos)
    return "the name holds \"\\\", which the installer reads as a folder separator";
  if (starts_text && !name.empty() && is_blank(name[0]))
    return "the name begins with a blank, which the installer's list reader drops";
  return std::string();
}

std::string release_problem(const std::string& release) {
  if (release.empty()) return "the release name is empty";
  if (release.find_first_of(":/\\") != std::string::npos)
    return "the release name \"" + release + "\" holds a path separator (\":\", \"/\" or \"\\\")";
  if (has_line_end(release)) return "the release name holds a line end";
  if (is_blank(release.front()) || is_blank(release.back()))
    return "the release name \"" + release + "\" begins or ends with a blank";
  if (release == "." || release == "..") return "the release name \"" + release + "\" is not a folder name";
  if (release == "serverlist.txt") return "the release name \"serverlist.txt\" would clash with the server list";
  return std::string();
}

std::string mirror_problem(const mirror_row& m) {
  std::string all = m.host + m.folder + m.desc;
  if (has_line_end(all)) return "a mirror field holds a line end";
  if (m.host.empty() || m.host.find_first_of(" \t/") != std::string::npos)
    return "the mirror host \"" + m.host + "\" is empty or holds a blank or \"/\"";
  if (m.folder.empty() || m.folder.front() != '/' || m.folder.back() != '/')
    return "the mirror folder \"" + m.folder + "\" must begin and end with \"/\"";
  if (m.folder.find_first_of(" \t") != std::string::npos)
    return "the mirror folder \"" + m.folder + "\" holds a blank";
  if (m.desc.empty() || is_blank(m.desc.front()))
    return "the mirror description is empty or begins with a blank";
  return std::string();
}
