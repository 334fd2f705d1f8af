// CIniFileReader: the parser's deliberate habits, look-ups, editing and the
// saved layout, through real files in both encodings; and a fuzz in which
// whatever loads must come back from its saved file.
#include <zorutils/formats/IniFileReader.h>

#include "tests/formats/FormatsTestUtil.h"
#include "tests/support/Fuzz.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>

using Keys = std::vector<std::wstring>;

static bool Parse(CIniFileReader& ini, const std::string& text, bool sorted = false) {
  return ini.InitFromBuffer(reinterpret_cast<const unsigned char*>(text.data()), static_cast<unsigned int>(text.size()),
                            sorted);
}

// Each section's name (the unnamed one's when `unnamed`), then its value of
// each of `keys` as GetString reads it by that name ("-" when there is none).
static Keys Read(CIniFileReader& ini, const Keys& keys, bool unnamed = true) {
  Keys all;
  std::vector<wchar_t> out(8192);
  for (int s = 0; s < ini.NumSections(); ++s) {
    const wchar_t* name = ini.SectionName(s);
    if (!ini.SectionExists(name) || (!*name && !unnamed)) continue;
    all.push_back(L"[" + std::wstring(name) + L"]");
    for (const std::wstring& key : keys) {
      EXPECT_TRUE(ini.GetString(name, key.c_str(), L"-", out.data(), 8192));
      all.push_back(out.data());
    }
  }
  return all;
}

static std::wstring Dump(CIniFileReader& ini, const Keys& keys = {}) {
  std::wstring all;
  for (const std::wstring& item : Read(ini, keys)) all += (all.empty() ? L"" : L" ") + item;
  return all;
}

static std::wstring Load(const std::string& text, const Keys& keys = {}, bool sorted = false) {
  CIniFileReader ini;
  const bool loaded = Parse(ini, text, sorted);
  return (loaded ? L"" : L"failed ") + Dump(ini, keys);
}

// The text in front of "=" on every line, as a key is stored (tabs made
// spaces, spaces trimmed): every key of the document is among them.
static Keys KeysIn(const std::wstring& text) {
  Keys keys;
  std::wstring line;
  for (wchar_t c : text + L"\n") {
    if (c != L'\r' && c != L'\n') {
      line += c == L'\t' ? L' ' : c;
      continue;
    }
    const size_t eq = line.find(L'='), first = line.find_first_not_of(L' ');
    if (eq != std::wstring::npos && first < eq && keys.size() < 64)
      keys.push_back(line.substr(first, line.find_last_not_of(L' ', eq - 1) + 1 - first));
    line.clear();
  }
  return keys;
}

// Values Save writes bare though reading them changes them: one beginning
// with a tab (leading blanks are skipped), and one beginning with a double
// quote whose last non-blank character is another (it reads as quoted).
static bool ChangesWhenReadBack(const std::wstring& v) {
  if (v.empty() || v.back() == L' ') return false;
  const size_t last = v.find_last_not_of(L" \t");
  return v[0] == L'\t' || (v[0] == L'"' && last > 0 && v[last] == L'"');
}

// Whether a saved file holds a header with nothing after it: a section of
// key-less lines, which loading keeps but saving cannot bring back.
static bool SavedAnEmptySection(const std::string& bytes) {
  const std::wstring t = ftest::TextOf(bytes);
  for (size_t at = 0; at < t.size(); at += 2) {
    if (t[at] == L'[' && t.compare(t.find(L']', at) + 1, 4, L"\r\n\r\n") == 0) return true;
    if ((at = t.find(L"\r\n", t[at] == L'[' ? t.find(L']', at) : at)) == std::wstring::npos) break;
  }
  return false;
}

