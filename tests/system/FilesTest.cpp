// Files and folders on the real file system: special folders, the
// executable's folder, long path names, folder creation and tests, disc and
// file-system names, unique names, file times, drives, and the browser.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/system/Browsers.h>
#include <zorutils/system/Drives.h>
#include <zorutils/system/FileNames.h>
#include <zorutils/system/FileTimes.h>
#include <zorutils/system/Paths.h>

#include <shlobj.h>

using namespace systest;

// The shell's folders and the program's own, cut to the buffer. Tiny buffers
// with create: a cut folder such as "C" cannot be made, which sends the
// documents folder to its last resort "C:\", cut as well.
TEST(Folders, SpecialAndProgramFoldersCutToCapacity) {
  const std::pair<bool (*)(wchar_t*, int, bool), int> cases[] = {{GetCurrentUserAppDataPath, CSIDL_APPDATA},
      {GetDesktopPath, CSIDL_DESKTOP}, {GetCommonAppDataPath, CSIDL_COMMON_APPDATA}, {GetMyDocumentsPath, CSIDL_PERSONAL}};
  for (size_t cap : {size_t(MAX_PATH), size_t(6)}) {
    for (const auto& c : cases) {
      wchar_t shell[MAX_PATH] = {0};
      SHGetFolderPathW(nullptr, c.second, nullptr, SHGFP_TYPE_CURRENT, shell);
      std::wstring got = Lower(Filled(cap, [&](wchar_t* b, int n) { EXPECT_TRUE(c.first(b, n, false)); }));
      if (got.size() > 5 && got.back() == L'\\') got.pop_back();  // Wine's documents may end in one
      EXPECT_EQ(Lower(shell).substr(0, cap - 1), got) << c.second;
    }
    for (HMODULE module : {HMODULE(nullptr), GetModuleHandleW(L"zorutils.dll")})
      EXPECT_EQ(Lower(zortest::ExeDir() + L"\\").substr(0, cap - 1),
                Lower(Filled(cap, [&](wchar_t* b, int n) { EXPECT_NE(0, GetExeDirectory(b, n, module)); })));
  }
  for (size_t cap = 1; cap <= 5; ++cap)
    EXPECT_LT(Filled(cap, [](wchar_t* b, int n) { EXPECT_TRUE(GetMyDocumentsPath(b, n, true)); }).size(), cap);
  EXPECT_EQ(L"", Filled(9, [](wchar_t* b, int n) { EXPECT_FALSE(GetSpecialFolderPath(b, n, 0x7777, false)); }));
  EXPECT_EQ(L"<unterminated>", Filled(1, [](wchar_t* b, int) {
              EXPECT_FALSE(GetSpecialFolderPath(nullptr, 9, CSIDL_APPDATA, false) || GetMyDocumentsPath(nullptr, 9, false) ||
                           GetSpecialFolderPath(b, 0, CSIDL_APPDATA, false) || GetExeDirectory(nullptr, 9, nullptr) ||
                           GetExeDirectory(b, 0, nullptr));
            }));
}

// Short names expand, a folder gains a backslash, and a result that does
// not fit whole (or a path of 260 characters and more) leaves nothing; a
// capacity of 0 or an empty path leaves the buffer untouched.
TEST(Folders, LongPathNamesExpandMarkFoldersAndEmptyWhatDoesNotFit) {
  TempDir dir;
  const std::wstring sub = dir / L"Long Folder Name", file = sub + L"\\Some Long File.txt";
  ASSERT_TRUE(CreateDirectoryW(sub.c_str(), nullptr) && zortest::WriteBytes(file, "x"));
  wchar_t shortName[MAX_PATH] = {0};
  if (!GetShortPathNameW(file.c_str(), shortName, MAX_PATH)) wcscpy(shortName, file.c_str());
  const struct {
    std::wstring in, expected;
    size_t cap;
  } cases[] = {{file, file, MAX_PATH}, {shortName, file, MAX_PATH}, {sub, sub + L"\\", MAX_PATH},
               {dir / L"missing\\x.txt", L"", MAX_PATH}, {LongPath(260), L"", MAX_PATH}, {sub, sub + L"\\", sub.size() + 2},
               {sub, L"", sub.size() + 1}, {L"", L"<unterminated>", 4}, {L"C:\\", L"<unterminated>", 0}};
  for (const auto& c : cases)
    EXPECT_EQ(Lower(c.expected), Lower(Filled(c.cap, [&](wchar_t* b, int n) { GetLongPathNameSafe(c.in.c_str(), b, n); })))
        << zortest::Escape(c.in) << " " << c.cap;
}

