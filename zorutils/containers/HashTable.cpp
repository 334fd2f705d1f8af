// CHashTable: buckets of CMyList; every operation hashes to one bucket and
// walks it from the head, so entries of one key stay in insertion order.
#include <zorutils/containers/HashTable.h>

#include <zorfutls/zorfutls.h>

#include <cwchar>
#include <new>

namespace {

const int kDefaultTables = 25;

int SafeCount(int count) {
  if (count <= 0) {
    LogFmt(L"CHashTable: table count %d is not supported, using 25", count);
    return kDefaultTables;
  }
  return count;
}

}  // namespace

CHashTable::CHashTable() : CHashTable(kDefaultTables) {}

CHashTable::CHashTable(int count) : m_nTableCount(SafeCount(count)), m_ppTables(nullptr) {
  m_ppTables = new (std::nothrow) CMyList*[m_nTableCount];
  if (!m_ppTables) {
    m_nTableCount = 0;  // every operation then finds nothing
    return;
  }
  for (int i = 0; i < m_nTableCount; ++i) m_ppTables[i] = new (std::nothrow) CMyList;
}

CHashTable::CHashTable(const CHashTable& other)
    : m_nTableCount(other.m_nTableCount), m_ppTables(other.m_ppTables) {}

CHashTable& CHashTable::operator=(const CHashTable& other) {
  m_nTableCount = other.m_nTableCount;
  m_ppTables = other.m_ppTables;
  return *this;
}

CHashTable::~CHashTable() {
  RemoveAll();
  if (m_ppTables) {
    for (int i = 0; i < m_nTableCount; ++i) delete m_ppTables[i];
    delete[] m_ppTables;
  }
}

int CHashTable::HashFunction(wchar_t* key) {
  if (!key || m_nTableCount <= 0) return 0;
  unsigned int sum = 0;
  for (const wchar_t* p = key; *p; ++p) sum += static_cast<unsigned short>(*p);
  return static_cast<int>(sum % static_cast<unsigned int>(m_nTableCount));
}

bool CHashTable::AddEntry(wchar_t* key, long value) {
  CMyList* bucket = key ? GetTable(static_cast<unsigned int>(HashFunction(key))) : nullptr;
  return bucket && bucket->AppendToTail(key, value) >= 0;
}

bool CHashTable::Find(wchar_t* key, long& value) {
  CMyList* bucket = key ? GetTable(static_cast<unsigned int>(HashFunction(key))) : nullptr;
  if (!bucket) return false;
  long v = 0;
  for (int i = 0; i < bucket->NumNodes(); ++i) {  // the cursor makes each step cost one
    auto* stored = static_cast<const wchar_t*>(bucket->Index(i, &v));
    if (stored && wcscmp(stored, key) == 0) {
      value = v;
      return true;
    }
  }
  return false;
}

bool CHashTable::Remove(wchar_t* key, long value) {
  CMyList* bucket = key ? GetTable(static_cast<unsigned int>(HashFunction(key))) : nullptr;
  if (!bucket) return false;
  for (_tNode_t* n = bucket->NodeByIndex(0); n; n = n->pNext) {
    auto* stored = static_cast<const wchar_t*>(n->pItem);
    if (n->lSortValue == value && stored && wcscmp(stored, key) == 0) return bucket->RemoveByNode(n);
  }
  return false;
}

void CHashTable::RemoveAll() {
  if (!m_ppTables) return;
  for (int i = 0; i < m_nTableCount; ++i)
    if (m_ppTables[i]) m_ppTables[i]->RemoveAll();
}

CMyList* CHashTable::GetTable(unsigned int index) {
  if (!m_ppTables || index >= static_cast<unsigned int>(m_nTableCount)) return nullptr;
  return m_ppTables[index];
}

int CHashTable::GetNumTables() { return m_nTableCount; }
