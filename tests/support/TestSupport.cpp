// Shared test helpers.
#include "tests/support/TestSupport.h"

#include <windows.h>
#include <tlhelp32.h>

#include <cstdio>
#include <map>
#include <memory>
#include <type_traits>

void PrintTo(const CCOMString& s, std::ostream* os) { *os << zortest::Escape(s.GetString()); }

namespace zortest {

namespace {
// "..." with printable ASCII as it is and every other unit in hex.
template <class Unit>
std::string Quote(const Unit* s, size_t n, const char* hex) {
  std::string out = "\"";
  for (size_t i = 0; i < n; ++i) {
    const unsigned c = static_cast<typename std::make_unsigned<Unit>::type>(s[i]);
    if (c >= 0x20 && c < 0x7F && c != '"' && c != '\\') {
      out += static_cast<char>(c);
    } else {
      char buf[16];
      snprintf(buf, sizeof buf, hex, c);
      out += buf;
    }
  }
  return out + "\"";
}
}  // namespace

std::string Escape(const wchar_t* s) { return s ? "L" + Quote(s, wcslen(s), "\\x%04X") : "(null)"; }

std::string EscapeBytes(const std::string& bytes) { return Quote(bytes.data(), bytes.size(), "\\x%02X"); }

std::string Escape(const std::wstring& s) { return Escape(s.c_str()); }

TempDir::TempDir() {
  wchar_t base[MAX_PATH];
  GetTempPathW(MAX_PATH, base);
  static LONG counter = 0;
  for (;;) {
    wchar_t name[MAX_PATH + 64];
    swprintf(name, MAX_PATH + 64, L"%lszortest-%lu-%ld", base, GetCurrentProcessId(),
             InterlockedIncrement(&counter));
    if (CreateDirectoryW(name, nullptr)) {
      m_path = name;
      break;
    }
  }
}

TempDir::~TempDir() { RemoveTree(m_path); }

void RemoveTree(const std::wstring& path) {
  WIN32_FIND_DATAW fd;
  HANDLE h = FindFirstFileW((path + L"\\*").c_str(), &fd);
  if (h != INVALID_HANDLE_VALUE) {
    do {
      std::wstring name = fd.cFileName;
      if (name == L"." || name == L"..") continue;
      std::wstring full = path + L"\\" + name;
      SetFileAttributesW(full.c_str(), FILE_ATTRIBUTE_NORMAL);
      if (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
        RemoveTree(full);
      else
        DeleteFileW(full.c_str());
    } while (FindNextFileW(h, &fd));
    FindClose(h);
  }
  RemoveDirectoryW(path.c_str());
}

bool WriteBytes(const std::wstring& path, const void* data, size_t size) {
  HANDLE h = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return false;
  DWORD written = 0;
  BOOL ok = size == 0 || WriteFile(h, data, static_cast<DWORD>(size), &written, nullptr);
  CloseHandle(h);
  return ok && written == size;
}

bool WriteBytes(const std::wstring& path, const std::string& bytes) {
  return WriteBytes(path, bytes.data(), bytes.size());
}

std::string ReadBytes(const std::wstring& path) {
  std::string out;
  HANDLE h = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  if (h == INVALID_HANDLE_VALUE) return out;
  char buf[65536];
  DWORD got = 0;
  while (ReadFile(h, buf, sizeof buf, &got, nullptr) && got > 0) out.append(buf, got);
  CloseHandle(h);
  return out;
}

std::string Utf16Bytes(const std::wstring& text, bool bom) {
  std::string out;
  if (bom) out += "\xFF\xFE";
  for (wchar_t c : text) {
    out += static_cast<char>(c & 0xFF);
    out += static_cast<char>((c >> 8) & 0xFF);
  }
  return out;
}

std::wstring ExeDir() {
  wchar_t path[MAX_PATH];
  DWORD n = GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring s(path, n);
  return s.substr(0, s.find_last_of(L'\\'));
}

LogCapture::LogCapture() : m_wasOn(LoggingNow()) {
  SetLogSink(&LogCapture::Sink, this);
  SetLogging(true);
}

LogCapture::~LogCapture() {
  SetLogging(m_wasOn);
  SetLogSink(nullptr, nullptr);
}

void LogCapture::Sink(const wchar_t* line, void* user) {
  auto* self = static_cast<LogCapture*>(user);
  std::lock_guard<std::mutex> lock(self->m_mutex);
  self->m_lines.emplace_back(line);
}

std::vector<std::wstring> LogCapture::lines() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_lines;
}

bool LogCapture::Contains(const std::wstring& line) const {
  std::lock_guard<std::mutex> lock(m_mutex);
  for (const auto& l : m_lines)
    if (l == line) return true;
  return false;
}

void LogCapture::Clear() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_lines.clear();
}

}  // namespace zortest

