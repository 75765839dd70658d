#include "install/status.h"

#include "files/number_text.h"
#include "install/stage.h"
#include "install/streams.h"
#include "net/clock.h"

float smooth_progress(float totl_inst_rat, float bytes_installed, float tot_disk_req,
                      float prd_UI) {
  // Nothing to install (a run of deletions only) can't be measured in kilobytes.
  float target = 0;
  if (tot_disk_req > 0)
    target = bytes_installed / tot_disk_req;
  else if (bytes_installed > 0)
    target = 1;
  const float k = 5.0f * prd_UI;
  float r = (1 - k) * totl_inst_rat + k * target;
  if (!(r >= 0)) r = 0;  // also catches a NaN from a wild period
  if (r > 1) r = 1;
  return r;
}

std::string overall_percent_text(float totl_inst_rat) {
  const float f = 100 * totl_inst_rat;
  const int i = static_cast<int>(f);
  const int d = static_cast<int>((f - i) * 10);
  char whole[12], tenth[12];
  int_to_str(i, whole, 2, 0);
  int_to_str(d, tenth, 1, 0);
  return std::string(whole) + "." + tenth;
}

std::string file_percent_text(float file_frac) {
  char buf[12];
  int_to_str(static_cast<int>(100 * file_frac), buf, 1, 0);
  return buf;
}

std::string time_left_phrase(float seconds) {
  // Past any real wait; keeps the conversions below defined.
  if (!(seconds < 1e9f)) seconds = 1e9f;
  if (seconds < 120) return std::to_string(static_cast<int>(seconds)) + " seconds";
  if (seconds < 7200)
    return std::to_string(static_cast<int>(seconds * (1.0 / 60.0))) + " minutes";
  return std::to_string(static_cast<int>(seconds * (1.0 / 3600.0))) + " hours";
}

status_lines install_status(float totl_inst_rat, float tot_down_req,
                            const std::string& tot_disk_req_str) {
  status_lines out;
  switch (stg.file_action) {
    case 0:
      out.line1 = "Deleting " + crnt_file_name + " because that file is no longer needed!";
      break;
    case 1:
      out.line1 = "Downloading and installing " + crnt_file_name + ", currently " +
                  file_percent_text(stg.file_frac) + "% done with that file.";
      break;
    case 2:
      // The lower-case start is the program's own wording.
      out.line1 = "duplicate filename through file " + crnt_file_name +
                  ", but not installing it because you already have this file.";
      break;
    default:
      out.line1 = "Browsing through file " + crnt_file_name +
                  ", but not installing it because you don't need this file.";
      break;
  }

  std::string installed;
  set_size_str(next.bytes_installed, &installed);
  out.line2 = overall_percent_text(totl_inst_rat) +
              "% done with the internet install, having installed " + installed + " of " +
              tot_disk_req_str + " for the internet install.";

  if (totl_inst_rat > 0.01f) {
    const float done = next.bytes_done_a + next.bytes_done_b;
    float left = tot_down_req - done;
    if (!(left > 0)) left = 0;
    float elapsed = xtim.real_time - next.install_start_time;
    if (!(elapsed > 1)) elapsed = 1;
    const float rate = done / elapsed;
    // With nothing received yet there is no rate to divide by.
    const float seconds = rate > 0 ? left / rate : (left > 0 ? 1e9f : 0);
    char streams[12], speed[12];
    int_to_str(next.active_streams(), streams, 1, 0);
    int_to_str(static_cast<int>(rate), speed, 1, 0);
    out.line3 = "About " + time_left_phrase(seconds) +
                " left in the install, downloading at " + speed + " kilobytes/second " +
                "with " + streams + " simultaneous download streams.";
  }
  return out;
}
