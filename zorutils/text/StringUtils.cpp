// String and character utilities: single-byte and wide versions share one
// template body where their rules are the same.
#include <zorutils/text/StringUtils.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>

namespace {

template <class C>
size_t Len(const C* s) {
  size_t n = 0;
  while (s[n]) ++n;
  return n;
}

inline bool IsDigit(char c) { return isdigit(static_cast<unsigned char>(c)) != 0; }
inline bool IsDigit(wchar_t c) { return iswdigit(c) != 0; }

inline int NCaseCompare(const wchar_t* a, const wchar_t* b, size_t n) { return _wcsnicmp(a, b, n); }
inline int NCaseCompare(const char* a, const char* b, size_t n) { return _strnicmp(a, b, n); }

template <class C>
bool IsNumeric(const C* s) {
  if (!s || !*s) return false;
  size_t len = Len(s);
  size_t i = (s[0] == '-' && len > 1) ? 1 : 0;
  for (; i < len; ++i)
    if (!IsDigit(s[i])) return false;
  return true;
}

template <class C>
bool IsFloat(const C* s) {
  if (!s || !*s) return false;
  bool digit = false, dot = false;
  for (size_t i = 0; s[i]; ++i) {
    C c = s[i];
    if (IsDigit(c)) {
      digit = true;
    } else if (c == '-' && i == 0) {
    } else if (c == '.' && !dot) {
      dot = true;
    } else {
      return false;
    }
  }
  return digit;
}

template <class C>
bool IsSpaceUnit(C c, bool alsoLineBreaks) {
  return c == ' ' || (alsoLineBreaks && (c == '\r' || c == '\n'));
}

template <class C>
void RemoveLeading(C* s, bool alsoLineBreaks) {
  if (!s) return;
  size_t skip = 0;
  while (IsSpaceUnit(s[skip], alsoLineBreaks)) ++skip;
  if (skip) memmove(s, s + skip, (Len(s + skip) + 1) * sizeof(C));
}

template <class C>
void RemoveTrailing(C* s, bool alsoLineBreaks) {
  if (!s) return;
  size_t len = Len(s);
  while (len > 0 && IsSpaceUnit(s[len - 1], alsoLineBreaks)) s[--len] = 0;
}

// Copies `src` without the leading and trailing run of units that `trim`
// accepts. Over-long input is rejected rather than cut: a cut result would
// silently lose the text's end.
template <class Pred>
bool TrimInto(const wchar_t* src, wchar_t* dst, Pred trim) {
  if (!dst) return false;
  if (!src) {
    dst[0] = 0;
    return false;
  }
  size_t len = wcslen(src);
  if (len > static_cast<size_t>(kTrimMaxInput)) {
    dst[0] = 0;
    return false;
  }
  size_t first = 0;
  while (first < len && trim(src[first])) ++first;
  size_t last = len;
  while (last > first && trim(src[last - 1])) --last;
  size_t n = last - first;
  wmemmove(dst, src + first, n);
  dst[n] = 0;
  return n > 0;
}

template <class C>
void SearchAndReplace(C* buf, const C* find, const C* repl, unsigned int bufSize, bool ignoreCase) {
  static const C kNone[1] = {0};
  if (!buf || !*buf || bufSize < 2 || !find || !*find) return;
  if (!repl) repl = kNone;
  const size_t findLen = Len(find);
  const size_t replLen = Len(repl);
  const size_t growth = replLen > findLen ? replLen - findLen : 0;
  size_t len = Len(buf);
  size_t pos = 0;
  while (pos + findLen <= len) {
    if (len + growth >= bufSize) break;  // one more replacement could overflow
    bool match = ignoreCase ? NCaseCompare(buf + pos, find, findLen) == 0
                            : memcmp(buf + pos, find, findLen * sizeof(C)) == 0;
    if (!match) {
      ++pos;
      continue;
    }
    if (replLen != findLen) {
      // The tail and its terminator move to just after the replacement.
      memmove(buf + pos + replLen, buf + pos + findLen, (len - pos - findLen + 1) * sizeof(C));
      len = len - findLen + replLen;
    }
    memcpy(buf + pos, repl, replLen * sizeof(C));
    pos += replLen;
  }
}

}  // namespace

