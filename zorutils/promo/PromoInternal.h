// What the promo player's source files share. Internal to zorutils.dll.
#pragma once

#include <windows.h>

#include <cstdarg>
#include <cwchar>

namespace zorpromo {

/// The player's clock: the tick count, or the tests' clock.
DWORD Now();

/// A decimal integer that passes StringIsNumericW, saturated to 32 bits.
bool ParseNumber(const wchar_t* text, int& value);

/// Formats into a fixed buffer, always terminated (cut when too long).
template <size_t N>
void FormatTo(wchar_t (&buffer)[N], const wchar_t* format, ...) {
  va_list args;
  va_start(args, format);
  _vsnwprintf(buffer, N - 1, format, args);
  va_end(args);
  buffer[N - 1] = 0;
}

/// Effects the painter runs over frames (everything but "none" and
/// "per-char delay").
inline bool IsFrameEffect(int effect) { return effect >= 2 && effect <= 11; }

/// Frees a frame buffer (a DIB section) and forgets its bits.
inline void FreeFrame(HBITMAP& bitmap, unsigned char*& bits) {
  if (bitmap) ::DeleteObject(bitmap);
  bitmap = nullptr;
  bits = nullptr;
}

}  // namespace zorpromo
