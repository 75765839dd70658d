#include "install/stage.h"

stg_struct stg;

std::string dest_dir_path;
std::string temp_path;
std::string install_name;
std::string crnt_file_path;
std::string crnt_file_name;

const char no_install_name[] = "Not Yet Scanned";

void set_run_defaults() {
  install_name = no_install_name;
  stg = stg_struct{};
  stg.dir_state = 0;
  stg.download_os = 3;  // Linux generic x86
  stg.stage = 0;
  stg.server_count = -1;
  stg.server_index = 0;
  stg.file_action = 3;
  stg.file_frac = 0;
  stg.use_max_cpu = 0;
  stg.rename_folder = 1;
  stg.stream_count = 0;
  stg.always_ask_dir = 0;
}
