// Text input shared by the text-format readers: read a file whole, decide
// once whether it holds UTF-16LE or single-byte text, widen once, then scan
// the wide buffer with plain index loops.
//
// The encoding rule is the library's everywhere: UTF-16LE when
// StringIsUnicode(bytes, length, false) says so (a leading FF FE mark is
// then skipped), else one byte per code unit with no code page. Widening
// stops at the first zero byte of single-byte text (ConvertSingleByteToUnicode
// does), so the rest of such a file reads as zero units.
#pragma once

#include <zorutils/internal/Handles.h>
#include <zorutils/text/StringUtils.h>

#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace zor {

/// The largest file the readers take whole into memory, in bytes. Anything
/// bigger is refused before a size computation could overflow; widened it
/// would need twice as much again.
const unsigned int kMaxTextFileBytes = 0x3FFFFFF0u;

/// Opens `path` for shared reading (like fopen "rb") and takes its size.
/// False for a null or empty path, a file that cannot be opened, or one
/// larger than kMaxTextFileBytes.
inline bool OpenForReading(const wchar_t* path, FileHandle& file, unsigned int& size) {
  size = 0;
  if (!path || !*path) return false;
  file.reset(::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                           OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return false;
  LARGE_INTEGER length;
  if (!::GetFileSizeEx(file.get(), &length) || length.QuadPart < 0 ||
      length.QuadPart > static_cast<LONGLONG>(kMaxTextFileBytes))
    return false;
  size = static_cast<unsigned int>(length.QuadPart);
  return true;
}

/// Reads up to `size` bytes into `data`; the count read (less when the file
/// shrank meanwhile), or -1 on a read error.
inline long long ReadAll(HANDLE file, unsigned char* data, unsigned int size) {
  unsigned int done = 0;
  while (done < size) {
    DWORD got = 0;
    if (!::ReadFile(file, data + done, size - done, &got, nullptr)) return -1;
    if (got == 0) break;
    done += got;
  }
  return done;
}

/// What ConvertSingleByteToUnicode(bytes, count, wide, count, false) does, in
/// one pass instead of a zero-fill and a copy (which matters for files of
/// megabytes): each byte widened until the first zero byte, then zero units
/// to the end. `wide` holds `count` units.
inline void WidenSingleBytes(const unsigned char* bytes, unsigned int count, wchar_t* wide) {
  unsigned int i = 0;
  for (; i < count && bytes[i]; ++i) wide[i] = bytes[i];
  for (; i < count; ++i) wide[i] = 0;
}

/// Wide text made from raw bytes: either the bytes themselves (UTF-16LE at an
/// aligned address) or an owned widened copy. Unit `start()` is the first
/// after a byte-order mark; `size()` counts every unit including the mark.
class WideText {
public:
  WideText() = default;
  ~WideText() { std::free(m_owned); }
  WideText(const WideText&) = delete;
  WideText& operator=(const WideText&) = delete;

  /// Detects the encoding of `byteCount` bytes and widens when needed. False
  /// only when memory runs out. An odd last byte of UTF-16 text is ignored.
  bool Load(const unsigned char* bytes, unsigned int byteCount) {
    std::free(m_owned);
    m_owned = nullptr;
    m_text = L"";
    m_size = m_start = m_bytes = 0;
    if (!bytes || byteCount == 0) return true;
    const int checked = byteCount > 0x7FFFFFFFu ? 0x7FFFFFFF : static_cast<int>(byteCount);
    if (!StringIsUnicode(bytes, checked, false)) {
      wchar_t* wide = Own(byteCount);
      if (!wide) return false;
      WidenSingleBytes(bytes, byteCount, wide);
      m_text = wide;
      m_size = byteCount;
      return true;
    }
    m_size = byteCount / 2;
    if (reinterpret_cast<std::uintptr_t>(bytes) % alignof(wchar_t) == 0) {
      m_text = reinterpret_cast<const wchar_t*>(bytes);
    } else {
      // A host's buffer at an odd address: copy rather than read misaligned.
      wchar_t* copy = Own(m_size);
      if (!copy) return false;
      std::memcpy(copy, bytes, static_cast<size_t>(m_size) * sizeof(wchar_t));
      m_text = copy;
    }
    m_start = StringHasUnicodeHeader(bytes) ? 1 : 0;
    return true;
  }

  /// Reads the file at `path` whole and makes it wide text, as Load does
  /// with its bytes. The bytes are read into the upper part of the wide
  /// buffer and widened in place, front to back (unit i is written only
  /// after byte i is read, and never reaches a byte not yet read), so a file
  /// costs one block of twice its size, not three. False when the file cannot
  /// be opened or read, or memory runs out.
  bool LoadFile(const wchar_t* path) {
    std::free(m_owned);
    m_owned = nullptr;
    m_text = L"";
    m_size = m_start = m_bytes = 0;
    FileHandle file;
    unsigned int size = 0;
    if (!OpenForReading(path, file, size)) return false;
    wchar_t* wide = Own(size);
    if (!wide) return false;
    unsigned char* raw = reinterpret_cast<unsigned char*>(wide) + size + 2;
    const long long got = ReadAll(file.get(), raw, size);
    if (got < 0) return false;
    const unsigned int n = static_cast<unsigned int>(got);
    m_bytes = n;
    m_text = wide;
    if (n == 0) return true;
    if (!StringIsUnicode(raw, n > 0x7FFFFFFFu ? 0x7FFFFFFF : static_cast<int>(n), false)) {
      WidenSingleBytes(raw, n, wide);
      wide[n] = 0;
      m_size = n;
      return true;
    }
    m_start = StringHasUnicodeHeader(raw) ? 1 : 0;
    m_size = n / 2;
    std::memmove(wide, raw, static_cast<size_t>(m_size) * sizeof(wchar_t));
    wide[m_size] = 0;
    return true;
  }

  const wchar_t* data() const { return m_text; }
  /// The byte count read by LoadFile (0 after Load).
  unsigned int bytes() const { return m_bytes; }
  unsigned int size() const { return m_size; }
  unsigned int start() const { return m_start; }

private:
  // A fresh owned block of `units` + 1 units, the last one zero.
  wchar_t* Own(unsigned int units) {
    std::free(m_owned);
    m_owned = static_cast<wchar_t*>(std::malloc((static_cast<size_t>(units) + 1) * sizeof(wchar_t)));
    if (m_owned) m_owned[units] = 0;
    return m_owned;
  }

  wchar_t* m_owned = nullptr;
  const wchar_t* m_text = L"";
  unsigned int m_size = 0;
  unsigned int m_start = 0;
  unsigned int m_bytes = 0;
};

}  // namespace zor
