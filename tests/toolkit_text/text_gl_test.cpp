// Text, numbers, strips and installer buttons against real GL: a private
// Xvfb with Mesa, pixels read back from the back buffer and compared with
// what the built-in pictures' own texels give, so the checks hold whatever
// the pictures look like.
#include <gtest/gtest.h>

#include <GL/gl.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "app/interface.h"
#include "files/mnw.h"
#include "shell/glprobe.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/builtin_images.h"
#include "toolkit/draw.h"
#include "toolkit/frames.h"
#include "toolkit/sheet.h"
#include "toolkit/text.h"
#include "toolkit/textures.h"
#include "xvfb.h"

namespace {

enum { W = 1024, H = 768 };

// What the window should hold: colours 0..1, composited in drawing order.
struct canvas {
  std::vector<float> rgb = std::vector<float>(W * H * 3, 0.0f);

  // Blends a w by h piece of a picture (rows bottom up, 4 bytes a pixel) at
  // (x, y), tinted by r, g, b, as source-alpha blending does.
  void blit(const unsigned char* pic, int pic_w, int pic_h, int x, int y, int s, int t, int w,
            int h, float r, float g, float b) {
    const float tint[3] = {r, g, b};
    for (int j = 0; j < h; ++j)
      for (int i = 0; i < w; ++i) {
        const int px = x + i, py = y + j;
        if (px < 0 || py < 0 || px >= W || py >= H) continue;
        const int ss = ((s + i) % pic_w + pic_w) % pic_w, tt = ((t + j) % pic_h + pic_h) % pic_h;
        const unsigned char* p = pic + (static_cast<size_t>(tt) * pic_w + ss) * 4;
        const float a = p[3] / 255.0f;
        for (int c = 0; c < 3; ++c) {
          float& d = rgb[(static_cast<size_t>(py) * W + px) * 3 + c];
          d = p[c] / 255.0f * tint[c] * a + d * (1 - a);
        }
      }
  }
  const unsigned char* sheet = t_interface_dat;
  void glyph(char ch, int x, int y, int s0, float r, float g, float b) {
    int col = 0, row = 0;
    text_cell(static_cast<unsigned char>(ch), &col, &row);
    blit(sheet, 512, 512, x, y, s0 + col * glyph_cell_w, row * glyph_cell_h,
         glyph_cell_w, glyph_cell_h, r, g, b);
  }
};

class TextGl : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    server = new xvfb_class;
    ASSERT_TRUE(server->start(W, H)) << "Xvfb did not start";
    shell_test_reset();
    MACIBM_setres(1);
    ASSERT_EQ(1, MACIBM_make_context(0));
    glGetIntegerv(GL_MAX_TEXTURE_UNITS, &ren.max_tex_units);
    recall_ins_texes();
  }
  static void TearDownTestSuite() {
    delete server;
    server = nullptr;
  }
  void SetUp() override {
    ASSERT_TRUE(OGL_live());
    mnw.win_now = 0;
    mnw.win_x = mnw.win_y = 0;
    mnw.menu_open = -1;
    mnw.mouse_click = mnw.mouse_down = 0;
    mnw.mouse_x = mnw.mouse_y = -100;
    OGL_pix_specs(0);
    OGL_viewport_2d();
    glDisable(GL_SCISSOR_TEST);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
  }

  // Pixels of the box [x1, x2) by [y1, y2) that differ from the canvas by
  // more than rounding; the first few are named in *where.
  static int differences(const canvas& want, int x1, int y1, int x2, int y2, std::string* where) {
    const int w = x2 - x1, h = y2 - y1;
    std::vector<unsigned char> got(static_cast<size_t>(w) * h * 4);
    glReadBuffer(GL_BACK);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(x1, y1, w, h, GL_RGBA, GL_UNSIGNED_BYTE, got.data());
    int bad = 0;
    for (int j = 0; j < h; ++j)
      for (int i = 0; i < w; ++i)
        for (int c = 0; c < 3; ++c) {
          const float e = want.rgb[(static_cast<size_t>(y1 + j) * W + x1 + i) * 3 + c] * 255;
          const int g = got[(static_cast<size_t>(j) * w + i) * 4 + c];
          if (std::fabs(e - g) > 2.5f) {
            if (++bad <= 3)
              *where += " (" + std::to_string(x1 + i) + "," + std::to_string(y1 + j) + ") c" +
                        std::to_string(c) + " want " + std::to_string(e) + " got " +
                        std::to_string(g);
            break;
          }
        }
    return bad;
  }
  // Pixels of the box where the canvas is not black: the check means something.
  static int ink(const canvas& want, int x1, int y1, int x2, int y2) {
    int n = 0;
    for (int y = y1; y < y2; ++y)
      for (int x = x1; x < x2; ++x)
        for (int c = 0; c < 3; ++c)
          if (want.rgb[(static_cast<size_t>(y) * W + x) * 3 + c] > 0.02f) {
            ++n;
            break;
          }
    return n;
  }
  // Puts a picture in place of the interface sheet (texture 375).
  static void use_sheet(const unsigned char* pic) {
    memcpy(scratch_array, pic, 512 * 512 * 4);
    scratch_dx = scratch_dy = 512;
    tman.load_texture(tex_fail_fatal, tex_interface, tex_col_rgba, tex_load_now,
                      "scratch_array:test sheet");
  }
  // The built-in sheet, then a sheet of noise: plain pieces of a picture
  // can hide a wrong column, noise can't.
  static std::vector<const unsigned char*> sheets() {
    static std::vector<unsigned char> noise;
    if (noise.empty()) {
      noise.resize(512 * 512 * 4);
      unsigned state = 12345;
      for (unsigned char& b : noise) {
        state = state * 1103515245u + 12345u;
        b = static_cast<unsigned char>(state >> 16);
      }
    }
    return {t_interface_dat, noise.data()};
  }
  void TearDown() override { use_sheet(t_interface_dat); }
  static xvfb_class* server;
};
xvfb_class* TextGl::server = nullptr;

