// Text and strips against real GL: the back buffer read back and
// compared with what the sheet's own texels give, once with the built-in
// sheet and once with a sheet of noise, where a wrong column can't hide in a
// plain piece of picture.
#include <cmath>
#include <cstring>
#include <string>

#include "gl_suite.h"
#include "toolkit/builtin_images.h"
#include "toolkit/frames.h"
#include "toolkit/sheet.h"
#include "toolkit/text.h"

namespace {

enum { W = 1024, H = 768 };

// What the window should hold, blended in drawing order over black.
struct canvas {
  const unsigned char* sheet;
  std::vector<float> rgb = std::vector<float>(W * H * 3, 0.0f);

  void blit(int x, int y, int s, int t, int w, int h, float b = 1) {
    const float tint[3] = {1, 1, b};
    for (int j = 0; j < h; ++j)
      for (int i = 0; i < w; ++i) {
        const unsigned char* p = sheet + (((t + j) & 511) * 512 + ((s + i) & 511)) * 4;
        float* d = &rgb[((y + j) * W + x + i) * 3];
        const float a = p[3] / 255.0f;
        for (int c = 0; c < 3; ++c) d[c] = p[c] / 255.0f * tint[c] * a + d[c] * (1 - a);
      }
  }
  void glyphs(const std::string& text, int x, int y, int step, int s0, float b = 1) {
    for (char ch : text) {
      int col = 0, row = 0;
      text_cell(static_cast<unsigned char>(ch), &col, &row);
      blit(x, y, s0 + col * glyph_cell_w, row * glyph_cell_h, glyph_cell_w, glyph_cell_h, b);
      x += step ? step : text_advance(static_cast<unsigned char>(ch));
    }
  }
};

class TextGl : public GlSuite {
 protected:
  static void SetUpTestSuite() {
    GlSuite::SetUpTestSuite();
    recall_ins_texes();
    noise.resize(512 * 512 * 4);
    unsigned state = 12345;
    for (unsigned char& b : noise)
      b = static_cast<unsigned char>((state = state * 1103515245u + 12345u) >> 16);
  }
  static void use_sheet(const unsigned char* pic) {
    memcpy(scratch_array, pic, 512 * 512 * 4);
    scratch_dx = scratch_dy = 512;
    tman.load_texture(tex_fail_fatal, tex_interface, tex_col_rgba, tex_load_now,
                      "scratch_array:test sheet");
  }
  static void clear() {
    mnw.win_x = mnw.win_y = 0;
    glClear(GL_COLOR_BUFFER_BIT);
  }
  // Runs draw and check once for each sheet.
  template <class F>
  static void for_each_sheet(F body) {
    const unsigned char* sheets[] = {t_interface_dat, noise.data()};
    for (const unsigned char* pic : sheets) {
      use_sheet(pic);
      clear();
      body(pic);
    }
  }
  // Pixels of [x1, x2) by [y1, y2) off the canvas by more than rounding,
  // with the first named; fails too when the canvas is black there.
  static std::string differences(const canvas& want, int x1, int y1, int x2, int y2) {
    const int w = x2 - x1, h = y2 - y1;
    std::vector<unsigned char> got(w * h * 4);
    glReadBuffer(GL_BACK);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(x1, y1, w, h, GL_RGBA, GL_UNSIGNED_BYTE, got.data());
    int bad = 0, ink = 0;
    std::string first;
    for (int j = 0; j < h; ++j)
      for (int i = 0; i < w; ++i)
        for (int c = 0; c < 3; ++c) {
          const float e = want.rgb[((y1 + j) * W + x1 + i) * 3 + c] * 255;
          ink += e > 5;
          if (std::fabs(e - got[(j * w + i) * 4 + c]) > 2.5f && bad++ == 0)
            first = " first at " + std::to_string(x1 + i) + "," + std::to_string(y1 + j);
        }
    if (!ink) return "nothing to see";
    return bad ? std::to_string(bad) + " differ" + first : "";
  }
  static inline std::vector<unsigned char> noise;
};

TEST_F(TextGl, StringLandsWhereItsArithmeticSaysInItsColour) {
  for_each_sheet([](const unsigned char* pic) {
    // In a sub-window at (12, 7): left edge round(100.4 + 12) = 112, cells
    // from round(300.6 + 7) - 2 = 306, one advance apart. Slot 5 is
    // yellow; braces have no glyph and take no room.
    mnw.win_x = 12;
    mnw.win_y = 7;
    const std::string text = "Hello, {World} 0.5% \xF1!";
    OGL_string(5, 100.4f, 300.6f, text, text_no_wrap, charset_UI_diff_space);
    // Monospaced and wrapped: the second word a line lower at the left edge.
    OGL_string(0, 50 - 12, 500 - 7, "Mi 42", 30, charset_UI_mono_10);
    canvas want{pic};
    want.glyphs(text, 112, 306, 0, glyph_prop_s, 0);
    want.glyphs("Mi ", 50, 498, 10, glyph_mono_s);
    want.glyphs("42", 50, 488, 10, glyph_mono_s);
    EXPECT_EQ("", differences(want, 100, 296, 260, 325));
    EXPECT_EQ("", differences(want, 40, 480, 120, 515));
  });
}

}  // namespace
