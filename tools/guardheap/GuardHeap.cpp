// zorguard.dll: the guard-page heap itself (see GuardHeap.h).
//
// One arena of reserved address space is carved into page ranges: a block's
// data pages followed by one guard page that is never committed. Two side
// tables, indexed by page, describe the arena, so that nothing the program
// can overwrite holds the heap's own bookkeeping: `g_owner[page]` names the
// first page of the range that page belongs to (plus one; 0 = never used),
// and `g_blocks[first]` describes the block or free range starting there.
// Freed ranges are decommitted and queued (the quarantine); the oldest leave
// it for free lists by page count once it holds too many blocks or pages.
// A vectored handler turns an access violation inside the arena into a
// report naming the block. One critical section guards the tables; the
// handler reads them without it, as it only ever ends the process.
#define ZORGUARD_BUILDING
#include "tools/guardheap/GuardHeap.h"

#include <windows.h>

#include <malloc.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

const size_t kPage = 4096;
#ifdef _WIN64
const size_t kMaxAlign = 16;
const size_t kArenaBytes = size_t(16) << 30;
const uint32_t kQuarantineSlots = 1u << 16;
#else
const size_t kMaxAlign = 8;
const size_t kArenaBytes = size_t(1) << 30;
const uint32_t kQuarantineSlots = 1u << 14;
#endif
const uint32_t kBins = 64;  // free lists for ranges of 1..64 pages; longer ones share one
const unsigned char kSlack = 0xFD;
const unsigned char kFresh = 0xCD;

enum State : uint8_t { kUnused, kLive, kQuarantined, kReleased };

struct Block {
  size_t size;        // what the caller asked for
  void* allocatedBy;  // return address of the allocating call
  void* freedBy;      // return address of the freeing call
  uint32_t span;      // pages in the range: data pages plus the guard page
  uint32_t offset;    // the block's offset from the range's first page
  uint32_t next;      // free-list link: first page + 1, 0 ends the list
  uint8_t state;
  uint8_t kind;
  uint8_t guardOpen;  // the guard page was made readable (see OnFault)
};

char* g_arena = nullptr;
uint32_t g_pages = 0;  // pages in the arena
uint32_t g_bump = 0;   // pages below this have been handed out at least once
uint32_t* g_owner = nullptr;
Block* g_blocks = nullptr;
uint32_t g_bins[kBins + 1];
uint32_t g_large = 0;
uint32_t* g_quarantine = nullptr;
uint32_t g_qHead = 0, g_qCount = 0, g_qPages = 0, g_qPageLimit = 0;
CRITICAL_SECTION g_lock;
unsigned char g_slackPage[kPage];

class Lock {
public:
  Lock() { EnterCriticalSection(&g_lock); }
  ~Lock() { LeaveCriticalSection(&g_lock); }
};

bool InArena(const void* p) {
  return g_arena && static_cast<const char*>(p) >= g_arena &&
         static_cast<size_t>(static_cast<const char*>(p) - g_arena) < size_t(g_pages) * kPage;
}
uint32_t PageOf(const void* p) { return static_cast<uint32_t>((static_cast<const char*>(p) - g_arena) / kPage); }
char* PageAddress(uint32_t page) { return g_arena + size_t(page) * kPage; }
char* UserPointer(uint32_t first) { return PageAddress(first) + g_blocks[first].offset; }
size_t DataBytes(const Block& b) { return size_t(b.span - 1) * kPage; }

// ---------------------------------------------------------------------------
// Reports. Built by hand into a fixed buffer: the report may run inside an
// exception handler, with the C runtime's locks in any state.

