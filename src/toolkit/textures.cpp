#include "toolkit/textures.h"

#include <GL/gl.h>
#include <GL/glext.h>
#include <GL/glu.h>
#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "files/alert.h"
#include "files/log.h"
#include "files/mnw.h"
#include "files/paths.h"
#include "files/xmap.h"
#include "shell/glprobe.h"
#include "shell/startup.h"
#include "toolkit/builtin_images.h"
#include "toolkit/draw.h"
#include "toolkit/sheet.h"

tman_class tman;

static unsigned char scratch_array_storage[scratch_bytes];
static unsigned char scratch_array_temp_storage[scratch_bytes];
unsigned char* scratch_array = scratch_array_storage;
unsigned char* scratch_array_temp = scratch_array_temp_storage;
int scratch_dx = 0, scratch_dy = 0;

namespace {

const char* const kHardWired = "scratch_array:hard-wired textures";

void value_alert(const char* text, double value, const char* file, int line) {
  char buf[64];
  snprintf(buf, sizeof(buf), "value: %g", value);
  __MACIBM_alert(0, text, buf, "", "", alert_fatal, file, line);
}
#define VALUE_ALERT(text, value) value_alert((text), (value), __FILE__, __LINE__)

void check_load_type(int v) {
  if (v < tex_bitmap || v > tex_manual) VALUE_ALERT("Trying to create an invalid texture load_type!", v);
}
void check_filter_type(int v) {
  if (v < 0 || v > 2047) VALUE_ALERT("Trying to bind an invalid filter type!", v);
}
void check_dxy(int v) {
  if (v < 1 || v > 1024)
    VALUE_ALERT("Trying to create a texture either less than 1 or greater than 1024!", v);
}
void check_off(int v) {
  if (v < -1024 || v > 1024)
    VALUE_ALERT("Trying to offset a texture either less than -1024 or greater than 1024!", v);
}
void check_bytes(int v) {
  if (v < 1 || v > 4) VALUE_ALERT("Trying to bind too low or high a number of bytes!", v);
}

// Pixel art shown 1 to 1: linear filtering would only blur it.
bool wants_nearest(int ref) {
  switch (ref) {
    case 375: case 399: case 400: case 394: case 405: case 406: case 401: return true;
    default: return false;
  }
}

// The start-up screen would name these over and over; they are its own pieces.
bool quiet_at_start(int ref) {
  return ref == tex_interface || ref == tex_korean || ref == tex_window_back ||
         ref == tex_reserved_name;
}

bool is_pow2(float v) {
  while (v > 1.0001f) v *= 0.5f;
  return std::fabs(v - 1.0f) < 0.0001f;
}

// GL format and bytes a pixel from the colour bits of the flags.
void format_of(int flags, int* format, int* bytes) {
  switch (flags & 7) {
    case tex_col_rgb: *format = GL_RGB; *bytes = 3; return;
    case tex_col_rgba:
    case tex_col_rgb_key:
    case tex_col_rgba_key: *format = GL_RGBA; *bytes = 4; return;
    case tex_col_alpha: *format = GL_ALPHA; *bytes = 1; return;
    case tex_col_one: *format = GL_LUMINANCE; *bytes = 1; return;
    default:
      MACIBM_alert(0, "BAD color enum for tman - see tman.h for valid colors!  We cannot pass 0.",
                   "", "", "", alert_fatal);
      *format = GL_RGBA;
      *bytes = 4;
  }
}

// Box average of src (sw by sh) into the lower left of dst, whose rows are
// dst_w pixels long, at dw by dh (no larger than the source).
void box_reduce(const unsigned char* src, int sw, int sh, unsigned char* dst, int dst_w, int dw,
                int dh, int bytes) {
  for (int y = 0; y < dh; ++y) {
    const int y0 = static_cast<int>(static_cast<long long>(y) * sh / dh);
    const int y1 = std::max(y0 + 1, static_cast<int>(static_cast<long long>(y + 1) * sh / dh));
    for (int x = 0; x < dw; ++x) {
      const int x0 = static_cast<int>(static_cast<long long>(x) * sw / dw);
      const int x1 = std::max(x0 + 1, static_cast<int>(static_cast<long long>(x + 1) * sw / dw));
      unsigned sum[4] = {0, 0, 0, 0};
      for (int sy = y0; sy < y1; ++sy) {
        const unsigned char* p = src + (static_cast<size_t>(sy) * sw + x0) * bytes;
        for (int sx = x0; sx < x1; ++sx, p += bytes)
          for (int c = 0; c < bytes; ++c) sum[c] += p[c];
      }
      const unsigned n = static_cast<unsigned>((y1 - y0) * (x1 - x0));
      unsigned char* q = dst + (static_cast<size_t>(y) * dst_w + x) * bytes;
      for (int c = 0; c < bytes; ++c) q[c] = static_cast<unsigned char>((sum[c] + n / 2) / n);
    }
  }
}

// Copies or reduces a packed picture to pw by ph at the lower left of a
// cleared tw by th buffer.
void place_picture(const unsigned char* src, int sw, int sh, int bytes, unsigned char* dst, int tw,
                   int th, int pw, int ph) {
  pw = std::min(pw, sw);
  ph = std::min(ph, sh);
  memset(dst, 0, static_cast<size_t>(tw) * th * bytes);
  if (pw == sw && ph == sh) {
    for (int y = 0; y < ph; ++y)
      memcpy(dst + static_cast<size_t>(y) * tw * bytes, src + static_cast<size_t>(y) * sw * bytes,
             static_cast<size_t>(sw) * bytes);
  } else {
    box_reduce(src, sw, sh, dst, tw, pw, ph, bytes);
  }
}

// Gives a transparent pixel the average colour of its opaque neighbours, so
// linear filtering doesn't pull a dark or key-coloured halo in from it.
// Only transparent pixels are written and only opaque ones read, so the
// order of the walk doesn't matter.
void clean_transparent_edges(unsigned char* p, int w, int h) {
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      unsigned char* px = p + (static_cast<size_t>(y) * w + x) * 4;
      if (px[3] != 0) continue;
      unsigned r = 0, g = 0, b = 0, n = 0;
      for (int ny = std::max(0, y - 2); ny <= std::min(h - 1, y + 2); ++ny)
        for (int nx = std::max(0, x - 2); nx <= std::min(w - 1, x + 2); ++nx) {
          const unsigned char* q = p + (static_cast<size_t>(ny) * w + nx) * 4;
          if (q[3] == 0) continue;
          r += q[0];
          g += q[1];
          b += q[2];
          ++n;
        }
      if (n == 0) continue;
      px[0] = static_cast<unsigned char>(r / n);
      px[1] = static_cast<unsigned char>(g / n);
      px[2] = static_cast<unsigned char>(b / n);
    }
}

