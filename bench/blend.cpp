// Promo transition arithmetic on a full-HD 24-bit frame (1920 x 1080, rows of
// ((1920 * 24 + 31) / 32) * 4 bytes): a crossfade at p = 37 through
// BlendBytes and a fade towards a colour at q = 37 through BlendTowardColor,
// each next to a memcpy of the same frame in the same repeat (the floor for
// anything that writes a whole frame). Each repeat times one of each; the
// ratios are medians of the per-repeat ratios, so a change of load on the
// machine between repeats does not skew them. Both results are checked
// against the plain formula before anything is timed.
//
// Prints:
//   # blend path: <sse2|portable>
//   BENCH blend.crossfade.vs_memcpy <crossfade time / memcpy time> x
//   BENCH blend.fade.vs_memcpy <fade time / memcpy time> x
//   BENCH blend.crossfade_ms, blend.fade_ms, blend.memcpy_ms <median> ms
//   BENCH blend.portable_crossfade.vs_memcpy <ratio> x
//         (the path of an i686 processor without SSE2, for comparison)
//   BENCH blend.frame_ms.<effect> <median> ms   (PromoFrames.h: one whole
//         transition frame of each effect, as the player draws it)
//
// Blend.h is internal to zorutils.dll, so the benchmark builds the same
// source in, as the tests do.
#include <zorutils/promo/Blend.cpp>

#include "bench/BenchUtil.h"
#include "bench/PromoFrames.h"

#include <cstdio>
#include <cstring>
#include <vector>

namespace {

const int kWidth = 1920, kHeight = 1080, kPercent = 37, kRepeats = 31;
const size_t kRow = (kWidth * 24 + 31) / 32 * 4, kFrame = kRow * kHeight;
const unsigned long kColor = 0x00336699;  // COLORREF: red 0x99, green 0x66, blue 0x33

using zorbench::Median;
using zorbench::Now;

template <class Work>
double Time(Work work) {
  const double start = Now();
  work();
  return Now() - start;
}

}  // namespace

int main() {
  zorcrash::InstallCrashReport();
  std::vector<unsigned char> a(kFrame), b(kFrame), out(kFrame);
  zorbench::Rng rng(20261125);
  for (size_t i = 0; i < kFrame; ++i) {
    a[i] = static_cast<unsigned char>(rng.Next());
    b[i] = static_cast<unsigned char>(rng.Next());
  }

  // Checked once (this also brings every page of the three frames in).
  bool exact = true;
  zorpromo::BlendBytes(a.data(), b.data(), out.data(), kFrame, kPercent);
  for (size_t i = 0; i < kFrame; ++i)
    exact = exact && out[i] == a[i] * (100 - kPercent) / 100 + b[i] * kPercent / 100;
  const int terms[3] = {0x33 * kPercent / 100, 0x66 * kPercent / 100, 0x99 * kPercent / 100};
  zorpromo::BlendTowardColor(a.data(), out.data(), kRow, kWidth, kHeight, kColor, kPercent);
  for (size_t i = 0; i < kFrame; ++i)
    exact = exact && out[i] == a[i] * (100 - kPercent) / 100 + terms[i % 3];
  if (!exact) std::printf("ERROR: a blend differs from the formula\n");

  std::vector<double> crossfade, fade, copy, crossfadeRatio, fadeRatio, portableRatio;
  for (int r = 0; r < kRepeats; ++r) {
    copy.push_back(Time([&] { std::memcpy(out.data(), a.data(), kFrame); }));
    crossfade.push_back(Time([&] { zorpromo::BlendBytes(a.data(), b.data(), out.data(), kFrame, kPercent); }));
    fade.push_back(Time([&] {
      zorpromo::BlendTowardColor(a.data(), out.data(), kRow, kWidth, kHeight, kColor, kPercent);
    }));
    crossfadeRatio.push_back(crossfade.back() / copy.back());
    fadeRatio.push_back(fade.back() / copy.back());
    zorpromo::detail::g_portableOnly = true;  // the library's test seam
    portableRatio.push_back(
        Time([&] { zorpromo::BlendBytes(a.data(), b.data(), out.data(), kFrame, kPercent); }) / copy.back());
    zorpromo::detail::g_portableOnly = false;
  }

  std::printf("# blend path: %s\n", zorpromo::BlendPath());
  std::printf("BENCH blend.crossfade.vs_memcpy %.2f x\n", Median(crossfadeRatio));
  std::printf("BENCH blend.fade.vs_memcpy %.2f x\n", Median(fadeRatio));
  std::printf("BENCH blend.crossfade_ms %.3f ms\n", Median(crossfade) * 1e3);
  std::printf("BENCH blend.fade_ms %.3f ms\n", Median(fade) * 1e3);
  std::printf("BENCH blend.memcpy_ms %.3f ms\n", Median(copy) * 1e3);
  std::printf("BENCH blend.portable_crossfade.vs_memcpy %.2f x\n", Median(portableRatio));
  zorbench::PrintPromoFrameTimes();
  return exact ? 0 : 1;
}
