// CExplorerTree on a real folder hierarchy with real shortcuts, in windows
// under Xvfb, and CShortcutReader's worker thread.
#include "tests/support/TestSupport.h"
#include "tools/zortool/icons/TreeIcons.h"

#include <zorutils/internal/TestSeams.h>
#include <zorutils/ui/ExplorerTree.h>

#include <objbase.h>
#include <shlobj.h>

#include <string>
#include <vector>

namespace {

bool MakeShortcut(const std::wstring& link, const std::wstring& target) {
  IShellLinkW* shell = nullptr;
  IPersistFile* file = nullptr;
  bool ok = SUCCEEDED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                       reinterpret_cast<void**>(&shell))) &&
            SUCCEEDED(shell->SetPath(target.c_str())) &&
            SUCCEEDED(shell->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file))) &&
            SUCCEEDED(file->Save(link.c_str(), TRUE));
  if (file) file->Release();
  if (shell) shell->Release();
  return ok;
}

std::vector<std::wstring> g_selected;
std::vector<DWORD> g_keys;
void OnSelect(wchar_t* path, DWORD user) { g_selected.push_back(path + (L"|" + std::to_wstring(user))); }
void OnKey(WORD key, DWORD user) { g_keys.push_back(key * 1000u + user); }

struct Item {
  HTREEITEM h;
  std::wstring text;
  TTreeNodeInfo* node;
  int image, selectedImage;
  UINT state;
};

// One top-level window for every test: Wine takes seconds to destroy one.
HWND Host() {
  static HWND host = nullptr;
  if (!host) {
    WNDCLASSW wc = {};
    wc.lpfnWndProc = DefWindowProcW;
    wc.hInstance = GetModuleHandleW(nullptr);
    wc.lpszClassName = L"ZorTreeTest";
    RegisterClassW(&wc);
    host = CreateWindowExW(0, L"ZorTreeTest", L"", WS_POPUP | WS_VISIBLE, 0, 0, 400, 600, nullptr, nullptr,
                           nullptr, nullptr);
  }
  return host;
}

class ExplorerTree : public ::testing::Test {
protected:
  static void SetUpTestSuite() { CoInitialize(nullptr); }
  void SetUp() override {
    wchar_t longPath[MAX_PATH];
    GetLongPathNameW(temp.path().c_str(), longPath, MAX_PATH);  // the tree walks long names
    dir = longPath;
    for (const wchar_t* sub : {L"\\Alpha", L"\\Alpha\\Deep", L"\\Alpha\\Deep\\Deeper", L"\\Alpha\\Deep\\Deeper\\Deepest",
                               L"\\beta", L"\\Gamma", L"\\Gamma\\sub", L"\\gone"})
      CreateDirectoryW((dir + sub).c_str(), nullptr);
    zortest::WriteBytes(dir + L"\\file.txt", "x");
    ASSERT_TRUE(MakeShortcut(dir + L"\\To Beta.lnk", dir + L"\\beta"));
    ASSERT_TRUE(MakeShortcut(dir + L"\\To Drive.lnk", L"C:\\"));
    ASSERT_TRUE(MakeShortcut(dir + L"\\Dead.lnk", dir + L"\\gone"));
    ASSERT_TRUE(MakeShortcut(dir + L"\\ToFile.lnk", dir + L"\\file.txt"));
    // A shortcut at itself: made first at a file, so that the target exists.
    ASSERT_TRUE(MakeShortcut(dir + L"\\Self.lnk", dir + L"\\file.txt"));
    ASSERT_TRUE(MakeShortcut(dir + L"\\Self.lnk", dir + L"\\Self.lnk"));
    RemoveDirectoryW((dir + L"\\gone").c_str());
    panel = CreateWindowExW(0, L"ZorTreeTest", L"", WS_CHILD | WS_VISIBLE, 0, 0, 400, 600, Host(), nullptr,
                            nullptr, nullptr);
    g_selected.clear();
    g_keys.clear();
  }
  // Destroying the panel takes the tree's windows with it before the tree.
  void TearDown() override { DestroyWindow(panel); }

