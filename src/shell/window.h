// The one X11 window, its GLX context, the window codes of the sub-window
// and the translation of X events into the flags of mnw.
#pragma once
#include <GL/glx.h>
#include <X11/Xlib.h>

#include <string>

#include "files/mnw.h"

extern Display* dpy;       // opened once, never closed
extern Window win;         // the main window, 0 until made
extern XVisualInfo* vi;    // the visual the search ended on
extern GLXContext cx;

// Interface strings: entry 0 is the sub-window's title, 1803 this frame's help.
enum { stls_count = 2000, stls_help = 1803 };
extern std::string stls[stls_count];
extern std::string stl_input;   // what the keyboard typed, read by the text field
extern int return_hit;          // Return was pressed in this frame
extern int linkey_shft, linkey_ctrl, linkey_optn;
extern int plot_init_lights;    // the start-up screen may draw
extern int have_created_ibm_win;

// One row of the window-code table: the sub-window a code lays out.
struct wind_code_row {
  int code;
  int width, height;
  int title_slot;       // -1 for none
  const char* title;    // a literal title, or null to copy the slot
};
// The row of a code, or null for a code that keeps the whole window.
const wind_code_row* MACIBM_wind_row(int code);

// Opens the display named by DISPLAY. 0 when there is none to open.
int LIN_open_display();

void MACIBM_setres(int go);
int MACIBM_make_context(int which);
// The visual search: from step alias_req down to 0, the first visual the
// chooser offers. Returns the step, or -1 with *found null.
int LIN_visual_search(int alias_req, XVisualInfo* (*choose)(int* attrs), XVisualInfo** found);
void MACIBM_nuke_context(int which);
void MACIBM_startwind(int code);
// The centred origin of a sub-window of the given size in a window of x_res
// by y_res (rounded half away from zero; only y clamped at 0).
void MACIBM_centre(float dx, float dy, float* x, float* y);

Bool LIN_handlewin(Display* d, XEvent* event, char* arg);
Cursor LIN_create_null_cursor(Display* d, Window w);
void MACIBM_load_mxy(Window w, int x, int y);

// The event handlers behind LIN_handlewin, shared with the headless pump.
void LIN_key_event(unsigned long keysym, int press);
void LIN_button_event(int press);
void LIN_pointer_at(Window w, int x, int y);
