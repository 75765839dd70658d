// The texture manager without a display: the sizes a picture is given,
// record keeping, a missing texture in each failure mode, and the misuses
// that end the process.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "files/log.h"
#include "support.h"
#include "toolkit/draw.h"
#include "toolkit/textures.h"

namespace {

struct sized {
  float scale;
  int tex_dx, tex_dy, pic_dx, pic_dy;
};

sized scale_of(int load_type, int flags, int dx, int dy, int tex_res, int maxtexdim = 1024,
               int force = 0) {
  sized s{};
  s.scale = get_scale("x.png", load_type, flags, dx, dy, tex_res, maxtexdim, force, &s.tex_dx,
                      &s.tex_dy, &s.pic_dx, &s.pic_dy);
  return s;
}

TEST(GetScale, EachTexResEachFlagAndTheOnePixelFloor) {
  const float by_res[6] = {0.03125f, 0.0625f, 0.125f, 0.25f, 0.5f, 1.0f};
  for (int r = 0; r <= 5; ++r) {
    SCOPED_TRACE(r);
    const float base = by_res[r];
    sized s = scale_of(tex_manual, tex_col_rgba, 1024, 512, r);
    EXPECT_FLOAT_EQ(base, s.scale);
    EXPECT_EQ(static_cast<int>(1024 * base), s.tex_dx);
    EXPECT_EQ(static_cast<int>(512 * base), s.tex_dy);
    EXPECT_FLOAT_EQ(std::min(1.0f, base * 2), scale_of(tex_manual, tex_finer, 1024, 512, r).scale);
    EXPECT_FLOAT_EQ(base / 2, scale_of(tex_manual, tex_coarser, 1024, 512, r).scale);
    // Full size wins over tex_res and over the coarser flag; so does force.
    EXPECT_FLOAT_EQ(1.0f, scale_of(tex_manual, tex_full_size | tex_coarser, 1024, 512, r).scale);
    EXPECT_FLOAT_EQ(1.0f, scale_of(tex_manual, tex_col_rgba, 1024, 512, r, 1024, 1).scale);
    // Other classes of texture are never scaled.
    EXPECT_FLOAT_EQ(1.0f, scale_of(tex_bitmap, tex_col_rgba, 256, 256, r).scale);
    EXPECT_FLOAT_EQ(1.0f, scale_of(tex_instrument, tex_coarser, 256, 256, r).scale);

    // A one-pixel side, either one, holds the scale at 1.
    for (const sized& s : {scale_of(tex_manual, tex_col_rgba, 1, 512, r),
                           scale_of(tex_manual, tex_coarser, 512, 1, r)})
      EXPECT_EQ((std::vector<float>{1, 1, 512}),
                (std::vector<float>{s.scale, float(std::min(s.tex_dx, s.tex_dy)),
                                    float(std::max(s.pic_dx, s.pic_dy))}));
  }
}

TEST(GetScale, DriversLimitAndPowerOf2Rounding) {
  const int any = -1;
  const struct {
    int load_type, flags, dx, dy, tex_res, maxtexdim;
    sized want;
  } cases[] = {
      // Halved while over the driver's limit, even one that is no power of 2.
      {tex_manual, tex_full_size, 1024, 512, 5, 256, {0.25f, 256, 128, 256, 128}},
      {tex_manual, tex_full_size, 1024, 1024, 5, 300, {0.25f, 256, 256, 256, 256}},
      // Other sizes round up to a power of 2; 642 is the installer sheet's flags.
      {tex_manual, 642, 1010, 764, 0, 1024, {1, 1024, 1024, 1010, 764}},
      {tex_manual, tex_col_rgba, 1010, 764, 4, 1024, {0.5f, 512, 512, 505, 382}},
      {tex_manual, tex_full_size, 3, 5, 5, 1024, {1, 4, 8, 3, 5}},
      // Larger than any texture: held at 1024, the picture reduced to fit.
      {tex_bitmap, tex_full_size, 2000, 64, 5, 4096, {1, 1024, any, 1024, any}},
  };
  for (const auto& c : cases) {
    sized s = scale_of(c.load_type, c.flags, c.dx, c.dy, c.tex_res, c.maxtexdim);
    if (c.want.tex_dy == any) s.tex_dy = s.pic_dy = any;
    EXPECT_EQ((std::vector<int>{c.want.tex_dx, c.want.tex_dy, c.want.pic_dx, c.want.pic_dy}),
              (std::vector<int>{s.tex_dx, s.tex_dy, s.pic_dx, s.pic_dy}))
        << c.dx << "x" << c.dy << " limit " << c.maxtexdim;
    EXPECT_FLOAT_EQ(c.want.scale, s.scale) << c.dx << "x" << c.dy;
  }
}

class Manager : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(OGL_live());
    tman = tman_class();
    dir = make_temp_dir();
    log_open(dir + "Log.txt");
  }
  void TearDown() override {
    xer.close();
    remove_tree(dir);
    tman = tman_class();
  }
  bool logged(const std::string& text) {
    xer.flush();
    return read_file(dir + "Log.txt").find(text) != std::string::npos;
  }
  std::string dir;
};

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST_F(Manager, KeepsRecordsWithoutAContext) {
  scratch_dx = 1010;
  scratch_dy = 764;
  memset(scratch_array, 200, static_cast<size_t>(1010) * 764 * 4);
  EXPECT_EQ(1, tman.load_texture(tex_fail_fatal, 376, 642, tex_load_now, "scratch_array:x"));
  const ref_dat_struct* r = tman.record(376);
  ASSERT_NE(nullptr, r);
  EXPECT_EQ("scratch_array:x", r->name);
  EXPECT_EQ(tex_state_loaded, r->state);
  EXPECT_EQ(0u, r->tex_id);
  EXPECT_FLOAT_EQ(4.0f, tman.tot_vram());   // rounded up to 1024 by 1024
  EXPECT_EQ(200, scratch_array[0]);   // the scratch picture itself is left alone

  tman.bind_ref(376, 0, 0);   // nothing to bind with no context, and no alert
  tman.bind_ref(999, 0, 0);
  EXPECT_EQ(0u, tman.bound[0]);

  tman.unload_texture(376);
  EXPECT_EQ(0, tman.total_texes());
  EXPECT_EQ("un-inited", tman.record(376)->name);
}

