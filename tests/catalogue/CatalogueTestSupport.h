// Helpers of the catalogue tests: catalogue files written to a temporary
// folder, a throw-away state key, and a launcher that records instead of
// starting a browser.
#pragma once

#include "tests/support/TestSupport.h"

#include <zorutils/internal/TestSeams.h>

#include <windows.h>

#include <string>
#include <vector>

namespace cattest {

/// One <product> element; `extra` goes inside it as written.
inline std::wstring Product(const std::wstring& id, const std::wstring& extra = L"",
                            const std::wstring& install = L"<installed kind=\"file\">{Exe}\\no-such-program.exe</installed>") {
  return L"<product id=\"" + id + L"\" version=\"1.0\"><name>Name " + id + L"</name>" + install +
         L"<download>https://example.com/" + id + L"/get</download>" + extra + L"</product>\n";
}

/// Writes `products` inside a <catalogue> element as UTF-16LE.
inline std::wstring WriteCatalogue(const zortest::TempDir& dir, const std::wstring& products,
                                   const wchar_t* name = L"catalogue.xml") {
  const std::wstring path = dir / name;
  zortest::WriteBytes(path, zortest::Utf16Bytes(L"<catalogue>\n" + products + L"</catalogue>\n", true));
  return path;
}

/// HKEY_CURRENT_USER\Software\zortest-catalogue\<name>, deleted before and after.
struct StateKey {
  explicit StateKey(const std::wstring& name) : key(L"Software\\zortest-catalogue\\" + name) {
    RegDeleteTreeW(HKEY_CURRENT_USER, key.c_str());
  }
  ~StateKey() { RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\zortest-catalogue"); }
  const std::wstring key;
};

/// Addresses that reached the launcher, in order.
inline std::vector<std::wstring>& Launched() {
  static std::vector<std::wstring> launched;
  return launched;
}

inline bool RecordLaunch(const wchar_t* address, HWND) {
  Launched().push_back(address);
  return true;
}

/// Installs the recording launcher for its lifetime.
struct RecordingLauncher {
  RecordingLauncher() {
    Launched().clear();
    ZorTest_SetWebLauncher(RecordLaunch);
  }
  ~RecordingLauncher() { ZorTest_SetWebLauncher(nullptr); }
};

}  // namespace cattest
