// CLock and CSlipLock.
#include <zorutils/text/Locks.h>

#include <zorutils/internal/TestSeams.h>
#include <zorutils/internal/WinApi.h>

namespace {

typedef BOOL(WINAPI* TryEnterFn)(LPCRITICAL_SECTION);

// Found at the first construction; null until then or while the system lacks it.
TryEnterFn volatile g_tryEnter = nullptr;
bool g_hideTryEnter = false;  // test seam: behave as a system without it

}  // namespace

void ZorTest_HideTryEnterCriticalSection(bool hide) {
  g_hideTryEnter = hide;
  g_tryEnter = nullptr;
}

CLock::CLock() {
  InitializeCriticalSection(&m_cs);
  if (!g_tryEnter && !g_hideTryEnter)
    g_tryEnter = zor::GetProcAddressAs<TryEnterFn>(L"Kernel32", "TryEnterCriticalSection");
}

CLock::~CLock() { DeleteCriticalSection(&m_cs); }

void CLock::Lock() { EnterCriticalSection(&m_cs); }

int CLock::TryToLock() {
  TryEnterFn tryEnter = g_tryEnter;
  if (tryEnter) return tryEnter(&m_cs);
  Lock();
  return 1;
}

void CLock::Unlock() { LeaveCriticalSection(&m_cs); }

CSlipLock::CSlipLock()
    : m_hLock(CreateEventW(nullptr, FALSE, TRUE, L"")),
      m_hGuard(CreateEventW(nullptr, FALSE, TRUE, L"")),
      m_owner(0),
      m_depth(0) {}

CSlipLock::~CSlipLock() {
  if (m_hLock) CloseHandle(m_hLock);
  if (m_hGuard) CloseHandle(m_hGuard);
}

bool CSlipLock::Lock() { return LockWithTimeout(INFINITE); }

bool CSlipLock::RequestLock() { return LockWithTimeout(0); }

bool CSlipLock::LockWithTimeout(unsigned long ms) {
  const DWORD me = GetCurrentThreadId();
  WaitForSingleObject(m_hGuard, INFINITE);
  if (m_owner == me) {
    ++m_depth;
    SetEvent(m_hGuard);
    return true;
  }
  // Never wait for the lock while holding the guard: the owner needs the
  // guard to unlock.
  SetEvent(m_hGuard);
  if (WaitForSingleObject(m_hLock, ms) == WAIT_TIMEOUT) return false;
  WaitForSingleObject(m_hGuard, INFINITE);
  m_owner = me;
  m_depth = 1;
  SetEvent(m_hGuard);
  return true;
}

void CSlipLock::Unlock() {
  const DWORD me = GetCurrentThreadId();
  WaitForSingleObject(m_hGuard, INFINITE);
  if (m_owner != me) {
    SetEvent(m_hGuard);
    return;
  }
  if (m_depth > 1) {
    --m_depth;
    SetEvent(m_hGuard);
    return;
  }
  m_owner = 0;
  m_depth = 0;
  SetEvent(m_hGuard);
  SetEvent(m_hLock);
}
