// Puts the drawing toolkit into the shell's hooks: the projection, the
// built-in pictures and colours, the blinking slots, the tool-tip, the
// start-up screen, the menus, the close corners and the texture-failure alerts.
#pragma once
#include <string>

void TOOLKIT_install_hooks();

// One frame of the start-up screen: panel, title, bar ending at bar_end,
// the text. In screen coordinates whatever sub-window is current.
void TOOLKIT_draw_init_screen(const std::string& text, float bar_end);
// The menu bar and the open menu (the list control's pop-up too), over
// whatever the frame drew; the pump calls it while a menu is open.
void TOOLKIT_draw_menus();
// The alerts of a class of textures that failed to load, each shown once.
void TOOLKIT_check_textures();
