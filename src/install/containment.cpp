#include "install/containment.h"

#include "files/alert.h"
#include "files/inside.h"
#include "files/log.h"
#include "files/zip.h"
#include "install/directory.h"
#include "install/stage.h"

int row_path_escapes(const std::string& file_path) {
  return zip_name_escapes(file_path) ? 1 : 0;
}

int refuse_escaping_rows(const std::string& list_path) {
  for (const auto& entry : sim_info) {
    // The rows of an entry share one path.
    if (entry.empty() || !row_path_escapes(entry.front().file_path)) continue;
    xer << "refused the list " << list_path << ": the path " << entry.front().file_path
        << " leads outside the destination\n";
    __MACIBM_alert(0,
                   "I am reading the directory text file and found a path that leads outside "
                   "the folder I am installing to!",
                   "I will not use this list: it could write or delete files anywhere on your disk.",
                   "It is:", entry.front().file_path, alert_warning, "utils", __LINE__);
    stg.stage = 2;
    app_done = 1;
    return 1;
  }
  return 0;
}

bool inside_dest(const std::string& path) { return lies_inside(path, dest_dir_path); }

bool plain_name(const std::string& name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(":/\\") == std::string::npos;
}
