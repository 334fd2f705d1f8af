// Small helpers every benchmark uses: a clock, the median of repeated
// measurements, a fixed-seed generator and writing a generated input file.
#pragma once

#include "tools/crashreport/CrashReport.h"

#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

namespace zorbench {

/// Seconds on the performance counter.
inline double Now() {
  static const double frequency = [] {
    LARGE_INTEGER f;
    QueryPerformanceFrequency(&f);
    return static_cast<double>(f.QuadPart);
  }();
  LARGE_INTEGER t;
  QueryPerformanceCounter(&t);
  return static_cast<double>(t.QuadPart) / frequency;
}

/// The median of repeated measurements (the upper one of an even count).
inline double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

/// A small fixed-seed generator, so that every run sees the same inputs.
struct Rng {
  explicit Rng(unsigned int seed) : state(seed) {}
  unsigned int Next() {
    state = state * 1664525u + 1013904223u;
    return state >> 8;
  }
  unsigned int Below(unsigned int n) { return Next() % n; }
  unsigned int state;
};

/// Writes `bytes` as the whole file at `path`.
inline bool Write(const std::wstring& path, const std::string& bytes) {
  HANDLE h = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (h == INVALID_HANDLE_VALUE) return false;
  DWORD wrote = 0;
  const bool ok = WriteFile(h, bytes.data(), static_cast<DWORD>(bytes.size()), &wrote, nullptr) &&
                  wrote == bytes.size();
  CloseHandle(h);
  return ok;
}

}  // namespace zorbench
