// The promo blend against the plain formula: every byte pair, colour and
// weight on both paths, with short and odd lengths, unaligned pointers,
// output over an input, and row padding left alone.
//
// Blend.h is internal to the DLL (none of it is exported), so the test builds
// the same source in; its seam then also runs the portable path, which
// x86_64 never takes and i686 takes only on a processor without SSE2.
#include <zorutils/promo/Blend.cpp>

#include "tests/support/TestSupport.h"

#include <algorithm>

namespace {

using namespace zorpromo;
using Bytes = std::vector<unsigned char>;

unsigned char Formula(int from, int to, int p) {
  p = std::min(100, std::max(0, p));
  return static_cast<unsigned char>(from * (100 - p) / 100 + to * p / 100);
}

// The machine's path, then the portable one.
template <class Body>
void OnEachPath(Body body) {
  for (bool portable : {false, true}) detail::g_portableOnly = portable, body();
  detail::g_portableOnly = false;
}

size_t FirstDiff(const Bytes& got, const Bytes& want) {
  return std::mismatch(got.begin(), got.end(), want.begin(), want.end()).first - got.begin();
}

TEST(Blend, BytesFollowTheFormulaForEveryPairAndWeight) {
  // Pair i is a = (i >> 8) + 90, b = i + 165 (mod 256): every 65536 pairs in
  // a row are all the pairs, and the first few do not blend to what was there.
  auto pair = [](size_t i, int b) { return static_cast<unsigned char>(b ? i + 165 : (i >> 8) + 90); };
  OnEachPath([&] {
    for (int p = -2; p <= 102; ++p) {  // clamped outside 0..100
      // All pairs and a tail of 0..16 in two calls, the first 0..47 bytes
      // long; a, b and out each misaligned their own way, and out written
      // over a or b for two weights in three.
      const unsigned k = static_cast<unsigned>(p + 2);
      const size_t count = 65536 + k % 17, first = k % 48, at[3] = {k % 7, k % 5, k % 3};
      Bytes buf[3] = {Bytes(at[0] + count + 1, 0xA5), Bytes(at[1] + count + 1, 0x5A), Bytes(at[2] + count + 1, 0xC3)};
      for (size_t i = 0; i < count; ++i) buf[0][at[0] + i] = pair(i, 0), buf[1][at[1] + i] = pair(i, 1);
      const int o = (k + 2) % 3;
      Bytes want = buf[o];
      for (size_t i = 0; i < count; ++i) want[at[o] + i] = Formula(pair(i, 0), pair(i, 1), p);
      BlendBytes(&buf[0][at[0]], &buf[1][at[1]], &buf[o][at[o]], first, p);
      BlendBytes(&buf[0][at[0] + first], &buf[1][at[1] + first], &buf[o][at[o] + first], count - first, p);
      ASSERT_EQ(FirstDiff(buf[o], want), want.size()) << BlendPath() << " p=" << p << " out=" << o;
    }
  });
}

TEST(Blend, FadeFollowsTheFormulaForEveryByteColourAndWeightAndKeepsRowPadding) {
  // 259 pixels are 777 bytes: a vector tail per row, in rows of 780 bytes
  // (padded as a bitmap's) or of 777. Each row holds every value at each
  // byte of a pixel; across the 256 colours blue, green and red each take
  // every value. Frames of 1 to 3 rows sit misaligned, with a row of slack
  // after them that must stay as it was; odd colours fade in place.
  const int kWidth = 259;
  Bytes src, own, want;
  OnEachPath([&] {
    for (int q = -1; q <= 101; ++q)
      for (int c = 0; c < 256; ++c) {
        const int height = 1 + c % 3;
        const size_t at = c % 4, row = q % 2 ? 780 : 777, frame = row * height, size = at + frame + row;
        src.assign(size, 0xEE);
        own.assign(size, 0x77);
        for (size_t i = 0; i < frame; ++i)
          if (i % row < 3 * kWidth) src[at + i] = static_cast<unsigned char>(i % row / 3 + 85 * (i % row % 3) + 31 * (i / row));
        Bytes& out = c % 2 ? src : own;
        const int color[3] = {c, (c + 85) & 255, (c + 170) & 255};  // blue, green, red
        want = out;
        for (size_t i = 0; i < frame; ++i)
          if (i % row < 3 * kWidth) want[at + i] = Formula(src[at + i], color[i % row % 3], q);
        const unsigned long colorref = static_cast<unsigned long>(color[2] | color[1] << 8 | color[0] << 16);
        BlendTowardColor(&src[at], &out[at], row, kWidth, height, colorref, q);
        ASSERT_EQ(FirstDiff(out, want), want.size()) << BlendPath() << " q=" << q << " colour " << c;
      }
  });
}

TEST(Blend, BadArgumentsWriteNothingWhileOnePixelIsFaded) {
  Bytes a(24, 10), b(24, 200), out(24, 7);
  const size_t negative = static_cast<size_t>(-6);  // a bottom-up stride or a length below 0, cast
  const struct { const unsigned char* src; unsigned char* out; size_t row; int width, height; } fades[] = {
      {nullptr, out.data(), 12, 4, 2}, {a.data(), nullptr, 12, 4, 2}, {a.data(), out.data(), 12, 5, 2},
      {a.data(), out.data(), 12, 0, 2}, {a.data(), out.data(), 12, -1, 2}, {a.data(), out.data(), 12, 4, 0},
      {a.data(), out.data(), 12, 4, -2}, {a.data(), out.data(), negative, 1, 2}, {a.data(), out.data(), negative, 1, 1}};
  OnEachPath([&] {
    for (size_t count : {size_t{0}, negative}) BlendBytes(a.data(), b.data(), out.data(), count, 50);
    BlendBytes(nullptr, b.data(), out.data(), 24, 50);
    BlendBytes(a.data(), nullptr, out.data(), 24, 50);
    BlendBytes(a.data(), b.data(), nullptr, 24, 50);
    for (const auto& f : fades) BlendTowardColor(f.src, f.out, f.row, f.width, f.height, 0xFFFFFF, 50);
    EXPECT_EQ(FirstDiff(out, Bytes(24, 7)), 24u) << BlendPath();
    BlendTowardColor(a.data(), out.data(), 3, 1, 1, 0xFFFFFF, 50);  // the smallest frame there is
    EXPECT_EQ(std::string(out.begin(), out.begin() + 4), "\x84\x84\x84\x07") << BlendPath();  // 5 + 127
    out.assign(24, 7);
  });
  EXPECT_STREQ(BlendPath(), IsProcessorFeaturePresent(PF_XMMI64_INSTRUCTIONS_AVAILABLE) ? "sse2" : "portable");
}

}  // namespace
