// MD5 (RFC 1321) and the signature of a file: the digest of its bytes as 32
// lower-case hex digits. Whole blocks are transformed straight from the
// caller's memory; only a partial block goes through the context's buffer,
// which gives the same digest as feeding the bytes one at a time.
#include "files/signature.h"

#include <cstdio>
#include <cstring>

#include "files/paths.h"
#include "files/xmap.h"

namespace {

inline uint32_t rotl(uint32_t x, int s) { return (x << s) | (x >> (32 - s)); }

inline uint32_t load_le(const unsigned char* p) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  uint32_t v;
  memcpy(&v, p, 4);
  return v;
#else
  return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
#endif
}

// Each step depends on the one before through b; the message word and the
// constant are added to a first, so that only the round function waits for b.
#define MD5_F(x, y, z) ((z) ^ ((x) & ((y) ^ (z))))
#define MD5_H(x, y, z) ((x) ^ (y) ^ (z))
#define MD5_I(x, y, z) ((y) ^ ((x) | ~(z)))
#define MD5_STEP(f, a, b, c, d, x, t, s) \
  (a) += (x) + (t);                      \
  (a) += f((b), (c), (d));               \
  (a) = rotl((a), (s)) + (b)
// G = (b & d) | (c & ~d): the two halves never overlap, so they may be added
// separately, and the half without b is ready before b is.
#define MD5_GSTEP(a, b, c, d, x, t, s) \
  (a) += (x) + (t) + ((c) & ~(d));     \
  (a) += (b) & (d);                    \
  (a) = rotl((a), (s)) + (b)

