// A crash sweep of the path functions with awkward paths: empty, one
// character, no drive, UNC, trailing separators, and lengths around the
// 260-character work buffers. Every output goes to a guarded buffer, and the
// heap-checked run catches writes past heap blocks as well. Nothing here
// asserts results beyond "in bounds and terminated": the other tests do that.
// LaunchBrowser is left out: awkward targets would start the system's
// browser.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/containers/StringLists.h>
#include <zorutils/system/Drives.h>
#include <zorutils/system/FileNames.h>
#include <zorutils/system/FileTimes.h>
#include <zorutils/system/Paths.h>

#include <cstdlib>

using systest::Guarded;
using zortest::TempDir;

namespace {

std::vector<std::wstring> AwkwardPaths(const std::wstring& realRoot) {
  std::vector<std::wstring> paths = {
      L"", L"C", L"\\", L"/", L":", L".", L"..", L"C:", L"C:\\", L"C:/", L"C:\\\\\\", L"abc", L"abc\\def\\",
      L"\\\\", L"\\\\server", L"\\\\server\\", L"\\\\server\\share", L"\\\\server\\share\\dir\\", L"\\\\?\\C:\\",
      L"C:\\a\\", L"C:/a/", L"C:\\a.", L"C:\\.txt", L"a.b.c.", L"*", L"C:\\*\\?", L"\x4e2d\x6587:\\x"};
  for (size_t n : {257u, 258u, 259u, 260u, 261u, 300u}) {
    paths.push_back(systest::LongPath(n, L"C:\\"));
    paths.push_back(systest::LongPath(n, L"\\\\server\\share\\"));
    paths.push_back(systest::LongPath(n, L"nodrive\\"));
    paths.push_back(systest::LongPath(n - 1, realRoot + L"\\") + L"\\");
    paths.push_back(systest::LongPath(n, realRoot + L"\\"));
    std::wstring dotted = systest::LongPath(n - 4, L"C:\\");
    paths.push_back(dotted + L".wav");
    paths.push_back(L"x." + std::wstring(n - 2, L'e'));
  }
  return paths;
}

// The text in a heap block of exactly its own size, so that the heap checker
// sees any write behind it.
wchar_t* ExactCopy(const std::wstring& s, size_t extra = 0) {
  auto* p = static_cast<wchar_t*>(std::malloc((s.size() + 1 + extra) * sizeof(wchar_t)));
  wmemcpy(p, s.c_str(), s.size() + 1);
  return p;
}

}  // namespace

TEST(PathSweep, PathFunctionsStayInBounds) {
  TempDir dir;
  // A real folder chain deep enough that 259-261 character paths exist in
  // part, so the functions get past their first look-up.
  std::wstring deep = dir.path();
  while (deep.size() < 240) {
    deep += L"\\" + std::wstring(18, L'd');
    CreateDirectoryW(deep.c_str(), nullptr);
  }
  zortest::WriteBytes(systest::LongPath(259, deep + L"\\"), "x");

  const std::vector<std::wstring> paths = AwkwardPaths(deep);
  for (const std::wstring& p : paths) {
    SCOPED_TRACE(zortest::Escape(p.substr(0, 40)) + " length " + std::to_string(p.size()));
    for (size_t cap : {1u, 4u, 259u, 260u, 261u}) {
      Guarded<> out(cap);
      GetLongPathNameSafe(p.c_str(), out.get(), out.cap());
      EXPECT_TRUE(out.GuardIntact()) << cap;
      // An empty path leaves the output untouched: nothing to terminate.
      if (!p.empty()) {
        EXPECT_TRUE(out.Terminated()) << cap;
      }
    }
    // Writable-path functions get an exact heap copy and must leave it as it was.
    wchar_t* copy = ExactCopy(p);
    IsOnLocalHardDrive(copy);
    EXPECT_EQ(p, std::wstring(copy));
    std::free(copy);

    IsValidDirectory(p.c_str());
    IsRootFolder(p.c_str());
    FolderEmpty(p.c_str());
    GetKBFree(p.c_str());
    CompareFileTimeStampsW(p.c_str(), p.c_str());
    std::string narrow(p.begin(), p.end());
    CompareFileTimeStampsA(narrow.c_str(), narrow.c_str());

    // The name cleaners' destination is exactly the source's size.
    Guarded<> iso(p.size() + 1), jol(p.size() + 1), valid(p.size() + 1);
    for (bool keep : {false, true}) {
      MakeISO9660FriendlyName(p.c_str(), iso.get(), keep, L'_');
      MakeJolietFriendlyName(p.c_str(), jol.get(), keep, L'_');
      EXPECT_TRUE(iso.GuardIntact() && jol.GuardIntact()) << keep;
      EXPECT_TRUE(iso.Terminated() && jol.Terminated()) << keep;
    }
    ValidateFileName(p.c_str(), valid.get(), L'_');
    EXPECT_TRUE(valid.GuardIntact());

    // UniqueFileName's buffer holds 260 characters (or the path, if longer).
    Guarded<> unique(std::max<size_t>(MAX_PATH, p.size() + 1));
    wcscpy(unique.get(), p.c_str());
    UniqueFileName(unique.get(), true, L'_');
    EXPECT_TRUE(unique.GuardIntact());
    EXPECT_TRUE(unique.Terminated());

    CLastDirList dirs;
    dirs.Add(p.c_str(), 1, 1, 0);
    dirs.MoveOrAddToTop(p.c_str());
    dirs.UpdateOrAdd(p.c_str(), 2, 2, 1);
    CStringList strings;
    strings.AddSortedString(p.c_str());
  }
}

