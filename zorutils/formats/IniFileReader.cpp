// CIniFileReader: the INI parser is a line-shaped state machine over one wide
// buffer. Keys and values are contiguous stretches of the text, so the
// parser measures each stretch and copies it once into the work buffer
// (where tabs in keys become spaces and blanks are trimmed), never a unit at
// a time.
#include <zorutils/formats/IniFileReader.h>

#include <zorutils/formats/IniFileReader_impl.h>
#include <zorutils/formats/TextFormats_impl.h>
#include <zorutils/internal/CopyCut.h>
#include <zorutils/internal/TextInput.h>
#include <zorutils/text/StringUtils.h>

#include <zorfutls/zorfutls.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>

namespace {

// The parser's work buffer: 8191 characters and a terminator.
const unsigned long kWorkChars = 8192;
const size_t kNameMax = 63;

inline bool IsBlank(wchar_t c) { return c == L' ' || c == L'\t'; }
inline bool IsBreak(wchar_t c) { return c == L'\r' || c == L'\n'; }

// Copies `n` units into the work buffer as the zero-terminated string it
// would have held, and returns its length: the string ends at the first zero
// unit, so a key or value stops there.
size_t ToWork(wchar_t* work, const wchar_t* s, size_t n) {
  size_t len = 0;
  while (len < n && s[len]) ++len;
  std::wmemcpy(work, s, len);
  work[len] = 0;
  return len;
}

// The span of `work` (of `len` units) without leading and trailing U+0020:
// RemoveSpacesW(work, false) without moving the text.
const wchar_t* TrimSpaces(const wchar_t* work, size_t& len) {
  const wchar_t* p = work;
  while (len > 0 && *p == L' ') {
    ++p;
    --len;
  }
  while (len > 0 && p[len - 1] == L' ') --len;
  return p;
}

// The exchange sort both levels use: the element held at i is compared with
// each later one and swapped whenever it compares greater.
template <class T, class Greater>
void ExchangeSort(CDynArray<T*>& a, Greater greater) {
  const int n = a.GetSize();
  for (int i = 0; i < n; ++i)
    for (int j = i + 1; j < n; ++j)
      if (greater(a[i], a[j])) a.Swap(i, j);
}

void SortEntries(TIniSection* section) {
  // A null key never takes part in a swap.
  ExchangeSort(section->entries, [](const TIniEntry* a, const TIniEntry* b) {
    return a->key && b->key && zor::FoldCompare(a->key, b->key) > 0;
  });
  section->sorted = true;
}

TIniEntry* FindEntry(const TIniSection* section, const wchar_t* key) {
  const CDynArray<TIniEntry*>& entries = section->entries;
  const int n = entries.GetSize();
  if (section->sorted) {
    int lo = 0, hi = n - 1;
    while (lo <= hi) {
      const int mid = lo + (hi - lo) / 2;
      const wchar_t* k = entries[mid]->key;
      const int c = zor::FoldCompare(k ? k : L"", key);
      if (c == 0) return entries[mid];
      if (c < 0)
        lo = mid + 1;
      else
        hi = mid - 1;
    }
    return nullptr;
  }
  // Most keys differ in their first unit: test it before the full compare.
  const unsigned int first = zor::FoldUnit(key[0]);
  for (int i = 0; i < n; ++i) {
    const wchar_t* k = entries[i]->key;
    if (k && zor::FoldUnit(k[0]) == first && zor::FoldEqual(k, key)) return entries[i];
  }
  return nullptr;
}

}  // namespace

// --- Construction ------------------------------------------------------------

CIniFileReader::CIniFileReader()
    : m_fileName(nullptr), m_lastSection(-1), m_keepSorted(false), m_initialized(false) {}

CIniFileReader::~CIniFileReader() {
  std::free(m_fileName);
  m_fileName = nullptr;
  Reset();
  m_sections.FreeExtra();
}

// --- Loading -------------------------------------------------------------------

bool CIniFileReader::Init(const wchar_t* path, bool keepSorted) {
  m_initialized = false;
  if (!path || !*path) return false;
  if (!SetFileName(path)) return false;
  // The file is read and widened in one buffer; the result is what
  // InitFromBuffer makes of the same bytes.
  zor::WideText text;
  if (!text.LoadFile(path) || text.bytes() < 1) return false;
  Reset();
  const bool ok = Load(text.data(), text.start(), text.size(), keepSorted);
  if (ok) m_initialized = true;
  return ok;
}

