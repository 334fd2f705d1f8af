// What the promo player's source files share. Internal to zorutils.dll.
#pragma once

#include <windows.h>

#include <cwchar>

namespace zorpromo {

/// The player's clock: the tick count, or the tests' clock.
DWORD Now();

/// A decimal integer that passes StringIsNumericW, saturated to 32 bits.
bool ParseNumber(const wchar_t* text, int& value);

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
