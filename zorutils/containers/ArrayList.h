// CMyArrayList: a growable array of (item pointer, sort value) pairs, kept in
// insertion order or, through AddSorted, in ascending order of a signed 32-bit
// sort value.
//
// The list never owns its items: no operation (the destructor included) frees
// what an element points to. Capacity moves by exactly one growth step at a
// time in both directions, because every caller adds or removes one element
// at a time.
//
// Decisions where the classic behaviour was unsafe or unspecified:
// - A growth step of 0 would divide by zero at the first allocation: the
//   constructor replaces it by the default step (10) and logs
//   "CMyArrayList: growth step 0 is not supported, using 10".
// - RemoveByIndex and InsertToIndex with a negative index: RemoveByIndex does
//   nothing, InsertToIndex returns -1 (an empty list still takes the element
//   as its new head, as for any index).
// - Shift never moves an element outside the allocated block: opening a gap in
//   a full block, or moving elements down from index 0 or less, does nothing.
// - ScaleAllSortValues clamps results outside the 32-bit range (NaN gives 0).
// - operator= copies the members as they stand and does not free the target's
//   previous block (it may be shared through an earlier assignment): empty the
//   target with RemoveAll first when it owns one.
//
// Indexes, counts, capacities and growth steps are in elements. Indexes out
// of range are rejected where a member says so; nothing else checks them.
#pragma once

#include <zorutils/Export.h>

/// Direction of CMyArrayList::Shift.
enum _tshift {
  SHIFT_DOWN = 0,  ///< elements move one place towards index 0
  SHIFT_UP = 1     ///< elements move one place towards the end (opens a gap)
};

/// One element: the item pointer and its sort value.
struct _tArrayElem_t {
  void* pItem;
  long lSortValue;
};

class ZORUTILS_API CMyArrayList {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  // --- Construction -----------------------------------------------------------

  /// Empty, growth step 10.
  CMyArrayList();
  /// Empty, growing and shrinking by `step` elements (0 is replaced by 10).
  explicit CMyArrayList(unsigned int step);
  /// Takes the other's growth step and copies its elements (pointers only).
  CMyArrayList(const CMyArrayList& other);
  /// RemoveAll(); the items are not freed.
  virtual ~CMyArrayList();

  /// Shallow on purpose: copies every member as it stands, so that both
  /// objects then share one block. Use Copy for a deep copy. Before both are
  /// destroyed one must let go of the block without freeing it (assign an
  /// empty list to it), or the block is freed twice; and once either adds or
  /// removes elements the other's view (count, and the block itself when it
  /// moves) is stale.
  CMyArrayList& operator=(const CMyArrayList& other);
  /// RemoveAll(), then copies the other's elements into a block of its own;
  /// this list keeps its own growth step. Nothing when `other` is this list;
  /// `other` must not share this list's block (see operator=). If memory runs
  /// out this list is left empty.
  void Copy(const CMyArrayList& other);

  // --- Adding -------------------------------------------------------------------

  /// Inserts in ascending order and returns the index used. A value equal to
  /// the head's goes before it, one equal to the tail's goes after it, and one
  /// inside the list goes before the first element that is >= it (a binary
  /// search, so the list must be sorted). When memory runs out nothing is
  /// inserted, yet an index is still returned (0 at the head, the old last
  /// index at the tail, the intended index inside).
  int AddSorted(void* item, long value);
  /// Adds at the end; returns count - 1 afterwards (the old last index, -1
  /// for an empty list, when memory ran out).
  int AppendToTail(void* item, long value);
  /// Adds at index 0; returns 0 (also when memory ran out).
  int InsertNewHead(void* item, long value);
  /// Opens a gap at `index` and stores there; an empty list takes the element
  /// as its head (whatever `index`, returning 0) and `index` >= count appends
  /// (as AppendToTail). Otherwise returns `index`, or -1 when memory ran out
  /// or `index` is negative (nothing inserted).
  int InsertToIndex(int index, void* item, long value);

  // --- Finding ------------------------------------------------------------------

