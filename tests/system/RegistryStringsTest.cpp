// One-call registry strings, on Wine's real registry under a throw-away key.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/system/RegistryStrings.h>

using systest::Guarded;
using systest::TestRegKey;

TEST(RegistryStrings, WriteCreatesTheKeyAndReadsBack) {
  TestRegKey key(L"regstrings");
  EXPECT_FALSE(key.Exists());
  ASSERT_TRUE(WriteRegistryString(HKEY_CURRENT_USER, key.path(), L"name", L"value \x00e9"));
  EXPECT_EQ(L"value \x00e9", key.Read(L"name"));
  wchar_t buf[64];
  ASSERT_TRUE(GetRegistryString(HKEY_CURRENT_USER, key.path(), L"name", buf, 64));
  EXPECT_EQ(L"value \x00e9", std::wstring(buf));
  ASSERT_TRUE(WriteRegistryString(HKEY_CURRENT_USER, key.path(), L"name", L""));
  EXPECT_EQ(L"", key.Read(L"name"));
}

// A missing value reads as an empty string and still reports success; only
// a key that cannot be opened is a failure.
TEST(RegistryStrings, MissingValueReadsEmptyButMissingKeyFails) {
  TestRegKey key(L"regstrings");
  key.Write(L"other", L"x");
  wchar_t buf[16] = L"junk";
  EXPECT_TRUE(GetRegistryString(HKEY_CURRENT_USER, key.path(), L"absent", buf, 16));
  EXPECT_EQ(L"", std::wstring(buf));
  wcscpy(buf, L"junk");
  EXPECT_FALSE(GetRegistryString(HKEY_CURRENT_USER, L"Software\\zortest-system\\no-such-key", L"v", buf, 16));
  EXPECT_EQ(L"", std::wstring(buf));
}

TEST(RegistryStrings, ReadIsCutToTheBufferAndTerminated) {
  TestRegKey key(L"regstrings");
  key.Write(L"v", L"abcdef");
  for (int cap : {1, 2, 6, 7, 8}) {
    Guarded<> out(static_cast<size_t>(cap));
    EXPECT_TRUE(GetRegistryString(HKEY_CURRENT_USER, key.path(), L"v", out.get(), out.cap()));
    EXPECT_EQ(std::wstring(L"abcdef").substr(0, static_cast<size_t>(cap - 1)), std::wstring(out.get())) << cap;
    EXPECT_TRUE(out.GuardIntact()) << cap;
  }
  // A value stored without its terminator still comes back terminated.
  const wchar_t raw[4] = {L'w', L'x', L'y', L'z'};
  RegSetKeyValueW(HKEY_CURRENT_USER, key.path(), L"raw", REG_SZ, raw, sizeof raw);
  Guarded<> out(4);
  EXPECT_TRUE(GetRegistryString(HKEY_CURRENT_USER, key.path(), L"raw", out.get(), out.cap()));
  EXPECT_EQ(L"wxy", std::wstring(out.get()));
  EXPECT_TRUE(out.GuardIntact());
}

TEST(RegistryStrings, NullArgumentsFail) {
  TestRegKey key(L"regstrings");
  wchar_t buf[8];
  EXPECT_FALSE(GetRegistryString(HKEY_CURRENT_USER, nullptr, L"v", buf, 8));
  EXPECT_FALSE(GetRegistryString(HKEY_CURRENT_USER, key.path(), nullptr, buf, 8));
  EXPECT_FALSE(GetRegistryString(HKEY_CURRENT_USER, key.path(), L"v", nullptr, 8));
  EXPECT_FALSE(GetRegistryString(HKEY_CURRENT_USER, key.path(), L"v", buf, 0));
  EXPECT_FALSE(WriteRegistryString(HKEY_CURRENT_USER, key.path(), L"v", nullptr));
  EXPECT_FALSE(WriteRegistryString(HKEY_CURRENT_USER, nullptr, L"v", L"x"));
  EXPECT_FALSE(WriteRegistryString(HKEY_CURRENT_USER, key.path(), nullptr, L"x"));
  EXPECT_FALSE(WriteRegistryString(nullptr, key.path(), L"v", L"x"));
  EXPECT_FALSE(key.Exists());
}