TEST(IniFileReader, ReadsSectionsKeysAndCommentsAndWidensWithoutCodePage) {
  EXPECT_EQ(L"[Main] Hello world \xE9\x80\xFF - - [Other] - - x\t v",
            Load("; a comment\r\n[Main]\r\n  Title = Hello world  \r\n\r\n\r\nVolume=\xE9\x80\xFF\n[Other]\n"
                 "Name\t=\tx\t\n\tmy\tkey\t=v",
                 {L"title", L"VOLUME", L"Name", L"my key"}))
      << "trailing tabs stay, tabs in keys become spaces, the last character at the text's end stays";
}

TEST(IniFileReader, NamesMatchFoldingOnlyAToZAndWholeWithinTheir63Characters) {
  // Look-ups pre-filter sections by length and last character, keys by
  // their first: these probes stand on each side of every such filter.
  const std::wstring n(62, L'n'), m(63, L'm');
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, "[" + std::string(62, 'n') + "z]\nab=1\n[" + std::string(63, 'm') +
                             "]\nab=2\nBa=3\n[\xC4]\nk=4\n"));
  std::wstring got;
  wchar_t out[8];
  for (const auto& p : {Keys{n + L"Z", L"AB"}, {m, L"ba"}, {L"\xC4", L"K"}, {L"\xE4", L"k"}, {m + L"m", L"ab"},
                        {n.substr(1) + L"z", L"ab"}, {L"x" + n.substr(1) + L"z", L"ab"}, {n + L"z", L"b"}}) {
    const bool found = ini.GetString(p[0].c_str(), p[1].c_str(), L"-", out, 8);
    got += (found ? L" " : L" !") + std::wstring(out);
  }
  EXPECT_EQ(L" 1 3 4 !- !- !- !- -", got) << "! marks a section not found";
}

TEST(IniFileReader, HeadersKeepBlanksAreCutAt63RunAcrossLinesUntilBracketAndKeylessSectionsStay) {
  EXPECT_EQ(L"[ Name ] 1 [open\nstill] 2 [" + std::wstring(63, L'L') + L"] 3",
            Load("[ Name ]\nk=1\n[open\nstill]\nk=2\n[" + std::string(70, 'L') + "]\nk=3\n", {L"k"}));
  EXPECT_EQ(L"[a]", Load("[a]\nk=1\n[b\nk=2\n")) << "unterminated, it swallows the rest and goes in the clean-up";
  EXPECT_EQ(L"[] [b]", Load("\r\n[a]\r\n[b]\r\nnothing here\r\n")) << "empty sections go, not those of key-less lines";
  EXPECT_EQ(L"[] 1 3 [a] - -", Load("top=1\n[a]\nk=2\n[]\nlate=3\n", {L"top", L"late"})) << "keys after [] are unnamed";
}

TEST(IniFileReader, LineWithoutEqualsIsDroppedAndValueWithEmptyKeyFailsTheLoadKeepingWhatWasRead) {
  EXPECT_EQ(L"[s] - 1", Load("[s]\njust words\n=\nk=1\n", {L"just words", L"k"})) << "an empty key alone is dropped";
  EXPECT_EQ(L"failed [] - [s] 1", Load("[s]\nk=1\n= value\n", {L"k"}));
  EXPECT_EQ(L"failed [] [s]", Load("[s]\n  \t = value\n"));
}

TEST(IniFileReader, QuotedValuesFollowTheLastNonBlankQuoteRule) {
  EXPECT_EQ(L"[q]   padded   \"open \"a\" trailing a\" \"b say \"hi\" now - a\"b\" q r",
            Load("[q]\npadded = \"  padded  \"\nopen = \"open\ntrailing = \"a\" trailing\npair = \"a\" \"b\"\n"
                 "say = \"say \"hi\" now\"  \t\nempty = \"\"\ninner = a\"b\"\nend=\"q r\"",
                 {L"padded", L"open", L"trailing", L"pair", L"say", L"empty", L"inner", L"end"}));
}

