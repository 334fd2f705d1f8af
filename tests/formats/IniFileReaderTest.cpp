// CIniFileReader: the parser's deliberate habits, look-ups, editing, and
// round trips through real files in both encodings.
#include <zorutils/formats/IniFileReader.h>

#include <zorutils/formats/TextFormats_impl.h>

#include "tests/support/TestSupport.h"

#include <clocale>
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

std::wstring Get(CIniFileReader& ini, const wchar_t* section, const wchar_t* key,
                 const wchar_t* def = L"") {
  wchar_t out[16384];
  ini.GetString(section, key, def, out, 16384);
  return out;
}

std::wstring Names(const CIniFileReader& ini) {
  std::wstring all;
  for (int i = 0; i < ini.NumSections(); ++i) all += std::wstring(L"[") + ini.SectionName(i) + L"]";
  return all;
}

}  // namespace

TEST(IniFileReader, ReadsSectionsKeysAndCommentsWidensWithoutCodePageAndTabsInKeysBecomeSpaces) {
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, "; a comment\r\n[Main]\r\n  Title = Hello world  \r\n\r\n\r\n"
                         "Volume=\xE9\x80\xFF\n[Other]\nName\t=\tx\t\n\tmy\tkey\t=v\n"));
  EXPECT_EQ(L"[Main][Other]", Names(ini));
  EXPECT_EQ(L"Hello world", Get(ini, L"Main", L"Title"));
  EXPECT_EQ(L"\xE9\x80\xFF", Get(ini, L"Main", L"Volume"));
  EXPECT_EQ(L"x\t", Get(ini, L"Other", L"Name")) << "trailing tabs stay in unquoted values";
  EXPECT_EQ(L"v", Get(ini, L"Other", L"my key"));
}

TEST(IniFileReader, NamesMatchWithAsciiCaseFoldingOnlyAndTheInlineFoldAgreesWithWcsicmpInCLocale) {
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, "[section]\nkey=v\n[\xC4]\nk=w\n"));
  EXPECT_EQ(L"v", Get(ini, L"SECTION", L"KEY"));
  EXPECT_TRUE(ini.SectionExists(L"SeCtIoN"));
  EXPECT_TRUE(ini.SectionExists(L"\xC4"));
  EXPECT_FALSE(ini.SectionExists(L"\xE4")) << "only A-Z fold";
  EXPECT_FALSE(ini.SectionExists(nullptr));
  // Look-ups use an inline A-Z fold instead of _wcsicmp; both must order
  // every pair of names the same way.
  setlocale(LC_ALL, "C");
  auto sign = [](int v) { return v < 0 ? -1 : v > 0 ? 1 : 0; };
  wchar_t a[3] = {0, L'x', 0}, b[3] = {0, L'x', 0};
  for (unsigned int i = 1; i < 0x180; ++i)
    for (unsigned int j = 1; j < 0x180; ++j) {
      a[0] = static_cast<wchar_t>(i);
      b[0] = static_cast<wchar_t>(j);
      ASSERT_EQ(sign(_wcsicmp(a, b)), sign(zor::FoldCompare(a, b))) << i << " " << j;
    }
  EXPECT_EQ(sign(_wcsicmp(L"Key", L"key1")), zor::FoldCompare(L"Key", L"key1"));
  EXPECT_EQ(sign(_wcsicmp(L"\xFFFF" L"a", L"A")), zor::FoldCompare(L"\xFFFF" L"a", L"A"));
}

TEST(IniFileReader, LookupFastPathsAgreeWithAPlainScan) {
  // Sections are pre-filtered by length and last character, keys by their
  // first character; the answers must be those of a plain case-insensitive
  // scan, for names of every length up to and past the 63-character limit.
  const std::vector<std::string> names = {"a", "b", "ab", "Ba", "abc", "xbc", "ABC_", "_abc",
                                          std::string(62, 'n') + "z", std::string(63, 'm')};
  std::string text;
  for (size_t s = 0; s < names.size(); ++s) {
    text += "[" + names[s] + "]\n";
    for (size_t k = 0; k < names.size(); ++k) text += names[k] + "=" + std::to_string(s * 100 + k) + "\n";
  }
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, text));
  std::vector<std::wstring> probes;
  for (const std::string& n : names) {
    std::wstring w(n.begin(), n.end()), upper = w;
    for (wchar_t& c : upper) c = towupper(c);
    probes.push_back(w);
    probes.push_back(upper);
    probes.push_back(w + L"x");
    probes.push_back(w.substr(1));
  }
  probes.push_back(std::wstring(64, L'm'));
  auto plainIndex = [&](const std::wstring& p) {
    for (size_t i = 0; i < names.size(); ++i)
      if (_wcsicmp(std::wstring(names[i].begin(), names[i].end()).c_str(), p.c_str()) == 0)
        return static_cast<int>(i);
    return -1;
  };
  for (const std::wstring& section : probes)
    for (const std::wstring& key : probes) {
      const int s = plainIndex(section), k = plainIndex(key);
      const std::wstring expected = s < 0 || k < 0 ? L"-" : std::to_wstring(s * 100 + k);
      wchar_t out[32];
      EXPECT_EQ(s >= 0, ini.GetString(section.c_str(), key.c_str(), L"-", out, 32));
      EXPECT_EQ(expected, out) << zortest::Escape(section) << " " << zortest::Escape(key);
      EXPECT_EQ(s >= 0, ini.SectionExists(section.c_str()));
    }
}

