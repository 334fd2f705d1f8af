// zortool html decode|format, name iso9660|joliet|validate|unique,
// strings get, languages: the text helpers and the localised strings.
#include <zorutils/zorutils.h>

#include "Tool.h"

#include <windows.h>

#include <string>
#include <vector>

namespace {

// HTML formatting needs room for every word written out twice plus the link
// markup, so its input is kept to a size whose output still fits easily.
constexpr size_t kHtmlFileLimit = 1 << 20;

// The text argument, or the text of --file.
bool TextInput(int argc, wchar_t** argv, const std::vector<std::wstring>& args, std::wstring& text, int& status) {
  const std::wstring file = ArgValue(argc, argv, L"--file");
  if (!file.empty()) {
    std::string bytes;
    std::wstring error;
    if (!ReadBytes(file, bytes, kHtmlFileLimit, error)) {
      status = Fail(L"html", error);
      return false;
    }
    text = BytesToText(bytes);
    return true;
  }
  if (args.size() != 2) {
    status = BadArgs(L"html", L"give one TEXT or --file FILE");
    return false;
  }
  text = args[1];
  return true;
}

int Html(int argc, wchar_t** argv) {
  const std::vector<std::wstring> args = Positional(argc, argv, 2, {L"--file"});
  if (args.empty() || (args[0] != L"decode" && args[0] != L"format"))
    return BadArgs(L"html", L"say decode or format");
  std::wstring text;
  int status = 0;
  if (!TextInput(argc, argv, args, text, status)) return status;
  if (args[0] == L"decode") {
    std::vector<wchar_t> buffer(text.begin(), text.end());
    buffer.push_back(0);
    DeHTMLifyString(buffer.data(), static_cast<unsigned int>(buffer.size()));
    Out(std::wstring(buffer.data()) + L"\n");
    return 0;
  }
  // Each word can come out as itself twice plus 30 units of markup.
  const size_t room = text.size() * 17 + 64;
  std::vector<wchar_t> out(room, 0);
  ParseForHTML(&text[0], static_cast<long>(text.size()), out.data(), static_cast<long>(room));
  Out(std::wstring(out.data()) + L"\n");
  return 0;
}

wchar_t Replacement(int argc, wchar_t** argv) {
  const std::wstring r = ArgValue(argc, argv, L"--replace", L"_");
  return r.empty() ? L'_' : r[0];
}

int Name(int argc, wchar_t** argv) {
  const std::vector<std::wstring> args = Positional(argc, argv, 2, {L"--replace", L"--separator"});
  if (args.size() != 2) return BadArgs(L"name", L"say iso9660|joliet|validate|unique NAME");
  const std::wstring& what = args[0];
  const std::wstring& name = args[1];
  const bool paths = HasFlag(argc, argv, L"--paths");
  // The cleaners write at most as many characters as they read.
  std::vector<wchar_t> out(name.size() + 1, 0);
  bool changed = false;
  if (what == L"iso9660") {
    changed = MakeISO9660FriendlyName(name.c_str(), out.data(), paths, Replacement(argc, argv));
  } else if (what == L"joliet") {
    changed = MakeJolietFriendlyName(name.c_str(), out.data(), paths, Replacement(argc, argv));
  } else if (what == L"validate") {
    if (!ValidateFileName(name.c_str(), out.data(), Replacement(argc, argv)))
      return Fail(L"name", L"nothing to use in an empty name");
    changed = name != out.data();
  } else if (what == L"unique") {
    if (name.size() >= MAX_PATH) return Fail(L"name", L"paths are at most 259 characters");
    wchar_t path[MAX_PATH] = {};
    GetFullPathNameW(name.c_str(), MAX_PATH, path, nullptr);
    const std::wstring before = path;
    const std::wstring separator = ArgValue(argc, argv, L"--separator", L"_");
    if (!UniqueFileName(path, true, separator.empty() ? L'_' : separator[0]))
      return Fail(L"name", L"no free name for " + before);
    Out(std::wstring(path) + (before == path ? L"  (free already)\n" : L"  (taken: " + before + L")\n"));
    return 0;
  } else {
    return BadArgs(L"name", L"unknown action \"" + what + L"\"");
  }
  Out(std::wstring(out.data()) + (changed ? L"  (changed)\n" : L"  (unchanged)\n"));
  return 0;
}

// The host's string files as a host sets them: the default language's texts
// first, the library's own texts as the fallback.
void UseDefaultStringFiles() {
  wchar_t main[MAX_PATH] = {};
  wchar_t none[] = L"";
  if (GetStringFileFromLanguage(none, SFF_MainStrings, main, true)) SetStringFile(main);
  SetBackupStringFile(GetUtilitiesStringFile());
}

int Strings(int argc, wchar_t** argv) {
  const std::vector<std::wstring> args = Positional(argc, argv, 2, {L"--file"});
  if (args.size() != 2 || args[0] != L"get") return BadArgs(L"strings", L"say get KEY [--file FILE]");
  std::wstring key = args[1];
  std::wstring file = ArgValue(argc, argv, L"--file");
  if (!file.empty()) {
    std::string ignored;
    std::wstring error;
    if (!ReadBytes(file, ignored, 0, error) && error.rfind(L"too large", 0) != 0) return Fail(L"strings", error);
    wchar_t full[MAX_PATH] = {};
    if (!GetFullPathNameW(file.c_str(), MAX_PATH, full, nullptr) || wcslen(full) >= MAX_PATH - 1)
      return Fail(L"strings", L"path too long: " + file);
    file = full;
  } else {
    UseDefaultStringFiles();
  }
  std::vector<wchar_t> text(4097, 0);
  MyLoadString(&key[0], text.data(), 4096, file.empty() ? nullptr : &file[0], true);
  Out(std::wstring(text.data()) + (key == text.data() ? L"  (not found: the key itself)\n" : L"\n"));
  return 0;
}

int Languages() {
  const int count = GetNumberOfLanguageStringFiles();
  if (count <= 0) return Fail(L"languages", L"no Languages.csv beside zortool.exe");
  Out(std::to_wstring(count) + L" languages in " + ExeDir() + L"\\Languages.csv\n");
  for (int i = 0; i < count; ++i) {
    wchar_t name[64] = {}, strings[MAX_PATH] = {}, utilities[MAX_PATH] = {}, help[MAX_PATH] = {};
    GetLanguageName(i, name, 64);
    GetStringFileFromLanguage(name, SFF_MainStrings, strings, false);
    GetStringFileFromLanguage(name, SFF_UtilityStrings, utilities, false);
    GetStringFileFromLanguage(name, SFF_HelpFile, help, false);
    wchar_t cancel[257] = {};
    wchar_t key[] = L"Cancel";
    MyLoadString(key, cancel, 256, utilities, false);
    auto file = [](const wchar_t* path) {
      const wchar_t* slash = wcsrchr(path, L'\\');
      return std::wstring(slash ? slash + 1 : path) + (DoesFileExist(path) ? L"" : L" (missing)");
    };
    Out(L"  " + std::wstring(name) + L": strings " + file(strings) + L", utilities " + file(utilities) +
        L", help " + file(help) + L"; Cancel = " + cancel + L"\n");
  }
  return 0;
}

}  // namespace

int TextTools(int argc, wchar_t** argv) {
  const std::wstring verb = argv[1];
  if (verb == L"html") return Html(argc, argv);
  if (verb == L"name") return Name(argc, argv);
  if (verb == L"strings") return Strings(argc, argv);
  if (argc > 2) return BadArgs(L"languages", L"takes no arguments");
  return Languages();
}
