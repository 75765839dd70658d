#include "net/clock.h"

#include <sys/time.h>

xtim_class xtim;

unsigned long long xtim_class::microsecs() {
  static unsigned long long first = 0;
  static bool started = false;
  timeval tv;
  gettimeofday(&tv, nullptr);
  const unsigned long long now = static_cast<unsigned long long>(tv.tv_sec) * 1000000ULL +
                                 static_cast<unsigned long long>(tv.tv_usec);
  if (!started) {
    started = true;
    first = now;
  }
  // The wall clock may be set back under us; never hand out a wrapped count.
  return now > first ? now - first : 0;
}

unsigned long long xtim_class::del_time(unsigned long long* store) {
  static unsigned long long own = 0;
  unsigned long long* slot = store ? store : &own;
  const unsigned long long now = microsecs();
  const unsigned long long since = now > *slot ? now - *slot : 0;
  *slot = now;
  return since;
}

void xtim_class::profile_chart(std::string, int) {}

void xtim_class::xtim_update() {}

float xtim_class::speed_rat() { return 1.0f; }
