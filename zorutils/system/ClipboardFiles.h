// ClipboardFiles: the names of files copied to the clipboard (the shell's
// dropped-files format, CF_HDROP).
#pragma once

#include <zorutils/Export.h>

/// How many file names the clipboard holds; 0 when it holds none or cannot be
/// opened (for instance while another window has it open).
ZORUTILS_API int NumFileNamesOnClipboard();
/// The file name at `index` (from 0) into `buffer`, cut to capacity - 1
/// units and terminated: wchar_t for the W form, bytes of the ANSI code page
/// for the A form (which may cut a double-byte character in two). The buffer
/// is empty when there is no such name (a negative index too), no file list
/// on the clipboard, or the clipboard cannot be opened. Nothing happens for a
/// null buffer or a capacity below 1.
ZORUTILS_API void GetFileNameFromClipboardA(int index, char* buffer, int capacity);
ZORUTILS_API void GetFileNameFromClipboardW(int index, wchar_t* buffer, int capacity);
