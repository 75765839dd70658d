// Bringing the process from nothing to a first picture, and taking it down.
#pragma once
#include <string>

extern float randrat[10000];    // rand() results scaled to 0..1
extern float lookup_sin[361];   // by whole degree
extern float lookup_cos[361];

// Returns 1 when the window is up; 0 when no X display could be opened, after
// saying so in one line on stderr (the caller then ends or runs without a window).
int MACIBM_init(int argc, char const* const* argv);
void MACIBM_set_app_path(std::string* out);
void MACIBM_show_init(const std::string& text, float* fraction);
// Where the start-up bar ends for a fraction (null: the call counter).
float MACIBM_init_bar_end(const float* fraction);
void MACIBM_setupforlang();
// The folder prefix of the language files for a language number.
std::string MACIBM_lang_prefix(int lang);
void MACIBM_finishup(int save);
void IBM_turnoff();

// Opens a link in the desktop's browser with xdg-open, without waiting.
// Returns 0, the errno of a failed fork, or ENOENT (the address logged) when
// there is no xdg-open.
int go_to_URL(const std::string& url);
// The line printed when there is no display to open.
std::string LIN_no_display_text();