// Transforms `blocks` consecutive 64-byte blocks.
void md5_blocks(uint32_t state[4], const unsigned char* p, size_t blocks) {
  uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
  for (; blocks; --blocks, p += 64) {
    const uint32_t x0 = load_le(p), x1 = load_le(p + 4), x2 = load_le(p + 8), x3 = load_le(p + 12),
                   x4 = load_le(p + 16), x5 = load_le(p + 20), x6 = load_le(p + 24), x7 = load_le(p + 28),
                   x8 = load_le(p + 32), x9 = load_le(p + 36), x10 = load_le(p + 40), x11 = load_le(p + 44),
                   x12 = load_le(p + 48), x13 = load_le(p + 52), x14 = load_le(p + 56), x15 = load_le(p + 60);
    const uint32_t sa = a, sb = b, sc = c, sd = d;

    MD5_STEP(MD5_F, a, b, c, d, x0, 0xd76aa478, 7);
    MD5_STEP(MD5_F, d, a, b, c, x1, 0xe8c7b756, 12);
    MD5_STEP(MD5_F, c, d, a, b, x2, 0x242070db, 17);
    MD5_STEP(MD5_F, b, c, d, a, x3, 0xc1bdceee, 22);
    MD5_STEP(MD5_F, a, b, c, d, x4, 0xf57c0faf, 7);
    MD5_STEP(MD5_F, d, a, b, c, x5, 0x4787c62a, 12);
    MD5_STEP(MD5_F, c, d, a, b, x6, 0xa8304613, 17);
    MD5_STEP(MD5_F, b, c, d, a, x7, 0xfd469501, 22);
    MD5_STEP(MD5_F, a, b, c, d, x8, 0x698098d8, 7);
    MD5_STEP(MD5_F, d, a, b, c, x9, 0x8b44f7af, 12);
    MD5_STEP(MD5_F, c, d, a, b, x10, 0xffff5bb1, 17);
    MD5_STEP(MD5_F, b, c, d, a, x11, 0x895cd7be, 22);
    MD5_STEP(MD5_F, a, b, c, d, x12, 0x6b901122, 7);
    MD5_STEP(MD5_F, d, a, b, c, x13, 0xfd987193, 12);
    MD5_STEP(MD5_F, c, d, a, b, x14, 0xa679438e, 17);
    MD5_STEP(MD5_F, b, c, d, a, x15, 0x49b40821, 22);

    MD5_GSTEP(a, b, c, d, x1, 0xf61e2562, 5);
    MD5_GSTEP(d, a, b, c, x6, 0xc040b340, 9);
    MD5_GSTEP(c, d, a, b, x11, 0x265e5a51, 14);
    MD5_GSTEP(b, c, d, a, x0, 0xe9b6c7aa, 20);
    MD5_GSTEP(a, b, c, d, x5, 0xd62f105d, 5);
    MD5_GSTEP(d, a, b, c, x10, 0x02441453, 9);
    MD5_GSTEP(c, d, a, b, x15, 0xd8a1e681, 14);
    MD5_GSTEP(b, c, d, a, x4, 0xe7d3fbc8, 20);
    MD5_GSTEP(a, b, c, d, x9, 0x21e1cde6, 5);
    MD5_GSTEP(d, a, b, c, x14, 0xc33707d6, 9);
    MD5_GSTEP(c, d, a, b, x3, 0xf4d50d87, 14);
    MD5_GSTEP(b, c, d, a, x8, 0x455a14ed, 20);
    MD5_GSTEP(a, b, c, d, x13, 0xa9e3e905, 5);
    MD5_GSTEP(d, a, b, c, x2, 0xfcefa3f8, 9);
    MD5_GSTEP(c, d, a, b, x7, 0x676f02d9, 14);
    MD5_GSTEP(b, c, d, a, x12, 0x8d2a4c8a, 20);

    MD5_STEP(MD5_H, a, b, c, d, x5, 0xfffa3942, 4);
    MD5_STEP(MD5_H, d, a, b, c, x8, 0x8771f681, 11);
    MD5_STEP(MD5_H, c, d, a, b, x11, 0x6d9d6122, 16);
    MD5_STEP(MD5_H, b, c, d, a, x14, 0xfde5380c, 23);
    MD5_STEP(MD5_H, a, b, c, d, x1, 0xa4beea44, 4);
    MD5_STEP(MD5_H, d, a, b, c, x4, 0x4bdecfa9, 11);
    MD5_STEP(MD5_H, c, d, a, b, x7, 0xf6bb4b60, 16);
    MD5_STEP(MD5_H, b, c, d, a, x10, 0xbebfbc70, 23);
    MD5_STEP(MD5_H, a, b, c, d, x13, 0x289b7ec6, 4);
    MD5_STEP(MD5_H, d, a, b, c, x0, 0xeaa127fa, 11);
    MD5_STEP(MD5_H, c, d, a, b, x3, 0xd4ef3085, 16);
    MD5_STEP(MD5_H, b, c, d, a, x6, 0x04881d05, 23);
    MD5_STEP(MD5_H, a, b, c, d, x9, 0xd9d4d039, 4);
    MD5_STEP(MD5_H, d, a, b, c, x12, 0xe6db99e5, 11);
    MD5_STEP(MD5_H, c, d, a, b, x15, 0x1fa27cf8, 16);
    MD5_STEP(MD5_H, b, c, d, a, x2, 0xc4ac5665, 23);

    MD5_STEP(MD5_I, a, b, c, d, x0, 0xf4292244, 6);
    MD5_STEP(MD5_I, d, a, b, c, x7, 0x432aff97, 10);
    MD5_STEP(MD5_I, c, d, a, b, x14, 0xab9423a7, 15);
    MD5_STEP(MD5_I, b, c, d, a, x5, 0xfc93a039, 21);
    MD5_STEP(MD5_I, a, b, c, d, x12, 0x655b59c3, 6);
    MD5_STEP(MD5_I, d, a, b, c, x3, 0x8f0ccc92, 10);
    MD5_STEP(MD5_I, c, d, a, b, x10, 0xffeff47d, 15);
    MD5_STEP(MD5_I, b, c, d, a, x1, 0x85845dd1, 21);
    MD5_STEP(MD5_I, a, b, c, d, x8, 0x6fa87e4f, 6);
    MD5_STEP(MD5_I, d, a, b, c, x15, 0xfe2ce6e0, 10);
    MD5_STEP(MD5_I, c, d, a, b, x6, 0xa3014314, 15);
    MD5_STEP(MD5_I, b, c, d, a, x13, 0x4e0811a1, 21);
    MD5_STEP(MD5_I, a, b, c, d, x4, 0xf7537e82, 6);
    MD5_STEP(MD5_I, d, a, b, c, x11, 0xbd3af235, 10);
    MD5_STEP(MD5_I, c, d, a, b, x2, 0x2ad7d2bb, 15);
    MD5_STEP(MD5_I, b, c, d, a, x9, 0xeb86d391, 21);

    a += sa;
    b += sb;
    c += sc;
    d += sd;
  }
  state[0] = a;
  state[1] = b;
  state[2] = c;
  state[3] = d;
}

