// String and character utilities on caller-owned zero-terminated buffers.
//
// No code page is involved anywhere: a byte is its own code point and a code
// unit is narrowed by keeping its low byte. UTF-16 little-endian is the only
// Unicode form recognised in raw byte buffers. Unless a function says
// otherwise, a null pointer argument makes it do nothing (or return false/-1).
//
// Units: wide sizes and counts are in wchar_t code units, single-byte ones in
// bytes; a "size" (capacity) includes the terminator. Nothing here knows about
// surrogate pairs: where wide text is cut, a pair can be split. Functions
// without a capacity argument (or whose capacity is "not consulted") trust the
// caller's buffer to be large enough, as each says.
#pragma once

#include <zorutils/Export.h>

// --- Conversions ---------------------------------------------------------------

/// Zero-fills all `dstSize` units of `dst`, then widens bytes of `src` until
/// `srcLen` bytes, a zero byte, or the limit (`dstSize` - 1 when
/// `keepTerminator`, else `dstSize`: a full `dst` then has no terminator).
/// Nothing for a null `dst` or size 0; a null `src` leaves `dst` all zeros.
/// The short form takes strlen(src) and keeps the terminator.
ZORUTILS_API void ConvertSingleByteToUnicode(const char* src, unsigned int srcLen, wchar_t* dst,
                                             unsigned int dstSize, bool keepTerminator);
ZORUTILS_API void ConvertSingleByteToUnicode(const char* src, wchar_t* dst, unsigned int dstSize);
/// Zero-fills `dstSize` bytes, skips a leading byte-order mark (the unit
/// U+FEFF), then keeps the low byte of each unit until `srcLen` units, the
/// limit (`dstSize` - 1 bytes when `keepTerminator`, else `dstSize`: a full
/// `dst` then has no terminator), or a zero unit that is followed by another
/// or ends the `srcLen` units (a lone zero inside is copied as a zero byte).
/// Nothing for a null `dst` or size 0; a null `src` leaves `dst` all zeros.
/// The short form takes wcslen(src) and keeps the terminator.
ZORUTILS_API void ConvertUnicodeToSingleByte(const wchar_t* src, unsigned int srcLen, char* dst,
                                             unsigned int dstSize, bool keepTerminator);
ZORUTILS_API void ConvertUnicodeToSingleByte(const wchar_t* src, char* dst, unsigned int dstSize);
/// Raw file bytes (`srcLen` bytes) to wide text in `dst` (`dstSize` units),
/// which is zero-filled first. UTF-16LE when StringIsUnicode(src, srcLen,
/// true) says so: the units after the mark, at most `dstSize` - 1 of them, so
/// always terminated (an odd last byte is dropped; a pair can be split at the
/// cut). Otherwise widened byte by byte up to a zero byte, using all
/// `dstSize` units: a text that fills `dst` has no terminator. True when
/// converted; false when `dst` is null or `dstSize` 0 (nothing written), or
/// when `src` is null or `srcLen` 0 (`dst` zero-filled). The short form takes
/// strlen(src) as `srcLen`, so it only suits single-byte text.
ZORUTILS_API bool CopyCharToTChar(const char* src, unsigned int srcLen, wchar_t* dst,
                                  unsigned int dstSize);
ZORUTILS_API bool CopyCharToTChar(const char* src, wchar_t* dst, unsigned int dstSize);
/// Replaces the heap string in `*target` (malloc'ed; null or owned by the
/// caller, who frees it with free) by a copy of `src`. Nothing when `*target`
/// already is `src`; an equal-length text is copied into the existing block;
/// otherwise the old block is freed. A null or empty `src` leaves `*target`
/// null, and so does running out of memory. `src` may point into the old
/// text. Nothing for a null `target`.
ZORUTILS_API void CopyStringA(char** target, const char* src);
ZORUTILS_API void CopyStringW(wchar_t** target, const wchar_t* src);

// --- Unicode detection in raw byte buffers -------------------------------------

/// True if `p` starts with the bytes FF FE; false for null. Reads the second
/// byte only when the first is FF, so `p` must hold two bytes then.
ZORUTILS_API bool StringHasUnicodeHeader(const unsigned char* p);
/// Whether `len` raw bytes hold UTF-16LE text: a leading mark FF FE, or byte
/// pairs with at most one non-zero byte up to a zero pair (or, without
/// `requireTerminator`, up to the end; with it, an unterminated walk is
/// UTF-16 only when the last two bytes are zero). False for null or `len`
/// below 2. An odd last byte is not looked at by the walk.
ZORUTILS_API bool StringIsUnicode(const unsigned char* p, int len, bool requireTerminator);
/// Like StringIsUnicode without a terminator requirement, but a mark is not
/// enough: the pairs after it (from byte 2 when `len` > 2 and it starts FF FE)
/// must have at most one non-zero byte up to a zero pair or the end. True
/// when at most one byte follows the mark; false for null, `len` below 2 and
/// the two mark bytes alone (the mark is skipped only when more follows).
ZORUTILS_API bool StringIsConvertibleUnicode(const unsigned char* p, int len);
/// UTF-16 units of a marked buffer of `len` bytes, counted from byte 2 up to
/// its zero pair; 0 when unmarked, null, shorter than 4 bytes, unterminated
/// within `len`, or holding a pair of two non-zero bytes.
ZORUTILS_API int NumConvertibleUnicodeChars(const unsigned char* p, int len);

