// Crash sweep: every prefix of a few sample documents, garbled copies and
// awkward files, as buffers and as files in each encoding. Nothing here
// checks a tree's shape, only that every input gives some tree (or the
// documented failure) without a crash, an overrun or a leak, which the
// heap-checked run watches.
#include "tests/formats/XMLTestUtil.h"

#include <random>
#include <string>

namespace {

const wchar_t* const kSamples[] = {
    // A service reply: declaration, UTF-8 bytes widened, entities, nesting.
    L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    L"<metadata xmlns=\"http://musicbrainz.org/ns/mmd-1.0#\">\n"
    L"<artist-list count=\"2\" offset=\"0\">\n"
    L"<artist id=\"a1\" type=\"Group\"><name>Ab&amp;ba</name><sort-name>Abba</sort-name>"
    L"<life-span begin=\"1972\" end=\"1982\"/></artist>\n"
    L"<artist id=\"a2\" type=\"Person\"><name>Bj\x00C3\x00B6rk</name>"
    L"<disambiguation>singer &#x41;&#66;</disambiguation></artist>\n"
    L"</artist-list>\n</metadata>\n",
    // Document type, comments, quotes in tags, mixed content.
    L"<!DOCTYPE note SYSTEM 'note.dtd' \"x y\">"
    L"<note a='1>2' b=\"it's\"><!-- <hidden/> -->to <b>you</b> and<br/>me</NOTE><?pi x?>",
    // A settings file: declaration without encoding, empty values, odd spacing.
    L"<?xml version='1.0'?>\r\n<settings>\r\n\t<item key = \"a\" value=\"\"/>\r\n"
    L"\t<item\r\n\t\tkey=\"b\"\r\n\t\tvalue=\"2\" />\r\n\t<list><x>1</x><x>2</x></list>\r\n</settings>\r\n",
};

TEST(XMLCrashSweep, EveryPrefixAsABufferAndAsFilesInEachEncoding) {
  zortest::TempDir dir;
  const std::wstring path = dir / L"sweep.xml";
  const size_t stride = zortest::HeapChecked() ? 5 : 1, fileStride = zortest::HeapChecked() ? 13 : 2;
  for (const wchar_t* sample : kSamples) {
    const std::wstring text(sample);
    for (size_t n = 0; n <= text.size(); n += (n < 8 ? 1 : stride)) {
      for (bool deHtml : {false, true}) {
        CXMLFile doc;
        doc.SetShouldDeHTMLify(deHtml);
        EXPECT_EQ(xmltest::Parse(doc, text.substr(0, n)), n > 0);
        xmltest::CheckAnyTree(doc);
      }
    }
    for (int v = 0; v < 4; ++v) {  // single bytes or UTF-16LE, LF or CR LF
      const std::string bytes = xmltest::Encode(sample, v & 1, v & 2);
      for (size_t n = 0; n <= bytes.size(); n += (n < 8 ? 1 : fileStride)) {
        ASSERT_TRUE(zortest::WriteBytes(path, bytes.substr(0, n)));
        CXMLFile doc;
        const bool ok = doc.Open(path.c_str());
        if (n == 0) { EXPECT_FALSE(ok); }
        xmltest::CheckAnyTree(doc);
      }
    }
  }
}

TEST(XMLCrashSweep, BinaryGarbageAndGarbledSamplesGiveSomeTree) {
  std::mt19937 rng(2024);
  const int rounds = zortest::HeapChecked() ? 80 : 800;
  // Markup characters are made frequent so that tags, quotes and comments
  // really occur.
  static const wchar_t kMarkup[] = L"<>/?!-\"'= \r\nDOCTYPExml";
  for (int round = 0; round < rounds; ++round) {
    std::wstring text;
    if (round % 4 == 3) {  // garbage
      const int len = 1 + static_cast<int>(rng() % 3000);
      for (int i = 0; i < len; ++i) {
        unsigned int r = rng();
        text += (r & 3) ? kMarkup[(r >> 2) % (sizeof(kMarkup) / sizeof(wchar_t) - 1)]
                        : static_cast<wchar_t>(1 + (r >> 8) % 0xFFFE);
      }
    } else {  // a garbled sample
      text = kSamples[round % 4];
      const int flips = 1 + static_cast<int>(rng() % 12);
      for (int k = 0; k < flips; ++k) {
        size_t at = rng() % text.size();
        switch (rng() % 4) {
          case 0: text[at] = static_cast<wchar_t>(1 + rng() % 0xFFFE); break;
          case 1: text[at] = L"<>\"'/?!-"[rng() % 8]; break;
          case 2: text.erase(at, 1 + rng() % 20); break;
          default: text.insert(at, text.substr(rng() % text.size(), 1 + rng() % 30)); break;
        }
        if (text.empty()) text = L"<";
      }
    }
    CXMLFile doc;
    doc.SetShouldDeHTMLify((round + round / 4) % 2 == 1);
    EXPECT_TRUE(xmltest::Parse(doc, text));
    xmltest::CheckAnyTree(doc);
  }
}

TEST(XMLCrashSweep, AwkwardFiles) {
  zortest::TempDir dir;
  const std::wstring path = dir / L"awkward.xml";
  const std::string longLine(100000, 'x');
  const std::string files[] = {
      std::string(), "<", ">", "\xFF\xFE", "\xFF\xFE<", std::string("\0\0\0\0", 4),
      std::string("<\0a\0>\0", 6), std::string("<a>\0</a>", 8), std::string("<a>x\0y</a>", 10),
      "<a b=\"unterminated>" + longLine,
      "<a><!-- unterminated " + longLine,
      "<a>" + longLine + "</a>",
      "<" + longLine,
      "<a " + longLine + "=\"" + longLine + "\"/>",
      "<?xml encoding=\"UTF-8\"?><a>\xC3</a>\xE2\x82",
      "<?xml encoding=\"UTF-8\"?>\xF0\x9F\x98\x80<a \xC3\xA9=\"\xC3\xA9\">\xC3\xA9</a>",
      "</a></b></c>", "<!DOCTYPE", "<!DOCTYPE a [<!ENTITY x \"y\">]><a/>", "<a><![CDATA[<b>]]></a>",
      zortest::Utf16Bytes(L"<a>" + std::wstring(50000, L'\x4E2D') + L"</a>", true),
  };
  for (const std::string& bytes : files) {
    ASSERT_TRUE(zortest::WriteBytes(path, bytes));
    CXMLFile doc;
    // Only an empty file and files whose text is empty (a lone mark, a
    // leading zero character) fail.
    const bool expected = !bytes.empty() && bytes != "\xFF\xFE" && bytes[0] != '\0';
    EXPECT_EQ(doc.Open(path.c_str()), expected) << bytes.substr(0, 40);
    xmltest::CheckAnyTree(doc);
  }
}

}  // namespace
