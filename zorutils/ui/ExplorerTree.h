// CExplorerTree: a folder browser inside a host window.
//
// A child "holder" window of the class "VelTreeHolder" carries a system tree
// view. The roots are the special folders the options ask for (Desktop, My
// Documents, My Pictures) and the drives of the kinds the options allow.
// Folders are listed only when their node is first opened: until then a
// node with subfolders carries one blank child so that it shows an expand
// button. Shortcut files (".lnk") whose targets are folders or drive roots
// appear as folders, listing their targets.
//
// The host fills a TExplorerTreeProperties record (its icons come from the
// host's own resources) and hears of selection changes and key presses
// through the callbacks there. Everything runs on the thread that owns the
// host window; only shortcut resolving happens on the CShortcutReader's
// worker thread.
//
// Paths and labels are wchar_t buffers of 260 code units with the
// terminator (MAX_PATH); positions and sizes are pixels.
//
// Choices made where hosts could not tell, or where the plain reading would
// leave the tree half-built:
//  - a folder opened on the way to the start folder is listed whole: the
//    child that leads on is reported, and its later siblings still appear;
//  - "C:\Music" opens at "Music" below "C:\" although the drive root's own
//    backslash leaves no backslash in the rest of the path;
//  - a folder is listed again each time it is opened, not when it is closed;
//  - an icon missing from the host's resources is an empty picture in its
//    place, so that every later image keeps its index;
//  - a root whose label is empty shows its path; a shortcut shows its file
//    name without ".lnk";
//  - roots always count as having subfolders (a CD drive or network share
//    is not asked until the user opens it).
#pragma once

#include <zorutils/Export.h>
#include <zorutils/containers/ArrayList.h>
#include <zorutils/text/Locks.h>
#include <zorutils/ui/ShortcutReader.h>

#include <windows.h>
#include <commctrl.h>

/// Told the selected folder's path (empty for a node without one) and the
/// user value of the properties. `path` is the tree's own 260-unit buffer
/// (CurrentSelection): read it, don't keep or write it.
typedef void (*TExplorerTreeSelChanged)(wchar_t* path, DWORD user);
/// Told the virtual-key code of every key pressed in the tree view (once
/// the tree is loaded), and the user value of the properties.
typedef void (*TExplorerTreeKeyDown)(WORD key, DWORD user);

/// Option bits of TExplorerTreeProperties::dwFlags.
/// Fixed and unknown drives are always shown, RAM disks never; the bits
/// add the other kinds (also for shortcuts to drive roots) and the special
/// folders as roots (shown in the order Desktop, My Documents, My Pictures,
/// each only when the shell gives it a path other than "C:\"). 0x10 is
/// unused.
enum {
  ETF_SHOW_NETWORK_DRIVES = 0x01,
  ETF_SHOW_REMOVABLE_DRIVES = 0x02,
  ETF_SHOW_CD_DRIVES = 0x04,
  ETF_USE_OPEN_FOLDER_ICON = 0x08,  // a selected folder or folder shortcut shows the open icon
  ETF_SHOW_MYDOCUMENTS_AT_ROOT = 0x20,
  ETF_SHOW_MYPICTURES_AT_ROOT = 0x40,
  ETF_SHOW_DESKTOP_AT_ROOT = 0x80
};

/// Image index of each kind of node. The image list holds the 25 icons of
/// TExplorerTreeProperties::iconIDs in this order; indexes 2, 14 and 20 to
/// 24 are loaded but shown by no node.
enum TIconIDs {
  TI_DRIVE = 0,  // fixed or other drive
  TI_CDDRIVE = 1,
  TI_RESERVED2 = 2,
  TI_REMOVABLE = 3,
  TI_FOLDER = 4,
  TI_FOLDER_OPEN = 5,
  TI_NETWORK = 6,
  TI_MYDOCUMENTS = 7,
  TI_MYPICTURES = 8,
  TI_DESKTOP = 9,
  TI_LINK_FOLDER = 10,
  TI_LINK_FOLDER_OPEN = 11,
  TI_LINK_DRIVE = 12,
  TI_LINK_CDDRIVE = 13,
  TI_RESERVED14 = 14,
  TI_LINK_REMOVABLE = 15,
  TI_LINK_NETWORK = 16,
  TI_LINK_MYDOCUMENTS = 17,
  TI_LINK_MYPICTURES = 18,
  TI_LINK_DESKTOP = 19,
  TI_RESERVED20 = 20,
  TI_RESERVED21 = 21,
  TI_RESERVED22 = 22,
  TI_RESERVED23 = 23,
  TI_RESERVED24 = 24,
  TI_NUM_ICONS = 25,
  /// The blank placeholder child: one past the last icon, so it shows none.
  TI_BLANK = 25
};

