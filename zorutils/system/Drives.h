// Drives: the kind of drive a path lives on, free space, and a check for a
// disk driver known to upset the host applications.
#pragma once

#include <zorutils/Export.h>

/// Whether the drive of `path` (everything up to and including its first '\'
/// or '/') is a fixed disk. False for null, empty or separator-less paths.
/// `path` is not changed.
ZORUTILS_API bool IsOnLocalHardDrive(wchar_t* path);
/// Kilobytes (1024 bytes) free to the caller on the volume of `path` (its
/// "X:\" root, or the whole path when it has no ':' or no '\' after it). The
/// single-byte system call is asked first with the wide text as it stands, as
/// hosts have always seen: it reads just the first letter, as a relative
/// folder name; when no such folder exists it fails and the wide call
/// answers. A UNC path that
/// names a share but whose space cannot be read is assumed to have 2048000 KB
/// (2000 MB). 0 when nothing is known, for null, and for a root part of 260
/// characters or more (it does not fit the work copy).
ZORUTILS_API double GetKBFree(const wchar_t* path);
/// While logging is on, logs "X:\ has N.NN MB free." for each fixed disk
/// (MB of 1024 KB, from GetKBFree), giving up on further drives after 20
/// seconds. Nothing is logged when the drive list does not fit 260
/// characters.
ZORUTILS_API void LogCurrentHardDriveSpace();
/// True when C: is a fixed disk and the file "intelata.exe" in
/// "C:\program files\intel\intel application accelerator" carries version
/// information.
ZORUTILS_API bool BadIntelAppAcceleratorInstalled();
