// The four built-in pictures of the installer, drawn from code and a font:
// the interface sheet, the installer sheet and two backgrounds. Positions
// come from toolkit/sheet.h, which the toolkit cuts them by.
#pragma once
#include <string>

#include "assets/font.h"
#include "assets/raster.h"

struct image_fonts {
  face_class regular;  // the interface glyphs
  face_class bold;     // words on the installer's buttons
};

bool open_fonts(const std::string& regular, const std::string& bold, image_fonts* fonts,
                std::string* error);

raster draw_interface_sheet(const image_fonts& fonts);
raster draw_installer_sheet(const image_fonts& fonts);
// which: 1 or 2.
raster draw_background(int which);

// The four files, in the order the program embeds them.
inline constexpr const char* image_files[] = {"interface.png", "installer.png", "back_1.png",
                                              "back_2.png"};
enum { image_count = 4 };
raster draw_image(int index, const image_fonts& fonts);

// Draws all four into dir (which must exist), one PNG each.
bool make_images(const std::string& dir, const image_fonts& fonts, std::string* error);

// The program's icon for the desktop's menu, task bar and window, drawn at
// each size it is installed at; files icon_48.png and so on.
inline constexpr int icon_sizes[] = {48, 128, 256};
raster draw_icon(int size);
std::string icon_file(int size);
// Writes every size into dir, which must exist.
bool make_icons(const std::string& dir, std::string* error);
