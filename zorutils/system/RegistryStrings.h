// RegistryStrings: one string value read or written in one call.
#pragma once

#include <zorutils/Export.h>

#include <windows.h>

/// Reads the string value `valueName` (empty: the key's default value) of
/// `root`\`subKey` into `buffer`, cut to capacity - 1 wchar_t units and
/// always terminated; the whole buffer is zero-filled first. True when the
/// key could be opened, whether or not the value exists: a missing value
/// reads as an empty string, on purpose. The value's type is not checked: a
/// number or binary value comes back as its raw bytes. False, buffer
/// untouched, for a null pointer or a capacity of 0; false with an empty
/// buffer for a key that cannot be opened.
ZORUTILS_API bool GetRegistryString(HKEY root, const wchar_t* subKey, const wchar_t* valueName,
                                    wchar_t* buffer, unsigned long capacity);
/// Creates `root`\`subKey` when needed and stores `text` as the string value
/// `valueName` (empty: the key's default value) of type REG_SZ, terminator
/// included. True once the key is open (the write itself is not checked, so
/// a refused write still answers true); false for a null argument or a key
/// that cannot be created.
ZORUTILS_API bool WriteRegistryString(HKEY root, const wchar_t* subKey, const wchar_t* valueName,
                                      const wchar_t* text);
