// Small buffer helpers shared by the files, folders and system information
// sources. Internal: never included by the umbrella header.
#pragma once

#include <zorutils/internal/NameMatch.h>

#include <cwchar>

namespace zor {

/// Copies at most capacity - 1 of the `len` units of `src` into `dst` and
/// terminates it. Nothing for a null `dst` or a capacity below 1.
inline void CopyUpTo(wchar_t* dst, long long capacity, const wchar_t* src, size_t len) {
  if (!dst || capacity < 1) return;
  if (len > static_cast<unsigned long long>(capacity - 1)) len = static_cast<size_t>(capacity - 1);
  wmemmove(dst, src, len);
  dst[len] = 0;
}

/// Code-unit comparison that folds only A-Z to a-z, whatever the runtime's
/// locale: <0, 0 or >0 like _wcsicmp in the "C" locale. Null sorts first.
inline int CompareAsciiNoCase(const wchar_t* a, const wchar_t* b) {
  if (!a || !b) return a == b ? 0 : (a ? 1 : -1);
  return FoldCompare(a, b);
}

}  // namespace zor