void apply_chroma_key(unsigned char* p, int w, int h, const unsigned char* key) {
  const size_t n = static_cast<size_t>(w) * h;
  for (size_t i = 0; i < n; ++i, p += 4)
    if (p[0] == key[0] && p[1] == key[1] && p[2] == key[2]) p[3] = 0;
}

// name with its extension (if it has one of ours) replaced by ext.
std::string with_extension(std::string name, const char* ext) {
  const size_t dot = name.rfind('.');
  const size_t sep = name.find_last_of(":/\\");
  if (dot != std::string::npos && (sep == std::string::npos || dot > sep)) {
    std::string old = name.substr(dot);
    for (char& c : old) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    if (old == ".png" || old == ".bmp") name.erase(dot);
  }
  return name + ext;
}

// A picture decoded at natural size: in scratch_array_temp when it fits,
// otherwise on the heap.
struct decoded {
  std::vector<unsigned char> heap;
  unsigned char* pixels = nullptr;
  int dx = 0, dy = 0;

  unsigned char* reserve(int w, int h, int bytes) {
    const size_t n = static_cast<size_t>(w) * h * bytes;
    dx = w;
    dy = h;
    if (n <= scratch_bytes) {
      pixels = scratch_array_temp;
    } else {
      heap.resize(n);
      pixels = heap.data();
    }
    return pixels;
  }
};

// Puts a decoded picture into scratch_array, reduced to fit max_dx by max_dy.
void decoded_to_scratch(const decoded& d, int bytes, int max_dx, int max_dy) {
  const int w = std::min(d.dx, std::max(1, std::min(max_dx, 1024)));
  const int h = std::min(d.dy, std::max(1, std::min(max_dy, 1024)));
  if (w == d.dx && h == d.dy && d.pixels != scratch_array)
    memcpy(scratch_array, d.pixels, static_cast<size_t>(w) * h * bytes);
  else
    box_reduce(d.pixels, d.dx, d.dy, scratch_array, w, w, h, bytes);
  scratch_dx = w;
  scratch_dy = h;
}

// ---------------------------------------------------------------- PNG

struct png_source {
  const unsigned char* at;
  const unsigned char* end;
};

void my_error(png_structp png, png_const_charp msg) {
  xer << "PNG error: " << (msg ? msg : "") << '\n';
  png_longjmp(png, 1);
}

void my_warning(png_structp, png_const_charp msg) {
  xer << "PNG warning: " << (msg ? msg : "") << '\n';
}

void my_readbuf(png_structp png, png_bytep out, png_size_t n) {
  png_source* src = static_cast<png_source*>(png_get_io_ptr(png));
  if (static_cast<size_t>(src->end - src->at) < n) png_error(png, "read past the end of the file");
  memcpy(out, src->at, n);
  src->at += n;
}

