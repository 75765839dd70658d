// FreeType behind a small face class: one glyph as a coverage bitmap, and a
// line of text blended into a raster.
#pragma once
#include <string>
#include <vector>

#include "assets/raster.h"

// Coverage of one glyph, top row first as FreeType gives it. left and top
// place its upper left corner against the pen: left columns right of the
// pen, top rows above the base line.
struct glyph_bitmap {
  int w = 0, h = 0, left = 0, top = 0;
  std::vector<uint8_t> cover;
  uint8_t at(int x, int y) const { return cover[size_t(y) * w + x]; }
};

class face_class {
 public:
  ~face_class();
  // False (with the reason) when the library or the file can't be opened.
  bool open(const std::string& file, std::string* error);
  // Renders the Unicode character at a pixel size of xsize by ysize, with
  // light hinting (vertical only, so a narrowed glyph keeps crisp rows).
  glyph_bitmap glyph(unsigned code, float xsize, float ysize) const;
  // Width of a line in pixels, by the hinted advances.
  int text_width(const std::string& text, float size) const;
  // Draws a line of plain ASCII with its left edge at x and base line at y
  // (rows from the bottom).
  void draw_text(raster& r, int x, int y, const std::string& text, float size, rgba colour) const;

 private:
  void* library_ = nullptr;  // FT_Library and FT_Face, kept out of the header
  void* face_ = nullptr;
};
