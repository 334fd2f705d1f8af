// The XML model and its forgiving parser: look-ups, copies, texts, ownership;
// the grammar's habits, the UTF-8 pass, Open's log, bounds; and a fuzz.
#include "tests/formats/FormatsTestUtil.h"
#include "tests/support/Fuzz.h"

#include <zorutils/internal/TestSeams.h>

#include <memory>
#include <utility>

using ftest::Dump;
using ftest::Parse;
using ftest::S;

namespace {

void ExpectTrees(std::initializer_list<std::pair<const wchar_t*, const wchar_t*>> cases) {
  for (const auto& c : cases) {
    CXMLFile doc;
    EXPECT_EQ(c.second, Parse(doc, c.first) ? Dump(doc) : L"failed") << zortest::Escape(c.first);
  }
}

TEST(XMLModel, GetValuePrefersAttributesThenDirectChildrenThenDepthFirstAndFindNodeIsPreOrder) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r id=\"attr\"><id>child</id><deep><name>grand1</name><title>t1</title></deep>"
                         L"<other><title>t2</title></other><name>direct<x/>second</name></r>"));
  EXPECT_EQ(S(doc.GetValue(L"ID", true)) + S(doc.GetValue(L"name", true)) +
                S(doc.CXMLNode::GetValue(L"name", false, 1)) + S(doc.CXMLNode::GetValue(L"name", false, 2)) +
                S(doc.GetValue(L"title", false)) + S(doc.GetValue(L"title", true)) + S(doc.GetValue(L"", true)) +
                S(doc.GetValue(nullptr, true)),
            L"attrdirectsecond<null><null>t1<null><null>");
  ASSERT_TRUE(Parse(doc, L"<Root><a><x id=\"1\"/></a><x id=\"2\"/><\x00C9t/></Root>"));
  EXPECT_EQ(doc.FindNode(L"rOOT"), &doc);
  EXPECT_EQ(S(doc.FindNode(L"X")->GetValue(L"id")) + S(doc.GetChildByName(L"X")->GetValue(L"id")), L"12");
  EXPECT_EQ(doc.FindNode(L"\x00E9t"), nullptr) << "only A-Z fold";
  // Key-value siblings: the last child is never tested.
  ASSERT_TRUE(Parse(doc, L"<d><key>Artist</key><string>Abba</string><key>Last</key></d>"));
  EXPECT_EQ(S(doc.GetValueFollowingValue(L"artist")) + S(doc.GetValueFollowingValue(L"Last")), L"Abba<null>");
}

TEST(XMLModel, CopyContentsPutsContentsAmongHeaderPropertiesAndEmptyChildrenNoDeleteHandsOwnershipOver) {
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
  EXPECT_EQ(Dump(dst), L"dst{mine=kept,p=1,s=text}(? k('v'))");
  EXPECT_EQ(dst.SequenceNumber() * 10 + dst.GetHeaderProperty(0)->SequenceNumber(), 69) << "7 kept; -1 for new ones";
  dst.CopyContents(dst);
  EXPECT_EQ(dst.NumHeaderProperties() + dst.NumChildren(), 8) << "copying onto itself doubles, and ends";
  std::unique_ptr<CXMLNode> k(src.GetChild(0));
  std::unique_ptr<CXMLValue> p(src.GetHeaderProperty(0)), t(src.GetContent(0));
  src.EmptyChildrenNoDelete();
  EXPECT_EQ(Dump(src) + Dump(*k) + S(t->Value()) + S(p->Value()), L"sk('v')text1") << "the objects are ours now";
  src.Clear();
  EXPECT_EQ(Dump(src), L"<null>");
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

// Parsed values and nodes keep their texts in their own heap block; every
// setter must work on them and free just what it should (as the heap-checked run sees).
TEST(XMLModel, TextsAreBoundedCopiedDeeplyReplaceableWhereverTheyAreStoredAndMeasured) {
  CXMLValue v;
  std::wstring got = std::to_wstring(v.SequenceNumber());
  for (int length : {3, -7, 50}) {  // below 1 copies all, past the end stops there
    v.SetValue(length == 50 ? L"ab" : L"abcdef", length);
    got += L" " + S(v.Value());
  }
  v.SetValue(v.Value() + 1, 0);  // its own text
  v.SetFieldName(L"k");
  v.SetSequenceNumber(4);
  CXMLValue b(v), c(v);
  c = b;
  v.SetValue(nullptr, 3);
  c = c;
  EXPECT_EQ(got + S(v.Value()) + S(b.Value()) + S(c.FieldName()) + S(c.Value()) + std::to_wstring(b.SequenceNumber()),
            L"-1 abc abcdef ab<null>bkb4");
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r k=\"v&amp;\">text&amp;<c a=\"1\" b=\"2\">x</c></r>"));
  doc.DeHTMLAll();  // shortens texts in place
  CXMLValue* attr = doc.GetHeaderProperty(0);
  attr->SetFieldName(L"renamed-and-longer");
  EXPECT_EQ(S(attr->Value()), L"v&") << "the value survives its field name's replacement";
  attr->SetValue(L"new");
  doc.GetContent(0)->SetValue(L"other");
  doc.GetContent(0)->SetFieldName(nullptr);
  CXMLNode* child = doc.GetChild(0);
  child->SetName(child->Name());
  child->GetHeaderProperty(1)->SetValue(child->GetHeaderProperty(1)->Value());
  *child->GetHeaderProperty(0) = *attr;
  EXPECT_EQ(Dump(doc), L"r{renamed-and-longer=new}('other' c{renamed-and-longer=new,b=2}('x'))");
  EXPECT_EQ(doc.GetLongestString(false), 18u) << "field names count too";
  child->Clear();
  child->SetName(L"again");
  EXPECT_EQ(Dump(doc), L"r{renamed-and-longer=new}('other' again)");
}

