// The text field. A click gives it the keyboard and empties it; typing,
// which the keyboard collects in stl_input, is copied in every frame while
// it has the focus. index tells the fields of a screen apart.
#pragma once
#include <string>

// 1 in the frame the field took the focus.
int BTN_enterstring(float x, float y, std::string* text, int max_chars, int index,
                    const std::string& label);
// The same on a C string of at most 499 characters.
int BTN_enterstring(float x, float y, char* text, int max_chars, int index,
                    const std::string& label);
