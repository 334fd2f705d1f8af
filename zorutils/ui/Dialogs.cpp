// The localised message dialog, the progress dialog and the common file
// dialog with centring.
#include <zorutils/ui/Dialogs.h>

#include <zorutils/internal/CopyCut.h>
#include <zorutils/strings/LanguageStrings.h>
#include <zorutils/strings/LanguageStrings_impl.h>
#include <zorutils/text/StringUtils.h>
#include <zorutils/ui/WindowGeometry.h>

#include <commctrl.h>
#include <commdlg.h>

#include <cwchar>

namespace {

// The message dialog's state: one dialog at a time, from the UI thread.
const int kTitleChars = 260;
const int kMessageChars = 2048;
wchar_t g_title[kTitleChars];
wchar_t g_message[kMessageChars];
int g_customIcon;
HICON g_icon;
int g_doNotAsk;

// The progress meters' shared aborted flag.
bool g_aborted;

const int kButtons[] = {IDOK, IDYES, IDNO, IDCANCEL};  // left to right

// A control's rectangle in its dialog's client coordinates.
RECT ItemRect(HWND dialog, int id) {
  RECT r = {};
  HWND item = ::GetDlgItem(dialog, id);
  ::GetWindowRect(item, &r);
  ::MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&r), 2);
  return r;
}

