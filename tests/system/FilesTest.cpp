// Files, folders, names, times, drives, the browser and the clipboard's file
// lists, on the real file system.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/system/Browsers.h>
#include <zorutils/system/ClipboardFiles.h>
#include <zorutils/system/Drives.h>
#include <zorutils/system/FileNames.h>
#include <zorutils/system/FileTimes.h>
#include <zorutils/system/Paths.h>

#include <shlobj.h>

using namespace systest;

// Cut to the buffer. Tiny buffers with create: a cut folder such as "C"
// cannot be made, which sends the documents to "C:\", cut as well.
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
    EXPECT_EQ(Lower(zortest::ExeDir() + L"\\").substr(0, cap - 1),
              Lower(Filled(cap, [](wchar_t* b, int n) { EXPECT_NE(0, GetExeDirectory(b, n, GetModuleHandleW(L"zorutils.dll"))); })));
  }
  for (size_t cap = 1; cap <= 5; ++cap)
    EXPECT_LT(Filled(cap, [](wchar_t* b, int n) { EXPECT_TRUE(GetMyDocumentsPath(b, n, true)); }).size(), cap);
  EXPECT_EQ(L"", Filled(9, [](wchar_t* b, int n) { EXPECT_FALSE(GetSpecialFolderPath(b, n, 0x7777, false)); }));
  EXPECT_EQ(L"<unterminated>", Filled(1, [](wchar_t* b, int) {
              EXPECT_FALSE(GetSpecialFolderPath(nullptr, 9, CSIDL_APPDATA, false) || GetMyDocumentsPath(nullptr, 9, false) ||
                           GetSpecialFolderPath(b, 0, CSIDL_APPDATA, false) || GetExeDirectory(b, 0, nullptr));
            }));
}

// Only prefixes that end in a backslash are made, so a leaf needs one too.
// The ".." entry carries no "normal" bit, so an ordinary folder is never
// reported empty: hosts were built against this.
TEST(Folders, CreationMakesOnlyFoldersFollowedByABackslashAndDotDotIsNotEmpty) {
  TempDir dir;
  const std::wstring a = dir / L"a", b = a + L"\\b", dll = zortest::ExeDir() + L"\\zorutils.dll";
  std::wstring path = b, leaf = b + L"\\c\\";
  EXPECT_NE(0, CreateMultiLevelDir(&path[0]));
  EXPECT_TRUE(IsDir(a) && !IsDir(b) && path == b) << "the caller's path is left as it was";
  EXPECT_NE(0, CreateMultiLevelDir(&leaf[0]) * CreateMultiLevelDir(&leaf[0])) << "already there: still success";
  EXPECT_TRUE(IsDir(leaf));
  for (std::wstring p : {L"", L"ab", L"abc\\def\\", L"C:", L"C:abc", L"\\\\zortest-no-server\\share\\dir\\"})
    EXPECT_EQ(0, CreateMultiLevelDir(&p[0])) << zortest::Escape(p);
  EXPECT_EQ(Ints({0, 1, 0, 0, 0, 0, 1, 0}), Ints({CreateMultiLevelDir(nullptr), IsRootFolder(L"z:\\"), IsRootFolder(L"C:"),
                IsRootFolder(L"C:\\a"), IsRootFolder(L"1:\\"), IsRootFolder(nullptr), IsValidDirectory(a.c_str()) != 0,
                IsValidDirectory(dll.c_str())}));
  EXPECT_FALSE(FolderEmpty(dir.path().c_str()) || FolderEmpty((a + L"\\").c_str()));
  EXPECT_TRUE(FolderEmpty((dir / L"missing").c_str()) && FolderEmpty(LongPath(260).c_str()) && FolderEmpty(nullptr));
}

