// Scans over wide text that the string class and the XML scanner run on
// every call: the length of a zero-terminated text, the first unit of a kind,
// a substring. The runtime's versions go one unit at a time; these compare
// eight units at once with SSE2 (always there on x86_64; on i686 only when
// the processor says so, else the plain loops below answer).
//
// The vector loads are 16-byte aligned, so none of them crosses a page
// boundary: a scan may read a few units before the text or behind its
// terminator, but only within the page that holds them, never into the next
// one (a text may end right before an inaccessible page).
#pragma once

#include <cstddef>

namespace zor {

/// Units before the first zero (wcslen).
size_t WideLength(const wchar_t* s);
/// Units before the first zero, or `max` when none is among the first `max`
/// (wcsnlen); reads nothing behind that bound's aligned 16 bytes.
size_t WideLengthWithin(const wchar_t* s, size_t max);
/// The first unit at or after `s` that is `c` or zero.
const wchar_t* FindUnitOrZero(const wchar_t* s, wchar_t c);
/// Index of the first `c` among the `n` units at `s` (which may hold zeros),
/// or `n`.
size_t FindUnitWithin(const wchar_t* s, size_t n, wchar_t c);
/// Index of the first unit among the `n` at `s` that is `a`, `b` or `c`, or
/// `n`.
size_t FindAnyOf3Within(const wchar_t* s, size_t n, wchar_t a, wchar_t b, wchar_t c);
/// Copies the units from `s` to `out` up to the first one that is `limit`
/// or above (at most `n`); returns how many were copied.
size_t CopyBelow(const wchar_t* s, size_t n, wchar_t* out, wchar_t limit);
/// The first occurrence of the `subLength` units of `sub` (no zero among
/// them, at least one) in the zero-terminated `s`, or null (wcsstr).
const wchar_t* FindText(const wchar_t* s, const wchar_t* sub, size_t subLength);

/// The plain one-unit-at-a-time answers, which the fast ones must equal.
namespace plain {
size_t WideLength(const wchar_t* s);
size_t WideLengthWithin(const wchar_t* s, size_t max);
const wchar_t* FindUnitOrZero(const wchar_t* s, wchar_t c);
size_t FindUnitWithin(const wchar_t* s, size_t n, wchar_t c);
size_t FindAnyOf3Within(const wchar_t* s, size_t n, wchar_t a, wchar_t b, wchar_t c);
size_t CopyBelow(const wchar_t* s, size_t n, wchar_t* out, wchar_t limit);
}  // namespace plain

/// Whether the vector scans are in use (always on x86_64).
bool WideScanIsVector();

}  // namespace zor
