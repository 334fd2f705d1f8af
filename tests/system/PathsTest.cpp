// Special folders, the executable's folder, long path names, multi-level
// folder creation and the folder tests, on real folders.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/system/Paths.h>

#include <shlobj.h>

using namespace systest;

namespace {
std::wstring ShellFolder(int csidl) {
  wchar_t path[MAX_PATH] = {0};
  if (FAILED(SHGetFolderPathW(nullptr, csidl, nullptr, SHGFP_TYPE_CURRENT, path))) return L"";
  return path;
}
}  // namespace

TEST(SpecialFolders, WrappersGiveTheShellsFoldersCutToCapacity) {
  const struct {
    bool (*get)(wchar_t*, int, bool);
    int csidl;
  } cases[] = {{GetCurrentUserAppDataPath, CSIDL_APPDATA}, {GetDesktopPath, CSIDL_DESKTOP},
               {GetCommonAppDataPath, CSIDL_COMMON_APPDATA}, {GetMyDocumentsPath, CSIDL_PERSONAL}};
  for (const auto& c : cases) {
    wchar_t buf[MAX_PATH];
    ASSERT_TRUE(c.get(buf, MAX_PATH, false)) << c.csidl;
    std::wstring got = Lower(buf);
    // Wine's documents item may come back with a trailing backslash.
    if (c.csidl == CSIDL_PERSONAL && got.size() > 3 && got.back() == L'\\') got.pop_back();
    EXPECT_EQ(Lower(ShellFolder(c.csidl)), got) << c.csidl;
  }
  Guarded<> small(5);
  ASSERT_TRUE(GetCurrentUserAppDataPath(small.get(), small.cap(), false));
  EXPECT_EQ(Cut(ShellFolder(CSIDL_APPDATA), 5), std::wstring(small.get()));
  EXPECT_TRUE(small.GuardIntact());
  // Tiny buffers with create: a cut folder such as "C" cannot be made, which
  // sends the documents folder to its last resort "C:\", cut as well.
  for (int cap = 1; cap <= 5; ++cap) {
    Guarded<> docs(static_cast<size_t>(cap));
    EXPECT_TRUE(GetMyDocumentsPath(docs.get(), docs.cap(), true)) << cap;
    EXPECT_TRUE(docs.GuardIntact() && docs.Terminated()) << cap;
  }
  wchar_t buf[MAX_PATH] = L"junk";
  EXPECT_FALSE(GetSpecialFolderPath(buf, MAX_PATH, 0x7777, false));
  EXPECT_EQ(L"", std::wstring(buf));
  EXPECT_FALSE(GetSpecialFolderPath(nullptr, MAX_PATH, CSIDL_APPDATA, false));
  EXPECT_FALSE(GetMyDocumentsPath(nullptr, MAX_PATH, false));
  buf[0] = L'x';
  EXPECT_FALSE(GetSpecialFolderPath(buf, 0, CSIDL_APPDATA, false));
  EXPECT_EQ(L'x', buf[0]);
}

TEST(ExeDirectory, IsTheProgramsFolderWithTrailingBackslashCutToFit) {
  const std::wstring full = Lower(zortest::ExeDir() + L"\\");
  wchar_t buf[MAX_PATH];
  for (HMODULE module : {HMODULE(nullptr), GetModuleHandleW(L"zorutils.dll")}) {
    ASSERT_NE(0, GetExeDirectory(buf, MAX_PATH, module));
    EXPECT_EQ(full, Lower(buf));
  }
  Guarded<> small(6);
  EXPECT_NE(0, GetExeDirectory(small.get(), small.cap(), nullptr));
  EXPECT_EQ(Cut(full, 6), Lower(small.get()));
  EXPECT_TRUE(small.GuardIntact());
  EXPECT_EQ(0, GetExeDirectory(nullptr, MAX_PATH, nullptr));
  EXPECT_EQ(0, GetExeDirectory(small.get(), 0, nullptr));
}

