// The forgiving XML parser: tag kinds, comments, quotes, contents, DOCTYPE
// tokens, the UTF-8 pass, the log lines of Open, and the bounds of its
// fixed buffers.
#include "tests/formats/XMLTestUtil.h"

#include <cstring>
#include <random>
#include <string>
#include <vector>

using xmltest::Parse;
using xmltest::S;

namespace {

TEST(XMLParser, OpenLogsWhyItFails) {
  zortest::TempDir dir;
  zortest::LogCapture log;
  CXMLFile doc;
  std::vector<std::wstring> expected;
  auto fails = [&](const wchar_t* path, const std::wstring& shown, const wchar_t* why) {
    EXPECT_FALSE(doc.Open(path));
    expected.push_back(L"Entered CXMLFile::Open, file <" + shown + L">");
    expected.push_back(std::wstring(L"Leaving CXMLFile::Open, ") + why);
  };
  const std::wstring missing = dir / L"missing.xml", empty = dir / L"empty.xml";
  ASSERT_TRUE(zortest::WriteBytes(empty, std::string()));
  fails(nullptr, L"", L"blank file name");
  fails(L"", L"", L"blank file name");
  fails(missing.c_str(), missing, L"blank file name");
  fails(empty.c_str(), empty, L"file length < 1");
  fails(dir.path().c_str(), dir.path(), L"can't open file");  // a folder exists but is no file
  EXPECT_EQ(log.lines(), expected);
}

TEST(XMLParser, OpenReadsSingleByteAndUtf16AlikeLogsNormalExitAndStopsAtAZeroByte) {
  zortest::TempDir dir;
  const std::wstring text = L"<?xml version=\"1.0\"?>\r\n<r a=\"\x00E9\">caf\x00E9</r>\r\n";
  const std::wstring path = dir / L"doc.xml";
  const std::string bom = zortest::Utf16Bytes(text, true);
  for (const std::string& bytes : {xmltest::Encode(text, false, true), bom, zortest::Utf16Bytes(text, false), bom + "x"}) {
    SCOPED_TRACE(bytes.size());
    ASSERT_TRUE(zortest::WriteBytes(path, bytes));
    zortest::LogCapture log;
    CXMLFile doc;
    ASSERT_TRUE(doc.Open(path.c_str()));
    EXPECT_EQ(S(doc.Name()), L"xml");
    EXPECT_EQ(S(doc.GetValue(L"version", false)), L"1.0");
    ASSERT_EQ(doc.NumChildren(), 1);
    EXPECT_EQ(S(doc.GetChild(0)->GetContentString(0)), L"caf\x00E9");
    EXPECT_EQ(S(doc.GetChild(0)->GetValue(L"a")), L"\x00E9");
    EXPECT_EQ(log.lines().back(), L"Leaving CXMLFile::Open, normal exit");
  }
  // A single-byte file ends at its first zero byte.
  ASSERT_TRUE(zortest::WriteBytes(dir / L"zero.xml", std::string("<a>x</a>\0<b/>", 13)));
  CXMLFile doc;
  ASSERT_TRUE(doc.Open((dir / L"zero.xml").c_str()));
  EXPECT_EQ(S(doc.Name()), L"a");
  EXPECT_EQ(doc.NumChildren(), 0);
}

TEST(XMLParser, EmptyInputFailsAndLoadReadsOneElementBoundedByMaxTags) {
  zortest::LogCapture log;
  CXMLFile doc;
  wchar_t empty[] = L"";
  EXPECT_FALSE(doc.LoadFromBuffer(nullptr));
  EXPECT_FALSE(doc.LoadFromBuffer(empty));
  ASSERT_TRUE(Parse(doc, L"just some text, no tags"));
  EXPECT_EQ(doc.Name(), nullptr);
  EXPECT_EQ(doc.NumChildren() + doc.NumContents() + doc.NumHeaderProperties(), 0);
  CXMLNode n;
  unsigned int pos = 0;
  log.Clear();
  EXPECT_FALSE(n.Load(nullptr, pos, 10, 100));
  EXPECT_FALSE(n.Load(L"<a/>", pos, 0, 100));
  EXPECT_EQ(log.lines(), std::vector<std::wstring>(2, L"Leaving CXMLFile::Load, no data"));
  EXPECT_FALSE(n.Load(L"no tags", pos, 7, 100)) << "no opening tag met";

  const wchar_t text[] = L"junk<a>1</a> <b x=\"2\"/>";
  const unsigned int length = static_cast<unsigned int>(wcslen(text));
  CXMLNode a, b, r;
  pos = 0;
  ASSERT_TRUE(a.Load(text, pos, length, 999));
  EXPECT_EQ(pos, 12u);
  EXPECT_EQ(a.NodeLength(), 8u);  // "<a>1</a>"
  ASSERT_TRUE(b.Load(text, pos, length, 999));
  EXPECT_EQ(pos, length);
  EXPECT_EQ(S(b.GetValue(L"x")), L"2");
  EXPECT_FALSE(CXMLNode().Load(text, pos, length, 999));
  const wchar_t three[] = L"<r><a/><b/><c/></r>";
  pos = 0;
  ASSERT_TRUE(r.Load(three, pos, static_cast<unsigned int>(wcslen(three)), 3));
  EXPECT_EQ(r.NumChildren(), 2);  // its own tag, a, b
}

TEST(XMLParser, DeclarationBecomesTheRootWithTheDocumentAsChild) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<doc><e/></doc>"));
  EXPECT_EQ(S(doc.Name()), L"xml");
  EXPECT_EQ(doc.NumRootHeaderProperties(), 2);
  EXPECT_EQ(S(doc.GetValue(L"encoding", false)), L"ISO-8859-1");
  ASSERT_EQ(doc.NumChildren(), 1);
  EXPECT_EQ(S(doc.GetChild(0)->Name()), L"doc");
  EXPECT_EQ(doc.GetChild(0)->SequenceNumber(), 0);
  ASSERT_TRUE(Parse(doc, L"<doc><e/></doc>"));
  EXPECT_EQ(S(doc.GetChild(0)->Name()), L"e");
  // An empty element as the first tag is the whole document.
  for (const wchar_t* text : {L"<br/><ignored/>", L"<br />"}) {
    ASSERT_TRUE(Parse(doc, text));
    EXPECT_EQ(S(doc.Name()), L"br");
    EXPECT_EQ(doc.NumChildren() + doc.NumHeaderProperties(), 0);
  }
}

