// Localised message strings. One critical section serialises every
// MyLoadString call, file reading included; the cache maps each key to the
// text it was last answered with, for as long as the library is loaded.
#include <zorutils/strings/LanguageStrings.h>

#include <zorutils/containers/DynArray.h>
#include <zorutils/containers/HashTable.h>
#include <zorutils/formats/DelimitedTextFile.h>
#include <zorutils/internal/Handles.h>
#include <zorutils/internal/NameMatch.h>
#include <zorutils/strings/LanguageStrings_impl.h>
#include <zorutils/system/Paths.h>

#include <zorfutls/zorfutls.h>

#include <shlwapi.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <cwctype>

namespace {

const int kPathChars = MAX_PATH;
const int kLineChars = 1024;         // lines are read 1023 characters at a time
const wchar_t kLineEndMark = 0x5C6E;  // taken as a line end, like LF

HINSTANCE g_module = nullptr;
wchar_t g_stringFile[kPathChars];
wchar_t g_backupFile[kPathChars];
wchar_t g_utilitiesFile[kPathChars];

CRITICAL_SECTION g_lock;
// The cache: the table maps a key (owned by g_cacheKeys) to an index into
// g_cacheTexts. An index rather than the text pointer itself, because a
// pointer does not fit the table's 32-bit value on 64-bit Windows.
CHashTable* g_cache = nullptr;
CDynArray<wchar_t*> g_cacheKeys;
CDynArray<wchar_t*> g_cacheTexts;

wchar_t* Duplicate(const wchar_t* s) {
  size_t n = wcslen(s) + 1;
  wchar_t* copy = static_cast<wchar_t*>(malloc(n * sizeof(wchar_t)));
  if (copy) wmemcpy(copy, s, n);
  return copy;
}

// Copies at most `chars` units of `src` and terminates behind them.
void CopyCut(wchar_t* out, const wchar_t* src, size_t chars) {
  size_t n = wcslen(src);
  if (n > chars) n = chars;
  wmemmove(out, src, n);
  out[n] = 0;
}

// Searches one opened string file line by line for `key`. On a match the
// value goes to `out` (at most outChars characters, terminated) and true is
// returned. Lines longer than 1023 characters arrive in pieces, each piece
// looked at as a line of its own.
bool SearchFile(FILE* f, const wchar_t* key, wchar_t* out, int outChars) {
  wchar_t line[kLineChars];
  while (fgetws(line, kLineChars, f)) {
    wchar_t first = line[0];
    if (first == 0 || first == L'[' || first == L';' || first == L'\n' || first == kLineEndMark)
      continue;
    wchar_t* eq = wcschr(line, L'=');
    if (!eq) continue;
    // The key part loses its trailing white space but keeps leading blanks:
    // an indented key never matches.
    size_t keyLen = static_cast<size_t>(eq - line);
    while (keyLen > 0 && iswspace(line[keyLen - 1])) --keyLen;
    if (!zor::FoldEqualN(key, line, keyLen)) continue;
    wchar_t* value = eq + 1;
    while (*value && iswspace(*value) && *value != L'\n') ++value;
    size_t len = wcslen(value);
    if (len > 0 && (value[len - 1] == L'\n' || value[len - 1] == kLineEndMark)) value[--len] = 0;
    CopyCut(out, value, static_cast<size_t>(outChars));
    return true;
  }
  return false;
}

// Rewrites every `from` in `text` as the single unit `to` (never longer).
void CollapseEscape(wchar_t* text, const wchar_t* from, wchar_t to) {
  size_t fromLen = wcslen(from);
  wchar_t* w = text;
  for (const wchar_t* r = text; *r;) {
    if (wcsncmp(r, from, fromLen) == 0) {
      *w++ = to;
      r += fromLen;
    } else {
      *w++ = *r++;
    }
  }
  *w = 0;
}

bool CacheFind(const wchar_t* key, const wchar_t** text) {
  if (!g_cache) return false;
  long index = 0;
  if (!g_cache->Find(const_cast<wchar_t*>(key), index)) return false;
  *text = g_cacheTexts.GetAt(static_cast<int>(index));
  return *text != nullptr;
}

void CacheAdd(const wchar_t* key, const wchar_t* text) {
  if (!g_cache) return;
  wchar_t* keyCopy = Duplicate(key);
  wchar_t* textCopy = Duplicate(text);
  if (!keyCopy || !textCopy || !g_cacheKeys.Add(keyCopy)) {
    free(keyCopy);
    free(textCopy);
    return;
  }
  if (!g_cacheTexts.Add(textCopy)) {
    g_cacheKeys.RemoveAt(g_cacheKeys.GetSize() - 1);
    free(keyCopy);
    free(textCopy);
    return;
  }
  g_cache->AddEntry(keyCopy, g_cacheTexts.GetSize() - 1);
}

bool SetPath(wchar_t* dest, const wchar_t* path, const wchar_t* what) {
  if (!path) {
    dest[0] = 0;
    return true;
  }
  size_t n = wcslen(path);
  if (n >= static_cast<size_t>(kPathChars)) {
    LogFmt(L"%s: path of %u characters refused", what, static_cast<unsigned>(n));
    return false;
  }
  wmemcpy(dest, path, n + 1);
  return true;
}

// The executable's folder (with its trailing backslash) into `dir`.
bool ExeFolder(wchar_t* dir) { return GetExeDirectory(dir, kPathChars, nullptr) != 0 && dir[0]; }

bool OpenLanguages(CDelimitedTextFile& table, wchar_t* dir) {
  if (!ExeFolder(dir)) return false;
  wchar_t path[kPathChars + 16];
  _snwprintf(path, kPathChars + 15, L"%sLanguages.csv", dir);
  path[kPathChars + 15] = 0;
  return table.Open(path, L',', true, L'"');
}

}  // namespace

