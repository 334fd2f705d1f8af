// CDelimitedTextFile: splitting rules, the virtual editing operations and
// their hook, and Save's exact byte layout, through real files.
#include <zorutils/formats/DelimitedTextFile.h>

#include "tests/support/TestSupport.h"

#include <cstdlib>
#include <string>

namespace {

// The row at `position` as "field|field|..." ("<null>" when there is none).
std::wstring Split(const std::wstring& text, int& position, wchar_t delimiter = L',',
                   wchar_t quote = L'"') {
  CDelimitedTextFile f;
  CDynArray<wchar_t*>* row =
      f.LoadNextLine(text.c_str(), position, delimiter, static_cast<int>(text.size()), quote);
  if (!row) return L"<null>";
  std::wstring all;
  for (int i = 0; i < row->GetSize(); ++i) all += (i ? L"|" : L"") + std::wstring((*row)[i]);
  row->DeleteAll();
  delete row;
  return all;
}

std::wstring SplitAt0(const std::wstring& text, wchar_t delimiter = L',', wchar_t quote = L'"') {
  int position = 0;
  return Split(text, position, delimiter, quote);
}

// Columns 0 .. NumFields() - 1 of `row` as "field|field|..." ("<null>" for
// a null field or one past the row's end).
std::wstring Row(CDelimitedTextFile& f, unsigned int row) {
  std::wstring all;
  for (int c = 0; c < f.NumFields(); ++c) {
    const wchar_t* v = f.GetField(row, static_cast<unsigned int>(c));
    all += (c ? L"|" : L"") + std::wstring(v ? v : L"<null>");
  }
  return all;
}

// Counts the hook's calls.
class CountingFile : public CDelimitedTextFile {
public:
  int added = 0;
  void OnNewRecordAdded() override { ++added; }
};

}  // namespace

TEST(DelimitedTextFile, SplitsOutsideQuotesTrimsQuotesByTheLeadingAndTrailingRuleAndCountsTrailingDelimiterOnlyAtLineEnd) {
  const struct {
    const wchar_t *text, *fields;
    wchar_t delimiter, quote;
  } cases[] = {
      // Doubled quotes are no escape; with quote 0 quotes are text.
      {L"a,\"b,c\",d", L"a|b,c|d", L',', L'"'}, {L"\"x\"\"y\"", L"x\"\"y", L',', L'"'},
      {L"a\tb\tc", L"a|b|c", L'\t', 0}, {L"\"a\",b", L"\"a\"|b", L',', 0},
      // The lone quote opens quotes: one field.
      {L"\"x", L"x", L',', L'"'}, {L"x\"", L"x", L',', L'"'}, {L"a,\"\"\n", L"a|", L',', L'"'},
      {L"\",b", L",b", L',', L'"'}, {L"\"\",b", L"|b", L',', L'"'}, {L"\"\r\n", L"", L',', L'"'},
      // An empty line in front is one empty field; the delimiter stores the
      // empty field before it.
      {L"a,b,\r\n", L"a|b|", L',', L'"'}, {L"a,b,", L"a|b", L',', L'"'},
      {L"\n", L"", L',', L'"'}, {L",", L"", L',', L'"'},
  };
  for (const auto& c : cases) EXPECT_EQ(c.fields, SplitAt0(c.text, c.delimiter, c.quote)) << zortest::Escape(c.text);
}

TEST(DelimitedTextFile, FieldsNeverSpanLinesEvenInsideQuotesAndEmptyLinesAreSkipped) {
  std::wstring text = L"\"a,b\r\nc\",d\r\n";
  int position = 0;
  EXPECT_EQ(L"a,b", Split(text, position));
  EXPECT_EQ(L"c\",d", Split(text, position)) << "each line starts outside quotes";
  EXPECT_EQ(L"<null>", Split(text, position));
  text = L"a\r\n\r\n\n\rb";
  position = 0;
  EXPECT_EQ(L"a", Split(text, position));
  EXPECT_EQ(7, position);
  EXPECT_EQ(L"b", Split(text, position));
  EXPECT_EQ(8, position);
  EXPECT_EQ(L"<null>", Split(text, position));
  position = -1;
  EXPECT_EQ(L"<null>", Split(text, position));
  CDelimitedTextFile f;
  position = 0;
  EXPECT_EQ(nullptr, f.LoadNextLine(nullptr, position, L',', 5, L'"'));
}

