// CMyList and CMegaList: tie-breaks, the head rule of ElemBySortValue, the
// cursor walk and what removals leave behind.
#include "tests/support/TestSupport.h"

#include <vector>

namespace {

template <class Base, class Node>
struct PeekList : Base {
  Node* Head() const { return this->m_pHead; }
  Node* Tail() const { return this->m_pTail; }
  Node* Cursor() const { return this->m_pCursor; }
  int CursorIndex() const { return this->m_nCursorIndex; }
  void Forget() {  // drops nodes shared with another list without freeing them
    this->m_pHead = this->m_pTail = this->m_pCursor = nullptr;
    this->m_nCount = this->m_nCursorIndex = 0;
  }
};
using PeekMyList = PeekList<CMyList, _tNode_t>;
using PeekMegaList = PeekList<CMegaList, _tMegaNode_t>;

char g_items[16];
void* Item(int i) { return &g_items[i]; }

std::vector<void*> Items(CMyList& list) {
  std::vector<void*> out;
  for (_tNode_t* n = list.NodeByIndex(0); n; n = n->pNext) out.push_back(n->pItem);
  return out;
}

TEST(MyList, AddSortedAfterEqualsChoosesSideAtHeadMiddleAndTail) {
  CMyList before, after;
  for (int i = 0; i < 3; ++i) {
    before.AddSorted(Item(i), 5, false);
    after.AddSorted(Item(i), 5, true);
  }
  EXPECT_EQ(Items(before), (std::vector<void*>{Item(2), Item(1), Item(0)}));
  EXPECT_EQ(Items(after), (std::vector<void*>{Item(0), Item(1), Item(2)}));

  CMyList list;
  long values[] = {1, 3, 3, 7};
  for (int i = 0; i < 4; ++i) list.AppendToTail(Item(i), values[i]);
  EXPECT_EQ(list.AddSorted(Item(8), 3, false), 1);
  EXPECT_EQ(list.AddSorted(Item(9), 3, true), 4);  // after the three 3s
  EXPECT_EQ(Items(list), (std::vector<void*>{Item(0), Item(8), Item(1), Item(2), Item(9), Item(3)}));
  EXPECT_EQ(list.AddSorted(Item(10), 0, true), 0);
  EXPECT_EQ(list.AddSorted(Item(11), 8, false), 7);
  EXPECT_EQ(list.NumNodes(), 8);
}

TEST(MyList, ElemBySortValueReturnsHeadEvenWhenGreater) {
  CMyList list;
  list.AppendToTail(Item(0), 10);
  list.AppendToTail(Item(1), 20);
  list.AppendToTail(Item(2), 30);
  int index = -1;
  long found = -1;
  EXPECT_EQ(list.ElemBySortValue(5, &index, &found), Item(0));  // the head rule
  EXPECT_EQ(found, 10);
  EXPECT_EQ(list.ElemBySortValue(25, &index, &found), nullptr);  // exact otherwise
  EXPECT_EQ(index, 0);  // outputs hold the head's
  EXPECT_EQ(found, 10);
  EXPECT_EQ(list.ElemBySortValue(20, &index, &found), Item(1));
  EXPECT_EQ(index, 1);
  EXPECT_EQ(list.ElemBySortValue(31, &index, &found), nullptr);
}

TEST(MyList, ElemBySortValueGivesLastOfARun) {
  CMyList list;
  list.AppendToTail(Item(0), 10);
  list.AppendToTail(Item(1), 20);
  list.AppendToTail(Item(2), 20);
  int index = -1;
  EXPECT_EQ(list.ElemBySortValue(20, &index, nullptr), Item(2));
  EXPECT_EQ(index, 2);
  CMyList empty;
  index = 7;
  EXPECT_EQ(empty.ElemBySortValue(1, &index, nullptr), nullptr);
  EXPECT_EQ(index, 7);
}

TEST(MyList, CursorWalksForwardAndRestartsFromHeadBackwards) {
  PeekMyList list;
  for (int i = 0; i < 6; ++i) list.AppendToTail(Item(i), i * 10);
  long v = 0;
  EXPECT_EQ(list.Index(2, &v), Item(2));
  EXPECT_EQ(v, 20);
  _tNode_t* at2 = list.Cursor();
  EXPECT_EQ(list.Index(3, nullptr), Item(3));
  EXPECT_EQ(list.Cursor(), at2->pNext);  // one step from where it was
  EXPECT_EQ(list.CursorIndex(), 3);
  EXPECT_EQ(list.Index(1, nullptr), Item(1));
  EXPECT_EQ(list.CursorIndex(), 1);
  EXPECT_EQ(list.Index(6, nullptr), nullptr);
  EXPECT_EQ(list.Index(-1, nullptr), nullptr);
  EXPECT_EQ(list.NodeByIndex(5), list.Tail());
  // A new head keeps the cursor on its node, one index further.
  list.InsertNewHead(Item(9), -1);
  EXPECT_EQ(list.Cursor(), list.Tail());
  EXPECT_EQ(list.CursorIndex(), 6);
  EXPECT_EQ(list.Index(6, nullptr), Item(5));
}

TEST(MyList, InsertAfterUsesValueZeroAndMovesTheCursor) {
  PeekMyList list;
  EXPECT_EQ(list.InsertAfter(Item(0), 5), 0);  // empty: the only node
  list.AppendToTail(Item(1), 10);
  EXPECT_EQ(list.InsertAfter(Item(2), 0), 1);
  long v = -1;
  EXPECT_EQ(list.Index(1, &v), Item(2));
  EXPECT_EQ(v, 0);
  EXPECT_EQ(list.InsertAfter(Item(3), 99), 3);  // beyond: after the tail
  EXPECT_EQ(list.Tail()->pItem, Item(3));
  EXPECT_EQ(list.Cursor(), list.Tail());
  EXPECT_EQ(list.InsertAfter(Item(4), -1), 0);  // negative: new head
  EXPECT_EQ(Items(list), (std::vector<void*>{Item(4), Item(0), Item(2), Item(1), Item(3)}));

  CMegaList mega;
  mega.AppendToTail(Item(0), 1.5);
  EXPECT_EQ(mega.InsertAfter(Item(1), 2.25, 0), 1);
  double d = 0;
  EXPECT_EQ(mega.Index(1, &d), Item(1));
  EXPECT_EQ(d, 2.25);
}

TEST(MyList, RemovalsLeaveCursorBeforeAndMoveTailBack) {
  PeekMyList list;
  for (int i = 0; i < 4; ++i) list.AppendToTail(Item(i), i);
  list.RemoveByIndex(3);
  EXPECT_EQ(list.Tail()->pItem, Item(2));
  EXPECT_EQ(list.Tail()->pNext, nullptr);
  EXPECT_EQ(list.Cursor(), list.Tail());
  EXPECT_EQ(list.CursorIndex(), 2);
  EXPECT_TRUE(list.Remove(Item(1)));
  EXPECT_EQ(list.Cursor()->pItem, Item(0));
  EXPECT_EQ(list.CursorIndex(), 0);
  EXPECT_TRUE(list.Remove(Item(0)));  // the head: cursor on the new head
  EXPECT_EQ(list.Cursor(), list.Head());
  EXPECT_EQ(list.Head()->pItem, Item(2));
  EXPECT_FALSE(list.Remove(Item(0)));
  list.RemoveByIndex(1);
  list.RemoveByIndex(-1);
  EXPECT_EQ(list.NumNodes(), 1);
  EXPECT_TRUE(list.RemoveByNode(list.Head()));
  EXPECT_EQ(list.Head(), nullptr);
  EXPECT_EQ(list.Tail(), nullptr);
  EXPECT_EQ(list.Cursor(), nullptr);
  EXPECT_EQ(list.NumNodes(), 0);
  list.RemoveAll();  // harmless when empty
}

TEST(MyList, RemoveByNodeRejectsForeignNodesAndItemsAreNeverFreed) {
  CMyList a, b;
  int* owned = new int(7);
  a.AppendToTail(owned, 1);
  b.AppendToTail(Item(0), 1);
  EXPECT_FALSE(a.RemoveByNode(b.NodeByIndex(0)));
  EXPECT_FALSE(a.RemoveByNode(nullptr));
  EXPECT_EQ(a.Member(owned), 1);
  EXPECT_EQ(a.Member(Item(3)), 0);
  a.RemoveAll();
  EXPECT_EQ(*owned, 7);
  delete owned;
}

TEST(MyList, CopiesShareTheNodes) {
  PeekMyList a;
  a.AppendToTail(Item(0), 1);
  a.AppendToTail(Item(1), 2);
  PeekMyList b;
  static_cast<CMyList&>(b) = a;
  EXPECT_EQ(b.Head(), a.Head());
  EXPECT_EQ(b.NumNodes(), 2);
  b.Forget();
  CMyList c(a);
  EXPECT_EQ(c.NodeByIndex(1), a.NodeByIndex(1));
  c.RemoveAll();  // frees the shared nodes: a must forget them
  a.Forget();
}

TEST(MegaList, SortsByDoubleWithTheSameRules) {
  PeekMegaList list;
  EXPECT_EQ(list.AddSorted(Item(0), 0.5, false), 0);
  EXPECT_EQ(list.AddSorted(Item(1), 0.25, false), 0);
  EXPECT_EQ(list.AddSorted(Item(2), 0.5, true), 2);
  EXPECT_EQ(list.AddSorted(Item(3), 0.375, true), 1);
  EXPECT_EQ(list.AddSorted(Item(4), 0.5, false), 2);  // before the two 0.5s
  int index = -1;
  double found = 0;
  EXPECT_EQ(list.ElemBySortValue(0.5, &index, &found), Item(2));
  EXPECT_EQ(index, 4);
  EXPECT_EQ(list.ElemBySortValue(0.4, &index, &found), nullptr);
  EXPECT_EQ(list.ElemBySortValue(0.1, &index, &found), Item(1));
  EXPECT_EQ(found, 0.25);
  list.RemoveByIndex(4);
  EXPECT_EQ(list.Tail()->pItem, Item(0));
  EXPECT_EQ(list.NumNodes(), 4);
}

}  // namespace