TEST_F(TextGl, StringLandsWhereItsArithmeticSaysInItsColour) {
  for (const unsigned char* sheet : sheets()) {
    use_sheet(sheet);
    // In a sub-window at (12, 7): left edge round(100.4 + 12) = 112, cells
    // from round(300.6 + 7) - 2 = 306, each character one advance on. Slot 5
    // is yellow; the braces have no glyph and take no room.
    SetUp();
    mnw.win_x = 12;
    mnw.win_y = 7;
    const std::string text = "Hello, {World} 0.5% \xF1!";
    OGL_string(5, 100.4f, 300.6f, text, text_no_wrap, charset_UI_diff_space);
    canvas want;
    want.sheet = sheet;
    int x = 112;
    for (char c : text) {
      want.glyph(c, x, 306, glyph_prop_s, 1, 1, 0);
      x += text_advance(static_cast<unsigned char>(c));
    }
    std::string where;
    EXPECT_EQ(0, differences(want, 100, 296, x + 20, 325, &where)) << where;
    EXPECT_GT(ink(want, 100, 296, x + 20, 325), 0);

    // Monospaced, wrapped: the second word starts a line 10 lower at the left edge.
    SetUp();
    OGL_string(0, 50, 500, "Mi 42", 30, charset_UI_mono_10);
    canvas mono;
    mono.sheet = sheet;
    mono.glyph('M', 50, 498, glyph_mono_s, 1, 1, 1);
    mono.glyph('i', 60, 498, glyph_mono_s, 1, 1, 1);
    mono.glyph(' ', 70, 498, glyph_mono_s, 1, 1, 1);
    mono.glyph('4', 50, 488, glyph_mono_s, 1, 1, 1);
    mono.glyph('2', 60, 488, glyph_mono_s, 1, 1, 1);
    where.clear();
    EXPECT_EQ(0, differences(mono, 40, 480, 120, 515, &where)) << where;
  }
}

