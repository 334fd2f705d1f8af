// Small helpers every benchmark uses: a clock, the median of repeated
// measurements, a fixed-seed generator, writing a generated input file under
// a name of this process's own, and the process's committed memory.
#pragma once

#include "tools/crashreport/CrashReport.h"

#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <functional>
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

inline double Min(const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); }

/// A path in the temporary folder whose name carries this process's id, so
/// that benchmarks run side by side never share a file.
inline std::wstring TempPath(const std::wstring& name) {
  wchar_t temp[MAX_PATH];
  GetTempPathW(MAX_PATH, temp);
  return std::wstring(temp) + L"zor-bench-" + std::to_wstring(GetCurrentProcessId()) + L"-" + name;
}

/// The process's committed private memory. PagefileUsage: Wine leaves
/// PrivateUsage at 0.
inline SIZE_T CommittedBytes() {
  PROCESS_MEMORY_COUNTERS counters = {};
  counters.cb = sizeof counters;
  return GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) ? counters.PagefileUsage : 0;
}

/// Runs each contender once per round, `rounds` times, the order turning
/// every round, so that the machine's drift hits all alike; the seconds of
/// every run, per contender.
inline std::vector<std::vector<double>> Interleaved(int rounds, std::vector<std::function<void()>> contenders) {
  std::vector<std::vector<double>> times(contenders.size());
  for (int r = 0; r < rounds; ++r) {
    for (size_t k = 0; k < contenders.size(); ++k) {
      const size_t i = (k + static_cast<size_t>(r)) % contenders.size();
      const double t0 = Now();
      contenders[i]();
      times[i].push_back(Now() - t0);
    }
  }
  return times;
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
