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
  /// Opens the session (system proxy settings). `contact` (may be null) is
  /// an address such as a mail address or a web page, cut to 127 characters.
  explicit MyInternetAccess(const wchar_t* contact = nullptr);
  /// The same with the host's own name and version in the user agent,
  /// "<application>/<version> ( <contact> )", as services such as the music
  /// catalogue ask of their callers. Name cut to 47 characters, version to
  /// 23, contact to 111; a null or empty name falls back to the constructor
  /// above.
  MyInternetAccess(const wchar_t* application, const wchar_t* version, const wchar_t* contact);
  /// Closes the session. Downloads started with it keep running: each has a
  /// session of its own with this user agent.
  ~MyInternetAccess();
  /// Whether the session is open.
  bool IsOpen() const;
  /// The WinINet session handle (an HINTERNET), or null.
  void* Session() const;
  /// The user agent sent with every request.
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
class ZORFUTLS_API CInternetDownload {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  CInternetDownload();
  /// Terminates a running download and waits for its thread.
  ~CInternetDownload();

  /// Starts downloading `url` into `destinationFile`. `flags` is reserved
  /// (0). Non-zero when the download has started (the busy flag is then
  /// set); 0 for a null or closed session, a null or empty URL or file name,
  /// a URL that is not http or https, a download already running, or a
  /// thread that cannot start.
  int StartDownload(MyInternetAccess* session, const wchar_t* url,
                    const wchar_t* destinationFile, int flags);
  /// Asks a running download to stop; it ends soon after (as failed). Does
  /// not wait.
  void TerminateDownload();

  /// Set from StartDownload until the download has ended, well or not.
  bool IsBusy() const;
  /// Whether the last download ended complete with a 2xx status (false
  /// while busy).
  bool Succeeded() const;
  /// The HTTP status of the last reply (0 before one arrived).
  unsigned long StatusCode() const;
  /// The length the reply announced (Content-Length; 0 when it announced
  /// none), and the bytes received so far. Safe to read from any thread.
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
