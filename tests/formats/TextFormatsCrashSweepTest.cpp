// Crash sweep for the INI and delimited-text readers (in place of a fuzzer):
// every prefix of small samples and a set of awkward files, in single-byte
// text and UTF-16LE with a mark, with CR LF and LF line ends. Each load must
// give its documented result and leave an object that can be read, edited
// and saved; under the heap-checked run Wine catches any write out of bounds.
#include <zorutils/formats/DelimitedTextFile.h>
#include <zorutils/formats/IniFileReader.h>
#include <zorutils/internal/TextInput.h>

#include "tests/formats/XMLTestUtil.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

const wchar_t kIniSamples[][400] = {
    L"; promo script\n[Script]\nTitle = \"  Welcome  \"\nSteps=3\n\n[Step1]\n"
    L"Text = say \"hi\" now\n\tFont\t= Arial\t\n[ Odd ]\nk=\"open\nlone line\n"
    L"Name=\xE9t\xE9\n[Unterminated\nx=1\n",
    L"top=1\n[]\nafter=2\n[s]\nk = \"a\" \"b\"\nk = dup\n= bad\n[t]\nz=3",
    L"\n  \n[a]\n[b]\nq=\"\"\nr = \"x\" y\n;c\n[c]\r\rkey\n",
};

const wchar_t kCsvSamples[][400] = {
    L"Name,Code,Note\nEnglish,en,\"plain, quoted\"\nFran\xE7" L"ais,fr,\"x\"\"y\"\n\n"
    L"Deutsch,de,\nshort,row\n\"unterminated,quote\n,,\n",
    L"a\tb\n1\t\"2\t3\"\n\"\"\t\"\n\n\n4\t5\t6\t7\nlast\tline",
};

using xmltest::Encode;

// The long lines: 100,000 characters, cut to 20,000 under the heap checker
// (which re-reads every free byte of the heap on each allocation). Both are
// far past the INI work buffer and every other limit.
size_t LongLength() { return zortest::HeapChecked() ? 20000 : 100000; }

// Every prefix is loaded; under the heap checker a stride keeps the run
// short, and its starting point moves from one variant to the next so that
// the variants together still stop at every kind of boundary.
size_t PrefixStep() { return zortest::HeapChecked() ? 7 : 1; }

// The awkward files, each in both encodings and line ends where that means
// something, plus raw byte files.
std::vector<std::string> AwkwardFiles() {
  std::vector<std::string> files = {
      "", "a", "[", "\xFF", "\xFF\xFE", "\xFF\xFE" "a", "\xFF\xFE[", std::string(1, '\0'), std::string(3, '\0'),
      std::string("\xFF\xFE\0\0\0", 5), "\r", "\n\n\n", "=", "\"",
  };
  const std::wstring longLine(LongLength(), L'x');
  const std::wstring texts[] = {
      L"[s]\nk=v",                                   // no final line break
      L"[s]\nk=\"v",                                 // unterminated quote at the end
      L"[unterminated",                              // header without "]"
      L"a,\"b\n",                                    // unterminated quote in a row
      std::wstring(L"[s]\nk=a\0b\nj=c\0\nx\0=1\n", 20),  // NULs in the middle
      L"[s]\nk=" + longLine + L"\n",                 // 100,000-character lines
      L"a,b\n" + longLine + L"," + longLine + L"\n",
      L"[" + longLine + L"]\nk=v\n",
      L"\"" + longLine,
      L"k=\"" + longLine,
  };
  for (const std::wstring& t : texts)
    for (int v = 0; v < 4; ++v) files.push_back(Encode(t, v & 1, v & 2));
  // Odd byte counts of UTF-16 text, with and without its mark.
  std::string odd = zortest::Utf16Bytes(L"[s]\r\nk=v\r\n", true);
  files.push_back(odd.substr(0, odd.size() - 1));
  files.push_back(odd.substr(2, odd.size() - 3));
  files.push_back(odd.substr(0, 3));
  return files;
}

