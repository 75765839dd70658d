#include "shell/glprobe.h"

#include <GL/gl.h>
#include <GL/glext.h>
#include <GL/glx.h>

#include <cstdlib>
#include <cstring>
#include <sstream>

#include "files/alert.h"
#include "files/cmdline.h"
#include "files/log.h"

OGL_extensions glExt;
ren_struct ren;

namespace {

const char* const kVboNames[ogl_vbo_procs] = {
    "glBindBufferARB",    "glDeleteBuffersARB",        "glGenBuffersARB",
    "glIsBufferARB",      "glBufferDataARB",           "glBufferSubDataARB",
    "glGetBufferSubDataARB", "glMapBufferARB",         "glUnmapBufferARB",
    "glGetBufferParameterivARB", "glGetBufferPointervARB"};

const char* const kVprogNames[ogl_vprog_procs] = {
    "glVertexAttrib1dARB", "glVertexAttrib1dvARB", "glVertexAttrib1fARB", "glVertexAttrib1fvARB",
    "glVertexAttrib1sARB", "glVertexAttrib1svARB", "glVertexAttrib2dARB", "glVertexAttrib2dvARB",
    "glVertexAttrib2fARB", "glVertexAttrib2fvARB", "glVertexAttrib2sARB", "glVertexAttrib2svARB",
    "glVertexAttrib3dARB", "glVertexAttrib3dvARB", "glVertexAttrib3fARB", "glVertexAttrib3fvARB",
    "glVertexAttrib3sARB", "glVertexAttrib3svARB", "glVertexAttrib4NbvARB",
    "glVertexAttrib4NivARB", "glVertexAttrib4NsvARB", "glVertexAttrib4NubARB",
    "glVertexAttrib4NubvARB", "glVertexAttrib4NuivARB", "glVertexAttrib4NusvARB",
    "glVertexAttrib4bvARB", "glVertexAttrib4dARB", "glVertexAttrib4dvARB", "glVertexAttrib4fARB",
    "glVertexAttrib4fvARB", "glVertexAttrib4ivARB", "glVertexAttrib4sARB", "glVertexAttrib4svARB",
    "glVertexAttrib4ubvARB", "glVertexAttrib4uivARB", "glVertexAttrib4usvARB",
    "glVertexAttribPointerARB", "glEnableVertexAttribArrayARB", "glDisableVertexAttribArrayARB",
    "glProgramStringARB", "glBindProgramARB", "glDeleteProgramsARB", "glGenProgramsARB",
    "glProgramEnvParameter4dARB", "glProgramEnvParameter4dvARB", "glProgramEnvParameter4fARB",
    "glProgramEnvParameter4fvARB", "glProgramLocalParameter4dARB", "glProgramLocalParameter4dvARB",
    "glProgramLocalParameter4fARB", "glProgramLocalParameter4fvARB",
    "glGetProgramEnvParameterdvARB", "glGetProgramEnvParameterfvARB",
    "glGetProgramLocalParameterdvARB", "glGetProgramLocalParameterfvARB", "glGetProgramivARB",
    "glGetProgramStringARB", "glGetVertexAttribdvARB", "glGetVertexAttribfvARB",
    "glGetVertexAttribivARB", "glGetVertexAttribPointervARB", "glIsProgramARB"};

const char* const kOccludeNames[ogl_occlude_procs] = {
    "glGenQueriesARB", "glDeleteQueriesARB",    "glIsQueryARB",          "glBeginQueryARB",
    "glEndQueryARB",   "glGetQueryivARB",       "glGetQueryObjectivARB", "glGetQueryObjectuivARB"};

const char* const kShadObjsNames[ogl_shad_objs_procs] = {
    "glDeleteObjectARB", "glGetHandleARB", "glDetachObjectARB", "glCreateShaderObjectARB",
    "glShaderSourceARB", "glCompileShaderARB", "glCreateProgramObjectARB", "glAttachObjectARB",
    "glLinkProgramARB", "glUseProgramObjectARB", "glValidateProgramARB", "glUniform1fARB",
    "glUniform2fARB", "glUniform3fARB", "glUniform4fARB", "glUniform1iARB", "glUniform2iARB",
    "glUniform3iARB", "glUniform4iARB", "glUniform1fvARB", "glUniform2fvARB", "glUniform3fvARB",
    "glUniform4fvARB", "glUniform1ivARB", "glUniform2ivARB", "glUniform3ivARB", "glUniform4ivARB",
    "glUniformMatrix2fvARB", "glUniformMatrix3fvARB", "glUniformMatrix4fvARB",
    "glGetObjectParameterfvARB", "glGetObjectParameterivARB", "glGetInfoLogARB",
    "glGetAttachedObjectsARB", "glGetUniformLocationARB", "glGetActiveUniformARB",
    "glGetUniformfvARB", "glGetUniformivARB", "glGetShaderSourceARB"};

const char* const kVshaderNames[ogl_vshader_procs] = {
    "glBindAttribLocationARB", "glGetActiveAttribARB", "glGetAttribLocationARB"};

const char* real_get_string(unsigned name) {
  return reinterpret_cast<const char*>(glGetString(name));
}
void real_get_integerv(unsigned name, int* values) { glGetIntegerv(name, values); }
void real_get_floatv(unsigned name, float* values) { glGetFloatv(name, values); }
OGL_proc real_get_proc(const char* name) {
  return glXGetProcAddressARB(reinterpret_cast<const GLubyte*>(name));
}

const OGL_gl_source kRealGl = {real_get_string, real_get_integerv, real_get_floatv,
                               real_get_proc};

std::string text_or_empty(const char* s) { return s ? s : ""; }

bool has(const std::string& list, const char* name) {
  // A plain substring test, as drivers were read in the family's code.
  return strstr(list.c_str(), name) != nullptr;
}

int get_int(const OGL_gl_source& gl, unsigned name) {
  int values[4] = {0, 0, 0, 0};
  gl.get_integerv(name, values);
  return values[0];
}

struct flag_label {
  int OGL_extensions::*flag;
  const char* label;
};
const flag_label kReportRows[] = {
    {&OGL_extensions::tex_clamp_avail, "tex_clamp_avail="},
    {&OGL_extensions::add_env_avail, "add_env_avail  ="},
    {&OGL_extensions::combine_avail, "combine_avail  ="},
    {&OGL_extensions::dis_fog_avail, "dis_fog_avail  ="},
    {&OGL_extensions::tex_comp_avail, "tex_comp_avail ="},
    {&OGL_extensions::vbo_avail, "vbo_avail      ="},
    {&OGL_extensions::vprog_avail, "vprog_avail    ="},
    {&OGL_extensions::fprog_avail, "fprog_avail    ="},
    {&OGL_extensions::automini_avail, "automini_avail ="},
    {&OGL_extensions::aniso_avail, "aniso_avail    ="},
    {&OGL_extensions::fsaa_avail, "fsaa_avail     ="},
    {&OGL_extensions::sprites_avail, "sprites_avail  ="},
    {&OGL_extensions::depth_tex_avail, "depth_tex_avail="},
    {&OGL_extensions::occlude_avail, "occlude_avail  ="},
    {&OGL_extensions::shad_objs_avail, "shad_objs_avail="},
    {&OGL_extensions::vshader_avail, "vshader_avail  ="},
    {&OGL_extensions::fshader_avail, "fshader_avail  ="},
    {&OGL_extensions::glsl_avail, "glsl_avail     ="},
};

std::string joined(const int* values, int count) {
  std::ostringstream out;
  out << " (";
  for (int i = 0; i < count; ++i) out << (i ? "/" : "") << values[i];
  out << ")";
  return out.str();
}

}  // namespace

