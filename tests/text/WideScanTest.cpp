// The vector scans behind CCOMString answer exactly as one unit at a time
// would, wherever the text starts and ends, and never read into the page
// behind a text's terminator; the searches stop at a zero written into the
// middle of the text.
#include "tests/support/TestSupport.h"

#include <zorutils/internal/TestSeams.h>

namespace {

// Two pages, the second inaccessible: a text placed to end right before it
// faults on any read past its terminator's page.
class PageEnd {
public:
  PageEnd() {
    base_ = static_cast<char*>(VirtualAlloc(nullptr, 2 * kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    DWORD old = 0;
    ok_ = base_ && VirtualProtect(base_ + kPage, kPage, PAGE_NOACCESS, &old);
  }
  ~PageEnd() { VirtualFree(base_, 0, MEM_RELEASE); }
  PageEnd(const PageEnd&) = delete;
  PageEnd& operator=(const PageEnd&) = delete;
  bool ok() const { return ok_; }
  // `text` copied so that its terminator is the page's last unit.
  wchar_t* Place(const std::wstring& text) {
    wchar_t* at = reinterpret_cast<wchar_t*>(base_ + kPage) - (text.size() + 1);
    wmemcpy(at, text.c_str(), text.size() + 1);
    return at;
  }

private:
  static const size_t kPage = 4096;
  char* base_ = nullptr;
  bool ok_ = false;
};

// What CCOMString's searches answer, from their definitions.
int RefFind(const std::wstring& whole, const std::wstring& sub, int start) {
  const std::wstring text = whole.c_str();  // up to the first zero
  if (start > static_cast<int>(text.size())) return -1;
  const size_t at = text.find(sub, static_cast<size_t>(start));
  return at == std::wstring::npos ? -1 : static_cast<int>(at);
}

int RefFindUnit(const std::wstring& whole, wchar_t ch, int start) {
  const std::wstring text = whole.c_str();
  if (start >= static_cast<int>(text.size())) return -1;
  const size_t at = text.find(ch, static_cast<size_t>(start));
  return at == std::wstring::npos ? -1 : static_cast<int>(at);
}

class WideScan : public ::testing::TestWithParam<bool> {
protected:
  void SetUp() override { ZorTest_UsePlainWideScans(GetParam()); }
  void TearDown() override { ZorTest_UsePlainWideScans(false); }
};

TEST_P(WideScan, LengthAndSearchesMatchTheirDefinitionsAtEveryAlignmentUpToAPageEnd) {
  PageEnd page;
  ASSERT_TRUE(page.ok());
  // Lengths around the 8-unit blocks and the 64-unit steps of the scans.
  for (size_t length : {0, 1, 2, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 71, 72, 127, 128, 129, 300}) {
    std::wstring text;
    for (size_t i = 0; i < length; ++i) text += static_cast<wchar_t>(L'a' + i % 7);
    if (length > 5) text[length - 2] = L'\xFFFF';  // a unit with every bit set is no terminator
    for (size_t shift = 0; shift < 9; ++shift) {
      // The text moved along by one unit at a time: every alignment of its
      // start, its end staying at the page's end.
      const std::wstring placed = std::wstring(shift, L'z') + text;
      const wchar_t* at = page.Place(placed) + shift;
      const CCOMString s(at);  // measures `at` itself
      ASSERT_EQ(s.GetLength(), static_cast<int>(length)) << length << "/" << shift;
      EXPECT_EQ(s.IsEmpty(), length == 0);
      for (int start : {0, 1, static_cast<int>(length) / 2, static_cast<int>(length) - 1, static_cast<int>(length),
                        static_cast<int>(length) + 1}) {
        if (start < 0) continue;
        EXPECT_EQ(s.Find(L'\xFFFF', start), RefFindUnit(text, L'\xFFFF', start)) << length << "/" << start;
        EXPECT_EQ(s.Find(L"ga", start), RefFind(text, L"ga", start)) << length << "/" << start;
        EXPECT_EQ(s.Find(L'\0', start), -1);
      }
      EXPECT_EQ(std::wstring(s.Left(static_cast<int>(length) - 1)), text.substr(0, length ? length - 1 : 0));
    }
  }
}

TEST_P(WideScan, AZeroWrittenIntoTheTextEndsItForEveryOperation) {
  CCOMString s(L"abcabc needle abc needle");
  s.SetAt(14, 0);  // "abcabc needle "
  const std::wstring whole(L"abcabc needle \0bc needle", 24);
  EXPECT_EQ(s.GetLength(), 14);
  for (int start = 0; start <= 20; ++start) {
    EXPECT_EQ(s.Find(L"needle", start), RefFind(whole, L"needle", start)) << start;
    EXPECT_EQ(s.Find(L'b', start), RefFindUnit(whole, L'b', start)) << start;
  }
  EXPECT_STREQ(s.Left(20), L"abcabc needle ");
  EXPECT_EQ(s.Replace(L"abc", L"x"), 2);
  EXPECT_STREQ(s, L"xx needle ");
  s += L"+";
  EXPECT_STREQ(s, L"xx needle +");
  s.SetAt(0, 0);
  EXPECT_TRUE(s.IsEmpty());
  s.Empty();
  EXPECT_EQ(s.GetLength(), 0);
}

INSTANTIATE_TEST_SUITE_P(VectorAndPlain, WideScan, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool>& info) { return info.param ? "Plain" : "Vector"; });

}  // namespace
