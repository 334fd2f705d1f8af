// Helpers shared by the system tests: a throw-away registry key, guarded
// output buffers and paths.
#pragma once

#include "tests/support/TestSupport.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace systest {

using zortest::TempDir;
using Ints = std::vector<int>;

/// HKEY_CURRENT_USER\Software\zortest-system\<name>, deleted before and after.
struct TestRegKey {
  explicit TestRegKey(const std::wstring& name) : key(L"Software\\zortest-system\\" + name) { RegDeleteTreeW(HKEY_CURRENT_USER, path()); }
  ~TestRegKey() { RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\zortest-system"); }
  const wchar_t* path() const { return key.c_str(); }
  /// The string value `name`, or "<missing>" (also when the key is missing).
  std::wstring Read(const std::wstring& name) const {
    wchar_t buf[1024];
    DWORD bytes = sizeof buf;
    return RegGetValueW(HKEY_CURRENT_USER, path(), name.c_str(), RRF_RT_REG_SZ, nullptr, buf, &bytes) ? L"<missing>" : buf;
  }
  /// `bytes` 0: the value with its terminator.
  void Write(const std::wstring& name, const std::wstring& value, DWORD bytes = 0) const {
    RegSetKeyValueW(HKEY_CURRENT_USER, path(), name.c_str(), REG_SZ, value.c_str(), bytes ? bytes : DWORD(value.size() * 2 + 2));
  }
  const std::wstring key;
};

/// What `fill(buffer, capacity)` leaves in a buffer of `capacity` units
/// between two guard zones: the text up to its terminator, "<overrun>" when
/// anything outside was written, "<unterminated>" when no terminator is in it.
template <class C = wchar_t, class F>
std::basic_string<C> Filled(size_t capacity, F fill) {
  std::vector<C> data(capacity + 16, static_cast<C>(0x5A5A));
  fill(data.data() + 8, static_cast<int>(capacity));
  const auto mark = [](const char* m) { return std::basic_string<C>(m, m + strlen(m)); };
  for (size_t i = 0; i < 8; ++i)
    if (data[i] != static_cast<C>(0x5A5A) || data[capacity + 8 + i] != static_cast<C>(0x5A5A)) return mark("<overrun>");
  const auto end = std::find(data.begin() + 8, data.end() - 8, C(0));
  return end == data.end() - 8 ? mark("<unterminated>") : std::basic_string<C>(data.begin() + 8, end);
}

/// `n` characters of a path-like text: `s` then folder names of 'a'.
inline std::wstring LongPath(size_t n, std::wstring s = L"C:\\") {
  while (s.size() < n) s += (s.size() % 20 == 19) ? L'\\' : L'a';
  return s.substr(0, n);
}

/// ASCII letters lower-cased, for paths that Wine may spell with another case.
inline std::wstring Lower(std::wstring s) {
  for (auto& c : s) c = (c >= L'A' && c <= L'Z') ? static_cast<wchar_t>(c + 32) : c;
  return s;
}

inline std::string Narrow(const std::wstring& s) { return std::string(s.begin(), s.end()); }

inline bool IsDir(const std::wstring& p) {
  const DWORD a = GetFileAttributesW(p.c_str());
  return a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY);
}

/// A chain of folders made under `folder`, exactly `length` characters long.
inline std::wstring MakeFolderOfLength(std::wstring folder, size_t length) {
  for (size_t r; (r = length - folder.size()) > 0; CreateDirectoryW(folder.c_str(), nullptr))
    folder += L"\\" + std::wstring(r > 200 ? 100 : r > 100 ? r / 2 : r - 1, L'd');
  return folder;
}

}  // namespace systest
