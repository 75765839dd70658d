#include <gtest/gtest.h>

#include <climits>

#include "files/number_text.h"

namespace {

std::string size_text(float kilobytes) {
  std::string s = "stale";
  set_size_str(kilobytes, &s);
  return s;
}

std::string flt_text(float value, int digits, int decimals) {
  std::string s = "stale text that must be replaced";
  flt_to_str(value, &s, digits, decimals);
  return s;
}

std::string int_text(int value, int min_digits, int plus) {
  char buf[12];  // the documented size; a sanitized build catches any overrun
  int_to_str(value, buf, min_digits, plus);
  return buf;
}

TEST(NumberText, SizeInDecimalMegAndGig) {
  EXPECT_EQ(size_text(999000), "999.0 Meg");
  EXPECT_EQ(size_text(999999), "999.9 Meg");  // cut, not rounded up to a Gig
  EXPECT_EQ(size_text(1000000), "1.0 Gig");
  EXPECT_EQ(size_text(2500000), "2.5 Gig");
  EXPECT_EQ(size_text(700), "0.7 Meg");
  // An unknown free space (-1) would read so, which is why it is never shown.
  EXPECT_EQ(size_text(-1), "-0.0 Meg");
}

TEST(NumberText, FloatCutsDecimalsAndKeepsSign) {
  EXPECT_EQ(flt_text(1.96f, 2, 1), "1.9");
  EXPECT_EQ(flt_text(-0.5f, 2, 1), "-0.5");
  EXPECT_EQ(flt_text(-12.75f, 2, 2), "-12.75");
  EXPECT_EQ(flt_text(7.5f, 4, 1), "007.5");  // digits count the decimals too
  EXPECT_EQ(flt_text(3.99f, 1, 0), "3");
  EXPECT_EQ(flt_text(1.0f, 2, 3), "1.000");
  EXPECT_EQ(flt_text(3e10f, 2, 1), "2147483647.0");  // beyond an int: held, defined
  EXPECT_EQ(flt_text(-3e10f, 2, 1), "-2147483647.0");
}

TEST(NumberText, IntegerPaddingAndSigns) {
  EXPECT_EQ(int_text(5, 2, 0), "05");
  EXPECT_EQ(int_text(5, 1, 1), "+5");
  EXPECT_EQ(int_text(0, 0, 1), "+0");
  EXPECT_EQ(int_text(-5, 3, 1), "-005");
  EXPECT_EQ(int_text(1234, 2, 0), "1234");
  EXPECT_EQ(int_text(INT_MIN, 1, 0), "-2147483648");
  EXPECT_EQ(int_text(-1, 20, 0), "-0000000001");  // at most 10 places
}

TEST(NumberText, StringToInt) {
  for (const char* bad : {"", "-", "+", "12a", " 12", "1.5", "1234567890", "-1234567890"})
    EXPECT_EQ(str_to_int(bad), -1) << '"' << bad << '"';
  EXPECT_EQ(str_to_int("007"), 7);
  EXPECT_EQ(str_to_int("-12"), -12);
  EXPECT_EQ(str_to_int("+12"), 12);
  EXPECT_EQ(str_to_int("-123456789"), -123456789);
  // Signs inside the number count as places of 1 and -1, without complaint.
  EXPECT_EQ(str_to_int("1+2"), 112);
  EXPECT_EQ(str_to_int("1-2"), 92);
}

}  // namespace
