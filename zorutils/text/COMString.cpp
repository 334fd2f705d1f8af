// CCOMString: every operation is built on the storage members, which keep the
// block at exactly length + 1 units (shortening in place keeps the block).
// The length is measured (never stored), with the vector scan; where an
// operation only needs to know whether the text reaches some index, it
// measures no further than that.
#include <zorutils/text/COMString.h>

#include <zorutils/internal/WideScan.h>

#include <oleauto.h>

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <cwctype>

namespace {

const wchar_t kEmpty[] = L"";

inline const wchar_t* OrEmpty(const wchar_t* s) { return s ? s : kEmpty; }

inline int Len(const wchar_t* s) { return static_cast<int>(zor::WideLength(s)); }

// Whether the text at `s` holds no zero among its first `n` units.
inline bool Reaches(const wchar_t* s, int n) {
  return n <= 0 || (s && zor::WideLengthWithin(s, static_cast<size_t>(n)) == static_cast<size_t>(n));
}

}  // namespace

// --- Storage ---------------------------------------------------------------

void CCOMString::AllocString(int n) {
  free(m_pszString);
  if (n < 0) n = 0;
  m_pszString = static_cast<wchar_t*>(malloc((static_cast<size_t>(n) + 1) * sizeof(wchar_t)));
  m_pszString[n] = 0;
}

void CCOMString::ReAllocString(int n) {
  if (n < 0) n = 0;
  m_pszString = static_cast<wchar_t*>(
      realloc(m_pszString, (static_cast<size_t>(n) + 1) * sizeof(wchar_t)));
  m_pszString[n] = 0;
}

void CCOMString::StringCopy(int n, const wchar_t* src) {
  AllocString(n);
  if (n > 0) wmemcpy(m_pszString, src, static_cast<size_t>(n));
}

void CCOMString::StringCopy(CCOMString& dest, int count, int start, int extra) const {
  if (count + extra == 0) return;
  dest.AllocString(count + extra);
  if (count > 0) wmemcpy(dest.m_pszString, m_pszString + start, static_cast<size_t>(count));
}

void CCOMString::ConcatCopy(const wchar_t* a, const wchar_t* b) {
  a = OrEmpty(a);
  b = OrEmpty(b);
  int la = Len(a), lb = Len(b);
  AllocString(la + lb);
  wmemcpy(m_pszString, a, static_cast<size_t>(la));
  wmemcpy(m_pszString + la, b, static_cast<size_t>(lb));
}

void CCOMString::ConcatCopy(const wchar_t* text) {
  text = OrEmpty(text);
  int oldLen = GetLength();
  int addLen = Len(text);
  if (addLen == 0) return;
  // The appended text may be (part of) our own buffer, which the realloc may
  // move: take a copy of it first in that case.
  wchar_t* own = nullptr;
  if (text >= m_pszString && text <= m_pszString + oldLen) {
    own = static_cast<wchar_t*>(malloc(static_cast<size_t>(addLen) * sizeof(wchar_t)));
    wmemcpy(own, text, static_cast<size_t>(addLen));
    text = own;
  }
  ReAllocString(oldLen + addLen);
  wmemcpy(m_pszString + oldLen, text, static_cast<size_t>(addLen));
  free(own);
}

void CCOMString::ConcatCopy(wchar_t ch) {
  int oldLen = GetLength();
  ReAllocString(oldLen + 1);
  m_pszString[oldLen] = ch;
}

// --- Construction and assignment ---------------------------------------------

CCOMString::CCOMString() : m_pszString(nullptr) { AllocString(0); }

CCOMString::CCOMString(const wchar_t* text) : m_pszString(nullptr) {
  text = OrEmpty(text);
  StringCopy(Len(text), text);
}

CCOMString::CCOMString(wchar_t* text) : CCOMString(static_cast<const wchar_t*>(text)) {}

