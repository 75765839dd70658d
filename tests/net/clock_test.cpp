// The program's clock against the system's steady clock.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "net/clock.h"

namespace {

TEST(Clock, MicrosecondsKeepPaceWithTheSystemClock) {
  using namespace std::chrono;
  auto us = [](steady_clock::duration d) { return duration_cast<microseconds>(d).count(); };
  // Each reading is bracketed by the steady clock, so a busy machine only
  // widens the window the elapsed time must fall in.
  const auto a0 = steady_clock::now();
  const long long c0 = static_cast<long long>(xtim.microsecs());
  const auto b0 = steady_clock::now();
  std::this_thread::sleep_for(milliseconds(300));
  const auto a1 = steady_clock::now();
  const long long c1 = static_cast<long long>(xtim.microsecs());
  const auto b1 = steady_clock::now();
  EXPECT_GE(c1 - c0, us(a1 - b0) - 1000);
  EXPECT_LE(c1 - c0, us(b1 - a0) + 1000);
}

}  // namespace
