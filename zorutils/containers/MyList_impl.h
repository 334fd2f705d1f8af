// The one implementation behind CMyList and CMegaList: they differ only in
// the type of the sort value (and InsertAfter's value argument), so both
// forward to these templates over their (identically named) members.
#pragma once

#include <zorutils/containers/MyList.h>

#include <new>

namespace zor {

template <class List, class Node, class Value>
struct LinkedListOps {
  static Value& ValueOf(Node* n);

  static Node* NewNode(void* item, Value value) {
    Node* n = new (std::nothrow) Node;
    if (n) {
      n->pItem = item;
      ValueOf(n) = value;
      n->pNext = nullptr;
    }
    return n;
  }

  static void Clear(List& l) {
    l.m_pHead = l.m_pTail = l.m_pCursor = nullptr;
    l.m_nCount = 0;
    l.m_nCursorIndex = 0;
  }

  static void CopyMembers(List& to, const List& from) {
    to.m_pHead = from.m_pHead;
    to.m_pTail = from.m_pTail;
    to.m_pCursor = from.m_pCursor;
    to.m_nCount = from.m_nCount;
    to.m_nCursorIndex = from.m_nCursorIndex;
  }

  static int AppendToTail(List& l, void* item, Value value) {
    Node* n = NewNode(item, value);
    if (!n) return -1;
    if (!l.m_pHead) {
      l.m_pHead = l.m_pTail = l.m_pCursor = n;
      l.m_nCursorIndex = 0;
    } else {
      l.m_pTail->pNext = n;
      l.m_pTail = n;
    }
    return ++l.m_nCount - 1;
  }

  static int InsertNewHead(List& l, void* item, Value value) {
    Node* n = NewNode(item, value);
    if (!n) return -1;
    n->pNext = l.m_pHead;
    l.m_pHead = n;
    if (!l.m_pTail) l.m_pTail = n;
    if (l.m_pCursor)
      ++l.m_nCursorIndex;  // the cursor keeps its node, one place further on
    else {
      l.m_pCursor = n;
      l.m_nCursorIndex = 0;
    }
    ++l.m_nCount;
    return 0;
  }

  // The cursor walk: forward from the cursor, or from the head when the
  // wanted index lies behind it. `index` must be in 0..count-1.
  static Node* WalkTo(List& l, int index) {
    if (!l.m_pCursor || l.m_nCursorIndex > index) {
      l.m_pCursor = l.m_pHead;
      l.m_nCursorIndex = 0;
    }
    while (l.m_nCursorIndex < index && l.m_pCursor && l.m_pCursor->pNext) {
      l.m_pCursor = l.m_pCursor->pNext;
      ++l.m_nCursorIndex;
    }
    return l.m_pCursor;
  }

  static int InsertAfter(List& l, void* item, Value value, int index) {
    if (!l.m_pHead || index < 0) {
      int at = InsertNewHead(l, item, value);
      if (at == 0) {
        l.m_pCursor = l.m_pHead;
        l.m_nCursorIndex = 0;
      }
      return at;
    }
    Node* n = NewNode(item, value);
    if (!n) return -1;
    Node* before = WalkTo(l, index < l.m_nCount ? index : l.m_nCount - 1);
    n->pNext = before->pNext;
    before->pNext = n;
    if (l.m_pTail == before) l.m_pTail = n;
    l.m_pCursor = n;
    ++l.m_nCursorIndex;
    ++l.m_nCount;
    return l.m_nCursorIndex;
  }

  static int AddSorted(List& l, void* item, Value value, bool afterEquals) {
    if (!l.m_pHead || value < ValueOf(l.m_pHead)) return InsertNewHead(l, item, value);
    if (!afterEquals && value == ValueOf(l.m_pHead)) return InsertNewHead(l, item, value);
    if (value > ValueOf(l.m_pTail) || (afterEquals && value == ValueOf(l.m_pTail)))
      return AppendToTail(l, item, value);
    Node* n = NewNode(item, value);
    if (!n) return -1;
    l.m_pCursor = l.m_pHead;
    l.m_nCursorIndex = 0;
    for (Node* next = l.m_pCursor->pNext;
         next && (ValueOf(next) < value || (afterEquals && ValueOf(next) == value));
         next = next->pNext) {
      l.m_pCursor = next;
      ++l.m_nCursorIndex;
    }
    n->pNext = l.m_pCursor->pNext;
    l.m_pCursor->pNext = n;
    if (l.m_pTail == l.m_pCursor) l.m_pTail = n;
    ++l.m_nCount;
    return l.m_nCursorIndex + 1;
  }