class Message {
public:
  Message& operator<<(const char* s) {
    while (*s && m_len < sizeof m_buf - 2) m_buf[m_len++] = *s++;
    return *this;
  }
  Message& Dec(size_t v) {
    char digits[24];
    int n = 0;
    do digits[n++] = static_cast<char>('0' + v % 10); while ((v /= 10) != 0);
    while (n && m_len < sizeof m_buf - 2) m_buf[m_len++] = digits[--n];
    return *this;
  }
  Message& Hex(uintptr_t v) {
    char digits[24];
    int n = 0;
    do digits[n++] = "0123456789abcdef"[v & 15]; while ((v >>= 4) != 0);
    *this << "0x";
    while (n && m_len < sizeof m_buf - 2) m_buf[m_len++] = digits[--n];
    return *this;
  }
  Message& Ptr(const void* p) { return Hex(reinterpret_cast<uintptr_t>(p)); }
  // "module.dll+0x1a2b", for addr2line; or the bare address.
  Message& Code(const void* address) {
    HMODULE module = nullptr;
    char path[MAX_PATH];
    if (address &&
        GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           static_cast<const char*>(address), &module) &&
        GetModuleFileNameA(module, path, MAX_PATH)) {
      const char* name = path;
      for (const char* c = path; *c; ++c)
        if (*c == '\\' || *c == '/') name = c + 1;
      return (*this << name << "+").Hex(static_cast<uintptr_t>(static_cast<const char*>(address) -
                                                               reinterpret_cast<const char*>(module)));
    }
    return Ptr(address);
  }
  // "the 6-byte block at 0x..., allocated at module+0x..."
  Message& BlockAt(uint32_t first) {
    const Block& b = g_blocks[first];
    (*this << "the ").Dec(b.size) << "-byte block at ";
    Ptr(UserPointer(first)) << ", allocated at ";
    return Code(b.allocatedBy);
  }
  [[noreturn]] void Fail() {
    m_buf[m_len++] = '\n';
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), m_buf, static_cast<DWORD>(m_len), &written, nullptr);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(0xC0000374L));  // STATUS_HEAP_CORRUPTION
    for (;;) Sleep(INFINITE);
  }

private:
  char m_buf[1024];
  size_t m_len = 0;
};

Message Report(const char* fault) { return Message() << "guard heap: " << fault << ": "; }

const char* AllocName(int kind) { return kind == kZorGuardNew ? "new" : kind == kZorGuardNewArray ? "new[]" : "malloc"; }
const char* FreeName(int kind) { return kind == kZorGuardNew ? "delete" : kind == kZorGuardNewArray ? "delete[]" : "free"; }

// ---------------------------------------------------------------------------
// Page ranges.

void PutRange(uint32_t first, uint32_t span) {
  Block& b = g_blocks[first];
  b.span = span;
  b.state = kReleased;
  uint32_t& head = span <= kBins ? g_bins[span] : g_large;
  b.next = head;
  head = first + 1;
}

uint32_t Split(uint32_t first, uint32_t have, uint32_t want) {
  if (have > want) PutRange(first + want, have - want);
  return first;
}

// The first page of a free range of `span` pages, or UINT32_MAX.
uint32_t TakeRange(uint32_t span) {
  if (span <= kBins && g_bins[span]) {
    const uint32_t first = g_bins[span] - 1;
    g_bins[span] = g_blocks[first].next;
    return first;
  }
  if (g_pages - g_bump >= span) {
    const uint32_t first = g_bump;
    g_bump += span;
    return first;
  }
  for (uint32_t* link = &g_large; *link; link = &g_blocks[*link - 1].next) {
    const uint32_t first = *link - 1;
    if (g_blocks[first].span >= span) {
      *link = g_blocks[first].next;
      return Split(first, g_blocks[first].span, span);
    }
  }
  for (uint32_t s = span + 1; s <= kBins; ++s) {
    if (g_bins[s]) {
      const uint32_t first = g_bins[s] - 1;
      g_bins[s] = g_blocks[first].next;
      return Split(first, s, span);
    }
  }
  return UINT32_MAX;
}

void EvictOldest() {
  const uint32_t first = g_quarantine[g_qHead];
  g_qHead = (g_qHead + 1) % kQuarantineSlots;
  --g_qCount;
  g_qPages -= g_blocks[first].span;
  PutRange(first, g_blocks[first].span);
}

void Quarantine(uint32_t first) {
  while (g_qCount && (g_qCount == kQuarantineSlots || g_qPages + g_blocks[first].span > g_qPageLimit)) EvictOldest();
  g_quarantine[(g_qHead + g_qCount) % kQuarantineSlots] = first;
  ++g_qCount;
  g_qPages += g_blocks[first].span;
}

// ---------------------------------------------------------------------------
// Checks shared by free, realloc and _msize: the first page of the live
// block `p` starts, or a report.

