// Where every piece sits in the built-in pictures. The toolkit cuts them out
// by these numbers and tools/assets draws the pictures by the same ones, so a
// new look is a new picture and never a code change.
//
// Rows count from the bottom of a picture (row 0 is its lowest row), which is
// how GL numbers texture rows; columns from the left. A rectangle (s, t, w, h)
// covers columns s to s + w and rows t to t + h.
#pragma once

struct sheet_rect {
  int s, t, w, h;
};

// Texture references of the built-in pictures.
enum {
  tex_interface = 375,   // fonts, frames, controls, palette: 512 by 512
  tex_installer = 376,   // buttons, artwork, activity icon: 1010 by 764
  tex_back_1 = 377,      // main window background: 1024 by 768
  tex_back_2 = 378,      // second background: 1024 by 768
  tex_korean = 379,      // never loaded here
  tex_window_back = 401,
};

// ---- Interface sheet (375) ----
enum { sheet_interface_w = 512, sheet_interface_h = 512 };

// Glyph grids: charset 100 (proportional) at column 0, the monospaced copy of
// charsets 101 and 102 at column 168. Grid row 0 is the lowest. Within a cell
// the base line is glyph_baseline rows above the cell's bottom, leaving room
// for descenders.
enum {
  glyph_cols = 21,
  glyph_rows = 5,
  glyph_cell_w = 8,
  glyph_cell_h = 11,
  glyph_prop_s = 0,
  glyph_mono_s = 168,
  glyph_t = 0,
  glyph_baseline = 2,
};

// The byte in each cell of the glyph grid, row 0 (the lowest) first, column 0
// first. Cell (0, 0) is the blank, where every byte without a cell falls too.
inline constexpr unsigned char glyph_grid[glyph_rows][glyph_cols] = {
    {' ', '0', '1', '2', '3', '4', '5', '6', '7', '8', '9',
     'A', 'a', 'B', 'b', 'C', 'c', 'D', 'd', 'E', 'e'},
    {'F', 'f', 'G', 'g', 'H', 'h', 'I', 'i', 'J', 'j', 'K',
     'k', 'L', 'l', 'M', 'm', 'N', 'n', 'O', 'o', 'P'},
    {'p', 'Q', 'q', 'R', 'r', 'S', 's', 'T', 't', 'U', 'u',
     'V', 'v', 'W', 'w', 'X', 'x', 'Y', 'y', 'Z', 'z'},
    {'!', '@', '#', '$', '%', '^', '&', '*', '(', ')', '-',
     '_', '+', '=', '[', ']', '|', '\\', '\'', ':', ';'},
    {'<', '.', '>', ',', '?', '/', '`', 0xFB, 0xC1, 0xE1, 0xC9,
     0xE9, 0xCD, 0xED, 0xD3, 0xF3, 0xDA, 0xFA, 0xD1, 0xF1, 0xBF},
};

// Advance of the proportional charset in pixels; 0 for a byte with no cell.
// A glyph's ink stays within its advance (and its 8-pixel cell).
constexpr int glyph_advance(unsigned char c) {
  switch (c) {
    case ',': case '.':
      return 2;
    case '!': case '\'': case ':': case ';': case 'I': case '`': case 'i': case 'l': case 0xFB:
      return 3;
    case ' ': case '(': case ')': case '*': case '[': case ']': case 'f': case 'r': case 't':
    case '|':
      return 4;
    case '$': case '/': case '?': case 'E': case 'F': case 'J': case 'L': case 'S': case 'c':
    case 'j': case 'k': case 's':
      return 5;
    case '<': case '>': case 'A': case 'C': case 'D': case 'G': case 'H': case 'N': case 'T':
    case 'U': case 'V': case 'X': case 'Y':
      return 7;
    case '#': case '%': case '&': case 'O': case 'Q': case 'm': case 'w':
      return 8;
    case '@': case 'M': case 'W':
      return 9;
    case '+': case '-': case '=': case 'B': case 'K': case 'P': case 'R': case 'Z': case '\\':
    case '^': case '_': case 'a': case 'b': case 'd': case 'e': case 'g': case 'h': case 'n':
    case 'o': case 'p': case 'q': case 'u': case 'v': case 'x': case 'y': case 'z': case 0xBF:
    case 0xC1: case 0xC9: case 0xCD: case 0xD1: case 0xD3: case 0xDA: case 0xE1: case 0xE9:
    case 0xED: case 0xF1: case 0xF3: case 0xFA:
      return 6;
    default:
      return c >= '0' && c <= '9' ? 6 : 0;
  }
}

// Horizontal strips of BTN_frame1: left cap [s, s+cap), body [s+cap, s+body_end)
// tiled, right cap [s+body_end, s+total); rows t to t + height.
// The menu and title bars (487 + 26) reach one row past the sheet's top; the
// texture repeats, so that row reads the sheet's bottom row, which is kept
// transparent, and both strips are drawn with an empty top row.
struct strip_source {
  int type, s, t, cap, body_end, total, height;
};
inline constexpr strip_source frame1_strips[] = {
    {0, 1, 487, 10, 90, 100, 26},     // menu bar
    {1, 102, 487, 20, 80, 100, 26},   // title bar of a full window
    {2, 304, 486, 10, 42, 52, 26},    // button, up
    {3, 304, 459, 10, 42, 52, 26},    // button, down
    {4, 112, 161, 10, 18, 28, 16},    // progress trough
    {5, 83, 161, 10, 18, 28, 16},     // progress fill
    {7, 240, 242, 10, 55, 65, 24},    // slider trough
    {8, 289, 219, 7, 9, 16, 16},      // slider fill
    {9, 262, 133, 10, 41, 51, 26},    // boxed field
    {10, 357, 488, 26, 42, 68, 24},   // pop-up list
};

