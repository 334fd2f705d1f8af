// WindowGeometry: window placement on several monitors, and small helpers
// for groups of dialog controls, list boxes and transparency. Coordinates
// and sizes are pixels; rectangles are screen coordinates unless said.
#pragma once

#include <zorutils/Export.h>

#include <windows.h>

/// Centres `window` on `reference` (null: the window's parent or owner; when
/// that is null too, on the work area) in the chosen directions, kept inside
/// the work area of the monitor nearest the window's top-left corner (a
/// window wider than that area ends at its right edge). The position is
/// worked out in screen coordinates, so it suits top-level windows; a
/// direction not centred keeps the window's corner converted to the client
/// coordinates of `reference` (the desktop's when none), as hosts have
/// always had it. Never resizes or changes the z-order; redraws only with
/// `redraw`. Nothing for a non-window.
ZORUTILS_API void CenterWindow(HWND window, HWND reference, bool horizontally, bool vertically,
                               bool redraw);
/// The work area of the monitor nearest `point`; the desktop window's
/// rectangle when the system cannot tell monitors apart. Any point has an
/// answer: one off every monitor gets the nearest.
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
/// Gives `listBox` a horizontal extent wide enough for its widest item plus
/// four edge widths (items of 1 to 1023 characters are measured, in the list
/// box's font) when its client area is narrower than that; otherwise sets
/// nothing (an extent set before stays). Nothing for a non-window.
ZORUTILS_API void SetListBoxHorzScroll(HWND listBox);
/// Makes a top-level `window` layered with opacity `alpha` (0 clear, 255
/// opaque); nothing for a non-window or on systems without layered windows.
ZORUTILS_API void SetWindowTransparency(HWND window, BYTE alpha);
/// Non-zero when `point` (in `dialog`'s client coordinates) lies on control
/// `id`, placed as CLinkControl::MouseOver places a link but with the
/// control's whole width and height. 0 when there is no such control.
ZORUTILS_API int MouseOverDialogControl(HWND dialog, int id, POINT point);
