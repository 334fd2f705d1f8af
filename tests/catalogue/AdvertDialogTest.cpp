// The advertisement dialog as a real window under Xvfb, driven from a helper
// thread while the test's thread sits in UT_ShowProductAdvert.
#include "tests/catalogue/CatalogueTestSupport.h"
#include "tests/support/UiDriver.h"

using zortest::ItemText;

namespace {

struct Seen {
  std::wstring title, texts;  // name|description|link|download|close|box
  bool linkShown = false, checked = false;
  int focus = 0;
  HICON icon = nullptr;
};

class AdvertDialog : public ::testing::Test {
protected:
  void SetUp() override {
    zortest::WriteBytes(dir / L"u.ini", "Download=Holen\nClose=Zu\nReadMore=Mehr lesen\nDoNotShowAgain=Nie wieder\n");
    wcscpy(savedUtilities, GetUtilitiesStringFile());
    std::wstring utilities = dir / L"u.ini";
    OverrideUtilitiesStringFile(&utilities[0]);
    ASSERT_TRUE(catalogue.Load(cattest::WriteCatalogue(dir, L"<product id=\"wave\"><name>Wave &amp; Co</name><description>"
                                                          L"Edits sound.\nFast.</description><installed kind=\"file\">x</installed>"
                                                          L"<download>https://e.com/get</download><info>https://e.com/</info>"
                                                          L"<icon>{Exe}\\none.ico</icon></product>" + cattest::Product(L"bare")).c_str(), nullptr));
    catalogue.SetStateKey(HKEY_CURRENT_USER, state.key.c_str());
  }
  void TearDown() override { OverrideUtilitiesStringFile(savedUtilities); }
  // Shows product `index`; the driver looks, clicks the link when `link`,
  // toggles the box when `toggle`, then presses `press` (0: the close box).
  int Show(int index, int press, bool toggle, bool link = false) {
    return zortest::DriveModal(
        [&](HWND d) {
          seen.title = zortest::Text(d), seen.texts.clear();
          for (int id : {IDC_ZOR_ADVERT_NAME, IDC_ZOR_ADVERT_TEXT, IDC_ZOR_ADVERT_LINK, IDOK, IDCANCEL, IDC_ZOR_ADVERT_DONOTSHOW})
            seen.texts += ItemText(d, id) + (id == IDC_ZOR_ADVERT_DONOTSHOW ? L"" : L"|");
          seen.linkShown = zortest::ItemShown(d, IDC_ZOR_ADVERT_LINK);
          seen.focus = GetDlgCtrlID(zortest::FocusOf(GetWindowThreadProcessId(d, nullptr)));
          seen.checked = SendDlgItemMessageW(d, IDC_ZOR_ADVERT_DONOTSHOW, BM_GETCHECK, 0, 0) == BST_CHECKED;
          seen.icon = reinterpret_cast<HICON>(SendDlgItemMessageW(d, IDC_ZOR_ADVERT_ICON, STM_GETICON, 0, 0));
          if (link)
            PostMessageW(d, WM_COMMAND, MAKEWPARAM(IDC_ZOR_ADVERT_LINK, STN_CLICKED),
                         reinterpret_cast<LPARAM>(GetDlgItem(d, IDC_ZOR_ADVERT_LINK)));
          if (toggle) zortest::Press(d, IDC_ZOR_ADVERT_DONOTSHOW);
          if (press) zortest::Press(d, press);
          else PostMessageW(d, WM_SYSCOMMAND, SC_CLOSE, 0);
        },
        [&] { return UT_ShowProductAdvert(zortest::SharedTopWindow(), catalogue, index); });
  }
  zortest::TempDir dir;
  cattest::StateKey state{L"advert"};
  cattest::RecordingLauncher launcher;
  CProductCatalogue catalogue;
  wchar_t savedUtilities[MAX_PATH];
  Seen seen;
};

TEST_F(AdvertDialog, ShowsTheProductAndKeepsTheBoxHoweverItIsLeft) {
  // The link opens the information address and leaves the dialog open; the
  // ticked box is kept through Close.
  EXPECT_EQ(ZOR_ADVERT_CLOSE, Show(0, IDCANCEL, true, true));
  EXPECT_EQ(L"Wave & Co", seen.title);
  EXPECT_EQ(L"Wave & Co|Edits sound.\nFast.|Mehr lesen|Holen|Zu|Nie wieder", seen.texts);
  EXPECT_TRUE(seen.linkShown && !seen.checked && seen.focus == IDOK);
  EXPECT_EQ(LoadIconW(GetModuleHandleW(L"zorutils.dll"), MAKEINTRESOURCEW(IDI_ZOR_UTILITIES)), seen.icon)
      << "a missing icon file gives the library's own";
  EXPECT_EQ(std::vector<std::wstring>{L"https://e.com/"}, cattest::g_launched);
  EXPECT_TRUE(catalogue.IsSuppressed(0));

  // Shown ticked now; unticked and Download: the download address opens.
  cattest::g_launched.clear();
  EXPECT_EQ(ZOR_ADVERT_DOWNLOAD, Show(0, IDOK, true));
  EXPECT_TRUE(seen.checked);
  EXPECT_FALSE(catalogue.IsSuppressed(0));
  EXPECT_EQ(std::vector<std::wstring>{L"https://e.com/get"}, cattest::g_launched);

  // The close box answers Close and still keeps the box.
  cattest::g_launched.clear();
  EXPECT_EQ(ZOR_ADVERT_CLOSE, Show(1, 0, true));
  EXPECT_FALSE(seen.linkShown) << "no information address, no link";
  EXPECT_EQ(L"Name bare", seen.title);
  EXPECT_TRUE(catalogue.IsSuppressed(1));
  EXPECT_TRUE(cattest::g_launched.empty());

  EXPECT_EQ(-2, UT_ShowProductAdvert(zortest::SharedTopWindow(), catalogue, 2) +
                    UT_ShowProductAdvert(zortest::SharedTopWindow(), catalogue, -1));
}

}  // namespace
