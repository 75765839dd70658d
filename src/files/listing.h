// The listing of one folder, shared by the file chooser and the destination
// check: names, relative paths and kinds of the entries of wrk_path, sorted.
#pragma once
#include <string>

enum { kListSize = 3000, kListMax = 2999 };

extern std::string wrk_path;                 // the folder listed, with a final separator
extern std::string g_file[kListSize];        // names; a folder's ends in "/"
extern std::string g_path_rel[kListSize];    // wrk_path + name
extern int g_file_type[kListSize];           // 1 folder, else the kind by ending (0 unknown)

// The kind of a file by its ending, case-blind; 0 for none of ours.
int file_type_of(const std::string& name);

// Whether entry index belongs in the list: every folder but "." and "..",
// and the files that type asks for (0 or 1: any). Sets g_file_type.
int opensave_takeit(int index, int type);

// Fills the tables from wrk_path (normalised in place); returns the count.
// An unreadable folder gives 0; the list stops at kListMax entries.
int opensave_getitems(int type);
