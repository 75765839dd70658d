#include "shell/pump.h"

#include <sys/select.h>
#include <sys/time.h>

#include <algorithm>
#include <cmath>
#include <deque>

#include "shell/clock.h"
#include "shell/glprobe.h"
#include "shell/hooks.h"
#include "shell/menus.h"
#include "shell/window.h"

#ifdef ZEPHYRA_SHELL_OWNS_CLOCK
xtim_class xtim;
unsigned long long xtim_class::microsecs() {
  static unsigned long long first = 0;
  timeval tv;
  gettimeofday(&tv, nullptr);
  const unsigned long long now = tv.tv_sec * 1000000ULL + tv.tv_usec;
  if (!first) first = now;
  return now - first;
}
#endif

namespace {

struct posted_event {
  int kind;   // 0 motion, 1 button, 2 key
  int x, y;
  unsigned long keysym;
  int press;
};

// The statics of the pump; they live to the end of the process.
struct pump_state {
  int win_started = 0;
  int clock_started = 0;
  float mx = 0, my = 0;
  float last_time_FM = 0, last_time_UI = 0;
  int cntr_FM = 0, cntr_UI = 0;
  double start_time = 0;
  int OS_mouse_showing = 1;
  Cursor dot = 0;
  float last_fire[10] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
};
pump_state ps;

// Periods of the ten ticks, slowest first: 0.1 Hz up to 100 Hz.
const float kTickPeriods[10] = {10.0f, 5.0f, 2.0f, 1.0f, 0.5f, 0.2f, 0.1f, 0.05f, 0.025f, 0.01f};

std::deque<posted_event> posted;
unsigned long long (*time_source)() = nullptr;

unsigned long long now_us() { return time_source ? time_source() : xtim.microsecs(); }

int& tick_flag(int i) {
  int* const flags[10] = {&xtim.ot01, &xtim.ot02, &xtim.ot05, &xtim.ot1,  &xtim.ot2,
                          &xtim.ot5,  &xtim.ot10, &xtim.ot20, &xtim.ot40, &xtim.ot00};
  return *flags[i];
}

void run_ticks() {
  // Against last frame's time: a late frame shifts the rhythm, no catching up.
  const float t = xtim.real_time;
  for (int i = 0; i < 10; ++i) {
    tick_flag(i) = 0;
    if (t > ps.last_fire[i] + kTickPeriods[i]) {
      tick_flag(i) = 1;
      ps.last_fire[i] = t;
    }
  }
}

void wait_for_events() {
  if (!dpy) return;
  const int fd = ConnectionNumber(dpy);
  fd_set readable;
  FD_ZERO(&readable);
  FD_SET(fd, &readable);
  const long us = PUMP_frame_wait_us();
  timeval timeout;
  timeout.tv_sec = us / 1000000;
  timeout.tv_usec = us % 1000000;
  // Errors don't matter: the drain runs in any case.
  select(fd + 1, &readable, nullptr, nullptr, &timeout);
}

void drain_events() {
  if (dpy && win) {
    XEvent event;
    while (XCheckIfEvent(dpy, &event, LIN_handlewin, reinterpret_cast<XPointer>(win))) {
    }
  }
  while (!posted.empty()) {
    const posted_event e = posted.front();
    posted.pop_front();
    switch (e.kind) {
      case 0: LIN_pointer_at(win, e.x, e.y); break;
      case 1: LIN_button_event(e.press); break;
      default: LIN_key_event(e.keysym, e.press); break;
    }
  }
}

// Ten frames at a time, the smoothed period moves by the fourth root of the
// measured ratio, so it follows the trend and not the noise.
void estimate(float t, int& counter, float& last_time, float& period, float& ratio, float lo,
              float hi) {
  if (counter++ % 10 != 0) return;
  float r = 0.1f * (t - last_time) / period;
  r = std::min(1.5f, std::max(0.5f, r));
  ratio = r;
  period = std::min(hi, std::max(lo, std::pow(r, 0.25f) * period));
  last_time = t;
}

void run_estimators(float t) {
  if (mnw.win_now == 0 || mnw.sec_mon_inuse)
    estimate(t, ps.cntr_FM, ps.last_time_FM, xtim.prd_FM, xtim.rat_FM, 0.0010000999f,
             0.05263158f);
  else
    ps.last_time_FM = t;
  // Alerts and choosers run slowly on purpose; they must not skew the estimate.
  if (mnw.win_now >= 995 && mnw.win_now <= 999)
    ps.last_time_UI = t;
  else
    estimate(t, ps.cntr_UI, ps.last_time_UI, xtim.prd_UI, xtim.rat_UI, 0.0001f, 0.1f);
}

void mouse_edges(float t) {
  mnw.mouse_repeat = mnw.mouse_down && t > mnw.last_click_time + 0.25f;
  mnw.double_click = mnw.mouse_click && t < mnw.last_click_time + 0.25f;
  mnw.quick_release = mnw.mouse_release && t < mnw.last_click_time + 0.25f;
  if (mnw.mouse_click) {
    mnw.last_click_time = t;
    mnw.last_move_time = t;
    mnw.mouse_down = 1;
    mnw.text_focus = -1;
  }
  if (mnw.mouse_release) {
    mnw.mouse_down = 0;
    mnw.mouse_repeat = 0;
  }
  if (std::fabs(mnw.mouse_x - ps.mx) > 0.5f || std::fabs(mnw.mouse_y - ps.my) > 0.5f)
    mnw.last_move_time = t;
  ps.mx = mnw.mouse_x;
  ps.my = mnw.mouse_y;
}

bool menu_open_valid() {
  return mnw.menu_open >= 0 && mnw.menu_open < static_cast<int>(menu.size());
}

// The menu bar follows the pointer while a menu is open.
void follow_menu_bar() {
  if (mnw.menu_open == -1) return;
  const int n = std::min(static_cast<int>(menu.size()), static_cast<int>(popup_menu));
  for (int i = 0; i < n; ++i) {
    const menu_struct& m = menu[i];
    if (m.parent != -1 || i == mnw.menu_open) continue;
    if (menu_box_holds(m.x1, m.y1, m.x2, m.y2, mnw.mouse_x, mnw.mouse_y)) MACIBM_handleclick(0);
  }
}

void draw_help(float t) {
  const std::string& text = stls[stls_help];
  if (text.empty() || !(t - mnw.last_move_time > 1.0f) || !shell_hooks.draw_help) return;
  const float h = std::min(300.0f, std::max(60.0f, static_cast<float>(text.size() / 50 * 10 + 20)));
  const float b = mnw.on_sec_mon ? static_cast<float>(mnw.x_res) : 0.0f;
  float x = mnw.mouse_x - 400;
  x = std::min(1014 - mnw.win_x - 400 + b, std::max(10 - mnw.win_x + b, x));
  float y = mnw.mouse_y;
  y = std::min(748 - mnw.win_y - h, std::max(10 - mnw.win_y, y));
  shell_hooks.draw_help(x, y, h, text);
}

void update_cursor(float t) {
  if (t - mnw.last_move_time > 10.0f) mnw.hide_cursor = 1;
  if (mnw.hide_cursor && ps.OS_mouse_showing) {
    ps.OS_mouse_showing = 0;
    if (dpy && win) {
      if (!ps.dot) ps.dot = LIN_create_null_cursor(dpy, win);
      XDefineCursor(dpy, win, ps.dot);
      XFlush(dpy);
    }
  } else if (!mnw.hide_cursor && !ps.OS_mouse_showing) {
    ps.OS_mouse_showing = 1;
    if (dpy && win) {
      XUndefineCursor(dpy, win);
      XFlush(dpy);
    }
  }
}

}  // namespace