// Reads, edits and saves whatever a load left, and checks that a saved INI
// document loads again.
void ExerciseIni(CIniFileReader& ini, const std::wstring& scratch) {
  wchar_t out[32];
  for (int i = 0; i < ini.NumSections(); ++i) {
    const wchar_t* name = ini.SectionName(static_cast<unsigned int>(i));
    ASSERT_NE(nullptr, name);
    EXPECT_TRUE(ini.SectionExists(name));
    EXPECT_TRUE(ini.GetString(name, L"k", L"default", out, 32));
    EXPECT_TRUE(ini.GetString(name, L"Title", nullptr, out, 3));
  }
  EXPECT_EQ(nullptr, ini.SectionName(static_cast<unsigned int>(ini.NumSections())));
  ini.SetFileName(scratch.c_str());
  EXPECT_TRUE(ini.SetValue(L"added", L"key", L" spaced "));
  ASSERT_TRUE(ini.Save());
  CIniFileReader back;
  EXPECT_TRUE(back.Init(scratch.c_str(), false)) << "a saved document always loads";
  EXPECT_TRUE(back.GetString(L"ADDED", L"KEY", nullptr, out, 32));
  EXPECT_STREQ(L" spaced ", out);
  back.Sort();
}

void ExerciseCsv(CDelimitedTextFile& f, const std::wstring& scratch) {
  for (int r = 0; r < f.NumRecords(); ++r)
    for (int c = 0; c < f.NumFields(); ++c) {
      f.GetField(static_cast<unsigned int>(r), static_cast<unsigned int>(c));
      const wchar_t* name = f.FieldName(static_cast<unsigned int>(c));
      ASSERT_NE(nullptr, name);
      f.GetField(static_cast<unsigned int>(r), name);
    }
  wchar_t text[] = L"edited\"";
  if (f.NumRecords() > 0 && f.NumFields() > 0) f.EditField(0, 0, text);
  f.AddNewRow();
  std::wstring path = scratch;
  EXPECT_TRUE(f.Save(&path[0], L',', true, L'"'));
  if (f.NumRecords() > 1) { EXPECT_TRUE(f.DeleteRow(0)); }
}

// An exact-size heap copy, so that a read or write past the end lands next
// to the block's tail.
bool InitFromExactBuffer(CIniFileReader& ini, const std::string& bytes) {
  unsigned char* block = static_cast<unsigned char*>(std::malloc(bytes.size() ? bytes.size() : 1));
  if (!bytes.empty()) std::memcpy(block, bytes.data(), bytes.size());
  const bool ok = ini.InitFromBuffer(block, static_cast<unsigned int>(bytes.size()), false);
  std::free(block);
  return ok;
}

}  // namespace

