// Internet downloads over WinINet. A download runs on a thread of its own and
// writes into "<file>.<thread id>.part" beside the destination, so that the
// destination only ever holds a complete reply: the part file is moved over it
// at the end, or deleted when anything went wrong.
#include <zorfutls/zorfutls.h>

#include <wininet.h>

#include <cstdlib>
#include <cwchar>
#include <new>
#include <string>

#include "zorversion.h"

namespace {

struct LockGuard {
  explicit LockGuard(CRITICAL_SECTION* cs) : m_cs(cs) { EnterCriticalSection(m_cs); }
  ~LockGuard() { LeaveCriticalSection(m_cs); }
  CRITICAL_SECTION* m_cs;
};

struct NetHandle {  // an HINTERNET closed when the scope ends
  HINTERNET h = nullptr;
  ~NetHandle() { if (h) InternetCloseHandle(h); }
};

struct FileHandle {
  HANDLE h = INVALID_HANDLE_VALUE;
  ~FileHandle() { Close(); }
  void Close() {
    if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
    h = INVALID_HANDLE_VALUE;
  }
};

wchar_t* CopyText(const wchar_t* s) {
  size_t n = wcslen(s) + 1;
  wchar_t* copy = new (std::nothrow) wchar_t[n];
  if (copy) wmemcpy(copy, s, n);
  return copy;
}

// The parts of a URL a request needs; false for anything but http and https
// with a host.
struct UrlParts {
  std::wstring host, pathAndQuery;
  INTERNET_PORT port = 0;
  bool secure = false;
};

bool CrackUrl(const wchar_t* url, UrlParts* out) {
  URL_COMPONENTSW c = {};
  c.dwStructSize = sizeof c;
  c.dwHostNameLength = c.dwUrlPathLength = c.dwExtraInfoLength = 1;  // point into `url`
  if (!InternetCrackUrlW(url, 0, 0, &c)) return false;
  if (c.nScheme != INTERNET_SCHEME_HTTP && c.nScheme != INTERNET_SCHEME_HTTPS) return false;
  if (!c.lpszHostName || c.dwHostNameLength == 0) return false;
  out->secure = c.nScheme == INTERNET_SCHEME_HTTPS;
  out->host.assign(c.lpszHostName, c.dwHostNameLength);
  out->port = c.nPort;  // the scheme's default (80, 443) when the URL names none
  if (c.lpszUrlPath) out->pathAndQuery.assign(c.lpszUrlPath, c.dwUrlPathLength);
  if (c.lpszExtraInfo) out->pathAndQuery.append(c.lpszExtraInfo, c.dwExtraInfoLength);
  if (out->pathAndQuery.empty()) out->pathAndQuery = L"/";
  return true;
}

}  // namespace

// ---------------------------------------------------------------------------

MyInternetAccess::MyInternetAccess(const wchar_t* contact) : m_session(nullptr) {
  // Services that ask callers to identify themselves want a name, a version
  // and a way to reach whoever runs the program.
  if (contact && *contact)
    _snwprintf(m_userAgent, 191, L"zorfutls/%hs ( %.127ls )", ZOR_VERSION_STRING, contact);
  else
    _snwprintf(m_userAgent, 191, L"zorfutls/%hs", ZOR_VERSION_STRING);
  m_userAgent[191] = 0;
  m_session = InternetOpenW(m_userAgent, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0);
}

MyInternetAccess::~MyInternetAccess() {
  if (m_session) InternetCloseHandle(m_session);
}

bool MyInternetAccess::IsOpen() const { return m_session != nullptr; }
void* MyInternetAccess::Session() const { return m_session; }
const wchar_t* MyInternetAccess::UserAgent() const { return m_userAgent; }

// ---------------------------------------------------------------------------

CInternetDownload::CInternetDownload()
    : m_session(nullptr), m_thread(nullptr), m_url(nullptr), m_file(nullptr), m_busy(0),
      m_stop(0), m_succeeded(0), m_status(0), m_total(0), m_received(0), m_request(nullptr) {
  InitializeCriticalSection(&m_lock);
}

CInternetDownload::~CInternetDownload() {
  TerminateDownload();
  if (m_thread) {
    WaitForSingleObject(m_thread, INFINITE);
    CloseHandle(m_thread);
  }
  delete[] m_url;
  delete[] m_file;
  DeleteCriticalSection(&m_lock);
}

