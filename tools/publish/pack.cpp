// Packing one file per archive straight on minizip, streaming, so a worker
// thread holds a fixed buffer whatever the file's size.
#include "publish/pack.h"

#include <minizip/unzip.h>
#include <minizip/zip.h>
#include <zlib.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "files/signature.h"

namespace {

const size_t kChunk = 1 << 20;
// "Version made by": Unix (3) in the high byte, so that unzip and friends
// read the high half of the external attributes as a Unix mode.
const uLong kMadeByUnix = (3u << 8) | 30u;

std::string errno_text(int e) { return std::strerror(e); }

std::string hex_digest(const unsigned char d[16]) {
  char buf[33];
  for (int i = 0; i < 16; ++i) snprintf(buf + 2 * i, 3, "%02x", d[i]);
  return std::string(buf, 32);
}

struct fd_class {
  int fd = -1;
  explicit fd_class(const std::string& path) { fd = open(path.c_str(), O_RDONLY | O_CLOEXEC); }
  ~fd_class() {
    if (fd >= 0) close(fd);
  }
  fd_class(const fd_class&) = delete;
  fd_class& operator=(const fd_class&) = delete;
};

// Reads fd to its end, handing each piece to take. 0, an errno, or -1 when
// take refused a piece.
template <class F>
int read_all(int fd, std::vector<unsigned char>& buf, F take) {
  for (;;) {
    ssize_t n = read(fd, buf.data(), buf.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (n == 0) return 0;
    if (!take(buf.data(), static_cast<size_t>(n))) return -1;  // the taker failed
  }
}

void md5_feed(MD5_CTX& ctx, const unsigned char* p, size_t n) {
  MD5UpdateWide(&ctx, p, static_cast<uint32_t>(n));  // pieces are at most kChunk
}

struct tm local_tm(time_t t) {
  struct tm when;
  localtime_r(&t, &when);
  return when;
}

bool link_text(const source_file& src, std::string& text, std::string& reason) {
  std::vector<char> buf(src.size + 256);
  ssize_t n = readlink(src.os_path.c_str(), buf.data(), buf.size());
  if (n < 0) {
    reason = src.os_path + ": cannot read the link: " + errno_text(errno);
    return false;
  }
  text.assign(buf.data(), static_cast<size_t>(n));
  return true;
}

// Already-compressed data (textures, sounds) gains nothing from deflate but
// costs the most time in it. Three samples from the start, middle and end are
// squeezed at the fastest level; when none shrinks, the file is stored.
bool looks_incompressible(int fd, uint64_t size) {
  const size_t sample = 32 * 1024;
  if (size < 8 * sample) return false;
  std::vector<unsigned char> in(sample), out(compressBound(sample));
  const uint64_t at[] = {0, size / 2, size - sample};
  for (uint64_t offset : at) {
    ssize_t n = pread(fd, in.data(), sample, static_cast<off_t>(offset));
    if (n != static_cast<ssize_t>(sample)) return false;
    uLongf packed = static_cast<uLongf>(out.size());
    if (compress2(out.data(), &packed, in.data(), sample, 1) != Z_OK) return false;
    if (packed < sample - sample / 50) return false;
  }
  return true;
}

struct member_info {
  std::string name;
  unz_file_info info;
  uLong count = 0;
};

// The first member of the archive, and how many there are.
bool first_member(const std::string& zip_path, member_info& out) {
  unzFile uz = unzOpen64(zip_path.c_str());
  if (!uz) return false;
  unz_global_info global;
  bool ok = unzGetGlobalInfo(uz, &global) == UNZ_OK && unzGoToFirstFile(uz) == UNZ_OK;
  if (ok) {
    char name[512];
    ok = unzGetCurrentFileInfo(uz, &out.info, name, sizeof name, nullptr, 0, nullptr, 0) == UNZ_OK;
    name[sizeof name - 1] = 0;
    out.name = name;
    out.count = global.number_entry;
  }
  unzClose(uz);
  return ok;
}

bool same_but_crc(const member_info& m, const source_file& src) {
  if (m.count != 1 || m.name != src.member || m.info.uncompressed_size != src.size) return false;
  if ((m.info.external_fa >> 16) != (src.mode & 0xFFFF)) return false;
  // The date as packing would store it now: a touched file is packed anew.
  struct tm t = local_tm(src.mtime);
  const tm_unz& d = m.info.tmu_date;
  return static_cast<int>(d.tm_year) == t.tm_year + 1900 && static_cast<int>(d.tm_mon) == t.tm_mon &&
         static_cast<int>(d.tm_mday) == t.tm_mday && static_cast<int>(d.tm_hour) == t.tm_hour &&
         static_cast<int>(d.tm_min) == t.tm_min &&
         static_cast<int>(d.tm_sec) / 2 == t.tm_sec / 2;
}

}  // namespace

int kilobytes(uint64_t bytes) { return static_cast<int>((bytes + 999) / 1000); }

std::string sign_path(const std::string& path) {
  fd_class f(path);
  if (f.fd < 0) return "NONE";
  std::vector<unsigned char> buf(kChunk);
  MD5_CTX ctx;
  MD5Init(&ctx);
  int err = read_all(f.fd, buf, [&](const unsigned char* p, size_t n) {
    md5_feed(ctx, p, n);
    return true;
  });
  if (err) return "NONE";  // a folder, for one: the installer can't sign it either
  MD5Final(&ctx);
  return hex_digest(ctx.digest);
}

bool sign_file(const source_file& src, pack_result& out, std::string& reason) {
  if (src.is_link) {
    std::string text;
    if (!link_text(src, text, reason)) return false;
    out.crc = static_cast<uint32_t>(
        crc32(0, reinterpret_cast<const Bytef*>(text.data()), static_cast<uInt>(text.size())));
    out.sig = sign_path(src.os_path);
    return true;
  }
  fd_class f(src.os_path);
  if (f.fd < 0) {
    reason = src.os_path + ": cannot read: " + errno_text(errno);
    return false;
  }
  std::vector<unsigned char> buf(kChunk);
  MD5_CTX ctx;
  MD5Init(&ctx);
  uLong crc = crc32(0, nullptr, 0);
  int err = read_all(f.fd, buf, [&](const unsigned char* p, size_t n) {
    md5_feed(ctx, p, n);
    crc = crc32(crc, p, static_cast<uInt>(n));
    return true;
  });
  if (err) {
    reason = src.os_path + ": cannot read: " + errno_text(err);
    return false;
  }
  MD5Final(&ctx);
  out.sig = hex_digest(ctx.digest);
  out.crc = static_cast<uint32_t>(crc);
  return true;
}

bool pack_file(const source_file& src, const std::string& zip_path, pack_result& out,
               std::string& reason) {
  std::string link;
  std::unique_ptr<fd_class> f;
  if (src.is_link) {
    if (!link_text(src, link, reason)) return false;
  } else {
    f.reset(new fd_class(src.os_path));
    if (f->fd < 0) {
      reason = src.os_path + ": cannot read: " + errno_text(errno);
      return false;
    }
  }

  zipFile zf = zipOpen64(zip_path.c_str(), APPEND_STATUS_CREATE);
  if (!zf) {
    reason = zip_path + ": cannot write: " + errno_text(errno);
    return false;
  }
  zip_fileinfo zi;
  memset(&zi, 0, sizeof zi);
  struct tm t = local_tm(src.mtime);
  zi.tmz_date.tm_sec = t.tm_sec;
  zi.tmz_date.tm_min = t.tm_min;
  zi.tmz_date.tm_hour = t.tm_hour;
  zi.tmz_date.tm_mday = t.tm_mday;
  zi.tmz_date.tm_mon = t.tm_mon;
  zi.tmz_date.tm_year = t.tm_year + 1900;
  zi.external_fa = static_cast<uLong>(src.mode & 0xFFFF) << 16;

  // A link's few bytes are stored; files are deflated at zip's own default
  // level unless deflate would not shrink them.
  bool store = src.is_link || looks_incompressible(f->fd, src.size);
  int method = store ? 0 : Z_DEFLATED;
  int level = store ? 0 : Z_DEFAULT_COMPRESSION;
  int zip64 = src.size >= 0xFFFFFFFFull ? 1 : 0;
  int zerr = zipOpenNewFileInZip4_64(zf, src.member.c_str(), &zi, nullptr, 0, nullptr, 0, nullptr,
                                     method, level, 0, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY, nullptr, 0,
                                     kMadeByUnix, 0, zip64);
  int read_err = 0;
  uint64_t got = 0;
  if (zerr == ZIP_OK) {
    if (src.is_link) {
      zerr = zipWriteInFileInZip(zf, link.data(), static_cast<unsigned>(link.size()));
      out.crc = static_cast<uint32_t>(
          crc32(0, reinterpret_cast<const Bytef*>(link.data()), static_cast<uInt>(link.size())));
      got = link.size();
    } else {
      std::vector<unsigned char> buf(kChunk);
      MD5_CTX ctx;
      MD5Init(&ctx);
      uLong crc = crc32(0, nullptr, 0);
      read_err = read_all(f->fd, buf, [&](const unsigned char* p, size_t n) {
        md5_feed(ctx, p, n);
        crc = crc32(crc, p, static_cast<uInt>(n));
        got += n;
        zerr = zipWriteInFileInZip(zf, p, static_cast<unsigned>(n));
        return zerr == ZIP_OK;
      });
      MD5Final(&ctx);
      out.sig = hex_digest(ctx.digest);
      out.crc = static_cast<uint32_t>(crc);
    }
  }
  int write_errno = errno;
  int close_err = zerr == ZIP_OK ? zipCloseFileInZip(zf) : ZIP_OK;
  if (zerr == ZIP_OK) zerr = close_err;
  close_err = zipClose(zf, nullptr);
  if (zerr == ZIP_OK) zerr = close_err;
  if (zerr != ZIP_OK) write_errno = errno;

  if (read_err > 0) {
    reason = src.os_path + ": cannot read: " + errno_text(read_err);
    return false;
  }
  if (zerr != ZIP_OK) {
    reason = zip_path + ": cannot write: " +
             (zerr == ZIP_ERRNO && write_errno ? errno_text(write_errno)
                                               : "zip error " + std::to_string(zerr));
    return false;
  }
  if (got != src.size) {
    reason = src.os_path + ": changed while it was being packed";
    return false;
  }
  if (src.is_link) out.sig = sign_path(src.os_path);
  struct stat st;
  if (stat(zip_path.c_str(), &st) != 0) {
    reason = zip_path + ": cannot read back: " + errno_text(errno);
    return false;
  }
  out.zip_bytes = static_cast<uint64_t>(st.st_size);
  return true;
}

bool archive_may_hold(const std::string& zip_path, const source_file& src) {
  member_info m;
  return first_member(zip_path, m) && same_but_crc(m, src);
}

bool archive_holds(const std::string& zip_path, const source_file& src, uint32_t crc) {
  member_info m;
  return first_member(zip_path, m) && same_but_crc(m, src) &&
         static_cast<uint32_t>(m.info.crc) == crc;
}
