#include "shell/window.h"

#include <GL/gl.h>
#include <GL/glext.h>
#include <X11/Xatom.h>
#include <X11/Xutil.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "shell/hooks.h"
#include "shell/menus.h"
#include "shell/pump.h"
#include "shell/window_icon.h"

Display* dpy = nullptr;
Window win = 0;
XVisualInfo* vi = nullptr;
GLXContext cx = nullptr;

std::string stls[stls_count];
std::string stl_input;
int return_hit = 0;
int linkey_shft = 0, linkey_ctrl = 0, linkey_optn = 0;
int plot_init_lights = 0;
int have_created_ibm_win = 0;

namespace {

const wind_code_row kWindCodes[] = {
    {1, 500, 300, -1, "EULA"},
    {2, 500, 380, -1, "Prefs"},
    {994, 500, 300, 613, nullptr},
    {995, 400, 230, 601, nullptr},
    {996, 300, 166, 602, nullptr},
    {997, 700, 146, 602, nullptr},
    {998, 341, 484, 614, nullptr},
    {999, 341, 484, 614, nullptr},
};

// Min and max size both set, centre gravity: the window manager may not resize us.
const long kFixedSizeFlags = PMinSize | PMaxSize | PWinGravity;

void set_fixed_size_hints(int w, int h) {
  XSizeHints hints;
  long supplied = 0;
  memset(&hints, 0, sizeof(hints));
  if (!XGetWMNormalHints(dpy, win, &hints, &supplied)) memset(&hints, 0, sizeof(hints));
  hints.flags = kFixedSizeFlags;
  hints.min_width = hints.max_width = w;
  hints.min_height = hints.max_height = h;
  hints.win_gravity = CenterGravity;
  XSetWMNormalHints(dpy, win, &hints);
}

void set_fullscreen_state(int fullscreen) {
  Atom state = XInternAtom(dpy, "_NET_WM_STATE", False);
  Atom full = XInternAtom(dpy, "_NET_WM_STATE_FULLSCREEN", False);
  XChangeProperty(dpy, win, state, XA_ATOM, 32, PropModeReplace,
                  reinterpret_cast<unsigned char*>(&full), fullscreen ? 1 : 0);
}

void set_utf8_property(const char* name, const char* value) {
  Atom prop = XInternAtom(dpy, name, False);
  Atom utf8 = XInternAtom(dpy, "UTF8_STRING", False);
  XChangeProperty(dpy, win, prop, utf8, 8, PropModeReplace,
                  reinterpret_cast<const unsigned char*>(value), static_cast<int>(strlen(value)));
}

void set_atom_list(const char* name, const char* const* items, int count) {
  Atom prop = XInternAtom(dpy, name, False);
  Atom values[8];
  for (int i = 0; i < count; ++i) values[i] = XInternAtom(dpy, items[i], False);
  XChangeProperty(dpy, win, prop, XA_ATOM, 32, PropModeReplace,
                  reinterpret_cast<unsigned char*>(values), count);
}

void set_window_properties(int fullscreen) {
  char family[] = "Cirrovan";
  char* names[] = {family};
  XTextProperty text;
  if (XStringListToTextProperty(names, 1, &text)) {
    XSetWMName(dpy, win, &text);
    XFree(text.value);
  }

  XClassHint* hint = XAllocClassHint();
  if (hint) {
    char res_name[] = "main_window";
    char res_class[] = "Zephyra";
    hint->res_name = res_name;
    hint->res_class = res_class;
    XSetClassHint(dpy, win, hint);
    XFree(hint);
  }

  set_fixed_size_hints(mnw.x_res, mnw.y_res);

  // Lets a launcher's busy cursor end when our window shows.
  if (const char* id = getenv("DESKTOP_STARTUP_ID")) set_utf8_property("_NET_STARTUP_ID", id);
  set_utf8_property("_NET_WM_NAME", "Cirrovan");

  const char* type[] = {"_NET_WM_WINDOW_TYPE_NORMAL"};
  set_atom_list("_NET_WM_WINDOW_TYPE", type, 1);
  const char* actions[] = {"_NET_WM_ACTION_CLOSE", "_NET_WM_ACTION_FULLSCREEN",
                           "_NET_WM_ACTION_MOVE"};
  set_atom_list("_NET_WM_ALLOWED_ACTIONS", actions, 3);
  set_fullscreen_state(fullscreen);
  LIN_set_window_icon();
}

// A running window manager reads the state property only at map time; this
// asks it directly as well.
void request_fullscreen(int fullscreen) {
  XEvent ev;
  memset(&ev, 0, sizeof(ev));
  ev.xclient.type = ClientMessage;
  ev.xclient.window = win;
  ev.xclient.message_type = XInternAtom(dpy, "_NET_WM_STATE", False);
  ev.xclient.format = 32;
  ev.xclient.data.l[0] = fullscreen;
  ev.xclient.data.l[1] = static_cast<long>(XInternAtom(dpy, "_NET_WM_STATE_FULLSCREEN", False));
  ev.xclient.data.l[2] = 0;
  XSendEvent(dpy, DefaultRootWindow(dpy), False, SubstructureRedirectMask | SubstructureNotifyMask,
             &ev);
}

void set_fixed_gl_state() {
  const GLfloat zero[4] = {0, 0, 0, 0};
  glLightModelfv(GL_LIGHT_MODEL_AMBIENT, zero);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glAlphaFunc(GL_GREATER, 0);
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
  glDepthFunc(GL_LEQUAL);
  glFogi(GL_FOG_MODE, GL_LINEAR);
  glHint(GL_FOG_HINT, GL_FASTEST);
  glFrontFace(GL_CW);
  glEnable(GL_CULL_FACE);
  glCullFace(GL_BACK);
  glShadeModel(GL_SMOOTH);
  glEnable(GL_DITHER);
  glDisable(GL_LOGIC_OP);
  glDisable(GL_STENCIL_TEST);
  glDisable(GL_TEXTURE_1D);
  glDisable(GL_NORMALIZE);
  glDisable(GL_SCISSOR_TEST);
  glEnable(GL_COLOR_MATERIAL);
  glColorMaterial(GL_FRONT, GL_AMBIENT_AND_DIFFUSE);
  if (mnw.alias_now > 0) glEnable(GL_MULTISAMPLE_ARB);
  glDepthMask(GL_FALSE);
}

XVisualInfo* choose_on_default_screen(int* attrs) {
  return glXChooseVisual(dpy, DefaultScreen(dpy), attrs);
}

}  // namespace

