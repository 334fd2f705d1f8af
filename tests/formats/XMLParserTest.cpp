// The forgiving XML parser: tag kinds, comments, quotes, contents, DOCTYPE
// tokens, the UTF-8 pass, the log lines of Open, and the bounds of its
// fixed buffers and of nesting.
#include "tests/formats/XMLTestUtil.h"

#include <string>
#include <vector>

using xmltest::Dump;
using xmltest::Parse;
using xmltest::S;

namespace {

struct TreeCase {
  const wchar_t *text, *tree;
};

void ExpectTrees(std::initializer_list<TreeCase> cases) {
  for (const TreeCase& c : cases) {
    CXMLFile doc;
    EXPECT_TRUE(Parse(doc, c.text));
    EXPECT_EQ(c.tree, Dump(doc)) << zortest::Escape(c.text);
  }
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
  ASSERT_TRUE(zortest::WriteBytes(empty, std::string()));
  ASSERT_TRUE(zortest::WriteBytes(zero, std::string("<a>x</a>\0<b/>", 13)));
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
  CXMLNode n;
  unsigned int pos = 0;
  log.Clear();
  EXPECT_FALSE(n.Load(nullptr, pos, 10, 100) || n.Load(L"<a/>", pos, 0, 100));
  EXPECT_EQ(log.lines(), std::vector<std::wstring>(2, L"Leaving CXMLFile::Load, no data"));
  EXPECT_FALSE(n.Load(L"no tags", pos, 7, 100)) << "no opening tag met";
  const wchar_t text[] = L"junk<a>1</a> <b x=\"2\"/><r><a/><b/><c/></r>";
  CXMLNode a, b, r;
  pos = 0;
  ASSERT_TRUE(a.Load(text, pos, 42, 999));
  EXPECT_EQ(pos, 12u);
  EXPECT_EQ(a.NodeLength(), 8u);  // "<a>1</a>"
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
      // "</b>" opens a child b closed by nothing; "</a>" opens a grandchild.
      {L"<a>1</b>2</a>", L"a('1' b('2' a))"},
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
  const std::wstring n(6000, L'n');
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<" + n + L" " + n + L"=\"" + n + L"\">t</" + n + L">"));
  EXPECT_EQ(std::wstring(4094, L'n') + L"{" + std::wstring(4095, L'n') + L"=" + std::wstring(4095, L'n') + L"}('t')", Dump(doc));
  ASSERT_TRUE(Parse(doc, L"<!DOCTYPE \"" + n + L"\" ok >"));
  EXPECT_EQ(L"DOCTYPE('" + std::wstring(1023, L'n') + L"' 'ok')", Dump(doc));
}

TEST(XMLParser, DecodeUTF8ToBufferDecodesTwoAndThreeByteSequencesAndDropsFourByteLeads) {
  // Continuations are recognised by their low byte; leads above 255 are not leads.
  const struct {
    const wchar_t *in, *out;
    bool changed;
  } cases[] = {
      {L"a\x00C3\x00A9z", L"a\x00E9z", true}, {L"\x00E2\x0082\x00AC", L"\x20AC", true},
      {L"\x00EF\x00BF\x00BF", L"\xFFFF", true}, {L"\x00F0\x009F\x0098\x0080", L"\x009F\x0098\x0080", true},
      {L"\x00C3", L"\x00C3", false}, {L"\x00C3z\x00E2\x0082", L"\x00C3z\x00E2\x0082", false},
      {L"\x00C3\x01A9", L"\x00E9", true}, {L"\x01C3\x00A9", L"\x01C3\x00A9", false},
      {L"a\x00FD", L"a", true}, {L"a\x00FE", L"a\x00FE", false},
  };
  for (const auto& c : cases) {
    std::vector<wchar_t> buf(wcslen(c.in) + 1, 0xCCCC);
    EXPECT_EQ(CXMLNode::DecodeUTF8ToBuffer(c.in, buf.data(), static_cast<int>(buf.size())), c.changed);
    EXPECT_EQ(std::wstring(buf.data()), c.out) << zortest::Escape(c.in);
    // DecodeUTF8 skips texts that cannot change; the outcome must be the same.
    CXMLNode n;
    n.AddHeaderProperty(c.in, c.in);
    std::vector<wchar_t> work(16);
    n.DecodeUTF8(work.data(), 16);
    EXPECT_EQ(L"<null>{" + std::wstring(c.out) + L"=" + c.out + L"}", Dump(n));
  }
  wchar_t out[4] = {L'x', L'x', L'x', L'x'};
  EXPECT_FALSE(CXMLNode::DecodeUTF8ToBuffer(nullptr, out, 4) || CXMLNode::DecodeUTF8ToBuffer(L"a", nullptr, 4));
  EXPECT_FALSE(CXMLNode::DecodeUTF8ToBuffer(L"\x00C3\x00A9\x00C3\x00A9", out, 4)) << "needs length + 1";
  EXPECT_EQ(out[0], L'x');
  EXPECT_FALSE(CXMLNode::DecodeUTF8ToBuffer(L"", out, 4));
  EXPECT_EQ(out[0], 0);
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
    EXPECT_EQ(depth, kXMLMaxDepth) << levels;
    EXPECT_EQ(L"a('core')", Dump(*deepest)) << levels;
  }
  // Every recursive operation, on a thread with a 256 KB stack.
  HANDLE thread = CreateThread(nullptr, 256 * 1024, &WorkOnDeepTree, &doc, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  ASSERT_NE(thread, nullptr);
  ASSERT_EQ(WaitForSingleObject(thread, 60000), WAIT_OBJECT_0);
  DWORD code = 0;
  GetExitCodeThread(thread, &code);
  CloseHandle(thread);
  EXPECT_EQ(code, 1u);
  EXPECT_EQ(doc.NumChildren(), 0);
}

}  // namespace
