// Special folders, the executable's folder, long path names, multi-level
// folder creation and the folder tests, on real folders.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/system/Paths.h>

#include <shlobj.h>

using systest::Guarded;
using systest::Lower;
using zortest::TempDir;

namespace {

bool IsDir(const std::wstring& p) {
  DWORD a = GetFileAttributesW(p.c_str());
  return a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY);
}

std::wstring ShellFolder(int csidl) {
  wchar_t path[MAX_PATH] = {0};
  if (FAILED(SHGetFolderPathW(nullptr, csidl, nullptr, SHGFP_TYPE_CURRENT, path))) return L"";
  return path;
}


}  // namespace

TEST(SpecialFolders, NamedWrappersGiveTheShellsFolders) {
  wchar_t buf[MAX_PATH];
  ASSERT_TRUE(GetCurrentUserAppDataPath(buf, MAX_PATH, false));
  EXPECT_EQ(Lower(ShellFolder(CSIDL_APPDATA)), Lower(buf));
  ASSERT_TRUE(GetDesktopPath(buf, MAX_PATH, false));
  EXPECT_EQ(Lower(ShellFolder(CSIDL_DESKTOP)), Lower(buf));
  ASSERT_TRUE(GetCommonAppDataPath(buf, MAX_PATH, false));
  EXPECT_EQ(Lower(ShellFolder(CSIDL_COMMON_APPDATA)), Lower(buf));
}

TEST(SpecialFolders, MyDocumentsIsTheShellsWhenItHasOne) {
  wchar_t buf[MAX_PATH];
  ASSERT_TRUE(GetMyDocumentsPath(buf, MAX_PATH, false));
  // Wine's documents item may come back with a trailing backslash.
  std::wstring got = Lower(buf);
  if (got.size() > 3 && got.back() == L'\\') got.pop_back();
  EXPECT_EQ(Lower(ShellFolder(CSIDL_PERSONAL)), got);
}

TEST(SpecialFolders, CutToCapacityAndRejectBadBuffers) {
  std::wstring full = ShellFolder(CSIDL_APPDATA);
  ASSERT_GT(full.size(), 4u);
  Guarded<> small(5);
  ASSERT_TRUE(GetCurrentUserAppDataPath(small.get(), small.cap(), false));
  EXPECT_EQ(full.substr(0, 4), std::wstring(small.get()));
  EXPECT_TRUE(small.GuardIntact());
  EXPECT_FALSE(GetSpecialFolderPath(nullptr, MAX_PATH, CSIDL_APPDATA, false));
  wchar_t one[1] = {L'x'};
  EXPECT_FALSE(GetSpecialFolderPath(one, 0, CSIDL_APPDATA, false));
  EXPECT_EQ(L'x', one[0]);
  // Tiny buffers with create: a cut folder such as "C" cannot be made, which
  // sends the documents folder to its last resort "C:\", cut as well.
  for (int cap = 1; cap <= 5; ++cap) {
    Guarded<> docs(static_cast<size_t>(cap));
    EXPECT_TRUE(GetMyDocumentsPath(docs.get(), docs.cap(), true)) << cap;
    EXPECT_TRUE(docs.GuardIntact()) << cap;
    EXPECT_TRUE(docs.Terminated()) << cap;
  }
  wchar_t buf[MAX_PATH] = L"junk";
  EXPECT_FALSE(GetSpecialFolderPath(buf, MAX_PATH, 0x7777, false));
  EXPECT_EQ(L"", std::wstring(buf));
}

