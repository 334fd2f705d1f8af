// CShortcutReader: the worker thread and its request hand-over.
#include <zorutils/ui/ShortcutReader.h>

#include <zorutils/internal/Handles.h>
#include <zorutils/system/SystemInfo.h>

#include <windows.h>
#include <objbase.h>
#include <objidl.h>
#include <shlobj.h>
#include <shobjidl.h>

#include <cstring>
#include <map>

namespace {

// The worker's thread handle, kept beside the reader rather than in it: the
// reader's layout is fixed, yet the destructor must wait for the very thread
// to end (a signalled event would leave it still running for a moment).
class WorkerThreads {
public:
  WorkerThreads() { InitializeCriticalSection(&m_cs); }
  ~WorkerThreads() { DeleteCriticalSection(&m_cs); }
  void Put(const void* reader, HANDLE thread) {
    zor::CsLock hold(m_cs);
    m_threads[reader] = thread;
  }
  HANDLE Take(const void* reader) {
    zor::CsLock hold(m_cs);
    auto it = m_threads.find(reader);
    if (it == m_threads.end()) return nullptr;
    HANDLE thread = it->second;
    m_threads.erase(it);
    return thread;
  }

private:
  CRITICAL_SECTION m_cs;
  std::map<const void*, HANDLE> m_threads;
};

WorkerThreads& Workers() {
  static WorkerThreads workers;
  return workers;
}

// Holds a COM interface for the scope.
template <class I>
struct ComRef {
  I* p = nullptr;
  ~ComRef() {
    if (p) p->Release();
  }
};

}  // namespace

CShortcutReader::CShortcutReader() {
  std::memset(&m_props, 0, sizeof m_props);
  m_props.dwTimeout = 50;
  if (GetWindowsSystemVersion(nullptr) < kWinVerNT4) return;
  m_props.hDoneEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  m_props.hRequestEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (m_props.hDoneEvent && m_props.hRequestEvent) {
    // Busy until the worker has its COM objects: requests wait for that.
    m_props.bBusy = true;
    DWORD id = 0;
    if (HANDLE thread = CreateThread(nullptr, 0, WorkerMain, this, 0, &id)) {
      Workers().Put(this, thread);
      return;
    }
    m_props.bBusy = false;
  }
  if (m_props.hDoneEvent) CloseHandle(m_props.hDoneEvent);
  if (m_props.hRequestEvent) CloseHandle(m_props.hRequestEvent);
  m_props.hDoneEvent = m_props.hRequestEvent = nullptr;
}

CShortcutReader::~CShortcutReader() {
  RequestAbort();
  if (m_props.hRequestEvent) SetEvent(m_props.hRequestEvent);
  if (HANDLE thread = Workers().Take(this)) {
    // A request in progress ends within the shell's resolve time limit.
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
  }
  if (m_props.hDoneEvent) CloseHandle(m_props.hDoneEvent);
  if (m_props.hRequestEvent) CloseHandle(m_props.hRequestEvent);
}

DWORD WINAPI CShortcutReader::WorkerMain(void* self) {
  static_cast<CShortcutReader*>(self)->Work();
  return 0;
}

void CShortcutReader::Work() {
  const bool com = SUCCEEDED(CoInitialize(nullptr));
  {
    ComRef<IShellLinkW> link;
    ComRef<IPersistFile> file;
    if (!com ||
        FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                reinterpret_cast<void**>(&link.p))) ||
        FAILED(link.p->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file.p)))) {
      // Nothing can be resolved here: the reader refuses requests from now on
      // instead of letting them wait for a worker that is gone.
      m_lock.Lock();
      m_props.bAbort = true;
      m_props.bBusy = false;
      m_lock.Unlock();
      SetEvent(m_props.hDoneEvent);
    } else {
      SetBusy(false);
      for (;;) {
        WaitForSingleObject(m_props.hRequestEvent, INFINITE);
        ResetEvent(m_props.hRequestEvent);
        if (AbortRequested()) break;
        SetBusy(true);
        wchar_t* out = m_props.pszTarget;
        // Read-only, and the shell may not rewrite the user's shortcut either.
        if (SUCCEEDED(file.p->Load(m_props.pszShortcut, STGM_READ))) {
          const DWORD timeout = m_props.dwTimeout > 0xFFFF ? 0xFFFF : m_props.dwTimeout;
          link.p->Resolve(nullptr, SLR_NO_UI | SLR_NOUPDATE | (timeout << 16));
          PIDLIST_ABSOLUTE items = nullptr;
          if (SUCCEEDED(link.p->GetIDList(&items)) && items) {
            wchar_t path[MAX_PATH] = {};
            if (SHGetPathFromIDListW(items, path) && path[0]) {
              const size_t n = wcsnlen(path, static_cast<size_t>(m_props.nTargetSize - 1));
              std::memcpy(out, path, n * sizeof(wchar_t));
              out[n] = 0;
            }
            CoTaskMemFree(items);
          }
        }
        SetEvent(m_props.hDoneEvent);
        SetBusy(false);
      }
      // Whoever still waits for an answer gets an empty one.
      SetEvent(m_props.hDoneEvent);
    }
  }
  if (com) CoUninitialize();
}

bool CShortcutReader::GetShortcutTarget(const wchar_t* shortcut, wchar_t* target, int capacity,
                                        DWORD timeoutMs) {
  if (target && capacity >= 1) target[0] = 0;
  if (!shortcut || !target || capacity < 1) return false;
  if (GetWindowsSystemVersion(nullptr) < kWinVerNT4) return false;
  if (!m_props.hDoneEvent || !m_props.hRequestEvent) return false;
  for (;;) {
    if (AbortRequested()) return false;
    if (TryClaim()) break;
    Sleep(100);
  }
  m_props.pszShortcut = shortcut;
  m_props.pszTarget = target;
  m_props.nTargetSize = capacity;
  m_props.dwTimeout = timeoutMs;
  ResetEvent(m_props.hDoneEvent);
  SetEvent(m_props.hRequestEvent);
  WaitForSingleObject(m_props.hDoneEvent, INFINITE);
  // The done event stays set: the next request resets it before it starts,
  // whereas a reset here could swallow the answer to a request that another
  // thread started the moment the worker turned idle.
  return target[0] != 0;
}

bool CShortcutReader::TryClaim() {
  m_lock.Lock();
  const bool claimed = !m_props.bBusy;
  if (claimed) m_props.bBusy = true;
  m_lock.Unlock();
  return claimed;
}

void CShortcutReader::SetBusy(bool busy) {
  m_lock.Lock();
  m_props.bBusy = busy;
  m_lock.Unlock();
}

void CShortcutReader::RequestAbort() {
  m_lock.Lock();
  m_props.bAbort = true;
  m_lock.Unlock();
}

bool CShortcutReader::ThreadBusy() {
  m_lock.Lock();
  const bool busy = m_props.bBusy;
  m_lock.Unlock();
  return busy;
}

bool CShortcutReader::AbortRequested() {
  m_lock.Lock();
  const bool abort = m_props.bAbort;
  m_lock.Unlock();
  return abort;
}