  TExplorerTreeProperties Props(DWORD flags, const std::wstring& start) {
    TExplorerTreeProperties p;
    p.hParent = panel;
    p.dwCtrlID = 7;
    p.hInstance = GetModuleHandleW(nullptr);
    p.dwFlags = flags;
    p.right = 299;
    p.bottom = 499;
    p.pSelChanged = OnSelect;
    p.dwSelChangedUser = 77;
    p.pKeyDown = OnKey;
    p.dwKeyDownUser = 5;
    wcsncpy(p.startFolder, start.c_str(), 259);
    for (int i = 0; i < TI_NUM_ICONS; ++i) p.iconIDs[i] = IDI_TREE_FIRST + i;
    wcscpy(p.desktopLabel, L"Desk");
    wcscpy(p.myDocumentsLabel, L"Docs");
    wcscpy(p.myPicturesLabel, L"Pics");
    return p;
  }
  bool Create(DWORD flags, const std::wstring& start) {
    TExplorerTreeProperties p = Props(flags, start);
    return tree.Create(&p);
  }
  Item Get(HTREEITEM h, HWND tv = nullptr) {
    wchar_t text[300] = {};
    TVITEMW it = {};
    it.mask = TVIF_HANDLE | TVIF_TEXT | TVIF_PARAM | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_STATE;
    it.hItem = h;
    it.stateMask = ~0u;
    it.pszText = text;
    it.cchTextMax = 300;
    TreeView_GetItem(tv ? tv : tree.TreeWindow(), &it);
    return {h, text, reinterpret_cast<TTreeNodeInfo*>(it.lParam), it.iImage, it.iSelectedImage, it.state};
  }
  std::vector<Item> Children(HTREEITEM parent, HWND tv = nullptr) {
    if (!tv) tv = tree.TreeWindow();
    std::vector<Item> items;
    for (HTREEITEM h = parent ? TreeView_GetChild(tv, parent) : TreeView_GetRoot(tv); h;
         h = TreeView_GetNextSibling(tv, h))
      items.push_back(Get(h, tv));
    return items;
  }
  std::wstring Texts(HTREEITEM parent) {
    std::wstring all;
    for (const Item& i : Children(parent)) all += i.text + L";";
    return all;
  }
  Item Selected() { return Get(TreeView_GetSelection(tree.TreeWindow())); }

  zortest::TempDir temp;
  std::wstring dir;
  HWND panel = nullptr;
  CExplorerTree tree;
};

std::vector<std::wstring> ShownDrives(DWORD flags) {
  wchar_t drives[520] = {};
  GetLogicalDriveStringsW(519, drives);
  std::vector<std::wstring> shown;
  for (const wchar_t* d = drives; *d; d += wcslen(d) + 1) {
    const UINT t = GetDriveTypeW(d);
    if (t == DRIVE_NO_ROOT_DIR || t == DRIVE_RAMDISK || (t == DRIVE_CDROM && !(flags & ETF_SHOW_CD_DRIVES)) ||
        (t == DRIVE_REMOTE && !(flags & ETF_SHOW_NETWORK_DRIVES)) ||
        (t == DRIVE_REMOVABLE && !(flags & ETF_SHOW_REMOVABLE_DRIVES)))
      continue;
    shown.push_back(d);
  }
  return shown;
}

std::wstring Special(bool (*get)(wchar_t*, int, bool)) {
  wchar_t path[MAX_PATH];
  get(path, MAX_PATH, true);
  std::wstring s = path;
  if (!s.empty() && s.back() == L'\\') s.pop_back();
  return s;
}

