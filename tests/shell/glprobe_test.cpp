// The capability probe against a driver table of our own making.
#include <GL/gl.h>
#include <GL/glext.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <map>
#include <set>

#include "files/cmdline.h"
#include "files/log.h"
#include "shell/glprobe.h"
#include "support.h"

namespace {

struct fake_driver {
  std::map<unsigned, std::string> strings;
  std::map<unsigned, int> ints;
  std::set<std::string> missing;
  std::vector<std::string> asked;
  int fprog_native = 0, vprog_native = 0;
};
fake_driver drv;

const char* fake_string(unsigned name) {
  return drv.strings.count(name) ? drv.strings[name].c_str() : nullptr;
}
void fake_integerv(unsigned name, int* v) { v[0] = drv.ints.count(name) ? drv.ints[name] : v[0]; }
void fake_floatv(unsigned name, float* v) {
  if (name == GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT) v[0] = 16;
}
// Every limit is 7 but the native instruction counts the test sets.
void fake_programiv(GLenum target, GLenum pname, GLint* v) {
  *v = pname != GL_MAX_PROGRAM_NATIVE_INSTRUCTIONS_ARB ? 7
       : target == GL_FRAGMENT_PROGRAM_ARB           ? drv.fprog_native
                                                     : drv.vprog_native;
}
void fake_any() {}
OGL_proc fake_proc(const char* name) {
  drv.asked.push_back(name);
  if (drv.missing.count(name)) return nullptr;
  if (std::string(name) == "glGetProgramivARB") return reinterpret_cast<OGL_proc>(fake_programiv);
  return fake_any;
}
const OGL_gl_source kFake = {fake_string, fake_integerv, fake_floatv, fake_proc};

// The names of the set flags, in the order of the report.
std::string set_flags(const OGL_extensions& e) {
  std::string names;
#define FLAG(f) if (e.f##_avail) names += (names.empty() ? "" : " ") + std::string(#f);
  FLAG(multi_tex) FLAG(tex_clamp) FLAG(add_env) FLAG(combine) FLAG(dis_fog) FLAG(tex_comp)
  FLAG(vbo) FLAG(vprog) FLAG(fprog) FLAG(automini) FLAG(aniso) FLAG(fsaa) FLAG(sprites)
  FLAG(depth_tex) FLAG(occlude) FLAG(shad_objs) FLAG(vshader) FLAG(fshader) FLAG(glsl)
#undef FLAG
  return names;
}

class Probe : public ::testing::Test {
 protected:
  void SetUp() override {
    drv = fake_driver();
    drv.strings[GL_VENDOR] = "Test Vendor";
    drv.strings[GL_RENDERER] = "Test Renderer 9000";
    drv.ints[GL_MAX_TEXTURE_UNITS_ARB] = 4;
    cmdline.clear();
    dir = make_temp_dir();
    log_open(dir + "Log.txt");
  }
  void TearDown() override { xer.close(), cmdline.clear(), remove_tree(dir); }
  OGL_extensions probe(const std::string& version, const std::string& extensions) {
    drv.strings[GL_VERSION] = version;
    drv.strings[GL_EXTENSIONS] = extensions;
    OGL_extensions e;
    e.init_extensions(kFake), xer.flush();
    return e;
  }
  void options(std::vector<const char*> args) {
    args.insert(args.begin(), "prog");
    cmdline.init_unix(static_cast<int>(args.size()), args.data());
  }
  bool logged(const std::string& part, size_t from = 0) {
    return read_file(dir + "Log.txt").find(part, from) != std::string::npos;
  }
  std::string dir;
};

TEST(ProbeVersion, OnlyListedVersionTextsCountByTheirFirstThreeCharacters) {
  const std::pair<const char*, int> cases[] = {
      {"1.1 Mesa", 110}, {"1.5.2", 150}, {"2.1", 210}, {"4.5 (Compatibility Profile)", 100}};
  for (const auto& c : cases) EXPECT_EQ(c.second, OGL_version_number(c.first)) << c.first;
}

TEST_F(Probe, VersionExtensionsAndOptionsMapToFlags) {
  const char* kVboOff = "VBOs disabled on user's request.\n";
  const std::string below_1_5 = "multi_tex tex_clamp add_env combine tex_comp automini fsaa depth_tex";
  const struct {
    const char *version, *extensions;
    std::vector<const char*> args;
    bool disable_vbo_env, fetches;
    std::string flags;
    const char* logged;
  } cases[] = {
      {"2.1", "", {}, false, true,
       "multi_tex tex_clamp add_env combine tex_comp vbo automini fsaa sprites depth_tex "
       "shad_objs vshader fshader glsl", "OpenGL Version   :2.1\n"},
      // One step below the thresholds; no family flag, nothing fetched.
      {"1.4", "GL_ARB_multitexture", {}, false, false, below_1_5, "vbo_avail      =0\n"},
      // Names match as plain substrings, with no care for word limits.
      {"1.1", "GL_ARB_multitexturefoo GL_SGIS_texture_edge_clamp GL_NV_fog_distance "
              "GL_EXT_texture_filter_anisotropic GL_ARB_occlusion_query "
              "GL_ARB_vertex_buffer_object", {}, false, true,
       "multi_tex tex_clamp dis_fog vbo aniso occlude", "aniso_avail    =1\n"},
      // The shader words act on the assembly programs, not on the GLSL shaders.
      {"2.1", "GL_ARB_vertex_program GL_ARB_fragment_program GL_EXT_texture_filter_anisotropic "
              "GL_ARB_occlusion_query",
       {"--no_vbos", "--no_sprites", "--no_aniso_filtering", "--no_hw_mipmap", "--no_glsl",
        "--no_vshaders", "--no_fshaders", "--no_pixel_counters"}, false, true,
       "multi_tex tex_clamp add_env combine tex_comp fsaa depth_tex shad_objs vshader fshader",
       "glsl_avail     =0 ("},
      {"1.5", "GL_ARB_multitexture", {"--disable-vbo"}, false, false, below_1_5, kVboOff},
      // The variable counts whatever its value, even empty.
      {"1.5", "GL_ARB_multitexture", {}, true, false, below_1_5, kVboOff},
  };
  drv.vprog_native = drv.fprog_native = 50;
  for (const auto& c : cases) {
    cmdline.clear();
    if (!c.args.empty()) options(c.args);
    if (c.disable_vbo_env) setenv("_DISABLE_VBO", "", 1);
    drv.asked.clear();
    const size_t log_before = read_file(dir + "Log.txt").size();
    OGL_extensions e = probe(c.version, c.extensions);
    unsetenv("_DISABLE_VBO");
    EXPECT_EQ(c.flags, set_flags(e)) << c.version << " " << c.extensions;
    EXPECT_EQ(c.fetches, !drv.asked.empty()) << c.version << " " << c.extensions;
    EXPECT_TRUE(logged(c.logged, log_before)) << c.logged;
    // The anisotropy limit stands only with its flag.
    EXPECT_FLOAT_EQ(e.aniso_avail ? 16.0f : 1.0f, ren.max_aniso);
  }
}

TEST_F(Probe, MissingEntryPointsDropTheirFamilyAndProgramsNeedNativeInstructions) {
  drv.missing = {"glBindBufferARB", "glGetHandleARB"};
  OGL_extensions e = probe("2.1", "");
  EXPECT_EQ("multi_tex tex_clamp add_env combine tex_comp automini fsaa sprites depth_tex",
            set_flags(e));
  for (const std::string& name : drv.missing)
    EXPECT_TRUE(logged("WARNING: extension missing proc " + name + "\n")) << name;
  // The rest of a family is still fetched after a miss.
  EXPECT_EQ(1, std::count(drv.asked.begin(), drv.asked.end(), "glGetBufferPointervARB"));
  EXPECT_EQ(nullptr, e.proc("glBindBufferARB"));
  EXPECT_NE(nullptr, e.proc("glGenBuffersARB"));

  // Fragment programs without native instructions count only when forced,
  // and never without vertex programs.
  const std::string ext = "GL_ARB_multitexture GL_ARB_vertex_program GL_ARB_fragment_program";
  drv.missing.clear();
  drv.vprog_native = 128;
  EXPECT_EQ("multi_tex tex_clamp add_env combine tex_comp vprog fsaa", set_flags(probe("1.3", ext)));
  options({"--use_fprogs"});
  EXPECT_EQ(1, probe("1.3", ext).fprog_avail);
  EXPECT_TRUE(logged("fprog_avail    =1 (0/7/7/7)\n"));
  drv.missing = {"glIsProgramARB"};
  OGL_extensions none = probe("1.3", ext);
  EXPECT_EQ(0, none.vprog_avail + none.fprog_avail);
}

TEST_F(Probe, ReportListsDriverFlagsAndLimits) {
  drv.strings[GL_SHADING_LANGUAGE_VERSION_ARB] = "1.20";
  const std::pair<unsigned, int> limits[] = {
      {GL_MAX_VERTEX_ATTRIBS_ARB, 16},           {GL_MAX_VERTEX_UNIFORM_COMPONENTS_ARB, 512},
      {GL_MAX_VARYING_FLOATS_ARB, 32},           {GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS_ARB, 8},
      {GL_MAX_VERTEX_TEXTURE_IMAGE_UNITS_ARB, 4}, {GL_MAX_FRAGMENT_UNIFORM_COMPONENTS_ARB, 256}};
  for (const auto& l : limits) drv.ints[l.first] = l.second;
  drv.vprog_native = 128;
  probe("2.1", "GL_ARB_vertex_program GL_X");
  // multi_tex_avail is probed but not reported; limits not read show as 0.
  EXPECT_TRUE(logged(
      "OpenGL Situation :\nOpenGL Vendor    :Test Vendor\nOpenGL Render    :Test Renderer 9000\n"
      "OpenGL Version   :2.1\nOpenGL Extensions:GL_ARB_vertex_program GL_X\n"
      "tex_clamp_avail=1\nadd_env_avail  =1\ncombine_avail  =1\ndis_fog_avail  =0\n"
      "tex_comp_avail =1\nvbo_avail      =1\nvprog_avail    =1 (128)\nfprog_avail    =0 (0/0/0/0)\n"
      "automini_avail =1\naniso_avail    =0\nfsaa_avail     =1\nsprites_avail  =1\n"
      "depth_tex_avail=1\nocclude_avail  =0\nshad_objs_avail=1\n"
      "vshader_avail  =1 (16/512/32/8/4)\nfshader_avail  =1 (256)\nglsl_avail     =1 (1.20)\n"
      "max tex units    :4 (4/4)\n")) << read_file(dir + "Log.txt");
  drv.strings.erase(GL_SHADING_LANGUAGE_VERSION_ARB);
  probe("2.1", "");
  EXPECT_TRUE(logged("glsl_avail     =1 (<null string>)\n"));
}

TEST_F(Probe, HardwareBelowTheMinimumIsRefusedAndSoftwareRenderersWarn) {
  const struct {
    const char *version, *extensions, *renderer;
    bool force, aborts;
    const char* says;   // null: no warning either
  } cases[] = {
      {"1.0", "GL_ARB_multitexture", "Test", false, true, "First, try updating your graphics drivers."},
      {"1.2", "", "Test", false, true, "Your graphics hardware cannot support Zephyra."},
      {"1.0", "GL_ARB_multitexture", "Test", true, false, "force-run command inline option"},
      {"1.3", "", "Mesa GLX Indirect", false, false, "I can not find a 3-D accelerator card"},
      // The software rasteriser of Mesa is not recognised as one.
      {"2.1", "", "llvmpipe (LLVM 15.0.6, 256 bits)", false, false, nullptr},
  };
  for (const auto& c : cases) {
    drv.strings[GL_RENDERER] = c.renderer;
    child_result r = run_in_child([&] {
      if (c.force) options({"--force_run"});
      probe(c.version, c.extensions);
      printf("went on\n");
      return 0;
    });
    const std::string at = std::string(c.version) + " / " + c.renderer + "\n" + r.out;
    EXPECT_EQ(c.aborts ? SIGABRT : 0, r.signal) << at;
    EXPECT_EQ(!c.aborts, r.out.find("went on") != std::string::npos) << at;
    EXPECT_EQ(c.says != nullptr,
              r.out.find(c.says ? c.says : "3-D accelerator") != std::string::npos) << at;
  }
}

}  // namespace
