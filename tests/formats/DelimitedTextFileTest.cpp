// CDelimitedTextFile: splitting rules, the virtual editing operations and
// their hook, and Save's exact byte layout, through real files; and a fuzz.
#include <zorutils/formats/DelimitedTextFile.h>

#include "tests/formats/FormatsTestUtil.h"
#include "tests/support/Fuzz.h"

namespace {

// The table as "name|name/field|field/..." ("<null>" for a null field or
// one past a row's end).
std::wstring Table(CDelimitedTextFile& f) {
  std::wstring all;
  for (int r = -1; r < f.NumRecords(); ++r)
    for (int c = 0; c < f.NumFields(); ++c) {
      const wchar_t* v = r < 0 ? f.FieldName(c) : f.GetField(r, static_cast<unsigned int>(c));
      all += (c ? L"|" : r < 0 ? L"" : L"/") + std::wstring(v ? v : L"<null>");
    }
  return all;
}

class CountingFile : public CDelimitedTextFile {
public:
  int added = 0;
  void OnNewRecordAdded() override { ++added; }
};

}  // namespace

TEST(DelimitedTextFile, SplitsOutsideQuotesTrimsQuotesByTheLeadingAndTrailingRuleAndNeverSpansLines) {
  const struct {
    const char* text;
    const wchar_t* table;
    wchar_t delimiter = L',', quote = L'"';
  } cases[] = {
      // Doubled quotes are no escape; with quote 0 quotes are text.
      {"a,\"b,c\",d", L"a|b,c|d"}, {"\"x\"\"y\"", L"x\"\"y"},
      {"a\tb\tc", L"a|b|c", L'\t', 0}, {"\"a\",b", L"\"a\"|b", L',', 0},
      // A lone quote opens quotes; a field that only ends with one loses it.
      {"\"x", L"x"}, {"x\"", L"x"}, {"\",b", L",b"}, {"\"\",b", L"|b"}, {"\"\r\n", L""},
      // A delimiter at a line end leaves an empty last field, at the text's end not.
      {"a,b,\r\nc,", L"a|b|/c|<null>|<null>"}, {",", L""},
      // Lines start outside quotes; runs of line ends are one; an empty first line is one empty field.
      {"\"a,b\r\nc\",d\r\n", L"a,b/c\",d"}, {"\na\r\n\r\n\n\rb", L"/a/b"},
  };
  zortest::TempDir dir;
  const std::wstring path = dir / L"t.csv";
  for (const auto& c : cases) {
    CDelimitedTextFile f;
    ASSERT_TRUE(zortest::WriteBytes(path, c.text) && f.Open(path.c_str(), c.delimiter, false, c.quote));
    EXPECT_EQ(c.table, Table(f)) << c.text;
  }
}

TEST(DelimitedTextFile, OpenReadsBothEncodingsNamesColumnsCaseInsensitivelyAndDropsRowsOfAnotherWidth) {
  zortest::TempDir dir;
  const std::wstring a = dir / L"a.csv", w = dir / L"w.csv";
  const std::wstring longest = dir / std::wstring(258 - dir.path().size(), L'p');
  ASSERT_TRUE(zortest::WriteBytes(a, "Name,Code\r\nEnglish,en\r\nFran\xE7" "ais,fr\n4,5,6\nx") &&
              zortest::WriteBytes(w, zortest::Utf16Bytes(L"Name\tCode\n\x65E5\x672C\tja\n", true)) &&
              zortest::WriteBytes(longest, "a"));
  CountingFile f;
  ASSERT_TRUE(f.Open(a.c_str(), L',', false, L'"'));
  EXPECT_EQ(L"Name|Code/English|en/Fran\xE7" L"ais|fr/4|5/x|<null> 4", Table(f) + L" " + std::to_wstring(f.added));
  EXPECT_STREQ(L"fr", f.GetField(1, L"CODE"));
  for (const wchar_t* bad : {L"", static_cast<const wchar_t*>(nullptr), L"Codes"})
    EXPECT_TRUE(f.GetFieldIndex(bad) == -1 && f.GetField(0, bad) == nullptr);
  ASSERT_TRUE(f.Open(a.c_str(), L',', true, L'"'));
  EXPECT_EQ(L"Name|Code/English|en/Fran\xE7" L"ais|fr 6", Table(f) + L" " + std::to_wstring(f.added))
      << "the hook runs for kept rows only";
  ASSERT_TRUE(f.Open(w.c_str(), L'\t', false, 0));
  EXPECT_EQ(L"Name|Code/\x65E5\x672C|ja", Table(f)) << "the byte-order mark is not part of the first name";
  EXPECT_FALSE(f.Open((dir / L"missing.csv").c_str(), L',', false, 0));
  EXPECT_EQ(L"", Table(f)) << "a failed Open leaves an empty table";
  ASSERT_TRUE(f.Open(longest.c_str(), L',', false, 0));
  EXPECT_EQ(longest, f.FilePath()) << "a path of 259 characters fits";
}