TEST(IniFileReader, DuplicatesStayAndSequentialLookupPrefersTheSectionAfterTheLastOne) {
  CIniFileReader ini;
  for (int load = 0; load < 2; ++load) {
    ASSERT_TRUE(Parse(ini, "[a]\nk=first\nk=dup\n[b]\nk=b\n[a]\nk=second\n"));
    EXPECT_EQ(L"[a] first [b] b [a] second", Dump(ini, {L"k"})) << "a cold look-up finds the first; a load forgets";
    EXPECT_EQ(L"[a] second [b] b [a] second", Dump(ini, {L"k"})) << "a warm one the last one found";
  }
}

TEST(IniFileReader, GetStringTruncatesToTheBufferAndGivesTheDefaultForMissingKeysAndSections) {
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, "[s]\nk=abcdef\n"));
  wchar_t out[8];
  auto get = [&](const wchar_t* section, const wchar_t* key, const wchar_t* def, unsigned int chars) {
    wmemset(out, L'#', 8);
    const bool found = ini.GetString(section, key, def, out, chars);
    return std::to_wstring(found) + L":" + std::wstring(out, 8);
  };
  const std::wstring z(1, 0);
  EXPECT_EQ(L"1:abcdef" + z + L"#1:abc" + z + L"####1:" + z + L"#######",  // nothing past the buffer
            get(L"s", L"k", L"zz", 7) + get(L"s", L"k", L"zz", 4) + get(L"s", L"k", L"zz", 1));
  EXPECT_EQ(L"0:########0:########", get(L"s", L"k", L"zz", 0) + get(L"s", nullptr, L"zz", 8)) << "out untouched";
  EXPECT_EQ(L"1:default" + z + L"0:d" + std::wstring(7, 0),
            get(L"s", L"missing", L"default!", 8) + get(L"nope", L"k", L"d", 8))
      << "the default, cut to fit; a missing section zeroes the buffer";
}

TEST(IniFileReader, OverlongKeysAndValuesAreRejectedNotOverrun) {
  const std::string v8190(8190, 'v'), k8191(8191, 'k');
  EXPECT_EQ(L"[s] " + std::wstring(8190, L'v'), Load("[s]\nk=" + v8190 + " \n", {L"k"})) << "the stored value counts";
  EXPECT_EQ(L"[s] 1", Load("[s]\n" + k8191 + "=1\n", {std::wstring(8191, L'k')}));
  for (const std::string& text : {"[s]\nk=" + v8190 + "v\n", "[s]\nk=x" + std::string(8191, ' ') + "y\n",
                                  "[s]\nk" + k8191 + "=1\n", "[s]\nk" + k8191 + "\n"})
    EXPECT_EQ(L"failed [] [s]", Load(text)) << text.size();
}

TEST(IniFileReader, TheLongestKeyAndValuesThatLoadAlsoLoadAgainOnceSaved) {
  // Save writes "key = value": the blanks before "=" must not push the
  // longest key past the work buffer when the file is read again.
  zortest::TempDir dir;
  const std::wstring path = dir / L"long.ini";
  const std::string key(8191, 'k');
  const Keys keys = {std::wstring(8191, L'k'), L"q"};
  const std::wstring expected = L"[s] " + std::wstring(8190, L'v') + L" " + L" " + std::wstring(8189, L'w');
  CIniFileReader ini, back;
  ASSERT_TRUE(Parse(ini, "[s]\n" + key + " \t= " + std::string(8190, 'v') + "\nq=\" " + std::string(8189, 'w') +
                             "\"\n"));
  EXPECT_EQ(expected, Dump(ini, keys));
  ASSERT_TRUE(ini.SetFileName(path.c_str()) && ini.Save());
  ASSERT_TRUE(back.Init(path.c_str(), false));
  EXPECT_EQ(expected, Dump(back, keys));
}