// --- Load and unload ------------------------------------------------------------------

void ZorStringsAttach(HINSTANCE module) {
  InitializeCriticalSection(&g_lock);
  g_module = module;
  g_cache = new CHashTable(25);
  wchar_t dir[kPathChars];
  g_utilitiesFile[0] = 0;
  if (ExeFolder(dir) && wcslen(dir) + wcslen(L"utility-strings.ini") < static_cast<size_t>(kPathChars)) {
    wcscpy(g_utilitiesFile, dir);
    wcscat(g_utilitiesFile, L"utility-strings.ini");
  }
}

void ZorStringsDetach() {
  if (g_cache) {
    g_cache->RemoveAll();
    delete g_cache;
    g_cache = nullptr;
  }
  g_cacheKeys.DeleteAll();
  g_cacheKeys.FreeExtra();
  g_cacheTexts.DeleteAll();
  g_cacheTexts.FreeExtra();
  DeleteCriticalSection(&g_lock);
}

HINSTANCE ZorModule() { return g_module; }

// --- Look-ups --------------------------------------------------------------------------

int MyLoadString(wchar_t* key, wchar_t* out, int outChars, wchar_t* file, bool convertEscapes) {
  if (!key || !out || outChars < 1) return 0;
  zor::CsLock guard(g_lock);
  const bool fileGiven = file && *file;

  if (!fileGiven) {
    const wchar_t* cached = nullptr;
    if (CacheFind(key, &cached)) {
      CopyCut(out, cached, static_cast<size_t>(outChars));
      return static_cast<int>(wcslen(out));
    }
  }

  const wchar_t* path = fileGiven ? file : g_stringFile;
  bool found = false;
  bool backupTried = false;
  for (;;) {
    FILE* f = _wfopen(path, L"r");
    if (!f) {
      // No file to read: the key itself, uncached.
      CopyCut(out, key, static_cast<size_t>(outChars));
      return static_cast<int>(wcslen(out));
    }
    found = SearchFile(f, key, out, outChars);
    fclose(f);
    if (found) break;
    CopyCut(out, key, static_cast<size_t>(outChars));
    if (fileGiven) return static_cast<int>(wcslen(out));
    if (backupTried || !g_backupFile[0]) break;
    backupTried = true;
    path = g_backupFile;
  }

  if (found && convertEscapes) {
    CollapseEscape(out, L"\\r\\n", L'\n');
    CollapseEscape(out, L"\\n", L'\n');
    CollapseEscape(out, L"\\t", L'\t');
  }
  if (!fileGiven && *key) CacheAdd(key, out);
  return static_cast<int>(wcslen(out));
}

