// zortool's windows: the frame its window commands open, and their pictures
// for the README, saved as 24-bit BMP files (tools/shots/bmp2png.py turns
// them into PNG).
#pragma once

#include <windows.h>

#include <string>

/// Registers `className` (once) with `proc` and opens a visible overlapped
/// window whose client area is `width` x `height` pixels, at (x, y) or
/// where the system puts it when x is CW_USEDEFAULT.
HWND CreateToolWindow(const wchar_t* className, const wchar_t* title, WNDPROC proc, int width, int height,
                      int x, int y);

/// Copies the w x h pixels at (x, y) of `source` into a 24-bit BMP file.
bool SaveBmp24(HDC source, int x, int y, int w, int h, const std::wstring& path);

/// Saves what the screen shows of `window` (frame included) after letting it
/// paint. The window must be visible and not covered.
bool SaveWindowShot(HWND window, const std::wstring& path);

/// For a modal dialog about to run on this thread: once a dialog of the
/// thread shows, saves it to `path` and closes it as its close box would.
/// Call just before the modal call.
void ShootNextDialog(const std::wstring& path);