  static void* ElemBySortValue(List& l, Value value, int* index, Value* found) {
    if (!l.m_pHead) return nullptr;
    l.m_pCursor = l.m_pHead;
    l.m_nCursorIndex = 0;
    if (index) *index = 0;
    if (found) *found = ValueOf(l.m_pHead);
    if (ValueOf(l.m_pHead) >= value) return l.m_pHead->pItem;  // even when greater
    while (l.m_pCursor->pNext && ValueOf(l.m_pCursor->pNext) <= value) {
      l.m_pCursor = l.m_pCursor->pNext;
      ++l.m_nCursorIndex;
    }
    if (ValueOf(l.m_pCursor) != value) return nullptr;
    if (index) *index = l.m_nCursorIndex;
    if (found) *found = ValueOf(l.m_pCursor);
    return l.m_pCursor->pItem;
  }

  static Node* NodeByIndex(List& l, int index) {
    if (!l.m_pHead || index < 0 || index >= l.m_nCount) return nullptr;
    return WalkTo(l, index);
  }

  static void* Index(List& l, int index, Value* value) {
    Node* n = NodeByIndex(l, index);
    if (!n) return nullptr;
    if (value) *value = ValueOf(n);
    return n->pItem;
  }

  static int Member(List& l, void* item) {
    int i = 0;
    for (Node* n = l.m_pHead; n; n = n->pNext, ++i) {
      if (n->pItem == item) {
        l.m_pCursor = n;
        l.m_nCursorIndex = i;
        return 1;
      }
    }
    l.m_pCursor = l.m_pHead;
    l.m_nCursorIndex = 0;
    return 0;
  }

  // Unlinks `n` (at position `index`, after `prev` or the head when `prev` is
  // null) and frees it; the cursor goes to the node before it.
  static void Unlink(List& l, Node* prev, Node* n, int index) {
    if (prev)
      prev->pNext = n->pNext;
    else
      l.m_pHead = n->pNext;
    if (l.m_pTail == n) l.m_pTail = prev;
    --l.m_nCount;
    if (prev) {
      l.m_pCursor = prev;
      l.m_nCursorIndex = index - 1;
    } else {
      l.m_pCursor = l.m_pHead;
      l.m_nCursorIndex = 0;
    }
    delete n;
    if (l.m_nCount == 0) Clear(l);
  }

  // Removes the first node for which `match(node, index)` holds.
  template <class Match>
  static bool RemoveIf(List& l, Match match) {
    Node* prev = nullptr;
    int i = 0;
    for (Node* n = l.m_pHead; n; prev = n, n = n->pNext, ++i) {
      if (match(n, i)) {
        Unlink(l, prev, n, i);
        return true;
      }
    }
    return false;
  }

  static bool Remove(List& l, void* item) {
    return RemoveIf(l, [item](Node* n, int) { return n->pItem == item; });
  }
  static void RemoveByIndex(List& l, int index) {
    if (index < 0 || index >= l.m_nCount) return;
    RemoveIf(l, [index](Node*, int i) { return i == index; });
  }
  static bool RemoveByNode(List& l, Node* node) {
    if (!node) return false;
    return RemoveIf(l, [node](Node* n, int) { return n == node; });
  }

  static void RemoveAll(List& l) {
    Node* n = l.m_pHead;
    while (n) {
      Node* next = n->pNext;
      delete n;
      n = next;
    }
    Clear(l);
  }
};

template <>
inline long& LinkedListOps<CMyList, _tNode_t, long>::ValueOf(_tNode_t* n) { return n->lSortValue; }
template <>
inline double& LinkedListOps<CMegaList, _tMegaNode_t, double>::ValueOf(_tMegaNode_t* n) {
  return n->dSortValue;
}

}  // namespace zor
