// FileNames: disc-image and file-system name cleaning, unique file names.
#include <zorutils/system/FileNames.h>

#include <zorfutls/zorfutls.h>

#include <windows.h>

#include <io.h>

#include <cwchar>

namespace {

const size_t kIsoLimit = 30;
const size_t kJolietLimit = 15;
// A bound on the search for a free name; only a folder stuffed with
// matching names (or a name that is a wildcard pattern) could reach it.
const int kMaxUniqueTries = 1000000;

// Copies `source` to `destination` (which may be the same block), shortening
// it to `limit` characters as the disc-name functions do. True when the name
// was shortened (or, at exactly `limit`, rebuilt).
bool CopyShortened(const wchar_t* source, wchar_t* destination, bool keepPathSeparators, size_t limit) {
  const size_t n = wcslen(source);
  const wchar_t* dot = wcsrchr(source, L'.');
  if (keepPathSeparators || !dot || n < limit) {
    wmemmove(destination, source, n + 1);
    return false;
  }
  const size_t extLen = n - static_cast<size_t>(dot - source);
  if (extLen >= limit) {
    // The extension alone fills the limit: no room for any of the stem, so the
    // name is simply cut to its first `limit` characters.
    wmemmove(destination, source, limit);
    destination[limit] = 0;
    return true;
  }
  const size_t stemLen = limit - extLen;
  // Stem first, then the extension, then the terminator: with the source and
  // destination being one buffer, each move reads only what is still intact.
  wmemmove(destination, source, stemLen);
  wmemmove(destination + stemLen, dot, extLen);
  destination[limit] = 0;
  return true;
}

}  // namespace

bool MakeISO9660FriendlyName(const wchar_t* source, wchar_t* destination, bool keepPathSeparators,
                             wchar_t replacement) {
  if (!destination) return false;
  if (!source) {
    destination[0] = 0;
    return false;
  }
  bool changed = CopyShortened(source, destination, keepPathSeparators, kIsoLimit);
  for (wchar_t* p = destination; *p; ++p) {
    wchar_t c = *p;
    if (c >= L'a' && c <= L'z') c = static_cast<wchar_t>(c - L'a' + L'A');
    *p = c;
    const bool keep = (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9') || c == L'.' || c == L'_' ||
                      (keepPathSeparators && (c == L'\\' || c == L'/'));
    if (!keep) {
      *p = replacement;
      changed = true;
    }
  }
  return changed;
}

bool MakeJolietFriendlyName(const wchar_t* source, wchar_t* destination, bool keepPathSeparators,
                            wchar_t replacement) {
  if (!destination) return false;
  if (!source) {
    destination[0] = 0;
    return false;
  }
  bool changed = CopyShortened(source, destination, keepPathSeparators, kJolietLimit);
  if (!destination[0]) return changed;
  for (wchar_t* p = destination; *p; ++p) {
    const wchar_t c = *p;
    // Strictly below 0x1F: 0x1F itself has always passed.
    const bool bad = c < 0x1F || c == L'*' || c == L':' || c == L';' || c == L'?' ||
                     (!keepPathSeparators && (c == L'\\' || c == L'/'));
    if (bad) {
      *p = replacement;
      changed = true;
    }
  }
  return changed;
}

wchar_t* ValidateFileName(const wchar_t* source, wchar_t* destination, wchar_t replacement) {
  if (!destination) return nullptr;
  if (!source || !*source) {
    destination[0] = 0;
    return nullptr;
  }
  size_t i = 0;
  for (; source[i]; ++i) {
    const wchar_t c = source[i];
    destination[i] = wcschr(L"/\\:*?\"<>|", c) ? replacement : c;
  }
  destination[i] = 0;
  return destination;
}

bool IsValidFileNameChar(wchar_t c, bool allowPathCharacters) {
  if (allowPathCharacters && (c == L'\\' || c == L':')) return true;
  if (c != 0 && wcschr(L" $%'-_@~`!()^#&+,;=[].", c)) return true;
  return IsCharAlphaNumericW(c) != FALSE;
}

bool UniqueFileName(wchar_t* path, bool makeUnique, wchar_t separator) {
  if (!path) return false;
  if (!DoesFileExist(path)) return true;
  if (!makeUnique) return false;

  const size_t len = wcslen(path);
  if (len >= MAX_PATH) return false;
  wchar_t ext[MAX_PATH] = {0};
  ExtractExtension(path, ext, 1);
  wchar_t stem[MAX_PATH];
  wmemcpy(stem, path, len + 1);
  wchar_t name[MAX_PATH] = {0};
  if (!ExtractFileName(stem, name)) return false;
  const size_t extLen = wcslen(ext);
  if (extLen > 0 && extLen <= len) stem[len - extLen] = 0;

  // Room for the stem, separator, counter and extension before the length
  // check below decides whether the candidate may be used.
  wchar_t candidate[MAX_PATH + 32];
  for (int counter = 1;; ++counter) {
    if (counter > kMaxUniqueTries) return false;
    int n = _snwprintf(candidate, MAX_PATH + 32, L"%s%c%d%s", stem, separator, counter, ext);
    if (n < 0 || n >= MAX_PATH) return false;
    struct _wfinddata_t found;
    intptr_t search = _wfindfirst(candidate, &found);
    if (search == -1) break;
    _findclose(search);
  }
  wmemcpy(path, candidate, wcslen(candidate) + 1);
  LogFmt(L"Created unique name '%s'", path);
  return true;
}
