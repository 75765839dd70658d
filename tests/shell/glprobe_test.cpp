// The capability probe against a driver table of our own making.
#include <GL/gl.h>
#include <GL/glext.h>
#include <gtest/gtest.h>

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
  auto it = drv.strings.find(name);
  return it == drv.strings.end() ? nullptr : it->second.c_str();
}
void fake_integerv(unsigned name, int* v) {
  auto it = drv.ints.find(name);
  if (it != drv.ints.end()) v[0] = it->second;
}
void fake_floatv(unsigned name, float* v) {
  if (name == GL_POINT_SIZE_RANGE) {
    v[0] = 1;
    v[1] = 64;
  }
  if (name == GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT) v[0] = 16;
}
void fake_programiv(GLenum target, GLenum pname, GLint* v) {
  if (pname != GL_MAX_PROGRAM_NATIVE_INSTRUCTIONS_ARB) {
    *v = 7;
    return;
  }
  *v = target == GL_FRAGMENT_PROGRAM_ARB ? drv.fprog_native : drv.vprog_native;
}
void fake_any() {}
OGL_proc fake_proc(const char* name) {
  drv.asked.push_back(name);
  if (drv.missing.count(name)) return nullptr;
  if (std::string(name) == "glGetProgramivARB") return reinterpret_cast<OGL_proc>(fake_programiv);
  return fake_any;
}
const OGL_gl_source kFake = {fake_string, fake_integerv, fake_floatv, fake_proc};

class Probe : public ::testing::Test {
 protected:
  void SetUp() override {
    drv = fake_driver();
    drv.strings[GL_VENDOR] = "Test Vendor";
    drv.strings[GL_RENDERER] = "Test Renderer 9000";
    drv.ints[GL_MAX_TEXTURE_UNITS_ARB] = 4;
    drv.ints[GL_MAX_TEXTURE_SIZE] = 2048;
    cmdline.clear();
    unsetenv("_DISABLE_VBO");
    dir = make_temp_dir();
    log_open(dir + "Log.txt");
  }
  void TearDown() override {
    xer.close();
    cmdline.clear();
    unsetenv("_DISABLE_VBO");
    remove_tree(dir);
  }
  OGL_extensions probe(const std::string& version, const std::string& extensions) {
    drv.strings[GL_VERSION] = version;
    drv.strings[GL_EXTENSIONS] = extensions;
    OGL_extensions e;
    e.init_extensions(kFake);
    xer.flush();
    return e;
  }
  void options(std::vector<const char*> args) {
    args.insert(args.begin(), "prog");
    cmdline.init_unix(static_cast<int>(args.size()), args.data());
  }
  std::string log() { return read_file(dir + "Log.txt"); }
  std::string dir;
};

TEST_F(Probe, VersionTextByItsFirstThreeCharactersSetsTheVersionedFlags) {
  EXPECT_EQ(110, OGL_version_number("1.1 Mesa"));
  EXPECT_EQ(150, OGL_version_number("1.5.2"));
  // Anything outside the list counts as 100, newer drivers too.
  EXPECT_EQ(100, OGL_version_number("1.0"));
  EXPECT_EQ(100, OGL_version_number("4.5 (Compatibility Profile) Mesa 22.3.6"));
  EXPECT_EQ(100, OGL_version_number("2."));

  OGL_extensions e = probe("2.1", "");
  for (int f : {e.multi_tex_avail, e.tex_clamp_avail, e.add_env_avail, e.combine_avail,
                e.tex_comp_avail, e.vbo_avail, e.automini_avail, e.fsaa_avail, e.sprites_avail,
                e.depth_tex_avail, e.shad_objs_avail, e.vshader_avail, e.fshader_avail,
                e.glsl_avail})
    EXPECT_EQ(1, f);
  for (int f : {e.dis_fog_avail, e.vprog_avail, e.fprog_avail, e.aniso_avail, e.occlude_avail})
    EXPECT_EQ(0, f);

  // One step below each threshold.
  drv.asked.clear();
  OGL_extensions old = probe("1.4", "GL_ARB_multitexture");
  EXPECT_EQ(1, old.automini_avail);
  EXPECT_EQ(1, old.depth_tex_avail);
  EXPECT_EQ(0, old.vbo_avail);
  EXPECT_EQ(0, old.sprites_avail);
  EXPECT_EQ(0, old.glsl_avail);
  EXPECT_TRUE(drv.asked.empty());   // no family flag set: nothing fetched
}

