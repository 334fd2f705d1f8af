// File-name helpers: pure string work on paths, plus one attribute query.
#include <zorfutls/zorfutls.h>

#include <cwchar>

namespace {

bool IsSeparator(wchar_t c) { return c == L'\\' || c == L'/' || c == L':'; }

// Copies at most MAX_PATH - 1 units and terminates.
void CopyCut(wchar_t* dst, const wchar_t* src, size_t len) {
  if (len > MAX_PATH - 1) len = MAX_PATH - 1;
  wmemcpy(dst, src, len);
  dst[len] = 0;
}

const wchar_t* LastComponent(const wchar_t* path) {
  const wchar_t* name = path;
  for (const wchar_t* p = path; *p; ++p)
    if (IsSeparator(*p)) name = p + 1;
  return name;
}

}  // namespace

int DoesFileExist(const wchar_t* path) {
  if (!path || !*path) return 0;
  return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES ? 1 : 0;
}

int ExtractExtension(const wchar_t* path, wchar_t* ext, int withDot) {
  if (!ext) return 0;
  ext[0] = 0;
  if (!path) return 0;
  const wchar_t* dot = wcsrchr(LastComponent(path), L'.');
  if (!dot || !dot[1]) return 0;
  const wchar_t* from = withDot == 1 ? dot : dot + 1;
  CopyCut(ext, from, wcslen(from));
  return 1;
}

int ExtractFileName(const wchar_t* path, wchar_t* name) {
  if (!name) return 0;
  name[0] = 0;
  if (!path || !*path) return 0;
  const wchar_t* last = LastComponent(path);
  if (!*last) return 0;
  CopyCut(name, last, wcslen(last));
  return 1;
}