TEST(IniFileReader, HeaderKeepsBlanksAndRunsAcrossLinesUntilBracket) {
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, "[ Name ]\nk=1\n[open\nstill]\nk=2\n"));
  EXPECT_EQ(L"[ Name ][open\nstill]", Names(ini));
  EXPECT_EQ(L"2", Get(ini, L"open\nstill", L"k"));
  ASSERT_TRUE(Parse(ini, "[a]\nk=1\n[b\nk=2\n"));
  EXPECT_EQ(L"[a]", Names(ini)) << "unterminated, it swallows the rest and goes in the clean-up";
}

TEST(IniFileReader, KeysBeforeFirstHeaderAndAfterEmptyHeaderGoToUnnamedSectionAndKeylessSectionsStay) {
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, "top=1\n[a]\nk=2\n[]\nlate=3\n"));
  EXPECT_EQ(L"[][a]", Names(ini)) << "the [] section object is removed, its keys are not";
  EXPECT_EQ(L"1", Get(ini, nullptr, L"top"));
  EXPECT_EQ(L"3", Get(ini, L"", L"late"));
  // The clean-up removes empty sections before it removes key-less entries.
  ASSERT_TRUE(Parse(ini, "\r\n[a]\r\n[b]\r\nnothing here\r\n"));
  EXPECT_EQ(L"[][b]", Names(ini)) << "sections with only key-less lines stay, empty";
}

TEST(IniFileReader, SequentialSectionSearchPrefersTheSectionAfterTheLastOne) {
  // The look-up tries the last section found, then the next one, before
  // scanning from the first: after reading "b" a duplicate "a" after it wins.
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, "[s]\nk=1\nk=2\n[s]\nk=3\n"));
  EXPECT_EQ(2, ini.NumSections()) << "duplicates stay";
  EXPECT_EQ(L"1", Get(ini, L"s", L"k")) << "a cold look-up finds the first";
  ASSERT_TRUE(Parse(ini, "[a]\nk=first\n[b]\nk=b\n[a]\nk=second\n"));
  EXPECT_EQ(L"first", Get(ini, L"a", L"k"));
  EXPECT_EQ(L"b", Get(ini, L"b", L"k"));
  EXPECT_EQ(L"second", Get(ini, L"a", L"k"));
  EXPECT_EQ(L"second", Get(ini, L"a", L"k"));
  ini.Reset();
  ASSERT_TRUE(Parse(ini, "[a]\nk=first\n[b]\nk=b\n[a]\nk=second\n"));
  EXPECT_EQ(L"first", Get(ini, L"A", L"k")) << "Reset forgets the last section";
}

TEST(IniFileReader, LineWithoutEqualsIsDroppedEmptyValueKeptAndValueWithEmptyKeyFailsTheLoad) {
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, "[s]\njust words\nkey =\nk2=   \n"));
  EXPECT_EQ(L"dflt", Get(ini, L"s", L"just words", L"dflt"));
  EXPECT_EQ(L"dflt", Get(ini, L"s", L"key", L"dflt")) << "an empty value gives the default";
  wchar_t out[8];
  EXPECT_TRUE(ini.GetString(L"s", L"key", nullptr, out, 8));
  EXPECT_STREQ(L"", out);
  // A value with an empty key fails the whole load.
  EXPECT_FALSE(Parse(ini, "[s]\nk=1\n= value\n"));
  EXPECT_EQ(2, ini.NumSections()) << "what was read before stays, the unnamed section too";
  EXPECT_FALSE(Parse(ini, "[s]\n  \t = value\n"));
  CIniFileReader bare;
  EXPECT_TRUE(Parse(bare, "[s]\nk=1\n=\n")) << "an empty key without a value is only dropped";
}