TEST(IniFileReader, SetValueCreatesReplacesKeepsSortedAndLogsNullInput) {
  CIniFileReader ini;
  ASSERT_TRUE(Parse(ini, "[zeta]\nb=1\nA=2\n[_]\nz=3\ny=4\n"));
  const std::wstring longName(70, L'L'), cut = longName.substr(7);
  EXPECT_TRUE(ini.SetValue(L"ZETA", L"B", L"5") && ini.SetValue(L"zeta", L"A", nullptr) &&
              ini.SetValue(L"new", L"x", L"y") && ini.SetValue(longName.c_str(), L"k", L"1") &&
              ini.SetValue(longName.c_str(), L"k", L"2"));
  EXPECT_EQ(L"[zeta] 5 - - - [_] - - - - [new] - - y - [" + cut + L"] - - - 2", Dump(ini, {L"b", L"a", L"x", L"k"}))
      << "names match as stored, cut to 63";
  ini.Sort();
  EXPECT_TRUE(ini.KeepSorted() && ini.SetValue(L"Alpha", L"m", L"6") && ini.SetValue(L"_", L"0", L"7"));
  EXPECT_EQ(L"[_] 7 4 3 [Alpha] - - - [" + cut + L"] - - - [new] - - - [zeta] - - -", Dump(ini, {L"0", L"Y", L"z"}))
      << "A-Z fold to a-z, after '_'; sorted keys are found by halving";
  EXPECT_EQ(L"[a] [b]", Load("[b]\nk=1\n[a]\nk=2\n", {}, true));
  zortest::LogCapture log;
  EXPECT_FALSE(ini.SetValue(L"", L"k", L"v") || ini.SetValue(L"a", nullptr, L"v") ||
               ini.SetValue(nullptr, L"k", L"v") || ini.SetValue(L"a", L"", L"v"));
  EXPECT_EQ(std::vector<std::wstring>(4, L"CIniFileReader::SetValue: departing, NULL input"), log.lines());
}

TEST(IniFileReader, InitReadsRealFilesStopsSingleByteTextAtAZeroByteAndKeepsTheNameOverReset) {
  zortest::TempDir dir;
  // Single-byte text ends at its first zero byte, UTF-16 text goes on.
  const std::pair<std::string, const wchar_t*> files[] = {
      {"", L"failed "}, {"\xFF\xFE", L""}, {std::string("[s]\nj=w\0[t]\nm=1\n", 16), L"[s] w -"},
      {zortest::Utf16Bytes(L"[\x263A]\r\nJ = \x4E2D\x6587\r\n", true), L"[\x263A] \x4E2D\x6587 -"},
      {zortest::Utf16Bytes(std::wstring(L"[s]\nj=a\0b\n[t]\nm=1", 17), false), L"[s] a - [t] - 1"}};
  CIniFileReader ini;
  for (const auto& f : files) {
    ASSERT_TRUE(zortest::WriteBytes(dir / L"f.ini", f.first));
    const bool ok = ini.Init((dir / L"f.ini").c_str(), false);
    EXPECT_EQ(f.second, (ok ? L"" : L"failed ") + Dump(ini, ini.NumSections() ? Keys{L"j", L"m"} : Keys{})) << f.first;
    EXPECT_EQ(ok, ini.Initialized());
  }
  ini.Reset();
  EXPECT_TRUE(!ini.Initialized() && dir / L"f.ini" == ini.FileName()) << "Reset keeps the file name";
  EXPECT_FALSE(ini.Init(nullptr, false) || ini.Init(L"", false) || ini.Init((dir / L"missing.ini").c_str(), false) ||
               ini.InitFromBuffer(nullptr, 10, false));
  EXPECT_TRUE(ini.InitFromBuffer(reinterpret_cast<const unsigned char*>(""), 0, false)) << "an empty buffer is fine";
}