int LoadLanguageString(const wchar_t* key, wchar_t* out, unsigned long outChars) {
  if (!key || !out || outChars == 0) return 0;
  GetPrivateProfileStringW(L"Strings", key, key, out, outChars, g_stringFile);
  return out[0] != 0 ? 1 : 0;
}

int LoadLanguageStringFormatted(const wchar_t* key, wchar_t* out, unsigned long outChars) {
  if (!key || !out || outChars == 0) return 0;
  int result = LoadLanguageString(key, out, outChars);
  // \n becomes CR LF in place (same length); \t becomes one tab.
  wchar_t* w = out;
  for (const wchar_t* r = out; *r;) {
    if (r[0] == L'\\' && r[1] == L'n') {
      *w++ = L'\r';
      *w++ = L'\n';
      r += 2;
    } else if (r[0] == L'\\' && r[1] == L't') {
      *w++ = L'\t';
      r += 2;
    } else {
      *w++ = *r++;
    }
  }
  *w = 0;
  return result != 0 ? 1 : 0;
}

// --- Settings ----------------------------------------------------------------------------

void SetStringFile(wchar_t* path) { SetPath(g_stringFile, path, L"SetStringFile"); }

void SetLanguageFile(const wchar_t* path) { SetPath(g_stringFile, path, L"SetLanguageFile"); }

void SetBackupStringFile(wchar_t* path) { SetPath(g_backupFile, path, L"SetBackupStringFile"); }

void OverrideUtilitiesStringFile(wchar_t* path) {
  SetPath(g_utilitiesFile, path, L"OverrideUtilitiesStringFile");
}

wchar_t* GetStringFile() { return g_stringFile; }

wchar_t* GetUtilitiesStringFile() { return g_utilitiesFile; }

// --- Languages.csv -------------------------------------------------------------------------

int GetNumberOfLanguageStringFiles() {
  CDelimitedTextFile table;
  wchar_t dir[kPathChars];
  if (!OpenLanguages(table, dir)) return 0;
  return static_cast<int>(table.NumRecords());
}

bool GetLanguageName(int index, wchar_t* out, int outChars) {
  if (!out || outChars < 1) return false;
  out[0] = 0;
  if (index < 0) return false;
  CDelimitedTextFile table;
  wchar_t dir[kPathChars];
  if (!OpenLanguages(table, dir)) return false;
  const wchar_t* name = table.GetField(static_cast<unsigned>(index), 0u);
  if (!name) return false;
  CopyCut(out, name, static_cast<size_t>(outChars - 1));
  return true;
}