const wind_code_row* MACIBM_wind_row(int code) {
  for (const wind_code_row& row : kWindCodes)
    if (row.code == code) return &row;
  return nullptr;
}

int LIN_open_display() {
  if (!dpy) dpy = XOpenDisplay(nullptr);
  return dpy != nullptr;
}

void MACIBM_setres(int go) {
  static int first = 1;
  static int start_w = 0, start_h = 0, start_d = 0, start_flag = 0;

  mnw.x_res = mnw.x_res_req;
  mnw.y_res = mnw.y_res_req;
  mnw.col_res = mnw.col_res_req;
  int flag = mnw.set_res;

  if (!LIN_open_display()) return;
  const int scr = DefaultScreen(dpy);
  const int h = DisplayHeight(dpy, scr);
  const int w = DisplayWidth(dpy, scr);
  const int d = DefaultDepth(dpy, scr);

  // A screen smaller than the layout can't show it; let the window be fitted.
  if (w < 1024 || h < 768) flag = 1;
  if (first) {
    first = 0;
    start_w = w;
    start_h = h;
    start_d = d;
    start_flag = flag;
  }

  const int tw = go ? mnw.x_res : start_w;
  const int th = go ? mnw.y_res : start_h;
  const int td = go ? mnw.col_res : start_d;
  if (go && !flag) return;
  if (!go && !start_flag) return;
  if (go && w == tw && h == th && d == td) return;

  if (win) {
    set_fixed_size_hints(mnw.x_res, mnw.y_res);
    XResizeWindow(dpy, win, mnw.x_res, mnw.y_res);
  }
  printf("%d vs %d X %d vs %d\n", w, mnw.x_res, h, mnw.y_res);
  if (win) set_fullscreen_state(mnw.x_res == w && mnw.y_res == h);
}