// --- Conversions ------------------------------------------------------------------

void ConvertSingleByteToUnicode(const char* src, unsigned int srcLen, wchar_t* dst,
                                unsigned int dstSize, bool keepTerminator) {
  if (!dst || dstSize == 0) return;
  wmemset(dst, 0, dstSize);
  if (!src) return;
  const unsigned int limit = keepTerminator ? dstSize - 1 : dstSize;
  for (unsigned int i = 0; i < srcLen && i < limit && src[i]; ++i)
    dst[i] = static_cast<unsigned char>(src[i]);
}

void ConvertSingleByteToUnicode(const char* src, wchar_t* dst, unsigned int dstSize) {
  ConvertSingleByteToUnicode(src, src ? static_cast<unsigned int>(strlen(src)) : 0, dst, dstSize, true);
}

void ConvertUnicodeToSingleByte(const wchar_t* src, unsigned int srcLen, char* dst,
                                unsigned int dstSize, bool keepTerminator) {
  if (!dst || dstSize == 0) return;
  memset(dst, 0, dstSize);
  if (!src) return;
  const unsigned int limit = keepTerminator ? dstSize - 1 : dstSize;
  unsigned int i = (srcLen > 0 && src[0] == 0xFEFF) ? 1 : 0;
  for (unsigned int out = 0; i < srcLen && out < limit; ++i, ++out) {
    // A lone zero unit is copied; two in a row end the text. The second unit
    // is only looked at within srcLen.
    if (src[i] == 0 && (i + 1 >= srcLen || src[i + 1] == 0)) break;
    dst[out] = static_cast<char>(src[i] & 0xFF);
  }
}

void ConvertUnicodeToSingleByte(const wchar_t* src, char* dst, unsigned int dstSize) {
  ConvertUnicodeToSingleByte(src, src ? static_cast<unsigned int>(wcslen(src)) : 0, dst, dstSize, true);
}

bool CopyCharToTChar(const char* src, unsigned int srcLen, wchar_t* dst, unsigned int dstSize) {
  if (!dst || dstSize == 0) return false;
  wmemset(dst, 0, dstSize);
  if (!src || srcLen == 0) return false;
  const unsigned char* bytes = reinterpret_cast<const unsigned char*>(src);
  if (StringIsUnicode(bytes, static_cast<int>(srcLen > 0x7FFFFFFF ? 0x7FFFFFFF : srcLen), true)) {
    unsigned int mark = StringHasUnicodeHeader(bytes) && srcLen >= 2 ? 1 : 0;
    unsigned int units = srcLen / 2 - mark;
    if (units > dstSize - 1) units = dstSize - 1;
    memcpy(dst, bytes + mark * 2, units * sizeof(wchar_t));
  } else {
    ConvertSingleByteToUnicode(src, srcLen, dst, dstSize, false);
  }
  return true;
}

bool CopyCharToTChar(const char* src, wchar_t* dst, unsigned int dstSize) {
  if (!src) return false;
  return CopyCharToTChar(src, static_cast<unsigned int>(strlen(src)), dst, dstSize);
}

namespace {
template <class C>
void CopyString(C** target, const C* src) {
  if (!target || *target == src) return;
  size_t srcLen = src ? Len(src) : 0;
  if (*target && **target && srcLen > 0 && Len(*target) == srcLen) {
    memcpy(*target, src, srcLen * sizeof(C));
    return;
  }
  // The copy is made before the old block goes: `src` may be a part of it
  // (a tail of the held text), which freeing first would read after release.
  C* copy = nullptr;
  if (srcLen > 0) {
    copy = static_cast<C*>(malloc((srcLen + 1) * sizeof(C)));
    if (copy) memcpy(copy, src, (srcLen + 1) * sizeof(C));
  }
  free(*target);
  *target = copy;
}
}  // namespace

void CopyStringA(char** target, const char* src) { CopyString(target, src); }

