// Base of the window suites: each suite runs its own Xvfb with Mesa and a
// fresh context, with the texture manager, state cache and extension flags
// reset, since an earlier context's records name what this one never had.
#pragma once
#include <gtest/gtest.h>

#include <GL/gl.h>

#include <vector>

#include "files/mnw.h"
#include "shell/glprobe.h"
#include "shell/window.h"
#include "support.h"
#include "toolkit/draw.h"
#include "toolkit/textures.h"
#include "xvfb.h"

class GlSuite : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    server = new xvfb_class;
    ASSERT_TRUE(server->start(1024, 768)) << "Xvfb did not start";
    shell_test_reset();
    tman = tman_class();
    glExt = OGL_extensions();
    MACIBM_setres(1);
    ASSERT_EQ(1, MACIBM_make_context(0));
    glGetIntegerv(GL_MAX_TEXTURE_UNITS, &ren.max_tex_units);
  }
  static void TearDownTestSuite() {
    tman = tman_class();
    delete server;
    server = nullptr;
  }
  void SetUp() override {
    ASSERT_TRUE(OGL_live());
    mnw.win_now = 0;
    mnw.win_x = mnw.win_y = 0;
    OGL_pix_specs(0);
    OGL_reset_state_cache();
    glDisable(GL_SCISSOR_TEST);
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
  }
  static inline xvfb_class* server = nullptr;
};

// R, G, B of a window pixel of the back buffer, counted from the lower left.
inline std::vector<int> rgb_at(int x, int y) {
  unsigned char p[4] = {0, 0, 0, 0};
  glReadBuffer(GL_BACK);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, p);
  return {p[0], p[1], p[2]};
}
