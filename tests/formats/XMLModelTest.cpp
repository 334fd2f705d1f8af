// The XML document model: look-up precedence, sequence numbers, copies and
// ownership hand-over, as hosts walking service replies rely on them.
#include "tests/formats/XMLTestUtil.h"

#include <string>

using xmltest::Parse;
using xmltest::S;

namespace {

TEST(XMLModel, ValueTextsAreBoundedAndCopiesAreDeep) {
  EXPECT_EQ(CXMLNode().GetChild(-1), nullptr);
  CXMLValue v;
  EXPECT_EQ(v.SequenceNumber(), -1);
  v.SetValue(L"abcdef", 3);
  EXPECT_EQ(S(v.Value()), L"abc");
  v.SetValue(L"abcdef", -7);
  EXPECT_EQ(S(v.Value()), L"abcdef");
  v.SetValue(L"ab", 50);  // stops at the terminator
  EXPECT_EQ(S(v.Value()), L"ab");
  v.SetValue(v.Value() + 1, 0);  // its own text
  EXPECT_EQ(S(v.Value()), L"b");
  v.SetValue(nullptr, 3);
  EXPECT_EQ(v.Value(), nullptr);
  v.SetFieldName(L"k");
  v.SetValue(L"v");
  v.SetSequenceNumber(4);
  CXMLValue b(v), c;
  EXPECT_NE(b.Value(), v.Value());
  EXPECT_EQ(b.SequenceNumber(), 4);
  c = v;
  v.SetValue(L"changed");
  c = c;
  EXPECT_EQ(S(c.Value()), L"v");
  EXPECT_EQ(S(c.FieldName()), L"k");
}

TEST(XMLModel, MixedContentSharesOneSequenceCounter) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<a>x<b/>y<c></c>z</a>"));
  ASSERT_EQ(doc.NumContents(), 3);
  ASSERT_EQ(doc.NumChildren(), 2);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(doc.GetContent(i)->SequenceNumber(), 2 * i);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(doc.GetChild(i)->SequenceNumber(), 2 * i + 1);
  // A content's field name is the name of the element holding it.
  EXPECT_EQ(S(doc.GetContent(1)->FieldName()), L"a");
  EXPECT_EQ(doc.HighestSequenceNumber(), 4);
  EXPECT_EQ(S(doc.GetChildBySequenceNumber(3)->Name()), L"c");
  EXPECT_EQ(doc.GetChildBySequenceNumber(2), nullptr);
  EXPECT_EQ(S(doc.GetContentStringBySequenceNumber(2)), L"y");
  EXPECT_EQ(doc.GetValueBySequenceNumber(1), nullptr);
  EXPECT_EQ(S(doc.GetValue(0u)->Value()), L"x");
  EXPECT_EQ(doc.GetValue(3u), nullptr);
  // Only direct members count for the highest number.
  ASSERT_TRUE(Parse(doc, L"<r><a>1<b/>2<c/>3</a></r>"));
  EXPECT_EQ(doc.HighestSequenceNumber(), 0);
  EXPECT_EQ(doc.GetChild(0)->HighestSequenceNumber(), 4);
}

TEST(XMLModel, GetValuePrefersAttributesThenDirectChildrenThenDepthFirst) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r id=\"attr\"><id>child</id><deep><name>grand1</name><title>t1</title></deep>"
                         L"<other><title>t2</title></other><name>direct<x/>second</name></r>"));
  EXPECT_EQ(S(doc.GetValue(L"id", false)), L"attr");
  EXPECT_EQ(S(doc.GetValue(L"ID", true)), L"attr");
  EXPECT_EQ(S(doc.GetValue(L"name", true)), L"direct");
  EXPECT_EQ(S(doc.CXMLNode::GetValue(L"name", false, 1)), L"second");
  EXPECT_EQ(doc.CXMLNode::GetValue(L"name", false, 2), nullptr);
  EXPECT_EQ(doc.GetValue(L"title", false), nullptr);
  EXPECT_EQ(S(doc.GetValue(L"title", true)), L"t1");  // first child first
  for (const wchar_t* none : {L"", static_cast<const wchar_t*>(nullptr), L"missing"})
    EXPECT_EQ(doc.GetValue(none, true), nullptr);
}

