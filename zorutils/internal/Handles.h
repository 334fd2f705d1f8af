// RAII helpers for use inside function bodies. Exported classes keep their
// raw members; these only make early returns release what a body took.
#pragma once

#include <windows.h>

#include <cstdlib>
#include <utility>

namespace zor {

/// An owned handle whose empty value and close function come from Traits.
template <class Traits>
class UniqueHandle {
public:
  using Handle = typename Traits::Handle;
  UniqueHandle() noexcept : m_h(Traits::Invalid()) {}
  explicit UniqueHandle(Handle h) noexcept : m_h(h) {}
  UniqueHandle(UniqueHandle&& o) noexcept : m_h(o.release()) {}
  UniqueHandle& operator=(UniqueHandle&& o) noexcept {
    if (this != &o) reset(o.release());
    return *this;
  }
  UniqueHandle(const UniqueHandle&) = delete;
  UniqueHandle& operator=(const UniqueHandle&) = delete;
  ~UniqueHandle() { reset(); }

  Handle get() const noexcept { return m_h; }
  explicit operator bool() const noexcept { return m_h != Traits::Invalid(); }
  Handle release() noexcept { return std::exchange(m_h, Traits::Invalid()); }
  void reset(Handle h = Traits::Invalid()) noexcept {
    if (m_h != Traits::Invalid()) Traits::Close(m_h);
    m_h = h;
  }
  Handle* put() noexcept {
    reset();
    return &m_h;
  }

private:
  Handle m_h;
};

struct FileHandleTraits {  // CreateFile: empty at INVALID_HANDLE_VALUE
  using Handle = HANDLE;
  static Handle Invalid() { return INVALID_HANDLE_VALUE; }
  static void Close(Handle h) { ::CloseHandle(h); }
};
struct KernelHandleTraits {  // events, threads: empty at null
  using Handle = HANDLE;
  static Handle Invalid() { return nullptr; }
  static void Close(Handle h) { ::CloseHandle(h); }
};
struct FindHandleTraits {
  using Handle = HANDLE;
  static Handle Invalid() { return INVALID_HANDLE_VALUE; }
  static void Close(Handle h) { ::FindClose(h); }
};
struct RegKeyTraits {
  using Handle = HKEY;
  static Handle Invalid() { return nullptr; }
  static void Close(Handle h) { ::RegCloseKey(h); }
};

using FileHandle = UniqueHandle<FileHandleTraits>;
using KernelHandle = UniqueHandle<KernelHandleTraits>;
using FindHandle = UniqueHandle<FindHandleTraits>;
using RegKeyHandle = UniqueHandle<RegKeyTraits>;

/// Holds a critical section for the scope.
class CsLock {
public:
  explicit CsLock(CRITICAL_SECTION& cs) : m_cs(cs) { ::EnterCriticalSection(&m_cs); }
  ~CsLock() { ::LeaveCriticalSection(&m_cs); }
  CsLock(const CsLock&) = delete;
  CsLock& operator=(const CsLock&) = delete;

private:
  CRITICAL_SECTION& m_cs;
};

/// Keeps the thread's last-error value across cleanup done in a destructor.
class LastErrorKeeper {
public:
  LastErrorKeeper() : m_error(::GetLastError()) {}
  ~LastErrorKeeper() { ::SetLastError(m_error); }

private:
  DWORD m_error;
};

/// A malloc'ed block freed at scope end (for blocks handed to C-style code).
template <class T>
class HeapBuffer {
public:
  HeapBuffer() = default;
  explicit HeapBuffer(size_t count) : m_p(static_cast<T*>(std::malloc(count * sizeof(T)))) {}
  HeapBuffer(const HeapBuffer&) = delete;
  HeapBuffer& operator=(const HeapBuffer&) = delete;
  ~HeapBuffer() { std::free(m_p); }
  T* get() const { return m_p; }
  T& operator[](size_t i) const { return m_p[i]; }
  explicit operator bool() const { return m_p != nullptr; }
  T* release() { return std::exchange(m_p, nullptr); }

private:
  T* m_p = nullptr;
};

}  // namespace zor