TEST(IniFileReader, QuotedValuesFollowTheLastNonBlankQuoteRuleAndKeepTheirLastCharacterAtTheEnd) {
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini,
                    "[q]\n"
                    "padded = \"  padded  \"\n"
                    "open = \"open\n"
                    "trailing = \"a\" trailing\n"
                    "pair = \"a\" \"b\"\n"
                    "say = \"say \"hi\" now\"  \t\n"
                    "empty = \"\"\n"
                    "inner = a\"b\"\n"));
  EXPECT_EQ(L"  padded  ", Get(ini, L"q", L"padded"));
  EXPECT_EQ(L"\"open", Get(ini, L"q", L"open"));
  EXPECT_EQ(L"\"a\" trailing", Get(ini, L"q", L"trailing"));
  EXPECT_EQ(L"a\" \"b", Get(ini, L"q", L"pair"));
  EXPECT_EQ(L"say \"hi\" now", Get(ini, L"q", L"say"));
  EXPECT_EQ(L"d", Get(ini, L"q", L"empty", L"d"));
  EXPECT_EQ(L"a\"b\"", Get(ini, L"q", L"inner"));
  // At the end of the text without a line break the last character stays.
  ASSERT_TRUE(Parse(ini, "[s]\na=xyz"));
  EXPECT_EQ(L"xyz", Get(ini, L"s", L"a"));
  ASSERT_TRUE(Parse(ini, "[s]\na=\"q r\""));
  EXPECT_EQ(L"q r", Get(ini, L"s", L"a"));
}

TEST(IniFileReader, GetStringBuffersAndDefaults) {
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, "[s]\nk=abcdef\n"));
  wchar_t out[8];
  auto get = [&](const wchar_t* section, const wchar_t* def, unsigned int chars) {
    wmemset(out, 0xCCCC, 8);
    return ini.GetString(section, L"k", def, out, chars);
  };
  EXPECT_TRUE(get(L"s", L"zz", 7));
  EXPECT_STREQ(L"abcdef", out) << "exactly fitting";
  EXPECT_TRUE(get(L"s", L"zz", 4));
  EXPECT_STREQ(L"abc", out);
  EXPECT_EQ(0xCCCC, out[4]) << "nothing past the buffer";
  EXPECT_TRUE(get(L"s", L"zz", 1));
  EXPECT_EQ(0, out[0]);
  EXPECT_EQ(0xCCCC, out[1]);
  EXPECT_FALSE(get(L"s", L"zz", 0));
  EXPECT_EQ(0xCCCC, out[0]) << "outChars 0 leaves out untouched";
  EXPECT_FALSE(ini.GetString(L"s", nullptr, L"zz", out, 8));
  EXPECT_FALSE(ini.GetString(L"s", L"k", L"zz", nullptr, 8));
  // Missing key in an existing section: true and the default.
  EXPECT_TRUE(ini.GetString(L"s", L"missing", L"default!", out, 8));
  EXPECT_STREQ(L"default", out);
  // Missing section: false, zeroed, the default.
  EXPECT_FALSE(get(L"nope", L"d", 8));
  EXPECT_STREQ(L"d", out);
  EXPECT_EQ(0, out[7]);
  EXPECT_FALSE(ini.GetString(L"nope", L"k", nullptr, out, 8));
  EXPECT_STREQ(L"", out);
}

TEST(IniFileReader, OverlongKeysAndValuesAreRejectedNotOverrun) {
  CIniFileReader ini;
  EXPECT_TRUE(Parse(ini, "[s]\nk=" + std::string(8190, 'v') + "\n"));
  EXPECT_EQ(8190u, Get(ini, L"s", L"k").size());
  EXPECT_FALSE(Parse(ini, "[s]\nk=" + std::string(8191, 'v') + "\n"));
  EXPECT_TRUE(Parse(ini, "[s]\nk=" + std::string(8190, 'v') + " \n")) << "the stored value counts";
  EXPECT_FALSE(Parse(ini, "[s]\nk=x" + std::string(8191, ' ') + "y\n"));
  EXPECT_TRUE(Parse(ini, "[s]\n" + std::string(8191, 'k') + "=1\n"));
  EXPECT_EQ(L"1", Get(ini, L"s", std::wstring(8191, L'k').c_str()));
  EXPECT_FALSE(Parse(ini, "[s]\n" + std::string(8192, 'k') + "=1\n"));
  EXPECT_FALSE(Parse(ini, "[s]\n" + std::string(zortest::HeapChecked() ? 20000 : 100000, 'x') + "\n"))
      << "no '=' is still a key";
}

