// CLinkControl on real static controls under a borderless panel, so that the
// panel's window and client rectangles coincide and hit areas are exact.
#include "tests/support/TestSupport.h"
#include "tests/support/UiDriver.h"

namespace {

class LinkControl : public ::testing::Test {
protected:
  void SetUp() override {
    panel = CreateWindowExW(0, L"STATIC", L"", WS_CHILD | WS_VISIBLE, 10, 20, 400, 200,
                            zortest::SharedTopWindow(), nullptr, nullptr, nullptr);
    font = CreateFontW(-16, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, L"Tahoma");
    SendMessageW(panel, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
  }
  void TearDown() override {
    DestroyWindow(panel);
    DeleteObject(font);
  }
  HWND Label(DWORD align, int x, int y, int id = 0) {
    return CreateWindowExW(0, L"STATIC", L"own text", WS_CHILD | WS_VISIBLE | align, x, y, 300, 30, panel,
                           reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
  }
  SIZE Measured(const wchar_t* text) {
    HDC dc = GetDC(panel);
    HGDIOBJ old = SelectObject(dc, font);
    SIZE size = {};
    GetTextExtentPoint32W(dc, text, static_cast<int>(wcslen(text)), &size);
    SelectObject(dc, old);
    ReleaseDC(panel, dc);
    return size;
  }
  HWND panel = nullptr;
  HFONT font = nullptr;
};

const wchar_t kText[] = L"Visit the web site";

TEST_F(LinkControl, TextRectangleFollowsTheAlignment) {
  const SIZE size = Measured(kText);
  ASSERT_GT(size.cx, 0);
  const struct { DWORD style; LONG left; } cases[] = {
      {SS_LEFT, 0}, {SS_CENTER, (300 - size.cx) / 2}, {SS_RIGHT, 300 - size.cx}};
  for (const auto& c : cases) {
    CLinkControl link;
    ASSERT_EQ(1, link.SubClass(Label(c.style, 0, 0), kText, L"https://example.com/", RGB(0, 0, 255)));
    for (int pass = 0; pass < 2; ++pass) {  // as measured at SubClass, then at a paint
      const RECT r = link.GetLastHitRect();
      EXPECT_EQ(c.left, r.left) << "style " << c.style;
      EXPECT_EQ(c.left + size.cx, r.right);
      EXPECT_EQ(0, r.top);
      EXPECT_EQ(size.cy + 7, r.bottom);
      link.m_textRect = RECT{};
      RedrawWindow(link.m_hWnd, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    }
  }
}

TEST_F(LinkControl, MouseOverStartsAtTheControlsLeftEdgeWhateverTheAlignment) {
  CLinkControl link;
  link.SubClass(Label(SS_RIGHT, 50, 100), kText, L"x", 0);
  const RECT r = link.GetLastHitRect();
  ASSERT_GT(r.left, 100) << "the text sits at the right";
  EXPECT_TRUE(link.MouseOver(panel, POINT{51, 101}));  // left of the text, yet a hit
  EXPECT_FALSE(link.MouseOver(panel, POINT{49, 101}));
  EXPECT_TRUE(link.MouseOver(panel, POINT{50 + r.right - 1, 100 + r.bottom - 1}));
  EXPECT_FALSE(link.MouseOver(panel, POINT{50 + r.right, 101}));
  EXPECT_FALSE(link.MouseOver(panel, POINT{51, 100 + r.bottom}));
  EXPECT_FALSE(link.MouseOver(panel, POINT{51, 99}));
  // The dialog-control test uses the control's whole size.
  Label(SS_LEFT, 20, 150, 77);
  EXPECT_TRUE(MouseOverDialogControl(panel, 77, POINT{319, 179}));
  EXPECT_FALSE(MouseOverDialogControl(panel, 77, POINT{320, 179}));
  EXPECT_FALSE(MouseOverDialogControl(panel, 77, POINT{20, 180}));
  EXPECT_FALSE(MouseOverDialogControl(panel, 77, POINT{19, 150}));
  EXPECT_FALSE(MouseOverDialogControl(panel, 78, POINT{25, 155}));
}

TEST_F(LinkControl, PaintsTheTextUnderlinedInTheLinkColour) {
  CLinkControl link;
  HWND label = Label(SS_LEFT, 0, 40);
  link.SubClass(label, L"______", L"x", RGB(200, 0, 0));
  const SIZE size = Measured(L"______");
  RedrawWindow(label, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW);
  HDC dc = GetDC(label);
  EXPECT_EQ(RGB(200, 0, 0), GetPixel(dc, size.cx / 2, size.cy)) << "the underline";
  EXPECT_EQ(RGB(200, 0, 0), GetPixel(dc, size.cx - 1, size.cy));
  EXPECT_NE(RGB(200, 0, 0), GetPixel(dc, size.cx + 1, size.cy)) << "as long as the text";
  ReleaseDC(label, dc);
}

TEST_F(LinkControl, KeepsBoundedTextsAndGivesTheControlBack) {
  HWND label = Label(SS_LEFT, 0, 0);
  const LONG_PTR own = GetWindowLongPtrW(label, GWLP_WNDPROC);
  const std::wstring longText(600, L'a'), longLink(3000, L'h');
  {
    CLinkControl link;
    EXPECT_EQ(0, link.SubClass(nullptr, L"t", L"l", 0));
    EXPECT_EQ(1, link.SubClass(label, longText.c_str(), longLink.c_str(), 0));
    EXPECT_EQ(longText.substr(0, 511), link.m_text);
    EXPECT_EQ(longLink.substr(0, 2047), link.GetLink());
    EXPECT_NE(own, GetWindowLongPtrW(label, GWLP_WNDPROC));
    EXPECT_EQ(L"own text", zortest::Text(label)) << "other messages reach the control's own procedure";
  }
  EXPECT_EQ(own, GetWindowLongPtrW(label, GWLP_WNDPROC));
  EXPECT_EQ(0, GetWindowLongPtrW(label, GWLP_USERDATA));
}

}  // namespace
