// Mutation fuzz of the INI and delimited-text readers, on real files in
// single-byte text and UTF-16LE with and without a mark. Whatever loads must
// read back consistently, edit and save; an INI document that loads must
// come back from its saved file with the same named sections and values.
#include <zorutils/formats/DelimitedTextFile.h>
#include <zorutils/formats/IniFileReader.h>

#include "tests/formats/XMLTestUtil.h"
#include "tests/support/Fuzz.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

size_t MaxBytes() { return zortest::HeapChecked() ? 20000 : 100000; }

// The text in front of "=" on every line, as a key is stored (tabs made
// spaces, spaces trimmed): every key of the document is among them.
std::vector<std::wstring> KeysIn(const std::wstring& text) {
  std::vector<std::wstring> keys;
  std::wstring line;
  for (wchar_t c : text + L"\n") {
    if (c != L'\r' && c != L'\n') {
      line += c == L'\t' ? L' ' : c;
      continue;
    }
    const size_t eq = line.find(L'='), first = line.find_first_not_of(L' ');
    if (eq != std::wstring::npos && first < eq && keys.size() < 64)
      keys.push_back(line.substr(first, line.find_last_not_of(L' ', eq - 1) + 1 - first));
    line.clear();
  }
  return keys;
}

// Each section's name (the unnamed one's only when `unnamed`), then its
// value of every key in `keys` as GetString reads it ("\x1" when missing).
std::vector<std::wstring> Read(CIniFileReader& ini, const std::vector<std::wstring>& keys, bool unnamed) {
  std::vector<std::wstring> all;
  std::vector<wchar_t> out(8192);
  for (int s = 0; s < ini.NumSections(); ++s) {
    const wchar_t* name = ini.SectionName(s);
    EXPECT_TRUE(ini.SectionExists(name));
    if (!*name && !unnamed) continue;
    all.push_back(L"[" + std::wstring(name) + L"]");
    for (const std::wstring& key : keys) {
      EXPECT_TRUE(ini.GetString(name, key.c_str(), L"\x1", out.data(), 8192));
      all.push_back(out.data());
    }
  }
  EXPECT_EQ(nullptr, ini.SectionName(ini.NumSections()));
  return all;
}

// Values Save writes bare though reading them changes them: one beginning
// with a tab (leading blanks are skipped), and one beginning with a double
// quote whose last non-blank character is another (it reads as quoted).
bool ChangesWhenReadBack(const std::wstring& v) {
  if (v.empty() || v.back() == L' ') return false;
  const size_t last = v.find_last_not_of(L" \t");
  return v[0] == L'\t' || (v[0] == L'"' && last > 0 && v[last] == L'"');
}

// Whether a saved file holds a header with nothing after it: a section of
// key-less lines, which loading keeps but saving cannot bring back.
bool SavedAnEmptySection(const std::string& bytes) {
  std::wstring t;
  for (size_t i = 2; i + 1 < bytes.size(); i += 2)
    t += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) | static_cast<unsigned char>(bytes[i + 1]) << 8);
  for (size_t at = 0; at < t.size(); at += 2) {
    if (t[at] == L'[' && t.compare(t.find(L']', at) + 1, 4, L"\r\n\r\n") == 0) return true;
    if ((at = t.find(L"\r\n", t[at] == L'[' ? t.find(L']', at) : at)) == std::wstring::npos) break;
  }
  return false;
}

}  // namespace

TEST(TextFormatsFuzz, IniLoadsAlikeFromFileAndBufferAndWhatLoadsSurvivesSaveAndLoad) {
  const std::vector<std::string> samples = xmltest::Variants({
      L"; promo script\n[Script]\nTitle = \"  Welcome  \"\nSteps=3\n\n[Step1]\nText = say \"hi\" now\n"
      L"\tFont\t= Arial\t\n[ Odd ]\nk=\"open\nlone line\nName=\xE9t\xE9\nq=\"\"\"\"\n[Unterminated\nx=1\n",
      L"top=1\n[]\nafter=2\n[s]\nk = \"a\" \"b\"\nk = dup\n= bad\n[t]\nz=3",
      L"\n  \n[a]\n[b]\nq=\"\"\nr = \"x\" y\n;c\n[c]\r\rkey=\"\t\"\n",
  });
  const std::vector<std::string> tokens =
      xmltest::WithUtf16({"[", "]", "=", "\"", ";", " ", "\t", "\r\n", "\n", "[s]\n", "k=v\n", "[]", "= v", "k = \" q \"\n"});
  zortest::TempDir dir;
  const std::wstring path = dir / L"fuzz.ini", saved = dir / L"saved.ini";
  zortest::Fuzz(samples, tokens, {}, [&](const std::string& input) {
    const std::string bytes = input.substr(0, MaxBytes());
    ASSERT_TRUE(zortest::WriteBytes(path, bytes));
    CIniFileReader ini, buffered;
    const bool loaded = ini.Init(path.c_str(), false);
    // From an exact-size block, at an odd address every other time.
    const size_t odd = bytes.size() % 2;
    unsigned char* block = static_cast<unsigned char*>(std::malloc(bytes.size() + odd + 1));
    std::memcpy(block + odd, bytes.data(), bytes.size());
    EXPECT_EQ(loaded, buffered.InitFromBuffer(block + odd, static_cast<unsigned int>(bytes.size()), false) &&
                          !bytes.empty());
    std::free(block);
    EXPECT_EQ(loaded, ini.Initialized());
    const std::vector<std::wstring> keys = KeysIn(xmltest::TextOf(bytes));
    EXPECT_EQ(Read(ini, keys, true), Read(buffered, keys, true));
    if (!loaded) return;

    // Both read from a fresh start: a look-up begins at the section found last.
    CIniFileReader again, back;
    ASSERT_TRUE(again.Init(path.c_str(), false) && again.SetFileName(saved.c_str()) && again.Save());
    ASSERT_TRUE(back.Init(saved.c_str(), false)) << "a saved document loads";
    // That loss is reported and waits for a decision; such inputs only have to load again.
    if (SavedAnEmptySection(zortest::ReadBytes(saved))) return;
    const std::vector<std::wstring> before = Read(again, keys, false), after = Read(back, keys, false);
    ASSERT_EQ(before.size(), after.size());
    for (size_t i = 0; i < before.size(); ++i)
      if (before[i] != after[i] && !ChangesWhenReadBack(before[i]))
        ADD_FAILURE() << zortest::Escape(before[i]) << " came back as " << zortest::Escape(after[i]);
  });
}

