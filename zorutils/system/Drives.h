// Drives: the kind of drive a path lives on, free space, and a check for a
// disk driver known to upset the host applications.
#pragma once

#include <zorutils/Export.h>

/// Whether the drive of `path` (everything up to and including its first '\'
/// or '/') is a fixed disk. False for null, empty or separator-less paths.
/// `path` is not changed.
ZORUTILS_API bool IsOnLocalHardDrive(wchar_t* path);
/// Kilobytes free on the volume of `path` (its "X:\" root, or the whole path
/// when it has no ':'). A UNC path that names a share but whose space cannot
/// be read is assumed to have 2048000 KB (2000 MB). 0 when nothing is known,
/// for null, and for a root part of 260 characters or more (it does not fit
/// the work copy).
ZORUTILS_API double GetKBFree(const wchar_t* path);
/// While logging is on, logs "X:\ has N.NN MB free." for each fixed disk,
/// giving up on further drives after 20 seconds.
ZORUTILS_API void LogCurrentHardDriveSpace();
/// True when C: is a fixed disk and the file "intelata.exe" in
/// "C:\program files\intel\intel application accelerator" carries version
/// information.
ZORUTILS_API bool BadIntelAppAcceleratorInstalled();
