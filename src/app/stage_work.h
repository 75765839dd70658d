// The work of the installer's stage machine with no drawing in it. The
// window's APP_update calls these between its drawing calls, once a frame and
// in the order declared here; the console front end calls the same ones in
// the same order. Each stage's texts are built here, so both faces say the
// same words.
#pragma once
#include <string>

// What APP_update keeps from one frame to the next.
struct stage_frame_state {
  std::string dir_path_path;     // folder the list is unzipped into
  std::string dir_path;          // the unzipped list
  std::string net_dir_path_zip;  // the downloaded list
  float tot_down_req = 0;        // totals frozen when stage 0 ends
  float tot_disk_req = 0;
  std::string tot_disk_req_str;
  float tot_availabl = -1;       // free space in kilobytes; negative: unknown
  std::string tot_availabl_str;
  int disk_space_avail = 1;
  float totl_inst_rat = 0;       // smoothed overall progress, 0..1
  int wrl_i = 8;                 // frame of the activity icon
  int paths_made = 0;            // the path statics have their first value
};
extern stage_frame_state upd;

// Colour indexes of the texts.
enum {
  stage_colour_red = 1,
  stage_colour_green = 13,
  stage_colour_text = 45,
  stage_colour_failure = 68
};

struct stage_text {
  int colour = stage_colour_text;
  std::string text;
};
struct stage_lines {
  stage_text line[3];
};

// The agreement's four texts, top to bottom.
extern const char* const kAgreementTexts[4];

// main after the shell is up: the program and temporary folders, the run's
// defaults, the preferences, then the folder from "-path", the remembered one
// or the chooser. A folder that holds no product asks the chooser at once.
void stage_main_start(int argc, char const* const* argv);

// Back to the first frame's statics (a fresh run in the same process).
void stage_reset_frame_state();

// While no server list has been read: one step of its download.
void stage_server_step();
// The three path statics, from temp_path.
void stage_build_paths();
// While no directory list is on disk: one step of its download; a failure
// moves to another mirror, a good archive is unzipped.
void stage_list_step();
// A click on the destination field or button: outside stage 1 the chooser
// opens, and a chosen folder sends the run back to stage 0 with the list read
// again. 1 when a folder was chosen.
int stage_pick_folder();
// Reads the unzipped list against the folder when it is waiting to be read.
void stage_read_list();
// Advances the activity icon on the 0.1 s tick of stage 1.
void stage_activity_icon();

// The one-line state message of the frame.
stage_text stage_state_message();

// START can be pressed (drawn in stage 0 only).
int stage_start_enabled();
// START: streams reset, folders made, the agreement, then choose_files.
// Returns 1 when the user agreed; stg.stage tells whether work began.
int stage_start();
// Quit: the streams stop and the frame loop ends.
void stage_quit();

// The three red lines shown while the latest file can't be fetched.
stage_lines stage_failure_lines();

// The work and the status lines of the frame: stage 0's totals and texts,
// stage 1's ten-millisecond slice of grab_files, stage 2's final texts, and
// the failure lines over all three while a file fails. between, when given,
// runs after each grab_files call of the slice (the console rests there
// when nothing moved).
stage_lines stage_work_and_lines(void (*between)() = nullptr);
