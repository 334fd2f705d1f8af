// CLinkControl on real static controls under a borderless panel, so that the
// panel's window and client rectangles coincide and hit areas are exact.
#include "tests/support/TestSupport.h"
#include "tests/support/UiDriver.h"

#include <cstring>
#include <new>

namespace {

const wchar_t kText[] = L"Visit the web site";

class LinkControl : public ::testing::Test {
protected:
  void SetUp() override {
    panel = CreateWindowExW(0, L"STATIC", L"", WS_CHILD | WS_VISIBLE, 10, 20, 400, 200,
                            zortest::SharedTopWindow(), nullptr, nullptr, nullptr);
    SendMessageW(panel, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    HDC dc = GetDC(panel);
    HGDIOBJ old = SelectObject(dc, font);
    GetTextExtentPoint32W(dc, kText, static_cast<int>(wcslen(kText)), &size);
    SelectObject(dc, old);
    ReleaseDC(panel, dc);
  }
  void TearDown() override { DestroyWindow(panel), DeleteObject(font); }
  HWND Label(DWORD align, int x, int y, int id = 0) {
    return CreateWindowExW(0, L"STATIC", L"own text", WS_CHILD | WS_VISIBLE | align, x, y, 300, 30, panel,
                           reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
  }
  HWND panel = nullptr;
  HFONT font = CreateFontW(-16, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, L"Tahoma");
  SIZE size = {};
};

TEST_F(LinkControl, TextRectangleFollowsTheAlignmentAndIsPaintedUnderlined) {
  const struct { DWORD style; LONG left; } cases[] = {
      {SS_LEFT, 0}, {SS_CENTER, (300 - size.cx) / 2}, {SS_RIGHT, 300 - size.cx}};
  for (const auto& c : cases) {
    CLinkControl link;
    ASSERT_EQ(1, link.SubClass(Label(c.style, 0, 0), kText, L"https://example.com/", RGB(200, 0, 0)));
    for (int pass = 0; pass < 2; ++pass) {  // as measured at SubClass, then at a paint
      const RECT r = link.GetLastHitRect(), want = {c.left, 0, c.left + size.cx, size.cy + 7};
      EXPECT_TRUE(EqualRect(&r, &want)) << c.style << " pass " << pass;
      link.m_textRect = RECT{};
      RedrawWindow(link.m_hWnd, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW);
    }
    HDC dc = GetDC(link.m_hWnd);
    EXPECT_EQ(RGB(200, 0, 0), GetPixel(dc, c.left + 1, size.cy)) << "the underline";
    EXPECT_EQ(RGB(200, 0, 0), GetPixel(dc, c.left + size.cx - 1, size.cy));
    EXPECT_NE(RGB(200, 0, 0), GetPixel(dc, c.left + size.cx + 1, size.cy)) << "as long as the text";
    int inked = 0;
    for (int x = c.left; x < c.left + size.cx; ++x)
      for (int y = 0; y < size.cy; ++y) inked += GetPixel(dc, x, y) == RGB(200, 0, 0);
    EXPECT_GT(inked, size.cx) << "the text";
    ReleaseDC(link.m_hWnd, dc);
  }
}

TEST_F(LinkControl, MouseOverStartsAtTheControlsLeftEdgeWhateverTheAlignment) {
  CLinkControl link;
  link.SubClass(Label(SS_RIGHT, 50, 100), kText, L"x", 0);
  const RECT r = link.GetLastHitRect();
  EXPECT_TRUE(link.MouseOver(panel, POINT{51, 101})) << "left of the text, yet a hit";
  EXPECT_TRUE(link.MouseOver(panel, POINT{50 + r.right - 1, 100 + r.bottom - 1}));
  for (POINT out : {POINT{49, 101}, POINT{50 + r.right, 101}, POINT{51, 100 + r.bottom}, POINT{51, 99}})
    EXPECT_FALSE(link.MouseOver(panel, out)) << out.x << "," << out.y;
  // Dialog controls: the control's whole size at the same place.
  Label(SS_LEFT, 20, 150, 77);
  EXPECT_TRUE(MouseOverDialogControl(panel, 77, POINT{319, 179}));
  for (POINT out : {POINT{320, 179}, POINT{20, 180}, POINT{19, 150}})
    EXPECT_FALSE(MouseOverDialogControl(panel, 77, out)) << out.x << "," << out.y;
  EXPECT_FALSE(MouseOverDialogControl(panel, 78, POINT{25, 155})) << "no such control";
}

TEST_F(LinkControl, KeepsBoundedTextsAndGivesTheControlBack) {
  HWND label = Label(SS_LEFT, 0, 0);
  const LONG_PTR own = GetWindowLongPtrW(label, GWLP_WNDPROC);
  const std::wstring longText(600, L'a'), longLink(3000, L'h');
  alignas(CLinkControl) unsigned char raw[sizeof(CLinkControl)];
  memset(raw, 0xCC, sizeof raw);
  CLinkControl* fresh = new (raw) CLinkControl;  // on dirty memory: the constructor clears
  EXPECT_TRUE(!fresh->m_text[0] && !fresh->m_link[0] && !fresh->m_oldProc && !fresh->m_hWnd && !fresh->m_textRect.right);
  fresh->~CLinkControl();
  {
    CLinkControl link;
    EXPECT_EQ(0, link.SubClass(nullptr, L"t", L"l", 0));
    EXPECT_EQ(1, link.SubClass(label, longText.c_str(), longLink.c_str(), 0));
    EXPECT_EQ(longText.substr(0, 511), link.m_text);
    EXPECT_EQ(longLink.substr(0, 2047), link.GetLink());
    EXPECT_NE(own, GetWindowLongPtrW(label, GWLP_WNDPROC));
    EXPECT_EQ(L"own text", zortest::Text(label)) << "other messages reach the control's own procedure";
    CLinkControl second;  // takes the control over rather than chaining onto the first
    EXPECT_EQ(1, second.SubClass(label, L"t", L"l", 0));
    EXPECT_FALSE(link.m_oldProc);
    EXPECT_EQ(L"own text", zortest::Text(label)) << "no endless hand-over between the two";
  }
  EXPECT_EQ(own, GetWindowLongPtrW(label, GWLP_WNDPROC));
  EXPECT_EQ(0, GetWindowLongPtrW(label, GWLP_USERDATA));
}

}  // namespace
