// The catalogue against real files and the Wine prefix's real registry:
// loading and skipping, installed checks, refused addresses, the rotation
// over a simulated month and its state across objects.
#include "tests/catalogue/CatalogueTestSupport.h"

#include <zorutils/zorutils.h>

#include <shlobj.h>

using cattest::Product;
using cattest::WriteCatalogue;

namespace {

class Catalogue : public ::testing::Test {
protected:
  zortest::TempDir dir;
  CProductCatalogue catalogue;
  std::wstring Id(int i) const { return catalogue.GetProduct(i) ? catalogue.GetProduct(i)->id : L"<none>"; }
};

TEST_F(Catalogue, GoodEntriesAreKeptInOrderAndEachBadOneIsSkippedWithItsReason) {
  const std::wstring hostile(100000, L'x');
  const std::wstring path = WriteCatalogue(
      dir,
      L"<product id=\" first \" version=\"2.5\"><name>  Tag &amp; Rename &lt;3 </name>"
      L"<description>Line one.</description><installed kind=\"UNINSTALL\">Tagger</installed>"
      L"<download> https://example.com/get </download><info>http://example.com/about?a=1&amp;b=2</info>"
      L"<icon>{Exe}\\tagger.ico</icon></product>\n" +
          Product(L"", L"") +                                                   // 2 no id
          L"<product id=\"noname\"><installed kind=\"file\">x</installed><download>https://e.com/</download></product>\n" +
          Product(L"nocheck", L"", L"") +                                       // 4
          Product(L"oddkind", L"", L"<installed kind=\"guess\">x</installed>") +  // 5
          L"<product id=\"nodl\"><name>n</name><installed kind=\"file\">x</installed></product>\n" +
          L"<product id=\"ftp\"><name>n</name><installed kind=\"file\">x</installed><download>ftp://e.com/f</download></product>\n" +
          L"<product id=\"js\"><name>n</name><installed kind=\"file\">x</installed><download>javascript:alert(1)</download></product>\n" +
          Product(L"FIRST") +                                                   // 9 duplicate, other case
          Product(L"bad\\id") + Product(std::wstring(64, L'i')) +               // 10, 11
          L"<product id=\"hostile\"><name>" + hostile + L"</name><installed kind=\"apppath\">hostile.exe</installed>"
          L"<download>https://e.com/</download><info>file:///C:/Windows/notepad.exe</info></product>\n" +  // 12 cut
          Product(std::wstring(63, L'i')));                                     // 13 kept: the longest id
  zortest::LogCapture log;
  ASSERT_TRUE(catalogue.Load(path.c_str(), nullptr));
  ASSERT_EQ(3, catalogue.GetCount());
  const TCatalogueProduct* p = catalogue.GetProduct(0);
  EXPECT_EQ(L"first", std::wstring(p->id));
  EXPECT_EQ(L"Tag & Rename <3", std::wstring(p->name));
  EXPECT_EQ(L"Line one.", std::wstring(p->description));
  EXPECT_EQ(L"2.5", std::wstring(p->version));
  EXPECT_EQ(kInstallUninstallKey, p->installCheck);
  EXPECT_EQ(L"Tagger", std::wstring(p->installTarget));
  EXPECT_EQ(L"https://example.com/get", std::wstring(p->downloadAddress));
  EXPECT_EQ(L"http://example.com/about?a=1&b=2", std::wstring(p->infoAddress));
  EXPECT_EQ(L"{Exe}\\tagger.ico", std::wstring(p->iconFile));
  p = catalogue.GetProduct(1);
  EXPECT_EQ(L"hostile", std::wstring(p->id));
  EXPECT_EQ(std::wstring(kCatalogueNameChars - 1, L'x'), std::wstring(p->name));
  EXPECT_EQ(kInstallAppPath, p->installCheck);
  EXPECT_EQ(L"", std::wstring(p->infoAddress));
  EXPECT_EQ(L"", std::wstring(p->description));
  EXPECT_EQ(std::wstring(63, L'i'), Id(2));

  const wchar_t* reasons[] = {L"2 skipped, no id", L"3 skipped, no name", L"4 skipped, no installed check of a known kind",
                              L"5 skipped, no installed check of a known kind", L"6 skipped, no download address",
                              L"7 skipped, download address is not a web address",
                              L"8 skipped, download address is not a web address", L"9 skipped, duplicate id",
                              L"10 skipped, id with characters other than letters, digits, '.', '-' and '_'",
                              L"11 skipped, id too long"};
  for (const wchar_t* r : reasons) EXPECT_TRUE(log.Contains(std::wstring(L"CProductCatalogue::Load: product ") + r)) << zortest::Escape(r);
  EXPECT_TRUE(log.Contains(L"CProductCatalogue::Load: hostile: information address dropped, not a web address"));
  EXPECT_TRUE(log.Contains(L"CProductCatalogue::Load: 3 products read, 10 skipped"));

  EXPECT_EQ(0, catalogue.FindById(L"FiRsT"));
  EXPECT_EQ(-1, catalogue.FindById(L"firs"));
  EXPECT_EQ(-1, catalogue.FindById(nullptr));
  EXPECT_EQ(nullptr, catalogue.GetProduct(3));
  EXPECT_EQ(nullptr, catalogue.GetProduct(-1));
}

TEST_F(Catalogue, UnreadableFilesFailWithTheirLogLineAndLeaveTheCatalogueEmpty) {
  const std::wstring good = WriteCatalogue(dir, Product(L"a") + Product(L"b"));
  const std::wstring empty = dir / L"empty.xml", plain = dir / L"plain.xml";
  zortest::WriteBytes(empty, "");
  zortest::WriteBytes(plain, "<products><product id=\"a\"/></products>");
  const struct { std::wstring path; std::wstring line; } cases[] = {
      {L"", L"CProductCatalogue::Load: departing, no file name"},
      {dir / L"missing.xml", L"CProductCatalogue::Load: departing, cannot read " + dir / L"missing.xml"},
      {empty, L"CProductCatalogue::Load: departing, cannot read " + empty},
      {plain, L"CProductCatalogue::Load: departing, no catalogue element in " + plain},
  };
  for (const auto& c : cases) {
    ASSERT_TRUE(catalogue.Load(good.c_str(), nullptr));
    ASSERT_EQ(2, catalogue.GetCount());
    zortest::LogCapture log;
    EXPECT_FALSE(catalogue.Load(c.path.c_str(), nullptr));
    EXPECT_TRUE(log.Contains(c.line)) << zortest::Escape(c.line);
    EXPECT_EQ(0, catalogue.GetCount());
  }
  EXPECT_FALSE(catalogue.Load(nullptr, nullptr));
  // A catalogue without products is a catalogue; a second load replaces.
  EXPECT_TRUE(catalogue.Load(WriteCatalogue(dir, L"").c_str(), nullptr));
  EXPECT_EQ(0, catalogue.GetCount());
  EXPECT_EQ(-1, catalogue.NextToAdvertise(0, 1000));
}

TEST_F(Catalogue, TenThousandProductsLoadAndAreFoundAndRotated) {
  const int count = zortest::HeapChecked() ? 2000 : 10000;
  std::wstring products;
  for (int i = 0; i < count; ++i) products += Product(L"p" + std::to_wstring(i));
  ASSERT_TRUE(catalogue.Load(WriteCatalogue(dir, products + Product(L"P0")).c_str(), nullptr));
  ASSERT_EQ(count, catalogue.GetCount());
  EXPECT_EQ(count - 1, catalogue.FindById((L"p" + std::to_wstring(count - 1)).c_str()));
  EXPECT_EQ(0, catalogue.NextToAdvertise(7, 1000));
}

TEST_F(Catalogue, NamesAndDescriptionsComeFromTheStringFileWhenItKnowsTheirKeys) {
  const std::wstring strings = dir / L"strings.ini";
  zortest::WriteBytes(strings, "WaveName=Wellen-Editor\nWaveText=Schneidet\\nund blendet.\n");
  ASSERT_TRUE(catalogue.Load(
      WriteCatalogue(dir, L"<product id=\"w\"><name key=\"WaveName\">Wave Editor</name>"
                          L"<description key=\"NoSuchKey\">Edits sound.</description>"
                          L"<installed kind=\"file\">x</installed><download>https://e.com/</download></product>"
                          L"<product id=\"v\"><name key=\"WaveText\">Wave</name>"
                          L"<installed kind=\"file\">x</installed><download>https://e.com/</download></product>")
          .c_str(),
      strings.c_str()));
  EXPECT_EQ(L"Wellen-Editor", std::wstring(catalogue.GetProduct(0)->name));
  EXPECT_EQ(L"Edits sound.", std::wstring(catalogue.GetProduct(0)->description));
  EXPECT_EQ(L"Schneidet\nund blendet.", std::wstring(catalogue.GetProduct(1)->name));
}

TEST_F(Catalogue, InstalledIsAskedLiveOfUninstallKeysAppPathsAndFiles) {
  const std::wstring uninstall = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\zortest catalogue";
  const std::wstring appPaths = L"Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\";
  const std::wstring program = dir / L"program.exe";
  RegDeleteTreeW(HKEY_CURRENT_USER, uninstall.c_str());
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, (appPaths + L"zortest-a.exe").c_str());
  RegDeleteTreeW(HKEY_CURRENT_USER, (appPaths + L"zortest-b.exe").c_str());
  const std::wstring folder = dir.path().substr(dir.path().find_last_of(L'\\') + 1);
  wchar_t temp[MAX_PATH];
  GetTempPathW(MAX_PATH, temp);
  ASSERT_TRUE(catalogue.Load(
      WriteCatalogue(dir, Product(L"u", L"", L"<installed kind=\"uninstall\">zortest catalogue</installed>") +
                              Product(L"a", L"", L"<installed kind=\"apppath\">zortest-a.exe</installed>") +
                              Product(L"b", L"", L"<installed kind=\"apppath\">zortest-b.exe</installed>") +
                              Product(L"f", L"", L"<installed kind=\"file\">" + program + L"</installed>") +
                              Product(L"e", L"", L"<installed kind=\"file\">{exe}\\catalogue_tests.exe</installed>") +
                              Product(L"t", L"", L"<installed kind=\"file\">{Nope}\\catalogue_tests.exe</installed>"))
          .c_str(),
      nullptr));
  ASSERT_EQ(6, catalogue.GetCount());
  auto installed = [&] {
    std::wstring s;
    for (int i = 0; i < catalogue.GetCount(); ++i) s += catalogue.IsInstalled(i) ? L'Y' : L'-';
    return s;
  };
  EXPECT_EQ(L"----Y-", installed());
  EXPECT_FALSE(catalogue.IsInstalled(6));

