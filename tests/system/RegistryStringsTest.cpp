// One-call registry strings, on Wine's real registry under a throw-away key.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/system/RegistryStrings.h>

using namespace systest;

TEST(RegistryStrings, WriteCreatesTheKeyAndReadsBack) {
  TestRegKey key(L"regstrings");
  EXPECT_EQ(-1, key.ValueCount());
  for (const wchar_t* value : {L"value \x00e9", L""}) {
    ASSERT_TRUE(WriteRegistryString(HKEY_CURRENT_USER, key.path(), L"name", value));
    EXPECT_EQ(value, key.Read(L"name"));
    wchar_t buf[64] = L"junk";
    ASSERT_TRUE(GetRegistryString(HKEY_CURRENT_USER, key.path(), L"name", buf, 64));
    EXPECT_EQ(value, std::wstring(buf));
  }
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
  key.Write(L"raw", L"wxyz", 4 * sizeof(wchar_t));  // stored without its terminator
  const struct {
    const wchar_t* name;
    int cap;
    const wchar_t* expected;
  } cases[] = {{L"v", 1, L""}, {L"v", 2, L"a"}, {L"v", 6, L"abcde"}, {L"v", 7, L"abcdef"}, {L"v", 8, L"abcdef"},
               {L"raw", 4, L"wxy"}};
  for (const auto& c : cases) {
    Guarded<> out(static_cast<size_t>(c.cap));
    EXPECT_TRUE(GetRegistryString(HKEY_CURRENT_USER, key.path(), c.name, out.get(), out.cap()));
    EXPECT_EQ(c.expected, std::wstring(out.get())) << zortest::Escape(c.name) << " " << c.cap;
    EXPECT_TRUE(out.GuardIntact()) << c.cap;
  }
}

TEST(RegistryStrings, NullArgumentsFail) {
  TestRegKey key(L"regstrings");
  wchar_t buf[8];
  const HKEY hk = HKEY_CURRENT_USER;
  EXPECT_FALSE(GetRegistryString(hk, nullptr, L"v", buf, 8) || GetRegistryString(hk, key.path(), nullptr, buf, 8) ||
               GetRegistryString(hk, key.path(), L"v", nullptr, 8) || GetRegistryString(hk, key.path(), L"v", buf, 0));
  EXPECT_FALSE(WriteRegistryString(hk, key.path(), L"v", nullptr) || WriteRegistryString(hk, nullptr, L"v", L"x") ||
               WriteRegistryString(hk, key.path(), nullptr, L"x") ||
               WriteRegistryString(nullptr, key.path(), L"v", L"x"));
  EXPECT_EQ(-1, key.ValueCount()) << "nothing was created";
}
