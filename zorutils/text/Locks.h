// CLock, a critical section with a non-blocking attempt, and CSlipLock, a
// recursive lock that can be waited for with a timeout or merely requested.
#pragma once

#include <zorutils/Export.h>

#include <windows.h>

class ZORUTILS_API CLock {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Initialises the section; the first construction also looks up the
  /// system's TryEnterCriticalSection (retried while it is not found).
  CLock();
  ~CLock();
  /// Enters the section (blocking, recursive).
  void Lock();
  /// Non-zero when the section was entered without waiting. On a system that
  /// lacks TryEnterCriticalSection it waits like Lock() and returns 1.
  int TryToLock();
  void Unlock();

private:
  CLock(const CLock&) = delete;
  CLock& operator=(const CLock&) = delete;

  CRITICAL_SECTION m_cs;
};

class ZORUTILS_API CSlipLock {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Creates the lock and guard events (auto-reset, signalled, unnamed).
  CSlipLock();
  ~CSlipLock();
  /// Waits without limit; true.
  bool Lock();
  /// Takes the lock only if it is free now or already the caller's.
  bool RequestLock();
  /// True when the calling thread holds the lock afterwards; false when `ms`
  /// milliseconds passed first. The owner may lock again (depth counted).
  bool LockWithTimeout(unsigned long ms);
  /// Releases one level; a call by a thread that does not own it does nothing.
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
