// The controls: each call draws one control for this frame, tests it against
// the mouse flags and writes any change through the caller's pointer. A call
// returns 1 when the user changed the value or pressed it in this frame.
// Labels take the form "left|right{help". Every control is inert while a
// menu is open, and with no GL context nothing is drawn while the tests still
// answer. Coordinates are relative to the sub-window.
#pragma once
#include <string>
#include <vector>

// Push button; width 0 or less fits the label. With flash set, a press is
// shown at once (before the caller's work), unless the button is already down.
int BTN_action(float x, float y, float width, int down, int flash, const std::string& label);

// Check box (radio 1: the round form); a hit flips *value between 0 and 1.
int BTN_bool(float x, float y, int* value, const std::string& label, int radio);
// Radio button: shows *value == this_value; a hit stores this_value.
int BTN_is_int(float x, float y, int* value, int this_value, const std::string& label);
int BTN_xbyt(float x, float y, unsigned char* value, const std::string& label);
int BTN_xchr(float x, float y, char* value, const std::string& label);
int BTN_xbol(float x, float y, bool* value, const std::string& label);

// Number fields: one up-down pair per digit, 10 pixels a digit. The value is
// clamped to lo..hi and rounded to its decimals on every call, clicked or not.
int BTN_flt_range(float x, float y, float* value, int digits, int decimals, float lo, float hi,
                  const std::string& label);
// The same with the first column as a sign: its upper half makes the value
// positive, its lower half negative; the digits follow it.
int BTN_flt_rangeij(float x, float y, float* value, int digits, int decimals, float lo, float hi,
                    const std::string& label);
// Through a float copy: eight digits and more lose their last one.
int BTN_int_range(float x, float y, int* value, int digits, float lo, float hi,
                  const std::string& label);
int BTN_dob_range(float x, float y, double* value, int digits, int decimals, double lo, double hi,
                  const std::string& label);
// Bounds from the digits: plus or minus the largest value they hold; sign 0
// gives a lower bound of 0.
int BTN_flt(float x, float y, float* value, int digits, int decimals, int sign,
            const std::string& label);
int BTN_fltij(float x, float y, float* value, int digits, int decimals, int sign,
              const std::string& label);
int BTN_int(float x, float y, int* value, int digits, int sign, const std::string& label);
// A read-only number field.
void BTN_display_number(float x, float y, float value, int digits, int decimals,
                        const std::string& label);
// A field of characters, each stepped up (upper half) or down (lower half)
// through the printable set.
int BTN_chars(float x, float y, char* text, int length, const std::string& label);

// Pop-up list: items separated by blanks, a "-" in an item shown as a blank.
// A click opens the pop-up over the chosen item; the choice arrives, and the
// call returns 1, in the frame after the item is clicked.
int BTN_textlist(float x, float y, int* value, const std::string& items,
                 const std::string& label);
// A tab along the top of the sub-window; a hit stores this_value.
int BTN_tab(int column, int row, int* value, int this_value, const std::string& label);

// Horizontal slider; with grab 0 a progress bar. col 12 draws no fill.
// Returns whether it is held.
int BTN_horz_slider(float x, float y, float width, int col, float lo, float hi, float* value,
                    int grab, const std::string& text_left, const std::string& label);
// Vertical scroll bar centred on x, its trough from y_low to y_high with lo
// at the top, and an arrow box of 20 pixels beyond either end; index 0 to 3
// tells the four that may be held. Returns whether it is held.
int BTN_vert_slider(int index, float x, float y_low, float y_high, int lo, int hi, int* value);

// A read-only field of text, width pixels wide from x, with its label.
void OGL_boxed_string(float x, float y, const std::string& text, float width,
                      const std::string& label);

// What the list control would put up, without drawing: the items as shown
// and the widest item's width by the advance table.
void BTN_textlist_items(const std::string& items, std::vector<std::string>* out, float* widest);
