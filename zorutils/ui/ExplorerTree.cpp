// CExplorerTree: the holder window, the roots, lazy listing of folders and
// opening the tree at the start folder.
//
// Ownership: every TTreeNodeInfo lives in m_nodes and is freed either when
// its item's parent is listed again (ExpandNode replaces the children) or
// by the destructor. Tree items only point at nodes.
#include <zorutils/ui/ExplorerTree.h>

#include <zorutils/internal/CopyCut.h>
#include <zorutils/internal/Handles.h>
#include <zorutils/system/Paths.h>

#include <zorfutls/zorfutls.h>

#include <windows.h>
#include <commctrl.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

namespace {

const wchar_t kHolderClass[] = L"VelTreeHolder";
const int kPathChars = 260;

wchar_t FoldPathUnit(wchar_t c) {
  return static_cast<wchar_t>(reinterpret_cast<ULONG_PTR>(CharUpperW(reinterpret_cast<LPWSTR>(static_cast<ULONG_PTR>(c)))));
}

// The first `n` units of two paths, as the file system compares names: in
// any case.
bool SamePathN(const wchar_t* a, const wchar_t* b, size_t n) {
  for (size_t i = 0; i < n; ++i)
    if (FoldPathUnit(a[i]) != FoldPathUnit(b[i])) return false;
  return true;
}

bool SamePath(const wchar_t* a, const wchar_t* b) {
  const size_t n = wcslen(a);
  return n == wcslen(b) && SamePathN(a, b, n);
}

wchar_t* Duplicate(const wchar_t* s) {
  if (!s) return nullptr;
  const size_t bytes = (wcslen(s) + 1) * sizeof(wchar_t);
  wchar_t* copy = static_cast<wchar_t*>(std::malloc(bytes));
  if (copy) std::memcpy(copy, s, bytes);
  return copy;
}

void DropTrailingBackslash(wchar_t* path) {
  const size_t n = wcslen(path);
  if (n && path[n - 1] == L'\\') path[n - 1] = 0;
}

std::wstring WithBackslash(const wchar_t* path) {
  std::wstring s = path;
  if (s.empty() || s.back() != L'\\') s += L'\\';
  return s;
}

bool IsShortcutName(const wchar_t* name) {
  const size_t n = wcslen(name);
  return n >= 4 && SamePath(name + n - 4, L".lnk");
}

bool IsFolder(const wchar_t* path) {
  const DWORD attributes = GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

// A special folder without its trailing backslash, for comparing shortcut
// targets with; empty when the shell has none (or only offers "C:\").
void SpecialFolder(bool (*get)(wchar_t*, int, bool), wchar_t* path) {
  if (!get(path, kPathChars, false) || SamePath(path, L"C:\\")) path[0] = 0;
  DropTrailingBackslash(path);
}

// Image of a drive (root or shortcut target) by its kind.
int DriveImage(UINT type, bool shortcut) {
  switch (type) {
    case DRIVE_CDROM: return shortcut ? TI_LINK_CDDRIVE : TI_CDDRIVE;
    case DRIVE_REMOVABLE: return shortcut ? TI_LINK_REMOVABLE : TI_REMOVABLE;
    case DRIVE_REMOTE: return shortcut ? TI_LINK_NETWORK : TI_NETWORK;
    default: return shortcut ? TI_LINK_DRIVE : TI_DRIVE;
  }
}

// An icon that draws nothing: it keeps the image list's order when one of
// the host's icons is missing.
HICON BlankIcon() {
  BYTE andMask[16 * 16 / 8], xorMask[16 * 16 / 8];
  std::memset(andMask, 0xFF, sizeof andMask);
  std::memset(xorMask, 0, sizeof xorMask);
  return CreateIcon(nullptr, 16, 16, 1, 1, andMask, xorMask);
}

class TreeLock {
public:
  explicit TreeLock(CExplorerTree& tree) : m_tree(tree) { m_tree.Lock(); }
  ~TreeLock() { m_tree.Unlock(); }
  TreeLock(const TreeLock&) = delete;
  TreeLock& operator=(const TreeLock&) = delete;

private:
  CExplorerTree& m_tree;
};

}  // namespace

TExplorerTreeProperties::TExplorerTreeProperties() {
  std::memset(static_cast<void*>(this), 0, sizeof *this);
}

CExplorerTree::CExplorerTree()
    : m_hWnd(nullptr), m_hHolder(nullptr), m_nodes(8), m_hImageList(nullptr), m_bLoaded(false) {
  m_currentSelection[0] = 0;
}

CExplorerTree::~CExplorerTree() {
  // No notification may reach the host while the items go.
  m_bLoaded = false;
  if (m_hHolder && IsWindow(m_hHolder)) DestroyWindow(m_hHolder);  // the tree view goes with it
  m_hHolder = m_hWnd = nullptr;
  for (int i = 0; i < m_nodes.GetCount(); ++i) {
    TTreeNodeInfo* node = static_cast<TTreeNodeInfo*>(m_nodes.Index(i, nullptr));
    std::free(node->pszPath);
    std::free(node->pszDisplayName);
    delete node;
  }
  m_nodes.RemoveAll();
  if (m_hImageList) ImageList_Destroy(m_hImageList);
}

bool CExplorerTree::Create(const TExplorerTreeProperties* properties) {
  if (!properties || m_hHolder) return false;
  m_props = *properties;
  // Hosts fill these by hand: a text without its terminator stops here.
  m_props.startFolder[kPathChars - 1] = 0;
  m_props.myDocumentsLabel[kPathChars - 1] = 0;
  m_props.myPicturesLabel[kPathChars - 1] = 0;
  m_props.desktopLabel[kPathChars - 1] = 0;
  LogFmt(L"CExplorerTree::Create: entered");

  INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_TREEVIEW_CLASSES};
  InitCommonControlsEx(&controls);
  HINSTANCE instance = m_props.hInstance ? m_props.hInstance : GetModuleHandleW(nullptr);
  WNDCLASSW wc = {};
  wc.style = CS_HREDRAW | CS_VREDRAW | CS_DBLCLKS;
  wc.lpfnWndProc = HolderProc;
  wc.hInstance = instance;
  wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  wc.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_WINDOW + 1));
  wc.lpszClassName = kHolderClass;
  RegisterClassW(&wc);  // fails harmlessly once the class exists

  const int width = std::max(0L, m_props.right - m_props.left + 1);
  const int height = std::max(0L, m_props.bottom - m_props.top + 1);
  HMENU id = reinterpret_cast<HMENU>(static_cast<UINT_PTR>(m_props.dwCtrlID));
  m_hHolder = CreateWindowExW(0, kHolderClass, L"", WS_CHILD | WS_VISIBLE, m_props.left, m_props.top,
                              width, height, m_props.hParent, id, instance, this);
  if (m_hHolder)
    m_hWnd = CreateWindowExW(m_props.dwExStyle, WC_TREEVIEWW, L"",
                             WS_CHILD | WS_VISIBLE | WS_BORDER | TVS_HASBUTTONS | TVS_LINESATROOT, 0, 0,
                             width, height, m_hHolder, id, instance, nullptr);
  if (!m_hWnd) {
    LogFmt(L"CExplorerTree::Create: exiting, m_hWnd NULL");
    if (m_hHolder) DestroyWindow(m_hHolder);
    m_hHolder = nullptr;
    return false;
  }

  m_hImageList = ImageList_Create(16, 16, ILC_COLOR32 | ILC_MASK, TI_NUM_ICONS, 0);
  for (int i = 0; i < TI_NUM_ICONS; ++i) {
    HICON icon = nullptr;
    if (m_props.hInstance && LOWORD(m_props.iconIDs[i]))
      icon = static_cast<HICON>(LoadImageW(m_props.hInstance, MAKEINTRESOURCEW(LOWORD(m_props.iconIDs[i])),
                                           IMAGE_ICON, 16, 16, 0));
    if (!icon) icon = BlankIcon();
    ImageList_AddIcon(m_hImageList, icon);
    DestroyIcon(icon);
  }
  TreeView_SetImageList(m_hWnd, m_hImageList, TVSIL_NORMAL);

  Load();
  LogFmt(L"CExplorerTree::Create: exited");
  return true;
}

