// RegistryStrings: one string value read or written in one call.
#pragma once

#include <zorutils/Export.h>

#include <windows.h>

/// Reads the string value `valueName` of `root`\`subKey` into `buffer`, cut
/// to capacity - 1 characters and always terminated. True when the key could
/// be opened, whether or not the value exists: a missing value reads as an
/// empty string, on purpose. False (buffer untouched when null, else empty)
/// for a null pointer, a capacity of 0 or a key that cannot be opened.
ZORUTILS_API bool GetRegistryString(HKEY root, const wchar_t* subKey, const wchar_t* valueName,
                                    wchar_t* buffer, unsigned long capacity);
/// Creates `root`\`subKey` when needed and stores `text` as the string value
/// `valueName`. True once the key is open (the write itself is not checked);
/// false for a null argument or a key that cannot be created.
ZORUTILS_API bool WriteRegistryString(HKEY root, const wchar_t* subKey, const wchar_t* valueName,
                                      const wchar_t* text);
