// The XML model and its forgiving parser: look-up precedence, copies, texts
// and ownership; tag kinds, comments, quotes, DOCTYPE tokens, the UTF-8 pass,
// the log lines of Open, the bounds of its buffers and of nesting; and a
// mutation fuzz of both ways in.
#include "tests/formats/FormatsTestUtil.h"
#include "tests/support/Fuzz.h"

#include <string>
#include <utility>
#include <vector>

using ftest::Dump;
using ftest::Parse;
using ftest::S;

namespace {

void ExpectTrees(std::initializer_list<std::pair<const wchar_t*, const wchar_t*>> cases) {
  for (const auto& c : cases) {
    CXMLFile doc;
    EXPECT_TRUE(Parse(doc, c.first));
    EXPECT_EQ(c.second, Dump(doc)) << zortest::Escape(c.first);
  }
}

TEST(XMLModel, GetValuePrefersAttributesThenDirectChildrenThenDepthFirstAndFindNodeIsPreOrder) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r id=\"attr\"><id>child</id><deep><name>grand1</name><title>t1</title></deep>"
                         L"<other><title>t2</title></other><name>direct<x/>second</name></r>"));
  EXPECT_EQ(S(doc.GetValue(L"ID", true)) + S(doc.GetValue(L"name", true)) + S(doc.CXMLNode::GetValue(L"name", false, 1)) +
                S(doc.CXMLNode::GetValue(L"name", false, 2)) + S(doc.GetValue(L"title", false)) +
                S(doc.GetValue(L"title", true)) + S(doc.GetValue(L"", true)) + S(doc.GetValue(nullptr, true)),
            L"attrdirectsecond<null><null>t1<null><null>");
  ASSERT_TRUE(Parse(doc, L"<Root><a><x id=\"1\"/></a><x id=\"2\"/><\x00C9t/></Root>"));
  EXPECT_EQ(doc.FindNode(L"rOOT"), &doc);
  EXPECT_EQ(S(doc.FindNode(L"X")->GetValue(L"id")) + S(doc.GetChildByName(L"X")->GetValue(L"id")), L"12");
  EXPECT_EQ(doc.FindNode(L"\x00E9t"), nullptr) << "only A-Z fold";
  // Key-value siblings: the last child is never tested, and one child alone has no follower.
  ASSERT_TRUE(Parse(doc, L"<d><key>Artist</key><string>Abba</string><key>Last</key></d>"));
  EXPECT_EQ(S(doc.GetValueFollowingValue(L"artist")) + S(doc.GetValueFollowingValue(L"Last")), L"Abba<null>");
  ASSERT_TRUE(Parse(doc, L"<d><key>only</key></d>"));
  EXPECT_EQ(doc.GetChildFollowingValue(L"only"), nullptr);
}

TEST(XMLModel, CopyContentsPutsContentsAmongHeaderPropertiesWhichNeedBothTexts) {
  CXMLFile src;
  ASSERT_TRUE(Parse(src, L"<s p=\"1\">text<k>v</k></s>"));
  EXPECT_EQ(S(src.GetContent(0)->FieldName()), L"s") << "a content is named after its element";
  CXMLNode dst;
  dst.SetName(L"dst");
  dst.SetSequenceNumber(7);
  for (const wchar_t* blank : {L"", static_cast<const wchar_t*>(nullptr)})
    EXPECT_FALSE(dst.AddHeaderProperty(blank, L"v") || dst.AddHeaderProperty(L"k", blank));
  ASSERT_TRUE(dst.AddHeaderProperty(L"mine", L"kept"));
  dst.CopyContents(src);
  EXPECT_EQ(Dump(dst) + std::to_wstring(dst.SequenceNumber() * 10 + dst.GetHeaderProperty(0)->SequenceNumber()),
            L"dst{mine=kept,p=1,s=text}(? k('v'))69");
  EXPECT_NE(dst.GetChild(0), src.GetChild(0));
  dst.CopyContents(dst);
  EXPECT_EQ(dst.NumHeaderProperties() + dst.NumChildren(), 8) << "copying onto itself doubles, and ends";
}

