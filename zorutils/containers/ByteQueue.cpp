// CByteQueue: buffers in a CDynArray, front first. Empty buffers kept for
// reuse always trail every buffer that holds data, so a read can stop at the
// first empty buffer and a write never lands in front of older bytes.
#include <zorutils/containers/ByteQueue.h>

#include <zorutils/internal/Handles.h>

#include <cstdlib>
#include <cstring>

namespace {

const unsigned long kMinRecycle = 32000;
const unsigned long kMaxRecycle = 1000000;

inline unsigned long Min(unsigned long a, unsigned long b) { return a < b ? a : b; }

// A new buffer holding exactly `n` bytes of `data`; null when out of memory.
TQueueBuffer* NewBuffer(const unsigned char* data, unsigned long n) {
  auto* b = static_cast<TQueueBuffer*>(std::malloc(sizeof(TQueueBuffer)));
  if (!b) return nullptr;
  b->pBlock = static_cast<unsigned char*>(std::malloc(n));
  if (!b->pBlock) {
    std::free(b);
    return nullptr;
  }
  std::memcpy(b->pBlock, data, n);
  b->pRead = b->pBlock;
  b->nHeld = n;
  b->nCapacity = n;
  b->nFreeAtEnd = 0;
  return b;
}

void FreeBuffer(TQueueBuffer* b) {
  if (!b) return;
  std::free(b->pBlock);
  std::free(b);
}

// Writes as much of `data` as fits into an existing buffer that is empty or
// has free space after its data; returns the bytes written.
unsigned long WriteInto(TQueueBuffer* b, const unsigned char* data, unsigned long n) {
  unsigned long written;
  if (b->nHeld > 0 && b->nFreeAtEnd > 0 && b->nFreeAtEnd < b->nCapacity) {
    // Append after the unread data.
    written = Min(n, b->nFreeAtEnd);
    std::memcpy(b->pBlock + (b->nCapacity - b->nFreeAtEnd), data, written);
    b->nHeld += written;
    b->nFreeAtEnd -= written;
  } else {
    // An empty, kept buffer: start again at the beginning of its block.
    written = Min(n, b->nCapacity);
    std::memcpy(b->pBlock, data, written);
    b->nFreeAtEnd = b->nCapacity - written;
    b->nHeld = written;
    b->pRead = b->pBlock;
  }
  if (!b->pRead) b->pRead = b->pBlock;
  return written;
}

// Index of the last buffer holding data, or -1.
int LastWithData(const CDynArray<TQueueBuffer*>& buffers) {
  for (int i = buffers.GetSize() - 1; i >= 0; --i)
    if (buffers[i]->nHeld > 0) return i;
  return -1;
}

}  // namespace

CByteQueue::CByteQueue() : m_bRecycle(true), m_nMinRecycleSize(kMinRecycle), m_nMaxRecycleSize(kMaxRecycle) {
  InitializeCriticalSection(&m_cs);
}

CByteQueue::CByteQueue(const CByteQueue& other)
    : m_bRecycle(true), m_nMinRecycleSize(kMinRecycle), m_nMaxRecycleSize(kMaxRecycle) {
  InitializeCriticalSection(&m_cs);
  *this = other;
}

CByteQueue& CByteQueue::operator=(const CByteQueue& other) {
  if (&other == this) return *this;
  // Copy the source under its own lock, then install the copies under ours:
  // never holding both locks at once means a = b and b = a on two threads
  // cannot deadlock.
  CRITICAL_SECTION& sourceLock = const_cast<CRITICAL_SECTION&>(other.m_cs);
  TQueueBuffer** copies = nullptr;
  int copied = 0;
  bool recycle;
  unsigned long minSize, maxSize;
  {
    zor::CsLock lock(sourceLock);
    const int n = other.m_buffers.GetSize();
    if (n > 0) copies = static_cast<TQueueBuffer**>(std::malloc(sizeof(TQueueBuffer*) * static_cast<size_t>(n)));
    for (int i = 0; i < n && copies; ++i) {
      const TQueueBuffer* b = other.m_buffers[i];
      if (b->nHeld == 0) continue;
      TQueueBuffer* copy = NewBuffer(b->pRead, b->nHeld);
      if (!copy) break;  // out of memory: keep the bytes copied so far, in order
      copies[copied++] = copy;
    }
    recycle = other.m_bRecycle;
    minSize = other.m_nMinRecycleSize;
    maxSize = other.m_nMaxRecycleSize;
  }
  zor::CsLock lock(m_cs);
  FreeAllBuffers();
  for (int i = 0; i < copied; ++i)
    if (!m_buffers.Add(copies[i])) FreeBuffer(copies[i]);
  std::free(copies);
  m_bRecycle = recycle;
  m_nMinRecycleSize = minSize;
  m_nMaxRecycleSize = maxSize;
  return *this;
}