TEST_F(ExplorerTree, RootsAreTheChosenSpecialFoldersThenTheShownDrivesEachWithABlankChild) {
  for (DWORD flags : {DWORD(0xEF), DWORD(0), DWORD(ETF_SHOW_MYPICTURES_AT_ROOT | ETF_SHOW_CD_DRIVES)}) {
    SCOPED_TRACE(flags);
    CExplorerTree own;
    TExplorerTreeProperties p = Props(flags, L"");
    ASSERT_TRUE(own.Create(&p));
    EXPECT_TRUE(own.Loaded());
    std::vector<std::wstring> expected;  // "text|path|image"
    if (flags & ETF_SHOW_DESKTOP_AT_ROOT) expected.push_back(L"Desk|" + Special(GetDesktopPath) + L"|9");
    if (flags & ETF_SHOW_MYDOCUMENTS_AT_ROOT) expected.push_back(L"Docs|" + Special(GetMyDocumentsPath) + L"|7");
    if (flags & ETF_SHOW_MYPICTURES_AT_ROOT) expected.push_back(L"Pics|" + Special(GetMyPicturesPath) + L"|8");
    for (const std::wstring& d : ShownDrives(flags)) {
      const UINT t = GetDriveTypeW(d.c_str());
      expected.push_back(d + L"|" + d + (t == DRIVE_CDROM ? L"|1" : t == DRIVE_REMOVABLE ? L"|3" : t == DRIVE_REMOTE ? L"|6" : L"|0"));
    }
    std::vector<std::wstring> roots;
    for (const Item& root : Children(nullptr, own.TreeWindow())) {
      ASSERT_TRUE(root.node && root.node->bIsRoot && root.node->hItem == root.h && root.node->nImage == root.image);
      roots.push_back(root.text + L"|" + root.node->pszPath + L"|" + std::to_wstring(root.image));
      std::vector<Item> blank = Children(root.h, own.TreeWindow());
      ASSERT_EQ(blank.size(), 1u);
      EXPECT_TRUE(blank[0].text.empty() && !blank[0].node && blank[0].image == TI_BLANK);
    }
    EXPECT_EQ(roots, expected);
  }
}

TEST_F(ExplorerTree, OpensAtADeepStartFolderListingLazilySortedWithShortcutsAsFolders) {
  zortest::LogCapture log;
  const std::wstring deepest = dir + L"\\Alpha\\Deep\\Deeper\\Deepest";
  ASSERT_TRUE(Create(ETF_USE_OPEN_FOLDER_ICON, deepest));
  EXPECT_EQ(g_selected, std::vector<std::wstring>{deepest + L"|77"});  // told once
  EXPECT_EQ(std::wstring(tree.CurrentSelection()), deepest);
  Item sel = Selected();
  EXPECT_EQ(sel.text, L"Deepest");
  EXPECT_TRUE(sel.node && !sel.node->bIsRoot && !sel.node->bHasSubFolders);
  EXPECT_EQ(sel.selectedImage, TI_FOLDER_OPEN);
  EXPECT_TRUE(Children(sel.h).empty());
  // Its ancestors are open, up to the folder of the test.
  HWND tv = tree.TreeWindow();
  HTREEITEM h = TreeView_GetParent(tv, sel.h);
  for (const wchar_t* name : {L"Deeper", L"Deep", L"Alpha"}) {
    Item up = Get(h);
    EXPECT_EQ(up.text, name);
    EXPECT_TRUE(up.state & TVIS_EXPANDED) << zortest::Escape(name);
    h = TreeView_GetParent(tv, h);
  }
  Item top = Get(h);
  EXPECT_EQ(top.node->pszPath, dir);
  // The folder's listing: sorted in any case, shortcuts to folders and drive
  // roots as folders named without ".lnk"; files, and shortcuts to files,
  // to nowhere and to themselves, left out.
  EXPECT_EQ(Texts(h), L"Alpha;beta;Gamma;To Beta;To Drive;");
  std::vector<Item> kids = Children(h);
  ASSERT_EQ(kids.size(), 5u);
  EXPECT_EQ(kids[1].node->pszPath, dir + L"\\beta");
  EXPECT_FALSE(kids[1].node->bHasSubFolders);
  EXPECT_TRUE(Children(kids[1].h).empty());
  EXPECT_EQ(kids[3].node->pszPath, dir + L"\\beta");
  EXPECT_EQ(kids[3].text, L"To Beta");
  EXPECT_EQ(kids[3].image * 100 + kids[3].selectedImage, TI_LINK_FOLDER * 100 + TI_LINK_FOLDER_OPEN);
  EXPECT_EQ(kids[4].node->pszPath, std::wstring(L"C:\\"));
  EXPECT_EQ(kids[4].image * 100 + kids[4].selectedImage, TI_LINK_DRIVE * 100 + TI_LINK_DRIVE);
  // Not yet opened: one blank child. Opened: the real ones.
  std::vector<Item> gamma = Children(kids[2].h);
  ASSERT_EQ(gamma.size(), 1u);
  EXPECT_TRUE(gamma[0].text.empty() && !gamma[0].node && gamma[0].image == TI_BLANK);
  TreeView_Expand(tv, kids[2].h, TVE_EXPAND);
  EXPECT_EQ(Texts(kids[2].h), L"sub;");
  // Listed again when the user opens it again: the old nodes go, the new come.
  CreateDirectoryW((dir + L"\\Gamma\\a new one").c_str(), nullptr);
  TreeView_SelectItem(tv, kids[2].h);
  SendMessageW(tv, WM_KEYDOWN, VK_SUBTRACT, 0);
  SendMessageW(tv, WM_KEYDOWN, VK_ADD, 0);
  EXPECT_EQ(Texts(kids[2].h), L"a new one;sub;");
  // A shortcut lists its target.
  TreeView_Expand(tv, kids[3].h, TVE_EXPAND);
  EXPECT_EQ(Texts(kids[3].h), L"");
  const std::vector<std::wstring> lines = log.lines();
  std::vector<std::wstring> wanted = {L"CExplorerTree::Create: entered", L"CExplorerTree::Load: entering",
                                      L"CExplorerTree::ExpandToStartPosition: entered",
                                      L"CExplorerTree::ExpandNode: entering",
                                      L"CExplorerTree::ExpandNode: deleted children",
                                      L"CExplorerTree::ExpandNode: looping, findStr = <" + dir + L"\\Alpha>",
                                      L"CExplorerTree::ExpandNode: added subdirectories",
                                      L"CExplorerTree::ExpandNode: exiting",
                                      L"CExplorerTree::ExpandToStartPosition: exiting",
                                      L"CExplorerTree::Load: exiting", L"CExplorerTree::Create: exited"};
  size_t at = 0;
  for (const std::wstring& line : lines)
    if (at < wanted.size() && line == wanted[at]) ++at;
  EXPECT_EQ(at, wanted.size()) << "missing in order: " << zortest::Escape(wanted[at < wanted.size() ? at : 0]);
}

