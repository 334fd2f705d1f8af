// CLock, a critical section with a non-blocking attempt, and CSlipLock, a
// recursive lock that can be waited for with a timeout or merely requested.
#pragma once

#include <zorutils/Export.h>

#include <windows.h>

/// A critical section: recursive, owned by the thread that entered it. Not
/// copyable. Destroying it while a thread holds or waits for it is an error,
/// as for any critical section.
class ZORUTILS_API CLock {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Initialises the section; the first construction also looks up the
  /// system's TryEnterCriticalSection (retried while it is not found).
  CLock();
  /// Deletes the section.
  ~CLock();
  /// Enters the section (blocking, recursive).
  void Lock();
  /// Non-zero when the section was entered without waiting. On a system that
  /// lacks TryEnterCriticalSection it waits like Lock() and returns 1.
  int TryToLock();
  /// Leaves the section once (one Unlock per successful Lock/TryToLock). A
  /// thread that does not hold it must not call this: as with
  /// LeaveCriticalSection, that corrupts the section and later callers may
  /// hang.
  void Unlock();

private:
  CLock(const CLock&) = delete;
  CLock& operator=(const CLock&) = delete;

  CRITICAL_SECTION m_cs;
};

/// A recursive lock that can be waited for with a timeout (milliseconds) or
/// only requested. Ownership is per thread: the owner may lock again (the
/// depth is counted) and must unlock as often; a thread that ends while
/// owning it leaves it held for good. Not copyable. Should its events fail to
/// be created, every lock call succeeds at once (no exclusion).
class ZORUTILS_API CSlipLock {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Creates the lock and guard events (auto-reset, signalled, unnamed).
  CSlipLock();
  /// Closes both events; the lock must no longer be in use.
  ~CSlipLock();
  /// Waits without limit; true.
  bool Lock();
  /// Takes the lock only if it is free now or already the caller's; true if
  /// it did. Never waits for another owner.
  bool RequestLock();
  /// True when the calling thread holds the lock afterwards; false when `ms`
  /// milliseconds passed first (INFINITE waits without limit, 0 only tries).
  /// The owner may lock again (depth counted).
  bool LockWithTimeout(unsigned long ms);
  /// Releases one level; the last one frees the lock for one waiting thread.
  /// A call by a thread that does not own it does nothing.
  void Unlock();

private:
  CSlipLock(const CSlipLock&) = delete;
  CSlipLock& operator=(const CSlipLock&) = delete;

  HANDLE m_hLock;   // signalled while the lock is free
  HANDLE m_hGuard;  // a small mutex around the two fields below
  DWORD m_owner;    // owning thread, 0 when free
  int m_depth;      // how often the owner holds it
};

static_assert(sizeof(CLock) == sizeof(CRITICAL_SECTION), "CLock is exactly its critical section");
