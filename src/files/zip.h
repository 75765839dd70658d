// Zip archives: every product file and the directory list travel as a zip of
// their own. Unpacking restores each member's mode, date and symbolic link,
// so a tree packed on another machine comes out right here.
// Results are error numbers as in files/paths.h; minizip's own (negative)
// codes pass through.
#pragma once
#include <string>
#include <minizip/unzip.h>

// Unpacks zip_path into out_folder (which ends in a separator). first_name,
// when not null, receives the first member's name; use_name writes every
// member to out_folder + *first_name instead of its own name.
// A member whose name is absolute or climbs out with ".." is refused (20002).
int zip_to_file(std::string zip_path, std::string out_folder, std::string* first_name, int use_name);

// Writes the current member of the open archive zip to path.
int unzip_file(void* zip, std::string path, const unz_file_info& info);

// Makes the current member, whose data is a link target, a symbolic link at path.
int unzip_symlink(void* zip, std::string path, const unz_file_info& info);

// Packs one file into a new archive, under the name behind its last separator.
int file_to_zip(std::string path, std::string zip_path);

// True when a member name could land outside the folder it is unpacked into:
// an absolute name, or a ".." component under any of the three separators.
bool zip_name_escapes(const std::string& name);
