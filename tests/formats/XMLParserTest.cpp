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

// --- Open and LoadFromBuffer ---------------------------------------------------------------

TEST(XMLParser, OpenLogsWhyItFails) {
  zortest::TempDir dir;
  zortest::LogCapture log;
  CXMLFile doc;
  EXPECT_FALSE(doc.Open(nullptr));
  EXPECT_FALSE(doc.Open(L""));
  const std::wstring missing = dir / L"missing.xml";
  EXPECT_FALSE(doc.Open(missing.c_str()));
  const std::wstring empty = dir / L"empty.xml";
  ASSERT_TRUE(zortest::WriteBytes(empty, std::string()));
  EXPECT_FALSE(doc.Open(empty.c_str()));
  EXPECT_FALSE(doc.Open(dir.path().c_str()));  // a folder exists but is no file
  const std::vector<std::wstring> expected = {
      L"Entered CXMLFile::Open, file <>",
      L"Leaving CXMLFile::Open, blank file name",
      L"Entered CXMLFile::Open, file <>",
      L"Leaving CXMLFile::Open, blank file name",
      L"Entered CXMLFile::Open, file <" + missing + L">",
      L"Leaving CXMLFile::Open, blank file name",
      L"Entered CXMLFile::Open, file <" + empty + L">",
      L"Leaving CXMLFile::Open, file length < 1",
      L"Entered CXMLFile::Open, file <" + dir.path() + L">",
      L"Leaving CXMLFile::Open, can't open file",
  };
  EXPECT_EQ(log.lines(), expected);
}

TEST(XMLParser, OpenReadsSingleByteAndUtf16AlikeAndLogsNormalExit) {
  zortest::TempDir dir;
  const std::wstring text = L"<?xml version=\"1.0\"?>\r\n<r a=\"\x00E9\">caf\x00E9</r>\r\n";
  std::string ansi;
  for (wchar_t c : text) ansi += static_cast<char>(c);
  struct Case {
    const wchar_t* name;
    std::string bytes;
  } cases[] = {{L"ansi.xml", ansi},
               {L"bom.xml", zortest::Utf16Bytes(text, true)},
               {L"nobom.xml", zortest::Utf16Bytes(text, false)},
               {L"odd.xml", zortest::Utf16Bytes(text, true) + "x"}};
  for (const Case& c : cases) {
    const std::wstring path = dir / c.name;
    ASSERT_TRUE(zortest::WriteBytes(path, c.bytes));
    zortest::LogCapture log;
    CXMLFile doc;
    ASSERT_TRUE(doc.Open(path.c_str())) << zortest::Escape(c.name);
    EXPECT_EQ(S(doc.Name()), L"xml") << zortest::Escape(c.name);
    EXPECT_EQ(S(doc.GetValue(L"version", false)), L"1.0");
    ASSERT_EQ(doc.NumChildren(), 1) << zortest::Escape(c.name);
    EXPECT_EQ(S(doc.GetChild(0)->GetContentString(0)), L"caf\x00E9");
    EXPECT_EQ(S(doc.GetChild(0)->GetValue(L"a")), L"\x00E9");
    EXPECT_EQ(log.lines().back(), L"Leaving CXMLFile::Open, normal exit");
  }
}

TEST(XMLParser, SingleByteFileEndsAtItsFirstZeroByte) {
  zortest::TempDir dir;
  const std::wstring path = dir / L"zero.xml";
  ASSERT_TRUE(zortest::WriteBytes(path, std::string("<a>x</a>\0<b/>", 13)));
  CXMLFile doc;
  ASSERT_TRUE(doc.Open(path.c_str()));
  EXPECT_EQ(S(doc.Name()), L"a");
  EXPECT_EQ(doc.NumChildren(), 0);
}

TEST(XMLParser, EmptyBufferFailsPlainTextGivesEmptyRoot) {
  CXMLFile doc;
  EXPECT_FALSE(doc.LoadFromBuffer(nullptr));
  wchar_t empty[] = L"";
  EXPECT_FALSE(doc.LoadFromBuffer(empty));
  ASSERT_TRUE(Parse(doc, L"just some text, no tags"));
  EXPECT_EQ(doc.Name(), nullptr);
  EXPECT_EQ(doc.NumChildren() + doc.NumContents() + doc.NumHeaderProperties(), 0);
}

TEST(XMLParser, LoadWithoutDataLogsAndFails) {
  zortest::LogCapture log;
  CXMLNode n;
  unsigned int pos = 0;
  EXPECT_FALSE(n.Load(nullptr, pos, 10, 100));
  EXPECT_FALSE(n.Load(L"<a/>", pos, 0, 100));
  EXPECT_EQ(log.lines(), std::vector<std::wstring>(2, L"Leaving CXMLFile::Load, no data"));
  EXPECT_FALSE(n.Load(L"no tags", pos, 7, 100)) << "no opening tag met";
}

