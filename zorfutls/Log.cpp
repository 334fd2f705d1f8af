// Logging: one process-wide state guarded by a critical section that the
// DLL entry point creates and deletes.
#include <zorfutls/zorfutls.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cwchar>

namespace {

CRITICAL_SECTION g_logLock;
volatile LONG g_loggingOn = 0;
HANDLE g_logFile = INVALID_HANDLE_VALUE;
ZorLogSink g_sink = nullptr;
void* g_sinkUser = nullptr;

struct LogGuard {
  LogGuard() { EnterCriticalSection(&g_logLock); }
  ~LogGuard() { LeaveCriticalSection(&g_logLock); }
};

void CloseLogFile() {
  if (g_logFile != INVALID_HANDLE_VALUE) {
    CloseHandle(g_logFile);
    g_logFile = INVALID_HANDLE_VALUE;
  }
}

void WriteToFile(const wchar_t* text) {
  SYSTEMTIME st;
  GetLocalTime(&st);
  wchar_t stamp[32];
  int stampLen = _snwprintf(stamp, 31, L"[%02u:%02u:%02u.%03u] ", st.wHour, st.wMinute,
                            st.wSecond, st.wMilliseconds);
  if (stampLen < 0) stampLen = 0;
  stamp[31] = 0;

  int textLen = static_cast<int>(wcslen(text));
  // UTF-8 of the stamp, the text and CR LF; each unit needs at most 3 bytes.
  size_t cap = static_cast<size_t>(stampLen + textLen) * 3 + 3;
  char small[1024];
  char* buf = cap <= sizeof small ? small : static_cast<char*>(malloc(cap));
  if (!buf) return;
  int n = WideCharToMultiByte(CP_UTF8, 0, stamp, stampLen, buf, static_cast<int>(cap), nullptr, nullptr);
  if (textLen > 0)
    n += WideCharToMultiByte(CP_UTF8, 0, text, textLen, buf + n, static_cast<int>(cap) - n, nullptr, nullptr);
  buf[n++] = '\r';
  buf[n++] = '\n';
  DWORD written = 0;
  WriteFile(g_logFile, buf, static_cast<DWORD>(n), &written, nullptr);
  if (buf != small) free(buf);
}

}  // namespace

void ZorfutlsLogInit() { InitializeCriticalSection(&g_logLock); }

void ZorfutlsLogShutdown() {
  CloseLogFile();
  DeleteCriticalSection(&g_logLock);
}

void Log(const wchar_t* text) {
  if (!text || !LoggingNow()) return;
  LogGuard guard;
  if (g_logFile != INVALID_HANDLE_VALUE) WriteToFile(text);
  OutputDebugStringW(text);
  OutputDebugStringW(L"\n");
  if (g_sink) g_sink(text, g_sinkUser);
}

void LogFmt(const wchar_t* format, ...) {
  if (!format || !LoggingNow()) return;
  // Try a stack buffer first; grow on the heap until the whole line fits.
  wchar_t small[512];
  wchar_t* buf = small;
  size_t cap = 512;
  for (;;) {
    va_list args;
    va_start(args, format);
    int n = _vsnwprintf(buf, cap - 1, format, args);
    va_end(args);
    if (n >= 0) {
      buf[n] = 0;
      break;
    }
    if (buf != small) free(buf);
    cap *= 2;
    buf = static_cast<wchar_t*>(malloc(cap * sizeof(wchar_t)));
    if (!buf || cap > (64u << 20)) {  // a runaway format: give up quietly
      if (buf) free(buf);
      return;
    }
  }
  Log(buf);
  if (buf != small) free(buf);
}

bool LoggingNow() { return InterlockedCompareExchange(&g_loggingOn, 0, 0) != 0; }

void SetLogging(bool on) { InterlockedExchange(&g_loggingOn, on ? 1 : 0); }

bool SetLogFile(const wchar_t* path) {
  LogGuard guard;
  CloseLogFile();
  if (!path || !*path) return true;
  g_logFile = CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                          OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  return g_logFile != INVALID_HANDLE_VALUE;
}

void SetLogSink(ZorLogSink sink, void* user) {
  LogGuard guard;
  g_sink = sink;
  g_sinkUser = user;
}
