// Bitmap text from the interface sheet: one quad per character, one glBegin,
// one bind and one colour per string.
#pragma once
#include <string>
#include <vector>

enum {
  charset_UI_diff_space = 100,   // proportional, by the advance table
  charset_UI_mono_6 = 101,       // monospaced, 6 pixels
  charset_UI_mono_10 = 102,      // monospaced, 10 pixels
  charset_UI_menus_KOR = 103,    // two bytes a character, texture 379
};
enum { text_line_height = 10, text_no_wrap = 9999 };

struct oglp_struct {
  float glyph_scale = 1.0f;
};
extern oglp_struct oglp;

// Advance of charset 100 in pixels for a byte; 0 for a byte with no glyph.
int text_advance(unsigned char c);
// Cell (column, row) of a byte in the glyph grid; (0, 0), the blank, for a
// byte with no glyph.
void text_cell(unsigned char c, int* column, int* row);
// Width of a text by the advance table (carriage return, new line and tab
// take no room).
float text_width(const std::string& text);

// Binds the charset's texture, sets the state and colour, returns the cell
// origin and size in pixels, and the fixed advance (0 for charset 100).
int OGL_strtex(int charset, int col, float* s, float* t, float* ds, float* dt);
// One quad; between glBegin(GL_QUADS) and glEnd.
void OGL_char(float x, float y, float s0, float t0, float ds, float dt, int ch, int charset);
// x the left edge, y the base line; wrap 9999 or more: no wrapping.
void OGL_string(int col, float x, float y, const std::string& text, float wrap, int charset);
void OGL_number(int col, float x, float y, float value, int digits, int decimals, int charset);
// Centred on x over a half-transparent dark box.
void OGL_gray_string(int col, float x, float y, const std::string& text);

// The fixed advance of a charset (0 for the proportional one), or -1 for a
// charset that doesn't exist.
int text_charset_advance(int charset);
// The cell of a character in pixels of its texture, as OGL_char finds it:
// ch is a signed char for charsets 100 to 102 (bytes above 127 negative),
// the two-byte code for charset 103.
void text_char_source(int ch, int charset, float s0, float t0, float ds, float dt, float* s,
                      float* t);

// Where OGL_string puts each character, without GL: for tests and for
// measuring. Each entry is the character's byte (the first byte for charset
// 103), the quad's lower left in window pixels (the sub-window's origin
// added), and the code OGL_char gets.
struct glyph_place {
  unsigned char c;
  float x, y;
  int code;
};
void text_layout(float x, float y, const std::string& text, float wrap, int charset,
                 std::vector<glyph_place>* out);
// Where OGL_number puts its characters, likewise (the digits, "-", ".", ","
// and the "x" of the overflow form).
void text_number_layout(float x, float y, float value, int digits, int decimals, int charset,
                        std::vector<glyph_place>* out);
