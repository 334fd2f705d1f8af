// CStringList, CLastDirList and CMRUList; the recent-file list on real files
// and Wine's real registry.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/containers/StringLists.h>

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
}  // namespace

TEST(StringList, AddsInPlaceAndMatchesFoldingAsciiOnly) {
  CStringList list, sorted;
  wchar_t text[] = L"middle";
  list.PushBackList(text);
  text[0] = L'X';  // a copy was stored
  list.AddLatestString(L"first");
  list.PushBackList(L"last");
  EXPECT_EQ((V{L"first", L"middle", L"last"}), All(list));
  for (const wchar_t* s : {L"b", L"A", L"a", L""}) sorted.AddSortedString(s);
  EXPECT_EQ((V{L"", L"A", L"a", L"b"}), All(sorted)) << "a new string goes after its equals";
  list.PushBackList(L"\x00C9t\x00E9");
  list.PushBackList(L"First");
  EXPECT_EQ(1, list.ContainsString(L"FIRST"));
  EXPECT_EQ(0, list.ContainsString(nullptr));
  EXPECT_EQ(-1, list.StringIndex(L"\x00E9t\x00E9")) << "only A-Z are folded";
  EXPECT_EQ(3, list.StringIndex(L"\x00C9T\x00E9"));
  EXPECT_EQ(1, list.DeleteString(L"fIrSt"));
  EXPECT_EQ(0, list.DeleteString(L"gone"));
  EXPECT_EQ((V{L"middle", L"last", L"\x00C9t\x00E9", L"First"}), All(list));
}

TEST(StringList, IndexesCountNegativeAsZeroAndEndAtCount) {
  CStringList list, other;
  EXPECT_EQ(nullptr, list.Index(0));
  list.PushBackList(L"a");
  list.PushBackList(L"b");
  EXPECT_EQ(L"a", std::wstring(list.Index(-5)));
  EXPECT_EQ(nullptr, list.Index(2));
  EXPECT_NE(0, list.UpdateString(1, L"B2"));
  EXPECT_EQ(0, list.UpdateString(2, L"x"));
  EXPECT_NE(0, list.UpdateString(-1, L"A2"));
  list.DeleteIndex(7);
  EXPECT_EQ((V{L"A2", L"B2"}), All(list));
  other.PushBackList(L"o");
  EXPECT_EQ(1, other.CopyFrom(list));
  EXPECT_EQ(1, other.CopyFrom(other)) << "copying onto itself ends";
  EXPECT_EQ((V{L"o", L"A2", L"B2", L"o", L"A2", L"B2"}), All(other));
  list.DeleteIndex(-3);
  EXPECT_EQ((V{L"B2"}), All(list));
  list.DeleteStringList();
  EXPECT_EQ(nullptr, list.Index(0));
}

// Assignment shares the list itself: both names see every change.
TEST(StringList, AssignmentSharesTheList) {
  CStringList a;
  CStringList* b = new CStringList;
  *b = a;  // b's own list is left behind, as assignment has always done
  b->PushBackList(L"shared");
  EXPECT_EQ((V{L"shared"}), All(a));
  a.DeleteStringList();
  EXPECT_EQ(0, b->Count());
  // Only one sharer may be destroyed: drop the other without its destructor.
  ::operator delete(static_cast<void*>(b));
}

TEST(LastDirList, KeepsDescendingSortValuesStablyNewAfterEquals) {
  CLastDirList list;
  const std::pair<const wchar_t*, long> adds[] = {{L"b", 5}, {L"a", 9}, {L"c", 5}, {L"d", 1}};
  for (const auto& a : adds) EXPECT_EQ(1, list.Add(a.first, a.second, a.second * 10, 0));
  EXPECT_EQ((V{L"a", L"b", L"c", L"d"}), Paths(list));
  EXPECT_EQ(50, list.ContainsDir(L"C")->hostValue);
  EXPECT_EQ(nullptr, list.ContainsDir(L"zz"));
  EXPECT_EQ(nullptr, list.Index(-1));
  EXPECT_EQ(nullptr, list.Index(4));
  EXPECT_EQ(1, list.UpdateOrAdd(L"d", 40, 5, 0));  // values only
  EXPECT_EQ((V{L"a", L"b", L"c", L"d"}), Paths(list));
  EXPECT_EQ(5, list.Index(3)->hostValue);
  EXPECT_EQ(1, list.UpdateOrAdd(L"D", 40, 6, 1));  // and its sorted place
  EXPECT_EQ(1, list.UpdateOrAdd(L"e", 7, 0, 0));    // new: in its sorted place
  EXPECT_EQ((V{L"d", L"a", L"e", L"b", L"c"}), Paths(list));
  // Appended out of order (one placed), then sorted: equal values keep their order.
  CLastDirList raw;
  auto make = [](const wchar_t* p, long sort) {
    auto* r = new _lastDirList{};
    wcscpy(r->path, p);
    r->sortValue = sort;
    return r;
  };
  EXPECT_EQ(0, raw.AddPtr(nullptr, 0));
  for (const auto& a : std::vector<std::pair<const wchar_t*, long>>{{L"x1", 1}, {L"y5", 5}, {L"x2", 1}, {L"y6", 5}})
    raw.AddPtr(make(a.first, a.second), 0);
  raw.AddPtr(make(L"z9", 9), 1);
  EXPECT_EQ((V{L"z9", L"x1", L"y5", L"x2", L"y6"}), Paths(raw));
  EXPECT_EQ(1, raw.Sort());
  EXPECT_EQ((V{L"z9", L"y5", L"y6", L"x1", L"x2"}), Paths(raw));
  EXPECT_EQ(1, raw.DeletePath(L"Y5"));
  EXPECT_EQ(0, raw.DeletePath(L"none"));
  raw.DeleteIndex(0);
  raw.DeleteIndex(9);
  EXPECT_EQ((V{L"y6", L"x1", L"x2"}), Paths(raw));
  raw.DeleteAll();
  EXPECT_EQ(0, raw.Count());
}

