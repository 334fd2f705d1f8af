// Registry strings, CStringList, CLastDirList and CMRUList: the recent-file
// list on real files and Wine's real registry.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/containers/StringLists.h>
#include <zorutils/system/RegistryStrings.h>

#include <ctime>

using namespace systest;

namespace {
using V = std::vector<std::wstring>;
template <class F>
V Collect(int n, F item) {
  V out;
  for (int i = 0; i < n; ++i) out.push_back(item(i));
  return out;
}
V All(CStringList& l) { return Collect(l.Count(), [&](int i) { return l.Index(i); }); }
V Paths(CLastDirList& l) { return Collect(l.Count(), [&](int i) { return l.Index(i)->path; }); }
V Entries(CMRUList& m) { return Collect(m.NumMRUFiles(), [&](int i) { return m.GetFileWithPath(i); }); }
V Values(const TestRegKey& k) { return Collect(10, [&](int i) { return k.Read(L"mru." + std::to_wstring(i + 1)); }); }
// The registry as a save leaves it: exactly nine values, blanks after `head`.
V Saved(V head) { return head.resize(9), head.push_back(L"<missing>"), head; }
}  // namespace

// Read back cut and terminated. A missing value reads as empty and succeeds;
// only a key that cannot be opened, or a bad argument, fails.
TEST(RegistryStrings, WriteThenReadCutToTheBuffer) {
  TestRegKey key(L"regstrings");
  const HKEY hk = HKEY_CURRENT_USER;
  const wchar_t* p = key.path();
  EXPECT_FALSE(WriteRegistryString(hk, p, L"v", nullptr) || WriteRegistryString(hk, nullptr, L"v", L"x") ||
               WriteRegistryString(hk, p, nullptr, L"x") || WriteRegistryString(nullptr, p, L"v", L"x"));
  EXPECT_TRUE(WriteRegistryString(hk, p, L"v", L"") && key.Read(L"v").empty() && WriteRegistryString(hk, p, L"v", L"abc\x00e9" L"ef"));
  key.Write(L"raw", L"wxyz", 4 * sizeof(wchar_t));  // stored without its terminator
  const struct { const wchar_t *name, *subKey, *expected; size_t cap; bool result; } cases[] = {
      {L"v", p, L"", 1, true}, {L"v", p, L"a", 2, true}, {L"v", p, L"abc\x00e9" L"e", 6, true}, {L"v", p, L"abc\x00e9" L"ef", 7, true},
      {L"raw", p, L"wxy", 4, true}, {L"raw", p, L"wxyz", 9, true}, {L"absent", p, L"", 4, true}, {L"v", p, L"<unterminated>", 0, false},
      {L"v", L"Software\\zortest-system\\none", L"", 4, false}, {L"v", nullptr, L"<unterminated>", 1, false}, {nullptr, p, L"<unterminated>", 1, false}};
  for (const auto& c : cases)
    EXPECT_EQ(c.expected, Filled(c.cap, [&](wchar_t* b, int n) { EXPECT_EQ(c.result, GetRegistryString(hk, c.subKey, c.name, b, n)); }))
        << zortest::Escape(c.name ? c.name : L"") << " " << c.cap;
  EXPECT_FALSE(GetRegistryString(hk, p, L"v", nullptr, 8));
}

