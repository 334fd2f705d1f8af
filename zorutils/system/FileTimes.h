// FileTimes: comparing the last-write times of two files.
#pragma once

#include <zorutils/Export.h>

/// -1 when `file1` was last written before `file2`, 0 when at the same time,
/// +1 when later. -100 when either file is missing (or null, or a folder),
/// cannot be opened for reading (also while another program holds it open
/// for writing: only shared reading is allowed), or has no readable
/// last-write time. The A form takes names in the ANSI code page.
ZORUTILS_API int CompareFileTimeStampsA(const char* file1, const char* file2);
ZORUTILS_API int CompareFileTimeStampsW(const wchar_t* file1, const wchar_t* file2);
