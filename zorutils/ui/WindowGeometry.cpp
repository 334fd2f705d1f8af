// Window placement on several monitors and helpers for groups of controls.
#include <zorutils/ui/WindowGeometry.h>

#include <zorutils/internal/UiGeometry.h>
#include <zorutils/internal/WinApi.h>

namespace {

using MonitorFromPointFn = HMONITOR(WINAPI*)(POINT, DWORD);
using GetMonitorInfoFn = BOOL(WINAPI*)(HMONITOR, LPMONITORINFO);
using SetLayeredWindowAttributesFn = BOOL(WINAPI*)(HWND, COLORREF, BYTE, DWORD);

// Systems before the multi-monitor functions lack them: look them up once.
struct MonitorFunctions {
  MonitorFromPointFn fromPoint;
  GetMonitorInfoFn info;
};
const MonitorFunctions& Monitors() {
  static const MonitorFunctions fns = {
      zor::GetProcAddressAs<MonitorFromPointFn>(L"User32", "MonitorFromPoint"),
      zor::GetProcAddressAs<GetMonitorInfoFn>(L"User32", "GetMonitorInfoA")};
  return fns;
}

RECT ScreenRect(HWND window) {
  RECT r = {};
  ::GetWindowRect(window, &r);
  return r;
}

}  // namespace

RECT GetMonitorRectFromPt(POINT point) {
  const MonitorFunctions& fns = Monitors();
  if (fns.fromPoint && fns.info) {
    MONITORINFO info = {};
    info.cbSize = sizeof info;
    HMONITOR monitor = fns.fromPoint(point, MONITOR_DEFAULTTONEAREST);
    if (monitor && fns.info(monitor, &info)) return info.rcWork;
  }
  return ScreenRect(::GetDesktopWindow());
}

void CenterWindow(HWND window, HWND reference, bool horizontally, bool vertically, bool redraw) {
  if (!::IsWindow(window)) return;
  if (!reference) reference = ::GetParent(window);
  RECT rc = ScreenRect(window);
  RECT work = GetMonitorRectFromPt(POINT{rc.left, rc.top});
  RECT ref = reference ? ScreenRect(reference) : work;
  const int width = rc.right - rc.left, height = rc.bottom - rc.top;

  POINT pos = {rc.left, rc.top};
  if (!horizontally || !vertically) ::ScreenToClient(reference ? reference : ::GetDesktopWindow(), &pos);
  if (horizontally) {
    pos.x = ref.left + ((ref.right - ref.left) - width) / 2;
    if (pos.x < work.left) pos.x = work.left;
    if (pos.x + width > work.right) pos.x = work.right - width;
  }
  if (vertically) {
    pos.y = ref.top + ((ref.bottom - ref.top) - height) / 2;
    if (pos.y < work.top) pos.y = work.top;
    if (pos.y + height > work.bottom) pos.y = work.bottom - height;
  }
  ::SetWindowPos(window, nullptr, pos.x, pos.y, 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE | (redraw ? 0 : SWP_NOREDRAW));
}

int IsRectOnTheScreen(RECT rect) {
  POINT point = {rect.left, rect.right};
  RECT work = GetMonitorRectFromPt(point);
  return point.x < work.left || point.x > work.right || point.y < work.top || point.y > work.bottom;
}

bool WindowVisibleOnDesktop(HWND window) {
  if (!::IsWindow(window)) return false;
  RECT rc = ScreenRect(window), both;
  RECT work = GetMonitorRectFromPt(POINT{rc.left, rc.top});
  return ::IntersectRect(&both, &rc, &work) != FALSE;
}

RECT GetWindowCoordsRelativeToParent(HWND window) {
  RECT rc = {};
  HWND parent = ::IsWindow(window) ? ::GetParent(window) : nullptr;
  if (!parent || !::IsWindow(parent)) return rc;
  rc = ScreenRect(window);
  ::ScreenToClient(parent, reinterpret_cast<POINT*>(&rc.left));
  ::ScreenToClient(parent, reinterpret_cast<POINT*>(&rc.right));
  return rc;
}

void EnableZeControls(HWND dialog, const int* ids, int count, bool enable) {
  for (int i = 0; ids && i < count; ++i) ::EnableWindow(::GetDlgItem(dialog, ids[i]), enable);
}

void ShowZeControls(HWND dialog, const int* ids, int count, bool show) {
  for (int i = 0; ids && i < count; ++i) ::ShowWindow(::GetDlgItem(dialog, ids[i]), show ? SW_SHOW : SW_HIDE);
}

void SetListBoxHorzScroll(HWND listBox) {
  if (!::IsWindow(listBox)) return;
  HDC dc = ::GetDC(listBox);
  if (!dc) return;
  HGDIOBJ font = reinterpret_cast<HGDIOBJ>(::SendMessageW(listBox, WM_GETFONT, 0, 0));
  HGDIOBJ oldFont = ::SelectObject(dc, font ? font : ::GetStockObject(SYSTEM_FONT));
  const LRESULT count = ::SendMessageW(listBox, LB_GETCOUNT, 0, 0);
  int widest = 0;
  wchar_t item[1024];
  for (LRESULT i = 0; i < count; ++i) {
    const LRESULT length = ::SendMessageW(listBox, LB_GETTEXTLEN, static_cast<WPARAM>(i), 0);
    if (length < 1 || length > 1023) continue;
    const LRESULT got = ::SendMessageW(listBox, LB_GETTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(item));
    SIZE size;
    if (got > 0 && got <= 1023 && ::GetTextExtentPoint32W(dc, item, static_cast<int>(got), &size) && size.cx > widest)
      widest = size.cx;
  }
  ::SelectObject(dc, oldFont);
  ::ReleaseDC(listBox, dc);
  const int extent = widest + 4 * ::GetSystemMetrics(SM_CXEDGE);
  RECT client = {};
  ::GetClientRect(listBox, &client);
  if (client.right - client.left < extent)
    ::SendMessageW(listBox, LB_SETHORIZONTALEXTENT, static_cast<WPARAM>(extent), 0);
}

void SetWindowTransparency(HWND window, BYTE alpha) {
  static const SetLayeredWindowAttributesFn setLayered =
      zor::GetProcAddressAs<SetLayeredWindowAttributesFn>(L"user32", "SetLayeredWindowAttributes");
  if (!setLayered || !::IsWindow(window)) return;
  ::SetWindowLongPtrW(window, GWL_EXSTYLE, ::GetWindowLongPtrW(window, GWL_EXSTYLE) | WS_EX_LAYERED);
  setLayered(window, 0, alpha, LWA_ALPHA);
}

int MouseOverDialogControl(HWND dialog, int id, POINT point) {
  HWND control = ::GetDlgItem(dialog, id);
  if (!control) return 0;
  RECT rc = ScreenRect(control);
  return zor::HitsDialogControl(dialog, control, rc.right - rc.left, rc.bottom - rc.top, point);
}