TEST(LastDirList, MoveOrAddToTopKeepsHostValueAndGoesFirst) {
  CLastDirList list;
  list.Add(L"C:\\big", static_cast<long>(std::time(nullptr)) + 100000, 7, 0);
  list.Add(L"C:\\known", 10, 42, 0);
  EXPECT_EQ(1, list.MoveOrAddToTop(L"C:\\KNOWN"));
  ASSERT_EQ(2, list.Count());
  EXPECT_EQ(L"C:\\KNOWN", std::wstring(list.Index(0)->path)) << "the record is made anew with the given path";
  EXPECT_EQ(42, list.Index(0)->hostValue);
  EXPECT_NEAR(static_cast<long>(std::time(nullptr)), list.Index(0)->sortValue, 5);
  EXPECT_EQ(1, list.MoveOrAddToTop(L"C:\\new"));
  EXPECT_EQ(L"C:\\new", std::wstring(list.Index(0)->path));
  EXPECT_EQ(1000, list.Index(0)->hostValue);
  EXPECT_EQ(3, list.Count());
}

TEST(LastDirList, OverlongPathIsCutTo259) {
  CLastDirList list;
  std::wstring longPath = LongPath(400);
  list.Add(longPath.c_str(), 1, 1, 0);
  list.MoveOrAddToTop(longPath.c_str());
  ASSERT_EQ(2, list.Count()) << "the full path does not match its stored cut";
  EXPECT_EQ((V{longPath.substr(0, 259), longPath.substr(0, 259)}), Paths(list));
}

// --- CMRUList ------------------------------------------------------------------------

namespace {
struct MRUFiles {
  explicit MRUFiles(int n) {
    for (int i = 0; i < n; ++i) files.push_back(dir / (L"song" + std::to_wstring(i) + L".mp3"));
    for (const auto& f : files) zortest::WriteBytes(f, "x");
  }
  TempDir dir;
  V files;
};
V Values(const TestRegKey& key) {
  return Collect(9, [&](int i) { return key.Read(L"mru." + std::to_wstring(i + 1)); });
}
V Entries(CMRUList& mru) { return Collect(mru.NumMRUFiles(), [&](int i) { return mru.GetFileWithPath(i); }); }
V Blanks(V head) { return head.resize(9), head; }
}  // namespace

TEST(MRUList, PersistsAcrossInstancesAsAHostRestartSees) {
  TestRegKey key(L"mru");
  MRUFiles f(3);
  {
    CMRUList mru;
    mru.Init(HKEY_CURRENT_USER, key.path());
    EXPECT_EQ(0, mru.NumMRUFiles());
    for (const auto& file : f.files) mru.AddFile(file.c_str());
    EXPECT_EQ(9, key.ValueCount()) << "always exactly nine values";
  }
  CMRUList again;
  again.Init(HKEY_CURRENT_USER, key.path());
  EXPECT_EQ((V{f.files[2], f.files[1], f.files[0]}), Entries(again));
  EXPECT_EQ(L"song2.mp3", std::wstring(again.GetFileNameOnly(0)));
  EXPECT_EQ(nullptr, again.GetFileNameOnly(3));
  EXPECT_EQ(nullptr, again.GetFileWithPath(-1));
}

TEST(MRUList, VanishedFilesAreDroppedAndLoadingStopsAtABlank) {
  TestRegKey key(L"mru");
  MRUFiles f(3);
  key.Write(L"mru.1", f.files[0]);
  key.Write(L"mru.2", f.dir / L"gone.mp3");
  key.Write(L"mru.3", f.files[1]);
  CMRUList mru;
  mru.Init(HKEY_CURRENT_USER, key.path());
  EXPECT_EQ((V{f.files[0], f.files[1]}), Entries(mru));
  EXPECT_EQ(Blanks({f.files[0], f.files[1]}), Values(key)) << "rewritten at once";
  // A file that vanishes while listed stays in memory but is skipped on save.
  DeleteFileW(f.files[0].c_str());
  mru.SaveList();
  EXPECT_EQ(2, mru.NumMRUFiles());
  EXPECT_EQ(Blanks({f.files[1]}), Values(key));

  key.Write(L"mru.1", f.files[1]);
  key.Write(L"mru.2", L"");
  key.Write(L"mru.3", f.files[2]);
  CMRUList blank;
  blank.Init(HKEY_CURRENT_USER, key.path());
  EXPECT_EQ((V{f.files[1]}), Entries(blank));
  EXPECT_EQ(f.files[2], key.Read(L"mru.3")) << "nothing was dropped, so nothing was rewritten";
}

