// CMyArrayList: elements live in one malloc'ed block that grows and shrinks by
// one growth step; every insertion and removal goes through Grow/Shift/Shrink.
#include <zorutils/containers/ArrayList.h>

#include <zorfutls/zorfutls.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

const unsigned int kDefaultStep = 10;

unsigned int SafeStep(unsigned int step) {
  if (step == 0) {
    Log(L"CMyArrayList: growth step 0 is not supported, using 10");
    return kDefaultStep;
  }
  return step;
}

size_t Bytes(long long elements) { return static_cast<size_t>(elements) * sizeof(_tArrayElem_t); }

}  // namespace

// --- Construction ---------------------------------------------------------------

CMyArrayList::CMyArrayList()
    : m_pBlock(nullptr), m_pElements(nullptr), m_nCapacity(0), m_nCount(0), m_nReserved(0),
      m_nGrowthStep(kDefaultStep) {}

CMyArrayList::CMyArrayList(unsigned int step)
    : m_pBlock(nullptr), m_pElements(nullptr), m_nCapacity(0), m_nCount(0), m_nReserved(0),
      m_nGrowthStep(SafeStep(step)) {}

CMyArrayList::CMyArrayList(const CMyArrayList& other)
    : m_pBlock(nullptr), m_pElements(nullptr), m_nCapacity(0), m_nCount(0), m_nReserved(0),
      m_nGrowthStep(SafeStep(other.m_nGrowthStep)) {
  if (other.m_nCount > 0 && Grow(other.m_nCount)) {
    std::memcpy(m_pElements, other.m_pElements, Bytes(other.m_nCount));
    m_nCount = other.m_nCount;
  }
}

CMyArrayList::~CMyArrayList() { RemoveAll(); }

CMyArrayList& CMyArrayList::operator=(const CMyArrayList& other) {
  // Deliberately shallow (hosts use it to hand a view of the elements over).
  m_pBlock = other.m_pBlock;
  m_pElements = other.m_pElements;
  m_nCapacity = other.m_nCapacity;
  m_nCount = other.m_nCount;
  m_nReserved = other.m_nReserved;
  m_nGrowthStep = other.m_nGrowthStep;
  return *this;
}

void CMyArrayList::Copy(const CMyArrayList& other) {
  if (&other == this) return;
  RemoveAll();
  if (other.m_nCount > 0 && Grow(other.m_nCount)) {
    std::memcpy(m_pElements, other.m_pElements, Bytes(other.m_nCount));
    m_nCount = other.m_nCount;
  }
}

// --- Storage --------------------------------------------------------------------

bool CMyArrayList::Grow(int needed) {
  if (!m_pBlock) {
    long long step = m_nGrowthStep ? m_nGrowthStep : kDefaultStep;
    long long capacity = (needed > 0 ? needed / step + 1 : 1) * step;
    if (capacity > INT_MAX) return false;
    auto* block = static_cast<_tArrayElem_t*>(std::malloc(Bytes(capacity)));
    if (!block) return false;
    m_pBlock = m_pElements = block;
    m_nCapacity = static_cast<int>(capacity);
    return true;
  }
  if (needed <= m_nCapacity) return true;
  long long capacity = static_cast<long long>(m_nCapacity) + m_nGrowthStep;
  if (capacity > INT_MAX) return false;
  auto* block = static_cast<_tArrayElem_t*>(std::realloc(m_pBlock, Bytes(capacity)));
  if (!block) return false;  // the old block stays valid
  m_pBlock = m_pElements = block;
  m_nCapacity = static_cast<int>(capacity);
  return true;
}

void CMyArrayList::Shrink(int needed) {
  if (!m_pBlock || static_cast<long long>(needed) > static_cast<long long>(m_nCapacity) - m_nGrowthStep)
    return;
  if (needed < 1) {
    std::free(m_pBlock);
    m_pBlock = m_pElements = nullptr;
    m_nCapacity = 0;
    return;
  }
  int capacity = m_nCapacity - static_cast<int>(m_nGrowthStep);
  auto* block = static_cast<_tArrayElem_t*>(std::realloc(m_pBlock, Bytes(capacity)));
  if (!block) return;  // keep the larger block rather than lose the elements
  m_pBlock = m_pElements = block;
  m_nCapacity = capacity;
}

void CMyArrayList::Shift(int index, _tshift direction) {
  if (!m_pElements || index < 0) return;
  if (direction == SHIFT_UP) {
    if (index >= m_nCount || m_nCount >= m_nCapacity) return;
    std::memmove(m_pElements + index + 1, m_pElements + index, Bytes(m_nCount - index));
  } else {
    if (index >= m_nCount || index < 1) return;
    std::memmove(m_pElements + index - 1, m_pElements + index, Bytes(m_nCount - index));
  }
}

// --- Adding ---------------------------------------------------------------------

int CMyArrayList::AppendToTail(void* item, long value) {
  if (Grow(m_nCount + 1)) {
    m_pElements[m_nCount].pItem = item;
    m_pElements[m_nCount].lSortValue = value;
    ++m_nCount;
  }
  return m_nCount - 1;
}

int CMyArrayList::InsertNewHead(void* item, long value) {
  if (Grow(m_nCount + 1)) {
    Shift(0, SHIFT_UP);
    m_pElements[0].pItem = item;
    m_pElements[0].lSortValue = value;
    ++m_nCount;
  }
  return 0;
}

