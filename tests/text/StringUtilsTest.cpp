// String and character utilities: conversions, detection, numbers, editing
// in place and display texts, with the buffer drill for the writers.
#include "tests/support/TestSupport.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

const unsigned char* U(const char* s) { return reinterpret_cast<const unsigned char*>(s); }

// --- Conversions ---------------------------------------------------------------

TEST(StringUtils, WideningStopsAtLimitZeroOrLength) {
  wchar_t dst[6];
  wmemset(dst, 0xCCCC, 6);
  ConvertSingleByteToUnicode("abcdefgh", 8, dst, 4, true);
  EXPECT_STREQ(dst, L"abc");
  EXPECT_EQ(dst[4], 0xCCCC);  // nothing written past dstSize
  wmemset(dst, 0xCCCC, 6);
  ConvertSingleByteToUnicode("abcdefgh", 8, dst, 4, false);
  EXPECT_EQ(std::wstring(dst, 4), L"abcd");  // full, no terminator
  EXPECT_EQ(dst[4], 0xCCCC);
  ConvertSingleByteToUnicode("ab\0cd", 5, dst, 6, true);
  EXPECT_STREQ(dst, L"ab");
  ConvertSingleByteToUnicode("\xE9\xFF", dst, 6);  // a byte is its own code point
  EXPECT_EQ(dst[0], 0xE9);
  EXPECT_EQ(dst[1], 0xFF);
  ConvertSingleByteToUnicode(nullptr, 3, dst, 6, true);
  EXPECT_STREQ(dst, L"");
  ConvertSingleByteToUnicode("x", 1, nullptr, 6, true);  // no crash
  ConvertSingleByteToUnicode("x", 1, dst, 0, true);
}

TEST(StringUtils, NarrowingKeepsLowByteSkipsMarkAndLoneZeros) {
  char dst[8];
  memset(dst, 0x5A, sizeof dst);
  ConvertUnicodeToSingleByte(L"\xFEFF" L"A\x0142" L"B", 4, dst, 8, true);
  EXPECT_STREQ(dst, "ABB");  // mark skipped; U+0142 narrows to its low byte 'B'
  EXPECT_EQ(dst[3], 0);
  const wchar_t withZero[] = {L'a', 0, L'b', 0, 0};
  ConvertUnicodeToSingleByte(withZero, 5, dst, 8, true);
  EXPECT_EQ(std::string(dst, 4), std::string("a\0b\0", 4));  // a lone zero does not end it
  memset(dst, 0x5A, sizeof dst);
  ConvertUnicodeToSingleByte(L"abcdef", dst, 4);
  EXPECT_STREQ(dst, "abc");
  EXPECT_EQ(dst[4], 0x5A);
  ConvertUnicodeToSingleByte(L"abcdef", 6, dst, 4, false);
  EXPECT_EQ(std::string(dst, 4), "abcd");
}

TEST(StringUtils, CopyCharToTCharDetectsUtf16) {
  wchar_t dst[16];
  std::string utf16 = zortest::Utf16Bytes(L"hi!", true) + std::string("\0\0", 2);
  EXPECT_TRUE(CopyCharToTChar(utf16.data(), static_cast<unsigned>(utf16.size()), dst, 16));
  EXPECT_STREQ(dst, L"hi!");
  // Cut to dstSize - 1 units and terminated.
  EXPECT_TRUE(CopyCharToTChar(utf16.data(), static_cast<unsigned>(utf16.size()), dst, 3));
  EXPECT_STREQ(dst, L"hi");
  EXPECT_TRUE(CopyCharToTChar("plain", 5, dst, 16));
  EXPECT_STREQ(dst, L"plain");
  EXPECT_TRUE(CopyCharToTChar("plain", dst, 16));
  EXPECT_STREQ(dst, L"plain");
  wmemset(dst, L'x', 16);
  EXPECT_FALSE(CopyCharToTChar("abc", 0, dst, 16));
  EXPECT_EQ(dst[0], 0);  // zero-filled before failing
  EXPECT_FALSE(CopyCharToTChar(nullptr, dst, 16));
  EXPECT_FALSE(CopyCharToTChar("abc", 3, nullptr, 16));
  EXPECT_FALSE(CopyCharToTChar("abc", 3, dst, 0));
}