void OGL_sbuf() {
  if (shell_hooks.swap_buffers) {
    shell_hooks.swap_buffers();
    return;
  }
  if (!(dpy && win && cx)) return;
  // The next frame starts from a plain colour: white, or green in mono.
  if (ren.mono)
    glColor4f(0, 1, 0, ren.alpha);
  else
    glColor4f(1, 1, 1, ren.alpha);
  glXSwapBuffers(dpy, win);
}

long PUMP_frame_wait_us() {
  if (mnw.win_now == 995) return 160000;
  return shell_hooks.use_max_cpu && *shell_hooks.use_max_cpu ? 0 : 16000;
}

void PUMP_post_motion(int x, int y) { posted.push_back({0, x, y, 0, 0}); }
void PUMP_post_button(int press) { posted.push_back({1, 0, 0, 0, press}); }
void PUMP_post_key(unsigned long keysym, int press) { posted.push_back({2, 0, 0, keysym, press}); }
void PUMP_set_time_source(unsigned long long (*now)()) { time_source = now; }
int PUMP_cursor_showing() { return ps.OS_mouse_showing; }

void PUMP_reset() {
  // The cursor pixmap belongs to the display, which outlives a reset.
  const Cursor dot = ps.dot;
  ps = pump_state();
  ps.dot = dot;
  posted.clear();
}

