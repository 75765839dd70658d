// The work queue of an installation: a cursor into sim_info handed out in
// list order to up to four streams, and the kilobyte counters behind the
// progress display. Each stream owns download slot stream + 2.
#pragma once

enum { stream_max = 4 };

class next_class {
 public:
  int next_file = 0;     // index in sim_info of the next entry to hand out
  int install_done = 0;  // set once a run is through; nothing clears it
  int stream_slots[stream_max] = {0, 0, 0, 0};  // 1 while the slot takes part
  int stream_fresh[stream_max] = {0, 0, 0, 0};  // 1: take a new entry next pass
  int stream_entry[stream_max] = {0, 0, 0, 0};  // entry in hand; unsigned in comparisons
  float install_start_time = 0;  // xtim.real_time at the last reset
  float bytes_done_a = 0;        // kilobytes received of archives under way
  float bytes_done_b = 0;        // kilobytes of archives finished in this run
  float bytes_installed = 0;     // kilobytes installed in this run

  // Back to the start of a run: two streams, cursor and counters at 0.
  // Leaves install_done and the download slots alone.
  void reset_all_streams();

  // Gives stream s the next entry when it is waiting for one. The only place
  // work is handed out, so entries go strictly in list order.
  void hand_out(int s);
  // True when stream s holds an entry inside sim_info.
  bool has_entry(int s) const;
  // After stream s finished an entry: may start one more stream, and either
  // sends s on to the next entry or retires it.
  void tune_streams(int s);
  // The stream count the tuning aims at, from kilobytes moved and the preference.
  int stream_target() const;
  int active_streams() const;
};

extern next_class next;