namespace zortest {
bool GuardHeap() { return GetModuleHandleW(L"zorguard.dll") != nullptr; }

bool HeapChecked() {
  wchar_t value[8] = {0};
  return GuardHeap() || (GetEnvironmentVariableW(L"ZOR_HEAPCHECK", value, 8) > 0 && value[0] == L'1');
}

namespace {
std::map<std::string, void (*)()>& ChildActions() {
  static std::map<std::string, void (*)()> actions;
  return actions;
}
}  // namespace

bool RegisterChildAction(const char* name, void (*action)()) { return ChildActions().emplace(name, action).second; }

int RunChildAction(const char* name) {
  auto it = ChildActions().find(name);
  if (it == ChildActions().end()) {
    fprintf(stderr, "no child action named %s\n", name);
    return 2;
  }
  it->second();
  return 0;
}

ChildResult RunChild(const char* name, DWORD timeoutMs) {
  ChildResult result{false, 0, std::string()};
  TempDir dir;
  const std::wstring outPath = dir / L"child.out";
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  HANDLE out = CreateFileW(outPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                           CREATE_ALWAYS, 0, nullptr);
  if (out == INVALID_HANDLE_VALUE) return result;
  wchar_t exe[MAX_PATH];
  GetModuleFileNameW(nullptr, exe, MAX_PATH);
  std::wstring command = L"\"" + std::wstring(exe) + L"\" --zor-child=";
  for (const char* c = name; *c; ++c) command += static_cast<wchar_t>(*c);
  STARTUPINFOW si{};
  si.cb = sizeof si;
  si.dwFlags = STARTF_USESTDHANDLES;
  si.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  si.hStdOutput = out;
  si.hStdError = out;
  PROCESS_INFORMATION pi{};
  if (CreateProcessW(exe, &command[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &si, &pi)) {
    result.finished = WaitForSingleObject(pi.hProcess, timeoutMs) == WAIT_OBJECT_0;
    if (!result.finished) {
      TerminateProcess(pi.hProcess, 1);
      WaitForSingleObject(pi.hProcess, 10000);
    }
    GetExitCodeProcess(pi.hProcess, &result.exitCode);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
  }
  CloseHandle(out);
  result.output = ReadBytes(outPath);
  return result;
}
}  // namespace zortest

namespace zortest {
namespace {
DWORD WINAPI ThreadTrampoline(void* p) {
  std::unique_ptr<std::function<void()>> body(static_cast<std::function<void()>*>(p));
  (*body)();
  return 0;
}
}  // namespace

HANDLE StartThread(std::function<void()> body) {
  auto* heapBody = new std::function<void()>(std::move(body));
  HANDLE h = CreateThread(nullptr, 0, ThreadTrampoline, heapBody, 0, nullptr);
  if (!h) delete heapBody;
  return h;
}

void RunOnThread(std::function<void()> body) {
  HANDLE h = StartThread(std::move(body));
  if (!h) return;
  WaitForSingleObject(h, INFINITE);
  CloseHandle(h);
}
/// The threads of this process.
size_t ThreadCount() {
  size_t n = 0;
  HANDLE snap = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 te;
  te.dwSize = sizeof te;
  for (BOOL ok = Thread32First(snap, &te); ok; ok = Thread32Next(snap, &te))
    n += te.th32OwnerProcessID == GetCurrentProcessId();
  CloseHandle(snap);
  return n;
}

// GetProcessHandleCount where it works; Wine answers 0, so there the system's
// handle list (NtQuerySystemInformation, SystemHandleInformation) is counted.
size_t HandleCount() {
  DWORD count = 0;
  if (GetProcessHandleCount(GetCurrentProcess(), &count) && count) return count;
  struct Entry { ULONG pid; BYTE type, flags; USHORT value; void* object; ULONG access; };
  using Query = LONG(WINAPI*)(int, void*, ULONG, ULONG*);
  auto query = reinterpret_cast<Query>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
  std::vector<char> buf(1 << 16);
  ULONG need = 0;
  while (query && query(16, buf.data(), static_cast<ULONG>(buf.size()), &need) == static_cast<LONG>(0xC0000004))
    buf.resize(buf.size() * 2);
  const Entry* entries = reinterpret_cast<const Entry*>(buf.data() + sizeof(void*));
  for (ULONG i = 0; i < *reinterpret_cast<ULONG*>(buf.data()); ++i) count += entries[i].pid == GetCurrentProcessId();
  return count;
}

}  // namespace zortest