TEST(TextFormatsCrashSweep, EveryPrefixOfIniAndDelimitedSamplesLoadsSafely) {
  zortest::TempDir dir;
  const std::wstring file = dir / L"prefix.txt", ini_scratch = dir / L"saved.ini", csv_scratch = dir / L"saved.csv";
  std::vector<const wchar_t*> samples(std::begin(kIniSamples), std::end(kIniSamples));
  samples.insert(samples.end(), std::begin(kCsvSamples), std::end(kCsvSamples));
  size_t variant = 0;
  for (const wchar_t* sample : samples)
    for (int v = 0; v < 4; ++v) {  // single bytes or UTF-16LE, CR LF or LF
      const bool ini = variant < 4 * (sizeof(kIniSamples) / sizeof(kIniSamples[0]));
      const wchar_t delimiter = sample == kCsvSamples[1] ? L'\t' : L',';
      const std::string bytes = Encode(sample, v & 1, !(v & 2));
      for (size_t n = variant++ % PrefixStep(); n <= bytes.size(); n += PrefixStep()) {
        SCOPED_TRACE(testing::Message() << "variant " << variant << " prefix " << n);
        const std::string prefix = bytes.substr(0, n);
        ASSERT_TRUE(zortest::WriteBytes(file, prefix));
        if (ini) {
          CIniFileReader buffered, fromFile;
          const bool fromBuffer = InitFromExactBuffer(buffered, prefix);
          EXPECT_EQ(n > 0 && fromBuffer, fromFile.Init(file.c_str(), false));
          EXPECT_EQ(buffered.NumSections(), fromFile.NumSections());
          ExerciseIni(buffered, ini_scratch);
          continue;
        }
        for (bool drop : {false, true}) {
          CDelimitedTextFile f;
          const bool ok = f.Open(file.c_str(), delimiter, drop, L'"');
          EXPECT_EQ(ok, f.NumFields() > 0);
          for (int r = 0; drop && r < f.NumRecords(); ++r)
            EXPECT_NE(nullptr, f.GetField(static_cast<unsigned int>(r), static_cast<unsigned int>(f.NumFields() - 1)));
          ExerciseCsv(f, csv_scratch);
        }
      }
    }
}

TEST(TextFormatsCrashSweep, AwkwardFilesGiveTheirDocumentedResults) {
  zortest::TempDir dir;
  const std::wstring file = dir / L"awkward.txt", ini_scratch = dir / L"saved.ini",
                     csv_scratch = dir / L"saved.csv";
  const std::vector<std::string> files = AwkwardFiles();
  for (size_t i = 0; i < files.size(); ++i) {
    SCOPED_TRACE(testing::Message() << "awkward file " << i << " of " << files[i].size() << " bytes");
    ASSERT_TRUE(zortest::WriteBytes(file, files[i]));
    CIniFileReader ini;
    const bool loaded = ini.Init(file.c_str(), i % 2 == 0);
    EXPECT_EQ(loaded, ini.Initialized());
    if (files[i].empty()) { EXPECT_FALSE(loaded); }
    ExerciseIni(ini, ini_scratch);
    CIniFileReader buffered;
    EXPECT_EQ(loaded || files[i].empty(), InitFromExactBuffer(buffered, files[i]));

    for (wchar_t quote : {L'"', L'\0'}) {
      CDelimitedTextFile f;
      const bool opened = f.Open(file.c_str(), L',', quote == 0, quote);
      if (files[i].empty() || files[i] == "\xFF\xFE") { EXPECT_FALSE(opened); }
      EXPECT_EQ(opened, f.NumFields() > 0);
      ExerciseCsv(f, csv_scratch);
    }
  }
}

TEST(TextFormatsCrashSweep, LongLinesKeepTheirTextWhereTheyFit) {
  zortest::TempDir dir;
  const std::wstring longLine(LongLength(), L'x');
  for (bool e : {false, true}) {
    ASSERT_TRUE(zortest::WriteBytes(dir / L"long.csv", Encode(L"a,b\n" + longLine + L",y\n", e, true)));
    CDelimitedTextFile f;
    ASSERT_TRUE(f.Open((dir / L"long.csv").c_str(), L',', true, 0));
    ASSERT_EQ(1, f.NumRecords());
    EXPECT_EQ(longLine, f.GetField(0, 0u));
    EXPECT_STREQ(L"y", f.GetField(0, L"B"));

    ASSERT_TRUE(zortest::WriteBytes(dir / L"long.ini", Encode(L"[s]\nk=" + longLine + L"\n", e, false)));
    CIniFileReader ini;
    EXPECT_FALSE(ini.Init((dir / L"long.ini").c_str(), false)) << "longer than the work buffer";
    ASSERT_TRUE(zortest::WriteBytes(dir / L"name.ini", Encode(L"[" + longLine + L"]\nk=v\n", e, true)));
    ASSERT_TRUE(ini.Init((dir / L"name.ini").c_str(), false));
    EXPECT_EQ(std::wstring(63, L'x'), ini.SectionName(0));
  }
}

