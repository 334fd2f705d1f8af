// CIniFileReader: the parser's deliberate habits, look-ups, editing, and the
// saved layout, through real files in both encodings.
#include <zorutils/formats/IniFileReader.h>

#include <zorutils/internal/NameMatch.h>

#include "tests/support/TestSupport.h"

#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <string>
#include <vector>

namespace {

// Parses single-byte text.
bool Parse(CIniFileReader& ini, const std::string& text, bool sorted = false) {
  return ini.InitFromBuffer(reinterpret_cast<const unsigned char*>(text.data()),
                            static_cast<unsigned int>(text.size()), sorted);
}

std::wstring Get(CIniFileReader& ini, const wchar_t* section, const wchar_t* key, const wchar_t* def = L"-") {
  wchar_t out[16384];
  ini.GetString(section, key, def, out, 16384);
  return out;
}

// The section names as "[a][b]", then the values of `probes` ("section/key|...").
std::wstring Dump(CIniFileReader& ini, const std::wstring& probes = L"") {
  std::wstring all;
  for (int i = 0; i < ini.NumSections(); ++i) all += std::wstring(L"[") + ini.SectionName(i) + L"]";
  for (size_t at = 0; at < probes.size();) {
    const size_t slash = probes.find(L'/', at), end = std::min(probes.find(L'|', at), probes.size());
    all += L" " + Get(ini, probes.substr(at, slash - at).c_str(), probes.substr(slash + 1, end - slash - 1).c_str());
    at = end + 1;
  }
  return all;
}

// Whether `text` loads, and what Dump then shows.
std::wstring Load(const std::string& text, const std::wstring& probes = L"", bool sorted = false) {
  CIniFileReader ini;
  const bool loaded = Parse(ini, text, sorted);
  return (loaded ? L"" : L"failed ") + Dump(ini, probes);
}

}  // namespace

TEST(IniFileReader, ReadsSectionsKeysAndCommentsWidensWithoutCodePageAndTabsInKeysBecomeSpaces) {
  EXPECT_EQ(L"[Main][Other] Hello world \xE9\x80\xFF x\t v",
            Load("; a comment\r\n[Main]\r\n  Title = Hello world  \r\n\r\n\r\nVolume=\xE9\x80\xFF\n[Other]\n"
                 "Name\t=\tx\t\n\tmy\tkey\t=v",
                 L"Main/Title|Main/Volume|Other/Name|Other/my key"))
      << "trailing tabs stay; the last character at the text's end stays";
}

TEST(IniFileReader, NamesMatchWithAsciiCaseFoldingOnlyLikeWcsicmpInTheCLocale) {
  EXPECT_EQ(L"[section][\xC4] v w - -", Load("[section]\nkey=v\n[\xC4]\nk=w\n", L"SECTION/KEY|\xC4/K|\xE4/k|SECTION/KEY1"));
  // The fold every format uses must order every pair of names as _wcsicmp does.
  auto sign = [](int v) { return v < 0 ? -1 : v > 0 ? 1 : 0; };
  wchar_t a[3] = {0, L'x', 0}, b[3] = {0, L'x', 0};
  for (unsigned int i = 1; i < 0x180; ++i)
    for (unsigned int j = 1; j < 0x180; ++j) {
      a[0] = static_cast<wchar_t>(i);
      b[0] = static_cast<wchar_t>(j);
      ASSERT_EQ(sign(_wcsicmp(a, b)), zor::FoldCompare(a, b)) << i << " " << j;
    }
  EXPECT_EQ(-1, zor::FoldCompare(L"Key", L"key1"));
  EXPECT_EQ(1, zor::FoldCompare(L"\xFFFF" L"a", L"A"));
}

