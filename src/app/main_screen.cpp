#include "app/main_screen.h"

#include "app/interface.h"
#include "files/mnw.h"
#include "files/number_text.h"
#include "install/person.h"
#include "install/servers.h"
#include "install/stage.h"
#include "shell/startup.h"
#include "toolkit/controls.h"
#include "toolkit/draw.h"
#include "toolkit/frames.h"
#include "toolkit/sheet.h"
#include "toolkit/text.h"

const char* const kStoreURL = "https://store.vantrell.example/zephyra/";

main_screen_shown main_screen_last;

namespace {

// Halves go away from zero, as everywhere on this screen.
float round_half_out(float v) {
  return static_cast<float>(static_cast<int>(v < 0 ? v - 0.5f : v + 0.5f));
}

void text(int colour, float x, float y, const std::string& s, float wrap) {
  OGL_string(colour, x, y, s, wrap, charset_UI_diff_space);
}

}  // namespace

bool destination_field_hit(float x, float y) { return x >= 135 && x <= 435 && y >= 79 && y <= 99; }

progress_bar_strips progress_bar_layout(float base_x1, float base_x2, float r, int stage) {
  progress_bar_strips p;
  const float w = base_x2 - base_x1;
  const float a = static_cast<float>(static_cast<int>(base_x1));
  const float b = static_cast<float>(static_cast<int>(base_x1 + w * r));
  p.track_cx = 2 * round_half_out((base_x1 + base_x2) / 4);
  p.track_w = 4 * round_half_out(w / 4);
  if (stage == 1 && r > 0.02f) {
    p.fill_shown = 1;
    p.fill_cx = 2 * round_half_out((a + b) / 4);
    p.fill_w = 4 * round_half_out((b - a) / 4);
  }
  return p;
}

void draw_progress_bar(float base_x1, float base_x2, float r, int stage) {
  const progress_bar_strips p = progress_bar_layout(base_x1, base_x2, r, stage);
  BTN_frame1(4, p.track_cx, 15, p.track_w, 0);
  if (p.fill_shown) BTN_frame1(5, p.fill_cx, 15, p.fill_w, 0);
}

void app_go_to_URL(const std::string& url) { go_to_URL(url); }

void main_screen_update() {
  main_screen_shown shown;

  OGL_2dquad_d(tex_back_1, 0, 1, 0, 0, 0, 0, 1024, 768, 1, 0.75f, alpha_none);
  stage_server_step();
  stage_build_paths();
  stage_list_step();

  BTN_frame1(9, 285, 89, 300, 0);
  text(44, 142, 86, dest_dir_path, 9999);
  const bool field_clicked =
      mnw.menu_open == -1 && mnw.mouse_click && destination_field_hit(mnw.mouse_x, mnw.mouse_y);
  text(45, 134, 112,
       "Click on the 'DESTINATION' button below to choose the copy of Zephyra you wish to update, "
       "or choose the destination you wish to install a new copy of Zephyra to!",
       9999);

  // In stage 1 the folder can't change under the transfer: no button, and
  // the field's click is ignored.
  if (stg.stage == 0 || stg.stage == 2) {
    shown.destination_drawn = 1;
    const int pressed = interface_rect(10, 78, 513, 166, 126, 22, 1, 1);
    if (pressed || field_clicked) stage_pick_folder();
  }

  stage_read_list();
  stage_activity_icon();

  for (int i = 0; i < stg.server_count && i < server_rows; ++i)
    BTN_is_int(142, 578 - 20.0f * i, &stg.server_index, i, server_desc[i]);
  if (BTN_action(50, 750, -1, 0, 1, "preferences")) person_prefs();

  interface_rect(0, 595, 644, 33, 128, 86, 0, 0);
  interface_icon(29, 608, upd.wrl_i);

  const std::string caption = install_name != no_install_name ? "NET: " + install_name : "";
  BTN_frame2(20, 135, 600, 790, 72, caption);
  BTN_frame2(20, 935, 600, 80, 72, "Download");
  text(45, 154, 635, "Latest version of Zephyra, which we will download from Vantrell.", 780);
  std::string down;
  set_size_str(stg.tot_down, &down);
  text(45, 954, 635, down, 780);

  shown.message = stage_state_message();
  text(shown.message.colour, 154, 615, shown.message.text, 780);

  if (stg.stage == 0) {
    const int enabled = stage_start_enabled();
    shown.start_drawn = 1;
    shown.start_enabled = enabled;
    // Drawn cold and red when disabled, but it still reports clicks.
    if (interface_rect(450, 78, 640, 166, 83, 22, enabled, 2 - enabled) && enabled) stage_start();
  }
  if (interface_rect(700, 78, 822, 235, 116, 22, 1, 1)) person_open_url(kStoreURL);
  if (interface_rect(960, 78, 780, 166, 51, 22, 1, 1)) stage_quit();

  shown.lines = stage_work_and_lines();
  BTN_frame2(20, 135, 32, 880, 40, "");
  const float line_y[3] = {58, 48, 38};
  for (int i = 0; i < 3; ++i)
    text(shown.lines.line[i].colour, 144, line_y[i], shown.lines.line[i].text, 9999);

  draw_progress_bar(132, 1016, upd.totl_inst_rat, stg.stage);
  main_screen_last = shown;
}
