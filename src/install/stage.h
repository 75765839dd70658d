// The one record of an installation run and the global strings beside it.
// Everything here lives for the whole process and is touched on the main
// thread only, so there is no lock.
#pragma once
#include <string>

struct stg_struct {
  int dir_state;       // 0 no list, 1 list unzipped and to be read, 2 refused, 3 read
  int dest_known;      // 1 when dest_dir_path holds a copy of the product
  int download_os;     // platform whose files are fetched (values of row_os 1..5)
  int log_actions;     // log each file action
  int stage;           // 0 set-up, 1 installing, 2 finished
  int file_failed;     // latest file could not be fetched
  int install_failed;  // a downloaded archive could not be installed
  int server_count;    // rows in the server tables, -1 before the list is read
  int server_index;    // row in use
  int file_action;     // 0 deleting, 1 downloading, 2 skipping a duplicate, 3 browsing
  float file_frac;     // part of the current file done, 0..1
  int use_max_cpu;
  int rename_folder;
  int stream_count;    // 0 means automatic
  int always_ask_dir;
  float tot_down;      // kilobytes to download, summed by read_directory
  float tot_disk;      // kilobytes to install, summed by read_directory
};
extern stg_struct stg;   // zero-initialised as a global

extern std::string dest_dir_path;   // folder being worked on, internal form, final separator
extern std::string temp_path;       // temporary folder, final separator
extern std::string install_name;    // release name from the server list
extern std::string crnt_file_path;  // file in hand during the transfer
extern std::string crnt_file_name;

// Held by install_name until the server list names the release. A plain
// character array so that it is usable before any constructor has run.
extern const char no_install_name[];

// The values the program starts a run with, before the preferences are read:
// install_name back to no_install_name and stg to its start-up state.
void set_run_defaults();
