// The changed-file question, window 997. It runs inside the one frame of
// choose_files, so it pumps the frame loop itself until a button is pressed.
#include "app/modal_screens.h"
#include "files/mnw.h"
#include "install/person.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "toolkit/controls.h"
#include "toolkit/draw.h"
#include "toolkit/frames.h"

namespace {

struct button_place {
  float x, y, width;
};
// In the order the buttons are tried; select_alert_text gives labels and
// answers in the same order.
const button_place kButtons[5] = {
    {96, 53, 160}, {96, 28, 160}, {308, 53, 260}, {308, 28, 260}, {584, 28, 200}};

}  // namespace

int question_screen(const std::string& path, int deleting) {
  const select_alert_texts& t = select_alert_text(deleting);
  MACIBM_startwind(997);
  for (;;) {
    if (mnw.win_now != 997) return select_cancel;
    modal_texts_shown.clear();
    OGL_plot_back_col();
    BTN_fillwin(1, 21);
    const float wrap = mnw.win_dx - 40;
    modal_text(42, 20, 100, t.first, wrap);
    modal_text(42, 20, 90, path, wrap);
    modal_text(42, 20, 80, t.second, wrap);
    for (int i = 0; i < 5; ++i) {
      const button_place& b = kButtons[i];
      if (BTN_action(b.x, b.y, b.width, 0, 1, t.labels[i])) {
        MACIBM_startwind(0);
        return t.answers[i];
      }
    }
    MACIBM_event_proc();
  }
}
