// bench_csv: CDelimitedTextFile::Open against a naive wide splitter (one
// allocation per field) on the same file, and Open's scaling from 10,000 to
// 100,000 rows. A deterministic generator writes 100,000 rows by 6 columns
// of single-byte text with CR LF line ends and some quoted fields (a few with
// the delimiter inside). Each figure is the median of 9 runs; freeing the
// tables is outside the timing for both sides.
#include <zorutils/formats/DelimitedTextFile.h>

#include "bench/BenchUtil.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

const int kColumns = 6, kRuns = 9;

struct Rng : zorbench::Rng {
  Rng() : zorbench::Rng(424242u) {}
};

std::string Generate(int rows) {
  Rng rng;
  std::string text = "Title,Artist,Album,Year,Genre,Comment\r\n";
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < kColumns; ++c) {
      std::string field;
      if (c == 3) {
        field = std::to_string(1950 + rng.Below(75));
      } else {
        const int len = 3 + static_cast<int>(rng.Below(20));
        for (int i = 0; i < len; ++i)
          field += static_cast<char>(rng.Below(8) == 0 ? ' ' : 'a' + rng.Below(26));
      }
      const unsigned int q = rng.Below(10);
      if (q == 0)
        field = "\"" + field + ", and more\"";
      else if (q == 1)
        field = "\"" + field + "\"";
      text += field;
      text += c + 1 < kColumns ? "," : "\r\n";
    }
  }
  return text;
}

using zorbench::Now;

using zorbench::Median;

using zorbench::Write;

typedef std::vector<std::vector<wchar_t*>> Table;

// The baseline: what a host would write without the class. Read the file,
// widen it, split it on the delimiter outside quotes, one malloc per field.
bool NaiveLoad(const std::wstring& path, Table& table) {
  FILE* f = _wfopen(path.c_str(), L"rb");
  if (!f) return false;
  std::fseek(f, 0, SEEK_END);
  const long size = std::ftell(f);
  std::fseek(f, 0, SEEK_SET);
  std::string bytes(static_cast<size_t>(size), '\0');
  const size_t got = std::fread(&bytes[0], 1, bytes.size(), f);
  std::fclose(f);
  std::wstring text(bytes.begin(), bytes.begin() + static_cast<long>(got));
  std::vector<wchar_t*> row;
  size_t start = 0;
  bool inQuotes = false;
  auto field = [&](size_t end) {
    size_t s = start, n = end - start;
    if (n && text[s] == L'"') ++s, --n;
    if (n && text[s + n - 1] == L'"') --n;
    wchar_t* p = static_cast<wchar_t*>(std::malloc((n + 1) * sizeof(wchar_t)));
    std::wmemcpy(p, text.data() + s, n);
    p[n] = 0;
    row.push_back(p);
  };
  for (size_t i = 0; i < text.size(); ++i) {
    const wchar_t c = text[i];
    if (c == L'"') {
      inQuotes = !inQuotes;
    } else if (c == L',' && !inQuotes) {
      field(i);
      start = i + 1;
    } else if (c == L'\r' || c == L'\n') {
      field(i);
      table.push_back(row);
      row.clear();
      inQuotes = false;
      while (i + 1 < text.size() && (text[i + 1] == L'\r' || text[i + 1] == L'\n')) ++i;
      start = i + 1;
    }
  }
  if (start < text.size()) {
    field(text.size());
    table.push_back(row);
  }
  return true;
}

void FreeTable(Table& table) {
  for (auto& row : table)
    for (wchar_t* p : row) std::free(p);
  table.clear();
}

// Median seconds of Open on `path`.
double TimeOpen(const std::wstring& path, int expectRows) {
  std::vector<double> times;
  for (int r = 0; r < kRuns; ++r) {
    CDelimitedTextFile f;  // destroyed after the timing
    const double t0 = Now();
    const bool ok = f.Open(path.c_str(), L',', false, L'"');
    times.push_back(Now() - t0);
    if (!ok || f.NumRecords() != expectRows) std::printf("bench_csv: Open gave %d rows\n", f.NumRecords());
  }
  return Median(times);
}

}  // namespace

int main() {
  zorcrash::InstallCrashReport();
  wchar_t temp[MAX_PATH];
  GetTempPathW(MAX_PATH, temp);
  const std::wstring dir = std::wstring(temp) + L"zor_bench_csv_" + std::to_wstring(GetCurrentProcessId());
  CreateDirectoryW(dir.c_str(), nullptr);
  const std::wstring big = dir + L"\\100k.csv", small = dir + L"\\10k.csv";
  if (!Write(big, Generate(100000)) || !Write(small, Generate(10000))) {
    std::printf("bench_csv: cannot write the input files\n");
    return 1;
  }

  // Warm the file cache for both readers first.
  { Table t; NaiveLoad(big, t); FreeTable(t); }

  const double open = TimeOpen(big, 100000);
  std::vector<double> naive;
  for (int r = 0; r < kRuns; ++r) {
    Table t;
    const double t0 = Now();
    NaiveLoad(big, t);
    naive.push_back(Now() - t0);
    if (t.size() != 100001) std::printf("bench_csv: naive gave %u rows\n", static_cast<unsigned int>(t.size()));
    FreeTable(t);
  }
  const double openSmall = TimeOpen(small, 10000);
  const double mNaive = Median(naive);

  std::printf("open 100k rows %.1f ms, naive splitter %.1f ms, open 10k rows %.2f ms\n", open * 1e3,
              mNaive * 1e3, openSmall * 1e3);
  std::printf("BENCH csv.open.vs_naive %.3f x\n", open / mNaive);
  std::printf("BENCH csv.scaling %.2f x\n", open / openSmall);

  DeleteFileW(big.c_str());
  DeleteFileW(small.c_str());
  RemoveDirectoryW(dir.c_str());
  return 0;
}