// The vertical strip of BTN_frame0 (the scroll bar's trough): bottom cap
// [t, t+cap), body [t+cap, t+body_end) tiled, top cap [t+body_end, t+total).
struct vstrip_source {
  int type, s, t, width, cap, body_end, total;
};
inline constexpr vstrip_source frame0_strips[] = {
    {6, 200, 220, 16, 10, 54, 64},
};

// Panels of BTN_frame2: a square source of side `size`, cut in nine by a
// border of `edge` pixels; corners drawn once, edges and middle tiled.
struct panel_source {
  int type, s, t, size, edge;
};
inline constexpr panel_source frame2_panels[] = {
    {11, 440, 0, 32, 10},    // whole sub-window, with close corners
    {12, 476, 0, 32, 10},    // whole sub-window
    {13, 440, 36, 32, 8},    // group panel
    {14, 476, 36, 32, 8},    // tool-tip
    {15, 440, 72, 32, 8},    // start-up panel
    {16, 476, 72, 32, 8},    // agreement panel
    {17, 440, 108, 32, 6},   // open menu, pop-up list
    {20, 387, 39, 48, 16},   // panel with a wide border
};

// The palette column: each slot's colour is the pixel at (column, row).
struct palette_cell {
  int slot, row, column;
  unsigned char r, g, b;
};
inline constexpr palette_cell palette_cells[] = {
    {33, 155, 319, 51, 67, 86},    {34, 147, 319, 78, 78, 73},   {35, 139, 319, 13, 27, 44},
    {36, 131, 319, 125, 126, 121}, {37, 123, 319, 255, 255, 255}, {39, 115, 319, 238, 238, 238},
    {40, 107, 319, 13, 27, 44},    {41, 99, 319, 93, 99, 110},   {42, 91, 319, 34, 41, 53},
    {44, 83, 319, 39, 44, 52},     {45, 75, 319, 36, 43, 53},    {46, 67, 319, 127, 220, 175},
    {43, 115, 395, 220, 220, 220},
};

// Close corners of a sub-window, 18 by 18: closed (rows 178 to 196) and
// pressed (rows 197 to 215), the left one and the right one.
inline constexpr sheet_rect zap_left_closed = {0, 178, 18, 18};
inline constexpr sheet_rect zap_right_closed = {18, 178, 18, 18};
inline constexpr sheet_rect zap_left_open = {0, 197, 18, 18};
inline constexpr sheet_rect zap_right_open = {18, 197, 18, 18};

// Small pieces of the controls.
inline constexpr sheet_rect check_box = {0, 220, 18, 18};
inline constexpr sheet_rect radio_box = {20, 220, 18, 18};
inline constexpr sheet_rect check_mark = {40, 220, 18, 18};
inline constexpr sheet_rect radio_mark = {60, 220, 18, 18};
inline constexpr sheet_rect digit_up = {80, 220, 10, 8};
inline constexpr sheet_rect digit_down = {92, 220, 10, 8};
inline constexpr sheet_rect slider_knob = {110, 220, 20, 22};
inline constexpr sheet_rect scroll_up = {140, 220, 16, 16};
inline constexpr sheet_rect scroll_down = {158, 220, 16, 16};
inline constexpr sheet_rect scroll_knob = {176, 220, 16, 16};
inline constexpr sheet_rect tab_selected = {0, 250, 90, 26};
inline constexpr sheet_rect tab_other = {0, 280, 90, 26};
// List icons, 16 by 16, one per file type 0 to 17 (1 is a folder).
enum { list_icon_s = 0, list_icon_t = 320, list_icon_size = 16, list_icon_count = 18 };

// ---- Installer sheet (376), held in a 1024 by 1024 texture ----
enum { sheet_installer_w = 1010, sheet_installer_h = 764, sheet_installer_tex = 1024 };

// A button with its three states stacked downwards: as drawn at (u, v), with
// the pointer over it at v - (h + 1), pressed at v - 2 (h + 1).
struct sheet_button {
  const char* label;
  int u, v, w, h;
};
inline constexpr sheet_button installer_buttons[] = {
    {"DESTINATION", 513, 166, 126, 22}, {"START", 640, 166, 83, 22},
    {"Store", 822, 235, 116, 22},       {"Quit", 780, 166, 51, 22},
    {"Decline", 832, 166, 85, 22},      {"Agree", 918, 166, 59, 22},
};
inline constexpr sheet_rect installer_artwork = {644, 33, 128, 86};
// Cell i of interface_icon: 64 by 64 at (64 (i mod 8), 64 (i div 8) + 66).
// Cells 8 to 23 are the sixteen frames of the activity icon; 21 is its rest.
enum { icon_cell = 64, icon_t0 = 66, icon_first_frame = 8, icon_frames = 16, icon_rest = 21 };

// ---- Backgrounds (377, 378) ----
enum { sheet_back_w = 1024, sheet_back_h = 768 };
