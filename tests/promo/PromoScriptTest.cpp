// CPromoScript in a real window under Xvfb: the step engine driven one text
// at a time (ExecuteNextStep, OnTimer with the player's own timer ids), the
// text properties, and the pixels of the memory drawing context on a clock
// the test sets.
#include "tests/support/Fuzz.h"
#include "tests/support/TestSupport.h"

#include <zorutils/internal/TestSeams.h>
#include <zorutils/promo/PromoScript.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <set>

namespace {

DWORD g_now = 1000;
DWORD TestClock() { return g_now; }

const COLORREF kRed = RGB(255, 0, 0), kBlue = RGB(0, 0, 255), kGreen = RGB(0, 255, 0);

std::wstring Repeat(wchar_t c, size_t n) { return std::wstring(n, c); }

class Promo : public ::testing::Test {
protected:
  void SetUp() override {
    WNDCLASSW wc = {};
    wc.lpfnWndProc = DefWindowProcW;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.lpszClassName = L"ZorPromoTest";
    RegisterClassW(&wc);
    // The player draws in a child window, as in a host. One top-level window
    // serves every test: Wine takes seconds to destroy one under Xvfb.
    if (!host)
      host = CreateWindowExW(0, L"ZorPromoTest", L"", WS_POPUP | WS_VISIBLE, 0, 0, 400, 200,
                             nullptr, nullptr, nullptr, nullptr);
    window = CreateWindowExW(0, L"ZorPromoTest", L"", WS_CHILD | WS_VISIBLE, 0, 0, 400, 200,
                             host, nullptr, nullptr, nullptr);
    g_now = 1000;
    ZorTest_SetPromoClock(TestClock);
    player.reset(new CPromoScript);
    player->SetOutputWindow(window);
  }
  void TearDown() override {
    player.reset();
    DestroyWindow(window);
    ZorTest_SetPromoClock(nullptr);
  }
  // Plays `script` (INI text) from memory, starting with script "s".
  bool Play(const std::wstring& script, const wchar_t* start = L"s") {
    bytes = zortest::Utf16Bytes(script, true);
    player->SetSourceBuffer(reinterpret_cast<const unsigned char*>(bytes.data()),
                            static_cast<int>(bytes.size()));
    player->SetStartScriptName(start);
    return player->Go();
  }
  std::wstring Next() {
    player->ExecuteNextStep();
    return player->ShownText();
  }
  // Paints now, as the window would, at the test clock's time `ms`.
  void PaintAt(DWORD ms) {
    g_now = ms;
    InvalidateRect(window, nullptr, FALSE);
    UpdateWindow(window);
  }
  COLORREF Pixel(int x, int y) { return GetPixel(player->MemoryDC(), x, y); }
  // The smallest rectangle holding every pixel that is not `bg` (the text
  // drawn; at least 20 pixels wide).
  RECT Ink(COLORREF bg) {
    RECT box = {400, 200, -1, -1};
    for (int y = 0; y < 200; ++y)
      for (int x = 0; x < 400; ++x)
        if (Pixel(x, y) != bg)
          box = {std::min(box.left, LONG(x)), std::min(box.top, LONG(y)),
                 std::max(box.right, LONG(x)), std::max(box.bottom, LONG(y))};
    EXPECT_GT(box.right - box.left, 20);
    return box;
  }
  std::string Where() {
    return zortest::Escape(player->CurrentScript()) + "." +
           std::to_string(player->CurrentStep()) + "." +
           std::to_string(player->CurrentSubStep());
  }

