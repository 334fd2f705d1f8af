// Catalogue files in a temporary folder, a throw-away state key, and a
// launcher that records addresses instead of starting a browser.
#pragma once

#include "tests/support/TestSupport.h"

#include <zorutils/internal/TestSeams.h>
#include <zorutils/zorutils.h>

#include <string>
#include <vector>

namespace cattest {

inline std::wstring Product(const std::wstring& id, const std::wstring& extra = L"",
                            const std::wstring& check = L"<installed kind=\"file\">{Exe}\\none.exe</installed>") {
  return L"<product id=\"" + id + L"\" version=\"1.0\"><name>Name " + id + L"</name>" + check +
         L"<download>https://example.com/" + id + L"/get</download>" + extra + L"</product>\n";
}

inline std::wstring WriteCatalogue(const zortest::TempDir& dir, const std::wstring& products) {
  zortest::WriteBytes(dir / L"c.xml", zortest::Utf16Bytes(L"<catalogue>\n" + products + L"</catalogue>\n", true));
  return dir / L"c.xml";
}

// HKEY_CURRENT_USER\Software\zortest-catalogue\<name>, deleted before and after.
struct StateKey {
  explicit StateKey(const std::wstring& name) : key(L"Software\\zortest-catalogue\\" + name) { RegDeleteTreeW(HKEY_CURRENT_USER, key.c_str()); }
  ~StateKey() { RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\zortest-catalogue"); }
  const std::wstring key;
};

// Addresses that reached the launcher, in order, while a RecordingLauncher lives.
inline std::vector<std::wstring> g_launched;
inline bool RecordLaunch(const wchar_t* address, HWND) { return g_launched.push_back(address), true; }
struct RecordingLauncher {
  RecordingLauncher() { g_launched.clear(), ZorTest_SetWebLauncher(RecordLaunch); }
  ~RecordingLauncher() { ZorTest_SetWebLauncher(nullptr); }
};

}  // namespace cattest