// Too long a name keeps its extension, its stem cut to the limit (30, or 15
// for Joliet); exactly the limit is rebuilt and reported changed; no dot, or
// kept separators: not shortened; an extension of the limit or longer cuts
// the whole name. Upper-casing alone is no change.
TEST(FileNames, DiscNamesCharacterRulesShorteningAndChangedFlag) {
  const std::wstring x36 = std::wstring(36, L'x') + L".wav", a31 = L"ab." + std::wstring(28, L'e'), iso = L"I", jol = L"J";
  const struct { std::wstring kind, in, out; } cases[] = {  // I(SO) or J(oliet), K: keep separators; '*': changed
      {iso, L"my song.mp3", L"MY_SONG.MP3*"}, {iso, L"abc.txt", L"ABC.TXT"}, {iso, L"a\\b/\x00e9*", L"A_B___*"},
      {iso + L"K", L"dir\\sub/f.txt", L"DIR\\SUB/F.TXT"}, {jol, L"a;b*c:d?e\x1E\x1F<>|\"", L"a_b_c_d_e_\x1F<>|\"*"},
      {jol, L"a\\b/c", L"a_b_c*"}, {jol + L"K", L"a\\b/c", L"a\\b/c"}, {jol, L"", L""},
      {iso, x36, std::wstring(26, L'X') + L".WAV*"}, {jol, x36, std::wstring(11, L'x') + L".wav*"},
      {iso, std::wstring(26, L'A') + L".WAV", std::wstring(26, L'A') + L".WAV*"}, {jol, L"exactly fifteen", L"exactly fifteen"},
      {iso + L"K", x36, std::wstring(36, L'X') + L".WAV"}, {jol + L"K", x36, x36}, {iso, std::wstring(50, L'A'), std::wstring(50, L'A')},
      {iso, a31 + L"ee", L"AB." + std::wstring(27, L'E') + L"*"}, {jol, a31, a31.substr(0, 15) + L"*"}};
  for (const auto& c : cases) {
    const auto clean = c.kind[0] == L'I' ? MakeISO9660FriendlyName : MakeJolietFriendlyName;
    bool changed = false;
    const std::wstring got = Filled(c.in.size() + 1, [&](wchar_t* b, int) { changed = clean(c.in.c_str(), b, c.kind.size() > 1, L'_'); });
    EXPECT_EQ(c.out, got + (changed ? L"*" : L"")) << zortest::Escape(c.kind + L" " + c.in);
  }
  wchar_t buf[64] = L"abc";
  EXPECT_FALSE(MakeISO9660FriendlyName(nullptr, buf, false, L'_') || MakeJolietFriendlyName(L"x", nullptr, false, L'_') || buf[0]);
  EXPECT_TRUE(MakeISO9660FriendlyName(wcscpy(buf, x36.c_str()), buf, false, L'_')) << "the source may be the destination";
  EXPECT_EQ(std::wstring(26, L'X') + L".WAV", buf);
}

TEST(FileNames, ValidateReplacesTheNineReservedCharacters) {
  EXPECT_EQ(L"a-b-c-d-e-f-g-h-i-j;k", Filled(22, [](wchar_t* b, int) { EXPECT_EQ(b, ValidateFileName(L"a/b\\c:d*e?f\"g<h>i|j;k", b, L'-')); }));
  EXPECT_EQ(L"", Filled(1, [](wchar_t* b, int) { EXPECT_FALSE(ValidateFileName(L"", b, L'_') || ValidateFileName(nullptr, b, L'_')); }));
  EXPECT_EQ(Ints({1, 0, 1}), Ints({IsValidFileNameChar(L'\x00e9', false), IsValidFileNameChar(L'\\', false), IsValidFileNameChar(L'\\', true)}));
}

// An existing 259-character name leaves no room for a counter: refused.
TEST(FileNames, UniqueNameTakesTheFirstFreeCounterAndLogsIt) {
  TempDir dir;
  const std::wstring deep = MakeFolderOfLength(dir.path(), 240) + L"\\" + std::wstring(18, L'f');
  for (const std::wstring& f : {dir / L"a.txt", dir / L"a_1.txt", dir / L"song", deep}) ASSERT_TRUE(zortest::WriteBytes(f, "x"));
  const struct { std::wstring in; wchar_t separator; bool result; std::wstring out; } cases[] = {{dir / L"new.txt", L'_', true, dir / L"new.txt"},
      {dir / L"a.txt", 0, false, dir / L"a.txt"}, {dir / L"a.txt", L'_', true, dir / L"a_2.txt"},
      {dir / L"song", L'-', true, dir / L"song-1"}, {deep, L'_', false, deep}};  // in, separator (0: keep), result, out
  zortest::LogCapture log;
  for (const auto& c : cases) {
    wchar_t path[MAX_PATH];
    EXPECT_EQ(c.result, UniqueFileName(wcscpy(path, c.in.c_str()), c.separator != 0, c.separator)) << zortest::Escape(c.in);
    EXPECT_EQ(c.out, path);
  }
  EXPECT_TRUE(log.Contains(L"Created unique name '" + dir / L"a_2.txt" + L"'") && !UniqueFileName(nullptr, true, L'_'));
}

