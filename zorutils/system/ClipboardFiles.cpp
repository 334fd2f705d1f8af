// ClipboardFiles: reading CF_HDROP file lists from the clipboard.
#include <zorutils/system/ClipboardFiles.h>

#include <zorutils/internal/Handles.h>

#include <windows.h>
#include <shellapi.h>

#include <cstring>
#include <cwchar>

namespace {

const UINT kCountFiles = 0xFFFFFFFF;

// Holds the clipboard open for the scope.
class ClipboardOpen {
public:
  ClipboardOpen() : m_open(OpenClipboard(nullptr) != FALSE) {}
  ~ClipboardOpen() {
    if (m_open) CloseClipboard();
  }
  ClipboardOpen(const ClipboardOpen&) = delete;
  ClipboardOpen& operator=(const ClipboardOpen&) = delete;
  explicit operator bool() const { return m_open; }

private:
  bool m_open;
};

inline UINT QueryFile(HDROP drop, UINT index, char* out, UINT size) { return DragQueryFileA(drop, index, out, size); }
inline UINT QueryFile(HDROP drop, UINT index, wchar_t* out, UINT size) { return DragQueryFileW(drop, index, out, size); }

template <class C>
void GetFileName(int index, C* buffer, int capacity) {
  if (!buffer || capacity < 1) return;
  buffer[0] = 0;
  if (!IsClipboardFormatAvailable(CF_HDROP)) return;
  ClipboardOpen clipboard;
  if (!clipboard) return;
  HANDLE data = GetClipboardData(CF_HDROP);
  if (!data) return;
  void* locked = GlobalLock(data);
  if (!locked) return;
  HDROP drop = static_cast<HDROP>(data);
  const UINT count = QueryFile(drop, kCountFiles, static_cast<C*>(nullptr), 0);
  if (index >= 0 && static_cast<UINT>(index) < count) {
    // The name is fetched whole into a block of its own size and then cut:
    // the system's own cutting is not relied on to keep inside the buffer.
    const UINT len = QueryFile(drop, static_cast<UINT>(index), static_cast<C*>(nullptr), 0);
    zor::HeapBuffer<C> name(static_cast<size_t>(len) + 1);
    if (name) {
      name[0] = 0;
      UINT got = QueryFile(drop, static_cast<UINT>(index), name.get(), len + 1);
      if (got > len) got = len;
      name[got] = 0;
      size_t n = got;
      if (n > static_cast<size_t>(capacity - 1)) n = static_cast<size_t>(capacity - 1);
      std::memcpy(buffer, name.get(), n * sizeof(C));
      buffer[n] = 0;
    }
  }
  GlobalUnlock(data);
}

}  // namespace

int NumFileNamesOnClipboard() {
  ClipboardOpen clipboard;
  if (!clipboard) return 0;
  HANDLE data = GetClipboardData(CF_HDROP);
  if (!data) return 0;
  return static_cast<int>(DragQueryFileW(static_cast<HDROP>(data), kCountFiles, nullptr, 0));
}

void GetFileNameFromClipboardA(int index, char* buffer, int capacity) { GetFileName(index, buffer, capacity); }

void GetFileNameFromClipboardW(int index, wchar_t* buffer, int capacity) { GetFileName(index, buffer, capacity); }
