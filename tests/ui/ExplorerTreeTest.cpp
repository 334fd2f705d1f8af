// CExplorerTree on a real folder hierarchy with real shortcuts, in windows
// under Xvfb, and CShortcutReader's worker thread.
#include "tests/support/TestSupport.h"
#include "tools/zortool/icons/TreeIcons.h"

#include <zorutils/ui/ExplorerTree.h>

#include <objbase.h>
#include <shlobj.h>

#include <algorithm>
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

// A special folder as the tree shows it: without its trailing backslash.
std::wstring Special(bool (*get)(wchar_t*, int, bool)) {
  wchar_t path[MAX_PATH];
  get(path, MAX_PATH, true);
  std::wstring s = path;
  if (!s.empty() && s.back() == L'\\') s.pop_back();
  return s;
}

std::vector<std::wstring> g_selected;
std::vector<DWORD> g_keys;
void OnSelect(wchar_t* path, DWORD user) { g_selected.push_back(path + (L"|" + std::to_wstring(user))); }
void OnKey(WORD key, DWORD user) { g_keys.push_back(key * 1000u + user); }

struct Item {
  HTREEITEM h;
  std::wstring text;
  TTreeNodeInfo* node;
  int image, selectedImage, state;
};

HWND g_host;  // one top-level window for every test: Wine takes seconds to destroy one

class ExplorerTree : public ::testing::Test {
protected:
  static void SetUpTestSuite() {
    CoInitialize(nullptr);
    WNDCLASSW wc = {};
    wc.lpfnWndProc = DefWindowProcW;
    wc.lpszClassName = L"ZorTreeTest";
    if (RegisterClassW(&wc))
      g_host = CreateWindowExW(0, L"ZorTreeTest", L"", WS_POPUP | WS_VISIBLE, 0, 0, 400, 600, nullptr, nullptr,
                               nullptr, nullptr);
  }
  void SetUp() override {
    wchar_t longPath[MAX_PATH];
    GetLongPathNameW(temp.path().c_str(), longPath, MAX_PATH);  // the tree walks long names
    dir = longPath;
    for (const wchar_t* sub : {L"Alpha", L"Alpha\\Deep", L"Alpha\\Deep\\Deeper", L"Alpha\\Deep\\Deeper\\Deepest",
                               L"beta", L"Gamma", L"Gamma\\sub", L"gone"})
      CreateDirectoryW((dir + L"\\" + sub).c_str(), nullptr);
    zortest::WriteBytes(dir + L"\\file.txt", "x");
    zortest::WriteBytes(dir + L"\\Broken.lnk", "not a shortcut");
    // The one at itself is made at a file first, so that its target exists.
    const std::wstring links[][2] = {{L"To Gamma", dir + L"\\Gamma"}, {L"To Drive", L"C:\\"},
                                     {L"On Desk", Special(GetDesktopPath)}, {L"Dead", dir + L"\\gone"},
                                     {L"ToFile", dir + L"\\file.txt"},      {L"Self", dir + L"\\file.txt"},
                                     {L"Self", dir + L"\\Self.lnk"}};
    for (const auto& link : links) ASSERT_TRUE(MakeShortcut(Lnk(link[0]), link[1]));
    RemoveDirectoryW((dir + L"\\gone").c_str());
    panel = CreateWindowExW(0, L"ZorTreeTest", L"", WS_CHILD | WS_VISIBLE, 0, 0, 400, 600, g_host, nullptr,
                            nullptr, nullptr);
    g_selected.clear();
    g_keys.clear();
  }
  // Destroying the panel takes the tree's windows with it, before the tree.
  void TearDown() override { DestroyWindow(panel); }

