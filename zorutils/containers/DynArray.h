// CDynArray: the growable array of owned pointers in which the text-format
// classes (INI, delimited text, XML) and the recent-file list keep their
// sections, rows, fields, children and paths.
//
// Growth: when full, the capacity becomes 8 if it was below 8, else twice
// what it was. The array itself never destroys elements on removal: the owner
// calls DeleteAll (or destroys what RemoveAt hands back) because only it
// knows when an element is no longer referenced.
//
// Borrowed storage: an array may be pointed at a block that someone else
// owns (a parsed XML tree's arrays live in its document's blocks). It then
// never frees or resizes that block: the first insertion copies the elements
// into a block of its own. Until then SetAt, operator[] and RemoveAt change
// the borrowed elements in place.
//
// Sizes, capacities and indexes are in elements. Not copyable.
#pragma once

#include <cstdlib>
#include <cstring>

// Reads the member offsets of the exported classes at compile time (zorutils/internal/Layouts.cpp).
namespace zor {
struct Layouts;
}

namespace zor {
/// How an owned element is destroyed: strings are malloc'ed blocks (as made
/// by CopyStringW and friends), everything else is a C++ object.
template <class T>
inline void DestroyOwned(T* p) { delete p; }
inline void DestroyOwned(wchar_t* p) { std::free(p); }
inline void DestroyOwned(char* p) { std::free(p); }
}  // namespace zor

template <class T>
class CDynArray {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Empty, no block.
  CDynArray() : m_data(nullptr), m_count(0), m_capacity(0) {}
  /// Frees its own block (not borrowed storage); the elements are not
  /// destroyed: call DeleteAll first for owned ones.
  ~CDynArray() {
    if (!IsBorrowed()) std::free(m_data);
  }
  CDynArray(const CDynArray&) = delete;
  CDynArray& operator=(const CDynArray&) = delete;

  /// The number of elements.
  int GetSize() const { return m_count; }
  /// The room of its own block (-1 while the storage is borrowed).
  int GetCapacity() const { return m_capacity; }
  /// Whether the storage is borrowed (see Borrow).
  bool IsBorrowed() const { return m_capacity < 0; }
  bool IsEmpty() const { return m_count == 0; }

  /// The element at `index`; no range check.
  T& operator[](int index) { return m_data[index]; }
  const T& operator[](int index) const { return m_data[index]; }
  /// The element at `index`, or a null (value-initialised) T out of range.
  T GetAt(int index) const { return index >= 0 && index < m_count ? m_data[index] : T(); }
  /// Stores `item` at `index` (false out of range); the old element is the
  /// caller's.
  bool SetAt(int index, T item) {
    if (index < 0 || index >= m_count) return false;
    m_data[index] = item;
    return true;
  }
  /// The elements themselves (null when there is no block), valid until the
  /// next insertion, Reserve or FreeExtra.
  T* GetData() { return m_data; }
  const T* GetData() const { return m_data; }

  /// Appends; false only when memory runs out (the array is then unchanged).
  bool Add(T item) {
    if (m_count >= m_capacity && !Grow(m_count + 1)) return false;
    m_data[m_count++] = item;
    return true;
  }
  /// Inserts before `index` (clamped to 0..size); false only when memory runs
  /// out (the array is then unchanged).
  bool InsertAt(int index, T item) {
    if (index < 0) index = 0;
    if (index > m_count) index = m_count;
    if (m_count >= m_capacity && !Grow(m_count + 1)) return false;
    std::memmove(m_data + index + 1, m_data + index, sizeof(T) * static_cast<size_t>(m_count - index));
    m_data[index] = item;
    ++m_count;
    return true;
  }
  /// Takes the element at `index` out and hands it back, now the caller's
  /// (null, nothing removed, out of range). The block keeps its size.
  T RemoveAt(int index) {
    if (index < 0 || index >= m_count) return T();
    T item = m_data[index];
    std::memmove(m_data + index, m_data + index + 1, sizeof(T) * static_cast<size_t>(m_count - index - 1));
    --m_count;
    return item;
  }
  /// Index of the first element equal to `item`, or -1.
  int Find(const T& item) const {
    for (int i = 0; i < m_count; ++i)
      if (m_data[i] == item) return i;
    return -1;
  }
  /// Exchanges two elements; no range check: both must lie in 0..size-1.
  void Swap(int a, int b) {
    T t = m_data[a];
    m_data[a] = m_data[b];
    m_data[b] = t;
  }
  /// Makes room for `capacity` elements in one step (for loaders that know
  /// their count); never shrinks. Borrowed storage is copied into a block of
  /// its own. False when memory runs out (nothing changed).
  bool Reserve(int capacity) {
    if (capacity <= m_capacity) return true;
    T* data;
    if (IsBorrowed()) {
      if (capacity < m_count) capacity = m_count;
      data = static_cast<T*>(std::malloc(sizeof(T) * static_cast<size_t>(capacity > 0 ? capacity : 1)));
      if (!data) return false;
      if (m_count > 0) std::memcpy(data, m_data, sizeof(T) * static_cast<size_t>(m_count));
    } else {
      data = static_cast<T*>(std::realloc(m_data, sizeof(T) * static_cast<size_t>(capacity)));
      if (!data) return false;
    }
    m_data = data;
    m_capacity = capacity;
    return true;
  }
  /// Forgets every element without destroying it; keeps the block.
  void RemoveAll() { m_count = 0; }
  /// Destroys every element (zor::DestroyOwned) and empties the array.
  void DeleteAll() {
    for (int i = 0; i < m_count; ++i) zor::DestroyOwned(m_data[i]);
    m_count = 0;
  }
  /// Frees the block as well (after RemoveAll or DeleteAll); nothing while
  /// elements remain. Borrowed storage is let go, not freed.
  void FreeExtra() {
    if (m_count == 0) {
      if (!IsBorrowed()) std::free(m_data);
      m_data = nullptr;
      m_capacity = 0;
    }
  }

  /// Uses the `count` elements at `data`, which someone else owns, as the
  /// storage (see above). The array must be empty and hold no block, or that
  /// block is lost.
  void Borrow(T* data, int count) {
    m_data = data;
    m_count = count;
    m_capacity = -1;
  }

private:
  bool Grow(int needed) {
    int capacity = m_capacity < 8 ? 8 : m_capacity * 2;  // borrowed: from 8 too
    if (capacity < needed) capacity = needed;
    return Reserve(capacity);
  }

  T* m_data;
  int m_count;
  int m_capacity;
};
