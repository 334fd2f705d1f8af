// printf-style formatting into a fixed wide buffer, always terminated: the
// C runtime's _snwprintf leaves a cut result unterminated.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cwchar>

namespace zor {

/// Formats into `buffer`, cut to its size when too long.
template <size_t N>
void FormatTo(wchar_t (&buffer)[N], const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  _vsnwprintf(buffer, N - 1, format, args);
  va_end(args);
  buffer[N - 1] = 0;
}

}  // namespace zor
