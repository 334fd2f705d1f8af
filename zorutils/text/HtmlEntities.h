// HTML character references and HTML formatting of plain text.
//
// DeHTMLifyString turns the references found in markup (named entities,
// decimal and hexadecimal character references, URL-encoded blanks) back into
// characters, in place; the XML classes and the online lookup clean every text
// they take from a reply with it. ParseForHTML goes the other way for display:
// it copies plain text into HTML and makes e-mail and web addresses links.
#pragma once

#include <zorutils/Export.h>

/// Decodes `text` in place; the result is never longer than the input.
///
/// Walks the text once, left to right; a produced character is never looked
/// at again (so "&amp;lt;" gives "&lt;"):
/// - "%20" becomes a blank.
/// - "&#x" + hex digits + ";" becomes the character HexStringToInt gives the
///   digits (with that function's own weighting: "&#x100;" gives code 32).
/// - "&#" + decimal digits + ";" becomes the character with the low 16 bits
///   of the number (so does a hex code above FFFF: no surrogate pair is
///   made). The 'x' must be lower case: "&#X41;" stays as written.
/// - Otherwise the first of the 101 named entities whose text stands at the
///   '&' wins, tried in this order: "&amp;", "&apos;", "&quot;", "&nbsp;",
///   "&lt", "&gt", then the HTML 4 Latin-1 entities "&iexcl;" (161) to
///   "&yuml;" (255) in code order. Only the entity's own length is compared: "&lt" and "&gt" carry
///   no semicolon, so "&lt;" deliberately becomes "<;". "&nbsp;" gives a
///   plain blank (32), not the no-break space.
/// References left as written: no digits, a unit that is not a digit of the
/// reference's base, no ';' before the end, more than 15 digits, and a
/// reference whose code is 0, also after keeping the low 16 bits ("&#65536;"),
/// since a zero would cut the text short.
/// Nothing happens for a null or empty `text` or a `size` (the buffer's
/// capacity in wchar_t units) below 2; `size` is not otherwise used, since
/// the text only shrinks.
ZORUTILS_API void DeHTMLifyString(wchar_t* text, unsigned int size);

/// Writes the HTML form of the first `length` wchar_t units of `text` (up to
/// a zero unit, if one comes first) to `out` (made empty first). Words (runs of units that are neither white space nor
/// '<' nor '>') that look like addresses become links:
/// - an e-mail address (an '@' after the word's first unit, later a '.' and at
///   least one unit after it) becomes <a href="mailto:W">W</a>, or
///   <a href="W">W</a> when the word already holds "mailto:";
/// - a word holding "http://" becomes <a href="W">W</a>;
/// - a word holding ".com", ".edu" or ".org" becomes <a href="http://W">W</a>.
/// A word in which "href" appears before any '@' (or before "http://"/"www")
/// is kept as it is. The text between words (white space, and whole tags from
/// '<' to the next '>') is copied unchanged. Comparisons are case-sensitive.
/// `outSize` is not consulted: `out` needs room for the text, plus for each
/// link up to 22 units of markup and the word a second time, plus the
/// terminator. `text` is only read (it is not const for the classic
/// signature). Nothing for a null `out`; a null `text` or a `length` below 1
/// gives an empty `out`.
ZORUTILS_API void ParseForHTML(wchar_t* text, long length, wchar_t* out, long outSize);
