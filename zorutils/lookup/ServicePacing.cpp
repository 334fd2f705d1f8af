// One clock for every lookup of the process: the earliest moment at which the
// next request may go. A spin lock guards it: it is held for a few
// instructions, and needs no set-up when the library loads. Moments come
// from the performance counter in milliseconds: the tick count moves in
// steps of up to 16 ms on some systems, which would let an interval fall
// short of a second.
#include <zorutils/internal/ServicePacing.h>
#include <zorutils/internal/TestSeams.h>

namespace {

const DWORD kWaitStepMs = 50;

volatile LONG g_lock = 0;
ULONGLONG g_next = 0;  // no turn before this moment
volatile LONG g_intervalMs = 1000;
volatile LONG g_secondMs = 1000;

struct Guard {
  Guard() {
    while (InterlockedCompareExchange(&g_lock, 1, 0) != 0) Sleep(0);
  }
  ~Guard() { InterlockedExchange(&g_lock, 0); }
};

ULONGLONG NowMs() {
  static LARGE_INTEGER frequency;  // fixed while the system runs
  if (!frequency.QuadPart) QueryPerformanceFrequency(&frequency);
  LARGE_INTEGER now;
  QueryPerformanceCounter(&now);
  const ULONGLONG f = static_cast<ULONGLONG>(frequency.QuadPart), c = static_cast<ULONGLONG>(now.QuadPart);
  return c / f * 1000 + c % f * 1000 / f + 1;  // never 0, which means "no turn taken yet"
}

// Moves the clock to `ms` from now unless it is later already.
void PushTo(ULONGLONG ms) {
  const ULONGLONG until = NowMs() + ms;
  if (until > g_next) g_next = until;
}

}  // namespace

namespace zor {

bool TakeServiceTurn(StopWaitingProc stop, void* user) {
  for (;;) {
    if (stop && stop(user)) return false;
    ULONGLONG wait;
    {
      Guard guard;
      const ULONGLONG now = NowMs();
      if (now >= g_next) {
        g_next = now + static_cast<DWORD>(g_intervalMs);
        return true;
      }
      wait = g_next - now;
    }
    Sleep(wait < kWaitStepMs ? static_cast<DWORD>(wait) : kWaitStepMs);
  }
}

void ServiceRequestArrived() {
  Guard guard;
  PushTo(static_cast<DWORD>(g_intervalMs));
}

void HoldServiceRequests(unsigned long seconds) {
  const ULONGLONG ms = static_cast<ULONGLONG>(seconds) * static_cast<DWORD>(g_secondMs);
  Guard guard;
  PushTo(ms);
}

}  // namespace zor

void ZorTest_SetLookupPacing(DWORD intervalMs, DWORD secondMs) {
  {
    Guard guard;  // and forget the pauses asked so far
    g_next = 0;
  }
  InterlockedExchange(&g_intervalMs, static_cast<LONG>(intervalMs ? intervalMs : 1000));
  InterlockedExchange(&g_secondMs, static_cast<LONG>(secondMs ? secondMs : 1000));
}
