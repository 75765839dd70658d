// Carrying out the decisions on sim_info: each entry in list order is
// fetched and unpacked, deleted, or passed over, on up to four streams at
// once. Nothing here waits; the caller repeats grab_files within its frame.
#pragma once
#include <string>

// One pass over the streams. Not 0 when the run is over, complete or failed
// (stg.install_failed tells which); 0 while it goes on. The last pass removes
// the folders that deletions emptied and renames the folder when wanted.
int grab_files();

// Unpacks a fetched archive into the folder of disk_path (the archive's
// member names decide the file names) and removes the archive, whatever the
// outcome. A failure sets stg.install_failed and warns. Nothing is written
// outside dest_dir_path, and no member may be larger than disk_size (the
// row's kilobytes) with a small margin; below 0 the list's own cap holds.
void extract_and_delete_file(std::string archive, std::string disk_path, float disk_size = -1);

// The largest member an archive for a row of disk_size kilobytes may hold.
unsigned long member_cap(float disk_size);

// Removes each folder of deleted_files that holds nothing, deepest first.
void clean_up_folders();

// Entries a folder holds besides "." and ".."; 0 for one that can't be read.
int folder_item_count(const std::string& folder);
