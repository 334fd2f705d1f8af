// zortool: the library's command-line front end and demo host.
//
//   zortool version          the versions of zorutils.dll and zorfutls.dll
//   zortool demo [FILE]      runs string functions over a sample file
//   zortool promo FILE [--script NAME] [--frames DIR [--count N]]
//                            plays a promo script in a window (Promo.cpp)
//   zortool lookup KIND ...  searches the online music catalogue (Lookup.cpp)
//   zortool msgbox KEY ...   shows the message dialog (Dialogs.cpp)
//   zortool progress | link  shows the progress dialog or a link control
//   zortool tree START_FOLDER [--shot FILE.bmp]
//                            shows the folder tree in a window (Tree.cpp)
//   zortool catalogue list | show ID | advert [ID] [--shot FILE.bmp]
//                            the product catalogue (Catalogue.cpp)
#include <zorutils/zorutils.h>

#include "tools/crashreport/CrashReport.h"

#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

// Console output as UTF-8, whether stdout is a console, a pipe or a file.
void Out(const std::wstring& text) {
  int n = WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<size_t>(n), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), &bytes[0], n, nullptr, nullptr);
  fwrite(bytes.data(), 1, bytes.size(), stdout);
  fflush(stdout);
}

namespace {

void OutLine(const CCOMString& line) { Out(std::wstring(line.GetString()) + L"\n"); }

}  // namespace

std::wstring ExeDir() {
  wchar_t path[MAX_PATH];
  DWORD n = GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring s(path, n);
  return s.substr(0, s.find_last_of(L'\\'));
}

namespace {

// "a.b.c.d" from a module's version resource, or an empty string.
std::wstring ModuleVersion(const wchar_t* module) {
  HMODULE h = GetModuleHandleW(module);
  wchar_t path[MAX_PATH];
  if (!h || !GetModuleFileNameW(h, path, MAX_PATH)) return L"";
  DWORD ignored = 0;
  DWORD size = GetFileVersionInfoSizeW(path, &ignored);
  if (!size) return L"";
  std::vector<BYTE> block(size);
  VS_FIXEDFILEINFO* info = nullptr;
  UINT len = 0;
  if (!GetFileVersionInfoW(path, 0, size, block.data()) ||
      !VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&info), &len) || !info)
    return L"";
  CCOMString s;
  s.Format(L"%u.%u.%u.%u", HIWORD(info->dwFileVersionMS), LOWORD(info->dwFileVersionMS),
           HIWORD(info->dwFileVersionLS), LOWORD(info->dwFileVersionLS));
  return s.GetString();
}

int Version() {
  // Touch both libraries so that they are loaded before their versions are read.
  CCOMString probe(L"probe");
  (void)LoggingNow();
  Out(L"zorutils.dll " + ModuleVersion(L"zorutils.dll") + L"\n");
  Out(L"zorfutls.dll " + ModuleVersion(L"zorfutls.dll") + L"\n");
  return 0;
}

// Reads a whole text file the way the library's readers do: UTF-16LE when it
// looks like it, single-byte text widened otherwise.
bool ReadText(const std::wstring& path, std::vector<wchar_t>& text) {
  FILE* f = _wfopen(path.c_str(), L"rb");
  if (!f) return false;
  std::string bytes;
  char buf[4096];
  size_t got;
  while ((got = fread(buf, 1, sizeof buf, f)) > 0) bytes.append(buf, got);
  fclose(f);
  text.assign(bytes.size() + 1, 0);
  if (bytes.empty()) return true;
  return CopyCharToTChar(bytes.data(), static_cast<unsigned>(bytes.size()), text.data(),
                         static_cast<unsigned>(text.size()));
}

void DemoLine(CCOMString line) {
  line.TrimRight();
  std::vector<CCOMString> fields;
  for (int start = 0;;) {
    int semi = line.Find(L';', start);
    fields.push_back(line.Mid(start, semi < 0 ? line.GetLength() - start : semi - start));
    if (semi < 0) break;
    start = semi + 1;
  }
  CCOMString out;
  if (fields.size() == 1) {
    wchar_t trimmed[kTrimMaxInput + 1];
    TrimWhitespace(line, trimmed);
    CCOMString title(trimmed);
    title.MakeUpper();
    out.Format(L"title    [%s]", title.GetString());
  } else if (fields[0] == L"sizes") {
    out = L"sizes   ";
    for (size_t i = 1; i < fields.size(); ++i) {
      wchar_t size[32];
      MakeFileSizeString(wcstoul(fields[i], nullptr, 10), size, 32);
      out += L" | ";
      out += size;
    }
  } else if (fields[0] == L"hex") {
    out = L"hex     ";
    for (size_t i = 1; i < fields.size(); ++i) {
      CCOMString item;
      item.Format(L" | %s=%d", fields[i].GetString(), HexStringToInt(fields[i]));
      out += item;
    }
  } else if (fields[0] == L"numbers") {
    out = L"numbers ";
    for (size_t i = 1; i < fields.size(); ++i) {
      CCOMString item;
      item.Format(L" | %s int=%d float=%d", fields[i].GetString(), StringIsNumericW(fields[i]),
                  StringIsFloatW(fields[i]));
      out += item;
    }
  } else if (fields.size() >= 3) {
    wchar_t length[32];
    CCOMString ms = fields[2];
    ms.TrimLeft();
    MakeLengthString(wcstol(ms, nullptr, 10), length, 0, 0);
    CCOMString name = fields[1];
    name.Replace(L" ", L"_");
    out.Format(L"track %s %-16s %s", fields[0].GetString(), name.GetString(), length);
  } else {
    out = line;
  }
  OutLine(out);
}

