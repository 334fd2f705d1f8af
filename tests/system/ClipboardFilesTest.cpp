// File names on the real clipboard, placed there as the shell would (CF_HDROP)
// from a hidden window of the test's own.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/system/ClipboardFiles.h>

#include <shlobj.h>

#include <cstring>

using namespace systest;

TEST(ClipboardFiles, ReadsEachDroppedNameCutToTheBufferAndNothingElse) {
  HWND wnd = CreateWindowExW(0, L"STATIC", L"zortest", 0, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
  const auto put = [wnd](UINT format, const std::string& bytes) {
    HGLOBAL mem = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
    std::memcpy(GlobalLock(mem), bytes.data(), bytes.size());
    GlobalUnlock(mem);
    const bool ok = OpenClipboard(wnd) && EmptyClipboard() && SetClipboardData(format, mem);
    return CloseClipboard() && ok;
  };
  const std::vector<std::wstring> names = {L"C:\\music\\one.mp3", L"C:\\music\\two \x00e9.wav", L"D:\\x", L""};
  DROPFILES head = {sizeof head, {0, 0}, FALSE, TRUE};
  std::string drop(reinterpret_cast<const char*>(&head), sizeof head);
  for (const auto& n : names) drop.append(reinterpret_cast<const char*>(n.c_str()), (n.size() + 1) * 2);
  ASSERT_TRUE(put(CF_HDROP, drop));
  EXPECT_EQ(3, NumFileNamesOnClipboard());
  for (int i = -1; i < 4; ++i) {  // the fourth and a negative index: empty
    for (size_t cap : {1, 2, 5, 16, 17, MAX_PATH}) {
      const std::wstring name = names[i < 0 ? 3 : static_cast<size_t>(i)].substr(0, cap - 1);
      EXPECT_EQ(name, Filled(cap, [i](wchar_t* b, int n) { GetFileNameFromClipboardW(i, b, n); })) << i << " " << cap;
      EXPECT_EQ(Narrow(name), Filled<char>(cap, [i](char* b, int n) { GetFileNameFromClipboardA(i, b, n); })) << i << " " << cap;
    }
  }
  ASSERT_TRUE(put(CF_UNICODETEXT, std::string("t\0\0\0", 4)));
  EXPECT_EQ(0, NumFileNamesOnClipboard());
  EXPECT_EQ(L"", Filled(8, [](wchar_t* b, int n) { GetFileNameFromClipboardW(0, b, n); }));
  EXPECT_EQ(L"<unterminated>", Filled(1, [](wchar_t* b, int) {  // nothing happens for bad buffers
              GetFileNameFromClipboardW(0, b, 0), GetFileNameFromClipboardW(0, nullptr, 10);
            }));
  if (OpenClipboard(wnd)) EmptyClipboard(), CloseClipboard();
  DestroyWindow(wnd);
}