  HKEY key = nullptr;
  ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_CURRENT_USER, uninstall.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr));
  RegCloseKey(key);
  // App Paths: a key naming a program that is not there does not count, a
  // key naming nothing does.
  const std::wstring quoted = L"\"" + program + L"\"";
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(HKEY_LOCAL_MACHINE, (appPaths + L"zortest-a.exe").c_str(), nullptr, REG_SZ,
                                           quoted.c_str(), DWORD(quoted.size() * 2 + 2)));
  ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExW(HKEY_CURRENT_USER, (appPaths + L"zortest-b.exe").c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr));
  RegCloseKey(key);
  EXPECT_EQ(L"Y-Y-Y-", installed());
  zortest::WriteBytes(program, "MZ");
  EXPECT_EQ(L"YYYYY-", installed());

  RegDeleteTreeW(HKEY_CURRENT_USER, uninstall.c_str());
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, (appPaths + L"zortest-a.exe").c_str());
  RegDeleteTreeW(HKEY_CURRENT_USER, (appPaths + L"zortest-b.exe").c_str());
  DeleteFileW(program.c_str());
  EXPECT_EQ(L"----Y-", installed());
}

TEST(CatalogueTokens, FolderTokensExpandToTheirFoldersAndRefuseWhatDoesNotFit) {
  wchar_t programFiles[MAX_PATH], out[MAX_PATH];
  ASSERT_TRUE(GetSpecialFolderPath(programFiles, MAX_PATH, CSIDL_PROGRAM_FILES, false));
  ASSERT_TRUE(ExpandFolderTokens(L"{programfiles}\\Zor\\{Exe}.txt", out, MAX_PATH));
  EXPECT_EQ(std::wstring(programFiles) + L"\\Zor\\" + zortest::ExeDir() + L".txt", out);
  const std::wstring exact = L"{Exe}" + std::wstring(MAX_PATH - 1 - zortest::ExeDir().size(), L'y');
  EXPECT_TRUE(ExpandFolderTokens(exact.c_str(), out, MAX_PATH));
  EXPECT_EQ(size_t(MAX_PATH - 1), wcslen(out));
  const std::wstring bad[] = {exact + L"y", L"{Exe", L"{Nope}\\x", L"{" + std::wstring(40, L'a') + L"}"};
  for (const std::wstring& b : bad) {
    wcscpy(out, L"junk");
    EXPECT_FALSE(ExpandFolderTokens(b.c_str(), out, MAX_PATH)) << zortest::Escape(b);
    EXPECT_EQ(L"", std::wstring(out));
  }
  EXPECT_FALSE(ExpandFolderTokens(nullptr, out, MAX_PATH));
  EXPECT_FALSE(ExpandFolderTokens(L"x", out, 0));
  EXPECT_TRUE(ExpandFolderTokens(L"", out, 1));
}