void png_alert(const char* test, const std::string& name) {
  MACIBM_alert(0, "PING-FILE ERROR!", test, name, "", alert_warning);
}

// Everything libpng may leave by longjmp lives here, in the caller's frame;
// the guarded steps below hold no objects of their own.
struct png_read_job {
  png_structp png = nullptr;
  png_infop info = nullptr;
  int bytes = 0;
  png_uint_32 dx = 0, dy = 0;
  bool no_case = false;
  std::vector<png_bytep> rows;
};

bool png_guarded_header(png_read_job* j) {
  if (setjmp(png_jmpbuf(j->png))) return false;
  png_read_info(j->png, j->info);
  j->dx = png_get_image_width(j->png, j->info);
  j->dy = png_get_image_height(j->png, j->info);
  const int colour = png_get_color_type(j->png, j->info);
  const int depth = png_get_bit_depth(j->png, j->info);
  const bool trns = png_get_valid(j->png, j->info, PNG_INFO_tRNS) != 0;
  const bool has_alpha = (colour & PNG_COLOR_MASK_ALPHA) != 0 || trns;
  const bool has_colour = (colour & PNG_COLOR_MASK_COLOR) != 0;

  double file_gamma = 0;
  if (png_get_gAMA(j->png, j->info, &file_gamma)) png_set_gamma(j->png, 2.2, file_gamma);

  if (colour == PNG_COLOR_TYPE_PALETTE || depth < 8 || trns) png_set_expand(j->png);
  if (depth < 8) png_set_packing(j->png);
  if (depth == 16) png_set_strip_16(j->png);
  switch (j->bytes) {
    case 4:
      if (!has_colour) png_set_gray_to_rgb(j->png);
      if (!has_alpha) png_set_filler(j->png, 255, PNG_FILLER_AFTER);
      break;
    case 3:
      if (!has_colour) png_set_gray_to_rgb(j->png);
      if (has_alpha) png_set_strip_alpha(j->png);
      break;
    case 1:
      if (has_colour) png_set_rgb_to_gray(j->png, 1, -1, -1);
      if (has_alpha) png_set_strip_alpha(j->png);
      break;
    default:
      j->no_case = true;
      return true;
  }
  png_read_update_info(j->png, j->info);
  if (png_get_rowbytes(j->png, j->info) != static_cast<size_t>(j->dx) * j->bytes) j->no_case = true;
  return true;
}

bool png_guarded_image(png_read_job* j) {
  if (setjmp(png_jmpbuf(j->png))) return false;
  png_read_image(j->png, j->rows.data());
  png_read_end(j->png, nullptr);
  return true;
}

struct png_write_job {
  png_structp png = nullptr;
  png_infop info = nullptr;
  FILE* file = nullptr;
  int dx = 0, dy = 0, bytes = 0;
  std::vector<png_bytep> rows;
};

bool png_guarded_write(png_write_job* j) {
  if (setjmp(png_jmpbuf(j->png))) return false;
  png_init_io(j->png, j->file);
  png_set_filter(j->png, 0, PNG_ALL_FILTERS);
  png_set_compression_level(j->png, 9);
  png_set_compression_mem_level(j->png, 8);
  png_set_compression_strategy(j->png, Z_DEFAULT_STRATEGY);
  png_set_compression_window_bits(j->png, 15);
  png_set_compression_method(j->png, 8);
  png_set_compression_buffer_size(j->png, 8192);
  const int colour = j->bytes == 4   ? PNG_COLOR_TYPE_RGB_ALPHA
                     : j->bytes == 3 ? PNG_COLOR_TYPE_RGB
                                     : PNG_COLOR_TYPE_GRAY;
  png_set_IHDR(j->png, j->info, j->dx, j->dy, 8, colour, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(j->png, j->info);
  png_write_image(j->png, j->rows.data());
  png_write_end(j->png, nullptr);
  return true;
}

// ---------------------------------------------------------------- BMP

unsigned get_le(const unsigned char* p, int n) {
  unsigned v = 0;
  for (int i = n - 1; i >= 0; --i) v = (v << 8) | p[i];
  return v;
}

void put_le(std::string* out, unsigned v, int n) {
  for (int i = 0; i < n; ++i) out->push_back(static_cast<char>((v >> (8 * i)) & 0xff));
}

}  // namespace

// ================================================================ scaling

