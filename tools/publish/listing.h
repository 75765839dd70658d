// The two text files of a mirror: the directory list (format 840) with the
// history of every path, and the server list (version 820). Reading an older
// list goes through the installer's own scanner and header check, so a list
// the installer would refuse is refused here too.
#pragma once
#include <string>
#include <vector>

#include "install/directory.h"   // file_version_struct

// All rows of one path, oldest first; path is "/"-separated with the top folder.
struct list_entry {
  std::string path;
  std::vector<file_version_struct> rows;
};

struct mirror_row {
  std::string host, folder, desc;
};

// Reads the list at path (directory.txt, or directory.txt.zip holding it).
// Rows of one path that stand apart in the file are joined into one entry,
// in file order. False with reason when the file can't be read, is refused
// by the header check, or holds a row without a file name.
bool read_list(const std::string& path, std::vector<list_entry>& out, std::string& reason);

// The list text: header, then for each folder a DIR line and its rows, all
// rows of a path together, oldest first. Entries need not be sorted.
std::string list_text(std::vector<list_entry> entries, const std::string& title);

// serverlist.txt: "FINAL" with the release before the "SERVER" records.
std::string serverlist_text(const std::string& release, const std::vector<mirror_row>& mirrors);

// Why a name can't stand in the list, or empty. Line ends and ":" or "\"
// break any part of a path; the reader drops blanks at the start of a line's
// text, which matters for a file name and for the top folder only.
std::string name_problem(const std::string& name, bool starts_text = true);

// Why a release name can't be used, or empty.
std::string release_problem(const std::string& release);

// Why a mirror can't stand in the server list, or empty.
std::string mirror_problem(const mirror_row& m);

// The longest list path (top folder included) the installer's path buffer holds.
const size_t kMaxListPath = 499;
// The server table of the installer has this many rows; more are never read.
const size_t kMaxMirrors = 10;
