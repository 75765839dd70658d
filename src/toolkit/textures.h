// The texture manager: every GL texture by a small integer reference. Images
// reach it one way: into the shared buffer scratch_array (by a PNG or BMP
// loader, or a plain copy of a built-in picture), then load_texture uploads.
#pragma once
#include <string>
#include <unordered_map>
#include <vector>

// 1024 by 1024 pixels of 4 bytes: one image in flight at a time.
enum { scratch_bytes = 1024 * 1024 * 4 };
extern unsigned char* scratch_array;
extern unsigned char* scratch_array_temp;
extern int scratch_dx, scratch_dy;

// Load types: what kind of texture a reference holds.
enum {
  tex_manual = -100,
  tex_scenery = -101,
  tex_plane = -102,
  tex_instrument = -103,
  tex_bitmap = -104,
};
// Which failure flag a missing texture raises; 4 is the fatal alert.
typedef int tex_fail_mode;
enum { tex_fail_scenery = 1, tex_fail_plane = 2, tex_fail_instl = 3, tex_fail_fatal = 4 };
typedef int tex_load_time;
enum { tex_load_now = 100 };
// Record states.
enum { tex_state_loaded = 100, tex_state_scenery = 101 };
// The GL name bound for a scenery texture that is not loaded yet.
enum { tex_reserved_name = 3385, tex_max_ref = 3386 };

// Load flag bits. Bits 0 to 2 are the colour kind.
enum {
  tex_col_rgba = 2, tex_col_rgb = 1, tex_col_alpha = 3, tex_col_rgb_key = 4,
  tex_col_rgba_key = 5, tex_col_one = 6,
  tex_mipmap = 8, tex_clamp = 16, tex_finer = 32, tex_coarser = 64, tex_full_size = 128,
  tex_from_scratch = 256, tex_background = 512,
};

struct ref_dat_struct {
  std::string name = "un-inited";
  int load_type = 0;
  unsigned tex_id = 0;
  float dx = 0, dy = 0;           // natural size of the image
  float tex_dx = 0, tex_dy = 0;   // size of the GL texture, a power of 2
  int in_use = 0;
  int format = 0;
  int state = 0;
  int use_count = -1;
  int flags = 0;                  // load flags of the last upload
};

struct tex_load_vars {
  int mode = 0, load_type = 0, ref = 0, flags = 0;
  std::string name;
  int second_pass = 0;
  int format = 0, bytes = 0;      // GL format and bytes a pixel asked for
  int dx = 0, dy = 0;             // natural size found
  int tex_dx = 0, tex_dy = 0;     // texture size
  const unsigned char* pixels = nullptr;
};

class tman_class {
 public:
  // Returns 1 when the texture is loaded.
  int load_texture(tex_fail_mode mode, int ref, int flags, tex_load_time when,
                   const std::string& name);
  int load_texture_int(tex_fail_mode mode, int load_type, int ref, int flags,
                       const std::string& name, int second_pass);
  // Finds the pixels: scratch, PNG, BMP, in that order. 0 for none, else 1, 2, 3.
  int load_texture_io(tex_load_vars* v);
  int load_texture_ogl(tex_load_vars* v, int found);
  int load_bitmap(tex_fail_mode mode, int ref, int flags, const std::string& name);
  int load_instrument(tex_fail_mode mode, int ref, int flags, const std::string& name);

  // env 0 is GL_MODULATE. Binds nothing when the unit's binding and mode
  // already match (unless ogl_cache_bypass), or with no GL context.
  void bind_ref(int ref, int unit, int env);
  void reset_bind();
  void unload_texture(int ref);
  void purge_unused_texes();
  float tot_vram();
  float scale_rat();
  int total_texes();
  int loaded_texes();
  void start_use_tex(int ref);
  void stop_use_tex(int ref);

  bool has_scene_load_fail() const { return scene_fail; }
  bool has_plane_load_fail() const { return plane_fail; }
  bool has_instl_load_fail() const { return instl_fail; }
  void reset_scene_load_fail() { scene_fail = false; scene_mute = false; }
  void reset_plane_load_fail() { plane_fail = false; plane_mute = false; }
  void reset_instl_load_fail() { instl_fail = false; instl_mute = false; }
  void mute_scene_load_fail() { scene_fail = false; scene_mute = true; }
  void mute_plane_load_fail() { plane_fail = false; plane_mute = true; }
  void mute_instl_load_fail() { instl_fail = false; instl_mute = true; }

  void set_blend_level(int unit, float v);
  void set_chroma_key(const unsigned char* rgba);

  // The record of a reference, or null when the table doesn't reach it.
  const ref_dat_struct* record(int ref) const;
  // How many uploads took the sub-image path (tests and the log).
  int sub_image_uploads = 0;

  std::vector<ref_dat_struct> refs;
  int texes_loaded = 0;
  unsigned bound[6] = {0, 0, 0, 0, 0, 0};
  int bound_env[6] = {0, 0, 0, 0, 0, 0};
  int maxtexdim = 1024;
  std::unordered_map<std::string, int> names;
  unsigned char chroma_key[4] = {0, 0, 0, 0};

 private:
  // Steps common to the entry points: checks, table growth, the name table.
  int load_named(tex_fail_mode mode, int load_type, int ref, int flags, tex_load_time when,
                 const std::string& name);
  bool scene_fail = false, plane_fail = false, instl_fail = false;
  bool scene_mute = false, plane_mute = false, instl_mute = false;
};
extern tman_class tman;

// The texture size for an image of dx by dy: the scale by tex_res and the
// flags, kept at one pixel or more, halved past maxtexdim, rounded up to a
// power of 2 no larger than 1024. Load types other than -100 scale by 1.
// `force` acts as flag 128. Returns the scale; scaled_dx, _dy (optional) get
// the picture's own size at that scale, which never exceeds the texture.
float get_scale(const std::string& name, int load_type, int flags, int dx, int dy, int tex_res,
                int maxtexdim, int force, int* out_dx, int* out_dy, int* scaled_dx = nullptr,
                int* scaled_dy = nullptr);

// The loaders fill scratch_array (rows bottom up) and set scratch_dx, _dy;
// `bytes` is 1, 3 or 4 a pixel. A picture larger than max_dx by max_dy is
// box-averaged down to fit. They return 1 on success, 0 otherwise.
int load_png_into_scratch(const std::string& name, int bytes, int max_dx = 1024,
                          int max_dy = 1024);
int load_bmp_into_scratch(const std::string& name, int bytes, int max_dx = 1024,
                          int max_dy = 1024);
// Lays the scratch picture (scratch_dx by scratch_dy, v->bytes a pixel) into
// its texture in scratch_array_temp: scaled by get_scale, at the lower left,
// transparent beyond; scratch_array itself is left as it is. Fills v's sizes
// and pixels. 1 on success.
int load_buf_into_scratch(tex_load_vars* v);
// Writes scratch_array (rows bottom up) as a picture; 1 on success.
int write_png_to_disk(const std::string& name, int dx, int dy, int bytes);
int write_bmp_to_disk(const std::string& name, int dx, int dy, int bytes);

// Loads the four built-in pictures; the interface sheet stays in scratch_array.
void recall_ins_texes();
