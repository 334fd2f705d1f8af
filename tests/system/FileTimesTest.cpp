// Comparing last-write times of real files.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/system/FileTimes.h>

using namespace systest;

namespace {
void SetWriteTime(const std::wstring& path, ULONGLONG ticks) {
  HANDLE h = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(INVALID_HANDLE_VALUE, h);
  FILETIME ft = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  ASSERT_TRUE(SetFileTime(h, nullptr, nullptr, &ft));
  CloseHandle(h);
}
}  // namespace

TEST(FileTimes, OlderFirstGivesMinusOneAndUnopenableGivesMinus100) {
  TempDir dir;
  const std::wstring a = dir / L"a.txt", b = dir / L"b.txt", missing = dir / L"missing";
  ASSERT_TRUE(zortest::WriteBytes(a, "a") && zortest::WriteBytes(b, "b"));
  SetWriteTime(a, 130000000000000000ull);
  SetWriteTime(b, 130000000100000000ull);
  EXPECT_EQ(-1, CompareFileTimeStampsW(a.c_str(), b.c_str()));
  EXPECT_EQ(1, CompareFileTimeStampsW(b.c_str(), a.c_str()));
  EXPECT_EQ(0, CompareFileTimeStampsW(a.c_str(), a.c_str()));
  EXPECT_EQ(-1, CompareFileTimeStampsA(Narrow(a).c_str(), Narrow(b).c_str()));
  EXPECT_EQ(1, CompareFileTimeStampsA(Narrow(b).c_str(), Narrow(a).c_str()));
  // Missing, a folder (cannot be opened as a file), null.
  EXPECT_EQ(-100, CompareFileTimeStampsW(a.c_str(), missing.c_str()));
  EXPECT_EQ(-100, CompareFileTimeStampsW(missing.c_str(), a.c_str()));
  EXPECT_EQ(-100, CompareFileTimeStampsW(a.c_str(), dir.path().c_str()));
  EXPECT_EQ(-100, CompareFileTimeStampsW(nullptr, a.c_str()));
  EXPECT_EQ(-100, CompareFileTimeStampsA(Narrow(a).c_str(), nullptr));
  // Held open without read sharing: cannot be opened.
  HANDLE h = CreateFileW(a.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(INVALID_HANDLE_VALUE, h);
  EXPECT_EQ(-100, CompareFileTimeStampsW(a.c_str(), a.c_str()));
  CloseHandle(h);
}