TEST(XMLModel, FindNodeIsPreOrderAndFoldsOnlyAsciiLetters) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<Root><a><x id=\"1\"/></a><x id=\"2\"/><\x00C9t/></Root>"));
  EXPECT_EQ(doc.FindNode(L"rOOT"), &doc);
  ASSERT_NE(doc.FindNode(L"X"), nullptr);
  EXPECT_EQ(S(doc.FindNode(L"x")->GetValue(L"id")), L"1");
  EXPECT_NE(doc.FindNode(L"\x00C9t"), nullptr);
  EXPECT_EQ(doc.FindNode(L"\x00E9t"), nullptr);  // only A-Z fold
  EXPECT_EQ(doc.FindNode(L""), nullptr);
  EXPECT_EQ(doc.FindNode(nullptr), nullptr);
  EXPECT_EQ(S(doc.GetChildByName(L"X")->GetValue(L"id")), L"2");
  EXPECT_EQ(doc.GetChildByName(L"a")->GetChildByName(L"a"), nullptr);
}

TEST(XMLModel, FollowingValueReadsKeyValueSiblings) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<d><key>Artist</key><string>Abba</string><key>Year</key><integer>1974</integer>"
                         L"<key>Last</key></d>"));
  EXPECT_EQ(S(doc.GetValueFollowingValue(L"artist")), L"Abba");
  EXPECT_EQ(S(doc.GetValueFollowingValue(L"Year")), L"1974");
  EXPECT_EQ(S(doc.GetChildFollowingValue(L"Year")->Name()), L"integer");
  // The last child has no follower and is never tested.
  EXPECT_EQ(doc.GetChildFollowingValue(L"Last"), nullptr);
  EXPECT_EQ(doc.GetValueFollowingValue(L"nothing"), nullptr);
  EXPECT_EQ(doc.GetChildFollowingValue(nullptr), nullptr);
  ASSERT_TRUE(Parse(doc, L"<d><key>only</key></d>"));
  EXPECT_EQ(doc.GetChildFollowingValue(L"only"), nullptr) << "needs two children";
}

TEST(XMLModel, AddHeaderPropertyNeedsBothTexts) {
  CXMLNode n;
  for (const wchar_t* blank : {L"", static_cast<const wchar_t*>(nullptr)})
    EXPECT_FALSE(n.AddHeaderProperty(blank, L"v") || n.AddHeaderProperty(L"k", blank));
  for (int i = 0; i < 20; ++i) EXPECT_TRUE(n.AddHeaderProperty(L"k", std::to_wstring(i).c_str()));
  ASSERT_EQ(n.NumHeaderProperties(), 20);
  EXPECT_EQ(n.GetHeaderProperty(19)->SequenceNumber(), -1);
  EXPECT_EQ(S(n.GetValue(L"K")), L"0");
}

