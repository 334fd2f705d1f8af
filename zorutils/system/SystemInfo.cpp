// SystemInfo: CPUSpeed, GetWindowsSystemVersion, OSIsNativeUnicode and
// SystemUsesXPThemes.
#include <zorutils/system/SystemInfo.h>

#include <zorutils/internal/TestSeams.h>

#include <zorfutls/zorfutls.h>

#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <cwchar>

namespace {

// Test seam: a record to decode instead of the system's own.
bool g_useRecord = false;
OSVERSIONINFOEXW g_record;

const int kLineMax = 256;

bool ReadVersionRecord(OSVERSIONINFOEXW* info) {
  std::memset(info, 0, sizeof *info);
  if (g_useRecord) {
    if (g_record.dwOSVersionInfoSize == 0) return false;
    *info = g_record;
    return true;
  }
  // The extended record first (284 bytes); systems that only know the basic
  // one (276 bytes) are asked again with that.
  info->dwOSVersionInfoSize = sizeof(OSVERSIONINFOEXW);
  if (GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(info))) return true;
  std::memset(info, 0, sizeof *info);
  info->dwOSVersionInfoSize = sizeof(OSVERSIONINFOW);
  return GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(info)) != FALSE;
}

void Append(wchar_t* text, const wchar_t* part) {
  if (text) wcscat(text, part);
}

void AppendFmt(wchar_t* text, const wchar_t* format, ...) {
  if (!text) return;
  wchar_t line[kLineMax];
  va_list args;
  va_start(args, format);
  _vsnwprintf(line, kLineMax - 1, format, args);
  va_end(args);
  line[kLineMax - 1] = 0;
  wcscat(text, line);
}

// The product kind of an NT system we have no name for.
void AppendProductType(wchar_t* text) {
  CRegKey root(HKEY_LOCAL_MACHINE);
  CRegKey* options = root.GetSubKey(L"SYSTEM\\CurrentControlSet\\Control\\ProductOptions");
  if (!options) return;
  wchar_t type[64] = {0};
  if (options->GetKeyString(L"ProductType", type, 64)) {
    if (_wcsicmp(type, L"WINNT") == 0)
      Append(text, L"Professional ");
    else if (_wcsicmp(type, L"LANMANNT") == 0)
      Append(text, L"Server ");
    else if (_wcsicmp(type, L"SERVERNT") == 0)
      Append(text, L"Advanced Server ");
  }
  DeleteRegKey(options);
}

}  // namespace

void ZorTest_UseVersionRecord(const OSVERSIONINFOEXW* record) {
  g_useRecord = record != nullptr;
  if (record) g_record = *record;
}

unsigned long CPUSpeed() {
  CRegKey root(HKEY_LOCAL_MACHINE);
  CRegKey* cpu = root.GetSubKey(L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0");
  if (!cpu) return 0;
  unsigned long mhz = cpu->SubKeyExists(L"~MHZ") ? cpu->GetKeyNum(L"~MHZ") : 0;
  DeleteRegKey(cpu);
  return mhz;
}

int GetWindowsSystemVersion(wchar_t* text) {
  OSVERSIONINFOEXW info;
  if (!ReadVersionRecord(&info)) return kWinVerUnknown;
  // The service-pack text comes from the system (or a test): never trust it
  // to be terminated.
  info.szCSDVersion[127] = 0;
  const DWORD major = info.dwMajorVersion, minor = info.dwMinorVersion;

  if (info.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS) {
    if (major != 4) return kWinVerUnknown;
    switch (minor) {
      case 0:
        Append(text, L"Microsoft Windows 95 ");
        if (info.szCSDVersion[1] == L'C' || info.szCSDVersion[1] == L'B') {
          Append(text, L"OSR2 ");
          return kWinVer95OSR2;
        }
        return kWinVer95;
      case 10:
        Append(text, L"Microsoft Windows 98 ");
        if (info.szCSDVersion[1] == L'A') {
          Append(text, L"SE ");
          return kWinVer98SE;
        }
        return kWinVer98;
      case 90:
        Append(text, L"Microsoft Windows Millennium Edition ");
        return kWinVerMe;
      default:
        return kWinVerUnknown;
    }
  }

  if (info.dwPlatformId == VER_PLATFORM_WIN32_NT) {
    const int build = static_cast<int>(info.dwBuildNumber);
    if (major <= 4) {
      Append(text, L"Microsoft Windows NT ");
      AppendFmt(text, L"version %d.%d %s (Build %d)\n", static_cast<int>(major), static_cast<int>(minor),
                info.szCSDVersion, build);
      return kWinVerNT4;
    }
    int code = kWinVerUnknown;
    if (major == 5 && minor == 0) {
      code = kWinVer2000;
      Append(text, L"Microsoft Windows 2000 ");
    } else if (major == 5 && minor == 1) {
      code = kWinVerXP;
      Append(text, L"Microsoft Windows XP ");
    } else if (major == 6 && minor == 0) {
      code = kWinVerVista;
      Append(text, L"Microsoft Vista ");
    } else if (major == 6 && minor == 1) {
      code = kWinVer7;
      Append(text, L"Microsoft Windows 7 ");
    } else if (text) {
      AppendProductType(text);
    }
    AppendFmt(text, L"%s (Build %d)\n", info.szCSDVersion, build);
    return code;
  }
  return kWinVerUnknown;
}

bool OSIsNativeUnicode() { return GetWindowsSystemVersion(nullptr) > kWinVerMe; }

bool SystemUsesXPThemes() {
  if (GetWindowsSystemVersion(nullptr) < kWinVerXP) return false;
  CRegKey root(HKEY_CURRENT_USER);
  CRegKey* effects = root.GetSubKey(L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\VisualEffects");
  if (!effects) return true;
  bool themed = !(effects->SubKeyExists(L"VisualFXSetting") && effects->GetKeyNum(L"VisualFXSetting") == 2);
  DeleteRegKey(effects);
  return themed;
}