TEST(XMLParser, EndTagClosesWithoutRegardToCaseAndAnUnmatchedEndTagStartsAChild) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<Artist><Name>x</NAME><next/></artist>"));
  ASSERT_EQ(doc.NumChildren(), 2);
  EXPECT_EQ(S(doc.GetChild(0)->Name()), L"Name");
  EXPECT_EQ(S(doc.GetChild(1)->Name()), L"next");
  ASSERT_TRUE(Parse(doc, L"<a>1</b>2</a>"));
  // "</b>" opens a child named b, which then holds "2" and is closed by
  // nothing; "</a>" starts a grandchild named a.
  ASSERT_EQ(doc.NumChildren(), 1);
  CXMLNode* b = doc.GetChild(0);
  EXPECT_EQ(S(b->Name()), L"b");
  EXPECT_EQ(S(b->GetContentString(0)), L"2");
  ASSERT_EQ(b->NumChildren(), 1);
  EXPECT_EQ(S(b->GetChild(0)->Name()), L"a");
}

TEST(XMLParser, WhiteSpaceOnlyTextLeavesNoContentOtherTextStaysUntrimmed) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<a>\r\n\t  <b> x\r\n </b>\x000B\x000C<c/>\x000E</a>"));
  EXPECT_EQ(doc.NumContents(), 1);
  EXPECT_EQ(S(doc.GetContentString(0)), L"\x000E");
  EXPECT_EQ(S(doc.GetChild(0)->GetContentString(0)), L" x\r\n ");
}

