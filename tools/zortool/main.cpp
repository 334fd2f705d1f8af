// zortool: the library's command-line front end and demo host. Every
// subsystem can be tried from here on the bundled files in samples\; the
// commands and their options are listed in kCommands below (zortool --help,
// zortool COMMAND --help). Errors are one line on stderr and a non-zero exit
// status: 2 for wrong arguments, 1 for anything else.
#include <zorutils/zorutils.h>

#include "tools/crashreport/CrashReport.h"
#include "Tool.h"

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
  // A console shows each line as it comes; into a pipe or a file the output
  // is buffered (errors flush it first, so the order holds).
  static const bool console = GetFileType(GetStdHandle(STD_OUTPUT_HANDLE)) == FILE_TYPE_CHAR;
  if (console) fflush(stdout);
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
  if (!ReadText(path, text)) return Fail(L"demo", L"cannot read " + path);
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

int Promo(int argc, wchar_t** argv);        // Promo.cpp
int Lookup(int argc, wchar_t** argv);       // Lookup.cpp
int MsgBox(int argc, wchar_t** argv);       // Dialogs.cpp
int Progress(int argc, wchar_t** argv);     // Dialogs.cpp
int Link(int argc, wchar_t** argv);         // Dialogs.cpp
int Tree(int argc, wchar_t** argv);         // Tree.cpp
int Catalogue(int argc, wchar_t** argv);    // Catalogue.cpp
int Formats(int argc, wchar_t** argv);      // Formats.cpp: ini, csv, xml
int TextTools(int argc, wchar_t** argv);    // Text.cpp: html, name, strings, languages
int SystemTools(int argc, wchar_t** argv);  // System.cpp: sysinfo, mru
int UndoSession(int argc, wchar_t** argv);  // Undo.cpp

namespace {

struct Command {
  const wchar_t* verb;
  int (*run)(int argc, wchar_t** argv);
  const wchar_t* usage;  // the first line is the synopsis
};

int VersionCommand(int argc, wchar_t**) { return argc > 2 ? BadArgs(L"version", L"takes no arguments") : Version(); }
int DemoCommand(int argc, wchar_t** argv) { return Demo(argc > 2 ? argv[2] : L""); }

const Command kCommands[] = {
    {L"version", VersionCommand, L"version\n  The versions of zorutils.dll and zorfutls.dll.\n"},
    {L"demo", DemoCommand,
     L"demo [FILE]\n  The library's texts, the installed languages, and string functions run over\n"
     L"  FILE's lines (samples\\demo.txt by default).\n"},
    {L"ini", Formats,
     L"ini get FILE SECTION KEY [--default TEXT] | ini set FILE SECTION KEY VALUE | ini dump FILE\n"
     L"  Reads a value, sets one (the file is written back as UTF-16 by the reader;\n"
     L"  a missing file is created, a file without sections is not rewritten), or\n"
     L"  prints the document as the reader holds it. Try samples\\settings.ini.\n"},
    {L"csv", Formats,
     L"csv dump FILE [--tab] [--no-quotes] [--strict]\n"
     L"  Prints a comma-separated table (--tab: tab-separated) with a header line;\n"
     L"  --strict leaves out rows of the wrong length. Try samples\\tracks.csv.\n"},
    {L"xml", Formats,
     L"xml dump FILE [--decode]\n"
     L"  Prints the XML tree: each element and text with its sequence number (#N),\n"
     L"  in document order; --decode replaces character references. Try samples\\album.xml.\n"},
    {L"html", TextTools,
     L"html decode TEXT | html format TEXT   (or --file FILE instead of TEXT, up to 1 MB)\n"
     L"  decode: character references back to characters (\"&eacute;\" -> \"\u00e9\");\n"
     L"  format: plain text as HTML, addresses made links.\n"},
    {L"name", TextTools,
     L"name iso9660 NAME | joliet NAME [--paths] [--replace C] | validate NAME [--replace C]\n"
     L"     | unique PATH [--separator C]\n"
     L"  Cleans a name for a disc image or the file system, or finds the first free\n"
     L"  name like PATH (\"name_1.ext\", ...).\n"},
    {L"strings", TextTools,
     L"strings get KEY [--file FILE]\n"
     L"  A localised text: from FILE, or else from the default language's string file\n"
     L"  with the library's own texts behind it. A missing key gives the key itself.\n"},
    {L"languages", TextTools,
     L"languages\n  The languages listed in Languages.csv beside zortool.exe and their files.\n"},
    {L"sysinfo", SystemTools,
     L"sysinfo\n  The system version, processor clock rate, Unicode and theme support.\n"},
    {L"mru", SystemTools,
     L"mru add FILE | mru list | mru remove N | mru clear\n"
     L"  The recent-files list (at most 9, newest first) kept under\n"
     L"  HKCU\\Software\\zorutils\\zortool\\Recent files. N counts from 1 as listed.\n"},
    {L"undo", UndoSession,
     L"undo\n  A short scripted editing session: the text, Undo and Redo and the dirty\n"
     L"  state after each step.\n"},
    {L"lookup", Lookup,
     L"lookup artists NAME | albums ARTIST TITLE | albums-of ARTIST_ID | songs RELEASE_ID\n"
     L"       [--server URL] [--offset N] [--v2]   |   lookup demo [--v2]\n"
     L"  Searches the online music catalogue; demo serves recorded replies on\n"
     L"  127.0.0.1 and needs no network.\n"},
    {L"promo", Promo,
     L"promo FILE [--script NAME] [--frames DIR [--count N]]\n"
     L"  Plays a promo script in a window (try samples\\promo.ini); --frames saves N\n"
     L"  frames as BMP files into DIR and closes.\n"},
    {L"msgbox", MsgBox,
     L"msgbox KEY [--check] [--icon N] [--buttons FLAGS] [--text] [--shot FILE.bmp]\n"
     L"  The message dialog with the text of KEY (or KEY itself with --text);\n"
     L"  --shot saves a picture of it and closes it.\n"},
    {L"progress", Progress, L"progress [--shot FILE.bmp]\n  The progress dialog counting to 100.\n"},
    {L"link", Link, L"link [--shot FILE.bmp]\n  A window with a link control.\n"},
    {L"tree", Tree, L"tree START_FOLDER [--shot FILE.bmp]\n  The folder tree in a window, opened at START_FOLDER.\n"},
    {L"catalogue", Catalogue,
     L"catalogue list | show ID | advert [ID] [--shot FILE.bmp] [--file CATALOGUE.xml]\n"
     L"  The product catalogue (samples\\catalogue.xml): the products, one product, or\n"
     L"  its advertisement dialog (without ID the rotation picks).\n"},
};

void Usage() {
  std::wstring text = L"usage: zortool COMMAND ... (zortool COMMAND --help for more)\n";
  for (const Command& c : kCommands) {
    const std::wstring usage = c.usage;
    text += L"  " + usage.substr(0, usage.find(L'\n')) + L"\n";
  }
  Out(text);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  zorcrash::InstallCrashReport();
  if (argc < 2) return DemoCommand(argc, argv);
  const std::wstring verb = argv[1];
  if (verb == L"--help" || verb == L"-h" || verb == L"help") {
    Usage();
    return 0;
  }
  for (const Command& c : kCommands) {
    if (verb != c.verb) continue;
    if (HasFlag(argc, argv, L"--help") || HasFlag(argc, argv, L"-h")) {
      Out(std::wstring(L"usage: zortool ") + c.usage);
      return 0;
    }
    return c.run(argc, argv);
  }
  return BadArgs(L"", L"unknown command \"" + verb + L"\"");
}