const OGL_gl_source& OGL_real_gl() { return kRealGl; }

const char* const* OGL_family_names(int family, int* count) {
  switch (family) {
    case ogl_fam_vbo: *count = ogl_vbo_procs; return kVboNames;
    case ogl_fam_vprog: *count = ogl_vprog_procs; return kVprogNames;
    case ogl_fam_occlude: *count = ogl_occlude_procs; return kOccludeNames;
    case ogl_fam_shad_objs: *count = ogl_shad_objs_procs; return kShadObjsNames;
    case ogl_fam_vshader: *count = ogl_vshader_procs; return kVshaderNames;
  }
  *count = 0;
  return nullptr;
}

int OGL_version_number(const char* version) {
  static const struct { const char* text; int number; } kVersions[] = {
      {"1.1", 110}, {"1.2", 120}, {"1.3", 130}, {"1.4", 140},
      {"1.5", 150}, {"2.0", 200}, {"2.1", 210}};
  if (!version) return 100;
  // Only the first three characters count: a "3.0" or "4.5" driver is 100.
  for (const auto& v : kVersions)
    if (strncmp(version, v.text, 3) == 0) return v.number;
  return 100;
}

OGL_extensions::OGL_extensions() {
  for (int f = 0; f < ogl_fam_count; ++f) {
    int n = 0;
    OGL_family_names(f, &n);
    OGL_proc* procs = family_procs(f);
    for (int i = 0; i < n; ++i) procs[i] = nullptr;
  }
}

