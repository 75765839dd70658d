// The manager without a display: record keeping, a missing texture in each
// failure mode, and the misuses that end the process.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "files/log.h"
#include "support.h"
#include "toolkit/draw.h"
#include "toolkit/textures.h"

namespace {

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
  std::string log() {
    xer.flush();
    return read_file(dir + "Log.txt");
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
  EXPECT_EQ(377u, tman.refs.size());
  EXPECT_EQ("un-inited", tman.refs[375].name);
  EXPECT_EQ("scratch_array:x", r->name);
  EXPECT_EQ(1010, r->dx);
  EXPECT_EQ(764, r->dy);
  EXPECT_EQ(1024, r->tex_dx);
  EXPECT_EQ(1024, r->tex_dy);
  EXPECT_EQ(tex_state_loaded, r->state);
  EXPECT_EQ(0u, r->tex_id);
  EXPECT_EQ(1, tman.total_texes());
  EXPECT_EQ(1, tman.loaded_texes());
  EXPECT_FLOAT_EQ(4.0f, tman.tot_vram());
  // The scratch picture itself is left alone.
  EXPECT_EQ(200, scratch_array[0]);

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
  EXPECT_TRUE(has(log(), "WARNING: we are missing the texture: " + name + ".\n"));
  EXPECT_EQ(0, tman.total_texes());

  // Once shown and muted, a later failure of the class stays quiet.
  tman.mute_instl_load_fail();
  EXPECT_EQ(0, tman.load_texture(tex_fail_instl, 603, tex_col_rgba, tex_load_now, name));
  EXPECT_FALSE(tman.has_instl_load_fail());
  tman.reset_instl_load_fail();
  EXPECT_EQ(0, tman.load_texture(tex_fail_instl, 603, tex_col_rgba, tex_load_now, name));
  EXPECT_TRUE(tman.has_instl_load_fail());
}

TEST_F(Manager, MissingTextureInTheFatalModeEndsTheProcess) {
  const std::string name = dir + "gone.png";
  child_result r = run_in_child([&] {
    tman.load_texture(tex_fail_fatal, 604, tex_col_rgba, tex_load_now, name);
    return 0;
  });
  EXPECT_NE(0, r.signal) << r.out;
  EXPECT_TRUE(has(r.out, "Trying to load a texture that you do not have!")) << r.out;
  EXPECT_TRUE(has(r.out, "This smacks of a mis-installed copy of Zephyra!")) << r.out;
  EXPECT_TRUE(has(r.out, name)) << r.out;
  EXPECT_TRUE(has(log(), "WARNING: we are missing the texture: " + name + ".\n"));
}

TEST_F(Manager, MisusesEndTheProcessWithTheirValue) {
  struct misuse {
    int ref, flags, when;
    const char* text;
    const char* value;
  } cases[] = {
      {5, tex_col_rgba, 99, "Trying to create an invalid texture load_time!", "value: 99"},
      {3387, tex_col_rgba, tex_load_now, "Trying to bind too low or high a manual_ref!",
       "value: 3387"},
      {5, 4096 | tex_col_rgba, tex_load_now, "Trying to bind an invalid filter type!",
       "value: 4098"},
      {5, tex_mipmap, tex_load_now,
       "BAD color enum for tman - see tman.h for valid colors!  We cannot pass 0.", ""},
  };
  for (const misuse& m : cases) {
    SCOPED_TRACE(m.text);
    child_result r = run_in_child([&] {
      scratch_dx = scratch_dy = 4;
      tman.load_texture(tex_fail_instl, m.ref, m.flags, m.when, "scratch_array:bad");
      return 0;
    });
    EXPECT_NE(0, r.signal) << r.out;
    EXPECT_TRUE(has(r.out, m.text)) << r.out;
    EXPECT_TRUE(has(r.out, m.value)) << r.out;
  }
  // The largest reference is still fine.
  scratch_dx = scratch_dy = 4;
  EXPECT_EQ(1, tman.load_texture(tex_fail_instl, tex_max_ref, tex_col_rgba, tex_load_now,
                                 "scratch_array:top"));
}

}  // namespace
