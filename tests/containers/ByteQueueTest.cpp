// CByteQueue: buffer records, recycling, deep copies, Lock() and a real producer/consumer pair.
#include "tests/support/TestSupport.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace {

using Bytes = std::vector<unsigned char>;

struct PeekQueue : CByteQueue {
  // "capacity:held:free-at-end" of each buffer, front first.
  std::string State() const {
    std::string s;
    for (int i = 0; i < m_buffers.GetSize(); ++i)
      s += std::to_string(m_buffers[i]->nCapacity) + ":" + std::to_string(m_buffers[i]->nHeld) + ":" + std::to_string(m_buffers[i]->nFreeAtEnd) + " ";
    return s;
  }
};

Bytes Pattern(size_t n, unsigned seed) {
  Bytes v(n);
  for (size_t i = 0; i < n; ++i) v[i] = static_cast<unsigned char>((seed = seed * 1664525u + 1013904223u) >> 24);
  return v;
}

TEST(ByteQueue, EmptiedBuffersWithinTheRecycleLimitsAreKeptAndRefilled) {
  // size, recycling on, kept once read empty: 32000 to 1000000 bytes are kept
  const unsigned long cases[][3] = {{10, 1, 0}, {31999, 1, 0}, {32000, 1, 1}, {1000000, 1, 1}, {1000001, 1, 0}, {40000, 0, 0}};
  for (const auto& c : cases) {
    PeekQueue q;
    q.SetRecycleBuffers(c[1] != 0);
    Bytes data(c[0], 0x5A);
    q.AddData(data.data(), c[0]);
    const std::string size = std::to_string(c[0]);
    EXPECT_EQ(q.GetData(data.data(), c[0]), c[0]);
    EXPECT_EQ(q.State(), c[2] ? size + ":0:" + size + " " : "") << size;  // kept empty, or freed
  }

  PeekQueue q;
  Bytes big = Pattern(40000, 2), small = Pattern(150, 3), out(40000);
  q.AddData(big.data(), 40000);
  EXPECT_EQ(q.GetData(out.data(), 4), 4u);
  EXPECT_EQ(q.State(), "40000:39996:0 ");
  EXPECT_EQ(q.GetData(out.data() + 4, 40000), 39996u);  // only what is there
  EXPECT_EQ(out, big);
  q.AddData(small.data(), 100);       // into the kept block, from its start
  q.AddData(small.data() + 100, 50);  // after the unread 100
  EXPECT_EQ(q.State(), "40000:150:39850 ");
  EXPECT_EQ(q.GetData(out.data(), 150), 150u);
  EXPECT_EQ(Bytes(out.begin(), out.begin() + 150), small);
}

TEST(ByteQueue, WriteSpillsIntoOneNewBufferOfExactlyTheRestAndCopiesAreDeep) {
  PeekQueue q;
  Bytes a(32000, 1), b(50000, 2), c = Pattern(100000, 5), out(100000);
  q.AddData(a.data(), 32000);
  q.AddData(b.data(), 50000);
  q.GetData(out.data(), 82000);
  EXPECT_EQ(q.State(), "32000:0:32000 50000:0:50000 ");  // in the order they were emptied
  EXPECT_EQ(q.AddDataToRecycledBuffers(c.data(), 100000), 82000u);
  EXPECT_EQ(q.State(), "32000:32000:0 50000:50000:0 ");
  q.RemoveEverything();
  EXPECT_EQ(q.State(), "");
  q.AddData(a.data(), 32000);
  q.GetData(out.data(), 32000);
  EXPECT_TRUE(q.AddData(c.data(), 100000));
  EXPECT_EQ(q.State(), "32000:32000:0 68000:68000:0 ");
  EXPECT_EQ(q.GetData(out.data(), 1000), 1000u);

  // Copies take the unread bytes only, into buffers of exactly that size, and the flag.
  q.SetRecycleBuffers(false);
  PeekQueue copy(q), assigned;
  assigned.AddData(a.data(), 300);
  assigned = q;
  assigned = assigned;  // nothing happens
  for (PeekQueue* p : {&copy, &assigned, &q}) {  // the source last: it is untouched
    EXPECT_EQ(p->State(), p == &q ? "32000:31000:0 68000:68000:0 " : "31000:31000:0 68000:68000:0 ");
    EXPECT_FALSE(p->RecycleBuffers());
    EXPECT_EQ(p->GetData(out.data() + 1000, 100000), 99000u);
    EXPECT_EQ(out, c);
  }

  // Bad arguments change nothing.
  EXPECT_FALSE(q.AddData(nullptr, 5));
  EXPECT_FALSE(q.AddData(c.data(), 0));
  EXPECT_EQ(q.AddDataToRecycledBuffers(nullptr, 5), 0u);
  EXPECT_EQ(q.GetData(out.data(), 1), 0u);
  q.AddData(c.data(), 1);
  EXPECT_EQ(q.GetData(nullptr, 1) + q.GetData(out.data(), 0), 0u);
  EXPECT_EQ(q.State(), "1:1:0 ");
}

TEST(ByteQueue, LockMakesSeveralCallsAtomic) {
  CByteQueue q;
  unsigned char data[20] = {0};
  std::atomic<unsigned long> seen{~0ul};
  q.Lock();
  q.AddData(data, 10);
  std::thread reader([&] { seen = q.TotalBytesAvailable(); });
  Sleep(100);
  EXPECT_EQ(seen.load(), ~0ul);  // still waiting for the lock
  q.AddData(data, 20);
  q.Unlock();
  reader.join();
  EXPECT_EQ(seen.load(), 30u);  // saw both writes or nothing
}

// Producer and consumer threads move a deterministic stream in random odd-sized blocks while
// the consumer switches recycling on and off now and then: every byte arrives once, in order.
TEST(ByteQueue, ProducerAndConsumerThreadsMoveEveryByteInOrder) {
  const unsigned long long total = zortest::HeapChecked() ? (32ull << 20) : (256ull << 20);
  auto byteAt = [](unsigned long long i) { return static_cast<unsigned char>((i * 2654435761ull) >> 13 ^ (i >> 7)); };
  auto next = [](unsigned& seed) { return (seed = seed * 1103515245u + 12345u) >> 8; };
  CByteQueue q;
  std::thread producer([&] {
    Bytes block(99991);
    unsigned seed = 17;
    for (unsigned long long sent = 0; sent < total;) {
      const auto n = static_cast<unsigned long>(std::min<unsigned long long>(next(seed) % 99991 | 1, total - sent));
      for (unsigned long i = 0; i < n; ++i) block[i] = byteAt(sent + i);
      while (q.TotalBytesAvailable() > (4u << 20)) Sleep(0);  // bounded, as a host would keep it
      if (!q.AddData(block.data(), n)) return;
      sent += n;
    }
  });
  unsigned long long received = 0, misplaced = 0;
  Bytes out(65521);
  for (unsigned seed = 23; received < total;) {
    if (next(seed) % 50 == 0) q.SetRecycleBuffers(!q.RecycleBuffers());
    const unsigned long got = q.GetData(out.data(), next(seed) % 65521 | 1);
    if (got == 0) Sleep(0);
    for (unsigned long i = 0; i < got; ++i) misplaced += out[i] != byteAt(received + i);
    received += got;
  }
  producer.join();
  EXPECT_EQ(received, total);
  EXPECT_EQ(misplaced, 0u);
  EXPECT_EQ(q.TotalBytesAvailable(), 0u);
}

}  // namespace
