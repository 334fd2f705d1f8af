// Hooks that let the tests reach behaviour a real system no longer shows
// (an old kernel without a function, an old version record). Exported for the
// test programs only; hosts have no use for them and the umbrella header
// leaves this file out.
#pragma once

#include <zorutils/Export.h>

/// Makes CLock behave as on a system without TryEnterCriticalSection (true),
/// or look it up again at the next construction (false).
ZORUTILS_API void ZorTest_HideTryEnterCriticalSection(bool hide);

#include <windows.h>

/// Makes GetWindowsSystemVersion decode `record` instead of asking the system
/// (as a 95-family or other old system would answer); null asks the system
/// again. A record whose dwOSVersionInfoSize is 0 stands for a system on
/// which both version queries fail. The record is copied.
ZORUTILS_API void ZorTest_UseVersionRecord(const OSVERSIONINFOEXW* record);

/// Makes the promo player read the time from `clock` instead of the tick
/// count (transitions, owner-drawn backgrounds); null restores the tick count.
ZORUTILS_API void ZorTest_SetPromoClock(DWORD (*clock)());

/// Makes the wide scans behind CCOMString and the XML scanner use their plain
/// loops (true) instead of the vector code, as on a processor without SSE2.
ZORUTILS_API void ZorTest_UsePlainWideScans(bool plain);

/// Shortens the music lookup's pacing (version 2): the interval between two
/// requests of the process and the length of one second of a Retry-After
/// pause, in milliseconds. 0 restores the real 1000. Either way the next
/// request may go at once.
ZORUTILS_API void ZorTest_SetLookupPacing(DWORD intervalMs, DWORD secondMs);

/// Makes OpenWebAddress (and so the catalogue and its advertisement dialog)
/// hand accepted addresses to `launcher` instead of LaunchBrowser; null
/// restores LaunchBrowser.
ZORUTILS_API void ZorTest_SetWebLauncher(bool (*launcher)(const wchar_t* address, HWND owner));
