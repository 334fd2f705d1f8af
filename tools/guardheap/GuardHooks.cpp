// Linked into every module of a guard-heap build: replaces the C runtime's
// allocation functions and the global operator new and delete of this module
// by the one guard-page heap in zorguard.dll (see GuardHeap.h).
//
// The linker takes these definitions before the C runtime's import library.
// Some of the functions are declared dllimport by the runtime's headers, so
// callers reach them through an import pointer (__imp_name): that pointer is
// defined here too, which keeps the import library's entry out of the link.
// No C runtime header is included, so that no declaration disagrees.
#include "tools/guardheap/GuardHeap.h"

#include <cstddef>
#include <new>

#define ZG_CALLER __builtin_return_address(0)
#ifdef _WIN64
#define ZG_IMPORT_POINTER(name) __imp_##name
#else
#define ZG_IMPORT_POINTER(name) _imp__##name
#endif
#define ZG_EXPORT_IMPORT(name) decltype(&name) ZG_IMPORT_POINTER(name) = &name;

extern "C" {

void* __cdecl malloc(size_t size) { return ZorGuardAlloc(size, 0, kZorGuardMalloc, ZG_CALLER); }

void* __cdecl calloc(size_t count, size_t size) {
  if (size && count > ~size_t(0) / size) return nullptr;
  return ZorGuardAlloc(count * size, 0, kZorGuardMalloc | kZorGuardZero, ZG_CALLER);
}

void* __cdecl realloc(void* p, size_t size) { return ZorGuardRealloc(p, size, 0, ZG_CALLER); }

void* __cdecl _recalloc(void* p, size_t count, size_t size) {
  if (size && count > ~size_t(0) / size) return nullptr;
  return ZorGuardRealloc(p, count * size, 1, ZG_CALLER);
}

void __cdecl free(void* p) { ZorGuardFree(p, kZorGuardMalloc, kZorGuardUnsized, ZG_CALLER); }

size_t __cdecl _msize(void* p) { return ZorGuardSize(p); }

char* __cdecl _strdup(const char* s) {
  if (!s) return nullptr;
  size_t n = 0;
  while (s[n]) ++n;
  char* copy = static_cast<char*>(ZorGuardAlloc(n + 1, 0, kZorGuardMalloc, ZG_CALLER));
  for (size_t i = 0; copy && i <= n; ++i) copy[i] = s[i];
  return copy;
}

wchar_t* __cdecl _wcsdup(const wchar_t* s) {
  if (!s) return nullptr;
  size_t n = 0;
  while (s[n]) ++n;
  wchar_t* copy = static_cast<wchar_t*>(ZorGuardAlloc((n + 1) * sizeof(wchar_t), 0, kZorGuardMalloc, ZG_CALLER));
  for (size_t i = 0; copy && i <= n; ++i) copy[i] = s[i];
  return copy;
}

char* __cdecl strdup(const char* s) { return _strdup(s); }
wchar_t* __cdecl wcsdup(const wchar_t* s) { return _wcsdup(s); }

ZG_EXPORT_IMPORT(malloc)
ZG_EXPORT_IMPORT(calloc)
ZG_EXPORT_IMPORT(realloc)
ZG_EXPORT_IMPORT(_recalloc)
ZG_EXPORT_IMPORT(free)
ZG_EXPORT_IMPORT(_msize)
ZG_EXPORT_IMPORT(_strdup)
ZG_EXPORT_IMPORT(_wcsdup)
ZG_EXPORT_IMPORT(strdup)
ZG_EXPORT_IMPORT(wcsdup)

}  // extern "C"

namespace {
void* New(size_t size, size_t align, int kind, void* caller) {
  void* p = ZorGuardAlloc(size, align, kind, caller);
  if (!p) throw std::bad_alloc();
  return p;
}
}  // namespace

// clang-format off
void* operator new(size_t n) { return New(n, 0, kZorGuardNew, ZG_CALLER); }
void* operator new[](size_t n) { return New(n, 0, kZorGuardNewArray, ZG_CALLER); }
void* operator new(size_t n, const std::nothrow_t&) noexcept { return ZorGuardAlloc(n, 0, kZorGuardNew, ZG_CALLER); }
void* operator new[](size_t n, const std::nothrow_t&) noexcept { return ZorGuardAlloc(n, 0, kZorGuardNewArray, ZG_CALLER); }
void* operator new(size_t n, std::align_val_t a) { return New(n, size_t(a), kZorGuardNew, ZG_CALLER); }
void* operator new[](size_t n, std::align_val_t a) { return New(n, size_t(a), kZorGuardNewArray, ZG_CALLER); }
void* operator new(size_t n, std::align_val_t a, const std::nothrow_t&) noexcept { return ZorGuardAlloc(n, size_t(a), kZorGuardNew, ZG_CALLER); }
void* operator new[](size_t n, std::align_val_t a, const std::nothrow_t&) noexcept { return ZorGuardAlloc(n, size_t(a), kZorGuardNewArray, ZG_CALLER); }

void operator delete(void* p) noexcept { ZorGuardFree(p, kZorGuardNew, kZorGuardUnsized, ZG_CALLER); }
void operator delete[](void* p) noexcept { ZorGuardFree(p, kZorGuardNewArray, kZorGuardUnsized, ZG_CALLER); }
void operator delete(void* p, const std::nothrow_t&) noexcept { ZorGuardFree(p, kZorGuardNew, kZorGuardUnsized, ZG_CALLER); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { ZorGuardFree(p, kZorGuardNewArray, kZorGuardUnsized, ZG_CALLER); }
void operator delete(void* p, size_t n) noexcept { ZorGuardFree(p, kZorGuardNew, n, ZG_CALLER); }
void operator delete[](void* p, size_t n) noexcept { ZorGuardFree(p, kZorGuardNewArray, n, ZG_CALLER); }
void operator delete(void* p, std::align_val_t) noexcept { ZorGuardFree(p, kZorGuardNew, kZorGuardUnsized, ZG_CALLER); }
void operator delete[](void* p, std::align_val_t) noexcept { ZorGuardFree(p, kZorGuardNewArray, kZorGuardUnsized, ZG_CALLER); }
void operator delete(void* p, size_t n, std::align_val_t) noexcept { ZorGuardFree(p, kZorGuardNew, n, ZG_CALLER); }
void operator delete[](void* p, size_t n, std::align_val_t) noexcept { ZorGuardFree(p, kZorGuardNewArray, n, ZG_CALLER); }
void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept { ZorGuardFree(p, kZorGuardNew, kZorGuardUnsized, ZG_CALLER); }
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept { ZorGuardFree(p, kZorGuardNewArray, kZorGuardUnsized, ZG_CALLER); }
// clang-format on