// Only prefixes that end in a backslash are made, so a leaf needs one too.
// The ".." entry carries no "normal" bit, so an ordinary folder is never
// reported empty: hosts were built against this.
TEST(Folders, CreationMakesOnlyFoldersFollowedByABackslashAndDotDotIsNotEmpty) {
  TempDir dir;
  const std::wstring a = dir / L"a", b = a + L"\\b", dll = zortest::ExeDir() + L"\\zorutils.dll";
  std::wstring path = b;
  EXPECT_NE(0, CreateMultiLevelDir(&path[0]));
  EXPECT_TRUE(IsDir(a) && !IsDir(b) && path == b) << "the caller's path is left as it was";
  path = b + L"\\c\\";
  EXPECT_NE(0, CreateMultiLevelDir(&path[0]) * CreateMultiLevelDir(&path[0])) << "already there: still success";
  EXPECT_TRUE(IsDir(b + L"\\c"));
  for (std::wstring p : {L"", L"ab", L"abc\\def\\", L"C:", L"C:abc", L"\\\\zortest-no-server\\share\\dir\\"})
    EXPECT_EQ(0, CreateMultiLevelDir(&p[0])) << zortest::Escape(p);
  EXPECT_EQ(Ints({0, 1, 1, 0, 0, 0, 0, 0, 0, 1, 0, 0}),
            Ints({CreateMultiLevelDir(nullptr), IsRootFolder(L"C:\\"), IsRootFolder(L"z:\\"), IsRootFolder(L"C:"),
                  IsRootFolder(L"C:\\a"), IsRootFolder(L"1:\\"), IsRootFolder(L"C:/"), IsRootFolder(L""), IsRootFolder(nullptr),
                  IsValidDirectory(a.c_str()) != 0, IsValidDirectory(dll.c_str()), IsValidDirectory(nullptr)}));
  EXPECT_FALSE(FolderEmpty(dir.path().c_str()) || FolderEmpty((a + L"\\").c_str()));
  EXPECT_TRUE(FolderEmpty((dir / L"missing").c_str()) && FolderEmpty(LongPath(260).c_str()) && FolderEmpty(nullptr));
}

// Each cleaner writes into a destination of exactly the source's size. Too
// long a name keeps its extension and its stem is cut to the limit (30, or
// 15 for Joliet), and a name of exactly the limit is rebuilt and reported
// changed; without a dot, or with separators kept, nothing is shortened. An
// extension as long as the limit or longer cuts the whole name to it.
TEST(FileNames, DiscNamesCharacterRulesShorteningAndChangedFlag) {
  const std::wstring x36 = std::wstring(36, L'x') + L".wav", a31 = L"ab." + std::wstring(28, L'e');
  const struct {
    bool iso, keep;
    std::wstring in, out;
    bool changed;
  } cases[] = {
      {true, false, L"my song.mp3", L"MY_SONG.MP3", true}, {true, false, L"abc.txt", L"ABC.TXT", false},
      {true, false, L"a\\b/\x00e9*", L"A_B___", true}, {true, true, L"dir\\sub/f.txt", L"DIR\\SUB/F.TXT", false},
      {false, false, L"a;b*c:d?e\x1E\x1F<>|\"", L"a_b_c_d_e_\x1F<>|\"", true},  // strictly below 0x1F
      {false, false, L"a\\b/c", L"a_b_c", true}, {false, true, L"a\\b/c", L"a\\b/c", false}, {false, false, L"MiX", L"MiX", false},
      {false, false, L"", L"", false}, {true, false, x36, std::wstring(26, L'X') + L".WAV", true},
      {false, false, x36, std::wstring(11, L'x') + L".wav", true}, {true, false, std::wstring(26, L'A') + L".WAV", std::wstring(26, L'A') + L".WAV", true},
      {false, false, L"exactly fifteen", L"exactly fifteen", false}, {false, false, L"exact fifte.txt", L"exact fifte.txt", true},
      {true, true, x36, std::wstring(36, L'X') + L".WAV", false}, {false, true, x36, x36, false},
      {true, false, std::wstring(50, L'A'), std::wstring(50, L'A'), false},
      {true, false, a31 + L"ee", L"AB." + std::wstring(27, L'E'), true}, {false, false, a31, a31.substr(0, 15), true},
  };
  for (const auto& c : cases) {
    bool changed = !c.changed;
    const auto clean = c.iso ? MakeISO9660FriendlyName : MakeJolietFriendlyName;
    EXPECT_EQ(c.out, Filled(c.in.size() + 1, [&](wchar_t* b, int) { changed = clean(c.in.c_str(), b, c.keep, L'_'); }))
        << zortest::Escape(c.in) << (c.iso ? " iso" : " joliet");
    EXPECT_EQ(c.changed, changed) << zortest::Escape(c.in);
  }
  wchar_t buf[64] = L"abc";
  EXPECT_FALSE(MakeISO9660FriendlyName(nullptr, buf, false, L'_') || MakeJolietFriendlyName(L"x", nullptr, false, L'_') || buf[0]);
  wcscpy(buf, x36.c_str());  // the source may be the destination
  EXPECT_TRUE(MakeISO9660FriendlyName(buf, buf, false, L'_'));
  EXPECT_EQ(std::wstring(26, L'X') + L".WAV", std::wstring(buf));
}