TEST(XMLParser, AttributeValuesNeedDoubleQuotesQuotedClosingsDoNotEndATagAndAnUnclosedQuoteEndsTheScan) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<a t=\"x>y/>z?>\" v=\"it's\" u='p>q'><b/></a>"));
  EXPECT_EQ(S(doc.GetValue(L"t", false)), L"x>y/>z?>");
  EXPECT_EQ(S(doc.GetValue(L"v", false)), L"it's");
  EXPECT_EQ(doc.NumHeaderProperties(), 2) << "u has no double-quoted value";
  ASSERT_EQ(doc.NumChildren(), 1);
  EXPECT_EQ(S(doc.GetChild(0)->Name()), L"b");
  // The single-quoted value is not delimited: its name runs on to the next
  // double quote's pair.
  ASSERT_TRUE(Parse(doc, L"<a one='1' two=\"2\"/>"));
  ASSERT_EQ(doc.NumHeaderProperties(), 1);
  EXPECT_EQ(S(doc.GetHeaderProperty(0)->FieldName()), L"one");
  EXPECT_EQ(S(doc.GetHeaderProperty(0)->Value()), L"2");
  // Across lines, trimmed; a value without a name is dropped.
  ASSERT_TRUE(Parse(doc, L"<a\r\n  k1 = \"  v1 \"\r\n\tk2=\"\" =\"orphan\" k3=\"\r\nv3\r\n\"/>"));
  ASSERT_EQ(doc.NumHeaderProperties(), 2);
  EXPECT_EQ(S(doc.GetHeaderProperty(0)->FieldName()), L"k1");
  EXPECT_EQ(S(doc.GetHeaderProperty(0)->Value()), L"v1");
  EXPECT_EQ(S(doc.GetHeaderProperty(1)->FieldName()), L"k3");
  EXPECT_EQ(S(doc.GetHeaderProperty(1)->Value()), L"v3");
  // An opening with an unclosed quote ends the scan.
  ASSERT_TRUE(Parse(doc, L"<r>t<a k=\"x/></r>"));
  EXPECT_EQ(S(doc.Name()), L"r");
  EXPECT_EQ(doc.NumChildren(), 0);
  EXPECT_EQ(doc.NumContents(), 0) << "text is stored only in front of a tag";
}

TEST(XMLParser, CommentsAreSkippedButStayInsideContents) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<!-- <head/> --><a>x<!-- <b/> -->y<!----><c/></a>"));
  EXPECT_EQ(S(doc.Name()), L"a");
  ASSERT_EQ(doc.NumChildren(), 1);
  EXPECT_EQ(S(doc.GetChild(0)->Name()), L"c");
  EXPECT_EQ(S(doc.GetContentString(0)), L"x<!-- <b/> -->y<!---->");
  // A comment that never ends hides everything behind it.
  ASSERT_TRUE(Parse(doc, L"<a><!-- <b/> <c/></a>"));
  EXPECT_EQ(S(doc.Name()), L"a");
  EXPECT_EQ(doc.NumChildren(), 0);
}

TEST(XMLParser, DocTypeTokensBecomeContentsCutAt1023LastWordOnlyWhenClosed) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<?xml version=\"1.0\"?><!DOCTYPE html PUBLIC\r\n \"-//W3C//DTD X 1.0//EN\" 'a b' last>"
                         L"<html/>"));
  ASSERT_EQ(doc.NumChildren(), 2);
  CXMLNode* dt = doc.GetChild(0);
  EXPECT_EQ(S(dt->Name()), L"DOCTYPE");
  ASSERT_EQ(dt->NumContents(), 4);
  const wchar_t* tokens[] = {L"html", L"PUBLIC", L"-//W3C//DTD X 1.0//EN", L"a b"};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(S(dt->GetContentString(i)), tokens[i]);
    EXPECT_EQ(dt->GetContent(i)->SequenceNumber(), i);
    EXPECT_EQ(dt->GetContent(i)->FieldName(), nullptr);
  }
  EXPECT_EQ(doc.GetChild(1)->SequenceNumber(), 1);
  ASSERT_TRUE(Parse(doc, L"<!doctype html>"));
  EXPECT_EQ(S(doc.Name()), L"DOCTYPE");
  EXPECT_EQ(doc.NumContents(), 0);
  ASSERT_TRUE(Parse(doc, L"<!DOCTYPE html ><root/>"));
  ASSERT_EQ(doc.NumContents(), 1);
  EXPECT_EQ(S(doc.GetContentString(0)), L"html");
  // A DOCTYPE completes its node: as the first tag it ends the document.
  EXPECT_EQ(doc.NumChildren(), 0);
  ASSERT_TRUE(Parse(doc, L"<!DOCTYPE \"" + std::wstring(5000, L't') + L"\" ok >"));
  ASSERT_EQ(doc.NumContents(), 2);
  EXPECT_EQ(wcslen(doc.GetContentString(0)), 1023u);
  EXPECT_EQ(S(doc.GetContentString(1)), L"ok");
}

