// String lists and recent-item lists: CStringList (owned wide strings in
// order), CLastDirList (remembered folders kept by descending sort value) and
// CMRUList (the most-recently-used file list, persisted in the registry).
//
// Every name comparison here is case-insensitive with only A-Z folded to
// a-z, whatever the runtime's locale.
#pragma once

#include <zorutils/Export.h>
#include <zorutils/containers/DynArray.h>

#include <windows.h>

// --- CStringList -------------------------------------------------------------------

/// An ordered list of owned copies of strings. The object is one pointer to
/// the list itself: assigning (or copying) one CStringList to another shares
/// that list between both, on purpose (the target's old list is left as it
/// was), and then only one of them may be destroyed. Index 0 is the first
/// string; a negative index counts as 0. Null texts are not stored.
class ZORUTILS_API CStringList {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  CStringList();
  ~CStringList();

  /// Inserts a copy at the front.
  void AddLatestString(const wchar_t* text);
  /// Appends a copy at the end.
  void PushBackList(const wchar_t* text);
  /// Inserts a copy before the first string that compares greater, else at
  /// the end: ascending order, a new string after its equals.
  void AddSortedString(const wchar_t* text);
  /// 1 if an equal string is in the list, else 0.
  int ContainsString(const wchar_t* text);
  /// Index of the first equal string, or -1.
  int StringIndex(const wchar_t* text);
  /// The stored string at `i` (not a copy), or null past the end.
  wchar_t* Index(int i);
  /// Replaces the string at `i` with a copy of `text`: 1, or 0 when `i` is
  /// past the end or `text` is null.
  int UpdateString(int i, const wchar_t* text);
  /// Removes the string at `i`; nothing past the end.
  void DeleteIndex(int i);
  /// Removes the first equal string: 1 if there was one, else 0.
  int DeleteString(const wchar_t* text);
  /// Removes every string.
  void DeleteStringList();
  /// Appends copies of all of `other`'s strings in their order (as many as it
  /// held when called, so copying a list onto itself doubles it); 1.
  int CopyFrom(CStringList& other);
  /// Number of strings.
  int Count();

private:
  struct Node;
  struct List;

  Node* NodeAt(int i);
  void InsertBefore(Node* at, const wchar_t* text);

  List* m_list;
};

static_assert(sizeof(CStringList) == sizeof(void*), "CStringList is exactly its list pointer");

// --- CLastDirList ----------------------------------------------------------------

/// One remembered folder. The path is cut to 259 characters when stored.
struct _lastDirList {
  wchar_t path[MAX_PATH];
  long sortValue;  ///< MoveOrAddToTop stores seconds since 1970 (UTC)
  long hostValue;  ///< the host's, never interpreted; 1000 for a new top entry
};

static_assert(sizeof(_lastDirList) == MAX_PATH * sizeof(wchar_t) + 2 * sizeof(long), "_lastDirList layout");

/// Remembered folders in descending order of sort value (a new record goes
/// after its equals). The list owns its records. Assignment shares the list
/// exactly as for CStringList.
class ZORUTILS_API CLastDirList {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  CLastDirList();
  ~CLastDirList();

  /// A new record, inserted before the first record with a smaller sort
  /// value. The fourth argument is ignored. 1, even when memory ran out
  /// (callers do not check); nothing is stored for a null path.
  int Add(const wchar_t* path, long sortValue, long hostValue, int ignored);
  /// Takes ownership of `record` (allocated with new): with `sorted` and a
  /// non-empty list placed as Add does, else appended. 0 for null, else 1.
  int AddPtr(_lastDirList* record, int sorted);
  /// The record with an equal path, or null.
  _lastDirList* ContainsDir(const wchar_t* path);
  /// Puts `path` first, whatever the sort values, with the current time as
  /// its sort value and the host value it had (1000 when new). 0 only when
  /// memory ran out (or for a null path), else 1.
  int MoveOrAddToTop(const wchar_t* path);
  /// Sets the sort and host value of the record with an equal path and, with
  /// `resort`, moves it to its sorted place; adds a record when there is
  /// none. 1.
  int UpdateOrAdd(const wchar_t* path, long sortValue, long hostValue, int resort);
  /// Descending order of sort value; records with equal values keep their
  /// order. 1.
  int Sort();
  /// The record at `i`, or null (also for a negative `i`).
  _lastDirList* Index(int i);
  /// Removes the record at `i`; nothing out of range.
  void DeleteIndex(int i);
  /// Removes the first record with an equal path: 1 if there was one, else 0.
  int DeletePath(const wchar_t* path);
  void DeleteAll();
  int Count();

private:
  struct Node;
  struct List;

  Node* NodeAt(int i);
  Node* FindPath(const wchar_t* path);
  void InsertSorted(Node* node);

  List* m_list;
};

static_assert(sizeof(CLastDirList) == sizeof(void*), "CLastDirList is exactly its list pointer");

// --- CMRUList ------------------------------------------------------------------------

/// The most-recently-used file list: at most 9 paths, index 0 the most
/// recent, kept under the host's registry key as the string values "mru.1"
/// to "mru.9". Saving always leaves exactly those nine values (blank ones
/// after the last file). Files that vanish are dropped when the list is
/// loaded and skipped when it is saved.
class ZORUTILS_API CMRUList {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  CMRUList();
  /// Frees the entries without saving.
  ~CMRUList();

  /// Remembers `rootKey` (not owned) and a copy of `subKey`, empties the list
  /// without saving and loads it from the registry; when a listed file no
  /// longer exists the registry is rewritten at once.
  void Init(HKEY rootKey, const wchar_t* subKey);
  /// Puts an existing file first (an entry equal to it, in any letter case,
  /// is removed), keeps the nine most recent and saves. Null, empty and
  /// missing files are ignored, and so are paths of 512 characters or more,
  /// which the load could not read back whole.
  void AddFile(const wchar_t* path);
  /// Exactly AddFile.
  void MoveFileToTop(const wchar_t* path);
  /// Removes the entry at `index` (nothing out of range); saves when `save`.
  void RemoveFile(int index, bool save);
  /// Removes every entry; when `save`, blanks all nine values.
  void ClearMRUList(bool save);
  /// The stored path at `i`, or null.
  const wchar_t* GetFileWithPath(int i);
  /// The file-name part of the stored path at `i` (a pointer into it, after
  /// its last '\' or '/'), or null.
  const wchar_t* GetFileNameOnly(int i);
  int NumMRUFiles();
  /// Writes the entries whose files exist as "mru.1" onward, then blanks the
  /// remaining names up to "mru.9". Nothing before Init.
  void SaveList();

private:
  CMRUList(const CMRUList&) = delete;
  CMRUList& operator=(const CMRUList&) = delete;
  void LoadList();

  CDynArray<wchar_t*> m_files;
  HKEY m_rootKey;
  wchar_t* m_subKey;
};

static_assert(sizeof(CMRUList) == sizeof(CDynArray<wchar_t*>) + sizeof(HKEY) + sizeof(wchar_t*),
              "CMRUList layout");
