// zorfutls: the foundation library under zorutils.
//
// Logging, file-name helpers, a small registry-key object and internet
// downloads. Everything here is safe to call with null or empty arguments:
// unless its comment says otherwise it then does nothing and returns 0,
// false or null. Text is UTF-16 (wchar_t); character counts and capacities
// are in wchar_t code units and include the terminator; nothing here avoids
// splitting a surrogate pair where text is cut.
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

/// Receives every logged line, exactly as logged (no time stamp, no line end),
/// on the logging thread and under the log's lock: lines are delivered one at
/// a time. The sink may log itself, but a line it logs comes back to it, so it
/// must not do so unconditionally.
typedef void (*ZorLogSink)(const wchar_t* line, void* user);

/// Writes one line (when logging is on). A null text does nothing. Line
/// breaks inside the text are written as they are.
ZORFUTLS_API void Log(const wchar_t* text);
/// Formats one line printf-style (Microsoft conventions: %s is a wide string)
/// and logs it. Output of any length up to 64 Mi units is kept whole; a
/// longer line, or one the runtime cannot format, is dropped. Nothing is
/// formatted while logging is off. A null format does nothing.
ZORFUTLS_API void LogFmt(const wchar_t* format, ...);
/// Non-zero while logging is switched on: callers guard costly log lines with it.
ZORFUTLS_API bool LoggingNow();

/// Switches logging on or off, for every thread at once.
ZORFUTLS_API void SetLogging(bool on);
/// Chooses the log file (created if missing, appended to, UTF-8 without a
/// mark, one line per call stamped with the local time "[hh:mm:ss.mmm] " and
/// ended by CR LF); null or empty closes the current file and logs to no
/// file, returning true. False when the file cannot be opened (logging then
/// goes to no file). Other processes may read and write the file meanwhile.
ZORFUTLS_API bool SetLogFile(const wchar_t* path);
/// Installs (or, with null, removes) the host's line sink; `user` is passed
/// back with every line. Replacing the sink waits for a line being delivered.
ZORFUTLS_API void SetLogSink(ZorLogSink sink, void* user);

// ---------------------------------------------------------------------------
// File names
//
// Output buffers must hold MAX_PATH (260) units; longer results are cut to
// 259 units and terminated.
// ---------------------------------------------------------------------------

/// Non-zero if something (a file or a folder) exists at `path` (its
/// attributes can be read); 0 for null or empty.
ZORFUTLS_API int DoesFileExist(const wchar_t* path);
/// Fills `ext` with the extension of the path's last component (the text after
/// its last '.'; the components are split at '\', '/' and ':'), with the dot
/// when `withDot` is 1 (any other value: without). A name that starts with its
/// only dot (".profile") has the extension "profile". Returns non-zero if there
/// is one; otherwise (no dot, a trailing dot, a null path) `ext` is made empty
/// and 0 is returned. Nothing for a null `ext`.
ZORFUTLS_API int ExtractExtension(const wchar_t* path, wchar_t* ext, int withDot);
/// Fills `name` with the last component of `path` (after the last '\', '/' or
/// ':'). Returns non-zero on success; 0 (and an empty `name`) when the path is
/// null, empty or ends with a separator. Nothing for a null `name`.
ZORFUTLS_API int ExtractFileName(const wchar_t* path, wchar_t* name);

// ---------------------------------------------------------------------------
// Registry keys
// ---------------------------------------------------------------------------

/// One open registry key. Constructed on a root key (HKEY_CURRENT_USER ...),
/// which it borrows and never closes; keys made by GetSubKey own their handle.
/// Only reads. Not copyable. A null root gives an object on which every query
/// fails.
class ZORFUTLS_API CRegKey {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Borrows `root` (never closed by this object).
  explicit CRegKey(HKEY root);
  /// Closes the handle when this object owns it.
  ~CRegKey();

  /// Opens `path` below this key for reading; a new object (release it with
  /// DeleteRegKey) or null when the key does not exist or cannot be opened,
  /// or `path` is null.
  CRegKey* GetSubKey(const wchar_t* path);
  /// Whether a value named `name` exists in this key (despite the name, a
  /// value, not a sub-key); a null or empty `name` asks about the key's
  /// default value.
  bool SubKeyExists(const wchar_t* name);
  /// The value `name` as a number: a DWORD or QWORD (low 32 bits) as stored; a
  /// string of at most 62 units read as a decimal number the way wcstoul
  /// does (leading blanks skipped, reading stops at the first non-digit, "-1"
  /// gives 4294967295, overflow gives 4294967295); 0 when missing, of another
  /// type, or a longer string. A null or empty `name` reads the default value.
  unsigned long GetKeyNum(const wchar_t* name);
  /// The value `name` (REG_SZ or REG_EXPAND_SZ, not expanded) as a string into
  /// `out` (capacity `outChars` units, cut to fit and always terminated; any
  /// length is read). False, with `out` empty, when it is missing or not a
  /// string; false without writing for a null `out` or `outChars` 0. A null
  /// or empty `name` reads the default value.
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

/// Releases a key object returned by CRegKey::GetSubKey (null is ignored):
/// closes its handle and deletes the object. The registry key itself is left
/// as it is.
ZORFUTLS_API void DeleteRegKey(CRegKey* key);

#include <zorfutls/InternetDownload.h>