LRESULT CALLBACK CExplorerTree::HolderProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NCCREATE) {
    const CREATESTRUCTW* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
  }
  CExplorerTree* tree = reinterpret_cast<CExplorerTree*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (!tree) return DefWindowProcW(window, message, wParam, lParam);
  if (message == WM_NCDESTROY) {
    // The host may destroy its window (and with it ours) before the tree.
    SetWindowLongPtrW(window, GWLP_USERDATA, 0);
    tree->m_hHolder = tree->m_hWnd = nullptr;
  }
  return tree->ParentWndProc(window, message, wParam, lParam);
}

LRESULT CExplorerTree::ParentWndProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_MOVE:
    case WM_SIZE: {
      RECT client;
      if (m_hWnd && GetClientRect(window, &client))
        MoveWindow(m_hWnd, 0, 0, client.right, client.bottom, TRUE);
      return 1;
    }
    case WM_NOTIFY:
      return OnNotify(window, wParam, lParam);
    case WM_NOTIFYFORMAT:
      return NFR_UNICODE;
    case WM_DESTROY:
      // The tree view's items go after this: nothing more for the host.
      m_bLoaded = false;
      break;
    default:
      break;
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

LRESULT CExplorerTree::OnNotify(HWND, WPARAM, LPARAM notification) {
  const NMHDR* header = reinterpret_cast<const NMHDR*>(notification);
  if (!m_bLoaded || !header) return 0;
  switch (header->code) {
    case TVN_ITEMEXPANDINGW:
    case TVN_ITEMEXPANDINGA: {
      // TVITEMA and TVITEMW share their layout up to the fields read here.
      const NMTREEVIEWW* tv = reinterpret_cast<const NMTREEVIEWW*>(header);
      // Listing again on collapse would only throw the listing away.
      if (tv->itemNew.lParam && !(tv->action & TVE_COLLAPSE)) ExpandNode(tv->itemNew.hItem, nullptr, nullptr);
      break;
    }
    case TVN_SELCHANGEDW:
    case TVN_SELCHANGEDA: {
      const NMTREEVIEWW* tv = reinterpret_cast<const NMTREEVIEWW*>(header);
      const TTreeNodeInfo* node = reinterpret_cast<const TTreeNodeInfo*>(tv->itemNew.lParam);
      zor::CopyCut(m_currentSelection, kPathChars, node && node->pszPath ? node->pszPath : L"");
      if (m_props.pSelChanged) m_props.pSelChanged(m_currentSelection, m_props.dwSelChangedUser);
      break;
    }
    case TVN_KEYDOWN: {
      const NMTVKEYDOWN* key = reinterpret_cast<const NMTVKEYDOWN*>(header);
      if (m_props.pKeyDown) m_props.pKeyDown(key->wVKey, m_props.dwKeyDownUser);
      break;
    }
    default:
      break;
  }
  return 0;
}