void CopyStringW(wchar_t** target, const wchar_t* src) { CopyString(target, src); }

// --- Unicode detection ----------------------------------------------------------------

bool StringHasUnicodeHeader(const unsigned char* p) { return p && p[0] == 0xFF && p[1] == 0xFE; }

bool StringIsUnicode(const unsigned char* p, int len, bool requireTerminator) {
  if (!p || len < 2) return false;
  if (p[0] == 0xFF && p[1] == 0xFE) return true;
  for (int i = 0; i + 1 < len; i += 2) {
    if (p[i] && p[i + 1]) return false;
    if (!p[i] && !p[i + 1]) return true;
  }
  if (!requireTerminator) return true;
  return p[len - 1] == 0 && p[len - 2] == 0;
}

bool StringIsConvertibleUnicode(const unsigned char* p, int len) {
  if (!p || len < 2) return false;
  int start = (len > 2 && p[0] == 0xFF && p[1] == 0xFE) ? 2 : 0;
  if (start + 1 >= len) return true;
  for (int i = start; i + 1 < len; i += 2) {
    if (p[i] && p[i + 1]) return false;
    if (!p[i] && !p[i + 1]) return true;
  }
  return true;
}

int NumConvertibleUnicodeChars(const unsigned char* p, int len) {
  if (!p || len < 4 || p[0] != 0xFF || p[1] != 0xFE) return 0;
  int count = 0;
  for (int i = 2; i + 1 < len; i += 2) {
    if (p[i] && p[i + 1]) return 0;
    if (!p[i] && !p[i + 1]) return count;
    ++count;
  }
  return 0;
}

// --- Character and number tests ---------------------------------------------------------

bool IsHexCharacter(wchar_t c) {
  return (c >= L'0' && c <= L'9') || (c >= L'a' && c <= L'f') || (c >= L'A' && c <= L'F');
}

int HexStringToInt(const wchar_t* s) {
  if (!s || !*s) return -1;
  size_t len = wcslen(s);
  // Unsigned arithmetic: very long inputs wrap instead of overflowing.
  unsigned int result = 0;
  for (size_t k = 0; k < len; ++k) {
    wchar_t c = s[len - 1 - k];
    unsigned int v;
    if (c >= L'0' && c <= L'9') v = c - L'0';
    else if (c >= L'a' && c <= L'f') v = c - L'a' + 10;
    else if (c >= L'A' && c <= L'F') v = c - L'A' + 10;
    else return -1;
    result += k == 0 ? v : v * static_cast<unsigned int>(k) * 16u;
  }
  return static_cast<int>(result);
}

bool StringIsNumericA(const char* s) { return IsNumeric(s); }
bool StringIsNumericW(const wchar_t* s) { return IsNumeric(s); }
bool StringIsFloatA(const char* s) { return IsFloat(s); }
bool StringIsFloatW(const wchar_t* s) { return IsFloat(s); }

wchar_t* StrChrPos(wchar_t* s, wchar_t c, int* pos) {
  if (s) {
    for (int i = 0; s[i]; ++i) {
      if (s[i] == c) {
        if (pos) *pos = i;
        return s + i;
      }
    }
  }
  if (pos) *pos = -1;
  return nullptr;
}

// --- Trimming and in-place editing --------------------------------------------------------

void RemoveLeadingSpacesA(char* s, bool alsoLineBreaks) { RemoveLeading(s, alsoLineBreaks); }
void RemoveLeadingSpacesW(wchar_t* s, bool alsoLineBreaks) { RemoveLeading(s, alsoLineBreaks); }
void RemoveTrailingSpacesA(char* s, bool alsoLineBreaks) { RemoveTrailing(s, alsoLineBreaks); }
void RemoveTrailingSpacesW(wchar_t* s, bool alsoLineBreaks) { RemoveTrailing(s, alsoLineBreaks); }

void RemoveSpacesA(char* s, bool alsoLineBreaks) {
  RemoveLeading(s, alsoLineBreaks);
  RemoveTrailing(s, alsoLineBreaks);
}

