// Disc-image names, file-system names and unique file names.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/system/FileNames.h>

using namespace systest;

namespace {
// One cleaner's result for `s` and whether it reported a change.
std::pair<std::wstring, bool> Clean(bool (*fn)(const wchar_t*, wchar_t*, bool, wchar_t), const std::wstring& s,
                                    bool keep = false) {
  std::vector<wchar_t> out(s.size() + 1);
  bool changed = fn(s.c_str(), out.data(), keep, L'_');
  return {out.data(), changed};
}
std::pair<std::wstring, bool> Iso(const std::wstring& s, bool keep = false) {
  return Clean(MakeISO9660FriendlyName, s, keep);
}
std::pair<std::wstring, bool> Joliet(const std::wstring& s, bool keep = false) {
  return Clean(MakeJolietFriendlyName, s, keep);
}
using R = std::pair<std::wstring, bool>;
}  // namespace

TEST(DiscNames, CharacterRules) {
  EXPECT_EQ(R(L"MY_SONG.MP3", true), Iso(L"my song.mp3"));
  EXPECT_EQ(R(L"ABC.TXT", false), Iso(L"abc.txt")) << "upper-casing alone is no change";
  EXPECT_EQ(L"A_B__", Iso(L"a\\b/\x00e9").first);
  EXPECT_EQ(R(L"DIR\\SUB/F.TXT", false), Iso(L"dir\\sub/f.txt", true));
  EXPECT_EQ(L"A_B", Iso(L"a\x00e9" L"b").first);
  EXPECT_EQ(R(L"a_b_c_d_e", true), Joliet(L"a;b*c:d?e"));
  EXPECT_EQ(L"_x", Joliet(L"\x1Ex").first);
  EXPECT_EQ(L"a_b_c", Joliet(L"a\\b/c").first);
  EXPECT_EQ(L"a\\b/c", Joliet(L"a\\b/c", true).first);
  EXPECT_EQ(R(L"MiXed", false), Joliet(L"MiXed")) << "case is kept";
  EXPECT_EQ(R(L"", false), Joliet(L""));
  wchar_t buf[4] = L"abc";
  EXPECT_FALSE(MakeISO9660FriendlyName(nullptr, buf, false, L'_'));
  EXPECT_EQ(0, buf[0]);
  EXPECT_FALSE(MakeJolietFriendlyName(L"x", nullptr, false, L'_'));
}

// The control test is strictly below 0x1F, and " < > | pass untouched.
TEST(DiscNames, JolietKeepsQuotesAnglesPipesAnd0x1F) {
  EXPECT_EQ(R(L"a<b>|\"c", false), Joliet(L"a<b>|\"c"));
  EXPECT_EQ(R(L"x\x1F", false), Joliet(L"x\x1F"));
}

TEST(DiscNames, LongNamesKeepTheirExtensionAndAreCutInPlace) {
  const std::wstring name = std::wstring(36, L'x') + L".wav";  // 40 characters
  EXPECT_EQ(R(std::wstring(26, L'X') + L".WAV", true), Iso(name));
  EXPECT_EQ(R(std::wstring(11, L'x') + L".wav", true), Joliet(name));
  // Kept path separators switch the shortening off.
  EXPECT_EQ(40u, Iso(name, true).first.size());
  EXPECT_EQ(40u, Joliet(name, true).first.size());
  // Without a dot, never shortened.
  EXPECT_EQ(R(std::wstring(50, L'A'), false), Iso(std::wstring(50, L'A')));
  EXPECT_EQ(50u, Joliet(std::wstring(50, L'a')).first.size());
  // The source may be the destination.
  wchar_t buf[64];
  wcscpy(buf, name.c_str());
  EXPECT_TRUE(MakeISO9660FriendlyName(buf, buf, false, L'_'));
  EXPECT_EQ(std::wstring(26, L'X') + L".WAV", std::wstring(buf));
  wcscpy(buf, L"exactly fifteen.txt");
  EXPECT_TRUE(MakeJolietFriendlyName(buf, buf, false, L'_'));
  EXPECT_EQ(L"exactly fif.txt", std::wstring(buf));
}

