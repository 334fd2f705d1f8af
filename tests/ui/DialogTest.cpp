// The message dialog and the progress meter as real windows, driven from a
// helper thread while the test's thread sits in the modal call.
#include "tests/support/TestSupport.h"
#include "tests/support/UiDriver.h"

#include <commctrl.h>

#include <cstdlib>
#include <functional>

using zortest::ItemRect;
using zortest::ItemText;

namespace {

// What the driver saw of a message dialog.
struct Seen {
  std::wstring title, text, shown, captions;  // shown: O, Y, N, C, B (box) or '-' each
  int focus = 0;
  HICON icon = nullptr;
  RECT message = {}, icon_ = {}, box = {}, client = {}, frame = {}, buttons[4] = {};
};
const int kButtonIds[4] = {IDOK, IDYES, IDNO, IDCANCEL};

Seen Look(HWND d) {
  Seen s;
  s.title = zortest::Text(d), s.text = ItemText(d, IDC_ZOR_MSG_TEXT);
  const int ids[5] = {IDOK, IDYES, IDNO, IDCANCEL, IDC_ZOR_MSG_DONOTASK};
  for (int i = 0; i < 5; ++i) s.shown += zortest::ItemShown(d, ids[i]) ? L"OYNCB"[i] : L'-';
  for (int i = 1; i < 5; ++i) s.captions += ItemText(d, ids[i]) + (i < 4 ? L"|" : L"");
  s.focus = GetDlgCtrlID(zortest::FocusOf(GetWindowThreadProcessId(d, nullptr)));
  s.icon = reinterpret_cast<HICON>(SendDlgItemMessageW(d, IDC_ZOR_MSG_ICON, STM_GETICON, 0, 0));
  s.message = ItemRect(d, IDC_ZOR_MSG_TEXT), s.icon_ = ItemRect(d, IDC_ZOR_MSG_ICON);
  s.box = ItemRect(d, IDC_ZOR_MSG_DONOTASK);
  for (int i = 0; i < 4; ++i) s.buttons[i] = ItemRect(d, kButtonIds[i]);
  GetClientRect(d, &s.client), GetWindowRect(d, &s.frame);
  return s;
}

// Shown buttons lie in one row below the message, inside the dialog, apart;
// a shown box lies below them.
void ExpectLaidOut(const Seen& s) {
  const RECT* last = nullptr;
  for (int i = 0; i < 4; ++i) {
    if (s.shown[i] == L'-') continue;
    const RECT& b = s.buttons[i];
    EXPECT_TRUE(b.top >= s.message.bottom && b.left >= 0 && b.right <= s.client.right &&
                b.bottom <= s.client.bottom && (!last || (b.left >= last->right && b.top == last->top)))
        << "button " << i;
    EXPECT_TRUE(s.shown[4] != L'B' || (s.box.top >= b.bottom && s.box.bottom <= s.client.bottom));
    last = &b;
  }
}

class MessageDialog : public ::testing::Test {
protected:
  void SetUp() override {
    zortest::WriteBytes(file, "[Strings]\nAsk=Keep the changes?\nTitleKey=Localised title\n"
                              "Long=One\\nTwo\\nThree\\nFour\\nFive\\nSix\\nSeven\\nEight\n");
    zortest::WriteBytes(dir / L"u.ini", "Yes=Ja\nNo=Nein\nCancel=Abbrechen\nDoNotAsk=Nicht mehr fragen\n");
    wcscpy(savedUtilities, GetUtilitiesStringFile());
    std::wstring utils = dir / L"u.ini";
    OverrideUtilitiesStringFile(&utils[0]);
  }
  void TearDown() override { OverrideUtilitiesStringFile(savedUtilities); }
  // Runs `modal`; the driver looks, checks the box when `check`, then presses
  // `press` (0: the close box).
  int Drive(const std::function<int()>& modal, int press, bool check = false) {
    return zortest::DriveModal(
        [&](HWND d) {
          seen = Look(d);
          if (check) zortest::Press(d, IDC_ZOR_MSG_DONOTASK);
          if (press) zortest::Press(d, press);
          else SendMessageW(d, WM_SYSCOMMAND, SC_CLOSE, 0);
        },
        modal);
  }
  int Show(const wchar_t* key, unsigned flags, int press, bool check = false, int icon = 0) {
    return Drive([&] { return UT_MyMessageBox(zortest::SharedTopWindow(), key, flags, L"Title", icon, file.c_str()); },
                 press, check);
  }
  zortest::TempDir dir;
  std::wstring file = dir / L"msgs.ini";
  wchar_t savedUtilities[MAX_PATH];
  Seen seen;
};

TEST_F(MessageDialog, QuestionFlagsShowYesNoFocusYesAndTheExclamationIcon) {
  EXPECT_EQ(IDNO, Show(L"Ask", MB_YESNO | MB_ICONQUESTION, IDNO));
  EXPECT_EQ(L"Title", seen.title);
  EXPECT_EQ(L"Keep the changes?", seen.text);
  EXPECT_EQ(L"-YN--", seen.shown);
  EXPECT_EQ(L"Ja|Nein|Abbrechen|Nicht mehr fragen", seen.captions);
  EXPECT_EQ(IDYES, seen.focus);
  EXPECT_EQ(LoadIconW(nullptr, IDI_EXCLAMATION), seen.icon);
  EXPECT_EQ(2 * (seen.icon_.bottom - seen.icon_.top), seen.message.bottom - seen.message.top) << "one line: twice the icon";
  ExpectLaidOut(seen);
  EXPECT_EQ(0, UT_DoNotAskLastMessageAgain()) << "the hidden, unchecked box was read";
}

TEST_F(MessageDialog, TheDoNotAskBoxIsReadByButtonsButNotByTheCloseBox) {
  EXPECT_EQ(IDCANCEL, Show(L"Long", MB_OKCANCEL | MB_ICONINFORMATION | ZOR_MB_DONOTASK, IDCANCEL, true));
  EXPECT_EQ(1, UT_DoNotAskLastMessageAgain());
  EXPECT_EQ(L"O--CB", seen.shown);
  EXPECT_EQ(IDOK, seen.focus);
  EXPECT_EQ(LoadIconW(nullptr, IDI_INFORMATION), seen.icon);
  EXPECT_EQ(L"One\nTwo\nThree\nFour\nFive\nSix\nSeven\nEight", seen.text);
  EXPECT_GT(seen.message.bottom - seen.message.top, 2 * (seen.icon_.bottom - seen.icon_.top));
  ExpectLaidOut(seen);
  const RECT shortFrame = seen.frame;
  EXPECT_EQ(IDYES, Show(L"Ask", MB_YESNOCANCEL | ZOR_MB_DONOTASK, IDYES));
  EXPECT_EQ(0, UT_DoNotAskLastMessageAgain());
  EXPECT_EQ(L"-YNCB", seen.shown);
  EXPECT_EQ(IDYES, seen.focus);
  EXPECT_EQ(nullptr, seen.icon);
  ExpectLaidOut(seen);
  EXPECT_GT(shortFrame.bottom - shortFrame.top, seen.frame.bottom - seen.frame.top);
  // The close box answers Cancel without reading the box: the state stays 1.
  EXPECT_EQ(IDCANCEL, Show(L"Ask", MB_OK | ZOR_MB_DONOTASK, 0));
  EXPECT_EQ(1, UT_DoNotAskLastMessageAgain());
  EXPECT_EQ(L"O---B", seen.shown);
}

TEST_F(MessageDialog, CustomIconsMissingKeysTitleKeysAndHugeTexts) {
  EXPECT_EQ(IDOK, Show(L"NoSuchKey", MB_ICONSTOP, IDOK, false, IDI_ZOR_UTILITIES));
  EXPECT_EQ(L"NoSuchKey", seen.text);
  EXPECT_TRUE(seen.icon && seen.icon == LoadIconW(GetModuleHandleW(L"zorutils.dll"), MAKEINTRESOURCEW(IDI_ZOR_UTILITIES)));
  EXPECT_EQ(IDOK, Show(L"Ask", MB_ICONSTOP, IDOK, false, 4242));
  EXPECT_EQ(nullptr, seen.icon) << "an icon the library lacks shows none";
  EXPECT_EQ(IDOK, Drive([&] { return UT_MyDialog(nullptr, L"Ask", L"TitleKey", MB_ABORTRETRYIGNORE, file.c_str()); }, IDOK));
  EXPECT_EQ(L"Localised title", seen.title);
  EXPECT_EQ(L"O----", seen.shown);
  // 10,000 characters: cut to 2047, and the grown dialog stays on the work area.
  std::wstring huge;
  while (huge.size() < 10000) huge += L"word" + std::to_wstring(huge.size() % 7) + L" ";
  EXPECT_EQ(IDOK, Drive([&] { return UT_MyMessageStr(nullptr, huge.c_str(), 0, nullptr, 0); }, IDOK));
  EXPECT_EQ(huge.substr(0, 2047), seen.text);
  EXPECT_EQ(L"", seen.title);
  RECT work;
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  EXPECT_TRUE(seen.frame.top >= work.top && seen.frame.bottom <= work.bottom);
  ExpectLaidOut(seen);
}

TEST(ProgressMeter, CancelPressedWhileTheHostLoops) {
  HWND owner = zortest::SharedTopWindow();
  CProgressMeter meter;
  ASSERT_TRUE(!meter.IsVisible() && meter.Show(owner, 500, L"Working"));
  EXPECT_TRUE(meter.IsVisible() && !meter.UserAborted() && meter.m_hOwner == owner);
  HWND dlg = meter.m_hDlg, bar = GetDlgItem(dlg, IDC_ZOR_PROGRESS_BAR);
  EXPECT_EQ(500, SendMessageW(bar, PBM_GETRANGE, FALSE, 0));
  EXPECT_EQ(L"Working", zortest::Text(dlg));
  RECT d, o;
  GetWindowRect(dlg, &d), GetWindowRect(owner, &o);
  EXPECT_LE(std::abs((d.left + d.right) - (o.left + o.right)) + std::abs((d.top + d.bottom) - (o.top + o.bottom)), 2);
  PostQuitMessage(7);
  meter.SetProgress(1);
  MSG quit;
  EXPECT_TRUE(PeekMessageW(&quit, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE) && quit.wParam == 7) << "kept for the host";
  HANDLE helper = zortest::StartThread([dlg] { Sleep(300), zortest::Press(dlg, IDCANCEL); });
  int pos = 0;
  for (DWORD start = GetTickCount(); !meter.UserAborted() && GetTickCount() - start < 10000; Sleep(5))
    meter.SetProgress(++pos % 500);
  WaitForSingleObject(helper, INFINITE);
  CloseHandle(helper);
  EXPECT_TRUE(meter.UserAborted());
  EXPECT_EQ(pos % 500, SendMessageW(bar, PBM_GETPOS, 0, 0));
  meter.Hide();
  EXPECT_FALSE(meter.IsVisible() || IsWindow(dlg));
  CProgressMeter other;
  ASSERT_NE(0, other.Show(nullptr, 10, nullptr));
  EXPECT_FALSE(meter.UserAborted()) << "the next Show clears the shared flag";
}

}  // namespace
