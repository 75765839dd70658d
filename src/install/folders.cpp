#include "install/folders.h"

#include <cerrno>
#include <set>

#include "files/alert.h"
#include "files/paths.h"
#include "install/containment.h"
#include "install/destination.h"
#include "install/directory.h"
#include "install/stage.h"

const char* const kFixedFolders[6] = {
    "Output",           "Output:FMS plans",  "Output:logbooks",
    "Output:movies",    "Output:situations", "Resources:preferences"};

void make_dir_error(std::string path, int code) {
  __MACIBM_alert(0,
                 "I am unable to install or update Zephyra. An error occurred while creating new "
                 "folders. Make sure you are installing to a directory that you have access to!",
                 "Error: " + error_str(code), "Install Location: " + dest_dir_path,
                 "Install Path:" + path, alert_warning, "utils", __LINE__);
}

namespace {

// Makes one folder; 1 when it failed and has been reported.
int make_one(const std::string& path) {
  const int code = make_folder(path);
  if (!show_make_dir_err(code)) return 0;
  make_dir_error(path, code);
  return 1;
}

// The same for a folder inside the destination: one that a link would put
// outside it is refused like a folder that can't be made.
int make_inside(const std::string& path) {
  if (inside_dest(path)) return make_one(path);
  make_dir_error(path, EACCES);
  return 1;
}

}  // namespace

void make_dirs() {
  // The destination, each ancestor first. The first "/" is skipped, so an
  // absolute path never asks for "" (the root).
  std::string dest = dest_dir_path;
  if (!dest.empty()) dest.pop_back();  // the final separator
  size_t at = dest.find('/');
  bool failed = false;
  while (at != std::string::npos) {
    at = dest.find('/', at + 1);
    if (at == std::string::npos) break;
    if (make_one(dest.substr(0, at))) {
      failed = true;
      break;
    }
  }
  if (!failed) make_one(dest);

  // Every folder of a wanted row, once each. A folder sorts before all that
  // lies inside it, so the set's order makes parents before children.
  std::set<std::string> folders;
  for (size_t i = 0; i < sim_info.size(); ++i) {
    if (sim_info[i].empty()) continue;
    const int last = (int)sim_info[i].size() - 1;
    const file_version_struct& r = sim_info[i][last];
    if (r.sig_want == "GONE" || want_this_f((int)i, last, r.row_kind) == 0) continue;
    std::string local = r.file_path;
    trim_dest_folder(local);
    for (size_t cut = local.rfind('/'); cut != std::string::npos; cut = local.rfind('/')) {
      local.erase(cut);
      folders.insert(local);
    }
  }
  // One report is enough: the rest would fail the same way.
  for (const std::string& f : folders)
    if (make_inside(dest_dir_path + f)) break;

  // Each of these is tried and reported on its own.
  for (const char* f : kFixedFolders) make_inside(dest_dir_path + f);
}