uint32_t LiveBlock(void* p, const char* release, void* caller) {
  const uint32_t page = PageOf(p);
  const uint32_t owner = g_owner[page];
  if (!owner) {
    Message m = Report("free of a pointer the heap never handed out");
    m << release << " of ";
    m.Ptr(p) << " at ";
    m.Code(caller).Fail();
  }
  const uint32_t first = owner - 1;
  const Block& b = g_blocks[first];
  if (b.state != kLive && UserPointer(first) == p) {
    Message m = Report("double free");
    m.BlockAt(first) << ", freed at ";
    m.Code(b.freedBy) << ", now again by " << release << " at ";
    m.Code(caller).Fail();
  }
  if (b.state != kLive || UserPointer(first) != p) {
    Message m = Report("free of a pointer inside a block or freed memory");
    m << release << " of ";
    m.Ptr(p) << " at ";
    m.Code(caller) << "; the range belongs to ";
    m.BlockAt(first).Fail();
  }
  return first;
}

void CheckKind(uint32_t first, int kind, const char* release, void* caller) {
  if (g_blocks[first].kind == kind) return;
  Message m = Report("mismatched release");
  m << "a block from " << AllocName(g_blocks[first].kind) << " released with " << release << " at ";
  m.Code(caller) << "; ";
  m.BlockAt(first).Fail();
}

void CheckSlack(uint32_t first, void* caller) {
  const Block& b = g_blocks[first];
  const unsigned char* start = reinterpret_cast<unsigned char*>(PageAddress(first));
  const unsigned char* user = start + b.offset;
  const unsigned char* end = start + DataBytes(b);
  const size_t head = b.offset;  // always less than a page
  if (head && std::memcmp(start, g_slackPage, head) != 0) {
    size_t at = 0;
    while (start[at] == kSlack) ++at;
    Message m = Report("write before the start of a block (found at free)");
    m.Dec(head - at) << " bytes before ";
    m.BlockAt(first) << ", freed at ";
    m.Code(caller).Fail();
  }
  const unsigned char* tail = user + b.size;
  for (const unsigned char* c = tail; c < end; ++c) {
    if (*c != kSlack) {
      Message m = Report("write past the end of a block (found at free)");
      m.Dec(static_cast<size_t>(c - tail)) << " bytes past the end of ";
      m.BlockAt(first) << ", freed at ";
      m.Code(caller).Fail();
    }
  }
}

// ---------------------------------------------------------------------------
// Faults inside the arena.

// Code of the system's own DLLs (ntdll, kernelbase, msvcrt...), as opposed to
// the program's.
bool IsSystemCode(const void* address) {
  HMODULE module = nullptr;
  wchar_t path[MAX_PATH], system[MAX_PATH];
  if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                          static_cast<const wchar_t*>(address), &module) ||
      !GetModuleFileNameW(module, path, MAX_PATH))
    return false;
  const UINT n = GetSystemDirectoryW(system, MAX_PATH);
  return n && n < MAX_PATH && CompareStringOrdinal(path, static_cast<int>(n), system, static_cast<int>(n), TRUE) == CSTR_EQUAL &&
         path[n] == L'\\';
}

// Wine's path parsing reads a unit past the terminator of short paths
// (GetFileAttributesW of "C" reads the third unit of a two-unit block): a
// read the normal heap's slack hides. When system code reads past a block
// that ends in a wide terminator, the guard page is committed read-only (zeros)
// and the read goes on; the caller did nothing wrong. Writes, and reads past
// blocks that are not terminated (a length too long), are still reported.
bool ForgiveSystemRead(uint32_t first, const EXCEPTION_RECORD* rec) {
  Block& b = g_blocks[first];
  const char* end = UserPointer(first) + b.size;
  const bool wideTerminated = b.size >= 2 && b.size % 2 == 0 && end[-1] == 0 && end[-2] == 0;
  if (rec->ExceptionInformation[0] != 0 || !wideTerminated || !IsSystemCode(rec->ExceptionAddress)) return false;
  Lock lock;
  if (!b.guardOpen && !VirtualAlloc(PageAddress(first + b.span - 1), kPage, MEM_COMMIT, PAGE_READONLY)) return false;
  b.guardOpen = 1;
  return true;
}

