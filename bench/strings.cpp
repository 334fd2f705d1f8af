// Benchmark of the localised-string look-ups (run by ./zor bench strings).
//
// A 2,000-key string file is generated with a fixed seed. Two figures:
// - MyLoadString with the file named explicitly (it re-reads the file on every
//   call, by design) against a plain _wfopen/fgetws scan to the same keys;
// - cached look-ups (no file named) against warm GetPrivateProfileStringW,
//   and (for information) against a std::unordered_map of the same keys and
//   texts copied out the same way: the system's figure is mostly Wine's cost
//   per call of reading the file, the map's is what a look-up can cost at
//   best. The contenders run in turns, round by round.
#include <zorutils/zorutils.h>

#include "bench/BenchUtil.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

const int kKeys = 2000;
const int kRepeats = 7;

using zorbench::Now;

unsigned g_seed = 12345;
unsigned NextRandom() {
  g_seed = g_seed * 1103515245u + 12345u;
  return (g_seed >> 8) & 0xFFFFFF;
}

std::wstring KeyName(int i) {
  wchar_t buf[32];
  swprintf(buf, 32, L"MessageKey%04d", i);
  return buf;
}

std::wstring MakeFile() {
  std::wstring path = zorbench::TempPath(L"strings.ini");
  std::string text = "; generated string file\r\n[Strings]\r\n";
  for (int i = 0; i < kKeys; ++i) {
    if (i % 100 == 0) text += "; block " + std::to_string(i / 100) + "\r\n";
    char line[160];
    snprintf(line, sizeof line, "MessageKey%04d=Text number %d for the message box\\n%s\r\n", i, i,
             (NextRandom() % 3 == 0) ? "with a second line" : "");
    text += line;
  }
  FILE* f = _wfopen(path.c_str(), L"wb");
  fwrite(text.data(), 1, text.size(), f);
  fclose(f);
  return path;
}

// The baseline reader: the same file opened in text mode, scanned to the key.
bool PlainScan(const wchar_t* path, const std::wstring& key, wchar_t* out) {
  FILE* f = _wfopen(path, L"r");
  if (!f) return false;
  wchar_t line[1024];
  bool found = false;
  while (fgetws(line, 1024, f)) {
    if (wcsncmp(line, key.c_str(), key.size()) == 0 && line[key.size()] == L'=') {
      wcscpy(out, line + key.size() + 1);
      found = true;
      break;
    }
  }
  fclose(f);
  return found;
}

}  // namespace

int main() {
  zorcrash::InstallCrashReport();
  std::wstring file = MakeFile();
  std::vector<std::wstring> keys;
  for (int i = 0; i < 200; ++i) keys.push_back(KeyName(static_cast<int>(NextRandom() % kKeys)));
  wchar_t out[1024];

  // Explicit file: read every time.
  auto fileTimes = zorbench::Interleaved(kRepeats, {
      [&] {
        for (auto& k : keys)
          MyLoadString(const_cast<wchar_t*>(k.c_str()), out, 1000, const_cast<wchar_t*>(file.c_str()), false);
      },
      [&] {
        for (auto& k : keys) PlainScan(file.c_str(), k, out);
      },
  });
  const double ours = zorbench::Median(fileTimes[0]), scan = zorbench::Median(fileTimes[1]);
  printf("BENCH strings.file.vs_scan %.3f x\n", ours / scan);
  printf("BENCH strings.file.us_per_call %.1f us\n", ours / keys.size() * 1e6);

  // Cached: every key looked up once through the main file, then again.
  SetStringFile(const_cast<wchar_t*>(file.c_str()));
  for (int i = 0; i < kKeys; ++i) {
    std::wstring k = KeyName(i);
    MyLoadString(const_cast<wchar_t*>(k.c_str()), out, 1000, nullptr, true);
  }
  std::vector<std::wstring> many;
  for (int i = 0; i < 20000; ++i) many.push_back(KeyName(static_cast<int>(NextRandom() % kKeys)));
  std::unordered_map<std::wstring, std::wstring> map;
  for (int i = 0; i < kKeys; ++i) {
    std::wstring k = KeyName(i);
    MyLoadString(const_cast<wchar_t*>(k.c_str()), out, 1000, nullptr, true);
    map[k] = out;
  }
  GetPrivateProfileStringW(L"Strings", keys[0].c_str(), L"", out, 1000, file.c_str());  // warm it
  auto times = zorbench::Interleaved(kRepeats, {
      [&] {
        for (auto& k : many) MyLoadString(const_cast<wchar_t*>(k.c_str()), out, 1000, nullptr, true);
      },
      [&] {
        for (size_t i = 0; i < 200; ++i)
          GetPrivateProfileStringW(L"Strings", many[i].c_str(), L"", out, 1000, file.c_str());
      },
      [&] {
        for (auto& k : many) {
          auto it = map.find(k);
          if (it != map.end()) wcsncpy(out, it->second.c_str(), 1000);
        }
      },
  });
  const double cached = zorbench::Median(times[0]) / many.size();
  const double profile = zorbench::Median(times[1]) / 200;
  const double hashed = zorbench::Median(times[2]) / many.size();
  printf("BENCH strings.cached.vs_profile %.5f x\n", cached / profile);
  printf("BENCH strings.cached.vs_unordered_map %.2f x\n", cached / hashed);
  printf("BENCH strings.cached.ns_per_call %.0f ns\n", cached * 1e9);
  DeleteFileW(file.c_str());
  return 0;
}
