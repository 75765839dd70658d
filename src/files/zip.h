// Zip archives: every product file and the directory list travel as a zip of
// their own. Unpacking restores each member's mode, date and symbolic link,
// so a tree packed on another machine comes out right here.
// Results are error numbers as in files/paths.h; minizip's own (negative)
// codes pass through.
#pragma once
#include <string>
#include <minizip/unzip.h>

// The largest member unpacked when no row of the list gives its size, as for
// the directory list's own archive: far above any list, far below a bomb.
const unsigned long kListMemberCap = 128UL * 1024 * 1024;

// Unpacks zip_path into out_folder (which ends in a separator). first_name,
// when not null, receives the first member's name; use_name writes every
// member to out_folder + *first_name instead of its own name.
// Nothing is written outside root (empty: out_folder itself), links
// followed: a member whose name is absolute or climbs out with "..", whose
// folder leads outside through a link, or a link that leads outside, is
// refused (20002). A member larger than max_size bytes is refused before its
// memory is taken (27).
int zip_to_file(std::string zip_path, std::string out_folder, std::string* first_name, int use_name,
                std::string root = std::string(), unsigned long max_size = kListMemberCap);

// Writes the current member of the open archive zip to path.
int unzip_file(void* zip, std::string path, const unz_file_info& info);

// Makes the current member, whose data is a link target, a symbolic link at
// path; with a root given, a target leading outside it is refused (20002).
int unzip_symlink(void* zip, std::string path, const unz_file_info& info,
                  const std::string& root = std::string());

// Packs one file into a new archive, under the name behind its last separator.
int file_to_zip(std::string path, std::string zip_path);

// True when a member name could land outside the folder it is unpacked into:
// an absolute name, or a ".." component under any of the three separators.
bool zip_name_escapes(const std::string& name);
