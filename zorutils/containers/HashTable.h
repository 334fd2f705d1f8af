// CHashTable: a map from wide-character keys to signed 32-bit values, kept in
// a fixed number of buckets, each a CMyList whose nodes hold the key pointer
// as their item and the value as their sort value.
//
// Keys are never copied or freed: the table stores the caller's pointer, so a
// key string must outlive its entry. Duplicate keys are kept in insertion
// order and the earliest one wins in Find. The hash is the sum of the key's
// code units modulo the bucket count, so anagrams share a bucket by design.
//
// Decisions where the classic behaviour was unsafe or unspecified:
// - A bucket count of 0 or below would divide by zero when hashing: the
//   constructor uses 25 instead and logs
//   "CHashTable: table count <n> is not supported, using 25".
// - A null key is never stored (AddEntry returns false) and never found.
// - Copies share the buckets (shallow, as the classic class did): never let
//   both copies be destroyed.
// - If the bucket array cannot be allocated the table has no buckets
//   (GetNumTables 0): nothing can be added and nothing is found.
#pragma once

#include <zorutils/Export.h>
#include <zorutils/containers/MyList.h>

#include <wchar.h>

class ZORUTILS_API CHashTable {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// 25 buckets.
  CHashTable();
  /// `count` buckets (25 when `count` is 0 or below).
  explicit CHashTable(int count);
  /// Shallow: copies the bucket count and the bucket array pointer.
  CHashTable(const CHashTable& other);
  CHashTable& operator=(const CHashTable& other);
  /// RemoveAll(), then deletes the buckets; key strings are not freed.
  virtual ~CHashTable();

  /// Sum of the key's UTF-16 code units (unsigned, wrapping at 32 bits)
  /// modulo the bucket count: 0..count-1; 0 for an empty or null key or a
  /// table without buckets.
  int HashFunction(wchar_t* key);
  /// Appends (key pointer, value) to its bucket; duplicates are kept. True,
  /// except for a null key, a table without buckets or a node that could not
  /// be allocated.
  bool AddEntry(wchar_t* key, long value);
  /// The value of the earliest entry whose key text equals `key` (ordinal,
  /// case-sensitive); false when there is none (`value` untouched).
  bool Find(wchar_t* key, long& value);
  /// Removes the earliest entry with this key text and this value; true if
  /// one was removed. The key string is not freed.
  bool Remove(wchar_t* key, long value);
  /// Empties every bucket (frees the nodes, not the key strings).
  void RemoveAll();
  /// The bucket at `index` (items are the key pointers, sort values the
  /// values), or null when `index` >= the bucket count.
  CMyList* GetTable(unsigned int index);
  /// The bucket count, fixed at construction.
  int GetNumTables();

protected:
  int m_nTableCount;
  CMyList** m_ppTables;  // m_nTableCount heap-allocated lists
};

static_assert(sizeof(CHashTable) == (sizeof(void*) == 4 ? 12 : 24),
              "CHashTable is exported as a virtual table, an int and a pointer");
