// The global screen and input record. Plain data with no X11 types, so the
// core (preferences, alerts) can see it; the shell fills it.
#pragma once

struct mnw_struct {
  int sec_mon_inuse = 0;
  int sec_mon_open = 0;
  int alias_req = 0;
  int alias_now = 0;
  unsigned long sec_win = 0;
  int win_now = -1;
  int menu_open = -1;
  int subwin_on = 0;
  float win_x = 0, win_y = 0;
  float win_dx = 0, win_dy = 0;
  int hide_cursor = 0;
  int x_res = 1024, y_res = 768, col_res = 32;
  int set_res = 0;
  int tex_res = 5;
  int x_res_req = 1024, y_res_req = 768, col_res_req = 32;
  float scr_cx = 512, scr_cy = 384;
  float ui_left = 0;
  float ui_top = 0;
  float ortho_l = 0, ortho_b = 0, ortho_r = 1024, ortho_t = 768;
  float ui_upscale = 1;
  float pix_scale = 1;
  float mouse_x = 0, mouse_y = 0;
  // Pointer and key state kept by the pump; the edges last one frame.
  int mouse_click = 0;
  int mouse_release = 0;
  int mouse_down = 0;
  int mouse_repeat = 0;
  int double_click = 0;
  int quick_release = 0;
  int scroll_delta = 0;
  int key_hit = 0;
  int key_down = 0;
  float last_move_time = 0;
  float last_click_time = 0;
  int key_char = 0;   // character of the last key press, 0 for none
  int on_sec_mon = 0;
  int lang = 0;
  int keylist_up = 0;
  int ignore_visibility = 0;
  int text_focus = -1;
  float pulse = 1;
  int prefs_found = 0;
};
extern mnw_struct mnw;
