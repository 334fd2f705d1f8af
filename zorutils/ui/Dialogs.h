// Dialogs: the localised message dialog with its do-not-ask box, the
// modeless progress dialog, and the common open/save dialog with centring.
//
// The message dialog's texts, icon and do-not-ask state, and the progress
// meters' aborted flag, exist once for the whole library: use them from the
// user-interface thread, one message dialog at a time.
//
// Text lengths and buffer sizes are in wchar_t code units; cutting is by
// code units (a surrogate pair at the cut may be split).
#pragma once

#include <zorutils/Export.h>
#include <zorutils/ui/DialogResources.h>

#include <windows.h>

/// Message flags beyond the system's message-box values: shows the
/// do-not-ask check box.
#define ZOR_MB_DONOTASK 0x10000

/// Shows the text of `key` from `stringFile` (null: the process-wide string
/// files; the key itself when missing, empty for a null key; escapes become
/// line breaks; at most 2047 characters) in the library's message dialog,
/// modal to `owner` (may be null), and returns the identifier of the button
/// that closed it: IDOK, IDCANCEL, IDYES or IDNO (the close box and Escape
/// give IDCANCEL). When the dialog cannot be made, what the system's
/// DialogBoxParam answers: -1, or 0 for an owner that is not a window.
/// A message too tall for the work area is clipped, the buttons kept on it.
/// `flags`: the low four bits choose the buttons (MB_OKCANCEL, MB_YESNOCANCEL,
/// MB_YESNO, anything else OK only); any of 0x30 shows the exclamation icon
/// (so MB_ICONQUESTION and MB_ICONSTOP do too), else 0x40 the information
/// icon; ZOR_MB_DONOTASK adds the do-not-ask box. `customIcon`, when not 0,
/// is an icon resource number of zorutils.dll shown instead (none when the
/// library has no such icon). `title` is cut to 259 characters; null is empty.
ZORUTILS_API int UT_MyMessageBox(HWND owner, const wchar_t* key, unsigned int flags,
                                 const wchar_t* title, int customIcon, const wchar_t* stringFile);
/// The same with a ready message text (escapes \r and \n still become line
/// breaks; null is empty); a text longer than 2047 characters is cut.
ZORUTILS_API int UT_MyMessageStr(HWND owner, const wchar_t* text, unsigned int flags,
                                 const wchar_t* title, int customIcon);
/// UT_MyMessageBox with the title looked up too (key `titleKey` in
/// `stringFile`, read up to 512 characters and then cut to 259; a null key
/// gives an empty title) and no custom icon.
ZORUTILS_API int UT_MyDialog(HWND owner, const wchar_t* key, const wchar_t* titleKey,
                             unsigned int flags, const wchar_t* stringFile);
/// 1 when the do-not-ask box of the last message dialog was checked as a
/// button closed it, else 0; 1 also when it was closed with its close box
/// (the box is not read then). The library keeps no record of the choice:
/// the host stores it with its own settings. 0 before the first dialog.
ZORUTILS_API int UT_DoNotAskLastMessageAgain();

/// A modeless progress dialog with a bar and a Cancel button. The aborted flag
/// is one flag for all meters: Show clears it, Cancel sets it.
class ZORUTILS_API CProgressMeter {
public:
  /// Hidden: both handles null.
  CProgressMeter();
  /// Hides the dialog.
  ~CProgressMeter();

  /// Creates and shows the dialog owned by `owner` (may be null), centred on
  /// it, with the bar's range 0..`range` at 0 and `title` (null: empty) as its
  /// caption; clears the aborted flag. A meter already shown is hidden first.
  /// 1 when created, 0 when not (the meter then stays hidden).
  int Show(HWND owner, int range, const wchar_t* title);
  /// Moves the bar to `position`, then dispatches every message waiting for
  /// this thread so that Cancel works while the host computes. A WM_QUIT met
  /// there is posted again for the host's own loop. The bar keeps a position
  /// outside its range at the nearer end. Nothing while hidden.
  void SetProgress(int position);
  /// Hides and destroys the dialog, if shown.
  void Hide();
  /// Whether the dialog is shown (its handle is set; a dialog the system
  /// destroyed with its owner still counts until Hide).
  bool IsVisible();
  /// Whether the dialog's Cancel command came (its button, or Escape while
  /// SetProgress dispatches) since the last Show of any meter. Cancel only
  /// sets the flag: the dialog stays until Hide.
  bool UserAborted();

  HWND m_hDlg;    ///< the dialog, null while hidden
  HWND m_hOwner;  ///< the owner given to Show
};
static_assert(sizeof(CProgressMeter) == 2 * sizeof(void*), "CProgressMeter is its two handles");

/// Runs the common open (`open` non-zero) or save dialog, centred on `owner`.
/// `file` and `fileTitle` (may be null) are caller buffers of `bufChars`
/// code units with the terminator; `file` holds the initial name (it must
/// be terminated). `filter`, `defaultExt`, `title` and `initialDir` may be
/// null, as the system dialog allows. `filterIndex` (may be null) is
/// the filter chosen at start and receives the one chosen at the end.
/// Open adds OFN_EXPLORER | OFN_ENABLEHOOK | OFN_HIDEREADONLY |
/// OFN_FILEMUSTEXIST (0x81024) to `extraFlags`, save OFN_EXPLORER |
/// OFN_ENABLEHOOK | OFN_HIDEREADONLY | OFN_OVERWRITEPROMPT (0x80026); the
/// hook only centres the dialog. Returns what the system dialog
/// returned (non-zero when the user chose a file; FALSE on cancel, on an
/// error, or for a null `file` or `bufChars` below 1, which show nothing).
ZORUTILS_API BOOL DoStandardFileDialog(HINSTANCE instance, HWND owner, wchar_t* file,
                                       wchar_t* fileTitle, int bufChars, int open,
                                       const wchar_t* filter, const wchar_t* defaultExt,
                                       const wchar_t* title, const wchar_t* initialDir,
                                       DWORD* filterIndex, DWORD extraFlags);
