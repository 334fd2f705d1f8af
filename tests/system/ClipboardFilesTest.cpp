// File names on the real clipboard, placed there by the test as the shell
// would (CF_HDROP).
#include "tests/system/SystemTestSupport.h"

#include <zorutils/system/ClipboardFiles.h>

#include <shlobj.h>

#include <cstring>

using systest::Guarded;

namespace {

// Owns the clipboard through a hidden window of its own while it lives.
class ClipboardOwner {
public:
  ClipboardOwner() {
    m_wnd = CreateWindowExW(0, L"STATIC", L"zortest clipboard", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
  }
  ~ClipboardOwner() {
    if (m_wnd && OpenClipboard(m_wnd)) {
      EmptyClipboard();
      CloseClipboard();
    }
    if (m_wnd) DestroyWindow(m_wnd);
  }
  // Puts the names on the clipboard as a wide CF_HDROP list.
  bool PutFiles(const std::vector<std::wstring>& names) {
    size_t chars = 1;
    for (const auto& n : names) chars += n.size() + 1;
    const size_t bytes = sizeof(DROPFILES) + chars * sizeof(wchar_t);
    HGLOBAL mem = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    if (!mem) return false;
    auto* drop = static_cast<DROPFILES*>(GlobalLock(mem));
    drop->pFiles = sizeof(DROPFILES);
    drop->fWide = TRUE;
    wchar_t* p = reinterpret_cast<wchar_t*>(reinterpret_cast<BYTE*>(drop) + sizeof(DROPFILES));
    for (const auto& n : names) {
      std::memcpy(p, n.c_str(), (n.size() + 1) * sizeof(wchar_t));
      p += n.size() + 1;
    }
    GlobalUnlock(mem);
    return Put(CF_HDROP, mem);
  }
  bool PutText(const wchar_t* text) {
    const size_t bytes = (wcslen(text) + 1) * sizeof(wchar_t);
    HGLOBAL mem = GlobalAlloc(GMEM_MOVEABLE, bytes);
    std::memcpy(GlobalLock(mem), text, bytes);
    GlobalUnlock(mem);
    return Put(CF_UNICODETEXT, mem);
  }
  HWND wnd() const { return m_wnd; }

private:
  bool Put(UINT format, HGLOBAL mem) {
    if (!m_wnd || !OpenClipboard(m_wnd)) {
      GlobalFree(mem);
      return false;
    }
    EmptyClipboard();
    bool ok = SetClipboardData(format, mem) != nullptr;
    if (!ok) GlobalFree(mem);
    CloseClipboard();
    return ok;
  }
  HWND m_wnd = nullptr;
};

}  // namespace

TEST(ClipboardFiles, ReadsEachDroppedName) {
  ClipboardOwner owner;
  ASSERT_TRUE(owner.wnd());
  const std::vector<std::wstring> names = {L"C:\\music\\one.mp3", L"C:\\music\\two \x00e9.wav", L"D:\\x"};
  ASSERT_TRUE(owner.PutFiles(names));
  EXPECT_EQ(3, NumFileNamesOnClipboard());
  for (int i = 0; i < 3; ++i) {
    wchar_t buf[MAX_PATH];
    GetFileNameFromClipboardW(i, buf, MAX_PATH);
    EXPECT_EQ(names[static_cast<size_t>(i)], std::wstring(buf));
  }
  char narrow[MAX_PATH];
  GetFileNameFromClipboardA(0, narrow, MAX_PATH);
  EXPECT_STREQ("C:\\music\\one.mp3", narrow);
}

TEST(ClipboardFiles, NameIsCutToTheBuffer) {
  ClipboardOwner owner;
  ASSERT_TRUE(owner.PutFiles({L"C:\\music\\one.mp3"}));
  for (int cap : {1, 2, 5, 16, 17}) {
    Guarded<> w(static_cast<size_t>(cap));
    GetFileNameFromClipboardW(0, w.get(), w.cap());
    EXPECT_EQ(std::wstring(L"C:\\music\\one.mp3").substr(0, static_cast<size_t>(cap - 1)), std::wstring(w.get()));
    EXPECT_TRUE(w.GuardIntact()) << cap;
    Guarded<char> a(static_cast<size_t>(cap));
    GetFileNameFromClipboardA(0, a.get(), a.cap());
    EXPECT_EQ(std::string("C:\\music\\one.mp3").substr(0, static_cast<size_t>(cap - 1)), std::string(a.get()));
    EXPECT_TRUE(a.GuardIntact()) << cap;
  }
}

TEST(ClipboardFiles, OutOfRangeOrNoFilesGivesEmpty) {
  ClipboardOwner owner;
  ASSERT_TRUE(owner.PutFiles({L"C:\\a.txt"}));
  wchar_t buf[MAX_PATH] = L"junk";
  GetFileNameFromClipboardW(1, buf, MAX_PATH);
  EXPECT_EQ(L"", std::wstring(buf));
  wcscpy(buf, L"junk");
  GetFileNameFromClipboardW(-1, buf, MAX_PATH);
  EXPECT_EQ(L"", std::wstring(buf));

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
