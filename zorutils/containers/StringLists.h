// String lists and recent-item lists: CStringList (owned wide strings in
// order), CLastDirList (remembered folders kept by descending sort value) and
// CMRUList (the most-recently-used file list, persisted in the registry).
//
// Every name comparison here is case-insensitive with only A-Z folded to
// a-z, whatever the runtime's locale. Indexes and counts are in entries.
// Running out of memory is not reported unless a member says so: the text or
// record is then simply not stored.
#pragma once

#include <zorutils/Export.h>
#include <zorutils/containers/DynArray.h>

#include <windows.h>

// --- CStringList -------------------------------------------------------------------

/// An ordered list of owned copies of strings. The object is one pointer to
/// the list itself: assigning (or copying) one CStringList to another shares
/// that list between both, on purpose (the target's old list is left as it
/// was), and then only one of them may be destroyed. Index 0 is the first
/// string; a negative index counts as 0 (so DeleteIndex(-1) removes the
/// first string). Null texts are not stored, found or compared; an empty text
/// is stored as an empty string.
class ZORUTILS_API CStringList {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// An empty list. Should its one allocation fail, the object stays empty:
  /// every call then does nothing and answers as for an empty list.
  CStringList();
  /// Frees every string and the list.
  ~CStringList();

  /// Inserts a copy at the front.
  void AddLatestString(const wchar_t* text);
  /// Appends a copy at the end.
  void PushBackList(const wchar_t* text);
  /// Inserts a copy before the first string that compares greater, else at
  /// the end: ascending order, a new string after its equals.
  void AddSortedString(const wchar_t* text);
  /// 1 if an equal string is in the list, else 0 (also for null).
  int ContainsString(const wchar_t* text);
  /// Index of the first equal string, or -1 (also for null).
  int StringIndex(const wchar_t* text);
  /// The stored string at `i` (not a copy: valid until it is updated or
  /// deleted), or null past the end.
  wchar_t* Index(int i);
  /// Replaces the string at `i` with a copy of `text`: 1, or 0 (the old
  /// string kept) when `i` is past the end, `text` is null or memory ran out.
  int UpdateString(int i, const wchar_t* text);
  /// Removes and frees the string at `i`; nothing past the end.
  void DeleteIndex(int i);
  /// Removes the first equal string: 1 if there was one, else 0.
  int DeleteString(const wchar_t* text);
  /// Removes and frees every string; the list stays usable.
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
  /// An empty list; as for CStringList, a failed allocation leaves an object
  /// on which every call does nothing.
  CLastDirList();
  ~CLastDirList();

  /// A new record with a copy of `path` (cut to 259 units), inserted before
  /// the first record with a smaller sort value. The fourth argument is
  /// ignored. 1, even when memory ran out (callers do not check); nothing is
  /// stored for a null path.
  int Add(const wchar_t* path, long sortValue, long hostValue, int ignored);
  /// Takes ownership of `record` (allocated with new; the list deletes it):
  /// with `sorted` and a non-empty list placed as Add does, else appended.
  /// Its path is cut to 259 units (the last unit is zeroed). 0 for null or
  /// when memory ran out (the record then stays the caller's), else 1.
  int AddPtr(_lastDirList* record, int sorted);
  /// The first record with an equal path (the list's own, valid until it is
  /// deleted), or null (also for a null path).
  _lastDirList* ContainsDir(const wchar_t* path);
  /// Puts `path` first, whatever the sort values, with the current time as
  /// its sort value and the host value it had (1000 when new). 0 only when
  /// memory ran out (or for a null path), else 1.
  int MoveOrAddToTop(const wchar_t* path);
  /// Sets the sort and host value of the first record with an equal path and,
  /// with `resort`, moves it to its sorted place (after its equals); adds a
  /// record as Add does when there is none. 1 (also for a null path, which
  /// changes nothing).
  int UpdateOrAdd(const wchar_t* path, long sortValue, long hostValue, int resort);
  /// Descending order of sort value; records with equal values keep their
  /// order. 1.
  int Sort();
  /// The record at `i`, or null (also for a negative `i`).
  _lastDirList* Index(int i);
  /// Removes and deletes the record at `i`; nothing out of range (negative
  /// included).
  void DeleteIndex(int i);
  /// Removes and deletes the first record with an equal path: 1 if there was
  /// one, else 0.
  int DeletePath(const wchar_t* path);
  /// Removes and deletes every record; the list stays usable.
  void DeleteAll();
  /// The number of records.
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
  /// An empty list that neither loads nor saves until Init.
  CMRUList();
  /// Frees the entries without saving.
  ~CMRUList();

  /// Remembers `rootKey` (not owned) and a copy of `subKey`, empties the list
  /// without saving and loads it from the registry: "mru.1" onward up to the
  /// first empty or missing value, each read into 512 units (a longer value
  /// comes back cut). When a listed file no longer exists the registry is
  /// rewritten at once. A null root key or a null or empty sub-key loads
  /// nothing and leaves the list unsaved until Init is called again; a key
  /// that cannot be opened loads nothing.
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
  /// Removes every entry; when `save` (and after Init), blanks all nine values.
  void ClearMRUList(bool save);
  /// The stored path at `i` (the list's own, valid until it changes), or null
  /// when `i` is out of range.
  const wchar_t* GetFileWithPath(int i);
  /// The file-name part of the stored path at `i` (a pointer into it, after
  /// its last '\' or '/'), or null when `i` is out of range.
  const wchar_t* GetFileNameOnly(int i);
  /// The number of entries (at most 9).
  int NumMRUFiles();
  /// Writes the entries whose files exist as "mru.1" onward, then blanks the
  /// remaining names up to "mru.9" (creating the key if needed). Nothing before
  /// Init; a failed write is not reported.
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
