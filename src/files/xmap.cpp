#include "files/xmap.h"

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "files/alert.h"
#include "files/paths.h"

int mapped_files_open = 0;

namespace {

const char* const kUnit = "OOPS_cpp/xmap";

// mmap refuses a length of 0, yet an empty file must still count as open:
// both ends point here and nothing is ever read from it.
const unsigned char kEmptyFile[1] = {0};

inline bool is_blank(unsigned char c) { return c == ' ' || c == '\t'; }
inline bool is_line_end(unsigned char c) { return c == 0 || c == '\r' || c == '\n'; }
inline bool is_white(unsigned char c) { return is_blank(c) || is_line_end(c); }

}  // namespace

// ---------------------------------------------------------------- cursor

// Null ends (no file) and a cursor stepped past the end both read as end of data.
bool xmap_class::more() const {
  return mem_ptr != nullptr && mem_end != nullptr && mem_ptr < mem_end;
}

// The byte under the cursor; the end of the data reads as NUL.
unsigned char xmap_class::peek() const { return more() ? *mem_ptr : 0; }

void xmap_class::skip_blanks() {
  while (more() && is_blank(*mem_ptr)) ++mem_ptr;
}

void xmap_class::store(std::string* out, const unsigned char* from) const {
  if (!out) return;
  if (from == nullptr || mem_ptr <= from)
    out->clear();
  else
    out->assign(reinterpret_cast<const char*>(from), static_cast<size_t>(mem_ptr - from));
}

// The digit loop of the integer scans: no digit check, wrapping arithmetic.
unsigned int xmap_class::digits(unsigned char stop, bool use_stop) {
  unsigned int value = 0;
  while (more()) {
    const unsigned char c = *mem_ptr;
    if (is_white(c) || (use_stop && c == stop)) break;
    value = value * 10u + static_cast<unsigned int>(static_cast<int>(c) - 48);
    ++mem_ptr;
  }
  return value;
}

// ---------------------------------------------------------------- open and close

xmap_class::xmap_class(const std::string& path) {
  if (!path.empty()) mem_beg = retry(path);
}

xmap_class::~xmap_class() { drop(); }

void xmap_class::drop() {
  if (mem_beg != nullptr && mem_end != nullptr && mem_end > mem_beg)
    munmap(const_cast<unsigned char*>(mem_beg), static_cast<size_t>(mem_end - mem_beg));
  if (file_id != 0) close(file_id);
  file_id = 0;
  mem_beg = nullptr;
  mem_end = nullptr;
}

const unsigned char* xmap_class::retry(const std::string& path) {
  std::string full = app_path + path;
  set_dir_chars(full);

  drop();

  const int fd = open(full.c_str(), O_RDONLY);
  // A folder opens too, and on most file systems its "size" cannot be
  // mapped; it is no file to read, so it reads as one that can't be opened
  // rather than as a memory alert in the middle of a scan.
  struct stat st;
  if (fd >= 0 && (fstat(fd, &st) != 0 || S_ISDIR(st.st_mode))) {
    close(fd);
    file_id = 0;
    return nullptr;
  }
  if (fd < 0) {
    // The cursor keeps its value; with mem_end null every scan sees the end.
    file_id = 0;
    return nullptr;
  }
  file_id = fd;

  const off_t size = lseek(fd, 0, SEEK_END);
  int err = errno;
  lseek(fd, 0, SEEK_SET);

  if (size == 0) {
    mem_beg = mem_end = mem_ptr = kEmptyFile;
    return mem_beg;
  }

  void* p = MAP_FAILED;
  if (size > 0) {
    p = mmap(nullptr, static_cast<size_t>(size), PROT_READ, MAP_PRIVATE, fd, 0);
    err = errno;
  }

  if (p == nullptr) {
    mem_ptr = nullptr;
    __MACIBM_alert(0, "mmap() returned null", full, "", "", alert_warning, kUnit, __LINE__);
    return nullptr;
  }
  if (p == MAP_FAILED) {
    // A folder or an unseekable file lands here as well as a failed mmap.
    mem_ptr = nullptr;
    xer << "Mem file error.  Err=" << err << ", file=" << full << "\n";
    if (err == ENOMEM) __MACIBM_alert(0, "mmap() out of memory", full, "", "", alert_warning, kUnit, __LINE__);
    return nullptr;
  }

  mem_beg = static_cast<const unsigned char*>(p);
  mem_end = mem_beg + size;
  mem_ptr = mem_beg;
  return mem_beg;
}

