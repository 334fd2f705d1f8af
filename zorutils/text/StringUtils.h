// String and character utilities on caller-owned zero-terminated buffers.
//
// No code page is involved anywhere: a byte is its own code point and a code
// unit is narrowed by keeping its low byte. UTF-16 little-endian is the only
// Unicode form recognised in raw byte buffers. Unless a function says
// otherwise, a null pointer argument makes it do nothing (or return false/-1).
#pragma once

#include <zorutils/Export.h>

// --- Conversions ---------------------------------------------------------------

/// Zero-fills all `dstSize` units of `dst`, then widens bytes of `src` until
/// `srcLen` bytes, a zero byte, or the limit (`dstSize` - 1 when
/// `keepTerminator`, else `dstSize`). Nothing for a null `dst` or size 0.
ZORUTILS_API void ConvertSingleByteToUnicode(const char* src, unsigned int srcLen, wchar_t* dst,
                                             unsigned int dstSize, bool keepTerminator);
ZORUTILS_API void ConvertSingleByteToUnicode(const char* src, wchar_t* dst, unsigned int dstSize);
/// Zero-fills `dstSize` bytes, skips a leading byte-order mark, then keeps the
/// low byte of each unit until `srcLen` units, the limit, or two zero units
/// in a row. Nothing for a null `dst` or size 0.
ZORUTILS_API void ConvertUnicodeToSingleByte(const wchar_t* src, unsigned int srcLen, char* dst,
                                             unsigned int dstSize, bool keepTerminator);
ZORUTILS_API void ConvertUnicodeToSingleByte(const wchar_t* src, char* dst, unsigned int dstSize);
/// Raw file bytes to wide text: UTF-16LE (after its mark) when StringIsUnicode
/// says so, else widened byte by byte without keeping room for a terminator.
/// False when `dst` is null or `dstSize` 0 (nothing written), or when `src` is
/// null or `srcLen` 0 (`dst` zero-filled).
ZORUTILS_API bool CopyCharToTChar(const char* src, unsigned int srcLen, wchar_t* dst,
                                  unsigned int dstSize);
ZORUTILS_API bool CopyCharToTChar(const char* src, wchar_t* dst, unsigned int dstSize);
/// Replaces the heap string in `*target` (malloc'ed) by a copy of `src`. A null
/// or empty `src` leaves `*target` null. Nothing for a null `target`.
ZORUTILS_API void CopyStringA(char** target, const char* src);
ZORUTILS_API void CopyStringW(wchar_t** target, const wchar_t* src);

// --- Unicode detection in raw byte buffers -------------------------------------

/// True if `p` starts with the bytes FF FE.
ZORUTILS_API bool StringHasUnicodeHeader(const unsigned char* p);
/// Whether `len` raw bytes hold UTF-16LE text: a mark, or byte pairs with at
/// most one non-zero byte up to a zero pair (or, without `requireTerminator`,
/// up to the end).
ZORUTILS_API bool StringIsUnicode(const unsigned char* p, int len, bool requireTerminator);
ZORUTILS_API bool StringIsConvertibleUnicode(const unsigned char* p, int len);
/// Characters of a marked UTF-16LE buffer up to its zero pair; 0 when unmarked,
/// shorter than 4 bytes, unterminated, or holding a pair of two non-zero bytes.
ZORUTILS_API int NumConvertibleUnicodeChars(const unsigned char* p, int len);

// --- Character and number tests ---------------------------------------------------

ZORUTILS_API bool IsHexCharacter(wchar_t c);
/// -1 for null, empty or non-hex input. The last digit counts its value and
/// the digit k places before it value * k * 16: right for one and two digits,
/// deliberately not positional beyond ("100" gives 32).
ZORUTILS_API int HexStringToInt(const wchar_t* s);
/// Decimal digits, at least one, with an optional leading '-'.
ZORUTILS_API bool StringIsNumericA(const char* s);
ZORUTILS_API bool StringIsNumericW(const wchar_t* s);
/// Digits with at most one '.', an optional leading '-', at least one digit.
ZORUTILS_API bool StringIsFloatA(const char* s);
ZORUTILS_API bool StringIsFloatW(const wchar_t* s);
/// First `c` in `s`: its index in `*pos` and a pointer to it; else -1 and null.
ZORUTILS_API wchar_t* StrChrPos(wchar_t* s, wchar_t c, int* pos);

// --- Trimming and in-place editing -----------------------------------------------

/// Leading / trailing blanks (and CR, LF when `alsoLineBreaks`); never tabs.
ZORUTILS_API void RemoveLeadingSpacesA(char* s, bool alsoLineBreaks);
ZORUTILS_API void RemoveLeadingSpacesW(wchar_t* s, bool alsoLineBreaks);
ZORUTILS_API void RemoveTrailingSpacesA(char* s, bool alsoLineBreaks);
ZORUTILS_API void RemoveTrailingSpacesW(wchar_t* s, bool alsoLineBreaks);
ZORUTILS_API void RemoveSpacesA(char* s, bool alsoLineBreaks);
ZORUTILS_API void RemoveSpacesW(wchar_t* s, bool alsoLineBreaks);

/// The longest input TrimWhitespace and TrimChar accept, in code units.
const int kTrimMaxInput = 2047;
/// Copies `src` to `dst` without its leading and trailing blanks, tabs and LFs
/// (CR is kept); true if the result is non-empty. Input longer than
/// kTrimMaxInput units is rejected: `dst` is made empty and false returned.
/// `dst` may be `src`.
ZORUTILS_API bool TrimWhitespace(const wchar_t* src, wchar_t* dst);
/// The same with `c` as the only unit trimmed.
ZORUTILS_API bool TrimChar(wchar_t c, const wchar_t* src, wchar_t* dst);
/// Upper-cases each unit in place (towupper).
ZORUTILS_API void MakeUpperCase(wchar_t* s);
/// Copies `src` to `dst` turning the escapes \r and \n into one CR each.
/// `dstSize` is not consulted: `dst` needs room for `src`.
ZORUTILS_API void ParseCarriageReturns(const wchar_t* src, wchar_t* dst, long dstSize);
/// Replaces the `count` units at `start` by `repl` (moving the tail). Nothing
/// if `buf` or `repl` is null or empty. A range past the end is clipped to it.
/// There is no capacity argument: the buffer must be large enough.
ZORUTILS_API void ReplaceTextW(wchar_t* buf, unsigned int start, unsigned int count,
                               const wchar_t* repl);
/// Replaces every `find` (left to right, inserted text never searched again),
/// stopping before a replacement could grow the text to `bufSize` units.
ZORUTILS_API void SearchAndReplaceAll(wchar_t* buf, const wchar_t* find, const wchar_t* repl,
                                      unsigned int bufSize, bool ignoreCase);
ZORUTILS_API void SearchAndReplaceAllSingleByte(char* buf, const char* find, const char* repl,
                                                unsigned int bufSize, bool ignoreCase);

// --- Display formatting -------------------------------------------------------------

/// "%d Bytes", "%d KB" or "%0.2f MB". `size` is not consulted; the text is at
/// most 14 units.
ZORUTILS_API void MakeFileSizeString(unsigned long bytes, wchar_t* out, int size);
/// "hh:mm:ss[:mmm]", or "mm:ss[:mmm]" when there are no hours or `noHours` is
/// set (the hours are then dropped, not folded into the minutes).
ZORUTILS_API void MakeLengthString(long ms, wchar_t* out, int showMilliseconds, int noHours);