bool CIniFileReader::InitFromBuffer(const unsigned char* data, unsigned int byteCount,
                                    bool keepSorted) {
  Reset();
  if (!data) return false;
  zor::WideText text;
  if (!text.Load(data, byteCount)) return false;
  return Load(text.data(), text.start(), text.size(), keepSorted);
}

bool CIniFileReader::Load(const wchar_t* text, unsigned long start, unsigned long count,
                          bool keepSorted) {
  TIniSection* unnamed = new (std::nothrow) TIniSection;
  if (!unnamed) return false;
  if (!m_sections.Add(unnamed)) {
    delete unnamed;
    return false;
  }
  if (!Parse(text, start, count)) return false;

  // Clean-up: a section without entries goes (the unnamed one too when no key
  // came before the first header); elsewhere the key-less entries go. A
  // section holding only key-less lines therefore stays, empty.
  for (int s = 0; s < m_sections.GetSize();) {
    TIniSection* section = m_sections[s];
    if (section->entries.IsEmpty()) {
      delete m_sections.RemoveAt(s);
      continue;
    }
    for (int e = 0; e < section->entries.GetSize();) {
      if (!section->entries[e]->key)
        delete section->entries.RemoveAt(e);
      else
        ++e;
    }
    ++s;
  }
  if (keepSorted) Sort();
  return true;
}

bool CIniFileReader::Parse(const wchar_t* t, unsigned long pos, unsigned long n) {
  // Two work buffers: the key stays in the first while the value is read.
  wchar_t* work = static_cast<wchar_t*>(std::malloc(2 * kWorkChars * sizeof(wchar_t)));
  if (!work) return false;
  wchar_t* const keyWork = work;
  wchar_t* const valueWork = work + kWorkChars;
  bool ok = true;
  TIniSection* const unnamed = m_sections[0];
  TIniSection* current = nullptr;

  while (pos < n) {
    // LineStart: blanks before anything else on the line are ignored.
    while (pos < n && IsBlank(t[pos])) ++pos;
    if (pos >= n) break;
    const wchar_t c = t[pos];

    if (c == L'[') {
      TIniSection* section = new (std::nothrow) TIniSection;
      if (!section || !m_sections.Add(section)) {
        delete section;
        ok = false;
        break;
      }
      current = section;
      // The name runs to "]", across line breaks if need be; past 63
      // characters the rest is dropped.
      ++pos;
      size_t len = 0;
      while (pos < n && t[pos] != L']') {
        if (len < kNameMax) section->name[len++] = t[pos];
        ++pos;
      }
      if (pos >= n) break;
      ++pos;  // the "]"
      if (section->name[0] == 0) current = nullptr;  // "[]": back to the unnamed section
    } else if (c != L';') {
      // Any other character starts an entry, even a line break (a line of
      // blanks): such a key-less entry goes in the final clean-up, but it
      // keeps its section from being removed there. The entry is made once
      // its line is read, with its key and value in its own block.
      TIniSection* owner = current ? current : unnamed;
      const wchar_t* key = nullptr;
      size_t klen = 0;
      const wchar_t* value = nullptr;
      size_t vlen = 0;
      // Key: everything up to "=" or the line end. The blanks before the
      // "=" are trimmed away, so they do not count against the work buffer:
      // Save writes "key = value", and the longest key must load again.
      const unsigned long keyStart = pos;
      while (pos < n && t[pos] != L'=' && !IsBreak(t[pos])) ++pos;
      unsigned long keyEnd = pos;
      while (keyEnd > keyStart && IsBlank(t[keyEnd - 1])) --keyEnd;
      if (keyEnd - keyStart > kWorkChars - 1) {
        ok = false;
        break;
      }
      const bool hasValue = pos < n && t[pos] == L'=';
      if (hasValue) {
        klen = ToWork(keyWork, t + keyStart, keyEnd - keyStart);
        for (size_t i = 0; i < klen; ++i)
          if (keyWork[i] == L'\t') keyWork[i] = L' ';
        key = TrimSpaces(keyWork, klen);
        ++pos;  // the "="

        // ValueStart: blanks skipped; a line end leaves the value empty.
        while (pos < n && IsBlank(t[pos])) ++pos;
        if (pos < n && !IsBreak(t[pos])) {
          int innerQuotes = 0;
          bool quoted = false;
          if (t[pos] == L'"' && CheckForClosingQuote(t, pos + 1, n, innerQuotes)) {
            quoted = true;
            ++pos;
          }
          const unsigned long valueStart = pos;
          if (quoted) {
            // Quotes that have more text after them on the line are kept;
            // the one past them closes the value.
            while (pos < n && !IsBreak(t[pos])) {
              if (t[pos] == L'"' && --innerQuotes < 0) break;
              ++pos;
            }
          } else {
            while (pos < n && !IsBreak(t[pos])) ++pos;
          }
          const unsigned long raw = pos - valueStart;
          if (quoted && pos < n && t[pos] == L'"') ++pos;
          if (raw > kWorkChars - 1) {
            ok = false;
            break;
          }
          vlen = ToWork(valueWork, t + valueStart, raw);
          value = quoted ? valueWork : TrimSpaces(valueWork, vlen);
          if (vlen >= kWorkChars - 1 || klen == 0) {
            // Too long to store, or "= value": the whole load fails.
            ok = false;
            break;
          }
        }
      }
      TIniEntry* entry = TIniEntry::Create(key, klen, value, vlen);
      if (!entry || !owner->entries.Add(entry)) {
        delete entry;
        ok = false;
        break;
      }
      if (pos >= n) break;
    }
    // SkipLine: the rest of the line, then every CR and LF (empty lines vanish).
    while (pos < n && !IsBreak(t[pos])) ++pos;
    while (pos < n && IsBreak(t[pos])) ++pos;
  }
  std::free(work);
  return ok;
}