TEST(StringList, KeepsCopiesInOrderAndMatchesFoldingOnlyAtoZ) {
  CStringList list, sorted, other;
  wchar_t text[] = L"middle";
  list.PushBackList(text);
  text[0] = L'X';  // a copy was stored
  list.AddLatestString(L"first"), list.PushBackList(L"\x00C9t\x00E9"), list.PushBackList(L"First");
  for (const wchar_t* s : {L"b", L"A", L"a", L""}) sorted.AddSortedString(s);
  EXPECT_EQ((V{L"", L"A", L"a", L"b"}), All(sorted)) << "a new string goes after its equals";
  EXPECT_EQ(Ints({1, 0, -1, 2, 1, 0}), Ints({list.ContainsString(L"FIRST"), list.ContainsString(nullptr),
                                             list.StringIndex(L"\x00E9t\x00E9"), list.StringIndex(L"\x00C9T\x00E9"),
                                             list.DeleteString(L"fIrSt"), list.DeleteString(L"gone")}));
  EXPECT_EQ(L"middle", std::wstring(list.Index(-5))) << "a negative index counts as 0";
  EXPECT_EQ(Ints({0, 1, 0}), Ints({list.Index(3) != nullptr, list.UpdateString(2, L"F2") != 0, list.UpdateString(3, L"x")}));
  list.DeleteIndex(7), list.DeleteIndex(-1), other.PushBackList(L"o");
  EXPECT_EQ(Ints({1, 1}), Ints({other.CopyFrom(list), other.CopyFrom(other)})) << "copying onto itself ends";
  EXPECT_EQ((V{L"o", L"\x00C9t\x00E9", L"F2", L"o", L"\x00C9t\x00E9", L"F2"}), All(other));
  EXPECT_EQ(nullptr, (list.DeleteStringList(), list.Index(0)));
}

// Assignment shares the list itself: both names see every change.
TEST(StringList, AssignmentSharesTheList) {
  CStringList a;
  CStringList* b = new CStringList;
  *b = a;  // b's own list is left behind, as assignment has always done
  b->PushBackList(L"shared");
  EXPECT_EQ((V{L"shared"}), All(a));
  ::operator delete(static_cast<void*>(b));  // only one sharer may be destroyed
}

// MoveOrAddToTop makes the record anew at the front whatever the others'
// sort values; only its host value survives. Paths are cut to 259.
TEST(LastDirList, KeepsDescendingSortValuesAndMovesToTheTopRegardless) {
  CLastDirList list, raw;
  for (const auto& a : std::vector<std::pair<const wchar_t*, long>>{{L"b", 5}, {L"a", 9}, {L"c", 5}, {L"d", 1}})
    EXPECT_EQ(1, list.Add(a.first, a.second, a.second * 10, 0));
  EXPECT_EQ((V{L"a", L"b", L"c", L"d"}), Paths(list));
  EXPECT_TRUE(list.ContainsDir(L"C")->hostValue == 50 && !list.ContainsDir(L"zz") && !list.Index(-1) && !list.Index(4));
  EXPECT_TRUE(list.UpdateOrAdd(L"d", 40, 5, 0) == 1 && Paths(list)[3] == L"d" && list.Index(3)->hostValue == 5) << "values only";
  EXPECT_EQ(Ints({1, 1}), Ints({list.UpdateOrAdd(L"D", 40, 6, 1), list.UpdateOrAdd(L"e", 7, 0, 0)}));  // resorted; new
  EXPECT_EQ((V{L"d", L"a", L"e", L"b", L"c"}), Paths(list));
  EXPECT_EQ(Ints({1, 0}), Ints({list.DeletePath(L"A"), list.DeletePath(L"none")}));
  list.DeleteIndex(0), list.DeleteIndex(9);
  const std::wstring longPath = LongPath(400);
  list.Add(longPath.c_str(), 1, 1, 0);
  EXPECT_EQ(Ints({1, 1}), Ints({list.MoveOrAddToTop(L"B"), list.MoveOrAddToTop(longPath.c_str())}));
  EXPECT_EQ((V{longPath.substr(0, 259), L"B", L"e", L"c", longPath.substr(0, 259)}), Paths(list))
      << "the full path does not match its stored cut";
  EXPECT_EQ(Ints({1000, 50}), Ints({list.Index(0)->hostValue, list.Index(1)->hostValue}));
  EXPECT_NEAR(static_cast<long>(std::time(nullptr)), list.Index(1)->sortValue, 5);
  for (long sort : {1, 5}) raw.AddPtr(new _lastDirList{{L'x', static_cast<wchar_t>(L'0' + sort)}, sort, 0}, 0);
  EXPECT_TRUE(raw.AddPtr(nullptr, 0) == 0 && raw.Sort() == 1 && Paths(raw) == (V{L"x5", L"x1"}));
  EXPECT_EQ(0, (raw.DeleteAll(), raw.Count()));
}