#undef MD5_F
#undef MD5_GSTEP
#undef MD5_H
#undef MD5_I
#undef MD5_STEP

// Adds `bytes` to the 64-bit bit counter, carrying into the high word.
inline void add_bits(MD5_CTX* ctx, uint64_t bytes) {
  uint64_t bits = (uint64_t(ctx->count[1]) << 32 | ctx->count[0]) + (bytes << 3);
  ctx->count[0] = uint32_t(bits);
  ctx->count[1] = uint32_t(bits >> 32);
}

// Feeds bytes whose bit count is already added; `used` is the fill of the
// block buffer before them.
void feed(MD5_CTX* ctx, const unsigned char* in, size_t len, unsigned used) {
  if (used) {
    unsigned take = 64 - used;
    if (len < take) {
      memcpy(ctx->buffer + used, in, len);
      return;
    }
    memcpy(ctx->buffer + used, in, take);
    md5_blocks(ctx->state, ctx->buffer, 1);
    in += take;
    len -= take;
  }
  size_t whole = len / 64;
  if (whole) md5_blocks(ctx->state, in, whole);
  in += whole * 64;
  len -= whole * 64;
  if (len) memcpy(ctx->buffer, in, len);
}

inline unsigned buffer_fill(const MD5_CTX* ctx) { return (ctx->count[0] >> 3) & 63; }

}  // namespace

void MD5Init(MD5_CTX* context) {
  context->count[0] = context->count[1] = 0;
  context->state[0] = 0x67452301;
  context->state[1] = 0xefcdab89;
  context->state[2] = 0x98badcfe;
  context->state[3] = 0x10325476;
  memset(context->buffer, 0, sizeof context->buffer);
  memset(context->digest, 0, sizeof context->digest);
}

void MD5Update(MD5_CTX* context, const unsigned char* input, unsigned int length) {
  unsigned used = buffer_fill(context);
  add_bits(context, length);
  feed(context, input, length, used);
}

// Whole files: the bytes go in runs of at most 65535, each counted with carry.
// Counting per run or at once gives the same 64-bit total, and the block
// stream is the same, so the runs leave no trace in the digest.
void MD5UpdateWide(MD5_CTX* context, const unsigned char* input, uint32_t length) {
  if (!length) return;
  unsigned used = buffer_fill(context);
  add_bits(context, length);
  feed(context, input, length, used);
}

void MD5Final(MD5_CTX* context) {
  unsigned char bits[8];
  for (int i = 0; i < 4; ++i) {
    bits[i] = (unsigned char)(context->count[0] >> (8 * i));
    bits[4 + i] = (unsigned char)(context->count[1] >> (8 * i));
  }
  static const unsigned char padding[64] = {0x80};
  unsigned used = buffer_fill(context);
  unsigned pad = used < 56 ? 56 - used : 120 - used;
  MD5Update(context, padding, pad);
  MD5Update(context, bits, 8);
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) context->digest[4 * i + j] = (unsigned char)(context->state[i] >> (8 * j));
  // Leave nothing of the message behind in the context.
  memset(context->state, 0, sizeof context->state);
  memset(context->count, 0, sizeof context->count);
  memset(context->buffer, 0, sizeof context->buffer);
}

int calc_file_md5(const std::string& path, std::string& sig) {
  std::string p = path;
  set_dir_chars(p);
  // The path is already in system form; xmap_class applies the separator
  // rule again, which leaves it unchanged.
  xmap_class map(p);
  if (!map.mem_beg) return 20006;

  MD5_CTX ctx;
  MD5Init(&ctx);
  const unsigned char* at = map.mem_beg;
  size_t left = size_t(map.mem_end - map.mem_beg);
  // MD5UpdateWide takes 32-bit lengths; a file past 4 GB goes in pieces.
  while (left) {
    uint32_t n = left > 0x80000000u ? 0x80000000u : uint32_t(left);
    MD5UpdateWide(&ctx, at, n);
    at += n;
    left -= n;
  }
  MD5Final(&ctx);

  char buf[33];
  const unsigned char* d = ctx.digest;
  snprintf(buf, sizeof buf, "%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x%02x", d[0], d[1], d[2],
           d[3], d[4], d[5], d[6], d[7], d[8], d[9], d[10], d[11], d[12], d[13], d[14], d[15]);
  sig = buf;
  return 0;
}
