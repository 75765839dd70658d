#include "install/directory.h"

#include "files/alert.h"
#include "files/log.h"
#include "files/sign_ahead.h"
#include "files/xmap.h"
#include "install/containment.h"
#include "install/destination.h"
#include "install/person.h"
#include "install/stage.h"

std::vector<std::vector<file_version_struct>> sim_info;
std::set<std::string> deleted_files;
int this_install_has_exes = 0;
int scan_threads = 0;

const char* const kProductDownloadURL = "http://www.vantrell.example/zephyra/download.html";

namespace {

// Rows parsed since start-up; it paces the progress panel across reads.
int rows_parsed = 0;

int clamp_int(int v, int lo, int hi) { return v < lo ? lo : (v > hi ? hi : v); }

}  // namespace

int read_directory_rows_parsed() { return rows_parsed; }

bool scan_list_row(xmap_class& map, std::string& folder, std::string& name,
                   file_version_struct& row) {
  std::string sig;
  while (map.mem_ptr < map.mem_end) {
    if (map.TXT_str_scan_match("DIR", 0)) {
      map.TXT_str_scan_eoln(&folder);
      set_slash_chars(folder);
      continue;
    }
    if (!map.TXT_str_scan_match("FILE", 0)) {
      map.TXT_str_scan_eoln(nullptr);
      continue;
    }
    row = file_version_struct();
    row.row_kind = clamp_int(map.TXT_int_scan(), 0, 1);
    row.row_os = clamp_int(map.TXT_int_scan(), 0, 6);
    row.row_tag = map.TXT_int_scan();
    row.down_size = (float)map.TXT_int_scan();
    row.disk_size = (float)map.TXT_int_scan();
    map.TXT_str_scan_space(&sig);
    map.TXT_str_scan_eoln(&name);
    set_slash_chars(name);
    row.sig_want = sig;
    row.file_path = folder + name;
    return true;
  }
  return false;
}

void set_slash_chars(std::string& path) {
  for (char& c : path)
    if (c == ':' || c == '\\') c = '/';
}

std::string row_disk_path(const file_version_struct& row) {
  std::string local = row.file_path;
  trim_dest_folder(local);
  return dest_dir_path + local;
}

int want_this_f(int entry, int row, int kind) {
  if (entry < 0 || entry >= (int)sim_info.size() || row < 0 ||
      row >= (int)sim_info[entry].size())
    __MACIBM_alert(0, "want_this_f was asked about a row that is not in the list!",
                   "Entry " + std::to_string(entry) + ", row " + std::to_string(row), "", "",
                   alert_fatal, "utils", __LINE__);
  const file_version_struct& r = sim_info[entry][row];
  if (r.row_kind != kind) return 0;
  const int os = stg.download_os;
  if (r.row_os == os || r.row_os == 0) return 1;
  if (r.row_os == 6 && os >= 3 && os <= 5) return 1;
  return 0;
}

void new_format(std::string path) {
  __MACIBM_alert(0,
                 "OK I am checking the Vantrell servers and I am finding file formats that are "
                 "newer than I can understand!",
                 "In other words, you need to get a new installer!",
                 std::string("Please get the latest installer from the download section of ") +
                     kProductDownloadURL,
                 path, alert_warning, "utils", __LINE__);
  person_open_url(kProductDownloadURL);
  stg.stage = 2;
  app_done = 1;
}

int read_directory(const std::string& path, std::string message) {
  deleted_files.clear();
  stg.tot_down = 0;
  stg.tot_disk = 0;

  std::string os_path = path;
  set_dir_chars(os_path);
  sim_info.clear();

  xmap_class map(os_path);
  if (!map.mem_beg)
    __MACIBM_alert(0, "I tried to read a directory file that does not exist!", "The file is:",
                   path, "", alert_fatal, "utils", __LINE__);

  int versions[] = {810, 840, 0};
  if (map.check_file(file_type_text, versions, "INSTALLER", nullptr) == 0) {
    new_format(path);
    return 2;
  }

  // Most paths have one or two rows; a guess from the file size saves most
  // of the regrowth of the outer vector.
  sim_info.reserve((map.mem_end - map.mem_beg) / 80 + 16);

  std::string folder, name, last_path;
  const long size = map.mem_end - map.mem_beg;
  file_version_struct row;
  while (scan_list_row(map, folder, name, row)) {

    // A run of adjacent rows of one path is one entry. The very first row
    // always opens one, even with an empty path.
    if (sim_info.empty() || row.file_path != last_path) {
      sim_info.emplace_back();
      last_path = row.file_path;
    }
    if (!row.file_path.empty() && path_has_no_file(row.file_path))
      __MACIBM_alert(0, "I am reading the directory text file and found a path that has no file!",
                     "This is impossible to download or delete!", "It is:", row.file_path,
                     alert_fatal, "utils", __LINE__);
    sim_info.back().push_back(std::move(row));

    if (rows_parsed++ % 500 == 0)
      dir_progress_bar(0, (float)(map.mem_ptr - map.mem_beg), (float)size, dir_progress_parsing,
                       message, name);
  }

  if (refuse_escaping_rows(path)) return 2;
  if (sim_info.empty()) return 3;

  const int n = (int)sim_info.size();
  const int step = n / 200 > 1 ? n / 200 : 1;
  std::vector<std::string> disk_paths(n);
  for (int i = 0; i < n; ++i) disk_paths[i] = row_disk_path(sim_info[i].back());
  // Workers sign the files ahead of this loop; it takes them in list order,
  // so the panel, the log and any alert come out as from a plain loop.
  sign_ahead_class signer(std::move(disk_paths), scan_threads > 0 ? scan_threads : sign_thread_count());
  for (int i = 0; i < n; ++i) {
    const int last = (int)sim_info[i].size() - 1;
    file_version_struct& r = sim_info[i][last];
    const std::string& disk_path = signer.path(i);
    if (i % step == 0)
      dir_progress_bar(0, (float)i, (float)n, dir_progress_examining, message, disk_path);

    r.sig_have = "NONE";
    signer.take(i, r.sig_have);  // an unreadable file keeps "NONE"
    r.have_file = r.sig_want == r.sig_have ? 1 : 0;

    if (r.sig_want == "GONE") continue;
    if (r.have_file == 0 && want_this_f(i, last, r.row_kind) == 1) {
      stg.tot_down += r.down_size;
      stg.tot_disk += r.disk_size;
      if (r.row_os >= 1 && r.row_os <= 5) this_install_has_exes = 1;
    }
  }
  return 3;
}
