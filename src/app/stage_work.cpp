#include "app/stage_work.h"

#include <cstring>

#include "files/alert.h"
#include "files/log.h"
#include "files/number_text.h"
#include "files/paths.h"
#include "files/zip.h"
#include "install/destination.h"
#include "install/directory.h"
#include "install/folders.h"
#include "install/person.h"
#include "install/preferences.h"
#include "install/selection.h"
#include "install/servers.h"
#include "install/stage.h"
#include "install/status.h"
#include "install/streams.h"
#include "install/transfer.h"
#include "net/clock.h"
#include "net/http.h"

stage_frame_state upd;

const char* const kAgreementTexts[4] = {
    "Use Zephyra for whatever you like.",
    "You agree to not make copies of Zephyra.",
    "You agree to not use the artwork from Zephyra, OR ANY DERIVATIVE OF THAT ARTWORK, OUTSIDE "
    "OF ZEPHYRA for any commercial venture.",
    "You agree to not use the artwork from Zephyra, OR ANY DERIVATIVE OF THAT ARTWORK, OUTSIDE "
    "OF ZEPHYRA in association with any enterprise other than Zephyra.",
};

void stage_main_start(int argc, char const* const* argv) {
  get_OS_abs_path(2, dest_dir_path);
  get_OS_abs_path(3, temp_path);
  xer << "os_dir_apps:" << dest_dir_path << "\n";
  xer << "os_dir_temp:" << temp_path << "\n";
  set_run_defaults();
  pref.IO_set(pref_set_installer, 0);

  if (argc >= 3 && argv[1] && argv[2] && std::strcmp(argv[1], "-path") == 0) {
    dest_dir_path = argv[2];
    check_dest_path();
  } else if (stg.always_ask_dir) {
    pick_dest_path();
  } else {
    check_dest_path();
  }
  // A first run asks at once; a cancelled chooser leaves the folder as it is.
  if (stg.dest_known == 0) pick_dest_path();
}

void stage_reset_frame_state() { upd = stage_frame_state{}; }

void stage_server_step() {
  if (stg.server_count == -1) server_list_step();
}

void stage_build_paths() {
  if (!upd.paths_made) {
    upd.paths_made = 1;
    upd.dir_path_path = temp_path;
    upd.dir_path = temp_path + "directory.txt";
    upd.net_dir_path_zip = temp_path + "directory.txt.zip";
  }
  set_dir_chars(upd.dir_path_path);
  set_dir_chars(upd.dir_path);
  set_dir_chars(upd.net_dir_path_zip);
}

void stage_list_step() {
  if (stg.dir_state != 0 || stg.server_count <= 0) return;
  const int row = stg.server_index;
  const int result = http.net_check(1, server_name[row], server_path[row] + "directory.txt.zip",
                                    upd.net_dir_path_zip);
  if (result == 2) {
    draw_server_for_list();
    return;
  }
  if (result != 1) return;
  const int code = zip_to_file(upd.net_dir_path_zip, upd.dir_path_path, nullptr, 0);
  if (code == 0) {
    stg.dir_state = 1;
  } else {
    // The list stays unread, so the next frame fetches it again.
    __MACIBM_alert(0, "DIR-scan: The installer cannot extract a file.", "Error:" + error_str(code),
                   "Compressed File:" + upd.net_dir_path_zip, "Destination Path:" + upd.dir_path_path,
                   alert_warning, "main", 226);
  }
  delete_file(upd.net_dir_path_zip);
}

int stage_pick_folder() {
  if (stg.stage == 1) return 0;
  if (pick_dest_path() != 1) return 0;
  next.reset_all_streams();
  stg.install_failed = 0;
  stg.stage = 0;
  if (stg.dir_state == 3) stg.dir_state = 1;  // the same list, against the new folder
  return 1;
}

void stage_read_list() {
  if (stg.dir_state == 1)
    stg.dir_state = read_directory(
        upd.dir_path, "Scanning directory text file to see if you already have Zephyra installed...");
}

void stage_activity_icon() {
  if (stg.stage != 1) {
    upd.wrl_i = 21;
    return;
  }
  if (xtim.ot10) {
    ++upd.wrl_i;
    while (upd.wrl_i > 23) upd.wrl_i -= 16;
    while (upd.wrl_i < 8) upd.wrl_i += 16;
  }
}

stage_text stage_state_message() {
  stage_text t;
  if (stg.server_count == -1) {
    t.text = "Looking for servers... you need internet for this...";
  } else if (stg.server_count == 0) {
    t.colour = stage_colour_red;
    t.text = "I could not find any servers to get Zephyra from!";
  } else if (next.install_done) {
    t.colour = stage_colour_green;
    t.text = "INSTALLATION COMPLETE!";
  } else if (stg.stage == 1) {
    t.text = "OK I am installing this now...";
  } else if (stg.dest_known == 1) {
    // The doubled blank is the program's own wording.
    t.text =
        "You have selected an earlier version of Zephyra in the DESTINATION field below, so I "
        "will update that installation  by just grabbing new updated files!";
  } else {
    t.text =
        "To make the download a LOT faster, if you have an earlier version of Zephyra 8.00 on "
        "your hard drive, choose that with the DESTINATION button below, and I will UPDATE THAT "
        "FOLDER!";
  }
  return t;
}

