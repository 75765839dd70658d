// What the user reads while files are installed: three lines of text, the
// smoothed overall progress and the time left. Plain texts, so the console
// and the window show the same words.
#pragma once
#include <string>

struct status_lines {
  std::string line1, line2, line3;
};

// The next value of the smoothed progress after one frame of period prd_UI
// (seconds), following bytes_installed / tot_disk_req; kept to 0..1.
float smooth_progress(float totl_inst_rat, float bytes_installed, float tot_disk_req,
                      float prd_UI);

// "07.3" for 0.073: two digits at least, one decimal, both cut.
std::string overall_percent_text(float totl_inst_rat);
// "42" for 0.429; "-1" while a length is unknown.
std::string file_percent_text(float file_frac);
// "119 seconds", "2 minutes", "2 hours".
std::string time_left_phrase(float seconds);

// The three lines of stage 1 from stg, next, crnt_file_name and
// xtim.real_time, with the totals frozen when stage 0 ended.
status_lines install_status(float totl_inst_rat, float tot_down_req,
                            const std::string& tot_disk_req_str);
