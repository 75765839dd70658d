#include "install/streams.h"

#include "files/paths.h"
#include "install/containment.h"
#include "install/destination.h"
#include "install/directory.h"
#include "install/stage.h"
#include "net/clock.h"
#include "net/http.h"

next_class next;

namespace {

int entry_count() { return static_cast<int>(sim_info.size()); }

}  // namespace

bool next_class::has_entry(int s) const {
  return static_cast<unsigned>(stream_entry[s]) < sim_info.size();
}

void next_class::reset_all_streams() {
  for (int s = 0; s < stream_max; ++s) {
    if (stream_slots[s] == 0 || !has_entry(s) || sim_info[stream_entry[s]].empty()) continue;
    // A name beside the target, not the stream's temporary archive, which
    // stays until it is overwritten.
    std::string local = sim_info[stream_entry[s]].back().file_path;
    trim_dest_folder(local);
    // The added ".zip" must not make a path of legal length too long.
    const std::string beside = dest_dir_path + local + ".zip";
    if (beside.size() < 500 && inside_dest(beside)) delete_file(beside);
  }
  next_file = 0;
  for (int s = 0; s < stream_max; ++s) {
    stream_slots[s] = s < 2 ? 1 : 0;
    stream_fresh[s] = s < 2 ? 1 : 0;
    stream_entry[s] = 0;
  }
  install_start_time = xtim.real_time;
  bytes_done_a = 0;
  bytes_done_b = 0;
  bytes_installed = 0;
}

void next_class::hand_out(int s) {
  if (stream_fresh[s] == 0) return;
  stream_entry[s] = next_file;
  ++next_file;
  if (next_file < 0) next_file = 0;
  if (next_file > entry_count()) next_file = entry_count();
}

int next_class::active_streams() const {
  int active = 0;
  for (int s = 0; s < stream_max; ++s)
    if (stream_slots[s] != 0) ++active;
  return active;
}

int next_class::stream_target() const {
  if (stg.stream_count != 0) return stg.stream_count;
  const float moved = bytes_done_a + bytes_done_b;
  // The clock is the frame counter's bits read as a float, next to zero, so
  // the divisor is always 1 and this is a rule on kilobytes moved, not on
  // speed: two streams until the first 50 kilobytes, then all of them.
  const float elapsed = stall_clock() - install_start_time;
  const float rate = moved / (elapsed > 1 ? elapsed : 1);
  if (rate > 200) return 9;
  if (rate > 150) return 8;
  if (rate > 100) return 6;
  if (rate > 50) return 4;
  return 2;
}

void next_class::tune_streams(int s) {
  const int target = stream_target();
  const int active = active_streams();
  if (target > active) {
    for (int f = 0; f < stream_max; ++f)
      if (stream_slots[f] == 0) {
        stream_slots[f] = 1;
        stream_fresh[f] = 1;
        break;
      }
  }
  // active is not recounted: one start and one stop at most per entry.
  if (target >= active)
    stream_fresh[s] = 1;
  else
    stream_slots[s] = 0;
}
