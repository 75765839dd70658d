#include "assets/font.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <cmath>

namespace {
FT_Face as_face(void* f) { return static_cast<FT_Face>(f); }
FT_F26Dot6 to_26_6(float v) { return FT_F26Dot6(std::lround(v * 64)); }
}  // namespace

face_class::~face_class() {
  if (face_) FT_Done_Face(as_face(face_));
  if (library_) FT_Done_FreeType(static_cast<FT_Library>(library_));
}

bool face_class::open(const std::string& file, std::string* error) {
  FT_Library lib = nullptr;
  if (FT_Init_FreeType(&lib)) {
    if (error) *error = "FreeType would not start";
    return false;
  }
  library_ = lib;
  FT_Face face = nullptr;
  if (FT_New_Face(lib, file.c_str(), 0, &face)) {
    if (error) *error = file + ": not a font FreeType can read";
    return false;
  }
  face_ = face;
  return true;
}

glyph_bitmap face_class::glyph(unsigned code, float xsize, float ysize) const {
  glyph_bitmap g;
  FT_Face face = as_face(face_);
  if (FT_Set_Char_Size(face, to_26_6(xsize), to_26_6(ysize), 72, 72)) return g;
  if (FT_Load_Char(face, code, FT_LOAD_RENDER | FT_LOAD_TARGET_LIGHT)) return g;
  const FT_Bitmap& bm = face->glyph->bitmap;
  g.w = int(bm.width);
  g.h = int(bm.rows);
  g.left = face->glyph->bitmap_left;
  g.top = face->glyph->bitmap_top;
  g.cover.resize(size_t(g.w) * g.h);
  for (int y = 0; y < g.h; ++y)
    for (int x = 0; x < g.w; ++x) g.cover[size_t(y) * g.w + x] = bm.buffer[y * bm.pitch + x];
  return g;
}

int face_class::text_width(const std::string& text, float size) const {
  FT_Face face = as_face(face_);
  if (FT_Set_Char_Size(face, 0, to_26_6(size), 72, 72)) return 0;
  long w = 0;
  for (unsigned char c : text)
    if (!FT_Load_Char(face, c, FT_LOAD_TARGET_LIGHT)) w += face->glyph->advance.x;
  return int((w + 32) >> 6);
}

void face_class::draw_text(raster& r, int x, int y, const std::string& text, float size,
                           rgba colour) const {
  FT_Face face = as_face(face_);
  if (FT_Set_Char_Size(face, 0, to_26_6(size), 72, 72)) return;
  long pen = long(x) << 6;
  for (unsigned char c : text) {
    if (FT_Load_Char(face, c, FT_LOAD_RENDER | FT_LOAD_TARGET_LIGHT)) continue;
    const FT_GlyphSlot s = face->glyph;
    const int gx = int((pen + 32) >> 6) + s->bitmap_left;
    for (unsigned j = 0; j < s->bitmap.rows; ++j)
      for (unsigned i = 0; i < s->bitmap.width; ++i) {
        const uint8_t cov = s->bitmap.buffer[j * s->bitmap.pitch + i];
        if (cov) r.blend(gx + int(i), y + s->bitmap_top - 1 - int(j), colour, cov / 255.0f);
      }
    pen += s->advance.x;
  }
}
