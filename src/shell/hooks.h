// What the shell calls outside itself. The application's three hooks are
// plain functions the program defines; the drawing toolkit and the app fill
// shell_hooks at start, so the shell links without them and tests can run
// the pump with none.
#pragma once
#include <string>

// The application, called by the pump. Every program linking the shell
// defines these (they may be empty).
void APP_update();
void APP_handlekey(int mode, int code);
void APP_handlemenu(int id);

struct shell_hooks_t {
  // Drawing toolkit. A null entry is skipped.
  void (*viewport_2d)() = nullptr;               // the 2-D projection over the window
  void (*pix_specs)(int which) = nullptr;        // screen metrics of mnw from the window size
  void (*load_builtin_images)() = nullptr;       // the built-in textures
  void (*init_colours)() = nullptr;              // interface colours read from the images
  void (*set_blink_colours)(float pulse) = nullptr;
  void (*check_textures)() = nullptr;            // texture-failure alerts, main screen only
  void (*draw_menus)() = nullptr;                // menu bar and open menu, over the frame
  float (*text_width)(const std::string& text) = nullptr;   // by the advance table
  // The tool-tip panel with its lower left at (x, y) and text height h.
  void (*draw_help)(float x, float y, float h, const std::string& text) = nullptr;
  // One frame of the start-up screen, the bar ending at bar_end.
  void (*draw_init_screen)(const std::string& text, float bar_end) = nullptr;
  void (*zap_boxes)(int open) = nullptr;         // the close corners of a sub-window
  void (*swap_buffers)() = nullptr;              // null: a plain glXSwapBuffers

  // Keyboard: every non-modifier key press, by keysym.
  void (*handle_key)(unsigned long keysym) = nullptr;

  // The application's settings and end.
  const int* use_max_cpu = nullptr;              // the frame wait is off while *use_max_cpu
  void (*save_prefs)() = nullptr;                // writes the preference file
};
extern shell_hooks_t shell_hooks;