int CInternetDownload::StartDownload(MyInternetAccess* session, const wchar_t* url,
                                     const wchar_t* destinationFile, int flags) {
  (void)flags;
  UrlParts parts;
  if (!session || !session->IsOpen() || !url || !*url || !destinationFile || !*destinationFile ||
      !CrackUrl(url, &parts))
    return 0;
  if (InterlockedCompareExchange(&m_busy, 1, 0) != 0) return 0;  // one at a time

  // The previous download has ended (it cleared the busy flag): reap its thread.
  if (m_thread) {
    WaitForSingleObject(m_thread, INFINITE);
    CloseHandle(m_thread);
    m_thread = nullptr;
  }
  delete[] m_url;
  delete[] m_file;
  m_url = CopyText(url);
  m_file = CopyText(destinationFile);
  m_session = session->Session();
  m_stop = 0;
  m_succeeded = 0;
  m_status = 0;
  m_total = 0;
  m_received = 0;
  if (m_url && m_file) m_thread = CreateThread(nullptr, 0, ThreadMain, this, 0, nullptr);
  if (!m_thread) {
    InterlockedExchange(&m_busy, 0);
    return 0;
  }
  return 1;
}

void CInternetDownload::TerminateDownload() {
  InterlockedExchange(&m_stop, 1);
  // WinINet gives up a read blocked on the request once its handle is closed.
  LockGuard lock(&m_lock);
  if (m_request) {
    InternetCloseHandle(m_request);
    m_request = nullptr;
  }
}

bool CInternetDownload::IsBusy() const { return m_busy != 0; }
bool CInternetDownload::Succeeded() const { return m_busy == 0 && m_succeeded != 0; }
unsigned long CInternetDownload::StatusCode() const { return m_status; }
unsigned long CInternetDownload::TotalBytes() const { return m_total; }
unsigned long CInternetDownload::ReceivedBytes() const { return m_received; }

unsigned long __stdcall CInternetDownload::ThreadMain(void* self) {
  CInternetDownload* me = static_cast<CInternetDownload*>(self);
  me->Run();
  InterlockedExchange(&me->m_busy, 0);  // last: the object may be reused or destroyed now
  return 0;
}

void CInternetDownload::Run() {
  UrlParts parts;
  if (!CrackUrl(m_url, &parts)) return;
  NetHandle connection;
  connection.h = InternetConnectW(static_cast<HINTERNET>(m_session), parts.host.c_str(), parts.port,
                                  nullptr, nullptr, INTERNET_SERVICE_HTTP, 0, 0);
  if (!connection.h) return;
  DWORD requestFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_NO_UI |
                       INTERNET_FLAG_PRAGMA_NOCACHE | INTERNET_FLAG_NO_COOKIES;
  if (parts.secure) requestFlags |= INTERNET_FLAG_SECURE;
  HINTERNET request = HttpOpenRequestW(connection.h, L"GET", parts.pathAndQuery.c_str(), nullptr,
                                       nullptr, nullptr, requestFlags, 0);
  if (!request) return;
  {
    // From here on TerminateDownload may close the request under us; whoever
    // finds m_request set closes it, exactly once.
    LockGuard lock(&m_lock);
    if (m_stop) {
      InternetCloseHandle(request);
      return;
    }
    m_request = request;
  }

  std::wstring partFile = m_file;
  wchar_t suffix[24];
  _snwprintf(suffix, 23, L".%lx.part", GetCurrentThreadId());
  suffix[23] = 0;
  partFile += suffix;
  FileHandle out;
  bool complete = false;

  if (HttpSendRequestW(request, nullptr, 0, nullptr, 0) && !m_stop) {
    DWORD value = 0, size = sizeof value;
    if (HttpQueryInfoW(request, HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &value, &size, nullptr))
      m_status = value;
    value = 0;
    size = sizeof value;
    if (HttpQueryInfoW(request, HTTP_QUERY_CONTENT_LENGTH | HTTP_QUERY_FLAG_NUMBER, &value, &size, nullptr))
      m_total = value;
    // An error page is not the file that was asked for: only 2xx is saved.
    if (m_status >= 200 && m_status < 300)
      out.h = CreateFileW(partFile.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                          FILE_ATTRIBUTE_NORMAL, nullptr);
  }
  if (out.h != INVALID_HANDLE_VALUE) {
    const DWORD kChunk = 64 * 1024;
    char* buffer = new (std::nothrow) char[kChunk];
    while (buffer && !m_stop) {
      DWORD got = 0, written = 0;
      if (!InternetReadFile(request, buffer, kChunk, &got)) break;
      if (got == 0) {
        // The end of the reply; a connection that closed before the announced
        // length arrived is a failure, not a short file.
        complete = m_total == 0 || m_received == m_total;
        break;
      }
      if (!WriteFile(out.h, buffer, got, &written, nullptr) || written != got) break;
      InterlockedExchangeAdd(reinterpret_cast<volatile LONG*>(&m_received), static_cast<LONG>(got));
    }
    delete[] buffer;
    out.Close();
  }
  {
    LockGuard lock(&m_lock);
    if (m_request) InternetCloseHandle(m_request);
    m_request = nullptr;
  }
  if (complete && !m_stop &&
      MoveFileExW(partFile.c_str(), m_file, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
    m_succeeded = 1;
  else
    DeleteFileW(partFile.c_str());
}
