// The catalogue against real files and the Wine prefix's real registry.
#include "tests/catalogue/CatalogueTestSupport.h"

#include <shlobj.h>

using cattest::Product;

namespace {

class Catalogue : public ::testing::Test {
protected:
  bool Load(const std::wstring& products, const wchar_t* strings = nullptr) {
    return catalogue.Load(cattest::WriteCatalogue(dir, products).c_str(), strings);
  }
  std::wstring Fields(int i) const {
    const TCatalogueProduct* p = catalogue.GetProduct(i);
    return std::wstring(p->id) + L"|" + p->name + L"|" + p->description + L"|" + p->version + L"|" +
           std::to_wstring(p->installCheck) + L"|" + p->installTarget + L"|" + p->downloadAddress + L"|" +
           p->infoAddress + L"|" + p->iconFile;
  }
  std::wstring Installed() const {
    std::wstring s;
    for (int i = 0; i <= catalogue.GetCount(); ++i) s += catalogue.IsInstalled(i) ? L'Y' : L'-';
    return s;
  }
  zortest::TempDir dir;
  CProductCatalogue catalogue;
};

TEST_F(Catalogue, GoodEntriesAreKeptAndEachBadOneIsSkippedWithItsReason) {
  const std::wstring i63 = L"A.-_9" + std::wstring(58, L'i'), x(100000, L'x');
  const std::wstring strings = dir / L"s.ini";
  zortest::WriteBytes(strings, "TagName=Etiketten\\nund Namen\n");
  zortest::LogCapture log;
  ASSERT_TRUE(Load(
      L"<product id=\" first \" version=\"2.5\"><name key=\"TagName\">Tag</name><description key=\"None\"> Tag &amp; "
      L"&lt;3 </description><installed kind=\"UNINSTALL\">Tagger</installed><download> https://e.com/get </download>"
      L"<info>http://e.com/?a=1&amp;b=2</info><icon>{Exe}\\t.ico</icon></product>\n" +
          Product(L"") + L"<product id=\"noname\"><installed kind=\"file\">x</installed><download>https://e.com/</download></product>" +
          Product(L"nocheck", L"", L"") + Product(L"odd", L"", L"<installed kind=\"guess\">x</installed>") +
          L"<product id=\"nodl\"><name>n</name><installed kind=\"file\">x</installed></product>" +
          L"<product id=\"ftp\"><name>n</name><installed kind=\"file\">x</installed><download>ftp://e.com/</download></product>" +
          Product(L"FIRST") + Product(L"bad\\id") + Product(i63 + L"Z") +
          L"<product id=\"long\"><name>n</name><installed kind=\"file\">x</installed><download>https://e.com/" +
          std::wstring(kCatalogueAddressChars - 14, L'a') + L"</download></product>" +
          L"<product id=\"hostile\"><name>" + x + L"</name><installed kind=\"apppath\">h.exe</installed>"
          L"<download>https://e.com/</download><info>file:///C:/x.exe</info></product>" + Product(i63),
      strings.c_str()));
  ASSERT_EQ(3, catalogue.GetCount());
  EXPECT_EQ(L"first|Etiketten\nund Namen|Tag & <3|2.5|0|Tagger|https://e.com/get|http://e.com/?a=1&b=2|{Exe}\\t.ico", Fields(0));
  EXPECT_EQ(L"hostile|" + std::wstring(kCatalogueNameChars - 1, L'x') + L"|||1|h.exe|https://e.com/||", Fields(1));
  EXPECT_EQ(i63, catalogue.GetProduct(2)->id);
  const wchar_t* reasons[] = {L"2 skipped, no id", L"3 skipped, no name", L"4 skipped, no installed check of a known kind",
                              L"5 skipped, no installed check of a known kind", L"6 skipped, no download address",
                              L"7 skipped, download address is not a web address", L"8 skipped, duplicate id",
                              L"9 skipped, id with characters other than letters, digits, '.', '-' and '_'",
                              L"10 skipped, id too long", L"11 skipped, download address too long",
                              L": 3 products read, 10 skipped"};
  for (const wchar_t* r : reasons)
    EXPECT_TRUE(log.Contains(std::wstring(L"CProductCatalogue::Load") + (r[0] == L':' ? L"" : L": product ") + r)) << zortest::Escape(r);
  EXPECT_TRUE(log.Contains(L"CProductCatalogue::Load: hostile: information address dropped, not a web address"));
  EXPECT_EQ(0, catalogue.FindById(L"FiRsT"));
  EXPECT_EQ(-1, catalogue.FindById(L"firs") + catalogue.FindById(nullptr) + 1);
  EXPECT_EQ(nullptr, catalogue.GetProduct(3));
}

TEST_F(Catalogue, UnreadableFilesFailWithTheirLogLineAndLeaveTheCatalogueEmpty) {
  zortest::WriteBytes(dir / L"empty.xml", "");
  zortest::WriteBytes(dir / L"plain.xml", "<products><product id=\"a\"/></products>");
  const std::wstring cases[][2] = {
      {L"", L"no file name"}, {dir / L"missing.xml", L"cannot read " + dir / L"missing.xml"},
      {dir / L"empty.xml", L"cannot read " + dir / L"empty.xml"},
      {dir / L"plain.xml", L"no catalogue element in " + dir / L"plain.xml"}};
  for (const auto& c : cases) {
    ASSERT_TRUE(Load(Product(L"a") + Product(L"b")));
    zortest::LogCapture log;
    EXPECT_FALSE(catalogue.Load(c[0].c_str(), nullptr));
    EXPECT_TRUE(log.Contains(L"CProductCatalogue::Load: departing, " + c[1])) << zortest::Escape(c[1]);
    EXPECT_EQ(0, catalogue.GetCount());
  }
  EXPECT_FALSE(catalogue.Load(nullptr, nullptr));
  EXPECT_TRUE(Load(L""));  // no products is still a catalogue
  EXPECT_EQ(-1, catalogue.NextToAdvertise(0, 1000));
}

TEST_F(Catalogue, TenThousandProductsLoadAndAreFound) {
  // On the guard heap every block is two memory mappings of the host system,
  // which may allow only 65530 of them: fewer products keep this test inside.
  const int count = zortest::HeapChecked() ? 200 : 10000;
  std::wstring products;
  for (int i = 0; i < count; ++i) products += Product(L"p" + std::to_wstring(i));
  ASSERT_TRUE(Load(products + Product(L"P0")));
  ASSERT_EQ(count, catalogue.GetCount());
  EXPECT_EQ(count - 1, catalogue.FindById((L"p" + std::to_wstring(count - 1)).c_str()));
}

TEST_F(Catalogue, InstalledIsAskedLiveOfUninstallKeysAppPathsAndFiles) {
  const std::wstring uninstall = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\zortest catalogue";
  const std::wstring paths = L"Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\", a = paths + L"zortest-a.exe", b = paths + L"zortest-b.exe";
  const std::wstring program = dir / L"program.exe", quoted = L"\"" + program + L"\"";
  auto cleanUp = [&] { RegDeleteTreeW(HKEY_CURRENT_USER, uninstall.c_str()), RegDeleteTreeW(HKEY_LOCAL_MACHINE, a.c_str()),
                       RegDeleteTreeW(HKEY_CURRENT_USER, b.c_str()), DeleteFileW(program.c_str()); };
  cleanUp();
  auto check = [](const wchar_t* kind, const std::wstring& target) { return L"<installed kind=\"" + std::wstring(kind) + L"\">" + target + L"</installed>"; };
  ASSERT_TRUE(Load(Product(L"u", L"", check(L"uninstall", L"zortest catalogue")) + Product(L"a", L"", check(L"apppath", L"zortest-a.exe")) +
                   Product(L"b", L"", check(L"apppath", L"zortest-b.exe")) + Product(L"f", L"", check(L"file", program)) +
                   Product(L"e", L"", check(L"file", L"{exe}\\catalogue_tests.exe")) + Product(L"t", L"", check(L"file", L"{Nope}\\x.exe"))));
  EXPECT_EQ(L"----Y--", Installed());
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(HKEY_CURRENT_USER, uninstall.c_str(), L"DisplayName", REG_SZ, L"", 2));
  // App Paths: a key naming a program that is not there does not count, a
  // key naming nothing does; a REG_EXPAND_SZ name is expanded.
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(HKEY_LOCAL_MACHINE, a.c_str(), nullptr, REG_SZ, quoted.c_str(), DWORD(quoted.size() * 2 + 2)));
  ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(HKEY_CURRENT_USER, b.c_str(), L"Path", REG_SZ, L"", 2));
  EXPECT_EQ(L"Y-Y-Y--", Installed());
  const std::wstring expand = L"%ZORTEST_CATALOGUE%\\program.exe";
  SetEnvironmentVariableW(L"ZORTEST_CATALOGUE", dir.path().c_str());
  RegSetKeyValueW(HKEY_CURRENT_USER, b.c_str(), nullptr, REG_EXPAND_SZ, expand.c_str(), DWORD(expand.size() * 2 + 2));
  EXPECT_EQ(L"Y---Y--", Installed());
  zortest::WriteBytes(program, "MZ");
  EXPECT_EQ(L"YYYYY--", Installed());
  cleanUp();
  EXPECT_EQ(L"----Y--", Installed());
}

