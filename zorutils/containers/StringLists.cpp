// CStringList, CLastDirList and CMRUList.
//
// Both linked lists are circular and doubly linked around a sentinel node,
// which lives in the shared List block together with the element count.
#include <zorutils/containers/StringLists.h>

#include <zorutils/system/PathBuffers_impl.h>
#include <zorutils/system/RegistryStrings.h>
#include <zorutils/text/StringUtils.h>

#include <zorfutls/zorfutls.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <cwchar>
#include <new>

using zor::CompareAsciiNoCase;

namespace {

// A heap copy of exactly length + 1 units (also for the empty string, which
// CopyStringW would leave null).
wchar_t* DupString(const wchar_t* text) {
  const size_t len = wcslen(text);
  wchar_t* copy = static_cast<wchar_t*>(std::malloc((len + 1) * sizeof(wchar_t)));
  if (copy) wmemcpy(copy, text, len + 1);
  return copy;
}

template <class Node>
void Unlink(Node* node) {
  node->prev->next = node->next;
  node->next->prev = node->prev;
}

template <class Node>
void LinkBefore(Node* at, Node* node) {
  node->next = at;
  node->prev = at->prev;
  at->prev->next = node;
  at->prev = node;
}

}  // namespace

// --- CStringList -------------------------------------------------------------------

struct CStringList::Node {
  Node* next;
  Node* prev;
  wchar_t* text;
};

struct CStringList::List {
  Node sentinel;
  int count;
};

CStringList::CStringList() : m_list(new (std::nothrow) List) {
  if (m_list) {
    m_list->sentinel.next = m_list->sentinel.prev = &m_list->sentinel;
    m_list->sentinel.text = nullptr;
    m_list->count = 0;
  }
}

CStringList::~CStringList() {
  if (!m_list) return;
  DeleteStringList();
  delete m_list;
}

CStringList::Node* CStringList::NodeAt(int i) {
  if (!m_list) return nullptr;
  if (i < 0) i = 0;
  if (i >= m_list->count) return nullptr;
  Node* node = m_list->sentinel.next;
  while (i-- > 0) node = node->next;
  return node;
}

void CStringList::InsertBefore(Node* at, const wchar_t* text) {
  if (!m_list || !text) return;
  Node* node = new (std::nothrow) Node;
  if (!node) return;
  node->text = DupString(text);
  if (!node->text) {
    delete node;
    return;
  }
  LinkBefore(at, node);
  ++m_list->count;
}

void CStringList::AddLatestString(const wchar_t* text) {
  if (m_list) InsertBefore(m_list->sentinel.next, text);
}

void CStringList::PushBackList(const wchar_t* text) {
  if (m_list) InsertBefore(&m_list->sentinel, text);
}

void CStringList::AddSortedString(const wchar_t* text) {
  if (!m_list || !text) return;
  Node* at = m_list->sentinel.next;
  while (at != &m_list->sentinel && CompareAsciiNoCase(text, at->text) >= 0) at = at->next;
  InsertBefore(at, text);
}

int CStringList::ContainsString(const wchar_t* text) { return StringIndex(text) >= 0 ? 1 : 0; }

int CStringList::StringIndex(const wchar_t* text) {
  if (!m_list || !text) return -1;
  int i = 0;
  for (Node* n = m_list->sentinel.next; n != &m_list->sentinel; n = n->next, ++i)
    if (CompareAsciiNoCase(text, n->text) == 0) return i;
  return -1;
}

wchar_t* CStringList::Index(int i) {
  Node* node = NodeAt(i);
  return node ? node->text : nullptr;
}

int CStringList::UpdateString(int i, const wchar_t* text) {
  Node* node = NodeAt(i);
  if (!node || !text) return 0;
  wchar_t* copy = DupString(text);
  if (!copy) return 0;
  std::free(node->text);
  node->text = copy;
  return 1;
}

void CStringList::DeleteIndex(int i) {
  Node* node = NodeAt(i);
  if (!node) return;
  Unlink(node);
  std::free(node->text);
  delete node;
  --m_list->count;
}

int CStringList::DeleteString(const wchar_t* text) {
  int i = StringIndex(text);
  if (i < 0) return 0;
  DeleteIndex(i);
  return 1;
}

void CStringList::DeleteStringList() {
  if (!m_list) return;
  Node* n = m_list->sentinel.next;
  while (n != &m_list->sentinel) {
    Node* next = n->next;
    std::free(n->text);
    delete n;
    n = next;
  }
  m_list->sentinel.next = m_list->sentinel.prev = &m_list->sentinel;
  m_list->count = 0;
}

int CStringList::CopyFrom(CStringList& other) {
  if (!m_list || !other.m_list) return 1;
  // Counted first: when both share one list, the walk must not chase the
  // copies it appends.
  int remaining = other.m_list->count;
  Node* n = other.m_list->sentinel.next;
  for (; remaining > 0; --remaining, n = n->next) PushBackList(n->text);
  return 1;
}