TEST_F(Catalogue, OnlyWebAddressesReachTheBrowser) {
  const wchar_t* good[] = {L"http://a", L"HTTPS://example.com/x?y=1&z=%20#top", L"http://127.0.0.1:8080/"};
  const wchar_t* bad[] = {L"", L"http://", L"https:///x", L"file:///C:/x.exe", L"C:\\Windows\\notepad.exe",
                          L"javascript:alert(1)", L"mailto:a@b.c", L"http ://a", L"http://a b",
                          L"http://a\"b", L"http://a\nb", L"ftp://a", L"\\\\server\\share", L"xhttp://a"};
  cattest::RecordingLauncher launcher;
  for (const wchar_t* a : good) {
    EXPECT_TRUE(IsWebAddress(a)) << zortest::Escape(a);
    EXPECT_TRUE(OpenWebAddress(a, nullptr));
  }
  zortest::LogCapture log;
  for (const wchar_t* a : bad) {
    EXPECT_FALSE(IsWebAddress(a)) << zortest::Escape(a);
    EXPECT_FALSE(OpenWebAddress(a, nullptr));
  }
  EXPECT_FALSE(OpenWebAddress(nullptr, nullptr));
  EXPECT_TRUE(log.Contains(L"OpenWebAddress: refused, not a web address"));
  EXPECT_EQ((std::vector<std::wstring>{good[0], good[1], good[2]}), cattest::Launched());

  ASSERT_TRUE(catalogue.Load(WriteCatalogue(dir, Product(L"a", L"<info>https://e.com/a</info>") + Product(L"b")).c_str(), nullptr));
  cattest::Launched().clear();
  EXPECT_TRUE(catalogue.OpenDownload(0, nullptr));
  EXPECT_TRUE(catalogue.OpenInformation(0, nullptr));
  EXPECT_FALSE(catalogue.OpenInformation(1, nullptr)) << "no information address";
  EXPECT_FALSE(catalogue.OpenDownload(2, nullptr));
  EXPECT_EQ((std::vector<std::wstring>{L"https://example.com/a/get", L"https://e.com/a"}), cattest::Launched());
}