// The library's own texts and the installed languages, from the files that
// ship beside the program.
void DemoStrings() {
  wchar_t* utilities = GetUtilitiesStringFile();
  Out(L"utility strings: " + std::wstring(utilities) +
      (DoesFileExist(utilities) ? L"" : L" (missing)") + L"\n");
  wchar_t text[257];
  for (const wchar_t* key : {L"Yes", L"No", L"Cancel", L"DemoGreeting"}) {
    MyLoadString(const_cast<wchar_t*>(key), text, 256, utilities, true);
    CCOMString line;
    line.Format(L"  %-13s %s", key, text);
    line.Replace(L"\n", L"\n                ");
    OutLine(line);
  }
  int languages = GetNumberOfLanguageStringFiles();
  CCOMString count;
  count.Format(L"languages: %d", languages);
  OutLine(count);
  for (int i = 0; i < languages; ++i) {
    wchar_t name[64], file[MAX_PATH];
    GetLanguageName(i, name, 64);
    if (!GetStringFileFromLanguage(name, SFF_UtilityStrings, file, false)) file[0] = 0;
    MyLoadString(const_cast<wchar_t*>(L"Cancel"), text, 256, file, false);
    CCOMString line;
    line.Format(L"  %-10s Cancel = %s", name, text);
    OutLine(line);
  }
}

int Demo(const std::wstring& file) {
  Version();
  DemoStrings();
  std::wstring path = file.empty() ? ExeDir() + L"\\samples\\demo.txt" : file;
  std::vector<wchar_t> text;
  if (!ReadText(path, text)) {
    Out(L"zortool: cannot read " + path + L"\n");
    return 1;
  }
  Out(L"demo of " + path + L"\n");
  CCOMString all(text.data());
  all.Replace(L"\r\n", L"\n");
  for (int start = 0; start < all.GetLength();) {
    int end = all.Find(L'\n', start);
    if (end < 0) end = all.GetLength();
    DemoLine(all.Mid(start, end - start));
    start = end + 1;
  }
  return 0;
}

}  // namespace

int Promo(int argc, wchar_t** argv);   // Promo.cpp
int Lookup(int argc, wchar_t** argv);  // Lookup.cpp
int MsgBox(int argc, wchar_t** argv);    // Dialogs.cpp
int Progress(int argc, wchar_t** argv);  // Dialogs.cpp
int Link(int argc, wchar_t** argv);      // Dialogs.cpp
int Tree(int argc, wchar_t** argv);    // Tree.cpp
int Catalogue(int argc, wchar_t** argv);  // Catalogue.cpp

int wmain(int argc, wchar_t** argv) {
  zorcrash::InstallCrashReport();
  std::wstring verb = argc > 1 ? argv[1] : L"demo";
  if (verb == L"version") return Version();
  if (verb == L"demo") return Demo(argc > 2 ? argv[2] : L"");
  if (verb == L"promo") return Promo(argc, argv);
  if (verb == L"lookup") return Lookup(argc, argv);
  if (verb == L"msgbox") return MsgBox(argc, argv);
  if (verb == L"progress") return Progress(argc, argv);
  if (verb == L"link") return Link(argc, argv);
  if (verb == L"tree") return Tree(argc, argv);
  if (verb == L"catalogue") return Catalogue(argc, argv);
  Out(L"usage: zortool version | demo [FILE] | promo FILE [--script NAME] [--frames DIR [--count N]] | lookup ...\n"
      L"       | msgbox KEY [--check] [--icon N] [--buttons FLAGS] [--text] [--shot FILE.bmp]\n"
      L"       | progress [--shot FILE.bmp] | link [--shot FILE.bmp] | tree START_FOLDER [--shot FILE.bmp]\n"
      L"       | catalogue list | show ID | advert [ID] [--shot FILE.bmp] [--file CATALOGUE.xml]\n");
  return 2;
}
