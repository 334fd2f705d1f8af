// Internet downloads of the foundation library: one WinINet session per host
// (MyInternetAccess) and downloads of one URL into one file, each on its own
// thread (CInternetDownload). HTTP and HTTPS.
#pragma once

#include <zorfutls/zorfutls.h>

/// An open WinINet session. Its user agent names this library, its version
/// and a contact address, "zorfutls/<version> ( <contact> )" (the contact
/// part only when one is set), so that a service can tell who is calling.
class ZORFUTLS_API MyInternetAccess {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Opens the session (system proxy settings); IsOpen tells whether that
  /// worked. `contact` (may be null or empty: then left out) is an address
  /// such as a mail address or a web page, cut to 127 units.
  explicit MyInternetAccess(const wchar_t* contact = nullptr);
  /// The same with the host's own name and version in the user agent,
  /// "<application>/<version> ( <contact> )", as services such as the music
  /// catalogue ask of their callers. Name cut to 47 units, version to 23,
  /// contact to 111; a null version counts as empty, a null or empty contact
  /// is left out, and a null or empty name gives "zorfutls/<library version>"
  /// followed by the contact (still cut to 111).
  MyInternetAccess(const wchar_t* application, const wchar_t* version, const wchar_t* contact);
  /// Closes the session. Downloads started with it keep running: each has a
  /// session of its own with this user agent.
  ~MyInternetAccess();
  /// Whether the session is open.
  bool IsOpen() const;
  /// The WinINet session handle (an HINTERNET, still this object's), or null.
  void* Session() const;
  /// The user agent sent with every request (at most 191 units).
  const wchar_t* UserAgent() const;

private:
  MyInternetAccess(const MyInternetAccess&) = delete;
  MyInternetAccess& operator=(const MyInternetAccess&) = delete;

  void* m_session;
  wchar_t m_userAgent[192];
};

/// One download of a URL into a file, on a thread of its own. The file
/// appears under its name only complete: the reply is written to a temporary
/// file beside it and moved into place (replacing an older file) when the
/// whole reply has arrived with a 2xx status. A failed, refused (any status
/// other than 2xx) or terminated download never touches that name: an older
/// file there stays as it was, and no file appears where there was none.
/// The temporary file is named "<file>.<thread id in hex>.part"; the folder
/// must exist and be writable. One download at a time per object; the object
/// may be started again once it is no longer busy. Not copyable.
class ZORFUTLS_API CInternetDownload {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Idle: not busy, no results yet (all counters 0).
  CInternetDownload();
  /// Terminates a running download and waits for its thread (which does not
  /// wait for the server: WinINet is used asynchronously).
  ~CInternetDownload();

  /// Starts downloading `url` into `destinationFile`. `flags` is reserved
  /// (0). Non-zero when the download has started (the busy flag is then
  /// set); 0 for a null or closed session, a null or empty URL or file name,
  /// a URL that is not http or https, has no host or holds control
  /// characters (a line break would forge request headers), a download
  /// already running, or a thread that cannot start. The URL and file name
  /// are copied, and the download keeps a session of its own: `session` may
  /// be destroyed while it runs. A start refused for its arguments or
  /// because a download is running leaves the previous results as they were.
  int StartDownload(MyInternetAccess* session, const wchar_t* url,
                    const wchar_t* destinationFile, int flags);
  /// Asks a running download to stop; it ends soon after (as failed, its
  /// temporary file deleted). Does not wait; nothing when none is running.
  void TerminateDownload();

  /// Set from StartDownload until the download has ended, well or not.
  bool IsBusy() const;
  /// Whether the last download ended complete with a 2xx status (false
  /// while busy).
  bool Succeeded() const;
  /// The HTTP status of the last reply (0 before one arrived, or when none
  /// did).
  unsigned long StatusCode() const;
  /// The length in bytes the reply announced (Content-Length; 0 when it
  /// announced none), and the bytes received and written so far. A reply
  /// that ends short of its announced length fails. Safe to read from any
  /// thread; both are reset by StartDownload.
  unsigned long TotalBytes() const;
  unsigned long ReceivedBytes() const;
  /// The delay in seconds that the last reply asked for in a Retry-After
  /// header (a number of seconds, or a date reckoned against the reply's own
  /// Date), at most one day; 0 when it had none or is still awaited.
  unsigned long RetryAfterSeconds() const;

private:
  CInternetDownload(const CInternetDownload&) = delete;
  CInternetDownload& operator=(const CInternetDownload&) = delete;

  static unsigned long __stdcall ThreadMain(void* self);
  void Run();

  void* m_session;          // the download's own asynchronous HINTERNET session
  void* m_thread;           // the download thread's handle, or null
  wchar_t* m_url;           // owned copies for the thread
  wchar_t* m_file;
  volatile long m_busy;
  volatile long m_stop;
  volatile long m_succeeded;
  volatile unsigned long m_status;
  volatile unsigned long m_total;
  volatile unsigned long m_received;
  void* m_job;              // what the thread shares with WinINet while it runs
  CRITICAL_SECTION m_lock;  // guards m_job against TerminateDownload
};
