// The installer's main screen: one call is one frame. It draws everything
// from stg and the frame statics, and calls the stage work that the console
// shares; no stage logic lives here.
#pragma once
#include <string>

#include "app/stage_work.h"

// The maker's web store, opened by the Store button.
extern const char* const kStoreURL;

// One frame of the main screen (APP_update's whole body).
void main_screen_update();

// What the last frame showed, for whoever needs to read the screen back.
struct main_screen_shown {
  stage_text message;     // the one-line state message
  stage_lines lines;      // the three status lines
  int start_drawn = 0;
  int start_enabled = 0;
  int destination_drawn = 0;
};
extern main_screen_shown main_screen_last;

// The destination field's click box, edges included.
bool destination_field_hit(float x, float y);

// The progress bar's two strips: centre and width of each; fill_shown is 0
// when no fill is drawn.
struct progress_bar_strips {
  float track_cx = 0, track_w = 0;
  int fill_shown = 0;
  float fill_cx = 0, fill_w = 0;
};
progress_bar_strips progress_bar_layout(float base_x1, float base_x2, float r, int stage);
void draw_progress_bar(float base_x1, float base_x2, float r, int stage);

// The browser seam of the core: the shell's go_to_URL (xdg-open, never
// waited on; the address logged when there is none).
void app_go_to_URL(const std::string& url);
