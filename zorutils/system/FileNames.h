// FileNames: cleaning names for disc images (ISO 9660, Joliet) and for the
// file system, and finding a free file name.
//
// The destination of the three cleaning functions must hold at least as many
// characters as the source plus the terminator (no capacity is passed); it
// may be the source itself.
#pragma once

#include <zorutils/Export.h>

/// An ISO 9660 style name: 'a'-'z' upper-cased, and every character other
/// than 'A'-'Z', '0'-'9', '.', '_' (and, with `keepPathSeparators`, '\' and
/// '/') replaced by `replacement`. Without `keepPathSeparators`, a name of 30
/// characters or more that has a '.' is shortened to exactly 30: the start of
/// the name and the whole extension (the last '.' and what follows). A name
/// without a dot is never shortened, and a name of exactly 30 is rebuilt and
/// reported as changed; both on purpose. When the extension alone is 30
/// characters or longer, the name is cut to its first 30 characters instead.
/// True when the name was shortened or a character replaced (upper-casing
/// alone is no change). False, with an empty destination when it is not
/// null, for a null argument.
ZORUTILS_API bool MakeISO9660FriendlyName(const wchar_t* source, wchar_t* destination, bool keepPathSeparators,
                                          wchar_t replacement);
/// A Joliet style name: shortened as above but to 15 characters (with or
/// without `keepPathSeparators` the limit is 15, on purpose far below the
/// format's own), then every character below 0x1F and '*', ':', ';', '?'
/// (and, without `keepPathSeparators`, '\' and '/') replaced. 0x1F itself,
/// '"', '<', '>' and '|' pass unchanged, on purpose; case is kept. True when
/// shortened or a character replaced; false for an empty name or a null
/// argument.
ZORUTILS_API bool MakeJolietFriendlyName(const wchar_t* source, wchar_t* destination, bool keepPathSeparators,
                                         wchar_t replacement);
/// Copies `source` with each of / \ : * ? " < > | replaced by `replacement`
/// and returns `destination`. An empty source leaves the destination empty
/// and returns null ("nothing to use"); so does a null source. Null for a
/// null destination.
ZORUTILS_API wchar_t* ValidateFileName(const wchar_t* source, wchar_t* destination, wchar_t replacement);
/// Whether `c` may stand in a file name: letters and digits of any script,
/// space and $ % ' - _ @ ~ ` ! ( ) ^ # & + , ; = [ ] . and, with
/// `allowPathCharacters`, '\' and ':'. "Letters and digits" are what
/// IsCharAlphaNumericW says; 0 is never valid.
ZORUTILS_API bool IsValidFileNameChar(wchar_t c, bool allowPathCharacters);
/// Makes `path` name a file that does not exist yet. A path with nothing at
/// it (no file and no folder; an empty path too) is already unique: true,
/// unchanged. Otherwise, with `makeUnique`, the
/// first free "stem<separator>N.ext" (N = 1, 2, ...) replaces it, is logged
/// as "Created unique name '...'" and true is returned. `path` must hold 260
/// characters. False, with `path` unchanged, without `makeUnique`, for null,
/// for a path ending in a separator, for a path of 260 characters or more,
/// when the new name would not fit in 260 characters, and after a million
/// names tried (a name holding wildcards can match forever).
ZORUTILS_API bool UniqueFileName(wchar_t* path, bool makeUnique, wchar_t separator);
