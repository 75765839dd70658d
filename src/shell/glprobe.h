// What the driver can do, found once after the context exists: capability
// flags, optional entry points, limits, the log report, and the refusal of
// hardware below the minimum.
#pragma once
#include <string>

typedef void (*OGL_proc)();

// Where the probe reads the driver. The real one is GL itself; tests give
// a table of their own.
struct OGL_gl_source {
  const char* (*get_string)(unsigned name);
  void (*get_integerv)(unsigned name, int* values);
  void (*get_floatv)(unsigned name, float* values);
  OGL_proc (*get_proc)(const char* name);
};
const OGL_gl_source& OGL_real_gl();

// The optional families, in the order their entry points are fetched.
enum { ogl_fam_vbo, ogl_fam_vprog, ogl_fam_occlude, ogl_fam_shad_objs, ogl_fam_vshader,
       ogl_fam_count };
enum { ogl_vbo_procs = 11, ogl_vprog_procs = 62, ogl_occlude_procs = 8, ogl_shad_objs_procs = 39,
       ogl_vshader_procs = 3 };
// The names of a family's entry points, and how many.
const char* const* OGL_family_names(int family, int* count);

class OGL_extensions {
 public:
  OGL_extensions();
  void init_extensions();
  void init_extensions(const OGL_gl_source& gl);
  // The fetched entry point of that name, null when absent or not fetched.
  OGL_proc proc(const char* name);

  OGL_proc vbo_procs[ogl_vbo_procs];
  OGL_proc vprog_procs[ogl_vprog_procs];
  OGL_proc occlude_procs[ogl_occlude_procs];
  OGL_proc shad_objs_procs[ogl_shad_objs_procs];
  OGL_proc vshader_procs[ogl_vshader_procs];

  int multi_tex_avail = 0;
  int tex_clamp_avail = 0;
  int add_env_avail = 0;
  int combine_avail = 0;
  int dis_fog_avail = 0;
  int tex_comp_avail = 0;
  int vbo_avail = 0;
  int vprog_avail = 0;
  int fprog_avail = 0;
  int automini_avail = 0;
  int aniso_avail = 0;
  int fsaa_avail = 0;
  int sprites_avail = 0;
  int depth_tex_avail = 0;
  int occlude_avail = 0;
  int shad_objs_avail = 0;
  int vshader_avail = 0;
  int fshader_avail = 0;
  int glsl_avail = 0;

 private:
  OGL_proc* family_procs(int family);
  int* family_flag(int family);
};
extern OGL_extensions glExt;

struct ren_struct {
  float max_aniso = 1.0f;
  int max_tex_units = 0;
  int max_tex_coords = 0;
  int max_tex_image_units = 0;
  std::string gl_vendor, gl_renderer, gl_version, gl_extensions;
  float alpha = 1.0f;   // applied to every interface colour
  int mono = 0;         // draw in shades of green
};
extern ren_struct ren;

// "1.1" is 110 ... "2.1" 210; every other text is 100.
int OGL_version_number(const char* version);
