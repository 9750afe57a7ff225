#include "cpub/md5.h"

#include <cstring>

namespace telva {

namespace {

// Per-step shift amounts and the additive constants floor(abs(sin(i + 1)) * 2^32).
constexpr unsigned kShift[64] = {7, 12, 17, 22, 7, 12, 17, 22, 7, 12, 17, 22, 7, 12, 17, 22,
                                 5, 9,  14, 20, 5, 9,  14, 20, 5, 9,  14, 20, 5, 9,  14, 20,
                                 4, 11, 16, 23, 4, 11, 16, 23, 4, 11, 16, 23, 4, 11, 16, 23,
                                 6, 10, 15, 21, 6, 10, 15, 21, 6, 10, 15, 21, 6, 10, 15, 21};

constexpr uint32 kSine[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

inline uint32 rotl(uint32 x, unsigned s) {
  return (x << s) | (x >> (32 - s));
}

void transform(uint32 state[4], const unsigned char block[64]) {
  uint32 m[16];
  for (int i = 0; i < 16; ++i)
    m[i] = static_cast<uint32>(block[4 * i]) | static_cast<uint32>(block[4 * i + 1]) << 8 |
           static_cast<uint32>(block[4 * i + 2]) << 16 |
           static_cast<uint32>(block[4 * i + 3]) << 24;
  uint32 a = state[0], b = state[1], c = state[2], d = state[3];
  for (int i = 0; i < 64; ++i) {
    uint32 f;
    int g;
    if (i < 16) {
      f = (b & c) | (~b & d);
      g = i;
    } else if (i < 32) {
      f = (d & b) | (~d & c);
      g = (5 * i + 1) % 16;
    } else if (i < 48) {
      f = b ^ c ^ d;
      g = (3 * i + 5) % 16;
    } else {
      f = c ^ (b | ~d);
      g = (7 * i) % 16;
    }
    uint32 next = b + rotl(a + f + kSine[i] + m[g], kShift[i]);
    a = d;
    d = c;
    c = b;
    b = next;
  }
  state[0] += a;
  state[1] += b;
  state[2] += c;
  state[3] += d;
}

} // namespace

void md5_init(Md5* ctx) {
  ctx->state[0] = 0x67452301;
  ctx->state[1] = 0xefcdab89;
  ctx->state[2] = 0x98badcfe;
  ctx->state[3] = 0x10325476;
  ctx->length = 0;
}

void md5_update(Md5* ctx, const void* data, size_t bytes) {
  const unsigned char* p = static_cast<const unsigned char*>(data);
  size_t have = static_cast<size_t>(ctx->length % 64);
  ctx->length += bytes;
  if (have) {
    size_t take = 64 - have < bytes ? 64 - have : bytes;
    std::memcpy(ctx->pending + have, p, take);
    p += take;
    bytes -= take;
    if (have + take < 64) return;
    transform(ctx->state, ctx->pending);
  }
  for (; bytes >= 64; p += 64, bytes -= 64)
    transform(ctx->state, p);
  if (bytes) std::memcpy(ctx->pending, p, bytes);
}

void md5_final(Md5* ctx, unsigned char digest[16]) {
  uint64 bits = ctx->length * 8;
  // Padding: one 0x80 byte, zeros up to 56 mod 64, then the bit length in little-endian order.
  unsigned char pad[72] = {0x80};
  size_t have = static_cast<size_t>(ctx->length % 64);
  size_t padlen = have < 56 ? 56 - have : 120 - have;
  md5_update(ctx, pad, padlen);
  unsigned char len[8];
  for (int i = 0; i < 8; ++i)
    len[i] = static_cast<unsigned char>(bits >> (8 * i));
  md5_update(ctx, len, 8);
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j)
      digest[4 * i + j] = static_cast<unsigned char>(ctx->state[i] >> (8 * j));
}

void md5_digest(const void* data, size_t bytes, unsigned char digest[16]) {
  Md5 ctx;
  md5_init(&ctx);
  md5_update(&ctx, data, bytes);
  md5_final(&ctx, digest);
}

} // namespace telva
