#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "net/clock.h"

TEST(Clock, MicrosecondsKeepPaceWithTheSystemClock) {
  using namespace std::chrono;
  const auto a0 = steady_clock::now();
  const long long c0 = static_cast<long long>(xtim.microsecs());
  std::this_thread::sleep_for(milliseconds(300));
  const long long c1 = static_cast<long long>(xtim.microsecs());
  // Bracketed by the steady clock, so a busy machine can't fail it.
  EXPECT_GE(c1 - c0, 299000);
  EXPECT_LE(c1 - c0, duration_cast<microseconds>(steady_clock::now() - a0).count() + 1000);
}
