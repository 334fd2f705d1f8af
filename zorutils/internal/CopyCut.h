// Copying a text into a fixed-size buffer of the library's records.
#pragma once

#include <cstddef>
#include <cwchar>

namespace zor {

/// Copies at most capacity - 1 units of `src` (null: nothing) and
/// terminates; `capacity` must be at least 1.
inline void CopyCut(wchar_t* dst, size_t capacity, const wchar_t* src) {
  size_t n = 0;
  if (src)
    while (n + 1 < capacity && src[n]) ++n;
  if (n) wmemcpy(dst, src, n);
  dst[n] = 0;
}

}  // namespace zor
