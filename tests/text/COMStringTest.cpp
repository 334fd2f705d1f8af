// CCOMString: the contracts hosts depend on, quirks included.
#include "tests/support/TestSupport.h"

#include <oleauto.h>

#include <string>

namespace {

// Reads the one data member behind the virtual table, to see blocks and nulls.
struct Peek : CCOMString {
  using CCOMString::CCOMString;
  const wchar_t* Buffer() const { return m_pszString; }
};

TEST(COMString, IsAVirtualTableAndOnePointer) {
  EXPECT_EQ(sizeof(CCOMString), 2 * sizeof(void*));
  CCOMString* derived = new Peek(L"x");
  delete derived;  // polymorphic destruction through the base
}

TEST(COMString, RepeatConstructorLeavesNullBufferForZeroOrLess) {
  Peek three(L'x', 3);
  EXPECT_STREQ(three.Buffer(), L"xxx");
  Peek none(L'x', 0);
  EXPECT_EQ(none.Buffer(), nullptr);
  Peek negative(L'x', -4);
  EXPECT_EQ(negative.Buffer(), nullptr);
  // Such an object may still be assigned to and destroyed.
  none = L"back";
  EXPECT_STREQ(none.Buffer(), L"back");
}

TEST(COMString, CopiesNeverShareBuffers) {
  CCOMString a(L"abc");
  CCOMString b(a);
  EXPECT_NE(a.GetString(), b.GetString());
  b.SetAt(0, L'z');
  EXPECT_STREQ(a, L"abc");
  CCOMString c;
  c = a;
  EXPECT_NE(c.GetString(), a.GetString());
  const wchar_t* before = a.GetString();
  a = a;  // self-assignment keeps the very same block
  EXPECT_EQ(a.GetString(), before);
}

TEST(COMString, AssigningPartOfItsOwnTextIsSafe) {
  CCOMString s(L"hello world");
  s = s.GetString() + 6;
  EXPECT_STREQ(s, L"world");
  s += s;
  EXPECT_STREQ(s, L"worldworld");
  s += s.GetString() + 5;
  EXPECT_STREQ(s, L"worldworldworld");
}

TEST(COMString, LeftRightMidClampTheirArguments) {
  CCOMString abc(L"abc");
  EXPECT_STREQ(abc.Left(-5), L"");
  EXPECT_STREQ(abc.Left(0), L"");
  EXPECT_STREQ(abc.Left(2), L"ab");
  EXPECT_STREQ(abc.Left(100), L"abc");
  EXPECT_STREQ(abc.Right(100), L"abc");
  EXPECT_STREQ(abc.Right(2), L"bc");
  EXPECT_STREQ(abc.Right(-1), L"");
  EXPECT_STREQ(abc.Mid(-2, 0), L"");
  EXPECT_STREQ(abc.Mid(1), L"bc");
  EXPECT_STREQ(abc.Mid(5), L"");
  EXPECT_STREQ(abc.Mid(3), L"");
  EXPECT_STREQ(abc.Mid(1, 10), L"bc");
  EXPECT_STREQ(abc.Mid(-2, 2), L"ab");
  EXPECT_STREQ(abc.Mid(0, 3), L"abc");
  EXPECT_STREQ(abc.Mid(4, 2), L"");
}

TEST(COMString, FindStartRulesDifferBetweenSubstringAndUnit) {
  CCOMString abc(L"abc");
  EXPECT_EQ(abc.Find(L"", 3), 3);    // start == length allowed for a substring
  EXPECT_EQ(abc.Find(L"", 4), -1);
  EXPECT_EQ(abc.Find(L'c', 3), -1);  // but not for a single unit
  EXPECT_EQ(abc.Find(L'c', 2), 2);
  EXPECT_EQ(abc.Find(L"bc"), 1);
  EXPECT_EQ(abc.Find(L"bc", 2), -1);
  EXPECT_EQ(abc.Find(L""), 0);
  EXPECT_EQ(abc.Find(L'\0'), -1);  // the terminator is not part of the text
  EXPECT_EQ(abc.FindOneOf(L"xc"), 2);
  EXPECT_EQ(abc.FindOneOf(L"xy"), -1);
  EXPECT_STREQ(CCOMString(L"aabxa").SpanIncluding(L"ab"), L"aab");
  EXPECT_STREQ(CCOMString(L"aabxa").SpanExcluding(L"x"), L"aab");
  EXPECT_STREQ(CCOMString(L"xyz").SpanExcluding(L"q"), L"xyz");
}

TEST(COMString, CompareIsOrdinalOnUnsignedUnits) {
  CCOMString ab(L"ab");
  EXPECT_EQ(ab.Compare(L"abc"), -1);
  EXPECT_EQ(CCOMString(L"abc").Compare(L"ab"), 1);
  EXPECT_EQ(CCOMString(L"B").Compare(L"a"), -1);
  EXPECT_EQ(ab.Compare(L"ab"), 0);
  // U+FFFF sorts after ASCII: units are unsigned 16-bit values.
  EXPECT_EQ(CCOMString(L"\xFFFF").Compare(L"a"), 1);
  EXPECT_EQ(CCOMString(L"ABC").CompareNoCase(L"abc"), 0);
  EXPECT_LT(CCOMString(L"abc").CompareNoCase(L"ABD"), 0);
  EXPECT_TRUE(ab == L"ab");
  EXPECT_FALSE(ab == L"a");
  CCOMString other(L"ab");
  EXPECT_TRUE(ab == other);
  EXPECT_EQ(CCOMString(L"a").Collate(L"b") < 0, true);
}

TEST(COMString, ReplaceScansForNonOverlappingMatches) {
  CCOMString four(L"aaaa");
  EXPECT_EQ(four.Replace(L"aa", L"b"), 2);
  EXPECT_STREQ(four, L"bb");
  CCOMString three(L"aaa");
  EXPECT_EQ(three.Replace(L"aa", L"b"), 1);
  EXPECT_STREQ(three, L"ba");
  EXPECT_EQ(three.Replace(L"", L"x"), 0);
  EXPECT_STREQ(three, L"ba");
  // Inserted text is never searched again.
  CCOMString grow(L"a-a");
  EXPECT_EQ(grow.Replace(L"a", L"aa"), 2);
  EXPECT_STREQ(grow, L"aa-aa");
  CCOMString none(L"xyz");
  EXPECT_EQ(none.Replace(L"q", L"r"), 0);
  CCOMString gone(L"<x><x>");
  EXPECT_EQ(gone.Replace(L"<x>", L""), 2);
  EXPECT_STREQ(gone, L"");
}

TEST(COMString, ShrinkingReplaceKeepsTheBlock) {
  Peek s(L"one two two");
  const wchar_t* before = s.Buffer();
  EXPECT_EQ(s.Replace(L"two", L"2"), 2);
  EXPECT_STREQ(s, L"one 2 2");
  EXPECT_EQ(s.Buffer(), before);
}

TEST(COMString, ReplaceMatchesAPlainLoopOnLongText) {
  // The one-pass replacement must give what replacing match by match would.
  std::wstring text;
  for (int i = 0; i < 2000; ++i) text += (i % 7 == 0) ? L"abab" : L"xab";
  for (const wchar_t* repl : {L"", L"Q", L"QQQQQQ", L"ab"}) {
    std::wstring expected;
    size_t count = 0;
    for (size_t pos = 0;;) {
      size_t hit = text.find(L"ab", pos);
      if (hit == std::wstring::npos) {
        expected += text.substr(pos);
        break;
      }
      expected += text.substr(pos, hit - pos) + repl;
      pos = hit + 2;
      ++count;
    }
    CCOMString s(text.c_str());
    EXPECT_EQ(s.Replace(L"ab", repl), static_cast<int>(count));
    EXPECT_EQ(std::wstring(s.GetString()), expected);
  }
}

TEST(COMString, ReplaceUnitReturnsZeroWhenOldEqualsNew) {
  CCOMString s(L"banana");
  EXPECT_EQ(s.Replace(L'a', L'a'), 0);
  EXPECT_EQ(s.Replace(L'a', L'o'), 3);
  EXPECT_STREQ(s, L"bonono");
}

TEST(COMString, TrimAndEmptyKeepTheBlock) {
  Peek s(L"a b  ");
  const wchar_t* before = s.Buffer();
  s.TrimRight();
  EXPECT_STREQ(s, L"a b");
  EXPECT_EQ(s.Buffer(), before);
  CCOMString blanks(L"   ");
  blanks.TrimLeft();
  EXPECT_STREQ(blanks, L"");
  CCOMString mixed(L"\t\r\n x \t");
  mixed.TrimLeft();
  EXPECT_STREQ(mixed, L"x \t");
  Peek e(L"text");
  before = e.Buffer();
  e.Empty();
  EXPECT_EQ(e.GetLength(), 0);
  EXPECT_TRUE(e.IsEmpty());
  EXPECT_EQ(e.Buffer(), before);
}

TEST(COMString, FormatReproducesLongTextWhole) {
  CCOMString s;
  s.Format(L"%d", 5);
  EXPECT_STREQ(s, L"5");
  s.Format(L"%s-%d", L"wide", 42);  // %s is a wide string
  EXPECT_STREQ(s, L"wide-42");
  // Around the 100-unit scratch buffer: 98, 99 (exactly fills it), 100, 101, and 250.
  for (int n : {98, 99, 100, 101, 199, 200, 250, 5000}) {
    std::wstring text(static_cast<size_t>(n), L'q');
    text[static_cast<size_t>(n) - 1] = L'!';
    s.Format(L"%s", text.c_str());
    EXPECT_EQ(s.GetLength(), n);
    EXPECT_EQ(std::wstring(s.GetString()), text) << "length " << n;
  }
  // A format may use the string's own text.
  s = L"abc";
  s.Format(L"[%s]", s.GetString());
  EXPECT_STREQ(s, L"[abc]");
}

TEST(COMString, AppendAndConcatenate) {
  CCOMString s(L"ab");
  s += L'c';
  s += L"de";
  CCOMString f(L"f");
  s += f;
  EXPECT_STREQ(s, L"abcdef");
  CCOMString joined = s + L"!";
  EXPECT_STREQ(joined, L"abcdef!");
  EXPECT_STREQ(s, L"abcdef");
  CCOMString both = s + f;
  EXPECT_STREQ(both, L"abcdeff");
  CCOMString empty;
  empty += L"";
  EXPECT_STREQ(empty, L"");
}

TEST(COMString, CaseAndReverseInPlace) {
  CCOMString s(L"Abc9z");
  s.MakeUpper();
  EXPECT_STREQ(s, L"ABC9Z");
  s.MakeLower();
  EXPECT_STREQ(s, L"abc9z");
  s.MakeReverse();
  EXPECT_STREQ(s, L"z9cba");
}

TEST(COMString, AllocSysStringCopiesTheText) {
  CCOMString s(L"com text");
  BSTR b = s.AllocSysString();
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(SysStringLen(b), 8u);
  EXPECT_STREQ(b, L"com text");
  SysFreeString(b);
}

TEST(COMString, NullTextIsTakenAsEmpty) {
  CCOMString s(static_cast<const wchar_t*>(nullptr));
  EXPECT_STREQ(s, L"");
  s = L"x";
  s = static_cast<const wchar_t*>(nullptr);
  EXPECT_STREQ(s, L"");
  s += static_cast<const wchar_t*>(nullptr);
  EXPECT_STREQ(s, L"");
}

}  // namespace
