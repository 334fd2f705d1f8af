// WindowGeometry: window placement on several monitors, and small helpers
// for groups of dialog controls, list boxes and transparency.
#pragma once

#include <zorutils/Export.h>

#include <windows.h>

/// Centres `window` on `reference` (null: the window's parent or owner; when
/// that is null too, on the work area) in the chosen directions, kept inside
/// the work area of the monitor nearest the window's top-left corner (a
/// window wider than that area ends at its right edge). Never resizes or
/// changes the z-order; redraws only with `redraw`.
ZORUTILS_API void CenterWindow(HWND window, HWND reference, bool horizontally, bool vertically,
                               bool redraw);
/// The work area of the monitor nearest `point`; the desktop window's
/// rectangle when the system cannot tell monitors apart.
ZORUTILS_API RECT GetMonitorRectFromPt(POINT point);
/// 1 when the point (rect.left, rect.right) lies OFF the work area of its
/// nearest monitor, 0 when on it. Both the right edge standing in for the
/// vertical coordinate and the off-screen sense are kept for callers that
/// rely on them.
ZORUTILS_API int IsRectOnTheScreen(RECT rect);
/// Whether `window` overlaps the work area of the monitor nearest its
/// top-left corner (false for a non-window).
ZORUTILS_API bool WindowVisibleOnDesktop(HWND window);
/// `window`'s rectangle in its parent's client coordinates; empty when the
/// window or its parent is not a window.
ZORUTILS_API RECT GetWindowCoordsRelativeToParent(HWND window);
/// Enables (or disables) / shows (or hides) the `count` controls of `dialog`
/// whose identifiers `ids` lists. Nothing for a count of 0 or less or null ids.
ZORUTILS_API void EnableZeControls(HWND dialog, const int* ids, int count, bool enable);
ZORUTILS_API void ShowZeControls(HWND dialog, const int* ids, int count, bool show);
/// Gives `listBox` a horizontal extent wide enough for its widest item (items
/// of 1 to 1023 characters are measured) when its client area is narrower.
ZORUTILS_API void SetListBoxHorzScroll(HWND listBox);
/// Makes a top-level `window` layered with opacity `alpha` (0 clear, 255
/// opaque); nothing on systems without layered windows.
ZORUTILS_API void SetWindowTransparency(HWND window, BYTE alpha);
/// Non-zero when `point` (in `dialog`'s client coordinates) lies on control
/// `id`, placed as CLinkControl::MouseOver places a link.
ZORUTILS_API int MouseOverDialogControl(HWND dialog, int id, POINT point);
