// The test harness itself: a crashing program ends at once and says why, and
// on the guard-page heap each kind of memory fault stops the program with its
// own message. Every fault is made on purpose in a child process.
#include "tests/support/TestSupport.h"

#include <zorutils/text/StringUtils.h>

#include <cstdint>
#include <cstdlib>
#include <new>
#include <stdexcept>

// The faults below are made on purpose.
#pragma GCC diagnostic ignored "-Wuse-after-free"
#pragma GCC diagnostic ignored "-Wfree-nonheap-object"

namespace {
// Hides a pointer's origin, so that the compiler cannot see (and warn about)
// the fault made through it.
template <class T>
T* Opaque(T* p) {
  asm volatile("" : "+r"(p));
  return p;
}
// Volatile accesses: the compiler may not drop them as dead stores (a write
// into a block that is freed next, say).
template <class T>
void Poke(T* p, T value) {
  *static_cast<volatile T*>(p) = value;
}
template <class T>
T Peek(const T* p) {
  return *static_cast<const volatile T*>(p);
}
}  // namespace

ZOR_CHILD_ACTION(NullWrite) { Poke(Opaque(static_cast<int*>(nullptr)), 1); }
ZOR_CHILD_ACTION(NullWriteUnreported) {
  SetUnhandledExceptionFilter(nullptr);
  Poke(Opaque(static_cast<int*>(nullptr)), 1);
}

TEST(Harness, CrashingChildFailsAtOnceAndSaysWhy) {
  const zortest::ChildResult r = zortest::RunChild("NullWrite");
  ASSERT_TRUE(r.finished) << "a crash must end the program, not wait: " << r.output;
  EXPECT_EQ(0xC0000005u, r.exitCode);
  EXPECT_NE(std::string::npos, r.output.find("harness_tests.exe: crashed: access violation writing 0x0 at "
                                             "harness_tests.exe+0x"))
      << r.output;
  // Without the program's own report, the Wine prefix must still end it:
  // no debugger, no crash dialog waiting on the display.
  const zortest::ChildResult raw = zortest::RunChild("NullWriteUnreported");
  ASSERT_TRUE(raw.finished) << raw.output;
  EXPECT_NE(0u, raw.exitCode);
}

ZOR_CHILD_ACTION(WcharOverrun) { Poke(Opaque(new wchar_t[3]) + 3, L'x'); }
ZOR_CHILD_ACTION(ReadAfterFree) {
  char* p = Opaque(static_cast<char*>(malloc(16)));
  free(p);
  Peek(p);
}
ZOR_CHILD_ACTION(DoubleFree) {
  void* p = Opaque(malloc(10));
  free(p);
  free(p);
}
ZOR_CHILD_ACTION(ReallocShrink) {
  char* p = static_cast<char*>(malloc(100));
  Poke(Opaque(static_cast<char*>(realloc(p, 10))) + 10, '!');
}
ZOR_CHILD_ACTION(AlignedSlack) {
  char* p = Opaque(static_cast<char*>(::operator new(10, std::align_val_t(64))));
  Poke(p + 10, '!');
  ::operator delete(p, std::align_val_t(64));
}
ZOR_CHILD_ACTION(Underrun) {
  char* p = Opaque(static_cast<char*>(malloc(10)));
  Poke(p - 1, '!');
  free(p);
}
ZOR_CHILD_ACTION(MismatchedRelease) { free(Opaque(new int[4])); }
ZOR_CHILD_ACTION(InteriorFree) { free(Opaque(static_cast<char*>(malloc(10))) + 2); }
ZOR_CHILD_ACTION(SystemOverread) {  // a text handed to the system without its terminator
  wchar_t* p = static_cast<wchar_t*>(malloc(3 * sizeof(wchar_t)));
  wmemset(p, L'x', 3);
  lstrlenW(Opaque(p));
}

TEST(GuardHeap, StopsEachFaultAtOnceWithItsMessage) {
  if (!zortest::GuardHeap()) GTEST_SKIP() << "needs the guard-heap build (preset x64-guard)";
  const struct {
    const char* child;
    const char* message;
  } cases[] = {
      {"WcharOverrun", "guard heap: write past the end of a block: 0 bytes past the end of the 6-byte block at 0x"},
      {"ReadAfterFree", "guard heap: use after free (read): 0 bytes into the 16-byte block at 0x"},
      {"DoubleFree", "guard heap: double free: the 10-byte block at 0x"},
      {"ReallocShrink", "guard heap: write past the end of a block: 0 bytes past the end of the 10-byte block"},
      {"AlignedSlack", "guard heap: write past the end of a block (found at free): 0 bytes past the end of the "
                       "10-byte block"},
      {"Underrun", "guard heap: write before the start of a block (found at free): 1 bytes before the 10-byte"},
      {"MismatchedRelease", "guard heap: mismatched release: a block from new[] released with free at "},
      {"InteriorFree", "guard heap: free of a pointer inside a block or freed memory: free of 0x"},
      {"SystemOverread", "guard heap: read past the end of a block: 0 bytes past the end of the 6-byte block"},
  };
  for (const auto& c : cases) {
    const zortest::ChildResult r = zortest::RunChild(c.child);
    EXPECT_TRUE(r.finished) << c.child;
    EXPECT_EQ(0xC0000374u, r.exitCode) << c.child << ": " << r.output;
    EXPECT_NE(std::string::npos, r.output.find(c.message)) << c.child << ": " << r.output;
    EXPECT_NE(std::string::npos, r.output.find("allocated at harness_tests.exe+0x")) << c.child << ": " << r.output;
  }
}

TEST(GuardHeap, KeepsEveryAllocatorContract) {
  if (!zortest::GuardHeap()) GTEST_SKIP() << "needs the guard-heap build (preset x64-guard)";
  // Blocks end on a page boundary and are aligned as far as their size allows.
  for (size_t size : {1, 6, 24, 32, 4096, 5000}) {
    char* p = static_cast<char*>(malloc(size));
    const uintptr_t at = reinterpret_cast<uintptr_t>(p);
    EXPECT_EQ(0u, (at + size) % 4096) << size;
    EXPECT_EQ(0u, at % (size % 16 == 0 ? 16 : size & (~size + 1))) << size;
    EXPECT_EQ(size, _msize(p));
    free(p);
  }
  int* zeroed = static_cast<int*>(calloc(5, sizeof(int)));
  zeroed = static_cast<int*>(realloc(zeroed, 50 * sizeof(int)));
  for (int i = 0; i < 5; ++i) EXPECT_EQ(0, zeroed[i]);
  free(zeroed);
  EXPECT_EQ(nullptr, calloc(~size_t(0) / 2, 4)) << "overflowing counts fail";
  // One heap for the process: a string the library allocates is freed here.
  wchar_t* copy = nullptr;
  CopyStringW(&copy, L"shared");
  free(copy);
  // A block from msvcrt.dll's own heap still goes back there.
  free(_wfullpath(nullptr, L"x", 0));
  // Wine's path parsing reads a unit past a short path's terminator: the
  // system's read past a terminated block is let through.
  wchar_t* drive = static_cast<wchar_t*>(malloc(2 * sizeof(wchar_t)));
  drive[0] = L'C';
  drive[1] = 0;
  GetFileAttributesW(drive);
  free(drive);
  // Exceptions live in blocks aligned only as far as their size allows.
  for (int round = 0; round < 2; ++round) {
    try {
      if (round) throw std::runtime_error("thrown");
      throw 7;
    } catch (const std::exception& e) {
      EXPECT_STREQ("thrown", e.what());
    } catch (int v) {
      EXPECT_EQ(7, v);
    }
  }
}