TEST(XMLModel, EmptyChildrenNoDeleteHandsOwnershipOverAndClearFreesAll) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r a=\"1\">t<c/></r>"));
  CXMLNode* c = doc.GetChild(0);
  CXMLValue* a = doc.GetHeaderProperty(0);
  CXMLValue* t = doc.GetContent(0);
  doc.EmptyChildrenNoDelete();
  EXPECT_EQ(Dump(doc) + S(c->Name()) + S(t->Value()) + S(a->Value()), L"rct1") << "the objects are ours now";
  delete c;
  delete a;
  delete t;
  ASSERT_TRUE(Parse(doc, L"<r a=\"1\">t<c/></r>"));
  doc.Clear();
  EXPECT_EQ(Dump(doc), L"<null>");
}

TEST(XMLModel, DeHTMLifyTreatsNamesAttributesAndContentsAndChildrenOnlyWhenRecursing) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r&amp;s k&amp;=\"&quot;v&quot;\">a&amp;b<c>&lt;deep&gt;</c></r&amp;s>"));
  doc.DeHTMLify(false);
  EXPECT_EQ(Dump(doc) + S(doc.GetContent(0)->FieldName()), L"r&s{k&=\"v\"}('a&b' c('&lt;deep&gt;'))r&s");
  doc.DeHTMLAll();
  EXPECT_EQ(Dump(doc), L"r&s{k&=\"v\"}('a&b' c('<;deep>;'))");
  // With the flag set the parser treats every child once as it is added, not the root.
  doc.SetShouldDeHTMLify(true);
  ASSERT_TRUE(Parse(doc, L"<r>&amp;<c k=\"&amp;\">&amp;amp;<g>&amp;</g></c></r>"));
  EXPECT_EQ(Dump(doc), L"r('&amp;' c{k=&}('&amp;' g('&')))");
}

TEST(XMLModel, LongestStringCoversNamesFieldNamesAndValuesAndChildrenWhenRecursing) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r k=\"12345\">ab<child-with-long-name>x</child-with-long-name></r>"));
  EXPECT_EQ(doc.GetLongestString(false) * 100 + doc.GetLongestString(true), 520u);
  ASSERT_TRUE(Parse(doc, L"<r long-attribute=\"1\"/>"));
  EXPECT_EQ(doc.GetLongestString(false), 14u);
}

// Values and nodes made by the parser keep their texts in their own heap
// block; every setter must still work on them and free exactly what it
// should (the heap-checked run watches the frees).
TEST(XMLModel, TextsAreBoundedCopiedDeeplyAndReplaceableWhereverTheyAreStored) {
  CXMLValue v, c;
  std::wstring set = std::to_wstring(v.SequenceNumber());
  for (int length : {3, -7, 50}) {  // below 1 copies all, past the end stops there
    v.SetValue(length == 50 ? L"ab" : L"abcdef", length);
    set += L" " + S(v.Value());
  }
  v.SetValue(v.Value() + 1, 0);  // its own text
  v.SetFieldName(L"k");
  v.SetSequenceNumber(4);
  CXMLValue b(v);
  c = v;
  v.SetValue(nullptr, 3);
  c = c;
  EXPECT_EQ(set + S(v.Value()) + S(b.Value()) + S(c.FieldName()) + S(c.Value()) + std::to_wstring(b.SequenceNumber()),
            L"-1 abc abcdef ab<null>bkb4");
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r k=\"v&amp;\">text&amp;<c a=\"1\" b=\"2\">x</c></r>"));
  doc.DeHTMLAll();  // shortens texts in place
  CXMLValue* attr = doc.GetHeaderProperty(0);
  attr->SetFieldName(L"renamed-and-longer");
  EXPECT_EQ(S(attr->Value()), L"v&") << "the value must survive its field name's replacement";
  attr->SetValue(L"new");
  CXMLValue* content = doc.GetContent(0);
  content->SetValue(L"other");
  EXPECT_EQ(S(content->FieldName()), L"r");
  content->SetFieldName(nullptr);
  CXMLNode* child = doc.GetChild(0);
  child->SetName(child->Name());
  child->GetHeaderProperty(1)->SetValue(child->GetHeaderProperty(1)->Value());
  *child->GetHeaderProperty(0) = *attr;
  EXPECT_EQ(Dump(doc), L"r{renamed-and-longer=new}('other' c{renamed-and-longer=new,b=2}('x'))");
  child->Clear();
  child->SetName(L"again");
  EXPECT_EQ(Dump(doc), L"r{renamed-and-longer=new}('other' again)");
}

