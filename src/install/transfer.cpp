#include "install/transfer.h"

#include <dirent.h>

#include <cerrno>
#include <cstring>

#include "files/alert.h"
#include "files/log.h"
#include "files/paths.h"
#include "files/zip.h"
#include "install/containment.h"
#include "install/destination.h"
#include "install/directory.h"
#include "install/servers.h"
#include "install/stage.h"
#include "install/streams.h"
#include "net/http.h"

namespace {

bool is_sep(char c) { return c == '/' || c == ':' || c == '\\'; }

// The row in use, kept inside the tables: with no server at all the index
// is -1, and a run then simply fails every fetch.
int server_row() {
  const int i = stg.server_index;
  return i >= 0 && i < server_rows ? i : 0;
}

void log_result(const char* what, const std::string& path, int result) {
  if (stg.log_actions) xer << what << path << ", with result=" << result << ".\n";
}

// Records every folder from the file's own up to, not including, the
// destination, each with its final separator.
void record_folders(const std::string& disk_path) {
  size_t cut = disk_path.size();
  while (cut > 0 && !is_sep(disk_path[cut - 1])) --cut;
  std::string folder = disk_path.substr(0, cut);
  while (folder.size() > dest_dir_path.size()) {
    deleted_files.insert(folder);
    folder.pop_back();
    while (!folder.empty() && !is_sep(folder.back())) folder.pop_back();
  }
}

// Percentage of slot's transfer: -1 while its length is unknown, 0 before it exists.
int slot_percent(int slot) {
  const down_class* d = http.down_objects[slot];
  if (d == nullptr) return 0;
  if (d->content_len == -1) return -1;
  if (d->content_len == 0) return 0;
  return static_cast<int>(static_cast<long long>(d->bytes_done) * 100 / d->content_len);
}

// Works on stream s's entry; true when the entry is finished.
bool work_on_entry(int s) {
  file_version_struct& r = sim_info[next.stream_entry[s]].back();
  const int row = server_row();
  const std::string server_file = server_path[row] + r.file_path + ".zip";
  const std::string disk_path = row_disk_path(r);
  const std::string archive = temp_path + static_cast<char>('0' + s) + ".zip";

  next.stream_fresh[s] = 0;
  crnt_file_path = server_file;
  get_file_with_path(crnt_file_name, server_file);

  if (r.file_path.empty() || path_has_no_file(r.file_path))
    __MACIBM_alert(0, "I am working through the list and found a path that has no file!",
                   "This is impossible to download or delete!", "It is:", r.file_path,
                   alert_fatal, "utils", __LINE__);

  if (r.want_del) {
    stg.file_action = 0;
    // A file that won't go is not worth stopping an installation for; one
    // reached through a link out of the folder is not ours to delete.
    const bool ours = inside_dest(disk_path);
    const int result = ours ? delete_file(disk_path) : EACCES;
    log_result("now we want to nuke a file: DELETING  file ", disk_path, result);
    if (ours) record_folders(disk_path);
    return true;
  }

  if (r.want_down) {
    stg.file_action = 1;
    const int result = http.net_check(s + 2, server_name[row], server_file, archive);
    if (result == 0) {
      stg.file_frac = slot_percent(s + 2) * 0.01f;
      next.bytes_done_a += stg.file_frac * r.down_size;
      return false;
    }
    if (result == 1) {
      stg.file_failed = 0;
      extract_and_delete_file(archive, disk_path, r.disk_size);
      r.have_file = 1;
      next.bytes_done_b += r.down_size;
      next.bytes_installed += r.disk_size;
      return true;
    }
    // Failed: the same entry again, from the start, on another row. The
    // cursor comes back too, so the streams behind re-take what follows.
    stg.file_failed = 1;
    if (next.stream_entry[s] < next.next_file) next.next_file = next.stream_entry[s];
    draw_server();
    next.stream_fresh[s] = 0;
    return false;
  }

  stg.file_action = r.have_file ? 2 : 3;
  return true;
}

}  // namespace

int folder_item_count(const std::string& folder) {
  std::string path = app_path + folder;
  set_dir_chars(path);
  DIR* dir = opendir(path.c_str());
  if (!dir) return 0;
  int count = 0;
  while (dirent* e = readdir(dir))
    if (std::strcmp(e->d_name, ".") != 0 && std::strcmp(e->d_name, "..") != 0) ++count;
  closedir(dir);
  return count;
}

void clean_up_folders() {
  // The set is ordered, so backwards a folder comes before its parents.
  for (auto it = deleted_files.rbegin(); it != deleted_files.rend(); ++it) {
    if (folder_item_count(*it) != 0 || !inside_dest(*it)) continue;
    const int result = delete_file(*it);
    log_result("cleanup: DELETING  file ", *it, result);
  }
}

unsigned long member_cap(float disk_size) {
  if (!(disk_size >= 0)) return kListMemberCap;
  // The list rounds up to whole kilobytes of 1000 bytes; 1024 and 64 more cover that.
  const double cap = (static_cast<double>(disk_size) + 64) * 1024;
  return cap < 4e18 ? static_cast<unsigned long>(cap) : 4000000000000000000UL;
}

void extract_and_delete_file(std::string archive, std::string disk_path, float disk_size) {
  std::string os_path = disk_path;
  set_dir_chars(os_path);
  std::string folder;
  get_path_with_path(folder, os_path);

  const int result =
      zip_to_file(archive, folder, nullptr, 0, dest_dir_path, member_cap(disk_size));
  if (result != 0) {
    stg.install_failed = 1;
    __MACIBM_alert(0, "The installer cannot extract a file.", "Error: " + error_str(result),
                   "Compressed File: " + archive, "Destination: " + disk_path, alert_warning,
                   "utils", __LINE__);
  }
  log_result("EXPANDING file ", disk_path, result);
  const int removed = delete_file(archive);
  log_result("DELETING  file ", archive, removed);
}

int grab_files() {
  next.bytes_done_a = 0;
  for (int s = 0; s < stream_max; ++s) {
    if (next.stream_slots[s] == 0) continue;
    next.hand_out(s);
    if (!next.has_entry(s)) continue;
    if (work_on_entry(s)) next.tune_streams(s);
  }

  for (int s = 0; s < stream_max; ++s)
    if (next.stream_slots[s] != 0 && next.has_entry(s)) return stg.install_failed;

  next.install_done = 1;
  clean_up_folders();
  // The release's name comes from the server; one that is no plain name
  // would move the folder somewhere else.
  if (this_install_has_exes != 0 && stg.rename_folder != 0 && plain_name(install_name))
    rename_dest_folder();
  return 1;
}