float get_scale(const std::string& /*name*/, int load_type, int flags, int dx, int dy,
                int tex_res, int maxtexdim, int force, int* out_dx, int* out_dy, int* scaled_dx,
                int* scaled_dy) {
  dx = std::max(dx, 1);
  dy = std::max(dy, 1);
  float scale = 1.0f;
  if (load_type == tex_manual) {
    scale = std::ldexp(1.0f, std::min(5, std::max(0, tex_res)) - 5);
    if (flags & tex_finer) scale = std::min(1.0f, scale * 2.0f);
    if (flags & tex_coarser) scale = std::max(0.0f, scale * 0.5f);
    if ((flags & tex_full_size) || force) scale = 1.0f;
    scale = std::max(scale, 1.0f / dx);
    scale = std::max(scale, 1.0f / dy);
    if (maxtexdim > 0)
      while (dx * scale > maxtexdim || dy * scale > maxtexdim) scale *= 0.5f;
  }
  const int sdx = std::max(1, static_cast<int>(std::lround(dx * scale)));
  const int sdy = std::max(1, static_cast<int>(std::lround(dy * scale)));
  int tdx = 1024, tdy = 1024;
  while (tdx > 1 && tdx / 2 >= sdx) tdx /= 2;
  while (tdy > 1 && tdy / 2 >= sdy) tdy /= 2;
  if (out_dx) *out_dx = tdx;
  if (out_dy) *out_dy = tdy;
  if (scaled_dx) *scaled_dx = std::min(sdx, tdx);
  if (scaled_dy) *scaled_dy = std::min(sdy, tdy);
  return scale;
}

// ================================================================ loaders

int load_buf_into_scratch(tex_load_vars* v) {
  if (scratch_dx < 1 || scratch_dy < 1 || scratch_dx > 1024 || scratch_dy > 1024 ||
      static_cast<size_t>(scratch_dx) * scratch_dy * v->bytes > scratch_bytes)
    return 0;
  int pw = 0, ph = 0;
  get_scale(v->name, v->load_type, v->flags, scratch_dx, scratch_dy, mnw.tex_res, tman.maxtexdim,
            0, &v->tex_dx, &v->tex_dy, &pw, &ph);
  v->dx = scratch_dx;
  v->dy = scratch_dy;
  // The caller's texture coordinates count in natural pixels over the
  // texture size, so the picture sits unscaled at the lower left.
  place_picture(scratch_array, scratch_dx, scratch_dy, v->bytes, scratch_array_temp, v->tex_dx,
                v->tex_dy, pw, ph);
  v->pixels = scratch_array_temp;
  return 1;
}

int load_png_into_scratch(const std::string& name, int bytes, int max_dx, int max_dy) {
  const std::string path = with_extension(name, ".png");
  xmap_class file(path);
  if (!file.mem_beg) return 0;
  png_source src = {file.mem_beg, file.mem_end};

  if (src.end - src.at < 8 || png_sig_cmp(src.at, 0, 8) != 0) {
    png_alert("is_png=!png_sig_cmp(png_io_buf,0,8)", path);
    return 0;
  }
  png_read_job j;
  j.bytes = bytes;
  j.png = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, nullptr, my_error, my_warning, nullptr,
                                   nullptr, nullptr);
  if (!j.png) {
    png_alert("!png_ptr", path);
    return 0;
  }
  j.info = png_create_info_struct(j.png);
  if (!j.info) {
    png_destroy_read_struct(&j.png, nullptr, nullptr);
    png_alert("!info_ptr", path);
    return 0;
  }
  png_set_read_fn(j.png, &src, my_readbuf);

  int ok = 0;
  decoded d;
  if (!png_guarded_header(&j)) {
    png_alert("setjmp(png_ptr->jmpbuf", path);
  } else if (j.no_case || j.dx < 1 || j.dy < 1) {
    MACIBM_alert(0, "No case to handle this png!", path, "", "", alert_warning);
  } else {
    unsigned char* px = d.reserve(static_cast<int>(j.dx), static_cast<int>(j.dy), bytes);
    const size_t row = static_cast<size_t>(j.dx) * bytes;
    // Row 0 of the buffer is the bottom of the picture, as GL numbers rows.
    j.rows.resize(j.dy);
    for (png_uint_32 i = 0; i < j.dy; ++i) j.rows[i] = px + (j.dy - 1 - i) * row;
    if (!png_guarded_image(&j)) {
      png_alert("setjmp(png_ptr->jmpbuf", path);
    } else {
      decoded_to_scratch(d, bytes, max_dx, max_dy);
      ok = 1;
    }
  }
  png_destroy_read_struct(&j.png, &j.info, nullptr);
  return ok;
}

