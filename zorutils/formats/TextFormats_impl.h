// Helpers shared by the INI and delimited-text classes: name matching
// (internal/NameMatch.h) and the byte buffer their Save builds before writing it in one go.
#pragma once

#include <zorutils/internal/Handles.h>
#include <zorutils/internal/NameMatch.h>

#include <windows.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace zor {

/// A growing block of output bytes. Allocation failure is remembered and
/// reported by ok(); appends after it do nothing.
class ByteWriter {
public:
  ByteWriter() = default;
  ~ByteWriter() { std::free(m_data); }
  ByteWriter(const ByteWriter&) = delete;
  ByteWriter& operator=(const ByteWriter&) = delete;

  void Bytes(const void* p, size_t n) {
    if (!n || !Room(n)) return;
    std::memcpy(m_data + m_size, p, n);
    m_size += n;
  }
  /// UTF-16LE code units (the targets are little-endian).
  void Units(const wchar_t* s, size_t n) { Bytes(s, n * sizeof(wchar_t)); }
  void Unit(wchar_t c) { Bytes(&c, sizeof c); }
  /// A zero-terminated text without its terminator; nothing for null.
  void Text(const wchar_t* s) {
    if (s) Units(s, wcslen(s));
  }

  bool ok() const { return m_ok; }

  /// Writes everything to `path`, replacing the file (fopen "wb"). False when
  /// the file cannot be created or memory ran out; write errors after a
  /// successful open are ignored, as the formats always did.
  bool SaveTo(const wchar_t* path) const {
    if (!m_ok || !path || !*path) return false;
    FileHandle file(::CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) return false;
    size_t done = 0;
    while (done < m_size) {
      DWORD chunk = m_size - done > 0x10000000u ? 0x10000000u : static_cast<DWORD>(m_size - done);
      DWORD wrote = 0;
      if (!::WriteFile(file.get(), m_data + done, chunk, &wrote, nullptr) || wrote == 0) break;
      done += wrote;
    }
    return true;
  }

private:
  bool Room(size_t n) {
    if (!m_ok) return false;
    if (m_size + n <= m_capacity) return true;
    size_t capacity = m_capacity ? m_capacity * 2 : 4096;
    while (capacity < m_size + n) capacity *= 2;
    unsigned char* data = static_cast<unsigned char*>(std::realloc(m_data, capacity));
    if (!data) {
      m_ok = false;
      return false;
    }
    m_data = data;
    m_capacity = capacity;
    return true;
  }

  unsigned char* m_data = nullptr;
  size_t m_size = 0;
  size_t m_capacity = 0;
  bool m_ok = true;
};

}  // namespace zor