TEST(XMLParser, LongTagAndAttributeTextsAreCutNotOverrun) {
  TFieldResult* f = static_cast<TFieldResult*>(malloc(sizeof(TFieldResult)));
  memset(f, 0xCC, sizeof(TFieldResult));
  const std::wstring text = L"  <" + std::wstring(5000, L'n') + L" k=\"" + std::wstring(5000, L'v') + L"\">";
  unsigned int tagEnd = 0;
  EXPECT_EQ(CXMLNode().GetNextFieldInfo(text.c_str(), static_cast<unsigned int>(text.size()), 0, tagEnd, *f), 2u);
  EXPECT_EQ(tagEnd, text.size());
  EXPECT_EQ(wcslen(f->tagName), 4094u);
  EXPECT_EQ(f->tagName[4095], 0xCCCC) << "nothing written behind the cut name";
  EXPECT_EQ(wcslen(f->quotedValue), 4095u);
  free(f);
  const std::wstring name(6000, L'n'), key(6000, L'k'), value(9000, L'v');
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<" + name + L" " + key + L"=\"" + value + L"\">t</" + name + L">"));
  EXPECT_EQ(wcslen(doc.Name()), 4094u);
  ASSERT_EQ(doc.NumHeaderProperties(), 1);
  EXPECT_EQ(wcslen(doc.GetHeaderProperty(0)->FieldName()), 4095u);
  EXPECT_EQ(wcslen(doc.GetHeaderProperty(0)->Value()), 4095u);
  EXPECT_EQ(S(doc.GetContentString(0)), L"t");
}

TEST(XMLParser, Utf8IsDecodedEverywhereOnlyWhenTheXmlNodeDeclaresIt) {
  // "é" (C3 A9) and "€" (E2 82 AC) as widened bytes.
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<?xml version=\"1.0\" encoding=\"utf-8\"?><n\x00C3\x00A9 a=\"\x00E2\x0082\x00AC\">"
                         L"caf\x00C3\x00A9</n\x00C3\x00A9>"));
  CXMLNode* n = doc.GetChild(0);
  ASSERT_NE(n, nullptr);
  EXPECT_EQ(S(n->Name()), L"n\x00E9");
  EXPECT_EQ(S(n->GetValue(L"a")), L"\x20AC");
  EXPECT_EQ(S(n->GetContentString(0)), L"caf\x00E9");
  EXPECT_EQ(S(n->GetContent(0)->FieldName()), L"n\x00E9");
  ASSERT_TRUE(Parse(doc, L"<?xml version=\"1.0\" encoding=\"UTF8\"?><n>\x00C3\x00A9</n>"));
  EXPECT_EQ(S(doc.GetChild(0)->GetContentString(0)), L"\x00C3\x00A9");
  ASSERT_TRUE(Parse(doc, L"<n encoding=\"UTF-8\">\x00C3\x00A9</n>"));
  EXPECT_EQ(S(doc.GetContentString(0)), L"\x00C3\x00A9") << "only the xml node declares";
  ASSERT_TRUE(Parse(doc, L"<r><?xml encoding=\"UTF-8-ish\"?>\x00C3\x00A9</r>"));
  // The xml node may stand anywhere; unclosed, it holds the text.
  ASSERT_NE(doc.FindNode(L"xml"), nullptr);
  EXPECT_EQ(S(doc.FindNode(L"xml")->GetContentString(0)), L"\x00E9");
}

