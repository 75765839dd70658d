// Stand-ins for the toolkit's push button and radio row until the controls
// land; removed when they do.
#pragma once
#include <string>

int BTN_action(float x, float y, float width, int down, int flash, const std::string& label);
int BTN_is_int(float x, float y, int* value, int this_value, const std::string& label);
