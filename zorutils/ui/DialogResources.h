// Resource numbers of zorutils.dll's dialog templates and icons, and the
// control identifiers inside the templates. Plain defines, so that both the
// resource compiler and C++ read this file.
#pragma once

// Message dialog (UT_MyMessageBox and friends).
#define IDD_ZOR_MESSAGE 199
#define IDC_ZOR_MSG_ICON 1193
#define IDC_ZOR_MSG_TEXT 1194
#define IDC_ZOR_MSG_DONOTASK 1197
// Its buttons use the system's identifiers: IDOK 1, IDCANCEL 2, IDYES 6, IDNO 7.

// Progress dialog (CProgressMeter); its Cancel button is IDCANCEL (2).
#define IDD_ZOR_PROGRESS 248
#define IDC_ZOR_PROGRESS_BAR 1108

// The library's own icon, a custom icon number the message dialogs can show.
#define IDI_ZOR_UTILITIES 300

// Product advertisement dialog (UT_ShowProductAdvert). Its Download button is
// IDOK (1), its Close button IDCANCEL (2).
#define IDD_ZOR_ADVERT 260
#define IDC_ZOR_ADVERT_ICON 1260
#define IDC_ZOR_ADVERT_NAME 1261
#define IDC_ZOR_ADVERT_TEXT 1262
#define IDC_ZOR_ADVERT_LINK 1263
#define IDC_ZOR_ADVERT_DONOTSHOW 1264
