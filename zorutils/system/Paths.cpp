// Paths: well-known folders, the executable's folder, long path names and
// multi-level folder creation.
#include <zorutils/system/Paths.h>

#include <zorutils/internal/Handles.h>
#include <zorutils/system/PathBuffers_impl.h>

#include <shlobj.h>
#include <shlwapi.h>

#include <cwchar>

using zor::CopyUpTo;

// --- Well-known folders ------------------------------------------------------------

bool GetSpecialFolderPath(wchar_t* buffer, int capacity, int folderId, bool create) {
  if (!buffer || capacity < 1) return false;
  buffer[0] = 0;

  LPITEMIDLIST items = nullptr;
  if (FAILED(SHGetSpecialFolderLocation(nullptr, folderId, &items)) || !items) return false;
  wchar_t work[MAX_PATH] = {0};
  if (!SHGetPathFromIDListW(items, work)) work[0] = 0;
  IMalloc* shellAlloc = nullptr;
  if (SUCCEEDED(SHGetMalloc(&shellAlloc)) && shellAlloc) {
    shellAlloc->Free(items);
    shellAlloc->Release();
  }
  work[MAX_PATH - 1] = 0;

  size_t len = wcslen(work);
  if (len == 0) return false;
  CopyUpTo(buffer, capacity, work, len);
  if (create && !IsValidDirectory(buffer)) CreateMultiLevelDir(buffer);
  return true;
}

bool GetDesktopPath(wchar_t* buffer, int capacity, bool create) {
  return GetSpecialFolderPath(buffer, capacity, CSIDL_DESKTOP, create);
}

bool GetMyDocumentsPath(wchar_t* buffer, int capacity, bool create) {
  if (!buffer || capacity < 1) return false;
  GetSpecialFolderPath(buffer, capacity, CSIDL_PERSONAL, create);
  if (buffer[0] == 0 && capacity >= 2) {
    static const wchar_t kFallback[] = L"C:\\My Documents";
    CopyUpTo(buffer, capacity, kFallback, wcslen(kFallback));
  }
  if (IsValidDirectory(buffer) || !create) return true;
  if (CreateMultiLevelDir(buffer)) return true;
  // The last resort is the root of C:, cut like everything else so that a
  // small buffer is never overrun.
  CopyUpTo(buffer, capacity, L"C:\\", 3);
  return true;
}

bool GetMyMusicPath(wchar_t* buffer, int capacity, bool create) {
  return GetSpecialFolderPath(buffer, capacity, CSIDL_MYMUSIC, create);
}

bool GetCurrentUserAppDataPath(wchar_t* buffer, int capacity, bool create) {
  return GetSpecialFolderPath(buffer, capacity, CSIDL_APPDATA, create);
}

bool GetInternetCachePath(wchar_t* buffer, int capacity) {
  return GetSpecialFolderPath(buffer, capacity, CSIDL_INTERNET_CACHE, false);
}

bool GetCommonAppDataPath(wchar_t* buffer, int capacity, bool create) {
  return GetSpecialFolderPath(buffer, capacity, CSIDL_COMMON_APPDATA, create);
}

bool GetMyPicturesPath(wchar_t* buffer, int capacity, bool create) {
  return GetSpecialFolderPath(buffer, capacity, CSIDL_MYPICTURES, create);
}

// --- Paths --------------------------------------------------------------------------

int GetExeDirectory(wchar_t* buffer, int capacity, HMODULE module) {
  if (!buffer || capacity < 1) return 0;
  buffer[0] = 0;

  wchar_t work[MAX_PATH] = {0};
  DWORD len = GetModuleFileNameW(module, work, MAX_PATH);
  // A full buffer means the name was cut (and, on older systems, left
  // unterminated): such a folder name would be wrong, so refuse it.
  if (len == 0 || len >= MAX_PATH) return 0;

  // Zero-filled, so that scanning from the original length below never meets
  // anything left over behind a shorter canonical path.
  wchar_t canonical[MAX_PATH] = {0};
  if (!PathCanonicalizeW(canonical, work)) return 0;
  canonical[MAX_PATH - 1] = 0;

  // The scan starts at the length GetModuleFileNameW gave, not the canonical
  // length: canonicalising only ever shortens a path.
  int slash = -1;
  for (int i = static_cast<int>(len) - 1; i >= 1; --i) {
    if (canonical[i] == L'\\') {
      slash = i;
      break;
    }
  }
  if (slash < 1) return 0;
  canonical[slash + 1] = 0;

  GetLongPathNameSafe(canonical, buffer, capacity);
  if (buffer[0] == 0 && canonical[0] != 0) CopyUpTo(buffer, capacity, canonical, wcslen(canonical));
  return 1;
}

