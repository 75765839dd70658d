// The texture manager and picture files without a display.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
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

TEST(GetScale, ResolutionFlagsDriverLimitAndPowerOf2Rounding) {
  const struct {
    int load_type, flags, dx, dy, tex_res, maxtexdim, force;
    sized want;
  } cases[] = {
      {tex_manual, tex_coarser, 1024, 512, 5, 1024, 0, {0.5f, 512, 256, 512, 256}},
      // Full size wins over the coarser flag.
      {tex_manual, tex_full_size | tex_coarser, 1024, 512, 0, 1024, 0, {1, 1024, 512, 1024, 512}},
      // A one-pixel side, either one, holds the scale at 1.
      {tex_manual, tex_col_rgba, 1, 512, 0, 1024, 0, {1, 1, 512, 1, 512}},
      {tex_manual, tex_coarser, 512, 1, 2, 1024, 0, {1, 512, 1, 512, 1}},
      // Halved while over the driver's limit, even one that is no power of 2.
      {tex_manual, tex_full_size, 1024, 512, 5, 256, 0, {0.25f, 256, 128, 256, 128}},
      {tex_manual, tex_full_size, 1024, 1024, 5, 300, 0, {0.25f, 256, 256, 256, 256}},
      // Other sizes round up to a power of 2; 642 is the installer sheet's flags.
      {tex_manual, 642, 1010, 764, 0, 1024, 0, {1, 1024, 1024, 1010, 764}},
      {tex_manual, tex_col_rgba, 1010, 764, 4, 1024, 0, {0.5f, 512, 512, 505, 382}},
      // Other classes are never scaled, but held at 1024 with the picture reduced.
      {tex_bitmap, tex_full_size, 2000, 64, 5, 4096, 0, {1, 1024, 64, 1024, 64}},
  };
  for (const auto& c : cases) {
    const sized s = scale_of(c.load_type, c.flags, c.dx, c.dy, c.tex_res, c.maxtexdim, c.force);
    EXPECT_EQ((std::vector<float>{c.want.scale, float(c.want.tex_dx), float(c.want.tex_dy),
                                  float(c.want.pic_dx), float(c.want.pic_dy)}),
              (std::vector<float>{s.scale, float(s.tex_dx), float(s.tex_dy), float(s.pic_dx),
                                  float(s.pic_dy)}))
        << c.dx << "x" << c.dy << " flags " << c.flags << " res " << c.tex_res;
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
  static void put(const std::string& path, const std::string& content) {
    FILE* f = fopen(path.c_str(), "wb");
    fwrite(content.data(), 1, content.size(), f);
    fclose(f);
  }
  std::string dir;
};

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
  // The largest reference is still fine.
  scratch_dx = scratch_dy = 4;
  EXPECT_EQ(1, tman.load_texture(tex_fail_instl, tex_max_ref, tex_col_rgba, tex_load_now,
                                 "scratch_array:top"));
}

// A picture larger than its target: each target pixel is the mean of its box.
TEST_F(Manager, PngReducedByBoxAveraging) {
  const unsigned char grey[8] = {0, 100, 10, 110, 20, 120, 30, 130};   // 4 by 2
  memcpy(scratch_array, grey, 8);
  ASSERT_EQ(1, write_png_to_disk(dir + "wide.png", 4, 2, 1));
  ASSERT_EQ(1, load_png_into_scratch(dir + "wide.png", 1, 2, 1));
  EXPECT_EQ((std::vector<int>{2, 1, 60, 70}),
            (std::vector<int>{scratch_dx, scratch_dy, scratch_array[0], scratch_array[1]}));
}

TEST_F(Manager, BrokenPngsAreNamedInTheLog) {
  EXPECT_EQ(0, load_png_into_scratch(dir + "none.png", 4));   // absent: quietly not there
  put(dir + "text.png", "this is no picture at all");
  EXPECT_EQ(0, load_png_into_scratch(dir + "text.png", 4));
  EXPECT_TRUE(logged("PING-FILE ERROR!\nis_png=!png_sig_cmp(png_io_buf,0,8)\n"));

  memset(scratch_array, 7, 8 * 8 * 4);
  ASSERT_EQ(1, write_png_to_disk(dir + "cut.png", 8, 8, 4));
  const std::string whole = read_file(dir + "cut.png");
  put(dir + "cut.png", whole.substr(0, whole.size() / 2));
  EXPECT_EQ(0, load_png_into_scratch(dir + "cut.png", 4));
  EXPECT_TRUE(logged("PING-FILE ERROR!\nsetjmp(png_ptr->jmpbuf\n"));
}

}  // namespace