  static HWND host;
  HWND window = nullptr;
  std::unique_ptr<CPromoScript> player;
  std::string bytes;
};

HWND Promo::host = nullptr;

// Remembers what the special-event handler saw; vetoes "skip", rewrites "swap".
struct Events {
  std::vector<std::wstring> seen;
  static bool Handle(const wchar_t* event, const wchar_t* text, wchar_t* buffer, int size,
                     void* user) {
    static_cast<Events*>(user)->seen.push_back(std::wstring(event) + L"|" + text);
    if (!wcscmp(event, L"swap")) wcsncpy(buffer, L"swapped", size);
    return wcscmp(event, L"skip") != 0;
  }
};

const wchar_t kExample[] =
    L"[general]\nwait=3000\nclear pause=250\ntext color=navy\n"
    L"[style.big]\nfont size=20\n"
    L"[intro.1]\nstyle=big\ntext.1=Welcome\ntext.2=\\nto the show\nwait.2=5000\n"
    L"[intro.2]\nrandom.1.1=Tip one\nrandom.1.2=Tip two\n"
    L"[intro.3]\ngoto.script=tips\nreturnto.script=intro\nreturnto.step=1\n"
    L"[tips.1]\ntext.1=More tips\nspecial event.1=check updates\n";

TEST_F(Promo, ExampleScriptPlaysThroughJumpAndReturn) {
  Events events;
  player->SetSpecialEventHandler(&Events::Handle, &events);
  ASSERT_TRUE(Play(kExample, L"intro"));
  EXPECT_EQ(Where(), "L\"intro\".1.1");
  EXPECT_EQ(std::wstring(player->ShownText()), L"Welcome");
  EXPECT_EQ(player->StepWait(), 3000);
  EXPECT_EQ(player->TextColor(), RGB(0, 0, 128));
  EXPECT_EQ(player->CurrentFont().lfHeight, -20);
  // The clear pause runs first, then the same text stays for its wait.
  EXPECT_TRUE(player->InClearPause());
  player->OnTimer(static_cast<unsigned>(player->MainTimer()));
  EXPECT_FALSE(player->InClearPause());
  EXPECT_EQ(Where(), "L\"intro\".1.1");

  EXPECT_EQ(Next(), L"Welcome\r\nto the show");
  EXPECT_EQ(player->StepWait(), 5000);
  const std::wstring tip = Next();
  EXPECT_TRUE(tip == L"Tip one" || tip == L"Tip two") << zortest::Escape(tip);
  EXPECT_EQ(Next(), L"More tips");
  EXPECT_EQ(Where(), "L\"tips\".1.1");
  EXPECT_EQ(events.seen, std::vector<std::wstring>{L"check updates|More tips"});
  EXPECT_EQ(Next(), L"Welcome");  // tips ran out: back to intro step 1
  EXPECT_EQ(Where(), "L\"intro\".1.1");
  EXPECT_TRUE(player->ScriptExists(L"tips"));
  EXPECT_TRUE(player->ScriptExists(L"INTRO"));  // section names fold case
}

TEST_F(Promo, AppendClearNotifyAndTheShownTextCapacity) {
  const std::wstring long1000 = Repeat(L'x', 1000);
  ASSERT_TRUE(Play(L"[s.1]\ntext.1=a\ntext.2=b\\tc\ntext.3=d\nclear.3=1\ntext.4=e\nwait.4=notify\n"
                   L"text.5=f\nclear.5=" + Repeat(L'0', 2048) + L"\n"
                   L"[s.2]\ntext.1=" + long1000 + L"\ntext.2=" + long1000 + L"\ntext.3=" +
                   long1000 + L"\nclear.3=" + Repeat(L'n', 48) + L"\ntext.4=" + long1000 +
                   L"\nclear.4=" + Repeat(L'n', 47) + L"\n"
                   L"[s.3]\ntext.1=" + Repeat(L'y', 5000) + L"\n"));
  EXPECT_EQ(Next(), L"ab\tc");
  EXPECT_EQ(Next(), L"d");  // clear.3=1
  EXPECT_EQ(Next(), L"de");
  EXPECT_TRUE(player->WaitingForNotify());
  EXPECT_EQ(player->MainTimer(), 0u);  // nothing until Resume
  player->Resume();
  // The append guard measures the "clear.5" value, 2048 long: no append.
  EXPECT_EQ(std::wstring(player->ShownText()), L"de");
  EXPECT_EQ(Where(), "L\"s\".1.5");
  EXPECT_EQ(Next(), long1000);
  EXPECT_EQ(Next(), long1000 + long1000);
  EXPECT_EQ(Next(), long1000 + long1000);  // 2000 + a "clear.3" of 48: no room by the guard
  EXPECT_EQ(Next(), long1000 + long1000 + Repeat(L'x', 47));  // 2047 passes; cut at the end
  EXPECT_EQ(Next(), Repeat(L'y', 1023));  // a text is fetched into 1024
  EXPECT_EQ(Next(), L"a");                // no s.4: wrap to step 1
}

TEST_F(Promo, RandomPicksVetoesJumpsAndTheRoundLimit) {
  ASSERT_TRUE(Play(L"[s.1]\nrandom.1.1=one\nrandom.1.2=two\nrandom.1.3=three\n"));
  srand(1);
  std::set<std::wstring> picks;
  for (int i = 0; i < 60; ++i) picks.insert(Next());  // each wrap picks anew
  EXPECT_EQ(picks, (std::set<std::wstring>{L"one", L"two", L"three"}));

  Events events;
  player->SetSpecialEventHandler(&Events::Handle, &events);
  ASSERT_TRUE(Play(L"[s.1]\nrandom.1.1=only\nrandom.1.3=never\n"
                   L"[s.2]\ntext.1=kept\nspecial event.1=swap\ntext.2=vetoed\nspecial event.2=skip\n"
                   L"[s.3]\ngoto.script=j\nreturnto.script=s\nreturnto.step=0\n"
                   L"[j.1]\ntext.1=in j\n"));
  EXPECT_EQ(std::wstring(player->ShownText()), L"only");  // random.1.2 missing: only .1 counts
  EXPECT_EQ(Next(), L"swapped");  // rewritten by the handler
  EXPECT_EQ(Next(), L"in j");     // sub-step 2 vetoed: on to step 3, a jump
  EXPECT_EQ(events.seen, (std::vector<std::wstring>{L"swap|kept", L"skip|vetoed"}));
  EXPECT_EQ(Next(), L"only");  // j ran out: back to s, return step 0 taken as 1
  EXPECT_EQ(Where(), "L\"s\".1.1");

  // A jump is seen when playing moves onto its step (so never as step 1).
  ASSERT_TRUE(Play(L"[t.1]\ntext.1=t one\n[t.2]\ngoto.script=k\nreturnto.step=2\n"
                   L"[k.1]\ntext.1=k one\n[k.2]\ntext.1=k two\n", L"t"));
  EXPECT_EQ(Next(), L"k one");
  EXPECT_EQ(Next(), L"k two");
  EXPECT_EQ(Next(), L"k two");  // a return step alone applies to the current script
  EXPECT_EQ(Where(), "L\"k\".2.1");

  // Scripts that jump in a circle end after 64 rounds; the text stays.
  ASSERT_TRUE(Play(L"[s.1]\ntext.1=first\n[s.2]\ngoto.script=loop\n"
                   L"[loop.1]\ngoto.script=loop2\n[loop2.1]\ngoto.script=loop\n"));
  EXPECT_EQ(Next(), L"first");
  EXPECT_EQ(player->MainTimer(), 0u);
  EXPECT_TRUE(player->ScriptExists(L"loop"));  // a jump counts as a script
  EXPECT_FALSE(player->ScriptExists(L"nothing"));
  EXPECT_FALSE(player->ScriptExists(nullptr));
  EXPECT_FALSE(player->ScriptExists(Repeat(L'a', 261).c_str()));
}

TEST_F(Promo, LoadAndGoFailures) {
  zortest::TempDir dir;
  const std::wstring file = dir / L"promo.ini";
  ASSERT_TRUE(zortest::WriteBytes(file, "[s.1]\r\ntext.1=from a file\r\n"));
  player->SetSourceFile(file.c_str());
  player->SetStartScriptName(L"s");
  ASSERT_TRUE(player->Go());
  EXPECT_EQ(std::wstring(player->ShownText()), L"from a file");

  player->SetSourceFile((dir / L"missing.ini").c_str());
  EXPECT_FALSE(player->Go());
  EXPECT_FALSE(Play(L"[s.1]\n= no key\n"));
  EXPECT_FALSE(Play(L"[s.1]\ntext.1=x\n", L""));
  EXPECT_FALSE(Play(L"[s.1]\ntext.1=x\n", Repeat(L's', 260).c_str()));  // refused: no name
  player->SetOutputWindow(nullptr);
  EXPECT_FALSE(Play(L"[s.1]\ntext.1=x\n"));
}

TEST_F(Promo, TextPropertiesLayerAndReset) {
  const int w = GetSystemMetrics(SM_CXFULLSCREEN);
  ASSERT_TRUE(Play(L"[general]\nfont size=12\nfont size@" + std::to_wstring(w) +
                   L"=10\nleft margin=10\nleft pct margin=5\nbg color=Navy\ntransition time=500\n"
                   L"[style.red]\ntext color=red\nhorz=center\n"
                   L"[s.1]\ntext.1=a\ntext.2=b\nbold.2=1\nstyle.2=red\ntext color=16711680\n"
                   L"typeface=" + Repeat(L'F', 40) + L"\ntransition effect=wipe LR\nbg color=red\n"
                   L"vert=bottom\n"
                   L"[s.2]\ntext.1=c\nleft margin=30\ntext color=-5\nitalic=yes\nunderline=1\n"
                   L"horz=left\nvert=middle\ntransition effect=bogus\ntransition time=0\n"));
  const RECT r = {0, 0, 400, 200};
  EXPECT_EQ(player->CurrentFont().lfHeight, -10);  // the width's own size wins
  EXPECT_EQ(player->TextColor(), kBlue);
  EXPECT_EQ(player->BackgroundColor(), kRed);
  EXPECT_EQ(player->CurrentFont().lfQuality, ANTIALIASED_QUALITY);
  EXPECT_EQ(std::wstring(player->CurrentFont().lfFaceName), Repeat(L'F', 31));
  EXPECT_EQ(player->CurrentFont().lfWeight, FW_NORMAL);
  EXPECT_EQ(player->LeftMargin(&r), 20);  // both kinds in one section: the larger
  EXPECT_EQ(player->TransitionEffect(), kPromoEffectWipeLR);
  EXPECT_TRUE(player->EffectUsesPrevFrame());

  Next();  // sub-step 2: its style and its own keys on top of the step's
  EXPECT_EQ(player->CurrentFont().lfWeight, FW_BOLD);
  EXPECT_EQ(player->TextColor(), kRed);
  EXPECT_EQ(player->TextFormat(), UINT(DT_WORDBREAK | DT_NOPREFIX | DT_CENTER));

  Next();
  EXPECT_EQ(std::wstring(player->CurrentFont().lfFaceName), L"Arial");
  EXPECT_EQ(player->CurrentFont().lfWeight, FW_NORMAL);
  EXPECT_EQ(player->TextColor(), GetSysColor(COLOR_BTNTEXT));  // -5: unchanged after reset
  EXPECT_EQ(player->BackgroundColor(), GetSysColor(COLOR_BTNFACE));  // "Navy" is no colour
  EXPECT_FALSE(player->CurrentFont().lfItalic);
  EXPECT_TRUE(player->CurrentFont().lfUnderline);
  EXPECT_EQ(player->HorizontalAlignment(), 0);
  EXPECT_EQ(player->VerticalAlignment(), 2);  // alignment is not reset between texts
  EXPECT_EQ(player->TransitionTime(), 0);
  EXPECT_EQ(player->LeftMargin(&r), 30);  // only pixels here: the percentage went
  EXPECT_EQ(player->LeftMargin(nullptr), 30);
  EXPECT_EQ(player->TransitionEffect(), kPromoEffectNone);
}

TEST_F(Promo, ColourNamesAndNumbers) {
  struct Case { const wchar_t* text; bool ok; COLORREF colour; };
  const Case cases[] = {
      {L"16711680", true, kBlue}, {L"255", true, kRed},  {L"-5", true, 0x123456},
      {L"navy", true, RGB(0, 0, 128)}, {L"Navy", false, 0x123456}, {L"", false, 0x123456},
      {L"light yellow", true, RGB(255, 255, 128)}, {L"orange", true, RGB(255, 128, 0)},
      {L"pink", true, RGB(255, 128, 255)}, {L"MENUTEXT", true, GetSysColor(COLOR_MENUTEXT)},
      {L"WINDOW", true, GetSysColor(COLOR_WINDOW)},
  };
  for (const Case& c : cases) {
    unsigned long colour = 0x123456;
    EXPECT_EQ(player->GetColorFromString(c.text, colour), c.ok) << zortest::Escape(c.text);
    EXPECT_EQ(colour, c.colour) << zortest::Escape(c.text);
  }
  unsigned long colour = 7;
  EXPECT_FALSE(player->GetColorFromString(nullptr, colour));
}

TEST_F(Promo, PaintsColoursMarginsAndAlignment) {
  ASSERT_TRUE(Play(L"[general]\nbg color=white\ntext color=black\nfont size=40\n"
                   L"[s.1]\ntext.1=MM\nleft margin=100\n"
                   L"[s.2]\ntext.1=MM\nhorz=right\nright margin=50\nvert=bottom\n"
                   L"[s.3]\ntext.1=MM\nhorz=center\nvert=center\ntop pct margin=50\n"));
  UpdateWindow(window);
  RECT ink = Ink(RGB(255, 255, 255));
  EXPECT_GE(ink.left, 100);
  EXPECT_LT(ink.bottom, 60);
  EXPECT_EQ(Pixel(5, 5), RGB(255, 255, 255));
  Next();
  PaintAt(1000);
  ink = Ink(RGB(255, 255, 255));
  EXPECT_LE(ink.right, 350);
  EXPECT_GT(ink.left, 200);
  EXPECT_GT(ink.top, 100);
  Next();
  PaintAt(1000);
  ink = Ink(RGB(255, 255, 255));
  EXPECT_LT(std::abs((ink.left + ink.right) / 2 - 200), 6);
  EXPECT_LT(std::abs((ink.top + ink.bottom) / 2 - 100), 15);  // centre ignores the top margin
}

struct OwnerDraw {
  std::vector<std::wstring> names;
  RECT rect = {};
  unsigned lastCount = 0;
  static void Paint(HDC dc, const RECT& r, const wchar_t* name, unsigned, unsigned count,
                    void* user) {
    auto* self = static_cast<OwnerDraw*>(user);
    self->names.push_back(name);
    self->rect = r;
    self->lastCount = count;
    HBRUSH brush = CreateSolidBrush(kGreen);
    FillRect(dc, &r, brush);
    DeleteObject(brush);
  }
};

TEST_F(Promo, OwnerDrawnBackgroundAndItsRefreshTimer) {
  OwnerDraw drawn;
  player->SetOwnerDrawBackgroundHandler(&OwnerDraw::Paint, &drawn);
  ASSERT_TRUE(Play(L"[s.1]\ntext.1=.\nowner draw bg=1\nowner draw bg name=stars\n"
                   L"owner draw bg refresh=100\ntop margin=20\n"
                   L"[s.2]\ntext.1=.\nowner draw bg=2\n"));
  UpdateWindow(window);
  ASSERT_EQ(drawn.names, std::vector<std::wstring>{L"stars"});
  EXPECT_EQ(drawn.rect.top, 20);
  EXPECT_EQ(Pixel(200, 150), kGreen);
  ASSERT_NE(player->OwnerDrawRefreshTimer(), 0u);
  player->OnTimer(static_cast<unsigned>(player->OwnerDrawRefreshTimer()));
  player->OnTimer(static_cast<unsigned>(player->OwnerDrawRefreshTimer()));
  PaintAt(1000);
  EXPECT_EQ(drawn.lastCount, 2u);
  Next();  // the background's name changed: its timer stops
  EXPECT_EQ(player->OwnerDrawRefreshTimer(), 0u);
  PaintAt(1000);
  EXPECT_EQ(drawn.names.size(), 2u);  // "owner draw bg=2" is off
  EXPECT_NE(Pixel(200, 150), kGreen);
}

// Step 1 is red; step 2 turns blue through `effect` (green as the transition
// colour) over 1000 ms, so every pixel away from the text tells the frame.
TEST_F(Promo, TransitionFramesAtChosenProgress) {
  struct Case { const wchar_t* effect; int p, x, y; COLORREF expected; };
  const Case cases[] = {
      {L"frames crossfade", 0, 200, 100, kRed},
      {L"frames crossfade", 50, 200, 100, RGB(127, 0, 127)},
      {L"color fade", 30, 200, 100, RGB(0, 178, 76)},
      {L"frames fade", 25, 200, 100, RGB(127, 127, 0)},
      {L"frames fade", 50, 200, 100, kGreen},
      {L"frames fade", 75, 200, 100, RGB(0, 127, 127)},
      {L"color frame fade pop", 40, 200, 100, RGB(153, 102, 0)},
      {L"color frame fade pop", 99, 200, 100, RGB(2, 252, 0)},
      {L"color rect out", 50, 100, 50, kBlue},
      {L"color rect out", 50, 99, 100, kGreen},
      {L"color rect in", 50, 100, 50, kGreen},
      {L"color rect in", 50, 99, 100, kBlue},
      {L"wipe RL", 25, 300, 100, kBlue},
      {L"wipe RL", 25, 299, 100, kRed},
      {L"wipe LR", 25, 99, 100, kBlue},
      {L"wipe LR", 25, 100, 100, kRed},
      {L"color wipe LR", 50, 199, 100, kBlue},
      {L"color wipe RL", 50, 199, 100, kGreen},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(zortest::Escape(c.effect) + " p=" + std::to_string(c.p));
    ASSERT_TRUE(Play(L"[s.1]\ntext.1=.\nbg color=red\n[s.2]\ntext.1=.\nbg color=blue\n"
                     L"transition time=1000\ntransition color=green\ntransition effect=" +
                     std::wstring(c.effect) + L"\n"));
    PaintAt(500);
    Next();
    PaintAt(1000);  // the first frame: p = 0
    EXPECT_NE(player->TransitionTimer(), 0u);
    EXPECT_EQ(player->MainTimer(), 0u);  // the wait starts when the transition ends
    PaintAt(1000 + 10 * c.p);
    EXPECT_EQ(Pixel(c.x, c.y), c.expected);
  }
  // Past the end: the new picture, the 5 ms timer gone, the main timer on.
  PaintAt(2200);
  EXPECT_EQ(Pixel(300, 100), kBlue);
  EXPECT_EQ(player->TransitionTimer(), 0u);
  EXPECT_NE(player->MainTimer(), 0u);
  EXPECT_EQ(player->TransitionTime(), 0);
  // A transition of 1 ms still runs (and ends) like any other, and the next
  // step's transition starts from fresh pictures.
  ASSERT_TRUE(Play(L"[s.1]\ntext.1=.\nbg color=red\ntransition time=1\ntransition effect=wipe LR\n"
                   L"[s.2]\ntext.1=.\nbg color=blue\ntransition time=1\n"
                   L"transition effect=color wipe LR\n"));
  PaintAt(3000);
  EXPECT_NE(player->TransitionTimer(), 0u);
  PaintAt(3001);
  EXPECT_EQ(player->TransitionTimer(), 0u);
  EXPECT_NE(player->MainTimer(), 0u);
  Next();
  PaintAt(3002);
  EXPECT_EQ(Pixel(300, 100), RGB(0, 0, 0));  // p = 0: all transition colour (black)
  PaintAt(3003);
  EXPECT_EQ(Pixel(300, 100), kBlue);
}

TEST_F(Promo, PerCharacterRevealByTimer) {
  ASSERT_TRUE(Play(L"[general]\nclear pause=30\n"
                   L"[s.1]\ntext.1=abc\ntransition effect=per-char delay\ntransition time=50\n"
                   L"text.2=d\n[s.2]\ntext.1=next\n"));
  std::wstring seen;  // the clear pause first, then one character per tick
  for (int i = 0; i < 7; ++i) {
    UpdateWindow(window);
    seen += std::wstring(player->ShownText()) + L"|";
    ASSERT_NE(player->MainTimer(), 0u);
    player->OnTimer(static_cast<unsigned>(player->MainTimer()));
  }
  EXPECT_EQ(seen, L"|a|ab|abc|abc|abcd|abcd|");  // sub-step 2 appends
  EXPECT_EQ(std::wstring(player->ShownText()), L"next");
}

// Real time, with generous margins: one character every 50 ms, then the
// wait; then a 300 ms crossfade whose wait starts at its end.
TEST_F(Promo, RealTimeRevealAndTransition) {
  ZorTest_SetPromoClock(nullptr);
  ASSERT_TRUE(Play(L"[s.1]\ntext.1=abcd\ntransition effect=per-char delay\ntransition time=50\n"
                   L"wait=100\n[s.2]\ntext.1=fade\ntransition effect=frames crossfade\n"
                   L"transition time=300\nwait=100\n[s.3]\ntext.1=end\n"));
  const DWORD start = GetTickCount();
  DWORD reachedFade = 0;
  MSG msg;
  while (GetTickCount() - start < 5000 && wcscmp(player->ShownText(), L"end") != 0) {
    if (!reachedFade && !wcscmp(player->ShownText(), L"fade")) reachedFade = GetTickCount();
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&msg);
    Sleep(1);
  }
  EXPECT_EQ(std::wstring(player->ShownText()), L"end");
  EXPECT_GE(reachedFade - start, 200u);  // 3 more characters, then the wait
  EXPECT_GE(GetTickCount() - reachedFade, 350u);
}

