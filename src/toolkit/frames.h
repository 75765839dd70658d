// Widget frames and hit boxes of the immediate-mode toolkit: strips and panels
// cut from the interface sheet and tiled, never stretched; label rules; the
// help text. A control is a call that draws and tests the mouse in one go.
#pragma once
#include <string>
#include <vector>

// Whether the pointer lies in the box, edges included (sub-window coordinates).
bool BTN_mouse_in(float x1, float y1, float x2, float y2);
// A click on this frame inside the box, with no menu open.
bool BTN_clicked_in(float x1, float y1, float x2, float y2);
// Copies help to this frame's help string when the pointer is in the box and no menu is open.
void BTN_offer_help(float x1, float y1, float x2, float y2, const std::string& help);

// One quad of the interface sheet around a centre: source (s, t) of size
// 2 half_w by 2 half_h, in colour slot col.
void BTN_util_element(float cx, float cy, float half_w, float half_h, float s, float t, int col);
// A vertical strip from its lower left (x, y), h high.
void BTN_frame0(int type, float x, float y, float h);
void BTN_frame1(int type, float cx, float cy, float w, int col);
void BTN_frame2(int type, float x, float y, float w, float h, const std::string& title);
void BTN_subwin(float top_space, int type, float x, float y, float w, float h,
                const std::string& title, float* next_x, float* next_y);
void BTN_fillwin(int title_type, int fill_type);
// Draws the two close corners; 1 on a click in either.
int BTN_zap_boxes(int open);
void BTN_expand_label(const std::string& label, std::string* left, std::string* right,
                      std::string* help);
void BTN_util_draw_label(float x, float y, int align, const std::string& text, int pressed);
// The box of a number or character field whose first column starts at x,
// text base line y, w pixels of columns wide; with arrows set, an up and a
// down arrow above and below each of the columns.
void BTN_util_draw_boxed_button(float x, float y, float w, int columns, int arrows);
// How a label of over 12 characters is split: the two lines (second empty
// when it stays on one).
void BTN_split_label(const std::string& text, std::string* top, std::string* bottom);

// The tool-tip panel, lower left (x, y), text height h; the pump calls it.
void BTN_draw_help(float x, float y, float h, const std::string& text);

// Where the quads of a strip or panel go, without GL: for tests. Each quad is
// its lower left and size on the screen (sub-window coordinates) and its
// source rectangle in pixels of the interface sheet.
struct strip_quad {
  float x, w, s, ds;
  float y, h, t, dt;
};
// BTN_frame1's quads; false for a type with no strip.
bool BTN_frame1_layout(int type, float cx, float cy, float w, std::vector<strip_quad>* out);
// BTN_frame0's quads (x the left edge, y the bottom); false for a type with no strip.
bool BTN_frame0_layout(int type, float x, float y, float h, std::vector<strip_quad>* out);
// BTN_frame2's quads (the frame only, not the title); false for a type with no panel.
bool BTN_frame2_layout(int type, float x, float y, float w, float h, std::vector<strip_quad>* out);
