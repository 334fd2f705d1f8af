// The message dialog and the progress meter as real windows, driven from a
// helper thread while the test's thread sits in the modal call.
#include "tests/support/TestSupport.h"
#include "tests/support/UiDriver.h"

#include <commctrl.h>

using zortest::ItemRect;
using zortest::ItemShown;
using zortest::ItemText;

namespace {

// What the driver saw of a message dialog.
struct Seen {
  std::wstring title, text, check, yesText, cancelText;
  bool ok = false, cancel = false, yes = false, no = false, box = false;
  HWND focus = nullptr, yesButton = nullptr, okButton = nullptr;
  HICON icon = nullptr;
  RECT message = {}, iconRect = {}, buttons[4] = {}, boxRect = {}, client = {}, frame = {};
};

Seen Look(HWND d) {
  Seen s;
  s.title = zortest::Text(d);
  s.text = ItemText(d, IDC_ZOR_MSG_TEXT);
  s.check = ItemText(d, IDC_ZOR_MSG_DONOTASK);
  s.yesText = ItemText(d, IDYES), s.cancelText = ItemText(d, IDCANCEL);
  s.ok = ItemShown(d, IDOK), s.cancel = ItemShown(d, IDCANCEL);
  s.yes = ItemShown(d, IDYES), s.no = ItemShown(d, IDNO), s.box = ItemShown(d, IDC_ZOR_MSG_DONOTASK);
  s.focus = zortest::FocusOf(GetWindowThreadProcessId(d, nullptr));
  s.yesButton = GetDlgItem(d, IDYES), s.okButton = GetDlgItem(d, IDOK);
  s.icon = reinterpret_cast<HICON>(SendDlgItemMessageW(d, IDC_ZOR_MSG_ICON, STM_GETICON, 0, 0));
  s.message = ItemRect(d, IDC_ZOR_MSG_TEXT), s.iconRect = ItemRect(d, IDC_ZOR_MSG_ICON);
  const int ids[4] = {IDOK, IDYES, IDNO, IDCANCEL};
  for (int i = 0; i < 4; ++i) s.buttons[i] = ItemRect(d, ids[i]);
  s.boxRect = ItemRect(d, IDC_ZOR_MSG_DONOTASK);
  GetClientRect(d, &s.client);
  GetWindowRect(d, &s.frame);
  return s;
}

// Shown buttons lie below the message, inside the dialog, in one row, apart.
void ExpectButtonsBelowMessage(const Seen& s) {
  const bool shown[4] = {s.ok, s.yes, s.no, s.cancel};
  const RECT* last = nullptr;
  for (int i = 0; i < 4; ++i) {
    if (!shown[i]) continue;
    const RECT& b = s.buttons[i];
    EXPECT_GE(b.top, s.message.bottom) << "button " << i;
    EXPECT_LE(b.bottom, s.client.bottom);
    EXPECT_GE(b.left, 0);
    EXPECT_LE(b.right, s.client.right);
    if (last) {
      EXPECT_GE(b.left, last->right) << "button " << i << " overlaps its neighbour";
    }
    last = &b;
  }
}

class MessageDialog : public ::testing::Test {
protected:
  void SetUp() override {
    owner = zortest::SharedTopWindow();
    zortest::WriteBytes(dir / L"msgs.ini",
                        "[Strings]\nAsk=Keep the changes?\nTitleKey=Localised title\n"
                        "Long=One\\nTwo\\nThree\\nFour\\nFive\\nSix\\nSeven\\nEight\n");
    zortest::WriteBytes(dir / L"utils.ini", "Yes=Ja\nNo=Nein\nCancel=Abbrechen\nDoNotAsk=Nicht mehr fragen\n");
    wcscpy(savedUtilities, GetUtilitiesStringFile());
    std::wstring utils = dir / L"utils.ini";
    OverrideUtilitiesStringFile(&utils[0]);
  }
  void TearDown() override { OverrideUtilitiesStringFile(savedUtilities); }
  int Show(const wchar_t* key, unsigned flags, Seen& seen, int press, int icon = 0) {
    return zortest::DriveModal(
        [&](HWND d) {
          seen = Look(d);
          if (press == IDC_ZOR_MSG_DONOTASK) {
            zortest::Press(d, IDC_ZOR_MSG_DONOTASK);
            press = IDCANCEL;
          }
          if (press) zortest::Press(d, press);
          else SendMessageW(d, WM_SYSCOMMAND, SC_CLOSE, 0);
        },
        [&] { return UT_MyMessageBox(owner, key, flags, L"Title", icon, file.c_str()); });
  }
  zortest::TempDir dir;
  std::wstring file = dir / L"msgs.ini";
  wchar_t savedUtilities[MAX_PATH];
  HWND owner = nullptr;
};

TEST_F(MessageDialog, QuestionFlagsShowYesNoFocusYesAndTheExclamationIcon) {
  Seen s;
  EXPECT_EQ(IDNO, Show(L"Ask", MB_YESNO | MB_ICONQUESTION, s, IDNO));
  EXPECT_EQ(L"Title", s.title);
  EXPECT_EQ(L"Keep the changes?", s.text);
  EXPECT_TRUE(s.yes && s.no);
  EXPECT_FALSE(s.ok || s.cancel || s.box);
  EXPECT_EQ(s.yesButton, s.focus);
  EXPECT_EQ(LoadIconW(nullptr, IDI_EXCLAMATION), s.icon);
  EXPECT_EQ(L"Ja", s.yesText);
  // A one-line message is given twice the icon's height.
  EXPECT_EQ(2 * (s.iconRect.bottom - s.iconRect.top), s.message.bottom - s.message.top);
  ExpectButtonsBelowMessage(s);
  EXPECT_EQ(0, UT_DoNotAskLastMessageAgain()) << "the hidden, unchecked box was read";
}

TEST_F(MessageDialog, DoNotAskBoxAndLocalisedCaptions) {
  Seen s;
  EXPECT_EQ(IDCANCEL, Show(L"Long", MB_OKCANCEL | MB_ICONINFORMATION | ZOR_MB_DONOTASK, s, IDC_ZOR_MSG_DONOTASK));
  EXPECT_EQ(1, UT_DoNotAskLastMessageAgain());
  EXPECT_TRUE(s.ok && s.cancel && s.box);
  EXPECT_FALSE(s.yes || s.no);
  EXPECT_EQ(s.okButton, s.focus);
  EXPECT_EQ(LoadIconW(nullptr, IDI_INFORMATION), s.icon);
  EXPECT_EQ(L"Nicht mehr fragen", s.check);
  EXPECT_EQ(L"One\nTwo\nThree\nFour\nFive\nSix\nSeven\nEight", s.text);
  // Eight lines: grown past twice the icon, the buttons and the box moved below.
  EXPECT_GT(s.message.bottom - s.message.top, 2 * (s.iconRect.bottom - s.iconRect.top));
  ExpectButtonsBelowMessage(s);
  EXPECT_GE(s.boxRect.top, s.buttons[0].bottom);
  EXPECT_LE(s.boxRect.bottom, s.client.bottom);
}

TEST_F(MessageDialog, CloseBoxReturnsCancelAndLeavesTheStateAtOne) {
  Seen s;
  EXPECT_EQ(IDCANCEL, Show(L"Ask", MB_YESNOCANCEL | ZOR_MB_DONOTASK, s, 0));
  EXPECT_EQ(1, UT_DoNotAskLastMessageAgain());
  EXPECT_TRUE(s.yes && s.no && s.cancel);
  EXPECT_FALSE(s.ok);
  EXPECT_EQ(s.yesButton, s.focus);
  EXPECT_EQ(nullptr, s.icon);
  EXPECT_EQ(L"Abbrechen", s.cancelText);
  // The box is unchecked, but a button reads it.
  EXPECT_EQ(IDYES, Show(L"Ask", MB_YESNOCANCEL | ZOR_MB_DONOTASK, s, IDYES));
  EXPECT_EQ(0, UT_DoNotAskLastMessageAgain());
}

TEST_F(MessageDialog, CustomIconsMissingKeysAndTitleKeys) {
  Seen s;
  EXPECT_EQ(IDOK, Show(L"NoSuchKey", MB_ICONSTOP, s, IDOK, IDI_ZOR_UTILITIES));
  EXPECT_EQ(L"NoSuchKey", s.text);
  EXPECT_EQ(LoadIconW(GetModuleHandleW(L"zorutils.dll"), MAKEINTRESOURCEW(IDI_ZOR_UTILITIES)), s.icon);
  EXPECT_TRUE(s.icon != nullptr);
  EXPECT_TRUE(s.ok && !s.cancel && !s.yes && !s.no);
  // An icon the library lacks shows none, and the dialog still works.
  EXPECT_EQ(IDOK, Show(L"Ask", MB_ICONSTOP, s, IDOK, 4242));
  EXPECT_EQ(nullptr, s.icon);
  const int id = zortest::DriveModal([&](HWND d) { s = Look(d); zortest::Press(d, IDOK); },
                                     [&] { return UT_MyDialog(nullptr, L"Ask", L"TitleKey", MB_ABORTRETRYIGNORE, file.c_str()); });
  EXPECT_EQ(IDOK, id);
  EXPECT_EQ(L"Localised title", s.title);
  EXPECT_TRUE(s.ok && !s.cancel);
}

TEST_F(MessageDialog, HugeMessageIsCutAndTheDialogStaysOnTheWorkArea) {
  std::wstring huge;
  for (int i = 0; huge.size() < 10000; ++i) huge += L"word" + std::to_wstring(i % 10) + L" ";
  Seen s;
  const int id = zortest::DriveModal([&](HWND d) { s = Look(d); zortest::Press(d, IDOK); },
                                     [&] { return UT_MyMessageStr(nullptr, huge.c_str(), MB_OK, nullptr, 0); });
  EXPECT_EQ(IDOK, id);
  EXPECT_EQ(huge.substr(0, 2047), s.text);
  EXPECT_EQ(L"", s.title);
  RECT work;
  SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
  EXPECT_GE(s.frame.top, work.top);
  EXPECT_LE(s.frame.bottom, work.bottom);
  ExpectButtonsBelowMessage(s);
}

TEST(ProgressMeter, CancelPressedWhileTheHostLoops) {
  HWND owner = zortest::SharedTopWindow();
  CProgressMeter meter;
  EXPECT_FALSE(meter.IsVisible());
  ASSERT_NE(0, meter.Show(owner, 500, L"Working"));
  EXPECT_TRUE(meter.IsVisible());
  EXPECT_FALSE(meter.UserAborted());
  HWND bar = GetDlgItem(meter.m_hDlg, IDC_ZOR_PROGRESS_BAR);
  EXPECT_EQ(500, SendMessageW(bar, PBM_GETRANGE, FALSE, 0));
  EXPECT_EQ(L"Working", zortest::Text(meter.m_hDlg));
  EXPECT_EQ(owner, meter.m_hOwner);
  HWND dlg = meter.m_hDlg;
  HANDLE helper = zortest::StartThread([dlg] {
    Sleep(300);
    zortest::Press(dlg, IDCANCEL);
  });
  int pos = 0;
  for (DWORD start = GetTickCount(); !meter.UserAborted() && GetTickCount() - start < 20000; Sleep(5))
    meter.SetProgress(++pos % 500);
  WaitForSingleObject(helper, INFINITE);
  CloseHandle(helper);
  EXPECT_TRUE(meter.UserAborted());
  EXPECT_EQ(pos % 500, SendMessageW(bar, PBM_GETPOS, 0, 0));
  meter.Hide();
  EXPECT_FALSE(meter.IsVisible());
  EXPECT_FALSE(IsWindow(dlg));
  // The next Show clears the shared flag.
  CProgressMeter other;
  ASSERT_NE(0, other.Show(nullptr, 10, nullptr));
  EXPECT_FALSE(meter.UserAborted());
}

}  // namespace