LONG CALLBACK OnFault(EXCEPTION_POINTERS* info) {
  const EXCEPTION_RECORD* rec = info->ExceptionRecord;
  if (rec->ExceptionCode != EXCEPTION_ACCESS_VIOLATION || rec->NumberParameters < 2) return EXCEPTION_CONTINUE_SEARCH;
  const char* address = reinterpret_cast<const char*>(rec->ExceptionInformation[1]);
  if (!InArena(address)) return EXCEPTION_CONTINUE_SEARCH;
  const bool write = rec->ExceptionInformation[0] == 1;
  const uint32_t page = PageOf(address);
  const uint32_t owner = g_owner[page];
  if (!owner) {
    Message m = Report("access to heap memory that holds no block");
    m << (write ? "write to " : "read of ");
    m.Ptr(address) << " at ";
    m.Code(rec->ExceptionAddress).Fail();
  }
  const uint32_t first = owner - 1;
  Block& b = g_blocks[first];
  const char* user = UserPointer(first);
  if (b.state == kLive && page == first + b.span - 1) {
    if (ForgiveSystemRead(first, rec)) return EXCEPTION_CONTINUE_EXECUTION;
    Message m = Report(write ? "write past the end of a block" : "read past the end of a block");
    m.Dec(static_cast<size_t>(address - (user + b.size))) << " bytes past the end of ";
    m.BlockAt(first) << ", by code at ";
    m.Code(rec->ExceptionAddress).Fail();
  }
  Message m = Report(write ? "use after free (write)" : "use after free (read)");
  if (b.state != kLive && address >= user && address < user + b.size) {
    m.Dec(static_cast<size_t>(address - user)) << " bytes into ";
    m.BlockAt(first) << ", freed at ";
    m.Code(b.freedBy);
  } else {
    m.Ptr(address) << " in a freed range near ";
    m.BlockAt(first);
  }
  m << ", by code at ";
  m.Code(rec->ExceptionAddress).Fail();
}

// ---------------------------------------------------------------------------

