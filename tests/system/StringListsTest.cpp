// CStringList, CLastDirList and CMRUList; the recent-file list on real files
// and Wine's real registry.
#include "tests/system/SystemTestSupport.h"

#include <zorutils/containers/StringLists.h>

#include <ctime>

using systest::TestRegKey;
using zortest::TempDir;

namespace {
std::vector<std::wstring> All(CStringList& list) {
  std::vector<std::wstring> out;
  for (int i = 0; i < list.Count(); ++i) out.push_back(list.Index(i));
  return out;
}
std::vector<std::wstring> Paths(CLastDirList& list) {
  std::vector<std::wstring> out;
  for (int i = 0; i < list.Count(); ++i) out.push_back(list.Index(i)->path);
  return out;
}
using V = std::vector<std::wstring>;
}  // namespace

TEST(StringList, AddsAtFrontBackAndInSortedPlace) {
  CStringList list;
  list.PushBackList(L"middle");
  list.AddLatestString(L"first");
  list.PushBackList(L"last");
  EXPECT_EQ((V{L"first", L"middle", L"last"}), All(list));
  CStringList sorted;
  sorted.AddSortedString(L"b");
  sorted.AddSortedString(L"A");
  sorted.AddSortedString(L"a");
  EXPECT_EQ((V{L"A", L"a", L"b"}), All(sorted)) << "a new string goes after its equals";
  sorted.AddSortedString(L"");
  EXPECT_EQ(L"", std::wstring(sorted.Index(0)));
}

TEST(StringList, LookupIsCaseInsensitiveForAsciiOnly) {
  CStringList list;
  list.PushBackList(L"Alpha");
  list.PushBackList(L"\x00C9t\x00E9");
  list.PushBackList(L"alpha");
  EXPECT_EQ(1, list.ContainsString(L"ALPHA"));
  EXPECT_EQ(0, list.StringIndex(L"aLpHa"));
  EXPECT_EQ(-1, list.StringIndex(L"\x00E9t\x00E9")) << "only A-Z are folded";
  EXPECT_EQ(1, list.StringIndex(L"\x00C9T\x00E9"));
  EXPECT_EQ(0, list.ContainsString(nullptr));
  EXPECT_EQ(1, list.DeleteString(L"ALPHA"));
  EXPECT_EQ((V{L"\x00C9t\x00E9", L"alpha"}), All(list));
  EXPECT_EQ(0, list.DeleteString(L"gone"));
}

TEST(StringList, IndexesCountNegativeAsZeroAndEndAtCount) {
  CStringList list;
  EXPECT_EQ(nullptr, list.Index(0));
  list.PushBackList(L"a");
  list.PushBackList(L"b");
  EXPECT_EQ(L"a", std::wstring(list.Index(-5)));
  EXPECT_EQ(nullptr, list.Index(2));
  EXPECT_NE(0, list.UpdateString(1, L"B2"));
  EXPECT_EQ(0, list.UpdateString(2, L"x"));
  EXPECT_NE(0, list.UpdateString(-1, L"A2"));
  EXPECT_EQ((V{L"A2", L"B2"}), All(list));
  list.DeleteIndex(7);
  EXPECT_EQ(2, list.Count());
  list.DeleteIndex(-3);
  EXPECT_EQ((V{L"B2"}), All(list));
  list.DeleteStringList();
  EXPECT_EQ(0, list.Count());
  EXPECT_EQ(nullptr, list.Index(0));
}

TEST(StringList, StoresCopiesAndCopyFromAppends) {
  CStringList a, b;
  wchar_t text[] = L"orig";
  a.PushBackList(text);
  text[0] = L'X';
  EXPECT_EQ(L"orig", std::wstring(a.Index(0)));
  b.PushBackList(L"b0");
  EXPECT_EQ(1, b.CopyFrom(a));
  EXPECT_EQ((V{L"b0", L"orig"}), All(b));
  EXPECT_EQ(1, b.CopyFrom(b)) << "copying onto itself ends";
  EXPECT_EQ((V{L"b0", L"orig", L"b0", L"orig"}), All(b));
}

// Assignment shares the list itself: both names see every change.
TEST(StringList, AssignmentSharesTheList) {
  CStringList a;
  CStringList* b = new CStringList;
  *b = a;  // b's own list is left behind, as assignment has always done
  b->PushBackList(L"shared");
  EXPECT_EQ(1, a.Count());
  EXPECT_EQ(L"shared", std::wstring(a.Index(0)));
  a.DeleteStringList();
  EXPECT_EQ(0, b->Count());
  // Only one sharer may be destroyed: drop the other without its destructor.
  ::operator delete(static_cast<void*>(b));
}