TEST(StringUtils, CopyStringLeavesNullForEmptySource) {
  wchar_t* target = nullptr;
  CopyStringW(&target, L"first");
  ASSERT_NE(target, nullptr);
  EXPECT_STREQ(target, L"first");
  wchar_t* block = target;
  CopyStringW(&target, L"other");  // same length: copied into the same block
  EXPECT_EQ(target, block);
  EXPECT_STREQ(target, L"other");
  CopyStringW(&target, L"longer text");
  EXPECT_STREQ(target, L"longer text");
  CopyStringW(&target, target);  // itself: nothing happens
  EXPECT_STREQ(target, L"longer text");
  CopyStringW(&target, L"");
  EXPECT_EQ(target, nullptr);
  CopyStringW(&target, nullptr);
  EXPECT_EQ(target, nullptr);
  CopyStringW(nullptr, L"x");

  char* narrow = nullptr;
  CopyStringA(&narrow, "abc");
  EXPECT_STREQ(narrow, "abc");
  CopyStringA(&narrow, "");
  EXPECT_EQ(narrow, nullptr);
}

// --- Unicode detection -----------------------------------------------------------

TEST(StringUtils, StringIsUnicodeRules) {
  EXPECT_TRUE(StringIsUnicode(U("A\0B\0"), 4, false));
  EXPECT_FALSE(StringIsUnicode(U("A\0B\0"), 4, true));
  EXPECT_TRUE(StringIsUnicode(U("A\0B\0\0\0"), 6, true));
  EXPECT_FALSE(StringIsUnicode(U("AB"), 2, false));
  EXPECT_TRUE(StringIsUnicode(U("\xFF\xFE"), 2, true));
  EXPECT_FALSE(StringIsUnicode(U("A"), 1, false));
  EXPECT_FALSE(StringIsUnicode(nullptr, 10, false));
  // The walk stops at a zero pair; what follows is not looked at.
  EXPECT_TRUE(StringIsUnicode(U("A\0\0\0XY"), 6, true));
  // Odd length: the last lone byte is not a pair; with a terminator required
  // the last two bytes decide.
  EXPECT_TRUE(StringIsUnicode(U("A\0B"), 3, false));
  EXPECT_FALSE(StringIsUnicode(U("A\0B"), 3, true));
  EXPECT_TRUE(StringHasUnicodeHeader(U("\xFF\xFEx")));
  EXPECT_FALSE(StringHasUnicodeHeader(U("\xFE\xFF")));
  EXPECT_FALSE(StringHasUnicodeHeader(nullptr));
}

TEST(StringUtils, ConvertibleUnicodeAndCharacterCount) {
  EXPECT_FALSE(StringIsConvertibleUnicode(U("A"), 1));
  EXPECT_TRUE(StringIsConvertibleUnicode(U("\xFF\xFE" "A"), 3));  // nothing after the mark to check
  EXPECT_FALSE(StringIsConvertibleUnicode(U("\xFF\xFE" "AB"), 4));
  EXPECT_TRUE(StringIsConvertibleUnicode(U("A\0B\0"), 4));
  EXPECT_FALSE(StringIsConvertibleUnicode(U("ABCD"), 4));
  EXPECT_EQ(NumConvertibleUnicodeChars(U("\xFF\xFE" "A\0B\0\0\0"), 8), 2);
  EXPECT_EQ(NumConvertibleUnicodeChars(U("\xFF\xFE" "A\0B\0"), 6), 0);  // no terminator
  EXPECT_EQ(NumConvertibleUnicodeChars(U("A\0B\0\0\0"), 6), 0);          // no mark
  EXPECT_EQ(NumConvertibleUnicodeChars(U("\xFF\xFE" "AB\0\0"), 6), 0);   // not UTF-16
  EXPECT_EQ(NumConvertibleUnicodeChars(U("\xFF\xFE\0\0"), 4), 0);
}

// --- Numbers ---------------------------------------------------------------------

TEST(StringUtils, HexStringToIntKeepsItsOwnWeighting) {
  EXPECT_EQ(HexStringToInt(L"ff"), 255);
  EXPECT_EQ(HexStringToInt(L"1A"), 26);
  EXPECT_EQ(HexStringToInt(L"7"), 7);
  EXPECT_EQ(HexStringToInt(L"100"), 32);  // value * k * 16, not positional
  EXPECT_EQ(HexStringToInt(L"123"), 3 + 2 * 16 + 1 * 2 * 16);
  EXPECT_EQ(HexStringToInt(L"g1"), -1);
  EXPECT_EQ(HexStringToInt(L"1 "), -1);
  EXPECT_EQ(HexStringToInt(L""), -1);
  EXPECT_EQ(HexStringToInt(nullptr), -1);
  std::wstring longHex(100000, L'f');  // very long input wraps, never traps
  (void)HexStringToInt(longHex.c_str());
  EXPECT_TRUE(IsHexCharacter(L'F'));
  EXPECT_FALSE(IsHexCharacter(L'g'));
}