int xmap_class::check_file(int type, int* versions, const char* magic, std::string* title) {
  if (type != file_type_binary && type != file_type_text)
    __MACIBM_alert(0, "Bad check_file type!", file_name, "", "", alert_fatal, kUnit, __LINE__);

  if (mem_beg == nullptr || mem_beg == mem_end) return 0;
  mem_ptr = mem_beg;

  int version = 0;
  if (type == file_type_binary) {
    const unsigned char order = *mem_ptr++;
    if (order == 'a')
      rev_bytes = 1;
    else if (order == 'i')
      rev_bytes = 0;
    else
      return 0;
    if (mem_end - mem_ptr >= 4) {
      unsigned char b[4];
      std::memcpy(b, mem_ptr, 4);
      mem_ptr += 4;
      if (rev_bytes) {
        std::swap(b[0], b[3]);
        std::swap(b[1], b[2]);
      }
      std::memcpy(&version, b, 4);
    }
  } else {
    const unsigned char letter = *mem_ptr++;
    TXT_str_scan_eoln(nullptr);
    if (letter != 'A' && letter != 'I') return 0;
    version = TXT_int_scan();
    TXT_str_scan_eoln(title);
  }

  bool listed = false;
  for (int* v = versions; v != nullptr && *v != 0; ++v)
    if (*v == version) {
      listed = true;
      break;
    }
  if (!listed) return 0;

  if (magic != nullptr) {
    if (!TXT_str_scan_match(magic, 1)) return 0;
    TXT_str_scan_eoln(nullptr);
  }
  return version;
}

int xmap_class::io_file_open(int mode, std::string path, int* versions, int type) {
  io_type = mode;
  if (mode == 1) return ouf_open(path, type, versions ? *versions : 0, "no-copyright-string") ? 1 : 0;
  if (mode == 0) {
    if (retry(path) == nullptr) return 0;
    return check_file(type, versions, nullptr, nullptr) != 0 ? 1 : 0;
  }
  return 0;
}

void xmap_class::io_file_close() {
  // ofstream::close sets the failure state itself when the close fails.
  if (io_type == 1) ouf.close();
}

// ---------------------------------------------------------------- binary reading

void xmap_class::read_n_rev(long dest, long n) {
  const long avail = more() ? static_cast<long>(mem_end - mem_ptr) : 0;
  if (n > avail)
    __MACIBM_alert(0, "Invalid read_n_rev read!", "", "", "", alert_fatal, kUnit, __LINE__);
  if (n <= 0) return;

  // Only what the mapping holds is copied; a short read leaves zeros.
  unsigned char* to = reinterpret_cast<unsigned char*>(dest);
  const long have = n < avail ? n : avail;
  if (have > 0) std::memcpy(to, mem_ptr, static_cast<size_t>(have));
  if (have < n) std::memset(to + have, 0, static_cast<size_t>(n - have));
  if (mem_ptr != nullptr) mem_ptr += n;

  if (rev_bytes)
    for (long i = 0; i < n; i += 4) {
      std::swap(to[i], to[i + 3]);
      std::swap(to[i + 1], to[i + 2]);
    }
}

unsigned char xmap_class::TXT_byt_scan() {
  // Callers keep count; past the end the byte reads as 0 rather than faulting.
  const unsigned char c = peek();
  if (mem_ptr != nullptr) ++mem_ptr;
  return c;
}

// ---------------------------------------------------------------- text scanning

void xmap_class::TXT_prv_scan() {
  while (more() && is_white(*mem_ptr)) ++mem_ptr;
}

unsigned int xmap_class::scan_sign() {
  unsigned int sign = 1;
  if (peek() == '-') {
    ++mem_ptr;
    sign = static_cast<unsigned int>(-1);
  }
  // "-+5" reads as 5: the plus overrides.
  if (peek() == '+') {
    ++mem_ptr;
    sign = 1;
  }
  return sign;
}

