// Disc-image names, file-system names and unique file names.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/system/FileNames.h>

using systest::Guarded;
using zortest::TempDir;

namespace {
std::wstring Iso(const std::wstring& s, bool keep = false, bool* changed = nullptr) {
  std::vector<wchar_t> out(s.size() + 1);
  bool c = MakeISO9660FriendlyName(s.c_str(), out.data(), keep, L'_');
  if (changed) *changed = c;
  return out.data();
}
std::wstring Joliet(const std::wstring& s, bool keep = false, bool* changed = nullptr) {
  std::vector<wchar_t> out(s.size() + 1);
  bool c = MakeJolietFriendlyName(s.c_str(), out.data(), keep, L'_');
  if (changed) *changed = c;
  return out.data();
}
}  // namespace

TEST(DiscNames, IsoUpperCasesAndReplacesOthers) {
  bool changed = false;
  EXPECT_EQ(L"MY_SONG.MP3", Iso(L"my song.mp3", false, &changed));
  EXPECT_TRUE(changed);
  EXPECT_EQ(L"ABC.TXT", Iso(L"abc.txt", false, &changed));
  EXPECT_FALSE(changed) << "upper-casing alone is no change";
  EXPECT_EQ(L"A_B__", Iso(L"a\\b/\x00e9", false, &changed));
  EXPECT_EQ(L"DIR\\SUB/F.TXT", Iso(L"dir\\sub/f.txt", true, &changed));
  EXPECT_FALSE(changed);
  EXPECT_EQ(L"A_B", Iso(L"a\x00e9" L"b"));
}

TEST(DiscNames, LongNamesKeepTheirExtension) {
  std::wstring name(36, L'x');
  name += L".wav";  // 40 characters
  bool changed = false;
  std::wstring iso = Iso(name, false, &changed);
  EXPECT_EQ(std::wstring(26, L'X') + L".WAV", iso);
  EXPECT_TRUE(changed);
  std::wstring joliet = Joliet(name, false, &changed);
  EXPECT_EQ(std::wstring(11, L'x') + L".wav", joliet);
  EXPECT_TRUE(changed);
  // Kept path separators switch the shortening off.
  EXPECT_EQ(40u, Iso(name, true).size());
  EXPECT_EQ(40u, Joliet(name, true).size());
}

TEST(DiscNames, NameOfExactlyTheLimitIsRebuiltAndReportedChanged) {
  std::wstring name = std::wstring(26, L'A') + L".WAV";
  bool changed = false;
  EXPECT_EQ(name, Iso(name, false, &changed));
  EXPECT_TRUE(changed);
  std::wstring j = std::wstring(11, L'a') + L".wav";
  EXPECT_EQ(j, Joliet(j, false, &changed));
  EXPECT_TRUE(changed);
}

TEST(DiscNames, NameWithoutDotIsNeverShortened) {
  std::wstring name(50, L'A');
  bool changed = true;
  EXPECT_EQ(name, Iso(name, false, &changed));
  EXPECT_FALSE(changed);
  EXPECT_EQ(50u, Joliet(std::wstring(50, L'a')).size());
}

// An extension as long as the limit or longer leaves no room for a stem:
// the name is cut to the limit, and nothing is written past the limit.
TEST(DiscNames, ExtensionAsLongAsTheLimitCutsTheName) {
  for (size_t extLen : {15u, 16u, 29u, 30u, 31u, 45u}) {
    std::wstring name = L"ab." + std::wstring(extLen - 1, L'e');
    Guarded<> iso(name.size() + 1), jol(name.size() + 1);
    if (extLen >= 30) {
      EXPECT_TRUE(MakeISO9660FriendlyName(name.c_str(), iso.get(), false, L'_'));
      std::wstring expected = L"AB." + std::wstring(27, L'E');
      EXPECT_EQ(expected, std::wstring(iso.get())) << extLen;
      EXPECT_TRUE(iso.GuardIntact());
    }
    EXPECT_TRUE(MakeJolietFriendlyName(name.c_str(), jol.get(), false, L'_'));
    EXPECT_EQ(name.substr(0, 15), std::wstring(jol.get())) << extLen;
    EXPECT_TRUE(jol.GuardIntact());
  }
}

TEST(DiscNames, SourceMayBeTheDestination) {
  wchar_t buf[64];
  std::wstring name = std::wstring(36, L'x') + L".wav";
  wcscpy(buf, name.c_str());
  EXPECT_TRUE(MakeISO9660FriendlyName(buf, buf, false, L'_'));
  EXPECT_EQ(std::wstring(26, L'X') + L".WAV", std::wstring(buf));
  wcscpy(buf, L"exactly fifteen.txt");
  EXPECT_TRUE(MakeJolietFriendlyName(buf, buf, false, L'_'));
  EXPECT_EQ(L"exactly fif.txt", std::wstring(buf));
}

