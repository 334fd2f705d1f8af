// Helpers shared by the files, folders and system information tests: a
// throw-away registry key, guarded output buffers, a value to save and
// restore around a test.
#pragma once

#include "tests/support/TestSupport.h"

#include <windows.h>

#include <string>
#include <vector>

namespace systest {

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
  bool Exists() const {
    HKEY k = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, m_path.c_str(), 0, KEY_READ, &k) != ERROR_SUCCESS) return false;
    RegCloseKey(k);
    return true;
  }
  /// The string value `name`, or "<missing>".
  std::wstring Read(const std::wstring& name) const {
    wchar_t buf[1024];
    DWORD bytes = sizeof buf;
    if (RegGetValueW(HKEY_CURRENT_USER, m_path.c_str(), name.c_str(), RRF_RT_REG_SZ, nullptr, buf, &bytes) !=
        ERROR_SUCCESS)
      return L"<missing>";
    return buf;
  }
  void Write(const std::wstring& name, const std::wstring& value) const {
    RegSetKeyValueW(HKEY_CURRENT_USER, m_path.c_str(), name.c_str(), REG_SZ, value.c_str(),
                    static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  }
  /// Number of values in the key (-1 when it does not exist).
  int ValueCount() const {
    HKEY k = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, m_path.c_str(), 0, KEY_READ, &k) != ERROR_SUCCESS) return -1;
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
  SavedRegValue(HKEY root, const std::wstring& key, const std::wstring& name)
      : m_root(root), m_key(key), m_name(name) {
    DWORD bytes = 0;
    if (RegGetValueW(root, key.c_str(), name.c_str(), RRF_RT_ANY | RRF_NOEXPAND, &m_type, nullptr, &bytes) ==
        ERROR_SUCCESS) {
      m_data.resize(bytes);
      m_had = RegGetValueW(root, key.c_str(), name.c_str(), RRF_RT_ANY | RRF_NOEXPAND, &m_type, m_data.data(),
                           &bytes) == ERROR_SUCCESS;
      m_data.resize(bytes);
    }
  }
  ~SavedRegValue() { Restore(); }
  void Restore() {
    if (m_had)
      RegSetKeyValueW(m_root, m_key.c_str(), m_name.c_str(), m_type, m_data.data(), static_cast<DWORD>(m_data.size()));
    else
      RegDeleteKeyValueW(m_root, m_key.c_str(), m_name.c_str());
  }
  void Set(const std::wstring& value, DWORD type = REG_SZ) {
    RegSetKeyValueW(m_root, m_key.c_str(), m_name.c_str(), type, value.c_str(),
                    static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  }
  void SetNumber(DWORD value) {
    RegSetKeyValueW(m_root, m_key.c_str(), m_name.c_str(), REG_DWORD, &value, sizeof value);
  }

private:
  HKEY m_root;
  std::wstring m_key, m_name;
  DWORD m_type = 0;
  std::vector<BYTE> m_data;
  bool m_had = false;
};

/// An output buffer of `capacity` units followed by a guard zone that must
/// stay untouched: writes past the capacity show up in both runs, not only
/// under the heap checker.
template <class C = wchar_t>
class Guarded {
public:
  explicit Guarded(size_t capacity) : m_capacity(capacity), m_data(capacity + kGuard, static_cast<C>(0x5A5A)) {}
  C* get() { return m_data.data(); }
  int cap() const { return static_cast<int>(m_capacity); }
  bool GuardIntact() const {
    for (size_t i = m_capacity; i < m_data.size(); ++i)
      if (m_data[i] != static_cast<C>(0x5A5A)) return false;
    return true;
  }
  /// Terminated within the capacity.
  bool Terminated() const {
    for (size_t i = 0; i < m_capacity; ++i)
      if (m_data[i] == 0) return true;
    return false;
  }

private:
  static const size_t kGuard = 16;
  size_t m_capacity;
  std::vector<C> m_data;
};

/// `n` characters of a path-like text: "C:\" then folder names of 'a'.
inline std::wstring LongPath(size_t n, const std::wstring& start = L"C:\\") {
  std::wstring s = start;
  while (s.size() < n) s += (s.size() % 20 == 19) ? L'\\' : L'a';
  s.resize(n);
  return s;
}

/// Lower-cases ASCII letters, for comparing paths that Wine may spell with
/// another case.
inline std::wstring Lower(std::wstring s) {
  for (auto& c : s)
    if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c + 32);
  return s;
}

}  // namespace systest