TEST(IniFileReader, LookupFastPathsAgreeWithAPlainScan) {
  // Sections are pre-filtered by length and last character, keys by their
  // first character: the answers must be those of a plain scan, for names
  // of every length up to and past the 63-character limit.
  const std::vector<std::string> names = {"a", "b", "ab", "Ba", "abc", "xbc", "ABC_", "_abc",
                                          std::string(62, 'n') + "z", std::string(63, 'm')};
  std::string text;
  for (size_t s = 0; s < names.size(); ++s) {
    text += "[" + names[s] + "]\n";
    for (size_t k = 0; k < names.size(); ++k) text += names[k] + "=" + std::to_string(s * 100 + k) + "\n";
  }
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, text));
  std::vector<std::wstring> probes = {std::wstring(64, L'm')};
  for (const std::string& n : names) {
    std::wstring w(n.begin(), n.end()), upper = w;
    for (wchar_t& c : upper) c = towupper(c);
    probes.insert(probes.end(), {w, upper, w + L"x", w.substr(1)});
  }
  auto index = [&](const std::wstring& p) {
    for (size_t i = 0; i < names.size(); ++i)
      if (_wcsicmp(std::wstring(names[i].begin(), names[i].end()).c_str(), p.c_str()) == 0) return static_cast<int>(i);
    return -1;
  };
  for (const std::wstring& section : probes)
    for (const std::wstring& key : probes) {
      const int s = index(section), k = index(key);
      wchar_t out[32];
      EXPECT_EQ(s >= 0, ini.GetString(section.c_str(), key.c_str(), L"-", out, 32) && ini.SectionExists(section.c_str()));
      EXPECT_EQ(s < 0 || k < 0 ? L"-" : std::to_wstring(s * 100 + k), out)
          << zortest::Escape(section) << " " << zortest::Escape(key);
    }
}

TEST(IniFileReader, HeadersKeepBlanksAreCutAt63RunAcrossLinesUntilBracketAndKeylessSectionsStay) {
  EXPECT_EQ(L"[ Name ][open\nstill][" + std::wstring(63, L'L') + L"] 2",
            Load("[ Name ]\nk=1\n[open\nstill]\nk=2\n[" + std::string(70, 'L') + "]\nk=3\n", L"open\nstill/k"));
  EXPECT_EQ(L"[a]", Load("[a]\nk=1\n[b\nk=2\n")) << "unterminated, it swallows the rest and goes in the clean-up";
  // The clean-up removes empty sections before it removes key-less entries.
  EXPECT_EQ(L"[][b]", Load("\r\n[a]\r\n[b]\r\nnothing here\r\n"));
  EXPECT_EQ(L"[][a] 1 3", Load("top=1\n[a]\nk=2\n[]\nlate=3\n", L"/top|/late")) << "keys after [] are unnamed too";
}

TEST(IniFileReader, LineWithoutEqualsIsDroppedEmptyValueKeptAndValueWithEmptyKeyFailsTheLoad) {
  // (An empty value is kept: the saved layout shows it.)
  EXPECT_EQ(L"[s] - - -", Load("[s]\njust words\nkey =\nk2=   \n=\n", L"s/just words|s/key|s/k2"))
      << "an empty key without a value is only dropped";
  EXPECT_EQ(L"failed [][s] 1", Load("[s]\nk=1\n= value\n", L"s/k")) << "what was read before stays";
  EXPECT_EQ(L"failed [][s]", Load("[s]\n  \t = value\n"));
}

TEST(IniFileReader, QuotedValuesFollowTheLastNonBlankQuoteRule) {
  EXPECT_EQ(L"[q]   padded   \"open \"a\" trailing a\" \"b say \"hi\" now - a\"b\" q r",
            Load("[q]\npadded = \"  padded  \"\nopen = \"open\ntrailing = \"a\" trailing\npair = \"a\" \"b\"\n"
                 "say = \"say \"hi\" now\"  \t\nempty = \"\"\ninner = a\"b\"\nend=\"q r\"",
                 L"q/padded|q/open|q/trailing|q/pair|q/say|q/empty|q/inner|q/end"));
}

TEST(IniFileReader, DuplicatesStayAndSequentialLookupPrefersTheSectionAfterTheLastOne) {
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, "[a]\nk=first\nk=dup\n[b]\nk=b\n[a]\nk=second\n"));
  EXPECT_EQ(L"[a][b][a] first b second second", Dump(ini, L"a/k|b/k|a/k|a/k")) << "a cold look-up finds the first";
  ASSERT_TRUE(Parse(ini, "[a]\nk=first\n[b]\nk=b\n[a]\nk=second\n"));
  EXPECT_EQ(L"first", Get(ini, L"A", L"k")) << "a load forgets the last section";
}