TEST_F(Probe, ExtensionNamesMatchAsPlainSubstrings) {
  OGL_extensions e = probe("1.1", "GL_ARB_multitexturefoo GL_SGIS_texture_edge_clamp "
                                  "GL_NV_fog_distance GL_EXT_texture_filter_anisotropic "
                                  "GL_ARB_occlusion_query GL_ARB_vertex_buffer_object");
  EXPECT_EQ(1, e.multi_tex_avail);
  EXPECT_EQ(1, e.tex_clamp_avail);
  EXPECT_EQ(1, e.dis_fog_avail);
  EXPECT_EQ(1, e.aniso_avail);
  EXPECT_EQ(1, e.occlude_avail);
  EXPECT_EQ(1, e.vbo_avail);
  EXPECT_EQ(0, e.combine_avail);
  EXPECT_FLOAT_EQ(16, ren.max_aniso);
  EXPECT_EQ("Test Renderer 9000", ren.gl_renderer);
}

TEST_F(Probe, MissingEntryPointsAreAllLoggedAndDropTheirFamily) {
  drv.missing = {"glBindBufferARB", "glUnmapBufferARB", "glGetHandleARB"};
  OGL_extensions e = probe("2.1", "");
  EXPECT_EQ(0, e.vbo_avail);
  // shader objects gone takes both shader kinds and the language with it.
  EXPECT_EQ(0, e.shad_objs_avail);
  EXPECT_EQ(0, e.vshader_avail);
  EXPECT_EQ(0, e.fshader_avail);
  EXPECT_EQ(0, e.glsl_avail);
  EXPECT_EQ(1, e.multi_tex_avail);
  for (const std::string& name : drv.missing)
    EXPECT_NE(std::string::npos, log().find("WARNING: extension missing proc " + name + "\n"));
  // The rest of a family is still fetched after a miss.
  EXPECT_NE(std::find(drv.asked.begin(), drv.asked.end(), "glGetBufferPointervARB"),
            drv.asked.end());
  EXPECT_EQ(nullptr, e.proc("glBindBufferARB"));
  EXPECT_NE(nullptr, e.proc("glGenBuffersARB"));
}

TEST_F(Probe, ProgramsWithoutNativeInstructionsAreDroppedUnlessForced) {
  const std::string ext = "GL_ARB_multitexture GL_ARB_vertex_program GL_ARB_fragment_program";
  drv.fprog_native = 0;
  drv.vprog_native = 128;
  OGL_extensions e = probe("1.3", ext);
  EXPECT_EQ(0, e.fprog_avail);
  EXPECT_EQ(1, e.vprog_avail);
  EXPECT_NE(std::string::npos, log().find("vprog_avail    =1 (128)\n"));

  options({"--use_fprogs"});
  drv.fprog_native = 0;
  EXPECT_EQ(1, probe("1.3", ext).fprog_avail);
  EXPECT_NE(std::string::npos, log().find("fprog_avail    =1 (0/7/7/7)\n"));

  // No vertex programs means no fragment programs either.
  drv.missing = {"glIsProgramARB"};
  drv.fprog_native = 64;
  OGL_extensions gone = probe("1.3", ext);
  EXPECT_EQ(0, gone.vprog_avail);
  EXPECT_EQ(0, gone.fprog_avail);
}

TEST_F(Probe, OptionsActBeforeTheReport) {
  options({"--no_vbos", "--no_sprites", "--no_aniso_filtering", "--no_hw_mipmap", "--no_glsl",
           "--no_vshaders", "--no_fshaders", "--no_pixel_counters"});
  drv.vprog_native = drv.fprog_native = 50;
  OGL_extensions e = probe("2.1", "GL_ARB_vertex_program GL_ARB_fragment_program "
                                  "GL_EXT_texture_filter_anisotropic GL_ARB_occlusion_query");
  for (int f : {e.vbo_avail, e.sprites_avail, e.aniso_avail, e.automini_avail, e.glsl_avail,
                e.vprog_avail, e.fprog_avail, e.occlude_avail})
    EXPECT_EQ(0, f);
  EXPECT_FLOAT_EQ(1.0f, ren.max_aniso);
  // The shader words act on the assembly programs, not on the GLSL shaders.
  EXPECT_EQ(1, e.vshader_avail);
  EXPECT_EQ(1, e.fshader_avail);
  const std::string text = log();
  EXPECT_NE(std::string::npos, text.find("vbo_avail      =0\n"));
  EXPECT_NE(std::string::npos, text.find("glsl_avail     =0 ("));
}