int load_bmp_into_scratch(const std::string& name, int bytes, int max_dx, int max_dy) {
  const std::string path = with_extension(name, ".bmp");
  xmap_class file(path);
  if (!file.mem_beg) return 0;
  const unsigned char* p = file.mem_beg;
  const size_t size = static_cast<size_t>(file.mem_end - file.mem_beg);
  if (size < 54 || p[0] != 'B' || p[1] != 'M') return 0;

  // File header: type, size, two reserved, offset; then the info header.
  const unsigned offset = get_le(p + 10, 4);
  const int width = static_cast<int>(get_le(p + 18, 4));
  const int height_raw = static_cast<int>(get_le(p + 22, 4));
  const unsigned depth = get_le(p + 28, 2);
  const unsigned compression = get_le(p + 30, 4);
  if (depth != 24 || compression != 0) {
    MACIBM_alert(0, "Wrong bitmap color depth for texture!", path, "", "", alert_warning);
    return 0;
  }
  const bool top_down = height_raw < 0;
  const int height = top_down ? -height_raw : height_raw;
  if (width < 1 || height < 1 || (bytes != 1 && bytes != 3 && bytes != 4)) return 0;
  const size_t stride = (static_cast<size_t>(width) * 3 + 3) & ~static_cast<size_t>(3);
  if (offset > size || (size - offset) / stride < static_cast<size_t>(height)) return 0;

  decoded d;
  unsigned char* out = d.reserve(width, height, bytes);
  for (int y = 0; y < height; ++y) {
    // Stored bottom row first, as we keep them, unless the height is negative.
    const unsigned char* s = p + offset + stride * (top_down ? height - 1 - y : y);
    unsigned char* o = out + static_cast<size_t>(y) * width * bytes;
    for (int x = 0; x < width; ++x, s += 3, o += bytes) {
      if (bytes == 1) {
        o[0] = static_cast<unsigned char>((s[0] + s[1] + s[2]) / 3);
        continue;
      }
      o[0] = s[2];
      o[1] = s[1];
      o[2] = s[0];
      if (bytes == 4) o[3] = 255;
    }
  }
  decoded_to_scratch(d, bytes, max_dx, max_dy);
  return 1;
}

int write_png_to_disk(const std::string& name, int dx, int dy, int bytes) {
  if (dx < 1 || dy < 1 || (bytes != 1 && bytes != 3 && bytes != 4) ||
      static_cast<size_t>(dx) * dy * bytes > scratch_bytes)
    return 0;
  std::string path = name;
  set_dir_chars(path);
  png_write_job j;
  j.dx = dx;
  j.dy = dy;
  j.bytes = bytes;
  j.file = fopen(path.c_str(), "wb");
  if (!j.file) {
    xer << "Could not write the picture " << path << ".\n";
    return 0;
  }
  j.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, my_error, my_warning);
  if (j.png) j.info = png_create_info_struct(j.png);
  // The file's first row is the picture's top: scratch's last.
  j.rows.resize(dy);
  for (int i = 0; i < dy; ++i)
    j.rows[i] = scratch_array + static_cast<size_t>(dy - 1 - i) * dx * bytes;
  const bool ok = j.png && j.info && png_guarded_write(&j);
  png_destroy_write_struct(&j.png, &j.info);
  const bool closed = fclose(j.file) == 0;
  return ok && closed ? 1 : 0;
}

int write_bmp_to_disk(const std::string& name, int dx, int dy, int bytes) {
  if (dx < 1 || dy < 1 || (bytes != 3 && bytes != 4) ||
      static_cast<size_t>(dx) * dy * bytes > scratch_bytes)
    return 0;
  std::string path = name;
  set_dir_chars(path);
  const size_t stride = (static_cast<size_t>(dx) * 3 + 3) & ~static_cast<size_t>(3);
  const unsigned image = static_cast<unsigned>(stride * dy);
  std::string head;
  head += "BM";
  put_le(&head, 54 + image, 4);
  put_le(&head, 0, 4);
  put_le(&head, 54, 4);
  put_le(&head, 40, 4);
  put_le(&head, static_cast<unsigned>(dx), 4);
  put_le(&head, static_cast<unsigned>(dy), 4);
  put_le(&head, 1, 2);
  put_le(&head, 24, 2);
  put_le(&head, 0, 4);
  put_le(&head, image, 4);
  put_le(&head, 2835, 4);
  put_le(&head, 2835, 4);
  put_le(&head, 0, 4);
  put_le(&head, 0, 4);

  ouf.clear();
  if (ouf.is_open()) ouf.close();
  ouf.clear();
  ouf.open(path, std::ios::out | std::ios::binary | std::ios::trunc);
  if (!ouf.is_open()) {
    MACIBM_alert(0, "Make sure you have all these folders... I can create files, but not folders!",
                 "Here is the path:", path, "", alert_warning);
    return 0;
  }
  ouf.write(head.data(), static_cast<std::streamsize>(head.size()));
  std::string row(stride, '\0');
  for (int y = 0; y < dy; ++y) {
    const unsigned char* s = scratch_array + static_cast<size_t>(y) * dx * bytes;
    for (int x = 0; x < dx; ++x, s += bytes) {
      row[x * 3] = static_cast<char>(s[2]);
      row[x * 3 + 1] = static_cast<char>(s[1]);
      row[x * 3 + 2] = static_cast<char>(s[0]);
    }
    ouf.write(row.data(), static_cast<std::streamsize>(stride));
  }
  ouf.close();
  const bool ok = !ouf.fail();
  ouf.clear();
  return ok ? 1 : 0;
}

