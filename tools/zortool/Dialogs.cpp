// zortool msgbox KEY [--check] [--icon N] [--buttons FLAGS] [--text] [--shot FILE.bmp]
// zortool progress [--shot FILE.bmp]
// zortool link [--shot FILE.bmp]
//
// The library's dialogs as a host shows them. msgbox looks KEY up in the
// utilities string file (with --text, KEY is the message itself) and prints
// the button pressed and the do-not-ask state; progress counts to 100 with
// CProgressMeter until done or cancelled; link shows a CLinkControl that
// opens its address in the browser when clicked. With --shot the window is
// saved as a BMP as soon as it shows, then closed.
#include <zorutils/zorutils.h>

#include "Shot.h"

#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>

#include "Tool.h"

namespace {

std::wstring g_shot;  // BMP file to save, empty when interactive

std::wstring Option(int argc, wchar_t** argv, const wchar_t* name) {
  for (int i = 2; i + 1 < argc; ++i)
    if (wcscmp(argv[i], name) == 0) return argv[i + 1];
  return L"";
}

bool Flag(int argc, wchar_t** argv, const wchar_t* name) {
  for (int i = 2; i < argc; ++i)
    if (wcscmp(argv[i], name) == 0) return true;
  return false;
}

int Usage() {
  return BadArgs(L"msgbox", L"say which KEY to show");
}

const wchar_t kLinkClass[] = L"ZorToolLink";
const wchar_t kLinkTarget[] = L"https://www.example.com/";
const int kLinkId = 100;
CLinkControl g_link;
HFONT g_font;  // the host window's font, which the link control draws with

LRESULT CALLBACK LinkHostProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_SETCURSOR: {
      POINT pt;
      GetCursorPos(&pt);
      ScreenToClient(window, &pt);
      if (g_link.MouseOver(window, pt)) {
        SetCursor(LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_HAND)));
        return TRUE;
      }
      break;
    }
    case WM_COMMAND:
      if (LOWORD(wParam) == kLinkId && HIWORD(wParam) == STN_CLICKED) {
        Out(std::wstring(L"opening ") + g_link.GetLink() + L"\n");
        LaunchBrowser(g_link.GetLink(), window, SW_SHOWNORMAL);
      }
      return 0;
    case WM_GETFONT:
      return reinterpret_cast<LRESULT>(g_font);
    case WM_CTLCOLORSTATIC:
      return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_BTNFACE));
    case WM_DESTROY:
      g_link.Restore();
      PostQuitMessage(0);
      return 0;
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace

int MsgBox(int argc, wchar_t** argv) {
  if (argc < 3) return Usage();
  const std::wstring key = argv[2];
  g_shot = Option(argc, argv, L"--shot");
  const std::wstring buttons = Option(argc, argv, L"--buttons");
  unsigned int flags = buttons.empty() ? MB_OK | MB_ICONINFORMATION : wcstoul(buttons.c_str(), nullptr, 0);
  if (Flag(argc, argv, L"--check")) flags |= ZOR_MB_DONOTASK;
  const int icon = _wtoi(Option(argc, argv, L"--icon").c_str());
  if (!g_shot.empty()) ShootNextDialog(g_shot);
  const int id = Flag(argc, argv, L"--text")
                     ? UT_MyMessageStr(nullptr, key.c_str(), flags, L"zortool msgbox", icon)
                     : UT_MyMessageBox(nullptr, key.c_str(), flags, L"zortool msgbox", icon,
                                       GetUtilitiesStringFile());
  wchar_t line[80];
  swprintf(line, 80, L"returned %d, do not ask again %d\n", id, UT_DoNotAskLastMessageAgain());
  Out(line);
  return 0;
}

int Progress(int argc, wchar_t** argv) {
  g_shot = Option(argc, argv, L"--shot");
  CProgressMeter meter;
  if (!meter.Show(nullptr, 100, L"zortool progress")) {
    return Fail(L"progress", L"the progress dialog could not be made");
  }
  int done = 0;
  for (; done <= 100 && !meter.UserAborted(); ++done) {
    meter.SetProgress(done);
    if (!g_shot.empty() && done == 40) {
      if (!SaveWindowShot(meter.m_hDlg, g_shot)) Fail(L"shot", L"cannot save " + g_shot);
      break;
    }
    Sleep(50);
  }
  wchar_t line[64];
  swprintf(line, 64, meter.UserAborted() ? L"cancelled at %d\n" : L"stopped at %d\n", done > 100 ? 100 : done);
  Out(line);
  meter.Hide();
  return 0;
}

int Link(int argc, wchar_t** argv) {
  g_shot = Option(argc, argv, L"--shot");
  WNDCLASSW wc = {};
  wc.lpfnWndProc = LinkHostProc;
  wc.hInstance = GetModuleHandleW(nullptr);
  wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  wc.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
  wc.lpszClassName = kLinkClass;
  RegisterClassW(&wc);
  HDC screen = GetDC(nullptr);
  const int dpi = GetDeviceCaps(screen, LOGPIXELSY);
  ReleaseDC(nullptr, screen);
  g_font = CreateFontW(-MulDiv(10, dpi, 72), 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                       OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, DEFAULT_PITCH, L"Tahoma");
  HWND top = CreateWindowExW(0, kLinkClass, L"zortool link", WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU,
                             CW_USEDEFAULT, CW_USEDEFAULT, MulDiv(360, dpi, 96), MulDiv(120, dpi, 96),
                             nullptr, nullptr, nullptr, nullptr);
  RECT client;
  GetClientRect(top, &client);
  const int labelHeight = MulDiv(24, dpi, 96);
  HWND label = CreateWindowExW(0, L"STATIC", L"", WS_CHILD | WS_VISIBLE | SS_CENTER | SS_NOTIFY, 10,
                               (client.bottom - labelHeight) / 2, client.right - 20, labelHeight, top,
                               reinterpret_cast<HMENU>(static_cast<INT_PTR>(kLinkId)), nullptr, nullptr);
  g_link.SubClass(label, L"Visit the makers' web site", kLinkTarget, RGB(0, 0, 204));
  CenterWindow(top, nullptr, true, true, false);
  ShowWindow(top, SW_SHOW);
  UpdateWindow(top);
  if (!g_shot.empty()) {
    if (!SaveWindowShot(top, g_shot)) Fail(L"shot", L"cannot save " + g_shot);
    DestroyWindow(top);
  }
  MSG msg;
  while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
  DeleteObject(g_font);
  return 0;
}
