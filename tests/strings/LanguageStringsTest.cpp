// Localised strings: string files, the cache, line rules and escapes, bounds,
// "Languages.csv", the command line, and a fuzz of both file kinds.
#include "tests/support/Fuzz.h"
#include "tests/support/TestSupport.h"

#include <atomic>

namespace {

// The cache lives as long as the library: every test uses keys of its own.
std::wstring UniqueKey(const wchar_t* stem) {
  static int counter = 0;
  return stem + std::to_wstring(++counter);
}

// MyLoadString into a buffer of outChars + 1 units with a guard behind.
std::wstring Load(const std::wstring& key, const std::wstring& file = L"", bool escapes = false, int outChars = 512) {
  std::vector<wchar_t> out(static_cast<size_t>(outChars) + 9, 0xCCCC);
  const int n = MyLoadString(const_cast<wchar_t*>(key.c_str()), out.data(), outChars, const_cast<wchar_t*>(file.c_str()), escapes);
  EXPECT_TRUE(n >= 0 && n <= outChars && !out[size_t(n)] && out[size_t(outChars) + 1] == 0xCCCC) << n << " of " << outChars;
  return out.data();
}

std::string A(const std::wstring& s) { return std::string(s.begin(), s.end()); }

// An ANSI string file of the given lines, CR LF after each.
void WriteLines(const std::wstring& path, const std::vector<std::string>& lines) {
  std::string bytes;
  for (const auto& l : lines) bytes += l + "\r\n";
  ASSERT_TRUE(zortest::WriteBytes(path, bytes));
}

struct StringFiles : testing::Test {
  StringFiles() { SetStringFile(&main[0]), SetBackupStringFile(&backup[0]); }
  ~StringFiles() override { SetStringFile(nullptr), SetBackupStringFile(nullptr); }
  zortest::TempDir dir;
  std::wstring main = dir / L"main.ini", backup = dir / L"backup.ini";
};

// Every answer is cached as given (cut, or the key when found nowhere) and
// outlives file changes; a missing main file (no backup tried) caches nothing.
TEST_F(StringFiles, CacheKeepsFirstAnswersButNotAMissingFile) {
  const std::vector<std::wstring> keys = {UniqueKey(L"Found"), UniqueKey(L"Nowhere"), UniqueKey(L"Backup"), UniqueKey(L"Later")};
  WriteLines(backup, {A(keys[3]) + "=backup text"});
  EXPECT_EQ(keys[3], Load(keys[3]));
  WriteLines(main, {"[Strings]", A(keys[0]) + "=first text", A(keys[3]) + "=arrived"}), WriteLines(backup, {A(keys[2]) + "=from backup"});
  const std::vector<std::wstring> first = {L"fir", keys[1].substr(0, 3), L"fro", L"arr"};
  for (size_t i = 0; i < keys.size(); ++i) EXPECT_EQ(first[i], Load(keys[i], L"", false, 3));
  WriteLines(main, {A(keys[0]) + "=changed", A(keys[1]) + "=now here"}), WriteLines(backup, {A(keys[2]) + "=changed"});
  for (size_t i = 0; i < keys.size(); ++i) EXPECT_EQ(first[i], Load(keys[i]));
  EXPECT_EQ(L"f", Load(keys[0], L"", false, 1));
  wchar_t out[8], *key = const_cast<wchar_t*>(keys[0].c_str());
  EXPECT_EQ(0, MyLoadString(nullptr, out, 5, nullptr, false) + MyLoadString(key, nullptr, 5, nullptr, false) +
                   MyLoadString(key, out, 0, nullptr, false));
}

TEST_F(StringFiles, ExplicitFileBypassesCacheAndBackup) {
  const std::wstring key = UniqueKey(L"Explicit"), onlyBackup = UniqueKey(L"Miss"), other = dir / L"other.ini";
  WriteLines(main, {A(key) + "=main text"}), WriteLines(other, {A(key) + "=other text"});
  WriteLines(backup, {A(key) + "=backup text", A(onlyBackup) + "=backup text"});
  EXPECT_EQ(L"other text", Load(key, other));
  EXPECT_EQ(L"main text", Load(key)) << "nothing was cached by the explicit look-up";
  WriteLines(other, {A(key) + "=other changed"});
  EXPECT_EQ(L"other changed", Load(key, other)) << "nor is the cache asked";
  EXPECT_EQ(onlyBackup + L"|" + onlyBackup, Load(onlyBackup, other) + L"|" + Load(onlyBackup, dir / L"none.ini")) << "no backup";
  EXPECT_EQ(L"backup text", Load(onlyBackup, L"")) << "an empty name counts as none";
}

// One critical section serialises every look-up: threads filling the cache
// while others read files by name all get their own answers.
TEST_F(StringFiles, ConcurrentLookUpsEachGetTheirOwnAnswer) {
  const int keyCount = 300;
  std::vector<std::wstring> keys;
  std::string text;
  for (int i = 0; i < keyCount; ++i)
    keys.push_back(UniqueKey(L"Threaded")), text += A(keys.back()) + "=value " + std::to_string(i) + "\r\n";
  const std::wstring named = dir / L"named.ini";
  ASSERT_TRUE(zortest::WriteBytes(main, text) && zortest::WriteBytes(named, text));
  std::atomic<int> wrong{0};
  HANDLE threads[4];
  for (int t = 0; t < 4; ++t)
    threads[t] = zortest::StartThread([&, t] {
      wchar_t out[64];
      for (int i = 0; i < 2 * keyCount; ++i) {  // cold, then warm cache
        const int k = (i * 7 + t * 13) % keyCount;
        MyLoadString(const_cast<wchar_t*>(keys[size_t(k)].c_str()), out, 63,
                     i % 5 ? nullptr : const_cast<wchar_t*>(named.c_str()), true);
        if (L"value " + std::to_wstring(k) != out) ++wrong;
      }
    });
  WaitForMultipleObjects(4, threads, TRUE, INFINITE);
  for (HANDLE h : threads) CloseHandle(h);
  EXPECT_EQ(0, wrong.load());
}

TEST_F(StringFiles, LineRulesAndEscapes) {
  const std::wstring f = dir / L"rules.ini";
  WriteLines(f, {"; comment=no", "[Section=header]", "  Indented=never", "Padded \t = padded value",
                 "Spaced=   \tleading blanks go", "Quoted=\"kept\"", "NoEquals line", "Dup=first", "Dup=second",
                 "[Later]", "Empty=", "Inner=a=b", std::string(1023, 'x') + "Hidden=piece", "caf\xC9=E-acute",
                 "Two=Line one\\nLine two", "Both=a\\r\\nb", "Tab=a\\tb", "Lone=back\\slash"});
  const struct { const wchar_t *key, *expected; bool escapes = false; } cases[] = {
      {L"comment", L"comment"}, {L"[Section", L"[Section"}, {L"Indented", L"Indented"},
      {L"  Indented", L"never"},  // the leading blanks are part of the key
      {L"padded", L"padded value"}, {L"SPACED", L"leading blanks go"}, {L"Quoted", L"\"kept\""},
      {L"Dup", L"first"}, {L"Empty", L""}, {L"Inner", L"a=b"},
      {L"Hidden", L"piece"},  // 1023 characters at a time: the rest is a line of its own
      {L"CAF\x00C9", L"E-acute"}, {L"caf\x00E9", L"caf\x00E9"},  // only A-Z are folded
      {L"Two", L"Line one\nLine two", true}, {L"Two", L"Line one\\nLine two", false}, {L"Both", L"a\nb", true},
      {L"Tab", L"a\tb", true}, {L"Lone", L"back\\slash", true}, {L"Missing\\n", L"Missing\\n", true},
  };
  for (const auto& c : cases) EXPECT_EQ(c.expected, Load(c.key, f, c.escapes)) << zortest::Escape(c.key);
}

TEST_F(StringFiles, ProfileReaderFormsReadSectionStringsAndWriteCrLf) {
  WriteLines(main, {"[Other]", "Greeting=wrong", "[Strings]", "Greeting=Line one\\nLine two\\tend"});
  wchar_t out[128], none[2] = L"z";
  const auto load = [&](int (*fn)(const wchar_t*, wchar_t*, unsigned long), const wchar_t* key) {
    return std::to_wstring(fn(key, out, 128)) + L":" + out;
  };
  EXPECT_EQ(L"1:Line one\\nLine two\\tend", load(LoadLanguageString, L"Greeting"));
  EXPECT_EQ(L"1:Line one\r\nLine two\tend", load(LoadLanguageStringFormatted, L"Greeting"));
  EXPECT_EQ(L"1:Absent", load(LoadLanguageString, L"Absent")) << "the key is the default";
  EXPECT_EQ(0, LoadLanguageStringFormatted(nullptr, out, 128) + LoadLanguageStringFormatted(L"Greeting", none, 0) +
                   LoadLanguageString(L"Greeting", none, 0));
}

TEST_F(StringFiles, SettersRefusePathsThatDoNotFit) {
  SetLanguageFile((L"C:\\" + std::wstring(257, L'p')).c_str());  // 260 characters
  EXPECT_EQ(main, GetStringFile());
}

struct LanguageTable : testing::Test {
  ~LanguageTable() override { had ? (void)zortest::WriteBytes(csv, saved) : (void)DeleteFileW(csv.c_str()); }
  void Write(const std::string& rows) { ASSERT_TRUE(zortest::WriteBytes(csv, "Language,Default,Strings,Utilities\r\n" + rows)); }
  std::wstring Choose(const wchar_t* language, StringFileFields field, bool useDefault = false) {
    wchar_t out[MAX_PATH + 8];
    wmemset(out, 0xCCCC, MAX_PATH + 8);
    if (!GetStringFileFromLanguage(const_cast<wchar_t*>(language), field, out, useDefault)) return L"<false>";
    return wcsnlen(out, MAX_PATH + 8) < MAX_PATH ? std::wstring(out).substr(dir.size()) : L"<too long>";
  }
  const std::wstring dir = zortest::ExeDir() + L"\\", csv = dir + L"Languages.csv";
  const std::string saved = zortest::ReadBytes(csv);
  const bool had = GetFileAttributesW(csv.c_str()) != INVALID_FILE_ATTRIBUTES;
};

// The language's row, else the last "Y" row; a path that would not fit
// (260 characters or more) is passed over; no "Y" row and no match: false.
TEST_F(LanguageTable, NamesAndTheLanguageThenTheLastDefaultRowChooseTheFile) {
  const std::string exact(MAX_PATH - dir.size(), 'e');
  Write("English,Y,en.ini,u-en.ini\r\nDeutsch,,de.ini,u-de.ini\r\nFrancais,Y,fr.ini,u-fr.ini\r\nExact,," + exact + ",u\r\n");
  wchar_t name[32];
  EXPECT_EQ(4, GetNumberOfLanguageStringFiles());
  EXPECT_TRUE(GetLanguageName(1, name, 32) && name == std::wstring(L"Deutsch"));
  EXPECT_TRUE(GetLanguageName(0, name, 4) && name == std::wstring(L"Eng")) << "cut to fit, terminated";
  EXPECT_FALSE(GetLanguageName(4, name, 32) || GetLanguageName(-1, name, 32) || GetLanguageName(0, nullptr, 32));
  EXPECT_EQ((std::vector<std::wstring>{L"u-de.ini", L"fr.ini", L"fr.ini", L"fr.ini", L"<false>"}),
            (std::vector<std::wstring>{Choose(L"deutsch", SFF_UtilityStrings), Choose(L"Klingon", SFF_MainStrings),
                                       Choose(L"Deutsch", SFF_MainStrings, true), Choose(L"Exact", SFF_MainStrings),
                                       Choose(L"Deutsch", SFF_HelpFile)}));
  Write("English,,en.ini,u\r\nDeutsch,N,de.ini,u\r\nExact,Y," + exact + ",u\r\n");
  EXPECT_EQ(L"<false>|<false>|<false>", Choose(L"Klingon", SFF_MainStrings) + L"|" +
                                                    Choose(L"Klingon", SFF_MainStrings, true) + L"|" + Choose(nullptr, SFF_MainStrings));
  DeleteFileW(csv.c_str());
  EXPECT_TRUE(GetNumberOfLanguageStringFiles() == 0 && !GetLanguageName(0, name, 32) && Choose(L"English", SFF_MainStrings) == L"<false>");
}

// Through the calls that name their file (no cache): every answer fits its
// buffer, is terminated and comes out the same when asked again.
TEST_F(LanguageTable, FuzzedFilesGiveBoundedRepeatableAnswers) {
  zortest::TempDir tmp;
  const std::wstring strings = tmp / L"fuzz.ini";
  const std::vector<std::string> samples = {
      "[Strings]\r\nKey=Value one\\nline two\r\n  Indented=x\r\nTab = a\\tb\\r\\nc\r\n; c=d\r\nEmpty=\r\n",
      "Language,Default,Strings,Utilities\r\nKey,Y,en.ini,u.ini\r\n\"Tab,x\",,\"de\"\"x.ini\",u-de.ini\r\n"};
  zortest::Fuzz(samples, {"=", "\\n", "\\r\\n", "\\t", ",", "\"", ",Y,", "\n"}, {}, [&](const std::string& input) {
    ASSERT_TRUE(zortest::WriteBytes(strings, input) && zortest::WriteBytes(csv, input));
    std::wstring answers[2];
    for (std::wstring& answer : answers) {
      for (const wchar_t* key : {L"Key", L"Tab"}) {
        for (int outChars : {1, 300}) answer += Load(key, strings, key[0] == L'T', outChars) + L"|";
        wchar_t name[8] = {0};
        answer += GetLanguageName(key[0] == L'K' ? 0 : 1, name, 8) && wcsnlen(name, 8) < 8 ? name : L"-";
        answer += Choose(key, SFF_UtilityStrings) + L"|";
      }
      answer += std::to_wstring(GetNumberOfLanguageStringFiles());
    }
    ASSERT_EQ(answers[0], answers[1]);
  });
}

// Runs as a child only: writes parameters 0 to 7 of its command line, one a line.
TEST(CommandLineChild, WriteParameters) {
  wchar_t outPath[MAX_PATH], param[MAX_PATH];
  if (!GetEnvironmentVariableW(L"ZOR_CMDLINE_OUT", outPath, MAX_PATH)) GTEST_SKIP() << "child only";
  std::wstring all;
  for (int i = 0; i < 8; ++i) GetCommandLineParameter(i, param, MAX_PATH), all += param + std::wstring(L"\n");
  zortest::WriteBytes(outPath, zortest::Utf16Bytes(all, false));
}

// Quotes group; an unquoted run with blanks stays whole when it names
// something on disk (from a drive root only), else it is split at them.
TEST(CommandLine, QuotesGroupAndExistingPathsWithBlanksStayWhole) {
  zortest::TempDir dir;
  const std::wstring spaced = dir / L"my  music file.mp3", out = dir / L"params.txt";
  ASSERT_TRUE(zortest::WriteBytes(spaced, "x") && zortest::WriteBytes(dir / L"ab c", "x"));
  wchar_t exe[MAX_PATH];
  GetModuleFileNameW(nullptr, exe, MAX_PATH);
  std::wstring line = L"\"" + std::wstring(exe) + L"\" --gtest_filter=CommandLineChild.* \"quoted arg\" " + spaced + L" ab c " +
                      dir.path() + L"\\not there.txt";
  SetEnvironmentVariableW(L"ZOR_CMDLINE_OUT", out.c_str());
  STARTUPINFOW si = {};
  PROCESS_INFORMATION pi = {};
  si.cb = sizeof si;
  ASSERT_TRUE(CreateProcessW(exe, &line[0], nullptr, nullptr, FALSE, 0, nullptr, dir.path().c_str(), &si, &pi));
  SetEnvironmentVariableW(L"ZOR_CMDLINE_OUT", nullptr);
  WaitForSingleObject(pi.hProcess, 60000);
  CloseHandle(pi.hProcess), CloseHandle(pi.hThread);
  const std::string bytes = zortest::ReadBytes(out);
  EXPECT_EQ(std::wstring(exe) + L"\n--gtest_filter=CommandLineChild.*\nquoted arg\n" + spaced + L"\nab\nc\n" + dir.path() +
                L"\\not\nthere.txt\n",
            std::wstring(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2));
  wchar_t small[8] = {0, 0, 0, 0, 0xCCCC, L'z'};
  GetCommandLineParameter(0, small, 4);  // the program path, cut to 3 characters
  GetCommandLineParameter(0, small + 5, 0), GetCommandLineParameter(0, nullptr, 8);
  EXPECT_EQ(std::wstring(exe).substr(0, 3) + L'\0' + L'\xCCCC' + L'z', std::wstring(small, 6));
  GetCommandLineParameter(-1, small, 8);
  EXPECT_EQ(L"", std::wstring(small));
}

TEST(UtilitiesFile, IsSetAtLoadToTheProgramsFolder) {
  EXPECT_EQ(zortest::ExeDir() + L"\\utility-strings.ini", GetUtilitiesStringFile());
  EXPECT_EQ(L"Do not ask me again", Load(L"DoNotAsk", GetUtilitiesStringFile(), true));
}

}  // namespace
