// zortool ini get|set|dump, csv dump, xml dump: the text file formats on
// files from the shell (samples\settings.ini, samples\tracks.csv,
// samples\album.xml are bundled to try them on).
#include <zorutils/zorutils.h>

#include "Tool.h"

#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

// The readers take any file; a name that is not a readable file is refused
// here first, so that the error says which.
bool CheckReadable(const std::wstring& verb, const std::wstring& path, int& status) {
  std::string ignored;
  std::wstring error;
  // A zero limit reads nothing: this only asks whether the file opens.
  if (!ReadBytes(path, ignored, 0, error) && error.rfind(L"too large", 0) != 0) {
    status = Fail(verb, error);
    return false;
  }
  return true;
}

// Single-byte text is read only up to its first zero byte, so writing such
// a file back would drop the rest of it.
bool LooksLikeText(const std::wstring& path) {
  std::string bytes;
  std::wstring error;
  if (!ReadBytes(path, bytes, size_t(64) << 20, error)) return true;  // the load reports it
  const bool utf16 = bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
                     static_cast<unsigned char>(bytes[1]) == 0xFE;
  return utf16 || bytes.find('\0') == std::string::npos;
}

// --- ini ----------------------------------------------------------------------

// The unnamed section (keys before the first header) is not counted.
int NamedSections(const CIniFileReader& ini) {
  int named = 0;
  for (int i = 0; i < ini.NumSections(); ++i)
    if (ini.SectionName(i) && *ini.SectionName(i)) ++named;
  return named;
}

// The document as the reader writes it back: saved to a scratch file, which
// is read and printed without the empty lines between sections.
int IniDump(CIniFileReader& ini) {
  wchar_t folder[MAX_PATH], scratch[MAX_PATH];
  if (!GetTempPathW(MAX_PATH, folder) || !GetTempFileNameW(folder, L"zor", 0, scratch))
    return Fail(L"ini", L"cannot make a scratch file");
  ini.SetFileName(scratch);
  const bool saved = ini.Save();
  std::string bytes;
  std::wstring error;
  const bool read = saved && ReadBytes(scratch, bytes, ~size_t(0) >> 1, error);
  DeleteFileW(scratch);
  if (!read) return Fail(L"ini", L"cannot write the document out");
  Out(std::to_wstring(NamedSections(ini)) + L" sections\n");
  const std::wstring text = BytesToText(bytes);
  std::wstring out;
  for (size_t start = 0; start < text.size();) {
    size_t end = text.find(L'\n', start);
    if (end == std::wstring::npos) end = text.size();
    std::wstring line = text.substr(start, end - start);
    if (!line.empty() && line.back() == L'\r') line.pop_back();
    if (!line.empty()) out += line + L"\n";
    start = end + 1;
  }
  Out(out);
  return 0;
}

int Ini(int argc, wchar_t** argv) {
  const std::vector<std::wstring> args = Positional(argc, argv, 2, {L"--default"});
  if (args.empty()) return BadArgs(L"ini", L"say get, set or dump");
  const std::wstring& what = args[0];
  const size_t need = what == L"get" ? 4 : what == L"set" ? 5 : what == L"dump" ? 2 : 0;
  if (!need) return BadArgs(L"ini", L"unknown action \"" + what + L"\"");
  if (args.size() != need) return BadArgs(L"ini", L"wrong number of arguments for " + what);
  const std::wstring& path = args[1];
  CIniFileReader ini;
  const bool exists = GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
  if (what == L"set" && !exists) {
    // A new document.
  } else if (what == L"set" && !LooksLikeText(path)) {
    return Fail(L"ini", L"not a text file (it holds zero bytes); not rewriting " + path);
  } else {
    int status = 0;
    if (!CheckReadable(L"ini", path, status)) return status;
    if (!ini.Init(path.c_str(), false)) return Fail(L"ini", L"not an INI document (or empty): " + path);
  }
  if (what == L"dump") return IniDump(ini);
  if (what == L"get") {
    wchar_t value[8192];
    const std::wstring fallback = ArgValue(argc, argv, L"--default");
    if (!ini.GetString(args[2].c_str(), args[3].c_str(), fallback.c_str(), value, 8192))
      return Fail(L"ini", L"no section [" + args[2] + L"] in " + path);
    Out(std::wstring(value) + L"\n");
    return 0;
  }
  // set: a file that read as no section at all is likely not an INI file,
  // and saving would replace it with the one new value, so it is left alone.
  if (exists && NamedSections(ini) == 0)
    return Fail(L"ini", L"no section in " + path + L"; not rewriting it");
  if (args[2].empty() || args[3].empty()) return BadArgs(L"ini", L"the section and key must not be empty");
  if (args[2].size() > 63) return BadArgs(L"ini", L"section names are at most 63 characters");
  if (!ini.SetValue(args[2].c_str(), args[3].c_str(), args[4].c_str()))
    return Fail(L"ini", L"cannot set the value");
  // Written beside the file and then moved over it, so a failed write leaves
  // the old file whole.
  const std::wstring fresh = path + L".new";
  ini.SetFileName(fresh.c_str());
  if (!ini.Save() || !MoveFileExW(fresh.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING)) {
    DeleteFileW(fresh.c_str());
    return Fail(L"ini", L"cannot write " + path);
  }
  Out(L"[" + args[2] + L"] " + args[3] + L" = " + args[4] + L"\n");
  return 0;
}