bool CIniFileReader::CheckForClosingQuote(const wchar_t* text, unsigned long start,
                                          unsigned long end, int& innerQuotes) {
  innerQuotes = 0;
  if (!text) return false;
  // `pending` counts quotes not yet followed by a non-blank character: at
  // most the last one, since any non-blank (another quote too) settles them.
  int pending = 0;
  for (unsigned long i = start; i < end; ++i) {
    const wchar_t c = text[i];
    if (IsBreak(c)) break;
    if (IsBlank(c)) continue;
    innerQuotes += pending;
    pending = c == L'"' ? 1 : 0;
  }
  return pending != 0;
}

// --- Look-up and editing -----------------------------------------------------------

int CIniFileReader::FindSectionFrom(const wchar_t* name) const {
  const int n = m_sections.GetSize();
  const bool named = name[0] != 0;
  if (m_lastSection >= 0 && m_lastSection < n) {
    if (zor::FoldEqual(m_sections[m_lastSection]->name, name)) return m_lastSection;
    if (named && m_lastSection + 1 < n &&
        zor::FoldEqual(m_sections[m_lastSection + 1]->name, name))
      return m_lastSection + 1;
  }
  // Names hold at most 63 characters, so a longer one matches nothing. A
  // name of the same length must end where this one ends and in the same
  // last character (both safe to read in the 64-unit array): that rules out
  // most sections before the full compare.
  size_t len = 0;
  while (name[len] && len <= kNameMax) ++len;
  if (len > kNameMax) return -1;
  const unsigned int last = len ? zor::FoldUnit(name[len - 1]) : 0;
  for (int i = 0; i < n; ++i) {
    const wchar_t* s = m_sections[i]->name;
    if (s[len] == 0 && (len == 0 || zor::FoldUnit(s[len - 1]) == last) && zor::FoldEqual(s, name))
      return i;
  }
  return -1;
}

bool CIniFileReader::GetString(const wchar_t* section, const wchar_t* key,
                               const wchar_t* defaultValue, wchar_t* out, unsigned int outChars) {
  if (!key || !out || outChars == 0) return false;
  out[0] = 0;
  const int index = FindSectionFrom(section ? section : L"");
  if (index < 0) {
    std::wmemset(out, 0, outChars);
    if (defaultValue && *defaultValue) zor::CopyCut(out, outChars, defaultValue);
    return false;
  }
  m_lastSection = index;
  const TIniEntry* entry = FindEntry(m_sections[index], key);
  if (entry && entry->value && entry->value[0]) zor::CopyCut(out, outChars, entry->value);
  if (out[0] == 0) {
    std::wmemset(out, 0, outChars);
    if (defaultValue) zor::CopyCut(out, outChars, defaultValue);
  }
  return true;
}

