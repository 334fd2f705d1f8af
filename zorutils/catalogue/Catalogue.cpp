// The product catalogue: loading, installed checks, web addresses and the
// advertising rotation.
#include <zorutils/catalogue/Catalogue.h>

#include <zorfutls/zorfutls.h>
#include <zorutils/formats/XMLFile.h>
#include <zorutils/internal/NameMatch.h>
#include <zorutils/internal/TestSeams.h>
#include <zorutils/strings/LanguageStrings.h>
#include <zorutils/system/Browsers.h>
#include <zorutils/system/Paths.h>
#include <zorutils/text/HtmlEntities.h>

#include <shlobj.h>

#include <cstdlib>
#include <cwchar>
#include <new>
#include <string>
#include <unordered_set>

namespace {

const wchar_t kUninstallKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
const wchar_t kAppPathsKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\";
const wchar_t kDoNotShow[] = L"DoNotShow";
const wchar_t kLastShown[] = L"LastShown";

bool (*g_launcher)(const wchar_t*, HWND) = nullptr;

bool IsBlank(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n'; }

// Copies `src` without its outer white space into `dst`, cut to fit.
void CopyTrimmed(wchar_t* dst, size_t capacity, const wchar_t* src) {
  dst[0] = 0;
  if (!src) return;
  while (IsBlank(*src)) ++src;
  size_t n = wcslen(src);
  while (n && IsBlank(src[n - 1])) --n;
  if (n > capacity - 1) n = capacity - 1;
  wmemcpy(dst, src, n);
  dst[n] = 0;
}

// The trimmed length of `src` (null: 0), to refuse texts that would be cut
// where cutting would change their meaning (ids, addresses, paths).
size_t TrimmedLength(const wchar_t* src) {
  if (!src) return 0;
  while (IsBlank(*src)) ++src;
  size_t n = wcslen(src);
  while (n && IsBlank(src[n - 1])) --n;
  return n;
}

// A text of the file with its references decoded. DeHTMLifyString reads
// "&lt" and "&gt" without their semicolon (its callers rely on that); a
// catalogue is written as XML, so "&lt;" and "&gt;" are made numeric first.
std::wstring Decoded(const wchar_t* raw) {
  std::wstring s(raw ? raw : L"");
  for (size_t at = 0; (at = s.find(L'&', at)) != std::wstring::npos; ++at) {
    if (s.compare(at, 4, L"&lt;") == 0) s.replace(at, 4, L"&#60;");
    else if (s.compare(at, 4, L"&gt;") == 0) s.replace(at, 4, L"&#62;");
  }
  if (s.size() > 1) {
    DeHTMLifyString(&s[0], static_cast<unsigned int>(s.size() + 1));
    s.resize(wcslen(s.c_str()));
  }
  return s;
}

// The first text run of `node`'s child `name`, decoded (empty when none).
std::wstring ChildText(const CXMLNode* node, const wchar_t* name) {
  const CXMLNode* child = node->GetChildByName(name);
  return Decoded(child ? child->GetContentString(0) : nullptr);
}

std::wstring ChildAttribute(const CXMLNode* node, const wchar_t* name, const wchar_t* attribute) {
  const CXMLNode* child = node->GetChildByName(name);
  if (!child) return std::wstring();
  for (int i = 0; i < child->NumHeaderProperties(); ++i) {
    const CXMLValue* v = child->GetHeaderProperty(i);
    if (v->FieldName() && zor::FoldEqual(v->FieldName(), attribute)) return Decoded(v->Value());
  }
  return std::wstring();
}

// A text of the file, replaced by the string file's text for its "key"
// attribute when the string file knows the key.
void LocalisedText(const CXMLNode* node, const wchar_t* name, const wchar_t* stringFile, wchar_t* out,
                   int outChars) {
  CopyTrimmed(out, static_cast<size_t>(outChars), ChildText(node, name).c_str());
  wchar_t key[kCatalogueKeyChars];
  CopyTrimmed(key, kCatalogueKeyChars, ChildAttribute(node, name, L"key").c_str());
  if (!key[0]) return;
  wchar_t* text = static_cast<wchar_t*>(std::malloc(sizeof(wchar_t) * static_cast<size_t>(outChars)));
  if (!text) return;
  text[0] = 0;
  MyLoadString(key, text, outChars - 1, const_cast<wchar_t*>(stringFile), true);
  // A key found nowhere comes back as itself: then the file's text stays.
  if (text[0] && wcscmp(text, key) != 0) CopyTrimmed(out, static_cast<size_t>(outChars), text);
  std::free(text);
}

bool IsIdCharacter(wchar_t c) {
  return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9') || c == L'.' ||
         c == L'-' || c == L'_';
}

std::wstring FoldedId(const wchar_t* id) {
  std::wstring s(id);
  for (wchar_t& c : s) c = static_cast<wchar_t>(zor::FoldUnit(c));
  return s;
}

// Reads one product element into `p`; null when it is usable, else why not.
const wchar_t* ReadProduct(const CXMLNode* node, const wchar_t* stringFile, TCatalogueProduct& p) {
  const std::wstring idText = Decoded(node->GetValue(L"id"));
  const wchar_t* id = idText.c_str();
  const size_t idLength = TrimmedLength(id);
  if (!idLength) return L"no id";
  if (idLength >= static_cast<size_t>(kCatalogueIdChars)) return L"id too long";
  CopyTrimmed(p.id, kCatalogueIdChars, id);
  for (const wchar_t* c = p.id; *c; ++c)
    if (!IsIdCharacter(*c)) return L"id with characters other than letters, digits, '.', '-' and '_'";

  LocalisedText(node, L"name", stringFile, p.name, kCatalogueNameChars);
  if (!p.name[0]) return L"no name";
  LocalisedText(node, L"description", stringFile, p.description, kCatalogueDescriptionChars);
  CopyTrimmed(p.version, kCatalogueVersionChars, Decoded(node->GetValue(L"version")).c_str());

  wchar_t kindText[16];
  CopyTrimmed(kindText, 16, ChildAttribute(node, L"installed", L"kind").c_str());
  if (zor::FoldEqual(kindText, L"uninstall")) p.installCheck = kInstallUninstallKey;
  else if (zor::FoldEqual(kindText, L"apppath")) p.installCheck = kInstallAppPath;
  else if (zor::FoldEqual(kindText, L"file")) p.installCheck = kInstallFile;
  else return L"no installed check of a known kind";
  const std::wstring targetText = ChildText(node, L"installed");
  const wchar_t* target = targetText.c_str();
  const size_t targetLength = TrimmedLength(target);
  if (!targetLength) return L"no installed target";
  if (targetLength >= static_cast<size_t>(kCatalogueTargetChars)) return L"installed target too long";
  CopyTrimmed(p.installTarget, kCatalogueTargetChars, target);

  const std::wstring downloadText = ChildText(node, L"download");
  const wchar_t* download = downloadText.c_str();
  if (!TrimmedLength(download)) return L"no download address";
  if (TrimmedLength(download) >= static_cast<size_t>(kCatalogueAddressChars)) return L"download address too long";
  CopyTrimmed(p.downloadAddress, kCatalogueAddressChars, download);
  if (!IsWebAddress(p.downloadAddress)) return L"download address is not a web address";

  const std::wstring infoText = ChildText(node, L"info");
  const wchar_t* info = infoText.c_str();
  if (TrimmedLength(info) < static_cast<size_t>(kCatalogueAddressChars)) {
    CopyTrimmed(p.infoAddress, kCatalogueAddressChars, info);
  }
  if (p.infoAddress[0] && !IsWebAddress(p.infoAddress)) {
    LogFmt(L"CProductCatalogue::Load: %s: information address dropped, not a web address", p.id);
    p.infoAddress[0] = 0;
  }
  const std::wstring iconText = ChildText(node, L"icon");
  const wchar_t* icon = iconText.c_str();
  if (TrimmedLength(icon) < static_cast<size_t>(MAX_PATH)) CopyTrimmed(p.iconFile, MAX_PATH, icon);
  return nullptr;
}

// Whether `subKey` opens below HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER; the
// first key found is handed back through `found` when asked for.
bool MachineOrUserKey(const std::wstring& subKey, CRegKey** found) {
  static const HKEY roots[] = {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER};
  for (HKEY root : roots) {
    CRegKey base(root);
    if (CRegKey* key = base.GetSubKey(subKey.c_str())) {
      if (found) *found = key;
      else DeleteRegKey(key);
      return true;
    }
  }
  return false;
}

// An App Paths key counts while the program its default value names (when it
// names one) exists: uninstallers leave these keys behind.
bool AppPathInstalled(const wchar_t* exe) {
  CRegKey* key = nullptr;
  if (!MachineOrUserKey(std::wstring(kAppPathsKey) + exe, &key)) return false;
  wchar_t value[MAX_PATH + 2] = {};
  DWORD type = 0, bytes = sizeof(value) - sizeof(wchar_t);
  const LONG rc = ::RegQueryValueExW(key->GetHandle(), nullptr, nullptr, &type,
                                     reinterpret_cast<BYTE*>(value), &bytes);
  DeleteRegKey(key);
  if (rc == ERROR_MORE_DATA) return true;  // names something we cannot check: trust the key
  if (rc != ERROR_SUCCESS || (type != REG_SZ && type != REG_EXPAND_SZ)) return true;
  value[bytes / sizeof(wchar_t)] = 0;
  wchar_t path[MAX_PATH + 2];
  CopyTrimmed(path, MAX_PATH + 2, value);
  if (!path[0]) return true;
  wchar_t* start = path;
  size_t n = wcslen(path);
  if (n >= 2 && path[0] == L'"' && path[n - 1] == L'"') path[n - 1] = 0, ++start;
  if (type == REG_EXPAND_SZ) {
    wchar_t expanded[MAX_PATH];
    const DWORD got = ::ExpandEnvironmentStringsW(start, expanded, MAX_PATH);
    if (!got || got > MAX_PATH) return true;
    return DoesFileExist(expanded) != 0;
  }
  return DoesFileExist(start) != 0;
}

struct TFolderToken {
  const wchar_t* name;
  int csidl;  // -1: the executable's folder
};
const TFolderToken kFolderTokens[] = {
    {L"ProgramFiles", CSIDL_PROGRAM_FILES},  {L"ProgramFilesX86", CSIDL_PROGRAM_FILESX86},
    {L"CommonFiles", CSIDL_PROGRAM_FILES_COMMON}, {L"AppData", CSIDL_APPDATA},
    {L"LocalAppData", CSIDL_LOCAL_APPDATA}, {L"CommonAppData", CSIDL_COMMON_APPDATA},
    {L"Windows", CSIDL_WINDOWS},  {L"System", CSIDL_SYSTEM}, {L"Exe", -1},
};

bool FolderOfToken(const wchar_t* name, wchar_t* folder) {
  for (const TFolderToken& t : kFolderTokens) {
    if (!zor::FoldEqual(name, t.name)) continue;
    folder[0] = 0;
    const bool ok = t.csidl < 0 ? GetExeDirectory(folder, MAX_PATH, nullptr) != 0
                                : GetSpecialFolderPath(folder, MAX_PATH, t.csidl, false);
    size_t n = wcslen(folder);
    while (n && folder[n - 1] == L'\\') folder[--n] = 0;
    return ok && n;
  }
  return false;
}

HKEY OpenStateKey(HKEY root, const wchar_t* subKey, bool create) {
  if (!root || !subKey[0]) return nullptr;
  HKEY key = nullptr;
  const LONG rc = create ? ::RegCreateKeyExW(root, subKey, 0, nullptr, 0, KEY_QUERY_VALUE | KEY_SET_VALUE,
                                             nullptr, &key, nullptr)
                         : ::RegOpenKeyExW(root, subKey, 0, KEY_QUERY_VALUE, &key);
  return rc == ERROR_SUCCESS ? key : nullptr;
}

DWORD StateValue(HKEY key, const wchar_t* id, const wchar_t* suffix) {
  if (!key) return 0;
  const std::wstring name = std::wstring(id) + L"." + suffix;
  DWORD value = 0, type = 0, bytes = sizeof value;
  if (::RegQueryValueExW(key, name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(&value), &bytes) !=
          ERROR_SUCCESS ||
      type != REG_DWORD)
    return 0;
  return value;
}

}  // namespace

void ZorTest_SetWebLauncher(bool (*launcher)(const wchar_t*, HWND)) { g_launcher = launcher; }

bool IsWebAddress(const wchar_t* address) {
  if (!address) return false;
  size_t skip;
  if (_wcsnicmp(address, L"http://", 7) == 0) skip = 7;
  else if (_wcsnicmp(address, L"https://", 8) == 0) skip = 8;
  else return false;
  const wchar_t* host = address + skip;
  if (!*host || *host == L'/' || *host == L'.' || *host == L':' || *host == L'?' || *host == L'#') return false;
  for (const wchar_t* c = address; *c; ++c) {
    if (*c <= L' ' || *c == 0x7F || *c == L'"' || *c == L'<' || *c == L'>' || *c == L'\\' || *c == L'`')
      return false;
  }
  return true;
}

bool OpenWebAddress(const wchar_t* address, HWND owner) {
  if (!IsWebAddress(address)) {
    Log(L"OpenWebAddress: refused, not a web address");
    return false;
  }
  if (g_launcher) return g_launcher(address, owner);
  return LaunchBrowser(address, owner, SW_SHOWNORMAL);
}

bool ExpandFolderTokens(const wchar_t* path, wchar_t* out, int outChars) {
  if (!out || outChars < 1) return false;
  out[0] = 0;
  if (!path) return false;
  size_t used = 0;
  const size_t capacity = static_cast<size_t>(outChars);
  for (const wchar_t* c = path; *c;) {
    const wchar_t* piece = c;
    size_t length = 1;
    wchar_t folder[MAX_PATH];
    if (*c == L'{') {
      const wchar_t* close = wcschr(c, L'}');
      wchar_t name[32];
      const size_t nameLength = close ? static_cast<size_t>(close - c - 1) : 0;
      if (!close || nameLength >= 32) {
        out[0] = 0;
        return false;
      }
      wmemcpy(name, c + 1, nameLength);
      name[nameLength] = 0;
      if (!FolderOfToken(name, folder)) {
        out[0] = 0;
        return false;
      }
      piece = folder;
      length = wcslen(folder);
      c = close + 1;
    } else {
      ++c;
    }
    if (used + length >= capacity) {
      out[0] = 0;
      return false;
    }
    wmemcpy(out + used, piece, length);
    used += length;
    out[used] = 0;
  }
  return true;
}

unsigned long CatalogueToday() {
  SYSTEMTIME local;
  ::GetLocalTime(&local);
  local.wHour = local.wMinute = local.wSecond = local.wMilliseconds = 0;
  FILETIME ft;
  ::SystemTimeToFileTime(&local, &ft);
  const unsigned long long ticks = (static_cast<unsigned long long>(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
  return static_cast<unsigned long>(ticks / 864000000000ULL);
}

CProductCatalogue::CProductCatalogue() : m_stateRoot(nullptr) { m_stateKey[0] = 0; }

CProductCatalogue::~CProductCatalogue() { Clear(); }

void CProductCatalogue::Clear() {
  for (int i = 0; i < m_products.GetSize(); ++i) delete m_products[i];
  while (m_products.GetSize()) m_products.RemoveAt(m_products.GetSize() - 1);
}

bool CProductCatalogue::Load(const wchar_t* path, const wchar_t* stringFile) {
  Clear();
  if (!path || !path[0]) {
    Log(L"CProductCatalogue::Load: departing, no file name");
    return false;
  }
  CXMLFile xml;
  if (!DoesFileExist(path) || !xml.Open(path)) {
    LogFmt(L"CProductCatalogue::Load: departing, cannot read %s", path);
    return false;
  }
  const CXMLNode* root = xml.FindNode(L"catalogue");
  if (!root) {
    LogFmt(L"CProductCatalogue::Load: departing, no catalogue element in %s", path);
    return false;
  }
  std::unordered_set<std::wstring> ids;
  int entry = 0, skipped = 0;
  for (int i = 0; i < root->NumChildren(); ++i) {
    const CXMLNode* node = root->GetChild(i);
    if (!node->Name() || !zor::FoldEqual(node->Name(), L"product")) continue;
    ++entry;
    TCatalogueProduct* p = new (std::nothrow) TCatalogueProduct();
    const wchar_t* why = L"out of memory";
    if (p && m_products.GetSize() >= kCatalogueMaxProducts) why = L"too many products";
    else if (p && !(why = ReadProduct(node, stringFile, *p)) && !ids.insert(FoldedId(p->id)).second)
      why = L"duplicate id";
    if (!why && !m_products.Add(p)) why = L"out of memory";
    if (why) {
      ++skipped;
      LogFmt(L"CProductCatalogue::Load: product %d skipped, %s", entry, why);
      delete p;
    }
  }
  LogFmt(L"CProductCatalogue::Load: %d products read, %d skipped", m_products.GetSize(), skipped);
  return true;
}

int CProductCatalogue::GetCount() const { return m_products.GetSize(); }

const TCatalogueProduct* CProductCatalogue::GetProduct(int index) const { return m_products.GetAt(index); }

int CProductCatalogue::FindById(const wchar_t* id) const {
  if (!id) return -1;
  for (int i = 0; i < m_products.GetSize(); ++i)
    if (zor::FoldEqual(m_products[i]->id, id)) return i;
  return -1;
}

bool CProductCatalogue::IsInstalled(int index) const {
  const TCatalogueProduct* p = GetProduct(index);
  if (!p) return false;
  switch (p->installCheck) {
    case kInstallUninstallKey:
      return MachineOrUserKey(std::wstring(kUninstallKey) + p->installTarget, nullptr);
    case kInstallAppPath:
      return AppPathInstalled(p->installTarget);
    case kInstallFile: {
      wchar_t path[MAX_PATH];
      return ExpandFolderTokens(p->installTarget, path, MAX_PATH) && DoesFileExist(path);
    }
    default:
      return false;
  }
}

bool CProductCatalogue::OpenDownload(int index, HWND owner) const {
  const TCatalogueProduct* p = GetProduct(index);
  return p && OpenWebAddress(p->downloadAddress, owner);
}

bool CProductCatalogue::OpenInformation(int index, HWND owner) const {
  const TCatalogueProduct* p = GetProduct(index);
  return p && p->infoAddress[0] && OpenWebAddress(p->infoAddress, owner);
}

void CProductCatalogue::SetStateKey(HKEY root, const wchar_t* subKey) {
  m_stateRoot = subKey && subKey[0] ? root : nullptr;
  m_stateKey[0] = 0;
  if (m_stateRoot) CopyTrimmed(m_stateKey, MAX_PATH, subKey);
}

bool CProductCatalogue::ReadState(int index, const wchar_t* suffix, DWORD& value) const {
  value = 0;
  const TCatalogueProduct* p = GetProduct(index);
  HKEY key = p ? OpenStateKey(m_stateRoot, m_stateKey, false) : nullptr;
  if (!key) return false;
  value = StateValue(key, p->id, suffix);
  ::RegCloseKey(key);
  return true;
}

bool CProductCatalogue::WriteState(int index, const wchar_t* suffix, DWORD value) {
  const TCatalogueProduct* p = GetProduct(index);
  HKEY key = p ? OpenStateKey(m_stateRoot, m_stateKey, true) : nullptr;
  if (!key) return false;
  const std::wstring name = std::wstring(p->id) + L"." + suffix;
  const LONG rc = ::RegSetValueExW(key, name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                                   sizeof value);
  ::RegCloseKey(key);
  return rc == ERROR_SUCCESS;
}

bool CProductCatalogue::IsSuppressed(int index) const {
  DWORD value = 0;
  return ReadState(index, kDoNotShow, value) && value != 0;
}

bool CProductCatalogue::SetSuppressed(int index, bool suppressed) {
  return WriteState(index, kDoNotShow, suppressed ? 1 : 0);
}

unsigned long CProductCatalogue::LastShownDay(int index) const {
  DWORD value = 0;
  ReadState(index, kLastShown, value);
  return value;
}

bool CProductCatalogue::MarkShown(int index, unsigned long today) {
  return WriteState(index, kLastShown, static_cast<DWORD>(today));
}

int CProductCatalogue::NextToAdvertise(int minDays, unsigned long today) const {
  if (minDays < 0) minDays = 0;
  // One open key for the whole walk: a menu may ask this for every product.
  HKEY key = OpenStateKey(m_stateRoot, m_stateKey, false);
  int best = -1;
  unsigned long bestDay = 0;
  for (int i = 0; i < m_products.GetSize(); ++i) {
    const TCatalogueProduct* p = m_products[i];
    if (StateValue(key, p->id, kDoNotShow)) continue;
    const unsigned long last = StateValue(key, p->id, kLastShown);
    if (last && today < last + static_cast<unsigned long>(minDays)) continue;
    if (best >= 0 && last >= bestDay) continue;
    // The installed check last: it is the dearest of the three.
    if (IsInstalled(i)) continue;
    best = i, bestDay = last;
  }
  if (key) ::RegCloseKey(key);
  return best;
}