TEST(XMLParser, DecodeUTF8ToBufferRulesAndArguments) {
  // Four-byte leads are dropped, their continuations kept; leads without
  // their continuations stay; continuations are recognised by their low
  // byte; leads above 255 are not leads.
  const struct {
    const wchar_t *in, *out;
    bool changed;
  } cases[] = {
      {L"a\x00C3\x00A9z", L"a\x00E9z", true}, {L"\x00E2\x0082\x00AC", L"\x20AC", true},
      {L"\x00EF\x00BF\x00BF", L"\xFFFF", true}, {L"\x00F0\x009F\x0098\x0080", L"\x009F\x0098\x0080", true},
      {L"\x00C3", L"\x00C3", false}, {L"\x00C3z\x00E2\x0082", L"\x00C3z\x00E2\x0082", false},
      {L"\x00C3\x01A9", L"\x00E9", true}, {L"\x01C3\x00A9", L"\x01C3\x00A9", false},
  };
  for (const auto& c : cases) {
    std::vector<wchar_t> buf(wcslen(c.in) + 1, 0xCCCC);
    EXPECT_EQ(CXMLNode::DecodeUTF8ToBuffer(c.in, buf.data(), static_cast<int>(buf.size())), c.changed);
    EXPECT_EQ(std::wstring(buf.data()), c.out) << zortest::Escape(c.in);
  }
  wchar_t out[4] = {L'x', L'x', L'x', L'x'};
  EXPECT_FALSE(CXMLNode::DecodeUTF8ToBuffer(nullptr, out, 4));
  EXPECT_FALSE(CXMLNode::DecodeUTF8ToBuffer(L"a", nullptr, 4));
  EXPECT_FALSE(CXMLNode::DecodeUTF8ToBuffer(L"", out, 4));
  EXPECT_EQ(out[0], 0);
  out[0] = L'x';
  EXPECT_FALSE(CXMLNode::DecodeUTF8ToBuffer(L"\x00C3\x00A9\x00C3\x00A9", out, 4)) << "needs length + 1";
  EXPECT_EQ(out[0], L'x');
  EXPECT_TRUE(CXMLNode::DecodeUTF8ToBuffer(L"\x00C3\x00A9\x00C3", out, 4));
  EXPECT_STREQ(out, L"\x00E9\x00C3");
}

TEST(XMLParser, DecodeUTF8MatchesDecodeUTF8ToBufferOnEveryString) {
  // DecodeUTF8 skips strings that cannot change; the outcome must equal
  // decoding every string through DecodeUTF8ToBuffer.
  std::mt19937 rng(1234);
  const wchar_t alphabet[] = {L'a', 0x7F, 0x80, 0xA9, 0xBF, 0xC0, 0xC3, 0xDF, 0xE0, 0xE2,
                              0xEF, 0xF0, 0xFD, 0xFE, 0xFF, 0x100, 0x1C3, 0x20AC};
  for (int round = 0; round < 300; ++round) {
    CXMLNode n;
    std::vector<std::wstring> expected;
    for (int k = 0; k < 4; ++k) {
      std::wstring s;
      const int len = 1 + static_cast<int>(rng() % 8);
      for (int i = 0; i < len; ++i) s += alphabet[rng() % (sizeof(alphabet) / sizeof(alphabet[0]))];
      n.AddHeaderProperty(L"k", s.c_str());
      std::vector<wchar_t> out(s.size() + 1);
      const bool changed = CXMLNode::DecodeUTF8ToBuffer(s.c_str(), out.data(), static_cast<int>(out.size()));
      expected.push_back(changed ? std::wstring(out.data()) : s);
    }
    std::vector<wchar_t> work(16);
    n.DecodeUTF8(work.data(), static_cast<int>(work.size()));
    for (int k = 0; k < 4; ++k) EXPECT_EQ(S(n.GetHeaderProperty(k)->Value()), expected[k]);
  }
}

