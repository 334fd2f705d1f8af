// bench_ini: CIniFileReader against the system's profile functions on the
// same file. A deterministic generator writes an INI document of 20,000 keys
// in 200 sections (single-byte text, CR LF, comments, quoted and padded
// values); the benchmark then measures
//   - Init of the file next to the first GetPrivateProfileStringW call on a
//     fresh copy of it (the system reading and parsing the file), and
//   - 1,000 random GetString look-ups next to 1,000 warm
//     GetPrivateProfileStringW calls for the same keys, and (for information)
//     next to a std::unordered_map of the same section and key names: the
//     system's figure is mostly Wine's cost per call of reading the file, the
//     map's what a look-up can cost at best. Round by round, in turns.
// Each figure is the median of 9 runs; the printed ratios are ours / theirs.
#include <zorutils/formats/IniFileReader.h>

#include "bench/BenchUtil.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

const int kSections = 200, kKeysPerSection = 100, kLookups = 1000, kRuns = 9;

// A small fixed-seed generator, so that every run sees the same document.
struct Rng : zorbench::Rng {
  Rng() : zorbench::Rng(20261123u) {}
};

const char* const kWords[] = {"Title", "Font", "Color", "Speed", "Delay", "Text", "Image", "Sound",
                              "Width", "Height", "Align", "Effect", "Volume", "Loop", "Shadow"};

std::string SectionName(int s) { return "Step" + std::to_string(s) + "_" + kWords[s % 15]; }
std::string KeyName(int s, int k) {
  return std::string(kWords[(k * 7 + s) % 15]) + std::to_string(k);
}

std::string Generate() {
  Rng rng;
  std::string text = "; generated promo script for the benchmark\r\n";
  for (int s = 0; s < kSections; ++s) {
    text += "[" + SectionName(s) + "]\r\n";
    if (s % 3 == 0) text += "; section comment\r\n";
    for (int k = 0; k < kKeysPerSection; ++k) {
      std::string value;
      const int len = 4 + static_cast<int>(rng.Below(28));
      for (int i = 0; i < len; ++i) value += static_cast<char>('a' + rng.Below(26));
      switch (rng.Below(4)) {
        case 0:  // quoted, with blanks kept
          value = "\"  " + value + " \"";
          break;
        case 1:  // padded
          value = "   " + value + "\t ";
          break;
        default:
          break;
      }
      text += (k % 10 == 0 ? "  " : "") + KeyName(s, k) + " = " + value + "\r\n";
      if (k % 25 == 24) text += ";   comment line\r\n\r\n";
    }
  }
  return text;
}

using zorbench::Now;

using zorbench::Median;

using zorbench::Write;

std::wstring Widen(const std::string& s) { return std::wstring(s.begin(), s.end()); }

}  // namespace

