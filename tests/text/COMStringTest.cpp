// CCOMString: the contracts hosts depend on, quirks included.
#include "tests/support/TestSupport.h"

#include <oleauto.h>

#include <climits>

namespace {

// Reads the one data member behind the virtual table, to see blocks and nulls.
struct Peek : CCOMString {
  using CCOMString::CCOMString;
  const wchar_t* Buffer() const { return m_pszString; }
};

TEST(COMString, ConstructionAssignmentAndAppending) {
  EXPECT_STREQ(Peek(L'x', 3).Buffer(), L"xxx");
  EXPECT_EQ(Peek(L'x', -4).Buffer(), nullptr);
  Peek none(L'x', 0);
  EXPECT_EQ(none.Buffer(), nullptr);
  none = L"back";  // such an object may still be assigned to
  EXPECT_STREQ(none.Buffer(), L"back");
  CCOMString a(L"abc"), b(a), c, bang(L"!");
  c = b;
  b.SetAt(0, L'z');  // copies never share a block
  const wchar_t* before = a.GetString();
  a = a;  // self-assignment keeps the very same block
  EXPECT_TRUE(a == L"abc" && c == L"abc" && a.GetString() == before);
  CCOMString s(L"hello world");
  s = s.GetString() + 6;
  s += s;
  s += s.GetString() + 5;
  s += L'?';
  EXPECT_STREQ(s + bang + L".", L"worldworldworld?!.");
  EXPECT_STREQ(CCOMString(static_cast<const wchar_t*>(nullptr)), L"");  // null is taken as empty
  BSTR com = s.AllocSysString();
  EXPECT_EQ(std::wstring(com, SysStringLen(com)), L"worldworldworld?");
  SysFreeString(com);
}

TEST(COMString, ExtractionClampsSearchAndCompareFollowTheirRules) {
  CCOMString abc(L"abc"), aabxa(L"aabxa");
  const CCOMString got[] = {abc.Left(-5), abc.Left(1), abc.Left(100), abc.Right(100), abc.Right(2), abc.Right(-1),
                            abc.Mid(-2, 0), abc.Mid(1), abc.Mid(5), abc.Mid(1, 10), abc.Mid(-2, 2), abc.Mid(4, 2),
                            aabxa.SpanIncluding(L"ab"), aabxa.SpanExcluding(L"x"), abc.SpanExcluding(L"q"),
                            abc.Left(INT_MAX), abc.Mid(1, INT_MAX), abc.Mid(INT_MIN)};  // "all of it" never wraps
  const wchar_t* const want[] = {L"", L"a", L"abc", L"abc", L"bc", L"", L"", L"bc", L"", L"bc", L"ab", L"",
                                 L"aab", L"aab", L"abc", L"abc", L"bc", L"abc"};
  for (size_t i = 0; i < sizeof want / sizeof want[0]; ++i) EXPECT_STREQ(got[i], want[i]) << "case " << i;
  // Start == length is allowed for a substring but not for a single unit.
  // Compare is ordinal on unsigned units: exactly -1, 0 or 1, a prefix first.
  const int found[] = {abc.Find(L"", 3), abc.Find(L"", 4), abc.Find(L'c', 3), abc.Find(L'c', 2), abc.Find(L"bc"),
                       abc.Find(L"bc", 2), abc.Find(L'\0'), abc.FindOneOf(L"xc"), abc.FindOneOf(L"xy"),
                       CCOMString(L"ab").Compare(L"abc"), abc.Compare(L"ab"), CCOMString(L"B").Compare(L"a"),
                       abc.Compare(L"abc"), CCOMString(L"\xFFFF").Compare(L"a"), abc.CompareNoCase(L"ABC"),
                       abc.Find(L"a", -1), abc.Find(L'a', -1), abc.Find(L'a', INT_MAX)};  // never before the block
  const int expected[] = {3, -1, -1, 2, 1, -1, -1, 2, -1, -1, 1, -1, 0, 1, 0, -1, -1, -1};
  for (size_t i = 0; i < sizeof found / sizeof found[0]; ++i) EXPECT_EQ(found[i], expected[i]) << "search " << i;
  EXPECT_TRUE(abc.CompareNoCase(L"ABD") < 0 && abc.Collate(L"b") < 0 && abc == CCOMString(L"abc") && !(abc == L"ab"));
}

TEST(COMString, ReplaceTakesNonOverlappingMatchesOnceAndShorterTextsKeepTheirBlock) {
  static const struct { const wchar_t *text, *from, *to; int count; const wchar_t* result; } kCases[] = {
      {L"aaaa", L"aa", L"b", 2, L"bb"}, {L"aaa", L"aa", L"b", 1, L"ba"}, {L"ba", L"", L"x", 0, L"ba"},
      {L"a-a", L"a", L"aa", 2, L"aa-aa"}, {L"xyz", L"q", L"r", 0, L"xyz"}, {L"<x><x>", L"<x>", L"", 2, L""},
      {L"xababx", L"ab", L"QQQ", 2, L"xQQQQQQx"}, {L"abab", L"ab", L"xy", 2, L"xyxy"}};
  for (const auto& c : kCases) {
    Peek s(c.text);
    const wchar_t* before = s.Buffer();
    EXPECT_EQ(s.Replace(c.from, c.to), c.count) << zortest::Escape(c.text);
    EXPECT_STREQ(s, c.result);
    EXPECT_TRUE(wcslen(c.result) > wcslen(c.text) || s.Buffer() == before) << "no longer: same block";
  }
  CCOMString units(L"banana");
  EXPECT_EQ(units.Replace(L'a', L'a'), 0);
  EXPECT_EQ(units.Replace(L'a', L'o'), 3);
  EXPECT_STREQ(units, L"bonono");
  using Edit = void (CCOMString::*)();
  static const struct { const wchar_t* text; Edit edit; const wchar_t* result; } kEdits[] = {
      {L"a b  ", &CCOMString::TrimRight, L"a b"}, {L"\t\r\n x \t", &CCOMString::TrimLeft, L"x \t"},
      {L"   ", &CCOMString::TrimLeft, L""}, {L"Abc9z", &CCOMString::MakeUpper, L"ABC9Z"},
      {L"AbC9z", &CCOMString::MakeLower, L"abc9z"}, {L"abc", &CCOMString::MakeReverse, L"cba"},
      {L"abc", &CCOMString::Empty, L""}};
  for (const auto& c : kEdits) {
    Peek s(c.text);
    const wchar_t* before = s.Buffer();
    (s.*c.edit)();
    EXPECT_STREQ(s, c.result) << zortest::Escape(c.text);
    EXPECT_EQ(s.Buffer(), before) << "edited in place";
  }
}

TEST(COMString, FormatReproducesLongTextWhole) {
  CCOMString s(L"abc");
  s.Format(L"[%s]-%d", s.GetString(), 5);  // %s is wide; the format may use the string's own text
  EXPECT_STREQ(s, L"[abc]-5");
  for (int n : {98, 99, 100, 101, 250, 5000}) {  // around the 100-unit scratch buffer
    const std::wstring text(static_cast<size_t>(n) - 1, L'q');
    s.Format(L"%s!", text.c_str());
    EXPECT_EQ(std::wstring(s.GetString()), text + L"!") << "length " << n;
  }
}

}  // namespace
