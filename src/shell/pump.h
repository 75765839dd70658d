// The frame pump: one call is one frame. It waits on the X connection for a
// bounded time, drains the events, advances the clock and the mouse edges,
// lets the application draw and swaps the buffers.
#pragma once

void MACIBM_event_proc();
// Shows the back buffer: what a frame, or a screen that paints outside the
// frame loop, has drawn.
void OGL_sbuf();
// Sees a press before any widget: close corners of a sub-window and menus.
void MACIBM_handleclick(int force);

// The wait of one frame in microseconds for the present window and setting.
long PUMP_frame_wait_us();

// Input for frames run without a display (or on top of one): queued here,
// handed to the same handlers as X events in the next frame's drain.
// Positions are window pixels from the top left, as X gives them.
void PUMP_post_motion(int x, int y);
void PUMP_post_button(int press);
void PUMP_post_key(unsigned long keysym, int press);
// A clock in microseconds for the pump instead of the real one; null restores it.
void PUMP_set_time_source(unsigned long long (*now_us)());
// Whether the system cursor is shown (the pump hides it after 10 s of stillness).
int PUMP_cursor_showing();
// Forgets the pump's statics (first frame, estimators, ticks, cursor), for a fresh start.
void PUMP_reset();