TEST(XMLParser, OpenLogsWhyItFailsAndANormalExit) {
  zortest::TempDir dir;
  zortest::LogCapture log;
  CXMLFile doc;
  std::vector<std::wstring> expected;
  auto open = [&](const wchar_t* path, const std::wstring& shown, const wchar_t* why) {
    EXPECT_EQ(doc.Open(path), why == std::wstring(L"normal exit"));
    expected.push_back(L"Entered CXMLFile::Open, file <" + shown + L">");
    expected.push_back(std::wstring(L"Leaving CXMLFile::Open, ") + why);
  };
  const std::wstring missing = dir / L"missing.xml", empty = dir / L"empty.xml", zero = dir / L"zero.xml";
  ASSERT_TRUE(zortest::WriteBytes(empty, std::string()) && zortest::WriteBytes(zero, std::string("<a>x</a>\0<b/>", 13)));
  open(nullptr, L"", L"blank file name");
  open(L"", L"", L"blank file name");
  open(missing.c_str(), missing, L"blank file name");
  open(empty.c_str(), empty, L"file length < 1");
  open(dir.path().c_str(), dir.path(), L"can't open file");  // a folder exists but is no file
  open(zero.c_str(), zero, L"normal exit");
  EXPECT_EQ(log.lines(), expected);
  EXPECT_EQ(L"a('x')", Dump(doc)) << "single-byte text ends at a zero byte";
}

TEST(XMLParser, EmptyInputFailsAndLoadReadsOneElementBoundedByMaxTags) {
  zortest::LogCapture log;
  CXMLFile doc;
  wchar_t empty[] = L"";
  EXPECT_FALSE(doc.LoadFromBuffer(nullptr) || doc.LoadFromBuffer(empty));
  CXMLNode a, b, r;
  unsigned int pos = 0;
  EXPECT_FALSE(a.Load(nullptr, pos, 10, 100) || a.Load(L"<a/>", pos, 0, 100) || a.Load(L"no tags", pos, 7, 100));
  EXPECT_EQ(log.lines(), std::vector<std::wstring>(2, L"Leaving CXMLFile::Load, no data"));
  const wchar_t text[] = L"junk<a>1</a> <b x=\"2\"/><r><a/><b/><c/></r>";
  ASSERT_TRUE(a.Load(text, pos = 0, 42, 999));
  EXPECT_EQ(pos * 100 + a.NodeLength(), 1208u) << "behind </a>; \"<a>1</a>\" long";
  ASSERT_TRUE(b.Load(text, pos, 42, 999));
  EXPECT_EQ(pos, 23u);
  ASSERT_TRUE(r.Load(text, pos, 42, 3));
  EXPECT_EQ(L"b{x=2}r(a b)", Dump(b) + Dump(r)) << "three tags: its own, a and b";
}

TEST(XMLParser, TheFirstTagNamesTheRootEndTagsCloseInAnyCaseAndUnmatchedOnesStartChildren) {
  ExpectTrees({
      {L"just some text, no tags", L"<null>"},
      {L"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<doc><e/></doc>", L"xml{version=1.0,encoding=ISO-8859-1}(doc(e))"},
      {L"<doc><e/></doc>", L"doc(e)"},
      {L"<br/><ignored/>", L"br"},
      {L"<br />", L"br"},
      {L"<Artist><Name>x</NAME><next/></artist>", L"Artist(Name('x') next)"},
      {L"<a>1</b>2</a>", L"a('1' b('2' a))"},  // "</b>" opens a child closed by nothing, "</a>" a grandchild
  });
}

TEST(XMLParser, TextStaysUntrimmedUnlessBlankCommentsStayInsideItAndAttributesNeedDoubleQuotes) {
  ExpectTrees({
      {L"<a>\r\n\t  <b> x\r\n </b>\x000B\x000C<c/>\x000E</a>", L"a(b(' x\r\n ') c '\x000E')"},
      {L"<!-- <head/> --><a>x<!-- <b/> -->y<!----><c/></a>", L"a('x<!-- <b/> -->y<!---->' c)"},
      {L"<a><!-- <b/> <c/></a>", L"a"},  // an unclosed comment hides the rest
      {L"<a t=\"x>y/>z?>\" v=\"it's\" u='p>q'><b/></a>", L"a{t=x>y/>z?>,v=it's}(b)"},
      {L"<a one='1' two=\"2\"/>", L"a{one=2}"},
      // Across lines, trimmed; a pair with an empty name or value is dropped.
      {L"<a\r\n  k1 = \"  v1 \"\r\n\tk2=\"\" =\"orphan\" k3=\"\r\nv3\r\n\"/>", L"a{k1=v1,k3=v3}"},
      // An opening with an unclosed quote ends the scan; text counts only in front of a tag.
      {L"<r>t<a k=\"x/></r>", L"r"},
  });
}

