// Number and character fields: 10 pixels a column, an up and a down arrow
// for each, and a read-only number.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "files/mnw.h"
#include "toolkit/controls.h"
#include "toolkit/frames.h"
#include "toolkit/text.h"

namespace {

constexpr int max_columns = 10;

void draw_labels(float x, float y, int columns, const std::string& left,
                 const std::string& right) {
  BTN_util_draw_label(x - 8, y, 0, left, 0);
  BTN_util_draw_label(x + columns * 10 + 16, y, 2, right, 0);
}

// The column under the pointer and whether it is in the upper half, on a
// click inside the field and its arrows; false otherwise.
bool column_hit(float x, float y, int columns, int* column, bool* up) {
  if (columns < 1) return false;
  if (!BTN_clicked_in(x, y - 18, x + columns * 10.0f, y + 24)) return false;
  // The right edge belongs to the last column.
  *column = std::min(static_cast<int>((mnw.mouse_x - x) / 10), std::min(columns, max_columns) - 1);
  *up = mnw.mouse_y >= y + 3;
  return true;
}

// The arrows show only while the pointer is on the field or its arrows.
int arrows_shown(float x, float y, int columns) {
  return mnw.menu_open == -1 && BTN_mouse_in(x, y - 18, x + columns * 10.0f, y + 24);
}

// T is the type the arithmetic runs in: float for the float and int forms,
// double for the double form.
template <class T>
int number_field(float x, float y, T* value, int digits, int decimals, T lo, T hi,
                 const std::string& label, bool sign_column) {
  std::string left, right, help;
  BTN_expand_label(label, &left, &right, &help);
  BTN_offer_help(x, y - 2, x + digits * 10.0f, y + 8, help);

  int column = 0;
  bool up = false;
  const bool hit = column_hit(x, y, digits, &column, &up);
  if (hit) {
    if (sign_column && column == 0) {
      *value = up ? std::fabs(*value) : -std::fabs(*value);
    } else {
      const T place = static_cast<T>(std::pow(10.0, digits - 1 - column - decimals));
      *value = up ? *value + place : *value - place;
    }
  }
  // Every call, so a caller's value out of range is put right before it shows.
  *value = std::min(std::max(*value, lo), hi);
  const T scale = static_cast<T>(std::pow(10.0, decimals));
  *value = std::round(*value * scale) / scale;

  BTN_util_draw_boxed_button(x, y, digits * 10.0f, digits, arrows_shown(x, y, digits));
  draw_labels(x, y, digits, left, right);
  if (sign_column)
    // The number's own "-" lands in the sign column.
    OGL_number(44, x + 14, y, static_cast<float>(*value), digits - 1, decimals, charset_UI_mono_10);
  else
    OGL_number(44, x + 4, y, static_cast<float>(*value), digits, decimals, charset_UI_mono_10);
  return hit ? 1 : 0;
}

// The largest value the digits hold: 10 to the whole digits, less one unit
// of the last place.
float digits_bound(int digits, int decimals) {
  return static_cast<float>(std::pow(10.0, digits - decimals) - std::pow(10.0, -decimals));
}

}  // namespace

int BTN_flt_range(float x, float y, float* value, int digits, int decimals, float lo, float hi,
                  const std::string& label) {
  return number_field(x, y, value, digits, decimals, lo, hi, label, false);
}

int BTN_flt_rangeij(float x, float y, float* value, int digits, int decimals, float lo, float hi,
                    const std::string& label) {
  return number_field(x, y, value, digits, decimals, lo, hi, label, true);
}

int BTN_int_range(float x, float y, int* value, int digits, float lo, float hi,
                  const std::string& label) {
  float v = static_cast<float>(*value);
  const int r = BTN_flt_range(x, y, &v, digits, 0, lo, hi, label);
  *value = static_cast<int>(v);
  return r;
}

int BTN_dob_range(float x, float y, double* value, int digits, int decimals, double lo, double hi,
                  const std::string& label) {
  return number_field(x, y, value, digits, decimals, lo, hi, label, false);
}

int BTN_flt(float x, float y, float* value, int digits, int decimals, int sign,
            const std::string& label) {
  const float b = digits_bound(digits, decimals);
  return BTN_flt_range(x, y, value, digits, decimals, sign ? -b : 0, b, label);
}

int BTN_fltij(float x, float y, float* value, int digits, int decimals, int sign,
              const std::string& label) {
  // The sign column holds no digit.
  const float b = digits_bound(digits - 1, decimals);
  return BTN_flt_rangeij(x, y, value, digits, decimals, sign ? -b : 0, b, label);
}

int BTN_int(float x, float y, int* value, int digits, int sign, const std::string& label) {
  const float b = digits_bound(digits, 0);
  return BTN_int_range(x, y, value, digits, sign ? -b : 0, b, label);
}

void BTN_display_number(float x, float y, float value, int digits, int decimals,
                        const std::string& label) {
  std::string left, right, help;
  BTN_expand_label(label, &left, &right, &help);
  BTN_util_draw_boxed_button(x, y, digits * 10.0f, digits, 0);
  draw_labels(x, y, digits, left, right);
  OGL_number(44, x + 4, y, value, digits, decimals, charset_UI_mono_10);
  BTN_offer_help(x, y - 2, x + digits * 10.0f, y + 8, help);
}

int BTN_chars(float x, float y, char* text, int length, const std::string& label) {
  std::string left, right, help;
  BTN_expand_label(label, &left, &right, &help);
  BTN_offer_help(x, y - 2, x + length * 10.0f, y + 8, help);
  int column = 0;
  bool up = false;
  const bool hit = column_hit(x, y, length, &column, &up);
  if (hit) {
    // Round through the printable set; anything else starts from its ends.
    unsigned char c = static_cast<unsigned char>(text[column]);
    if (up)
      c = (c < ' ' || c >= '~') ? ' ' : c + 1;
    else
      c = (c <= ' ' || c > '~') ? '~' : c - 1;
    text[column] = static_cast<char>(c);
  }
  BTN_util_draw_boxed_button(x, y, length * 10.0f, length, arrows_shown(x, y, length));
  draw_labels(x, y, length, left, right);
  for (int k = 0; k < length; ++k) {
    if (!text[k]) continue;
    const std::string one(1, text[k]);
    // Centred in its column, the glyphs being of different widths.
    OGL_string(44, x + 4 + 10 * k + 5 - text_width(one) * 0.5f, y, one, text_no_wrap,
               charset_UI_diff_space);
  }
  return hit ? 1 : 0;
}
