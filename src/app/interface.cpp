#include "app/interface.h"

#include <GL/gl.h>

#include "files/mnw.h"
#include "toolkit/draw.h"
#include "toolkit/frames.h"
#include "toolkit/sheet.h"
#include "toolkit/textures.h"

float interface_rect_v(float x, float y, float v, float w, float h, int hot) {
  if (!hot || mnw.menu_open != -1 || !BTN_mouse_in(x, y, x + w, y + h)) return v;
  return mnw.mouse_down ? v - 2 * (h + 1) : v - (h + 1);
}

int interface_rect(float x, float y, float u, float v, float w, float h, int hot, int tint) {
  if (OGL_live()) {
    v = interface_rect_v(x, y, v, w, h, hot);
    float r = 1, g = 1, b = 1;
    if (tint == 1) r = b = 0.8f;
    if (tint == 2) g = b = 0.8f;
    OGL_setstate(fog_off, 1, lit_off, alpha_blend, depth_read_off, depth_write_off);
    tman.bind_ref(tex_installer, 0, 0);
    glColor3f(r, g, b);
    glBegin(GL_QUADS);
    OGL_quad_vertices(x + mnw.win_x, y + mnw.win_y, w, h, u, v, w, h, sheet_installer_tex);
    glEnd();
  }
  return BTN_clicked_in(x, y, x + w, y + h) ? 1 : 0;
}

void interface_icon(float x, float y, int i) {
  interface_rect(x, y, static_cast<float>(icon_cell * (i % 8)),
                 static_cast<float>(icon_cell * (i / 8) + icon_t0), icon_cell, icon_cell, 0, 0);
}
