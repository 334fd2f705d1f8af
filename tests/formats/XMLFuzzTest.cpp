// Mutation fuzz of the XML parser: whatever the bytes, Open and
// LoadFromBuffer build the same tree, every look-up agrees with the tree it
// reads, and deep copies equal their source. The heap-checked run turns any
// overrun or bad free into a crash here.
#include "tests/formats/XMLTestUtil.h"
#include "tests/support/Fuzz.h"

#include <string>
#include <vector>

namespace {

bool NameIs(const wchar_t* a, const wchar_t* b) { return a && b && _wcsicmp(a, b) == 0; }

// Reads every string of `n` through its accessors and look-ups and checks
// that they agree: the first attribute of a name answers GetValue, the first
// child of a name GetChildByName, the child after the first with a text the
// following-value look-ups; contents and children share the numbers 0..k-1.
void Walk(const CXMLNode& n, const CXMLNode& root) {
  EXPECT_TRUE(!n.Name() || (*n.Name() && NameIs(root.FindNode(n.Name())->Name(), n.Name())));
  for (int i = 0; i < n.NumHeaderProperties(); ++i) {
    const CXMLValue* v = n.GetHeaderProperty(i);
    ASSERT_TRUE(v->FieldName() && *v->FieldName() && v->Value() && *v->Value());
    int first = 0;
    while (!NameIs(n.GetHeaderProperty(first)->FieldName(), v->FieldName())) ++first;
    EXPECT_EQ(n.GetValue(v->FieldName()), n.GetHeaderProperty(first)->Value());
    (void)root.GetValue(v->FieldName(), true);
  }
  for (int i = 0; i < n.NumContents(); ++i) {
    const CXMLValue* c = n.GetContent(i);
    EXPECT_TRUE(c->Value() && *c->Value() && n.GetContentString(i) == c->Value());
    EXPECT_TRUE(n.GetValueBySequenceNumber(c->SequenceNumber()) == c &&
                n.GetContentStringBySequenceNumber(c->SequenceNumber()) == c->Value());
  }
  for (int i = 0; i < n.NumChildren(); ++i) {
    const CXMLNode* child = n.GetChild(i);
    EXPECT_EQ(n.GetChildBySequenceNumber(child->SequenceNumber()), child);
    int first = 0;
    while (child->Name() && !NameIs(n.GetChild(first)->Name(), child->Name())) ++first;
    EXPECT_TRUE(!child->Name() || n.GetChildByName(child->Name()) == n.GetChild(first));
    (void)n.GetValue(child->Name(), true, i % 2);
    const wchar_t* text = child->GetContentString(0);
    const bool follows = text && i + 1 < n.NumChildren();
    for (first = 0; follows && !NameIs(n.GetChild(first)->GetContentString(0), text);) ++first;
    EXPECT_TRUE(!follows || n.GetValueFollowingValue(text) == n.GetChild(first + 1)->GetContentString(0));
    Walk(*child, root);
  }
  const int items = n.NumContents() + n.NumChildren();
  EXPECT_EQ(n.HighestSequenceNumber(), items - 1);
  for (int s = 0; s < items; ++s) EXPECT_NE(!n.GetValueBySequenceNumber(s), !n.GetChildBySequenceNumber(s)) << s;
}

}  // namespace

TEST(XMLFuzz, OpenAndLoadFromBufferBuildTheSameConsistentTreeAndCopiesEqualIt) {
  std::vector<std::string> samples = xmltest::Variants({
      // A service reply: declaration, UTF-8 bytes widened, entities, nesting.
      L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<metadata xmlns=\"http://musicbrainz.org/ns/mmd-1.0#\">\n"
      L"<artist-list count=\"2\"><artist id=\"a1\" type=\"Group\"><name>Ab&amp;ba</name><sort-name>Abba</sort-name>"
      L"<life-span begin=\"1972\"/></artist>\n<artist id=\"a2\"><name>Bj\x00C3\x00B6rk</name>"
      L"<disambiguation>singer &#x41;&#66; \x00F0\x009F\x0098\x0080</disambiguation></artist>\n</artist-list>\n</metadata>\n",
      // Document type, comments, quotes in tags, mixed content, unmatched ends.
      L"<!DOCTYPE note SYSTEM 'note.dtd' \"x y\" [<!ENTITY x \"y\">]><note a='1>2' b=\"it's\"><!-- <hidden/> -->"
      L"to <b>you</b> and<br/>me</NOTE></c><?pi x?><![CDATA[<b>]]>",
      // Settings: key-value siblings, empty values, odd spacing.
      L"<?xml version='1.0'?>\r\n<dict>\r\n\t<key>a</key><string value=\"\"/>\r\n\t<key\r\n\t\tk=\"b\"\r\n"
      L"\t\tv=\"2\" >b</key><integer>2</integer>\r\n\t<list><x>1</x><x>2</x></list>\r\n</dict>\r\n",
  });
  samples.insert(samples.end(), {std::string("<a>x\0y</a>", 10), "<a><!-- unterminated <b/>",
                                 "<?xml encoding=\"UTF-8\"?>\xF0\x9F\x98\x80<a \xC3\xA9=\"\xC3\xA9\">\xC3</a>\xE2\x82"});
  const std::vector<std::string> tokens = xmltest::WithUtf16({"<", "</", "<?", "?>", "/>", ">", "<!--", "-->", "<!DOCTYPE ", "\"",
                                     "'", "=\"", " ", "<?xml encoding=\"utf-8\"?>", "&amp;", "&#x263A;",
                                     "\xC3\xA9", "\xE2\x82\xAC", "<a>", "</A>", "<b k=\"v\"/>", "\r\n"});
  zortest::TempDir dir;
  const std::wstring path = dir / L"fuzz.xml";
  zortest::Fuzz(samples, tokens, {}, [&](const std::string& input) {
    // Long inputs build big trees, slow under the heap checker: cut there.
    const std::string bytes = zortest::HeapChecked() ? input.substr(0, 12000) : input;
    ASSERT_TRUE(zortest::WriteBytes(path, bytes));
    const std::wstring text = xmltest::TextOf(bytes);
    CXMLFile doc, fromBuffer;
    doc.SetShouldDeHTMLify(bytes.size() % 2 == 1);
    fromBuffer.SetShouldDeHTMLify(bytes.size() % 2 == 1);
    EXPECT_EQ(doc.Open(path.c_str()), !text.empty());
    EXPECT_EQ(xmltest::Parse(fromBuffer, text), !text.empty());
    const std::wstring tree = xmltest::Dump(doc);
    EXPECT_EQ(tree, xmltest::Dump(fromBuffer));
    Walk(doc, doc);
    CXMLFile copy(doc);
    CXMLNode assigned;
    assigned.AddHeaderProperty(L"old", L"gone");
    assigned = doc;
    EXPECT_EQ(tree, xmltest::Dump(copy));
    EXPECT_EQ(tree, xmltest::Dump(assigned));
    EXPECT_TRUE(copy.NodeLength() == doc.NodeLength() && assigned.ShouldDeHTMLify() == doc.ShouldDeHTMLify());
    copy.DeHTMLAll();
    EXPECT_LE(copy.GetLongestString(true), doc.GetLongestString(true));
  });
}