TEST(XMLParser, LoadParsesOneElementAndLeavesPositionBehindIt) {
  const wchar_t text[] = L"junk<a>1</a> <b x=\"2\"/>";
  const unsigned int length = static_cast<unsigned int>(wcslen(text));
  unsigned int pos = 0;
  CXMLNode a, b;
  ASSERT_TRUE(a.Load(text, pos, length, 999));
  EXPECT_EQ(pos, 12u);
  EXPECT_EQ(a.NodeLength(), 8u);  // "<a>1</a>"
  ASSERT_TRUE(b.Load(text, pos, length, 999));
  EXPECT_EQ(pos, length);
  EXPECT_EQ(S(b.GetValue(L"x")), L"2");
  EXPECT_FALSE(CXMLNode().Load(text, pos, length, 999));
}

TEST(XMLParser, MaxTagsBoundsTheTagsOfOneElement) {
  const wchar_t text[] = L"<r><a/><b/><c/></r>";
  unsigned int pos = 0;
  CXMLNode r;
  ASSERT_TRUE(r.Load(text, pos, static_cast<unsigned int>(wcslen(text)), 3));
  EXPECT_EQ(r.NumChildren(), 2);  // its own tag, a, b
}

// --- Tree shape --------------------------------------------------------------------------------

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
  EXPECT_EQ(S(doc.Name()), L"doc");
  EXPECT_EQ(S(doc.GetChild(0)->Name()), L"e");
}

TEST(XMLParser, EmptyElementTakesItsName) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<br/><ignored/>"));
  EXPECT_EQ(S(doc.Name()), L"br");
  EXPECT_EQ(doc.NumChildren(), 0);
  ASSERT_TRUE(Parse(doc, L"<br />"));
  EXPECT_EQ(S(doc.Name()), L"br");
  EXPECT_EQ(doc.NumHeaderProperties(), 0);
}

TEST(XMLParser, EndTagClosesWithoutRegardToCase) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<Artist><Name>x</NAME><next/></artist>"));
  ASSERT_EQ(doc.NumChildren(), 2);
  EXPECT_EQ(S(doc.GetChild(0)->Name()), L"Name");
  EXPECT_EQ(S(doc.GetChild(1)->Name()), L"next");
}

TEST(XMLParser, UnmatchedEndTagStartsAChild) {
  CXMLFile doc;
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

TEST(XMLParser, QuotedClosingsDoNotEndATag) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<a t=\"x>y/>z?>\" v=\"it's\" u='p>q'><b/></a>"));
  EXPECT_EQ(S(doc.Name()), L"a");
  EXPECT_EQ(S(doc.GetValue(L"t", false)), L"x>y/>z?>");
  EXPECT_EQ(S(doc.GetValue(L"v", false)), L"it's");
  EXPECT_EQ(doc.NumHeaderProperties(), 2) << "u has no double-quoted value";
  ASSERT_EQ(doc.NumChildren(), 1);
  EXPECT_EQ(S(doc.GetChild(0)->Name()), L"b");
}

TEST(XMLParser, AttributeValuesNeedDoubleQuotes) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<a one='1' two=\"2\"/>"));
  // The single-quoted value is not delimited: its name runs on to the next
  // double quote's pair.
  ASSERT_EQ(doc.NumHeaderProperties(), 1);
  EXPECT_EQ(S(doc.GetHeaderProperty(0)->FieldName()), L"one");
  EXPECT_EQ(S(doc.GetHeaderProperty(0)->Value()), L"2");
}

TEST(XMLParser, OpeningWithUnclosedQuoteEndsTheScan) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r>t<a k=\"x/></r>"));
  EXPECT_EQ(S(doc.Name()), L"r");
  EXPECT_EQ(doc.NumChildren(), 0);
  EXPECT_EQ(doc.NumContents(), 0) << "text is stored only in front of a tag";
}

TEST(XMLParser, AttributesAcrossLinesAreRead) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<a\r\n  k1 = \"  v1 \"\r\n\tk2=\"\" =\"orphan\" k3=\"\r\nv3\r\n\"/>"));
  EXPECT_EQ(S(doc.Name()), L"a");
  ASSERT_EQ(doc.NumHeaderProperties(), 2);
  EXPECT_EQ(S(doc.GetHeaderProperty(0)->FieldName()), L"k1");
  EXPECT_EQ(S(doc.GetHeaderProperty(0)->Value()), L"v1");
  EXPECT_EQ(S(doc.GetHeaderProperty(1)->FieldName()), L"k3");
  EXPECT_EQ(S(doc.GetHeaderProperty(1)->Value()), L"v3");
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

