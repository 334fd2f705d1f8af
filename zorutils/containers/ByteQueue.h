// CByteQueue: a thread-safe first-in first-out queue of bytes.
//
// Writers append blocks, readers take any number of bytes from the front.
// Data sits in a sequence of buffers, front first. A buffer that has been read
// empty is, when its capacity lies between the minimum and maximum recycle
// sizes (32,000 and 1,000,000 bytes), put at the back and refilled later
// instead of being freed: this is what keeps a steady producer/consumer pair
// from allocating at all.
//
// Every operation takes the queue's critical section, so producers and
// consumers may call from any thread; Lock()/Unlock() make a sequence of
// calls atomic (the section is re-entrant). All sizes and counts are in
// bytes; the unsigned long counters wrap past 4 GiB.
//
// Decision where the classic behaviour could lose data: emptied buffers kept
// for reuse always stay behind every buffer that holds data. New data is
// appended only after the last buffer holding data (into its free space, then
// into the empty buffers behind it), and a new buffer is placed right after
// the last buffer holding data. Without switching the recycle flag off while
// empty buffers are kept, this is exactly the classic order; with it, no byte
// can end up stranded behind an empty buffer or overtake older bytes.
#pragma once

#include <zorutils/Export.h>
#include <zorutils/containers/DynArray.h>

#include <windows.h>

/// One buffer of the queue.
struct TQueueBuffer {
  unsigned char* pBlock;      ///< heap block of nCapacity bytes, or null
  unsigned char* pRead;       ///< first unread byte; null when the buffer is empty
  unsigned long nHeld;        ///< unread bytes
  unsigned long nCapacity;    ///< size of the block
  unsigned long nFreeAtEnd;   ///< bytes after the written part still free
};

class ZORUTILS_API CByteQueue {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Empty; recycling on, limits 32,000 and 1,000,000 bytes.
  CByteQueue();
  /// Deep copies: every source buffer holding unread bytes is copied into a
  /// new buffer of exactly that size; the recycle flag and limits are copied.
  /// Assignment first frees the target's buffers. Self-assignment does
  /// nothing. When memory runs out the copy holds only the leading part of
  /// the source's bytes, in order. The source is read under its own lock and
  /// the target filled under its own, never both at once.
  CByteQueue(const CByteQueue& other);
  CByteQueue& operator=(const CByteQueue& other);
  /// Frees every buffer, then deletes the lock. No other thread may still be
  /// using the queue or holding Lock().
  ~CByteQueue();

  /// Appends `n` bytes: first into kept buffers (when recycling is on), the
  /// rest into one new buffer of exactly that size. False for null `data`,
  /// `n` 0, or when memory ran out (the bytes stored so far stay queued).
  bool AddData(const unsigned char* data, unsigned long n);
  /// Stores as much of `data` as fits into existing buffers (the free space
  /// after the newest bytes and the emptied buffers kept behind them, even
  /// with recycling off); returns the number of bytes stored, the leading
  /// part of `data` (0 for null `data` or `n` 0). Never allocates.
  unsigned long AddDataToRecycledBuffers(const unsigned char* data, unsigned long n);
  /// Moves up to `n` bytes from the front into `out` (which must hold `n`
  /// bytes) and returns how many; 0 for null `out`, `n` 0 or an empty queue.
  /// Emptied buffers are kept for reuse (recycling on and capacity within the
  /// limits) or freed.
  unsigned long GetData(unsigned char* out, unsigned long n);
  /// Unread bytes in the whole queue.
  unsigned long TotalBytesAvailable();
  /// Frees every buffer.
  void RemoveEverything();

  /// Switches keeping emptied buffers for reuse on or off (on by default).
  /// Switching it off frees nothing already kept; AddData then puts every
  /// block into a new buffer of its own, and GetData frees emptied buffers.
  void SetRecycleBuffers(bool recycle);
  bool RecycleBuffers();
  /// The capacity range, in bytes, of buffers that are kept for reuse (32,000
  /// and 1,000,000, inclusive; fixed).
  unsigned long MinRecycleBufferSize();
  unsigned long MaxRecycleBufferSize();

  /// Enter / leave the queue's critical section (re-entrant), to make several
  /// calls atomic. Every Lock() needs its Unlock() on the same thread; an
  /// Unlock() without a Lock() corrupts the section.
  void Lock();
  void Unlock();

protected:
  // Both with the lock held.
  void FreeAllBuffers();
  unsigned long AddToKeptBuffers(const unsigned char* data, unsigned long n);

  CDynArray<TQueueBuffer*> m_buffers;  // front first
  CRITICAL_SECTION m_cs;
  bool m_bRecycle;
  unsigned long m_nMinRecycleSize;
  unsigned long m_nMaxRecycleSize;
};

static_assert(sizeof(CByteQueue) == (sizeof(void*) == 4 ? 48 : 72),
              "CByteQueue: buffer array, critical section, flag and two sizes");