bool Init() {
  InitializeCriticalSection(&g_lock);
  std::memset(g_slackPage, kSlack, sizeof g_slackPage);
  for (size_t bytes = kArenaBytes; bytes >= (size_t(64) << 20) && !g_arena; bytes /= 2) {
    g_arena = static_cast<char*>(VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_NOACCESS));
    if (g_arena) g_pages = static_cast<uint32_t>(bytes / kPage);
  }
  if (!g_arena) return false;
  // The side tables are committed whole; the system backs only the pages
  // that are touched.
  g_owner = static_cast<uint32_t*>(
      VirtualAlloc(nullptr, size_t(g_pages) * sizeof(uint32_t), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
  g_blocks = static_cast<Block*>(
      VirtualAlloc(nullptr, size_t(g_pages) * sizeof(Block), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
  g_quarantine = static_cast<uint32_t*>(
      VirtualAlloc(nullptr, kQuarantineSlots * sizeof(uint32_t), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
  if (!g_owner || !g_blocks || !g_quarantine) {
    VirtualFree(g_arena, 0, MEM_RELEASE);
    g_arena = nullptr;
    return false;
  }
  g_qPageLimit = g_pages / 8;
  AddVectoredExceptionHandler(1, OnFault);
  return true;
}

size_t NaturalAlignment(size_t size) {
  const size_t lowest = size & (~size + 1);
  return lowest && lowest < kMaxAlign ? lowest : kMaxAlign;
}

}  // namespace

extern "C" {

void* __cdecl ZorGuardAlloc(size_t size, size_t align, int kind, void* caller) {
  if (!g_arena) return (kind & kZorGuardZero) ? calloc(size ? size : 1, 1) : malloc(size ? size : 1);
  if (!align) align = NaturalAlignment(size);
  if ((align & (align - 1)) || align > kPage || size > size_t(g_pages / 4) * kPage) return nullptr;
  const size_t bytes = (size + align - 1) & ~(align - 1);
  const uint32_t dataPages = static_cast<uint32_t>((bytes + kPage - 1) / kPage);
  const uint32_t span = dataPages + 1;
  Lock lock;
  uint32_t first = TakeRange(span);
  while (first == UINT32_MAX && g_qCount) {  // the arena is full: give the quarantine back
    EvictOldest();
    first = TakeRange(span);
  }
  if (first == UINT32_MAX) return nullptr;
  char* start = PageAddress(first);
  if (dataPages && !VirtualAlloc(start, size_t(dataPages) * kPage, MEM_COMMIT, PAGE_READWRITE)) {
    // Out of memory, or the host system refuses more mappings (every live
    // block is two: its pages and its guard page; Linux allows
    // vm.max_map_count of them, 65530 by default, which setup raises): the
    // caller gets null, as from any heap, and must cope.
    PutRange(first, span);
    return nullptr;
  }
  for (uint32_t p = first; p < first + span; ++p) g_owner[p] = first + 1;
  Block& b = g_blocks[first];
  b.size = size;
  b.allocatedBy = caller;
  b.freedBy = nullptr;
  b.span = span;
  b.offset = static_cast<uint32_t>(size_t(dataPages) * kPage - bytes);
  b.next = 0;
  b.state = kLive;
  b.kind = static_cast<uint8_t>(kind & 0xF);
  b.guardOpen = 0;
  char* user = start + b.offset;
  std::memset(start, kSlack, b.offset);
  std::memset(user, (kind & kZorGuardZero) ? 0 : kFresh, size);
  std::memset(user + size, kSlack, bytes - size);
  return user;
}

void __cdecl ZorGuardFree(void* p, int kind, size_t size, void* caller) {
  if (!p) return;
  if (!InArena(p)) {
    if (kind == kZorGuardMalloc || !g_arena) {
      free(p);  // msvcrt's own block (from _wfullpath and the like), or no arena at all
      return;
    }
    Message m = Report("free of a pointer the heap never handed out");
    m << FreeName(kind) << " of ";
    m.Ptr(p) << " at ";
    m.Code(caller).Fail();
  }
  Lock lock;
  const uint32_t first = LiveBlock(p, FreeName(kind), caller);
  Block& b = g_blocks[first];
  CheckKind(first, kind, FreeName(kind), caller);
  if (size != kZorGuardUnsized && size != b.size) {
    Message m = Report("sized delete with the wrong size");
    m.Dec(size) << " bytes stated at ";
    m.Code(caller) << " for ";
    m.BlockAt(first).Fail();
  }
  CheckSlack(first, caller);
  if (b.span > 1 || b.guardOpen) VirtualFree(PageAddress(first), DataBytes(b) + (b.guardOpen ? kPage : 0), MEM_DECOMMIT);
  b.state = kQuarantined;
  b.freedBy = caller;
  Quarantine(first);
}

void* __cdecl ZorGuardRealloc(void* p, size_t size, int zeroGrowth, void* caller) {
  if (!p) return ZorGuardAlloc(size, 0, kZorGuardMalloc | (zeroGrowth ? kZorGuardZero : 0), caller);
  if (!InArena(p)) return realloc(p, size);
  size_t old;
  {
    Lock lock;
    const uint32_t first = LiveBlock(p, "realloc", caller);
    CheckKind(first, kZorGuardMalloc, "realloc", caller);
    old = g_blocks[first].size;
  }
  if (size == 0) {
    ZorGuardFree(p, kZorGuardMalloc, kZorGuardUnsized, caller);
    return nullptr;
  }
  void* moved = ZorGuardAlloc(size, 0, kZorGuardMalloc, caller);
  if (!moved) return nullptr;  // like realloc: the old block stays
  std::memcpy(moved, p, old < size ? old : size);
  if (zeroGrowth && size > old) std::memset(static_cast<char*>(moved) + old, 0, size - old);
  ZorGuardFree(p, kZorGuardMalloc, kZorGuardUnsized, caller);
  return moved;
}

size_t __cdecl ZorGuardSize(void* p) {
  if (!InArena(p)) return _msize(p);
  Lock lock;
  return g_blocks[LiveBlock(p, "_msize", __builtin_return_address(0))].size;
}

}  // extern "C"

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH && !Init()) {
    static const char kNote[] = "guard heap: could not reserve its arena; allocations are not checked\n";
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), kNote, sizeof kNote - 1, &written, nullptr);
  }
  return TRUE;
}