TEST(XMLModel, AssignmentIsADeepCopyAndSafeFromADescendantOrItself) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r a=\"1\">t<c b=\"2\">u<g/></c></r>"));
  CXMLNode* c = doc.GetChild(0);
  c->SetShouldDeHTMLify(true);
  CXMLNode copy;
  copy.AddHeaderProperty(L"old", L"gone");
  copy = *c;
  EXPECT_EQ(S(copy.Name()), L"c");
  EXPECT_EQ(copy.SequenceNumber(), 1);
  EXPECT_EQ(copy.NodeLength(), c->NodeLength());
  EXPECT_TRUE(copy.ShouldDeHTMLify());
  EXPECT_EQ(copy.NumHeaderProperties(), 1);
  EXPECT_EQ(S(copy.GetValue(L"b")), L"2");
  ASSERT_EQ(copy.NumChildren(), 1);
  EXPECT_NE(copy.GetContentString(0), c->GetContentString(0));
  copy.GetChild(0)->SetName(L"renamed");
  EXPECT_EQ(S(c->GetChild(0)->Name()), L"g");
  CXMLNode constructed(doc);
  EXPECT_EQ(xmltest::Depth(&constructed), 2);
  EXPECT_EQ(S(constructed.GetContentString(0)), L"t");

  CXMLNode& root = doc;
  root = root;
  EXPECT_EQ(S(root.Name()), L"r");
  root = *doc.GetChild(0);  // the source dies in the assignment's Clear()
  EXPECT_EQ(S(root.Name()), L"c");
  EXPECT_EQ(S(root.GetValue(L"b")), L"2");
  EXPECT_EQ(S(root.GetChild(0)->Name()), L"g");
}

TEST(XMLModel, CopyContentsPutsContentsAmongHeaderProperties) {
  CXMLFile src;
  ASSERT_TRUE(Parse(src, L"<s p=\"1\">text<k>v</k></s>"));
  CXMLNode dst;
  dst.SetName(L"dst");
  dst.SetSequenceNumber(7);
  dst.AddHeaderProperty(L"mine", L"kept");
  dst.CopyContents(src);
  EXPECT_EQ(S(dst.Name()), L"dst");
  EXPECT_EQ(dst.SequenceNumber(), 7);
  ASSERT_EQ(dst.NumHeaderProperties(), 3);
  EXPECT_EQ(S(dst.GetHeaderProperty(0)->FieldName()), L"mine");
  EXPECT_EQ(S(dst.GetHeaderProperty(1)->FieldName()), L"p");
  EXPECT_EQ(S(dst.GetHeaderProperty(2)->FieldName()), L"s");
  EXPECT_EQ(dst.NumContents(), 0);
  ASSERT_EQ(dst.NumChildren(), 1);
  EXPECT_NE(dst.GetChild(0), src.GetChild(0));
  // So a content is now found like an attribute.
  EXPECT_EQ(S(dst.GetValue(L"s")), L"text");
  dst.CopyContents(dst);  // copying onto itself doubles, and ends
  EXPECT_EQ(dst.NumHeaderProperties(), 6);
  EXPECT_EQ(dst.NumChildren(), 2);
}

TEST(XMLModel, EmptyChildrenNoDeleteHandsOwnershipOverAndClearFreesAll) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r a=\"1\">t<c/><d/></r>"));
  CXMLNode* c = doc.GetChild(0);
  CXMLNode* d = doc.GetChild(1);
  CXMLValue* a = doc.GetHeaderProperty(0);
  CXMLValue* t = doc.GetContent(0);
  doc.EmptyChildrenNoDelete();
  EXPECT_EQ(doc.NumChildren() + doc.NumHeaderProperties() + doc.NumContents(), 0);
  EXPECT_EQ(S(doc.Name()), L"r");
  // The objects live on: they are ours now (the heap-checked run sees the frees).
  EXPECT_EQ(S(c->Name()), L"c");
  EXPECT_EQ(S(t->Value()), L"t");
  delete c;
  delete d;
  delete a;
  delete t;
  ASSERT_TRUE(Parse(doc, L"<r a=\"1\">t<c/></r>"));
  doc.Clear();
  EXPECT_EQ(doc.Name(), nullptr);
  EXPECT_EQ(doc.NumChildren() + doc.NumHeaderProperties() + doc.NumContents(), 0);
  ASSERT_TRUE(Parse(doc, L"<again/>"));
  EXPECT_EQ(S(doc.Name()), L"again");
}

