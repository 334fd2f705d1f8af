// CMyArrayList: growth points, the asymmetric tie-breaks, the nearest-below
// search and the shallow assignment hosts depend on.
#include "tests/support/TestSupport.h"

#include <vector>

namespace {

// Reaches the block pointers, to see sharing and release.
struct PeekArray : CMyArrayList {
  using CMyArrayList::CMyArrayList;
  void* Block() const { return m_pBlock; }
  bool BlockIsElements() const { return static_cast<void*>(m_pBlock) == static_cast<void*>(m_pElements); }
  void Forget() {  // drops a block shared with another list without freeing it
    m_pBlock = m_pElements = nullptr;
    m_nCapacity = m_nCount = 0;
  }
};

char g_items[16];
void* Item(int i) { return &g_items[i]; }

std::vector<long> Values(CMyArrayList& list) {
  std::vector<long> out;
  long v = 0;
  for (int i = 0; i < list.GetCount(); ++i) {
    list.Index(i, &v);
    out.push_back(v);
  }
  return out;
}

TEST(ArrayList, GrowsAndShrinksByExactlyOneStep) {
  PeekArray list;
  EXPECT_EQ(list.Block(), nullptr);
  list.AppendToTail(Item(0), 0);
  EXPECT_EQ(list.GetCapacity(), 10);
  for (int i = 1; i < 10; ++i) list.AppendToTail(Item(i), i);
  EXPECT_EQ(list.GetCapacity(), 10);
  EXPECT_EQ(list.AppendToTail(Item(10), 10), 10);  // the 11th add grows to 20
  EXPECT_EQ(list.GetCapacity(), 20);
  for (int i = 0; i < 15; ++i) list.AppendToTail(Item(0), 0);
  EXPECT_EQ(list.GetCapacity(), 30);  // one step, not up to what is needed
  while (list.GetCount() > 21) list.RemoveByIndex(0);
  EXPECT_EQ(list.GetCapacity(), 30);
  list.RemoveByIndex(0);  // 20 remain: a whole step is unused
  EXPECT_EQ(list.GetCapacity(), 20);
  while (list.GetCount() > 11) list.RemoveByIndex(0);
  EXPECT_EQ(list.GetCapacity(), 20);
  list.RemoveByIndex(0);  // 10 remain: back to 10 at this removal
  EXPECT_EQ(list.GetCapacity(), 10);
  EXPECT_TRUE(list.BlockIsElements());
  while (list.GetCount() > 0) list.RemoveByIndex(list.GetCount() - 1);
  EXPECT_EQ(list.Block(), nullptr);  // the last removal frees the block
}

TEST(ArrayList, FirstBlockIsTheMultipleOfTheStepAboveWhatIsNeeded) {
  CMyArrayList list(4);
  EXPECT_TRUE(list.Grow(4));
  EXPECT_EQ(list.GetCapacity(), 8);
  EXPECT_TRUE(list.Grow(7));
  EXPECT_EQ(list.GetCapacity(), 8);
  EXPECT_TRUE(list.Grow(100));  // an existing block grows by one step only
  EXPECT_EQ(list.GetCapacity(), 12);
}

TEST(ArrayList, GrowthStepZeroFallsBackToTenAndLogs) {
  zortest::LogCapture log;
  CMyArrayList list(0u);
  EXPECT_EQ(list.GetGrowthStep(), 10u);
  EXPECT_TRUE(log.Contains(L"CMyArrayList: growth step 0 is not supported, using 10"));
  list.AppendToTail(Item(0), 1);
  EXPECT_EQ(list.GetCapacity(), 10);
}

TEST(ArrayList, AddSortedPutsEqualHeadValuesFirstAndEqualTailValuesLast) {
  CMyArrayList list;
  list.AddSorted(Item(0), 5);
  list.AddSorted(Item(1), 5);
  EXPECT_EQ(list.AddSorted(Item(2), 5), 0);
  EXPECT_EQ(list.Index(0, nullptr), Item(2));
  EXPECT_EQ(list.Index(1, nullptr), Item(1));
  EXPECT_EQ(list.Index(2, nullptr), Item(0));
  list.AddSorted(Item(3), 9);
  EXPECT_EQ(list.AddSorted(Item(4), 9), 4);  // after the equal tail
  EXPECT_EQ(list.Index(3, nullptr), Item(3));
}

TEST(ArrayList, AddSortedInsideGoesBeforeEqualValues) {
  CMyArrayList list;
  long values[] = {1, 3, 3, 7};
  for (int i = 0; i < 4; ++i) list.AppendToTail(Item(i), values[i]);
  EXPECT_EQ(list.AddSorted(Item(9), 3), 1);
  EXPECT_EQ(list.Index(1, nullptr), Item(9));
  EXPECT_EQ(Values(list), (std::vector<long>{1, 3, 3, 3, 7}));
}

TEST(ArrayList, AddSortedKeepsAscendingOrderOverManyValues) {
  CMyArrayList list(3);
  unsigned seed = 12345;
  for (int i = 0; i < 500; ++i) {
    seed = seed * 1103515245u + 12345u;
    list.AddSorted(Item(i % 16), static_cast<long>(seed >> 20) % 97 - 40);
  }
  std::vector<long> v = Values(list);
  ASSERT_EQ(v.size(), 500u);
  for (size_t i = 1; i < v.size(); ++i) ASSERT_LE(v[i - 1], v[i]) << i;
}

TEST(ArrayList, ElemBySortValueGivesNearestBelowOrFirst) {
  CMyArrayList list;
  list.AppendToTail(Item(0), 10);
  list.AppendToTail(Item(1), 20);
  list.AppendToTail(Item(2), 30);
  int index = -1;
  long found = -1;
  EXPECT_EQ(list.ElemBySortValue(25, &index, &found), Item(1));
  EXPECT_EQ(index, 1);
  EXPECT_EQ(found, 20);
  EXPECT_EQ(list.ElemBySortValue(5, &index, &found), Item(0));
  EXPECT_EQ(index, 0);
  EXPECT_EQ(found, 10);
  EXPECT_EQ(list.ElemBySortValue(99, &index, nullptr), Item(2));
  EXPECT_EQ(index, 2);
  EXPECT_EQ(list.FirstOfValue(5, &index), nullptr);  // found 10, not 5
  EXPECT_EQ(list.FirstOfValue(20, &index), Item(1));
}

TEST(ArrayList, ElemBySortValueOnSmallListsAndEmpty) {
  CMyArrayList list;
  int index = 77;
  long found = 77;
  EXPECT_EQ(list.ElemBySortValue(1, &index, &found), nullptr);
  EXPECT_EQ(index, 77);  // untouched
  EXPECT_EQ(found, 77);
  list.AppendToTail(Item(0), 10);
  list.AppendToTail(Item(1), 20);
  EXPECT_EQ(list.ElemBySortValue(19, &index, nullptr), Item(0));
  EXPECT_EQ(list.ElemBySortValue(20, &index, nullptr), Item(1));
  EXPECT_EQ(index, 1);
}

TEST(ArrayList, FirstAndLastOfValueFindTheRunEnds) {
  CMyArrayList list;
  long values[] = {1, 4, 4, 4, 4, 9, 12};
  for (int i = 0; i < 7; ++i) list.AppendToTail(Item(i), values[i]);
  int index = -1;
  EXPECT_EQ(list.FirstOfValue(4, &index), Item(1));
  EXPECT_EQ(index, 1);
  EXPECT_EQ(list.LastOfValue(4, &index), Item(4));
  EXPECT_EQ(index, 4);
  EXPECT_EQ(list.LastOfValue(5, &index), nullptr);
  EXPECT_EQ(list.FirstOfValueAtIndex(3, &index), Item(1));
  EXPECT_EQ(list.FirstOfValueAtIndex(7, &index), nullptr);
  EXPECT_EQ(list.FirstOfValueAtIndex(-1, &index), nullptr);
  list.InsertToIndex(2, nullptr, 4);
  EXPECT_EQ(list.FirstOfValueAtIndex(2, &index), nullptr);  // null item there
}

TEST(ArrayList, InsertionsAtIndexesAndBadIndexes) {
  CMyArrayList list;
  EXPECT_EQ(list.InsertToIndex(-5, Item(0), 0), 0);  // empty: becomes the head
  EXPECT_EQ(list.InsertToIndex(9, Item(1), 1), 1);   // beyond: appended
  EXPECT_EQ(list.InsertToIndex(1, Item(2), 2), 1);
  EXPECT_EQ(list.InsertToIndex(-1, Item(3), 3), -1);
  EXPECT_EQ(list.InsertNewHead(Item(4), 4), 0);
  EXPECT_EQ(Values(list), (std::vector<long>{4, 0, 2, 1}));
  EXPECT_EQ(list.Index(4, nullptr), nullptr);
  EXPECT_EQ(list.Index(-1, nullptr), nullptr);
  list.RemoveByIndex(-1);
  list.RemoveByIndex(4);
  EXPECT_EQ(list.GetCount(), 4);
  list.Shift(0, SHIFT_DOWN);  // nothing below index 0
  EXPECT_EQ(Values(list), (std::vector<long>{4, 0, 2, 1}));
}

TEST(ArrayList, RemoveTakesOnlyTheFirstOccurrenceAndNeverFreesItems) {
  CMyArrayList list;
  int* owned = new int(42);
  list.AppendToTail(owned, 1);
  list.AppendToTail(Item(1), 2);
  list.AppendToTail(owned, 3);
  EXPECT_EQ(list.MemberIndex(owned), 0);
  EXPECT_TRUE(list.Remove(owned));
  EXPECT_TRUE(list.Member(owned));
  EXPECT_EQ(Values(list), (std::vector<long>{2, 3}));
  EXPECT_FALSE(list.Remove(Item(9)));
  list.RemoveAll();
  EXPECT_EQ(*owned, 42);  // still ours
  delete owned;
}

TEST(ArrayList, SortValueAdjustingAndTruncatingScale) {
  CMyArrayList list;
  list.AppendToTail(Item(0), -3);
  list.AppendToTail(Item(1), 3);
  list.AppendToTail(Item(2), 2000000000);
  list.ScaleAllSortValues(0.5);
  EXPECT_EQ(Values(list), (std::vector<long>{-1, 1, 1000000000}));
  list.ScaleAllSortValues(4.0);  // out of range clamps instead of overflowing
  EXPECT_EQ(Values(list), (std::vector<long>{-4, 4, 2147483647L}));
  list.AdjustAllSortValues(-10);
  EXPECT_EQ(Values(list), (std::vector<long>{-14, -6, 2147483637L}));
}

TEST(ArrayList, AssignmentIsShallowAndCopyIsDeep) {
  PeekArray a(5);
  a.AppendToTail(Item(0), 1);
  a.AppendToTail(Item(1), 2);
  PeekArray shallow;
  shallow = a;
  EXPECT_EQ(shallow.Block(), a.Block());  // one block, shared on purpose
  EXPECT_EQ(shallow.GetGrowthStep(), 5u);
  shallow.Forget();

  PeekArray deep(7);
  deep.Copy(a);
  EXPECT_NE(deep.Block(), a.Block());
  EXPECT_EQ(deep.GetGrowthStep(), 7u);  // Copy keeps its own step
  EXPECT_EQ(deep.GetCapacity(), 7);
  EXPECT_EQ(Values(deep), (std::vector<long>{1, 2}));

  PeekArray constructed(a);
  EXPECT_NE(constructed.Block(), a.Block());
  EXPECT_EQ(constructed.GetGrowthStep(), 5u);
  EXPECT_EQ(Values(constructed), (std::vector<long>{1, 2}));
}

TEST(ArrayList, RemoveAllLogsNothingWhenTheBlockIsReleased) {
  zortest::LogCapture log;
  {
    CMyArrayList never;
    never.RemoveAll();
    CMyArrayList filled;
    for (int i = 0; i < 25; ++i) filled.AppendToTail(Item(0), i);
    filled.RemoveAllButLeaveAllocation();
    EXPECT_EQ(filled.GetCount(), 0);
    EXPECT_EQ(filled.GetCapacity(), 30);
  }
  EXPECT_FALSE(log.Contains(L"RemoveAll list is not NULL!"));
}

}  // namespace