TEST_F(TextGl, NumbersDrawDigitsPointCommasAndTheOverflowForm) {
  for (const unsigned char* sheet : sheets()) {
    use_sheet(sheet);
    SetUp();
    canvas want;
    want.sheet = sheet;
    // 1234567.5 in nine digits with one decimal, steps of 10 from x = 200:
    // 01,234,567.5, the point and commas half-way between digit cells.
    OGL_number(0, 200, 400, 1234567.5f, 9, 1, charset_UI_mono_10);
    want.glyph('.', 275, 398, glyph_mono_s, 1, 1, 1);
    want.glyph(',', 245, 398, glyph_mono_s, 1, 1, 1);
    want.glyph(',', 215, 398, glyph_mono_s, 1, 1, 1);
    const char* digits = "012345675";
    for (int i = 0; i < 9; ++i) want.glyph(digits[i], 200 + 10 * i, 398, glyph_mono_s, 1, 1, 1);

    // 12345678 in four digits of 6: 1.23 x 10^7, the point 2 right of
    // the half cell and 1 down.
    OGL_number(0, 200, 300, 12345678.f, 4, 0, charset_UI_mono_6);
    want.glyph('.', 205, 297, glyph_mono_s, 1, 1, 1);
    const char* over = "123x7";
    for (int i = 0; i < 5; ++i) want.glyph(over[i], 200 + 6 * i, 298, glyph_mono_s, 1, 1, 1);

    // A sign one pixel into the cell before the field.
    OGL_number(0, 500, 300, -42.25f, 5, 2, charset_UI_mono_6);
    want.glyph('-', 495, 298, glyph_mono_s, 1, 1, 1);
    want.glyph('.', 515, 298, glyph_mono_s, 1, 1, 1);
    const char* neg = "04225";
    for (int i = 0; i < 5; ++i) want.glyph(neg[i], 500 + 6 * i, 298, glyph_mono_s, 1, 1, 1);

    std::string where;
    EXPECT_EQ(0, differences(want, 180, 280, 560, 420, &where)) << where;
    EXPECT_GT(ink(want, 180, 390, 300, 420), 0);
    EXPECT_GT(ink(want, 180, 280, 260, 320), 0);
  }
}

TEST_F(TextGl, StripsAreTiledFromTheirSourceColumnForColumn) {
  const float widths[] = {31, 64, 131, 257};
  for (const unsigned char* sheet : sheets()) {
    use_sheet(sheet);
    for (const strip_source& s : frame1_strips)
      for (float w : widths) {
        SetUp();
        const float cy = 400;
        BTN_frame1(s.type, 301, cy, w, 0);
        // Even width, even centre; 9 and 10 four wider, 0 and 1 three lower.
        const float wide = (s.type == 9 || s.type == 10) ? w + 4 : w;
        const int sw = 2 * static_cast<int>(std::lround(wide / 2));
        const int left = 302 - sw / 2, right = left + sw;
        const int bottom = static_cast<int>(cy) - s.height / 2 - ((s.type <= 1) ? 3 : 0);
        const int rcap = s.total - s.body_end, tile = s.body_end - s.cap;
        canvas want;
        // Left cap, whole tiles of the body, right cap on top where they meet.
        auto column = [&](int x, int src) {
          want.blit(sheet, 512, 512, x, bottom, s.s + src, s.t, 1, s.height, 1, 1, 1);
        };
        for (int x = left; x < right; ++x) {
          if (x - left < s.cap)
            column(x, x - left);
          else if (right - x > rcap)
            column(x, s.cap + (x - left - s.cap) % tile);
          if (right - x <= rcap) column(x, s.body_end + (x - (right - rcap)));
        }
        std::string where;
        EXPECT_EQ(0, differences(want, left - 4, bottom - 4, right + 4, bottom + s.height + 4,
                                 &where))
            << "type " << s.type << " width " << w << where;
      }
  }
}

TEST_F(TextGl, InstallerButtonsFollowThePointerInTheirTint) {
  const sheet_button& b = installer_buttons[0];
  canvas want;
  // At rest, white; under the pointer the next cell down, green; pressed
  // the one below that, red.
  interface_rect(100, 100, b.u, b.v, b.w, b.h, 1, 0);
  want.blit(t_installer_dat, sheet_installer_w, sheet_installer_h, 100, 100, b.u, b.v, b.w, b.h, 1,
            1, 1);
  mnw.mouse_x = 105;
  mnw.mouse_y = 205;
  interface_rect(100, 200, b.u, b.v, b.w, b.h, 1, 1);
  want.blit(t_installer_dat, sheet_installer_w, sheet_installer_h, 100, 200, b.u, b.v - b.h - 1,
            b.w, b.h, 0.8f, 1, 0.8f);
  mnw.mouse_x = 105;
  mnw.mouse_y = 305;
  mnw.mouse_down = 1;
  interface_rect(100, 300, b.u, b.v, b.w, b.h, 1, 2);
  want.blit(t_installer_dat, sheet_installer_w, sheet_installer_h, 100, 300, b.u,
            b.v - 2 * (b.h + 1), b.w, b.h, 1, 0.8f, 0.8f);
  std::string where;
  EXPECT_EQ(0, differences(want, 90, 90, 100 + b.w + 10, 300 + b.h + 10, &where)) << where;
  EXPECT_GT(ink(want, 100, 100, 100 + b.w, 300 + b.h), 0);
}

}  // namespace
