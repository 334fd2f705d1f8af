// RegistryStrings: GetRegistryString and WriteRegistryString.
#include <zorutils/system/RegistryStrings.h>

#include <zorutils/internal/Handles.h>

#include <cstring>
#include <cwchar>

namespace {
const REGSAM kReadAccess = 0x20019;   // KEY_READ
const REGSAM kWriteAccess = 0x20006;  // KEY_WRITE
}  // namespace

bool GetRegistryString(HKEY root, const wchar_t* subKey, const wchar_t* valueName, wchar_t* buffer,
                       unsigned long capacity) {
  if (!root || !subKey || !valueName || !buffer || capacity == 0) return false;
  // Byte sizes must fit a DWORD; a capacity beyond that is taken at its limit.
  if (capacity > 0x7FFFFFFFul / sizeof(wchar_t)) capacity = 0x7FFFFFFFul / sizeof(wchar_t);
  std::memset(buffer, 0, capacity * sizeof(wchar_t));
  zor::RegKeyHandle key;
  if (RegOpenKeyExW(root, subKey, 0, kReadAccess, key.put()) != ERROR_SUCCESS) return false;

  DWORD bytes = capacity * sizeof(wchar_t);
  LONG rc = RegQueryValueExW(key.get(), valueName, nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), &bytes);
  if (rc == ERROR_MORE_DATA) {
    // Too long for the buffer: read it whole and cut it, as over-long text is
    // cut everywhere else.
    std::memset(buffer, 0, capacity * sizeof(wchar_t));
    zor::HeapBuffer<wchar_t> whole(bytes / sizeof(wchar_t) + 2);
    DWORD wholeBytes = bytes;
    if (whole && RegQueryValueExW(key.get(), valueName, nullptr, nullptr, reinterpret_cast<BYTE*>(whole.get()),
                                  &wholeBytes) == ERROR_SUCCESS) {
      size_t units = wholeBytes / sizeof(wchar_t);
      whole[units] = 0;
      size_t len = wcslen(whole.get());
      if (len > capacity - 1) len = capacity - 1;
      wmemcpy(buffer, whole.get(), len);
    }
  } else if (rc != ERROR_SUCCESS) {
    buffer[0] = 0;
  }
  // A value stored without its terminator, or filling the buffer exactly,
  // still comes back terminated.
  buffer[capacity - 1] = 0;
  if (rc == ERROR_SUCCESS && bytes / sizeof(wchar_t) < capacity) buffer[bytes / sizeof(wchar_t)] = 0;
  return true;
}

bool WriteRegistryString(HKEY root, const wchar_t* subKey, const wchar_t* valueName, const wchar_t* text) {
  if (!root || !subKey || !valueName || !text) return false;
  zor::RegKeyHandle key;
  wchar_t noClass[] = L"";
  RegCreateKeyExW(root, subKey, 0, noClass, REG_OPTION_NON_VOLATILE, kWriteAccess, nullptr, key.put(), nullptr);
  if (!key) return false;
  const DWORD bytes = static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t));
  RegSetValueExW(key.get(), valueName, 0, REG_SZ, reinterpret_cast<const BYTE*>(text), bytes);
  return true;
}
