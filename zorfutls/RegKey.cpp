// CRegKey: a borrowed root or an owned sub-key handle, read-only queries.
#include <zorfutls/zorfutls.h>

#include <cwchar>
#include <cwctype>
#include <new>

CRegKey::CRegKey(HKEY root) : m_key(root), m_owned(false) {}

CRegKey::CRegKey(HKEY key, bool owned) : m_key(key), m_owned(owned) {}

CRegKey::~CRegKey() {
  if (m_owned && m_key) RegCloseKey(m_key);
}

CRegKey* CRegKey::GetSubKey(const wchar_t* path) {
  if (!m_key || !path) return nullptr;
  HKEY sub = nullptr;
  if (RegOpenKeyExW(m_key, path, 0, KEY_READ, &sub) != ERROR_SUCCESS) return nullptr;
  // Nothing may throw across the library boundary: no memory, no key.
  CRegKey* key = new (std::nothrow) CRegKey(sub, true);
  if (!key) RegCloseKey(sub);
  return key;
}

bool CRegKey::SubKeyExists(const wchar_t* name) {
  if (!m_key) return false;
  return RegQueryValueExW(m_key, name, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
}

unsigned long CRegKey::GetKeyNum(const wchar_t* name) {
  if (!m_key) return 0;
  BYTE data[128];
  DWORD type = 0;
  DWORD size = sizeof data - sizeof(wchar_t);
  if (RegQueryValueExW(m_key, name, nullptr, &type, data, &size) != ERROR_SUCCESS) return 0;
  switch (type) {
    case REG_DWORD:
      return size >= sizeof(DWORD) ? *reinterpret_cast<DWORD*>(data) : 0;
    case REG_QWORD:
      return size >= sizeof(ULONGLONG) ? static_cast<unsigned long>(*reinterpret_cast<ULONGLONG*>(data)) : 0;
    case REG_SZ:
    case REG_EXPAND_SZ: {
      data[size] = 0;
      data[size + 1] = 0;
      return wcstoul(reinterpret_cast<wchar_t*>(data), nullptr, 10);
    }
    default:
      return 0;
  }
}

bool CRegKey::GetKeyString(const wchar_t* name, wchar_t* out, unsigned long outChars) {
  if (!out || outChars == 0) return false;
  out[0] = 0;
  if (!m_key) return false;
  DWORD type = 0;
  DWORD size = 0;
  if (RegQueryValueExW(m_key, name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS) return false;
  if (type != REG_SZ && type != REG_EXPAND_SZ) return false;
  // Read the whole value, then cut: the registry does not cut strings for us.
  DWORD units = size / sizeof(wchar_t) + 1;
  // The value's size is whatever its writer chose: a failed allocation is a
  // failed read, not an exception across the library boundary.
  wchar_t* buf = new (std::nothrow) wchar_t[units];
  if (!buf) return false;
  DWORD bytes = (units - 1) * sizeof(wchar_t);
  bool ok = RegQueryValueExW(m_key, name, nullptr, &type, reinterpret_cast<BYTE*>(buf), &bytes) == ERROR_SUCCESS;
  if (ok) {
    buf[bytes / sizeof(wchar_t) < units ? bytes / sizeof(wchar_t) : units - 1] = 0;
    size_t len = wcslen(buf);
    if (len > outChars - 1) len = outChars - 1;
    wmemcpy(out, buf, len);
    out[len] = 0;
  }
  delete[] buf;
  return ok;
}

void DeleteRegKey(CRegKey* key) { delete key; }