CPromoScript* g_doomed;
LRESULT CALLBACK DeletesPlayerOnDestroy(HWND w, UINT m, WPARAM wp, LPARAM lp) {
  if (m == WM_DESTROY) delete g_doomed;
  return DefWindowProcW(w, m, wp, lp);
}

TEST_F(Promo, DestroyingMidTransitionIsClean) {
  const std::wstring script =
      L"[s.1]\ntext.1=a\n[s.2]\ntext.1=b\ntransition time=1000\ntransition effect=wipe LR\n";
  ASSERT_TRUE(Play(script));
  Next();
  PaintAt(1000);
  {
    CPromoScript second;  // a second player on the same window, gone first
    second.SetOutputWindow(window);
    second.SetSourceBuffer(reinterpret_cast<const unsigned char*>(bytes.data()),
                           static_cast<int>(bytes.size()));
    second.SetStartScriptName(L"s");
    ASSERT_TRUE(second.Go());
    PaintAt(1050);
  }
  PaintAt(1100);
  player.reset();  // the window lives on, unhooked
  PaintAt(1100);
  EXPECT_EQ(GetWindowLongPtrW(window, GWLP_WNDPROC), LONG_PTR(DefWindowProcW));
  EXPECT_EQ(GetWindowLongPtrW(window, GWLP_USERDATA), 0);

  player.reset(new CPromoScript);
  player->SetOutputWindow(window);
  ASSERT_TRUE(Play(script));
  Next();
  PaintAt(1000);
  DestroyWindow(window);  // the player stops with its window
  EXPECT_EQ(player->TransitionTimer(), 0u);
  player->Resume();
  EXPECT_EQ(std::wstring(player->ShownText()), L"b");

  // A host that deletes the player while its windows are being destroyed.
  g_doomed = player.release();
  WNDCLASSW wc = {};
  wc.lpfnWndProc = DeletesPlayerOnDestroy;
  wc.lpszClassName = L"ZorPromoParent";
  RegisterClassW(&wc);
  HWND parent = CreateWindowExW(0, L"ZorPromoParent", L"", WS_CHILD | WS_VISIBLE, 0, 0, 400,
                                200, host, nullptr, nullptr, nullptr);
  window = CreateWindowExW(0, L"ZorPromoTest", L"", WS_CHILD | WS_VISIBLE, 0, 0, 400, 200,
                           parent, nullptr, nullptr, nullptr);
  g_doomed->SetOutputWindow(window);
  ASSERT_TRUE(g_doomed->Go());
  g_doomed->ExecuteNextStep();
  PaintAt(1000);
  DestroyWindow(parent);
  EXPECT_FALSE(IsWindow(window));
}

