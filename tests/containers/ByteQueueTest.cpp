// CByteQueue: buffer records, the recycling decisions, deep copies, atomic
// sequences under Lock(), and a real producer/consumer pair.
#include "tests/support/TestSupport.h"

#include <atomic>
#include <algorithm>
#include <thread>
#include <vector>

namespace {

struct PeekQueue : CByteQueue {
  using CByteQueue::CByteQueue;
  int Buffers() const { return m_buffers.GetSize(); }
  const TQueueBuffer& Buffer(int i) const { return *m_buffers[i]; }
};

std::vector<unsigned char> Pattern(size_t n, unsigned seed) {
  std::vector<unsigned char> v(n);
  for (size_t i = 0; i < n; ++i) {
    seed = seed * 1664525u + 1013904223u;
    v[i] = static_cast<unsigned char>(seed >> 24);
  }
  return v;
}

TEST(ByteQueue, SmallBufferIsFreedWhenReadEmpty) {
  PeekQueue q;
  auto data = Pattern(10, 1);
  EXPECT_TRUE(q.AddData(data.data(), 10));
  ASSERT_EQ(q.Buffers(), 1);
  EXPECT_EQ(q.Buffer(0).nCapacity, 10u);
  EXPECT_EQ(q.Buffer(0).nFreeAtEnd, 0u);
  unsigned char out[16] = {0};
  EXPECT_EQ(q.GetData(out, 4), 4u);
  EXPECT_EQ(q.Buffer(0).nHeld, 6u);
  EXPECT_EQ(q.TotalBytesAvailable(), 6u);
  EXPECT_EQ(q.GetData(out + 4, 6), 6u);
  EXPECT_EQ(q.Buffers(), 0);  // 10 bytes is below the recycle minimum
  EXPECT_EQ(std::vector<unsigned char>(out, out + 10), data);
}

TEST(ByteQueue, EmptiedBufferIsReusedForTheNextWrite) {
  PeekQueue q;
  auto big = Pattern(40000, 2);
  q.AddData(big.data(), 40000);
  const unsigned char* block = q.Buffer(0).pBlock;
  std::vector<unsigned char> out(40000);
  EXPECT_EQ(q.GetData(out.data(), 40000), 40000u);
  ASSERT_EQ(q.Buffers(), 1);  // kept, empty, for reuse
  EXPECT_EQ(q.Buffer(0).nHeld, 0u);
  EXPECT_EQ(q.Buffer(0).pRead, nullptr);
  EXPECT_EQ(q.Buffer(0).nFreeAtEnd, 40000u);
  auto small = Pattern(100, 3);
  q.AddData(small.data(), 100);
  ASSERT_EQ(q.Buffers(), 1);
  EXPECT_EQ(q.Buffer(0).pBlock, block);
  EXPECT_EQ(q.Buffer(0).nFreeAtEnd, 39900u);
  auto more = Pattern(50, 4);
  q.AddData(more.data(), 50);  // appended after the unread 100
  EXPECT_EQ(q.Buffers(), 1);
  EXPECT_EQ(q.Buffer(0).nHeld, 150u);
  unsigned char got[200];
  EXPECT_EQ(q.GetData(got, 200), 150u);  // only what is there
  EXPECT_EQ(std::vector<unsigned char>(got, got + 100), small);
  EXPECT_EQ(std::vector<unsigned char>(got + 100, got + 150), more);
}

TEST(ByteQueue, RecycleLimitsAreInclusive) {
  EXPECT_EQ(CByteQueue().MinRecycleBufferSize(), 32000u);
  EXPECT_EQ(CByteQueue().MaxRecycleBufferSize(), 1000000u);
  struct Case {
    unsigned long size;
    bool kept;
  } cases[] = {{31999, false}, {32000, true}, {1000000, true}, {1000001, false}};
  for (const Case& c : cases) {
    PeekQueue q;
    std::vector<unsigned char> data(c.size, 0x5A);
    q.AddData(data.data(), c.size);
    EXPECT_EQ(q.GetData(data.data(), c.size), c.size);
    EXPECT_EQ(q.Buffers(), c.kept ? 1 : 0) << c.size;
  }
  PeekQueue off;
  off.SetRecycleBuffers(false);
  EXPECT_FALSE(off.RecycleBuffers());
  std::vector<unsigned char> data(40000, 1);
  off.AddData(data.data(), 40000);
  off.GetData(data.data(), 40000);
  EXPECT_EQ(off.Buffers(), 0);
}

TEST(ByteQueue, WriteSpillsFromKeptBuffersIntoOneNewBuffer) {
  PeekQueue q;
  std::vector<unsigned char> a(32000, 1), b(50000, 2);
  q.AddData(a.data(), 32000);
  q.AddData(b.data(), 50000);
  std::vector<unsigned char> out(82000);
  q.GetData(out.data(), 82000);
  ASSERT_EQ(q.Buffers(), 2);  // both kept, in the order they were emptied
  EXPECT_EQ(q.Buffer(0).nCapacity, 32000u);
  auto c = Pattern(100000, 5);
  EXPECT_EQ(q.AddDataToRecycledBuffers(c.data(), 100000), 82000u);
  q.RemoveEverything();
  EXPECT_EQ(q.Buffers(), 0);
  q.AddData(a.data(), 32000);
  q.GetData(out.data(), 32000);
  EXPECT_TRUE(q.AddData(c.data(), 100000));
  ASSERT_EQ(q.Buffers(), 2);
  EXPECT_EQ(q.Buffer(0).nHeld, 32000u);
  EXPECT_EQ(q.Buffer(1).nCapacity, 68000u);  // exactly the rest
  std::vector<unsigned char> got(100000);
  EXPECT_EQ(q.GetData(got.data(), 100000), 100000u);
  EXPECT_EQ(got, c);
}

TEST(ByteQueue, BadArgumentsChangeNothing) {
  CByteQueue q;
  unsigned char byte = 7;
  EXPECT_FALSE(q.AddData(nullptr, 5));
  EXPECT_FALSE(q.AddData(&byte, 0));
  EXPECT_EQ(q.AddDataToRecycledBuffers(nullptr, 5), 0u);
  EXPECT_EQ(q.GetData(&byte, 1), 0u);
  q.AddData(&byte, 1);
  EXPECT_EQ(q.GetData(nullptr, 1), 0u);
  EXPECT_EQ(q.GetData(&byte, 0), 0u);
  EXPECT_EQ(q.TotalBytesAvailable(), 1u);
}

// Random writes and reads against a plain model, switching recycling on and
// off on the way: no byte may be lost, duplicated or reordered.
TEST(ByteQueue, KeepsOrderAcrossRecyclingAndFlagChanges) {
  CByteQueue q;
  // The model: every byte written, and how many of them were read.
  std::vector<unsigned char> model;
  size_t readPos = 0;
  model.reserve(8u << 20);
  unsigned seed = 99;
  auto next = [&seed] { return seed = seed * 1103515245u + 12345u, seed >> 8; };
  std::vector<unsigned char> buf(120000);
  const int rounds = zortest::HeapChecked() ? 300 : 3000;
  for (int r = 0; r < rounds; ++r) {
    unsigned op = next() % 10;
    if (op == 0) q.SetRecycleBuffers(!q.RecycleBuffers());
    unsigned long n = next() % (op < 5 ? 70000 : 110000) + 1;
    if (op < 5) {
      for (unsigned long i = 0; i < n; ++i) buf[i] = static_cast<unsigned char>(next());
      ASSERT_TRUE(q.AddData(buf.data(), n));
      model.insert(model.end(), buf.begin(), buf.begin() + n);
    } else {
      unsigned long got = q.GetData(buf.data(), n);
      ASSERT_EQ(got, std::min<unsigned long>(n, model.size() - readPos)) << r;
      ASSERT_TRUE(std::equal(buf.begin(), buf.begin() + got, model.begin() + readPos)) << r;
      readPos += got;
    }
    if (readPos > (4u << 20)) {  // drop what was read, keep the rest
      model.erase(model.begin(), model.begin() + readPos);
      readPos = 0;
    }
    ASSERT_EQ(q.TotalBytesAvailable(), model.size() - readPos);
  }
}

TEST(ByteQueue, CopiesAreDeepAndExactlySized) {
  PeekQueue src;
  src.SetRecycleBuffers(false);
  auto a = Pattern(40000, 6);
  auto b = Pattern(300, 7);
  src.AddData(a.data(), 40000);
  src.AddData(b.data(), 300);
  std::vector<unsigned char> skip(1000);
  src.GetData(skip.data(), 1000);
  PeekQueue copy(src);
  ASSERT_EQ(copy.Buffers(), 2);
  EXPECT_EQ(copy.Buffer(0).nCapacity, 39000u);
  EXPECT_NE(copy.Buffer(0).pBlock, src.Buffer(0).pBlock);
  EXPECT_FALSE(copy.RecycleBuffers());
  PeekQueue assigned;
  assigned.AddData(b.data(), 300);
  assigned = src;
  assigned = assigned;  // nothing happens
  EXPECT_EQ(assigned.TotalBytesAvailable(), 39300u);
  std::vector<unsigned char> out(39300);
  EXPECT_EQ(assigned.GetData(out.data(), 39300), 39300u);
  EXPECT_TRUE(std::equal(a.begin() + 1000, a.end(), out.begin()));
  EXPECT_TRUE(std::equal(b.begin(), b.end(), out.begin() + 39000));
  EXPECT_EQ(src.TotalBytesAvailable(), 39300u);  // the source is untouched
}

TEST(ByteQueue, LockMakesSeveralCallsAtomic) {
  CByteQueue q;
  unsigned char data[64] = {0};
  q.Lock();
  q.AddData(data, 10);
  std::atomic<unsigned long> seen{~0ul};
  std::thread reader([&] { seen = q.TotalBytesAvailable(); });
  Sleep(100);
  EXPECT_EQ(seen.load(), ~0ul);  // still waiting for the lock
  q.AddData(data, 20);
  q.Unlock();
  reader.join();
  EXPECT_EQ(seen.load(), 30u);  // saw both writes or nothing
}

// A producer and a consumer on real threads move a deterministic stream in
// odd-sized blocks; every byte is checked in place and by checksum.
TEST(ByteQueue, ProducerAndConsumerThreadsMoveEveryByteInOrder) {
  const unsigned long long total = zortest::HeapChecked() ? (32ull << 20) : (256ull << 20);
  const unsigned long limit = 4u << 20;  // keep the queue bounded, as a host would
  auto byteAt = [](unsigned long long i) {
    return static_cast<unsigned char>((i * 2654435761ull) >> 13 ^ (i >> 7));
  };
  CByteQueue q;
  unsigned long long producerSum = 0;
  std::thread producer([&] {
    std::vector<unsigned char> block(99991);
    unsigned seed = 17;
    unsigned long long sent = 0;
    while (sent < total) {
      seed = seed * 1103515245u + 12345u;
      unsigned long n = (seed >> 8) % 99991 | 1;  // odd sizes from 1 to 99991
      if (n > total - sent) n = static_cast<unsigned long>(total - sent);
      for (unsigned long i = 0; i < n; ++i) {
        block[i] = byteAt(sent + i);
        producerSum = producerSum * 31 + block[i];
      }
      while (q.TotalBytesAvailable() > limit) Sleep(0);
      if (!q.AddData(block.data(), n)) return;
      sent += n;
    }
  });
  unsigned long long received = 0, consumerSum = 0, misplaced = 0;
  std::vector<unsigned char> out(65521);
  unsigned seed = 23;
  while (received < total) {
    seed = seed * 1103515245u + 12345u;
    unsigned long want = (seed >> 8) % 65521 | 1;
    unsigned long got = q.GetData(out.data(), want);
    if (got == 0) {
      Sleep(0);
      continue;
    }
    for (unsigned long i = 0; i < got; ++i) {
      consumerSum = consumerSum * 31 + out[i];
      if (out[i] != byteAt(received + i)) ++misplaced;
    }
    received += got;
  }
  producer.join();
  EXPECT_EQ(received, total);
  EXPECT_EQ(misplaced, 0u);
  EXPECT_EQ(consumerSum, producerSum);
  EXPECT_EQ(q.TotalBytesAvailable(), 0u);
}

}  // namespace