// ================================================================ tman_class

const ref_dat_struct* tman_class::record(int ref) const {
  if (ref < 0 || static_cast<size_t>(ref) >= refs.size()) return nullptr;
  return &refs[static_cast<size_t>(ref)];
}

int tman_class::load_texture(tex_fail_mode mode, int ref, int flags, tex_load_time when,
                             const std::string& name) {
  return load_named(mode, tex_manual, ref, flags, when, name);
}

int tman_class::load_bitmap(tex_fail_mode mode, int ref, int flags, const std::string& name) {
  return load_named(mode, tex_bitmap, ref, flags, tex_load_now, name);
}

int tman_class::load_instrument(tex_fail_mode mode, int ref, int flags, const std::string& name) {
  return load_named(mode, tex_instrument, ref, flags, tex_load_now, name);
}

int tman_class::load_named(tex_fail_mode mode, int load_type, int ref, int flags,
                           tex_load_time when, const std::string& name) {
  if (when != tex_load_now) VALUE_ALERT("Trying to create an invalid texture load_time!", when);
  if (ref < 0 || ref > tex_max_ref)
    VALUE_ALERT("Trying to bind too low or high a manual_ref!", ref);
  if (refs.size() <= static_cast<size_t>(ref)) refs.resize(static_cast<size_t>(ref) + 1);

  // Shared classes load a file once, whoever asks for it.
  if (load_type != tex_manual && !name.empty()) {
    auto it = names.find(name);
    if (it != names.end()) {
      ref = it->second;
      if (refs[static_cast<size_t>(ref)].state == tex_state_loaded) return 1;
    } else {
      names[name] = ref;
    }
  }
  return load_texture_int(mode, load_type, ref, flags, name, 0);
}

int tman_class::load_texture_int(tex_fail_mode mode, int load_type, int ref, int flags,
                                 const std::string& name, int second_pass) {
  check_load_type(load_type);
  check_filter_type(flags);
  check_off(0);
  if (OGL_live()) {
    GLint most = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &most);
    if (most > 0) maxtexdim = most;
  }
  if (refs.size() <= static_cast<size_t>(ref)) refs.resize(static_cast<size_t>(ref) + 1);

  tex_load_vars v;
  v.mode = mode;
  v.load_type = load_type;
  v.ref = ref;
  v.flags = flags;
  v.name = name;
  v.second_pass = second_pass;
  const int found = load_texture_io(&v);
  return load_texture_ogl(&v, found);
}

int tman_class::load_texture_io(tex_load_vars* v) {
  format_of(v->flags, &v->format, &v->bytes);
  check_bytes(v->bytes);
  if ((v->flags & tex_from_scratch) || v->name.compare(0, 13, "scratch_array") == 0)
    return load_buf_into_scratch(v) ? 1 : 0;
  if (load_png_into_scratch(v->name, v->bytes) && load_buf_into_scratch(v)) return 2;
  if (load_bmp_into_scratch(v->name, v->bytes) && load_buf_into_scratch(v)) return 3;
  return 0;
}

