// The installer's modal screens: the alert, the changed-file question, the
// scan panel, the agreement and the preferences. Each runs its own loop and
// pumps the frame itself, so the main screen stands still while one is up.
// The console road keeps the core's own answers.
#pragma once
#include <string>
#include <vector>

// Fills the core's seams (person_hooks, alert_hooks) with the window's
// screens. Call once the window and drawing are up.
void APP_install_modal_screens();

// The alert screen, window 995: level 0 the language chooser, 1 a warning,
// 2 fatal (the place text shows; the call returns for the caller to end the
// process). Returns when the user accepts.
void alert_screen(int window, const std::string lines[4], int level, const std::string& place);
// The word on the alert's button and its language heading, in the language
// of mnw.lang.
const char* alert_accept_word(int lang);
const char* alert_language_word(int lang);

// The changed-file question, window 997; answers 1 to 5 by the position of
// the button pressed, 3 when the screen was closed.
int question_screen(const std::string& path, int deleting);

// The scan's progress panel, painted and shown at once outside the frame loop.
void scan_panel(float low, float value, float high, int mode, const std::string& top_text,
                const std::string& bottom_text);

// The agreement, window 1: 1 when the user agreed, now or earlier in the run.
int handle_EULA();
// Forgets an earlier answer, for a fresh run in the same process.
void handle_EULA_forget();
// The preferences, window 2: the live fields of stg and http, until closed.
void handle_prefs();

// The texts the last frame of a modal screen put up, in drawing order, for
// whoever needs to read the screen back.
extern std::vector<std::string> modal_texts_shown;
// Draws a text of a modal screen (charset 100) and notes it in modal_texts_shown.
void modal_text(int col, float x, float y, const std::string& text, float wrap);
