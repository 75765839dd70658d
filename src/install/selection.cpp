#include "install/selection.h"

#include <vector>

#include "files/alert.h"
#include "files/log.h"
#include "files/paths.h"
#include "install/directory.h"
#include "install/person.h"
#include "install/stage.h"

namespace {

bool in_list(const std::vector<std::string>& list, const std::string& folder) {
  for (const std::string& f : list)
    if (f == folder) return true;
  return false;
}

// A file on disk that matches some release of its entry is untouched by the
// user, whichever release it is.
bool matches_some_row(const std::vector<file_version_struct>& entry, const std::string& sig) {
  for (const file_version_struct& row : entry)
    if (row.sig_want == sig) return true;
  return false;
}

}  // namespace

int choose_files() {
  // Answers for whole folders last one pass only; nothing is remembered.
  std::vector<std::string> go_on_folders;
  std::vector<std::string> keep_folders;

  for (size_t i = 0; i < sim_info.size(); ++i) {
    std::vector<file_version_struct>& entry = sim_info[i];
    if (entry.empty()) continue;  // the parser never makes one; nothing to decide
    const int last = (int)entry.size() - 1;
    file_version_struct& r = entry[last];

    // Another platform's file is neither fetched nor removed, whatever is on disk.
    int want = want_this_f((int)i, last, r.row_kind);
    const bool gone = r.sig_want == "GONE";

    if (want) {
      if (r.sig_have == "NONE") {
        want = gone ? 0 : 1;
      } else if (r.sig_have == r.sig_want) {
        want = 0;
      } else if (matches_some_row(entry, r.sig_have)) {
        want = 1;
      } else {
        const std::string path = row_disk_path(r);
        std::string folder;
        get_path_with_path(folder, path);
        if (in_list(go_on_folders, folder)) {
          want = 1;
        } else if (in_list(keep_folders, folder)) {
          want = 0;
        } else {
          // Logged whatever log_actions says: a user's file is at stake.
          xer << "File: " << path << "  sig_want=" << r.sig_want << "  sig_have=" << r.sig_have
              << '\n';
          xer.flush();
          switch (select_alert(path, gone ? 1 : 0)) {
            case select_go_on:
              want = 1;
              break;
            case select_leave:
              want = 0;
              break;
            case select_cancel:
              return 0;
            case select_go_on_folder:
              go_on_folders.push_back(folder);
              want = 1;
              break;
            case select_leave_folder:
              keep_folders.push_back(folder);
              want = 0;
              break;
            default:
              __MACIBM_alert(0, "The changed-file question gave an answer it does not have!",
                             path, "", "", alert_fatal, "utils", __LINE__);
          }
        }
      }
    }

    r.want_down = want == 1 && !gone ? 1 : 0;
    r.want_del = want == 1 && gone ? 1 : 0;
  }
  return 1;
}

select_alert_form select_alert_layout(int deleting) {
  const select_alert_texts& t = select_alert_text(deleting);
  // Place of each button by position; the label and answer come with it.
  static const float kPlace[5][3] = {
      {96, 53, 160}, {96, 28, 160}, {308, 53, 260}, {308, 28, 260}, {584, 28, 200}};
  select_alert_form form{};
  form.first = t.first;
  form.second = t.second;
  form.first_y = 100;
  form.path_y = 90;
  form.second_y = 80;
  for (int b = 0; b < 5; ++b)
    form.buttons[b] = {kPlace[b][0], kPlace[b][1], kPlace[b][2], t.labels[b], t.answers[b]};
  return form;
}