TEST(XMLParser, ProgressIsReportedOncePerTag) {
  struct Progress {
    std::vector<unsigned int> positions;
    unsigned int total = 0;
    static void On(unsigned int position, unsigned int total, void* user) {
      static_cast<Progress*>(user)->positions.push_back(position);
      static_cast<Progress*>(user)->total = total;
    }
  } progress;
  const std::wstring text = L"<?xml version=\"1.0\"?><r><!-- <no/> --><a>x</a><b/></r>";
  CXMLFile doc;
  doc.SetProgressCallback(&Progress::On, &progress);
  ASSERT_TRUE(Parse(doc, text));
  // <?xml?>, <r>, <a>, </a>, <b/>, </r>
  EXPECT_EQ(progress.positions, (std::vector<unsigned int>{0, 21, 38, 42, 46, 50}));
  EXPECT_EQ(progress.total, text.size());
}

std::wstring Nested(int depth) {
  std::wstring s;
  for (int i = 0; i < depth; ++i) s += L"<a>";
  s += L"core";
  for (int i = 0; i < depth; ++i) s += L"</a>";
  return s;
}

TEST(XMLParser, NestingIsBoundedAtMaxDepthEvenFiftyThousandDeep) {
  CXMLFile doc;
  // The root is at depth 0, so kXMLMaxDepth + 1 levels still fit whole.
  const struct {
    int levels, depth;
  } cases[] = {{kXMLMaxDepth, kXMLMaxDepth - 1}, {kXMLMaxDepth + 1, kXMLMaxDepth},
               {kXMLMaxDepth + 5, kXMLMaxDepth}, {50000, kXMLMaxDepth}};
  for (const auto& c : cases) {
    ASSERT_TRUE(Parse(doc, Nested(c.levels)));
    EXPECT_EQ(xmltest::Depth(&doc), c.depth) << c.levels;
    CXMLNode* deepest = &doc;
    while (deepest->NumChildren()) deepest = deepest->GetChild(0);
    EXPECT_EQ(S(deepest->GetContentString(0)), L"core") << c.levels;
  }
  // Unclosed, too; every level deeper than the bound leaves a content, so
  // this one is scaled down under the heap checker.
  std::wstring open;
  const int levels = zortest::HeapChecked() ? 2 * kXMLMaxDepth : 50000;
  for (int i = 0; i < levels; ++i) open += i % 2 ? L"<b>t" : L"<a x=\"1\">";
  ASSERT_TRUE(Parse(doc, open));
  EXPECT_EQ(xmltest::Depth(&doc), kXMLMaxDepth);
}

DWORD WINAPI WorkOnDeepTree(void* arg) {
  auto* doc = static_cast<CXMLFile*>(arg);
  CXMLNode copy(*doc);
  bool found = copy.FindNode(L"missing") == nullptr && copy.GetValue(L"missing", true) == nullptr;
  copy.DeHTMLify(true);
  std::vector<wchar_t> work(copy.GetLongestString(true) + 1);
  copy.DecodeUTF8(work.data(), static_cast<int>(work.size()));
  doc->Clear();
  return found ? 1 : 0;
}

TEST(XMLParser, TreeAtTheDepthBoundIsSafeOnASmallStack) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, Nested(kXMLMaxDepth + 10)));
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

TEST(XMLParser, HugeDocumentOfOneUnclosedTag) {
  // 100 MB normally; scaled down under the heap checker.
  const size_t size = zortest::HeapChecked() ? (1u << 20) : 100u * 1024 * 1024;
  zortest::TempDir dir;
  const std::wstring path = dir / L"huge.xml";
  std::string bytes(size, 'x');
  // An opening whose quote never ends, then an element that never closes.
  for (const char* head : {"<a b=\"", "<a>xx<"}) {
    memcpy(&bytes[0], head, 6);
    ASSERT_TRUE(zortest::WriteBytes(path, bytes));
    CXMLFile doc;
    ASSERT_TRUE(doc.Open(path.c_str()));
    EXPECT_EQ(S(doc.Name()), head[2] == ' ' ? L"<null>" : L"a");
    EXPECT_EQ(doc.NumChildren(), 0);
  }
}

}  // namespace