TEST(LastDirList, KeepsDescendingSortValuesNewAfterEquals) {
  CLastDirList list;
  EXPECT_EQ(1, list.Add(L"C:\\b", 5, 1, 0));
  EXPECT_EQ(1, list.Add(L"C:\\a", 9, 2, 0));
  EXPECT_EQ(1, list.Add(L"C:\\c", 5, 3, 0));
  EXPECT_EQ(1, list.Add(L"C:\\d", 1, 4, 0));
  EXPECT_EQ((V{L"C:\\a", L"C:\\b", L"C:\\c", L"C:\\d"}), Paths(list));
  EXPECT_EQ(3, list.ContainsDir(L"c:\\C")->hostValue);
  EXPECT_EQ(nullptr, list.ContainsDir(L"C:\\zz"));
  EXPECT_EQ(nullptr, list.Index(-1));
  EXPECT_EQ(nullptr, list.Index(4));
}

TEST(LastDirList, MoveOrAddToTopKeepsHostValueAndGoesFirst) {
  CLastDirList list;
  const long future = static_cast<long>(std::time(nullptr)) + 100000;
  list.Add(L"C:\\big", future, 7, 0);
  list.Add(L"C:\\known", 10, 42, 0);
  EXPECT_EQ(1, list.MoveOrAddToTop(L"C:\\KNOWN"));
  ASSERT_EQ(2, list.Count());
  EXPECT_EQ(L"C:\\KNOWN", std::wstring(list.Index(0)->path)) << "the record is made anew with the given path";
  EXPECT_EQ(42, list.Index(0)->hostValue);
  const long now = static_cast<long>(std::time(nullptr));
  EXPECT_NEAR(now, list.Index(0)->sortValue, 5);
  EXPECT_EQ(1, list.MoveOrAddToTop(L"C:\\new"));
  EXPECT_EQ(L"C:\\new", std::wstring(list.Index(0)->path));
  EXPECT_EQ(1000, list.Index(0)->hostValue);
  EXPECT_EQ(3, list.Count());
}

TEST(LastDirList, UpdateOrAddResortsOnlyWhenAsked) {
  CLastDirList list;
  list.Add(L"C:\\a", 30, 0, 0);
  list.Add(L"C:\\b", 20, 0, 0);
  list.Add(L"C:\\c", 10, 0, 0);
  EXPECT_EQ(1, list.UpdateOrAdd(L"C:\\c", 40, 5, 0));
  EXPECT_EQ((V{L"C:\\a", L"C:\\b", L"C:\\c"}), Paths(list));
  EXPECT_EQ(40, list.Index(2)->sortValue);
  EXPECT_EQ(5, list.Index(2)->hostValue);
  EXPECT_EQ(1, list.UpdateOrAdd(L"C:\\C", 40, 6, 1));
  EXPECT_EQ((V{L"C:\\c", L"C:\\a", L"C:\\b"}), Paths(list));
  EXPECT_EQ(1, list.UpdateOrAdd(L"C:\\d", 25, 1, 0));
  EXPECT_EQ((V{L"C:\\c", L"C:\\a", L"C:\\d", L"C:\\b"}), Paths(list));
}

TEST(LastDirList, SortKeepsEqualValuesInOrder) {
  CLastDirList list;
  auto make = [](const wchar_t* p, long sort) {
    auto* r = new _lastDirList;
    wcscpy(r->path, p);
    r->sortValue = sort;
    r->hostValue = 0;
    return r;
  };
  EXPECT_EQ(0, list.AddPtr(nullptr, 0));
  list.AddPtr(make(L"x1", 1), 0);
  list.AddPtr(make(L"y5", 5), 0);
  list.AddPtr(make(L"x2", 1), 0);
  list.AddPtr(make(L"y6", 5), 0);
  list.AddPtr(make(L"z9", 9), 1);
  EXPECT_EQ((V{L"z9", L"x1", L"y5", L"x2", L"y6"}), Paths(list));
  EXPECT_EQ(1, list.Sort());
  EXPECT_EQ((V{L"z9", L"y5", L"y6", L"x1", L"x2"}), Paths(list));
  EXPECT_EQ(1, list.DeletePath(L"Y5"));
  EXPECT_EQ(0, list.DeletePath(L"none"));
  list.DeleteIndex(0);
  list.DeleteIndex(9);
  EXPECT_EQ((V{L"y6", L"x1", L"x2"}), Paths(list));
  list.DeleteAll();
  EXPECT_EQ(0, list.Count());
}