TEST(XMLParser, DocTypeTokensBecomeContentsTheLastWordOnlyWhenClosedAndUtf8IsDecodedOnlyWhenTheXmlNodeDeclaresIt) {
  ExpectTrees({
      {L"<?xml version=\"1.0\"?><!DOCTYPE html PUBLIC\r\n \"-//W3C//DTD X 1.0//EN\" 'a b' last><html/>",
       L"xml{version=1.0}(DOCTYPE('html' 'PUBLIC' '-//W3C//DTD X 1.0//EN' 'a b') html)"},
      {L"<!doctype html>", L"DOCTYPE"},
      {L"<!DOCTYPE html ><root/>", L"DOCTYPE('html')"},  // a DOCTYPE completes its node
      // "é" (C3 A9) and "€" (E2 82 AC) as widened bytes.
      {L"<?xml encoding=\"utf-8\"?><n\x00C3\x00A9 a=\"\x00E2\x0082\x00AC\">caf\x00C3\x00A9</n\x00C3\x00A9>",
       L"xml{encoding=utf-8}(n\x00E9{a=\x20AC}('caf\x00E9'))"},
      {L"<?xml encoding=\"UTF8\"?><n>\x00C3\x00A9</n>", L"xml{encoding=UTF8}(n('\x00C3\x00A9'))"},
      {L"<n encoding=\"UTF-8\">\x00C3\x00A9</n>", L"n{encoding=UTF-8}('\x00C3\x00A9')"},
      {L"<r><?xml encoding=\"UTF-8-ish\"?>\x00C3\x00A9</r>", L"r(xml{encoding=UTF-8-ish}('\x00E9' r))"},
  });
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<!DOCTYPE x >"));
  EXPECT_EQ(nullptr, doc.GetContent(0)->FieldName()) << "tokens have no field name";
}

TEST(XMLParser, LongTagsAttributesAndDocTypeTokensAreCutNotOverrun) {
  const std::wstring n(6000, L'n'), n4094(4094, L'n'), n4095(4095, L'n');
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<" + n + L" " + n + L"=\"" + n + L"\">t</" + n + L">"));
  EXPECT_EQ(n4094 + L"{" + n4095 + L"=" + n4095 + L"}('t')", Dump(doc));
  ASSERT_TRUE(Parse(doc, L"<!DOCTYPE \"" + n + L"\" ok >"));
  EXPECT_EQ(L"DOCTYPE('" + std::wstring(1023, L'n') + L"' 'ok')", Dump(doc));
}

TEST(XMLParser, DecodeUTF8ToBufferDecodesTwoAndThreeByteSequencesAndDropsFourByteLeads) {
  // Continuations are recognised by their low byte; leads above 255 are not leads.
  const wchar_t* cases[][2] = {
      {L"a\x00C3\x00A9z", L"a\x00E9z"}, {L"\x00E2\x0082\x00AC", L"\x20AC"}, {L"\x00EF\x00BF\x00BF", L"\xFFFF"},
      {L"\x00F0\x009F\x0098\x0080", L"\x009F\x0098\x0080"}, {L"\x00C3\x01A9", L"\x00E9"}, {L"a\x00FD", L"a"},
      {L"\x00C3", nullptr}, {L"\x00C3z\x00E2\x0082", nullptr}, {L"\x01C3\x00A9", nullptr}, {L"a\x00FE", nullptr}};
  for (const auto& c : cases) {
    const std::wstring out = c[1] ? c[1] : c[0];
    std::vector<wchar_t> buf(wcslen(c[0]) + 1, 0xCCCC);
    EXPECT_EQ(CXMLNode::DecodeUTF8ToBuffer(c[0], buf.data(), static_cast<int>(buf.size())), c[1] != nullptr);
    EXPECT_EQ(out, buf.data()) << zortest::Escape(c[0]);
    // DecodeUTF8 passes over texts that cannot change; the outcome must be the same.
    CXMLNode node;
    node.AddHeaderProperty(c[0], c[0]);
    node.DecodeUTF8(buf.data(), static_cast<int>(buf.size()));
    EXPECT_EQ(L"<null>{" + out + L"=" + out + L"}", Dump(node));
  }
  wchar_t out[4] = {L'x', L'x', L'x', L'x'};
  EXPECT_FALSE(CXMLNode::DecodeUTF8ToBuffer(L"\x00C3\x00A9\x00C3\x00A9", out, 4) || out[0] != L'x') << "needs length + 1";
  EXPECT_FALSE(CXMLNode::DecodeUTF8ToBuffer(L"", out, 4) || out[0] != 0);
  EXPECT_FALSE(CXMLNode::DecodeUTF8ToBuffer(nullptr, out, 4) || CXMLNode::DecodeUTF8ToBuffer(L"a", nullptr, 4));
}