TEST_F(Catalogue, RotationOverAMonthTakesTurnsAndHonoursGapsSuppressionAndInstalls) {
  cattest::StateKey state(L"month");
  const std::wstring marker = dir / L"c-installed.exe";
  ASSERT_TRUE(catalogue.Load(
      WriteCatalogue(dir, Product(L"i", L"", L"<installed kind=\"file\">{Exe}\\catalogue_tests.exe</installed>") +
                              Product(L"b") +
                              Product(L"c", L"", L"<installed kind=\"file\">" + marker + L"</installed>") +
                              Product(L"d") + Product(L"e"))
          .c_str(),
      nullptr));
  catalogue.SetStateKey(HKEY_CURRENT_USER, state.key.c_str());
  ASSERT_TRUE(catalogue.SetSuppressed(catalogue.FindById(L"d"), true));
  const unsigned long first = 150000;
  std::wstring picks;
  for (unsigned long day = first; day < first + 30; ++day) {
    if (day == first + 10) catalogue.SetSuppressed(catalogue.FindById(L"d"), false);
    if (day == first + 20) zortest::WriteBytes(marker, "MZ");
    const int pick = catalogue.NextToAdvertise(4, day);
    picks += pick < 0 ? L'-' : catalogue.GetProduct(pick)->id[0];
    if (pick >= 0) {
      ASSERT_TRUE(catalogue.MarkShown(pick, day));
    }
  }
  // Four days apart: three products fill three days of each four; d, set
  // free on day 10, goes first as the one never shown and then takes its
  // turn; c stops once installed, which leaves a gap again.
  EXPECT_EQ(L"bce-bce-bcdebcdebcdeb-deb-deb-", picks);
  EXPECT_EQ(first + 28, catalogue.LastShownDay(catalogue.FindById(L"b")));
  EXPECT_EQ(0ul, catalogue.LastShownDay(catalogue.FindById(L"i")));
  EXPECT_EQ(catalogue.FindById(L"d"), catalogue.NextToAdvertise(0, first + 29)) << "no gap: longest ago";
  EXPECT_EQ(catalogue.FindById(L"d"), catalogue.NextToAdvertise(-5, first + 29));
}