TEST(LastDirList, OverlongPathIsCutTo259) {
  CLastDirList list;
  std::wstring longPath = systest::LongPath(400);
  list.Add(longPath.c_str(), 1, 1, 0);
  list.MoveOrAddToTop(longPath.c_str());
  ASSERT_EQ(2, list.Count()) << "the full path does not match its stored cut";
  EXPECT_EQ(longPath.substr(0, 259), std::wstring(list.Index(0)->path));
  EXPECT_EQ(longPath.substr(0, 259), std::wstring(list.Index(1)->path));
}

// --- CMRUList ------------------------------------------------------------------------

namespace {
class MRUFiles {
public:
  explicit MRUFiles(int n) {
    for (int i = 0; i < n; ++i) {
      files.push_back(dir / (L"song" + std::to_wstring(i) + L".mp3"));
      zortest::WriteBytes(files.back(), "x");
    }
  }
  TempDir dir;
  std::vector<std::wstring> files;
};

std::vector<std::wstring> Values(const TestRegKey& key) {
  std::vector<std::wstring> out;
  for (int i = 1; i <= 9; ++i) out.push_back(key.Read(L"mru." + std::to_wstring(i)));
  return out;
}
std::vector<std::wstring> Entries(CMRUList& mru) {
  std::vector<std::wstring> out;
  for (int i = 0; i < mru.NumMRUFiles(); ++i) out.push_back(mru.GetFileWithPath(i));
  return out;
}
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

TEST(MRUList, VanishedFilesAreDroppedAndTheRegistryRewritten) {
  TestRegKey key(L"mru");
  MRUFiles f(2);
  key.Write(L"mru.1", f.files[0]);
  key.Write(L"mru.2", f.dir / L"gone.mp3");
  key.Write(L"mru.3", f.files[1]);
  CMRUList mru;
  mru.Init(HKEY_CURRENT_USER, key.path());
  EXPECT_EQ((V{f.files[0], f.files[1]}), Entries(mru));
  EXPECT_EQ((V{f.files[0], f.files[1], L"", L"", L"", L"", L"", L"", L""}), Values(key));

  // A file that vanishes while listed stays in memory but is skipped on save.
  DeleteFileW(f.files[0].c_str());
  mru.SaveList();
  EXPECT_EQ(2, mru.NumMRUFiles());
  EXPECT_EQ((V{f.files[1], L"", L"", L"", L"", L"", L"", L"", L""}), Values(key));
}

TEST(MRUList, LoadingStopsAtTheFirstBlankValue) {
  TestRegKey key(L"mru");
  MRUFiles f(2);
  key.Write(L"mru.1", f.files[0]);
  key.Write(L"mru.2", L"");
  key.Write(L"mru.3", f.files[1]);
  CMRUList mru;
  mru.Init(HKEY_CURRENT_USER, key.path());
  EXPECT_EQ((V{f.files[0]}), Entries(mru));
  EXPECT_EQ(f.files[1], key.Read(L"mru.3")) << "nothing was dropped, so nothing was rewritten";
}

TEST(MRUList, TenthFileDropsTheOldest) {
  TestRegKey key(L"mru");
  MRUFiles f(10);
  CMRUList mru;
  mru.Init(HKEY_CURRENT_USER, key.path());
  for (const auto& file : f.files) mru.AddFile(file.c_str());
  ASSERT_EQ(9, mru.NumMRUFiles());
  EXPECT_EQ(f.files[9], std::wstring(mru.GetFileWithPath(0)));
  EXPECT_EQ(f.files[1], std::wstring(mru.GetFileWithPath(8)));
  std::vector<std::wstring> values = Values(key);
  EXPECT_EQ(f.files[9], values[0]);
  EXPECT_EQ(f.files[1], values[8]);
  for (const auto& v : values) EXPECT_NE(f.files[0], v);
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
  EXPECT_EQ(upper, key.Read(L"mru.1"));
  EXPECT_EQ(L"", key.Read(L"mru.4"));
}

TEST(MRUList, IgnoresMissingFilesAndRemovesOnRequest) {
  TestRegKey key(L"mru");
  MRUFiles f(2);
  CMRUList mru;
  mru.Init(HKEY_CURRENT_USER, key.path());
  mru.AddFile(nullptr);
  mru.AddFile(L"");
  mru.AddFile((f.dir / L"missing.mp3").c_str());
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
  EXPECT_EQ((V(9, L"")), Values(key));
}

TEST(MRUList, WorksWithoutInitAndWritesNothing) {
  MRUFiles f(1);
  CMRUList mru;
  mru.AddFile(f.files[0].c_str());
  EXPECT_EQ(1, mru.NumMRUFiles());
  mru.SaveList();
  mru.ClearMRUList(true);
  EXPECT_EQ(nullptr, mru.GetFileWithPath(0));
}
