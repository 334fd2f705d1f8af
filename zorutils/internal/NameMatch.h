// Name matching used by every text format, the string files and the recent
// lists: case-insensitive with only A-Z folded to a-z. The same answer as
// _wcsicmp in the "C" locale, whatever the host's locale, without a runtime
// call per comparison (which otherwise dominates look-ups).
#pragma once

#include <cstddef>

namespace zor {

/// `c` with A-Z folded to a-z, as an unsigned code unit.
inline unsigned int FoldUnit(wchar_t c) {
  unsigned int u = static_cast<unsigned short>(c);
  return u - 'A' < 26u ? u + 32u : u;
}

/// Case-insensitive ordering of two zero-terminated names: -1, 0 or 1.
inline int FoldCompare(const wchar_t* a, const wchar_t* b) {
  for (;; ++a, ++b) {
    unsigned int ca = FoldUnit(*a), cb = FoldUnit(*b);
    if (ca != cb) return ca < cb ? -1 : 1;
    if (ca == 0) return 0;
  }
}

inline bool FoldEqual(const wchar_t* a, const wchar_t* b) { return FoldCompare(a, b) == 0; }

/// Whether the zero-terminated `whole` equals the `n` units at `part` (which
/// hold no zero).
inline bool FoldEqualN(const wchar_t* whole, const wchar_t* part, size_t n) {
  for (size_t i = 0; i < n; ++i, ++whole)
    if (!*whole || FoldUnit(*whole) != FoldUnit(part[i])) return false;
  return *whole == 0;
}

}  // namespace zor