// Damaged and absurd scripts play what they can: never a crash or a hang.
TEST_F(Promo, FuzzedScriptsPlayOrStopCleanly) {
  const std::vector<std::string> samples = {
      zortest::Utf16Bytes(kExample, true),
      "[general]\nwait=99999999999\nfont size=2147483647\nleft pct margin=99999999\n"
      "[s.1]\ntext.1=\\n\\t\\\nclear.2=1\ntext.2=b\ntransition effect=frames fade\n"
      "transition time=1\n[s.2]\ngoto.script=s\nreturnto.step=-4\n[s.3]\nrandom.1.1=r\n"
      "transition effect=per-char delay\ntransition time=1\nbottom margin=-300\n",
  };
  const std::vector<std::string> tokens = {"goto.script=", "returnto.script=s\n", ".1]",
                                           "transition effect=", "wait.1=notify\n", "@"};
  zortest::FuzzOptions options;
  options.maxInputs = 300;
  options.budgetMs = 2000;
  zortest::Fuzz(samples, tokens, options, [&](const std::string& input) {
    player->SetSourceBuffer(reinterpret_cast<const unsigned char*>(input.data()),
                            static_cast<int>(input.size()));
    player->SetStartScriptName(input.size() % 2 ? L"s" : L"intro");
    if (!player->Go()) return;
    for (int i = 0; i < 6; ++i) {
      PaintAt(1000 + 7 * i);
      if (player->MainTimer()) player->OnTimer(static_cast<unsigned>(player->MainTimer()));
      ASSERT_LT(wcslen(player->ShownText()), 2048u);
    }
  });
}

}  // namespace