TEST(XMLParser, ProgressIsReportedOncePerTag) {
  static std::vector<unsigned int> seen;
  const std::wstring text = L"<?xml version=\"1.0\"?><r><!-- <no/> --><a>x</a><b/></r>";
  CXMLFile doc;
  doc.SetProgressCallback([](unsigned int at, unsigned int total, void* user) {
    seen.insert(seen.end(), {at, total, static_cast<unsigned int>(user == &seen)});
  }, &seen);
  ASSERT_TRUE(Parse(doc, text));
  const unsigned int n = static_cast<unsigned int>(text.size());  // <?xml?> <r> <a> </a> <b/> </r>
  EXPECT_EQ(seen, (std::vector<unsigned int>{0, n, 1, 21, n, 1, 38, n, 1, 42, n, 1, 46, n, 1, 50, n, 1}));
}

DWORD WINAPI WorkOnDeepTree(void* arg) {
  CXMLNode copy(*static_cast<CXMLFile*>(arg));
  const bool found = copy.FindNode(L"missing") == nullptr && copy.GetValue(L"missing", true) == nullptr;
  copy.DeHTMLify(true);
  std::vector<wchar_t> work(copy.GetLongestString(true) + 1);
  copy.DecodeUTF8(work.data(), static_cast<int>(work.size()));
  static_cast<CXMLFile*>(arg)->Clear();
  return found ? 1 : 0;
}

