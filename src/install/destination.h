// The folder the installer works on: recognising a copy of the product,
// asking the user for a folder, and naming it after the release at the end.
#pragma once
#include <string>

// Judges dest_dir_path: normalises it and sets stg.dest_known. A folder that
// is not a copy of the product gets "Zephyra/" appended, for a new install.
void check_dest_path();

// Asks the user for a folder. 1 when one was chosen and judged, 0 when the
// chooser was cancelled and nothing changed.
int pick_dest_path();

// Removes the first element of a list path, leaving it relative to
// dest_dir_path.
void trim_dest_folder(std::string& path);

// Renames the destination folder to install_name. The caller decides whether
// it is wanted (this_install_has_exes and stg.rename_folder). On success
// dest_dir_path follows the folder; on failure nothing changes and nothing is
// said. Returns the error number of the rename.
int rename_dest_folder();

// The four folders whose names mark a copy of the product.
extern const char* const kProductFolderWords[4];