  /// The item at `index` (its value in `*value` when non-null); null when the
  /// index is outside 0..count-1.
  void* Index(int index, long* value);
  /// Binary search of a sorted list: the element with `value`, else the
  /// nearest one below it, else (value below all) the first element. Within a
  /// run of equal values any member of the run may be the one found (use
  /// FirstOfValue / LastOfValue for the ends). Stores its index and value
  /// through the non-null pointers and returns its item (which may itself be
  /// null); null (outputs untouched) for an empty list.
  void* ElemBySortValue(long value, int* index, long* foundValue);
  /// The first element of the run whose value equals `value` (its index in
  /// `*index` when non-null), or null, `*index` untouched. An element whose
  /// item is null is reported as not found.
  void* FirstOfValue(long value, int* index);
  /// Walks back from `index` to the first element with the same value (its
  /// index in `*outIndex` when non-null); null, `*outIndex` untouched, when
  /// `index` is out of range or the item there is null.
  void* FirstOfValueAtIndex(int index, int* outIndex);
  /// The last element of the run whose value equals `value` (its index in
  /// `*index` when non-null), or null, `*index` untouched. A null item found
  /// this way is indistinguishable from "not found".
  void* LastOfValue(long value, int* index);
  /// Whether some element holds `item` (pointer equality).
  bool Member(void* item);
  /// Index of the first element holding `item`, or -1.
  int MemberIndex(void* item);

  // --- Removing -----------------------------------------------------------------

  /// Removes the first element holding `item`; true if there was one.
  bool Remove(void* item);
  /// Removes the element at `index` (nothing when out of range, negative
  /// included) and shrinks the block by one step once a whole step is unused;
  /// the block is freed when the last element goes.
  void RemoveByIndex(int index);
  /// Empties the list and frees the block. Logs "RemoveAll list is not NULL!"
  /// if the block could not be released (a diagnostic only).
  void RemoveAll();
  /// Empties the list and keeps the block for reuse.
  void RemoveAllButLeaveAllocation();

  // --- Sort values --------------------------------------------------------------

  /// Adds `delta` to every sort value (wrapping around 32 bits on overflow).
  void AdjustAllSortValues(long delta);
  /// value * factor, truncated toward zero, for every sort value; results
  /// beyond the 32-bit range are clamped to it, NaN gives 0. A negative
  /// factor reverses the order of a sorted list.
  void ScaleAllSortValues(double factor);

  // --- Storage ------------------------------------------------------------------

  /// Moves elements index..count-1 by one place without changing count:
  /// SHIFT_UP opens a gap at `index` (nothing unless 0 <= index < count and
  /// the block has a free slot), SHIFT_DOWN overwrites element index-1
  /// (nothing unless 1 <= index < count). The slot left behind keeps a stale
  /// copy: the caller stores there or changes count.
  void Shift(int index, _tshift direction);
  /// Makes room for `needed` elements: the first block holds the multiple of
  /// the step just above `needed` (one step for 0 or less), later growth adds
  /// exactly one step, which may still be short of `needed` (every caller
  /// adds one element at a time). True when the block is large enough or has
  /// grown; false when memory ran out (the old block and elements stay) or the
  /// capacity would pass INT_MAX.
  bool Grow(int needed);
  /// Gives back one step once `needed` <= capacity - step; with `needed`
  /// below 1 the whole block is freed (the count is the caller's to clear). A
  /// failed reallocation keeps the larger block.
  void Shrink(int needed);

  // Not part of the classic interface, but harmless readers for hosts and
  // tests: element count, capacity and growth step.
  int GetCount() const { return m_nCount; }
  int GetCapacity() const { return m_nCapacity; }
  unsigned int GetGrowthStep() const { return m_nGrowthStep; }

protected:
  _tArrayElem_t* m_pBlock;     // the heap block (null when nothing is allocated)
  _tArrayElem_t* m_pElements;  // always equal to m_pBlock
  int m_nCapacity;
  int m_nCount;
  int m_nReserved;             // zero; kept for layout compatibility
  unsigned int m_nGrowthStep;
};

static_assert(sizeof(CMyArrayList) == (sizeof(void*) == 4 ? 28 : 40),
              "CMyArrayList is exported as a virtual table, two pointers and four ints");
