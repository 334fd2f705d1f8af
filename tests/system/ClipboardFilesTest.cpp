// File names on the real clipboard, placed there by the test as the shell
// would (CF_HDROP).
#include "tests/system/SystemTestSupport.h"

#include <zorutils/system/ClipboardFiles.h>

#include <shlobj.h>

#include <cstring>

using namespace systest;

namespace {

// Owns the clipboard through a hidden window of its own while it lives.
class ClipboardOwner {
public:
  ClipboardOwner()
      : m_wnd(CreateWindowExW(0, L"STATIC", L"zortest", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr)) {}
  ~ClipboardOwner() {
    if (m_wnd && OpenClipboard(m_wnd)) EmptyClipboard(), CloseClipboard();
    if (m_wnd) DestroyWindow(m_wnd);
  }
  // Puts the names on the clipboard as a wide CF_HDROP list.
  bool PutFiles(const std::vector<std::wstring>& names) {
    std::wstring list;
    for (const auto& n : names) list += n + L'\0';
    list += L'\0';
    std::string bytes(sizeof(DROPFILES), '\0');
    auto* drop = reinterpret_cast<DROPFILES*>(&bytes[0]);
    drop->pFiles = sizeof(DROPFILES);
    drop->fWide = TRUE;
    bytes.append(reinterpret_cast<const char*>(list.data()), list.size() * sizeof(wchar_t));
    return Put(CF_HDROP, bytes);
  }
  bool PutText(const std::wstring& text) {
    return Put(CF_UNICODETEXT, std::string(reinterpret_cast<const char*>(text.c_str()), (text.size() + 1) * 2));
  }
  HWND wnd() const { return m_wnd; }

private:
  bool Put(UINT format, const std::string& bytes) {
    HGLOBAL mem = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
    if (!mem) return false;
    std::memcpy(GlobalLock(mem), bytes.data(), bytes.size());
    GlobalUnlock(mem);
    bool ok = m_wnd && OpenClipboard(m_wnd);
    if (ok) {
      EmptyClipboard();
      ok = SetClipboardData(format, mem) != nullptr;
      CloseClipboard();
    }
    if (!ok) GlobalFree(mem);
    return ok;
  }
  HWND m_wnd;
};

}  // namespace

TEST(ClipboardFiles, ReadsEachDroppedNameCutToTheBuffer) {
  ClipboardOwner owner;
  ASSERT_TRUE(owner.wnd());
  const std::vector<std::wstring> names = {L"C:\\music\\one.mp3", L"C:\\music\\two \x00e9.wav", L"D:\\x"};
  ASSERT_TRUE(owner.PutFiles(names));
  EXPECT_EQ(3, NumFileNamesOnClipboard());
  wchar_t buf[MAX_PATH];
  for (int i = 0; i < 3; ++i) {
    GetFileNameFromClipboardW(i, buf, MAX_PATH);
    EXPECT_EQ(names[static_cast<size_t>(i)], std::wstring(buf));
  }
  for (int cap : {1, 2, 5, 16, 17, MAX_PATH}) {
    Guarded<> w(static_cast<size_t>(cap));
    GetFileNameFromClipboardW(0, w.get(), w.cap());
    EXPECT_EQ(Cut(names[0], cap), std::wstring(w.get()));
    EXPECT_TRUE(w.GuardIntact()) << cap;
    Guarded<char> a(static_cast<size_t>(cap));
    GetFileNameFromClipboardA(0, a.get(), a.cap());
    EXPECT_EQ(Cut(Narrow(names[0]), cap), std::string(a.get()));
    EXPECT_TRUE(a.GuardIntact()) << cap;
  }
}

TEST(ClipboardFiles, OutOfRangeOrNoFilesGivesEmpty) {
  ClipboardOwner owner;
  ASSERT_TRUE(owner.PutFiles({L"C:\\a.txt"}));
  wchar_t buf[MAX_PATH];
  for (int index : {1, -1}) {
    wcscpy(buf, L"junk");
    GetFileNameFromClipboardW(index, buf, MAX_PATH);
    EXPECT_EQ(L"", std::wstring(buf)) << index;
  }
  ASSERT_TRUE(owner.PutText(L"just text"));
  EXPECT_EQ(0, NumFileNamesOnClipboard());
  wcscpy(buf, L"junk");
  GetFileNameFromClipboardW(0, buf, MAX_PATH);
  EXPECT_EQ(L"", std::wstring(buf));
  // Nothing happens for bad buffers.
  wchar_t keep[2] = L"k";
  GetFileNameFromClipboardW(0, keep, 0);
  EXPECT_EQ(L'k', keep[0]);
  GetFileNameFromClipboardW(0, nullptr, 10);
}