TEST_F(ExplorerTree, StartFoldersThatStopShortOrEndAtARoot) {
  struct Case {
    std::wstring start, selected;
    bool walked;  // "ExpandToStartPosition: entered" logged
  } cases[] = {
      {dir + L"\\Alpha\\Nope\\x", dir + L"\\Alpha", true},  // as far as it exists
      {dir + L"\\alpha\\\\DEEP\\", dir + L"\\Alpha\\Deep", true},
      {L"C:\\windows", L"C:\\windows", true},               // one level below a drive root
      {L"c:\\", L"C:\\", false},                            // the root itself
      {Special(GetDesktopPath), Special(GetDesktopPath), false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(zortest::Escape(c.start));
    zortest::LogCapture log;
    CExplorerTree own;
    TExplorerTreeProperties p = Props(ETF_SHOW_DESKTOP_AT_ROOT, c.start);
    p.pSelChanged = nullptr;  // a null callback is not called
    ASSERT_TRUE(own.Create(&p));
    EXPECT_EQ(std::wstring(own.CurrentSelection()), c.selected);
    EXPECT_EQ(log.Contains(L"CExplorerTree::ExpandToStartPosition: entered"), c.walked);
  }
  // Trailing backslashes behind a root: nothing to walk.
  zortest::LogCapture log;
  ASSERT_TRUE(Create(0, L"C:\\\\"));
  EXPECT_EQ(g_selected, std::vector<std::wstring>{L"C:\\|77"});
  EXPECT_TRUE(log.Contains(L"CExplorerTree::ExpandToStartPosition: exiting, no string to find"));
  // The windows gone with their parent: the node cannot be fetched any more.
  TTreeNodeInfo* root = Selected().node;
  DestroyWindow(panel);
  EXPECT_FALSE(tree.Loaded());
  tree.ExpandToStartPosition(root, L"C:\\x");
  EXPECT_TRUE(log.Contains(L"CExplorerTree::ExpandToStartPosition: exiting, can't get root item"));
  tree.ExpandToStartPosition(nullptr, L"C:\\");
  tree.ExpandToStartPosition(root, L"");
}

TEST_F(ExplorerTree, SelectionAndKeysReachTheCallbacks) {
  ASSERT_TRUE(Create(0, dir));
  HWND tv = tree.TreeWindow();
  g_selected.clear();
  TreeView_Expand(tv, Selected().h, TVE_EXPAND);
  std::vector<Item> kids = Children(Selected().h);
  ASSERT_EQ(kids.size(), 5u);
  TreeView_SelectItem(tv, kids[4].h);
  TreeView_SelectItem(tv, TreeView_GetRoot(tv));
  EXPECT_EQ(g_selected, (std::vector<std::wstring>{L"C:\\|77", Get(TreeView_GetRoot(tv)).text + L"|77"}));
  SendMessageW(tv, WM_KEYDOWN, VK_F5, 0);
  EXPECT_EQ(g_keys, std::vector<DWORD>{VK_F5 * 1000u + 5});
  // Holder and tree view follow the size the host gives the holder.
  MoveWindow(tree.HolderWindow(), 10, 10, 200, 150, TRUE);
  RECT r;
  GetWindowRect(tv, &r);
  EXPECT_EQ(r.right - r.left, 200);
  EXPECT_EQ(r.bottom - r.top, 150);
  EXPECT_EQ(GetDlgCtrlID(tree.HolderWindow()), 7);
}

TEST_F(ExplorerTree, BadPropertiesStillGiveAWorkingTreeOrFalse) {
  zortest::LogCapture log;
  EXPECT_FALSE(tree.Create(nullptr));
  TExplorerTreeProperties p = Props(0, L"");
  p.hParent = nullptr;  // a child without a parent cannot be made
  EXPECT_FALSE(tree.Create(&p));
  EXPECT_TRUE(log.Contains(L"CExplorerTree::Create: exiting, m_hWnd NULL"));
  // No icons, no callbacks, an unterminated over-long start folder.
  p = Props(0xFF, L"");
  p.hInstance = GetModuleHandleW(L"kernel32.dll");
  p.pSelChanged = nullptr;
  p.pKeyDown = nullptr;
  for (wchar_t& c : p.startFolder) c = L'a';
  ASSERT_TRUE(tree.Create(&p));
  EXPECT_FALSE(tree.Create(&p));  // once only
  EXPECT_TRUE(tree.Loaded());
  EXPECT_EQ(tree.CurrentSelection()[0], 0);
  EXPECT_EQ(ImageList_GetImageCount(TreeView_GetImageList(tree.TreeWindow(), TVSIL_NORMAL)), TI_NUM_ICONS);
  TreeView_SelectItem(tree.TreeWindow(), TreeView_GetRoot(tree.TreeWindow()));
  SendMessageW(tree.TreeWindow(), WM_KEYDOWN, VK_F5, 0);
  EXPECT_NE(tree.CurrentSelection()[0], 0);
  // A nonexistent start folder on a missing drive opens nothing.
  CExplorerTree own;
  p = Props(0, L"Q:\\no\\such\\folder");
  ASSERT_TRUE(own.Create(&p));
  EXPECT_TRUE(g_selected.empty());
}

TEST(PathContainsRoot, RootIsThePathOrAnAncestorInAnyCase) {
  const std::wstring longPath(260, L'a');
  EXPECT_TRUE(CExplorerTree::PathContainsRoot(L"C:\\a\\b", L"c:\\A"));
  EXPECT_TRUE(CExplorerTree::PathContainsRoot(L"C:\\a\\", L"C:\\A"));
  EXPECT_TRUE(CExplorerTree::PathContainsRoot(L"C:\\a", L"C:\\a\\"));
  EXPECT_TRUE(CExplorerTree::PathContainsRoot(L"C:\\a\\b", L"C:\\"));
  EXPECT_FALSE(CExplorerTree::PathContainsRoot(L"C:\\ab", L"C:\\a"));
  EXPECT_FALSE(CExplorerTree::PathContainsRoot(L"C:\\a", L"C:\\a\\b"));
  EXPECT_FALSE(CExplorerTree::PathContainsRoot(L"C:\\b", L"C:\\a"));
  EXPECT_FALSE(CExplorerTree::PathContainsRoot(L"", L"C:\\"));
  EXPECT_FALSE(CExplorerTree::PathContainsRoot(L"C:\\", nullptr));
  EXPECT_FALSE(CExplorerTree::PathContainsRoot(nullptr, L"C:\\"));
  EXPECT_FALSE(CExplorerTree::PathContainsRoot((L"C:\\" + longPath.substr(3)).c_str(), L"C:\\"));
  EXPECT_TRUE(CExplorerTree::PathContainsRoot((L"C:\\" + longPath.substr(4)).c_str(), L"C:\\"));
  EXPECT_FALSE(CExplorerTree::PathContainsRoot(L"C:\\", longPath.c_str()));
}

TEST_F(ExplorerTree, ShortcutReaderResolvesOneRequestAtATime) {
  CShortcutReader reader;
  wchar_t out[MAX_PATH];
  for (DWORD timeout : {0u, 50u, 5000u}) {
    EXPECT_TRUE(reader.GetShortcutTarget((dir + L"\\To Beta.lnk").c_str(), out, MAX_PATH, timeout));
    EXPECT_EQ(out, dir + L"\\beta");
  }
  wchar_t small[5];
  EXPECT_TRUE(reader.GetShortcutTarget((dir + L"\\To Beta.lnk").c_str(), small, 5, 0));
  EXPECT_EQ(std::wstring(small), dir.substr(0, 4));
  EXPECT_TRUE(reader.GetShortcutTarget((dir + L"\\To Drive.lnk").c_str(), out, MAX_PATH, 0));
  EXPECT_EQ(std::wstring(out), L"C:\\");
  // Files that are no shortcuts, missing files and null arguments.
  for (const std::wstring& bad : {dir + L"\\file.txt", dir + L"\\missing.lnk", dir + L"\\Alpha"}) {
    out[0] = L'x';
    EXPECT_FALSE(reader.GetShortcutTarget(bad.c_str(), out, MAX_PATH, 0)) << zortest::Escape(bad);
    EXPECT_EQ(out[0], 0);
  }
  out[0] = L'x';
  EXPECT_FALSE(reader.GetShortcutTarget(nullptr, out, MAX_PATH, 0));
  EXPECT_EQ(out[0], 0);
  EXPECT_FALSE(reader.GetShortcutTarget(L"x.lnk", nullptr, MAX_PATH, 0));
  EXPECT_FALSE(reader.GetShortcutTarget((dir + L"\\To Beta.lnk").c_str(), out, 0, 0));
  EXPECT_FALSE(reader.AbortRequested());
  reader.RequestAbort();
  EXPECT_TRUE(reader.AbortRequested());
  EXPECT_FALSE(reader.GetShortcutTarget((dir + L"\\To Beta.lnk").c_str(), out, MAX_PATH, 0));
}

TEST_F(ExplorerTree, ShortcutReadersLeaveNoThreadOrHandleBehind) {
  { CShortcutReader warm; }
  Sleep(100);
  const size_t threads = zortest::ThreadCount(), handles = zortest::HandleCount();
  for (int i = 0; i < 6; ++i) {
    CShortcutReader reader;  // destroyed while its worker starts, or after a request
    wchar_t out[MAX_PATH];
    if (i % 2) EXPECT_TRUE(reader.GetShortcutTarget((dir + L"\\To Beta.lnk").c_str(), out, MAX_PATH, 0));
    else EXPECT_TRUE(reader.ThreadBusy());
  }
  EXPECT_LE(zortest::ThreadCount(), threads);
  EXPECT_LE(zortest::HandleCount(), handles + 2);
  // A system before NT 4 gets a reader without a worker, which refuses.
  OSVERSIONINFOEXW old = {};
  old.dwOSVersionInfoSize = sizeof old;
  old.dwMajorVersion = 4;
  old.dwMinorVersion = 10;
  old.dwPlatformId = VER_PLATFORM_WIN32_WINDOWS;
  ZorTest_UseVersionRecord(&old);
  {
    CShortcutReader reader;
    wchar_t out[MAX_PATH];
    EXPECT_EQ(zortest::ThreadCount(), threads);
    EXPECT_FALSE(reader.ThreadBusy());
    EXPECT_FALSE(reader.GetShortcutTarget((dir + L"\\To Beta.lnk").c_str(), out, MAX_PATH, 0));
  }
  ZorTest_UseVersionRecord(nullptr);
}

}  // namespace
