// An open menu drawn over the frame, read back: the row under the pointer
// is lit, and on the edge two rows share only the upper one lights.
#include <cstdlib>

#include "gl_suite.h"
#include "shell/hooks.h"
#include "shell/menus.h"
#include "toolkit/colours.h"
#include "toolkit/toolkit.h"

namespace {

class MenuGl : public GlSuite {};

bool near(const std::vector<int>& a, const std::vector<int>& b) {
  for (int c = 0; c < 3; ++c)
    if (std::abs(a[c] - b[c]) > 2) return false;
  return true;
}

TEST_F(MenuGl, TheRowUnderThePointerIsLitAndOnlyThatOne) {
  recall_ins_texes();
  TOOLKIT_install_hooks();
  shell_hooks.init_colours();
  MACIBM_clear_menus(1);
  MACIBM_create_menu(2, -1, "File");
  MACIBM_append_menu(2, 0, 20, "Open", 0);
  MACIBM_append_menu(2, 1, 21, "Close", 0);
  MACIBM_append_menu(2, 2, 22, "-", 0);
  MACIBM_append_menu(2, 3, 23, "[Keep", 1);
  const menu_struct& m = menu[2];
  mnw.menu_open = 2;
  mnw.mouse_x = m.items[0].x1 + 5.0f;
  mnw.mouse_y = m.items[0].y1;   // the edge rows 0 and 1 share
  TOOLKIT_draw_menus();

  const int x = m.items[0].x2 - 4;   // right of every text
  std::vector<int> lit(3);
  for (int c = 0; c < 3; ++c) lit[c] = static_cast<int>(colr.col[41][c] * 255 + 0.5f);
  EXPECT_TRUE(near(lit, rgb_at(x, m.items[0].y1)));
  EXPECT_TRUE(near(lit, rgb_at(x, m.items[0].y2 - 2)));
  EXPECT_FALSE(near(lit, rgb_at(x, m.items[0].y2 - 1))) << "the fill stops a pixel short at the top";
  EXPECT_FALSE(near(lit, rgb_at(x, m.items[1].y1 + 6)));
  EXPECT_FALSE(near(lit, rgb_at(x, m.items[0].y1 - 1)));
  // The bar is behind the titles, and the panel behind the rows.
  EXPECT_FALSE(near({0, 0, 0}, rgb_at(600, m.y1 + 2)));
  EXPECT_FALSE(near({0, 0, 0}, rgb_at(x, m.items[3].y1 + 3)));
  mnw.menu_open = -1;
}

}  // namespace