TEST(XMLModel, AssigningADescendantCopiesItBeforeTheAssignmentClearsItAway) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r><c a=\"1\">x<d/>y</c><e/></r>"));
  CXMLNode& root = doc;
  const unsigned int length = doc.GetChild(0)->NodeLength();
  root = *doc.GetChild(0);  // Clear() destroys the source
  EXPECT_EQ(Dump(root) + L" " + std::to_wstring(root.SequenceNumber()), L"c{a=1}('x' d 'y') 0");
  EXPECT_EQ(length, root.NodeLength());
  // Empty texts stay empty texts through setters and copies, apart from null.
  CXMLValue empty;
  empty.SetValue(L"", 0);
  empty.SetFieldName(L"");
  const CXMLValue copy(empty);
  EXPECT_EQ(S(copy.FieldName()) + L"|" + S(copy.Value()), L"|");
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
  ASSERT_TRUE(zortest::WriteBytes(empty, std::string()) &&
              zortest::WriteBytes(zero, std::string("<a>x</a>\0<b/>", 13)));
  open(nullptr, L"", L"blank file name");
  open(missing.c_str(), missing, L"blank file name");
  open(empty.c_str(), empty, L"file length < 1");
  open(dir.path().c_str(), dir.path(), L"can't open file");  // a folder exists but is no file
  open(zero.c_str(), zero, L"normal exit");
  EXPECT_EQ(log.lines(), expected);
}

TEST(XMLParser, LoadReadsOneElementLeavesThePositionBehindItAndStopsAfterMaxTags) {
  zortest::LogCapture log;
  CXMLNode a, b;
  unsigned int pos = 0;
  EXPECT_FALSE(a.Load(nullptr, pos, 10, 100) || a.Load(L"<a/>", pos, 0, 100) || a.Load(L"no tags", pos, 7, 100));
  EXPECT_EQ(log.lines(), std::vector<std::wstring>(2, L"Leaving CXMLFile::Load, no data"));
  const wchar_t text[] = L"junk<a>1</a> <r><a/><b/><c/></r>";
  ASSERT_TRUE(a.Load(text, pos, 32, 999) && pos == 12 && b.Load(text, pos, 32, 3));
  EXPECT_EQ(L"a('1')r(a b)", Dump(a) + Dump(b)) << "three tags: its own, a and b";
}