TEST(XMLParser, DocTypeTokensBecomeContents) {
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
  EXPECT_EQ(S(doc.GetChild(1)->Name()), L"html");
  EXPECT_EQ(doc.GetChild(1)->SequenceNumber(), 1);
}

TEST(XMLParser, DocTypeLastWordCountsOnlyWhenClosed) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<!doctype html>"));
  EXPECT_EQ(S(doc.Name()), L"DOCTYPE");
  EXPECT_EQ(doc.NumContents(), 0);
  ASSERT_TRUE(Parse(doc, L"<!DOCTYPE html ><root/>"));
  ASSERT_EQ(doc.NumContents(), 1);
  EXPECT_EQ(S(doc.GetContentString(0)), L"html");
  // A DOCTYPE completes its node: as the first tag it ends the document.
  EXPECT_EQ(doc.NumChildren(), 0);
}

TEST(XMLParser, DocTypeTokensAreCutAt1023) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<!DOCTYPE \"" + std::wstring(5000, L't') + L"\" ok >"));
  ASSERT_EQ(doc.NumContents(), 2);
  EXPECT_EQ(wcslen(doc.GetContentString(0)), 1023u);
  EXPECT_EQ(S(doc.GetContentString(1)), L"ok");
}

// --- Buffers --------------------------------------------------------------------------------

TEST(XMLParser, FieldResultCutsLongNamesAndValues) {
  TFieldResult* f = static_cast<TFieldResult*>(malloc(sizeof(TFieldResult)));
  memset(f, 0xCC, sizeof(TFieldResult));
  const std::wstring text = L"  <" + std::wstring(5000, L'n') + L" k=\"" + std::wstring(5000, L'v') + L"\">";
  CXMLNode n;
  unsigned int tagEnd = 0;
  EXPECT_EQ(n.GetNextFieldInfo(text.c_str(), static_cast<unsigned int>(text.size()), 0, tagEnd, *f), 2u);
  EXPECT_EQ(tagEnd, text.size());
  EXPECT_EQ(wcslen(f->tagName), 4094u);
  EXPECT_EQ(f->tagName[4095], 0xCCCC) << "nothing written behind the cut name";
  EXPECT_EQ(wcslen(f->quotedValue), 4095u);
  EXPECT_EQ(f->startKind, kXMLStartTag);
  EXPECT_EQ(f->endKind, kXMLEndTagClose);
  EXPECT_TRUE(f->hasAttributes);
  free(f);
}

TEST(XMLParser, GetNextFieldInfoKinds) {
  struct Case {
    const wchar_t* text;
    unsigned int at;
    int start, end;
    const wchar_t* name;
    bool attributes;
  } cases[] = {
      {L"<?xml v=\"1\"?>", 0, kXMLDeclaration, kXMLEndDeclaration, L"xml", true},
      {L"x</b >", 1, kXMLEndTag, kXMLEndTagClose, L"b", false},
      {L"<!DocType a>", 0, kXMLDocType, kXMLEndTagClose, L"a", false},
      {L"<!-- <x> --><e/>", 12, kXMLStartTag, kXMLEndEmpty, L"e", false},
      {L"<a\tb='1'/>", 0, kXMLStartTag, kXMLEndEmpty, L"a", true},
      {L"<>", 0, kXMLStartTag, kXMLEndTagClose, L"", false},
  };
  CXMLNode n;
  TFieldResult* f = static_cast<TFieldResult*>(malloc(sizeof(TFieldResult)));
  for (const Case& c : cases) {
    unsigned int tagEnd = 0;
    const unsigned int length = static_cast<unsigned int>(wcslen(c.text));
    EXPECT_EQ(n.GetNextFieldInfo(c.text, length, 0, tagEnd, *f), c.at) << zortest::Escape(c.text);
    EXPECT_EQ(tagEnd, length) << zortest::Escape(c.text);
    EXPECT_EQ(f->startKind, c.start) << zortest::Escape(c.text);
    EXPECT_EQ(f->endKind, c.end) << zortest::Escape(c.text);
    EXPECT_EQ(S(f->tagName), c.name) << zortest::Escape(c.text);
    EXPECT_EQ(f->hasAttributes, c.attributes) << zortest::Escape(c.text);
  }
  unsigned int tagEnd = 0;
  for (const wchar_t* none : {L"", L"text", L"<a", L"<a b=\">\"", L"<!-- <a> -", L"<"})
    EXPECT_EQ(n.GetNextFieldInfo(none, static_cast<unsigned int>(wcslen(none)), 0, tagEnd, *f), kXMLNoTag)
        << zortest::Escape(none);
  free(f);
}

