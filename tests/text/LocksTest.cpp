// CLock and CSlipLock across real threads.
#include "tests/support/TestSupport.h"

#include <zorutils/internal/TestSeams.h>

#include <windows.h>

#include <atomic>
#include <functional>

namespace {

void OnOtherThread(std::function<void()> body) { zortest::RunOnThread(std::move(body)); }

TEST(SlipLock, OwnerMustUnlockAsOftenAsItLocked) {
  CSlipLock lock;
  EXPECT_TRUE(lock.Lock());
  EXPECT_TRUE(lock.Lock());
  EXPECT_TRUE(lock.RequestLock());  // recursion through the request form too
  bool other = true;
  for (int i = 0; i < 3; ++i) {
    OnOtherThread([&] { other = lock.RequestLock(); });
    EXPECT_FALSE(other) << "after " << i << " unlocks";
    lock.Unlock();
  }
  OnOtherThread([&] {
    other = lock.RequestLock();
    if (other) lock.Unlock();
  });
  EXPECT_TRUE(other);
}

TEST(SlipLock, RequestFailsAtOnceAndTimeoutWaits) {
  CSlipLock lock;
  ASSERT_TRUE(lock.Lock());
  DWORD requestMs = 0, timeoutMs = 0;
  bool requested = true, timed = true;
  OnOtherThread([&] {
    DWORD t0 = GetTickCount();
    requested = lock.RequestLock();
    DWORD t1 = GetTickCount();
    timed = lock.LockWithTimeout(100);
    DWORD t2 = GetTickCount();
    requestMs = t1 - t0;
    timeoutMs = t2 - t1;
  });
  EXPECT_FALSE(requested);
  EXPECT_FALSE(timed);
  EXPECT_LT(requestMs, 80u);  // generous: "at once"
  EXPECT_GE(timeoutMs, 90u);  // about 100 ms, never much less
  EXPECT_LT(timeoutMs, 2000u);
  lock.Unlock();
}

TEST(SlipLock, UnlockByNonOwnerChangesNothing) {
  CSlipLock lock;
  ASSERT_TRUE(lock.Lock());
  OnOtherThread([&] { lock.Unlock(); });
  bool other = true;
  OnOtherThread([&] { other = lock.RequestLock(); });
  EXPECT_FALSE(other);
  lock.Unlock();
  lock.Unlock();  // once more than locked: the lock is free, nothing happens
  OnOtherThread([&] {
    other = lock.RequestLock();
    if (other) lock.Unlock();
  });
  EXPECT_TRUE(other);
}

TEST(SlipLock, WaiterGetsTheLockWhenOwnerReleases) {
  CSlipLock lock;
  ASSERT_TRUE(lock.Lock());
  std::atomic<bool> got{false};
  HANDLE started = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  HANDLE t = zortest::StartThread([&] {
    SetEvent(started);
    bool ok = lock.LockWithTimeout(10000);
    got = ok;
    if (ok) lock.Unlock();
  });
  WaitForSingleObject(started, INFINITE);
  Sleep(50);
  EXPECT_FALSE(got.load());
  lock.Unlock();
  EXPECT_EQ(WaitForSingleObject(t, 10000), WAIT_OBJECT_0);
  EXPECT_TRUE(got.load());
  CloseHandle(t);
  CloseHandle(started);
}

TEST(SlipLock, CountsStayExactUnderContention) {
  CSlipLock lock;
  long counter = 0;
  const int kThreads = 4, kRounds = zortest::HeapChecked() ? 200 : 2000;
  HANDLE threads[kThreads];
  for (HANDLE& h : threads)
    h = zortest::StartThread([&] {
      for (int i = 0; i < kRounds; ++i) {
        lock.Lock();
        lock.Lock();  // recursive
        long v = counter;
        counter = v + 1;
        lock.Unlock();
        lock.Unlock();
      }
    });
  WaitForMultipleObjects(kThreads, threads, TRUE, INFINITE);
  for (HANDLE h : threads) CloseHandle(h);
  EXPECT_EQ(counter, kThreads * kRounds);
}

TEST(Lock, TryToLockFailsWhileAnotherThreadHolds) {
  CLock lock;
  lock.Lock();
  EXPECT_NE(lock.TryToLock(), 0);  // recursive for the owner
  lock.Unlock();
  int other = -1;
  OnOtherThread([&] { other = lock.TryToLock(); });
  EXPECT_EQ(other, 0);
  lock.Unlock();
  OnOtherThread([&] {
    other = lock.TryToLock();
    if (other) lock.Unlock();
  });
  EXPECT_NE(other, 0);
}

TEST(Lock, WithoutTryEnterTryToLockBlocksAndReturnsOne) {
  ZorTest_HideTryEnterCriticalSection(true);
  {
    CLock lock;
    lock.Lock();
    HANDLE done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    int result = -1;
    HANDLE t = zortest::StartThread([&] {
      result = lock.TryToLock();
      SetEvent(done);
      lock.Unlock();
    });
    // The other thread waits for the section instead of failing.
    EXPECT_EQ(WaitForSingleObject(done, 150), static_cast<DWORD>(WAIT_TIMEOUT));
    lock.Unlock();
    EXPECT_EQ(WaitForSingleObject(done, 10000), WAIT_OBJECT_0);
    EXPECT_EQ(result, 1);
    WaitForSingleObject(t, INFINITE);
    CloseHandle(t);
    CloseHandle(done);
  }
  ZorTest_HideTryEnterCriticalSection(false);
  CLock again;  // looked up again at the next construction
  again.Lock();
  int other = -1;
  OnOtherThread([&] { other = again.TryToLock(); });
  EXPECT_EQ(other, 0);
  again.Unlock();
}

}  // namespace
