// zortool sysinfo, mru add|list|remove|clear: what the system reports, and
// the recent-files list kept in the registry under zortool's own key.
#include <zorutils/zorutils.h>

#include "Tool.h"

#include <windows.h>

#include <string>
#include <vector>

namespace {

// zortool's own place in the registry: the list lives in the values
// "mru.1" to "mru.9" of this key.
const wchar_t kMruKey[] = L"Software\\zorutils\\zortool\\Recent files";

int SysInfo(int argc) {
  if (argc > 2) return BadArgs(L"sysinfo", L"takes no arguments");
  wchar_t version[512] = {};
  const int code = GetWindowsSystemVersion(version);
  std::wstring line = version;
  while (!line.empty() && (line.back() == L'\n' || line.back() == L'\r')) line.pop_back();
  Out(L"system:          " + line + L" (version code " + std::to_wstring(code) + L")\n");
  const unsigned long mhz = CPUSpeed();
  Out(L"processor:       " + (mhz ? std::to_wstring(mhz) + L" MHz" : std::wstring(L"clock rate unknown")) + L"\n");
  Out(std::wstring(L"native Unicode:  ") + (OSIsNativeUnicode() ? L"yes" : L"no") + L"\n");
  Out(std::wstring(L"visual themes:   ") + (SystemUsesXPThemes() ? L"yes" : L"no") + L"\n");
  return 0;
}

void ListMru(CMRUList& list) {
  const int n = list.NumMRUFiles();
  Out(std::to_wstring(n) + (n == 1 ? L" recent file" : L" recent files") + L" (HKCU\\" + kMruKey + L")\n");
  for (int i = 0; i < n; ++i)
    Out(L"  " + std::to_wstring(i + 1) + L". " + list.GetFileNameOnly(i) + L"  " + list.GetFileWithPath(i) + L"\n");
}

int Mru(int argc, wchar_t** argv) {
  const std::vector<std::wstring> args = Positional(argc, argv, 2, {});
  if (args.empty()) return BadArgs(L"mru", L"say add FILE, list, remove N or clear");
  const std::wstring& what = args[0];
  const size_t need = what == L"add" || what == L"remove" ? 2 : what == L"list" || what == L"clear" ? 1 : 0;
  if (!need) return BadArgs(L"mru", L"unknown action \"" + what + L"\"");
  if (args.size() != need) return BadArgs(L"mru", L"wrong number of arguments for " + what);
  CMRUList list;
  list.Init(HKEY_CURRENT_USER, kMruKey);
  if (what == L"add") {
    wchar_t full[MAX_PATH] = {};
    const DWORD n = GetFullPathNameW(args[1].c_str(), MAX_PATH, full, nullptr);
    if (!n || n >= MAX_PATH) return Fail(L"mru", L"path too long: " + args[1]);
    const DWORD attributes = GetFileAttributesW(full);
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY))
      return Fail(L"mru", L"no such file: " + args[1]);
    list.AddFile(full);
  } else if (what == L"remove") {
    wchar_t* end = nullptr;
    const long index = wcstol(args[1].c_str(), &end, 10);
    if (!end || *end || index < 1 || index > list.NumMRUFiles())
      return Fail(L"mru", L"no entry " + args[1] + L" (the list has " + std::to_wstring(list.NumMRUFiles()) + L")");
    list.RemoveFile(static_cast<int>(index - 1), true);
  } else if (what == L"clear") {
    list.ClearMRUList(true);
  }
  ListMru(list);
  return 0;
}

}  // namespace

int SystemTools(int argc, wchar_t** argv) {
  if (std::wstring(argv[1]) == L"sysinfo") return SysInfo(argc);
  return Mru(argc, argv);
}
