// The promo player's transition arithmetic: crossfades and fades of 24-bit
// frames, one byte at a time as far as the result is concerned.
//
// Every byte is v * w / 100 + u * (100 - w) / 100 with each product truncated
// on its own. A division per byte would dominate a frame, so both paths turn
// it into work that is exact over the range that can occur:
//
// - the portable path looks each product up in a 256-entry table that the
//   plain formula fills once per call;
// - the SSE2 path multiplies instead. For a byte v (0..255) and a weight w
//   (1..99), with s = ceil(w * 65536 / 100),
//       v * w / 100  ==  (v * s) >> 16
//   because s exceeds w * 65536 / 100 by less than 1, so v * s / 65536
//   exceeds v * w / 100 by less than 256 / 65536 < 0.004, while v * w / 100
//   is either whole or at least 0.01 below the next whole number. s fits in
//   16 bits (at most 64881), so one unsigned multiply-high per 16-bit lane
//   does the multiplication and the division together. The weights 0 and 100
//   (s would be 65536) only occur at p = 0 or 100, which are copies.
//
// x86_64 always has SSE2. The i686 build is made for processors without it,
// so its SSE2 code is compiled for that one instruction set function by
// function and chosen only when the processor reports it.
#include <zorutils/promo/Blend.h>

#include <windows.h>

#include <cstdint>
#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#define ZOR_BLEND_SSE2 1
#include <emmintrin.h>
#if defined(__i386__)
// A host built with another compiler may call in with the stack aligned to 4
// bytes only; realign it where 16-byte vectors may be spilled.
#define ZOR_SSE2_HELPER __attribute__((target("sse2"), always_inline)) inline
#define ZOR_SSE2_KERNEL __attribute__((target("sse2"), force_align_arg_pointer))
#else
#define ZOR_SSE2_HELPER __attribute__((always_inline)) inline
#define ZOR_SSE2_KERNEL
#endif
#endif

namespace zorpromo {
namespace detail {

// Test seam: true sends every call down the portable path, so that the tests
// check it on machines that would never take it.
bool g_portableOnly = false;

}  // namespace detail

namespace {

bool UseSse2() {
#if defined(__x86_64__)
  return !detail::g_portableOnly;
#elif defined(ZOR_BLEND_SSE2)
  // Asks the system rather than the processor: it also says whether the
  // system saves the vector registers across thread switches.
  return !detail::g_portableOnly && IsProcessorFeaturePresent(PF_XMMI64_INSTRUCTIONS_AVAILABLE);
#else
  return false;
#endif
}

int ClampPercent(int p) { return p < 0 ? 0 : p > 100 ? 100 : p; }

// The colour's term for each byte of a pixel (blue, green, red), each
// truncated on its own as the formula has it.
void ColorTerms(unsigned long color, int q, unsigned char term[3]) {
  const unsigned long blue = (color >> 16) & 0xFF, green = (color >> 8) & 0xFF, red = color & 0xFF;
  term[0] = static_cast<unsigned char>(blue * q / 100);
  term[1] = static_cast<unsigned char>(green * q / 100);
  term[2] = static_cast<unsigned char>(red * q / 100);
}

// ---- Portable: products looked up in tables the formula fills -------------

void BlendBytesPortable(const unsigned char* a, const unsigned char* b, unsigned char* out,
                        size_t count, int p) {
  unsigned char fromA[256], fromB[256];
  for (int v = 0; v < 256; ++v) {
    fromA[v] = static_cast<unsigned char>(v * (100 - p) / 100);
    fromB[v] = static_cast<unsigned char>(v * p / 100);
  }
  for (size_t i = 0; i < count; ++i) out[i] = static_cast<unsigned char>(fromA[a[i]] + fromB[b[i]]);
}

void TowardColorPortable(const unsigned char* src, unsigned char* out, size_t rowBytes, int width,
                         int height, const unsigned char term[3], int q) {
  unsigned char fromSrc[256];
  for (int v = 0; v < 256; ++v) fromSrc[v] = static_cast<unsigned char>(v * (100 - q) / 100);
  for (int y = 0; y < height; ++y) {
    const unsigned char* s = src + static_cast<size_t>(y) * rowBytes;
    unsigned char* o = out + static_cast<size_t>(y) * rowBytes;
    for (int x = 0; x < width; ++x, s += 3, o += 3) {
      o[0] = static_cast<unsigned char>(fromSrc[s[0]] + term[0]);
      o[1] = static_cast<unsigned char>(fromSrc[s[1]] + term[1]);
      o[2] = static_cast<unsigned char>(fromSrc[s[2]] + term[2]);
    }
  }
}

#if defined(ZOR_BLEND_SSE2)

// ---- SSE2: multiply-high by ceil(w * 65536 / 100), see the top ------------

// w in 1..99 (0 gives 0, which is also exact).
unsigned Scale(int w) { return (static_cast<unsigned>(w) * 65536u + 99u) / 100u; }

// v * w / 100 for a byte v, given scale = Scale(w).
inline unsigned Scaled(unsigned v, unsigned scale) { return (v * scale) >> 16; }

// v * w / 100 for the 16 bytes of v, in two halves of eight 16-bit lanes.
ZOR_SSE2_HELPER __m128i ScaledLo(__m128i v, __m128i scale) {
  return _mm_mulhi_epu16(_mm_unpacklo_epi8(v, _mm_setzero_si128()), scale);
}
ZOR_SSE2_HELPER __m128i ScaledHi(__m128i v, __m128i scale) {
  return _mm_mulhi_epu16(_mm_unpackhi_epi8(v, _mm_setzero_si128()), scale);
}

// p in 1..99. Each 16 bytes are read before they are written, so `out` may
// be `a` or `b`.
ZOR_SSE2_KERNEL void BlendBytesSse2(const unsigned char* a, const unsigned char* b, unsigned char* out,
                                    size_t count, int p) {
  const unsigned sa = Scale(100 - p), sb = Scale(p);
  const __m128i ka = _mm_set1_epi16(static_cast<short>(sa)), kb = _mm_set1_epi16(static_cast<short>(sb));
  size_t i = 0;
  for (; count - i >= 16; i += 16) {
    const __m128i va = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + i));
    const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + i));
    // The two scaled bytes add up to at most 255, so the 16-bit adds and the
    // saturating pack never clip.
    const __m128i lo = _mm_add_epi16(ScaledLo(va, ka), ScaledLo(vb, kb));
    const __m128i hi = _mm_add_epi16(ScaledHi(va, ka), ScaledHi(vb, kb));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_packus_epi16(lo, hi));
  }
  for (; i < count; ++i) out[i] = static_cast<unsigned char>(Scaled(a[i], sa) + Scaled(b[i], sb));
}

