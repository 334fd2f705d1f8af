// The promo blend against the plain formula: every byte pair, colour and
// weight on each path, with odd lengths, unaligned pointers, output over an
// input, and row padding left alone.
//
// Blend.h is internal to the DLL (none of it is exported), so the test builds
// the same source in; that also reaches the portable path, which x86_64
// never takes and i686 takes only on a processor without SSE2.
#include <zorutils/promo/Blend.cpp>

#include "tests/support/TestSupport.h"

#include <algorithm>
#include <string>

namespace {

using namespace zorpromo;
using Bytes = std::vector<unsigned char>;

int Formula(int from, int to, int p) {
  p = std::min(100, std::max(0, p));
  return from * (100 - p) / 100 + to * p / 100;
}

// The machine's path through the public functions, and the portable one.
struct Path {
  const char* name;
  void (*bytes)(const unsigned char*, const unsigned char*, unsigned char*, size_t, int);
  void (*toward)(const unsigned char*, unsigned char*, size_t, int, int, unsigned long, int);
};
const Path kPaths[] = {
    {BlendPath(), BlendBytes, BlendTowardColor},
    {"portable",
     [](const unsigned char* a, const unsigned char* b, unsigned char* out, size_t n, int p) {
       detail::BlendBytesWith(detail::BlendKernel::Portable, a, b, out, n, p);
     },
     [](const unsigned char* s, unsigned char* out, size_t row, int w, int h, unsigned long c, int q) {
       detail::BlendTowardColorWith(detail::BlendKernel::Portable, s, out, row, w, h, c, q);
     }}};

// "" when equal, else the first difference.
std::string Diff(const Bytes& got, const Bytes& want) {
  const auto m = std::mismatch(got.begin(), got.end(), want.begin());
  if (m.first == got.end()) return "";
  return "byte " + std::to_string(m.first - got.begin()) + " is " + std::to_string(*m.first) + ", not " +
         std::to_string(*m.second);
}

TEST(Blend, BytesFollowTheFormulaForEveryPairAndWeight) {
  for (const Path& path : kPaths)
    for (int p = -2; p <= 102; ++p) {  // clamped outside 0..100
      // All 65536 pairs, then a tail of 0..16; a, b and out each misaligned
      // their own way, and out written over a or b for two weights in three.
      const unsigned k = static_cast<unsigned>(p + 2);
      const size_t count = 65536 + k % 17, at[3] = {k % 7, k % 5, k % 3};
      Bytes buf[3] = {Bytes(at[0] + count + 1, 0xA5), Bytes(at[1] + count + 1, 0x5A), Bytes(at[2] + count + 1, 0xC3)};
      for (size_t i = 0; i < count; ++i) {
        buf[0][at[0] + i] = static_cast<unsigned char>(i >> 8);
        buf[1][at[1] + i] = static_cast<unsigned char>(i);
      }
      const int o = k % 3 == 0 ? 2 : k % 3 == 1 ? 0 : 1;
      Bytes want = buf[o];
      for (size_t i = 0; i < count; ++i) want[at[o] + i] = static_cast<unsigned char>(Formula(i >> 8 & 255, i & 255, p));
      path.bytes(&buf[0][at[0]], &buf[1][at[1]], &buf[o][at[o]], count, p);
      ASSERT_EQ(Diff(buf[o], want), "") << path.name << " p=" << p << " out=" << o;
    }
}

TEST(Blend, FadeFollowsTheFormulaForEveryByteColourAndWeightAndKeepsRowPadding) {
  // 259 pixels fill 777 bytes of a 780-byte row: a vector tail and three
  // bytes of padding per row. Each row holds every value at each byte of a
  // pixel; across the 256 colours each of blue, green and red takes every value.
  const int kWidth = 259, kHeight = 3;
  const size_t kRow = (kWidth * 24 + 31) / 32 * 4, kFrame = kRow * kHeight, kSize = 3 + kFrame + 1;
  auto pixelByte = [&](size_t i) { return i % kRow < 3 * kWidth; };
  Bytes base[4], src, own, want;  // a frame at each misalignment; buffers reused
  for (size_t at = 0; at < 4; ++at) {
    base[at].assign(kSize, 0xEE);
    for (size_t i = 0; i < kFrame; ++i)
      if (pixelByte(i)) base[at][at + i] = static_cast<unsigned char>(i % kRow / 3 + 85 * (i % kRow % 3) + 31 * (i / kRow));
  }
  for (const Path& path : kPaths)
    for (int q = -1; q <= 101; ++q)
      for (int c = 0; c < 256; ++c) {
        const size_t at = c % 4;
        src = base[at];
        own.assign(kSize, 0x77);
        Bytes& out = c % 2 ? src : own;  // in place for odd colours
        const int color[3] = {c, (c + 85) & 255, (c + 170) & 255};  // blue, green, red
        want = out;
        for (size_t i = 0; i < kFrame; ++i)
          if (pixelByte(i)) want[at + i] = static_cast<unsigned char>(Formula(src[at + i], color[i % kRow % 3], q));
        path.toward(&src[at], &out[at], kRow, kWidth, kHeight,
                    static_cast<unsigned long>(color[2] | color[1] << 8 | color[0] << 16), q);
        ASSERT_EQ(Diff(out, want), "") << path.name << " q=" << q << " colour " << c;
      }
}

TEST(Blend, BadArgumentsWriteNothing) {
  EXPECT_STREQ(BlendPath(), IsProcessorFeaturePresent(PF_XMMI64_INSTRUCTIONS_AVAILABLE) ? "sse2" : "portable");
  Bytes a(24, 10), b(24, 200), out(24, 7);
  const size_t negative = static_cast<size_t>(-6);  // a bottom-up stride or a length below 0, cast
  for (const Path& path : kPaths) {
    path.bytes(nullptr, b.data(), out.data(), 24, 50);
    path.bytes(a.data(), nullptr, out.data(), 24, 50);
    path.bytes(a.data(), b.data(), nullptr, 24, 50);
    path.bytes(a.data(), b.data(), out.data(), 0, 50);
    path.bytes(a.data(), b.data(), out.data(), negative, 50);
    // Rows of 12 bytes hold 4 pixels.
    const struct { const unsigned char* src; unsigned char* out; size_t row; int width, height; } fades[] = {
        {nullptr, out.data(), 12, 4, 2}, {a.data(), nullptr, 12, 4, 2}, {a.data(), out.data(), 12, 5, 2},
        {a.data(), out.data(), 12, 0, 2}, {a.data(), out.data(), 12, -1, 2}, {a.data(), out.data(), 12, 4, 0},
        {a.data(), out.data(), 12, 4, -2}, {a.data(), out.data(), negative, 1, 2}, {a.data(), out.data(), negative, 1, 1}};
    for (const auto& f : fades) path.toward(f.src, f.out, f.row, f.width, f.height, 0xFFFFFF, 50);
    EXPECT_EQ(Diff(out, Bytes(24, 7)), "") << path.name;
  }
}

}  // namespace