TEST(LongPathNames, ExpandsShortNamesMarksFoldersAndEmptiesWhatDoesNotFit) {
  TempDir dir;
  const std::wstring sub = dir / L"Long Folder Name", file = sub + L"\\Some Long File.txt";
  ASSERT_TRUE(CreateDirectoryW(sub.c_str(), nullptr));
  ASSERT_TRUE(zortest::WriteBytes(file, "x"));
  wchar_t out[MAX_PATH], shortName[MAX_PATH] = {0};
  GetLongPathNameSafe(file.c_str(), out, MAX_PATH);
  EXPECT_EQ(Lower(file), Lower(out));
  GetLongPathNameSafe(sub.c_str(), out, MAX_PATH);
  EXPECT_EQ(Lower(sub + L"\\"), Lower(out)) << "a folder always ends in a backslash";
  if (GetShortPathNameW(sub.c_str(), shortName, MAX_PATH) && Lower(shortName) != Lower(sub)) {
    GetLongPathNameSafe(shortName, out, MAX_PATH);
    EXPECT_EQ(Lower(sub + L"\\"), Lower(out));
  }
  GetLongPathNameSafe((dir / L"missing\\x.txt").c_str(), out, MAX_PATH);
  EXPECT_EQ(L"", std::wstring(out));
  // Exactly the length of the full result plus terminator fits; one less not.
  const std::wstring full = dir.path() + L"\\";
  Guarded<> fits(full.size() + 1), tooSmall(full.size());
  GetLongPathNameSafe(dir.path().c_str(), fits.get(), fits.cap());
  GetLongPathNameSafe(dir.path().c_str(), tooSmall.get(), tooSmall.cap());
  EXPECT_EQ(Lower(full), Lower(fits.get()));
  EXPECT_EQ(L"", std::wstring(tooSmall.get()));
  EXPECT_TRUE(fits.GuardIntact() && tooSmall.GuardIntact());
  // Nothing at all happens for a capacity of 0 or an empty path.
  wchar_t keep[4] = L"abc";
  GetLongPathNameSafe(L"C:\\", keep, 0);
  GetLongPathNameSafe(L"", keep, 4);
  EXPECT_EQ(L"abc", std::wstring(keep));
}

TEST(CreateMultiLevelDir, MakesOnlyFoldersFollowedByABackslash) {
  TempDir dir;
  const std::wstring a = dir / L"a", b = a + L"\\b";
  std::wstring path = b;
  EXPECT_NE(0, CreateMultiLevelDir(&path[0]));
  EXPECT_TRUE(IsDir(a));
  EXPECT_FALSE(IsDir(b)) << "the last component is not made without a trailing backslash";
  EXPECT_EQ(b, path) << "the caller's path is left as it was";
  path = b + L"\\c\\";
  EXPECT_NE(0, CreateMultiLevelDir(&path[0]));
  EXPECT_TRUE(IsDir(b + L"\\c"));
  EXPECT_NE(0, CreateMultiLevelDir(&path[0])) << "already there: still success";
  // Wine names local drives as "\\?\" paths only; use that UNC form if it works.
  path = L"\\\\?\\" + dir.path() + L"\\u\\v\\";
  if (CreateMultiLevelDir(&path[0])) {
    EXPECT_TRUE(IsDir(dir / L"u\\v"));
  }
}

TEST(CreateMultiLevelDir, RejectsPathsWithoutDriveOrServer) {
  // The last: a UNC path with no reachable server cannot be made.
  for (std::wstring p : {L"abc\\def\\", L"C:", L"C:abc", L"\\\\zortest-no-server\\share\\dir\\"})
    EXPECT_EQ(0, CreateMultiLevelDir(&p[0])) << zortest::Escape(p);
  EXPECT_EQ(0, CreateMultiLevelDir(nullptr));
}

TEST(FolderTests, RootOnlyForDriveRootsValidOnlyForExistingFolders) {
  for (const wchar_t* p : {L"C:\\", L"z:\\"}) EXPECT_TRUE(IsRootFolder(p)) << zortest::Escape(p);
  for (const wchar_t* p : {L"C:", L"C:\\a", L"1:\\", L"C:/", L""}) EXPECT_FALSE(IsRootFolder(p)) << zortest::Escape(p);
  EXPECT_FALSE(IsRootFolder(nullptr));
  TempDir dir;
  ASSERT_TRUE(zortest::WriteBytes(dir / L"f.txt", "x"));
  EXPECT_NE(0, IsValidDirectory(dir.path().c_str()));
  for (const std::wstring& p : {dir / L"f.txt", dir / L"none"}) EXPECT_EQ(0, IsValidDirectory(p.c_str()));
  EXPECT_EQ(0, IsValidDirectory(nullptr));
}

// The ".." entry carries no "normal" bit, so an ordinary folder is never
// reported empty: hosts were built against this. What cannot be listed
// counts as empty.
TEST(FolderEmpty, DotDotEntryMakesAnOrdinaryFolderNonEmpty) {
  TempDir dir;
  EXPECT_FALSE(FolderEmpty(dir.path().c_str()));
  EXPECT_FALSE(FolderEmpty((dir.path() + L"\\").c_str()));
  EXPECT_TRUE(FolderEmpty((dir / L"missing").c_str()));
  EXPECT_TRUE(FolderEmpty(nullptr));
  EXPECT_TRUE(FolderEmpty(LongPath(260).c_str()));
}