TEST(StringUtils, NumericAndFloatTests) {
  EXPECT_FALSE(StringIsNumericW(L"-"));
  EXPECT_TRUE(StringIsNumericW(L"-12"));
  EXPECT_TRUE(StringIsNumericW(L"007"));
  EXPECT_FALSE(StringIsNumericW(L"1.5"));
  EXPECT_FALSE(StringIsNumericW(L"1-2"));
  EXPECT_FALSE(StringIsNumericW(L""));
  EXPECT_FALSE(StringIsNumericW(nullptr));
  EXPECT_TRUE(StringIsNumericA("-12"));
  EXPECT_FALSE(StringIsNumericA("12a"));
  EXPECT_TRUE(StringIsFloatW(L"1.5"));
  EXPECT_TRUE(StringIsFloatW(L"-.5"));
  EXPECT_TRUE(StringIsFloatW(L"5."));
  EXPECT_FALSE(StringIsFloatW(L"1..5"));
  EXPECT_FALSE(StringIsFloatW(L"."));
  EXPECT_FALSE(StringIsFloatW(L"5-"));
  EXPECT_FALSE(StringIsFloatW(L"1e5"));
  EXPECT_FALSE(StringIsFloatA("-"));
  EXPECT_TRUE(StringIsFloatA("3.25"));
}

TEST(StringUtils, StrChrPosReportsIndexOrMinusOne) {
  wchar_t text[] = L"abcabc";
  int pos = 99;
  EXPECT_EQ(StrChrPos(text, L'c', &pos), text + 2);
  EXPECT_EQ(pos, 2);
  EXPECT_EQ(StrChrPos(text, L'z', &pos), nullptr);
  EXPECT_EQ(pos, -1);
  EXPECT_EQ(StrChrPos(nullptr, L'a', &pos), nullptr);
  EXPECT_EQ(pos, -1);
}

// --- Editing in place ----------------------------------------------------------------

TEST(StringUtils, RemoveSpacesNeverTouchesTabs) {
  wchar_t w[] = L"\r\n  \tword \r\n";
  RemoveSpacesW(w, false);
  EXPECT_STREQ(w, L"\r\n  \tword \r\n");  // CR LF stay in place without the flag
  RemoveSpacesW(w, true);
  EXPECT_STREQ(w, L"\tword");
  char a[] = "  x  ";
  RemoveLeadingSpacesA(a, false);
  EXPECT_STREQ(a, "x  ");
  RemoveTrailingSpacesA(a, false);
  EXPECT_STREQ(a, "x");
  wchar_t blanks[] = L"   ";
  RemoveSpacesW(blanks, false);
  EXPECT_STREQ(blanks, L"");
  RemoveSpacesW(nullptr, true);
}

TEST(StringUtils, TrimWhitespaceKeepsCarriageReturn) {
  wchar_t dst[64];
  EXPECT_TRUE(TrimWhitespace(L" \t\nvalue\r\n\t ", dst));
  EXPECT_STREQ(dst, L"value\r");
  EXPECT_FALSE(TrimWhitespace(L" \t\n", dst));
  EXPECT_STREQ(dst, L"");
  EXPECT_TRUE(TrimChar(L'"', L"\"\"quoted\"", dst));
  EXPECT_STREQ(dst, L"quoted");
  EXPECT_FALSE(TrimChar(L'x', L"xxx", dst));
  wchar_t same[] = L"  in place  ";
  EXPECT_TRUE(TrimWhitespace(same, same));
  EXPECT_STREQ(same, L"in place");
  EXPECT_FALSE(TrimWhitespace(nullptr, dst));
  EXPECT_FALSE(TrimWhitespace(L"x", nullptr));
}

TEST(StringUtils, TrimRejectsInputBeyondItsLimit) {
  // Input up to the limit is trimmed; one unit more is rejected with an
  // empty result, and the destination is never written past the result.
  std::wstring fits(static_cast<size_t>(kTrimMaxInput), L'a');
  fits[0] = L' ';
  std::vector<wchar_t> dst(static_cast<size_t>(kTrimMaxInput) + 8, 0xCCCC);
  EXPECT_TRUE(TrimWhitespace(fits.c_str(), dst.data()));
  EXPECT_EQ(wcslen(dst.data()), fits.size() - 1);
  EXPECT_EQ(dst[fits.size()], 0xCCCC);
  std::wstring tooLong(static_cast<size_t>(kTrimMaxInput) + 1, L'a');
  EXPECT_FALSE(TrimWhitespace(tooLong.c_str(), dst.data()));
  EXPECT_EQ(dst[0], 0);
  EXPECT_EQ(dst[1], L'a');  // untouched beyond the terminator
  std::wstring huge(100000, L'b');
  EXPECT_FALSE(TrimChar(L'b', huge.c_str(), dst.data()));
  EXPECT_EQ(dst[0], 0);
}

