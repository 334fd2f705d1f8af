// Localised message strings: the process-wide string files, the cached
// look-up of texts by key, and the table of installed languages.
//
// A string file is a text file of "key=text" lines next to the executable,
// read in text mode one byte per character. Every look-up that names no file
// goes through the main string file, then the backup string file, and
// remembers its answer for the life of the library: a text cached under a key
// keeps being returned after the files change. A key found nowhere yields the
// key itself, so the user sees the key rather than nothing.
//
// Capacities are in wchar_t code units; whether they count the terminator
// differs (MyLoadString's does not) and is said at each function. Cuts may
// fall between the halves of a surrogate pair. Only MyLoadString takes the
// library's lock; the setters and the other functions take none, so set the
// files before other threads look texts up.
#pragma once

#include <zorutils/Export.h>

/// Columns of "Languages.csv" that name string files (columns 0 and 1 hold
/// the language name and the default mark).
enum StringFileFields {
  SFF_MainStrings = 2,       ///< the host application's own texts
  SFF_UtilityStrings = 3,    ///< the library's texts ("utility-strings.ini")
  SFF_HelpFile = 4,          ///< the host's help file for the language
};

/// Looks `key` up and leaves its text in `out`; returns the length of `out`.
/// `out` must have room for `outChars` + 1 units: up to `outChars` characters
/// of the text are copied and terminated behind. With `file` null or empty
/// the cache, the main and the backup string file are used (and the answer,
/// the key itself when found in neither, is cached unless the key is empty);
/// when the main file cannot be opened the key comes back uncached and the
/// backup is not tried. A given `file` is read every time, never cached and
/// never falls back. Lines are taken 1,023 characters at a time: the rest of
/// a longer line counts as a line of its own. The first line whose key
/// (trailing blanks dropped, leading ones kept, A-Z folded) matches wins, in
/// any section. With `convertEscapes` the escapes \r\n and \n of a found
/// text become one line feed, \t a tab; a cached answer comes back as it was
/// cached, whatever this call's flag. Null `key` or `out`, or `outChars`
/// below 1: 0, nothing written. Serialised with every other call.
ZORUTILS_API int MyLoadString(wchar_t* key, wchar_t* out, int outChars, wchar_t* file,
                              bool convertEscapes);

/// `key` from section "Strings" of the main string file through the system's
/// profile reader (the key itself when missing), cut to `outChars` - 1 units
/// and terminated; no cache, no backup file. 1 when the text is non-empty,
/// else 0. Null `key` or `out`, or `outChars` of 0: 0, nothing written.
ZORUTILS_API int LoadLanguageString(const wchar_t* key, wchar_t* out, unsigned long outChars);
/// LoadLanguageString, then \n becomes CR LF (same length) and \t a tab, in
/// place; the same results.
ZORUTILS_API int LoadLanguageStringFormatted(const wchar_t* key, wchar_t* out,
                                             unsigned long outChars);

/// Setters of the process-wide paths (260-character buffers). A null or empty
/// path clears the setting; a path of 260 characters or more is refused (and
/// logged) and the setting kept, since a cut path would name another file.
/// None of them clears the cache: set the files before the first look-up.
/// SetStringFile and SetLanguageFile are one operation under two names.
ZORUTILS_API void SetStringFile(wchar_t* path);
ZORUTILS_API void SetLanguageFile(const wchar_t* path);
ZORUTILS_API void SetBackupStringFile(wchar_t* path);
ZORUTILS_API void OverrideUtilitiesStringFile(wchar_t* path);
/// The main string file path buffer itself (260 units, empty until set).
ZORUTILS_API wchar_t* GetStringFile();
/// The utilities string file path buffer (set at load to the executable's
/// folder plus "utility-strings.ini", empty when that does not fit): the file
/// the library's own dialogs use.
ZORUTILS_API wchar_t* GetUtilitiesStringFile();

// "Languages.csv" (in the executable's folder) is read afresh by every call:
// comma-separated, double quotes, header line first; rows whose field count
// differs from the header's are left out.

/// The number of language rows; 0 when the folder or the file is missing.
ZORUTILS_API int GetNumberOfLanguageStringFiles();
/// Column 0 of row `index`, cut to `outChars` - 1 characters and
/// terminated; false (with `out` empty) when the folder, the file or the row
/// is missing or `index` is negative; false, nothing written, for a null
/// `out` or `outChars` below 1.
ZORUTILS_API bool GetLanguageName(int index, wchar_t* out, int outChars);
/// The full path (the executable's folder plus the file name) of
/// `language`'s string file of kind `field`: from the first row whose name
/// equals `language` (A-Z folded) and whose path fits, else from the last
/// row marked "Y", which is also used always with `useDefault` or a null
/// `language`. `out` needs 260 units. False, `out` untouched, for a null
/// `out`, a missing folder or file, no such row, a `field` beyond the file's
/// columns, or a path of 260 characters or more (an empty field gives the
/// folder alone).
ZORUTILS_API bool GetStringFileFromLanguage(wchar_t* language, enum StringFileFields field,
                                            wchar_t* out, bool useDefault);
/// The `index`-th parameter of the process command line (0 is the program),
/// quotes removed; an unquoted run with blanks that names an existing file or
/// folder from a drive root stays one parameter. `out` is zero-filled
/// (`outChars` units) and gets at most `outChars` - 1 characters; it stays
/// empty for a negative index or one past the last parameter. Null `out` or
/// `outChars` below 1: nothing written.
ZORUTILS_API void GetCommandLineParameter(int index, wchar_t* out, int outChars);
