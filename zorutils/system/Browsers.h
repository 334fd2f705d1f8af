// Browsers: opening a web address or a file in the user's browser.
#pragma once

#include <zorutils/Export.h>

#include <windows.h>

/// Opens `target` (an address or a file) with the shell. When that fails, the
/// program registered for ".html" is run with `target` as its parameters,
/// and when that fails too, Internet Explorer at its usual place. True when
/// the last attempt made started something; false for a null target.
/// `showCommand` is a SW_ value for the started window; `ownerWindow` (may be
/// null) owns any message the shell shows. Returns once the program is
/// started, not when it ends.
ZORUTILS_API bool LaunchBrowser(const wchar_t* target, HWND ownerWindow, int showCommand);