// -100 when either cannot be opened: missing, a folder, held, or null.
TEST(FileTimes, OlderFirstGivesMinusOneAndUnopenableGivesMinus100) {
  TempDir dir;
  const std::wstring a = dir / L"a.txt", b = dir / L"b.txt";
  for (const std::wstring* f : {&a, &b}) {
    ASSERT_TRUE(zortest::WriteBytes(*f, "x"));
    HANDLE h = CreateFileW(f->c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    const FILETIME ft = {f == &a ? 0u : 1u, 30000000u};
    EXPECT_TRUE(SetFileTime(h, nullptr, nullptr, &ft) && CloseHandle(h));
  }
  const auto w = [](const std::wstring& x, const std::wstring& y) { return CompareFileTimeStampsW(x.c_str(), y.c_str()); };
  HANDLE held = CreateFileW(b.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  const int whileHeld = w(a, b);
  CloseHandle(held);
  EXPECT_EQ(Ints({-1, 1, 0, -1, -100, -100, -100, -100, -100}),
            Ints({w(a, b), w(b, a), w(a, a), CompareFileTimeStampsA(Narrow(a).c_str(), Narrow(b).c_str()), w(a, dir / L"none"),
                  w(dir.path(), a), whileHeld, CompareFileTimeStampsW(nullptr, a.c_str()), CompareFileTimeStampsA("C:\\", nullptr)}));
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
  LogCurrentHardDriveSpace(), SetLogging(false), LogCurrentHardDriveSpace();  // the second, not logging: nothing
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
  wchar_t old[MAX_PATH];
  ASSERT_TRUE(CreateDirectoryW((dir / L"Q").c_str(), nullptr) && GetCurrentDirectoryW(MAX_PATH, old));
  if (GetDriveTypeW(L"Q:\\") != DRIVE_NO_ROOT_DIR) GTEST_SKIP() << "Q: exists here";
  const double withFolder = (SetCurrentDirectoryW(dir.path().c_str()), GetKBFree(L"Q:\\"));
  SetCurrentDirectoryW(old);
  EXPECT_GT(withFolder, 0.0);
  EXPECT_EQ(0.0, GetKBFree(L"Q:\\")) << "without the folder nothing answers";
}

// Only the shell's first attempt, with a harmless batch file as the target.
TEST(Browsers, ShellOpensTheTargetFirstAndNullIsRefused) {
  TempDir dir;
  const std::wstring marker = dir / L"opened.txt", bat = dir / L"open.bat";
  ASSERT_TRUE(zortest::WriteBytes(bat, "@echo opened> \"" + Narrow(marker) + "\"\r\n"));
  EXPECT_TRUE(LaunchBrowser(bat.c_str(), nullptr, SW_HIDE) && !LaunchBrowser(nullptr, nullptr, SW_HIDE));
  for (int i = 0; i < 600 && zortest::ReadBytes(marker).empty(); ++i) Sleep(50);  // its own process: wait generously
  EXPECT_FALSE(zortest::ReadBytes(marker).empty());
  Sleep(200);  // let cmd.exe let go of the folder before it is removed
}

// Placed there as the shell would (CF_HDROP) from a hidden window of our own.
TEST(ClipboardFiles, ReadsEachDroppedNameCutToTheBufferAndNothingElse) {
  HWND wnd = CreateWindowExW(0, L"STATIC", L"zortest", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
  const auto put = [wnd](UINT format, const std::string& bytes) {
    HGLOBAL mem = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
    std::memcpy(GlobalLock(mem), bytes.data(), bytes.size());
    GlobalUnlock(mem);
    const bool ok = OpenClipboard(wnd) && EmptyClipboard() && SetClipboardData(format, mem);
    return CloseClipboard() && ok;
  };
  const std::vector<std::wstring> names = {L"C:\\music\\one.mp3", L"C:\\music\\two \x00e9.wav", L"D:\\x", L""};
  DROPFILES head = {sizeof head, {0, 0}, FALSE, TRUE};
  std::string drop(reinterpret_cast<const char*>(&head), sizeof head);
  for (const auto& n : names) drop.append(reinterpret_cast<const char*>(n.c_str()), (n.size() + 1) * 2);
  ASSERT_TRUE(put(CF_HDROP, drop));
  EXPECT_EQ(3, NumFileNamesOnClipboard());
  for (int i = -1; i < 4; ++i)  // the fourth and a negative index: empty
    for (size_t cap : {1, 2, 5, 16, 17, MAX_PATH}) {
      const std::wstring name = names[i < 0 ? 3 : static_cast<size_t>(i)].substr(0, cap - 1);
      EXPECT_EQ(name, Filled(cap, [i](wchar_t* b, int n) { GetFileNameFromClipboardW(i, b, n); })) << i << " " << cap;
      EXPECT_EQ(Narrow(name), Filled<char>(cap, [i](char* b, int n) { GetFileNameFromClipboardA(i, b, n); })) << i << " " << cap;
    }
  ASSERT_TRUE(put(CF_UNICODETEXT, std::string("t\0\0\0", 4)));
  EXPECT_EQ(L"0", std::to_wstring(NumFileNamesOnClipboard()) + Filled(8, [](wchar_t* b, int n) { GetFileNameFromClipboardW(0, b, n); }));
  EXPECT_EQ(L"<unterminated>", Filled(1, [](wchar_t* b, int) {  // nothing happens for bad buffers
              GetFileNameFromClipboardW(0, b, 0), GetFileNameFromClipboardW(0, nullptr, 10);
            }));
  if (OpenClipboard(wnd)) EmptyClipboard(), CloseClipboard();
  DestroyWindow(wnd);
}
