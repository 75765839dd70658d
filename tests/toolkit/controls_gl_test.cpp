// Every control in its states under Xvfb, saved as build/controls.png (the
// copy in docs/ is what README shows), and read back where states differ.
#include <cstdlib>
#include <string>

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

class ControlsScreen : public GlSuite {};

TEST_F(ControlsScreen, EveryControlDrawsItsStates) {
  OGL_viewport_2d();
  mnw.win_dx = 1024;
  mnw.win_dy = 768;
  recall_ins_texes();
  colr_read_palette(scratch_array, sheet_interface_w, sheet_interface_h);
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

}  // namespace
