// An open menu drawn over the frame and read back: the row under the
// pointer is lit, a pixel short at the top, so of two rows sharing an edge
// only the upper one lights.
#include <cstdlib>

#include "gl_suite.h"
#include "shell/menus.h"
#include "toolkit/colours.h"
#include "toolkit/sheet.h"
#include "toolkit/toolkit.h"

namespace {

class MenuGl : public GlSuite {};

TEST_F(MenuGl, TheRowUnderThePointerIsLitAndOnlyThatOne) {
  recall_ins_texes();
  colr_read_palette(scratch_array, sheet_interface_w, sheet_interface_h);
  TOOLKIT_install_hooks();
  MACIBM_clear_menus(1);
  MACIBM_create_menu(2, -1, "File");
  const char* rows[] = {"Open", "Close", "-", "[Keep"};
  for (int i = 0; i < 4; ++i) MACIBM_append_menu(2, i, 20 + i, rows[i], i == 3);
  const menu_struct& m = menu[2];
  mnw.menu_open = 2;
  mnw.mouse_x = m.x1 + 5.0f;
  mnw.mouse_y = m.items[0].y1;
  TOOLKIT_draw_menus();
  mnw.menu_open = -1;

  const int x = m.items[0].x2 - 4;   // right of every text
  auto lit = [&](int y) {
    const std::vector<int> p = rgb_at(x, y);
    for (int c = 0; c < 3; ++c)
      if (std::abs(p[c] - static_cast<int>(colr.col[41][c] * 255 + 0.5f)) > 2) return false;
    return true;
  };
  const struct { int y; bool lit; } pixels[] = {
      {m.items[0].y1, true}, {m.items[0].y2 - 2, true}, {m.items[0].y2 - 1, false},
      {m.items[0].y1 - 1, false}, {m.items[1].y1 + 6, false}};
  for (const auto& p : pixels) EXPECT_EQ(p.lit, lit(p.y)) << p.y;
  EXPECT_NE((std::vector<int>{0, 0, 0}), rgb_at(600, m.y1 + 2)) << "the bar";
}

}  // namespace