int LIN_visual_search(int alias_req, XVisualInfo* (*choose)(int* attrs), XVisualInfo** found) {
  static const int InitVisual[] = {GLX_SAMPLE_BUFFERS_ARB, 1, GLX_SAMPLES_ARB, 0, GLX_RGBA,
                                   GLX_DOUBLEBUFFER, GLX_RED_SIZE, 1, GLX_GREEN_SIZE, 1,
                                   GLX_BLUE_SIZE, 1, GLX_DEPTH_SIZE, 2, None};
  static const int kSamples[] = {0, 2, 4, 8, 16};
  int InputVisual[sizeof(InitVisual) / sizeof(InitVisual[0])];
  *found = nullptr;
  for (int step = alias_req; step >= 0; --step) {
    memcpy(InputVisual, InitVisual, sizeof(InitVisual));
    if (step <= 4) {
      InputVisual[1] = step > 0 ? 1 : 0;
      InputVisual[3] = kSamples[step];
    }
    if ((*found = choose(InputVisual))) return step;
  }
  return -1;
}

int MACIBM_make_context(int which) {
  const int x = which ? mnw.x_res : 0;
  if (!LIN_open_display()) return 0;

  mnw.alias_now = LIN_visual_search(mnw.alias_req, choose_on_default_screen, &vi);
  if (!vi) {
    puts("Whoah -- no matter how hard I tried, I failed to get a GLX visual. Something's "
         "seriously wonky on your machine.");
    exit(1);
  }
  if (mnw.alias_now < 0) mnw.alias_now = 0;

  cx = glXCreateContext(dpy, vi, nullptr, True);
  XSetWindowAttributes attr;
  memset(&attr, 0, sizeof(attr));
  attr.colormap = XCreateColormap(dpy, RootWindow(dpy, vi->screen), vi->visual, AllocNone);
  attr.border_pixel = 0;
  attr.event_mask = KeyPressMask | KeyReleaseMask | ButtonPressMask | ButtonReleaseMask |
                    PointerMotionMask | ButtonMotionMask | VisibilityChangeMask |
                    StructureNotifyMask | SubstructureNotifyMask;
  win = XCreateWindow(dpy, RootWindow(dpy, vi->screen), x, 0, mnw.x_res, mnw.y_res, 0, vi->depth,
                      InputOutput, vi->visual, CWBorderPixel | CWEventMask | CWColormap, &attr);

  const int scr = DefaultScreen(dpy);
  // Either side matching the screen is enough here, unlike MACIBM_setres.
  const int fullscreen =
      (DisplayWidth(dpy, scr) == mnw.x_res || DisplayHeight(dpy, scr) == mnw.y_res) ? 1 : 0;
  set_window_properties(fullscreen);
  request_fullscreen(fullscreen);

  XMapWindow(dpy, win);
  XEvent ev;
  XMaskEvent(dpy, ~0L, &ev);
  glXMakeCurrent(dpy, win, cx);
  set_fixed_gl_state();
  return 1;
}

void MACIBM_nuke_context(int) {}

void MACIBM_centre(float dx, float dy, float* x, float* y) {
  const float ps = mnw.pix_scale;
  *x = std::round((mnw.x_res - dx * ps) / 2) / ps;
  *y = std::round((mnw.y_res - dy * ps) / 2) / ps;
  // A dialog taller than the window keeps its top off-screen, never its bottom.
  if (*y < 0) *y = 0;
}

void MACIBM_startwind(int code) {
  plot_init_lights = 1;
  if (shell_hooks.viewport_2d) shell_hooks.viewport_2d();
  stl_input.clear();

  mnw.win_dx = static_cast<float>(mnw.x_res);
  mnw.win_dy = static_cast<float>(mnw.y_res);
  mnw.subwin_on = 0;
  if (const wind_code_row* row = MACIBM_wind_row(code)) {
    stls[0] = row->title ? std::string(row->title) : stls[row->title_slot];
    mnw.win_dx = static_cast<float>(row->width);
    mnw.win_dy = static_cast<float>(row->height);
    mnw.subwin_on = 1;
  }
  mnw.win_now = code;
  mnw.menu_open = -1;
  mnw.text_focus = -1;
  MACIBM_centre(mnw.win_dx, mnw.win_dy, &mnw.win_x, &mnw.win_y);
  mnw.mouse_down = 0;
  mnw.mouse_click = 0;
  mnw.scroll_delta = 0;
  MACIBM_empty_popup_box();
}

