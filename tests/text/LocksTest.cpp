// CLock and CSlipLock across real threads.
#include "tests/support/TestSupport.h"

#include <zorutils/internal/TestSeams.h>

using zortest::RunOnThread;

TEST(SlipLock, OwnerMustUnlockAsOftenAsItLockedOthersFailAtOnceOrAfterTheirTimeout) {
  CSlipLock lock;
  EXPECT_TRUE(lock.Lock() && lock.Lock() && lock.RequestLock());  // recursion through both forms
  bool other = true;
  for (int i = 0; i < 3; ++i) {
    DWORD requestMs = 0, timeoutMs = 0;
    RunOnThread([&] {
      lock.Unlock();  // not the owner: changes nothing
      const DWORD t0 = GetTickCount();
      other = lock.RequestLock();
      requestMs = GetTickCount() - t0;
      other = lock.LockWithTimeout(100) || other;
      timeoutMs = GetTickCount() - t0 - requestMs;
    });
    EXPECT_FALSE(other) << "after " << i << " unlocks";
    EXPECT_LT(requestMs, 80u);  // generous: "at once"
    EXPECT_GE(timeoutMs, 90u);  // about 100 ms, never much less
    lock.Unlock();
  }
  lock.Unlock();  // once more than locked: nothing happens
  EXPECT_TRUE(lock.Lock());  // taken afresh, it excludes the others again
  RunOnThread([&] { other = lock.RequestLock(); });
  EXPECT_FALSE(other);
  lock.Unlock();
  RunOnThread([&] { other = lock.RequestLock(); });
  EXPECT_TRUE(other);
}

TEST(Lock, TryToLockFailsWhileAnotherThreadHoldsOrWaitsWithoutTryEnter) {
  for (bool hidden : {true, false}) {
    // Hidden: a system without TryEnterCriticalSection, where TryToLock waits
    // for the section instead of failing and then returns 1. Shown again, the
    // next construction looks it up afresh.
    ZorTest_HideTryEnterCriticalSection(hidden);
    CLock lock;
    lock.Lock();
    int result = -1;
    HANDLE t = zortest::StartThread([&] {
      result = lock.TryToLock();
      if (result) lock.Unlock();
    });
    EXPECT_EQ(WaitForSingleObject(t, hidden ? 150 : 10000), hidden ? DWORD{WAIT_TIMEOUT} : WAIT_OBJECT_0);
    EXPECT_EQ(result, hidden ? -1 : 0);
    lock.Unlock();
    EXPECT_EQ(WaitForSingleObject(t, 10000), WAIT_OBJECT_0);
    EXPECT_EQ(result, hidden ? 1 : 0);
    EXPECT_NE(lock.TryToLock(), 0);  // free again
    lock.Unlock();
    CloseHandle(t);
  }
}