bool CIniFileReader::SetValue(const wchar_t* section, const wchar_t* key, const wchar_t* value) {
  if (!section || !*section || !key || !*key) {
    LogFmt(L"CIniFileReader::SetValue: departing, NULL input");
    return false;
  }
  // Matched as it would be stored, cut to 63 characters, so that setting a
  // long-named section twice finds the one made the first time.
  wchar_t name[kNameMax + 1] = {0};
  std::wcsncpy(name, section, kNameMax);
  TIniSection* target = nullptr;
  for (int i = 0; i < m_sections.GetSize() && !target; ++i)
    if (zor::FoldEqual(m_sections[i]->name, name)) target = m_sections[i];
  if (!target) {
    target = new (std::nothrow) TIniSection;
    if (!target) return false;
    std::wmemcpy(target->name, name, kNameMax + 1);
    if (!m_sections.Add(target)) {
      delete target;
      return false;
    }
    if (m_keepSorted) Sort();
  }

  TIniEntry* entry = nullptr;
  for (int i = 0; i < target->entries.GetSize() && !entry; ++i) {
    const wchar_t* k = target->entries[i]->key;
    if (k && zor::FoldEqual(k, key)) entry = target->entries[i];
  }
  if (entry) {
    entry->SetValue(value);
  } else {
    entry = TIniEntry::Create(key, wcslen(key), value, value ? wcslen(value) : 0);
    if (!entry || !target->entries.Add(entry)) {
      delete entry;
      return false;
    }
    if (target->sorted) SortEntries(target);
  }
  if (m_keepSorted) SortEntries(target);
  return true;
}

bool CIniFileReader::Save() {
  if (!m_fileName) return false;
  if (m_keepSorted) Sort();

  static const wchar_t kLineEnd[] = L"\r\n";
  zor::ByteWriter out;
  const unsigned char mark[2] = {0xFF, 0xFE};
  out.Bytes(mark, 2);
  for (int s = 0; s < m_sections.GetSize(); ++s) {
    const TIniSection* section = m_sections[s];
    if (section->name[0]) {
      out.Unit(L'[');
      out.Text(section->name);
      out.Unit(L']');
      out.Units(kLineEnd, 2);
      for (int e = 0; e < section->entries.GetSize(); ++e) {
        const TIniEntry* entry = section->entries[e];
        if (!entry->key || !entry->key[0]) continue;
        const wchar_t* value = entry->value ? entry->value : L"";
        const size_t len = wcslen(value);
        // Blanks at either end would be trimmed on reading: quote them.
        const bool quote = len > 0 && (value[0] == L' ' || value[len - 1] == L' ');
        out.Text(entry->key);
        out.Units(L" = ", 3);
        if (quote) out.Unit(L'"');
        out.Units(value, len);
        if (quote) out.Unit(L'"');
        out.Units(kLineEnd, 2);
      }
    }
    // Keys of the unnamed section are not written, but its spacing is.
    out.Units(kLineEnd, 2);
    out.Units(kLineEnd, 2);
  }
  return out.SaveTo(m_fileName);
}

// --- Attributes ------------------------------------------------------------------------

bool CIniFileReader::SetFileName(const wchar_t* path) {
  std::free(m_fileName);
  m_fileName = nullptr;
  if (!path || !*path) return true;
  CopyStringW(&m_fileName, path);
  return m_fileName != nullptr;
}

const wchar_t* CIniFileReader::FileName() const { return m_fileName; }

void CIniFileReader::Reset() {
  m_sections.DeleteAll();
  m_lastSection = -1;
  m_initialized = false;
}

void CIniFileReader::ClearValues() { Reset(); }

void CIniFileReader::Sort() {
  ExchangeSort(m_sections, [](const TIniSection* a, const TIniSection* b) {
    return zor::FoldCompare(a->name, b->name) > 0;
  });
  for (int i = 0; i < m_sections.GetSize(); ++i) SortEntries(m_sections[i]);
  m_keepSorted = true;
}

void CIniFileReader::SetKeepSorted(bool keepSorted) { m_keepSorted = keepSorted; }

bool CIniFileReader::KeepSorted() const { return m_keepSorted; }

bool CIniFileReader::Initialized() const { return m_initialized; }

int CIniFileReader::NumSections() const { return m_sections.GetSize(); }

const wchar_t* CIniFileReader::SectionName(unsigned int index) const {
  if (index >= static_cast<unsigned int>(m_sections.GetSize())) return nullptr;
  return m_sections[static_cast<int>(index)]->name;
}

bool CIniFileReader::SectionExists(const wchar_t* name) const {
  if (!name) return false;
  for (int i = 0; i < m_sections.GetSize(); ++i)
    if (zor::FoldEqual(m_sections[i]->name, name)) return true;
  return false;
}