TEST(CatalogueTokens, FolderTokensExpandToTheirFoldersAndRefuseWhatDoesNotFit) {
  wchar_t programFiles[MAX_PATH], out[MAX_PATH];
  ASSERT_TRUE(GetSpecialFolderPath(programFiles, MAX_PATH, CSIDL_PROGRAM_FILES, false));
  ASSERT_TRUE(ExpandFolderTokens(L"{programfiles}\\Zor\\{Exe}.txt", out, MAX_PATH));
  EXPECT_EQ(std::wstring(programFiles) + L"\\Zor\\" + zortest::ExeDir() + L".txt", out);
  const std::wstring fits = L"{Exe}" + std::wstring(MAX_PATH - 1 - zortest::ExeDir().size(), L'y');
  EXPECT_TRUE(ExpandFolderTokens(fits.c_str(), out, MAX_PATH) && wcslen(out) == MAX_PATH - 1);
  for (const std::wstring& bad : {fits + L"y", std::wstring(L"x{Exe"), std::wstring(L"x{Nope}"), L"{" + std::wstring(40, L'a') + L"}"})
    EXPECT_FALSE(ExpandFolderTokens(bad.c_str(), out, MAX_PATH) || out[0]) << zortest::Escape(bad);
  EXPECT_FALSE(ExpandFolderTokens(nullptr, out, MAX_PATH) || ExpandFolderTokens(L"x", out, 0) || !ExpandFolderTokens(L"", out, 1));
}

