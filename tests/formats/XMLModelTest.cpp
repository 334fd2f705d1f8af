// The XML document model: look-up precedence, copies and ownership
// hand-over, as hosts walking service replies rely on them.
#include "tests/formats/XMLTestUtil.h"

#include <string>

using xmltest::Dump;
using xmltest::Parse;
using xmltest::S;

namespace {

TEST(XMLModel, ValueTextsAreBoundedAndCopiesAreDeep) {
  CXMLValue v, c;
  EXPECT_EQ(v.SequenceNumber(), -1);
  std::wstring set;
  for (int length : {3, -7, 50}) {
    v.SetValue(length == 50 ? L"ab" : L"abcdef", length);  // a length below 1 copies all, one above stops at the end
    set += S(v.Value()) + L" ";
  }
  v.SetValue(v.Value() + 1, 0);  // its own text
  v.SetFieldName(L"k");
  v.SetSequenceNumber(4);
  CXMLValue b(v);
  c = v;
  v.SetValue(nullptr, 3);
  c = c;
  EXPECT_EQ(set + S(v.Value()) + S(b.Value()) + S(c.FieldName()) + S(c.Value()) + std::to_wstring(b.SequenceNumber()),
            L"abc abcdef ab <null>bkb4");
}

TEST(XMLModel, GetValuePrefersAttributesThenDirectChildrenThenDepthFirst) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r id=\"attr\"><id>child</id><deep><name>grand1</name><title>t1</title></deep>"
                         L"<other><title>t2</title></other><name>direct<x/>second</name></r>"));
  EXPECT_EQ(S(doc.GetValue(L"ID", true)) + S(doc.GetValue(L"name", true)) + S(doc.CXMLNode::GetValue(L"name", false, 1)) +
                S(doc.CXMLNode::GetValue(L"name", false, 2)) + S(doc.GetValue(L"title", false)) + S(doc.GetValue(L"title", true)),
            L"attrdirectsecond<null><null>t1");
  for (const wchar_t* none : {L"", static_cast<const wchar_t*>(nullptr), L"missing"})
    EXPECT_EQ(doc.GetValue(none, true), nullptr);
}

TEST(XMLModel, FindNodeIsPreOrderFromTheNodeItselfAndFollowingValueNeverTestsTheLastChild) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<Root><a><x id=\"1\"/></a><x id=\"2\"/><\x00C9t/></Root>"));
  EXPECT_EQ(doc.FindNode(L"rOOT"), &doc);
  EXPECT_EQ(S(doc.FindNode(L"X")->GetValue(L"id")) + S(doc.GetChildByName(L"X")->GetValue(L"id")), L"12");
  EXPECT_EQ(doc.FindNode(L"\x00E9t"), nullptr) << "only A-Z fold";
  ASSERT_TRUE(Parse(doc, L"<d><key>Artist</key><string>Abba</string><key>Last</key></d>"));
  EXPECT_EQ(S(doc.GetValueFollowingValue(L"artist")), L"Abba");
  EXPECT_EQ(doc.GetChildFollowingValue(L"Last"), nullptr);
  ASSERT_TRUE(Parse(doc, L"<d><key>only</key></d>"));
  EXPECT_EQ(doc.GetChildFollowingValue(L"only"), nullptr) << "needs two children";
}

TEST(XMLModel, AddHeaderPropertyNeedsBothTextsAndAContentIsNamedAfterItsElement) {
  CXMLNode n;
  for (const wchar_t* blank : {L"", static_cast<const wchar_t*>(nullptr)})
    EXPECT_FALSE(n.AddHeaderProperty(blank, L"v") || n.AddHeaderProperty(L"k", blank));
  for (int i = 0; i < 20; ++i) EXPECT_TRUE(n.AddHeaderProperty(L"k", std::to_wstring(i).c_str()));
  EXPECT_EQ(S(n.GetValue(L"K")) + std::to_wstring(n.GetHeaderProperty(19)->SequenceNumber()), L"0-1");
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<Elem>t</Elem>"));
  EXPECT_EQ(S(doc.GetContent(0)->FieldName()), L"Elem");
}

TEST(XMLModel, CopyContentsPutsContentsAmongHeaderProperties) {
  CXMLFile src;
  ASSERT_TRUE(Parse(src, L"<s p=\"1\">text<k>v</k></s>"));
  CXMLNode dst;
  dst.SetName(L"dst");
  dst.SetSequenceNumber(7);
  dst.AddHeaderProperty(L"mine", L"kept");
  dst.CopyContents(src);
  EXPECT_EQ(Dump(dst) + std::to_wstring(dst.SequenceNumber()), L"dst{mine=kept,p=1,s=text}(? k('v'))7");
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

TEST(XMLModel, LongestStringCoversNamesFieldNamesAndValues) {
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, L"<r k=\"12345\">ab<child-with-long-name>x</child-with-long-name></r>"));
  EXPECT_EQ(doc.GetLongestString(false), 5u);
  EXPECT_EQ(doc.GetLongestString(true), wcslen(L"child-with-long-name"));
  ASSERT_TRUE(Parse(doc, L"<r long-attribute=\"1\"/>"));
  EXPECT_EQ(doc.GetLongestString(false), 14u);
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
  CXMLValue* content = doc.GetContent(0);
  content->SetValue(L"other");
  EXPECT_EQ(S(content->FieldName()), L"r");
  content->SetFieldName(nullptr);
  CXMLNode* c = doc.GetChild(0);
  c->SetName(c->Name());
  c->GetHeaderProperty(1)->SetValue(c->GetHeaderProperty(1)->Value());
  *c->GetHeaderProperty(0) = *attr;
  EXPECT_EQ(Dump(doc), L"r{renamed-and-longer=new}('other' c{renamed-and-longer=new,b=2}('x'))");
  c->Clear();
  c->SetName(L"again");
  EXPECT_EQ(Dump(doc), L"r{renamed-and-longer=new}('other' again)");
}

}  // namespace