  std::wstring Lnk(const std::wstring& name) { return dir + L"\\" + name + L".lnk"; }
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
    return {h, text, reinterpret_cast<TTreeNodeInfo*>(it.lParam), it.iImage, it.iSelectedImage, int(it.state)};
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

TEST_F(ExplorerTree, RootsAreTheChosenSpecialFoldersThenTheShownDrivesEachWithABlankChild) {
  for (DWORD flags : {DWORD(0xEF), DWORD(0), DWORD(ETF_SHOW_MYPICTURES_AT_ROOT | ETF_SHOW_CD_DRIVES)}) {
    SCOPED_TRACE(flags);
    CExplorerTree own;
    TExplorerTreeProperties p = Props(flags, L"");
    ASSERT_TRUE(own.Create(&p));
    std::vector<std::wstring> expected;  // "text|path|image"
    if (flags & ETF_SHOW_DESKTOP_AT_ROOT) expected.push_back(L"Desk|" + Special(GetDesktopPath) + L"|9");
    if (flags & ETF_SHOW_MYDOCUMENTS_AT_ROOT) expected.push_back(L"Docs|" + Special(GetMyDocumentsPath) + L"|7");
    if (flags & ETF_SHOW_MYPICTURES_AT_ROOT) expected.push_back(L"Pics|" + Special(GetMyPicturesPath) + L"|8");
    wchar_t drives[520] = {};
    GetLogicalDriveStringsW(519, drives);
    for (const wchar_t* d = drives; *d; d += wcslen(d) + 1) {
      const UINT t = GetDriveTypeW(d);
      const DWORD needs = t == DRIVE_CDROM ? ETF_SHOW_CD_DRIVES : t == DRIVE_REMOVABLE ? ETF_SHOW_REMOVABLE_DRIVES
                          : t == DRIVE_REMOTE ? ETF_SHOW_NETWORK_DRIVES : 0;
      if (t == DRIVE_NO_ROOT_DIR || t == DRIVE_RAMDISK || (needs && !(flags & needs))) continue;
      expected.push_back(d + (L"|" + std::wstring(d)) +
                         (t == DRIVE_CDROM ? L"|1" : t == DRIVE_REMOVABLE ? L"|3" : t == DRIVE_REMOTE ? L"|6" : L"|0"));
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
  EXPECT_EQ(sel.text + L"|" + std::to_wstring(sel.selectedImage), L"Deepest|5");
  EXPECT_TRUE(!sel.node->bIsRoot && !sel.node->bHasSubFolders && Children(sel.h).empty());
  // Its ancestors are open, up to the folder of the test.
  HWND tv = tree.TreeWindow();
  HTREEITEM h = TreeView_GetParent(tv, sel.h);
  for (const wchar_t* name : {L"Deeper", L"Deep", L"Alpha"}) {
    EXPECT_EQ(Get(h).text + (Get(h).state & TVIS_EXPANDED ? L" open" : L""), name + std::wstring(L" open"));
    h = TreeView_GetParent(tv, h);
  }
  EXPECT_EQ(Get(h).node->pszPath, dir);
  // Sorted in any case; shortcuts to folders and drive roots as folders named
  // without ".lnk"; files, and shortcuts to a file, to nowhere and to
  // themselves, left out.
  EXPECT_EQ(Texts(h), L"Alpha;beta;Gamma;On Desk;To Drive;To Gamma;");
  std::vector<Item> kids = Children(h);
  ASSERT_EQ(kids.size(), 6u);
  EXPECT_TRUE(!kids[1].node->bHasSubFolders && Children(kids[1].h).empty());
  const std::wstring links[] = {Special(GetDesktopPath) + L"|19|19", L"C:\\|12|12", dir + L"\\Gamma|10|11"};
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(kids[3 + i].node->pszPath + (L"|" + std::to_wstring(kids[3 + i].image)) + L"|" +
                  std::to_wstring(kids[3 + i].selectedImage), links[i]);
  // Not yet opened: one blank child. Opened: the real ones.
  std::vector<Item> gamma = Children(kids[2].h);
  ASSERT_EQ(gamma.size(), 1u);
  EXPECT_TRUE(gamma[0].text.empty() && !gamma[0].node && gamma[0].image == TI_BLANK);
  TreeView_Expand(tv, kids[2].h, TVE_EXPAND);
  EXPECT_EQ(Texts(kids[2].h), L"sub;");
  // Listed again when the user opens it again (not when closing it).
  CreateDirectoryW((dir + L"\\Gamma\\a new one").c_str(), nullptr);
  TreeView_SelectItem(tv, kids[2].h);
  EXPECT_EQ(g_selected.back(), dir + L"\\Gamma|77");
  SendMessageW(tv, WM_KEYDOWN, VK_SUBTRACT, 0);
  EXPECT_EQ(g_keys, std::vector<DWORD>{VK_SUBTRACT * 1000u + 5});
  EXPECT_EQ(Texts(kids[2].h), L"sub;");
  SendMessageW(tv, WM_KEYDOWN, VK_ADD, 0);
  EXPECT_EQ(Texts(kids[2].h), L"a new one;sub;");
  TreeView_Expand(tv, kids[5].h, TVE_EXPAND);  // a shortcut lists its target
  EXPECT_EQ(Texts(kids[5].h), L"a new one;sub;");
  const std::wstring wanted[] = {
      L"Create: entered", L"Load: entering", L"ExpandToStartPosition: entered", L"ExpandNode: entering",
      L"ExpandNode: deleted children", L"ExpandNode: looping, findStr = <" + dir + L"\\Alpha>",
      L"ExpandNode: added subdirectories", L"ExpandNode: exiting", L"ExpandToStartPosition: exiting",
      L"Load: exiting", L"Create: exited"};
  size_t at = 0;
  for (const std::wstring& line : log.lines())
    if (at < 11 && line == L"CExplorerTree::" + wanted[at]) ++at;
  EXPECT_EQ(at, 11u) << "missing, in this order: " << zortest::Escape(wanted[at % 11]);
  tree.ExpandToStartPosition(Get(TreeView_GetRoot(tv)).node, L"C:\\");  // again, once loaded
  EXPECT_EQ(g_selected.back(), deepest + L"|77");
}

TEST_F(ExplorerTree, StartFoldersThatStopShortOrEndAtARoot) {
  struct Case {
    std::wstring start, selected;
    bool walked;  // "ExpandToStartPosition: entered" logged
  } cases[] = {
      {dir + L"\\Alpha\\Nope\\x", dir + L"\\Alpha", true},  // as far as it exists
      {dir + L"\\alpha\\\\DEEP\\", dir + L"\\Alpha\\Deep", true},
      {L"C:\\windows", L"C:\\windows", true},  // one level below a drive root
      {L"c:\\", L"C:\\", false},               // the root itself
      {Special(GetDesktopPath), Special(GetDesktopPath), false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(zortest::Escape(c.start));
    zortest::LogCapture log;
    CExplorerTree own;
    TExplorerTreeProperties p = Props(ETF_SHOW_DESKTOP_AT_ROOT, c.start);
    p.pSelChanged = nullptr;
    ASSERT_TRUE(own.Create(&p));
    EXPECT_EQ(std::wstring(own.CurrentSelection()), c.selected);
    EXPECT_EQ(log.Contains(L"CExplorerTree::ExpandToStartPosition: entered"), c.walked);
  }
  zortest::LogCapture log;
  ASSERT_TRUE(Create(0, L"C:\\\\"));  // nothing but backslashes behind the root
  EXPECT_EQ(g_selected, std::vector<std::wstring>{L"C:\\|77"});
  EXPECT_TRUE(log.Contains(L"CExplorerTree::ExpandToStartPosition: exiting, no string to find"));
  // The windows gone with their parent: the node cannot be fetched any more.
  TTreeNodeInfo* root = Selected().node;
  DestroyWindow(panel);
  EXPECT_FALSE(tree.Loaded());
  tree.ExpandToStartPosition(root, L"C:\\x");
  EXPECT_TRUE(log.Contains(L"CExplorerTree::ExpandToStartPosition: exiting, can't get root item"));
}

TEST_F(ExplorerTree, BadPropertiesGiveFalseOrStillAWorkingTree) {
  zortest::LogCapture log;
  EXPECT_FALSE(tree.Create(nullptr));
  TExplorerTreeProperties p = Props(0, L"");
  p.hParent = nullptr;  // a child without a parent cannot be made
  EXPECT_FALSE(tree.Create(&p));
  EXPECT_TRUE(log.Contains(L"CExplorerTree::Create: exiting, m_hWnd NULL"));
  // No such icons, no callbacks, unterminated over-long texts.
  p = Props(0xFF, L"");
  p.hInstance = GetModuleHandleW(L"kernel32.dll");
  p.pSelChanged = nullptr;
  p.pKeyDown = nullptr;
  for (wchar_t* text : {p.startFolder, p.desktopLabel, p.myDocumentsLabel, p.myPicturesLabel})
    std::fill(text, text + 260, L'a');
  ASSERT_TRUE(tree.Create(&p));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(Children(nullptr).at(i).text, std::wstring(259, L'a'));
  EXPECT_FALSE(tree.Create(&p));  // once only
  EXPECT_FALSE(tree.HasSubDirectories((dir + L"\\gone").c_str()) || tree.HasSubDirectories(L""));
  EXPECT_TRUE(tree.Loaded() && !tree.CurrentSelection()[0]);
  EXPECT_EQ(ImageList_GetImageCount(TreeView_GetImageList(tree.TreeWindow(), TVSIL_NORMAL)), TI_NUM_ICONS);
  TreeView_SelectItem(tree.TreeWindow(), TreeView_GetRoot(tree.TreeWindow()));
  SendMessageW(tree.TreeWindow(), WM_KEYDOWN, VK_F5, 0);
  EXPECT_EQ(std::wstring(tree.CurrentSelection()), Get(TreeView_GetRoot(tree.TreeWindow())).node->pszPath);
  MoveWindow(tree.HolderWindow(), 10, 10, 200, 150, TRUE);  // the tree view fills the holder
  RECT r;
  GetWindowRect(tree.TreeWindow(), &r);
  EXPECT_EQ((r.right - r.left) * 1000 + r.bottom - r.top, 200150);
}

TEST(PathContainsRoot, RootIsThePathOrAnAncestorInAnyCase) {
  const std::wstring a259 = L"C:\\" + std::wstring(256, L'a'), a260 = a259 + L"a";
  const struct {
    const wchar_t *path, *root;
    bool contains;
  } cases[] = {{L"C:\\a\\b", L"c:\\A", true},     {L"C:\\a\\", L"C:\\A", true},  {L"C:\\a", L"C:\\a\\", true},
               {L"C:\\a\\b", L"C:\\", true},      {L"C:\\ab", L"C:\\a", false},  {L"C:\\a", L"C:\\a\\b", false},
               {L"C:\\b", L"C:\\a", false},       {L"", L"C:\\", false},         {L"C:\\", nullptr, false},
               {nullptr, L"C:\\", false},         {a259.c_str(), L"C:\\", true}, {a260.c_str(), L"C:\\", false},
               {L"C:\\", a260.c_str(), false}};
  for (const auto& c : cases) EXPECT_EQ(CExplorerTree::PathContainsRoot(c.path, c.root), c.contains) << &c - cases;
}

TEST_F(ExplorerTree, ShortcutReaderResolvesOrRefuses) {
  CShortcutReader reader;
  wchar_t out[MAX_PATH];
  const std::wstring gamma = Lnk(L"To Gamma");
  EXPECT_TRUE(reader.GetShortcutTarget(gamma.c_str(), out, MAX_PATH, 5000));
  EXPECT_EQ(out, dir + L"\\Gamma");
  out[0] = L'z';
  Sleep(100);
  EXPECT_EQ(out[0], L'z');  // the worker writes only while asked
  wchar_t small[5];
  EXPECT_TRUE(reader.GetShortcutTarget(Lnk(L"To Gamma").c_str(), small, 5, 0));
  EXPECT_EQ(std::wstring(small), dir.substr(0, 4));
  // Files that are no shortcuts, missing files and null arguments.
  for (const std::wstring& bad : {dir + L"\\file.txt", dir + L"\\missing.lnk", dir + L"\\Alpha", std::wstring()}) {
    out[0] = L'x';
    EXPECT_FALSE(reader.GetShortcutTarget(bad.empty() ? nullptr : bad.c_str(), out, MAX_PATH, 0));
    EXPECT_EQ(out[0], 0) << zortest::Escape(bad);
  }
  EXPECT_FALSE(reader.GetShortcutTarget(L"x.lnk", nullptr, MAX_PATH, 0));
  out[0] = L'x';
  EXPECT_FALSE(reader.GetShortcutTarget(Lnk(L"To Gamma").c_str(), out, 0, 0));
  EXPECT_EQ(out[0], L'x');  // no room: untouched
  EXPECT_FALSE(reader.GetShortcutTarget(Lnk(L"missing").c_str(), out, 1, 0));  // room for the end only
  EXPECT_FALSE(reader.AbortRequested());
  reader.RequestAbort();
  EXPECT_TRUE(reader.AbortRequested());
  EXPECT_FALSE(reader.GetShortcutTarget(Lnk(L"To Gamma").c_str(), out, MAX_PATH, 0));
}

TEST_F(ExplorerTree, ShortcutReadersLeaveNoThreadOrHandleBehind) {
  { CShortcutReader warm; }
  const size_t threads = zortest::ThreadCount(), handles = zortest::HandleCount();
  for (int i = 0; i < 6; ++i) {
    CShortcutReader reader;  // destroyed while its worker starts, or after a request
    wchar_t out[MAX_PATH];
    if (i % 2) EXPECT_TRUE(reader.GetShortcutTarget(Lnk(L"To Gamma").c_str(), out, MAX_PATH, 0));
    else EXPECT_TRUE(reader.ThreadBusy());
  }
  EXPECT_LE(zortest::ThreadCount(), threads);
  EXPECT_LE(zortest::HandleCount(), handles + 2);
}

}  // namespace
