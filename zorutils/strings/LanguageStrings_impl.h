// The library's load and unload work for the string files, called by the
// DLL entry point only.
#pragma once

#include <windows.h>

/// Creates the look-up lock and the cache, keeps the module handle and sets
/// the utilities string file to the executable's folder + "utility-strings.ini".
void ZorStringsAttach(HINSTANCE module);
/// Frees the cache and deletes the look-up lock.
void ZorStringsDetach();
/// The library's own module handle (for its dialog templates).
HINSTANCE ZorModule();