TEST(XMLParser, TheFirstTagIsTheRootEndTagsCloseInAnyCaseTextStaysUntrimmedAndAttributesNeedDoubleQuotes) {
  ExpectTrees({
      {L"just some text, no tags", L"<null>"},
      {L"<?xml version=\"1.0\" encoding=\"latin1\"?>\n<doc><e/></doc>", L"xml{version=1.0,encoding=latin1}(doc(e))"},
      {L"<doc><e/></doc>", L"doc(e)"}, {L"<br/><ignored/>", L"br"}, {L"<br />", L"br"},
      {L"<Artist><Name>x</NAME><next/></artist>", L"Artist(Name('x') next)"},
      {L"<a>1</b>2</a>", L"a('1' b('2' a))"},  // "</b>" opens a child closed by nothing, "</a>" a grandchild
      {L"<a>\r\n\t  <b> x\r\n </b>\x000B\x000C<c/>\x000E</a>", L"a(b(' x\r\n ') c '\x000E')"},
      {L"<!-- <head/> --><a>x<!-- <b/> -->y<!----><c/></a>", L"a('x<!-- <b/> -->y<!---->' c)"},
      {L"<a><!-- <b/> <c/></a>", L"a"},  // an unclosed comment hides the rest
      {L"<a t=\"x>y/>z?>\" v=\"it's\" u='p>q'><b/></a>", L"a{t=x>y/>z?>,v=it's}(b)"},
      {L"<a one='1' two=\"2\"/>", L"a{one=2}"},
      {L"<a\x000Bb\x000C=\"v\"/>", L"a\x000Bb\x000C=\"v\""},  // only blank, tab, CR and LF part a tag
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
      {L"<!doctype html>", L"DOCTYPE"}, {L"<!DOCTYPE html ><root/>", L"DOCTYPE('html')"},  // it completes its node
      // UTF-8 read as widened bytes: two and three bytes decode, continuations known by their low byte; four-byte
      // leads are dropped, the rest stays; leads without continuations stay; units above 255 are no leads.
      {L"<?xml encoding=\"utf-8\"?><n\x00C3\x00A9 k=\"a\x00FD\" j=\"\x00C0\x00A9\">a\x00C3\x00A9z \x00E2\x0082\x00AC "
       L"\x00EF\x00BF\x00BF \x00F0\x009F\x0098\x0080 \x00C3\x01A9 \x00C3 \x00C3z\x00E2\x0082 \x01C3\x00A9 a\x00FE"
       L"</n\x00C3\x00A9>",
       L"xml{encoding=utf-8}(n\x00E9{k=a,j=)}('a\x00E9z \x20AC \xFFFF \x009F\x0098\x0080 \x00E9 \x00C3 "
       L"\x00C3z\x00E2\x0082 \x01C3\x00A9 a\x00FE'))"},
      {L"<?xml encoding=\"UTF8\"?><n>\x00C3\x00A9</n>", L"xml{encoding=UTF8}(n('\x00C3\x00A9'))"},
      {L"<n encoding=\"UTF-8\">\x00C3\x00A9</n>", L"n{encoding=UTF-8}('\x00C3\x00A9')"},  // only the xml node declares
      {L"<r><?xml encoding=\"UTF-8-ish\"?>\x00C3\x00A9</r>", L"r(xml{encoding=UTF-8-ish}('\x00E9' r))"},
  });
}

TEST(XMLParser, LongTagsAttributesAndDocTypeTokensAreCutNotOverrun) {
  const std::wstring n(6000, L'n'), n4094(4094, L'n'), n4095(4095, L'n');
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<" + n + L" " + n + L"=\"" + n + L"\">t</" + n + L">"));
  EXPECT_EQ(n4094 + L"{" + n4095 + L"=" + n4095 + L"}('t')", Dump(doc));
  ASSERT_TRUE(Parse(doc, L"<!DOCTYPE \"" + n + L"\" ok >"));
  EXPECT_EQ(L"DOCTYPE('" + std::wstring(1023, L'n') + L"' 'ok')", Dump(doc));
}

TEST(XMLParser, DecodeUTF8ToBufferNeedsRoomForTheWholeTextAndTellsWhetherItDecoded) {
  wchar_t out[4] = {L'x', L'x', L'x', L'x'};
  EXPECT_FALSE(CXMLNode::DecodeUTF8ToBuffer(L"\x00C3\x00A9\x00C3\x00A9", out, 4) || out[0] != L'x') << "too small";
  EXPECT_TRUE(CXMLNode::DecodeUTF8ToBuffer(L"\x00C3\x00A9\x00C3", out, 4) && out == std::wstring(L"\x00E9\x00C3"));
  EXPECT_FALSE(CXMLNode::DecodeUTF8ToBuffer(L"a", out, 4) || CXMLNode::DecodeUTF8ToBuffer(L"", out, 4) || out[0] ||
               CXMLNode::DecodeUTF8ToBuffer(nullptr, out, 4));
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
  DWORD code = 0;
  ASSERT_TRUE(thread && WaitForSingleObject(thread, 60000) == WAIT_OBJECT_0 && GetExitCodeThread(thread, &code));
  CloseHandle(thread);
  EXPECT_EQ(code * 10 + doc.NumChildren(), 10u);
}

bool NameIs(const wchar_t* a, const wchar_t* b) { return a && b && _wcsicmp(a, b) == 0; }

