// Drive kinds, free space, the drive-space log and the accelerator check.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/system/Drives.h>
#include <zorutils/system/Paths.h>

#include <algorithm>

using namespace systest;

TEST(Drives, OnlyPathsOnALocalHardDriveCount) {
  TempDir dir;
  std::wstring path = dir / L"x.txt", slashes = L"C:/windows";
  EXPECT_TRUE(IsOnLocalHardDrive(&path[0]));
  EXPECT_EQ(dir / L"x.txt", path) << "the path is restored";
  EXPECT_TRUE(IsOnLocalHardDrive(&slashes[0]));
  for (std::wstring p : {L"", L"file.txt", L"Q:\\zortest"})
    EXPECT_FALSE(IsOnLocalHardDrive(&p[0])) << zortest::Escape(p);
  EXPECT_FALSE(IsOnLocalHardDrive(nullptr));
}

TEST(Drives, KBFreeMatchesTheSystemsCountAndIsZeroForUnknownPlaces) {
  ULARGE_INTEGER toCaller, total, free;
  ASSERT_TRUE(GetDiskFreeSpaceExW(L"C:\\", &toCaller, &total, &free));
  const double expected = static_cast<double>(toCaller.QuadPart) / 1024.0;
  const double got = GetKBFree(L"C:\\windows\\system32");
  // Other programs write to the disk meanwhile: 1% or 100 MB, whichever is more.
  EXPECT_NEAR(expected, got, std::max(expected * 0.01, 102400.0));
  EXPECT_GT(got, 0.0);
  EXPECT_EQ(0.0, GetKBFree(nullptr));
  EXPECT_EQ(0.0, GetKBFree(L"Q:\\zortest-no-such-drive\\"));
  EXPECT_EQ(0.0, GetKBFree(LongPath(300, L"\\\\srv").c_str()));
  // A share that cannot be measured is assumed to have 2000 MB, but the
  // single-byte lookup sees "\" (the current drive's root) and may well
  // answer for it instead: either way a share never reads as full.
  const double share = GetKBFree(L"\\\\zortest-no-server\\share\\dir");
  EXPECT_TRUE(share == 2048000.0 || share > 0.0) << share;
}

TEST(Drives, LogsEveryFixedDriveOnlyWhileLogging) {
  {
    zortest::LogCapture log;
    LogCurrentHardDriveSpace();
    bool sawC = false;
    for (const auto& line : log.lines()) {
      EXPECT_EQ(0u, line.find_first_of(L"ABCDEFGHIJKLMNOPQRSTUVWXYZ"));
      EXPECT_NE(std::wstring::npos, line.find(L":\\ has ")) << zortest::Escape(line);
      EXPECT_EQ(line.size() - 9, line.rfind(L" MB free.")) << zortest::Escape(line);
      sawC = sawC || line.compare(0, 8, L"C:\\ has ") == 0;
    }
    EXPECT_TRUE(sawC);
  }
  zortest::LogCapture log;
  SetLogging(false);
  LogCurrentHardDriveSpace();
  EXPECT_TRUE(log.lines().empty());
}

TEST(Drives, AcceleratorCheckNeedsAVersionedFileAtItsPlace) {
  EXPECT_FALSE(BadIntelAppAcceleratorInstalled());
  // Put a file with version information (our own library) at the checked
  // place, then take everything we made away again.
  const std::wstring intel = L"C:\\program files\\intel", folder = intel + L"\\intel application accelerator";
  const std::wstring file = folder + L"\\intelata.exe";
  if (GetFileAttributesW(file.c_str()) != INVALID_FILE_ATTRIBUTES) GTEST_SKIP() << "a real file is there";
  const bool madeIntel = CreateDirectoryW(intel.c_str(), nullptr) != FALSE;
  ASSERT_TRUE(CreateDirectoryW(folder.c_str(), nullptr));
  ASSERT_TRUE(CopyFileW((zortest::ExeDir() + L"\\zorutils.dll").c_str(), file.c_str(), TRUE));
  EXPECT_TRUE(BadIntelAppAcceleratorInstalled());
  // The same file without version information does not count.
  ASSERT_TRUE(zortest::WriteBytes(file, "MZ not really"));
  EXPECT_FALSE(BadIntelAppAcceleratorInstalled());
  DeleteFileW(file.c_str());
  RemoveDirectoryW(folder.c_str());
  if (madeIntel) RemoveDirectoryW(intel.c_str());
}