// With no documents folder from the shell, the old fixed place is used, cut
// to the buffer like everything else.
TEST(SpecialFolders, MyDocumentsFallsBackWhenTheShellHasNone) {
  // Wine hands out its fixed "My Documents" item for folder 5 whatever the
  // registry says (pointing the folder elsewhere only garbles its path), so
  // the shell cannot be made to give none here.
  wchar_t probe[MAX_PATH] = {0};
  if (GetSpecialFolderPath(probe, MAX_PATH, CSIDL_PERSONAL, false))
    GTEST_SKIP() << "Wine's shell always gives an item for the documents folder";

  wchar_t buf[MAX_PATH];
  EXPECT_TRUE(GetMyDocumentsPath(buf, MAX_PATH, false));
  EXPECT_EQ(L"C:\\My Documents", std::wstring(buf));
  Guarded<> cut(6);
  EXPECT_TRUE(GetMyDocumentsPath(cut.get(), cut.cap(), false));
  EXPECT_EQ(L"C:\\My", std::wstring(cut.get()));
  // "C" cannot be made, so the last resort "C:\" is used, cut to fit.
  for (int cap = 2; cap <= 4; ++cap) {
    Guarded<> tiny(static_cast<size_t>(cap));
    EXPECT_TRUE(GetMyDocumentsPath(tiny.get(), tiny.cap(), true)) << cap;
    EXPECT_EQ(std::wstring(L"C:\\").substr(0, static_cast<size_t>(cap - 1)), std::wstring(tiny.get())) << cap;
    EXPECT_TRUE(tiny.GuardIntact()) << cap;
  }
  Guarded<> single(1);
  EXPECT_TRUE(GetMyDocumentsPath(single.get(), 1, false));
  EXPECT_EQ(0, single.get()[0]);
  EXPECT_FALSE(GetMyDocumentsPath(nullptr, MAX_PATH, false));
}

TEST(ExeDirectory, IsTheProgramsFolderWithTrailingBackslash) {
  wchar_t buf[MAX_PATH];
  ASSERT_NE(0, GetExeDirectory(buf, MAX_PATH, nullptr));
  EXPECT_EQ(Lower(zortest::ExeDir() + L"\\"), Lower(buf));
  HMODULE lib = GetModuleHandleW(L"zorutils.dll");
  ASSERT_NE(0, GetExeDirectory(buf, MAX_PATH, lib));
  EXPECT_EQ(Lower(zortest::ExeDir() + L"\\"), Lower(buf));
}

TEST(ExeDirectory, TooSmallBufferIsCutNotOverrun) {
  std::wstring full = zortest::ExeDir() + L"\\";
  Guarded<> small(6);
  EXPECT_NE(0, GetExeDirectory(small.get(), small.cap(), nullptr));
  EXPECT_EQ(Lower(full.substr(0, 5)), Lower(small.get()));
  EXPECT_TRUE(small.GuardIntact());
  EXPECT_EQ(0, GetExeDirectory(nullptr, MAX_PATH, nullptr));
  EXPECT_EQ(0, GetExeDirectory(small.get(), 0, nullptr));
}

TEST(LongPathNames, ExpandsShortNamesAndMarksFolders) {
  TempDir dir;
  std::wstring sub = dir / L"Long Folder Name";
  ASSERT_TRUE(CreateDirectoryW(sub.c_str(), nullptr));
  ASSERT_TRUE(zortest::WriteBytes(sub + L"\\Some Long File.txt", "x"));
  wchar_t out[MAX_PATH];
  GetLongPathNameSafe((sub + L"\\Some Long File.txt").c_str(), out, MAX_PATH);
  EXPECT_EQ(Lower(sub + L"\\Some Long File.txt"), Lower(out));
  GetLongPathNameSafe(sub.c_str(), out, MAX_PATH);
  EXPECT_EQ(Lower(sub + L"\\"), Lower(out)) << "a folder always ends in a backslash";
  wchar_t shortName[MAX_PATH] = {0};
  if (GetShortPathNameW(sub.c_str(), shortName, MAX_PATH) && Lower(shortName) != Lower(sub)) {
    GetLongPathNameSafe(shortName, out, MAX_PATH);
    EXPECT_EQ(Lower(sub + L"\\"), Lower(out));
  }
}

TEST(LongPathNames, MissingOrTooLongGivesEmptyOutput) {
  TempDir dir;
  wchar_t out[MAX_PATH] = L"junk";
  GetLongPathNameSafe((dir / L"missing\\x.txt").c_str(), out, MAX_PATH);
  EXPECT_EQ(L"", std::wstring(out));
  // Exactly the length of the full result plus terminator fits; one less not.
  std::wstring full = dir.path() + L"\\";
  Guarded<> fits(full.size() + 1);
  GetLongPathNameSafe(dir.path().c_str(), fits.get(), fits.cap());
  EXPECT_EQ(Lower(full), Lower(fits.get()));
  Guarded<> tooSmall(full.size());
  GetLongPathNameSafe(dir.path().c_str(), tooSmall.get(), tooSmall.cap());
  EXPECT_EQ(L"", std::wstring(tooSmall.get()));
  EXPECT_TRUE(fits.GuardIntact());
  EXPECT_TRUE(tooSmall.GuardIntact());
  // Nothing at all happens for a capacity of 0 or an empty path.
  wchar_t keep[4] = L"abc";
  GetLongPathNameSafe(L"C:\\", keep, 0);
  GetLongPathNameSafe(L"", keep, 4);
  EXPECT_EQ(L"abc", std::wstring(keep));
}