TEST_F(Manager, MissingTextureRaisesItsModesFlag) {
  const std::string name = dir + "nothing";
  EXPECT_EQ(0, tman.load_texture(tex_fail_scenery, 601, tex_col_rgba, tex_load_now, name));
  EXPECT_EQ(0, tman.load_texture(tex_fail_plane, 602, tex_col_rgba, tex_load_now, name));
  EXPECT_TRUE(tman.has_scene_load_fail());
  EXPECT_TRUE(tman.has_plane_load_fail());
  EXPECT_FALSE(tman.has_instl_load_fail());
  EXPECT_EQ(0, tman.load_texture(tex_fail_instl, 603, tex_col_rgba, tex_load_now, name));
  EXPECT_TRUE(tman.has_instl_load_fail());
  EXPECT_TRUE(logged("WARNING: we are missing the texture: " + name + ".\n"));
  EXPECT_EQ(0, tman.total_texes());

  // Once shown and muted, a later failure of the class stays quiet.
  tman.mute_instl_load_fail();
  EXPECT_EQ(0, tman.load_texture(tex_fail_instl, 603, tex_col_rgba, tex_load_now, name));
  EXPECT_FALSE(tman.has_instl_load_fail());
  tman.reset_instl_load_fail();
  EXPECT_EQ(0, tman.load_texture(tex_fail_instl, 603, tex_col_rgba, tex_load_now, name));
  EXPECT_TRUE(tman.has_instl_load_fail());
}

TEST_F(Manager, MissingFatalTextureAndMisusesEndTheProcess) {
  const std::string gone = dir + "gone.png", bad = "scratch_array:bad";
  const struct {
    int mode, ref, flags, when;
    std::string name;
    std::vector<std::string> says;
  } cases[] = {
      {tex_fail_fatal, 604, tex_col_rgba, tex_load_now, gone,
       {"Trying to load a texture that you do not have!",
        "This smacks of a mis-installed copy of Zephyra!", gone}},
      {tex_fail_instl, 5, tex_col_rgba, 99, bad,
       {"Trying to create an invalid texture load_time!", "value: 99"}},
      {tex_fail_instl, 3387, tex_col_rgba, tex_load_now, bad,
       {"Trying to bind too low or high a manual_ref!", "value: 3387"}},
      {tex_fail_instl, 5, 4096 | tex_col_rgba, tex_load_now, bad,
       {"Trying to bind an invalid filter type!", "value: 4098"}},
      {tex_fail_instl, 5, tex_mipmap, tex_load_now, bad,
       {"BAD color enum for tman - see tman.h for valid colors!  We cannot pass 0."}},
  };
  for (const auto& m : cases) {
    SCOPED_TRACE(m.says[0]);
    child_result r = run_in_child([&] {
      scratch_dx = scratch_dy = 4;
      tman.load_texture(m.mode, m.ref, m.flags, m.when, m.name);
      return 0;
    });
    EXPECT_NE(0, r.signal) << r.out;
    for (const std::string& text : m.says) EXPECT_TRUE(has(r.out, text)) << text << "\n" << r.out;
  }
  EXPECT_TRUE(logged("WARNING: we are missing the texture: " + gone + ".\n"));
  // The largest reference is still fine.
  scratch_dx = scratch_dy = 4;
  EXPECT_EQ(1, tman.load_texture(tex_fail_instl, tex_max_ref, tex_col_rgba, tex_load_now,
                                 "scratch_array:top"));
}

}  // namespace
