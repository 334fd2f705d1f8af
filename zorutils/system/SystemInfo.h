// SystemInfo: the processor's clock rate, the system's version, and whether
// it is natively wide-character and themed.
#pragma once

#include <zorutils/Export.h>

/// Version codes of GetWindowsSystemVersion. They are not in release order
/// (8, unknown, lies between XP and Vista), and comparisons such as "7 or
/// more" in this library count on these very numbers.
enum {
  kWinVer95 = 0,
  kWinVer95OSR2 = 1,
  kWinVer98 = 2,
  kWinVer98SE = 3,
  kWinVerMe = 4,
  kWinVerNT4 = 5,
  kWinVer2000 = 6,
  kWinVerXP = 7,
  kWinVerUnknown = 8,
  kWinVerVista = 9,
  kWinVer7 = 10
};

/// The processor's clock rate in MHz from the registry value "~MHZ" of the
/// first processor; 0 when the key or value is missing.
ZORUTILS_API unsigned long CPUSpeed();
/// The version code above. When `text` is not null a readable line is
/// appended to it, e.g. "Microsoft Windows XP Service Pack 3 (Build 2600)\n";
/// `text` must be terminated (empty to start) and hold what it already has
/// plus 256 characters (the longest line is well below that; the service-pack
/// text is taken to at most 127 characters). 95-family systems get the name only; unknown
/// NT systems get the product kind ("Professional ", "Server ", "Advanced
/// Server ") in place of a name. 8 when the version cannot be read.
ZORUTILS_API int GetWindowsSystemVersion(wchar_t* text);
/// True for the NT family (version code above 4), the unknown code included.
ZORUTILS_API bool OSIsNativeUnicode();
/// False before XP (code below 7); otherwise true unless the user's visual
/// effects setting ("VisualFXSetting") is 2, best performance; a missing key
/// or value counts as themed.
ZORUTILS_API bool SystemUsesXPThemes();
