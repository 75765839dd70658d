#include "install/destination.h"

#include <cstring>

#include "files/listing.h"
#include "files/paths.h"
#include "install/person.h"
#include "install/stage.h"

const char* const kProductFolderWords[4] = {"Airfoils", "Instructions", "Output", "Resources"};

namespace {

bool is_sep(char c) { return c == '/' || c == ':' || c == '\\'; }

}  // namespace

void check_dest_path() {
  std::string full = dest_dir_path;
  // A folder typed without its final separator is still that folder.
  if (!full.empty() && !is_sep(full.back())) full += '/';
  set_dir_chars(full);

  std::string parent;
  if (full.size() >= 2) {
    for (int p = (int)full.size() - 2; p >= 0; --p) {
      if (full[p] == '/') {
        parent = full.substr(0, p + 1);
        break;
      }
    }
  }
  // A folder that has gone falls back to the one that held it.
  if (!dir_exists(full)) full = parent;

  // Folders whose names hold each of the four words, in exact case. An empty
  // or unreadable folder finds none.
  bool found[4] = {false, false, false, false};
  if (!full.empty()) {
    wrk_path = full;
    const int count = opensave_getitems(0);
    for (int i = 0; i < count; ++i) {
      if (g_file_type[i] != 1) continue;
      for (int w = 0; w < 4; ++w)
        if (g_path_rel[i].find(kProductFolderWords[w], wrk_path.size()) != std::string::npos)
          found[w] = true;
    }
  }
  stg.dest_known = found[0] && found[1] && found[2] && found[3] ? 1 : 0;

  if (stg.dest_known == 0) full += "Zephyra:";
  set_dir_chars(full);
  dest_dir_path = full;
}

int pick_dest_path() {
  char buffer[2048];
  strncpy(buffer, dest_dir_path.c_str(), sizeof buffer - 1);
  buffer[sizeof buffer - 1] = 0;
  if (person_pick_folder(2,
                         "Pick a folder to install Zephyra to! Be sure to pick your existing "
                         "folder if you already have one!",
                         "This is my Zephyra destination", 1, dest_dir_path.c_str(),
                         buffer) == 0)
    return 0;
  buffer[sizeof buffer - 1] = 0;
  dest_dir_path = buffer;
  check_dest_path();
  return 1;
}

void trim_dest_folder(std::string& path) {
  if (path.empty()) return;
  if (path[0] == '/') {
    path.erase(0, 1);
    return;
  }
  const size_t p = path.find('/');
  if (p != std::string::npos) path.erase(0, p + 1);
}

int rename_dest_folder() {
  std::string leaf;
  get_file_with_path(leaf, dest_dir_path);
  const std::string parent = dest_dir_path.substr(0, dest_dir_path.size() - leaf.size());
  if (!leaf.empty() && is_sep(leaf.back())) leaf.pop_back();
  // Without a name of its own the folder can't be renamed; never touch its parent.
  if (leaf.empty()) return 2;
  const int err = rename_file(parent, leaf, install_name);
  if (err == 0) dest_dir_path = parent + install_name + "/";
  return err;
}