TEST(XMLParser, NestingIsBoundedAtMaxDepthSoEveryRecursionFitsASmallStack) {
  // The root is at depth 0; deeper tags are dropped, their texts kept.
  CXMLFile doc;
  for (int levels : {kXMLMaxDepth + 1, kXMLMaxDepth + 5, 50000}) {
    std::wstring open, close;
    for (int i = 0; i < levels; ++i) open += L"<a>", close += L"</a>";
    ASSERT_TRUE(Parse(doc, open + L"core" + close));
    const CXMLNode* deepest = &doc;
    int depth = 0;
    for (; deepest->NumChildren(); ++depth) deepest = deepest->GetChild(0);
    EXPECT_EQ(std::to_wstring(depth) + Dump(*deepest), std::to_wstring(kXMLMaxDepth) + L"a('core')") << levels;
  }
  // Every recursive operation, on a thread with a 256 KB stack.
  HANDLE thread = CreateThread(nullptr, 256 * 1024, &WorkOnDeepTree, &doc, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  ASSERT_NE(thread, nullptr);
  ASSERT_EQ(WaitForSingleObject(thread, 60000), WAIT_OBJECT_0);
  DWORD code = 0;
  GetExitCodeThread(thread, &code);
  CloseHandle(thread);
  EXPECT_EQ(code * 10 + doc.NumChildren(), 10u);
}

bool NameIs(const wchar_t* a, const wchar_t* b) { return a && b && _wcsicmp(a, b) == 0; }

// Reads every text of `n` through its accessors and look-ups and checks that
// they agree: the first attribute of a name answers GetValue, the first child
// of a name GetChildByName, the child after the first with a text the
// following-value look-up; contents and children share the numbers 0..k-1.
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
    EXPECT_TRUE(c->Value() && *c->Value() && n.GetContentString(i) == c->Value() &&
                n.GetValueBySequenceNumber(c->SequenceNumber()) == c &&
                n.GetContentStringBySequenceNumber(c->SequenceNumber()) == c->Value());
  }
  for (int i = 0; i < n.NumChildren(); ++i) {
    const CXMLNode* child = n.GetChild(i);
    int first = 0;
    while (child->Name() && !NameIs(n.GetChild(first)->Name(), child->Name())) ++first;
    EXPECT_TRUE(n.GetChildBySequenceNumber(child->SequenceNumber()) == child &&
                (!child->Name() || n.GetChildByName(child->Name()) == n.GetChild(first)));
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

// Whatever the bytes, Open and LoadFromBuffer build the same tree, every
// look-up agrees with it, and deep copies equal it; the heap-checked run turns
// any overrun or bad free into a crash.
TEST(XMLFuzz, OpenAndLoadFromBufferBuildTheSameConsistentTreeAndCopiesEqualIt) {
  std::vector<std::string> samples = ftest::Variants({
      // A service reply: declaration, UTF-8 bytes widened, entities, nesting.
      L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<metadata xmlns=\"http://musicbrainz.org/ns/mmd-1.0#\">\n"
      L"<artist-list count=\"2\"><artist id=\"a1\" type=\"Group\"><name>Ab&amp;ba</name><sort-name>Abba</sort-name>"
      L"<life-span begin=\"1972\"/></artist>\n<artist id=\"a2\"><name>Bj\x00C3\x00B6rk</name>"
      L"<disambiguation>singer &#x41;&#66; \x00F0\x009F\x0098\x0080</disambiguation></artist>\n</artist-list>\n</metadata>\n",
      // Document type, comments, quotes in tags, mixed content, unmatched ends.
      L"<!DOCTYPE note SYSTEM 'note.dtd' \"x y\" [<!ENTITY x \"y\">]><note a='1>2' b=\"it's\"><!-- <hidden/> -->"
      L"to <b>you</b> and<br/>me</NOTE></c><?pi x?><![CDATA[<b>]]>",
      // Settings: key-value siblings, empty values, odd spacing.
      L"<?xml version='1.0'?>\n<dict>\n\t<key>a</key><string value=\"\"/>\n\t<key\n\t\tk=\"b\"\n"
      L"\t\tv=\"2\" >b</key><integer>2</integer>\n\t<list><x>1</x><x>2</x></list>\n</dict>\n",
  });
  samples.insert(samples.end(), {std::string("<a>x\0y</a>", 10), "<a><!-- unterminated <b/>",
                                 "<?xml encoding=\"UTF-8\"?>\xF0\x9F\x98\x80<a \xC3\xA9=\"\xC3\xA9\">\xC3</a>\xE2\x82"});
  const std::vector<std::string> tokens = ftest::WithUtf16(
      {"<", "</", "<?", "?>", "/>", ">", "<!--", "-->", "<!DOCTYPE ", "\"", "'", "=\"", " ", "<?xml encoding=\"utf-8\"?>",
       "&amp;", "&#x263A;", "\xC3\xA9", "\xE2\x82\xAC", "<a>", "</A>", "<b k=\"v\"/>", "\r\n"});
  zortest::TempDir dir;
  const std::wstring path = dir / L"fuzz.xml";
  zortest::Fuzz(samples, tokens, {}, [&](const std::string& input) {
    // Long inputs build big trees, slow under the heap checker: cut there.
    const std::string bytes = zortest::HeapChecked() ? input.substr(0, 12000) : input;
    ASSERT_TRUE(zortest::WriteBytes(path, bytes));
    const std::wstring text = ftest::TextOf(bytes);
    CXMLFile doc, fromBuffer;
    doc.SetShouldDeHTMLify(bytes.size() % 2 == 1);
    fromBuffer.SetShouldDeHTMLify(bytes.size() % 2 == 1);
    EXPECT_TRUE(doc.Open(path.c_str()) == !text.empty() && Parse(fromBuffer, text) == !text.empty());
    const std::wstring tree = Dump(doc);
    EXPECT_EQ(tree, Dump(fromBuffer));
    Walk(doc, doc);
    CXMLFile copy(doc);
    CXMLNode assigned;
    assigned.AddHeaderProperty(L"old", L"gone");
    assigned = doc;
    EXPECT_TRUE(tree == Dump(copy) && tree == Dump(assigned) && copy.NodeLength() == doc.NodeLength() &&
                assigned.ShouldDeHTMLify() == doc.ShouldDeHTMLify());
    copy.DeHTMLAll();
    EXPECT_LE(copy.GetLongestString(true), doc.GetLongestString(true));
  });
}

}  // namespace
