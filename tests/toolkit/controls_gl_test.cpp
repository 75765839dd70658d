// The two screens README shows, saved in build/: controls.png, read back
// where states differ, and toolkit_screen.png, where every piece must draw
// over the background (missing from the pictures, or cut from the wrong place).
#include <cstdlib>
#include <string>

#include "app/interface.h"
#include "gl_suite.h"
#include "shell/hooks.h"
#include "shell/menus.h"
#include "toolkit/colours.h"
#include "toolkit/controls.h"
#include "toolkit/entry.h"
#include "toolkit/frames.h"
#include "toolkit/sheet.h"
#include "toolkit/text.h"
#include "toolkit/toolkit.h"

namespace {

void point_at(float x, float y, int down) {
  mnw.mouse_x = x;
  mnw.mouse_y = y;
  mnw.mouse_down = down;
}

void draw_controls_screen() {
  OGL_plot_back_col();
  mnw.menu_open = -1;
  mnw.mouse_click = 0;
  point_at(0, 0, 0);
  int tab = 1;
  BTN_tab(0, 0, &tab, 0, "General");
  BTN_tab(1, 0, &tab, 1, "Selected");
  BTN_tab(2, 0, &tab, 2, "Other");

  BTN_frame2(13, 10, 380, 320, 300, "Buttons and boxes");
  BTN_action(90, 630, 120, 0, 0, "Up");
  BTN_action(240, 630, 120, 1, 0, "Down");
  BTN_action(90, 590, 120, 1, 2, "Pressed");
  BTN_action(240, 590, 0, 0, 0, "Fitted");
  int off = 0, on = 1, radio = 2;
  BTN_bool(40, 530, &off, "|unchecked", 0);
  BTN_bool(40, 500, &on, "|checked{help", 0);
  BTN_is_int(190, 530, &radio, 1, "|radio off");
  BTN_is_int(190, 500, &radio, 2, "|radio on");

  BTN_frame2(13, 350, 380, 320, 300, "Number fields");
  float f = 123.45f, fi = -42;
  int i = 2026;
  char chars[7] = "Zephyr";
  point_at(470, 620, 0);
  BTN_flt_range(460, 620, &f, 5, 2, 0, 999, "Pointer over");
  BTN_int_range(460, 560, &i, 4, 0, 9999, "Plain");
  BTN_flt_rangeij(560, 560, &fi, 3, 0, -99, 99, "");
  BTN_display_number(460, 500, 3.5f, 4, 1, "Read-only");
  point_at(470, 440, 0);
  BTN_chars(460, 440, chars, 6, "Characters");
  point_at(0, 0, 0);

  BTN_frame2(13, 690, 380, 324, 300, "Lists");
  int closed = 0;
  BTN_textlist(860, 630, &closed, "Apple Pear Plum-Tree", "Closed");
  OGL_boxed_string(800, 420, "boxed text", 150, "Boxed");

  BTN_frame2(13, 10, 10, 500, 350, "Sliders");
  float free_v = 3, held_v = 0, bar = 0.6f;
  BTN_horz_slider(110, 240, 250, 46, 0, 10, &free_v, 1, "", "Free");
  point_at(310, 300, 1);
  BTN_horz_slider(110, 300, 250, 46, 0, 10, &held_v, 1, "held", "Held");
  point_at(0, 0, 0);
  BTN_horz_slider(110, 180, 250, 46, 0, 1, &bar, 0, "60 percent", "Progress");
  int v_free = 30, v_held = 70;
  BTN_vert_slider(0, 420, 60, 320, 0, 100, &v_free);
  point_at(470, 320 - 10 + (69.0f - 310) / 100 * 70, 1);
  BTN_vert_slider(1, 470, 60, 320, 0, 100, &v_held);
  point_at(0, 0, 0);

  BTN_frame2(13, 530, 10, 484, 350, "Text fields");
  std::string typed = "typed text", other = "no focus";
  mnw.text_focus = 0;
  mnw.pulse = 1;
  stl_input = typed;
  BTN_enterstring(640, 300, &typed, 40, 0, "Focus");
  BTN_enterstring(640, 260, &other, 40, 1, "Other");

  // Last: an open list makes every control after it inert.
  int open = 2;
  active_popup_code = 500 * 1024 + 860;
  BTN_textlist(860, 500, &open, "North East South West", "Open");
  point_at(870, 502, 0);   // over "South"
  if (mnw.menu_open != -1 && shell_hooks.draw_menus) shell_hooks.draw_menus();
  mnw.menu_open = -1;
  mnw.text_focus = -1;
  active_popup_code = 0;
}

// The window's size and the built-in pictures and palette, as at start-up.
void prepare_screen() {
  OGL_viewport_2d();
  mnw.win_dx = 1024;
  mnw.win_dy = 768;
  recall_ins_texes();
  colr_read_palette(scratch_array, sheet_interface_w, sheet_interface_h);
}

class ControlsScreen : public GlSuite {};

TEST_F(ControlsScreen, EveryControlDrawsItsStates) {
  prepare_screen();
  TOOLKIT_install_hooks();
  glDrawBuffer(GL_BACK);
  draw_controls_screen();
  glFinish();

  // The hovered row is lit from its lower edge to a pixel short of its top,
  // the edge it shares with the row above.
  const item_struct& lit = menu[popup_menu].items[2];
  const struct {
    const char* what;
    int x1, y1, x2, y2;   // the same spot of two states
  } pairs[] = {
      {"check mark", 40, 534, 40, 504},
      {"button down", 60, 638, 210, 638},
      {"held knob", 420, 238, 470, 141},
      {"open pop-up", 876, 530, 876, 540},
      {"caret", 640 + int(text_width("typed text")) + 1, 303,
       640 + int(text_width("typed text")) + 4, 303},
      {"lit row", lit.x2 - 2, lit.y1, lit.x2 - 2, lit.y1 - 1},
      {"lit row's top", lit.x2 - 2, lit.y2 - 2, lit.x2 - 2, lit.y2 - 1},
  };
  for (const auto& p : pairs) {
    const std::vector<int> a = rgb_at(p.x1, p.y1), b = rgb_at(p.x2, p.y2);
    EXPECT_GT(std::abs(a[0] - b[0]) + std::abs(a[1] - b[1]) + std::abs(a[2] - b[2]), 30) << p.what;
  }

  OGL_screenshot(0);
  EXPECT_EQ(1, write_png_to_disk(std::string(ZEPHYRA_BINARY_DIR) + "/controls.png", 1024, 768, 3));
}

struct piece {
  std::string name;
  float x1, y1, x2, y2;   // screen box where it must leave ink
};

std::vector<piece> draw_test_screen() {
  std::vector<piece> p;
  OGL_plot_back_col();

  const int panels[] = {11, 12, 13, 14, 15, 16, 17, 20};
  for (int i = 0; i < 8; ++i) {
    const float x = 8 + 126 * i, y = 600;
    BTN_frame2(panels[i], x, y, 118, 100, "type " + std::to_string(panels[i]));
    p.push_back({"panel " + std::to_string(panels[i]), x, y, x + 118, y + 100});
  }

  BTN_frame1(0, 256, 740, 500, 0);
  p.push_back({"menu bar", 8, 730, 504, 750});
  BTN_frame1(1, 768, 740, 500, 0);
  p.push_back({"title bar", 520, 730, 1016, 750});

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

  OGL_2dquad_d(tex_back_1, 0, 1, 10, 10, 0, 0, 200, 150, 1, 0.75f, alpha_none);
  p.push_back({"background 1", 10, 10, 210, 160});
  OGL_2dquad_d(tex_back_2, 0, 1, 220, 10, 0, 0, 200, 150, 1, 0.75f, alpha_none);
  p.push_back({"background 2", 220, 10, 420, 160});

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
  prepare_screen();

  glDrawBuffer(GL_BACK);
  const std::vector<piece> pieces = draw_test_screen();
  glFinish();
  glReadBuffer(GL_BACK);
  OGL_screenshot(0);   // the picture into scratch_array, bottom row first
  std::vector<unsigned char> rgb(scratch_array, scratch_array + 1024 * 768 * 3);

  const std::string out = std::string(ZEPHYRA_BINARY_DIR) + "/toolkit_screen.png";
  ASSERT_EQ(1, write_png_to_disk(out, 1024, 768, 3));
  ASSERT_EQ(1, load_png_into_scratch(out, 3));
  EXPECT_EQ((std::vector<int>{1024, 768}), (std::vector<int>{scratch_dx, scratch_dy}));
  EXPECT_TRUE(std::equal(rgb.begin(), rgb.end(), scratch_array)) << "saved picture differs";

  unsigned char back[3];
  for (int c = 0; c < 3; ++c) back[c] = static_cast<unsigned char>(colr.col[33][c] * 255 + 0.5f);
  for (const piece& p : pieces) EXPECT_GT(ink_in(rgb, back, p), 0) << p.name << " drew nothing";
}

}  // namespace