// q in 1..100.
ZOR_SSE2_KERNEL void TowardColorSse2(const unsigned char* src, unsigned char* out, size_t rowBytes,
                                     int width, int height, const unsigned char term[3], int q) {
  const unsigned ss = Scale(100 - q);
  const __m128i ks = _mm_set1_epi16(static_cast<short>(ss));
  // The colour terms repeat every 3 bytes and a vector holds 16, so
  // consecutive vectors of a row start at a pixel's byte 0, 1, 2, 0, ...
  // (16 = 3 * 5 + 1): three patterns, taken in turn.
  unsigned char pattern[48];
  for (int i = 0; i < 48; ++i) pattern[i] = term[i % 3];
  const __m128i k0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pattern));
  const __m128i k1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pattern + 16));
  const __m128i k2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pattern + 32));
  // Only the pixels: the row padding of `out` is not ours to write.
  const size_t n = static_cast<size_t>(width) * 3;
  for (int y = 0; y < height; ++y) {
    const unsigned char* s = src + static_cast<size_t>(y) * rowBytes;
    unsigned char* o = out + static_cast<size_t>(y) * rowBytes;
    __m128i c0 = k0, c1 = k1, c2 = k2;
    size_t i = 0;
    for (; n - i >= 16; i += 16) {
      const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
      const __m128i scaled = _mm_packus_epi16(ScaledLo(v, ks), ScaledHi(v, ks));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(o + i), _mm_add_epi8(scaled, c0));
      const __m128i next = c0;
      c0 = c1;
      c1 = c2;
      c2 = next;
    }
    for (; i < n; ++i) o[i] = static_cast<unsigned char>(Scaled(s[i], ss) + term[i % 3]);
  }
}

#endif  // ZOR_BLEND_SSE2

}  // namespace

void BlendBytes(const unsigned char* a, const unsigned char* b, unsigned char* out, size_t count, int p) {
  // No buffer is larger than PTRDIFF_MAX: a larger count is a negative one
  // that was cast.
  if (!a || !b || !out || count == 0 || count > static_cast<size_t>(PTRDIFF_MAX)) return;
  p = ClampPercent(p);
  if (p == 0 || p == 100) {  // one picture whole; also outside the SSE2 scale's range
    const unsigned char* from = p == 0 ? a : b;
    if (from != out) std::memmove(out, from, count);
    return;
  }
#if defined(ZOR_BLEND_SSE2)
  if (UseSse2()) return BlendBytesSse2(a, b, out, count, p);
#endif
  BlendBytesPortable(a, b, out, count, p);
}

void BlendTowardColor(const unsigned char* src, unsigned char* out, size_t rowBytes, int width, int height,
                      unsigned long color, int q) {
  // A row shorter than its pixels would make the last row run past the
  // buffer. No buffer is larger than PTRDIFF_MAX, so a frame that would be
  // has a bad row length: typically a bottom-up bitmap's negative stride
  // cast to size_t.
  if (!src || !out || width <= 0 || height <= 0 || static_cast<size_t>(width) > rowBytes / 3 ||
      rowBytes > static_cast<size_t>(PTRDIFF_MAX) / static_cast<size_t>(height))
    return;
  q = ClampPercent(q);
  const size_t n = static_cast<size_t>(width) * 3;
  if (q == 0) {  // the picture as it is
    if (src != out)
      for (int y = 0; y < height; ++y)
        std::memmove(out + static_cast<size_t>(y) * rowBytes, src + static_cast<size_t>(y) * rowBytes, n);
    return;
  }
  unsigned char term[3];
  ColorTerms(color, q, term);
#if defined(ZOR_BLEND_SSE2)
  if (UseSse2()) return TowardColorSse2(src, out, rowBytes, width, height, term, q);
#endif
  TowardColorPortable(src, out, rowBytes, width, height, term, q);
}

const char* BlendPath() { return UseSse2() ? "sse2" : "portable"; }

}  // namespace zorpromo