TEST_F(Catalogue, OnlyWebAddressesReachTheBrowser) {
  const wchar_t* good[] = {L"http://a", L"HTTPS://example.com/x?y=1&z=%20#top"};
  const wchar_t* bad[] = {L"", L"http://", L"https:///x", L"file:///C:/x.exe", L"C:\\x.exe", L"javascript:alert(1)",
                          L"mailto:a@b.c", L"http ://a", L"http://a b", L"http://a\"b", L"http://a\nb", L"xhttp://a"};
  cattest::RecordingLauncher launcher;
  for (const wchar_t* a : good) EXPECT_TRUE(OpenWebAddress(a, nullptr)) << zortest::Escape(a);
  zortest::LogCapture log;
  for (const wchar_t* a : bad) EXPECT_FALSE(OpenWebAddress(a, nullptr)) << zortest::Escape(a);
  EXPECT_FALSE(OpenWebAddress(nullptr, nullptr));
  EXPECT_TRUE(log.Contains(L"OpenWebAddress: refused, not a web address"));
  ASSERT_TRUE(Load(Product(L"a", L"<info>https://e.com/a</info>") + Product(L"b")));
  EXPECT_TRUE(catalogue.OpenDownload(0, nullptr) && catalogue.OpenInformation(0, nullptr));
  EXPECT_FALSE(catalogue.OpenInformation(1, nullptr) || catalogue.OpenDownload(2, nullptr));
  EXPECT_EQ((std::vector<std::wstring>{good[0], good[1], L"https://example.com/a/get", L"https://e.com/a"}), cattest::g_launched);
}