TEST(IniFileReader, SaveWritesTheExactLayoutQuotesOnlyValuesWithOuterSpacesAndLosesUnnamedKeys) {
  zortest::TempDir dir;
  CIniFileReader ini;
  EXPECT_FALSE(ini.Save()) << "no file name";
  ASSERT_TRUE(Parse(ini, "lost=1\n[s]\nplain=a \"b\"\nlead= \" x\"\ntrail=\"y \"\nempty=\n[t]\n"));
  ASSERT_TRUE(ini.SetFileName((dir / L"out.ini").c_str()) && ini.Save());
  EXPECT_EQ(zortest::Utf16Bytes(
                L"\r\n\r\n[s]\r\nplain = a \"b\"\r\nlead = \" x\"\r\ntrail = \"y \"\r\nempty = \r\n\r\n\r\n", true),
            zortest::ReadBytes(dir / L"out.ini"));
  EXPECT_TRUE(ini.SetFileName(nullptr) && !ini.FileName() && ini.SetFileName((dir / L"no\\such\\folder.ini").c_str()));
  EXPECT_FALSE(ini.Save());
}

TEST(IniFileReaderFuzz, LoadsAlikeFromFileAndBufferAndWhatLoadsSurvivesSaveAndLoad) {
  const std::vector<std::string> samples = ftest::Variants({
      L"; promo script\r\n[Script]\r\nTitle = \"  Welcome  \"\r\nSteps=3\n\n[Step1]\nText = say \"hi\" now\n"
      L"\tFont\t= Arial\t\n[ Odd ]\nk=\"open\nlone line\nName=\xE9t\xE9\nq=\"\"\"\"\n[Unterminated\nx=1\n",
      L"top=1\n[]\nafter=2\n[s]\nk = \"a\" \"b\"\nk = dup\n= bad\n[t]\nz=3",
      L"\n  \n[a]\n[b]\nq=\"\"\nr = \"x\" y\n;c\n[c]\r\rkey=\"\t\"\n",
  });
  const std::vector<std::string> tokens = ftest::WithUtf16(
      {"[", "]", "=", "\"", ";", " ", "\t", "\r\n", "\n", "[s]\n", "k=v\n", "[]", "= v", "k = \" q \"\n"});
  zortest::TempDir dir;
  const std::wstring path = dir / L"fuzz.ini", saved = dir / L"saved.ini";
  zortest::Fuzz(samples, tokens, {}, [&](const std::string& input) {
    const std::string bytes = input.substr(0, zortest::HeapChecked() ? 20000 : 100000);
    ASSERT_TRUE(zortest::WriteBytes(path, bytes));
    CIniFileReader ini, buffered;
    const bool loaded = ini.Init(path.c_str(), false);
    // From an exact-size block, at an odd address every other time.
    const size_t odd = bytes.size() % 2;
    unsigned char* block = static_cast<unsigned char*>(std::malloc(bytes.size() + odd + 1));
    std::memcpy(block + odd, bytes.data(), bytes.size());
    const bool fromBuffer = buffered.InitFromBuffer(block + odd, static_cast<unsigned int>(bytes.size()), false);
    std::free(block);
    EXPECT_TRUE(loaded == (fromBuffer && !bytes.empty()) && loaded == ini.Initialized());
    const Keys keys = KeysIn(ftest::TextOf(bytes));
    EXPECT_EQ(Read(ini, keys), Read(buffered, keys));
    if (!loaded) return;
    // Both read from a fresh start: a look-up begins at the section found last.
    CIniFileReader again, back;
    ASSERT_TRUE(again.Init(path.c_str(), false) && again.SetFileName(saved.c_str()) && again.Save());
    ASSERT_TRUE(back.Init(saved.c_str(), false)) << "a saved document loads";
    // A section of key-less lines loads but saves as a bare header, which loading drops: such inputs
    // only have to load again.
    if (SavedAnEmptySection(zortest::ReadBytes(saved))) return;
    const Keys before = Read(again, keys, false), after = Read(back, keys, false);
    ASSERT_EQ(before.size(), after.size());
    for (size_t i = 0; i < before.size(); ++i)
      if (before[i] != after[i] && !ChangesWhenReadBack(before[i]))
        ADD_FAILURE() << zortest::Escape(before[i]) << " came back as " << zortest::Escape(after[i]);
  });
}
