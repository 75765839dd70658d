#include "app/modal_screens.h"

#include "files/alert.h"
#include "install/person.h"
#include "toolkit/text.h"

std::vector<std::string> modal_texts_shown;

void modal_text(int col, float x, float y, const std::string& text, float wrap) {
  modal_texts_shown.push_back(text);
  OGL_string(col, x, y, text, wrap, charset_UI_diff_space);
}

void APP_install_modal_screens() {
  alert_hooks.show_screen = alert_screen;
  person_hooks.dir_progress_bar = scan_panel;
  person_hooks.select_alert = question_screen;
  person_hooks.handle_EULA = handle_EULA;
  person_hooks.handle_prefs = handle_prefs;
}
