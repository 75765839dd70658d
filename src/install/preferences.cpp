// The tag lists of the preference file, bound to the fields of the globals
// they set. One walk serves both directions, so reading and writing can't
// disagree on the tags.
#include "install/preferences.h"

#include "files/mnw.h"
#include "files/paths.h"
#include "files/prefs.h"
#include "install/stage.h"
#include "net/http.h"
#include "net/clock.h"

pref_class pref;

std::string pref_file_path(int which) {
  if (which == pref_set_shell) return "Resources:preferences:Res Cirrovan.prf";
  std::string path = "Resources:preferences:Set Zephyra.prf";
  // Without HOME the path stays as above and the file is simply never found.
  get_OS_abs_path(4, path);
  return path + "Zephyra Installer.prf";
}

void pref_class::IO_set(int which, int direction) {
  {
    scan_class scan(pref_file_path(which), direction);
    if (which == pref_set_shell) {
      scan.int_io(&mnw.x_res_req, "_x_res_req");
      scan.int_io(&mnw.y_res_req, "_y_res_req");
      scan.int_io(&mnw.col_res_req, "_col_res_req");
      scan.int_io(&mnw.set_res, "_set_res");
      scan.int_io(&mnw.lang, "_lang");
      scan.int_io(&mnw.alias_req, "_alias_req");
      scan.int_io(&mnw.keylist_up, "_keylist_up");
      scan.int_io(&mnw.sec_mon_inuse, "_sec_mon_inuse");
      scan.int_io(&mnw.prefs_found, "_prefs_found");
      scan.float_io(&xtim.prd_FM, "_prd_FM");
      scan.float_io(&xtim.prd_UI, "_prd_UI");
    } else {
      scan.int_io(&stg.download_os, "_download_os");
      scan.int_io(&stg.use_max_cpu, "_use_max_cpu");
      scan.int_io(&stg.rename_folder, "_rename_folder");
      scan.int_io(&stg.stream_count, "_stream_count");
      scan.int_io(&stg.log_actions, "_log_actions");
      scan.int_io(&stg.always_ask_dir, "_always_ask_dir");
      scan.string_io(&dest_dir_path, "_dest_dir_path");
      scan.string_io(&http._proxy_host, "_proxy_host");
      scan.string_io(&http._proxy_port, "_proxy_port");
      scan.int_io(&http._proxy_port_int, "_proxy_port_int");
    }
  }  // the file is closed before the shell's values are mended

  if (which != pref_set_shell) {
    // A file edited by hand may hold anything; the rest of the run trusts
    // these to lie in their controls' ranges.
    if (stg.stream_count < 0) stg.stream_count = 0;
    if (stg.stream_count > 4) stg.stream_count = 4;
    if (stg.download_os < 1) stg.download_os = 1;
    if (stg.download_os > 5) stg.download_os = 5;
  }
  if (which == pref_set_shell) {
    // Whatever the file said, the screen is never below the interface's size,
    // and language 6 is no longer offered.
    if (mnw.x_res_req < 1024 || mnw.x_res_req > 9999) mnw.x_res_req = 1024;
    if (mnw.y_res_req < 768 || mnw.y_res_req > 9999) mnw.y_res_req = 768;
    if (mnw.lang == 6) mnw.lang = 0;
  }
}