TEST(DelimitedTextFile, EditFieldFollowsItsEqualityAndEmptyRulesAndRowsAndColumnsAreAddedAndDeleted) {
  CountingFile f;
  wchar_t a[] = L"A", b[] = L"B", v[] = L"v", upper[] = L"V", empty[] = L"";
  EXPECT_TRUE(f.AddNewCol(nullptr, v) == -1 && f.AddNewCol(a, nullptr) == 0 && f.AddNewRow() == 0 &&
              f.AddNewRow() == 1 && f.AddNewCol(b, v) == 1);
  EXPECT_EQ(L"A|B/|v/|v", Table(f)) << "new rows hold empty strings; a new column's value goes to every row";
  EXPECT_EQ(2, f.added);
  std::wstring edits;
  for (wchar_t* text : {empty, v, v, upper, empty, empty, static_cast<wchar_t*>(nullptr)}) {
    edits += f.EditField(0, 0, text) ? L" +" : L" -";
    edits += f.GetField(0, 0u) ? f.GetField(0, 0u) : L"<null>";
  }
  EXPECT_EQ(L" - +v -v +V +<null> -<null> -<null>", edits) << "equal texts, case-sensitive; empty stores null";
  EXPECT_FALSE(f.EditField(2, 0, v) || f.EditField(0, 2, v) || !f.DeleteRow(0) || f.DeleteRow(1));
  EXPECT_EQ(L"A|B/|v", Table(f));
}

TEST(DelimitedTextFile, SaveWritesUtf16WithSingleByteLineEndsThatDoNotReadBackThroughOpen) {
  zortest::TempDir dir;
  ASSERT_TRUE(zortest::WriteBytes(dir / L"in.csv", "na\"me,b\r\nx\"\"y,2\r\n"));
  CDelimitedTextFile f;
  wchar_t empty[] = L"";
  ASSERT_TRUE(f.Open((dir / L"in.csv").c_str(), L',', false, 0) && f.EditField(0, 1, empty));
  std::wstring out = dir / L"out.csv";
  const std::string crlf = "\x0D\x0A";
  ASSERT_TRUE(f.Save(&out[0], L';', true, L'"'));
  EXPECT_EQ(zortest::Utf16Bytes(L"\"na\"me\";\"b\"", false) + crlf +
                zortest::Utf16Bytes(L"\"x\x201D\x201Dy\";", false) + crlf,
            zortest::ReadBytes(out))
      << "header names keep their quotes, inner quotes of records turn curly; a null field is left empty";
  ASSERT_TRUE(f.Save(&out[0], L'\t', false, 0));
  EXPECT_EQ(zortest::Utf16Bytes(L"x\"\"y\t", false) + crlf, zortest::ReadBytes(out));
  EXPECT_STREQ((dir / L"in.csv").c_str(), f.FilePath()) << "Save keeps a path that is set";
  // 0D 0A has no zero byte, so Open takes the file for single-byte text, which ends at the first zero
  // byte. Hosts that reread their tables know this layout; Open keeps the one rule of every reader.
  ASSERT_TRUE(f.Open(out.c_str(), L',', false, 0));
  EXPECT_EQ(L"x", Table(f));
  CDelimitedTextFile fresh;
  std::wstring bad = dir / L"no\\such\\dir.csv";
  EXPECT_FALSE(fresh.Save(nullptr, L',', true, 0) || fresh.Save(&bad[0], L',', true, 0) || *fresh.FilePath());
  EXPECT_TRUE(fresh.Save(&out[0], L',', true, 0) && out == fresh.FilePath()) << "the first Save sets an empty path";
  EXPECT_EQ(crlf, zortest::ReadBytes(out)) << "an empty header is still one line";
}

