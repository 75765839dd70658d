// Making every folder an installation can need before anything is fetched:
// archives unpack only into folders that exist.
#pragma once
#include <string>

// The folders the product writes to at run time, below the destination. No
// row of the list creates them.
extern const char* const kFixedFolders[6];

// Makes the destination with its ancestors, every folder of a wanted row of
// sim_info (parents first) and the fixed folders. A folder that is already
// there is no failure; other failures are reported and the work goes on.
void make_dirs();

// The warning for a folder that could not be made.
void make_dir_error(std::string path, int code);
