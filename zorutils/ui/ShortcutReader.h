// CShortcutReader: resolves shell shortcut files (".lnk") to the paths they
// point at, on a worker thread of its own.
//
// The worker owns its COM apartment and the shell-link object, so resolving
// never depends on (or disturbs) the COM state of the calling thread. One
// request is in flight at a time: the caller fills the request block, sets
// the request event and waits for the done event.
//
// Shutdown: the destructor asks the worker to stop, wakes it, waits for it
// to end and closes both events, so no thread or handle outlives the reader.
//
// Kept safe where the plain hand-over was not: the caller claims the busy
// flag under the lock before it fills the block (two threads can never both
// see an idle worker), the done event is reset before a request rather than
// after it, a reader that is stopping (or whose worker could not start COM)
// refuses at once instead of waiting for a worker that is gone, and the
// shell is told not to rewrite the user's shortcut files (SLR_NOUPDATE).
#pragma once

#include <zorutils/Export.h>
#include <zorutils/text/Locks.h>

#include <windows.h>

/// The request block shared by a reader and its worker.
struct TShortcutThreadProps {
  const wchar_t* pszShortcut;  // the shortcut file of the current request
  wchar_t* pszTarget;          // where its target goes
  int nTargetSize;             // capacity of pszTarget in characters
  HANDLE hDoneEvent;           // manual reset: the worker finished a request
  HANDLE hRequestEvent;        // manual reset: a request (or the stop order) waits
  DWORD dwTimeout;             // resolve time limit in milliseconds
  bool bAbort;                 // the worker is to stop
  bool bBusy;                  // the worker is starting up or resolving
};

class ZORUTILS_API CShortcutReader {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Timeout 50 ms. On systems with version code 5 (NT 4) or more, creates
  /// the events and starts the worker; older systems get a reader that
  /// refuses every request.
  CShortcutReader();
  /// Stops and joins the worker and closes the events.
  ~CShortcutReader();

  /// Resolves `shortcut` (without user interface, allowing the shell
  /// `timeoutMs` milliseconds, at most 65535, for its search; 0 lets the
  /// shell pick its default) and copies the target's path (at most 259
  /// units), cut to capacity - 1 code units and terminated, into `target`
  /// (`capacity` counts the terminator). True when a non-empty path came back. False, with `target`
  /// emptied where there is one, for null arguments, a capacity below 1, a
  /// reader without a worker or one that is stopping, a shortcut that cannot
  /// be read or one whose target has no file-system path. Waits while
  /// another request is in flight.
  bool GetShortcutTarget(const wchar_t* shortcut, wchar_t* target, int capacity, DWORD timeoutMs);
  /// Asks the worker to stop after its current request; from then on every
  /// request is refused. There is no undoing it.
  void RequestAbort();
  /// Whether the worker is starting up or a request is in flight.
  bool ThreadBusy();
  /// Whether stopping has been asked for (also set when the worker could
  /// not start COM or the shell-link object).
  bool AbortRequested();

private:
  CShortcutReader(const CShortcutReader&) = delete;
  CShortcutReader& operator=(const CShortcutReader&) = delete;

  static DWORD WINAPI WorkerMain(void* self);
  void Work();
  void SetBusy(bool busy);
  /// Claims the request block for the calling thread: false when the worker
  /// is busy.
  bool TryClaim();

  TShortcutThreadProps m_props;
  CLock m_lock;  // guards m_props.bAbort and m_props.bBusy
};

static_assert(sizeof(TShortcutThreadProps) == (sizeof(void*) == 4 ? 28 : 48),
              "TShortcutThreadProps: two strings, a capacity, two events, a timeout and two flags");
static_assert(sizeof(CShortcutReader) == sizeof(TShortcutThreadProps) + sizeof(CLock),
              "CShortcutReader is its request block and its lock");