TEST_F(Probe, DisableVboFromTheEnvironmentSkipsItsEntryPoints) {
  setenv("_DISABLE_VBO", "", 1);   // any value, even empty
  EXPECT_EQ(0, probe("1.5", "GL_ARB_multitexture").vbo_avail);
  EXPECT_NE(std::string::npos, log().find("VBOs disabled on user's request.\n"));
  EXPECT_EQ(std::find(drv.asked.begin(), drv.asked.end(), "glBindBufferARB"), drv.asked.end());
}

TEST_F(Probe, ReportListsDriverFlagsAndLimits) {
  drv.strings[GL_SHADING_LANGUAGE_VERSION_ARB] = "1.20";
  drv.ints[GL_MAX_VERTEX_ATTRIBS_ARB] = 16;
  drv.ints[GL_MAX_VERTEX_UNIFORM_COMPONENTS_ARB] = 512;
  drv.ints[GL_MAX_VARYING_FLOATS_ARB] = 32;
  drv.ints[GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS_ARB] = 8;
  drv.ints[GL_MAX_VERTEX_TEXTURE_IMAGE_UNITS_ARB] = 4;
  drv.ints[GL_MAX_FRAGMENT_UNIFORM_COMPONENTS_ARB] = 256;
  probe("2.1", "GL_X");
  const std::string text = log();
  const char* lines[] = {
      "OpenGL Situation :\nOpenGL Vendor    :Test Vendor\nOpenGL Render    :Test Renderer 9000\n"
      "OpenGL Version   :2.1\nOpenGL Extensions:GL_X\ntex_clamp_avail=1\n",
      "vshader_avail  =1 (16/512/32/8/4)\nfshader_avail  =1 (256)\nglsl_avail     =1 (1.20)\n",
      "max tex units    :4 (4/4)\n", "max texture size :2048\n"};
  size_t at = 0;
  for (const char* line : lines) {
    size_t found = text.find(line, at);
    EXPECT_NE(std::string::npos, found) << line;
    if (found != std::string::npos) at = found;
  }
  // multi_tex_avail is probed but not reported.
  EXPECT_EQ(std::string::npos, text.find("multi_tex"));

  drv.strings.erase(GL_SHADING_LANGUAGE_VERSION_ARB);
  probe("2.1", "");
  EXPECT_NE(std::string::npos, log().find("glsl_avail     =1 (<null string>)\n"));
  probe("1.3", "");
  EXPECT_NE(std::string::npos, log().find("glsl_avail     =0 (n/a)\n"));
}

TEST_F(Probe, HardwareBelowTheMinimumIsRefused) {
  // A 1.0 driver fails the version test even with multitexturing listed.
  child_result r = run_in_child([this] {
    probe("1.0", "GL_ARB_multitexture");
    return 0;
  });
  EXPECT_EQ(SIGABRT, r.signal);
  EXPECT_NE(std::string::npos, r.out.find("Your graphics hardware cannot support Zephyra."));
  EXPECT_NE(std::string::npos, r.out.find("First, try updating your graphics drivers."));

  // A modern driver whose version text is outside the list is refused as well.
  r = run_in_child([this] {
    probe("4.5 (Compatibility Profile) Mesa 22.3.6", "GL_ARB_multitexture");
    return 0;
  });
  EXPECT_EQ(SIGABRT, r.signal);

  r = run_in_child([this] {
    options({"--force_run"});
    probe("1.0", "GL_ARB_multitexture");
    printf("went on\n");
    return 0;
  });
  EXPECT_EQ(0, r.exit_code) << r.out;
  EXPECT_NE(std::string::npos, r.out.find("force-run command inline option"));
  EXPECT_NE(std::string::npos, r.out.find("went on"));
}

TEST_F(Probe, SoftwareRenderersOnlyWarn) {
  for (const char* renderer : {"GDI Generic", "Mesa GLX Indirect"}) {
    drv.strings[GL_RENDERER] = renderer;
    child_result r = run_in_child([this] {
      probe("1.3", "");
      printf("went on\n");
      return 0;
    });
    EXPECT_EQ(0, r.exit_code) << renderer;
    EXPECT_NE(std::string::npos, r.out.find("I can not find a 3-D accelerator card")) << renderer;
    EXPECT_NE(std::string::npos, r.out.find("went on"));
  }
  // The software rasteriser of Mesa is not recognised as one.
  drv.strings[GL_RENDERER] = "llvmpipe (LLVM 15.0.6, 256 bits)";
  child_result r = run_in_child([this] {
    probe("2.1", "");
    return 0;
  });
  EXPECT_EQ(std::string::npos, r.out.find("3-D accelerator"));
}

}  // namespace
