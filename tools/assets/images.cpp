#include "assets/images.h"

bool open_fonts(const std::string& regular, const std::string& bold, image_fonts* fonts,
                std::string* error) {
  return fonts->regular.open(regular, error) && fonts->bold.open(bold, error);
}

raster draw_image(int index, const image_fonts& fonts) {
  switch (index) {
    case 0:
      return draw_interface_sheet(fonts);
    case 1:
      return draw_installer_sheet(fonts);
    default:
      return draw_background(index - 1);
  }
}

bool make_images(const std::string& dir, const image_fonts& fonts, std::string* error) {
  const std::string folder = dir.empty() || dir.back() == '/' ? dir : dir + "/";
  for (int i = 0; i < image_count; ++i)
    if (!write_png(draw_image(i, fonts), folder + image_files[i], error)) return false;
  return true;
}
