// Paths: well-known folders, the executable's folder, long path names and
// multi-level folder creation.
//
// Buffers are a pointer and a capacity in characters (terminator included);
// copying "up to n" characters always leaves the buffer terminated. Where a
// function works on a copy of its own, that copy is a MAX_PATH (260) buffer:
// input that would not fit there is refused with the function's failure
// result instead of being cut or overrunning the copy.
#pragma once

#include <zorutils/Export.h>

#include <windows.h>

// --- Well-known folders ------------------------------------------------------------

/// The shell folder `folderId` (a CSIDL value) into `buffer`, cut to
/// capacity - 1 characters. With `create`, a folder that does not exist is
/// handed to CreateMultiLevelDir (so, as there, only its parents are made).
/// False for a null buffer, a capacity below 1 or a folder the shell does not
/// know; the buffer is then empty.
ZORUTILS_API bool GetSpecialFolderPath(wchar_t* buffer, int capacity, int folderId, bool create);
/// The desktop (CSIDL 0).
ZORUTILS_API bool GetDesktopPath(wchar_t* buffer, int capacity, bool create);
/// The personal documents folder (CSIDL 5). When the shell has none the
/// folder is "C:\My Documents" (cut to fit); when that cannot be made with
/// `create`, "C:\" (also cut to fit). Only a null buffer or a capacity below
/// 1 gives false. With `create` only the parents are made (as in
/// CreateMultiLevelDir), so the answer may name a folder that does not exist;
/// "C:\" comes only when even those cannot be made.
ZORUTILS_API bool GetMyDocumentsPath(wchar_t* buffer, int capacity, bool create);
/// My music (CSIDL 13).
ZORUTILS_API bool GetMyMusicPath(wchar_t* buffer, int capacity, bool create);
/// The per-user application data folder (CSIDL 26).
ZORUTILS_API bool GetCurrentUserAppDataPath(wchar_t* buffer, int capacity, bool create);
/// The internet cache (CSIDL 32), never created.
ZORUTILS_API bool GetInternetCachePath(wchar_t* buffer, int capacity);
/// The all-users application data folder (CSIDL 35).
ZORUTILS_API bool GetCommonAppDataPath(wchar_t* buffer, int capacity, bool create);
/// My pictures (CSIDL 39).
ZORUTILS_API bool GetMyPicturesPath(wchar_t* buffer, int capacity, bool create);

// --- Paths --------------------------------------------------------------------------

/// The folder of `module` (null: the host executable) with its trailing
/// backslash, components expanded to their long names. When the long form
/// does not fit `capacity` (or cannot be had), the folder as the system names
/// it, cut to capacity - 1 characters, with the same result 1. 0 (buffer
/// empty, or untouched when null) for a null buffer, a capacity below 1, a
/// module the system does not know, or a module path that fills the whole
/// 260-character work buffer.
ZORUTILS_API int GetExeDirectory(wchar_t* buffer, int capacity, HMODULE module);
/// Expands each component of `shortPath` to its long name by looking it up on
/// disk; folders end in a backslash. The output is empty when a component
/// cannot be found or would not fit: each name must leave room for a
/// backslash behind it, so a file's result needs capacity - 2 characters at
/// most (a 258-character file path fits 260, a 259-character one does not).
/// A relative path is looked up from the current folder; a UNC path, or one
/// with an empty component ("a\\b"), gives an empty output, and a wildcard in
/// a component takes the first match's name. Nothing at all happens for null
/// arguments, an empty path or a capacity below 1; a path of 260 characters
/// or more only clears the output.
ZORUTILS_API void GetLongPathNameSafe(const wchar_t* shortPath, wchar_t* out, int capacity);
/// Makes every missing folder of `path` whose name is followed by a
/// backslash: "C:\a\b" makes only "C:\a\", "C:\a\b\" makes both. This is on
/// purpose: pass a trailing backslash to get the last folder too. UNC paths
/// ("\\server\share\dir\") start after the server name. Non-zero when the
/// folders exist or were made; 0 for a null path, one shorter than 3
/// characters, one with neither a ':' nor a leading "\\", one without any
/// backslash, or a folder that could not be made. `path` is not changed.
ZORUTILS_API int CreateMultiLevelDir(wchar_t* path);
/// Non-zero if `path` names an existing folder (PathIsDirectoryW); 0 for
/// null.
ZORUTILS_API int IsValidDirectory(const wchar_t* path);
/// True only for a drive root written as "X:\" (an ASCII letter, ':', '\',
/// nothing more); false for null, "C:" and "C:\a". Nothing is looked up.
ZORUTILS_API bool IsRootFolder(const wchar_t* path);
/// Whether the folder `path` holds nothing. The listing's entries after the
/// first are judged by their attributes alone: one without the "normal" bit
/// (0x80) makes the folder non-empty, so an ordinary folder's ".." entry
/// already does. This is the behaviour hosts were built against and is kept.
/// A folder that cannot be listed counts as empty (true), and so do a null
/// path and one of 260 characters or more (it does not fit the work copy).
/// A path naming a file lists nothing and counts as empty; an empty path
/// lists the current drive's root ("\*"). One trailing backslash is ignored.
ZORUTILS_API bool FolderEmpty(const wchar_t* path);