TEST(DelimitedTextFileFuzz, ReadsConsistentlyEditsAndSaves) {
  const std::vector<std::string> samples = ftest::Variants({
      L"Name,Code,Note\r\nEnglish,en,\"plain, quoted\"\r\nFran\xE7" L"ais,fr,\"x\"\"y\"\n\nDeutsch,de,\nshort,row\n"
      L"\"unterminated,quote\n,,\n",
      L"a\tb\n1\t\"2\t3\"\n\"\"\t\"\n\n\n4\t5\t6\t7\nlast\tline",
  });
  const std::vector<std::string> tokens = ftest::WithUtf16({",", "\t", "\"", "\"\"", "\r\n", "\n", ",,", "\"a,b\""});
  zortest::TempDir dir;
  const std::wstring path = dir / L"fuzz.csv";
  std::wstring saved = dir / L"saved.csv";
  zortest::Fuzz(samples, tokens, {}, [&](const std::string& input) {
    const std::string bytes = input.substr(0, zortest::HeapChecked() ? 20000 : 100000);
    ASSERT_TRUE(zortest::WriteBytes(path, bytes));
    const wchar_t delimiter = bytes.find('\t') < bytes.find('\n') ? L'\t' : L',';
    for (wchar_t quote : {L'"', L'\0'}) {
      CDelimitedTextFile f, kept;
      const bool opened = f.Open(path.c_str(), delimiter, false, quote);
      EXPECT_TRUE(opened == kept.Open(path.c_str(), delimiter, true, quote) && opened == (f.NumFields() > 0));
      // Every field by index and by name; dropShortRows keeps just the rows as wide as the header.
      const int columns = f.NumFields();
      int k = 0;
      for (int r = 0; r < f.NumRecords(); ++r) {
        int width = 0;
        for (; const wchar_t* field = f.GetField(r, static_cast<unsigned int>(width)); ++width) {
          const wchar_t* name = width < columns ? f.FieldName(width) : L"";
          const int index = f.GetFieldIndex(name);
          EXPECT_FALSE(wcspbrk(field, L"\r\n"));
          EXPECT_TRUE(*name ? index >= 0 && index <= width && _wcsicmp(f.FieldName(index), name) == 0 &&
                                  f.GetField(r, name) == f.GetField(r, index)
                            : index == -1);
        }
        for (int c = 0; width == columns && c < columns; ++c) EXPECT_STREQ(f.GetField(r, c), kept.GetField(k, c));
        k += width == columns;
      }
      EXPECT_EQ(k, kept.NumRecords());
      wchar_t text[] = L"edited\"";
      EXPECT_TRUE(!f.NumRecords() || (f.EditField(0, 0, text) && !wcscmp(text, f.GetField(0, 0u))));
      const int added = f.AddNewRow();
      ASSERT_EQ(f.NumRecords() - 1, added);
      for (int c = 0; c <= columns; ++c) EXPECT_STREQ(c < columns ? L"" : nullptr, f.GetField(added, c));
      EXPECT_TRUE(f.DeleteRow(0) && !f.DeleteRow(added) && f.Save(&saved[0], delimiter, true, quote));
    }
  });
}