TTreeNodeInfo* CExplorerTree::AddNode(HTREEITEM parent, HTREEITEM after, const wchar_t* path,
                                      const wchar_t* displayName, int image, bool isRoot,
                                      bool hasSubFolders) {
  TTreeNodeInfo* node = new TTreeNodeInfo();
  node->bHasSubFolders = hasSubFolders;
  node->bIsRoot = isRoot;
  node->pszPath = Duplicate(path);
  node->pszDisplayName = Duplicate(displayName);
  node->nImage = image;
  int selected = image;
  if (UseOpenFolderIcon() && image == TI_FOLDER) selected = TI_FOLDER_OPEN;
  if (UseOpenFolderIcon() && image == TI_LINK_FOLDER) selected = TI_LINK_FOLDER_OPEN;
  TVINSERTSTRUCTW insert = {};
  insert.hParent = parent;
  insert.hInsertAfter = after;
  insert.item.mask = TVIF_TEXT | TVIF_PARAM | TVIF_IMAGE | TVIF_SELECTEDIMAGE;
  insert.item.pszText = const_cast<wchar_t*>(displayName ? displayName : path);
  insert.item.lParam = reinterpret_cast<LPARAM>(node);
  insert.item.iImage = image;
  insert.item.iSelectedImage = selected;
  node->hItem = TreeView_InsertItem(m_hWnd, &insert);
  if (!node->hItem) {
    std::free(node->pszPath);
    std::free(node->pszDisplayName);
    delete node;
    return nullptr;
  }
  m_nodes.AppendToTail(node, 0);
  return node;
}

