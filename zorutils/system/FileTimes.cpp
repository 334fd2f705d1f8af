// FileTimes: CompareFileTimeStampsA and CompareFileTimeStampsW share one body.
#include <zorutils/system/FileTimes.h>

#include <zorutils/internal/Handles.h>

#include <windows.h>
#include <shlwapi.h>

namespace {

const int kFailed = -100;

inline BOOL FileExists(const char* p) { return PathFileExistsA(p); }
inline BOOL FileExists(const wchar_t* p) { return PathFileExistsW(p); }
inline HANDLE OpenForRead(const char* p) {
  return CreateFileA(p, FILE_READ_DATA, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
}
inline HANDLE OpenForRead(const wchar_t* p) {
  return CreateFileW(p, FILE_READ_DATA, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
}

template <class C>
int Compare(const C* file1, const C* file2) {
  if (!file1 || !file2 || !FileExists(file1) || !FileExists(file2)) return kFailed;
  zor::FileHandle h1(OpenForRead(file1));
  if (!h1) return kFailed;
  zor::FileHandle h2(OpenForRead(file2));
  if (!h2) return kFailed;
  FILETIME t1, t2;
  if (!GetFileTime(h1.get(), nullptr, nullptr, &t1) || !GetFileTime(h2.get(), nullptr, nullptr, &t2))
    return kFailed;
  return CompareFileTime(&t1, &t2);
}

}  // namespace

int CompareFileTimeStampsA(const char* file1, const char* file2) { return Compare(file1, file2); }

int CompareFileTimeStampsW(const wchar_t* file1, const wchar_t* file2) { return Compare(file1, file2); }
