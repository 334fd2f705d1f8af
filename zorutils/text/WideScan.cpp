// The wide scans: SSE2 where the processor has it, plain loops elsewhere.
#include <zorutils/internal/WideScan.h>

#include <zorutils/internal/TestSeams.h>

#include <windows.h>

#include <emmintrin.h>

#include <cstdint>
#include <cwchar>

namespace zor {

namespace plain {

size_t WideLength(const wchar_t* s) {
  const wchar_t* p = s;
  while (*p) ++p;
  return static_cast<size_t>(p - s);
}

size_t WideLengthWithin(const wchar_t* s, size_t max) {
  size_t n = 0;
  while (n < max && s[n]) ++n;
  return n;
}

const wchar_t* FindUnitOrZero(const wchar_t* s, wchar_t c) {
  while (*s && *s != c) ++s;
  return s;
}

size_t FindUnitWithin(const wchar_t* s, size_t n, wchar_t c) {
  size_t i = 0;
  while (i < n && s[i] != c) ++i;
  return i;
}

size_t FindAnyOf3Within(const wchar_t* s, size_t n, wchar_t a, wchar_t b, wchar_t c) {
  size_t i = 0;
  while (i < n && s[i] != a && s[i] != b && s[i] != c) ++i;
  return i;
}

size_t CopyBelow(const wchar_t* s, size_t n, wchar_t* out, wchar_t limit) {
  size_t i = 0;
  for (; i < n && s[i] < limit; ++i) out[i] = s[i];
  return i;
}

}  // namespace plain

namespace {

#if defined(__x86_64__)
#define ZOR_SSE2
inline bool HaveSSE2() { return true; }
#else
#define ZOR_SSE2 __attribute__((target("sse2")))
bool HaveSSE2() {
  static const bool have = IsProcessorFeaturePresent(PF_XMMI64_INSTRUCTIONS_AVAILABLE) != FALSE;
  return have;
}
#endif

bool g_forcePlain = false;

inline bool Vector() { return !g_forcePlain && HaveSSE2(); }

// A 16-bit lane mask (two bits per unit) of the units in the aligned block
// at `a` that equal `c` or zero.
ZOR_SSE2 inline unsigned int Hits(const char* a, __m128i c, __m128i zero) {
  const __m128i v = _mm_load_si128(reinterpret_cast<const __m128i*>(a));
  return static_cast<unsigned int>(_mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi16(v, c), _mm_cmpeq_epi16(v, zero))));
}

// The first unit from `s` that is `c` or zero. A text at an odd address
// (never one of ours) does not line up with the lanes: it goes the plain way.
ZOR_SSE2 const wchar_t* VectorFind(const wchar_t* s, wchar_t c) {
  const uintptr_t at = reinterpret_cast<uintptr_t>(s);
  if (at & 1) return plain::FindUnitOrZero(s, c);
  const __m128i zero = _mm_setzero_si128(), unit = _mm_set1_epi16(static_cast<short>(c));
  const char* a = reinterpret_cast<const char*>(at & ~static_cast<uintptr_t>(15));
  // The units in front of `s` in the first block do not count.
  unsigned int mask = Hits(a, unit, zero) & (0xFFFFu << (at & 15));
  while (!mask) {
    a += 16;
    mask = Hits(a, unit, zero);
  }
  return reinterpret_cast<const wchar_t*>(a + __builtin_ctz(mask));
}

// A lane mask of the units of the aligned block at `a` equal to any of the
// three.
ZOR_SSE2 inline unsigned int Hits3(const char* a, __m128i x, __m128i y, __m128i z) {
  const __m128i v = _mm_load_si128(reinterpret_cast<const __m128i*>(a));
  return static_cast<unsigned int>(_mm_movemask_epi8(
      _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi16(v, x), _mm_cmpeq_epi16(v, y)), _mm_cmpeq_epi16(v, z))));
}

