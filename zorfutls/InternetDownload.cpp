// Internet downloads over WinINet. A download runs on a thread of its own and
// writes into "<file>.<thread id>.part" beside the destination, so that the
// destination only ever holds a complete reply: the part file is moved over it
// at the end, or deleted when anything went wrong.
//
// Each download talks to WinINet asynchronously, in a session of its own with
// the host's user agent, and waits for either WinINet's completion or
// TerminateDownload. A blocking call could not be stopped: closing a request
// handle does not wake a read blocked on it everywhere (Wine keeps waiting
// until the server answers), and the destructor must not wait on a server.
#include <zorfutls/zorfutls.h>
#include <zorutils/internal/Handles.h>  // header-only RAII helpers, shared with zorutils

#include <wininet.h>

#include <cstdlib>
#include <cwchar>
#include <new>
#include <string>
#include <vector>

#include "zorversion.h"

namespace {

struct InternetHandleTraits {  // an HINTERNET: empty at null
  using Handle = HINTERNET;
  static Handle Invalid() { return nullptr; }
  static void Close(Handle h) { InternetCloseHandle(h); }
};
using NetHandle = zor::UniqueHandle<InternetHandleTraits>;

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
  // A line break in a URL would end the request line early and let the rest
  // pass for headers of the caller's choosing.
  for (const wchar_t* p = url; *p; ++p)
    if (*p < 0x20 || *p == 0x7F) return false;
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

// What a download shares with WinINet: an operation that went pending may
// finish (writing `available` or `got` and the buffer) after the download
// gave up on it, so these live until both have let go.
struct Job {
  static const DWORD kChunk = 64 * 1024;
  volatile LONG refs = 1;  // the download thread's, and the request handle's
  HANDLE wake = CreateEventW(nullptr, FALSE, FALSE, nullptr);  // completion or stop
  DWORD_PTR result = 0;
  DWORD available = 0, got = 0;
  char buffer[kChunk];

