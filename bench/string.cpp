// bench_string: CCOMString next to std::wstring doing the same work (run by
// ./zor bench string). Each figure is the median of 9 rounds; in every round
// both contenders run, in turns, so that the machine's drift hits both alike.
//   - append128k: a text of 128K units built from empty by += of short
//     pieces (3 to 12 units). CCOMString keeps no length and no spare room by
//     design, so every append measures the text and reallocates it exactly:
//     quadratic by nature, next to std::wstring's amortised growth.
//   - findall: every occurrence of a word in a 256K-unit text (the word
//     stands about once in 8K units) by Find from behind the last hit, next to
//     std::wstring::find the same way.
//   - format: Format of a short line (a string, an integer and a fixed-point
//     number) next to _snwprintf into a buffer and a std::wstring of it.
#include <zorutils/zorutils.h>

#include "bench/BenchUtil.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

const int kRounds = 9;

volatile size_t g_sink;

std::vector<std::wstring> Pieces() {
  zorbench::Rng rng(4242u);
  std::vector<std::wstring> pieces;
  for (int i = 0; i < 64; ++i) {
    std::wstring p;
    const unsigned int n = 3 + rng.Below(10);
    for (unsigned int k = 0; k < n; ++k) p += static_cast<wchar_t>(L'a' + rng.Below(26));
    pieces.push_back(p);
  }
  return pieces;
}

// Words of 2 to 9 letters separated by blanks, with `word` put in about
// every `every` units.
std::wstring Text(size_t units, const std::wstring& word, size_t every) {
  zorbench::Rng rng(777u);
  std::wstring text;
  size_t next = every / 2;
  while (text.size() < units) {
    if (text.size() >= next) {
      text += word;
      next += every;
    } else {
      const unsigned int n = 2 + rng.Below(8);
      for (unsigned int k = 0; k < n; ++k) text += static_cast<wchar_t>(L'a' + rng.Below(26));
    }
    text += L' ';
  }
  return text;
}

}  // namespace

int main() {
  zorcrash::InstallCrashReport();
  const std::vector<std::wstring> pieces = Pieces();
  const size_t kTarget = 128 * 1024;

  size_t oursLength = 0, theirsLength = 0;
  auto appends = zorbench::Interleaved(kRounds, {
      [&] {
        CCOMString s;
        for (size_t i = 0; static_cast<size_t>(s.GetLength()) < kTarget; ++i) s += pieces[i % pieces.size()].c_str();
        oursLength = static_cast<size_t>(s.GetLength());
      },
      [&] {
        std::wstring s;
        for (size_t i = 0; s.size() < kTarget; ++i) s += pieces[i % pieces.size()].c_str();
        theirsLength = s.size();
      },
  });

  const std::wstring word = L"needle";
  const std::wstring text = Text(256 * 1024, word, 8 * 1024);
  const CCOMString ours(text.c_str());
  int oursHits = 0, theirsHits = 0;
  auto finds = zorbench::Interleaved(kRounds, {
      [&] {
        int n = 0;
        for (int at = ours.Find(word.c_str()); at >= 0; at = ours.Find(word.c_str(), at + static_cast<int>(word.size())))
          ++n;
        oursHits = n;
      },
      [&] {
        int n = 0;
        for (size_t at = text.find(word.c_str()); at != std::wstring::npos; at = text.find(word.c_str(), at + word.size()))
          ++n;
        theirsHits = n;
      },
  });

  const int kFormats = 20000;
  auto formats = zorbench::Interleaved(kRounds, {
      [&] {
        for (int i = 0; i < kFormats; ++i) {
          CCOMString s;
          s.Format(L"%s - track %d (%5.2f min)", L"Artist name", i, i * 0.25);
          g_sink = static_cast<size_t>(s.GetString()[0]);
        }
      },
      [&] {
        for (int i = 0; i < kFormats; ++i) {
          wchar_t buffer[100];
          const int n = _snwprintf(buffer, 99, L"%s - track %d (%5.2f min)", L"Artist name", i, i * 0.25);
          buffer[n < 0 ? 99 : n] = 0;
          std::wstring s(buffer);
          g_sink = static_cast<size_t>(s[0]);
        }
      },
  });

  using zorbench::Median;
  using zorbench::Min;
  std::printf("append to %u units: %.2f ms (min %.2f), std::wstring %.3f ms (min %.3f); find all %d/%d hits: %.3f ms"
              " (min %.3f), std::wstring %.3f ms (min %.3f); %d formats %.2f ms (min %.2f), _snwprintf %.2f ms"
              " (min %.2f)\n",
              static_cast<unsigned>(oursLength), Median(appends[0]) * 1e3, Min(appends[0]) * 1e3,
              Median(appends[1]) * 1e3, Min(appends[1]) * 1e3, oursHits, theirsHits, Median(finds[0]) * 1e3,
              Min(finds[0]) * 1e3, Median(finds[1]) * 1e3, Min(finds[1]) * 1e3, kFormats, Median(formats[0]) * 1e3,
              Min(formats[0]) * 1e3, Median(formats[1]) * 1e3, Min(formats[1]) * 1e3);
  if (oursLength != theirsLength || oursHits != theirsHits) {
    std::printf("bench_string: the contenders disagree\n");
    return 1;
  }
  std::printf("BENCH string.append128k.vs_wstring %.1f x\n", Median(appends[0]) / Median(appends[1]));
  std::printf("BENCH string.findall.vs_wstring %.2f x\n", Median(finds[0]) / Median(finds[1]));
  std::printf("BENCH string.format.vs_swprintf %.2f x\n", Median(formats[0]) / Median(formats[1]));
  return 0;
}