/// How the host sets up a tree; Create copies it whole (a text without its
/// terminator is cut to 259 units there).
struct ZORUTILS_API TExplorerTreeProperties {
  /// Clears every field.
  TExplorerTreeProperties();

  HWND hParent;          // the host window the tree goes into
  DWORD dwCtrlID;        // identifier of both the holder and the tree view
  HINSTANCE hInstance;   // owns the icons and the holder's window class; null:
                         // the host executable, with no icons
  DWORD dwFlags;         // ETF_... bits
  DWORD dwExStyle;       // extended style of the tree view
  long left, top, right, bottom;  // in the parent's client area, both edges inclusive
                                  // (width right - left + 1; below 1 gives 0)
  TExplorerTreeSelChanged pSelChanged;  // may be null
  DWORD dwSelChangedUser;       // passed back to pSelChanged
  wchar_t startFolder[260];     // opened and selected after Create; empty: none
  DWORD iconIDs[TI_NUM_ICONS];  // resource ids (low 16 bits) by TIconIDs; 0 or
                                // missing: an empty picture
  wchar_t myDocumentsLabel[260];  // texts of the special roots; empty: the path
  wchar_t myPicturesLabel[260];
  wchar_t desktopLabel[260];
  TExplorerTreeKeyDown pKeyDown;  // may be null
  DWORD dwKeyDownUser;            // passed back to pKeyDown
};

/// One tree item's node; the item's data points at it. The tree owns it:
/// it is freed when its parent is listed again and with the tree.
struct TTreeNodeInfo {
  bool bHasSubFolders;      // it showed an expand button when added
  bool bIsRoot;             // a drive or special folder at the top
  wchar_t* pszPath;         // malloc'ed; the folder listed under the node
  wchar_t* pszDisplayName;  // malloc'ed; null when the path is the text shown
  HTREEITEM hItem;          // its item in the tree view
  int nImage;               // TIconIDs
};

class ZORUTILS_API CExplorerTree {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// No windows until Create.
  CExplorerTree();
  /// Frees the nodes and the image list and destroys the windows (when the
  /// host has not destroyed them already with their parent).
  ~CExplorerTree();

  /// Makes the windows, the image list and the roots, and opens the tree at
  /// the start folder (as far as it exists), reporting that selection to
  /// the callback. False for null properties, on a tree already created, or
  /// when the windows cannot be made. Call once per object.
  bool Create(const TExplorerTreeProperties* properties);
  /// Whether the roots are in place (notifications are acted on only then).
  bool Loaded() const { return m_bLoaded; }
  /// The path of the selected node (cut to 259 units); empty when none is
  /// selected or the node has no path.
  const wchar_t* CurrentSelection() const { return m_currentSelection; }
  /// The tree view and its holder; null before Create and once the windows
  /// are destroyed (with their parent, say).
  HWND TreeWindow() const { return m_hWnd; }
  HWND HolderWindow() const { return m_hHolder; }

  /// The option bits of the properties given to Create.
  bool ShowNetworkDrives() const { return (m_props.dwFlags & ETF_SHOW_NETWORK_DRIVES) != 0; }
  bool ShowRemovableDrives() const { return (m_props.dwFlags & ETF_SHOW_REMOVABLE_DRIVES) != 0; }
  bool ShowCDDrives() const { return (m_props.dwFlags & ETF_SHOW_CD_DRIVES) != 0; }
  bool UseOpenFolderIcon() const { return (m_props.dwFlags & ETF_USE_OPEN_FOLDER_ICON) != 0; }
  bool ShowMyDocumentsAtRoot() const { return (m_props.dwFlags & ETF_SHOW_MYDOCUMENTS_AT_ROOT) != 0; }
  bool ShowMyPicturesAtRoot() const { return (m_props.dwFlags & ETF_SHOW_MYPICTURES_AT_ROOT) != 0; }
  bool ShowDesktopAtRoot() const { return (m_props.dwFlags & ETF_SHOW_DESKTOP_AT_ROOT) != 0; }