TEST(DelimitedTextFile, OpenReadsHeaderRowsAndBothEncodingsAndAFailedOpenEmptiesTheTable) {
  zortest::TempDir dir;
  const std::wstring ansi = dir / L"a.csv", wide = dir / L"w.csv", nobom = dir / L"n.csv";
  ASSERT_TRUE(zortest::WriteBytes(ansi, "Name,Code\r\nEnglish,en\r\nFran\xE7" "ais,fr"));
  ASSERT_TRUE(zortest::WriteBytes(wide, zortest::Utf16Bytes(L"Name\tCode\nEnglish\ten\n\x65E5\x672C\tja\n", true)));
  ASSERT_TRUE(zortest::WriteBytes(nobom, zortest::Utf16Bytes(L"Name,Code\nx,y", false)));

  CountingFile f;
  ASSERT_TRUE(f.Open(ansi.c_str(), L',', false, L'"'));
  EXPECT_EQ(2, f.NumFields());
  EXPECT_EQ(2, f.NumRecords());
  EXPECT_EQ(2, f.added);
  EXPECT_STREQ(L"Fran\xE7" L"ais", f.GetField(1, L"NAME"));
  EXPECT_STREQ(ansi.c_str(), f.FilePath());
  EXPECT_EQ(1, f.GetFieldIndex(L"code"));
  for (const wchar_t* bad : {L"", static_cast<const wchar_t*>(nullptr), L"Codes"})
    EXPECT_EQ(-1, f.GetFieldIndex(bad));
  EXPECT_EQ(nullptr, f.GetField(0, L"nope"));
  EXPECT_EQ(nullptr, f.GetField(2, 0u));
  EXPECT_EQ(nullptr, f.GetField(0, 2u));
  EXPECT_EQ(nullptr, f.FieldName(2));

  ASSERT_TRUE(f.Open(wide.c_str(), L'\t', false, 0));
  EXPECT_EQ(L"\x65E5\x672C|ja", Row(f, 1)) << "the byte-order mark is not part of the first name";
  EXPECT_STREQ(L"Name", f.FieldName(0));
  ASSERT_TRUE(f.Open(nobom.c_str(), L',', false, 0));
  EXPECT_EQ(L"x|y", Row(f, 0));

  // A failed Open leaves an empty table (empty and mark-only files: the crash sweep).
  EXPECT_FALSE(f.Open(nullptr, L',', false, 0));
  EXPECT_FALSE(f.Open((dir / L"missing.csv").c_str(), L',', false, 0));
  EXPECT_EQ(0, f.NumFields());
}

TEST(DelimitedTextFile, DropShortRowsLeavesOutRowsOfAnotherWidth) {
  zortest::TempDir dir;
  ASSERT_TRUE(zortest::WriteBytes(dir / L"t.csv", "a,b,c\n1,2,3\n4,5\n6,7,8,9\n10,11,12"));
  CountingFile f;
  ASSERT_TRUE(f.Open((dir / L"t.csv").c_str(), L',', true, 0));
  EXPECT_EQ(2, f.NumRecords());
  EXPECT_EQ(2, f.added) << "the hook runs only for kept rows";
  EXPECT_EQ(L"10|11|12", Row(f, 1));
  ASSERT_TRUE(f.Open((dir / L"t.csv").c_str(), L',', false, 0));
  EXPECT_EQ(4, f.NumRecords());
  EXPECT_EQ(L"4|5|<null>", Row(f, 1));
  EXPECT_EQ(nullptr, f.GetField(1, 2u));
}

TEST(DelimitedTextFile, EditFieldFollowsItsEqualityAndEmptyRulesAndRowsAndColumnsAreAddedAndDeleted) {
  CountingFile f;
  wchar_t name[] = L"col", value[] = L"v", upper[] = L"V", empty[] = L"";
  EXPECT_EQ(0, f.AddNewCol(name, nullptr));
  ASSERT_EQ(0, f.AddNewRow());
  EXPECT_STREQ(L"", f.GetField(0, 0u)) << "new rows hold empty strings";
  EXPECT_FALSE(f.EditField(0, 0, empty)) << "equal text";
  EXPECT_TRUE(f.EditField(0, 0, value));
  EXPECT_FALSE(f.EditField(0, 0, value));
  EXPECT_TRUE(f.EditField(0, 0, upper)) << "case counts";
  EXPECT_STREQ(L"V", f.GetField(0, 0u));
  EXPECT_TRUE(f.EditField(0, 0, empty));
  EXPECT_EQ(nullptr, f.GetField(0, 0u)) << "an empty text stores null";
  EXPECT_FALSE(f.EditField(0, 0, empty));
  EXPECT_FALSE(f.EditField(0, 0, nullptr));
  EXPECT_FALSE(f.EditField(1, 0, value));
  EXPECT_FALSE(f.EditField(0, 1, value));
  f.Clear();
  f.added = 0;
  wchar_t a[] = L"A", b[] = L"B", x[] = L"x";
  EXPECT_EQ(-1, f.AddNewCol(nullptr, x));
  EXPECT_EQ(0, f.AddNewCol(a, nullptr));
  EXPECT_EQ(0, f.AddNewRow());
  EXPECT_EQ(1, f.AddNewRow());
  EXPECT_EQ(2, f.added);
  EXPECT_EQ(1, f.AddNewCol(b, x));
  EXPECT_EQ(L"|x", Row(f, 1));
  EXPECT_TRUE(f.EditField(1, 0, a));
  EXPECT_TRUE(f.DeleteRow(0));
  EXPECT_FALSE(f.DeleteRow(1));
  EXPECT_EQ(1, f.NumRecords());
  EXPECT_EQ(L"A|x", Row(f, 0));
  f.Clear();
  EXPECT_EQ(0, f.NumFields());
  EXPECT_EQ(0, f.NumRecords());

  wchar_t* s = f.AllocString(L"abcdef", 3, false);
  EXPECT_STREQ(L"abc", s);
  std::free(s);
  s = f.AllocString(L"abc", 0, true);
  EXPECT_STREQ(L"", s);
  std::free(s);
  EXPECT_EQ(nullptr, f.AllocString(nullptr, 3, false));
  EXPECT_EQ(nullptr, f.AllocString(L"abc", -1, false));
}

