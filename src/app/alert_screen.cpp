// The alert screen, window 995: its own loop until the user accepts, with
// the frame pump run from inside, so it works in the middle of any work.
#include <GL/gl.h>

#include "app/modal_screens.h"
#include "files/mnw.h"
#include "shell/pump.h"
#include "shell/window.h"
#include "toolkit/controls.h"
#include "toolkit/draw.h"
#include "toolkit/frames.h"

namespace {

const char* const kLanguages[6] = {"|English", "|French",  "|German",
                                   "|Italian", "|Spanish", "|Portuguese"};
const char* const kAccept[6] = {"Accept", "Accepter", "Akzeptieren", "Accetta", "Aceptar", "Aceitar"};
const char* const kLanguage[6] = {"Language:", "Langue:", "Sprache:", "Lingua:", "Idioma:", "Idioma:"};

// The caller may have been drawing when the alert came: close what it had
// open and forget its errors, so the screen starts from a clean state.
void end_open_drawing() {
  if (OGL_live()) {
    glEnd();
    glEndList();
    for (int i = 0; i < 30; ++i) glGetError();
  }
  OGL_nrml_colors();
}

}  // namespace

const char* alert_accept_word(int lang) { return lang >= 0 && lang < 6 ? kAccept[lang] : "Accept"; }

const char* alert_language_word(int lang) {
  return lang >= 0 && lang < 6 ? kLanguage[lang] : "Language:";
}

void alert_screen(int window, const std::string lines[4], int level, const std::string& place) {
  end_open_drawing();
  const float saved_x = mnw.win_x, saved_y = mnw.win_y;
  MACIBM_startwind(995);
  while (mnw.win_now == 995) {
    modal_texts_shown.clear();
    OGL_plot_back_col();
    BTN_fillwin(1, 21);
    const float w = mnw.win_dx;
    if (level == 0) {
      modal_text(42, w / 2 - 33, 198, alert_language_word(mnw.lang), 9999);
      for (int i = 0; i < 6; ++i) BTN_is_int(w / 2 - 25, 180 - 20 * i, &mnw.lang, i, kLanguages[i]);
    } else {
      const float ys[4] = {195, 155, 115, 75};
      for (int i = 0; i < 4; ++i) modal_text(42, 10, ys[i], lines[i], w - 20);
      if (level == 2) modal_text(42, 10, 35, place, w - 20);
    }
    if (BTN_action(w / 2, 18, 0, 0, 1, alert_accept_word(mnw.lang)) || return_hit) {
      return_hit = 0;
      // The fatal level ends the process in the caller.
      if (level == 2) return;
      MACIBM_startwind(window);
      mnw.win_x = saved_x;
      mnw.win_y = saved_y;
      return;
    }
    MACIBM_event_proc();
  }
}
