// CCOMString: the library's wide string value class.
//
// One heap block of exactly length + 1 code units, no stored length, no spare
// capacity and no sharing: the object is a virtual table and one pointer, and
// hosts depend on that layout. Indexes are code-unit indexes from 0; -1 means
// "not found". Comparisons are ordinal on unsigned 16-bit code units.
#pragma once

#include <zorutils/Export.h>

#include <wtypes.h>

class ZORUTILS_API CCOMString {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  // --- Construction and assignment ---------------------------------------

  /// The empty string.
  CCOMString();
  /// A copy of the zero-terminated text (null is taken as the empty string).
  CCOMString(const wchar_t* text);
  CCOMString(wchar_t* text);
  /// A copy of the other's text.
  CCOMString(CCOMString& other);
  CCOMString(const CCOMString& other);
  /// `count` copies of `ch`. With `count` of 0 or less the buffer stays null:
  /// such an object may only be destroyed or assigned to.
  CCOMString(wchar_t ch, int count);
  virtual ~CCOMString();

  /// Copies the other's text; nothing happens when both hold the same buffer.
  CCOMString& operator=(CCOMString& other);
  CCOMString& operator=(const CCOMString& other);
  /// Copies the text (null is taken as the empty string).
  CCOMString& operator=(const wchar_t* text);
  CCOMString& operator=(wchar_t* text);

  // --- Access ---------------------------------------------------------------

  bool operator==(const CCOMString& other) const;
  bool operator==(const wchar_t* text) const;
  /// The code unit at `index`; no range check.
  wchar_t operator[](int index) const;
  wchar_t GetAt(int index) const;
  /// Stores a code unit at `index`; no range check.
  void SetAt(int index, wchar_t ch);
  /// The buffer itself, valid until the next modifying call.
  operator const wchar_t*() const;
  const wchar_t* GetString() const;

  /// A new string: this text followed by the argument.
  CCOMString operator+(CCOMString& other);
  CCOMString operator+(const wchar_t* text);
  /// Appends (reallocating to exactly the new length).
  CCOMString& operator+=(CCOMString& other);
  CCOMString& operator+=(const wchar_t* text);
  CCOMString& operator+=(wchar_t ch);

  /// Code units before the first zero (counted on every call).
  int GetLength() const;
  bool IsEmpty() const;
  /// Makes the text empty and keeps the block.
  void Empty();
  /// A new COM string with this text; the caller frees it with SysFreeString.
  BSTR AllocSysString() const;

  /// In place, with the runtime's wide case and reverse routines.
  void MakeUpper();
  void MakeLower();
  void MakeReverse();

  // --- Comparison -------------------------------------------------------------

  /// Ordinal comparison: exactly -1, 0 or 1; a prefix sorts first.
  int Compare(CCOMString& other) const;
  int Compare(const wchar_t* text) const;
  /// The runtime's case-insensitive comparison: negative, zero or positive.
  int CompareNoCase(CCOMString& other) const;
  int CompareNoCase(const wchar_t* text) const;
  /// The runtime's locale collation: negative, zero or positive.
  int Collate(CCOMString& other) const;
  int Collate(const wchar_t* text) const;

  // --- Searching and extraction ---------------------------------------------

  int Find(const wchar_t* sub) const;
  /// -1 if `start` > length; an empty `sub` yields `start`.
  int Find(const wchar_t* sub, int start) const;
  int Find(wchar_t ch) const;
  /// -1 if `start` >= length (unlike the substring form, on purpose).
  int Find(wchar_t ch, int start) const;
  /// Index of the first code unit that is in `set`, or -1.
  int FindOneOf(const wchar_t* set) const;
  /// The first / last `count` units (negative counts as 0; too many gives all).
  CCOMString Left(int count) const;
  CCOMString Right(int count) const;
  /// `count` units from `first`, clamped to the text.
  CCOMString Mid(int first) const;
  CCOMString Mid(int first, int count) const;
  /// The leading run of units that are (are not) in `set`.
  CCOMString SpanIncluding(const wchar_t* set) const;
  CCOMString SpanExcluding(const wchar_t* set) const;

  // --- Editing ------------------------------------------------------------------

  /// Replaces every `oldCh` by `newCh`; 0 when they are equal, else the count.
  int Replace(wchar_t oldCh, wchar_t newCh);
  /// Replaces the non-overlapping occurrences of `oldText` found left to right;
  /// inserted text is never searched again. Returns the count (0 for an empty
  /// pattern).
  int Replace(const wchar_t* oldText, const wchar_t* newText);
  /// Removes leading / trailing white space (iswspace).
  void TrimLeft();
  void TrimRight();
  /// printf-style formatting (Microsoft conventions: %s is a wide string).
  void Format(const wchar_t* format, ...);

protected:
  // --- Storage: the building blocks of everything above ---------------------

  /// Frees the buffer and allocates n + 1 units, zero at index n; the first n
  /// units are for the caller to fill.
  void AllocString(int n);
  /// Resizes to n + 1 units keeping the leading content; zero at index n.
  void ReAllocString(int n);
  /// AllocString(n) and copies n units of `src` (which must not point into
  /// this object's own buffer).
  void StringCopy(int n, const wchar_t* src);
  /// Puts `count` units from `start` into `dest` (allocated at count + extra);
  /// leaves `dest` untouched when count + extra is 0.
  void StringCopy(CCOMString& dest, int count, int start, int extra) const;
  /// This string becomes a followed by b (neither may point into this buffer).
  void ConcatCopy(const wchar_t* a, const wchar_t* b);
  /// Appends `text` (which may be this string's own text) / one code unit.
  void ConcatCopy(const wchar_t* text);
  void ConcatCopy(wchar_t ch);

  wchar_t* m_pszString;
};

static_assert(sizeof(CCOMString) == 2 * sizeof(void*),
              "CCOMString is exported as a virtual table and one pointer");
