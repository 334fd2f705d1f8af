#include "Shot.h"

#include "Tool.h"

#include <cstdio>

HWND CreateToolWindow(const wchar_t* className, const wchar_t* title, WNDPROC proc, int width, int height,
                      int x, int y) {
  WNDCLASSW wc = {};
  wc.lpfnWndProc = proc;
  wc.hInstance = GetModuleHandleW(nullptr);
  wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  wc.lpszClassName = className;
  RegisterClassW(&wc);
  RECT frame = {0, 0, width, height};
  AdjustWindowRect(&frame, WS_OVERLAPPEDWINDOW, FALSE);
  return CreateWindowExW(0, className, title, WS_OVERLAPPEDWINDOW | WS_VISIBLE, x, y, frame.right - frame.left,
                         frame.bottom - frame.top, nullptr, nullptr, nullptr, nullptr);
}

bool SaveBmp24(HDC source, int x, int y, int w, int h, const std::wstring& path) {
  if (w <= 0 || h <= 0) return false;
  const int rowBytes = ((w * 24 + 31) / 32) * 4;
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
  info.bmiHeader.biWidth = w;
  info.bmiHeader.biHeight = h;  // bottom-up, as BMP files are stored
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  info.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  HBITMAP bitmap = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  if (!bitmap) return false;
  HDC dc = CreateCompatibleDC(source);
  HGDIOBJ old = SelectObject(dc, bitmap);
  BitBlt(dc, 0, 0, w, h, source, x, y, SRCCOPY);
  GdiFlush();
  BITMAPFILEHEADER file = {};
  file.bfType = 0x4D42;  // "BM"
  file.bfOffBits = sizeof(BITMAPFILEHEADER) + sizeof(BITMAPINFOHEADER);
  file.bfSize = file.bfOffBits + static_cast<DWORD>(rowBytes) * static_cast<DWORD>(h);
  bool ok = false;
  if (FILE* f = _wfopen(path.c_str(), L"wb")) {
    ok = fwrite(&file, sizeof file, 1, f) == 1 &&
         fwrite(&info.bmiHeader, sizeof(BITMAPINFOHEADER), 1, f) == 1 &&
         fwrite(bits, static_cast<size_t>(rowBytes) * static_cast<size_t>(h), 1, f) == 1;
    ok = fclose(f) == 0 && ok;
  }
  SelectObject(dc, old);
  DeleteDC(dc);
  DeleteObject(bitmap);
  return ok;
}

bool SaveWindowShot(HWND window, const std::wstring& path) {
  if (!IsWindow(window)) return false;
  // Let every pending paint of the window and its children reach the screen.
  RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
  for (int i = 0; i < 20; ++i) {
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
      TranslateMessage(&msg);
      DispatchMessageW(&msg);
    }
    Sleep(25);
  }
  GdiFlush();
  RECT r;
  if (!GetWindowRect(window, &r)) return false;
  HDC screen = GetDC(nullptr);
  bool ok = SaveBmp24(screen, r.left, r.top, r.right - r.left, r.bottom - r.top, path);
  ReleaseDC(nullptr, screen);
  return ok;
}

namespace {

std::wstring g_dialogShot;

BOOL CALLBACK FindDialog(HWND window, LPARAM found) {
  wchar_t cls[16];
  if (IsWindowVisible(window) && GetClassNameW(window, cls, 16) && wcscmp(cls, L"#32770") == 0) {
    *reinterpret_cast<HWND*>(found) = window;
    return FALSE;
  }
  return TRUE;
}

// Runs inside the dialog's modal loop until the dialog shows.
void CALLBACK ShootDialog(HWND, UINT, UINT_PTR timer, DWORD) {
  HWND dialog = nullptr;
  EnumThreadWindows(GetCurrentThreadId(), FindDialog, reinterpret_cast<LPARAM>(&dialog));
  if (!dialog) return;
  KillTimer(nullptr, timer);
  if (!SaveWindowShot(dialog, g_dialogShot)) Fail(L"shot", L"cannot save " + g_dialogShot);
  PostMessageW(dialog, WM_CLOSE, 0, 0);
}

}  // namespace

void ShootNextDialog(const std::wstring& path) {
  g_dialogShot = path;
  SetTimer(nullptr, 0, 200, ShootDialog);
}
