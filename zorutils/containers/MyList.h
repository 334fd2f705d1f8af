// CMyList and CMegaList: singly linked lists of (item pointer, sort value)
// pairs, sorted by a signed 32-bit long (CMyList) or a double (CMegaList).
//
// Both keep a cursor, the last node visited and its index, so that walking
// the list by increasing index costs one step per call; any step backwards
// restarts from the head. The lists never own their items: removing a node
// frees the node only.
//
// Decisions where the classic behaviour was unsafe or unspecified:
// - Negative indexes find nothing (Index, NodeByIndex, RemoveByIndex);
//   InsertAfter with a negative index inserts a new head.
// - A node that cannot be allocated leaves the list unchanged: the adding
//   calls then return -1 (nothing is thrown).
// - Copies and assignment are shallow: both objects share the nodes, and the
//   target's previous nodes are not freed. Only one of two such objects may be
//   destroyed while holding the nodes: let the other go first by assigning an
//   empty list to it. Once either changes the list, the other's head, tail
//   and count are stale.
//
// Indexes and counts are in nodes, from 0. Sorted insertion and the value
// search assume the list is in ascending order.
#pragma once

#include <zorutils/Export.h>

/// A node of CMyList.
struct _tNode_t {
  void* pItem;
  long lSortValue;
  _tNode_t* pNext;  ///< null at the tail
};

/// A node of CMegaList.
struct _tMegaNode_t {
  void* pItem;
  double dSortValue;
  _tMegaNode_t* pNext;  ///< null at the tail
};

namespace zor {
template <class List, class Node, class Value>
struct LinkedListOps;  // the shared implementation (MyList_impl.h)
}

class ZORUTILS_API CMyList {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Empty list, all members zero.
  CMyList();
  /// Shallow: copies head, tail, cursor, count and cursor index as they stand.
  CMyList(const CMyList& other);
  CMyList& operator=(const CMyList& other);
  /// RemoveAll(); the items are not freed.
  virtual ~CMyList();

  /// Inserts in ascending order and returns the new node's index (-1 when out
  /// of memory). Among equal values the new node goes before them
  /// (`afterEquals` false) or after them (true), at the head, inside and at
  /// the tail alike.
  int AddSorted(void* item, long value, bool afterEquals);
  /// New node at the tail; returns count - 1 (-1 when out of memory).
  int AppendToTail(void* item, long value);
  /// New node at the head; returns 0 (-1 when out of memory). The cursor
  /// stays on its node, whose index grows by one.
  int InsertNewHead(void* item, long value);
  /// New node with sort value 0 (this form has no value argument) after the
  /// node at `index` (after the tail when `index` is beyond it; a new head for
  /// an empty list or a negative `index`). The cursor moves to it; returns
  /// its index, or -1 when out of memory.
  int InsertAfter(void* item, int index);

  /// Exact search returning the last node of a run of equal values, except
  /// that a head whose value is >= `value` is always returned. Null when
  /// nothing matches; the outputs then hold the head's index (0) and value
  /// (untouched for an empty list).
  void* ElemBySortValue(long value, int* index, long* foundValue);
  /// The item at `index` (its value in `*value` when non-null), or null,
  /// `*value` untouched, when the index is outside 0..count-1. Moves the
  /// cursor there (walking from the head when `index` lies behind it).
  void* Index(int index, long* value);
  /// The node at `index` (same walk as Index), or null out of range. The node
  /// stays the list's: it is valid until removed.
  _tNode_t* NodeByIndex(int index);
  /// 1 if a node holds `item` (pointer equality, cursor on it), else 0 (the
  /// cursor then goes back to the head).
  int Member(void* item);

  /// Unlinks and frees the first node holding `item`; true if there was one.
  /// The cursor goes to the node before it (the head when the head went).
  bool Remove(void* item);
  /// Unlinks and frees the node at `index`; nothing when out of range.
  void RemoveByIndex(int index);
  /// Unlinks and frees `node` if it belongs to this list; true if it did
  /// (false for null or a foreign node, which is left alone).
  bool RemoveByNode(_tNode_t* node);
  /// Frees every node and zeroes all members.
  void RemoveAll();
  /// The number of nodes.
  int NumNodes();

protected:
  template <class, class, class>
  friend struct zor::LinkedListOps;

  _tNode_t* m_pHead;
  _tNode_t* m_pTail;
  _tNode_t* m_pCursor;  // the last node visited, null when empty
  int m_nCount;
  int m_nCursorIndex;   // the position of m_pCursor
};

/// CMyList with a double sort value: every member behaves as CMyList's of the
/// same name (results, cursor and out-of-memory answers included). Values are
/// compared exactly; a NaN equals nothing, so ElemBySortValue never finds it
/// and AddSorted places it after the head (at the head of an empty list).
class ZORUTILS_API CMegaList {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Empty list, all members zero.
  CMegaList();
  /// Shallow, as for CMyList.
  CMegaList(const CMegaList& other);
  CMegaList& operator=(const CMegaList& other);
  virtual ~CMegaList();

  int AddSorted(void* item, double value, bool afterEquals);
  int AppendToTail(void* item, double value);
  int InsertNewHead(void* item, double value);
  /// As CMyList::InsertAfter, but the new node takes `value`.
  /// (The other members: see CMyList.)
  int InsertAfter(void* item, double value, int index);

  void* ElemBySortValue(double value, int* index, double* foundValue);
  void* Index(int index, double* value);
  _tMegaNode_t* NodeByIndex(int index);
  int Member(void* item);

  bool Remove(void* item);
  void RemoveByIndex(int index);
  bool RemoveByNode(_tMegaNode_t* node);
  void RemoveAll();
  int NumNodes();

protected:
  template <class, class, class>
  friend struct zor::LinkedListOps;

  _tMegaNode_t* m_pHead;
  _tMegaNode_t* m_pTail;
  _tMegaNode_t* m_pCursor;
  int m_nCount;
  int m_nCursorIndex;
};

static_assert(sizeof(CMyList) == (sizeof(void*) == 4 ? 24 : 40),
              "CMyList is exported as a virtual table, three pointers and two ints");
static_assert(sizeof(CMegaList) == sizeof(CMyList), "CMegaList has CMyList's layout");
static_assert(sizeof(_tNode_t) == (sizeof(void*) == 4 ? 12 : 24), "_tNode_t layout");