TEST(XMLParser, LongTagAndAttributeTextsAreCutNotOverrun) {
  const std::wstring name(6000, L'n'), key(6000, L'k'), value(9000, L'v');
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<" + name + L" " + key + L"=\"" + value + L"\">t</" + name + L">"));
  EXPECT_EQ(wcslen(doc.Name()), 4094u);
  ASSERT_EQ(doc.NumHeaderProperties(), 1);
  EXPECT_EQ(wcslen(doc.GetHeaderProperty(0)->FieldName()), 4095u);
  EXPECT_EQ(wcslen(doc.GetHeaderProperty(0)->Value()), 4095u);
  EXPECT_EQ(S(doc.GetContentString(0)), L"t");
}

// --- UTF-8 ------------------------------------------------------------------------------------

TEST(XMLParser, DeclaredUtf8IsDecodedEverywhere) {
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
}

TEST(XMLParser, Utf8IsLeftAloneWithoutTheDeclaration) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<?xml version=\"1.0\" encoding=\"UTF8\"?><n>\x00C3\x00A9</n>"));
  EXPECT_EQ(S(doc.GetChild(0)->GetContentString(0)), L"\x00C3\x00A9");
  ASSERT_TRUE(Parse(doc, L"<n encoding=\"UTF-8\">\x00C3\x00A9</n>"));
  EXPECT_EQ(S(doc.GetContentString(0)), L"\x00C3\x00A9") << "only the xml node declares";
  ASSERT_TRUE(Parse(doc, L"<r><?xml encoding=\"UTF-8-ish\"?>\x00C3\x00A9</r>"));
  // The xml node may stand anywhere; unclosed, it holds the text.
  ASSERT_NE(doc.FindNode(L"xml"), nullptr);
  EXPECT_EQ(S(doc.FindNode(L"xml")->GetContentString(0)), L"\x00E9");
}

std::wstring DecodeBuf(const std::wstring& in, bool* changed = nullptr) {
  std::vector<wchar_t> out(in.size() + 1, 0xCCCC);
  bool r = CXMLNode::DecodeUTF8ToBuffer(in.c_str(), out.data(), static_cast<int>(out.size()));
  if (changed) *changed = r;
  return out.data();
}

TEST(XMLParser, DecodeUTF8ToBufferRules) {
  bool changed = false;
  EXPECT_EQ(DecodeBuf(L"a\x00C3\x00A9z", &changed), L"a\x00E9z");
  EXPECT_TRUE(changed);
  EXPECT_EQ(DecodeBuf(L"\x00E2\x0082\x00AC"), L"\x20AC");
  EXPECT_EQ(DecodeBuf(L"\x00EF\x00BF\x00BF"), L"\xFFFF");
  // Four-byte leads are dropped, their continuations kept.
  EXPECT_EQ(DecodeBuf(L"\x00F0\x009F\x0098\x0080", &changed), L"\x009F\x0098\x0080");
  EXPECT_TRUE(changed);
  // Leads without their continuations stay.
  EXPECT_EQ(DecodeBuf(L"\x00C3", &changed), L"\x00C3");
  EXPECT_FALSE(changed);
  EXPECT_EQ(DecodeBuf(L"\x00C3z\x00E2\x0082"), L"\x00C3z\x00E2\x0082");
  // Continuations are recognised by their low byte; leads above 255 are not leads.
  EXPECT_EQ(DecodeBuf(L"\x00C3\x01A9"), L"\x00E9");
  EXPECT_EQ(DecodeBuf(L"\x01C3\x00A9", &changed), L"\x01C3\x00A9");
  EXPECT_FALSE(changed);
}

TEST(XMLParser, DecodeUTF8ToBufferChecksItsArguments) {
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
      expected.push_back(CXMLNode::DecodeUTF8ToBuffer(s.c_str(), out.data(), static_cast<int>(out.size()))
                             ? std::wstring(out.data())
                             : s);
    }
    std::vector<wchar_t> work(16);
    n.DecodeUTF8(work.data(), static_cast<int>(work.size()));
    for (int k = 0; k < 4; ++k) EXPECT_EQ(S(n.GetHeaderProperty(k)->Value()), expected[k]);
  }
}

// --- Progress -------------------------------------------------------------------------------------

struct Progress {
  std::vector<unsigned int> positions;
  unsigned int total = 0;
};

