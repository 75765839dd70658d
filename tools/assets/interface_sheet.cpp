// The interface sheet: glyphs, frame strips, panels, palette and the small
// pieces of the controls. Every piece is drawn so that what the toolkit tiles
// (strip bodies, panel edges and middles) is constant along the tiling, which
// is what makes the repeats seamless.
#include <algorithm>
#include <cmath>

#include "assets/images.h"
#include "toolkit/sheet.h"

namespace {

// The look: dark slate frames, light panels where dark text sits.
constexpr rgba navy = opaque(13, 27, 44);
constexpr rgba ink = opaque(54, 70, 92);         // borders of light pieces, arrows
constexpr rgba edge_grey = opaque(96, 112, 134);  // borders of light panels
constexpr rgba mint = opaque(127, 220, 175);
constexpr rgba white = opaque(255, 255, 255);
constexpr rgba mark_blue = opaque(24, 62, 110);

// ---------------------------------------------------------------- glyphs

// Font size of the interface glyphs in pixels a em: capitals 7 rows high.
constexpr float glyph_size = 9.6f;

// 0xFB sits among the narrow marks (advance 3) and beside the inverted
// question mark, so it carries the inverted exclamation mark.
unsigned unicode_of(unsigned char c) { return c == 0xFB ? 0xA1 : c; }

struct ink_span {
  int first = 0, last = -1;  // columns of the bitmap with any cover
  int width() const { return last - first + 1; }
};

ink_span columns_of(const glyph_bitmap& g) {
  ink_span s;
  s.first = g.w;
  for (int x = 0; x < g.w; ++x)
    for (int y = 0; y < g.h; ++y)
      if (g.at(x, y)) {
        s.first = std::min(s.first, x);
        s.last = std::max(s.last, x);
      }
  if (s.last < 0) s.first = 0;
  return s;
}

// Renders c into the cell at (cx, cy) with its ink at most `room` columns
// wide, centred on a box of `advance` columns from the cell's left edge.
// A glyph too wide is narrowed, one too tall is flattened, until it fits.
void draw_glyph(raster& r, const face_class& face, unsigned char c, int cx, int cy, int advance,
                int room) {
  const int above = glyph_cell_h - glyph_baseline;  // rows from the base line up
  float xs = glyph_size, ys = glyph_size;
  glyph_bitmap g;
  ink_span span;
  for (int tries = 0; tries < 40; ++tries) {
    g = face.glyph(unicode_of(c), xs, ys);
    span = columns_of(g);
    const bool wide = span.width() > room;
    const bool tall = g.top > above || g.top - g.h < -glyph_baseline;
    if (!wide && !tall) break;
    if (wide) xs *= std::max(0.6f, 0.97f * room / span.width());
    if (tall) ys *= 0.96f;
  }
  const int left = std::max(0, (advance - span.width()) / 2);
  for (int y = 0; y < g.h; ++y)
    for (int x = span.first; x <= span.last; ++x) {
      const int px = cx + left + x - span.first, py = cy + glyph_baseline + g.top - 1 - y;
      // Only the cell is ours: anything the search could not fit is cut.
      if (px < cx || px >= cx + glyph_cell_w || py < cy || py >= cy + glyph_cell_h) continue;
      // A little lift of the faint edge pixels keeps small letters firm.
      const float cover = std::pow(g.at(x, y) / 255.0f, 0.85f);
      if (cover > 0) r.set(px, py, {255, 255, 255, uint8_t(std::lround(cover * 255))});
    }
}

void draw_glyphs(raster& r, const face_class& face) {
  for (int row = 0; row < glyph_rows; ++row)
    for (int col = 0; col < glyph_cols; ++col) {
      const unsigned char c = glyph_grid[row][col];
      if (c == ' ') continue;
      const int cy = glyph_t + row * glyph_cell_h;
      const int advance = glyph_advance(c);
      draw_glyph(r, face, c, glyph_prop_s + col * glyph_cell_w, cy, advance,
                 std::min(advance - 1, int(glyph_cell_w)));
      // The monospaced copy: everything centred in 6 columns, so digits
      // step evenly by 6 or by 10. Numbers put "." and "," half a step
      // after a digit (and the point of the short form 2 pixels further):
      // starting them at column 1 leaves a free column on both sides at 10.
      if (c == '.')
        draw_glyph(r, face, c, glyph_mono_s + col * glyph_cell_w, cy, 3, 1);
      else if (c == ',')
        draw_glyph(r, face, c, glyph_mono_s + col * glyph_cell_w, cy, 4, 2);
      else
        draw_glyph(r, face, c, glyph_mono_s + col * glyph_cell_w, cy, 6, 5);
    }
}

// ---------------------------------------------------------------- shapes

struct ring {
  float width;
  rgba colour;
};

// A rounded box as nested rings around a fill: each ring paints the shape
// inset by the rings outside it.
void layered_box(raster& r, float x0, float y0, float x1, float y1, float radius,
                 const std::vector<ring>& rings, const paint_fn& fill_paint, box clip) {
  float inset = 0;
  for (const ring& g : rings) {
    const float i = inset, rad = std::max(radius - i, 0.5f);
    paint(r, clip, [=](float x, float y) { return sd_round_box(x, y, x0 + i, y0 + i, x1 - i, y1 - i, rad); },
          g.colour);
    inset += g.width;
  }
  const float rad = std::max(radius - inset, 0.5f);
  paint(r, clip,
        [=](float x, float y) { return sd_round_box(x, y, x0 + inset, y0 + inset, x1 - inset, y1 - inset, rad); },
        fill_paint);
}

// A vertical gradient between two rows: bottom colour at y0, top at y1.
paint_fn rows_from(rgba bottom, rgba top, float y0, float y1) {
  return [=](float, float y) { return mix(bottom, top, std::clamp((y - y0) / (y1 - y0), 0.0f, 1.0f)); };
}

box box_of(const sheet_rect& s) { return {s.s, s.t, s.w, s.h}; }

void triangle(raster& r, box clip, float x0, float y0, float x1, float y1, float x2, float y2,
              rgba colour) {
  // Counter-clockwise order whichever way it was given.
  const float turn = (x1 - x0) * (y2 - y0) - (y1 - y0) * (x2 - x0);
  std::vector<float> pts = turn > 0 ? std::vector<float>{x0, y0, x1, y1, x2, y2}
                                    : std::vector<float>{x0, y0, x2, y2, x1, y1};
  paint(r, clip, [pts](float x, float y) { return sd_convex(x, y, pts); }, colour);
}

// ---------------------------------------------------------------- strips

const strip_source& strip(int type) {
  for (const strip_source& s : frame1_strips)
    if (s.type == type) return s;
  return frame1_strips[0];
}

// The strip's box, less the empty top row of the two that reach past the sheet.
box strip_box(const strip_source& s) {
  const int h = s.t + s.height > sheet_interface_h ? s.height - 1 : s.height;
  return {s.s, s.t, s.total, h};
}

void menu_bar(raster& r) {
  const box b = strip_box(strip(0));
  layered_box(r, b.x, b.y, b.x + b.w, b.y + b.h, 2,
              {{1, opaque(8, 16, 28)}},
              rows_from(opaque(22, 34, 50), opaque(46, 63, 86), b.y, b.y + b.h), b);
  fill(r, {b.x + 2, b.y + b.h - 2, b.w - 4, 1}, opaque(84, 104, 130));
}

void title_bar(raster& r) {
  const box b = strip_box(strip(1));
  // Rounded at the top only: the shape runs on below the strip.
  layered_box(r, b.x, b.y - 12, b.x + b.w, b.y + b.h, 6, {{1, opaque(8, 16, 28)}, {1, opaque(150, 170, 196)}},
              rows_from(opaque(62, 80, 104), opaque(100, 122, 150), b.y, b.y + b.h), b);
  fill(r, {b.x, b.y, b.w, 1}, opaque(8, 16, 28));
}

void button(raster& r, int type) {
  const box b = strip_box(strip(type));
  const bool down = type == 3;
  const paint_fn face = down ? rows_from(opaque(214, 221, 230), opaque(170, 182, 197), b.y, b.y + b.h)
                             : rows_from(opaque(200, 209, 220), opaque(250, 251, 253), b.y, b.y + b.h);
  layered_box(r, b.x, b.y, b.x + b.w, b.y + b.h, 6, {{1, ink}, {1, down ? opaque(150, 163, 180) : white}},
              face, b);
}

void progress(raster& r, int type) {
  const box b = strip_box(strip(type));
  if (type == 4) {
    layered_box(r, b.x, b.y, b.x + b.w, b.y + b.h, 7, {{1, opaque(8, 16, 28)}, {1, opaque(24, 34, 48)}},
                rows_from(opaque(48, 63, 82), opaque(34, 47, 64), b.y, b.y + b.h), b);
  } else {
    // Inset, so the trough's rim shows round the fill.
    layered_box(r, b.x + 2, b.y + 2, b.x + b.w - 2, b.y + b.h - 2, 5, {{1, opaque(40, 130, 94)}},
                rows_from(opaque(70, 172, 128), opaque(172, 242, 210), b.y + 3, b.y + b.h - 3), b);
    fill(r, {b.x + 6, b.y + b.h - 5, b.w - 12, 1}, opaque(214, 255, 236));
  }
}

// The slider's groove sits in rows 7 to 16 of the trough; the fill, drawn
// 4 pixels higher and 8 rows shorter by the control, lands in rows 8 to 15.
void slider(raster& r, int type) {
  const box b = strip_box(strip(type));
  if (type == 7) {
    layered_box(r, b.x + 1, b.y + 7, b.x + b.w - 1, b.y + 17, 5, {{1, ink}},
                rows_from(opaque(112, 126, 144), opaque(86, 100, 120), b.y + 8, b.y + 16), b);
  } else {
    // Near white, so the control's colour slot tints it.
    layered_box(r, b.x, b.y, b.x + b.w, b.y + 8, 4, {{1, opaque(70, 80, 96)}},
                rows_from(opaque(190, 196, 204), opaque(255, 255, 255), b.y + 1, b.y + 7), b);
  }
}

// The boxed field covers rows 3 to 22, where its click box lies on the screen.
void boxed_field(raster& r) {
  const box b = strip_box(strip(9));
  layered_box(r, b.x, b.y + 3, b.x + b.w, b.y + 23, 3, {{1, opaque(70, 86, 108)}},
              rows_from(opaque(252, 253, 254), opaque(240, 243, 247), b.y + 4, b.y + 22), b);
  fill(r, {b.x + 2, b.y + 21, b.w - 4, 1}, opaque(206, 213, 222));
}

void popup_list(raster& r) {
  const strip_source& s = strip(10);
  const box b = strip_box(s);
  // Two clear columns at each end: the list's labels sit right against the strip.
  layered_box(r, b.x + 2, b.y, b.x + b.w - 2, b.y + b.h, 6, {{1, ink}, {1, white}},
              rows_from(opaque(200, 209, 220), opaque(250, 251, 253), b.y, b.y + b.h), b);
  // The drop arrow and its divider live in the right cap.
  const int div = s.s + s.body_end + 3;
  fill(r, {div, b.y + 4, 1, b.h - 8}, opaque(150, 163, 180));
  fill(r, {div + 1, b.y + 4, 1, b.h - 8}, white);
  const float cx = (div + 2 + s.s + s.total) / 2.0f, cy = b.y + b.h / 2.0f;
  triangle(r, b, cx - 5, cy + 3, cx + 5, cy + 3, cx, cy - 3, ink);
}

// The scroll bar's trough, tiled upwards: constant along its rows.
void scroll_trough(raster& r) {
  const vstrip_source& v = frame0_strips[0];
  const box b = {v.s, v.t, v.width, v.total};
  layered_box(r, b.x + 2, b.y, b.x + b.w - 2, b.y + b.h, 6, {{1, opaque(70, 86, 108)}},
              [=](float x, float) {
                return mix(opaque(150, 162, 178), opaque(188, 198, 210), std::fabs(x - (b.x + b.w / 2.0f)) / 6);
              },
              b);
}

// ---------------------------------------------------------------- panels

struct panel_style {
  float radius;
  std::vector<ring> rings;
  rgba middle;
};

// Every body is chosen for the text colours drawn on it to read at 4.5:1 or
// better (tests/assets checks the pairs): the dark label colours 42 and 45 on
// light bodies, white, grey 60 and mint on near-black ones.
panel_style style_of(int type) {
  const rgba dark = opaque(8, 16, 28);
  switch (type) {
    case 11:
    case 12:  // whole sub-window: a light dialog inside a slate rim, dark texts
      return {6, {{1, dark}, {1, opaque(112, 132, 156)}, {2, opaque(74, 92, 114)}, {1, dark}},
              opaque(232, 236, 241)};
    case 13:  // group panel: light, for dark labels
      return {5, {{1, edge_grey}, {1, opaque(248, 250, 252)}}, opaque(226, 231, 237)};
    case 14:  // tool-tip: mint text on navy
      return {4, {{1, mint}, {1, opaque(20, 32, 48)}}, fade(opaque(20, 32, 48), 0.94f)};
    case 15:  // start-up and path panel: white, grey and mint text
      return {6, {{1, dark}, {1, opaque(96, 116, 140)}}, opaque(14, 20, 28)};
    case 16:  // agreement: dark text
      return {5, {{1, edge_grey}, {1, opaque(252, 253, 254)}}, opaque(236, 239, 243)};
    case 17:  // menus: white and half-white items
      return {3, {{1, dark}, {1, opaque(90, 110, 135)}}, fade(opaque(16, 24, 36), 0.96f)};
    default:  // 20, round the main screen's texts: white so even the pure red
              // of a failure stands out, a thin rim since a wrapped message
              // comes down to 5 pixels above the panel's bottom
      return {6, {{1, opaque(30, 44, 62)}, {1, opaque(120, 140, 165)}}, opaque(255, 255, 255)};
  }
}

void panels(raster& r) {
  for (const panel_source& p : frame2_panels) {
    const panel_style st = style_of(p.type);
    const box b = {p.s, p.t, p.size, p.size};
    layered_box(r, b.x, b.y, b.x + b.w, b.y + b.h, st.radius, st.rings,
                [m = st.middle](float, float) { return m; }, b);
  }
}

// ---------------------------------------------------------------- palette

void palette(raster& r) {
  for (const palette_cell& p : palette_cells) r.set(p.column, p.row, opaque(p.r, p.g, p.b));
}

// ---------------------------------------------------------------- controls

void close_corner(raster& r, const sheet_rect& s, bool pressed) {
  const box b = box_of(s);
  const float cx = s.s + s.w / 2.0f, cy = s.t + s.h / 2.0f;
  paint(r, b, [=](float x, float y) { return sd_circle(x, y, cx, cy, 7.5f); }, opaque(8, 16, 28));
  paint(r, b, [=](float x, float y) { return sd_circle(x, y, cx, cy, 6.5f); },
        pressed ? opaque(60, 150, 110) : opaque(74, 92, 114));
  const rgba cross = pressed ? white : opaque(226, 232, 240);
  paint(r, b, [=](float x, float y) { return sd_segment(x, y, cx - 3, cy - 3, cx + 3, cy + 3, 0.9f); }, cross);
  paint(r, b, [=](float x, float y) { return sd_segment(x, y, cx - 3, cy + 3, cx + 3, cy - 3, 0.9f); }, cross);
}

void check_and_radio(raster& r) {
  const rgba face_top = white, face_bottom = opaque(218, 225, 234);
  {
    const sheet_rect& s = check_box;
    layered_box(r, s.s + 2, s.t + 2, s.s + 16, s.t + 16, 2.5f, {{1, ink}},
                rows_from(face_bottom, face_top, s.t + 3, s.t + 15), box_of(s));
  }
  {
    const sheet_rect& s = radio_box;
    const float cx = s.s + 9, cy = s.t + 9;
    paint(r, box_of(s), [=](float x, float y) { return sd_circle(x, y, cx, cy, 7); }, ink);
    paint(r, box_of(s), [=](float x, float y) { return sd_circle(x, y, cx, cy, 6); },
          rows_from(face_bottom, face_top, s.t + 3, s.t + 15));
  }
  {
    const sheet_rect& s = check_mark;
    const float x0 = s.s, y0 = s.t;
    paint(r, box_of(s),
          [=](float x, float y) {
            return std::min(sd_segment(x, y, x0 + 5, y0 + 9.5f, x0 + 8, y0 + 6, 1.3f),
                            sd_segment(x, y, x0 + 8, y0 + 6, x0 + 13.5f, y0 + 13.5f, 1.3f));
          },
          mark_blue);
  }
  {
    const sheet_rect& s = radio_mark;
    paint(r, box_of(s), [=](float x, float y) { return sd_circle(x, y, s.s + 9, s.t + 9, 3.5f); }, mark_blue);
  }
}

void arrows_and_knobs(raster& r) {
  {
    const sheet_rect& s = digit_up;
    triangle(r, box_of(s), s.s + 1, s.t + 1.5f, s.s + 9, s.t + 1.5f, s.s + 5, s.t + 6.5f, ink);
  }
  {
    const sheet_rect& s = digit_down;
    triangle(r, box_of(s), s.s + 1, s.t + 6.5f, s.s + 9, s.t + 6.5f, s.s + 5, s.t + 1.5f, ink);
  }
  // Knobs and arrow boxes are near white: the controls tint them mint while held.
  {
    const sheet_rect& s = slider_knob;
    layered_box(r, s.s + 3, s.t + 1, s.s + 17, s.t + 21, 4, {{1, ink}, {1, white}},
                rows_from(opaque(200, 208, 218), opaque(244, 246, 249), s.t + 2, s.t + 20), box_of(s));
    for (int i = 0; i < 3; ++i) fill(r, {s.s + 7, s.t + 8 + 3 * i, 6, 1}, opaque(120, 134, 152));
  }
  for (const sheet_rect* s : {&scroll_up, &scroll_down, &scroll_knob}) {
    const box b = box_of(*s);
    layered_box(r, b.x + 1, b.y + 1, b.x + 15, b.y + 15, s == &scroll_knob ? 5 : 3, {{1, ink}},
                rows_from(opaque(205, 212, 222), opaque(246, 248, 250), b.y + 2, b.y + 14), b);
    const float cx = b.x + 8;
    if (s == &scroll_up) triangle(r, b, cx - 4, b.y + 5.5f, cx + 4, b.y + 5.5f, cx, b.y + 10.5f, ink);
    if (s == &scroll_down) triangle(r, b, cx - 4, b.y + 10.5f, cx + 4, b.y + 10.5f, cx, b.y + 5.5f, ink);
    if (s == &scroll_knob)
      for (int i = 0; i < 3; ++i) fill(r, {b.x + 5, b.y + 5 + 3 * i, 6, 1}, opaque(120, 134, 152));
  }
}

// Tabs: rounded at the top, open at the bottom where they meet their page.
void tabs(raster& r) {
  {
    const sheet_rect& s = tab_selected;
    layered_box(r, s.s, s.t - 10, s.s + s.w, s.t + s.h, 6, {{1, edge_grey}, {1, white}},
                [](float, float) { return opaque(236, 239, 243); }, box_of(s));
  }
  {
    const sheet_rect& s = tab_other;
    layered_box(r, s.s + 1, s.t - 10, s.s + s.w - 1, s.t + s.h - 3, 5, {{1, opaque(110, 124, 144)}},
                rows_from(opaque(176, 185, 197), opaque(198, 205, 214), s.t, s.t + s.h - 3), box_of(s));
  }
}

// ---------------------------------------------------------------- list icons

void folder_icon(raster& r, int x, int y) {
  const box b = {x, y, list_icon_size, list_icon_size};
  const rgba edge = opaque(120, 88, 28);
  layered_box(r, x + 1, y + 10, x + 7, y + 14, 1.5f, {{1, edge}}, [](float, float) { return opaque(236, 196, 98); }, b);
  layered_box(r, x + 1, y + 2, x + 15, y + 12, 1.5f, {{1, edge}},
              rows_from(opaque(222, 170, 64), opaque(250, 214, 120), y + 3, y + 11), b);
}

// A page with a folded corner, a coloured band and the type's letter.
void page_icon(raster& r, const face_class& face, int x, int y, rgba band, unsigned char letter) {
  const box b = {x, y, list_icon_size, list_icon_size};
  const std::vector<float> page = {x + 3.0f, y + 1.0f, x + 13.0f, y + 1.0f, x + 13.0f, y + 11.0f,
                                   x + 10.0f, y + 15.0f, x + 3.0f, y + 15.0f};
  paint(r, b, [page](float px, float py) { return sd_convex(px, py, page); }, opaque(90, 104, 124));
  const std::vector<float> inner = {x + 4.0f, y + 2.0f, x + 12.0f, y + 2.0f, x + 12.0f, y + 10.6f,
                                    x + 9.6f, y + 14.0f, x + 4.0f, y + 14.0f};
  paint(r, b, [inner](float px, float py) { return sd_convex(px, py, inner); }, opaque(248, 250, 252));
  triangle(r, b, x + 10, y + 11, x + 13, y + 11, x + 10, y + 15, opaque(190, 200, 212));
  fill(r, {x + 4, y + 2, 8, 3}, band);
  if (letter) {
    const glyph_bitmap g = face.glyph(letter, 8, 8);
    const ink_span span = columns_of(g);
    const int left = x + 4 + std::max(0, (7 - span.width()) / 2);
    for (int j = 0; j < g.h; ++j)
      for (int i = span.first; i <= span.last; ++i)
        if (g.at(i, j) && y + 6 + g.top - 1 - j < y + 14)
          r.blend(left + i - span.first, y + 6 + g.top - 1 - j, opaque(40, 52, 70), g.at(i, j) / 255.0f);
  }
}

void list_icons(raster& r, const face_class& face) {
  // By file type: band colour and letter (0: unknown, 1: folder).
  struct look {
    rgba band;
    unsigned char letter;
  };
  const look looks[list_icon_count] = {
      {opaque(150, 160, 172), 0},   {},                            {opaque(120, 120, 200), 0},
      {opaque(70, 130, 210), 'A'},  {opaque(60, 170, 200), 'F'},   {opaque(200, 80, 70), 'W'},
      {opaque(160, 120, 200), 0},   {opaque(110, 150, 90), 'O'},   {opaque(200, 160, 60), 0},
      {opaque(80, 170, 120), 'S'},  {opaque(140, 140, 150), 'M'},  {opaque(170, 176, 186), 'T'},
      {opaque(90, 120, 180), 'F'},  {opaque(150, 160, 172), 0},    {opaque(210, 120, 60), 'T'},
      {opaque(200, 70, 120), 'C'},  {opaque(120, 100, 80), 'S'},   {opaque(100, 180, 170), 0},
  };
  for (int i = 0; i < list_icon_count; ++i) {
    const int x = list_icon_s + i * list_icon_size, y = list_icon_t;
    if (i == 1)
      folder_icon(r, x, y);
    else
      page_icon(r, face, x, y, looks[i].band, looks[i].letter);
  }
}

}  // namespace

raster draw_interface_sheet(const image_fonts& fonts) {
  raster r(sheet_interface_w, sheet_interface_h);
  draw_glyphs(r, fonts.regular);
  menu_bar(r);
  title_bar(r);
  button(r, 2);
  button(r, 3);
  progress(r, 4);
  progress(r, 5);
  slider(r, 7);
  slider(r, 8);
  boxed_field(r);
  popup_list(r);
  scroll_trough(r);
  panels(r);
  palette(r);
  close_corner(r, zap_left_closed, false);
  close_corner(r, zap_right_closed, false);
  close_corner(r, zap_left_open, true);
  close_corner(r, zap_right_open, true);
  check_and_radio(r);
  arrows_and_knobs(r);
  tabs(r);
  list_icons(r, fonts.regular);
  return r;
}
