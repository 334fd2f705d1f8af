// CMyArrayList: growth points, asymmetric tie-breaks, nearest-below search, shallow assignment.
#include "tests/support/TestSupport.h"

#include <algorithm>

namespace {

struct PeekArray : CMyArrayList {
  using CMyArrayList::CMyArrayList;
  void* Block() const { return m_pBlock; }
  void Forget() { m_pBlock = m_pElements = nullptr, m_nCapacity = m_nCount = 0; }  // a shared block
};

char g_items[16];
void* Item(int i) { return &g_items[i]; }

void Fill(CMyArrayList& list, std::vector<long> values) {
  for (size_t i = 0; i < values.size(); ++i) list.AppendToTail(Item(static_cast<int>(i)), values[i]);
}
std::vector<long> Values(CMyArrayList& list) {
  std::vector<long> out(list.GetCount());
  for (int i = 0; i < list.GetCount(); ++i) list.Index(i, &out[i]);
  return out;
}

TEST(ArrayList, GrowsAndShrinksByExactlyOneStep) {
  zortest::LogCapture log;
  PeekArray list;
  list.RemoveAll();
  // One at a time up and down, the capacity is the step multiple at or above the count.
  std::vector<int> capacities, expected;
  for (int i = 1; i <= 26; ++i) list.AppendToTail(Item(0), i), capacities.push_back(list.GetCapacity());
  while (list.GetCount() > 10) list.RemoveByIndex(0), capacities.push_back(list.GetCapacity());
  for (int c = 1; c <= 26; ++c) expected.push_back((c + 9) / 10 * 10);
  for (int c = 25; c >= 10; --c) expected.push_back((c + 9) / 10 * 10);
  EXPECT_EQ(capacities, expected);
  while (list.GetCount() > 0) list.RemoveByIndex(list.GetCount() - 1);
  EXPECT_EQ(list.Block(), nullptr);  // the last removal frees the block

  CMyArrayList four(4);  // first block: the multiple of the step above what is needed
  EXPECT_TRUE(four.Grow(4));
  EXPECT_EQ(four.GetCapacity(), 8);
  EXPECT_TRUE(four.Grow(100));  // an existing block grows by one step only
  EXPECT_EQ(four.GetCapacity(), 12);
  four.RemoveAllButLeaveAllocation();
  EXPECT_EQ(four.GetCapacity(), 12);
  four.RemoveAll();
  EXPECT_FALSE(log.Contains(L"RemoveAll list is not NULL!"));  // every block was released
  EXPECT_EQ(CMyArrayList(0u).GetGrowthStep(), 10u);
  EXPECT_TRUE(log.Contains(L"CMyArrayList: growth step 0 is not supported, using 10"));
}

TEST(ArrayList, AddSortedPutsEqualsBeforeAtHeadAndInsideButAfterAtTail) {
  // The rule: before the first element >= the value, unless it is >= the last one.
  CMyArrayList list(3);
  std::vector<std::pair<long, void*>> model;
  for (unsigned i = 0, seed = 12345; i < 300; ++i) {
    const long v = static_cast<long>((seed = seed * 1103515245u + 12345u) >> 20) % 23 - 10;
    auto at = model.empty() || v <= model.front().first ? model.begin()
              : v >= model.back().first ? model.end()
              : std::lower_bound(model.begin(), model.end(), v, [](const auto& e, long x) { return e.first < x; });
    EXPECT_EQ(list.AddSorted(Item(i % 16), v), at - model.begin()) << i;
    model.insert(at, {v, Item(i % 16)});
  }
  for (int i = 0; i < list.GetCount(); ++i) ASSERT_EQ(list.Index(i, nullptr), model[i].second) << i;
}

TEST(ArrayList, ElemBySortValueGivesNearestBelowOrFirstAndRunEndsNeedTheValue) {
  CMyArrayList list;
  int index = 77;
  long found = 77;
  EXPECT_EQ(list.ElemBySortValue(1, &index, &found), nullptr);
  EXPECT_EQ(std::make_pair(index, found), std::make_pair(77, 77L));  // untouched
  // Values 10, 20, ... for every length and probe: the last at or below it, else the first.
  for (int n = 1; n <= 12; ++n) {
    CMyArrayList tens;
    for (int i = 0; i < n; ++i) tens.AppendToTail(Item(i), 10 * (i + 1));
    for (long v = 0; v <= 10 * n + 10; v += 5) {
      const int want = std::max(0, std::min(n - 1, static_cast<int>(v / 10) - 1));
      EXPECT_EQ(tens.ElemBySortValue(v, &index, &found), Item(want)) << n << " " << v;
      EXPECT_EQ(std::make_pair(index, found), std::make_pair(want, 10L * (want + 1)));
    }
  }
  Fill(list, {2, 3, 3, 5, 5, 5, 5, 8, 11});
  // value, index of the first and of the last of its run (-1: none, the output left alone)
  const int cases[][3] = {{2, 0, 0}, {3, 1, 2}, {5, 3, 6}, {8, 7, 7}, {11, 8, 8}, {4, -1, -1}, {1, -1, -1}, {12, -1, -1}};
  for (const auto& c : cases) {
    int first = -1, last = -1;
    EXPECT_EQ(list.FirstOfValue(c[0], &first), c[1] < 0 ? nullptr : Item(c[1])) << c[0];
    EXPECT_EQ(list.LastOfValue(c[0], &last), c[2] < 0 ? nullptr : Item(c[2])) << c[0];
    EXPECT_EQ(std::make_pair(first, last), std::make_pair(c[1], c[2])) << c[0];
  }
  EXPECT_EQ(list.FirstOfValueAtIndex(-1, &index), nullptr);
  list.InsertToIndex(3, nullptr, 5);
  EXPECT_EQ(list.FirstOfValueAtIndex(3, &index), nullptr);  // null item there
}

TEST(ArrayList, InsertRemoveAndBadIndexes) {
  CMyArrayList list;
  // Into an empty list: the head; beyond the end: appended; a negative index: refused.
  const std::vector<int> at = {list.InsertToIndex(-5, Item(0), 0), list.InsertToIndex(9, Item(1), 1),
                               list.InsertToIndex(1, Item(2), 2), list.InsertToIndex(-1, Item(3), 3),
                               list.InsertNewHead(Item(4), 4)};
  EXPECT_EQ(at, (std::vector<int>{0, 1, 1, -1, 0}));
  EXPECT_EQ(list.Index(4, nullptr), nullptr);
  EXPECT_EQ(list.Index(-1, nullptr), nullptr);
  list.RemoveByIndex(-1);
  list.RemoveByIndex(4);
  list.Shift(0, SHIFT_DOWN);  // nothing below index 0
  EXPECT_EQ(Values(list), (std::vector<long>{4, 0, 2, 1}));

  // Remove takes the first occurrence only and never frees what the pointer refers to.
  int* owned = new int(42);
  list.InsertToIndex(1, owned, 5);
  list.AppendToTail(owned, 6);
  EXPECT_TRUE(list.Remove(owned));
  EXPECT_EQ(list.MemberIndex(owned), 4);
  EXPECT_TRUE(list.Remove(owned));
  EXPECT_FALSE(list.Member(owned));
  EXPECT_EQ(Values(list), (std::vector<long>{4, 0, 2, 1}));
  list.RemoveAll();
  delete owned;  // still ours: a second free would break the heap
}

TEST(ArrayList, AssignmentIsShallowCopyIsDeepAndSortValuesScaleByTruncation) {
  PeekArray a(3), shallow, deep(7);  // `a` full: the sort value loops must stay inside the block
  Fill(a, {-3, 3, 2000000000});
  shallow = a;
  EXPECT_EQ(shallow.Block(), a.Block());  // one block, shared on purpose
  EXPECT_EQ(shallow.GetGrowthStep(), 3u);
  shallow.Forget();
  deep.Copy(a);
  PeekArray constructed(a);
  EXPECT_EQ(deep.GetGrowthStep(), 7u);  // Copy keeps its own step
  EXPECT_EQ(deep.GetCapacity(), 7);
  EXPECT_EQ(constructed.GetGrowthStep(), 3u);
  for (PeekArray* copy : {&deep, &constructed}) {
    EXPECT_NE(copy->Block(), a.Block());
    EXPECT_EQ(Values(*copy), (std::vector<long>{-3, 3, 2000000000}));
  }
  a.ScaleAllSortValues(0.5);
  EXPECT_EQ(Values(a), (std::vector<long>{-1, 1, 1000000000}));
  a.ScaleAllSortValues(4.0);  // out of range clamps instead of overflowing
  a.AdjustAllSortValues(-10);
  EXPECT_EQ(Values(a), (std::vector<long>{-14, -6, 2147483637L}));
  EXPECT_EQ(Values(deep), (std::vector<long>{-3, 3, 2000000000}));
}

}  // namespace