// ValidateFileName replaces exactly the nine reserved characters.
TEST(FileNames, ValidateReplacesTheNineReservedCharacters) {
  EXPECT_EQ(L"a-b-c-d-e-f-g-h-i-j;k", Filled(22, [](wchar_t* b, int) {
              EXPECT_EQ(b, ValidateFileName(L"a/b\\c:d*e?f\"g<h>i|j;k", b, L'-'));
            }));
  EXPECT_EQ(L"", Filled(1, [](wchar_t* b, int) { EXPECT_EQ(nullptr, ValidateFileName(L"", b, L'_')); }));
  EXPECT_FALSE(ValidateFileName(nullptr, nullptr, L'_') || ValidateFileName(L"abc", nullptr, L'_'));
  EXPECT_EQ(Ints({1, 1, 0, 0, 1, 0, 0}), Ints({IsValidFileNameChar(L'\x00e9', false), IsValidFileNameChar(L'~', false),
                IsValidFileNameChar(L'\\', false), IsValidFileNameChar(L'{', true), IsValidFileNameChar(L'\\', true),
                IsValidFileNameChar(L'/', true), IsValidFileNameChar(0, true)}));
}

// The first free counter, logged; an existing 259-character name leaves no
// room for one and is refused, unchanged.
TEST(FileNames, UniqueNameTakesTheFirstFreeCounterAndLogsIt) {
  TempDir dir;
  const std::wstring deep = MakeFolderOfLength(dir.path(), 240) + L"\\" + std::wstring(18, L'f');
  ASSERT_TRUE(zortest::WriteBytes(dir / L"a.txt", "x") && zortest::WriteBytes(dir / L"a_1.txt", "x") &&
              zortest::WriteBytes(dir / L"song", "x") && deep.size() == 259 && zortest::WriteBytes(deep, "x"));
  const struct {
    std::wstring in, out;
    bool makeUnique, result;
    wchar_t separator;
  } cases[] = {{dir / L"new.txt", dir / L"new.txt", true, true, L'_'}, {dir / L"a.txt", dir / L"a.txt", false, false, L'_'},
               {dir / L"a.txt", dir / L"a_2.txt", true, true, L'_'}, {dir / L"song", dir / L"song-1", true, true, L'-'},
               {deep, deep, true, false, L'_'}};
  zortest::LogCapture log;
  for (const auto& c : cases) {
    wchar_t path[MAX_PATH];
    EXPECT_EQ(c.result, UniqueFileName(wcscpy(path, c.in.c_str()), c.makeUnique, c.separator)) << zortest::Escape(c.in);
    EXPECT_EQ(c.out, std::wstring(path));
  }
  EXPECT_TRUE(log.Contains(L"Created unique name '" + dir / L"a_2.txt" + L"'"));
  EXPECT_FALSE(UniqueFileName(nullptr, true, L'_'));
}