int tman_class::load_texture_ogl(tex_load_vars* v, int found) {
  if (!found || !v->pixels) {
    xer << "WARNING: we are missing the texture: " << v->name << ".\n";
    xer.flush();
    switch (v->mode) {
      case tex_fail_scenery: if (!scene_mute) scene_fail = true; break;
      case tex_fail_plane: if (!plane_mute) plane_fail = true; break;
      case tex_fail_instl: if (!instl_mute) instl_fail = true; break;
      default:
        MACIBM_alert(0, "Trying to load a texture that you do not have!",
                     "This smacks of a mis-installed copy of Zephyra!",
                     "Please download a new copy of Zephyra and install it again.", v->name,
                     alert_fatal);
    }
    return 0;
  }

  int internal = v->format;
  if (v->bytes == 4) internal = GL_RGBA;
  if (v->bytes == 3) internal = mnw.col_res == 16 ? GL_RGB5 : GL_RGB;
  const bool nearest = wants_nearest(v->ref);
  const bool mipmap = (v->flags & tex_mipmap) != 0;

  ref_dat_struct& rec = refs[static_cast<size_t>(v->ref)];
  const bool live = OGL_live();
  const bool reuse = live && rec.tex_id != 0 && rec.format == v->format &&
                     rec.tex_dx == v->tex_dx && rec.tex_dy == v->tex_dy &&
                     (!mipmap || glExt.automini_avail);

  if (!ogl_inited && !v->name.empty() && !quiet_at_start(v->ref))
    MACIBM_show_init("Loading bitmap " + v->name + ".", nullptr);

  if (v->bytes == 4) {
    unsigned char* px = const_cast<unsigned char*>(v->pixels);
    if ((v->flags & 7) == tex_col_rgb_key || (v->flags & 7) == tex_col_rgba_key)
      apply_chroma_key(px, v->tex_dx, v->tex_dy, chroma_key);
    clean_transparent_edges(px, v->tex_dx, v->tex_dy);
  }

  if (!is_pow2(static_cast<float>(v->tex_dx)) || !is_pow2(static_cast<float>(v->tex_dy)))
    MACIBM_alert(0, "load_tex: Trying to read a texture that is not a power of 2!", v->name, "",
                 "", alert_fatal);
  check_dxy(v->tex_dx);
  check_dxy(v->tex_dy);

  const bool fresh = rec.state != tex_state_loaded;
  rec.name = v->name;
  rec.load_type = v->load_type;
  rec.dx = static_cast<float>(v->dx);
  rec.dy = static_cast<float>(v->dy);
  rec.tex_dx = static_cast<float>(v->tex_dx);
  rec.tex_dy = static_cast<float>(v->tex_dy);
  rec.in_use = 1;
  rec.format = v->format;
  rec.state = tex_state_loaded;
  rec.flags = v->flags;
  if (fresh) ++texes_loaded;
  if (!live) return 1;

  if (rec.tex_id == 0) {
    GLuint id = 0;
    glGenTextures(1, &id);
    rec.tex_id = id;
  }

  const GLboolean was_on = glIsEnabled(GL_TEXTURE_2D);
  if (!was_on) glEnable(GL_TEXTURE_2D);
  // Whatever the cache believes, the upload must land in this texture.
  bound[0] = 0;
  bind_ref(v->ref, 0, bound_env[0]);
  if (bound[0] != rec.tex_id) {   // before the probe has counted the units
    glBindTexture(GL_TEXTURE_2D, rec.tex_id);
    bound[0] = rec.tex_id;
  }
  GLint old_align = 4;
  glGetIntegerv(GL_UNPACK_ALIGNMENT, &old_align);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);

  if (reuse) {
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, v->tex_dx, v->tex_dy, v->format, GL_UNSIGNED_BYTE,
                    v->pixels);
    ++sub_image_uploads;
  } else if (mipmap && glExt.automini_avail) {
    glTexParameteri(GL_TEXTURE_2D, GL_GENERATE_MIPMAP, GL_TRUE);
    glTexImage2D(GL_TEXTURE_2D, 0, internal, v->tex_dx, v->tex_dy, 0, v->format, GL_UNSIGNED_BYTE,
                 v->pixels);
  } else if (mipmap) {
    gluBuild2DMipmaps(GL_TEXTURE_2D, internal, v->tex_dx, v->tex_dy, v->format, GL_UNSIGNED_BYTE,
                      v->pixels);
  } else {
    glTexParameteri(GL_TEXTURE_2D, GL_GENERATE_MIPMAP, GL_FALSE);
    glTexImage2D(GL_TEXTURE_2D, 0, internal, v->tex_dx, v->tex_dy, 0, v->format, GL_UNSIGNED_BYTE,
                 v->pixels);
  }
  glPixelStorei(GL_UNPACK_ALIGNMENT, old_align);

  const GLint wrap = (v->flags & tex_clamp) ? (glExt.tex_clamp_avail ? GL_CLAMP_TO_EDGE : GL_CLAMP)
                                            : GL_REPEAT;
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, wrap);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, wrap);
  if (glExt.aniso_avail) glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, 1.0f);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, nearest ? GL_NEAREST : GL_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER,
                  nearest ? GL_NEAREST : mipmap ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR);
  if (!was_on) glDisable(GL_TEXTURE_2D);

  if (v->ref == 0 || rec.tex_id == 0) {
    char line[64];
    snprintf(line, sizeof(line), "ref=%6.0f, tex=%6.0f", static_cast<double>(v->ref),
             static_cast<double>(rec.tex_id));
    MACIBM_alert(0, v->ref == 0 ? "Trying to bind a null ref!" : "Trying to bind a null tex!",
                 line, "", "", alert_fatal);
  }
  return 1;
}