CByteQueue::~CByteQueue() {
  {
    zor::CsLock lock(m_cs);
    FreeAllBuffers();
  }
  DeleteCriticalSection(&m_cs);
}

void CByteQueue::FreeAllBuffers() {
  for (int i = 0; i < m_buffers.GetSize(); ++i) FreeBuffer(m_buffers[i]);
  m_buffers.RemoveAll();
  m_buffers.FreeExtra();
}

unsigned long CByteQueue::AddToKeptBuffers(const unsigned char* data, unsigned long n) {
  // Only the last buffer holding data and the empty ones behind it may take
  // new bytes; anything earlier would put them in front of older bytes.
  const int count = m_buffers.GetSize();
  const int last = LastWithData(m_buffers);
  unsigned long stored = 0;
  for (int i = last < 0 ? 0 : last; i < count && stored < n; ++i) {
    TQueueBuffer* b = m_buffers[i];
    if (!b->pBlock || b->nCapacity == 0) continue;
    if (b->nHeld > 0 && b->nFreeAtEnd == 0) continue;  // full
    stored += WriteInto(b, data + stored, n - stored);
  }
  return stored;
}

bool CByteQueue::AddData(const unsigned char* data, unsigned long n) {
  if (!data || n == 0) return false;
  zor::CsLock lock(m_cs);
  unsigned long stored = m_bRecycle ? AddToKeptBuffers(data, n) : 0;
  if (stored == n) return true;
  TQueueBuffer* b = NewBuffer(data + stored, n - stored);
  if (!b) return false;
  // Right behind the last buffer holding data; that is the back unless empty
  // buffers were kept while recycling was switched off.
  const int at = LastWithData(m_buffers) + 1;
  const bool added = at == m_buffers.GetSize() ? m_buffers.Add(b) : m_buffers.InsertAt(at, b);
  if (!added) {
    FreeBuffer(b);
    return false;
  }
  return true;
}

unsigned long CByteQueue::AddDataToRecycledBuffers(const unsigned char* data, unsigned long n) {
  if (!data || n == 0) return 0;
  zor::CsLock lock(m_cs);
  return AddToKeptBuffers(data, n);
}

unsigned long CByteQueue::GetData(unsigned char* out, unsigned long n) {
  if (!out || n == 0) return 0;
  zor::CsLock lock(m_cs);
  unsigned long copied = 0;
  int touched = 0;
  for (int i = 0; i < m_buffers.GetSize() && copied < n; ++i) {
    TQueueBuffer* b = m_buffers[i];
    if (b->nHeld == 0) break;  // only empty buffers follow
    const unsigned long take = Min(n - copied, b->nHeld);
    std::memcpy(out + copied, b->pRead, take);
    copied += take;
    b->nHeld -= take;
    b->pRead = b->nHeld ? b->pRead + take : nullptr;
    touched = i + 1;
  }
  // Emptied buffers leave the front: kept at the back when their size is
  // worth keeping, freed otherwise. Re-adding never reallocates the array
  // because the same slot was just given up.
  for (int k = 0; k < touched; ++k) {
    TQueueBuffer* b = m_buffers[0];
    if (b->nHeld > 0) break;
    m_buffers.RemoveAt(0);
    if (m_bRecycle && b->nCapacity >= m_nMinRecycleSize && b->nCapacity <= m_nMaxRecycleSize) {
      b->nFreeAtEnd = b->nCapacity;
      b->pRead = nullptr;
      if (m_buffers.Add(b)) continue;
    }
    FreeBuffer(b);
  }
  return copied;
}

unsigned long CByteQueue::TotalBytesAvailable() {
  zor::CsLock lock(m_cs);
  unsigned long total = 0;
  for (int i = 0; i < m_buffers.GetSize(); ++i) total += m_buffers[i]->nHeld;
  return total;
}

void CByteQueue::RemoveEverything() {
  zor::CsLock lock(m_cs);
  FreeAllBuffers();
}

void CByteQueue::SetRecycleBuffers(bool recycle) {
  zor::CsLock lock(m_cs);
  m_bRecycle = recycle;
}

bool CByteQueue::RecycleBuffers() {
  zor::CsLock lock(m_cs);
  return m_bRecycle;
}

unsigned long CByteQueue::MinRecycleBufferSize() { return m_nMinRecycleSize; }

unsigned long CByteQueue::MaxRecycleBufferSize() { return m_nMaxRecycleSize; }

void CByteQueue::Lock() { EnterCriticalSection(&m_cs); }

void CByteQueue::Unlock() { LeaveCriticalSection(&m_cs); }