void CExplorerTree::InsertBlankChild(HTREEITEM item) {
  TVINSERTSTRUCTW insert = {};
  insert.hParent = item;
  insert.hInsertAfter = TVI_LAST;
  insert.item.mask = TVIF_TEXT | TVIF_PARAM | TVIF_IMAGE | TVIF_SELECTEDIMAGE;
  insert.item.pszText = const_cast<wchar_t*>(L"");
  insert.item.iImage = insert.item.iSelectedImage = TI_BLANK;
  TreeView_InsertItem(m_hWnd, &insert);
}

TTreeNodeInfo* CExplorerTree::NodeOf(HTREEITEM item) {
  if (!item || !m_hWnd) return nullptr;
  TVITEMW tv = {};
  tv.mask = TVIF_HANDLE | TVIF_PARAM;
  tv.hItem = item;
  if (!TreeView_GetItem(m_hWnd, &tv)) return nullptr;
  return reinterpret_cast<TTreeNodeInfo*>(tv.lParam);
}

void CExplorerTree::DeleteChildren(HTREEITEM item) {
  // Nodes are freed only once their items are gone: deleting a selected item
  // moves the selection, and that notification may still read a node.
  std::vector<TTreeNodeInfo*> doomed;
  std::vector<HTREEITEM> pending;
  for (HTREEITEM c = TreeView_GetChild(m_hWnd, item); c; c = TreeView_GetNextSibling(m_hWnd, c))
    pending.push_back(c);
  while (!pending.empty()) {
    HTREEITEM at = pending.back();
    pending.pop_back();
    if (TTreeNodeInfo* node = NodeOf(at)) doomed.push_back(node);
    for (HTREEITEM c = TreeView_GetChild(m_hWnd, at); c; c = TreeView_GetNextSibling(m_hWnd, c))
      pending.push_back(c);
  }
  while (HTREEITEM child = TreeView_GetChild(m_hWnd, item))
    if (!TreeView_DeleteItem(m_hWnd, child)) break;
  FreeNodes(doomed.data(), static_cast<int>(doomed.size()));
}

void CExplorerTree::FreeNodes(TTreeNodeInfo** nodes, int count) {
  if (count <= 0) return;
  std::sort(nodes, nodes + count);
  // One pass over the list keeps the survivors in their order.
  std::vector<void*> keep;
  keep.reserve(static_cast<size_t>(m_nodes.GetCount()));
  for (int i = 0; i < m_nodes.GetCount(); ++i) {
    void* node = m_nodes.Index(i, nullptr);
    if (!std::binary_search(nodes, nodes + count, static_cast<TTreeNodeInfo*>(node))) keep.push_back(node);
  }
  m_nodes.RemoveAllButLeaveAllocation();
  for (void* node : keep) m_nodes.AppendToTail(node, 0);
  for (int i = 0; i < count; ++i) {
    std::free(nodes[i]->pszPath);
    std::free(nodes[i]->pszDisplayName);
    delete nodes[i];
  }
}

bool CExplorerTree::IsShownDriveKind(UINT driveType) const {
  switch (driveType) {
    case DRIVE_NO_ROOT_DIR:
    case DRIVE_RAMDISK: return false;
    case DRIVE_CDROM: return ShowCDDrives();
    case DRIVE_REMOTE: return ShowNetworkDrives();
    case DRIVE_REMOVABLE: return ShowRemovableDrives();
    default: return true;  // fixed and unknown
  }
}