TEST(MRUList, TenthFileDropsTheOldest) {
  TestRegKey key(L"mru");
  MRUFiles f(10);
  CMRUList mru;
  mru.Init(HKEY_CURRENT_USER, key.path());
  for (const auto& file : f.files) mru.AddFile(file.c_str());
  const V expected(f.files.rbegin(), f.files.rend() - 1);
  EXPECT_EQ(expected, Entries(mru));
  EXPECT_EQ(expected, Values(key));
  EXPECT_EQ(9, key.ValueCount());
}

TEST(MRUList, CaseOnlyDuplicateMovesToTopWithoutCopy) {
  TestRegKey key(L"mru");
  MRUFiles f(3);
  CMRUList mru;
  mru.Init(HKEY_CURRENT_USER, key.path());
  for (const auto& file : f.files) mru.AddFile(file.c_str());
  std::wstring upper = f.files[0];
  for (auto& c : upper)
    if (c >= L'a' && c <= L'z') c = static_cast<wchar_t>(c - 32);
  mru.MoveFileToTop(upper.c_str());
  EXPECT_EQ((V{upper, f.files[2], f.files[1]}), Entries(mru));
  EXPECT_EQ(Blanks({upper, f.files[2], f.files[1]}), Values(key));
}

TEST(MRUList, IgnoresMissingFilesRemovesOnRequestAndWorksWithoutInit) {
  TestRegKey key(L"mru");
  MRUFiles f(2);
  CMRUList mru;
  mru.Init(HKEY_CURRENT_USER, key.path());
  const std::wstring missing = f.dir / L"missing.mp3";
  for (const wchar_t* bad : {static_cast<const wchar_t*>(nullptr), L"", missing.c_str()}) mru.AddFile(bad);
  EXPECT_EQ(0, mru.NumMRUFiles());
  mru.AddFile(f.files[0].c_str());
  mru.AddFile(f.files[1].c_str());
  mru.RemoveFile(5, true);
  mru.RemoveFile(0, false);
  EXPECT_EQ((V{f.files[0]}), Entries(mru));
  EXPECT_EQ(f.files[1], key.Read(L"mru.1")) << "not saved yet";
  mru.RemoveFile(0, true);
  EXPECT_EQ(L"", key.Read(L"mru.1"));
  mru.AddFile(f.files[0].c_str());
  mru.ClearMRUList(true);
  EXPECT_EQ(0, mru.NumMRUFiles());
  EXPECT_EQ(V(9, L""), Values(key));

  CMRUList loose;  // no registry key: works in memory, writes nothing
  loose.AddFile(f.files[0].c_str());
  EXPECT_EQ(1, loose.NumMRUFiles());
  loose.SaveList();
  loose.ClearMRUList(true);
  EXPECT_EQ(nullptr, loose.GetFileWithPath(0));
  EXPECT_EQ(V(9, L""), Values(key));
}

namespace {
// A folder of exactly `length` characters ("\\?\" form) under `root`, made
// of as many levels as that takes.
std::wstring FolderOfLength(const std::wstring& root, size_t length) {
  std::wstring folder = L"\\\\?\\" + root;
  while (folder.size() < length) {
    const size_t r = length - folder.size();
    folder += L"\\" + std::wstring(r > 200 ? 100 : r > 100 ? r / 2 : r - 1, L'd');
    CreateDirectoryW(folder.c_str(), nullptr);
  }
  return folder;
}
}  // namespace

// What is stored comes back whole, and only that is loaded: the load reads
// 511 characters, so a longer path would come back cut, here naming its
// folder instead.
TEST(MRUList, OnlyPathsTheLoadReadsWholeAreStored) {
  TestRegKey key(L"mru");
  TempDir dir;
  const std::wstring folder = FolderOfLength(dir.path(), 511), file = folder + L"\\f.txt";
  ASSERT_TRUE(IsDir(folder) && zortest::WriteBytes(file, "x"));
  CMRUList mru;
  mru.Init(HKEY_CURRENT_USER, key.path());
  mru.AddFile(file.c_str());
  EXPECT_EQ(0, mru.NumMRUFiles());
  mru.AddFile(folder.c_str());
  CMRUList again;
  again.Init(HKEY_CURRENT_USER, key.path());
  EXPECT_EQ(V{folder}, Entries(again));
  key.Write(L"mru.1", file);  // too long to be read whole: dropped, not cut
  CMRUList cut;
  cut.Init(HKEY_CURRENT_USER, key.path());
  EXPECT_EQ(0, cut.NumMRUFiles());
  EXPECT_EQ(L"", key.Read(L"mru.1")) << "the gap is closed at once";
}