int stage_start_enabled() { return upd.disk_space_avail != 0 && stg.dir_state == 3 ? 1 : 0; }

int stage_start() {
  next.reset_all_streams();
  stg.install_failed = 0;
  make_dirs();
  const int agreed = person_agree();
  if (agreed == 1) stg.stage = 1;
  // Run whatever the answer: refusing still leaves the decisions made.
  if (choose_files() == 0) stg.stage = 0;
  return agreed == 1 ? 1 : 0;
}

void stage_quit() {
  next.reset_all_streams();
  stg.stage = 2;
  app_done = 1;
}

namespace {

void stage0_lines(stage_lines& out) {
  upd.totl_inst_rat = 0;
  upd.tot_availabl = -1;
  upd.tot_down_req = stg.tot_down;
  upd.tot_disk_req = stg.tot_disk;
  if (stg.dir_state == 0) {
    out.line[0].text = "I am figuring out what the latest version of Zephyra is right now...";
    out.line[1].text = "This may take a moment as I download the latest list of Zephyra files...";
    return;
  }
  if (upd.tot_disk_req == 0) {
    out.line[0].text = "Your copy of Zephyra is already the latest version.";
    out.line[1].text =
        "(Remember, the BETA installer only checks for the latest BETA version, and the FULL "
        "installer checks only for the latest FULL version of Zephyra).";
    out.line[2].text = "This is a full installer.";
    return;
  }
  set_size_str(upd.tot_availabl, &upd.tot_availabl_str);
  set_size_str(upd.tot_disk_req, &upd.tot_disk_req_str);
  out.line[0].text =
      "You are about to install " + upd.tot_disk_req_str + " of files to get " + install_name + ".";
  // This system has no free-space query, so tot_availabl stays unknown and
  // the test below never runs; a port with one would fill it in above.
  if (upd.tot_disk_req > 0 && upd.tot_availabl > 0) {
    out.line[1].text = "You have " + upd.tot_availabl_str +
                       " of drive space available for the selected directory.";
    if (upd.tot_availabl > upd.tot_disk_req) {
      upd.disk_space_avail = 1;
      out.line[2] = {stage_colour_green, "You may install at will."};
    } else {
      upd.disk_space_avail = 0;
      out.line[2] = {stage_colour_red, "You don't have enough disk space to install this!"};
    }
  }
}

void stage1_work(stage_lines& out, void (*between)()) {
  // Wall clock, not a count of calls: the slice is the same on any machine.
  const double deadline = xtim.microsecs() * 0.000001 + 0.01;
  while (xtim.microsecs() * 0.000001 < deadline) {
    if (stg.stage == 1 && grab_files() != 0) {
      stg.stage = 2;
      next.reset_all_streams();
    }
    if (between) between();
  }
  upd.totl_inst_rat =
      smooth_progress(upd.totl_inst_rat, next.bytes_installed, upd.tot_disk_req, xtim.prd_UI);
  const status_lines s = install_status(upd.totl_inst_rat, upd.tot_down_req, upd.tot_disk_req_str);
  out.line[0].text = s.line1;
  out.line[1].text = s.line2;
  out.line[2].text = s.line3;
}

void set_all(stage_lines& out, int colour, const char* a, const std::string& b, const char* c) {
  out.line[0] = {colour, a};
  out.line[1] = {colour, b};
  out.line[2] = {colour, c};
}

}  // namespace

stage_lines stage_work_and_lines(void (*between)()) {
  stage_lines out;
  if (stg.stage == 0) {
    stage0_lines(out);
  } else if (stg.stage == 1) {
    stage1_work(out, between);
  } else if (stg.stage == 2) {
    if (stg.install_failed == 0) {
      out.line[0].text = "INSTALLATION COMPLETE!";
    } else {
      set_all(out, stage_colour_failure,
              "The installation was not completed because an error occurred.",
              "Zephyra is not fully installed or updated and may not run correctly.",
              "Please try a different server, hard drive, or directory, or contact Customer "
              "Support for help with this problem.");
    }
  }
  if (stg.file_failed == 1) out = stage_failure_lines();
  return out;
}

stage_lines stage_failure_lines() {
  stage_lines out;
  out.line[0] = {stage_colour_failure, "I can NOT download the file '" + crnt_file_path + "'!"};
  out.line[1] = {stage_colour_failure,
                 "Your internet connection may not be working, or the server could be "
                 "undergoing maintainance or an upgrade right now."};
  out.line[2] = {stage_colour_failure,
                 "I am trying another server now to see if I can still get you a download..."};
  return out;
}
