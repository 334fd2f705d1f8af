// zorguard: the guard-page heap of the test builds (cmake -DZOR_GUARD_HEAP=ON,
// preset x64-guard). What Windows developers get from the system's full page
// heap, which Wine lacks.
//
// Every block sits at the end of its own committed pages, with a reserved,
// never-committed page right behind it. Blocks are aligned only as far as
// their size allows (a 6-byte block on 2 bytes, anything of 16 or more bytes
// that is a multiple of 16 on 16; 8 at most on i686), so that the last byte
// of every block touches the guard page and a read or write of even one unit
// past it faults at once. Where a stricter alignment is asked for (aligned
// new) the slack it leaves behind the block, and the head of the first page
// before it, are filled with a pattern that free checks. New blocks are
// filled with 0xCD so that reading memory nobody wrote shows. Freed blocks
// are decommitted at once and their pages held in a bounded quarantine before
// their addresses are used again.
//
// A fault stops the process at once with STATUS_HEAP_CORRUPTION and one line
// on stderr beginning "guard heap: " that names it: a read or write past the
// end of a block, a use after free, a double free, a free of a pointer the
// heap never handed out, a free that does not match the allocation (free of
// new[], delete of malloc, a sized delete with another size), or damage found
// at free in the slack around a block; with the block's address and size and
// where it was allocated (module+offset, for addr2line). Running short of
// memory gives null, as any heap does, and so does the host system refusing
// more mappings: under Wine on Linux each live block is two, against a
// default vm.max_map_count of 65530 (about 32,000 live blocks).
//
// One heap serves the whole process: zorguard.dll holds it, and each module
// (both libraries, the test programs, the tools) links GuardHooks.cpp, whose
// malloc, calloc, realloc, free, _msize, _recalloc, _strdup, _wcsdup and every
// form of operator new and delete call into it. So a block may be allocated
// in one module and freed in another, as with the C runtime's shared heap.
//
// Not covered: HeapAlloc, GlobalAlloc, LocalAlloc, SysAllocString*,
// CoTaskMemAlloc, _aligned_malloc, _expand, and allocations made inside
// msvcrt.dll itself (its stdio buffers, _wfullpath or _wgetcwd with a null
// buffer). free and realloc hand blocks that did not come from the guard heap
// to msvcrt.dll, so those still work, unchecked.
#pragma once

#include <cstddef>

#ifdef ZORGUARD_BUILDING
#define ZORGUARD_API __declspec(dllexport)
#else
#define ZORGUARD_API __declspec(dllimport)
#endif

/// How a block was allocated: each must be released the same way.
enum ZorGuardKind { kZorGuardMalloc = 0, kZorGuardNew = 1, kZorGuardNewArray = 2 };

/// Asks ZorGuardAlloc to zero the block (calloc).
const int kZorGuardZero = 0x10;

/// Passed as `size` to ZorGuardFree when the release does not state one.
const size_t kZorGuardUnsized = ~static_cast<size_t>(0);

extern "C" {
/// A block of `size` bytes aligned on `align` (0: as far as the size allows),
/// or null when the arena cannot hold it. `kind` is a ZorGuardKind, optionally
/// with kZorGuardZero; `caller` is the allocating call's return address.
ZORGUARD_API void* __cdecl ZorGuardAlloc(size_t size, size_t align, int kind, void* caller);
/// Releases `p` (null is ignored) after checking it; `size` is the size a
/// sized delete states, else kZorGuardUnsized.
ZORGUARD_API void __cdecl ZorGuardFree(void* p, int kind, size_t size, void* caller);
/// realloc: always moves the block, so the guard page follows the new end;
/// a size of 0 frees `p` and returns null. With `zeroGrowth` the bytes past
/// the old size are zeroed (_recalloc).
ZORGUARD_API void* __cdecl ZorGuardRealloc(void* p, size_t size, int zeroGrowth, void* caller);
/// _msize: the size the block was asked for.
ZORGUARD_API size_t __cdecl ZorGuardSize(void* p);
}
