// String and character utilities: conversions, detection, numbers, editing
// in place and display texts, with the bounds of the caller's buffers.
#include "tests/support/Fuzz.h"
#include "tests/support/TestSupport.h"

#include <cstring>
#include <tuple>

TEST(StringUtils, ConversionsAndCopiesStopAtTheirLimitsAndNeverWritePastThem) {
  wchar_t w[6];
  wmemset(w, 0xCCCC, 6);
  ConvertSingleByteToUnicode("abcdefgh", 8, w, 4, true);
  EXPECT_EQ(std::wstring(w, 6), std::wstring(L"abc\0\xCCCC\xCCCC", 6));
  ConvertSingleByteToUnicode("abcdefgh", 8, w, 4, false);  // full, no terminator
  EXPECT_EQ(std::wstring(w, 5), L"abcd\xCCCC");
  ConvertSingleByteToUnicode("\xE9\xFF\0cd", 5, w, 6, true);  // a byte is its own code point
  EXPECT_STREQ(w, L"\x00E9\x00FF");
  char a[8] = "ZZZZZZZ";
  ConvertUnicodeToSingleByte(L"abcdef", a, 4);
  EXPECT_EQ(std::string(a, 5), std::string("abc\0Z", 5));
  ConvertUnicodeToSingleByte(L"\xFEFF" L"A\x0142" L"B", 4, a, 8, true);  // mark skipped, low bytes kept
  EXPECT_STREQ(a, "ABB");
  const wchar_t withZero[] = {L'a', 0, L'b', 0, 0, L'c'};
  ConvertUnicodeToSingleByte(withZero, 6, a, 8, true);  // a lone zero is copied; two in a row end the text
  EXPECT_EQ(std::string(a, 7), std::string("a\0b\0\0\0\0", 7));
  const std::string utf16 = zortest::Utf16Bytes(L"hi!", true) + std::string("\0\0", 2);
  EXPECT_TRUE(CopyCharToTChar(utf16.data(), static_cast<unsigned>(utf16.size()), w, 3));  // UTF-16, cut to fit
  EXPECT_STREQ(w, L"hi");
  EXPECT_TRUE(CopyCharToTChar("plain", w, 6));
  EXPECT_STREQ(w, L"plain");
  EXPECT_FALSE(CopyCharToTChar("abc", 0, w, 6) || CopyCharToTChar(nullptr, w, 6) || CopyCharToTChar("a", 1, w, 0));
  EXPECT_EQ(w[0], 0);  // zero-filled before failing
  wchar_t* target = nullptr;
  CopyStringW(&target, L"first");
  wchar_t* block = target;
  CopyStringW(&target, L"other");  // the same length: the same block
  EXPECT_TRUE(target == block && wcscmp(target, L"other") == 0);
  CopyStringW(&target, target + 2);  // a tail of the held text is copied before the block goes
  EXPECT_STREQ(target, L"her");
  CopyStringW(&target, L"x");
  EXPECT_STREQ(target, L"x");
  CopyStringW(&target, L"");  // an empty text leaves null
  char* narrow = nullptr;
  CopyStringA(&narrow, "abc");
  EXPECT_STREQ(narrow, "abc");
  CopyStringA(&narrow, nullptr);
  EXPECT_TRUE(target == nullptr && narrow == nullptr);
}

TEST(StringUtils, Utf16DetectionRules) {
  static const struct { const char* bytes; int len; bool unicode, terminated, convertible; int chars; } kCases[] = {
      {"A\0B\0", 4, 1, 0, 1, 0}, {"A\0B\0\0\0", 6, 1, 1, 1, 0}, {"AB", 2, 0, 0, 0, 0}, {"\xFF\xFE", 2, 1, 1, 0, 0},
      {"A", 1, 0, 0, 0, 0}, {"A\0B", 3, 1, 0, 1, 0}, {"A\0\0\0XY", 6, 1, 1, 1, 0}, {"\xFF\xFE" "A", 3, 1, 1, 1, 0},
      {"\xFF\xFE" "AB", 4, 1, 1, 0, 0}, {"A\0", 2, 1, 0, 1, 0}, {"\0AB\0", 4, 1, 0, 1, 0},
      {"\xFF\xFE" "A\0B\0\0\0", 8, 1, 1, 1, 2}, {"\xFF\xFE" "A\0B\0", 6, 1, 1, 1, 0},
      {"\xFF\xFE" "AB\0\0", 6, 1, 1, 0, 0}};
  for (const auto& c : kCases) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(c.bytes);
    EXPECT_EQ(std::make_tuple(StringIsUnicode(p, c.len, false), StringIsUnicode(p, c.len, true),
                              StringIsConvertibleUnicode(p, c.len), NumConvertibleUnicodeChars(p, c.len),
                              StringHasUnicodeHeader(p)),
              std::make_tuple(c.unicode, c.terminated, c.convertible, c.chars, p[0] == 0xFF && p[1] == 0xFE))
        << zortest::EscapeBytes(std::string(c.bytes, static_cast<size_t>(c.len)));
  }
  EXPECT_FALSE(StringIsUnicode(nullptr, 10, false) || StringHasUnicodeHeader(nullptr));
}