// Checks the look-ups against the tree: FindNode finds a node of each name, the
// first attribute of a name answers GetValue, the child after the first with
// a text the following-value look-up; contents and children share 0..k-1.
void Walk(const CXMLNode& n, const CXMLNode& root) {
  EXPECT_TRUE(!n.Name() || !*n.Name() || NameIs(root.FindNode(n.Name())->Name(), n.Name()));
  for (int i = 0, first = 0; i < n.NumHeaderProperties(); ++i, first = 0) {
    const wchar_t* name = n.GetHeaderProperty(i)->FieldName();
    while (*name && !NameIs(n.GetHeaderProperty(first)->FieldName(), name)) ++first;
    EXPECT_TRUE(!*name || n.GetValue(name, true) == n.GetHeaderProperty(first)->Value());
  }
  const int items = n.NumContents() + n.NumChildren();
  for (int s = 0; s < items; ++s) EXPECT_NE(!n.GetValueBySequenceNumber(s), !n.GetChildBySequenceNumber(s)) << s;
  EXPECT_EQ(n.HighestSequenceNumber(), items - 1);
  for (int i = 0, first = 0; i < n.NumChildren(); ++i, first = 0) {
    const wchar_t* text = n.GetChild(i)->GetContentString(0);
    const bool follows = text && *text && i + 1 < n.NumChildren();
    while (follows && !NameIs(n.GetChild(first)->GetContentString(0), text)) ++first;
    EXPECT_TRUE(!follows || n.GetValueFollowingValue(text) == n.GetChild(first + 1)->GetContentString(0));
    Walk(*n.GetChild(i), root);
  }
}

// Whatever the bytes, Open and LoadFromBuffer build the same tree, every
// look-up agrees with it, deep copies equal it; the heap-checked run turns
// any overrun or bad free into a crash.
TEST(XMLFuzz, OpenAndLoadFromBufferBuildTheSameConsistentTreeAndCopiesEqualIt) {
  std::vector<std::string> samples = ftest::Variants({
      // A service reply: declaration, UTF-8 bytes widened, entities, key-value siblings.
      L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<metadata><artist id=\"a1\" type=\"Group\"><name>Ab&amp;ba</name>"
      L"<life-span begin=\"1972\"/></artist>\n<artist\n\tid=\"a2\"><key>name</key><value>Bj\x00C3\x00B6rk</value>"
      L"<key>note</key><value>&#x41;&#66; \x00F0\x009F\x0098\x0080</value></artist></metadata>\n",
      // Document type, comments, quotes in tags, mixed content, unmatched ends.
      L"<!DOCTYPE note SYSTEM 'note.dtd' \"x y\" [<!ENTITY x \"y\">]><note a='1>2' b=\"it's\"><!-- <hidden/> -->"
      L"to <b>you</b> and<br/>me</NOTE></c><?pi x?><![CDATA[<b>]]>",
  });
  samples.insert(samples.end(),
                 {std::string("<a>x\0y</a>", 10), "<?xml encoding=\"UTF-8\"?><a \xC3\xA9=\"\xC3\">\xF0</a>\xE2"});
  const std::vector<std::string> tokens = ftest::WithUtf16(
      {"<", "</", "<?", "?>", "/>", ">", "<!--", "-->", "<!DOCTYPE ", "\"", "'", "=\"", " ", "<a>", "</A>",
       "<?xml encoding=\"utf-8\"?>", "&amp;", "&#x263A;", "\xC3\xA9", "\xE2\x82\xAC", "<b k=\"v\"/>", "\r\n"});
  zortest::TempDir dir;
  const std::wstring path = dir / L"fuzz.xml";
  zortest::Fuzz(samples, tokens, {}, [&](const std::string& input) {
    // Long inputs build big trees, slow under the heap checker: cut there.
    const std::string bytes = zortest::HeapChecked() ? input.substr(0, 12000) : input;
    ASSERT_TRUE(zortest::WriteBytes(path, bytes));
    const std::wstring text = ftest::TextOf(bytes);
    ZorTest_UsePlainWideScans(bytes.size() % 3 == 0);  // the scans' plain loops too
    CXMLFile doc, fromBuffer;
    doc.SetShouldDeHTMLify(bytes.size() % 2 == 1);
    fromBuffer.SetShouldDeHTMLify(bytes.size() % 2 == 1);
    EXPECT_TRUE(doc.Open(path.c_str()) == !text.empty() && Parse(fromBuffer, text) == !text.empty());
    EXPECT_EQ(Dump(doc), Dump(fromBuffer));
    // The document's own blocks and decoding as strings are stored give the
    // tree the heap and a decoding pass afterwards give.
    EXPECT_EQ(Dump(doc), ftest::TwoPassDump(text, doc.ShouldDeHTMLify()));
    const std::wstring tree = Dump(doc);
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
  ZorTest_UsePlainWideScans(false);
}

}  // namespace