int CStringList::Count() { return m_list ? m_list->count : 0; }

// --- CLastDirList ----------------------------------------------------------------

struct CLastDirList::Node {
  Node* next;
  Node* prev;
  _lastDirList* record;
};

struct CLastDirList::List {
  Node sentinel;
  int count;
};

namespace {

_lastDirList* NewRecord(const wchar_t* path, long sortValue, long hostValue) {
  _lastDirList* record = new (std::nothrow) _lastDirList;
  if (!record) return nullptr;
  // Cut, never overrun: the record's path is a fixed MAX_PATH array.
  zor::CopyUpTo(record->path, MAX_PATH, path, wcslen(path));
  record->sortValue = sortValue;
  record->hostValue = hostValue;
  return record;
}

}  // namespace

CLastDirList::CLastDirList() : m_list(new (std::nothrow) List) {
  if (m_list) {
    m_list->sentinel.next = m_list->sentinel.prev = &m_list->sentinel;
    m_list->sentinel.record = nullptr;
    m_list->count = 0;
  }
}

CLastDirList::~CLastDirList() {
  if (!m_list) return;
  DeleteAll();
  delete m_list;
}

CLastDirList::Node* CLastDirList::NodeAt(int i) {
  if (!m_list || i < 0 || i >= m_list->count) return nullptr;
  Node* node = m_list->sentinel.next;
  while (i-- > 0) node = node->next;
  return node;
}

CLastDirList::Node* CLastDirList::FindPath(const wchar_t* path) {
  if (!m_list || !path) return nullptr;
  for (Node* n = m_list->sentinel.next; n != &m_list->sentinel; n = n->next)
    if (CompareAsciiNoCase(path, n->record->path) == 0) return n;
  return nullptr;
}

void CLastDirList::InsertSorted(Node* node) {
  Node* at = m_list->sentinel.next;
  while (at != &m_list->sentinel && at->record->sortValue >= node->record->sortValue) at = at->next;
  LinkBefore(at, node);
}

int CLastDirList::Add(const wchar_t* path, long sortValue, long hostValue, int /*ignored*/) {
  if (!m_list || !path) return 1;
  _lastDirList* record = NewRecord(path, sortValue, hostValue);
  if (!record) return 1;
  Node* node = new (std::nothrow) Node;
  if (!node) {
    delete record;
    return 1;
  }
  node->record = record;
  InsertSorted(node);
  ++m_list->count;
  return 1;
}

int CLastDirList::AddPtr(_lastDirList* record, int sorted) {
  if (!record || !m_list) return 0;
  Node* node = new (std::nothrow) Node;
  if (!node) return 0;
  // A caller-made record may lack its terminator.
  record->path[MAX_PATH - 1] = 0;
  node->record = record;
  if (sorted && m_list->count > 0)
    InsertSorted(node);
  else
    LinkBefore(&m_list->sentinel, node);
  ++m_list->count;
  return 1;
}

_lastDirList* CLastDirList::ContainsDir(const wchar_t* path) {
  Node* node = FindPath(path);
  return node ? node->record : nullptr;
}

int CLastDirList::MoveOrAddToTop(const wchar_t* path) {
  if (!m_list || !path) return 0;
  long hostValue = 1000;
  _lastDirList* record = NewRecord(path, static_cast<long>(std::time(nullptr)), hostValue);
  Node* node = record ? new (std::nothrow) Node : nullptr;
  if (!node) {
    delete record;
    return 0;
  }
  if (Node* old = FindPath(path)) {
    record->hostValue = old->record->hostValue;
    Unlink(old);
    delete old->record;
    delete old;
    --m_list->count;
  }
  node->record = record;
  LinkBefore(m_list->sentinel.next, node);
  ++m_list->count;
  return 1;
}

int CLastDirList::UpdateOrAdd(const wchar_t* path, long sortValue, long hostValue, int resort) {
  Node* node = FindPath(path);
  if (!node) return Add(path, sortValue, hostValue, resort);
  node->record->hostValue = hostValue;
  node->record->sortValue = sortValue;
  if (resort) {
    Unlink(node);
    InsertSorted(node);
  }
  return 1;
}

int CLastDirList::Sort() {
  if (!m_list || m_list->count < 2) return 1;
  // Take the chain off and put each record back in its old order: a record
  // goes after its equals, so equal sort values keep their order.
  Node* n = m_list->sentinel.next;
  m_list->sentinel.next = m_list->sentinel.prev = &m_list->sentinel;
  while (n != &m_list->sentinel) {
    Node* next = n->next;
    InsertSorted(n);
    n = next;
  }
  return 1;
}