// The control test is strictly below 0x1F, and " < > | pass untouched.
TEST(DiscNames, JolietKeepsQuotesAnglesPipesAnd0x1F) {
  bool changed = true;
  EXPECT_EQ(L"a<b>|\"c", Joliet(L"a<b>|\"c", false, &changed));
  EXPECT_FALSE(changed);
  EXPECT_EQ(std::wstring(L"x\x1F"), Joliet(L"x\x1F", false, &changed));
  EXPECT_FALSE(changed);
  EXPECT_EQ(L"a_b_c_d_e", Joliet(L"a;b*c:d?e", false, &changed));
  EXPECT_TRUE(changed);
  EXPECT_EQ(L"_x", Joliet(L"\x1Ex"));
  EXPECT_EQ(L"a_b_c", Joliet(L"a\\b/c"));
  EXPECT_EQ(L"a\\b/c", Joliet(L"a\\b/c", true));
  EXPECT_EQ(L"MiXed", Joliet(L"MiXed")) << "case is kept";
  EXPECT_FALSE(Joliet(L"", false, &changed).size());
  EXPECT_FALSE(changed);
}

TEST(DiscNames, NullArgumentsReportNoChange) {
  wchar_t buf[4] = L"abc";
  EXPECT_FALSE(MakeISO9660FriendlyName(nullptr, buf, false, L'_'));
  EXPECT_EQ(0, buf[0]);
  EXPECT_FALSE(MakeJolietFriendlyName(L"x", nullptr, false, L'_'));
}

TEST(ValidateFileName, ReplacesTheNineReservedCharacters) {
  wchar_t out[32];
  EXPECT_EQ(out, ValidateFileName(L"a/b\\c:d*e?f\"g<h>i|j", out, L'-'));
  EXPECT_EQ(L"a-b-c-d-e-f-g-h-i-j", std::wstring(out));
  EXPECT_EQ(out, ValidateFileName(L"ok;name.txt", out, L'-'));
  EXPECT_EQ(L"ok;name.txt", std::wstring(out));
}

TEST(ValidateFileName, EmptySourceReturnsNull) {
  wchar_t out[4] = L"abc";
  EXPECT_EQ(nullptr, ValidateFileName(L"", out, L'_'));
  EXPECT_EQ(0, out[0]);
  EXPECT_EQ(nullptr, ValidateFileName(nullptr, out, L'_'));
  EXPECT_EQ(nullptr, ValidateFileName(L"abc", nullptr, L'_'));
}

TEST(IsValidFileNameChar, AcceptsLettersOfAnyScriptAndTheListedMarks) {
  for (wchar_t c : std::wstring(L" $%'-_@~`!()^#&+,;=[].aZ09\x00e9\x4e2d\x0416"))
    EXPECT_TRUE(IsValidFileNameChar(c, false)) << static_cast<int>(c);
  for (wchar_t c : std::wstring(L"\\:/*?\"<>|{}\t"))
    EXPECT_FALSE(IsValidFileNameChar(c, false)) << static_cast<int>(c);
  EXPECT_TRUE(IsValidFileNameChar(L'\\', true));
  EXPECT_TRUE(IsValidFileNameChar(L':', true));
  EXPECT_FALSE(IsValidFileNameChar(L'/', true));
  EXPECT_FALSE(IsValidFileNameChar(0, true));
}

TEST(UniqueFileName, MissingPathIsAlreadyUnique) {
  TempDir dir;
  wchar_t path[MAX_PATH];
  wcscpy(path, (dir / L"a.txt").c_str());
  EXPECT_TRUE(UniqueFileName(path, true, L'_'));
  EXPECT_EQ(dir / L"a.txt", std::wstring(path));
  EXPECT_FALSE(UniqueFileName(nullptr, true, L'_'));
}

TEST(UniqueFileName, TakesTheFirstFreeCounterAndLogsIt) {
  TempDir dir;
  ASSERT_TRUE(zortest::WriteBytes(dir / L"a.txt", "x"));
  ASSERT_TRUE(zortest::WriteBytes(dir / L"a_1.txt", "x"));
  wchar_t path[MAX_PATH];
  wcscpy(path, (dir / L"a.txt").c_str());
  EXPECT_FALSE(UniqueFileName(path, false, L'_'));
  EXPECT_EQ(dir / L"a.txt", std::wstring(path));
  zortest::LogCapture log;
  EXPECT_TRUE(UniqueFileName(path, true, L'_'));
  EXPECT_EQ(dir / L"a_2.txt", std::wstring(path));
  EXPECT_TRUE(log.Contains(L"Created unique name '" + dir / L"a_2.txt" + L"'"));
  // No extension: the counter goes at the end.
  ASSERT_TRUE(zortest::WriteBytes(dir / L"song", "x"));
  wcscpy(path, (dir / L"song").c_str());
  EXPECT_TRUE(UniqueFileName(path, true, L'-'));
  EXPECT_EQ(dir / L"song-1", std::wstring(path));
}

TEST(UniqueFileName, NameThatWouldNotFitIsRefused) {
  TempDir dir;
  // A real file whose name fills the path up to 259 characters: no counter
  // fits behind it.
  std::wstring base = dir.path() + L"\\";
  std::wstring name(259 - base.size() - 4, L'n');
  std::wstring full = base + name + L".txt";
  ASSERT_EQ(259u, full.size());
  if (!zortest::WriteBytes(full, "x")) GTEST_SKIP() << "cannot create a 259-character path here";
  Guarded<> path(MAX_PATH);
  wcscpy(path.get(), full.c_str());
  EXPECT_FALSE(UniqueFileName(path.get(), true, L'_'));
  EXPECT_EQ(full, std::wstring(path.get()));
  EXPECT_TRUE(path.GuardIntact());
}
