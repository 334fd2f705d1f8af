// zortool tree START_FOLDER [--shot FILE.bmp]
//
// Shows the folder tree in a window, with every root option on and opened at
// START_FOLDER, until the window is closed (or Escape is pressed in the
// tree). Each selection is printed. With --shot, saves a picture of the
// window as a 24-bit BMP and exits.
#include <zorutils/zorutils.h>

#include "Shot.h"
#include "tools/zortool/icons/TreeIcons.h"

#include <windows.h>

#include <cstdio>
#include <string>

#include "Tool.h"

namespace {

const int kWidth = 360, kHeight = 440;
HWND g_top = nullptr;
CExplorerTree* g_tree = nullptr;

void OnSelect(wchar_t* path, DWORD) { Out(L"selected: " + std::wstring(path) + L"\n"); }

void OnKey(WORD key, DWORD) {
  if (key == VK_ESCAPE && g_top) PostMessageW(g_top, WM_CLOSE, 0, 0);
}

LRESULT CALLBACK FrameProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_SIZE:
      // The holder fits its tree view to itself.
      if (g_tree && g_tree->HolderWindow())
        MoveWindow(g_tree->HolderWindow(), 0, 0, LOWORD(lParam), HIWORD(lParam), TRUE);
      return 0;
    case WM_DESTROY:
      PostQuitMessage(0);
      return 0;
    default:
      return DefWindowProcW(window, message, wParam, lParam);
  }
}

}  // namespace

int Tree(int argc, wchar_t** argv) {
  if (argc < 3) {
    return BadArgs(L"tree", L"say which START_FOLDER to open");
  }
  const DWORD attributes = GetFileAttributesW(argv[2]);
  if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY))
    return Fail(L"tree", std::wstring(L"no such folder: ") + argv[2]);
  std::wstring shot;
  for (int i = 3; i + 1 < argc; i += 2)
    if (std::wstring(argv[i]) == L"--shot") shot = argv[i + 1];

  g_top = CreateToolWindow(L"ZorToolTree", L"zortool tree", FrameProc, kWidth, kHeight, 40, 40);

  TExplorerTreeProperties props;
  props.hParent = g_top;
  props.dwCtrlID = 100;
  props.hInstance = GetModuleHandleW(nullptr);
  props.dwFlags = ETF_SHOW_NETWORK_DRIVES | ETF_SHOW_REMOVABLE_DRIVES | ETF_SHOW_CD_DRIVES |
                  ETF_USE_OPEN_FOLDER_ICON | ETF_SHOW_MYDOCUMENTS_AT_ROOT | ETF_SHOW_MYPICTURES_AT_ROOT |
                  ETF_SHOW_DESKTOP_AT_ROOT;
  props.left = props.top = 0;
  props.right = kWidth - 1;  // both edges count
  props.bottom = kHeight - 1;
  props.pSelChanged = OnSelect;
  props.pKeyDown = OnKey;
  GetFullPathNameW(argv[2], 260, props.startFolder, nullptr);
  for (int i = 0; i < IDI_TREE_COUNT; ++i) props.iconIDs[i] = IDI_TREE_FIRST + i;
  wcscpy(props.desktopLabel, L"Desktop");
  wcscpy(props.myDocumentsLabel, L"My Documents");
  wcscpy(props.myPicturesLabel, L"My Pictures");

  CExplorerTree tree;
  g_tree = &tree;
  if (!tree.Create(&props)) {
    Fail(L"tree", L"cannot create the folder tree");
    DestroyWindow(g_top);
    return 1;
  }
  int status = 0;
  if (!shot.empty()) {
    status = SaveWindowShot(g_top, shot) ? 0 : 1;
    if (status) Fail(L"tree", L"cannot save " + shot);
    else Out(L"zortool tree: saved " + shot + L"\n");
    DestroyWindow(g_top);
  }
  MSG msg;
  while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
  g_tree = nullptr;
  return status;
}
