// Build step: turns the PNG pictures of assets/ into the raw RGBA the program
// carries. For each picture it writes NAME.rgba (4 bytes a pixel, bottom row
// first, as GL reads textures) and one C++ file that pulls them all in with
// .incbin, so a 3 MB picture costs no compile time.
//
//   embed_images OUT.cpp DIR SYMBOL=FILE.png:WIDTHxHEIGHT...
#include <png.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct picture {
  std::string symbol, png;
  int width = 0, height = 0;
};

bool parse(const char* arg, picture* p) {
  const char* eq = strchr(arg, '=');
  const char* colon = strrchr(arg, ':');
  if (!eq || !colon || colon < eq) return false;
  p->symbol.assign(arg, eq);
  p->png.assign(eq + 1, colon);
  return sscanf(colon + 1, "%dx%d", &p->width, &p->height) == 2 && p->width > 0 && p->height > 0;
}

// Reads the picture as RGBA with its rows turned bottom up.
bool read_rgba(const picture& p, std::vector<unsigned char>* out) {
  png_image image;
  memset(&image, 0, sizeof(image));
  image.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&image, p.png.c_str())) {
    fprintf(stderr, "embed_images: cannot read %s: %s\n", p.png.c_str(), image.message);
    return false;
  }
  if (static_cast<int>(image.width) != p.width || static_cast<int>(image.height) != p.height) {
    fprintf(stderr, "embed_images: %s is %ux%u, the program needs %dx%d\n", p.png.c_str(),
            image.width, image.height, p.width, p.height);
    png_image_free(&image);
    return false;
  }
  image.format = PNG_FORMAT_RGBA;
  out->resize(PNG_IMAGE_SIZE(image));
  // A negative stride stores the last row first.
  const png_int_32 stride = -static_cast<png_int_32>(PNG_IMAGE_ROW_STRIDE(image));
  if (!png_image_finish_read(&image, nullptr, out->data(), stride, nullptr)) {
    fprintf(stderr, "embed_images: cannot decode %s: %s\n", p.png.c_str(), image.message);
    return false;
  }
  return true;
}

bool write_file(const std::string& path, const void* data, size_t size) {
  FILE* f = fopen(path.c_str(), "wb");
  if (!f) {
    fprintf(stderr, "embed_images: cannot write %s\n", path.c_str());
    return false;
  }
  const bool ok = fwrite(data, 1, size, f) == size;
  return fclose(f) == 0 && ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4) {
    fprintf(stderr, "usage: embed_images OUT.cpp DIR SYMBOL=FILE.png:WIDTHxHEIGHT...\n");
    return 2;
  }
  const std::string out_cpp = argv[1], dir = argv[2];
  std::string source =
      "// Made by tools/assets/embed_images from the pictures in assets/. Do not edit.\n";
  for (int i = 3; i < argc; ++i) {
    picture p;
    if (!parse(argv[i], &p)) {
      fprintf(stderr, "embed_images: bad picture argument: %s\n", argv[i]);
      return 2;
    }
    std::vector<unsigned char> rgba;
    if (!read_rgba(p, &rgba)) return 1;
    const std::string raw = dir + "/" + p.symbol + ".rgba";
    if (!write_file(raw, rgba.data(), rgba.size())) return 1;
    source += "asm(\".section .rodata\\n.global " + p.symbol + "\\n.type " + p.symbol +
              ", @object\\n.balign 16\\n" + p.symbol + ":\\n.incbin \\\"" + raw +
              "\\\"\\n.size " + p.symbol + ", . - " + p.symbol + "\\n.previous\\n\");\n";
  }
  return write_file(out_cpp, source.data(), source.size()) ? 0 : 1;
}