TEST(IniFileReader, SetValueCreatesReplacesAndLogsNullInput) {
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, "[a]\nk=1\n"));
  EXPECT_TRUE(ini.SetValue(L"A", L"K", L"2"));
  EXPECT_EQ(L"2", Get(ini, L"a", L"k"));
  EXPECT_TRUE(ini.SetValue(L"new", L"x", L"y"));
  EXPECT_EQ(L"[a][new]", Names(ini));
  EXPECT_TRUE(ini.SetValue(L"a", L"k", nullptr));
  EXPECT_EQ(L"dflt", Get(ini, L"a", L"k", L"dflt"));
  const std::wstring longName(70, L'L');
  EXPECT_TRUE(ini.SetValue(longName.c_str(), L"k", L"1"));
  EXPECT_TRUE(ini.SetValue(longName.c_str(), L"k", L"2"));
  EXPECT_EQ(3, ini.NumSections());

  zortest::LogCapture log;
  EXPECT_FALSE(ini.SetValue(L"", L"k", L"v"));
  EXPECT_FALSE(ini.SetValue(L"a", nullptr, L"v"));
  EXPECT_FALSE(ini.SetValue(nullptr, L"k", L"v"));
  EXPECT_FALSE(ini.SetValue(L"a", L"", L"v"));
  EXPECT_EQ(4u, log.lines().size());
  EXPECT_TRUE(log.Contains(L"CIniFileReader::SetValue: departing, NULL input"));
}

TEST(IniFileReader, SortOrdersSectionsAndKeysAndKeepsThemSorted) {
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, "[zeta]\nb=1\nA=2\n[Alpha]\nz=3\ny=4\n[mid]\nq=5\n"));
  ini.Sort();
  EXPECT_TRUE(ini.KeepSorted());
  EXPECT_EQ(L"[Alpha][mid][zeta]", Names(ini));
  EXPECT_EQ(L"3", Get(ini, L"alpha", L"Z"));
  EXPECT_EQ(L"2", Get(ini, L"ZETA", L"a")) << "binary search in sorted sections";
  EXPECT_TRUE(ini.SetValue(L"beta", L"m", L"6"));
  EXPECT_TRUE(ini.SetValue(L"zeta", L"0", L"7"));
  EXPECT_EQ(L"[Alpha][beta][mid][zeta]", Names(ini));
  EXPECT_EQ(L"7", Get(ini, L"zeta", L"0"));
  EXPECT_EQ(L"1", Get(ini, L"zeta", L"b"));

  CIniFileReader sorted;
  ASSERT_TRUE(Parse(sorted, "[b]\nk=1\n[a]\nk=2\n", true));
  EXPECT_EQ(L"[a][b]", Names(sorted));
  EXPECT_TRUE(sorted.KeepSorted());
  CIniFileReader flag;
  flag.SetKeepSorted(true);
  ASSERT_TRUE(Parse(flag, "[b]\nk=1\n[a]\nk=2\n"));
  EXPECT_EQ(L"[b][a]", Names(flag)) << "setting the flag does not sort";
}

