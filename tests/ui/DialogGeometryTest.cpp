// Window geometry against the real (Xvfb) monitor, on the shared top-level
// window and children of it; and the common file dialog.
#include "tests/support/TestSupport.h"
#include "tests/support/UiDriver.h"

#include <dlgs.h>

#include <cstdlib>

namespace {

RECT Frame(HWND w) {
  RECT r;
  GetWindowRect(w, &r);
  return r;
}
bool Same(const RECT& a, const RECT& b) { return EqualRect(&a, &b) != FALSE; }
HWND Child(HWND parent, const wchar_t* cls, int x, int y, int w, int h, int id = 0, DWORD style = WS_VISIBLE) {
  return CreateWindowExW(0, cls, L"", WS_CHILD | style, x, y, w, h, parent,
                         reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
}

class WindowGeometry : public ::testing::Test {
protected:
  void SetUp() override { SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0); }
  // Puts the shared window back where it was.
  void TearDown() override { SetWindowPos(top, nullptr, r.left, r.top, r.right - r.left, r.bottom - r.top, SWP_NOZORDER); }
  HWND top = zortest::SharedTopWindow();
  RECT r = Frame(top), work = {};
};

TEST_F(WindowGeometry, MonitorWorkAreaAndTheOffScreenTest) {
  EXPECT_TRUE(Same(work, GetMonitorRectFromPt(POINT{10, 10})));
  EXPECT_TRUE(Same(work, GetMonitorRectFromPt(POINT{9000, -9000}))) << "the nearest monitor";
  // The point tested is (left, right): the right edge stands for a height.
  EXPECT_EQ(0, IsRectOnTheScreen(RECT{100, 5000, 300, 6000}));
  EXPECT_EQ(0, IsRectOnTheScreen(RECT{work.left, 0, work.bottom, 0}));
  EXPECT_EQ(0, IsRectOnTheScreen(RECT{work.right, 0, work.top, 0}));
  for (RECT off : {RECT{100, 0, work.bottom + 1, 0}, RECT{-1, 0, 10, 0}, RECT{work.right + 1, 0, 10, 0},
                   RECT{10, 0, work.top - 1, 0}})
    EXPECT_EQ(1, IsRectOnTheScreen(off)) << off.left << "," << off.right;
}

TEST_F(WindowGeometry, CenterWindowOnTheWorkAreaAReferenceAndPastTheEdge) {
  SetWindowPos(top, nullptr, 30, 40, 400, 300, SWP_NOZORDER);
  CenterWindow(top, nullptr, true, false, true);
  EXPECT_EQ(work.left + (work.right - work.left - 400) / 2, Frame(top).left);
  EXPECT_EQ(40, Frame(top).top) << "not centred vertically";
  CenterWindow(top, nullptr, false, true, false);
  EXPECT_EQ(work.top + (work.bottom - work.top - 300) / 2, Frame(top).top);
  HWND child = Child(top, L"STATIC", 0, 0, 100, 60);
  const RECT ref = Frame(child);
  CenterWindow(top, child, true, true, false);
  EXPECT_EQ(ref.left + (100 - 400) / 2, Frame(top).left);
  EXPECT_EQ(ref.top + (60 - 300) / 2, Frame(top).top);
  DestroyWindow(child);
  // Wider and taller than the work area: it ends at the far edges.
  SetWindowPos(top, nullptr, 0, 0, work.right - work.left + 200, work.bottom - work.top + 100, SWP_NOZORDER);
  CenterWindow(top, nullptr, true, true, false);
  const RECT big = Frame(top);
  EXPECT_EQ(work.right - (big.right - big.left), big.left);
  EXPECT_EQ(work.bottom - (big.bottom - big.top), big.top);
}

TEST_F(WindowGeometry, VisibilityAndCoordinatesRelativeToTheParent) {
  HWND child = Child(top, L"STATIC", 15, 25, 40, 30);
  EXPECT_TRUE(Same(RECT{15, 25, 55, 55}, GetWindowCoordsRelativeToParent(child)));
  EXPECT_TRUE(Same(RECT{}, GetWindowCoordsRelativeToParent(top))) << "no parent";
  EXPECT_TRUE(Same(RECT{}, GetWindowCoordsRelativeToParent(nullptr)));
  DestroyWindow(child);
  EXPECT_TRUE(WindowVisibleOnDesktop(top));
  SetWindowPos(top, nullptr, work.right + 1, 100, 0, 0, SWP_NOZORDER | SWP_NOSIZE);
  EXPECT_FALSE(WindowVisibleOnDesktop(top));
  EXPECT_FALSE(WindowVisibleOnDesktop(nullptr));
}

TEST_F(WindowGeometry, GroupsOfControlsListBoxExtentAndTransparency) {
  HWND panel = Child(top, L"STATIC", 0, 0, 300, 200), items[3];
  for (int i = 0; i < 3; ++i) items[i] = Child(panel, L"BUTTON", 0, 30 * i, 50, 20, 10 + i);
  const int ids[3] = {10, 11, 12};
  EnableZeControls(panel, ids, 2, false);
  ShowZeControls(panel, ids + 1, 2, false);
  EnableZeControls(panel, ids, 0, true);
  ShowZeControls(panel, ids, -1, true);
  EXPECT_TRUE(!IsWindowEnabled(items[0]) && !IsWindowEnabled(items[1]) && IsWindowEnabled(items[2]));
  EXPECT_TRUE(IsWindowVisible(items[0]) && !IsWindowVisible(items[1]) && !IsWindowVisible(items[2]));

  HWND list = Child(panel, L"LISTBOX", 60, 0, 120, 100, 0, WS_VISIBLE | WS_HSCROLL);
  auto add = [&](const std::wstring& item) {
    SendMessageW(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(item.c_str()));
    SetListBoxHorzScroll(list);
    return SendMessageW(list, LB_GETHORIZONTALEXTENT, 0, 0);
  };
  SetListBoxHorzScroll(list);
  EXPECT_EQ(0, SendMessageW(list, LB_GETHORIZONTALEXTENT, 0, 0)) << "empty";
  EXPECT_EQ(0, add(L"short"));
  EXPECT_EQ(0, add(std::wstring(1024, L'W'))) << "too long to be measured";
  const std::wstring wide(60, L'M');
  const LRESULT extent = add(wide);
  HDC dc = GetDC(list);
  HGDIOBJ old = SelectObject(dc, reinterpret_cast<HGDIOBJ>(SendMessageW(list, WM_GETFONT, 0, 0)));
  SIZE size = {};
  GetTextExtentPoint32W(dc, wide.c_str(), 60, &size);
  SelectObject(dc, old), ReleaseDC(list, dc), DestroyWindow(panel);
  EXPECT_EQ(size.cx + 4 * GetSystemMetrics(SM_CXEDGE), extent);

  SetWindowTransparency(top, 128);
  BYTE alpha = 0;
  DWORD how = 0;
  EXPECT_TRUE(GetLayeredWindowAttributes(top, nullptr, &alpha, &how) && alpha == 128 && how == LWA_ALPHA);
  SetWindowLongPtrW(top, GWL_EXSTYLE, GetWindowLongPtrW(top, GWL_EXSTYLE) & ~WS_EX_LAYERED);
}

TEST(FileDialog, CentredOnItsOwnerAndTheChosenFilterComesBack) {
  HWND owner = zortest::SharedTopWindow();
  zortest::TempDir dir;
  const std::wstring target = dir / L"chosen.txt";
  wchar_t file[MAX_PATH] = L"", title[MAX_PATH] = L"";
  DWORD filter = 2;
  POINT off = {9999, 9999};
  const RECT o = Frame(owner);
  const int result = zortest::DriveModal(
      [&](HWND d) {
        Sleep(200);  // let the frame settle
        const RECT r = Frame(d);
        off = POINT{(r.left + r.right - o.left - o.right) / 2, (r.top + r.bottom - o.top - o.bottom) / 2};
        HWND types = GetDlgItem(d, cmb1);
        SendMessageW(types, CB_SETCURSEL, 0, 0);
        SendMessageW(d, WM_COMMAND, MAKEWPARAM(cmb1, CBN_SELENDOK), reinterpret_cast<LPARAM>(types));
        SetDlgItemTextW(d, cmb13, target.c_str()), SetDlgItemTextW(d, edt1, target.c_str());
        PostMessageW(d, WM_COMMAND, IDOK, 0);
      },
      [&] {
        return DoStandardFileDialog(nullptr, owner, file, title, MAX_PATH, 0, L"Text\0*.txt\0All\0*.*\0\0", L"txt",
                                    L"Save it", dir.path().c_str(), &filter, 0);
      });
  EXPECT_TRUE(result);
  EXPECT_EQ(target, file);
  EXPECT_EQ(L"chosen.txt", std::wstring(title));
  EXPECT_EQ(1u, filter) << "the filter chosen in the dialog";
  EXPECT_TRUE(std::abs(off.x) <= 1 && std::abs(off.y) <= 1) << off.x << "," << off.y;
  EXPECT_FALSE(DoStandardFileDialog(nullptr, owner, nullptr, title, MAX_PATH, 1, nullptr, nullptr, nullptr, nullptr,
                                    nullptr, 0)) << "no file buffer: no dialog";
}

}  // namespace