int xmap_class::TXT_int_scan() {
  skip_blanks();
  const unsigned int sign = scan_sign();
  if (!more() || is_blank(*mem_ptr)) return 0;
  return static_cast<int>(sign * digits(0, false));
}

int xmap_class::TXT_int_scan_stop(char stop) {
  const unsigned char s = static_cast<unsigned char>(stop);
  skip_blanks();
  const unsigned int sign = scan_sign();
  if (!more()) return 0;
  const unsigned int value = digits(s, true);
  if (more() && *mem_ptr == s) ++mem_ptr;
  return static_cast<int>(sign * value);
}

unsigned int xmap_class::TXT_uin_scan() {
  skip_blanks();
  if (!more()) return 0;
  if (peek() == '-') ++mem_ptr;  // unsigned: the sign is ignored
  if (peek() == '+') ++mem_ptr;
  if (!more() || is_blank(*mem_ptr)) return 0;
  return digits(0, false);
}

namespace {

// The mantissa loop shared by the two floating scans. Signs and points are
// taken anywhere and the last sign wins; no digit check.
struct mantissa {
  double sign = 1.0;
  double value = 0.0;
  bool fraction = false;
  long count = 0;

  void take(unsigned char c) {
    if (c == '-')
      sign = -1.0;
    else if (c == '+')
      sign = 1.0;
    else if (c == '.')
      fraction = true;
    else {
      value = value * 10 + (static_cast<int>(c) - 48);
      if (fraction) ++count;
    }
  }
  double result(long power) const { return sign * value * (1.0 / std::pow(10.0, static_cast<double>(power))); }
};

}  // namespace

double xmap_class::TXT_dob_scan() {
  skip_blanks();
  mantissa m;
  while (more() && !is_white(*mem_ptr)) m.take(*mem_ptr++);
  return m.result(m.count);
}

float xmap_class::TXT_flt_scan() { return static_cast<float>(TXT_dob_scan()); }

double xmap_class::TXT_dob_scan_sci() {
  skip_blanks();
  mantissa m;
  while (more() && !is_white(*mem_ptr) && *mem_ptr != 'e' && *mem_ptr != 'E') m.take(*mem_ptr++);

  long long power = m.count;
  if (more() && (*mem_ptr == 'e' || *mem_ptr == 'E')) {
    ++mem_ptr;
    skip_blanks();  // "1e 5" is a valid exponent
    long long esign = 1;
    if (peek() == '-') {
      ++mem_ptr;
      esign = -1;
    }
    if (peek() == '+') {
      ++mem_ptr;
      esign = 1;
    }
    if (more() && !is_blank(*mem_ptr)) {
      const long long e = static_cast<int>(digits(0, false));
      power = m.count - esign * e;
    }
  }
  return m.result(static_cast<long>(power));
}

void xmap_class::TXT_str_scan_space(std::string* out) {
  skip_blanks();
  const unsigned char* from = mem_ptr;
  while (more() && !is_white(*mem_ptr)) ++mem_ptr;
  store(out, from);
}

void xmap_class::TXT_str_scan_comma(std::string* out) {
  skip_blanks();
  const unsigned char* from = mem_ptr;
  while (more() && *mem_ptr != ',' && !is_line_end(*mem_ptr)) ++mem_ptr;
  store(out, from);
  // Always one step: over the comma or the line end byte, even off the end.
  if (mem_ptr != nullptr) ++mem_ptr;
}

void xmap_class::TXT_str_scan_eoln(std::string* out) {
  skip_blanks();
  const unsigned char* from = mem_ptr;
  while (more() && !is_line_end(*mem_ptr)) ++mem_ptr;
  store(out, from);
  // Line scans never leave the cursor on a line end: blank lines vanish.
  TXT_prv_scan();
}

int xmap_class::TXT_str_scan_match(const char* word, int line_end_ok) {
  skip_blanks();
  const unsigned char* start = mem_ptr;
  const unsigned char* w = reinterpret_cast<const unsigned char*>(word ? word : "");
  while (*w != 0 && more() && *mem_ptr == *w) {
    ++mem_ptr;
    ++w;
  }
  if (*w != 0) {
    mem_ptr = start;
    return 0;
  }
  const unsigned char next = peek();
  if (is_blank(next) || (line_end_ok != 0 && is_line_end(next))) return 1;
  mem_ptr = start;
  return 0;
}
