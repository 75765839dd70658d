// Numbers and sizes as the screens show them.
#pragma once
#include <string>

void set_size_str(float kilobytes, std::string* out);
void flt_to_str(float value, std::string* out, int digits, int decimals);
void int_to_str(int value, char* buffer, int min_digits, int plus);
int str_to_int(const std::string& text);
