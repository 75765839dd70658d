// The program's clock against the system's steady clock.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "net/clock.h"

namespace {

TEST(Clock, MicrosecondsKeepPaceWithTheSystemClock) {
  using namespace std::chrono;
  const steady_clock::time_point t0 = steady_clock::now();
  const unsigned long long c0 = xtim.microsecs();
  std::this_thread::sleep_for(milliseconds(300));
  const unsigned long long c1 = xtim.microsecs();
  const long long steady = duration_cast<microseconds>(steady_clock::now() - t0).count();
  // Only the few microseconds between the paired readings may differ.
  EXPECT_NEAR(static_cast<double>(c1 - c0), static_cast<double>(steady), 20000);
}

}  // namespace
