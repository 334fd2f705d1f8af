// A parsed tree lives in blocks its document owns and recycles; what hosts
// do with single parsed objects still works (the guard-heap run turns any
// use of a block given back, or a bad free, into a crash).
#include "tests/formats/FormatsTestUtil.h"

#include <zorutils/containers/DynArray.h>

#include <psapi.h>

#include <algorithm>
#include <memory>

using ftest::Dump;
using ftest::Parse;
using ftest::S;

namespace {

const wchar_t kReply[] = L"<?xml version=\"1.0\"?><list n=\"2\"><item id=\"a\">one<sub/>tail</item>"
                         L"<item id=\"b\">two</item></list>";

TEST(XMLStorage, ObjectsHandedOverOutliveTheirDocumentAndItsNextParses) {
  std::unique_ptr<CXMLNode> item;
  std::unique_ptr<CXMLValue> attribute, one, text;
  {
    CXMLFile doc;
    ASSERT_TRUE(Parse(doc, kReply));
    CXMLNode* first = doc.FindNode(L"item");
    item.reset(first->GetChild(0));
    attribute.reset(first->GetHeaderProperty(0));
    one.reset(first->GetContent(0));
    text.reset(first->GetContent(1));
    first->EmptyChildrenNoDelete();
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(Parse(doc, i == 1 ? L"<other/>" : kReply));  // blocks recycled or left
    EXPECT_EQ(Dump(doc), L"xml{version=1.0}(list{n=2}(item{id=a}('one' sub 'tail') item{id=b}('two')))");
  }
  EXPECT_EQ(Dump(*item) + S(attribute->FieldName()) + S(attribute->Value()) + S(text->Value()), L"subidatail");
  item->SetName(L"renamed");
  item->AddHeaderProperty(L"k", L"v");
  text->SetValue(L"changed");
  EXPECT_EQ(Dump(*item) + S(text->Value()), L"renamed{k=v}changed");
  item.reset();  // the last of the first parse's objects: its blocks go now
  attribute.reset();
  one.reset();
  text.reset();
}

TEST(XMLStorage, ParsedObjectsTakeNewTextsChildrenAndCopiesAndTheNextParseStillReplacesAll) {
  CXMLFile doc;
  for (int round = 0; round < 2; ++round) {
    ASSERT_TRUE(Parse(doc, kReply));
    CXMLNode* list = doc.GetChild(0);
    CXMLNode* item = list->GetChild(0);
    item->SetName(L"first");
    item->GetHeaderProperty(0)->SetValue(L"A");
    *item->GetContent(0) = *list->GetChild(1)->GetContent(0);
    CXMLNode* sub = item->GetChild(0);
    sub->Clear();  // a parsed child emptied on its own, then filled from the heap
    unsigned int at = 0;
    ASSERT_TRUE(sub->Load(L"<more x=\"1\">m</more>", at, 20, 10));
    list->AddHeaderProperty(L"added", L"yes");
    list->GetChild(1)->CopyContents(*item);
    doc.AddHeaderProperty(L"root", L"r");
    EXPECT_EQ(Dump(doc), L"xml{version=1.0,root=r}(list{n=2,added=yes}(first{id=A}('two' more{x=1}('m') 'tail') "
                         L"item{id=b,id=A,item=two,item=tail}('two' more{x=1}('m'))))");
    CXMLNode copy(*item);  // a copy out of the tree, kept past the next parse
    *list->GetChild(1) = copy;
    ASSERT_TRUE(Parse(doc, L"<r><c/></r>"));
    EXPECT_EQ(Dump(doc) + Dump(copy), L"r(c)first{id=A}('two' more{x=1}('m') 'tail')");
  }
}

TEST(XMLStorage, TheTreesOfBothPathsAreEqualWhatYouDoToThem) {
  // The same text parsed by the document (its own blocks, UTF-8 decoded as
  // strings are stored) and by a plain node (heap, decoded afterwards).
  const wchar_t* const texts[] = {
      L"<?xml version=\"1.0\" encoding=\"UTF-8\"?><n\x00C3\x00A9 a=\"\x00E2\x0082\x00AC\">\x00C3\x00A9<c/>\x00F0x"
      L"</n\x00C3\x00A9>",
      L"<?xml encoding=\"utf-8\"?><!DOCTYPE d \"\x00C3\x00A9\" x><r><?xml encoding=\"UTF-8\"?>\x00C3\x00A9</r>",
      L"<r><?xml encoding=\"UTF-8\"?>\x00C3\x00A9</r>"};
  for (const wchar_t* text : texts) {
    CXMLFile doc;
    ASSERT_TRUE(Parse(doc, text));
    EXPECT_EQ(Dump(doc), ftest::TwoPassDump(text, false)) << zortest::Escape(text);
  }
}

// Replaced and destroyed texts go back to the heap: a leak of any of them
// would grow the process by tens of megabytes here.
TEST(XMLStorage, TextsReplacedOrDestroyedGiveTheirMemoryBack) {
  const std::wstring big(16 * 1024, L'x');
  auto committed = [] {
    PROCESS_MEMORY_COUNTERS counters = {};
    counters.cb = sizeof counters;
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters.PagefileUsage;
  };
  const std::wstring text = L"<r a=\"" + big + L"\">" + big + L"</r>";
  SIZE_T before = 0;
  for (int i = 0; i < 300; ++i) {
    if (i == 20) before = committed();  // the heap warmed up
    CXMLValue v;
    v.SetFieldName(big.c_str());
    v.SetValue(big.c_str());
    CXMLValue w(v);
    w = v;
    CXMLFile doc;
    ASSERT_TRUE(Parse(doc, text));
    doc.GetHeaderProperty(0)->SetFieldName(big.c_str());  // the next parse frees it
    ASSERT_TRUE(Parse(doc, text));
    CCOMString s(big.c_str());
    s.Replace(L"x", L"yy");
  }
  EXPECT_LT(committed() - before, SIZE_T(8) << 20);
}

// Documents large enough for whole chunks: those of a destroyed document
// serve the next one, and are nobody else's meanwhile.
TEST(XMLStorage, ChunksOfAGoneDocumentServeTheNextOneOnly) {
  std::wstring text = L"<r>";
  for (int i = 0; i < 20000; ++i) text += L"<e k=\"" + std::to_wstring(i) + L"\">text</e>";
  text += L"</r>";
  const std::wstring want = [&] {
    CXMLFile doc;
    return Parse(doc, text) ? Dump(doc) : L"failed";
  }();
  // Heap blocks made while the chunks wait, then a parse that takes them.
  std::vector<std::wstring> others(2000, std::wstring(100, L'o'));
  CXMLFile doc;
  ASSERT_TRUE(Parse(doc, text));
  EXPECT_EQ(Dump(doc), want);
  EXPECT_EQ(std::count(others.begin(), others.end(), std::wstring(100, L'o')), 2000);
}

TEST(XMLStorage, ABorrowedArrayIsNeverFreedOrResizedAndGrowsIntoABlockOfItsOwn) {
  int items[3] = {1, 2, 3};
  int* storage[3] = {&items[0], &items[1], &items[2]};
  CDynArray<int*> array;
  array.Borrow(storage, 3);
  EXPECT_TRUE(array.IsBorrowed() && array.GetSize() == 3 && array.GetData() == storage);
  array.Swap(0, 2);  // in place
  EXPECT_EQ(storage[0], &items[2]);
  ASSERT_TRUE(array.Add(&items[0]));
  EXPECT_TRUE(!array.IsBorrowed() && array.GetData() != storage && array.GetSize() == 4);
  EXPECT_EQ(*array[0] * 1000 + *array[1] * 100 + *array[2] * 10 + *array[3], 3211);
  CDynArray<int*> other;
  other.Borrow(storage, 3);
  other.RemoveAll();
  other.FreeExtra();  // a stack block: freeing it would crash
  EXPECT_TRUE(other.GetData() == nullptr && other.GetCapacity() == 0);
  other.Borrow(storage, 2);
  EXPECT_TRUE(other.InsertAt(0, &items[1]) && other.GetSize() == 3 && *other[0] == 2);
}

}  // namespace