void CExplorerTree::Load() {
  LogFmt(L"CExplorerTree::Load: entering");
  TreeLock hold(*this);
  wchar_t drives[520] = {};
  GetLogicalDriveStringsW(519, drives);
  const wchar_t* start = m_props.startFolder;
  wchar_t startRoot[kPathChars] = {};
  if (start[0] && start[1] == L':') {
    startRoot[0] = start[0];
    startRoot[1] = L':';
    startRoot[2] = L'\\';
  }
  TTreeNodeInfo* startNode = nullptr;

  struct Special {
    bool shown;
    bool (*get)(wchar_t*, int, bool);
    int image;
    const wchar_t* label;
  } const specials[] = {
      {ShowDesktopAtRoot(), GetDesktopPath, TI_DESKTOP, m_props.desktopLabel},
      {ShowMyDocumentsAtRoot(), GetMyDocumentsPath, TI_MYDOCUMENTS, m_props.myDocumentsLabel},
      {ShowMyPicturesAtRoot(), GetMyPicturesPath, TI_MYPICTURES, m_props.myPicturesLabel},
  };
  for (const Special& special : specials) {
    wchar_t path[kPathChars] = {};
    if (!special.shown || !special.get(path, kPathChars, true)) continue;
    if (!path[0] || SamePath(path, L"C:\\")) continue;
    DropTrailingBackslash(path);
    // An empty label would leave the root without a text: the path stands in.
    TTreeNodeInfo* node = AddNode(TVI_ROOT, TVI_LAST, path, special.label[0] ? special.label : nullptr,
                                  special.image, true, true);
    if (node && PathContainsRoot(start, path)) {
      startNode = node;
      zor::CopyCut(startRoot, kPathChars, path);
    }
  }

  for (const wchar_t* drive = drives; *drive; drive += wcslen(drive) + 1) {
    const UINT type = GetDriveTypeW(drive);
    if (!IsShownDriveKind(type)) continue;
    TTreeNodeInfo* node = AddNode(TVI_ROOT, TVI_LAST, drive, nullptr, DriveImage(type, false), true, true);
    if (node && !startNode && SamePath(drive, startRoot)) startNode = node;
  }

  for (HTREEITEM root = TreeView_GetRoot(m_hWnd); root; root = TreeView_GetNextSibling(m_hWnd, root))
    InsertBlankChild(root);
  if (startNode) ExpandToStartPosition(startNode, startRoot);
  m_bLoaded = true;
  LogFmt(L"CExplorerTree::Load: exiting");
}

void CExplorerTree::ExpandNode(HTREEITEM item, const wchar_t* nameToFind, TVITEMW* found) {
  LogFmt(L"CExplorerTree::ExpandNode: entering");
  if (found) std::memset(found, 0, sizeof *found);
  const TTreeNodeInfo* node = NodeOf(item);
  if (!node || !node->pszPath || !node->pszPath[0]) return;
  TreeLock hold(*this);
  const std::wstring folder = WithBackslash(node->pszPath);
  DeleteChildren(item);
  LogFmt(L"CExplorerTree::ExpandNode: deleted children");

  wchar_t desktop[kPathChars], documents[kPathChars], pictures[kPathChars];
  SpecialFolder(GetDesktopPath, desktop);
  SpecialFolder(GetMyDocumentsPath, documents);
  SpecialFolder(GetMyPicturesPath, pictures);

  WIN32_FIND_DATAW entry;
  zor::FindHandle find(FindFirstFileW((folder + L"*").c_str(), &entry));
  if (find) {
    do {
      const wchar_t* name = entry.cFileName;
      if (!name[0] || !wcscmp(name, L".") || !wcscmp(name, L"..")) continue;
      std::wstring path = folder + name;
      std::wstring text = name;
      int image = TI_FOLDER;
      if (!(entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) {
        if (!IsShortcutName(name)) continue;
        wchar_t target[kPathChars];
        if (!m_shortcuts.GetShortcutTarget(path.c_str(), target, kPathChars, 0)) continue;
        const bool driveRoot = IsRootFolder(target);
        if (!driveRoot && !IsFolder(target)) continue;
        if (driveRoot) {
          const UINT type = GetDriveTypeW(target);
          if (!IsShownDriveKind(type)) continue;
          image = DriveImage(type, true);
        } else {
          DropTrailingBackslash(target);
          image = SamePath(target, desktop)     ? TI_LINK_DESKTOP
                  : SamePath(target, documents) ? TI_LINK_MYDOCUMENTS
                  : SamePath(target, pictures)  ? TI_LINK_MYPICTURES
                                                : TI_LINK_FOLDER;
        }
        path = target;
        text.resize(text.size() - 4);  // the name without ".lnk", as the shell shows it
      }
      const bool hasSubFolders = HasSubDirectories(path.c_str());
      TTreeNodeInfo* child = AddNode(item, TVI_SORT, path.c_str(), text.c_str(), image, false, hasSubFolders);
      LogFmt(L"CExplorerTree::ExpandNode: looping, findStr = <%s>", path.c_str());
      if (!child) continue;
      if (hasSubFolders) InsertBlankChild(child->hItem);
      if (nameToFind && found && !found->hItem && SamePath(name, nameToFind)) {
        found->mask = TVIF_HANDLE | TVIF_PARAM | TVIF_STATE;
        found->hItem = child->hItem;
        found->lParam = reinterpret_cast<LPARAM>(child);
        found->state = 4;
      }
    } while (FindNextFileW(find.get(), &entry));
  }
  LogFmt(L"CExplorerTree::ExpandNode: added subdirectories");
  LogFmt(L"CExplorerTree::ExpandNode: exiting");
}

bool CExplorerTree::HasSubDirectories(const wchar_t* path) {
  if (!path || !path[0]) return false;
  const std::wstring folder = WithBackslash(path);
  WIN32_FIND_DATAW entry;
  zor::FindHandle find(FindFirstFileW((folder + L"*").c_str(), &entry));
  if (!find) return false;
  do {
    const wchar_t* name = entry.cFileName;
    if (!wcscmp(name, L".") || !wcscmp(name, L"..")) continue;
    if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) return true;
    if (!IsShortcutName(name)) continue;
    wchar_t target[kPathChars];
    if (m_shortcuts.GetShortcutTarget((folder + name).c_str(), target, kPathChars, 50) &&
        (IsRootFolder(target) || IsFolder(target)))
      return true;
  } while (FindNextFileW(find.get(), &entry));
  return false;
}

