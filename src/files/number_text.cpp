#include "files/number_text.h"

#include <climits>
#include <cmath>

namespace {

// Screens may hand us sizes beyond an int (or NaN); such values show as the
// int limit with no fraction instead of an undefined conversion.
bool fits_int(float v) { return v > -2147483648.0f && v < 2147483520.0f; }

int cut_to_int(float v) {
  if (fits_int(v)) return static_cast<int>(v);
  if (std::isnan(v)) return 0;
  return v > 0 ? INT_MAX : INT_MIN;
}

int abs_int(int v) { return v == INT_MIN ? INT_MAX : v < 0 ? -v : v; }

}  // namespace

void int_to_str(int value, char* buffer, int min_digits, int plus) {
  char* p = buffer;
  if (value < 0)
    *p++ = '-';
  else if (plus)
    *p++ = '+';
  unsigned int mag = static_cast<unsigned int>(value);
  if (value < 0) mag = 0u - mag;
  if (min_digits < 1) min_digits = 1;
  if (min_digits > 10) min_digits = 10;  // the caller's buffer holds 12
  char digits[10];
  int n = 0;
  do {
    digits[n++] = static_cast<char>('0' + mag % 10);
    mag /= 10;
  } while (mag);
  while (n < min_digits) digits[n++] = '0';
  while (n) *p++ = digits[--n];
  *p = 0;
}

void flt_to_str(float value, std::string* out, int digits, int decimals) {
  const int n = cut_to_int(value);
  float scale = 1;
  for (int i = 0; i < decimals; ++i) scale *= 10;
  // Cut, never rounded: 1.96 shows as 1.9.
  const int f = fits_int(value) ? cut_to_int((value - static_cast<float>(n)) * scale) : 0;

  char buf[12];
  int_to_str(abs_int(n), buf, digits - decimals, 0);
  std::string text = buf;
  if (decimals != 0) {
    int_to_str(abs_int(f), buf, decimals, 0);
    text += ".";
    text += buf;
  }
  // The sign is the value's, so -0.5 keeps it though its integer part is 0.
  if (value < 0) text = "-" + text;
  *out = text;
}

void set_size_str(float kilobytes, std::string* out) {
  // Decimal on purpose: a Meg is 1000 kilobytes, a Gig 1000 Meg.
  const double m = kilobytes * 0.001;
  if (m < 1000) {
    flt_to_str(static_cast<float>(m), out, 2, 1);
    *out += " Meg";
  } else {
    flt_to_str(static_cast<float>(m * 0.001), out, 2, 1);
    *out += " Gig";
  }
}

int str_to_int(const std::string& text) {
  if (text.empty()) return -1;
  for (char c : text)
    if (!((c >= '0' && c <= '9') || c == '+' || c == '-')) return -1;
  int sign = 1;
  size_t start = 0;
  if (text[0] == '-') sign = -1;
  if (text[0] == '+' || text[0] == '-') start = 1;
  const size_t len = text.size() - start;
  if (len == 0 || len > 9) return -1;
  // A sign inside the number counts as a place of 1 or -1: "1+2" reads 112.
  int sum = 0, power = 1;
  for (size_t i = text.size(); i-- > start;) {
    const char c = text[i];
    const int place = c == '+' ? 1 : c == '-' ? -1 : c - '0';
    sum += place * power;
    power *= 10;
  }
  return sign * sum;
}