TEST(TextFormatsCrashSweep, NulInSingleByteTextEndsTheReadableText) {
  zortest::TempDir dir;
  ASSERT_TRUE(zortest::WriteBytes(dir / L"zero.ini", std::string("[s]\nk=v\nj=w\0[t]\nm=1\n", 20)));
  CIniFileReader ini;
  ASSERT_TRUE(ini.Init((dir / L"zero.ini").c_str(), false));
  EXPECT_EQ(1, ini.NumSections());
  wchar_t out[8];
  EXPECT_TRUE(ini.GetString(L"s", L"j", nullptr, out, 8));
  EXPECT_STREQ(L"w", out);
  ASSERT_TRUE(zortest::WriteBytes(dir / L"zero16.ini",
                                  zortest::Utf16Bytes(std::wstring(L"[s]\nk=a\0b\n[t]\nm=1\n", 18), true)));
  ASSERT_TRUE(ini.Init((dir / L"zero16.ini").c_str(), false));
  EXPECT_EQ(2, ini.NumSections()) << "UTF-16 text goes on after a zero unit";
  EXPECT_TRUE(ini.GetString(L"s", L"k", nullptr, out, 8));
  EXPECT_STREQ(L"a", out);
}

TEST(TextFormatsCrashSweep, InPlaceFileWideningMatchesThePlainConversion) {
  // Files are widened in place in one buffer; the result must be that of
  // StringIsUnicode and ConvertSingleByteToUnicode on the bytes.
  zortest::TempDir dir;
  unsigned int seed = 12345;
  auto next = [&] { return (seed = seed * 1103515245u + 12345u) >> 16; };
  std::vector<std::string> inputs = {"", "a", "\xFF\xFE", "\xFF\xFE" "a", std::string("a\0b", 3),
                                     std::string("\0a\0b", 4), zortest::Utf16Bytes(L"x\x263A", true)};
  for (int i = 0; i < 40; ++i) {
    std::string bytes(next() % 300, '\0');
    for (char& c : bytes) c = static_cast<char>(next() % 7 == 0 ? 0 : next() % 256);
    if (i % 3 == 0) bytes.insert(0, "\xFF\xFE");
    inputs.push_back(bytes);
  }
  for (size_t i = 0; i < inputs.size(); ++i) {
    const std::string& bytes = inputs[i];
    ASSERT_TRUE(zortest::WriteBytes(dir / L"w.bin", bytes));
    zor::WideText text;
    ASSERT_TRUE(text.LoadFile((dir / L"w.bin").c_str()));
    const unsigned char* raw = reinterpret_cast<const unsigned char*>(bytes.data());
    const unsigned int n = static_cast<unsigned int>(bytes.size());
    std::wstring expected;
    unsigned int start = 0;
    if (StringIsUnicode(raw, static_cast<int>(n), false)) {
      for (unsigned int u = 0; u + 1 < n; u += 2) expected += static_cast<wchar_t>(raw[u] | raw[u + 1] << 8);
      start = StringHasUnicodeHeader(raw) ? 1 : 0;
    } else if (n > 0) {
      std::vector<wchar_t> wide(n);
      ConvertSingleByteToUnicode(bytes.data(), n, wide.data(), n, false);
      expected.assign(wide.begin(), wide.end());
    }
    EXPECT_EQ(n, text.bytes()) << i;
    EXPECT_EQ(start, text.start()) << i;
    ASSERT_EQ(expected.size(), text.size()) << i;
    EXPECT_EQ(expected, std::wstring(text.data(), text.size())) << i;
    EXPECT_EQ(0, text.data()[text.size()]) << i;
  }
  zor::WideText missing;
  EXPECT_FALSE(missing.LoadFile((dir / L"missing.bin").c_str()));
  EXPECT_FALSE(missing.LoadFile(nullptr));
}