TEST(DiscNames, NameOfExactlyTheLimitIsRebuiltAndReportedChanged) {
  const std::wstring iso = std::wstring(26, L'A') + L".WAV", joliet = std::wstring(11, L'a') + L".wav";
  EXPECT_EQ(R(iso, true), Iso(iso));
  EXPECT_EQ(R(joliet, true), Joliet(joliet));
}

// An extension as long as the limit or longer leaves no room for a stem:
// the name is cut to the limit, and nothing is written past the limit.
TEST(DiscNames, ExtensionAsLongAsTheLimitCutsTheName) {
  for (size_t extLen : {15u, 16u, 29u, 30u, 31u, 45u}) {
    std::wstring name = L"ab." + std::wstring(extLen - 1, L'e');
    Guarded<> iso(name.size() + 1), jol(name.size() + 1);
    if (extLen >= 30) {
      EXPECT_TRUE(MakeISO9660FriendlyName(name.c_str(), iso.get(), false, L'_'));
      EXPECT_EQ(L"AB." + std::wstring(27, L'E'), std::wstring(iso.get())) << extLen;
      EXPECT_TRUE(iso.GuardIntact());
    }
    EXPECT_TRUE(MakeJolietFriendlyName(name.c_str(), jol.get(), false, L'_'));
    EXPECT_EQ(name.substr(0, 15), std::wstring(jol.get())) << extLen;
    EXPECT_TRUE(jol.GuardIntact());
  }
}

TEST(FileNameChars, ValidateReplacesTheNineReservedAndValidCharsAreListed) {
  wchar_t out[32];
  EXPECT_EQ(out, ValidateFileName(L"a/b\\c:d*e?f\"g<h>i|j", out, L'-'));
  EXPECT_EQ(L"a-b-c-d-e-f-g-h-i-j", std::wstring(out));
  EXPECT_EQ(out, ValidateFileName(L"ok;name.txt", out, L'-'));
  EXPECT_EQ(L"ok;name.txt", std::wstring(out));
  EXPECT_EQ(nullptr, ValidateFileName(L"", out, L'_')) << "empty source";
  EXPECT_EQ(0, out[0]);
  EXPECT_EQ(nullptr, ValidateFileName(nullptr, out, L'_'));
  EXPECT_EQ(nullptr, ValidateFileName(L"abc", nullptr, L'_'));
  for (wchar_t c : std::wstring(L" $%'-_@~`!()^#&+,;=[].aZ09\x00e9\x4e2d\x0416"))
    EXPECT_TRUE(IsValidFileNameChar(c, false)) << static_cast<int>(c);
  for (wchar_t c : std::wstring(L"\\:/*?\"<>|{}\t"))
    EXPECT_FALSE(IsValidFileNameChar(c, false)) << static_cast<int>(c);
  EXPECT_TRUE(IsValidFileNameChar(L'\\', true) && IsValidFileNameChar(L':', true));
  EXPECT_FALSE(IsValidFileNameChar(L'/', true) || IsValidFileNameChar(0, true));
}

TEST(UniqueFileName, TakesTheFirstFreeCounterAndLogsIt) {
  TempDir dir;
  wchar_t path[MAX_PATH];
  wcscpy(path, (dir / L"a.txt").c_str());
  EXPECT_TRUE(UniqueFileName(path, true, L'_')) << "a missing path is already unique";
  EXPECT_EQ(dir / L"a.txt", std::wstring(path));
  EXPECT_FALSE(UniqueFileName(nullptr, true, L'_'));
  ASSERT_TRUE(zortest::WriteBytes(dir / L"a.txt", "x") && zortest::WriteBytes(dir / L"a_1.txt", "x"));
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