TEST(CreateMultiLevelDir, MakesOnlyFoldersFollowedByABackslash) {
  TempDir dir;
  std::wstring a = dir / L"a", b = a + L"\\b";
  std::wstring path = b;
  EXPECT_NE(0, CreateMultiLevelDir(&path[0]));
  EXPECT_TRUE(IsDir(a));
  EXPECT_FALSE(IsDir(b)) << "the last component is not made without a trailing backslash";
  EXPECT_EQ(b, path) << "the caller's path is left as it was";
  path = b + L"\\c\\";
  EXPECT_NE(0, CreateMultiLevelDir(&path[0]));
  EXPECT_TRUE(IsDir(b + L"\\c"));
  // Already there: still success.
  EXPECT_NE(0, CreateMultiLevelDir(&path[0]));
}

TEST(CreateMultiLevelDir, RejectsPathsWithoutDriveOrServer) {
  wchar_t rel[] = L"abc\\def\\";
  EXPECT_EQ(0, CreateMultiLevelDir(rel));
  wchar_t tiny[] = L"C:";
  EXPECT_EQ(0, CreateMultiLevelDir(tiny));
  wchar_t noSlash[] = L"C:abc";
  EXPECT_EQ(0, CreateMultiLevelDir(noSlash));
  EXPECT_EQ(0, CreateMultiLevelDir(nullptr));
  // A UNC path with no reachable server cannot be made.
  wchar_t unc[] = L"\\\\zortest-no-server\\share\\dir\\";
  EXPECT_EQ(0, CreateMultiLevelDir(unc));
}

TEST(CreateMultiLevelDir, UncPathThroughTheLocalMachineMakesTheFolder) {
  TempDir dir;
  // Wine names local drives as "\\?\" or "\\.\" paths only; use the
  // "\\?\C:\..." form when the system accepts it, else skip.
  std::wstring target = L"\\\\?\\" + dir.path() + L"\\u\\v\\";
  std::wstring path = target;
  if (!CreateMultiLevelDir(&path[0]))
    GTEST_SKIP() << "no UNC form of a local folder can be created under this Wine";
  EXPECT_TRUE(IsDir(dir / L"u\\v"));
}

TEST(FolderTests, IsRootFolderOnlyForDriveRoots) {
  EXPECT_TRUE(IsRootFolder(L"C:\\"));
  EXPECT_TRUE(IsRootFolder(L"z:\\"));
  EXPECT_FALSE(IsRootFolder(L"C:"));
  EXPECT_FALSE(IsRootFolder(L"C:\\a"));
  EXPECT_FALSE(IsRootFolder(L"1:\\"));
  EXPECT_FALSE(IsRootFolder(L"C:/"));
  EXPECT_FALSE(IsRootFolder(L""));
  EXPECT_FALSE(IsRootFolder(nullptr));
}

TEST(FolderTests, IsValidDirectoryOnlyForExistingFolders) {
  TempDir dir;
  EXPECT_NE(0, IsValidDirectory(dir.path().c_str()));
  ASSERT_TRUE(zortest::WriteBytes(dir / L"f.txt", "x"));
  EXPECT_EQ(0, IsValidDirectory((dir / L"f.txt").c_str()));
  EXPECT_EQ(0, IsValidDirectory((dir / L"none").c_str()));
  EXPECT_EQ(0, IsValidDirectory(nullptr));
}

// The ".." entry carries no "normal" bit, so an ordinary folder is never
// reported empty: hosts were built against this.
TEST(FolderEmpty, DotDotEntryMakesAnOrdinaryFolderNonEmpty) {
  TempDir dir;
  EXPECT_FALSE(FolderEmpty(dir.path().c_str()));
  EXPECT_FALSE(FolderEmpty((dir.path() + L"\\").c_str()));
}

TEST(FolderEmpty, UnlistableFolderCountsAsEmpty) {
  TempDir dir;
  EXPECT_TRUE(FolderEmpty((dir / L"missing").c_str()));
  EXPECT_TRUE(FolderEmpty(nullptr));
  EXPECT_TRUE(FolderEmpty(systest::LongPath(260).c_str()));
}