TEST(StringUtils, NumberTests) {
  // HexStringToInt weights digit k (from the right, k >= 1) by k * 16, not 16^k.
  for (auto c : {std::make_pair(L"ff", 255), {L"1A", 26}, {L"100", 32}, {L"123", 3 + 2 * 16 + 2 * 16}, {L"g1", -1},
                 {L"1 ", -1}, {L"", -1}, {static_cast<const wchar_t*>(nullptr), -1}})
    EXPECT_EQ(HexStringToInt(c.first), c.second) << zortest::Escape(c.first);
  static const struct { const char* text; bool numeric, isFloat; } kCases[] = {
      {"-", 0, 0}, {"-12", 1, 1}, {"007", 1, 1}, {"1.5", 0, 1}, {"1-2", 0, 0}, {"-.5", 0, 1},
      {"5.", 0, 1}, {"1..5", 0, 0}, {".", 0, 0}, {"5-", 0, 0}, {"1e5", 0, 0}, {"", 0, 0}};
  for (const auto& c : kCases) {
    const std::wstring w(c.text, c.text + strlen(c.text));
    EXPECT_EQ(std::make_tuple(StringIsNumericA(c.text), StringIsNumericW(w.c_str()), StringIsFloatA(c.text),
                              StringIsFloatW(w.c_str())),
              std::make_tuple(c.numeric, c.numeric, c.isFloat, c.isFloat)) << c.text;
  }
  wchar_t text[] = L"abcabc";
  int pos = 99;
  EXPECT_TRUE(StrChrPos(text, L'c', &pos) == text + 2 && pos == 2);
  EXPECT_TRUE(StrChrPos(text, L'z', &pos) == nullptr && pos == -1);
}

TEST(StringUtils, EditingInPlace) {
  wchar_t w[] = L"\r\n  \tword \r\n", buf[32];
  RemoveSpacesW(w, false);
  EXPECT_STREQ(w, L"\r\n  \tword \r\n");  // line breaks only with the flag; tabs never
  RemoveSpacesW(w, true);
  EXPECT_STREQ(w, L"\tword");
  char a[] = "  x  ";
  RemoveSpacesA(a, false);
  EXPECT_STREQ(a, "x");
  EXPECT_TRUE(TrimWhitespace(L" \t\nvalue\r\n\t ", buf));
  EXPECT_STREQ(buf, L"value\r");  // CR stays
  EXPECT_TRUE(TrimChar(L'"', L"\"\"quoted\"", buf));
  EXPECT_STREQ(buf, L"quoted");
  EXPECT_FALSE(TrimWhitespace(L" \t\n", buf) || TrimWhitespace(nullptr, buf) || TrimWhitespace(L"x", nullptr));
  const std::wstring fits(static_cast<size_t>(kTrimMaxInput), L'a');
  std::vector<wchar_t> big(fits.size() + 8, 0xCCCC);
  EXPECT_TRUE(TrimWhitespace(fits.c_str(), big.data()) && big.data() == fits && big[fits.size() + 1] == 0xCCCC);
  EXPECT_FALSE(TrimChar(L'b', (fits + L"a").c_str(), big.data()));  // one unit past the limit: rejected
  EXPECT_EQ(big[0], 0);
  ParseCarriageReturns(L"one\\ntwo\\rthree\\t\\", buf, 0);
  EXPECT_STREQ(buf, L"one\rtwo\rthree\\t\\");
  wcscpy(buf, L"hello world");
  ReplaceTextW(buf, 0, 5, L"bye");
  ReplaceTextW(buf, 4, 100, L"everyone");  // the range is clipped to the end
  ReplaceTextW(buf, 0, 3, L"");  // an empty replacement does nothing
  EXPECT_STREQ(buf, L"bye everyone");
  // A replacement that could overflow bufSize stops the walk; inserted text is not searched.
  static const struct { const wchar_t *text, *find, *repl; unsigned size; bool noCase; const wchar_t* result; }
      kCases[] = {{L"a.a.a.a", L"a", L"xyz", 16, 0, L"xyz.xyz.xyz.xyz"}, {L"aaa", L"a", L"bb", 8, 0, L"bbbbbb"},
                  {L"a.a.a.a", L"a", L"xyz", 14, 0, L"xyz.xyz.xyz.a"}, {L"AbAbab", L"ab", L"-", 32, 1, L"---"},
                  {L"AbAbab", L"ab", L"-", 32, 0, L"AbAb-"}, {L"aa", L"a", L"aa", 32, 0, L"aaaa"},
                  {L"x--y--", L"--", nullptr, 32, 0, L"xy"}, {L"a", L"a", L"b", 1, 0, L"a"}};
  for (const auto& c : kCases) {
    std::vector<wchar_t> b(c.text, c.text + wcslen(c.text) + 1);
    b.resize(c.size < b.size() ? b.size() : c.size, 0xCCCC);
    SearchAndReplaceAll(b.data(), c.find, c.repl, c.size, c.noCase);
    EXPECT_STREQ(b.data(), c.result) << zortest::Escape(c.text) << " in " << c.size;
  }
  char narrow[16] = "Cat cat";
  SearchAndReplaceAllSingleByte(narrow, "CAT", "dog", 16, true);
  EXPECT_STREQ(narrow, "dog dog");
}

TEST(StringUtils, DisplayTexts) {
  wchar_t out[32];
  auto size = [&](unsigned long bytes) { return MakeFileSizeString(bytes, out, 32), std::wstring(out); };
  auto length = [&](long ms, int millis, int noHours) {
    return MakeLengthString(ms, out, millis, noHours), std::wstring(out);
  };
  EXPECT_EQ(size(1023) + L"|" + size(1024) + L"|" + size(1048575), L"1023 Bytes|1 KB|1023 KB");
  EXPECT_EQ(size(1572864) + L"|" + size(0xFFFFFFFFul), L"1.50 MB|4096.00 MB");  // no GB step
  EXPECT_EQ(length(3723004, 0, 0) + L"|" + length(3723004, 1, 0), L"01:02:03|01:02:03:004");
  EXPECT_EQ(length(59000, 0, 0) + L"|" + length(59007, 1, 0), L"00:59|00:59:007");
  EXPECT_EQ(length(65 * 60000, 0, 1), L"05:00");  // the hour is dropped, not folded into the minutes
}