TEST(StringUtils, ParseCarriageReturnsTurnsBothEscapesIntoCR) {
  wchar_t dst[64];
  ParseCarriageReturns(L"one\\ntwo\\rthree\\t\\", dst, 0);
  EXPECT_STREQ(dst, L"one\rtwo\rthree\\t\\");
  ParseCarriageReturns(L"", dst, 64);
  EXPECT_STREQ(dst, L"");
  ParseCarriageReturns(nullptr, dst, 64);
  EXPECT_STREQ(dst, L"");
}

TEST(StringUtils, ReplaceTextMovesTheTail) {
  wchar_t buf[32] = L"hello world";
  ReplaceTextW(buf, 0, 5, L"bye");
  EXPECT_STREQ(buf, L"bye world");
  ReplaceTextW(buf, 4, 5, L"everyone");
  EXPECT_STREQ(buf, L"bye everyone");
  ReplaceTextW(buf, 0, 3, L"BYE");
  EXPECT_STREQ(buf, L"BYE everyone");
  ReplaceTextW(buf, 0, 3, L"");  // an empty replacement does nothing
  EXPECT_STREQ(buf, L"BYE everyone");
  ReplaceTextW(buf, 100, 3, L"x");  // past the end: nothing
  EXPECT_STREQ(buf, L"BYE everyone");
  ReplaceTextW(buf, 10, 100, L"!");  // range clipped to the end
  EXPECT_STREQ(buf, L"BYE everyo!");
}

TEST(StringUtils, SearchAndReplaceAllStopsBeforeOverflow) {
  wchar_t buf[16] = L"a.a.a.a";
  SearchAndReplaceAll(buf, L"a", L"xyz", 16, false);
  EXPECT_STREQ(buf, L"xyz.xyz.xyz.xyz");  // 15 units: fits 16 exactly
  wchar_t stop[16] = L"a.a.a.a";
  SearchAndReplaceAll(stop, L"a", L"xyz", 14, false);
  // Each replacement grows the text by 2: the fourth (13 + 2 >= 14) would not fit.
  EXPECT_STREQ(stop, L"xyz.xyz.xyz.a");
  wchar_t exact[8] = L"aaa";
  SearchAndReplaceAll(exact, L"a", L"bb", 8, false);
  EXPECT_STREQ(exact, L"bbbbbb");  // 6 units + terminator within 8
  wchar_t shrink[32] = L"AbAbab";
  SearchAndReplaceAll(shrink, L"ab", L"-", 32, true);
  EXPECT_STREQ(shrink, L"---");
  wchar_t noCase[32] = L"AbAbab";
  SearchAndReplaceAll(noCase, L"ab", L"-", 32, false);
  EXPECT_STREQ(noCase, L"AbAb-");
  wchar_t nested[32] = L"aa";
  SearchAndReplaceAll(nested, L"a", L"aa", 32, false);  // inserted text not searched
  EXPECT_STREQ(nested, L"aaaa");
  wchar_t del[32] = L"x--y--";
  SearchAndReplaceAll(del, L"--", nullptr, 32, false);
  EXPECT_STREQ(del, L"xy");
  wchar_t tiny[2] = L"a";
  SearchAndReplaceAll(tiny, L"a", L"b", 1, false);  // bufSize below 2: nothing
  EXPECT_STREQ(tiny, L"a");
  char narrow[16] = "Cat cat";
  SearchAndReplaceAllSingleByte(narrow, "CAT", "dog", 16, true);
  EXPECT_STREQ(narrow, "dog dog");
}

// --- Display texts ------------------------------------------------------------------------

TEST(StringUtils, FileSizeTexts) {
  wchar_t out[32];
  MakeFileSizeString(1023, out, 32);
  EXPECT_STREQ(out, L"1023 Bytes");
  MakeFileSizeString(1024, out, 32);
  EXPECT_STREQ(out, L"1 KB");
  MakeFileSizeString(1048575, out, 32);
  EXPECT_STREQ(out, L"1023 KB");
  MakeFileSizeString(1572864, out, 32);
  EXPECT_STREQ(out, L"1.50 MB");
  MakeFileSizeString(0xFFFFFFFFul, out, 32);
  EXPECT_STREQ(out, L"4096.00 MB");  // no GB step
}

TEST(StringUtils, LengthTextsDropHoursWhenAsked) {
  wchar_t out[32];
  MakeLengthString(3723004, out, 0, 0);
  EXPECT_STREQ(out, L"01:02:03");
  MakeLengthString(3723004, out, 1, 0);
  EXPECT_STREQ(out, L"01:02:03:004");
  MakeLengthString(59000, out, 0, 0);
  EXPECT_STREQ(out, L"00:59");
  MakeLengthString(59007, out, 1, 0);
  EXPECT_STREQ(out, L"00:59:007");
  MakeLengthString(65 * 60000, out, 0, 1);
  EXPECT_STREQ(out, L"05:00");  // 65 minutes: the hour is dropped, not folded in
}

}  // namespace
