// zortool promo FILE [--script NAME] [--frames DIR [--count N]]
//
// Plays a promo script in a window until the window is closed. With
// --frames, saves the picture every 100 ms as DIR\frame0001.bmp, ... and
// stops after N frames (default 60) or when the script has nothing more to
// show for two seconds; DIR\moving.txt lists the frames taken while a
// transition or a per-character reveal ran.
#include <zorutils/zorutils.h>

#include "Shot.h"
#include "Tool.h"

#include <windows.h>

#include <cstdio>
#include <string>

namespace {

const UINT_PTR kFrameTimer = 1;
const int kWidth = 640, kHeight = 240;

struct Session {
  CPromoScript* player = nullptr;
  std::wstring frames;  // folder for BMP frames, empty when only playing
  int count = 60;
  int saved = 0;
  std::wstring lastText;
  int sameFor = 0;  // frames in a row showing an unchanged, finished text
};
Session g_session;

LRESULT CALLBACK FrameProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_TIMER:
      if (wParam == kFrameTimer && g_session.player && g_session.player->MemoryDC()) {
        Session& s = g_session;
        wchar_t name[32];
        swprintf(name, 32, L"\\frame%04d.bmp", ++s.saved);
        SaveBmp24(s.player->MemoryDC(), 0, 0, kWidth, kHeight, s.frames + name);
        if (s.player->TransitionTimer() || s.player->DoingPerCharDelay()) {
          if (FILE* f = _wfopen((s.frames + L"\\moving.txt").c_str(), L"a")) {
            fprintf(f, "%d\n", s.saved);
            fclose(f);
          }
        }
        // A script that stopped (no timer left) and shows the same text ends the capture.
        const bool idle = !s.player->MainTimer() && !s.player->TransitionTimer();
        s.sameFor = idle && s.lastText == s.player->ShownText() ? s.sameFor + 1 : 0;
        s.lastText = s.player->ShownText();
        if (s.saved >= s.count || s.sameFor >= 20) DestroyWindow(window);
      }
      return 0;
    case WM_DESTROY:
      PostQuitMessage(0);
      return 0;
    default:
      return DefWindowProcW(window, message, wParam, lParam);
  }
}

// The name of the first script in the file: the part before ".1" of the
// first section named that way.
std::wstring FirstScript(const std::wstring& path) {
  CIniFileReader ini;
  if (!ini.Init(path.c_str(), false)) return L"";
  for (int i = 0; i < ini.NumSections(); ++i) {
    std::wstring name = ini.SectionName(i);
    if (name.size() > 2 && name.compare(name.size() - 2, 2, L".1") == 0 &&
        name.compare(0, 6, L"style.") != 0)
      return name.substr(0, name.size() - 2);
  }
  return L"";
}

}  // namespace

int Promo(int argc, wchar_t** argv) {
  if (argc < 3) {
    return BadArgs(L"promo", L"say which FILE to play");
  }
  wchar_t full[MAX_PATH];
  GetFullPathNameW(argv[2], MAX_PATH, full, nullptr);
  std::wstring script;
  for (int i = 3; i + 1 < argc; i += 2) {
    const std::wstring option = argv[i];
    if (option == L"--script") script = argv[i + 1];
    else if (option == L"--frames") g_session.frames = argv[i + 1];
    else if (option == L"--count") g_session.count = _wtoi(argv[i + 1]);
  }
  if (script.empty()) script = FirstScript(full);
  if (!g_session.frames.empty()) CreateDirectoryW(g_session.frames.c_str(), nullptr);

  HWND top = CreateToolWindow(L"ZorToolPromo", L"zortool promo", FrameProc, kWidth, kHeight, CW_USEDEFAULT,
                              CW_USEDEFAULT);
  // The player draws in a child window filling the client area, as in a host.
  HWND view = CreateWindowExW(0, L"STATIC", L"", WS_CHILD | WS_VISIBLE, 0, 0, kWidth, kHeight,
                              top, nullptr, nullptr, nullptr);

  CPromoScript player;
  player.SetOutputWindow(view);
  player.SetSourceFile(full);
  player.SetStartScriptName(script.c_str());
  if (!player.Go()) {
    fwprintf(stderr, L"zortool promo: cannot play script \"%ls\" of %ls\n", script.c_str(), full);
    DestroyWindow(top);
    return 1;
  }
  g_session.player = &player;
  if (!g_session.frames.empty()) SetTimer(top, kFrameTimer, 100, nullptr);

  MSG msg;
  while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
  g_session.player = nullptr;
  if (!g_session.frames.empty())
    fwprintf(stdout, L"zortool promo: %d frames in %ls\n", g_session.saved,
             g_session.frames.c_str());
  return 0;
}
