// Paths in the directory list are the server's word, and anyone on the way
// can change them: nothing they name may lie outside the destination folder.
#pragma once
#include <string>

// 1 when a list path, after the separator rule, is absolute or has a ".."
// component.
int row_path_escapes(const std::string& file_path);

// Looks through sim_info for a path that reaches outside the destination.
// On the first one it warns with that path, ends the run as a list this
// program can't use does, and returns 1; otherwise 0.
int refuse_escaping_rows(const std::string& list_path);

// True when path, links followed, lies inside dest_dir_path.
bool inside_dest(const std::string& path);

// True when name can only name something directly inside a folder: not
// empty, no separator of any of the three, not "." or "..".
bool plain_name(const std::string& name);
