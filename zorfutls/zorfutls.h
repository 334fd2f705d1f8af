// zorfutls: the foundation library under zorutils.
//
// Logging, file-name helpers, a small registry-key object and internet
// downloads. Everything here
// is safe to call with null or empty arguments: it then does nothing and
// returns 0, false or null.
#pragma once

#include <windows.h>

// Reads the member offsets of the exported classes at compile time (zorutils/internal/Layouts.cpp).
namespace zor {
struct Layouts;
}

#if defined(ZORFUTLS_BUILDING)
#define ZORFUTLS_API __attribute__((dllexport))
#elif defined(__GNUC__)
#define ZORFUTLS_API __attribute__((dllimport))
#else  // Visual C++ hosts: the SDK's own import attribute
#define ZORFUTLS_API DECLSPEC_IMPORT
#endif

// ---------------------------------------------------------------------------
// Logging
//
// A line goes to the log file (when one is set), to the debugger output and to
// the host's sink (when one is set), but only while logging is switched on.
// Logging starts switched off. All logging calls may be made from any thread.
// ---------------------------------------------------------------------------

/// Receives every logged line, exactly as logged (no time stamp, no line end).
typedef void (*ZorLogSink)(const wchar_t* line, void* user);

/// Writes one line. A null text does nothing.
ZORFUTLS_API void Log(const wchar_t* text);
/// Formats one line printf-style (Microsoft conventions: %s is a wide string)
/// and logs it. Output of any length is kept whole.
ZORFUTLS_API void LogFmt(const wchar_t* format, ...);
/// Non-zero while logging is switched on: callers guard costly log lines with it.
ZORFUTLS_API bool LoggingNow();

/// Switches logging on or off.
ZORFUTLS_API void SetLogging(bool on);
/// Chooses the log file (appended to, UTF-8, one time-stamped line per call);
/// null or empty closes the current file and logs to no file. False when the
/// file cannot be opened (logging then goes to no file).
ZORFUTLS_API bool SetLogFile(const wchar_t* path);
/// Installs (or, with null, removes) the host's line sink.
ZORFUTLS_API void SetLogSink(ZorLogSink sink, void* user);

// ---------------------------------------------------------------------------
// File names
//
// Output buffers are MAX_PATH (260) characters; longer results are cut to 259
// characters and terminated.
// ---------------------------------------------------------------------------

/// Non-zero if something (a file or a folder) exists at `path`.
ZORFUTLS_API int DoesFileExist(const wchar_t* path);
/// Fills `ext` with the extension of the path's last component (the text after
/// its last '.'), with the dot when `withDot` is 1. Returns non-zero if there is
/// one; otherwise `ext` is made empty and 0 is returned.
ZORFUTLS_API int ExtractExtension(const wchar_t* path, wchar_t* ext, int withDot);
/// Fills `name` with the last component of `path` (after the last '\', '/' or
/// ':'). Returns non-zero on success; 0 (and an empty `name`) when the path is
/// null, empty or ends with a separator.
ZORFUTLS_API int ExtractFileName(const wchar_t* path, wchar_t* name);

// ---------------------------------------------------------------------------
// Registry keys
// ---------------------------------------------------------------------------

/// One open registry key. Constructed on a root key (HKEY_CURRENT_USER ...),
/// which it borrows and never closes; keys made by GetSubKey own their handle.
class ZORFUTLS_API CRegKey {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  explicit CRegKey(HKEY root);
  ~CRegKey();

  /// Opens `path` below this key for reading; a new object (release it with
  /// DeleteRegKey) or null when the key does not exist or cannot be opened.
  CRegKey* GetSubKey(const wchar_t* path);
  /// Whether a value named `name` exists in this key.
  bool SubKeyExists(const wchar_t* name);
  /// The value `name` as a number: a DWORD or QWORD (low 32 bits) as stored, a
  /// string read as a decimal number; 0 when missing or of another type.
  unsigned long GetKeyNum(const wchar_t* name);
  /// The value `name` as a string into `out` (capacity `outChars`, cut to fit
  /// and always terminated). False, with `out` empty, when it is missing or
  /// not a string.
  bool GetKeyString(const wchar_t* name, wchar_t* out, unsigned long outChars);
  /// The handle itself (null for a failed object).
  HKEY GetHandle() const { return m_key; }

private:
  CRegKey(HKEY key, bool owned);
  CRegKey(const CRegKey&) = delete;
  CRegKey& operator=(const CRegKey&) = delete;

  HKEY m_key;
  bool m_owned;
};

/// Releases a key object returned by CRegKey::GetSubKey (null is ignored).
/// The registry key itself is left as it is.
ZORFUTLS_API void DeleteRegKey(CRegKey* key);

#include <zorfutls/InternetDownload.h>