void RemoveSpacesW(wchar_t* s, bool alsoLineBreaks) {
  RemoveLeading(s, alsoLineBreaks);
  RemoveTrailing(s, alsoLineBreaks);
}

bool TrimWhitespace(const wchar_t* src, wchar_t* dst) {
  // CR stays: callers keep line structure they trim around.
  return TrimInto(src, dst, [](wchar_t c) { return c == L' ' || c == L'\t' || c == L'\n'; });
}

bool TrimChar(wchar_t c, const wchar_t* src, wchar_t* dst) {
  return TrimInto(src, dst, [c](wchar_t u) { return u == c; });
}

void MakeUpperCase(wchar_t* s) {
  if (!s) return;
  for (; *s; ++s) *s = towupper(*s);
}

void ParseCarriageReturns(const wchar_t* src, wchar_t* dst, long dstSize) {
  (void)dstSize;
  if (!dst) return;
  if (!src) {
    dst[0] = 0;
    return;
  }
  size_t out = 0;
  for (size_t i = 0; src[i]; ++i) {
    if (src[i] == L'\\' && (src[i + 1] == L'r' || src[i + 1] == L'n')) {
      dst[out++] = L'\r';
      ++i;
    } else {
      dst[out++] = src[i];
    }
  }
  dst[out] = 0;
}

void ReplaceTextW(wchar_t* buf, unsigned int start, unsigned int count, const wchar_t* repl) {
  if (!buf || !*buf || !repl || !*repl) return;
  size_t len = wcslen(buf);
  if (start > len) return;
  if (count > len - start) count = static_cast<unsigned int>(len - start);
  size_t replLen = wcslen(repl);
  if (replLen != count)
    wmemmove(buf + start + replLen, buf + start + count, len - start - count + 1);
  wmemcpy(buf + start, repl, replLen);
}

void SearchAndReplaceAll(wchar_t* buf, const wchar_t* find, const wchar_t* repl,
                         unsigned int bufSize, bool ignoreCase) {
  SearchAndReplace(buf, find, repl, bufSize, ignoreCase);
}

void SearchAndReplaceAllSingleByte(char* buf, const char* find, const char* repl,
                                   unsigned int bufSize, bool ignoreCase) {
  SearchAndReplace(buf, find, repl, bufSize, ignoreCase);
}

// --- Display formatting ---------------------------------------------------------------------

void MakeFileSizeString(unsigned long bytes, wchar_t* out, int size) {
  (void)size;
  if (!out) return;
  // The longest text ("4096.00 MB") is far below this bound.
  const size_t kBound = 32;
  if (bytes < 1024)
    _snwprintf(out, kBound, L"%d Bytes", static_cast<int>(bytes));
  else if (bytes < 0x100000)
    _snwprintf(out, kBound, L"%d KB", static_cast<int>(bytes / 1024));
  else
    _snwprintf(out, kBound, L"%0.2f MB", static_cast<double>(bytes) / 1048576.0);
}

void MakeLengthString(long ms, wchar_t* out, int showMilliseconds, int noHours) {
  if (!out) return;
  long hours = ms / 3600000;
  long rest = ms % 3600000;
  long minutes = rest / 60000;
  rest %= 60000;
  long seconds = rest / 1000;
  long millis = rest % 1000;
  const size_t kBound = 32;
  if (hours != 0 && noHours == 0) {
    if (showMilliseconds)
      _snwprintf(out, kBound, L"%02d:%02d:%02d:%03d", static_cast<int>(hours), static_cast<int>(minutes),
                 static_cast<int>(seconds), static_cast<int>(millis));
    else
      _snwprintf(out, kBound, L"%02d:%02d:%02d", static_cast<int>(hours), static_cast<int>(minutes),
                 static_cast<int>(seconds));
  } else {
    if (showMilliseconds)
      _snwprintf(out, kBound, L"%02d:%02d:%03d", static_cast<int>(minutes), static_cast<int>(seconds),
                 static_cast<int>(millis));
    else
      _snwprintf(out, kBound, L"%02d:%02d", static_cast<int>(minutes), static_cast<int>(seconds));
  }
}
