// The server's catalogue of the product, parsed into sim_info and measured
// against the destination folder by signature.
#pragma once
#include <set>
#include <string>
#include <vector>
#include "files/paths.h"   // path_has_no_file

// One row of the list. The last four fields mean something on the last row
// of an entry only.
struct file_version_struct {
  int row_kind = 0;      // kept to 0..1
  int row_os = 0;        // kept to 0..6: 0 every platform, 1..5 one, 6 all Linux
  int row_tag = 0;       // carried along, read by nothing
  float down_size = 0;   // archive size on the server, kilobytes
  float disk_size = 0;   // installed size, kilobytes
  std::string sig_want;  // signature of this release, or "GONE"
  std::string sig_have;  // signature on disk, or "NONE"; set by the scan
  std::string file_path; // current folder plus name, "/"-separated
  int have_file = 0;     // sig_want equals sig_have
  int want_down = 0;     // to be fetched
  int want_del = 0;      // to be removed
};

// One entry per run of adjacent rows of one path, in list order. The last
// row of an entry is the file's current state; earlier rows are earlier
// releases.
extern std::vector<std::vector<file_version_struct>> sim_info;

// Folders a file was removed from during the run.
extern std::set<std::string> deleted_files;

// Set once a row that needs installing has a platform of its own; never
// cleared, so it survives a second read of the list.
extern int this_install_has_exes;

// Threads that sign files ahead of the scan's loop; 0 gives one per
// processor, 1 signs each file in the loop itself.
extern int scan_threads;

// Reads the list at path (any separator style) into sim_info and signs every
// listed file under dest_dir_path, summing stg.tot_down and stg.tot_disk.
// Returns 3 when read, 2 when refused (after new_format).
int read_directory(const std::string& path, std::string message);

// 1 when the row belongs to this installation by its platform.
int want_this_f(int entry, int row, int kind);

// Reports a list this program cannot read, then ends the run.
void new_format(std::string path);

// Rows parsed since the program started (never reset).
int read_directory_rows_parsed();

// The path of a row on the user's disk: dest_dir_path plus file_path without
// its top folder.
std::string row_disk_path(const file_version_struct& row);

class xmap_class;
// Reads on from the cursor to the next FILE row of a list, following DIR
// lines into folder and skipping anything else. Returns false at the end.
// name is the row's file name as written, row its fields.
bool scan_list_row(xmap_class& map, std::string& folder, std::string& name,
                   file_version_struct& row);

// Turns every ":" and "\" into "/", nothing else.
void set_slash_chars(std::string& path);

// Where the new-format alert sends the user.
extern const char* const kProductDownloadURL;
