#include "tests/support/UiDriver.h"

#include "tests/support/TestSupport.h"

namespace zortest {

HWND SharedTopWindow() {
  static HWND window = [] {
    WNDCLASSW wc = {};
    wc.lpfnWndProc = DefWindowProcW;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    wc.lpszClassName = L"ZorTestTop";
    RegisterClassW(&wc);
    return CreateWindowExW(0, L"ZorTestTop", L"zorutils tests", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 200, 150,
                           640, 480, nullptr, nullptr, wc.hInstance, nullptr);
  }();
  return window;
}

namespace {
BOOL CALLBACK FindDialog(HWND window, LPARAM found) {
  wchar_t cls[16];
  if (IsWindowVisible(window) && GetClassNameW(window, cls, 16) && wcscmp(cls, L"#32770") == 0) {
    *reinterpret_cast<HWND*>(found) = window;
    return FALSE;
  }
  return TRUE;
}
}  // namespace

HWND WaitForDialog(DWORD threadId, DWORD timeoutMs) {
  for (DWORD start = GetTickCount(); GetTickCount() - start < timeoutMs; Sleep(20)) {
    HWND found = nullptr;
    EnumThreadWindows(threadId, FindDialog, reinterpret_cast<LPARAM>(&found));
    if (found) return found;
  }
  return nullptr;
}

int DriveModal(const std::function<void(HWND dialog)>& drive, const std::function<int()>& modal) {
  const DWORD self = GetCurrentThreadId();
  HANDLE helper = StartThread([&] {
    HWND dialog = WaitForDialog(self);
    if (!dialog) return;
    drive(dialog);
    // A dialog that outlives its driver would hang the test: close it.
    for (int i = 0; i < 500 && IsWindow(dialog); ++i) Sleep(20);
    if (IsWindow(dialog)) PostMessageW(dialog, WM_CLOSE, 0, 0);
  });
  const int result = modal();
  WaitForSingleObject(helper, INFINITE);
  CloseHandle(helper);
  return result;
}

std::wstring Text(HWND window) {
  wchar_t text[4096];
  text[0] = 0;
  GetWindowTextW(window, text, 4096);
  return text;
}

std::wstring ItemText(HWND dialog, int id) { return Text(GetDlgItem(dialog, id)); }

bool ItemShown(HWND dialog, int id) {
  return (GetWindowLongPtrW(GetDlgItem(dialog, id), GWL_STYLE) & WS_VISIBLE) != 0;
}

RECT ItemRect(HWND dialog, int id) {
  RECT r = {};
  GetWindowRect(GetDlgItem(dialog, id), &r);
  MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&r), 2);
  return r;
}

HWND FocusOf(DWORD threadId) {
  GUITHREADINFO info = {};
  info.cbSize = sizeof info;
  return GetGUIThreadInfo(threadId, &info) ? info.hwndFocus : nullptr;
}

void Press(HWND dialog, int id) { PostMessageW(GetDlgItem(dialog, id), BM_CLICK, 0, 0); }

}  // namespace zortest
