// Localised message strings: the process-wide string files, the cached
// look-up of texts by key, and the table of installed languages.
//
// A string file is a text file of "key=text" lines next to the executable.
// Every look-up that names no file goes through the main string file, then
// the backup string file, and remembers its answer for the life of the
// library: a text cached under a key keeps being returned after the files
// change. A key found nowhere yields the key itself, so the user sees the key
// rather than nothing.
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
/// the cache, the main and the backup string file are used (and the answer is
/// cached); a given `file` is read every time and never falls back. With
/// `convertEscapes` the escapes \r\n and \n become one line feed, \t a tab.
/// Null `key` or `out`, or `outChars` below 1: 0, nothing written.
ZORUTILS_API int MyLoadString(wchar_t* key, wchar_t* out, int outChars, wchar_t* file,
                              bool convertEscapes);

/// `key` from section "Strings" of the main string file through the system's
/// profile reader (the key itself when missing); 1 when the text is non-empty.
ZORUTILS_API int LoadLanguageString(const wchar_t* key, wchar_t* out, unsigned long outChars);
/// LoadLanguageString, then \n becomes CR LF and \t a tab, in place.
ZORUTILS_API int LoadLanguageStringFormatted(const wchar_t* key, wchar_t* out,
                                             unsigned long outChars);

/// Setters of the process-wide paths (260-character buffers). A null path
/// clears the setting; a path of 260 characters or more is refused and the
/// setting kept, since a cut path would name another file. None of them
/// clears the cache: set the files before the first look-up.
ZORUTILS_API void SetStringFile(wchar_t* path);
ZORUTILS_API void SetLanguageFile(const wchar_t* path);
ZORUTILS_API void SetBackupStringFile(wchar_t* path);
ZORUTILS_API void OverrideUtilitiesStringFile(wchar_t* path);
/// The main string file path buffer.
ZORUTILS_API wchar_t* GetStringFile();
/// The utilities string file path buffer (set at load to the executable's
/// folder plus "utility-strings.ini"): the file the library's own dialogs use.
ZORUTILS_API wchar_t* GetUtilitiesStringFile();

/// Records of "Languages.csv" in the executable's folder; 0 when missing.
ZORUTILS_API int GetNumberOfLanguageStringFiles();
/// Column 0 of record `index`, cut to `outChars` - 1 characters and
/// terminated; false when the folder, the file or the record is missing.
ZORUTILS_API bool GetLanguageName(int index, wchar_t* out, int outChars);
/// The full path of `language`'s string file of kind `field` (the default
/// "Y" row's when the language is not listed, or always with `useDefault`).
/// `out` needs 260 units. False when nothing fits.
ZORUTILS_API bool GetStringFileFromLanguage(wchar_t* language, enum StringFileFields field,
                                            wchar_t* out, bool useDefault);
/// The `index`-th parameter of the process command line (0 is the program),
/// quotes removed; an unquoted run with blanks that names an existing file or
/// folder from a drive root stays one parameter. Cut to `outChars` - 1.
ZORUTILS_API void GetCommandLineParameter(int index, wchar_t* out, int outChars);