TEST_F(Catalogue, RotationOverAMonthTakesTurnsAndHonoursGapsSuppressionAndInstalls) {
  cattest::StateKey state(L"month");
  const std::wstring marker = dir / L"c.exe";
  ASSERT_TRUE(Load(Product(L"i", L"", L"<installed kind=\"file\">{Exe}\\catalogue_tests.exe</installed>") + Product(L"b") +
                   Product(L"c", L"", L"<installed kind=\"file\">" + marker + L"</installed>") + Product(L"d") + Product(L"e")));
  catalogue.SetStateKey(HKEY_CURRENT_USER, state.key.c_str());
  ASSERT_TRUE(catalogue.SetSuppressed(3, true));
  const unsigned long first = 150000;
  std::wstring picks;
  for (unsigned long day = first; day < first + 30; ++day) {
    if (day == first + 10) catalogue.SetSuppressed(3, false);
    if (day == first + 20) zortest::WriteBytes(marker, "MZ");
    const int pick = catalogue.NextToAdvertise(4, day);
    picks += pick < 0 ? L'-' : catalogue.GetProduct(pick)->id[0];
    if (pick >= 0 && !catalogue.MarkShown(pick, day)) picks += L'!';
  }
  // Four days apart: three products fill three days of each four; d, set
  // free on day 10, goes first as the one never shown and then takes its
  // turn; c stops once installed, which leaves a gap again.
  EXPECT_EQ(L"bce-bce-bcdebcdebcdeb-deb-deb-", picks);
  EXPECT_EQ(first + 28, catalogue.LastShownDay(1));
  EXPECT_EQ(3, catalogue.NextToAdvertise(-5, first + 29)) << "no gap: the one shown longest ago";
}

TEST_F(Catalogue, SuppressionAndLastShownSurviveARestartUnderTheHostsKeyOnly) {
  cattest::StateKey state(L"restart");
  ASSERT_TRUE(Load(Product(L"a") + Product(L"b")));
  EXPECT_FALSE(catalogue.SetSuppressed(0, true) || catalogue.MarkShown(1, 5)) << "no state key";
  catalogue.SetStateKey(HKEY_CURRENT_USER, state.key.c_str());
  EXPECT_TRUE(catalogue.SetSuppressed(0, true) && catalogue.MarkShown(1, 12345) && !catalogue.SetSuppressed(2, true));
  CProductCatalogue restarted;
  ASSERT_TRUE(restarted.Load((dir / L"c.xml").c_str(), nullptr));
  restarted.SetStateKey(HKEY_CURRENT_USER, state.key.c_str());
  EXPECT_TRUE(restarted.IsSuppressed(0) && !restarted.IsSuppressed(1) && restarted.LastShownDay(1) == 12345);
  EXPECT_EQ(-1, restarted.NextToAdvertise(3, 12347));
  EXPECT_EQ(1, restarted.NextToAdvertise(3, 12348));
  EXPECT_TRUE(catalogue.SetSuppressed(0, false));
  EXPECT_FALSE(restarted.IsSuppressed(0));
  catalogue.SetSuppressed(0, true);
  restarted.SetStateKey(HKEY_CURRENT_USER, (state.key + L"\\other").c_str());
  EXPECT_FALSE(restarted.IsSuppressed(0)) << "another key, another state";
}

}  // namespace