// Creating folders is swept inside the temp folder only, so that nothing is
// left behind elsewhere.
TEST(PathSweep, CreateMultiLevelDirStaysInBounds) {
  TempDir dir;
  for (size_t n : {3u, 4u, 257u, 258u, 259u, 260u, 261u, 300u}) {
    for (const std::wstring& tail : {std::wstring(), std::wstring(L"\\"), std::wstring(L"\\\\")}) {
      std::wstring p = systest::LongPath(n, dir.path() + L"\\") + tail;
      wchar_t* copy = ExactCopy(p);
      CreateMultiLevelDir(copy);
      EXPECT_EQ(p, std::wstring(copy));
      std::free(copy);
    }
  }
  for (const wchar_t* odd : {L"", L"C", L"C:", L"abc", L"\\\\", L"\\\\server", L"\\\\server\\share\\x\\"}) {
    wchar_t* copy = ExactCopy(odd);
    EXPECT_EQ(0, CreateMultiLevelDir(copy)) << zortest::Escape(odd);
    std::free(copy);
  }
}

TEST(PathSweep, RecentFileListTakesAwkwardPaths) {
  systest::TestRegKey key(L"sweep");
  TempDir dir;
  std::wstring file = dir / L"f.txt";
  zortest::WriteBytes(file, "x");
  CMRUList mru;
  mru.Init(HKEY_CURRENT_USER, key.path());
  for (const std::wstring& p : AwkwardPaths(dir.path())) mru.AddFile(p.c_str());
  mru.AddFile(file.c_str());
  EXPECT_LE(mru.NumMRUFiles(), 9);
  for (int i = 0; i < mru.NumMRUFiles(); ++i) EXPECT_NE(nullptr, mru.GetFileNameOnly(i));
  EXPECT_EQ(9, key.ValueCount());
  // A registry value longer than the 512-character load buffer is cut there
  // (and, naming no file, dropped).
  key.Write(L"mru.1", std::wstring(600, L'z'));
  CMRUList again;
  again.Init(HKEY_CURRENT_USER, key.path());
  EXPECT_EQ(mru.NumMRUFiles() - 1, again.NumMRUFiles());
  EXPECT_EQ(std::wstring(mru.GetFileWithPath(1)), key.Read(L"mru.1"));
}

// The documented clean failures for input that does not fit a 260-character
// work copy, next to the longest input that does.
TEST(PathBounds, LengthsAroundTheWorkBufferGiveTheDocumentedResults) {
  TempDir dir;
  std::wstring deep = dir.path();
  while (deep.size() < 230) {
    deep += L"\\" + std::wstring(18, L'd');
    if (!CreateDirectoryW(deep.c_str(), nullptr)) GTEST_SKIP() << "cannot make a deep folder here";
  }
  const std::wstring file259 = systest::LongPath(259, deep + L"\\");
  if (file259.find(L'\\', deep.size() + 1) != std::wstring::npos) GTEST_SKIP() << "unexpected layout";
  ASSERT_TRUE(zortest::WriteBytes(file259, "x"));

  // Each name needs room for a folder's backslash as well, so a 258-character
  // file is the longest that expands into a 260-character buffer.
  const std::wstring file258 = file259.substr(0, 258);
  ASSERT_TRUE(zortest::WriteBytes(file258, "x"));
  Guarded<> out(MAX_PATH);
  GetLongPathNameSafe(file258.c_str(), out.get(), out.cap());
  EXPECT_EQ(systest::Lower(file258), systest::Lower(out.get()));
  GetLongPathNameSafe(file259.c_str(), out.get(), out.cap());
  EXPECT_EQ(L"", std::wstring(out.get()));
  Guarded<> roomy(MAX_PATH + 1);
  GetLongPathNameSafe(file259.c_str(), roomy.get(), roomy.cap());
  EXPECT_EQ(systest::Lower(file259), systest::Lower(roomy.get()));
  for (size_t n : {260u, 261u}) {
    GetLongPathNameSafe(systest::LongPath(n, deep + L"\\").c_str(), out.get(), out.cap());
    EXPECT_EQ(L"", std::wstring(out.get())) << n;
  }
  EXPECT_TRUE(out.GuardIntact());

  // An existing 259-character file has no room for a counter: refused, kept.
  Guarded<> unique(MAX_PATH);
  wcscpy(unique.get(), file259.c_str());
  EXPECT_FALSE(UniqueFileName(unique.get(), true, L'_'));
  EXPECT_EQ(file259, std::wstring(unique.get()));
  EXPECT_TRUE(unique.GuardIntact());

  for (size_t n : {260u, 261u}) {
    std::wstring p = systest::LongPath(n, deep + L"\\");
    EXPECT_TRUE(FolderEmpty(p.c_str())) << n;
    EXPECT_EQ(0.0, GetKBFree(systest::LongPath(n, L"\\\\server\\share\\").c_str())) << n;
  }
  EXPECT_GT(GetKBFree(file259.c_str()), 0.0) << "only the drive root is copied";
}

// GetKBFree hands its wide root to the single-byte system function as it
// stands, which then reads only the first character: a folder named like the
// drive letter in the current folder answers for a drive that does not exist.
TEST(PathBounds, SingleByteLookupSeesOnlyTheFirstCharacter) {
  TempDir dir;
  ASSERT_TRUE(CreateDirectoryW((dir / L"Q").c_str(), nullptr));
  wchar_t old[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, old);
  if (GetDriveTypeW(L"Q:\\") != DRIVE_NO_ROOT_DIR) GTEST_SKIP() << "Q: exists here";
  SetCurrentDirectoryW(dir.path().c_str());
  const double withFolder = GetKBFree(L"Q:\\");
  SetCurrentDirectoryW(old);
  EXPECT_GT(withFolder, 0.0);
  EXPECT_EQ(0.0, GetKBFree(L"Q:\\")) << "without the folder nothing answers";
}