void MoveItem(HWND dialog, int id, int x, int y) {
  ::SetWindowPos(::GetDlgItem(dialog, id), nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void GrowWindow(HWND window, int by) {
  RECT r = {};
  ::GetWindowRect(window, &r);
  ::SetWindowPos(window, nullptr, 0, 0, r.right - r.left, r.bottom - r.top + by,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void SetCaption(HWND dialog, int id, const wchar_t* key, int chars) {
  wchar_t text[1025];
  text[0] = 0;
  MyLoadString(const_cast<wchar_t*>(key), text, chars, GetUtilitiesStringFile(), true);
  ::SetDlgItemTextW(dialog, id, text);
}

// The font that measures and shows the message: the stock variable-pitch
// font. Where the system leaves that font at its 96-DPI size on a denser
// display (Wine does, so at 144 DPI it comes out far smaller than the
// dialog's own texts), a copy scaled to the display takes its place; the
// copy belongs to the dialog (its DWLP_USER) and goes with it.
HFONT MessageFont(HWND dialog) {
  HFONT stock = static_cast<HFONT>(::GetStockObject(ANSI_VAR_FONT));
  HFONT dialogFont = reinterpret_cast<HFONT>(::SendMessageW(dialog, WM_GETFONT, 0, 0));
  HDC dc = ::GetDC(dialog);
  const int dpi = ::GetDeviceCaps(dc, LOGPIXELSY);
  TEXTMETRICW stockMetrics = {}, dialogMetrics = {};
  HGDIOBJ old = ::SelectObject(dc, stock);
  ::GetTextMetricsW(dc, &stockMetrics);
  if (dialogFont) {
    ::SelectObject(dc, dialogFont);
    ::GetTextMetricsW(dc, &dialogMetrics);
  }
  ::SelectObject(dc, old);
  ::ReleaseDC(dialog, dc);
  // Unscaled: clearly smaller than the dialog's font on a display above 96 DPI.
  if (dpi <= 96 || !dialogFont || stockMetrics.tmHeight * 5 >= dialogMetrics.tmHeight * 4) return stock;
  LOGFONTW lf = {};
  if (!::GetObjectW(stock, sizeof lf, &lf)) return stock;
  lf.lfHeight = ::MulDiv(lf.lfHeight ? lf.lfHeight : -stockMetrics.tmHeight, dpi, 96);
  lf.lfWidth = 0;
  HFONT scaled = ::CreateFontIndirectW(&lf);
  if (!scaled) return stock;
  ::SetWindowLongPtrW(dialog, DWLP_USER, reinterpret_cast<LONG_PTR>(scaled));
  return scaled;
}

// The message's height when word-wrapped to the message control's width, in
// the font the control paints with; the tallest the work area leaves room for
// at most (a longer text is clipped, the buttons stay on the screen).
int MessageHeight(HWND dialog, HFONT font, int width) {
  RECT calc = {0, 0, width, 0};
  HDC dc = ::GetDC(dialog);
  HGDIOBJ oldFont = ::SelectObject(dc, font);
  // No prefix and expanded tabs: measured as the static control draws it.
  ::DrawTextW(dc, g_message, -1, &calc, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX | DT_EXPANDTABS);
  ::SelectObject(dc, oldFont);
  ::ReleaseDC(dialog, dc);
  return calc.bottom - calc.top;
}

// Whether a control is meant to show (the dialog itself is not visible yet).
bool Shown(HWND dialog, int id) {
  return (::GetWindowLongPtrW(::GetDlgItem(dialog, id), GWL_STYLE) & WS_VISIBLE) != 0;
}

// Spreads the visible buttons, in their template order, centred across the
// dialog at their (moved) height.
void ArrangeButtons(HWND dialog) {
  RECT client = {}, gapRect = {0, 0, 6, 0};
  ::GetClientRect(dialog, &client);
  ::MapDialogRect(dialog, &gapRect);
  int total = 0, shown = 0;
  for (int id : kButtons) {
    if (!Shown(dialog, id)) continue;
    RECT r = ItemRect(dialog, id);
    total += (shown++ ? gapRect.right : 0) + (r.right - r.left);
  }
  int x = (client.right - total) / 2;
  for (int id : kButtons) {
    if (!Shown(dialog, id)) continue;
    RECT r = ItemRect(dialog, id);
    MoveItem(dialog, id, x, r.top);
    x += r.right - r.left + gapRect.right;
  }
}

void InitMessageDialog(HWND dialog, unsigned int flags) {
  g_doNotAsk = 1;
  CenterWindow(dialog, nullptr, true, true, false);
  ::SetWindowTextW(dialog, g_title);
  HWND text = ::GetDlgItem(dialog, IDC_ZOR_MSG_TEXT);
  // The control shows the text in the font it is measured with, so that the
  // measured lines are the painted lines.
  HFONT font = MessageFont(dialog);
  ::SendMessageW(text, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
  ::SetWindowTextW(text, g_message);

  SetCaption(dialog, IDCANCEL, L"Cancel", 256);
  SetCaption(dialog, IDYES, L"Yes", 256);
  SetCaption(dialog, IDNO, L"No", 256);
  SetCaption(dialog, IDC_ZOR_MSG_DONOTASK, L"DoNotAsk", 1024);

  const RECT textRect = ItemRect(dialog, IDC_ZOR_MSG_TEXT);
  const RECT iconRect = ItemRect(dialog, IDC_ZOR_MSG_ICON);
  const int width = textRect.right - textRect.left, oldHeight = textRect.bottom - textRect.top;
  int height = MessageHeight(dialog, font, width);
  if (height < 2 * (iconRect.bottom - iconRect.top)) height = 2 * (iconRect.bottom - iconRect.top);
  // Keep the grown dialog within the work area: the text is clipped rather
  // than the buttons pushed off the screen.
  RECT frame = {};
  ::GetWindowRect(dialog, &frame);
  const RECT work = GetMonitorRectFromPt(POINT{frame.left, frame.top});
  const int room = (work.bottom - work.top) - (frame.bottom - frame.top) + oldHeight;
  if (height > room && room > oldHeight) height = room;
  ::SetWindowPos(text, nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  const int growth = height - oldHeight;

  const RECT check = ItemRect(dialog, IDC_ZOR_MSG_DONOTASK);
  if (flags & ZOR_MB_DONOTASK) {
    MoveItem(dialog, IDC_ZOR_MSG_DONOTASK, check.left, check.top + growth);
    GrowWindow(dialog, growth);
  } else {
    ::ShowWindow(::GetDlgItem(dialog, IDC_ZOR_MSG_DONOTASK), SW_HIDE);
    GrowWindow(dialog, growth - (check.bottom - check.top));
  }
  // A dialog grown past the work area's bottom moves up into it.
  ::GetWindowRect(dialog, &frame);
  if (frame.bottom > work.bottom) {
    const int top = frame.top - (frame.bottom - work.bottom);
    ::SetWindowPos(dialog, nullptr, frame.left, top < work.top ? work.top : top, 0, 0,
                   SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
  }

  // The 0x30 test comes first, so the question and stop flags show the
  // exclamation icon too: hosts chose their flags by what this shows.
  HICON icon = nullptr;
  if (g_customIcon) {
    icon = ::LoadIconW(ZorModule(), MAKEINTRESOURCEW(g_customIcon));
  } else if (flags & 0x30) {
    icon = ::LoadIconW(nullptr, IDI_EXCLAMATION);
  } else if (flags & 0x40) {
    icon = ::LoadIconW(nullptr, IDI_INFORMATION);
  }
  g_icon = icon;
  ::SendDlgItemMessageW(dialog, IDC_ZOR_MSG_ICON, STM_SETICON, reinterpret_cast<WPARAM>(icon), 0);

  int focus = IDOK;
  switch (flags & 0xF) {
    case MB_OKCANCEL:
      ::ShowWindow(::GetDlgItem(dialog, IDYES), SW_HIDE);
      ::ShowWindow(::GetDlgItem(dialog, IDNO), SW_HIDE);
      break;
    case MB_YESNO:
      ::ShowWindow(::GetDlgItem(dialog, IDOK), SW_HIDE);
      ::ShowWindow(::GetDlgItem(dialog, IDCANCEL), SW_HIDE);
      focus = IDYES;
      break;
    case MB_YESNOCANCEL:
      ::ShowWindow(::GetDlgItem(dialog, IDOK), SW_HIDE);
      focus = IDYES;
      break;
    default:
      ::ShowWindow(::GetDlgItem(dialog, IDYES), SW_HIDE);
      ::ShowWindow(::GetDlgItem(dialog, IDNO), SW_HIDE);
      ::ShowWindow(::GetDlgItem(dialog, IDCANCEL), SW_HIDE);
      break;
  }
  for (int id : kButtons) {
    const RECT r = ItemRect(dialog, id);
    MoveItem(dialog, id, r.left, r.top + growth);
  }
  ArrangeButtons(dialog);
  // Enter presses the focused button, not a hidden OK.
  ::SendMessageW(dialog, DM_SETDEFID, static_cast<WPARAM>(focus), 0);
  ::SetForegroundWindow(dialog);
  ::SetWindowPos(dialog, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
  ::SetFocus(::GetDlgItem(dialog, focus));
}

INT_PTR CALLBACK MessageDialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      InitMessageDialog(dialog, static_cast<unsigned int>(lParam));
      return FALSE;  // the focus is set
    case WM_COMMAND: {
      const int id = LOWORD(wParam);
      if (id == IDOK || id == IDCANCEL || id == IDYES || id == IDNO) {
        g_doNotAsk = ::IsDlgButtonChecked(dialog, IDC_ZOR_MSG_DONOTASK) == BST_CHECKED ? 1 : 0;
        ::EndDialog(dialog, id);
        return TRUE;
      }
      return FALSE;
    }
    case WM_CLOSE:
      // The close box is no answer: the box is not read and keeps saying 1.
      ::EndDialog(dialog, IDCANCEL);
      return TRUE;
    case WM_DESTROY:
      g_icon = nullptr;  // a shared or resource icon: not destroyed
      return FALSE;
    case WM_NCDESTROY:
      // The message control is gone with its font: a scaled copy is freed.
      if (HGDIOBJ scaled = reinterpret_cast<HGDIOBJ>(::GetWindowLongPtrW(dialog, DWLP_USER)))
        ::DeleteObject(scaled);
      return FALSE;
    default:
      return FALSE;
  }
}

int RunMessageDialog(HWND owner, unsigned int flags) {
  return static_cast<int>(::DialogBoxParamW(ZorModule(), MAKEINTRESOURCEW(IDD_ZOR_MESSAGE), owner,
                                            MessageDialogProc, static_cast<LPARAM>(flags)));
}

INT_PTR CALLBACK ProgressDialogProc(HWND, UINT message, WPARAM wParam, LPARAM) {
  if (message == WM_COMMAND && LOWORD(wParam) == IDCANCEL) g_aborted = true;
  return FALSE;
}

UINT_PTR CALLBACK FileDialogHook(HWND hook, UINT message, WPARAM, LPARAM lParam) {
  // The hook window is the explorer dialog's child; its parent is the frame.
  // Centred as the dialog initialises, and again once the frame has taken
  // its final size (it grows around the hook's child after WM_INITDIALOG).
  const OPENFILENAMEW* ofn = nullptr;
  if (message == WM_INITDIALOG) {
    ofn = reinterpret_cast<const OPENFILENAMEW*>(lParam);
  } else if (message == WM_NOTIFY && reinterpret_cast<const NMHDR*>(lParam)->code == CDN_INITDONE) {
    ofn = reinterpret_cast<const OFNOTIFYW*>(lParam)->lpOFN;
  }
  if (ofn) CenterWindow(::GetParent(hook), reinterpret_cast<HWND>(ofn->lCustData), true, true, false);
  return 0;
}

}  // namespace

int UT_MyMessageBox(HWND owner, const wchar_t* key, unsigned int flags, const wchar_t* title,
                    int customIcon, const wchar_t* stringFile) {
  zor::CopyCut(g_title, kTitleChars, title);
  g_customIcon = customIcon;
  // MyLoadString terminates behind its count: 2047 characters fill the buffer.
  wchar_t loaded[kMessageChars];
  loaded[0] = 0;
  MyLoadString(const_cast<wchar_t*>(key), loaded, kMessageChars - 1, const_cast<wchar_t*>(stringFile), true);
  ParseCarriageReturns(loaded, g_message, kMessageChars);
  return RunMessageDialog(owner, flags);
}

int UT_MyMessageStr(HWND owner, const wchar_t* text, unsigned int flags, const wchar_t* title,
                    int customIcon) {
  zor::CopyCut(g_title, kTitleChars, title);
  g_customIcon = customIcon;
  wchar_t cut[kMessageChars];
  zor::CopyCut(cut, kMessageChars, text);
  ParseCarriageReturns(cut, g_message, kMessageChars);
  return RunMessageDialog(owner, flags);
}

int UT_MyDialog(HWND owner, const wchar_t* key, const wchar_t* titleKey, unsigned int flags,
                const wchar_t* stringFile) {
  wchar_t title[513];
  title[0] = 0;
  MyLoadString(const_cast<wchar_t*>(titleKey), title, 512, const_cast<wchar_t*>(stringFile), true);
  return UT_MyMessageBox(owner, key, flags, title, 0, stringFile);
}

int UT_DoNotAskLastMessageAgain() { return g_doNotAsk; }

CProgressMeter::CProgressMeter() : m_hDlg(nullptr), m_hOwner(nullptr) {}

CProgressMeter::~CProgressMeter() { Hide(); }

int CProgressMeter::Show(HWND owner, int range, const wchar_t* title) {
  Hide();
  g_aborted = false;
  INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_PROGRESS_CLASS};
  ::InitCommonControlsEx(&classes);
  m_hDlg = ::CreateDialogParamW(ZorModule(), MAKEINTRESOURCEW(IDD_ZOR_PROGRESS), owner, ProgressDialogProc, 0);
  if (!m_hDlg) return 0;
  ::SendDlgItemMessageW(m_hDlg, IDC_ZOR_PROGRESS_BAR, PBM_SETRANGE32, 0, range);
  ::SendDlgItemMessageW(m_hDlg, IDC_ZOR_PROGRESS_BAR, PBM_SETPOS, 0, 0);
  ::SetWindowTextW(m_hDlg, title ? title : L"");
  CenterWindow(m_hDlg, owner, true, true, false);
  ::ShowWindow(m_hDlg, SW_SHOW);
  m_hOwner = owner;
  return 1;
}

void CProgressMeter::SetProgress(int position) {
  if (!m_hDlg) return;
  ::SendDlgItemMessageW(m_hDlg, IDC_ZOR_PROGRESS_BAR, PBM_SETPOS, static_cast<WPARAM>(position), 0);
  MSG msg;
  while (::PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    if (msg.message == WM_QUIT) {
      ::PostQuitMessage(static_cast<int>(msg.wParam));
      break;
    }
    if (!m_hDlg || !::IsDialogMessageW(m_hDlg, &msg)) {
      ::TranslateMessage(&msg);
      ::DispatchMessageW(&msg);
    }
  }
}

void CProgressMeter::Hide() {
  if (!m_hDlg) return;
  ::ShowWindow(m_hDlg, SW_HIDE);
  ::DestroyWindow(m_hDlg);
  m_hDlg = nullptr;
}

bool CProgressMeter::IsVisible() { return m_hDlg != nullptr; }

bool CProgressMeter::UserAborted() { return g_aborted; }

BOOL DoStandardFileDialog(HINSTANCE instance, HWND owner, wchar_t* file, wchar_t* fileTitle,
                          int bufChars, int open, const wchar_t* filter, const wchar_t* defaultExt,
                          const wchar_t* title, const wchar_t* initialDir, DWORD* filterIndex,
                          DWORD extraFlags) {
  if (!file || bufChars < 1) return FALSE;
  OPENFILENAMEW ofn = {};
  ofn.lStructSize = sizeof ofn;  // the full record, with the fields of Windows 2000
  ofn.hwndOwner = owner;
  ofn.hInstance = instance;
  ofn.lpstrFilter = filter;
  ofn.nFilterIndex = filterIndex ? *filterIndex : 0;
  ofn.lpstrFile = file;
  ofn.nMaxFile = static_cast<DWORD>(bufChars);
  ofn.lpstrFileTitle = fileTitle;
  ofn.nMaxFileTitle = fileTitle ? static_cast<DWORD>(bufChars) : 0;
  ofn.lpstrInitialDir = initialDir;
  ofn.lpstrTitle = title;
  ofn.lpstrDefExt = defaultExt;
  ofn.lCustData = reinterpret_cast<LPARAM>(owner);
  ofn.lpfnHook = FileDialogHook;
  BOOL chosen;
  if (open) {
    // OFN_FILEMUSTEXIST brings OFN_PATHMUSTEXIST with it.
    ofn.Flags = extraFlags | OFN_EXPLORER | OFN_ENABLEHOOK | OFN_HIDEREADONLY | OFN_FILEMUSTEXIST;
    chosen = ::GetOpenFileNameW(&ofn);
  } else {
    ofn.Flags = extraFlags | OFN_EXPLORER | OFN_ENABLEHOOK | OFN_HIDEREADONLY | OFN_OVERWRITEPROMPT;
    chosen = ::GetSaveFileNameW(&ofn);
  }
  if (filterIndex) *filterIndex = ofn.nFilterIndex;
  return chosen;
}
#if !defined(_WIN64)
static_assert(sizeof(OPENFILENAMEW) == 88, "the full open-file record of Windows 2000 and later");
#endif