  /// The holder's WM_NOTIFY (its wParam and lParam). Acts once loaded: an
  /// item opening (not closing) lists its folder, a selection change updates
  /// CurrentSelection and calls the selection callback, a key press calls
  /// the key callback. Returns the message's result (0); a null
  /// notification does nothing.
  virtual LRESULT OnNotify(HWND window, WPARAM code, LPARAM notification);
  /// Lists the folder of `item` as its children (sorted, shortcuts to
  /// folders and drive roots included). When `nameToFind` is given, the
  /// first child whose file name equals it (in any case) goes to `found`
  /// (hItem, lParam = its node, state 4); `found` is cleared first and may
  /// be null. The item's earlier children and their nodes are freed first.
  /// A null item, or one without a path (the blank child), is left alone;
  /// an unlistable folder is left without children.
  virtual void ExpandNode(HTREEITEM item, const wchar_t* nameToFind, TVITEMW* found);
  /// Whether `path` holds a folder, or a shortcut to a folder or a drive
  /// root (each shortcut resolved with a 50 ms limit). False for null,
  /// empty or unlistable paths.
  virtual bool HasSubDirectories(const wchar_t* path);

  /// Whether `root` is `path` or one of its ancestors, in any case, treating
  /// both as ending in a backslash ("C:\a" holds "C:\A\b" but not "C:\ab").
  /// False for null or empty arguments and for either of 260 characters or
  /// more.
  static bool PathContainsRoot(const wchar_t* path, const wchar_t* root);
  /// Opens the tree below `startNode`, whose folder is `startRoot`, down to
  /// the start folder (as far as it exists), selects the deepest node
  /// reached and tells the selection callback its path (when it has one).
  /// Nothing for a null node, a node not of this tree, or a null or empty
  /// root. Path components longer than 260 units are cut to 260.
  void ExpandToStartPosition(TTreeNodeInfo* startNode, const wchar_t* startRoot);

  /// The tree's lock (re-entrant on one thread), held while the roots are
  /// made and while a folder is listed.
  void Lock() { m_lock.Lock(); }
  void Unlock() { m_lock.Unlock(); }

protected:
  /// Composes the roots and opens the start position; Create calls it once
  /// (a second call would add the roots again).
  void Load();
  /// Adds an empty child without data and with the blank image under `item`.
  void InsertBlankChild(HTREEITEM item);
  /// The holder's messages: move and size fit the tree view to it (result
  /// 1), WM_NOTIFY goes to OnNotify, WM_NOTIFYFORMAT answers NFR_UNICODE;
  /// the rest goes to DefWindowProc.
  LRESULT ParentWndProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

private:
  CExplorerTree(const CExplorerTree&) = delete;
  CExplorerTree& operator=(const CExplorerTree&) = delete;

  static LRESULT CALLBACK HolderProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  TTreeNodeInfo* AddNode(HTREEITEM parent, HTREEITEM after, const wchar_t* path,
                         const wchar_t* displayName, int image, bool isRoot, bool hasSubFolders);
  TTreeNodeInfo* NodeOf(HTREEITEM item);
  void DeleteChildren(HTREEITEM item);
  void FreeNodes(TTreeNodeInfo** nodes, int count);
  void SelectNode(HTREEITEM item, bool notify);
  bool IsShownDriveKind(UINT driveType) const;

  HWND m_hWnd;     // the tree view
  HWND m_hHolder;  // its "VelTreeHolder" parent
  TExplorerTreeProperties m_props;
  CMyArrayList m_nodes;  // every TTreeNodeInfo of the tree (item pointers)
  wchar_t m_currentSelection[260];
  HIMAGELIST m_hImageList;
  bool m_bLoaded;
  CLock m_lock;
  CShortcutReader m_shortcuts;
};

static_assert(sizeof(TExplorerTreeProperties) == (sizeof(void*) == 4 ? 2232 : 2256),
              "TExplorerTreeProperties layout is fixed");
static_assert(sizeof(TTreeNodeInfo) == (sizeof(void*) == 4 ? 20 : 40), "TTreeNodeInfo layout is fixed");
static_assert(sizeof(CExplorerTree) ==
                  (sizeof(void*) == 4 ? 4 + 8 + 2232 + 28 + 520 + 4 + 4 + 24 + 52
                                      : 8 + 16 + 2256 + 40 + 520 + 8 + 8 + 40 + 88),
              "CExplorerTree layout is fixed");
