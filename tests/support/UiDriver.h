// Driving real windows and modal dialogs from a test: one shared top-level
// window (destroying top-level windows is slow under Wine, so tests put
// child windows on this one), and a helper thread that finds a dialog of the
// test's thread, reads its controls and presses its buttons while the test's
// thread sits in the modal call.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

namespace zortest {

/// The program's shared visible top-level window, made on first use by the
/// calling (user-interface) thread and never destroyed.
HWND SharedTopWindow();
/// A visible dialog (class #32770) of thread `threadId`, waited for at most
/// `timeoutMs`; null when none showed.
HWND WaitForDialog(DWORD threadId, DWORD timeoutMs = 15000);
/// Runs `modal` on this thread while `drive` gets the dialog it opened, on a
/// helper thread (not called when no dialog showed). Returns `modal`'s result.
/// `drive` must end the dialog; it records what it saw, the test asserts after.
int DriveModal(const std::function<void(HWND dialog)>& drive, const std::function<int()>& modal);

/// Texts of a window and of a dialog's control.
std::wstring Text(HWND window);
std::wstring ItemText(HWND dialog, int id);
/// Whether a dialog's control has the visible style.
bool ItemShown(HWND dialog, int id);
/// A control's rectangle in its dialog's client coordinates.
RECT ItemRect(HWND dialog, int id);
/// The window with the keyboard focus in thread `threadId`.
HWND FocusOf(DWORD threadId);
/// Clicks a dialog's button as the user would (BM_CLICK, posted: presses are
/// handled in order, and a thread that stopped pumping blocks no one).
void Press(HWND dialog, int id);

}  // namespace zortest
