// Browsers: LaunchBrowser and its three attempts.
#include <zorutils/system/Browsers.h>

#include <zorutils/internal/WinApi.h>

#include <shellapi.h>
#include <shlwapi.h>

namespace {

typedef HRESULT(WINAPI* AssocQueryStringWFn)(DWORD, DWORD, LPCWSTR, LPCWSTR, LPWSTR, DWORD*);

const DWORD kAssocNoTruncate = 0x20;   // ASSOCF_NOTRUNCATE
const DWORD kAssocExecutable = 2;      // ASSOCSTR_EXECUTABLE

bool Started(HINSTANCE result) { return reinterpret_cast<INT_PTR>(result) > 32; }

}  // namespace

bool LaunchBrowser(const wchar_t* target, HWND ownerWindow, int showCommand) {
  if (!target) return false;
  HINSTANCE result = ShellExecuteW(ownerWindow, L"open", target, nullptr, nullptr, showCommand);
  if (Started(result)) return true;

  // Looked up by name: systems before the shell's association API lack it.
  auto assocQuery = zor::GetProcAddressAs<AssocQueryStringWFn>(L"shlwapi.dll", "AssocQueryStringW");
  if (assocQuery) {
    wchar_t exe[MAX_PATH] = {0};
    DWORD size = MAX_PATH;
    if (SUCCEEDED(assocQuery(kAssocNoTruncate, kAssocExecutable, L".html", L"open", exe, &size))) {
      exe[MAX_PATH - 1] = 0;
      result = ShellExecuteW(ownerWindow, L"open", exe, target, nullptr, showCommand);
    }
  }
  if (Started(result)) return true;

  result = ShellExecuteW(ownerWindow, L"open", L"c:\\program files\\internet explorer\\iexplore.exe", target,
                         nullptr, showCommand);
  return Started(result);
}
