// zephyra-make-images: draws the installer's built-in pictures again.
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "assets/images.h"

namespace {

const char* const dejavu = "/usr/share/fonts/truetype/dejavu/";

void usage(FILE* to) {
  fprintf(to,
          "Usage: zephyra-make-images [--out DIR] [--font FILE] [--bold FILE]\n"
          "\n"
          "Draws the installer's four built-in pictures and writes them as PNG files:\n"
          "  interface.png  512x512    glyphs, frames, panels, palette, control pieces\n"
          "  installer.png  1010x764   buttons in three states, artwork, activity icon\n"
          "  back_1.png     1024x768   main window background\n"
          "  back_2.png     1024x768   second background\n"
          "and the program's icon at 48, 128 and 256 pixels (icon_48.png, ...).\n"
          "Where each piece sits is fixed in src/toolkit/sheet.h.\n"
          "\n"
          "  --out DIR    folder to write to (default: assets); it must exist\n"
          "  --font FILE  font of the interface glyphs (default: %sDejaVuSans.ttf)\n"
          "  --bold FILE  font of the button words (default: %sDejaVuSans-Bold.ttf)\n"
          "  --help       this text\n",
          dejavu, dejavu);
}

}  // namespace

int main(int argc, char** argv) {
  std::string out = "assets";
  std::string font = std::string(dejavu) + "DejaVuSans.ttf";
  std::string bold = std::string(dejavu) + "DejaVuSans-Bold.ttf";
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    if (a == "--help" || a == "-h") {
      usage(stdout);
      return 0;
    }
    std::string* value = a == "--out" ? &out : a == "--font" ? &font : a == "--bold" ? &bold : nullptr;
    if (!value || i + 1 >= argc) {
      fprintf(stderr, "zephyra-make-images: %s %s\n", value ? "missing value after" : "unknown option",
              a.c_str());
      usage(stderr);
      return 2;
    }
    *value = argv[++i];
  }
  struct stat st;
  if (stat(out.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {
    fprintf(stderr, "zephyra-make-images: %s is not a folder\n", out.c_str());
    return 1;
  }
  image_fonts fonts;
  std::string error;
  if (!open_fonts(font, bold, &fonts, &error) || !make_images(out, fonts, &error) ||
      !make_icons(out, &error)) {
    fprintf(stderr, "zephyra-make-images: %s\n", error.c_str());
    return 1;
  }
  for (const char* name : image_files) printf("%s/%s\n", out.c_str(), name);
  for (int size : icon_sizes) printf("%s/%s\n", out.c_str(), icon_file(size).c_str());
  return 0;
}
