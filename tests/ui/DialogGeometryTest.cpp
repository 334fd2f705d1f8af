// Window geometry against the real (Xvfb) monitor, on the shared top-level
// window and children of it.
#include "tests/support/TestSupport.h"
#include "tests/support/UiDriver.h"

#include <dlgs.h>

#include <cstdlib>

namespace {

RECT WorkArea() {
  RECT work;
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  return work;
}

RECT Frame(HWND w) {
  RECT r;
  GetWindowRect(w, &r);
  return r;
}

bool Same(const RECT& a, const RECT& b) { return EqualRect(&a, &b) != FALSE; }

// Puts the shared window back where it was after a test moved it.
struct KeepPlace {
  HWND w = zortest::SharedTopWindow();
  RECT r = Frame(w);
  ~KeepPlace() { SetWindowPos(w, nullptr, r.left, r.top, r.right - r.left, r.bottom - r.top, SWP_NOZORDER); }
};

TEST(WindowGeometry, MonitorWorkAreaAndTheOffScreenTest) {
  const RECT work = WorkArea();
  EXPECT_TRUE(Same(work, GetMonitorRectFromPt(POINT{10, 10})));
  EXPECT_TRUE(Same(work, GetMonitorRectFromPt(POINT{9000, -9000}))) << "the nearest monitor";
  // The point tested is (left, right): the right edge stands for a height.
  EXPECT_EQ(0, IsRectOnTheScreen(RECT{100, 5000, 300, 6000}));
  EXPECT_EQ(0, IsRectOnTheScreen(RECT{work.left, 0, work.bottom, 0}));
  EXPECT_EQ(1, IsRectOnTheScreen(RECT{100, 0, work.bottom + 1, 10}));
  EXPECT_EQ(1, IsRectOnTheScreen(RECT{-1, 0, 10, 10}));
  EXPECT_EQ(1, IsRectOnTheScreen(RECT{work.right + 1, 0, 10, 10}));
  EXPECT_EQ(1, IsRectOnTheScreen(RECT{10, 0, work.top - 1, 10}));
}

TEST(WindowGeometry, CenterWindowOnTheWorkAreaAReferenceAndPastTheEdge) {
  KeepPlace keep;
  const RECT work = WorkArea();
  SetWindowPos(keep.w, nullptr, 30, 40, 400, 300, SWP_NOZORDER);
  CenterWindow(keep.w, nullptr, true, false, true);
  EXPECT_EQ(work.left + (work.right - work.left - 400) / 2, Frame(keep.w).left);
  EXPECT_EQ(40, Frame(keep.w).top) << "not centred vertically";
  CenterWindow(keep.w, nullptr, false, true, false);
  EXPECT_EQ(work.top + (work.bottom - work.top - 300) / 2, Frame(keep.w).top);

  HWND child = CreateWindowExW(0, L"STATIC", L"", WS_CHILD | WS_VISIBLE, 0, 0, 100, 60, keep.w, nullptr,
                               nullptr, nullptr);
  const RECT ref = Frame(child);
  CenterWindow(keep.w, child, true, true, false);
  EXPECT_EQ(ref.left + (100 - 400) / 2, Frame(keep.w).left);
  EXPECT_EQ(ref.top + (60 - 300) / 2, Frame(keep.w).top);
  DestroyWindow(child);

  // Wider and taller than the work area: it ends at the far edges.
  SetWindowPos(keep.w, nullptr, 0, 0, work.right - work.left + 200, work.bottom - work.top + 100, SWP_NOZORDER);
  CenterWindow(keep.w, nullptr, true, true, false);
  const RECT big = Frame(keep.w);
  EXPECT_EQ(work.right - (big.right - big.left), big.left);
  EXPECT_EQ(work.bottom - (big.bottom - big.top), big.top);
}

TEST(WindowGeometry, VisibilityAndCoordinatesRelativeToTheParent) {
  KeepPlace keep;
  EXPECT_TRUE(WindowVisibleOnDesktop(keep.w));
  SetWindowPos(keep.w, nullptr, 3000, 3000, 0, 0, SWP_NOZORDER | SWP_NOSIZE);
  EXPECT_FALSE(WindowVisibleOnDesktop(keep.w));
  EXPECT_FALSE(WindowVisibleOnDesktop(nullptr));

  HWND child = CreateWindowExW(0, L"STATIC", L"", WS_CHILD, 15, 25, 40, 30, keep.w, nullptr, nullptr, nullptr);
  EXPECT_TRUE(Same(RECT{15, 25, 55, 55}, GetWindowCoordsRelativeToParent(child)));
  EXPECT_TRUE(Same(RECT{}, GetWindowCoordsRelativeToParent(keep.w))) << "no parent";
  EXPECT_TRUE(Same(RECT{}, GetWindowCoordsRelativeToParent(nullptr)));
  DestroyWindow(child);
}

TEST(WindowGeometry, GroupsOfControlsListBoxExtentAndTransparency) {
  HWND top = zortest::SharedTopWindow();
  HWND panel = CreateWindowExW(0, L"STATIC", L"", WS_CHILD | WS_VISIBLE, 0, 0, 300, 200, top, nullptr, nullptr, nullptr);
  HWND items[3];
  for (int i = 0; i < 3; ++i)
    items[i] = CreateWindowExW(0, L"BUTTON", L"b", WS_CHILD | WS_VISIBLE, 0, 30 * i, 50, 20, panel,
                               reinterpret_cast<HMENU>(static_cast<INT_PTR>(10 + i)), nullptr, nullptr);
  const int ids[3] = {10, 11, 12};
  EnableZeControls(panel, ids, 2, false);
  ShowZeControls(panel, ids + 1, 2, false);
  EnableZeControls(panel, ids, 0, true);
  ShowZeControls(panel, ids, -1, true);
  EXPECT_FALSE(IsWindowEnabled(items[0]));
  EXPECT_FALSE(IsWindowEnabled(items[1]));
  EXPECT_TRUE(IsWindowEnabled(items[2]));
  EXPECT_TRUE(IsWindowVisible(items[0]));
  EXPECT_FALSE(IsWindowVisible(items[1]));
  EXPECT_FALSE(IsWindowVisible(items[2]));

  HWND list = CreateWindowExW(0, L"LISTBOX", L"", WS_CHILD | WS_VISIBLE | WS_HSCROLL | WS_VSCROLL, 60, 0, 120, 100,
                              panel, nullptr, nullptr, nullptr);
  auto extent = [&] { return SendMessageW(list, LB_GETHORIZONTALEXTENT, 0, 0); };
  SetListBoxHorzScroll(list);
  EXPECT_EQ(0, extent()) << "empty";
  SendMessageW(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(L"short"));
  const std::wstring tooLong(1024, L'W');
  SendMessageW(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(tooLong.c_str()));
  SetListBoxHorzScroll(list);
  EXPECT_EQ(0, extent()) << "fits; the 1024-character item is not measured";
  const std::wstring wide(60, L'M');
  SendMessageW(list, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(wide.c_str()));
  SetListBoxHorzScroll(list);
  HDC dc = GetDC(list);
  HGDIOBJ old = SelectObject(dc, reinterpret_cast<HGDIOBJ>(SendMessageW(list, WM_GETFONT, 0, 0)));
  SIZE size = {};
  GetTextExtentPoint32W(dc, wide.c_str(), 60, &size);
  SelectObject(dc, old);
  ReleaseDC(list, dc);
  EXPECT_EQ(size.cx + 4 * GetSystemMetrics(SM_CXEDGE), extent());
  DestroyWindow(panel);

  SetWindowTransparency(top, 128);
  BYTE alpha = 0;
  DWORD how = 0;
  EXPECT_TRUE(GetLayeredWindowAttributes(top, nullptr, &alpha, &how));
  EXPECT_EQ(128, alpha);
  EXPECT_EQ(static_cast<DWORD>(LWA_ALPHA), how);
  SetWindowLongPtrW(top, GWL_EXSTYLE, GetWindowLongPtrW(top, GWL_EXSTYLE) & ~WS_EX_LAYERED);
}

TEST(FileDialog, CentredOnItsOwnerAndTheChosenFilterComesBack) {
  HWND owner = zortest::SharedTopWindow();
  zortest::TempDir dir;
  const std::wstring target = dir / L"chosen.txt";
  wchar_t file[MAX_PATH] = L"", title[MAX_PATH] = L"";
  DWORD filter = 2;
  LONG dx = 9999, dy = 9999;
  const RECT o = Frame(owner);
  const int result = zortest::DriveModal(
      [&](HWND d) {
        Sleep(200);  // the frame takes its final size after the hook
        const RECT r = Frame(d);
        dx = (r.left + r.right) / 2 - (o.left + o.right) / 2;
        dy = (r.top + r.bottom) / 2 - (o.top + o.bottom) / 2;
        HWND types = GetDlgItem(d, cmb1);
        SendMessageW(types, CB_SETCURSEL, 0, 0);
        SendMessageW(d, WM_COMMAND, MAKEWPARAM(cmb1, CBN_SELENDOK), reinterpret_cast<LPARAM>(types));
        SetDlgItemTextW(d, cmb13, target.c_str());
        SetDlgItemTextW(d, edt1, target.c_str());
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
  EXPECT_LE(std::abs(dx), 1);
  EXPECT_LE(std::abs(dy), 1);
}

}  // namespace