TEST(IniFileReader, GetStringTruncatesToTheBufferAndGivesTheDefaultForMissingKeysAndSections) {
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, "[s]\nk=abcdef\n"));
  wchar_t out[8];
  auto get = [&](const wchar_t* section, const wchar_t* key, const wchar_t* def, unsigned int chars) {
    wmemset(out, 0xCCCC, 8);
    const bool found = ini.GetString(section, key, def, out, chars);
    return std::to_wstring(found) + L":" + std::wstring(out, 8);
  };
  const std::wstring c(1, 0xCCCC), z(1, 0);
  EXPECT_EQ(L"1:abcdef" + z + c, get(L"s", L"k", L"zz", 7));
  EXPECT_EQ(L"1:abc" + z + c + c + c + c, get(L"s", L"k", L"zz", 4)) << "nothing past the buffer";
  EXPECT_EQ(L"1:" + z + std::wstring(7, 0xCCCC), get(L"s", L"k", L"zz", 1));
  EXPECT_EQ(L"0:" + std::wstring(8, 0xCCCC), get(L"s", L"k", L"zz", 0));
  EXPECT_EQ(L"0:" + std::wstring(8, 0xCCCC), get(L"s", nullptr, L"zz", 8));
  EXPECT_FALSE(ini.GetString(L"s", L"k", L"zz", nullptr, 8));
  EXPECT_EQ(L"1:default" + z, get(L"s", L"missing", L"default!", 8));
  EXPECT_EQ(L"0:d" + std::wstring(7, 0), get(L"nope", L"k", L"d", 8)) << "a missing section zeroes the buffer";
  EXPECT_EQ(L"0:" + std::wstring(8, 0), get(L"nope", L"k", nullptr, 8));
}

TEST(IniFileReader, OverlongKeysAndValuesAreRejectedNotOverrun) {
  const std::string v8190(8190, 'v'), k8191(8191, 'k');
  EXPECT_EQ(L"[s] " + std::wstring(8190, L'v'), Load("[s]\nk=" + v8190 + " \n", L"s/k")) << "the stored value counts";
  EXPECT_EQ(L"[s] 1", Load("[s]\n" + k8191 + "=1\n", L"s/" + std::wstring(8191, L'k')));
  for (const std::string& text : {"[s]\nk=" + v8190 + "v\n", "[s]\nk=x" + std::string(8191, ' ') + "y\n",
                                  "[s]\nk" + k8191 + "=1\n", "[s]\nk" + k8191 + "\n"})
    EXPECT_EQ(L"failed [][s]", Load(text)) << text.size();
}

TEST(IniFileReader, SetValueCreatesReplacesKeepsSortedAndLogsNullInput) {
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, "[zeta]\nb=1\nA=2\n[Alpha]\nz=3\ny=4\n"));
  const std::wstring longName(70, L'L');
  EXPECT_TRUE(ini.SetValue(L"ZETA", L"B", L"5") && ini.SetValue(L"zeta", L"A", nullptr) && ini.SetValue(L"new", L"x", L"y") &&
              ini.SetValue(longName.c_str(), L"k", L"1") && ini.SetValue(longName.c_str(), L"k", L"2"));
  EXPECT_EQ(L"[zeta][Alpha][new][" + longName.substr(7) + L"] 5 - y 2", Dump(ini, L"zeta/b|zeta/a|new/x|" + longName.substr(7) + L"/k"));
  ini.Sort();
  EXPECT_TRUE(ini.KeepSorted());
  EXPECT_TRUE(ini.SetValue(L"beta", L"m", L"6") && ini.SetValue(L"alpha", L"0", L"7"));
  EXPECT_EQ(L"[Alpha][beta][" + longName.substr(7) + L"][new][zeta] 7 4 3", Dump(ini, L"alpha/0|alpha/Y|alpha/z"));
  CIniFileReader flag;
  flag.SetKeepSorted(true);
  ASSERT_TRUE(Parse(flag, "[b]\nk=1\n[a]\nk=2\n"));
  EXPECT_EQ(L"[b][a]", Dump(flag)) << "setting the flag does not sort";
  EXPECT_EQ(L"[a][b]", Load("[b]\nk=1\n[a]\nk=2\n", L"", true));

  zortest::LogCapture log;
  EXPECT_FALSE(ini.SetValue(L"", L"k", L"v") || ini.SetValue(L"a", nullptr, L"v") ||
               ini.SetValue(nullptr, L"k", L"v") || ini.SetValue(L"a", L"", L"v"));
  EXPECT_EQ(std::vector<std::wstring>(4, L"CIniFileReader::SetValue: departing, NULL input"), log.lines());
}