void OnProgress(unsigned int position, unsigned int total, void* user) {
  auto* p = static_cast<Progress*>(user);
  p->positions.push_back(position);
  p->total = total;
}

TEST(XMLParser, ProgressIsReportedOncePerTag) {
  const std::wstring text = L"<?xml version=\"1.0\"?><r><!-- <no/> --><a>x</a><b/></r>";
  Progress progress;
  CXMLFile doc;
  doc.SetProgressCallback(&OnProgress, &progress);
  ASSERT_TRUE(Parse(doc, text));
  // <?xml?>, <r>, <a>, </a>, <b/>, </r>
  const std::vector<unsigned int> expected = {0, 21, 38, 42, 46, 50};
  EXPECT_EQ(progress.positions, expected);
  EXPECT_EQ(progress.total, text.size());
}

// --- Hostile documents ------------------------------------------------------------------------------

std::wstring Nested(int depth) {
  std::wstring s;
  s.reserve(static_cast<size_t>(depth) * 7);
  for (int i = 0; i < depth; ++i) s += L"<a>";
  s += L"core";
  for (int i = 0; i < depth; ++i) s += L"</a>";
  return s;
}

TEST(XMLParser, NestingIsBoundedAtMaxDepth) {
  CXMLFile doc;
  // The root is at depth 0, so kXMLMaxDepth + 1 levels still fit whole.
  ASSERT_TRUE(Parse(doc, Nested(kXMLMaxDepth + 1)));
  EXPECT_EQ(xmltest::Depth(&doc), kXMLMaxDepth);
  ASSERT_TRUE(Parse(doc, Nested(kXMLMaxDepth)));
  EXPECT_EQ(xmltest::Depth(&doc), kXMLMaxDepth - 1);
  ASSERT_TRUE(Parse(doc, Nested(kXMLMaxDepth + 5)));
  EXPECT_EQ(xmltest::Depth(&doc), kXMLMaxDepth);
  CXMLNode* deepest = &doc;
  while (deepest->NumChildren()) deepest = deepest->GetChild(0);
  EXPECT_EQ(S(deepest->GetContentString(0)), L"core");
}

TEST(XMLParser, FiftyThousandDeepNestingGivesABoundedTree) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, Nested(50000)));
  EXPECT_EQ(xmltest::Depth(&doc), kXMLMaxDepth);
  CXMLNode* deepest = &doc;
  while (deepest->NumChildren()) deepest = deepest->GetChild(0);
  EXPECT_EQ(S(deepest->GetContentString(0)), L"core");
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
  unsigned int longest = copy.GetLongestString(true);
  std::vector<wchar_t> work(longest + 1);
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
  {
    std::string bytes(size, 'x');
    memcpy(&bytes[0], "<a b=\"", 6);  // an opening whose quote never ends
    ASSERT_TRUE(zortest::WriteBytes(path, bytes));
    memcpy(&bytes[0], "<a>xx<", 6);  // an element that never closes
    ASSERT_TRUE(zortest::WriteBytes(dir / L"huge2.xml", bytes));
  }
  {
    CXMLFile doc;
    ASSERT_TRUE(doc.Open(path.c_str()));
    EXPECT_EQ(doc.Name(), nullptr);
  }
  CXMLFile doc;
  ASSERT_TRUE(doc.Open((dir / L"huge2.xml").c_str()));
  EXPECT_EQ(S(doc.Name()), L"a");
  EXPECT_EQ(doc.NumChildren(), 0);
}

TEST(XMLParser, BinaryGarbageGivesSomeTree) {
  std::mt19937 rng(99);
  const int rounds = zortest::HeapChecked() ? 20 : 200;
  for (int round = 0; round < rounds; ++round) {
    std::wstring text;
    const int len = 1 + static_cast<int>(rng() % 3000);
    // Markup characters are made frequent so that tags, quotes and comments
    // really occur.
    static const wchar_t kMarkup[] = L"<>/?!-\"'= \r\nDOCTYPExml";
    for (int i = 0; i < len; ++i) {
      unsigned int r = rng();
      wchar_t c = (r & 3) ? kMarkup[(r >> 2) % (sizeof(kMarkup) / sizeof(wchar_t) - 1)]
                          : static_cast<wchar_t>(1 + (r >> 8) % 0xFFFE);
      text += c;
    }
    CXMLFile doc;
    doc.SetShouldDeHTMLify(round % 2 == 0);
    EXPECT_TRUE(Parse(doc, text));
    size_t strings = 0;
    xmltest::Walk(&doc, &strings);
    CXMLFile copy(doc);
    copy.DeHTMLAll();
  }
}

}  // namespace