bool CExplorerTree::PathContainsRoot(const wchar_t* path, const wchar_t* root) {
  if (!path || !root || !path[0] || !root[0]) return false;
  const size_t pathLength = wcsnlen(path, kPathChars), rootLength = wcsnlen(root, kPathChars);
  if (pathLength >= kPathChars || rootLength >= kPathChars) return false;
  const std::wstring p = WithBackslash(path), r = WithBackslash(root);
  if (p.size() < r.size()) return false;
  return SamePathN(p.c_str(), r.c_str(), r.size());
}

void CExplorerTree::SelectNode(HTREEITEM item, bool notify) {
  SetFocus(m_hWnd);
  TreeView_Select(m_hWnd, item, TVGN_CARET);
  const TTreeNodeInfo* node = NodeOf(item);
  const wchar_t* path = node && node->pszPath ? node->pszPath : L"";
  zor::CopyCut(m_currentSelection, kPathChars, path);
  if (notify && m_props.pSelChanged && path[0]) m_props.pSelChanged(m_currentSelection, m_props.dwSelChangedUser);
}

void CExplorerTree::ExpandToStartPosition(TTreeNodeInfo* startNode, const wchar_t* startRoot) {
  if (!startNode || !startRoot || !startRoot[0] || !m_nodes.Member(startNode)) return;
  // Opening nodes here sends item-expanding notifications; listing the node
  // again from them would delete the very child just found. The selection
  // made at the end is reported once, by SelectNode.
  struct Quiet {
    bool& loaded;
    bool was;
    ~Quiet() { loaded = was; }
  } quiet{m_bLoaded, m_bLoaded};
  m_bLoaded = false;

  const wchar_t* start = m_props.startFolder;
  if (SamePath(startRoot, start)) {
    SelectNode(startNode->hItem, true);
    return;
  }
  LogFmt(L"CExplorerTree::ExpandToStartPosition: entered");
  if (!NodeOf(startNode->hItem)) {
    SelectNode(startNode->hItem, true);
    LogFmt(L"CExplorerTree::ExpandToStartPosition: exiting, can't get root item");
    return;
  }
  const size_t rootLength = wcslen(startRoot);
  const wchar_t* rest = rootLength < wcslen(start) ? start + rootLength : L"";
  // A drive root ends in its backslash, so "C:\Music" leaves "Music" behind
  // it: the walk needs a name, not a backslash.
  const wchar_t* first = rest;
  while (*first == L'\\') ++first;
  if (!*first) {
    SelectNode(startNode->hItem, true);
    LogFmt(L"CExplorerTree::ExpandToStartPosition: exiting, no string to find");
    return;
  }
  HTREEITEM current = startNode->hItem;
  for (const wchar_t* p = rest; *p;) {
    while (*p == L'\\') ++p;
    if (!*p) break;
    wchar_t name[kPathChars + 1];
    size_t n = 0;
    for (; *p && *p != L'\\'; ++p)
      if (n < kPathChars) name[n++] = *p;
    name[n] = 0;
    TVITEMW found;
    ExpandNode(current, name, &found);
    if (!found.hItem) break;
    TreeView_Expand(m_hWnd, current, TVE_EXPAND);
    current = found.hItem;
  }
  SelectNode(current, true);
  LogFmt(L"CExplorerTree::ExpandToStartPosition: exiting");
}
