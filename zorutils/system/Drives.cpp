// Drives: drive kinds, free space and the Intel accelerator check.
#include <zorutils/system/Drives.h>

#include <zorutils/internal/WinApi.h>

#include <zorfutls/zorfutls.h>

#include <windows.h>

#include <cstdio>
#include <cwchar>

namespace {

typedef BOOL(WINAPI* GetDiskFreeSpaceExAFn)(LPCSTR, PULARGE_INTEGER, PULARGE_INTEGER, PULARGE_INTEGER);
typedef DWORD(WINAPI* GetFileVersionInfoSizeWFn)(LPCWSTR, LPDWORD);
typedef BOOL(WINAPI* GetFileVersionInfoWFn)(LPCWSTR, DWORD, DWORD, LPVOID);
typedef BOOL(WINAPI* VerQueryValueWFn)(LPCVOID, LPCWSTR, LPVOID*, PUINT);

}  // namespace

bool IsOnLocalHardDrive(wchar_t* path) {
  if (!path || !*path) return false;
  const wchar_t* sep = wcspbrk(path, L"\\/");
  if (!sep) return false;
  // The root is asked for in a copy; one too long for a path cannot be a
  // drive root anyway.
  const size_t rootLen = static_cast<size_t>(sep - path) + 1;
  if (rootLen >= MAX_PATH) return false;
  wchar_t root[MAX_PATH];
  wmemcpy(root, path, rootLen);
  root[rootLen] = 0;
  return GetDriveTypeW(root) == DRIVE_FIXED;
}

double GetKBFree(const wchar_t* path) {
  if (!path) return 0.0;
  size_t rootLen = wcslen(path);
  if (const wchar_t* colon = wcschr(path, L':')) {
    if (const wchar_t* slash = wcschr(colon, L'\\')) rootLen = static_cast<size_t>(slash - path) + 1;
  }
  if (rootLen >= MAX_PATH) return 0.0;
  wchar_t root[MAX_PATH];
  wmemcpy(root, path, rootLen);
  root[rootLen] = 0;

  // The wide root goes to the single-byte function as it stands, as it always
  // has: the system then sees only its first character. Reading stops at the
  // first zero byte, which lies inside the wide string's own terminator at
  // the latest.
  auto freeSpaceExA = zor::GetProcAddressAs<GetDiskFreeSpaceExAFn>(L"KERNEL32.DLL", "GetDiskFreeSpaceExA");
  if (freeSpaceExA) {
    ULARGE_INTEGER toCaller, total, totalFree;
    if (freeSpaceExA(reinterpret_cast<LPCSTR>(root), &toCaller, &total, &totalFree)) {
      return static_cast<double>(toCaller.LowPart) / 1024.0 + static_cast<double>(toCaller.HighPart) * 4194304.0;
    }
  }

  DWORD sectorsPerCluster = 0, bytesPerSector = 0, freeClusters = 0, clusters = 0;
  if (GetDiskFreeSpaceW(root, &sectorsPerCluster, &bytesPerSector, &freeClusters, &clusters)) {
    return static_cast<double>(freeClusters) * static_cast<double>(sectorsPerCluster) *
           static_cast<double>(bytesPerSector) / 1024.0;
  }

  if (!wcschr(path, L':') && path[0] == L'\\' && path[1] == L'\\') {
    // A share we cannot measure: assume 2000 MB rather than report a full disk.
    const wchar_t* shareSep = wcschr(path + 2, L'\\');
    if (shareSep) return 2048000.0;
  }
  return 0.0;
}

void LogCurrentHardDriveSpace() {
  if (!LoggingNow()) return;
  wchar_t drives[MAX_PATH + 1] = {0};
  DWORD len = GetLogicalDriveStringsW(MAX_PATH, drives);
  // A list that did not fit is not written at all: there is nothing to walk.
  if (len == 0 || len >= MAX_PATH) return;
  const DWORD start = GetTickCount();
  for (const wchar_t* drive = drives; *drive && GetTickCount() - start < 20000; drive += wcslen(drive) + 1) {
    if (GetDriveTypeW(drive) != DRIVE_FIXED) continue;
    wchar_t line[MAX_PATH + 64];
    _snwprintf(line, MAX_PATH + 64, L"%s has %0.2f MB free.", drive, GetKBFree(drive) / 1024.0);
    line[MAX_PATH + 63] = 0;
    Log(line);
  }
}

bool BadIntelAppAcceleratorInstalled() {
  if (GetDriveTypeW(L"C:\\") != DRIVE_FIXED) return false;
  static const wchar_t kFile[] = L"C:\\program files\\intel\\intel application accelerator\\intelata.exe";
  // version.dll is looked up rather than linked: hosts that never call this
  // do not load it.
  auto sizeFn = zor::GetProcAddressAs<GetFileVersionInfoSizeWFn>(L"version.dll", "GetFileVersionInfoSizeW");
  auto infoFn = zor::GetProcAddressAs<GetFileVersionInfoWFn>(L"version.dll", "GetFileVersionInfoW");
  auto queryFn = zor::GetProcAddressAs<VerQueryValueWFn>(L"version.dll", "VerQueryValueW");
  if (!sizeFn || !infoFn || !queryFn) return false;
  DWORD handle = 0;
  DWORD size = sizeFn(kFile, &handle);
  if (size == 0) return false;
  void* block = HeapAlloc(GetProcessHeap(), 0, size);
  if (!block) return false;
  bool found = false;
  if (infoFn(kFile, 0, size, block)) {
    void* fixed = nullptr;
    UINT fixedLen = 0;
    queryFn(block, L"\\", &fixed, &fixedLen);  // asked, as always; the answer is not needed
    found = true;
  }
  HeapFree(GetProcessHeap(), 0, block);
  return found;
}
