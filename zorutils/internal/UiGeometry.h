// The hit test shared by CLinkControl::MouseOver and MouseOverDialogControl.
#pragma once

#include <windows.h>

namespace zor {

/// Whether `point` (in `dialog`'s client coordinates) lies in a `width` x
/// `height` area placed at `control`'s window position, taken against the
/// dialog's window left and against its window bottom less its client height.
/// Borders are not subtracted on the left: hosts tuned their cursors to this.
inline bool HitsDialogControl(HWND dialog, HWND control, int width, int height, POINT point) {
  RECT dlg = {}, ctl = {}, client = {};
  ::GetWindowRect(dialog, &dlg);
  ::GetWindowRect(control, &ctl);
  ::GetClientRect(dialog, &client);
  RECT hit;
  hit.left = ctl.left - dlg.left;
  hit.top = ctl.top - (dlg.bottom - client.bottom);
  hit.right = hit.left + width;
  hit.bottom = hit.top + height;
  return ::PtInRect(&hit, point) != FALSE;
}

}  // namespace zor
