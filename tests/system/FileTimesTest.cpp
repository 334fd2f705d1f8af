// Comparing last-write times of real files.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/system/FileTimes.h>

using zortest::TempDir;

namespace {
void SetWriteTime(const std::wstring& path, ULONGLONG ticks) {
  HANDLE h = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(INVALID_HANDLE_VALUE, h);
  FILETIME ft;
  ft.dwLowDateTime = static_cast<DWORD>(ticks);
  ft.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
  ASSERT_TRUE(SetFileTime(h, nullptr, nullptr, &ft));
  CloseHandle(h);
}
std::string Narrow(const std::wstring& s) { return std::string(s.begin(), s.end()); }
}  // namespace

TEST(FileTimes, OlderFirstFileGivesMinusOne) {
  TempDir dir;
  std::wstring a = dir / L"a.txt", b = dir / L"b.txt";
  ASSERT_TRUE(zortest::WriteBytes(a, "a"));
  ASSERT_TRUE(zortest::WriteBytes(b, "b"));
  SetWriteTime(a, 130000000000000000ull);
  SetWriteTime(b, 130000000100000000ull);
  EXPECT_EQ(-1, CompareFileTimeStampsW(a.c_str(), b.c_str()));
  EXPECT_EQ(1, CompareFileTimeStampsW(b.c_str(), a.c_str()));
  EXPECT_EQ(0, CompareFileTimeStampsW(a.c_str(), a.c_str()));
  EXPECT_EQ(-1, CompareFileTimeStampsA(Narrow(a).c_str(), Narrow(b).c_str()));
  EXPECT_EQ(1, CompareFileTimeStampsA(Narrow(b).c_str(), Narrow(a).c_str()));
}

TEST(FileTimes, MissingUnopenableOrNullGivesMinus100) {
  TempDir dir;
  std::wstring a = dir / L"a.txt";
  ASSERT_TRUE(zortest::WriteBytes(a, "a"));
  EXPECT_EQ(-100, CompareFileTimeStampsW(a.c_str(), (dir / L"missing").c_str()));
  EXPECT_EQ(-100, CompareFileTimeStampsW((dir / L"missing").c_str(), a.c_str()));
  EXPECT_EQ(-100, CompareFileTimeStampsW(a.c_str(), dir.path().c_str())) << "a folder cannot be opened as a file";
  EXPECT_EQ(-100, CompareFileTimeStampsW(nullptr, a.c_str()));
  EXPECT_EQ(-100, CompareFileTimeStampsA(Narrow(a).c_str(), nullptr));
  // Held open without read sharing: cannot be opened.
  HANDLE h = CreateFileW(a.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(INVALID_HANDLE_VALUE, h);
  EXPECT_EQ(-100, CompareFileTimeStampsW(a.c_str(), a.c_str()));
  CloseHandle(h);
}