TEST(IniFileReader, InitReadsRealFilesStopsSingleByteTextAtAZeroByteAndKeepsTheNameOverReset) {
  zortest::TempDir dir;
  // Single-byte text ends at its first zero byte, UTF-16 text goes on.
  const struct {
    std::string bytes;
    const wchar_t *probes, *result;
  } files[] = {{"", L"", L"failed "}, {"\xFF\xFE", L"", L""}, {std::string("[s]\nj=w\0[t]\nm=1\n", 16), L"s/j", L"[s] w"},
               {zortest::Utf16Bytes(L"[\x263A]\r\nkey = \x4E2D\x6587\r\n", true), L"\x263A/KEY", L"[\x263A] \x4E2D\x6587"},
               {zortest::Utf16Bytes(std::wstring(L"[s]\nj=a\0b\n[t]\nm=1", 17), false), L"s/j|t/m", L"[s][t] a 1"}};
  CIniFileReader ini;
  for (const auto& f : files) {
    ASSERT_TRUE(zortest::WriteBytes(dir / L"f.ini", f.bytes));
    const bool ok = ini.Init((dir / L"f.ini").c_str(), false);
    EXPECT_EQ(f.result, (ok ? L"" : L"failed ") + Dump(ini, f.probes)) << f.bytes.size();
    EXPECT_EQ(ok, ini.Initialized());
  }
  ini.Reset();
  EXPECT_FALSE(ini.Initialized());
  EXPECT_STREQ((dir / L"f.ini").c_str(), ini.FileName()) << "Reset keeps the file name";
  EXPECT_FALSE(ini.Init(nullptr, false) || ini.Init(L"", false) || ini.Init((dir / L"missing.ini").c_str(), false));
  EXPECT_TRUE(ini.InitFromBuffer(reinterpret_cast<const unsigned char*>(""), 0, false)) << "an empty buffer is fine";
  EXPECT_FALSE(ini.InitFromBuffer(nullptr, 10, false));
}

TEST(IniFileReader, SaveWritesTheExactLayoutQuotesOnlyValuesWithOuterSpacesAndLosesUnnamedKeys) {
  zortest::TempDir dir;
  CIniFileReader ini;
  EXPECT_FALSE(ini.Save()) << "no file name";
  ASSERT_TRUE(Parse(ini, "lost=1\n[s]\nplain=a \"b\"\nlead= \" x\"\ntrail=\"y \"\nempty=\n[t]\n"));
  ASSERT_TRUE(ini.SetFileName((dir / L"out.ini").c_str()));
  ASSERT_TRUE(ini.Save());
  EXPECT_EQ(zortest::Utf16Bytes(L"\r\n\r\n[s]\r\nplain = a \"b\"\r\nlead = \" x\"\r\ntrail = \"y \"\r\nempty = \r\n\r\n\r\n", true),
            zortest::ReadBytes(dir / L"out.ini"));
  EXPECT_TRUE(ini.SetFileName(nullptr));
  EXPECT_EQ(nullptr, ini.FileName());
  EXPECT_TRUE(ini.SetFileName((dir / L"no\\such\\folder.ini").c_str()));
  EXPECT_FALSE(ini.Save());
}
