// Localised strings: main, backup and explicit files, the cache's lifetime,
// escapes, line rules, bounds, threads, "Languages.csv" and the command line.
#include "tests/support/TestSupport.h"

#include <windows.h>

#include <atomic>
#include <string>
#include <vector>

namespace {

// The cache lives as long as the library: every test uses keys of its own.
std::wstring UniqueKey(const wchar_t* stem) {
  static int counter = 0;
  return std::wstring(stem) + std::to_wstring(++counter);
}

std::wstring Load(const std::wstring& key, const wchar_t* file = nullptr, bool escapes = false,
                  int outChars = 512) {
  std::vector<wchar_t> out(static_cast<size_t>(outChars) + 1, 0xCCCC);
  int n = MyLoadString(const_cast<wchar_t*>(key.c_str()), out.data(), outChars,
                       const_cast<wchar_t*>(file), escapes);
  std::wstring s(out.data());
  EXPECT_EQ(static_cast<size_t>(n), s.size());
  return s;
}

// Writes an ANSI string file of the given lines (CR LF line ends).
void WriteLines(const std::wstring& path, const std::vector<std::string>& lines) {
  std::string bytes;
  for (const auto& l : lines) bytes += l + "\r\n";
  ASSERT_TRUE(zortest::WriteBytes(path, bytes));
}

std::string Narrow(const std::wstring& s) { return std::string(s.begin(), s.end()); }

class StringFiles : public testing::Test {
protected:
  void SetUp() override {
    main = dir / L"main.ini";
    backup = dir / L"backup.ini";
    SetStringFile(const_cast<wchar_t*>(main.c_str()));
    SetBackupStringFile(const_cast<wchar_t*>(backup.c_str()));
  }
  void TearDown() override {
    SetStringFile(nullptr);
    SetBackupStringFile(nullptr);
  }
  zortest::TempDir dir;
  std::wstring main, backup;
};

TEST_F(StringFiles, CachedTextOutlivesFileChanges) {
  std::wstring found = UniqueKey(L"Found"), missing = UniqueKey(L"Missing");
  WriteLines(main, {"[Strings]", Narrow(found) + "=first text"});
  WriteLines(backup, {"[Strings]"});
  EXPECT_EQ(Load(found), L"first text");
  EXPECT_EQ(Load(missing), missing);  // found nowhere: the key itself
  WriteLines(main, {Narrow(found) + "=second text", Narrow(missing) + "=now here"});
  EXPECT_EQ(Load(found), L"first text");
  EXPECT_EQ(Load(missing), missing);  // the key was cached as its own text
  DeleteFileW(main.c_str());
  EXPECT_EQ(Load(found), L"first text");
}

TEST_F(StringFiles, BackupIsTriedOnceAndItsAnswerCached) {
  std::wstring key = UniqueKey(L"OnlyInBackup");
  WriteLines(main, {"[Strings]", "Other=x"});
  WriteLines(backup, {"[Strings]", Narrow(key) + "=from backup"});
  EXPECT_EQ(Load(key), L"from backup");
  WriteLines(backup, {Narrow(key) + "=changed"});
  EXPECT_EQ(Load(key), L"from backup");
}

TEST_F(StringFiles, MissingMainFileGivesKeyUncached) {
  std::wstring key = UniqueKey(L"NoFileYet");
  EXPECT_EQ(Load(key), key);  // main.ini does not exist: the backup is not tried either
  WriteLines(main, {Narrow(key) + "=arrived"});
  EXPECT_EQ(Load(key), L"arrived");
}

TEST_F(StringFiles, ExplicitFileBypassesCacheAndBackup) {
  std::wstring key = UniqueKey(L"Explicit");
  std::wstring other = dir / L"other.ini";
  WriteLines(main, {Narrow(key) + "=main text"});
  WriteLines(backup, {Narrow(key) + "=backup text"});
  WriteLines(other, {Narrow(key) + "=other text"});
  // Explicit first: nothing cached by it.
  EXPECT_EQ(Load(key, other.c_str()), L"other text");
  EXPECT_EQ(Load(key), L"main text");
  // The cache is not consulted for an explicit file, and it is read every time.
  WriteLines(other, {Narrow(key) + "=other changed"});
  EXPECT_EQ(Load(key, other.c_str()), L"other changed");
  // Missing from the explicit file: the key, never the backup's text.
  std::wstring onlyBackup = UniqueKey(L"ExplicitMiss");
  WriteLines(backup, {Narrow(onlyBackup) + "=backup text"});
  EXPECT_EQ(Load(onlyBackup, other.c_str()), onlyBackup);
  EXPECT_EQ(Load(onlyBackup, (dir / L"nonexistent.ini").c_str()), onlyBackup);
  // An empty file name counts as none.
  EXPECT_EQ(Load(onlyBackup, L""), L"backup text");
}

TEST_F(StringFiles, LineRulesOfTheReader) {
  std::wstring file = dir / L"rules.ini";
  std::string longLine(1023, 'x');
  WriteLines(file, {
                       "; comment=no",
                       "[Section=header]",
                       "  Indented=never",
                       "Padded \t = padded value",
                       "Spaced=   \tleading blanks go",
                       "Quoted=\"kept\"",
                       "NoEquals line",
                       "Dup=first",
                       "Dup=second",
                       "[Later]",
                       "InLaterSection=yes",
                       "Empty=",
                       "Inner=a=b",
                       longLine + "Hidden=piece",
                   });
  const wchar_t* f = file.c_str();
  EXPECT_EQ(Load(L"comment", f), L"comment");
  EXPECT_EQ(Load(L"[Section", f), L"[Section");
  EXPECT_EQ(Load(L"Indented", f), L"Indented");
  EXPECT_EQ(Load(L"  Indented", f), L"never");  // the leading blanks are part of the key
  EXPECT_EQ(Load(L"padded", f), L"padded value");
  EXPECT_EQ(Load(L"SPACED", f), L"leading blanks go");
  EXPECT_EQ(Load(L"Quoted", f), L"\"kept\"");
  EXPECT_EQ(Load(L"Dup", f), L"first");
  EXPECT_EQ(Load(L"InLaterSection", f), L"yes");  // sections are not interpreted
  EXPECT_EQ(Load(L"Empty", f), L"");
  EXPECT_EQ(Load(L"Inner", f), L"a=b");
  // Lines are read 1023 characters at a time: the rest of a longer line is
  // looked at as a line of its own.
  EXPECT_EQ(Load(L"Hidden", f), L"piece");
}

TEST_F(StringFiles, NameMatchingFoldsOnlyAtoZ) {
  std::wstring file = dir / L"fold.ini";
  WriteLines(file, {"caf\xC9=upper e-acute", "MiXeD=ok"});
  EXPECT_EQ(Load(L"mixed", file.c_str()), L"ok");
  EXPECT_EQ(Load(L"CAF\x00C9", file.c_str()), L"upper e-acute");
  EXPECT_EQ(Load(L"caf\x00E9", file.c_str()), L"caf\x00E9");  // é is not folded to É
}

TEST_F(StringFiles, EscapesBecomeLineFeedsAndTabs) {
  std::wstring file = dir / L"esc.ini";
  WriteLines(file, {"Two=Line one\\nLine two", "Both=a\\r\\nb", "Tab=a\\tb", "Lone=back\\slash"});
  const wchar_t* f = file.c_str();
  EXPECT_EQ(Load(L"Two", f, true), L"Line one\nLine two");
  EXPECT_EQ(Load(L"Two", f, false), L"Line one\\nLine two");
  EXPECT_EQ(Load(L"Both", f, true), L"a\nb");
  EXPECT_EQ(Load(L"Tab", f, true), L"a\tb");
  EXPECT_EQ(Load(L"Lone", f, true), L"back\\slash");
  // A key found nowhere is not unescaped.
  EXPECT_EQ(Load(L"Missing\\n", f, true), L"Missing\\n");
}

TEST_F(StringFiles, ProfileReaderFormsUseSectionStrings) {
  WriteLines(main, {"[Other]", "Greeting=wrong section", "[Strings]", "Greeting=Line one\\nLine two\\tend"});
  wchar_t out[128];
  EXPECT_EQ(LoadLanguageString(L"Greeting", out, 128), 1);
  EXPECT_STREQ(out, L"Line one\\nLine two\\tend");
  EXPECT_EQ(LoadLanguageStringFormatted(L"Greeting", out, 128), 1);
  EXPECT_STREQ(out, L"Line one\r\nLine two\tend");
  EXPECT_EQ(LoadLanguageString(L"Absent", out, 128), 1);  // the key is the default
  EXPECT_STREQ(out, L"Absent");
  EXPECT_EQ(LoadLanguageStringFormatted(nullptr, out, 128), 0);
  EXPECT_EQ(LoadLanguageStringFormatted(L"Greeting", out, 0), 0);
}

TEST_F(StringFiles, OutputIsBoundedByOutChars) {
  std::wstring key = UniqueKey(L"Bounded");
  WriteLines(main, {Narrow(key) + "=abcdef"});
  wchar_t out[12];
  wmemset(out, 0xCCCC, 12);
  // Up to outChars characters and the terminator behind: out[outChars] at most.
  EXPECT_EQ(MyLoadString(const_cast<wchar_t*>(key.c_str()), out, 3, nullptr, false), 3);
  EXPECT_STREQ(out, L"abc");
  EXPECT_EQ(out[4], 0xCCCC);
  // The cached text (stored as it was cut) fills a later buffer exactly and
  // comes back terminated.
  wmemset(out, 0xCCCC, 12);
  EXPECT_EQ(MyLoadString(const_cast<wchar_t*>(key.c_str()), out, 3, nullptr, false), 3);
  EXPECT_STREQ(out, L"abc");
  EXPECT_EQ(out[4], 0xCCCC);
  wmemset(out, 0xCCCC, 12);
  EXPECT_EQ(MyLoadString(const_cast<wchar_t*>(key.c_str()), out, 1, nullptr, false), 1);
  EXPECT_STREQ(out, L"a");
  EXPECT_EQ(out[2], 0xCCCC);
  // The key itself is cut the same way.
  std::wstring longKey = UniqueKey(L"AKeyLongerThanTheBuffer");
  wmemset(out, 0xCCCC, 12);
  EXPECT_EQ(MyLoadString(const_cast<wchar_t*>(longKey.c_str()), out, 5, nullptr, false), 5);
  EXPECT_EQ(out[6], 0xCCCC);
  EXPECT_EQ(MyLoadString(nullptr, out, 5, nullptr, false), 0);
  EXPECT_EQ(MyLoadString(const_cast<wchar_t*>(key.c_str()), nullptr, 5, nullptr, false), 0);
  EXPECT_EQ(MyLoadString(const_cast<wchar_t*>(key.c_str()), out, 0, nullptr, false), 0);
}

TEST_F(StringFiles, SettersRefusePathsThatDoNotFit) {
  std::wstring tooLong = L"C:\\" + std::wstring(300, L'p');
  SetLanguageFile(tooLong.c_str());
  EXPECT_EQ(std::wstring(GetStringFile()), main);
  std::wstring fits = L"C:\\" + std::wstring(256, L'p');  // 259 characters
  SetLanguageFile(fits.c_str());
  EXPECT_EQ(std::wstring(GetStringFile()), fits);
  SetStringFile(nullptr);
  EXPECT_STREQ(GetStringFile(), L"");
}

TEST_F(StringFiles, ConcurrentLookUpsAreAllRight) {
  const int kKeys = zortest::HeapChecked() ? 40 : 300;
  std::string text;
  std::vector<std::wstring> keys;
  for (int i = 0; i < kKeys; ++i) {
    keys.push_back(UniqueKey(L"Threaded"));
    text += Narrow(keys.back()) + "=value of " + std::to_string(i) + "\r\n";
  }
  ASSERT_TRUE(zortest::WriteBytes(main, text));
  std::wstring shared = dir / L"shared.ini";
  ASSERT_TRUE(zortest::WriteBytes(shared, text));
  std::atomic<int> wrong{0};
  const int kThreads = 4;
  HANDLE threads[kThreads];
  for (int t = 0; t < kThreads; ++t) {
    threads[t] = zortest::StartThread([&, t] {
      wchar_t out[64];
      for (int round = 0; round < 2; ++round) {  // cold, then warm cache
        for (int i = 0; i < kKeys; ++i) {
          int k = (i * 7 + t * 13) % kKeys;
          std::wstring expect = L"value of " + std::to_wstring(k);
          const wchar_t* file = (i % 5 == 0) ? shared.c_str() : nullptr;
          MyLoadString(const_cast<wchar_t*>(keys[static_cast<size_t>(k)].c_str()), out, 63,
                       const_cast<wchar_t*>(file), true);
          if (expect != out) ++wrong;
        }
      }
    });
  }
  WaitForMultipleObjects(kThreads, threads, TRUE, INFINITE);
  for (HANDLE h : threads) CloseHandle(h);
  EXPECT_EQ(wrong.load(), 0);
}

// --- Languages.csv, next to the test program -----------------------------------------------

class LanguageTable : public testing::Test {
protected:
  void SetUp() override {
    csv = zortest::ExeDir() + L"\\Languages.csv";
    saved = zortest::ReadBytes(csv);
    hadFile = GetFileAttributesW(csv.c_str()) != INVALID_FILE_ATTRIBUTES;
  }
  void TearDown() override {
    if (hadFile)
      zortest::WriteBytes(csv, saved);
    else
      DeleteFileW(csv.c_str());
  }
  void Write(const std::string& text) { ASSERT_TRUE(zortest::WriteBytes(csv, text)); }
  std::wstring Dir() { return zortest::ExeDir() + L"\\"; }
  std::wstring csv;
  std::string saved;
  bool hadFile = false;
};

TEST_F(LanguageTable, NamesAndCounts) {
  Write("Language,Default,Strings,Utilities\r\nEnglish,Y,en.ini,u-en.ini\r\nDeutsch,,de.ini,u-de.ini\r\n");
  EXPECT_EQ(GetNumberOfLanguageStringFiles(), 2);
  wchar_t name[32];
  EXPECT_TRUE(GetLanguageName(1, name, 32));
  EXPECT_STREQ(name, L"Deutsch");
  EXPECT_TRUE(GetLanguageName(0, name, 4));  // cut to fit, terminated
  EXPECT_STREQ(name, L"Eng");
  EXPECT_FALSE(GetLanguageName(2, name, 32));
  EXPECT_FALSE(GetLanguageName(-1, name, 32));
  DeleteFileW(csv.c_str());
  EXPECT_EQ(GetNumberOfLanguageStringFiles(), 0);
  EXPECT_FALSE(GetLanguageName(0, name, 32));
}

TEST_F(LanguageTable, LanguageThenDefaultRowChoosesTheFile) {
  Write("Language,Default,Strings,Utilities\r\n"
        "English,Y,en.ini,u-en.ini\r\n"
        "Deutsch,,de.ini,u-de.ini\r\n"
        "Francais,Y,fr.ini,u-fr.ini\r\n");
  wchar_t out[MAX_PATH];
  EXPECT_TRUE(GetStringFileFromLanguage(const_cast<wchar_t*>(L"deutsch"), SFF_UtilityStrings, out, false));
  EXPECT_EQ(std::wstring(out), Dir() + L"u-de.ini");
  // Not listed: the last "Y" row wins.
  EXPECT_TRUE(GetStringFileFromLanguage(const_cast<wchar_t*>(L"Klingon"), SFF_MainStrings, out, false));
  EXPECT_EQ(std::wstring(out), Dir() + L"fr.ini");
  // useDefault ignores the language.
  EXPECT_TRUE(GetStringFileFromLanguage(const_cast<wchar_t*>(L"Deutsch"), SFF_MainStrings, out, true));
  EXPECT_EQ(std::wstring(out), Dir() + L"fr.ini");
  // A column the rows lack gives false.
  EXPECT_FALSE(GetStringFileFromLanguage(const_cast<wchar_t*>(L"Deutsch"), SFF_HelpFile, out, false));
}

TEST_F(LanguageTable, NoDefaultRowAndNoMatchIsFalse) {
  Write("Language,Default,Strings\r\nEnglish,,en.ini\r\nDeutsch,N,de.ini\r\n");
  wchar_t out[MAX_PATH];
  EXPECT_FALSE(GetStringFileFromLanguage(const_cast<wchar_t*>(L"Klingon"), SFF_MainStrings, out, false));
  EXPECT_FALSE(GetStringFileFromLanguage(const_cast<wchar_t*>(L"English"), SFF_MainStrings, out, true));
  EXPECT_FALSE(GetStringFileFromLanguage(nullptr, SFF_MainStrings, out, false));
}

TEST_F(LanguageTable, TooLongPathIsPassedOver) {
  std::string longName(300, 'n');
  Write("Language,Default,Strings\r\nEnglish,,en.ini\r\nDeutsch,,long" + longName + ".ini\r\n"
        "Default,Y,default.ini\r\n");
  wchar_t out[MAX_PATH + 8];
  wmemset(out, 0xCCCC, MAX_PATH + 8);
  EXPECT_TRUE(GetStringFileFromLanguage(const_cast<wchar_t*>(L"Deutsch"), SFF_MainStrings, out, false));
  EXPECT_EQ(std::wstring(out), Dir() + L"default.ini");
}

// --- The command line, seen by a child process --------------------------------------------

// Runs as a child only: writes parameters 0 to 7 of its command line, one a line.
TEST(CommandLineChild, WriteParameters) {
  wchar_t outPath[MAX_PATH];
  if (!GetEnvironmentVariableW(L"ZOR_CMDLINE_OUT", outPath, MAX_PATH)) GTEST_SKIP() << "child only";
  std::wstring all;
  for (int i = 0; i < 8; ++i) {
    wchar_t param[MAX_PATH];
    GetCommandLineParameter(i, param, MAX_PATH);
    all += std::wstring(param) + L"\n";
  }
  zortest::WriteBytes(outPath, zortest::Utf16Bytes(all, false));
}

std::vector<std::wstring> ChildParameters(const std::wstring& args, const std::wstring& outFile) {
  wchar_t exe[MAX_PATH];
  GetModuleFileNameW(nullptr, exe, MAX_PATH);
  std::wstring line = L"\"" + std::wstring(exe) + L"\" " + args;
  SetEnvironmentVariableW(L"ZOR_CMDLINE_OUT", outFile.c_str());
  STARTUPINFOW si{};
  si.cb = sizeof si;
  PROCESS_INFORMATION pi{};
  std::vector<wchar_t> buf(line.begin(), line.end());
  buf.push_back(0);
  BOOL ok = CreateProcessW(exe, buf.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi);
  SetEnvironmentVariableW(L"ZOR_CMDLINE_OUT", nullptr);
  std::vector<std::wstring> params;
  if (!ok) return params;
  WaitForSingleObject(pi.hProcess, 60000);
  CloseHandle(pi.hProcess);
  CloseHandle(pi.hThread);
  std::string bytes = zortest::ReadBytes(outFile);
  std::wstring text(reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / 2);
  for (size_t start = 0, nl; (nl = text.find(L'\n', start)) != std::wstring::npos; start = nl + 1)
    params.push_back(text.substr(start, nl - start));
  return params;
}

TEST(CommandLine, QuotesGroupAndExistingPathsWithBlanksStayWhole) {
  zortest::TempDir dir;
  std::wstring spaced = dir / L"my  music file.mp3";  // two blanks kept as written
  ASSERT_TRUE(zortest::WriteBytes(spaced, "x"));
  std::wstring args = L"--gtest_filter=CommandLineChild.* \"quoted arg\" " + spaced + L" plain " +
                      dir.path() + L"\\not there.txt";
  auto params = ChildParameters(args, dir / L"params.txt");
  ASSERT_EQ(params.size(), 8u);
  EXPECT_EQ(params[1], L"--gtest_filter=CommandLineChild.*");
  EXPECT_EQ(params[2], L"quoted arg");
  EXPECT_EQ(params[3], spaced);
  EXPECT_EQ(params[4], L"plain");
  // A path that names nothing on disk is split at its blank.
  EXPECT_EQ(params[5], dir.path() + L"\\not");
  EXPECT_EQ(params[6], L"there.txt");
  EXPECT_EQ(params[7], L"");
}

TEST(CommandLine, BoundsAndBadArguments) {
  wchar_t out[8];
  wmemset(out, 0xCCCC, 8);
  GetCommandLineParameter(0, out, 4);  // the program path, cut to 3 characters
  EXPECT_EQ(wcslen(out), 3u);
  EXPECT_EQ(out[4], 0xCCCC);
  GetCommandLineParameter(-1, out, 8);
  EXPECT_STREQ(out, L"");
  GetCommandLineParameter(0, nullptr, 8);
  out[0] = L'z';
  GetCommandLineParameter(0, out, 0);
  EXPECT_EQ(out[0], L'z');
}

// --- What ships beside the programs -------------------------------------------------------

TEST(UtilitiesFile, SetAtLoadToTheProgramsFolder) {
  std::wstring expected = zortest::ExeDir() + L"\\utility-strings.ini";
  EXPECT_EQ(std::wstring(GetUtilitiesStringFile()), expected);
  wchar_t out[257];
  MyLoadString(const_cast<wchar_t*>(L"Cancel"), out, 256, GetUtilitiesStringFile(), true);
  EXPECT_STREQ(out, L"Cancel");
  MyLoadString(const_cast<wchar_t*>(L"DoNotAsk"), out, 256, GetUtilitiesStringFile(), true);
  EXPECT_STREQ(out, L"Do not ask me again");
}

}  // namespace
