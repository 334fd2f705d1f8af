// Shared helpers for the test programs: readable wide strings in failure
// messages, temporary folders, real files, and capture of the library's log.
#pragma once

#include <gtest/gtest.h>

#include <zorutils/zorutils.h>

#include <windows.h>

#include <mutex>
#include <ostream>
#include <string>
#include <vector>

/// Prints a CCOMString as L"..." with control and non-ASCII units escaped.
void PrintTo(const CCOMString& s, std::ostream* os);

namespace zortest {

/// L"..." with control and non-ASCII units as \xNNNN.
std::string Escape(const wchar_t* s);
std::string Escape(const std::wstring& s);
/// Bytes as "..." with anything outside printable ASCII as \xNN.
std::string EscapeBytes(const std::string& bytes);

/// A fresh folder under the system's temporary folder, removed with all its
/// contents when the object goes.
class TempDir {
public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  /// The folder, without a trailing backslash.
  const std::wstring& path() const { return m_path; }
  /// path() + L"\\" + name.
  std::wstring operator/(const std::wstring& name) const { return m_path + L"\\" + name; }

private:
  std::wstring m_path;
};

/// Removes a folder and everything in it.
void RemoveTree(const std::wstring& path);

/// Whole-file helpers over the real file system.
bool WriteBytes(const std::wstring& path, const std::string& bytes);
bool WriteBytes(const std::wstring& path, const void* data, size_t size);
std::string ReadBytes(const std::wstring& path);
/// Bytes of a UTF-16LE text (with a byte-order mark when `bom`).
std::string Utf16Bytes(const std::wstring& text, bool bom);

/// The folder of the running test program, without a trailing backslash.
std::wstring ExeDir();

/// Switches logging on and collects every line while it lives.
class LogCapture {
public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  std::vector<std::wstring> lines() const;
  bool Contains(const std::wstring& line) const;
  void Clear();

private:
  static void Sink(const wchar_t* line, void* user);
  mutable std::mutex m_mutex;
  std::vector<std::wstring> m_lines;
  bool m_wasOn;
};

}  // namespace zortest

namespace zortest {
/// True in the heap-checked runs (the guard-page heap build, where every block
/// costs two pages and system calls, or Wine's own heap checker): heavy tests
/// scale their sizes down, never their checks.
bool HeapChecked();
/// True when this program runs on the guard-page heap (zorguard.dll).
bool GuardHeap();

/// What a child run of this program did.
struct ChildResult {
  bool finished;       // false: still running at the time limit, and killed
  DWORD exitCode;
  std::string output;  // its stdout and stderr together
};
/// Runs this program again as a child that does only the child action
/// `name` (see ZOR_CHILD_ACTION) and waits for it at most `timeoutMs`.
ChildResult RunChild(const char* name, DWORD timeoutMs = 60000);
/// Registers and runs child actions (used by the test main).
bool RegisterChildAction(const char* name, void (*action)());
int RunChildAction(const char* name);
}  // namespace zortest

/// Defines a child action: code that must run in a process of its own (it
/// crashes on purpose, say), started through zortest::RunChild(#name).
#define ZOR_CHILD_ACTION(name)                                                               \
  static void ZorChild_##name();                                                             \
  static const bool zorChildRegistered_##name = zortest::RegisterChildAction(#name, ZorChild_##name); \
  static void ZorChild_##name()

#include <functional>

namespace zortest {
/// Starts `body` on a new Win32 thread (a stdcall trampoline, so lambdas work
/// on i686 too); the handle is the caller's to wait for and close.
HANDLE StartThread(std::function<void()> body);
/// Runs `body` on a new thread and waits for it to end.
void RunOnThread(std::function<void()> body);
/// The threads of this process, and its handles (counted through the
/// system's handle list where GetProcessHandleCount answers 0, as on Wine).
size_t ThreadCount();
size_t HandleCount();

}  // namespace zortest
