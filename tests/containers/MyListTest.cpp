// CMyList and CMegaList: tie-breaks, ElemBySortValue's head rule, the cursor, removals, copies.
#include "tests/support/TestSupport.h"

#include <algorithm>

namespace {

char g_items[16];
void* Item(int i) { return &g_items[i]; }
std::string Name(void* item) { return std::to_string(static_cast<char*>(item) - g_items); }

template <class Base>
struct Peek : Base {
  // The items from the head, without moving the cursor; a tail or count that disagrees is marked.
  std::string Items() {
    std::string s;
    auto* last = this->m_pHead;
    int count = 0;
    for (auto* n = this->m_pHead; n; last = n, n = n->pNext, ++count) s += Name(n->pItem) + " ";
    if (this->m_pTail != last) s += "(bad tail) ";
    return count == this->m_nCount ? s : s + "(bad count) ";
  }
  // "index:item" of the cursor.
  std::string Cursor() { return this->m_pCursor ? std::to_string(this->m_nCursorIndex) + ":" + Name(this->m_pCursor->pItem) : "none"; }
  void Forget() { this->m_pHead = this->m_pTail = this->m_pCursor = nullptr, this->m_nCount = 0; }  // shared nodes
};

// Both lists against the rules. AddSorted: a new element goes before equal values (afterEquals
// false) or after them (true), alike at head, inside and tail. ElemBySortValue: the head when its
// value is at or above the one sought, else only an exact match, the last of its run.
template <class List, class V>
void CheckSortedRules(V unit) {
  Peek<List> list;
  int index = 7;
  V found = 7;
  EXPECT_EQ(list.ElemBySortValue(unit, &index, &found), nullptr);
  EXPECT_EQ(index + found, 14);  // untouched
  std::vector<std::pair<V, int>> model;
  auto below = [](const std::pair<V, int>& e, V x) { return e.first < x; };
  auto above = [](V x, const std::pair<V, int>& e) { return x < e.first; };
  for (unsigned i = 0, seed = 7; i < 80; ++i) {
    seed = seed * 1103515245u + 12345u;
    const V v = static_cast<V>((seed >> 20) % 9 * 2) * unit;  // even multiples: odd ones are never present
    const bool after = (seed >> 12) & 1;
    auto at = after ? std::upper_bound(model.begin(), model.end(), v, above) : std::lower_bound(model.begin(), model.end(), v, below);
    EXPECT_EQ(list.AddSorted(Item(i % 16), v, after), at - model.begin()) << i;
    model.insert(at, {v, static_cast<int>(i % 16)});
  }
  std::string want;
  for (const auto& e : model) want += std::to_string(e.second) + " ";
  EXPECT_EQ(list.Items(), want);
  for (int k = -2; k <= 20; ++k) {
    const V v = k * unit;
    const int last = static_cast<int>(std::upper_bound(model.begin(), model.end(), v, above) - model.begin()) - 1;
    const bool head = model[0].first >= v, hit = head || model[last].first == v;
    const int at = hit && !head ? last : 0;  // a miss leaves the head's index and value
    EXPECT_EQ(list.ElemBySortValue(v, &index, &found), hit ? Item(model[at].second) : nullptr) << k;
    EXPECT_EQ(std::make_pair(index, found), std::make_pair(at, model[at].first)) << k;
  }
}

TEST(MyList, AddSortedAfterEqualsAndElemBySortValueHeadRule) {
  CheckSortedRules<CMyList, long>(1);
  CheckSortedRules<CMegaList, double>(0.125);
}

TEST(MyList, InsertAfterGivesValueZeroAndTheCursorFollowsWalksAndInsertions) {
  Peek<CMyList> walk, ins;
  for (int i = 0; i < 6; ++i) walk.AppendToTail(Item(i), i * 10);
  EXPECT_EQ(walk.Index(4, nullptr), Item(4));
  EXPECT_EQ(walk.Index(1, nullptr), Item(1));  // behind the cursor: from the head
  EXPECT_EQ(walk.Cursor(), "1:1");
  EXPECT_EQ(walk.Index(6, nullptr), nullptr);
  walk.InsertNewHead(Item(9), -1);  // the cursor keeps its node, one index further
  EXPECT_EQ(walk.Cursor(), "2:1");

  // InsertAfter puts the cursor on the new node; CMyList's gets the value 0.
  EXPECT_EQ(ins.InsertAfter(Item(0), 5), 0);  // empty: the only node
  ins.AppendToTail(Item(1), 10);
  EXPECT_EQ(ins.InsertAfter(Item(2), 0), 1);
  EXPECT_EQ(ins.Cursor(), "1:2");
  EXPECT_EQ(ins.InsertAfter(Item(3), 99), 3);  // beyond: after the tail
  EXPECT_EQ(ins.InsertAfter(Item(4), -1), 0);  // negative: new head
  EXPECT_EQ(ins.Items(), "4 0 2 1 3 ");
  long v = -1;
  EXPECT_EQ(ins.Index(2, &v), Item(2));
  EXPECT_EQ(v, 0);
  Peek<CMegaList> mega;  // CMegaList's takes a value
  mega.AppendToTail(Item(0), 1.5);
  EXPECT_EQ(mega.InsertAfter(Item(1), 2.25, 0), 1);
  EXPECT_EQ(mega.NodeByIndex(1)->dSortValue, 2.25);
}

TEST(MyList, RemovalsLeaveTheCursorBeforeAndNeverFreeItemsAndCopiesShareNodes) {
  Peek<CMyList> list, other, copy;
  int* owned = new int(7);
  for (int i = 0; i < 4; ++i) list.AppendToTail(Item(i), i);
  list.AppendToTail(owned, 4);
  EXPECT_TRUE(list.Remove(owned));  // the tail moves back
  EXPECT_EQ(list.Items() + list.Cursor(), "0 1 2 3 3:3");
  list.RemoveByIndex(2);
  EXPECT_EQ(list.Items() + list.Cursor(), "0 1 3 1:1");
  list.RemoveByIndex(0);  // the head: the cursor goes to the new head
  EXPECT_EQ(list.Items() + list.Cursor(), "1 3 0:1");
  EXPECT_FALSE(list.Remove(Item(0)));
  other.AppendToTail(Item(3), 3);
  EXPECT_FALSE(list.RemoveByNode(other.NodeByIndex(0)));  // a node of another list
  EXPECT_FALSE(list.RemoveByNode(nullptr));
  EXPECT_TRUE(list.RemoveByNode(list.NodeByIndex(1)) && list.RemoveByNode(list.NodeByIndex(0)));
  EXPECT_EQ(list.Items() + list.Cursor(), "none");
  list.RemoveAll();  // harmless when empty
  delete owned;       // still ours: a second free would break the heap

  static_cast<CMyList&>(copy) = other;
  CMyList constructed(other);
  EXPECT_EQ(copy.NodeByIndex(0), other.NodeByIndex(0));
  EXPECT_EQ(constructed.NodeByIndex(0), other.NodeByIndex(0));
  copy.Forget();
  other.Forget();  // `constructed` frees them
}

}  // namespace
