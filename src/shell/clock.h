// The clock the pump advances. It belongs to the core; until the core has
// it, the shell carries the same record itself.
#pragma once
#if __has_include("net/clock.h")
#include "net/clock.h"
#else
#define ZEPHYRA_SHELL_OWNS_CLOCK 1
struct xtim_class {
  int first_frame = 1;
  float prd_FM = 0.02f, prd_UI = 0.02f;
  float rat_FM = 1.0f, rat_UI = 1.0f;
  int frame_count = 0;
  float real_time = 0;
  float sim_time_a = 57600, sim_time_b = 28800;
  int day_of_year = 90;
  int ot01 = 0, ot02 = 0, ot05 = 0, ot1 = 0, ot2 = 0, ot5 = 0, ot10 = 0, ot20 = 0, ot40 = 0,
      ot00 = 0;
  unsigned long long microsecs();
};
extern xtim_class xtim;
#endif