TEST(IniFileReader, InitReadsRealFilesAndOddAddressBuffersAndKeepsTheNameOverReset) {
  zortest::TempDir dir;
  CIniFileReader ini;
  EXPECT_FALSE(ini.Init(nullptr, false));
  EXPECT_FALSE(ini.Init(L"", false));
  EXPECT_FALSE(ini.Init((dir / L"missing.ini").c_str(), false));
  EXPECT_FALSE(ini.Initialized());

  ASSERT_TRUE(zortest::WriteBytes(dir / L"bom.ini", "\xFF\xFE"));
  EXPECT_TRUE(ini.Init((dir / L"bom.ini").c_str(), false));
  EXPECT_EQ(0, ini.NumSections());
  EXPECT_TRUE(ini.Initialized());

  ASSERT_TRUE(zortest::WriteBytes(dir / L"u.ini",
                                  zortest::Utf16Bytes(L"[\x263A]\r\nkey = \x4E2D\x6587\r\n", true)));
  EXPECT_TRUE(ini.Init((dir / L"u.ini").c_str(), false));
  EXPECT_EQ(L"\x4E2D\x6587", Get(ini, L"\x263A", L"key"));
  EXPECT_STREQ((dir / L"u.ini").c_str(), ini.FileName());
  ini.Reset();
  EXPECT_FALSE(ini.Initialized());
  EXPECT_STREQ((dir / L"u.ini").c_str(), ini.FileName()) << "Reset keeps the file name";
  ASSERT_TRUE(zortest::WriteBytes(dir / L"nobom.ini", zortest::Utf16Bytes(L"[s]\nk=v", false)));
  EXPECT_TRUE(ini.Init((dir / L"nobom.ini").c_str(), false));
  EXPECT_EQ(L"v", Get(ini, L"s", L"k"));
  // A buffer at an odd address is read as UTF-16 all the same.
  std::string bytes = "x" + zortest::Utf16Bytes(L"[s]\r\nk=w\r\n", true);
  ASSERT_TRUE(ini.InitFromBuffer(reinterpret_cast<const unsigned char*>(bytes.data()) + 1,
                                 static_cast<unsigned int>(bytes.size() - 1), false));
  EXPECT_EQ(L"w", Get(ini, L"s", L"k"));
  EXPECT_FALSE(ini.InitFromBuffer(nullptr, 10, false));
  EXPECT_TRUE(ini.InitFromBuffer(reinterpret_cast<const unsigned char*>(""), 0, false));
  EXPECT_EQ(0, ini.NumSections());
}

TEST(IniFileReader, SaveWritesTheExactLayoutAndLosesUnnamedKeys) {
  zortest::TempDir dir;
  CIniFileReader ini;
  EXPECT_FALSE(ini.Save()) << "no file name";
  ASSERT_TRUE(Parse(ini, "lost=1\n[s]\nplain=a \"b\"\nlead= \" x\"\nempty=\n"));
  ASSERT_TRUE(ini.SetFileName((dir / L"out.ini").c_str()));
  ASSERT_TRUE(ini.Save());
  EXPECT_EQ(zortest::Utf16Bytes(L"\r\n\r\n[s]\r\nplain = a \"b\"\r\nlead = \" x\"\r\n"
                                L"empty = \r\n\r\n\r\n",
                                true),
            zortest::ReadBytes(dir / L"out.ini"));

  CIniFileReader again;
  ASSERT_TRUE(again.Init((dir / L"out.ini").c_str(), false));
  EXPECT_EQ(L"[][s]", Names(again)) << "the leading empty lines leave an empty unnamed section";
  EXPECT_EQ(L"a \"b\"", Get(again, L"s", L"plain"));
  EXPECT_EQ(L" x", Get(again, L"s", L"lead"));
  EXPECT_EQ(L"gone", Get(again, nullptr, L"lost", L"gone"));

  EXPECT_TRUE(ini.SetFileName(nullptr));
  EXPECT_EQ(nullptr, ini.FileName());
  EXPECT_TRUE(ini.SetFileName((dir / L"no\\such\\folder.ini").c_str()));
  EXPECT_FALSE(ini.Save());
}

TEST(IniFileReader, RoundTripThroughFileKeepsEveryValue) {
  // Fewer sections under the heap checker, which is slow on every allocation.
  const int n = zortest::HeapChecked() ? 6 : 20;
  zortest::TempDir dir;
  const std::wstring path = dir / L"rt.ini";
  auto value = [](int s, int k) {
    return (k % 3 == 0 ? L"  " : L"") + std::to_wstring(s * k) + L" \x20AC\"q\"" + (k % 2 ? L" " : L"");
  };
  CIniFileReader ini;
  ASSERT_TRUE(ini.SetFileName(path.c_str()));
  for (int s = 0; s < n; ++s)
    for (int k = 0; k < n; ++k)
      ASSERT_TRUE(ini.SetValue((L"Sec" + std::to_wstring(s)).c_str(), (L"key" + std::to_wstring(k)).c_str(),
                               value(s, k).c_str()));
  ASSERT_TRUE(ini.Save());
  CIniFileReader back;
  ASSERT_TRUE(back.Init(path.c_str(), false));
  ASSERT_EQ(n, back.NumSections());
  for (int s = 0; s < n; ++s)
    for (int k = 0; k < n; ++k)
      ASSERT_EQ(value(s, k), Get(back, (L"sec" + std::to_wstring(s)).c_str(), (L"KEY" + std::to_wstring(k)).c_str()))
          << s << "/" << k;
}