void tman_class::bind_ref(int ref, int unit, int env) {
  if (env == 0) env = GL_MODULATE;
  if (unit < 0 || unit >= 6 || unit >= ren.max_tex_units) return;
  unsigned name = 0;
  const ref_dat_struct* rec = record(ref);
  if (rec && rec->state == tex_state_loaded) {
    name = rec->tex_id;
  } else if (rec && rec->state == tex_state_scenery) {
    name = tex_reserved_name;
  } else {
    if (!OGL_live()) return;
    MACIBM_alert(0, "missing non-scenery texture - how?", "ref=" + std::to_string(ref), "", "",
                 alert_fatal);
    return;
  }
  // Nearly every call ends here.
  if (bound[unit] == name && bound_env[unit] == env && !ogl_cache_bypass) return;
  if (!OGL_live()) return;

  if (unit != 0) glActiveTexture(GL_TEXTURE0 + unit);
  glBindTexture(GL_TEXTURE_2D, name);
  if (bound_env[unit] != env || ogl_cache_bypass) glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, env);
  if (unit != 0) glActiveTexture(GL_TEXTURE0);
  bound[unit] = name;
  bound_env[unit] = env;
}

void tman_class::reset_bind() {
  for (int i = 0; i < 6; ++i) {
    bound[i] = 0;
    bound_env[i] = 0;
  }
}

void tman_class::unload_texture(int ref) {
  if (ref < 0 || static_cast<size_t>(ref) >= refs.size()) return;
  ref_dat_struct& rec = refs[static_cast<size_t>(ref)];
  if (rec.tex_id != 0) {
    if (OGL_live()) {
      GLuint id = rec.tex_id;
      glDeleteTextures(1, &id);
    }
    for (int i = 0; i < 6; ++i)
      if (bound[i] == rec.tex_id) bound[i] = 0;
  }
  if (rec.state == tex_state_loaded) --texes_loaded;
  for (auto it = names.begin(); it != names.end();)
    it = it->second == ref ? names.erase(it) : std::next(it);
  rec = ref_dat_struct();
}

void tman_class::purge_unused_texes() {
  for (size_t i = 0; i < refs.size(); ++i)
    if (refs[i].state == tex_state_loaded && refs[i].load_type != tex_manual &&
        refs[i].use_count == 0)
      unload_texture(static_cast<int>(i));
}

void tman_class::start_use_tex(int ref) {
  if (ref < 0 || static_cast<size_t>(ref) >= refs.size()) return;
  int& n = refs[static_cast<size_t>(ref)].use_count;
  n = n < 0 ? 1 : n + 1;
}

void tman_class::stop_use_tex(int ref) {
  if (ref < 0 || static_cast<size_t>(ref) >= refs.size()) return;
  int& n = refs[static_cast<size_t>(ref)].use_count;
  if (n > 0) --n;
}

float tman_class::tot_vram() {
  double bytes = 0;
  for (const ref_dat_struct& r : refs) {
    if (r.state != tex_state_loaded) continue;
    const int per = (r.format == GL_ALPHA || r.format == GL_LUMINANCE) ? 1 : 4;
    double b = static_cast<double>(r.tex_dx) * r.tex_dy * per;
    if (r.flags & tex_mipmap) b *= 4.0 / 3.0;
    bytes += b;
  }
  return static_cast<float>(bytes / (1024.0 * 1024.0));
}

float tman_class::scale_rat() {
  return std::ldexp(1.0f, std::min(5, std::max(0, mnw.tex_res)) - 5);
}

int tman_class::total_texes() { return texes_loaded; }

int tman_class::loaded_texes() {
  int n = 0;
  for (const ref_dat_struct& r : refs)
    if (r.in_use) ++n;
  return n;
}

void tman_class::set_blend_level(int unit, float v) {
  if (unit < 0 || unit >= 6 || unit >= ren.max_tex_units || !OGL_live()) return;
  const GLfloat c[4] = {v, v, v, v};
  if (unit != 0) glActiveTexture(GL_TEXTURE0 + unit);
  glTexEnvfv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_COLOR, c);
  if (unit != 0) glActiveTexture(GL_TEXTURE0);
}

void tman_class::set_chroma_key(const unsigned char* rgba) {
  for (int i = 0; i < 4; ++i) chroma_key[i] = rgba[i];
}

// ================================================================ built-in pictures

void recall_ins_texes() {
  struct builtin {
    const unsigned char* data;
    int dx, dy, ref, flags;
  };
  // The interface sheet last: its pixels stay in scratch_array for the palette.
  const builtin table[] = {
      {t_installer_dat, 1010, 764, tex_installer, 642},
      {t_ins_back_1_dat, 1024, 768, tex_back_1, 642},
      {t_ins_back_2_dat, 1024, 768, tex_back_2, 642},
      {t_interface_dat, 512, 512, tex_interface, 2},
  };
  for (const builtin& b : table) {
    scratch_dx = b.dx;
    scratch_dy = b.dy;
    memcpy(scratch_array, b.data, static_cast<size_t>(b.dx) * b.dy * 4);
    tman.load_texture(tex_fail_fatal, b.ref, b.flags, tex_load_now, kHardWired);
  }
}
