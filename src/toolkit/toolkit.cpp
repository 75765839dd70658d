#include "toolkit/toolkit.h"

#include "files/alert.h"
#include "files/mnw.h"
#include "shell/hooks.h"
#include "shell/pump.h"
#include "toolkit/colours.h"
#include "toolkit/draw.h"
#include "toolkit/frames.h"
#include "toolkit/sheet.h"
#include "toolkit/text.h"
#include "toolkit/textures.h"

namespace {

void read_palette() { colr_read_palette(scratch_array, sheet_interface_w, sheet_interface_h); }

void zap_boxes(int open) { BTN_zap_boxes(open); }

void texture_alert() {
  MACIBM_alert(0, "Some textures could not be loaded.",
               "This may be an installation problem.  Run the installer/updater again to get "
               "these missing textures.",
               "Please see the log.txt file for a detailed list of missing files.", "",
               alert_warning);
}

}  // namespace

void TOOLKIT_check_textures() {
  if (tman.has_scene_load_fail()) {
    texture_alert();
    tman.mute_scene_load_fail();
  }
  if (tman.has_plane_load_fail()) {
    texture_alert();
    tman.mute_plane_load_fail();
  }
  if (tman.has_instl_load_fail()) {
    texture_alert();
    tman.mute_instl_load_fail();
  }
}

void TOOLKIT_draw_init_screen(const std::string& text, float bar_end) {
  // The primitives add the sub-window's origin; take it off to draw on the screen.
  const float ox = -mnw.win_x, oy = -mnw.win_y;
  const float left = mnw.ui_left;
  OGL_plot_back_col();
  BTN_frame2(15, ox + left + 10, oy + 31, 320, 200, "");
  OGL_string(48, ox + left + 22, oy + 210, "Zephyra 8.50", 300, charset_UI_diff_space);
  const float bar_start = left + 8;
  BTN_frame1(4, ox + (bar_start + left + 1016) * 0.5f, oy + 15, 1008, 0);
  BTN_frame1(5, ox + (bar_start + bar_end) * 0.5f, oy + 15, bar_end - bar_start, 0);
  OGL_string(60, ox + left + 22, oy + 60, text, 300, charset_UI_diff_space);
  OGL_sbuf();
}

void TOOLKIT_install_hooks() {
  shell_hooks.viewport_2d = OGL_viewport_2d;
  shell_hooks.pix_specs = OGL_pix_specs;
  shell_hooks.load_builtin_images = recall_ins_texes;
  shell_hooks.init_colours = read_palette;
  shell_hooks.set_blink_colours = colr_set_blink;
  shell_hooks.check_textures = TOOLKIT_check_textures;
  shell_hooks.draw_help = BTN_draw_help;
  shell_hooks.draw_init_screen = TOOLKIT_draw_init_screen;
  shell_hooks.zap_boxes = zap_boxes;
  shell_hooks.draw_menus = TOOLKIT_draw_menus;
  shell_hooks.text_width = text_width;
}