int CMyArrayList::InsertToIndex(int index, void* item, long value) {
  if (m_nCount == 0) return InsertNewHead(item, value);
  if (index >= m_nCount) return AppendToTail(item, value);
  if (index < 0) return -1;
  if (!Grow(m_nCount + 1)) return -1;
  Shift(index, SHIFT_UP);
  m_pElements[index].pItem = item;
  m_pElements[index].lSortValue = value;
  ++m_nCount;
  return index;
}

int CMyArrayList::AddSorted(void* item, long value) {
  if (m_nCount == 0 || value <= m_pElements[0].lSortValue) return InsertNewHead(item, value);
  if (value >= m_pElements[m_nCount - 1].lSortValue) return AppendToTail(item, value);
  // Invariant: element[lo] < value <= element[hi]; ends with hi == lo + 1.
  int lo = 0;
  int hi = m_nCount - 1;
  int mid = hi / 2;
  while (mid != lo) {
    if (m_pElements[mid].lSortValue < value)
      lo = mid;
    else
      hi = mid;
    mid = (hi - lo) / 2 + lo;
  }
  InsertToIndex(lo + 1, item, value);
  return lo + 1;
}

// --- Finding --------------------------------------------------------------------

void* CMyArrayList::Index(int index, long* value) {
  if (m_nCount == 0 || index < 0 || index >= m_nCount) return nullptr;
  if (value) *value = m_pElements[index].lSortValue;
  return m_pElements[index].pItem;
}

void* CMyArrayList::ElemBySortValue(long value, int* index, long* foundValue) {
  if (m_nCount == 0) return nullptr;
  int chosen;
  if (m_nCount <= 2) {
    chosen = (m_nCount == 2 && value >= m_pElements[1].lSortValue) ? 1 : 0;
  } else {
    int hi = m_nCount;
    int lo = 0;
    int mid = m_nCount / 2;
    while (mid != lo) {
      long v = m_pElements[mid].lSortValue;
      if (v == value) break;
      if (v > value)
        hi = mid;
      else
        lo = mid;
      mid = (hi - lo) / 2 + lo;
    }
    if (mid + 1 >= m_nCount)
      chosen = m_nCount - 1;
    else if (m_pElements[mid + 1].lSortValue == value)
      chosen = mid + 1;
    else
      chosen = mid;
  }
  if (index) *index = chosen;
  if (foundValue) *foundValue = m_pElements[chosen].lSortValue;
  return m_pElements[chosen].pItem;
}

void* CMyArrayList::FirstOfValue(long value, int* index) {
  if (m_nCount == 0) return nullptr;
  int at = 0;
  long found = 0;
  if (!ElemBySortValue(value, &at, &found) || found != value) return nullptr;
  return FirstOfValueAtIndex(at, index);
}

void* CMyArrayList::FirstOfValueAtIndex(int index, int* outIndex) {
  if (index < 0 || index >= m_nCount || !m_pElements[index].pItem) return nullptr;
  const long value = m_pElements[index].lSortValue;
  while (index > 0 && m_pElements[index - 1].lSortValue == value) --index;
  if (outIndex) *outIndex = index;
  return m_pElements[index].pItem;
}

void* CMyArrayList::LastOfValue(long value, int* index) {
  if (m_nCount == 0) return nullptr;
  int at = 0;
  long found = 0;
  if (!ElemBySortValue(value, &at, &found) || found != value) return nullptr;
  while (at + 1 < m_nCount && m_pElements[at + 1].lSortValue == value) ++at;
  if (index) *index = at;
  return m_pElements[at].pItem;
}

bool CMyArrayList::Member(void* item) { return MemberIndex(item) >= 0; }

int CMyArrayList::MemberIndex(void* item) {
  for (int i = 0; i < m_nCount; ++i)
    if (m_pElements[i].pItem == item) return i;
  return -1;
}

// --- Removing -------------------------------------------------------------------

bool CMyArrayList::Remove(void* item) {
  int index = MemberIndex(item);
  if (index < 0) return false;
  RemoveByIndex(index);
  return true;
}

void CMyArrayList::RemoveByIndex(int index) {
  if (index < 0 || index >= m_nCount) return;
  if (m_nCount > 1) Shift(index + 1, SHIFT_DOWN);
  --m_nCount;
  Shrink(m_nCount);
}

void CMyArrayList::RemoveAll() {
  Shrink(0);
  m_nCount = 0;
  if (m_pBlock) Log(L"RemoveAll list is not NULL!");
}

void CMyArrayList::RemoveAllButLeaveAllocation() { m_nCount = 0; }

// --- Sort values ----------------------------------------------------------------

void CMyArrayList::AdjustAllSortValues(long delta) {
  for (int i = 0; i < m_nCount; ++i)
    m_pElements[i].lSortValue = static_cast<long>(
        static_cast<unsigned long>(m_pElements[i].lSortValue) + static_cast<unsigned long>(delta));
}

void CMyArrayList::ScaleAllSortValues(double factor) {
  for (int i = 0; i < m_nCount; ++i) {
    double scaled = std::trunc(static_cast<double>(m_pElements[i].lSortValue) * factor);
    long result;
    if (std::isnan(scaled))
      result = 0;
    else if (scaled >= 2147483647.0)
      result = LONG_MAX;
    else if (scaled <= -2147483648.0)
      result = LONG_MIN;
    else
      result = static_cast<long>(scaled);
    m_pElements[i].lSortValue = result;
  }
}
