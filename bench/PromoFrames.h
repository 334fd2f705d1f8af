// What one whole transition frame costs the promo player at 1920 x 1080, for
// each effect: the background and text drawn into the memory drawing
// context, the frame composed from the frame buffers and copied back (the
// copy to the screen on WM_PAINT is not counted). The player runs on a clock
// the benchmark sets, so every timed frame is drawn at p = 37.
//
// Prints BENCH blend.frame_ms.<effect> <median> ms, effect names with
// spaces as underscores.
#pragma once

#include "bench/BenchUtil.h"

#include <zorutils/internal/TestSeams.h>
#include <zorutils/promo/PromoScript.h>

#include <cstdio>
#include <string>
#include <vector>

namespace zorbench {

inline DWORD& PromoClock() {
  static DWORD now = 1000;
  return now;
}

inline void PrintPromoFrameTimes() {
  const int width = 1920, height = 1080, repeats = 15;
  WNDCLASSW wc = {};
  wc.lpfnWndProc = DefWindowProcW;
  wc.hInstance = GetModuleHandleW(nullptr);
  wc.lpszClassName = L"ZorBenchPromo";
  RegisterClassW(&wc);
  // Hidden: the player draws into its memory context whether shown or not.
  HWND window = CreateWindowExW(0, L"ZorBenchPromo", L"", WS_POPUP, 0, 0, width, height,
                                nullptr, nullptr, nullptr, nullptr);
  ZorTest_SetPromoClock([] { return PromoClock(); });
  const RECT client = {0, 0, width, height};
  const wchar_t* const effects[] = {L"color fade",     L"frames crossfade", L"frames fade",
                                    L"color frame fade pop", L"color rect out", L"color rect in",
                                    L"wipe LR",        L"wipe RL",          L"color wipe LR",
                                    L"color wipe RL"};
  for (const wchar_t* effect : effects) {
    const std::wstring script =
        std::wstring(L"[s.1]\ntext.1=The picture before\nbg color=red\nfont size=60\n"
                     L"[s.2]\ntext.1=The picture after\nbg color=blue\nfont size=60\n"
                     L"transition time=1000\ntransition color=green\ntransition effect=") +
        effect + L"\n";
    const std::string bytes(reinterpret_cast<const char*>(script.data()),
                            script.size() * sizeof(wchar_t));
    CPromoScript player;
    player.SetOutputWindow(window);
    player.SetSourceBuffer(reinterpret_cast<const unsigned char*>(bytes.data()),
                           static_cast<int>(bytes.size()));
    player.SetStartScriptName(L"s");
    if (!player.Go()) {
      std::printf("ERROR: the benchmark's script does not play\n");
      break;
    }
    PromoClock() = 1000;
    player.OnPaint(client);
    player.ExecuteNextStep();
    player.OnPaint(client);  // the first frame: the pictures are taken
    std::vector<double> times;
    PromoClock() = 1370;
    for (int r = 0; r < repeats; ++r) {
      const double start = Now();
      player.OnPaint(client);
      times.push_back(Now() - start);
    }
    std::string name;
    for (const wchar_t* c = effect; *c; ++c) name += *c == L' ' ? '_' : static_cast<char>(*c);
    std::printf("BENCH blend.frame_ms.%s %.2f ms\n", name.c_str(), Median(times) * 1e3);
  }
  ZorTest_SetPromoClock(nullptr);
  DestroyWindow(window);
}

}  // namespace zorbench