void GetLongPathNameSafe(const wchar_t* shortPath, wchar_t* out, int capacity) {
  if (!shortPath || !out || !*shortPath || capacity < 1) return;
  out[0] = 0;
  const size_t inLen = wcslen(shortPath);
  if (inLen >= MAX_PATH) return;

  // Two spare units: after the last component the work path gains a
  // backslash, which for a 259-character input would not fit in MAX_PATH.
  wchar_t work[MAX_PATH + 2] = {0};
  size_t workLen = 0;
  size_t outLen = 0;
  size_t pos = 0;
  if (inLen >= 3 && shortPath[1] == L':' && shortPath[2] == L'\\') {
    wmemcpy(work, shortPath, 3);
    workLen = 3;
    work[3] = 0;
    if (capacity > 3) {
      wmemcpy(out, shortPath, 3);
      outLen = 3;
      out[3] = 0;
    }
    pos = 3;
  }

  while (pos < inLen) {
    while (pos < inLen && shortPath[pos] != L'\\') work[workLen++] = shortPath[pos++];
    work[workLen] = 0;

    WIN32_FIND_DATAW found;
    found.cFileName[0] = 0;
    zor::FindHandle find(FindFirstFileW(work, &found));
    if (!find) found.cFileName[0] = 0;
    find.reset();
    found.cFileName[MAX_PATH - 1] = 0;

    const size_t nameLen = wcslen(found.cFileName);
    if (nameLen == 0 || outLen + 1 + nameLen >= static_cast<size_t>(capacity)) {
      out[0] = 0;
      return;
    }
    wmemcpy(out + outLen, found.cFileName, nameLen);
    outLen += nameLen;
    if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) out[outLen++] = L'\\';
    out[outLen] = 0;

    if (workLen == 0 || work[workLen - 1] != L'\\') {
      work[workLen++] = L'\\';
      work[workLen] = 0;
      ++pos;  // past the input's backslash (or its end)
    }
  }
}

int CreateMultiLevelDir(wchar_t* path) {
  if (!path) return 0;
  const size_t len = wcslen(path);
  if (len < 3) return 0;
  const bool unc = path[0] == L'\\' && path[1] == L'\\';
  if (!unc && !wcschr(path, L':')) return 0;

  // Each prefix is cut in a copy: the caller's text is never touched, even
  // for a moment (another thread may be reading it).
  zor::HeapBuffer<wchar_t> copy(len + 1);
  if (!copy) return 0;
  wmemcpy(copy.get(), path, len + 1);
  wchar_t* s = copy.get();

  size_t i = unc ? 2 : 0;
  bool skipServer = unc;
  bool handled = false;
  int result = 0;
  while (i < len) {
    if (s[i] != L'\\') {
      ++i;
      continue;
    }
    if (skipServer) {
      skipServer = false;
      ++i;
      continue;
    }
    handled = true;
    const wchar_t kept = s[i + 1];
    s[i + 1] = 0;
    result = IsValidDirectory(s) ? 1 : (CreateDirectoryW(s, nullptr) ? 1 : 0);
    s[i + 1] = kept;
    if (!result) break;
    // The character behind a handled backslash is not looked at: "\\" inside
    // a path is one separator, not an empty folder name.
    i += 2;
  }
  return handled ? result : 0;
}

int IsValidDirectory(const wchar_t* path) {
  if (!path) return 0;
  return PathIsDirectoryW(path) ? 1 : 0;
}

bool IsRootFolder(const wchar_t* path) {
  if (!path || !*path) return false;
  const wchar_t d = path[0];
  const bool letter = (d >= L'A' && d <= L'Z') || (d >= L'a' && d <= L'z');
  return wcslen(path) == 3 && letter && path[1] == L':' && path[2] == L'\\';
}

bool FolderEmpty(const wchar_t* path) {
  if (!path) return true;
  const size_t len = wcslen(path);
  if (len >= MAX_PATH) return true;
  wchar_t folder[MAX_PATH];
  wmemcpy(folder, path, len + 1);
  if (len > 0 && folder[len - 1] == L'\\') folder[len - 1] = 0;

  wchar_t pattern[MAX_PATH + 2];
  _snwprintf(pattern, MAX_PATH + 2, L"%s\\*", folder);
  pattern[MAX_PATH + 1] = 0;

  WIN32_FIND_DATAW entry;
  zor::FindHandle find(FindFirstFileW(pattern, &entry));
  if (!find) return true;
  if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) return false;
  // Judged on the 0x80 bit, not the name: hosts rely on ".." counting.
  while (FindNextFileW(find.get(), &entry)) {
    if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_NORMAL)) return false;
  }
  return true;
}
