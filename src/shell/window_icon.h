// The program's icon on its window (_NET_WM_ICON), so task bars and window
// switchers show it. The pictures are the ones the desktop's menu installs.
#pragma once
#include <vector>

extern "C" {
extern const unsigned char t_icon_48_dat[];   // 48 by 48 RGBA, row 0 the bottom row
extern const unsigned char t_icon_128_dat[];  // 128 by 128
}

// One picture as the property wants it: width, height, then one ARGB value
// a pixel, top row first. Xlib takes format-32 data as longs.
void LIN_append_icon(std::vector<unsigned long>& out, const unsigned char* rgba, int size);

// Sets _NET_WM_ICON on the main window with every size the program carries.
void LIN_set_window_icon();