TEST(DelimitedTextFile, SaveWritesUtf16WithSingleByteLineEndsAndCurlyInnerQuotes) {
  zortest::TempDir dir;
  const std::wstring in = dir / L"in.csv";
  ASSERT_TRUE(zortest::WriteBytes(in, "na\"me,b\r\nx\"\"y,2\r\n"));
  CDelimitedTextFile f;
  ASSERT_TRUE(f.Open(in.c_str(), L',', false, 0));
  wchar_t empty[] = L"";
  ASSERT_TRUE(f.EditField(0, 1, empty));

  std::wstring out = dir / L"out.csv";
  ASSERT_TRUE(f.Save(&out[0], L';', true, L'"'));
  const std::string crlf = "\x0D\x0A";
  EXPECT_EQ(zortest::Utf16Bytes(L"\"na\"me\";\"b\"", false) + crlf +
                zortest::Utf16Bytes(L"\"x\x201D\x201Dy\";", false) + crlf,
            zortest::ReadBytes(out))
      << "header names keep their quotes; a null field is left empty";

  std::wstring plain = dir / L"plain.csv";
  ASSERT_TRUE(f.Save(&plain[0], L'\t', false, 0));
  EXPECT_EQ(zortest::Utf16Bytes(L"x\"\"y\t", false) + crlf, zortest::ReadBytes(plain));
  EXPECT_STREQ(in.c_str(), f.FilePath()) << "Save keeps a path that is set";

  CDelimitedTextFile fresh;
  EXPECT_FALSE(fresh.Save(nullptr, L',', true, 0));
  std::wstring bad = dir / L"no\\such\\dir.csv";
  EXPECT_FALSE(fresh.Save(&bad[0], L',', true, 0));
  EXPECT_STREQ(L"", fresh.FilePath());
  ASSERT_TRUE(fresh.Save(&plain[0], L',', true, 0));
  EXPECT_STREQ(plain.c_str(), fresh.FilePath()) << "the first Save sets an empty path";
  EXPECT_EQ(crlf, zortest::ReadBytes(plain)) << "an empty header is still one line";
}

TEST(DelimitedTextFile, OpenEditSaveRoundTripThroughRealFiles) {
  zortest::TempDir dir;
  const std::wstring in = dir / L"in.csv";
  ASSERT_TRUE(zortest::WriteBytes(in, "Title,Artist\r\n\"Song, no. 1\",\xC9" "dith\r\nB,\"C\"\r\n"));
  CDelimitedTextFile f;
  ASSERT_TRUE(f.Open(in.c_str(), L',', true, L'"'));
  wchar_t text[] = L"\x266B";
  ASSERT_TRUE(f.EditField(1, 1, text));
  std::wstring out = dir / L"out.csv";
  ASSERT_TRUE(f.Save(&out[0], L',', true, L'"'));
  const std::string crlf = "\x0D\x0A";
  EXPECT_EQ(zortest::Utf16Bytes(L"\"Title\",\"Artist\"", false) + crlf +
                zortest::Utf16Bytes(L"\"Song, no. 1\",\"\xC9" L"dith\"", false) + crlf +
                zortest::Utf16Bytes(L"\"B\",\"\x266B\"", false) + crlf,
            zortest::ReadBytes(out));
}

TEST(DelimitedTextFile, SavedLayoutDoesNotReadBackThroughOpen) {
  // The single-byte line end 0D 0A is one UTF-16 unit (U+0A0D), and it is a
  // byte pair without a zero, so StringIsUnicode takes the saved file for
  // single-byte text, whose widening stops at the first zero byte. Hosts
  // that reread their saved tables know this layout; Open keeps the one
  // detection rule every reader shares.
  zortest::TempDir dir;
  CDelimitedTextFile f;
  wchar_t name[] = L"Name", value[] = L"v";
  f.AddNewCol(name, value);
  f.AddNewRow();
  std::wstring path = dir / L"saved.csv";
  ASSERT_TRUE(f.Save(&path[0], L',', true, 0));
  CDelimitedTextFile back;
  ASSERT_TRUE(back.Open(path.c_str(), L',', false, 0));
  EXPECT_EQ(1, back.NumFields());
  EXPECT_STREQ(L"N", back.FieldName(0));
  EXPECT_EQ(0, back.NumRecords());
}