// Index of the first unit among `n` from `s` equal to x, y or z, or `n`.
// Short or odd-placed texts go the plain way.
ZOR_SSE2 size_t VectorFind3Within(const wchar_t* s, size_t n, wchar_t x, wchar_t y, wchar_t z) {
  // What is near is found sooner one unit at a time (tags and the texts
  // between them are short).
  const size_t nearBy = n < 12 ? n : 12;
  for (size_t i = 0; i < nearBy; ++i)
    if (s[i] == x || s[i] == y || s[i] == z) return i;
  if (nearBy == n) return n;
  s += nearBy;
  n -= nearBy;
  const uintptr_t at = reinterpret_cast<uintptr_t>(s);
  if (at & 1) return nearBy + plain::FindAnyOf3Within(s, n, x, y, z);
  const __m128i vx = _mm_set1_epi16(static_cast<short>(x)), vy = _mm_set1_epi16(static_cast<short>(y)),
                vz = _mm_set1_epi16(static_cast<short>(z));
  const char* a = reinterpret_cast<const char*>(at & ~static_cast<uintptr_t>(15));
  const char* end = reinterpret_cast<const char*>(s + n);
  unsigned int mask = Hits3(a, vx, vy, vz) & (0xFFFFu << (at & 15));
  for (;;) {
    if (mask) {
      const char* hit = a + __builtin_ctz(mask);
      return nearBy + (hit < end ? static_cast<size_t>(reinterpret_cast<const wchar_t*>(hit) - s) : n);
    }
    a += 16;
    if (a >= end) return nearBy + n;
    mask = Hits3(a, vx, vy, vz);
  }
}

ZOR_SSE2 size_t VectorFindWithin(const wchar_t* s, size_t n, wchar_t c) { return VectorFind3Within(s, n, c, c, c); }

// The first zero unit from `s`: the first aligned 16 bytes alone, up to a
// 128-byte boundary block by block, then 128 bytes at a time (which never
// leaves the 128 aligned bytes, so never the page, that hold the terminator).
ZOR_SSE2 const wchar_t* VectorZero(const wchar_t* s) {
  const uintptr_t at = reinterpret_cast<uintptr_t>(s);
  if (at & 1) return plain::FindUnitOrZero(s, 0);
  const __m128i zero = _mm_setzero_si128();
  const char* a = reinterpret_cast<const char*>(at & ~static_cast<uintptr_t>(15));
  unsigned int mask = Hits(a, zero, zero) & (0xFFFFu << (at & 15));
  while (!mask && (reinterpret_cast<uintptr_t>(a + 16) & 127)) {
    a += 16;
    mask = Hits(a, zero, zero);
  }
  if (!mask) {
    a += 16;
    for (;;) {
      const __m128i* w = reinterpret_cast<const __m128i*>(a);
      // Eight blocks tested at once; the four that hold a zero found below.
      const __m128i any = _mm_or_si128(
          _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi16(_mm_load_si128(w), zero), _mm_cmpeq_epi16(_mm_load_si128(w + 1), zero)),
                       _mm_or_si128(_mm_cmpeq_epi16(_mm_load_si128(w + 2), zero), _mm_cmpeq_epi16(_mm_load_si128(w + 3), zero))),
          _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi16(_mm_load_si128(w + 4), zero), _mm_cmpeq_epi16(_mm_load_si128(w + 5), zero)),
                       _mm_or_si128(_mm_cmpeq_epi16(_mm_load_si128(w + 6), zero), _mm_cmpeq_epi16(_mm_load_si128(w + 7), zero))));
      if (!_mm_movemask_epi8(any)) {
        a += 128;
        continue;
      }
      const __m128i* v = w;
      if (!_mm_movemask_epi8(_mm_or_si128(
              _mm_or_si128(_mm_cmpeq_epi16(_mm_load_si128(w), zero), _mm_cmpeq_epi16(_mm_load_si128(w + 1), zero)),
              _mm_or_si128(_mm_cmpeq_epi16(_mm_load_si128(w + 2), zero), _mm_cmpeq_epi16(_mm_load_si128(w + 3), zero))))) {
        a += 64;
        v = w + 4;
      }
      const __m128i z0 = _mm_cmpeq_epi16(_mm_load_si128(v), zero), z1 = _mm_cmpeq_epi16(_mm_load_si128(v + 1), zero),
                    z2 = _mm_cmpeq_epi16(_mm_load_si128(v + 2), zero), z3 = _mm_cmpeq_epi16(_mm_load_si128(v + 3), zero);
      const unsigned int m0 = static_cast<unsigned int>(_mm_movemask_epi8(z0)),
                         m1 = static_cast<unsigned int>(_mm_movemask_epi8(z1)),
                         m2 = static_cast<unsigned int>(_mm_movemask_epi8(z2)),
                         m3 = static_cast<unsigned int>(_mm_movemask_epi8(z3));
      const unsigned long long all = m0 | (m1 << 16) | (static_cast<unsigned long long>(m2 | (m3 << 16)) << 32);
      return reinterpret_cast<const wchar_t*>(a + __builtin_ctzll(all));
    }
  }
  return reinterpret_cast<const wchar_t*>(a + __builtin_ctz(mask));
}