TEST(TextFormatsFuzz, DelimitedTextReadsConsistentlyEditsAndSaves) {
  const std::vector<std::string> samples = xmltest::Variants({
      L"Name,Code,Note\nEnglish,en,\"plain, quoted\"\nFran\xE7" L"ais,fr,\"x\"\"y\"\n\nDeutsch,de,\nshort,row\n"
      L"\"unterminated,quote\n,,\n",
      L"a\tb\n1\t\"2\t3\"\n\"\"\t\"\n\n\n4\t5\t6\t7\nlast\tline",
  });
  const std::vector<std::string> tokens = xmltest::WithUtf16({",", "\t", "\"", "\"\"", "\r\n", "\n", ",,", "\"a,b\""});
  zortest::TempDir dir;
  const std::wstring path = dir / L"fuzz.csv";
  std::wstring saved = dir / L"saved.csv";
  zortest::Fuzz(samples, tokens, {}, [&](const std::string& input) {
    const std::string bytes = input.substr(0, MaxBytes());
    ASSERT_TRUE(zortest::WriteBytes(path, bytes));
    const wchar_t delimiter = bytes.find('\t') < bytes.find('\n') ? L'\t' : L',';
    for (wchar_t quote : {L'"', L'\0'}) {
      CDelimitedTextFile f, kept;
      const bool opened = f.Open(path.c_str(), delimiter, false, quote);
      EXPECT_EQ(opened, kept.Open(path.c_str(), delimiter, true, quote));
      EXPECT_EQ(opened, f.NumFields() > 0);
      const int columns = f.NumFields();
      for (int c = 0; c < columns; ++c) {
        const wchar_t* name = f.FieldName(c);
        const int index = f.GetFieldIndex(name);
        EXPECT_TRUE(*name ? index >= 0 && index <= c && _wcsicmp(f.FieldName(index), name) == 0 : index == -1);
      }
      // Fields never span lines; dropShortRows keeps exactly the rows as
      // wide as the header.
      int k = 0;
      for (int r = 0; r < f.NumRecords(); ++r) {
        int width = 0;
        for (; const wchar_t* field = f.GetField(r, static_cast<unsigned int>(width)); ++width) {
          EXPECT_EQ(nullptr, wcspbrk(field, L"\r\n"));
          const wchar_t* name = width < columns ? f.FieldName(width) : L"";
          EXPECT_TRUE(!*name || f.GetField(r, name) == f.GetField(r, f.GetFieldIndex(name)));
        }
        if (width != columns) continue;
        for (int c = 0; c < columns; ++c) EXPECT_STREQ(f.GetField(r, c), kept.GetField(k, c));
        ++k;
      }
      EXPECT_EQ(k, kept.NumRecords());

      wchar_t text[] = L"edited\"";
      if (f.NumRecords() > 0 && columns > 0) {
        f.EditField(0, 0, text);
        EXPECT_STREQ(text, f.GetField(0, 0u));
      }
      const int added = f.AddNewRow();
      ASSERT_EQ(f.NumRecords() - 1, added);
      for (int c = 0; c < columns; ++c) EXPECT_STREQ(L"", f.GetField(added, c));
      EXPECT_EQ(nullptr, f.GetField(added, columns));
      EXPECT_TRUE(f.DeleteRow(0));
      EXPECT_FALSE(f.DeleteRow(added));
      EXPECT_TRUE(f.Save(&saved[0], delimiter, true, quote));
    }
  });
}