// -1 when the first file is older; -100 when either cannot be opened:
// missing, a folder, held without read sharing.
TEST(FileTimes, OlderFirstGivesMinusOneAndUnopenableGivesMinus100) {
  TempDir dir;
  const std::wstring a = dir / L"a.txt", b = dir / L"b.txt";
  for (const std::wstring* f : {&a, &b}) {
    ASSERT_TRUE(zortest::WriteBytes(*f, "x"));
    HANDLE h = CreateFileW(f->c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    const FILETIME ft = {f == &a ? 0u : 1u, 30000000u};
    EXPECT_TRUE(SetFileTime(h, nullptr, nullptr, &ft) && CloseHandle(h));
  }
  const std::string na = Narrow(a), nb = Narrow(b);
  EXPECT_EQ(Ints({-1, 1, 0, -1, 1, -100, -100}),
            Ints({CompareFileTimeStampsW(a.c_str(), b.c_str()), CompareFileTimeStampsW(b.c_str(), a.c_str()),
                  CompareFileTimeStampsW(a.c_str(), a.c_str()), CompareFileTimeStampsA(na.c_str(), nb.c_str()),
                  CompareFileTimeStampsA(nb.c_str(), na.c_str()), CompareFileTimeStampsW(nullptr, a.c_str()),
                  CompareFileTimeStampsA(na.c_str(), nullptr)}));
  HANDLE held = CreateFileW(b.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  for (const std::wstring& other : {dir / L"missing", dir.path(), b})
    EXPECT_EQ(Ints({-100, -100}), Ints({CompareFileTimeStampsW(a.c_str(), other.c_str()), CompareFileTimeStampsW(other.c_str(), a.c_str())}));
  CloseHandle(held);
}

TEST(Drives, LocalHardDriveFreeSpaceAndTheLogOfFixedDrives) {
  std::wstring path = zortest::ExeDir(), slashes = L"C:/windows";
  EXPECT_TRUE(IsOnLocalHardDrive(&path[0]) && IsOnLocalHardDrive(&slashes[0]) && path == zortest::ExeDir());
  for (std::wstring p : {L"", L"file.txt", L"Q:\\zortest"}) EXPECT_FALSE(IsOnLocalHardDrive(&p[0])) << zortest::Escape(p);
  EXPECT_FALSE(IsOnLocalHardDrive(nullptr) || BadIntelAppAcceleratorInstalled());
  ULARGE_INTEGER toCaller, total, free;
  ASSERT_TRUE(GetDiskFreeSpaceExW(L"C:\\", &toCaller, &total, &free));
  const double expected = static_cast<double>(toCaller.QuadPart) / 1024.0;  // others write meanwhile: 1% or 100 MB
  EXPECT_NEAR(expected, GetKBFree(L"C:\\windows\\system32"), std::max(expected * 0.01, 102400.0));
  EXPECT_EQ(0.0, GetKBFree(L"Q:\\zortest-no-such-drive\\") + GetKBFree(LongPath(300, L"\\\\srv").c_str()) + GetKBFree(nullptr));
  zortest::LogCapture log;
  LogCurrentHardDriveSpace();
  SetLogging(false);
  LogCurrentHardDriveSpace();  // not logging: nothing
  const auto lines = log.lines();
  for (const auto& line : lines)
    EXPECT_TRUE(iswupper(line[0]) && line.find(L":\\ has ") == 1 && line.rfind(L" MB free.") == line.size() - 9) << zortest::Escape(line);
  EXPECT_EQ(1, std::count_if(lines.begin(), lines.end(), [](const std::wstring& l) { return !l.compare(0, 8, L"C:\\ has "); }));
}

// GetKBFree hands its wide root to the single-byte system function as it
// stands, which then reads only the first character: a folder named like the
// drive letter in the current folder answers for a drive that does not exist.
TEST(Drives, SingleByteLookupSeesOnlyTheFirstCharacter) {
  TempDir dir;
  ASSERT_TRUE(CreateDirectoryW((dir / L"Q").c_str(), nullptr));
  if (GetDriveTypeW(L"Q:\\") != DRIVE_NO_ROOT_DIR) GTEST_SKIP() << "Q: exists here";
  wchar_t old[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, old);
  SetCurrentDirectoryW(dir.path().c_str());
  const double withFolder = GetKBFree(L"Q:\\");
  SetCurrentDirectoryW(old);
  EXPECT_GT(withFolder, 0.0);
  EXPECT_EQ(0.0, GetKBFree(L"Q:\\")) << "without the folder nothing answers";
}

// Only what cannot open a real browser is tried: the shell's first attempt,
// with a harmless batch file as the target.
TEST(Browsers, ShellOpensTheTargetFirstAndNullIsRefused) {
  EXPECT_FALSE(LaunchBrowser(nullptr, nullptr, SW_HIDE));
  TempDir dir;
  const std::wstring marker = dir / L"opened.txt", bat = dir / L"open.bat";
  ASSERT_TRUE(zortest::WriteBytes(bat, "@echo opened> \"" + Narrow(marker) + "\"\r\n"));
  ASSERT_TRUE(LaunchBrowser(bat.c_str(), nullptr, SW_HIDE));
  for (int i = 0; i < 600 && zortest::ReadBytes(marker).empty(); ++i) Sleep(50);  // its own process: wait generously
  EXPECT_FALSE(zortest::ReadBytes(marker).empty());
  Sleep(200);  // let cmd.exe let go of the folder before it is removed
}
