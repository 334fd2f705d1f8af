// Helpers shared by the system tests: a throw-away registry key, a registry
// value saved and restored around a test, guarded output buffers and paths.
#pragma once

#include "tests/support/TestSupport.h"

#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

namespace systest {

using zortest::TempDir;

/// HKEY_CURRENT_USER\Software\zortest-system\<name>, deleted before and after.
class TestRegKey {
public:
  explicit TestRegKey(const std::wstring& name) : m_path(L"Software\\zortest-system\\" + name) { Remove(); }
  ~TestRegKey() {
    Remove();
    RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\zortest-system");
  }
  const wchar_t* path() const { return m_path.c_str(); }
  void Remove() { RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str()); }
  /// The string value `name`, or "<missing>".
  std::wstring Read(const std::wstring& name) const {
    wchar_t buf[1024];
    DWORD bytes = sizeof buf;
    LONG rc = RegGetValueW(HKEY_CURRENT_USER, path(), name.c_str(), RRF_RT_REG_SZ, nullptr, buf, &bytes);
    return rc == ERROR_SUCCESS ? buf : L"<missing>";
  }
  void Write(const std::wstring& name, const std::wstring& value, DWORD bytes = 0) const {
    RegSetKeyValueW(HKEY_CURRENT_USER, path(), name.c_str(), REG_SZ, value.c_str(),
                    bytes ? bytes : static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  }
  /// Number of values in the key (-1 when it does not exist).
  int ValueCount() const {
    HKEY k = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, path(), 0, KEY_READ, &k) != ERROR_SUCCESS) return -1;
    DWORD values = 0;
    RegQueryInfoKeyW(k, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr, nullptr,
                     nullptr);
    RegCloseKey(k);
    return static_cast<int>(values);
  }

private:
  std::wstring m_path;
};

/// Saves one registry value (or its absence) and puts it back when it goes.
class SavedRegValue {
public:
  SavedRegValue(HKEY root, const std::wstring& key, const std::wstring& name) : m_root(root), m_key(key), m_name(name) {
    m_had = RegGetValueW(root, key.c_str(), name.c_str(), RRF_RT_ANY | RRF_NOEXPAND, &m_type, m_data, &m_size) == 0;
  }
  ~SavedRegValue() { Restore(); }
  void Restore() { m_had ? Set(m_type, m_data, m_size) : Delete(); }
  void Delete() { RegDeleteKeyValueW(m_root, m_key.c_str(), m_name.c_str()); }
  void Set(DWORD type, const void* data, size_t bytes) {
    RegSetKeyValueW(m_root, m_key.c_str(), m_name.c_str(), type, data, static_cast<DWORD>(bytes));
  }
  void Set(const std::wstring& v) { Set(REG_SZ, v.c_str(), (v.size() + 1) * sizeof(wchar_t)); }
  void SetNumber(DWORD v) { Set(REG_DWORD, &v, sizeof v); }

private:
  HKEY m_root;
  std::wstring m_key, m_name;
  DWORD m_type = 0, m_size = sizeof m_data;
  BYTE m_data[4096];
  bool m_had;
};

/// An output buffer of `capacity` units followed by a guard zone that must
/// stay untouched: writes past the capacity show up in both runs, not only
/// under the heap checker.
template <class C = wchar_t>
class Guarded {
public:
  explicit Guarded(size_t capacity) : m_capacity(capacity), m_data(capacity + 16, static_cast<C>(0x5A5A)) {}
  C* get() { return m_data.data(); }
  int cap() const { return static_cast<int>(m_capacity); }
  bool GuardIntact() const {
    return std::all_of(m_data.begin() + cap(), m_data.end(), [](C c) { return c == static_cast<C>(0x5A5A); });
  }
  /// Terminated within the capacity.
  bool Terminated() const { return std::find(m_data.begin(), m_data.begin() + cap(), C(0)) != m_data.begin() + cap(); }

private:
  size_t m_capacity;
  std::vector<C> m_data;
};

/// The first cap - 1 characters: what a buffer of `cap` holds of `s`.
template <class S>
S Cut(const S& s, int cap) { return s.substr(0, static_cast<size_t>(cap - 1)); }

/// `n` characters of a path-like text: "C:\" then folder names of 'a'.
inline std::wstring LongPath(size_t n, const std::wstring& start = L"C:\\") {
  std::wstring s = start;
  while (s.size() < n) s += (s.size() % 20 == 19) ? L'\\' : L'a';
  s.resize(n);
  return s;
}

/// Lower-cases ASCII letters, for paths that Wine may spell with another case.
inline std::wstring Lower(std::wstring s) {
  for (auto& c : s)
    if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c + 32);
  return s;
}

inline std::string Narrow(const std::wstring& s) { return std::string(s.begin(), s.end()); }

inline bool IsDir(const std::wstring& p) {
  DWORD a = GetFileAttributesW(p.c_str());
  return a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY);
}

/// A chain of 18-character folders under `root`, at least `length` long.
inline std::wstring MakeDeepFolder(const std::wstring& root, size_t length) {
  std::wstring deep = root;
  while (deep.size() < length) {
    deep += L"\\" + std::wstring(18, L'd');
    if (!CreateDirectoryW(deep.c_str(), nullptr)) return L"";
  }
  return deep;
}

}  // namespace systest
