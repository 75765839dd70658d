#include "install/person.h"

#include <gtest/gtest.h>

#include "install_fixture.h"

namespace {

TEST(PersonSeams, ProgressFillIsHeldAndCentredWhenEmpty) {
  // low, value, high, fill; low equal to high must not divide by zero.
  const float table[][4] = {{0, 0, 100, 0.04f},  {0, 50, 100, 0.52f},  {0, 100, 100, 1.0f},
                            {0, 250, 100, 1.0f}, {0, -50, 100, 0.04f}, {7, 7, 7, 0.52f}};
  for (auto& t : table) EXPECT_FLOAT_EQ(dir_progress_fill(t[0], t[1], t[2]), t[3]) << t[1];
}

TEST(PersonSeams, WithoutAnAppOnlyTheQuietSeamsAnswer) {
  person_hooks = person_hooks_t{};
  dir_progress_bar(0, 1, 2, 0, "top", "bottom");  // draws nothing
  person_prefs();
  EXPECT_FATAL(select_alert("/x/y", 0), "changed-file question");
  EXPECT_FATAL(person_agree(), "agreement");
}

}  // namespace