struct MRUList : testing::Test {
  MRUList() {
    for (int i = 0; i < 10; ++i) files.push_back(dir / (L"song" + std::to_wstring(i) + L".mp3")), zortest::WriteBytes(files.back(), "x");
    mru.Init(HKEY_CURRENT_USER, key.path());
  }
  TestRegKey key{L"mru"};
  TempDir dir;
  V files;
  CMRUList mru, again;
};

TEST_F(MRUList, KeepsNineMostRecentWithoutDuplicatesAcrossRestarts) {
  for (const wchar_t* bad : {static_cast<const wchar_t*>(nullptr), L"", L"C:\\zortest-missing.mp3"}) mru.AddFile(bad);
  for (const auto& f : files) mru.AddFile(f.c_str());
  std::wstring upper = files[5];
  mru.MoveFileToTop(CharUpperW(&upper[0]));
  const V expected = {upper, files[9], files[8], files[7], files[6], files[4], files[3], files[2], files[1]};
  EXPECT_EQ(expected, Entries(mru));
  EXPECT_EQ(Saved(expected), Values(key));
  again.Init(HKEY_CURRENT_USER, key.path());
  EXPECT_EQ(expected, Entries(again));
  EXPECT_TRUE(again.GetFileNameOnly(1) == std::wstring(L"song9.mp3") && !again.GetFileNameOnly(9) && !again.GetFileWithPath(-1));
  again.RemoveFile(9, true), again.RemoveFile(0, false);
  EXPECT_EQ(upper, key.Read(L"mru.1")) << "not saved yet";
  EXPECT_EQ(Saved(V(expected.begin() + 2, expected.end())), (again.RemoveFile(0, true), Values(key)));
  EXPECT_EQ(Saved({}), (again.ClearMRUList(true), Values(key)));
}

// A file gone at load is dropped and the registry rewritten at once; one
// that vanishes while listed stays in memory but is skipped on save.
TEST_F(MRUList, VanishedFilesAreDroppedAndLoadingStopsAtABlank) {
  key.Write(L"mru.1", files[0]), key.Write(L"mru.2", dir / L"gone.mp3"), key.Write(L"mru.3", files[1]);
  mru.Init(HKEY_CURRENT_USER, key.path());
  EXPECT_EQ((V{files[0], files[1]}), Entries(mru));
  EXPECT_EQ(Saved({files[0], files[1]}), Values(key));
  DeleteFileW(files[0].c_str()), mru.SaveList();
  EXPECT_EQ(2, mru.NumMRUFiles());
  EXPECT_EQ(Saved({files[1]}), Values(key));
  key.Write(L"mru.3", files[2]);
  mru.Init(HKEY_CURRENT_USER, key.path());
  again.AddFile(files[3].c_str()), again.SaveList();
  EXPECT_EQ((V{files[1]}), Entries(mru));
  EXPECT_EQ((V{files[3]}), Entries(again));
  EXPECT_EQ(files[2], key.Read(L"mru.3")) << "nothing was dropped, so nothing was rewritten";
}

// The load reads 511 characters: a longer path would come back cut, here
// naming its own folder, so it is neither stored nor loaded.
TEST_F(MRUList, OnlyPathsTheLoadReadsWholeAreStored) {
  const std::wstring folder = MakeFolderOfLength(L"\\\\?\\" + dir.path(), 511), file = folder + L"\\f.txt";
  ASSERT_TRUE(IsDir(folder) && zortest::WriteBytes(file, "x"));
  mru.AddFile(file.c_str()), mru.AddFile(folder.c_str());
  again.Init(HKEY_CURRENT_USER, key.path());
  EXPECT_EQ(V{folder}, Entries(again));
  key.Write(L"mru.1", file);  // written by someone else: the load's 512-unit buffer cuts it
  again.Init(HKEY_CURRENT_USER, key.path());
  EXPECT_EQ(V{folder}, Entries(again));
}