// --- Character and number tests ---------------------------------------------------

/// '0'-'9', 'a'-'f' or 'A'-'F'.
ZORUTILS_API bool IsHexCharacter(wchar_t c);
/// -1 for null, empty or non-hex input (no sign, prefix or blanks). The last
/// digit counts its value and the digit k places before it value * k * 16:
/// right for one and two digits, deliberately not positional beyond ("100"
/// gives 32). Very long inputs wrap around 32 bits and may come out negative.
ZORUTILS_API int HexStringToInt(const wchar_t* s);
/// Decimal digits, at least one, with an optional leading '-'. False for
/// null, empty and "-"; no '+', blanks or exponent. The wide forms use the
/// runtime's iswdigit, which also takes other Unicode digits ('²', Arabic-
/// Indic digits); the single-byte forms take only '0'-'9'.
ZORUTILS_API bool StringIsNumericA(const char* s);
ZORUTILS_API bool StringIsNumericW(const wchar_t* s);
/// Digits (as StringIsNumeric takes them) with at most one '.' anywhere, an
/// optional leading '-', at least one digit ("5." and "-.5" pass, "." and
/// "1e5" do not). False for null or empty.
ZORUTILS_API bool StringIsFloatA(const char* s);
ZORUTILS_API bool StringIsFloatW(const wchar_t* s);
/// First `c` in `s`: its index in `*pos` and a pointer to it; else -1 and
/// null (also for a null `s`, or a zero `c`, which is never found). A null
/// `pos` is allowed.
ZORUTILS_API wchar_t* StrChrPos(wchar_t* s, wchar_t c, int* pos);

// --- Trimming and in-place editing -----------------------------------------------

/// Removes leading / trailing blanks (and CR, LF when `alsoLineBreaks`) in
/// place; never tabs. RemoveSpaces does both ends. Nothing for null.
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
/// `dst` needs room for the result and its terminator (at most `src`'s
/// length + 1) and may be `src`. A null `src` empties `dst`; a null `dst`
/// gives false.
ZORUTILS_API bool TrimWhitespace(const wchar_t* src, wchar_t* dst);
/// The same with `c` as the only unit trimmed.
ZORUTILS_API bool TrimChar(wchar_t c, const wchar_t* src, wchar_t* dst);
/// Upper-cases each unit in place with the runtime's towupper (in the "C"
/// locale only a-z change). Nothing for null.
ZORUTILS_API void MakeUpperCase(wchar_t* s);
/// Copies `src` to `dst` turning each two-unit escape \r and \n into one CR
/// (13); other backslashes stay. The result is never longer than `src`.
/// `dstSize` is not consulted: `dst` needs room for `src`'s length + 1.
/// Nothing for a null `dst`; a null `src` gives an empty `dst`. `dst` may be
/// `src`.
ZORUTILS_API void ParseCarriageReturns(const wchar_t* src, wchar_t* dst, long dstSize);
/// Replaces the `count` units at `start` by `repl` (moving the tail and its
/// terminator). Nothing if `buf` or `repl` is null or empty, or `start` is
/// beyond the length; a range past the end is clipped to it. There is no
/// capacity argument: `buf` needs room for length - count + length of `repl`
/// + 1 units.
ZORUTILS_API void ReplaceTextW(wchar_t* buf, unsigned int start, unsigned int count,
                               const wchar_t* repl);
/// Replaces every `find` in `buf` by `repl` (left to right, inserted text
/// never searched again; case-insensitive with `ignoreCase`, the runtime's
/// comparison). `bufSize` is `buf`'s capacity in units (bytes for the
/// single-byte form) with the terminator: before each comparison the walk
/// stops, leaving the rest unreplaced, when one more replacement could make
/// the text `bufSize` units or longer, so the result always fits. Nothing for
/// a null or empty `buf` or `find`, or `bufSize` below 2; a null `repl`
/// deletes.
ZORUTILS_API void SearchAndReplaceAll(wchar_t* buf, const wchar_t* find, const wchar_t* repl,
                                      unsigned int bufSize, bool ignoreCase);
ZORUTILS_API void SearchAndReplaceAllSingleByte(char* buf, const char* find, const char* repl,
                                                unsigned int bufSize, bool ignoreCase);

// --- Display formatting -------------------------------------------------------------

/// The size for display: "%d Bytes" below 1024, "%d KB" (truncated) below
/// 1,048,576, else "%0.2f MB" (no GB step). `size` is not consulted: the text
/// is at most 10 units, so `out` needs 11. Nothing for a null `out`.
ZORUTILS_API void MakeFileSizeString(unsigned long bytes, wchar_t* out, int size);
/// The length `ms` (milliseconds) for display: "hh:mm:ss[:mmm]" (milliseconds
/// when `showMilliseconds` is non-zero), or "mm:ss[:mmm]" when there are no
/// hours or `noHours` is set (the hours are then dropped, not folded into the
/// minutes: 65 minutes show as 05:00). Each field is at least two digits
/// (three for milliseconds); with a negative `ms` every non-zero field
/// carries its own minus sign. No size argument: `out` needs 14 units for any non-negative `ms`,
/// 18 for any value. Nothing for a null `out`.
ZORUTILS_API void MakeLengthString(long ms, wchar_t* out, int showMilliseconds, int noHours);