  ~Job() { if (wake) CloseHandle(wake); }
  void Release() {
    if (InterlockedDecrement(&refs) == 0) delete this;
  }
};

void CALLBACK OnStatus(HINTERNET, DWORD_PTR context, DWORD status, LPVOID info, DWORD) {
  Job* job = reinterpret_cast<Job*>(context);
  if (!job) return;
  if (status == INTERNET_STATUS_REQUEST_COMPLETE) {
    job->result = static_cast<INTERNET_ASYNC_RESULT*>(info)->dwResult;
    SetEvent(job->wake);
  } else if (status == INTERNET_STATUS_HANDLE_CLOSING) {
    job->Release();  // the request handle's last word
  }
}

// What the last reply of each download asked in its Retry-After header. Kept
// beside the download objects, not in them, so that CInternetDownload keeps
// the layout hosts were built against. A spin lock: the table is touched once
// per reply and once per question, and needs no set-up at load time.
struct RetryNote {
  const void* download;
  unsigned long seconds;
};
volatile LONG g_retryLock = 0;
std::vector<RetryNote>* g_retryNotes = nullptr;  // made on first use, lives for the process

struct RetryTableLock {
  RetryTableLock() {
    while (InterlockedCompareExchange(&g_retryLock, 1, 0) != 0) Sleep(0);
  }
  ~RetryTableLock() { InterlockedExchange(&g_retryLock, 0); }
};

void SetRetryNote(const void* download, unsigned long seconds) {
  RetryTableLock lock;
  if (!g_retryNotes) {
    if (!seconds) return;
    g_retryNotes = new (std::nothrow) std::vector<RetryNote>;
    if (!g_retryNotes) return;
  }
  for (size_t i = 0; i < g_retryNotes->size(); ++i)
    if ((*g_retryNotes)[i].download == download) {
      if (seconds) {
        (*g_retryNotes)[i].seconds = seconds;
      } else {
        (*g_retryNotes)[i] = g_retryNotes->back();
        g_retryNotes->pop_back();
      }
      return;
    }
  if (seconds) {
    try {
      g_retryNotes->push_back(RetryNote{download, seconds});
    } catch (...) {  // out of memory: the reply is taken as having asked nothing
    }
  }
}

unsigned long RetryNoteOf(const void* download) {
  RetryTableLock lock;
  if (g_retryNotes)
    for (const RetryNote& note : *g_retryNotes)
      if (note.download == download) return note.seconds;
  return 0;
}

// The reply's Retry-After in seconds: a number of seconds, or an HTTP date
// measured from the reply's Date (from the local clock when it has none).
unsigned long ReadRetryAfter(HINTERNET request) {
  const unsigned long kMostSeconds = 24 * 60 * 60;
  wchar_t text[64] = L"";
  DWORD size = sizeof text - sizeof(wchar_t);  // the last stays 0
  if (!HttpQueryInfoW(request, HTTP_QUERY_RETRY_AFTER, text, &size, nullptr)) return 0;
  const wchar_t* p = text;
  while (*p == L' ') ++p;
  if (*p >= L'0' && *p <= L'9') {
    unsigned long seconds = 0;
    for (; *p >= L'0' && *p <= L'9'; ++p) {
      seconds = seconds * 10 + static_cast<unsigned long>(*p - L'0');
      if (seconds > kMostSeconds) return kMostSeconds;
    }
    return seconds;
  }
  SYSTEMTIME until = {}, now = {};
  if (!InternetTimeToSystemTimeW(p, &until, 0)) return 0;
  size = sizeof now;
  if (!HttpQueryInfoW(request, HTTP_QUERY_DATE | HTTP_QUERY_FLAG_SYSTEMTIME, &now, &size, nullptr))
    GetSystemTime(&now);
  FILETIME a, b;
  if (!SystemTimeToFileTime(&until, &a) || !SystemTimeToFileTime(&now, &b)) return 0;
  const ULONGLONG u = (static_cast<ULONGLONG>(a.dwHighDateTime) << 32) | a.dwLowDateTime;
  const ULONGLONG n = (static_cast<ULONGLONG>(b.dwHighDateTime) << 32) | b.dwLowDateTime;
  if (u <= n) return 0;
  const ULONGLONG seconds = (u - n + 9999999) / 10000000;  // 100 ns units, rounded up
  return seconds > kMostSeconds ? kMostSeconds : static_cast<unsigned long>(seconds);
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

MyInternetAccess::MyInternetAccess(const wchar_t* application, const wchar_t* version,
                                   const wchar_t* contact)
    : m_session(nullptr) {
  const bool named = application && *application;
  if (!version) version = L"";
  if (!named)
    _snwprintf(m_userAgent, 191, L"zorfutls/%hs", ZOR_VERSION_STRING);
  else
    _snwprintf(m_userAgent, 191, L"%.47ls/%.23ls", application, version);
  m_userAgent[191] = 0;
  if (contact && *contact) {
    const size_t used = wcslen(m_userAgent);
    _snwprintf(m_userAgent + used, 191 - used, L" ( %.111ls )", contact);
    m_userAgent[191] = 0;
  }
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
      m_stop(0), m_succeeded(0), m_status(0), m_total(0), m_received(0), m_job(nullptr) {
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
  SetRetryNote(this, 0);
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
  m_stop = 0;
  m_succeeded = 0;
  m_status = 0;
  m_total = 0;
  m_received = 0;
  SetRetryNote(this, 0);
  // The thread owns and closes this session.
  m_session = InternetOpenW(session->UserAgent(), INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr,
                            INTERNET_FLAG_ASYNC);
  if (m_session) InternetSetStatusCallbackW(static_cast<HINTERNET>(m_session), OnStatus);
  if (m_url && m_file && m_session) m_thread = CreateThread(nullptr, 0, ThreadMain, this, 0, nullptr);
  if (!m_thread) {
    if (m_session) InternetCloseHandle(m_session);
    m_session = nullptr;
    InterlockedExchange(&m_busy, 0);
    return 0;
  }
  return 1;
}

void CInternetDownload::TerminateDownload() {
  InterlockedExchange(&m_stop, 1);
  zor::CsLock lock(m_lock);
  if (m_job) SetEvent(static_cast<Job*>(m_job)->wake);
}

bool CInternetDownload::IsBusy() const { return m_busy != 0; }
bool CInternetDownload::Succeeded() const { return m_busy == 0 && m_succeeded != 0; }
unsigned long CInternetDownload::StatusCode() const { return m_status; }
unsigned long CInternetDownload::TotalBytes() const { return m_total; }
unsigned long CInternetDownload::ReceivedBytes() const { return m_received; }
unsigned long CInternetDownload::RetryAfterSeconds() const { return RetryNoteOf(this); }

unsigned long __stdcall CInternetDownload::ThreadMain(void* self) {
  CInternetDownload* me = static_cast<CInternetDownload*>(self);
  me->Run();
  InternetCloseHandle(static_cast<HINTERNET>(me->m_session));
  me->m_session = nullptr;
  InterlockedExchange(&me->m_busy, 0);  // last: the object may be reused or destroyed now
  return 0;
}

void CInternetDownload::Run() {
  UrlParts parts;
  Job* job = new (std::nothrow) Job;
  if (!job) return;
  if (!job->wake || !CrackUrl(m_url, &parts)) {
    job->Release();
    return;
  }
  {
    zor::CsLock lock(m_lock);
    m_job = job;
  }
  // Whether a call that WinINet may finish later has succeeded; false as soon
  // as the download is told to stop. `pending` says it went the long way.
  bool pending = false;
  auto finished = [&](BOOL ok) {
    pending = false;
    if (ok) return m_stop == 0;
    if (GetLastError() != ERROR_IO_PENDING || m_stop) return false;
    WaitForSingleObject(job->wake, INFINITE);
    pending = true;
    return m_stop == 0 && job->result != 0;
  };

  NetHandle connection(InternetConnectW(static_cast<HINTERNET>(m_session), parts.host.c_str(),
                                        parts.port, nullptr, nullptr, INTERNET_SERVICE_HTTP, 0, 0));
  DWORD requestFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_NO_UI |
                       INTERNET_FLAG_PRAGMA_NOCACHE | INTERNET_FLAG_NO_COOKIES;
  if (parts.secure) requestFlags |= INTERNET_FLAG_SECURE;
  NetHandle request;
  if (connection) {
    InterlockedIncrement(&job->refs);  // given back when the request handle closes
    request.reset(HttpOpenRequestW(connection.get(), L"GET", parts.pathAndQuery.c_str(), nullptr,
                                   nullptr, nullptr, requestFlags, reinterpret_cast<DWORD_PTR>(job)));
    if (!request) job->Release();
  }

  std::wstring partFile = m_file;
  wchar_t suffix[24];
  _snwprintf(suffix, 23, L".%lx.part", GetCurrentThreadId());
  suffix[23] = 0;
  partFile += suffix;
  zor::FileHandle out;
  bool complete = false;

  ResetEvent(job->wake);
  if (request && !m_stop && finished(HttpSendRequestW(request.get(), nullptr, 0, nullptr, 0))) {
    DWORD value = 0, size = sizeof value;
    if (HttpQueryInfoW(request.get(), HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &value, &size, nullptr))
      m_status = value;
    value = 0;
    size = sizeof value;
    if (HttpQueryInfoW(request.get(), HTTP_QUERY_CONTENT_LENGTH | HTTP_QUERY_FLAG_NUMBER, &value, &size, nullptr))
      m_total = value;
    SetRetryNote(this, ReadRetryAfter(request.get()));
    // An error page is not the file that was asked for: only 2xx is saved.
    if (m_status >= 200 && m_status < 300)
      out.reset(CreateFileW(partFile.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr));
  }
  while (out) {
    // Read what has arrived, not a whole buffer's worth: the received count
    // is the host's progress figure.
    ResetEvent(job->wake);
    if (!finished(InternetQueryDataAvailable(request.get(), &job->available, 0, 0))) break;
    if (pending) continue;  // it has arrived now: ask again how much
    DWORD want = job->available < Job::kChunk ? job->available : Job::kChunk;
    job->got = 0;
    ResetEvent(job->wake);
    if (want > 0 && !finished(InternetReadFile(request.get(), job->buffer, want, &job->got))) break;
    if (job->got == 0) {
      // The end of the reply; a connection that closed before the announced
      // length arrived is a failure, not a short file.
      complete = m_total == 0 || m_received == m_total;
      break;
    }
    DWORD written = 0;
    if (!WriteFile(out.get(), job->buffer, job->got, &written, nullptr) || written != job->got) break;
    InterlockedExchangeAdd(reinterpret_cast<volatile LONG*>(&m_received), static_cast<LONG>(job->got));
  }
  out.reset();
  if (complete && !m_stop &&
      MoveFileExW(partFile.c_str(), m_file, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
    m_succeeded = 1;
  else
    DeleteFileW(partFile.c_str());
  {
    zor::CsLock lock(m_lock);
    m_job = nullptr;
  }
  job->Release();
}