void MACIBM_load_mxy(Window w, int x, int y) {
  const float ps = mnw.pix_scale;
  if (mnw.sec_mon_open && w == mnw.sec_win) {
    mnw.mouse_x = x / ps + mnw.x_res / ps;
    mnw.mouse_y = (mnw.y_res - y) / ps;
    mnw.on_sec_mon = 1;
    return;
  }
  mnw.mouse_x = x / ps - mnw.win_x;
  mnw.mouse_y = (mnw.y_res - y) / ps - mnw.win_y;
  mnw.on_sec_mon = 0;
}

void LIN_pointer_at(Window w, int x, int y) { MACIBM_load_mxy(w, x, y); }

void LIN_key_event(unsigned long keysym, int press) {
  const char* name = XKeysymToString(keysym);
  if (!name) {
    printf("LINUX: Warning: X11 gave us a key %s with no keysym string! This isn't so good. "
           "Verify the mapping of whatever key you just hit.\n",
           press ? "press" : "release");
    return;
  }
  const std::string n(name);
  const int value = press ? 1 : 0;
  if (n == "Shift_L" || n == "Shift_R") {
    linkey_shft = value;
    return;
  }
  if (n == "Control_L" || n == "Control_R") {
    linkey_ctrl = value;
    return;
  }
  if (n == "Alt_L" || n == "Alt_R") {
    linkey_optn = value;
    return;
  }
  const bool dropped = n == "Super_L" || n == "Super_R" || n == "Menu" || n == "ISO_Level3_Shift";
  if (!press) {
    mnw.key_down = 0;
    return;
  }
  if (dropped) return;
  mnw.key_hit = 1;
  mnw.key_down = 1;
  if (shell_hooks.handle_key) shell_hooks.handle_key(keysym);
}

void LIN_button_event(int press) {
  if (!press) {
    mnw.mouse_release = 1;
    return;
  }
  // Every button, the wheel too, is a click.
  mnw.mouse_click = 1;
  MACIBM_handleclick(0);
}

Bool LIN_handlewin(Display* d, XEvent* event, char*) {
  switch (event->type) {
    case KeyPress:
    case KeyRelease:
      // Index 0 always: the program shifts characters itself.
      LIN_key_event(XLookupKeysym(&event->xkey, 0), event->type == KeyPress);
      break;
    case ButtonPress:
    case ButtonRelease:
      LIN_button_event(event->type == ButtonPress);
      break;
    case MotionNotify: {
      // The event's own position lags behind; ask where the pointer is now.
      Window root, child;
      int rx = 0, ry = 0, wx = 0, wy = 0;
      unsigned int mask = 0;
      XQueryPointer(d, event->xmotion.window, &root, &child, &rx, &ry, &wx, &wy, &mask);
      LIN_pointer_at(event->xmotion.window, wx, wy);
      break;
    }
    case VisibilityNotify:
      MACIBM_startwind(mnw.win_now);
      break;
    case CreateNotify:
    case ConfigureNotify:
      have_created_ibm_win = 1;
      break;
    case DestroyNotify:
      MACIBM_startwind(0);
      break;
    case UnmapNotify:
    case MapNotify:
    case ReparentNotify:
      break;
    default:
      printf("LINUX: X11 sent us an event this program does not handle. Event ---> %d\n",
             event->type);
      break;
  }
  return True;
}

Cursor LIN_create_null_cursor(Display* d, Window w) {
  Pixmap pix = XCreatePixmap(d, w, 1, 1, 1);
  XGCValues values;
  values.function = GXclear;
  GC gc = XCreateGC(d, pix, GCFunction, &values);
  XFillRectangle(d, pix, gc, 0, 0, 1, 1);
  XColor black;
  memset(&black, 0, sizeof(black));
  Cursor cursor = XCreatePixmapCursor(d, pix, pix, &black, &black, 0, 0);
  XFreePixmap(d, pix);
  XFreeGC(d, gc);
  return cursor;
}