CCOMString::CCOMString(CCOMString& other) : CCOMString(static_cast<const CCOMString&>(other)) {}

CCOMString::CCOMString(const CCOMString& other) : m_pszString(nullptr) {
  const wchar_t* text = OrEmpty(other.m_pszString);
  StringCopy(Len(text), text);
}

CCOMString::CCOMString(wchar_t ch, int count) : m_pszString(nullptr) {
  // Deliberately no buffer at all for a count of 0 or less.
  if (count <= 0) return;
  AllocString(count);
  wmemset(m_pszString, ch, static_cast<size_t>(count));
}

CCOMString::~CCOMString() { free(m_pszString); }

CCOMString& CCOMString::operator=(CCOMString& other) {
  return *this = static_cast<const CCOMString&>(other);
}

CCOMString& CCOMString::operator=(const CCOMString& other) {
  if (m_pszString == other.m_pszString) return *this;
  const wchar_t* text = OrEmpty(other.m_pszString);
  StringCopy(Len(text), text);
  return *this;
}

CCOMString& CCOMString::operator=(const wchar_t* text) {
  text = OrEmpty(text);
  int n = Len(text);
  if (text >= m_pszString && m_pszString && text <= m_pszString + GetLength()) {
    // Assigning a part of our own text: move it down, the block stays.
    wmemmove(m_pszString, text, static_cast<size_t>(n) + 1);
    return *this;
  }
  StringCopy(n, text);
  return *this;
}

CCOMString& CCOMString::operator=(wchar_t* text) {
  return *this = static_cast<const wchar_t*>(text);
}

// --- Access --------------------------------------------------------------------

bool CCOMString::operator==(const CCOMString& other) const {
  return Compare(OrEmpty(other.m_pszString)) == 0;
}

bool CCOMString::operator==(const wchar_t* text) const { return Compare(text) == 0; }

wchar_t CCOMString::operator[](int index) const { return m_pszString[index]; }

wchar_t CCOMString::GetAt(int index) const { return m_pszString[index]; }

void CCOMString::SetAt(int index, wchar_t ch) { m_pszString[index] = ch; }

CCOMString::operator const wchar_t*() const { return m_pszString; }

const wchar_t* CCOMString::GetString() const { return m_pszString; }

CCOMString CCOMString::operator+(CCOMString& other) { return *this + other.m_pszString; }

CCOMString CCOMString::operator+(const wchar_t* text) {
  CCOMString result;
  result.ConcatCopy(m_pszString, text);
  return result;
}

CCOMString& CCOMString::operator+=(CCOMString& other) {
  ConcatCopy(other.m_pszString);
  return *this;
}

CCOMString& CCOMString::operator+=(const wchar_t* text) {
  ConcatCopy(text);
  return *this;
}

CCOMString& CCOMString::operator+=(wchar_t ch) {
  ConcatCopy(ch);
  return *this;
}

int CCOMString::GetLength() const { return m_pszString ? Len(m_pszString) : 0; }

bool CCOMString::IsEmpty() const { return !m_pszString || !m_pszString[0]; }

void CCOMString::Empty() {
  if (m_pszString && m_pszString[0]) m_pszString[0] = 0;
}

BSTR CCOMString::AllocSysString() const {
  return SysAllocStringLen(m_pszString, static_cast<UINT>(GetLength()));
}

void CCOMString::MakeUpper() { _wcsupr(m_pszString); }

void CCOMString::MakeLower() { _wcslwr(m_pszString); }

void CCOMString::MakeReverse() { _wcsrev(m_pszString); }

// --- Comparison ---------------------------------------------------------------------

int CCOMString::Compare(CCOMString& other) const { return Compare(other.m_pszString); }