_lastDirList* CLastDirList::Index(int i) {
  Node* node = NodeAt(i);
  return node ? node->record : nullptr;
}

void CLastDirList::DeleteIndex(int i) {
  Node* node = NodeAt(i);
  if (!node) return;
  Unlink(node);
  delete node->record;
  delete node;
  --m_list->count;
}

int CLastDirList::DeletePath(const wchar_t* path) {
  Node* node = FindPath(path);
  if (!node) return 0;
  Unlink(node);
  delete node->record;
  delete node;
  --m_list->count;
  return 1;
}

void CLastDirList::DeleteAll() {
  if (!m_list) return;
  Node* n = m_list->sentinel.next;
  while (n != &m_list->sentinel) {
    Node* next = n->next;
    delete n->record;
    delete n;
    n = next;
  }
  m_list->sentinel.next = m_list->sentinel.prev = &m_list->sentinel;
  m_list->count = 0;
}

int CLastDirList::Count() { return m_list ? m_list->count : 0; }

// --- CMRUList ------------------------------------------------------------------------

namespace {
const int kMaxMRU = 9;
const int kMRUValueChars = 512;

void MRUValueName(wchar_t* name, size_t size, int n) { _snwprintf(name, size, L"mru.%u", static_cast<unsigned>(n)); }
}  // namespace

CMRUList::CMRUList() : m_rootKey(nullptr), m_subKey(nullptr) {}

CMRUList::~CMRUList() {
  m_files.DeleteAll();
  std::free(m_subKey);
}

void CMRUList::Init(HKEY rootKey, const wchar_t* subKey) {
  m_rootKey = rootKey;
  CopyStringW(&m_subKey, subKey);
  ClearMRUList(false);
  LoadList();
}

void CMRUList::LoadList() {
  bool dropped = false;
  for (int n = 1; n <= kMaxMRU; ++n) {
    wchar_t name[16];
    MRUValueName(name, 16, n);
    wchar_t value[kMRUValueChars] = {0};
    if (!GetRegistryString(m_rootKey, m_subKey, name, value, kMRUValueChars) || !value[0]) break;
    if (DoesFileExist(value)) {
      wchar_t* copy = nullptr;
      CopyStringW(&copy, value);
      if (copy && !m_files.Add(copy)) std::free(copy);
    } else {
      dropped = true;
    }
  }
  // Close the gaps in the registry now, not at the next change.
  if (dropped) SaveList();
}

void CMRUList::AddFile(const wchar_t* path) {
  // A path the load could not read back whole is not taken: it would come
  // back cut, naming nothing or, worse, one of its own folders.
  if (!path || !*path || wcslen(path) >= static_cast<size_t>(kMRUValueChars) || !DoesFileExist(path)) return;
  wchar_t* copy = nullptr;
  CopyStringW(&copy, path);
  if (!copy) return;
  if (!m_files.InsertAt(0, copy)) {
    std::free(copy);
    return;
  }
  for (int i = 1; i < m_files.GetSize(); ++i) {
    if (CompareAsciiNoCase(m_files[i], path) == 0) {
      std::free(m_files.RemoveAt(i));
      break;
    }
  }
  while (m_files.GetSize() > kMaxMRU) std::free(m_files.RemoveAt(kMaxMRU));
  SaveList();
}

void CMRUList::MoveFileToTop(const wchar_t* path) { AddFile(path); }

void CMRUList::RemoveFile(int index, bool save) {
  if (index < 0 || index >= m_files.GetSize()) return;
  std::free(m_files.RemoveAt(index));
  if (save) SaveList();
}

void CMRUList::ClearMRUList(bool save) {
  m_files.DeleteAll();
  m_files.FreeExtra();
  if (save) SaveList();
}

const wchar_t* CMRUList::GetFileWithPath(int i) { return m_files.GetAt(i); }

const wchar_t* CMRUList::GetFileNameOnly(int i) {
  const wchar_t* path = m_files.GetAt(i);
  if (!path) return nullptr;
  const wchar_t* name = path;
  for (const wchar_t* p = path; *p; ++p)
    if (*p == L'\\' || *p == L'/') name = p + 1;
  return name;
}

int CMRUList::NumMRUFiles() { return m_files.GetSize(); }

void CMRUList::SaveList() {
  if (!m_rootKey || !m_subKey) return;
  int n = 1;
  wchar_t name[16];
  for (int i = 0; i < m_files.GetSize() && n <= kMaxMRU; ++i) {
    if (!DoesFileExist(m_files[i])) continue;
    MRUValueName(name, 16, n++);
    WriteRegistryString(m_rootKey, m_subKey, name, m_files[i]);
  }
  for (; n <= kMaxMRU; ++n) {
    MRUValueName(name, 16, n);
    WriteRegistryString(m_rootKey, m_subKey, name, L"");
  }
}