int main() {
  zorcrash::InstallCrashReport();
  wchar_t temp[MAX_PATH];
  GetTempPathW(MAX_PATH, temp);
  const std::wstring dir = std::wstring(temp) + L"zor_bench_ini_" + std::to_wstring(GetCurrentProcessId());
  CreateDirectoryW(dir.c_str(), nullptr);
  const std::string text = Generate();
  const std::wstring path = dir + L"\\bench.ini";
  std::vector<std::wstring> copies;
  for (int r = 0; r < kRuns; ++r) copies.push_back(dir + L"\\copy" + std::to_wstring(r) + L".ini");
  bool written = Write(path, text);
  for (const std::wstring& c : copies) written = Write(c, text) && written;
  if (!written) {
    std::printf("bench_ini: cannot write the input files\n");
    return 1;
  }

  // The keys looked up, and the first key of the document for the cold call.
  Rng rng;
  rng.state = 7u;
  std::vector<std::wstring> sections, keys;
  for (int i = 0; i < kLookups; ++i) {
    const int s = static_cast<int>(rng.Below(kSections)), k = static_cast<int>(rng.Below(kKeysPerSection));
    sections.push_back(Widen(SectionName(s)));
    keys.push_back(Widen(KeyName(s, k)));
  }
  wchar_t out[256];

  // Init against the system's first (parsing) call on a fresh copy.
  std::vector<double> init, cold;
  for (int r = 0; r < kRuns; ++r) {
    CIniFileReader* ini = new CIniFileReader;
    double t0 = Now();
    const bool ok = ini->Init(path.c_str(), false);
    init.push_back(Now() - t0);
    delete ini;
    if (!ok) {
      std::printf("bench_ini: Init failed\n");
      return 1;
    }
    t0 = Now();
    GetPrivateProfileStringW(sections[0].c_str(), keys[0].c_str(), L"", out, 256, copies[r].c_str());
    cold.push_back(Now() - t0);
    // Drops the system's cached copy, outside the timing.
    WritePrivateProfileStringW(nullptr, nullptr, nullptr, copies[r].c_str());
  }

  // Look-ups against warm system calls for the same keys.
  CIniFileReader ini;
  ini.Init(path.c_str(), false);
  GetPrivateProfileStringW(sections[0].c_str(), keys[0].c_str(), L"", out, 256, path.c_str());
  // The map holds what GetString answers, under section and key with a
  // separator no name contains.
  std::unordered_map<std::wstring, std::wstring> map;
  for (int i = 0; i < kLookups; ++i) {
    ini.GetString(sections[i].c_str(), keys[i].c_str(), L"", out, 256);
    map[sections[i] + L'\x1F' + keys[i]] = out;
  }
  std::vector<std::wstring> mapKeys;
  for (int i = 0; i < kLookups; ++i) mapKeys.push_back(sections[i] + L'\x1F' + keys[i]);
  size_t check = 0;
  auto times = zorbench::Interleaved(kRuns, {
      [&] {
        for (int i = 0; i < kLookups; ++i) {
          ini.GetString(sections[i].c_str(), keys[i].c_str(), L"", out, 256);
          check += out[0];
        }
      },
      [&] {
        for (int i = 0; i < kLookups; ++i) {
          GetPrivateProfileStringW(sections[i].c_str(), keys[i].c_str(), L"", out, 256, path.c_str());
          check += out[0];
        }
      },
      [&] {
        for (int i = 0; i < kLookups; ++i) {
          auto it = map.find(mapKeys[i]);
          if (it != map.end()) wcsncpy(out, it->second.c_str(), 256);
          check += out[0];
        }
      },
  });
  const std::vector<double>& ours = times[0];
  const std::vector<double>& theirs = times[1];

  // The two readers must agree on every value looked up.
  int mismatches = 0;
  for (int i = 0; i < kLookups; ++i) {
    wchar_t a[256], b[256];
    ini.GetString(sections[i].c_str(), keys[i].c_str(), L"", a, 256);
    GetPrivateProfileStringW(sections[i].c_str(), keys[i].c_str(), L"", b, 256, path.c_str());
    if (wcscmp(a, b) != 0) ++mismatches;
  }

  const double mInit = Median(init), mCold = Median(cold), mOurs = Median(ours), mTheirs = Median(theirs);
  std::printf("init %.2f ms, system cold parse %.2f ms; %d look-ups %.1f us, warm system calls %.1f us"
              " (%d values differ from the system's: it also trims tabs; checksum %u)\n",
              mInit * 1e3, mCold * 1e3, kLookups, mOurs * 1e6, mTheirs * 1e6, mismatches,
              static_cast<unsigned int>(check));
  std::printf("BENCH ini.init.vs_profile_cold %.3f x\n", mInit / mCold);
  std::printf("BENCH ini.lookup.vs_profile_warm %.5f x\n", mOurs / mTheirs);
  std::printf("BENCH ini.lookup.vs_unordered_map %.2f x\n", mOurs / Median(times[2]));

  WritePrivateProfileStringW(nullptr, nullptr, nullptr, path.c_str());
  DeleteFileW(path.c_str());
  for (const std::wstring& c : copies) DeleteFileW(c.c_str());
  RemoveDirectoryW(dir.c_str());
  return 0;
}
