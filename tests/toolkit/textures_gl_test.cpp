// Textures in a real GL context: the built-in pictures in their power-of-2
// textures, the sub-image path, files by name, and the bind cache.
#include <cstring>

#include "gl_suite.h"
#include "toolkit/builtin_images.h"
#include "toolkit/sheet.h"

namespace {

class GlTextures : public GlSuite {
 protected:
  static void SetUpTestSuite() {
    GlSuite::SetUpTestSuite();
    // What the probe finds on a GL 4.5 driver.
    glExt.tex_clamp_avail = 1;
    glExt.automini_avail = 1;
  }
  static void TearDownTestSuite() {
    glExt = OGL_extensions();
    GlSuite::TearDownTestSuite();
  }

  // The texture of a reference as GL holds it, RGBA, row 0 the bottom.
  static std::vector<unsigned char> read_back(int ref, int* w, int* h, int level = 0) {
    glBindTexture(GL_TEXTURE_2D, tman.record(ref)->tex_id);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, level, GL_TEXTURE_WIDTH, w);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, level, GL_TEXTURE_HEIGHT, h);
    std::vector<unsigned char> px(static_cast<size_t>(*w) * *h * 4);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glGetTexImage(GL_TEXTURE_2D, level, GL_RGBA, GL_UNSIGNED_BYTE, px.data());
    tman.reset_bind();   // we bound behind the manager's back
    return px;
  }
  static int min_filter(int ref) {
    GLint f = 0;
    glBindTexture(GL_TEXTURE_2D, tman.record(ref)->tex_id);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &f);
    tman.reset_bind();
    return f;
  }
  // Loads a plain dx by dy picture of value v from scratch_array into 700.
  static void load_plain(int dx, int dy, unsigned char v, int colour = tex_col_rgba) {
    memset(scratch_array, v, static_cast<size_t>(dx) * dy * 4);
    scratch_dx = dx;
    scratch_dy = dy;
    ASSERT_EQ(1, tman.load_texture(tex_fail_instl, 700, colour, tex_load_now, "scratch_array"));
  }
};

// Where the picture is opaque its texels are its own; transparent ones keep
// alpha 0 (their colour is the edge clean's); the rest of the texture is clear.
void expect_lower_left(const std::vector<unsigned char>& tex, int tw, int th,
                       const unsigned char* pic, int pw, int ph) {
  int wrong = 0;
  for (int y = 0; y < th && wrong < 5; ++y)
    for (int x = 0; x < tw && wrong < 5; ++x) {
      const unsigned char* t = &tex[(static_cast<size_t>(y) * tw + x) * 4];
      bool ok = t[3] == 0;
      if (x < pw && y < ph) {
        const unsigned char* p = pic + (static_cast<size_t>(y) * pw + x) * 4;
        ok = t[3] == p[3] && (p[3] == 0 || memcmp(t, p, 3) == 0);
      }
      if (!ok) {
        ADD_FAILURE() << "texel " << x << ", " << y;
        ++wrong;
      }
    }
}

TEST_F(GlTextures, BuiltInPicturesSitAtTheLowerLeftOfPowerOf2Textures) {
  recall_ins_texes();
  const struct {
    int ref, dx, dy, tex;
  } want[] = {{tex_interface, 512, 512, 512},
              {tex_installer, 1010, 764, 1024},
              {tex_back_1, 1024, 768, 1024},
              {tex_back_2, 1024, 768, 1024}};
  for (const auto& e : want) {
    const ref_dat_struct* r = tman.record(e.ref);
    ASSERT_NE(nullptr, r) << e.ref;
    EXPECT_EQ((std::vector<float>{float(e.dx), float(e.dy), float(e.tex), float(e.tex)}),
              (std::vector<float>{r->dx, r->dy, r->tex_dx, r->tex_dy})) << e.ref;
    EXPECT_TRUE(glIsTexture(r->tex_id)) << e.ref;
  }
  // The interface sheet came last and is still there for the palette.
  EXPECT_EQ(512, scratch_dx);
  EXPECT_EQ(512, scratch_dy);
  EXPECT_EQ(0, memcmp(scratch_array, t_interface_dat, 512 * 512 * 4));
  // Pixel art is not smoothed; the pictures are.
  EXPECT_EQ(GL_NEAREST, min_filter(tex_interface));
  EXPECT_EQ(GL_LINEAR, min_filter(tex_installer));

  int w = 0, h = 0;
  std::vector<unsigned char> tex = read_back(tex_installer, &w, &h);
  ASSERT_EQ(1024, w);
  ASSERT_EQ(1024, h);
  expect_lower_left(tex, w, h, t_installer_dat, 1010, 764);
}

TEST_F(GlTextures, BindRefReturnsEarlyWhenAlreadyBound) {
  load_plain(16, 16, 1);
  const GLint id = static_cast<GLint>(tman.record(700)->tex_id);
  auto bound_now = [] {
    GLint now = -1;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &now);
    return now;
  };
  tman.bind_ref(700, 0, 0);
  EXPECT_EQ(static_cast<unsigned>(id), tman.bound[0]);
  EXPECT_EQ(GL_MODULATE, tman.bound_env[0]);
  EXPECT_EQ(id, bound_now());

  // Unbound behind the cache's back: a second bind believes the cache.
  glBindTexture(GL_TEXTURE_2D, 0);
  tman.bind_ref(700, 0, 0);
  EXPECT_EQ(0, bound_now());
  // The bypass turns the early return off; reset_bind forgets.
  ogl_cache_bypass = 1;
  tman.bind_ref(700, 0, 0);
  ogl_cache_bypass = 0;
  EXPECT_EQ(id, bound_now());
  glBindTexture(GL_TEXTURE_2D, 0);
  tman.reset_bind();
  tman.bind_ref(700, 0, 0);
  EXPECT_EQ(id, bound_now());

  // Another unit gets its own binding, and unit 0 is the active one again.
  tman.bind_ref(700, 1, 0);
  GLint active = 0, on_1 = 0;
  glGetIntegerv(GL_ACTIVE_TEXTURE, &active);
  glActiveTexture(GL_TEXTURE1);
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &on_1);
  glActiveTexture(GL_TEXTURE0);
  EXPECT_EQ((std::vector<int>{GL_TEXTURE0, id}), (std::vector<int>{active, on_1}));
}

}  // namespace
