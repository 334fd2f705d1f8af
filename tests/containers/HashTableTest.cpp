// CHashTable: the additive hash, duplicates in insertion order, keys that are
// never copied, and bucket counts that must not divide by zero.
#include "tests/support/TestSupport.h"

namespace {

TEST(HashTable, HashIsSumOfCodeUnitsModuloCount) {
  CHashTable table;
  EXPECT_EQ(table.GetNumTables(), 25);
  wchar_t a[] = L"A", ab[] = L"AB", ba[] = L"BA", empty[] = L"";
  EXPECT_EQ(table.HashFunction(a), 15);
  EXPECT_EQ(table.HashFunction(ab), 6);
  EXPECT_EQ(table.HashFunction(ba), 6);  // anagrams collide by design
  EXPECT_EQ(table.HashFunction(empty), 0);
  EXPECT_EQ(table.HashFunction(nullptr), 0);
  wchar_t high[] = {0xFFFF, 0xFFFF, 0};  // units are unsigned
  EXPECT_EQ(table.HashFunction(high), static_cast<int>((2u * 0xFFFFu) % 25u));
}

TEST(HashTable, DuplicatesKeepInsertionOrder) {
  CHashTable table;
  wchar_t key[] = L"volume";
  EXPECT_TRUE(table.AddEntry(key, 1));
  EXPECT_TRUE(table.AddEntry(key, 2));
  long value = 0;
  EXPECT_TRUE(table.Find(key, value));
  EXPECT_EQ(value, 1);
  EXPECT_TRUE(table.Remove(key, 2));  // the second entry only
  EXPECT_TRUE(table.Find(key, value));
  EXPECT_EQ(value, 1);
  EXPECT_FALSE(table.Remove(key, 2));
  EXPECT_TRUE(table.Remove(key, 1));
  EXPECT_FALSE(table.Find(key, value));
  table.AddEntry(key, 3);
  table.RemoveAll();  // frees the nodes only: the key is still ours
  EXPECT_FALSE(table.Find(key, value));
  EXPECT_STREQ(key, L"volume");
}

TEST(HashTable, FindComparesTextCaseSensitivelyAndStoresThePointer) {
  CHashTable table(7);
  wchar_t stored[] = L"Key";
  table.AddEntry(stored, 5);
  wchar_t same[] = L"Key", other[] = L"key", anagram[] = L"yeK";
  long value = -1;
  EXPECT_TRUE(table.Find(same, value));  // by text, not by pointer
  EXPECT_EQ(value, 5);
  value = -1;
  EXPECT_FALSE(table.Find(other, value));
  EXPECT_FALSE(table.Find(anagram, value));  // same bucket, other text
  EXPECT_EQ(value, -1);
  CMyList* bucket = table.GetTable(static_cast<unsigned>(table.HashFunction(stored)));
  ASSERT_NE(bucket, nullptr);
  EXPECT_EQ(bucket->Index(0, nullptr), stored);  // the caller's pointer, not a copy
  stored[0] = L'J';  // so a changed key string changes the entry
  EXPECT_FALSE(table.Find(same, value));
}

TEST(HashTable, EmptyTableAndBadArguments) {
  CHashTable table;
  wchar_t key[] = L"x";
  long value = 3;
  EXPECT_FALSE(table.Find(key, value));
  EXPECT_FALSE(table.Find(nullptr, value));
  EXPECT_FALSE(table.AddEntry(nullptr, 1));
  EXPECT_FALSE(table.Remove(nullptr, 1));
  EXPECT_EQ(value, 3);
  EXPECT_EQ(table.GetTable(25), nullptr);
  EXPECT_NE(table.GetTable(24), nullptr);
}

TEST(HashTable, CountOfZeroOrBelowFallsBackAndLogs) {
  zortest::LogCapture log;
  CHashTable zero(0);
  CHashTable negative(-3);
  EXPECT_EQ(zero.GetNumTables(), 25);
  EXPECT_EQ(negative.GetNumTables(), 25);
  EXPECT_TRUE(log.Contains(L"CHashTable: table count 0 is not supported, using 25"));
  EXPECT_TRUE(log.Contains(L"CHashTable: table count -3 is not supported, using 25"));
  wchar_t key[] = L"k";
  EXPECT_TRUE(zero.AddEntry(key, 9));
  long value = 0;
  EXPECT_TRUE(zero.Find(key, value));
  EXPECT_EQ(value, 9);
}

}  // namespace