// --- csv ----------------------------------------------------------------------

int Csv(int argc, wchar_t** argv) {
  const std::vector<std::wstring> args = Positional(argc, argv, 2, {});
  if (args.size() != 2 || args[0] != L"dump") return BadArgs(L"csv", L"say dump FILE");
  const std::wstring& path = args[1];
  int status = 0;
  if (!CheckReadable(L"csv", path, status)) return status;
  CDelimitedTextFile table;
  const wchar_t delimiter = HasFlag(argc, argv, L"--tab") ? L'\t' : L',';
  const wchar_t quote = HasFlag(argc, argv, L"--no-quotes") ? 0 : L'"';
  if (!table.Open(path.c_str(), delimiter, HasFlag(argc, argv, L"--strict"), quote))
    return Fail(L"csv", L"no header line in " + path);
  const int columns = table.NumFields();
  const int rows = table.NumRecords();
  std::wstring out = std::to_wstring(columns) + L" columns, " + std::to_wstring(rows) + L" rows\n";
  for (int c = 0; c < columns; ++c) out += (c ? L" | " : L"") + std::wstring(table.FieldName(c));
  out += L"\n";
  for (int r = 0; r < rows; ++r) {
    for (int c = 0; c < columns; ++c) {
      const wchar_t* field = table.GetField(r, c);
      out += (c ? L" | " : L"") + std::wstring(field ? field : L"");
    }
    out += L"\n";
    if (out.size() > 65536) {
      Out(out);
      out.clear();
    }
  }
  Out(out);
  return 0;
}

// --- xml ----------------------------------------------------------------------

// A text on one line: line breaks and tabs written as \n, \r, \t.
std::wstring Visible(const wchar_t* text) {
  std::wstring out;
  for (; text && *text; ++text) {
    if (*text == L'\n') out += L"\\n";
    else if (*text == L'\r') out += L"\\r";
    else if (*text == L'\t') out += L"\\t";
    else out += *text;
  }
  return out;
}

// One node and, in document order (by sequence number), its contents and
// children, indented by depth.
void DumpNode(const CXMLNode& node, int depth, std::wstring& out) {
  const std::wstring indent(static_cast<size_t>(depth) * 2, L' ');
  out += indent + L"#" + std::to_wstring(node.SequenceNumber()) + L" <" + (node.Name() ? node.Name() : L"") + L">";
  for (int i = 0; i < node.NumHeaderProperties(); ++i) {
    const CXMLValue* p = node.GetHeaderProperty(i);
    out += L" " + std::wstring(p->FieldName() ? p->FieldName() : L"") + L"=\"" +
           (p->Value() ? p->Value() : L"") + L"\"";
  }
  out += L"\n";
  struct Item {
    int sequence;
    const CXMLValue* content;
    const CXMLNode* child;
  };
  std::vector<Item> items;
  for (int i = 0; i < node.NumContents(); ++i)
    items.push_back({node.GetContent(i)->SequenceNumber(), node.GetContent(i), nullptr});
  for (int i = 0; i < node.NumChildren(); ++i) items.push_back({node.GetChild(i)->SequenceNumber(), nullptr, node.GetChild(i)});
  std::stable_sort(items.begin(), items.end(), [](const Item& a, const Item& b) { return a.sequence < b.sequence; });
  for (const Item& item : items) {
    if (item.child) {
      DumpNode(*item.child, depth + 1, out);
    } else {
      out += indent + L"  #" + std::to_wstring(item.sequence) + L" \"" + Visible(item.content->Value()) + L"\"\n";
    }
    if (out.size() > 65536) {
      Out(out);
      out.clear();
    }
  }
}

int Xml(int argc, wchar_t** argv) {
  const std::vector<std::wstring> args = Positional(argc, argv, 2, {});
  if (args.size() != 2 || args[0] != L"dump") return BadArgs(L"xml", L"say dump FILE");
  const std::wstring& path = args[1];
  int status = 0;
  if (!CheckReadable(L"xml", path, status)) return status;
  CXMLFile xml;
  xml.SetShouldDeHTMLify(HasFlag(argc, argv, L"--decode"));
  if (!xml.Open(path.c_str())) return Fail(L"xml", L"cannot read " + path + L" (empty?)");
  std::wstring out;
  DumpNode(xml, 0, out);
  Out(out);
  return 0;
}

}  // namespace

int Formats(int argc, wchar_t** argv) {
  const std::wstring verb = argv[1];
  if (verb == L"ini") return Ini(argc, argv);
  if (verb == L"csv") return Csv(argc, argv);
  return Xml(argc, argv);
}
