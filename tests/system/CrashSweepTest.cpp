// A crash sweep of the path functions with awkward paths: empty, one
// character, no drive, UNC, trailing separators, and lengths around the
// 260-character work buffers. Every output goes to a guarded buffer, and the
// heap-checked run catches writes past heap blocks as well. The sweep asserts
// nothing beyond "in bounds and terminated"; PathBounds pins the results at
// the 259/260/261 edges. LaunchBrowser is left out: awkward targets would
// start the system's browser.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/containers/StringLists.h>
#include <zorutils/system/Drives.h>
#include <zorutils/system/FileNames.h>
#include <zorutils/system/FileTimes.h>
#include <zorutils/system/Paths.h>

#include <algorithm>
#include <memory>

using namespace systest;

namespace {

std::vector<std::wstring> AwkwardPaths(const std::wstring& realRoot) {
  std::vector<std::wstring> paths = {
      L"", L"C", L"\\", L"/", L":", L".", L"..", L"C:", L"C:\\", L"C:/", L"C:\\\\\\", L"abc", L"abc\\def\\",
      L"\\\\", L"\\\\server", L"\\\\server\\", L"\\\\server\\share", L"\\\\server\\share\\dir\\", L"\\\\?\\C:\\",
      L"C:\\a\\", L"C:/a/", L"C:\\a.", L"C:\\.txt", L"a.b.c.", L"*", L"C:\\*\\?", L"\x4e2d\x6587:\\x"};
  for (size_t n : {257u, 258u, 259u, 260u, 261u, 300u}) {
    for (const wchar_t* start : {L"C:\\", L"\\\\server\\share\\", L"nodrive\\"}) paths.push_back(LongPath(n, start));
    paths.push_back(LongPath(n - 1, realRoot + L"\\") + L"\\");
    paths.push_back(LongPath(n, realRoot + L"\\"));
    paths.push_back(LongPath(n - 4, L"C:\\") + L".wav");
    paths.push_back(L"x." + std::wstring(n - 2, L'e'));
  }
  return paths;
}

// The text in a heap block of exactly its own size, so that the heap checker
// sees any write behind it.
std::unique_ptr<wchar_t[]> ExactCopy(const std::wstring& s) {
  std::unique_ptr<wchar_t[]> p(new wchar_t[s.size() + 1]);
  wmemcpy(p.get(), s.c_str(), s.size() + 1);
  return p;
}

}  // namespace

TEST(PathSweep, PathFunctionsStayInBounds) {
  TempDir dir;
  // A real folder chain deep enough that 259-261 character paths exist in
  // part, so the functions get past their first look-up.
  const std::wstring deep = MakeDeepFolder(dir.path(), 240);
  ASSERT_FALSE(deep.empty());
  zortest::WriteBytes(LongPath(259, deep + L"\\"), "x");

  for (const std::wstring& p : AwkwardPaths(deep)) {
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
    auto copy = ExactCopy(p);
    IsOnLocalHardDrive(copy.get());
    EXPECT_EQ(p, std::wstring(copy.get()));

    IsValidDirectory(p.c_str());
    IsRootFolder(p.c_str());
    FolderEmpty(p.c_str());
    GetKBFree(p.c_str());
    CompareFileTimeStampsW(p.c_str(), p.c_str());
    CompareFileTimeStampsA(Narrow(p).c_str(), Narrow(p).c_str());

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
    EXPECT_TRUE(unique.GuardIntact() && unique.Terminated());

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
    for (const wchar_t* tail : {L"", L"\\", L"\\\\"}) {
      const std::wstring p = LongPath(n, dir.path() + L"\\") + tail;
      auto copy = ExactCopy(p);
      CreateMultiLevelDir(copy.get());
      EXPECT_EQ(p, std::wstring(copy.get()));
    }
  }
  for (const wchar_t* odd : {L"", L"C", L"C:", L"abc", L"\\\\", L"\\\\server", L"\\\\server\\share\\x\\"})
    EXPECT_EQ(0, CreateMultiLevelDir(ExactCopy(odd).get())) << zortest::Escape(odd);
}

TEST(PathSweep, RecentFileListTakesAwkwardPaths) {
  TestRegKey key(L"sweep");
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

// The clean failures for input that does not fit a 260-character work copy,
// next to the longest input that does.
TEST(PathBounds, LengthsAroundTheWorkBufferGiveTheDocumentedResults) {
  TempDir dir;
  const std::wstring deep = MakeDeepFolder(dir.path(), 230);
  if (deep.empty()) GTEST_SKIP() << "cannot make a deep folder here";
  const std::wstring file259 = LongPath(259, deep + L"\\");
  if (file259.find(L'\\', deep.size() + 1) != std::wstring::npos) GTEST_SKIP() << "unexpected layout";
  ASSERT_TRUE(zortest::WriteBytes(file259, "x"));

  // Each name needs room for a folder's backslash as well, so a 258-character
  // file is the longest that expands into a 260-character buffer.
  const std::wstring file258 = file259.substr(0, 258);
  ASSERT_TRUE(zortest::WriteBytes(file258, "x"));
  Guarded<> out(MAX_PATH), roomy(MAX_PATH + 1);
  GetLongPathNameSafe(file258.c_str(), out.get(), out.cap());
  EXPECT_EQ(Lower(file258), Lower(out.get()));
  GetLongPathNameSafe(file259.c_str(), out.get(), out.cap());
  EXPECT_EQ(L"", std::wstring(out.get()));
  GetLongPathNameSafe(file259.c_str(), roomy.get(), roomy.cap());
  EXPECT_EQ(Lower(file259), Lower(roomy.get()));
  for (size_t n : {260u, 261u}) {
    GetLongPathNameSafe(LongPath(n, deep + L"\\").c_str(), out.get(), out.cap());
    EXPECT_EQ(L"", std::wstring(out.get())) << n;
    EXPECT_TRUE(FolderEmpty(LongPath(n, deep + L"\\").c_str())) << n;
    EXPECT_EQ(0.0, GetKBFree(LongPath(n, L"\\\\server\\share\\").c_str())) << n;
  }
  EXPECT_TRUE(out.GuardIntact());
  EXPECT_GT(GetKBFree(file259.c_str()), 0.0) << "only the drive root is copied";

  // An existing 259-character file has no room for a counter: refused, kept.
  Guarded<> unique(MAX_PATH);
  wcscpy(unique.get(), file259.c_str());
  EXPECT_FALSE(UniqueFileName(unique.get(), true, L'_'));
  EXPECT_EQ(file259, std::wstring(unique.get()));
  EXPECT_TRUE(unique.GuardIntact());
}

// GetKBFree hands its wide root to the single-byte system function as it
// stands, which then reads only the first character: a folder named like the
// drive letter in the current folder answers for a drive that does not exist.
TEST(PathBounds, SingleByteLookupSeesOnlyTheFirstCharacter) {
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