TEST_F(Catalogue, SuppressionAndLastShownSurviveARestartUnderTheHostsKeyOnly) {
  cattest::StateKey state(L"restart");
  const std::wstring path = WriteCatalogue(dir, Product(L"a") + Product(L"b"));
  ASSERT_TRUE(catalogue.Load(path.c_str(), nullptr));
  EXPECT_FALSE(catalogue.SetSuppressed(0, true)) << "no state key";
  EXPECT_FALSE(catalogue.IsSuppressed(0));
  EXPECT_FALSE(catalogue.MarkShown(1, 5));
  catalogue.SetStateKey(HKEY_CURRENT_USER, state.key.c_str());
  EXPECT_FALSE(catalogue.IsSuppressed(0));
  EXPECT_EQ(0ul, catalogue.LastShownDay(1));
  EXPECT_TRUE(catalogue.SetSuppressed(0, true));
  EXPECT_TRUE(catalogue.MarkShown(1, 12345));
  EXPECT_FALSE(catalogue.SetSuppressed(2, true));

  CProductCatalogue restarted;
  ASSERT_TRUE(restarted.Load(path.c_str(), nullptr));
  restarted.SetStateKey(HKEY_CURRENT_USER, state.key.c_str());
  EXPECT_TRUE(restarted.IsSuppressed(0));
  EXPECT_FALSE(restarted.IsSuppressed(1));
  EXPECT_EQ(12345ul, restarted.LastShownDay(1));
  EXPECT_EQ(1, restarted.NextToAdvertise(3, 12348));
  EXPECT_EQ(-1, restarted.NextToAdvertise(3, 12347));
  DWORD value = 0, bytes = sizeof value;
  EXPECT_EQ(ERROR_SUCCESS, RegGetValueW(HKEY_CURRENT_USER, state.key.c_str(), L"a.DoNotShow", RRF_RT_REG_DWORD,
                                        nullptr, &value, &bytes));
  EXPECT_EQ(1u, value);
  restarted.SetStateKey(HKEY_CURRENT_USER, (state.key + L"\\other").c_str());
  EXPECT_FALSE(restarted.IsSuppressed(0));
  restarted.SetStateKey(HKEY_CURRENT_USER, nullptr);
  EXPECT_FALSE(restarted.IsSuppressed(0));
  EXPECT_TRUE(catalogue.SetSuppressed(0, false));
  restarted.SetStateKey(HKEY_CURRENT_USER, state.key.c_str());
  EXPECT_FALSE(restarted.IsSuppressed(0));
}

}  // namespace
