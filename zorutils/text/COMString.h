// CCOMString: the library's wide string value class.
//
// One heap block of exactly length + 1 code units, no stored length, no spare
// capacity and no sharing: the object is a virtual table and one pointer, and
// hosts depend on that layout. Lengths, counts and indexes are in UTF-16 code
// units (wchar_t), indexes from 0; -1 means "not found". Nothing knows about
// surrogate pairs: extraction and reversal may split one. Comparisons are
// ordinal on unsigned 16-bit code units unless stated. A null text argument
// counts as the empty string (Format's format excepted). Allocation failure
// is not handled.
//
// The one object without a buffer is the one made by CCOMString(ch, count)
// with a count of 0 or less; see that constructor for what it may be used for.
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
  /// `count` copies of `ch`. With `count` of 0 or less the buffer stays null
  /// (deliberately, no allocation). Such an object may be destroyed, assigned
  /// to (= or Format), appended to (+=, +), copied or compared; GetLength,
  /// IsEmpty, Empty and AllocSysString take it as empty and GetString returns
  /// null. Every other member dereferences the null buffer.
  CCOMString(wchar_t ch, int count);
  virtual ~CCOMString();

  /// Copies the other's text into a block of exactly its length (a null
  /// buffer copies as empty); nothing happens when both hold the same buffer.
  CCOMString& operator=(CCOMString& other);
  CCOMString& operator=(const CCOMString& other);
  /// Copies the text (null is taken as the empty string). A pointer into this
  /// string's own text (a tail of it) is moved down within the block.
  CCOMString& operator=(const wchar_t* text);
  CCOMString& operator=(wchar_t* text);

  // --- Access ---------------------------------------------------------------

  /// Compare(...) == 0: the same code units.
  bool operator==(const CCOMString& other) const;
  bool operator==(const wchar_t* text) const;
  /// The code unit at `index`; no range check: `index` must lie in
  /// 0..length (length reads the terminator).
  wchar_t operator[](int index) const;
  wchar_t GetAt(int index) const;
  /// Stores a code unit at `index`; no range check: `index` must lie in
  /// 0..length-1. Storing a zero cuts the text there (the block stays).
  void SetAt(int index, wchar_t ch);
  /// The buffer itself (not a copy), valid until the next modifying call or
  /// the destructor; null only for the object made by CCOMString(ch, 0).
  operator const wchar_t*() const;
  const wchar_t* GetString() const;

  /// A new string: this text followed by the argument (null appends nothing).
  CCOMString operator+(CCOMString& other);
  CCOMString operator+(const wchar_t* text);
  /// Appends, reallocating to exactly the new length; the text may be (a
  /// part of) this string's own. Appending a zero unit (+= L'\0') adds one
  /// unit to the block but not to the length.
  CCOMString& operator+=(CCOMString& other);
  CCOMString& operator+=(const wchar_t* text);
  CCOMString& operator+=(wchar_t ch);

  /// Code units before the first zero (counted on every call).
  int GetLength() const;
  /// True when the length is 0.
  bool IsEmpty() const;
  /// Makes the text empty and keeps the block (a later append reallocates it).
  void Empty();
  /// A new COM string with this text (GetLength units); the caller frees it
  /// with SysFreeString. Null when the system is out of memory.
  BSTR AllocSysString() const;

  /// In place, with the runtime's wide case and reverse routines (in the "C"
  /// locale only A-Z / a-z change case). Reversal works on code units, so it
  /// splits surrogate pairs.
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

  /// Index of the first occurrence of `sub` at or after `start` (0 when not
  /// given), or -1. -1 if `start` is negative or beyond the length; `start`
  /// equal to the length finds only an empty `sub`, and an empty (or null)
  /// `sub` yields `start`.
  int Find(const wchar_t* sub) const;
  int Find(const wchar_t* sub, int start) const;
  /// Index of the first `ch` at or after `start` (0 when not given), or -1.
  /// -1 if `start` is negative or >= length (unlike the substring form, on
  /// purpose); a zero `ch` is never found.
  int Find(wchar_t ch) const;
  int Find(wchar_t ch, int start) const;
  /// Index of the first code unit that is in `set`, or -1 (also for an empty
  /// or null `set`).
  int FindOneOf(const wchar_t* set) const;
  /// The first / last `count` units (negative counts as 0; length or more
  /// gives a copy of the whole text).
  CCOMString Left(int count) const;
  CCOMString Right(int count) const;
  /// `count` units from `first` (to the end when not given). A negative
  /// `first` or `count` counts as 0; the range is clamped to the text, so a
  /// `first` beyond the end gives the empty string.
  CCOMString Mid(int first) const;
  CCOMString Mid(int first, int count) const;
  /// The leading run of units that are (are not) in `set`; a null `set`
  /// counts as empty (SpanIncluding then gives "", SpanExcluding the whole).
  CCOMString SpanIncluding(const wchar_t* set) const;
  CCOMString SpanExcluding(const wchar_t* set) const;

  // --- Editing ------------------------------------------------------------------

  /// Replaces every `oldCh` within the length by `newCh`; returns the count,
  /// or 0 without looking when they are equal. With a zero `newCh` every
  /// occurrence is still replaced and counted, and the text ends at the first
  /// (the block keeps its size).
  int Replace(wchar_t oldCh, wchar_t newCh);
  /// Replaces the non-overlapping occurrences of `oldText` found left to right
  /// ("aa" in "aaa" once); inserted text is never searched again. Returns the
  /// count (0, nothing changed, for an empty or null pattern; a null
  /// `newText` deletes). A longer result gets a block of exactly its length; a
  /// shorter one keeps the block.
  int Replace(const wchar_t* oldText, const wchar_t* newText);
  /// Removes leading / trailing white space (the runtime's iswspace), in
  /// place; the block is kept.
  void TrimLeft();
  void TrimRight();
  /// Replaces the text with the printf-style formatting of the arguments
  /// (Microsoft conventions: %s is a wide string, %hs a narrow one). Any
  /// length is kept whole. A null `format` changes nothing; a format the
  /// runtime cannot format at all gives the empty string.
  void Format(const wchar_t* format, ...);

protected:
  // --- Storage: the building blocks of everything above ---------------------

  /// Frees the buffer and allocates n + 1 units, zero at index n; the first n
  /// units are for the caller to fill. A negative n counts as 0 (both).
  void AllocString(int n);
  /// Resizes to n + 1 units keeping the leading content; zero at index n.
  void ReAllocString(int n);
  /// AllocString(n) and copies n units of `src` (which must not point into
  /// this object's own buffer).
  void StringCopy(int n, const wchar_t* src);
  /// Puts `count` units from `start` into `dest` (allocated at count + extra);
  /// leaves `dest` untouched when count + extra is 0. No range check: the
  /// caller keeps start + count within the text.
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
