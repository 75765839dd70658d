// The built-in pictures as raw RGBA, 4 bytes a pixel, row 0 the bottom row.
// The build makes them from the PNG files in assets/, so start-up reads no file.
#pragma once

extern "C" {
extern const unsigned char t_installer_dat[];   // 1010 by 764
extern const unsigned char t_ins_back_1_dat[];  // 1024 by 768
extern const unsigned char t_ins_back_2_dat[];  // 1024 by 768
extern const unsigned char t_interface_dat[];   // 512 by 512
}
