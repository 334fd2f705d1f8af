// A host program built against the installed package: one call into each
// library, a class exported across the DLL boundary, a text from the shipped
// string file, and the DLL's version resource against the package version.
#include <zorutils/zorutils.h>

#include <cstdio>
#include <cstring>
#include <vector>

static bool Check(bool ok, const char* what) {
  std::printf("%s %s\n", ok ? "ok  " : "FAIL", what);
  return ok;
}

static bool ModuleVersionIs(const wchar_t* module, const char* expected) {
  wchar_t path[MAX_PATH];
  DWORD handle = 0;
  if (!GetModuleFileNameW(GetModuleHandleW(module), path, MAX_PATH)) return false;
  DWORD size = GetFileVersionInfoSizeW(path, &handle);
  if (!size) return false;
  std::vector<char> data(size);
  VS_FIXEDFILEINFO* info = nullptr;
  UINT len = 0;
  if (!GetFileVersionInfoW(path, 0, size, data.data()) ||
      !VerQueryValueW(data.data(), L"\\", reinterpret_cast<void**>(&info), &len) || !info)
    return false;
  char text[64];
  std::snprintf(text, sizeof text, "%lu.%lu.%lu", HIWORD(info->dwFileVersionMS) + 0ul,
                LOWORD(info->dwFileVersionMS) + 0ul, HIWORD(info->dwFileVersionLS) + 0ul);
  return std::strcmp(text, expected) == 0;
}

int main() {
  bool ok = true;
  CCOMString text(L"host");
  text += L" side";
  ok &= Check(text == L"host side" && text.GetLength() == 9, "CCOMString from zorutils.dll");

  int a = 1, b = 2;
  CMyList list;
  list.AddSorted(&b, 20, true);
  list.AddSorted(&a, 10, true);
  long value = 0;
  ok &= Check(list.NumNodes() == 2 && list.Index(0, &value) == &a && value == 10, "CMyList sorted");

  wchar_t name[MAX_PATH];
  ok &= Check(ExtractFileName(L"C:\\music\\track.mp3", name) && wcscmp(name, L"track.mp3") == 0,
              "ExtractFileName from zorfutls.dll");

  wchar_t caption[64] = L"";
  MyLoadString(const_cast<wchar_t*>(L"DoNotAsk"), caption, 64, GetUtilitiesStringFile(), false);
  ok &= Check(wcscmp(caption, L"Do not ask me again") == 0,
              "utility-strings.ini shipped beside the program");

  ok &= Check(ModuleVersionIs(L"zorutils.dll", ZORHOST_EXPECTED_VERSION) &&
                  ModuleVersionIs(L"zorfutls.dll", ZORHOST_EXPECTED_VERSION),
              "DLL version resources match the package version");
  std::printf("%s\n", ok ? "host: all passed" : "host: failures");
  return ok ? 0 : 1;
}