void MACIBM_event_proc() {
  run_ticks();

  return_hit = 0;
  mnw.mouse_click = 0;
  mnw.mouse_release = 0;
  mnw.key_hit = 0;
  stls[stls_help].clear();

  if (mnw.win_now == -1) mnw.win_now = 0;
  if (!ps.win_started) {
    ps.win_started = 1;
    MACIBM_startwind(mnw.win_now);
  }

  wait_for_events();
  drain_events();

  if (mnw.win_now == 0 && shell_hooks.check_textures) shell_hooks.check_textures();

  if (!ps.clock_started) {
    ps.clock_started = 1;
    ps.start_time = now_us() * 1e-6;
  }
  xtim.real_time = static_cast<float>(now_us() * 1e-6 - ps.start_time);
  const float t = xtim.real_time;

  run_estimators(t);
  mouse_edges(t);

  mnw.pulse = 0.7f + 0.3f * std::sin(20 * t);
  if (shell_hooks.set_blink_colours) shell_hooks.set_blink_colours(mnw.pulse);

  mnw.hide_cursor = 0;
  follow_menu_bar();

  if (mnw.subwin_on == 0) {
    APP_update();
    xtim.first_frame = 0;
  }

  if (mnw.menu_open != -1 && shell_hooks.draw_menus) shell_hooks.draw_menus();
  draw_help(t);
  update_cursor(t);
  OGL_sbuf();
  ++xtim.frame_count;
}

void MACIBM_handleclick(int force) {
  const int code = mnw.win_now;
  const bool alert_like = code >= 995 && code <= 999;
  if (mnw.subwin_on && !alert_like) {
    const float x = mnw.mouse_x, y = mnw.mouse_y;
    const bool in_corner_x = (x >= 0 && x <= 25) || (x >= mnw.win_dx - 25 && x <= mnw.win_dx);
    const bool in_corner_y = y >= mnw.win_dy - 20 && y <= mnw.win_dy;
    if (force || (in_corner_x && in_corner_y)) {
      if (shell_hooks.zap_boxes) shell_hooks.zap_boxes(1);
      OGL_sbuf();
      return_hit = 0;
      MACIBM_startwind(0);  // the main screen again, the press used up
      return;
    }
  } else if (!mnw.subwin_on) {
    const int n = std::min(static_cast<int>(menu.size()), static_cast<int>(popup_menu));
    for (int i = 0; i < n; ++i) {
      const menu_struct& m = menu[i];
      if (m.parent != -1 && m.parent != mnw.menu_open) continue;
      if (!menu_box_holds(m.x1, m.y1, m.x2, m.y2, mnw.mouse_x, mnw.mouse_y)) continue;
      mnw.menu_open = mnw.menu_open == i ? -1 : i;
      mnw.mouse_click = 0;
      return;
    }
  }

  if (menu_open_valid()) {
    const menu_struct& m = menu[mnw.menu_open];
    for (size_t i = 0; i < m.items.size(); ++i) {
      const item_struct& item = m.items[i];
      if (!menu_item_selectable(item)) continue;
      if (!menu_box_holds(item.x1, item.y1, item.x2, item.y2, mnw.mouse_x, mnw.mouse_y)) continue;
      if (mnw.menu_open == popup_menu) {
        select_popup_code = active_popup_code;
        active_popup_code = 0;
        popup_menu_select = static_cast<int>(i);
      } else {
        APP_handlemenu(item.id);
      }
      mnw.menu_open = -1;
      mnw.mouse_click = 0;
      return;
    }
  }
  // A click outside closes the menu and still reaches the widgets.
  mnw.menu_open = -1;
}
