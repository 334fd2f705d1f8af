// CHashTable: additive hash, duplicates in insertion order, keys never copied, no zero buckets.
#include "tests/support/TestSupport.h"

namespace {

TEST(HashTable, SumHashDuplicatesInInsertionOrderAndKeysThatStayTheCallers) {
  zortest::LogCapture log;
  CHashTable table, zero(0), negative(-3);
  // Anagrams share a bucket; code units count as unsigned.
  const std::pair<const wchar_t*, int> cases[] = {{L"A", 15}, {L"AB", 6}, {L"BA", 6}, {L"", 0}, {L"\xFFFF\xFFFF", 2 * 0xFFFF % 25}};
  for (const auto& c : cases) EXPECT_EQ(table.HashFunction(const_cast<wchar_t*>(c.first)), c.second) << testing::PrintToString(c.first);
  EXPECT_EQ(table.HashFunction(nullptr), 0);
  EXPECT_EQ(table.GetTable(25), nullptr);
  EXPECT_NE(table.GetTable(24), nullptr);
  EXPECT_EQ(zero.GetNumTables(), 25);
  EXPECT_TRUE(log.Contains(L"CHashTable: table count 0 is not supported, using 25"));
  EXPECT_TRUE(log.Contains(L"CHashTable: table count -3 is not supported, using 25"));

  // Duplicates stay in insertion order; keys stay the caller's strings.
  wchar_t key[] = L"Key", same[] = L"Key", other[] = L"key", anagram[] = L"yeK";
  long value = -1;
  EXPECT_FALSE(table.Find(key, value));
  EXPECT_TRUE(table.AddEntry(key, 1));
  EXPECT_TRUE(table.AddEntry(key, 2));
  EXPECT_FALSE(table.AddEntry(nullptr, 3));
  EXPECT_FALSE(table.Find(other, value));    // case-sensitive
  EXPECT_FALSE(table.Find(anagram, value));  // same bucket, other text
  EXPECT_FALSE(table.Find(nullptr, value));
  EXPECT_EQ(value, -1);
  EXPECT_TRUE(table.Find(same, value));  // by text, not by pointer: the earliest entry
  EXPECT_EQ(value, 1);
  EXPECT_FALSE(table.Remove(anagram, 2));
  EXPECT_FALSE(table.Remove(nullptr, 2));
  EXPECT_TRUE(table.Remove(same, 2));  // the second entry only
  EXPECT_FALSE(table.Remove(key, 2));
  CMyList* bucket = table.GetTable(static_cast<unsigned>(table.HashFunction(key)));
  ASSERT_NE(bucket, nullptr);
  EXPECT_EQ(bucket->NumNodes(), 1);
  EXPECT_EQ(bucket->Index(0, nullptr), key);  // the caller's pointer, not a copy
  key[0] = L'J';  // so a changed key string changes the entry
  EXPECT_FALSE(table.Find(same, value));
  table.RemoveAll();  // frees the nodes only: the key is still ours
  EXPECT_EQ(bucket->NumNodes(), 0);
  EXPECT_STREQ(key, L"Jey");
}

}  // namespace
