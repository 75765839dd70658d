#include <gtest/gtest.h>

#include <climits>

#include "files/number_text.h"

namespace {

TEST(NumberText, SizesAndFloatsAreCutNotRounded) {
  const struct { float kb; const char* want; } sizes[] = {
      {999999, "999.9 Meg"}, {1000000, "1.0 Gig"}, {700, "0.7 Meg"}, {0, "0.0 Meg"},
      {-1, "-0.0 Meg"},  // why an unknown free space is never shown
  };
  for (const auto& c : sizes) {
    std::string s = "stale";
    set_size_str(c.kb, &s);
    EXPECT_EQ(s, c.want) << c.kb;
  }
  const struct { float value; int digits, decimals; const char* want; } floats[] = {
      {1.96f, 2, 1, "1.9"}, {-0.5f, 2, 1, "-0.5"}, {7.5f, 4, 1, "007.5"},
      {3.99f, 1, 0, "3"},   {3e10f, 2, 1, "2147483647.0"}, {-3e10f, 2, 1, "-2147483647.0"},
  };
  for (const auto& c : floats) {
    std::string s = "stale text that must be replaced";
    flt_to_str(c.value, &s, c.digits, c.decimals);
    EXPECT_EQ(s, c.want) << c.value;
  }
}

TEST(NumberText, IntegersBothWays) {
  const struct { int value, min_digits, plus; const char* want; } ints[] = {
      {5, 1, 1, "+5"}, {0, 0, 1, "+0"}, {-5, 3, 1, "-005"},
      {INT_MIN, 1, 0, "-2147483648"}, {-1, 20, 0, "-0000000001"},  // at most 10 places
  };
  for (const auto& c : ints) {
    char buf[12];  // the documented size; a sanitized build catches any overrun
    int_to_str(c.value, buf, c.min_digits, c.plus);
    EXPECT_STREQ(buf, c.want) << c.value;
  }
  for (const char* bad : {"", "-", "12a", " 12", "1234567890", "-1234567890"})
    EXPECT_EQ(str_to_int(bad), -1) << '"' << bad << '"';
  // Signs inside the number count as places of 1 and -1, as they always have.
  const struct { const char* text; int want; } good[] = {
      {"007", 7}, {"-12", -12}, {"+12", 12}, {"-123456789", -123456789}, {"1+2", 112}, {"1-2", 92},
  };
  for (const auto& c : good) EXPECT_EQ(str_to_int(c.text), c.want) << c.text;
}

}  // namespace