int CCOMString::Compare(const wchar_t* text) const {
  const wchar_t* a = OrEmpty(m_pszString);
  const wchar_t* b = OrEmpty(text);
  for (;; ++a, ++b) {
    unsigned ca = static_cast<unsigned short>(*a);
    unsigned cb = static_cast<unsigned short>(*b);
    if (ca != cb) return ca < cb ? -1 : 1;
    if (ca == 0) return 0;
  }
}

int CCOMString::CompareNoCase(CCOMString& other) const { return CompareNoCase(other.m_pszString); }

int CCOMString::CompareNoCase(const wchar_t* text) const {
  return _wcsicmp(OrEmpty(m_pszString), OrEmpty(text));
}

int CCOMString::Collate(CCOMString& other) const { return Collate(other.m_pszString); }

int CCOMString::Collate(const wchar_t* text) const {
  return wcscoll(OrEmpty(m_pszString), OrEmpty(text));
}

// --- Searching and extraction ------------------------------------------------------

int CCOMString::Find(const wchar_t* sub) const { return Find(sub, 0); }

int CCOMString::Find(const wchar_t* sub, int start) const {
  // A negative start would read before the block: it finds nothing.
  if (start < 0) return -1;
  // Only whether the text reaches `start` matters, not its whole length.
  if (!Reaches(m_pszString, start)) return -1;
  // An empty pattern is found where the search starts (the runtime's wcsstr
  // finds nothing in an empty text, even the empty pattern).
  if (!sub || !*sub) return start;
  const wchar_t* hit = zor::FindText(m_pszString + start, sub, zor::WideLength(sub));
  return hit ? static_cast<int>(hit - m_pszString) : -1;
}

int CCOMString::Find(wchar_t ch) const { return Find(ch, 0); }

int CCOMString::Find(wchar_t ch, int start) const {
  // The text must reach beyond `start` (a negative start finds nothing); the
  // scan from there stops at `ch` or at the end (a zero `ch` is never found).
  if (start < 0 || start == INT_MAX || !m_pszString || !Reaches(m_pszString, start + 1)) return -1;
  const wchar_t* hit = zor::FindUnitOrZero(m_pszString + start, ch);
  return *hit ? static_cast<int>(hit - m_pszString) : -1;
}

int CCOMString::FindOneOf(const wchar_t* set) const {
  const wchar_t* hit = wcspbrk(m_pszString, OrEmpty(set));
  return hit ? static_cast<int>(hit - m_pszString) : -1;
}

CCOMString CCOMString::Left(int count) const {
  if (count < 0) count = 0;
  // count >= length (INT_MAX, "all of it", must not wrap in count + 1).
  if (count == INT_MAX || !Reaches(m_pszString, count + 1)) return *this;
  CCOMString result;
  StringCopy(result, count, 0, 0);
  return result;
}

CCOMString CCOMString::Right(int count) const {
  if (count < 0) count = 0;
  int len = GetLength();
  if (count >= len) return *this;
  CCOMString result;
  StringCopy(result, count, len - count, 0);
  return result;
}

CCOMString CCOMString::Mid(int first) const {
  if (first < 0) first = 0;  // as Mid(first, count) takes it; keeps length - first in range
  return Mid(first, GetLength() - first);
}

CCOMString CCOMString::Mid(int first, int count) const {
  int len = GetLength();
  if (first < 0) first = 0;
  if (count < 0) count = 0;
  if (count > len - first) count = len - first;  // first + count could wrap
  if (first > len) count = 0;
  if (first == 0 && count == len) return *this;
  CCOMString result;
  StringCopy(result, count, first, 0);
  return result;
}

CCOMString CCOMString::SpanIncluding(const wchar_t* set) const {
  return Left(static_cast<int>(wcsspn(m_pszString, OrEmpty(set))));
}

CCOMString CCOMString::SpanExcluding(const wchar_t* set) const {
  return Left(static_cast<int>(wcscspn(m_pszString, OrEmpty(set))));
}

// --- Editing ---------------------------------------------------------------------------

