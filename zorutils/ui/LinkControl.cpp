// CLinkControl: a subclassed static control painted as an underlined link.
#include <zorutils/ui/LinkControl.h>

#include <zorutils/internal/CopyCut.h>
#include <zorutils/internal/UiGeometry.h>

#include <cwchar>

namespace {

HFONT ParentFont(HWND control) {
  return reinterpret_cast<HFONT>(::SendMessageW(::GetParent(control), WM_GETFONT, 0, 0));
}

// The text's size in `dc` with its current font: measured, or estimated from
// the font's average character width when measuring fails.
SIZE TextSize(HDC dc, const wchar_t* text) {
  SIZE size = {};
  const int length = static_cast<int>(wcslen(text));
  if (!::GetTextExtentPoint32W(dc, text, length, &size)) {
    TEXTMETRICW metrics = {};
    ::GetTextMetricsW(dc, &metrics);
    size.cx = (length + 2) * metrics.tmAveCharWidth;
    size.cy = metrics.tmHeight;
  }
  return size;
}

// The text rectangle in the control's client area, aligned as its style says;
// the extra 7 pixels below the text take the underline.
RECT TextRect(HWND control, HDC dc, const wchar_t* text) {
  const SIZE size = TextSize(dc, text);
  RECT client = {};
  ::GetClientRect(control, &client);
  RECT r;
  const LONG_PTR align = ::GetWindowLongPtrW(control, GWL_STYLE) & SS_TYPEMASK;
  if (align == SS_RIGHT) {
    r.left = client.right - size.cx;
  } else if (align == SS_CENTER) {
    r.left = (client.right - client.left - size.cx) / 2;
  } else {
    r.left = client.left;
  }
  r.right = r.left + size.cx;
  r.top = client.top;
  r.bottom = r.top + size.cy + 7;
  return r;
}

LRESULT CALLBACK LinkProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* link = reinterpret_cast<CLinkControl*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  if (!link) return ::DefWindowProcW(window, message, wParam, lParam);
  return link->WindowProc(window, message, wParam, lParam);
}

}  // namespace

CLinkControl::CLinkControl() : m_oldProc(nullptr), m_hWnd(nullptr), m_textRect(), m_colour(0) {
  m_text[0] = 0;
  m_link[0] = 0;
}

CLinkControl::~CLinkControl() { Restore(); }

int CLinkControl::SubClass(HWND control, const wchar_t* text, const wchar_t* link, COLORREF colour) {
  if (!::IsWindow(control)) return 0;
  Restore();
  // A control that another link object holds is given back by that object
  // first: else each object would hand the messages on to the other for ever.
  if (::GetWindowLongPtrW(control, GWLP_WNDPROC) == reinterpret_cast<LONG_PTR>(LinkProc)) {
    auto* holder = reinterpret_cast<CLinkControl*>(::GetWindowLongPtrW(control, GWLP_USERDATA));
    if (holder && holder != this) holder->Restore();
  }
  m_hWnd = control;
  zor::CopyCut(m_text, sizeof m_text / sizeof m_text[0], text);
  zor::CopyCut(m_link, sizeof m_link / sizeof m_link[0], link);
  m_colour = colour;
  ::SetWindowLongPtrW(control, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  m_oldProc = reinterpret_cast<WNDPROC>(
      ::SetWindowLongPtrW(control, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(LinkProc)));
  if (HDC dc = ::GetDC(control)) {
    HGDIOBJ oldFont = ::SelectObject(dc, ParentFont(control));
    m_textRect = TextRect(control, dc, m_text);
    ::SelectObject(dc, oldFont);
    ::ReleaseDC(control, dc);
  }
  ::InvalidateRect(control, nullptr, TRUE);
  return 1;
}

LRESULT CLinkControl::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message != WM_PAINT) {
    // Our own procedure as the previous one would only call back here.
    if (m_oldProc && m_oldProc != LinkProc)
      return ::CallWindowProcW(m_oldProc, window, message, wParam, lParam);
    return ::DefWindowProcW(window, message, wParam, lParam);
  }
  PAINTSTRUCT ps;
  const bool painting = ::GetUpdateRect(window, nullptr, FALSE) != FALSE;
  HDC dc = painting ? ::BeginPaint(window, &ps) : ::GetDC(window);
  if (!dc) return 0;
  const int oldMode = ::SetBkMode(dc, TRANSPARENT);
  const COLORREF oldColour = ::SetTextColor(dc, m_colour);
  HPEN pen = ::CreatePen(PS_SOLID, 1, m_colour);
  HGDIOBJ oldPen = ::SelectObject(dc, pen);
  HGDIOBJ oldFont = ::SelectObject(dc, ParentFont(window));
  m_textRect = TextRect(window, dc, m_text);
  const SIZE size = TextSize(dc, m_text);
  ::TextOutW(dc, m_textRect.left, m_textRect.top, m_text, static_cast<int>(wcslen(m_text)));
  ::MoveToEx(dc, m_textRect.left, m_textRect.top + size.cy, nullptr);
  ::LineTo(dc, m_textRect.left + size.cx, m_textRect.top + size.cy);
  ::SelectObject(dc, oldFont);
  ::SelectObject(dc, oldPen);
  ::SetTextColor(dc, oldColour);
  ::SetBkMode(dc, oldMode);
  if (painting) {
    ::EndPaint(window, &ps);
  } else {
    ::ReleaseDC(window, dc);
  }
  ::DeleteObject(pen);
  return 0;
}

int CLinkControl::MouseOver(HWND dialog, POINT point) {
  if (!::IsWindow(m_hWnd)) return 0;
  return zor::HitsDialogControl(dialog, m_hWnd, m_textRect.right, m_textRect.bottom, point);
}

const wchar_t* CLinkControl::GetLink() { return m_link; }

RECT CLinkControl::GetLastHitRect() { return m_textRect; }

void CLinkControl::Restore() {
  if (!m_oldProc) return;
  if (::IsWindow(m_hWnd)) {
    ::SetWindowLongPtrW(m_hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(m_oldProc));
    ::SetWindowLongPtrW(m_hWnd, GWLP_USERDATA, 0);
  }
  m_oldProc = nullptr;
}