bool GetStringFileFromLanguage(wchar_t* language, enum StringFileFields field, wchar_t* out,
                               bool useDefault) {
  if (!out) return false;
  CDelimitedTextFile table;
  wchar_t dir[kPathChars];
  if (!OpenLanguages(table, dir)) return false;
  const size_t dirLen = wcslen(dir);
  const unsigned column = static_cast<unsigned>(field);
  int defaultRow = -1;
  const unsigned rows = table.NumRecords();
  for (unsigned row = 0; row < rows; ++row) {
    const wchar_t* name = table.GetField(row, 0u);
    const wchar_t* file = table.GetField(row, column);
    if (!useDefault && language && name && file && zor::FoldEqual(name, language) &&
        dirLen + wcslen(file) < static_cast<size_t>(kPathChars)) {
      wcscpy(out, dir);
      wcscat(out, file);
      return true;
    }
    const wchar_t* mark = table.GetField(row, 1u);
    if (mark && wcscmp(mark, L"Y") == 0) defaultRow = static_cast<int>(row);
  }
  if (defaultRow < 0) return false;
  const wchar_t* file = table.GetField(static_cast<unsigned>(defaultRow), column);
  if (!file || dirLen + wcslen(file) >= static_cast<size_t>(kPathChars)) return false;
  wcscpy(out, dir);
  wcscat(out, file);
  return true;
}

// --- Command line --------------------------------------------------------------------------

namespace {

struct Token {
  const wchar_t* start;  // in the command line, after an opening quote
  size_t length;         // without the quotes
  bool quoted;
};

// Splits at blanks outside double quotes; a quoted run is one parameter.
CDynArray<Token*>* SplitCommandLine(const wchar_t* line) {
  auto* tokens = new CDynArray<Token*>;
  const wchar_t* p = line;
  for (;;) {
    while (*p == L' ' || *p == L'\t') ++p;
    if (!*p) break;
    auto* t = new Token{p, 0, false};
    if (*p == L'"') {
      t->quoted = true;
      t->start = ++p;
      while (*p && *p != L'"') ++p;
      t->length = static_cast<size_t>(p - t->start);
      if (*p == L'"') ++p;
    } else {
      while (*p && *p != L' ' && *p != L'\t' && *p != L'"') ++p;
      t->length = static_cast<size_t>(p - t->start);
    }
    tokens->Add(t);
  }
  return tokens;
}

bool NamesExistingEntry(const wchar_t* text, size_t length) {
  if (length < 3 || length > 259) return false;
  wchar_t candidate[kPathChars];
  wmemcpy(candidate, text, length);
  candidate[length] = 0;
  return PathFileExistsW(candidate) || PathIsDirectoryW(candidate);
}

bool StartsAtDriveRoot(const wchar_t* text, size_t length) {
  if (length < 3) return false;
  wchar_t root[4] = {text[0], text[1], text[2], 0};
  return PathIsRootW(root) != FALSE;
}

}  // namespace

void GetCommandLineParameter(int index, wchar_t* out, int outChars) {
  if (!out || outChars < 1) return;
  wmemset(out, 0, static_cast<size_t>(outChars));
  if (index < 0) return;
  const wchar_t* line = GetCommandLineW();
  if (!line) return;
  CDynArray<Token*>* tokens = SplitCommandLine(line);
  int param = 0;
  for (int i = 0; i < tokens->GetSize(); ++i) {
    const Token* t = (*tokens)[i];
    const wchar_t* start = t->start;
    size_t length = t->length;
    // An unquoted path with blanks arrives in pieces: join the longest run of
    // following unquoted pieces that names something on disk.
    if (!t->quoted && StartsAtDriveRoot(start, length)) {
      for (int j = tokens->GetSize() - 1; j > i; --j) {
        bool allPlain = true;
        for (int k = i + 1; k <= j; ++k) allPlain = allPlain && !(*tokens)[k]->quoted;
        if (!allPlain) continue;
        const Token* last = (*tokens)[j];
        size_t joined = static_cast<size_t>(last->start + last->length - start);
        if (NamesExistingEntry(start, joined)) {
          length = joined;
          i = j;
          break;
        }
      }
    }
    if (param++ == index) {
      size_t n = length < static_cast<size_t>(outChars - 1) ? length : static_cast<size_t>(outChars - 1);
      wmemcpy(out, start, n);
      out[n] = 0;
      break;
    }
  }
  tokens->DeleteAll();
  delete tokens;
}