int CCOMString::Replace(wchar_t oldCh, wchar_t newCh) {
  if (oldCh == newCh) return 0;
  int count = 0;
  for (wchar_t* p = m_pszString; *p; ++p) {
    if (*p == oldCh) {
      *p = newCh;
      ++count;
    }
  }
  return count;
}

int CCOMString::Replace(const wchar_t* oldText, const wchar_t* newText) {
  oldText = OrEmpty(oldText);
  newText = OrEmpty(newText);
  const int oldLen = Len(oldText);
  if (oldLen == 0) return 0;
  const int newLen = Len(newText);
  const int len = GetLength();

  // Count the non-overlapping matches, left to right.
  int count = 0;
  for (const wchar_t* p = zor::FindText(m_pszString, oldText, oldLen); p; p = zor::FindText(p + oldLen, oldText, oldLen))
    ++count;
  if (count == 0) return 0;

  const int resultLen = len + (newLen - oldLen) * count;
  // One pass over the original text gives exactly what replacing in place
  // match by match would: later matches lie in the untouched tail, and the
  // inserted text is never searched. Growing builds into a fresh block of
  // the exact new size; shrinking compacts forwards and keeps the block.
  wchar_t* src = m_pszString;
  wchar_t* dst = resultLen > len
      ? static_cast<wchar_t*>(malloc((static_cast<size_t>(resultLen) + 1) * sizeof(wchar_t)))
      : m_pszString;
  wchar_t* out = dst;
  const wchar_t* from = src;
  for (const wchar_t* hit = zor::FindText(from, oldText, oldLen); hit; hit = zor::FindText(from, oldText, oldLen)) {
    size_t keep = static_cast<size_t>(hit - from);
    if (out != from) wmemmove(out, from, keep);
    out += keep;
    wmemcpy(out, newText, static_cast<size_t>(newLen));
    out += newLen;
    from = hit + oldLen;
  }
  size_t tail = zor::WideLength(from);
  if (out != from) wmemmove(out, from, tail);
  out[tail] = 0;
  if (dst != src) {
    free(m_pszString);
    m_pszString = dst;
  }
  return count;
}

void CCOMString::TrimLeft() {
  const wchar_t* p = m_pszString;
  while (*p && iswspace(*p)) ++p;
  if (p != m_pszString) wmemmove(m_pszString, p, zor::WideLength(p) + 1);
}

void CCOMString::TrimRight() {
  wchar_t* runStart = nullptr;
  for (wchar_t* p = m_pszString; *p; ++p) {
    if (iswspace(*p)) {
      if (!runStart) runStart = p;
    } else {
      runStart = nullptr;
    }
  }
  if (runStart) *runStart = 0;
}

void CCOMString::Format(const wchar_t* format, ...) {
  if (!format) return;
  // Short texts are formatted in one go into a 100-unit scratch buffer. A
  // longer one is measured first and formatted at its exact size: growing the
  // scratch in steps would give the same text at quadratic cost. One unit is
  // always kept back for the terminator, since the counted formatter writes
  // none when the text exactly fills its count.
  wchar_t small[100];
  va_list args;
  va_start(args, format);
  int n = _vsnwprintf(small, 99, format, args);
  va_end(args);
  if (n >= 0) {
    small[n] = 0;
    StringCopy(n, small);
    return;
  }
  va_start(args, format);
  int needed = _vscwprintf(format, args);
  va_end(args);
  if (needed < 0) {  // the runtime cannot format this at any size
    StringCopy(0, kEmpty);
    return;
  }
  wchar_t* scratch = static_cast<wchar_t*>(malloc((static_cast<size_t>(needed) + 1) * sizeof(wchar_t)));
  va_start(args, format);
  n = _vsnwprintf(scratch, static_cast<size_t>(needed), format, args);
  va_end(args);
  if (n < 0) n = 0;
  scratch[n] = 0;
  StringCopy(n, scratch);
  free(scratch);
}