TEST(XMLModel, DeHTMLifyTreatsNamesAttributesAndContentsButNotChildren) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r&amp;s k&amp;=\"&quot;v&quot;\">a&amp;b<c>&lt;deep&gt;</c></r&amp;s>"));
  doc.DeHTMLify(false);
  EXPECT_EQ(S(doc.Name()), L"r&s");
  EXPECT_EQ(S(doc.GetHeaderProperty(0)->FieldName()), L"k&");
  EXPECT_EQ(S(doc.GetHeaderProperty(0)->Value()), L"\"v\"");
  EXPECT_EQ(S(doc.GetContentString(0)), L"a&b");
  EXPECT_EQ(S(doc.GetContent(0)->FieldName()), L"r&s");
  EXPECT_EQ(S(doc.GetChild(0)->GetContentString(0)), L"&lt;deep&gt;") << "children untouched";
  doc.DeHTMLAll();
  EXPECT_EQ(S(doc.GetChild(0)->GetContentString(0)), L"<;deep>;");
}

TEST(XMLModel, DeHTMLifyFlagTreatsEveryChildButNotTheRoot) {
  CXMLFile doc;
  doc.SetShouldDeHTMLify(true);
  ASSERT_TRUE(Parse(doc, L"<r>&amp;<c k=\"&amp;\">&amp;<g>&amp;</g></c></r>"));
  EXPECT_EQ(S(doc.GetContentString(0)), L"&amp;");
  CXMLNode* c = doc.GetChild(0);
  EXPECT_TRUE(c->ShouldDeHTMLify());
  EXPECT_EQ(S(c->GetContentString(0)), L"&");
  EXPECT_EQ(S(c->GetValue(L"k")), L"&");
  EXPECT_EQ(S(c->GetChild(0)->GetContentString(0)), L"&");
  // Decoding happens once per child: "&amp;amp;" would need a second pass.
  ASSERT_TRUE(Parse(doc, L"<r><c>&amp;amp;</c></r>"));
  EXPECT_EQ(S(doc.GetChild(0)->GetContentString(0)), L"&amp;");
}

TEST(XMLModel, LongestStringCoversNamesFieldNamesAndValues) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r k=\"12345\">ab<child-with-long-name>x</child-with-long-name></r>"));
  EXPECT_EQ(doc.GetLongestString(false), 5u);
  EXPECT_EQ(doc.GetLongestString(true), wcslen(L"child-with-long-name"));
}

// Values and nodes made by the parser keep their texts in their own heap
// block; every setter must still work on them and free exactly what it
// should (the heap-checked run watches the frees).
TEST(XMLModel, TextsStoredWithTheirObjectCanBeReplaced) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r k=\"v&amp;\">text&amp;<c a=\"1\" b=\"2\">x</c></r>"));
  doc.DeHTMLAll();  // shortens texts in place
  CXMLValue* attr = doc.GetHeaderProperty(0);
  attr->SetFieldName(L"renamed-and-longer");
  EXPECT_EQ(S(attr->Value()), L"v&") << "the value must survive its field name's replacement";
  attr->SetValue(L"new");
  EXPECT_EQ(S(attr->FieldName()), L"renamed-and-longer");
  CXMLValue* content = doc.GetContent(0);
  content->SetValue(L"other");
  EXPECT_EQ(S(content->FieldName()), L"r");
  content->SetFieldName(nullptr);
  EXPECT_EQ(S(content->Value()), L"other");
  CXMLNode* c = doc.GetChild(0);
  c->SetName(c->Name());  // its own text
  EXPECT_EQ(S(c->Name()), L"c");
  c->GetHeaderProperty(1)->SetValue(c->GetHeaderProperty(1)->Value());
  EXPECT_EQ(S(c->GetValue(L"b")), L"2");
  *c->GetHeaderProperty(0) = *attr;
  EXPECT_EQ(S(c->GetValue(L"renamed-and-longer")), L"new");
  c->Clear();
  c->SetName(L"again");
  EXPECT_EQ(S(doc.GetChild(0)->Name()), L"again");
}

}  // namespace
