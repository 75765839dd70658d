// A test screen with every frame type, strip, panel, text form and picture
// of the toolkit, saved as build/toolkit_screen.png for a person to look at.
// It fails when a piece draws nothing over the background: missing from the
// pictures, or cut from the wrong place.
#include <string>

#include "app/interface.h"
#include "gl_suite.h"
#include "shell/hooks.h"
#include "toolkit/colours.h"
#include "toolkit/frames.h"
#include "toolkit/sheet.h"
#include "toolkit/text.h"
#include "toolkit/toolkit.h"

namespace {

struct piece {
  std::string name;
  float x1, y1, x2, y2;   // screen box where it must leave ink
};

std::vector<piece> draw_test_screen() {
  std::vector<piece> p;
  OGL_plot_back_col();

  // Sub-window panels, one of each type, with titles.
  const int panels[] = {11, 12, 13, 14, 15, 16, 17, 20};
  for (int i = 0; i < 8; ++i) {
    const float x = 8 + 126 * i, y = 600;
    BTN_frame2(panels[i], x, y, 118, 100, "type " + std::to_string(panels[i]));
    p.push_back({"panel " + std::to_string(panels[i]), x, y, x + 118, y + 100});
  }

  // Bars across the top: menu bar and title bar.
  BTN_frame1(0, 256, 740, 500, 0);
  p.push_back({"menu bar", 8, 730, 504, 750});
  BTN_frame1(1, 768, 740, 500, 0);
  p.push_back({"title bar", 520, 730, 1016, 750});

  // Strips in three widths each, to show the tiling.
  const int strips[] = {2, 3, 4, 5, 7, 8, 9, 10};
  const float widths[] = {40, 120, 220};
  for (int r = 0; r < 8; ++r) {
    const float y = 560 - 34 * r;
    float cx = 30;
    OGL_string(0, 8, y - 4, std::to_string(strips[r]), text_no_wrap, charset_UI_diff_space);
    for (float w : widths) {
      cx += w / 2 + 14;
      BTN_frame1(strips[r], cx, y, w, strips[r] == 8 ? 46 : 0);
      p.push_back({"strip " + std::to_string(strips[r]) + " width " + std::to_string(int(w)),
                   cx - w / 2 + 2, y - 6, cx + w / 2 - 2, y + 6});
      cx += w / 2;
    }
  }
  BTN_util_draw_label(118, 556, 1, "Button", 0);
  BTN_util_draw_label(118, 522, 1, "Pressed", 1);

  // The vertical strip.
  BTN_frame0(6, 490, 300, 260);
  p.push_back({"vertical strip", 492, 320, 504, 540});

  // Text: the whole grid, numbers, the grey box.
  std::string all;
  for (int c = 32; c < 256; ++c)
    if (text_advance(static_cast<unsigned char>(c))) all += static_cast<char>(c);
  OGL_string(0, 530, 560, all, 480, charset_UI_diff_space);
  p.push_back({"text", 530, 520, 1000, 570});
  OGL_number(0, 540, 470, 1234567.5f, 9, 1, charset_UI_mono_10);
  OGL_number(0, 760, 470, 123456789.f, 4, 0, charset_UI_mono_10);
  OGL_number(0, 900, 470, -42.25f, 5, 2, charset_UI_mono_6);
  p.push_back({"numbers", 530, 465, 1000, 482});
  OGL_gray_string(0, 760, 440, "A grey box behind a string");
  p.push_back({"grey string", 680, 436, 840, 448});

  // The installer sheet: buttons in their three states, artwork, icon frames.
  const float state_x[] = {530, 680, 830};
  const char* const state_name[] = {"as drawn", "pointer over", "pressed"};
  for (int k = 0; k < 3; ++k)
    OGL_string(0, state_x[k], 426, state_name[k], text_no_wrap, charset_UI_diff_space);
  for (int b = 0; b < 6; ++b) {
    const sheet_button& s = installer_buttons[b];
    for (int k = 0; k < 3; ++k) {
      const float x = state_x[k], y = 400 - 28 * b;
      interface_rect(x, y, s.u, s.v - k * (s.h + 1), s.w, s.h, 0, 0);
      p.push_back({std::string(s.label) + " state " + std::to_string(k), x, y, x + s.w, y + s.h});
    }
  }
  interface_rect(530, 10, installer_artwork.s, installer_artwork.t, installer_artwork.w,
                 installer_artwork.h, 0, 0);
  interface_icon(559, 23, icon_rest);
  p.push_back({"artwork", 530, 10, 658, 96});
  for (int i = 0; i < icon_frames; ++i) {
    const float x = 670 + (i % 8) * 42, y = 56 - (i / 8) * 46;
    OGL_2dquad_d(tex_installer, 0, 1, x, y, 64.0f * ((i + 8) % 8) / 1024,
                 (64.0f * ((i + 8) / 8) + icon_t0) / 1024, 40, 40, 64.0f / 1024, 64.0f / 1024,
                 alpha_blend);
    p.push_back({"icon frame " + std::to_string(i + 8), x, y, x + 40, y + 40});
  }

  // The two backgrounds, small.
  OGL_2dquad_d(tex_back_1, 0, 1, 10, 10, 0, 0, 200, 150, 1, 0.75f, alpha_none);
  p.push_back({"background 1", 10, 10, 210, 160});
  OGL_2dquad_d(tex_back_2, 0, 1, 220, 10, 0, 0, 200, 150, 1, 0.75f, alpha_none);
  p.push_back({"background 2", 220, 10, 420, 160});

  // Close corners at the window's top.
  BTN_zap_boxes(0);
  p.push_back({"close corner", 7, mnw.win_dy - 28, 25, mnw.win_dy - 10});
  return p;
}

// How many pixels of the box differ from the background colour.
int ink_in(const std::vector<unsigned char>& rgb, const unsigned char back[3], const piece& b) {
  int n = 0;
  for (int y = int(b.y1); y < int(b.y2); ++y)
    for (int x = int(b.x1); x < int(b.x2); ++x) {
      const unsigned char* px = &rgb[(y * 1024 + x) * 3];
      if (abs(px[0] - back[0]) + abs(px[1] - back[1]) + abs(px[2] - back[2]) > 12) ++n;
    }
  return n;
}

class TestScreen : public GlSuite {};

TEST_F(TestScreen, EveryPieceDrawsAndTheScreenIsSaved) {
  OGL_viewport_2d();
  mnw.win_dx = 1024;
  mnw.win_dy = 768;
  recall_ins_texes();
  colr_read_palette(scratch_array, sheet_interface_w, sheet_interface_h);

  glDrawBuffer(GL_BACK);
  const std::vector<piece> pieces = draw_test_screen();
  glFinish();
  glReadBuffer(GL_BACK);
  OGL_screenshot(0);   // the picture into scratch_array, bottom row first
  std::vector<unsigned char> rgb(scratch_array, scratch_array + 1024 * 768 * 3);

  const std::string out = std::string(ZEPHYRA_BINARY_DIR) + "/toolkit_screen.png";
  ASSERT_EQ(1, write_png_to_disk(out, 1024, 768, 3));
  ASSERT_EQ(1, load_png_into_scratch(out, 3));
  EXPECT_EQ(1024, scratch_dx);
  EXPECT_EQ(768, scratch_dy);
  EXPECT_TRUE(std::equal(rgb.begin(), rgb.end(), scratch_array)) << "saved picture differs";

  unsigned char back[3];
  for (int c = 0; c < 3; ++c) back[c] = static_cast<unsigned char>(colr.col[33][c] * 255 + 0.5f);
  for (const piece& p : pieces) EXPECT_GT(ink_in(rgb, back, p), 0) << p.name << " drew nothing";
}

}  // namespace
