// The program's clock. The frame pump advances it; the core reads it (the
// transfer's stall test, the stream tuning), so it lives here without any
// X dependency.
#pragma once
#include <string>

struct xtim_class {
  int first_frame = 1;     // cleared after the first APP_update
  float prd_FM = 0.02f;    // smoothed main-screen frame period, seconds
  float prd_UI = 0.02f;    // smoothed interface frame period, seconds
  float rat_FM = 1.0f;     // last measured / smoothed period ratios
  float rat_UI = 1.0f;
  int frame_count = 0;     // frames swapped since start
  float real_time = 0;     // seconds since the first frame
  float sim_time_a = 57600, sim_time_b = 28800;  // shared-code constants, unread here
  int day_of_year = 90;
  // One-frame tick flags; the name gives the rate (tenths of a hertz for the
  // first three, hertz after; ot00 is 100 Hz).
  int ot01 = 0, ot02 = 0, ot05 = 0, ot1 = 0, ot2 = 0, ot5 = 0, ot10 = 0, ot20 = 0, ot40 = 0,
      ot00 = 0;

  // Microseconds since the first call.
  unsigned long long microsecs();
  // Microseconds since *store, which then takes the present count; a null
  // store uses a private one.
  unsigned long long del_time(unsigned long long* store);
  // Slots for a profiler this program doesn't have.
  void profile_chart(std::string label, int finish);
  void xtim_update();
  float speed_rat();
};

extern xtim_class xtim;