OGL_proc* OGL_extensions::family_procs(int family) {
  switch (family) {
    case ogl_fam_vbo: return vbo_procs;
    case ogl_fam_vprog: return vprog_procs;
    case ogl_fam_occlude: return occlude_procs;
    case ogl_fam_shad_objs: return shad_objs_procs;
    default: return vshader_procs;
  }
}

int* OGL_extensions::family_flag(int family) {
  switch (family) {
    case ogl_fam_vbo: return &vbo_avail;
    case ogl_fam_vprog: return &vprog_avail;
    case ogl_fam_occlude: return &occlude_avail;
    case ogl_fam_shad_objs: return &shad_objs_avail;
    default: return &vshader_avail;
  }
}

OGL_proc OGL_extensions::proc(const char* name) {
  for (int f = 0; f < ogl_fam_count; ++f) {
    int n = 0;
    const char* const* names = OGL_family_names(f, &n);
    for (int i = 0; i < n; ++i)
      if (strcmp(names[i], name) == 0)
        return family_procs(f)[i];
  }
  return nullptr;
}

void OGL_extensions::init_extensions() { init_extensions(OGL_real_gl()); }

void OGL_extensions::init_extensions(const OGL_gl_source& gl) {
  ren.gl_vendor = text_or_empty(gl.get_string(GL_VENDOR));
  ren.gl_renderer = text_or_empty(gl.get_string(GL_RENDERER));
  ren.gl_version = text_or_empty(gl.get_string(GL_VERSION));
  ren.gl_extensions = text_or_empty(gl.get_string(GL_EXTENSIONS));

  const int ver = OGL_version_number(ren.gl_version.c_str());
  const std::string& ext = ren.gl_extensions;
  multi_tex_avail = ver >= 130 || has(ext, "GL_ARB_multitexture");
  tex_clamp_avail =
      ver >= 120 || has(ext, "GL_EXT_texture_edge_clamp") || has(ext, "GL_SGIS_texture_edge_clamp");
  add_env_avail = ver >= 130 || has(ext, "GL_ARB_texture_env_add") || has(ext, "GL_EXT_texture_env_add");
  combine_avail = ver >= 130 || has(ext, "GL_ARB_texture_env_combine") ||
                  has(ext, "GL_EXT_texture_env_combine");
  dis_fog_avail = has(ext, "GL_NV_fog_distance");
  tex_comp_avail = ver >= 130 || has(ext, "GL_ARB_texture_compression");
  vbo_avail = ver >= 150 || has(ext, "GL_ARB_vertex_buffer_object");
  vprog_avail = has(ext, "GL_ARB_vertex_program");
  fprog_avail = has(ext, "GL_ARB_fragment_program");
  automini_avail = ver >= 140 || has(ext, "GL_SGIS_generate_mipmap");
  aniso_avail = has(ext, "GL_EXT_texture_filter_anisotropic");
  fsaa_avail = ver >= 130 || has(ext, "GL_ARB_multisample");
  sprites_avail = ver >= 200 || has(ext, "GL_ARB_point_sprite");
  depth_tex_avail = ver >= 140 || has(ext, "GL_ARB_depth_texture");
  occlude_avail = has(ext, "GL_ARB_occlusion_query");
  shad_objs_avail = ver >= 200 || has(ext, "GL_ARB_shader_objects");
  vshader_avail = ver >= 200 || has(ext, "GL_ARB_vertex_shader");
  fshader_avail = ver >= 200 || has(ext, "GL_ARB_fragment_shader");
  glsl_avail = ver >= 200 || has(ext, "GL_ARB_shading_language_100");

  if (getenv("_DISABLE_VBO") || cmdline.has_option("--disable-vbo")) {
    xer << "VBOs disabled on user's request.\n";
    vbo_avail = 0;
  }

  for (int f = 0; f < ogl_fam_count; ++f) {
    int* flag = family_flag(f);
    if (!*flag) continue;
    int n = 0;
    const char* const* names = OGL_family_names(f, &n);
    OGL_proc* procs = family_procs(f);
    // Fetch the whole family even after a miss, so the log names every gap.
    for (int i = 0; i < n; ++i) {
      procs[i] = gl.get_proc(names[i]);
      if (!procs[i]) {
        xer << "WARNING: extension missing proc " << names[i] << "\n";
        *flag = 0;
      }
    }
  }

  if (!vprog_avail) fprog_avail = 0;
  if (!shad_objs_avail) {
    fshader_avail = 0;
    vshader_avail = 0;
  }
  if (!vshader_avail || !fshader_avail) glsl_avail = 0;

  typedef void (*programiv_fn)(GLenum, GLenum, GLint*);
  programiv_fn get_programiv = reinterpret_cast<programiv_fn>(proc("glGetProgramivARB"));
  auto program_limit = [&](GLenum target, GLenum pname) {
    GLint value = 0;
    if (get_programiv) get_programiv(target, pname, &value);
    return static_cast<int>(value);
  };
  int fprog_limits[4] = {0, 0, 0, 0};
  if (fprog_avail) {
    const GLenum names[4] = {GL_MAX_PROGRAM_NATIVE_INSTRUCTIONS_ARB,
                             GL_MAX_PROGRAM_NATIVE_ALU_INSTRUCTIONS_ARB,
                             GL_MAX_PROGRAM_NATIVE_TEX_INSTRUCTIONS_ARB,
                             GL_MAX_PROGRAM_NATIVE_TEX_INDIRECTIONS_ARB};
    for (int i = 0; i < 4; ++i) fprog_limits[i] = program_limit(GL_FRAGMENT_PROGRAM_ARB, names[i]);
    // No native instructions means software emulation: not worth using.
    if (fprog_limits[0] == 0 && !cmdline.has_option("--use_fprogs")) fprog_avail = 0;
  }
  int vprog_limit = 0;
  if (vprog_avail) {
    vprog_limit = program_limit(GL_VERTEX_PROGRAM_ARB, GL_MAX_PROGRAM_NATIVE_INSTRUCTIONS_ARB);
    if (vprog_limit == 0 && !cmdline.has_option("--use_vprogs")) vprog_avail = 0;
  }

  int vshader_limits[5] = {0, 0, 0, 0, 0};
  if (vshader_avail) {
    const unsigned names[5] = {GL_MAX_VERTEX_ATTRIBS_ARB, GL_MAX_VERTEX_UNIFORM_COMPONENTS_ARB,
                               GL_MAX_VARYING_FLOATS_ARB, GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS_ARB,
                               GL_MAX_VERTEX_TEXTURE_IMAGE_UNITS_ARB};
    for (int i = 0; i < 5; ++i) vshader_limits[i] = get_int(gl, names[i]);
  }
  int fshader_limit = 0;
  if (fshader_avail) fshader_limit = get_int(gl, GL_MAX_FRAGMENT_UNIFORM_COMPONENTS_ARB);
  std::string glsl_version = "n/a";
  if (glsl_avail) {
    const char* v = gl.get_string(GL_SHADING_LANGUAGE_VERSION_ARB);
    glsl_version = v ? v : "<null string>";
  }

  ren.max_aniso = 1.0f;
  ren.max_tex_units = get_int(gl, GL_MAX_TEXTURE_UNITS_ARB);
  if (fprog_avail) {
    ren.max_tex_coords = get_int(gl, GL_MAX_TEXTURE_COORDS_ARB);
    ren.max_tex_image_units = get_int(gl, GL_MAX_TEXTURE_IMAGE_UNITS_ARB);
  } else {
    ren.max_tex_coords = ren.max_tex_units;
    ren.max_tex_image_units = ren.max_tex_units;
  }
  if (aniso_avail) {
    float v[4] = {1.0f, 0, 0, 0};
    gl.get_floatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, v);
    ren.max_aniso = v[0];
  }
  const int max_tex_size = get_int(gl, GL_MAX_TEXTURE_SIZE);
  float point_range[4] = {0, 0, 0, 0};
  gl.get_floatv(GL_POINT_SIZE_RANGE, point_range);

  if (cmdline.has_option("--no_vbos")) vbo_avail = 0;
  if (cmdline.has_option("--no_sprites")) sprites_avail = 0;
  if (cmdline.has_option("--no_pixel_counters")) occlude_avail = 0;
  if (cmdline.has_option("--no_aniso_filtering")) {
    aniso_avail = 0;
    ren.max_aniso = 1.0f;
  }
  if (cmdline.has_option("--no_hw_mipmap")) automini_avail = 0;
  // The shader words of the usage text mean the assembly programs.
  if (cmdline.has_option("--no_vshaders")) vprog_avail = 0;
  if (cmdline.has_option("--no_fshaders")) fprog_avail = 0;
  if (cmdline.has_option("--no_glsl")) glsl_avail = 0;

  xer << "OpenGL Situation :\n";
  xer << "OpenGL Vendor    :" << ren.gl_vendor << "\n";
  xer << "OpenGL Render    :" << ren.gl_renderer << "\n";
  xer << "OpenGL Version   :" << ren.gl_version << "\n";
  xer << "OpenGL Extensions:" << ren.gl_extensions << "\n";
  for (const flag_label& row : kReportRows) {
    xer << row.label << this->*row.flag;
    if (row.flag == &OGL_extensions::vprog_avail) xer << joined(&vprog_limit, 1);
    if (row.flag == &OGL_extensions::fprog_avail) xer << joined(fprog_limits, 4);
    if (row.flag == &OGL_extensions::vshader_avail) xer << joined(vshader_limits, 5);
    if (row.flag == &OGL_extensions::fshader_avail) xer << joined(&fshader_limit, 1);
    if (row.flag == &OGL_extensions::glsl_avail) xer << " (" << glsl_version << ")";
    xer << "\n";
  }
  xer << "max tex units    :" << ren.max_tex_units << " (" << ren.max_tex_coords << "/"
      << ren.max_tex_image_units << ")\n";
  xer << "max iso filtering:" << ren.max_aniso << "\n";
  xer << "max texture size :" << max_tex_size << "\n";
  xer << "max point size   :" << point_range[0] << "/" << point_range[1] << "\n";
  xer.flush();

  if (!multi_tex_avail || ver < 110) {
    const char* first =
        "Your graphics hardware cannot support Zephyra. Zephyra requires a graphics card with 16 "
        "MB of VRAM and multitexuring.";
    if (cmdline.has_option("--force_run"))
      MACIBM_alert(0, first, "Your system does not meet Zephyra's hardware requirements.",
                   "You have used the force-run command inline option to run Zephyra anyway, but "
                   "it may crash.",
                   "See the system requirements and support pages on the Vantrell web site.",
                   alert_warning);
    else
      MACIBM_alert(0, first, "First, try updating your graphics drivers.",
                   "If this does not help, check your graphics card specifications.",
                   "For help, contact Vantrell support through the Vantrell web site.",
                   alert_fatal);
  }

  const std::string& r = ren.gl_renderer;
  if (has(r, "GENERIC") || has(r, "Generic") || has(r, "generic") || has(r, "Mesa GLX Indirect"))
    MACIBM_alert(0,
                 "I can not find a 3-D accelerator card that can handle OpenGL that has correctly "
                 "installed drivers.",
                 "I will still let you run the simulator, but the frame rate will NOT allow for a "
                 "good simulation.",
                 "For you to fly realistically, you must use Zephyra version Classic, or get a 3-D "
                 "accelerator card that can handle OpenGL.",
                 "The Vantrell web site lists the graphics cards known to work.", alert_warning);
}