// Eight units at a time while all are below `limit` (unaligned loads and
// stores: never past the `n` units), the rest one by one.
ZOR_SSE2 size_t VectorCopyBelow(const wchar_t* s, size_t n, wchar_t* out, wchar_t limit) {
  const __m128i below = _mm_set1_epi16(static_cast<short>(limit - 1)), zero = _mm_setzero_si128();
  size_t i = 0;
  for (; i + 8 <= n; i += 8) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
    // Unsigned saturating subtraction: zero exactly for the units below `limit`.
    if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_subs_epu16(v, below), zero)) != 0xFFFF) break;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), v);
  }
  return i + plain::CopyBelow(s + i, n - i, out + i, limit);
}

}  // namespace

size_t CopyBelow(const wchar_t* s, size_t n, wchar_t* out, wchar_t limit) {
  if (limit == 0) return 0;
  return Vector() ? VectorCopyBelow(s, n, out, limit) : plain::CopyBelow(s, n, out, limit);
}

size_t WideLength(const wchar_t* s) {
  // Zero is both the unit looked for and the end.
  return Vector() ? static_cast<size_t>(VectorZero(s) - s) : plain::WideLength(s);
}

size_t WideLengthWithin(const wchar_t* s, size_t max) {
  return Vector() ? VectorFindWithin(s, max, 0) : plain::WideLengthWithin(s, max);
}

const wchar_t* FindUnitOrZero(const wchar_t* s, wchar_t c) {
  return Vector() ? VectorFind(s, c) : plain::FindUnitOrZero(s, c);
}

size_t FindUnitWithin(const wchar_t* s, size_t n, wchar_t c) {
  return Vector() ? VectorFindWithin(s, n, c) : plain::FindUnitWithin(s, n, c);
}

size_t FindAnyOf3Within(const wchar_t* s, size_t n, wchar_t a, wchar_t b, wchar_t c) {
  return Vector() ? VectorFind3Within(s, n, a, b, c) : plain::FindAnyOf3Within(s, n, a, b, c);
}

const wchar_t* FindText(const wchar_t* s, const wchar_t* sub, size_t subLength) {
  const wchar_t first = sub[0];
  for (;;) {
    s = FindUnitOrZero(s, first);
    if (!*s) return nullptr;
    // A zero in the text ends the comparison (sub holds none), so the
    // comparison never reads past the terminator.
    size_t k = 1;
    while (k < subLength && s[k] == sub[k]) ++k;
    if (k == subLength) return s;
    ++s;
  }
}

bool WideScanIsVector() { return Vector(); }

}  // namespace zor

void ZorTest_UsePlainWideScans(bool plain) { zor::g_forcePlain = plain; }
