// The scan's progress panel. The scan holds the frame for its whole length,
// so the panel paints the window and shows it at once, with no frame loop.
#include "app/modal_screens.h"
#include "files/mnw.h"
#include "install/person.h"
#include "shell/pump.h"
#include "toolkit/draw.h"
#include "toolkit/frames.h"
#include "toolkit/sheet.h"

void scan_panel(float low, float value, float high, int mode, const std::string& top_text,
                const std::string& bottom_text) {
  modal_texts_shown.clear();
  OGL_2dquad_d(tex_back_1, 0, 1, 0, 0, 0, 0, mnw.win_dx, mnw.win_dy, 1, 0.75f, alpha_none);
  const float w = 512, h = 138;
  const float x = (mnw.win_dx - w) / 2, y = (mnw.win_dy - h) / 2;
  BTN_frame2(13, x, y, w, h, "");

  const float x1 = x + 30, x2 = x + 482, fill = dir_progress_fill(low, value, high) * (x2 - x1);
  BTN_frame1(4, (x1 + x2) / 2, y + 35, x2 - x1, 0);
  BTN_frame1(5, x1 + fill / 2, y + 35, fill, 0);

  modal_text(42, x + 32, y + 100, top_text, 462);
  modal_text(42, x + 32, y + 80, dir_progress_mode_text(mode), 462);
  modal_text(42, x + 32, y + 60, bottom_text, 462);
  OGL_sbuf();
}
