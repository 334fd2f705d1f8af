// CUndoAtom and CUndoMgr: a host's history of undoable actions, grouped into
// undo sets, with a dirty flag derived from the position of the last save.
//
// The history is one list of atoms, oldest first, and a current position: the
// index of the last atom that is done (-1 when nothing is). Atoms next to each
// other with the same undo set ID form one set, which Undo and Redo treat as a
// whole. The atom at the current position is always the last of its set.
//
// Ownership: an atom belongs to the manager from the moment it is appended and
// is deleted (through its virtual destructor) when the manager drops it: redo
// part discarded by a new add, oldest sets trimmed past the limit,
// DeleteAllNodesAfterNode, ClearUndoHistory, destruction. An atom handed over
// while it is not taken (null, or recording disabled) stays the caller's.
//
// Callbacks: the dirty-status callback hears changes of the dirty flag (and a
// few deliberate repeats, listed per call); the set-dirty callback is a plain
// "something may have changed" notification. Both run synchronously inside the
// call that fires them. How often each fires is part of the contract: hosts
// count on it to refresh their title bar and menus.
//
// Not thread-safe: the manager belongs to the host's user-interface thread.
//
// An atom must be in the list at most once: adding a pointer the manager
// already holds (or a Clone that returns the atom itself) would have it
// deleted twice. The list is not searched on every add, which would make a
// long history quadratic.
//
// Decisions where the behaviour is otherwise open:
// - A null buffer given to either text getter is left alone (nothing is
//   written and no atom is asked); with a size of 0 nothing is written either
//   and no atom is asked.
// - GetCurrentRedoText's fallback clears `size` bytes (half the buffer), but
//   always at least the whole first character, so a 1-character buffer still
//   reads as an empty string.
// - Undo and Redo re-check the list bounds on every step, so an atom whose
//   UndoRedo reaches back into the manager cannot make it read past the list.
// - The growth step field is 8, as the layout records; the array grows by
//   CDynArray's rule (8 first, then doubling) so long histories stay cheap.
#pragma once

#include <zorutils/Export.h>
#include <zorutils/containers/DynArray.h>

/// One undoable action. Hosts derive from it; the manager uses exactly the
/// virtual slots below, in this order, and the undo set ID.
class ZORUTILS_API CUndoAtom {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Undo set ID 0; the manager stamps its own when it takes the atom.
  CUndoAtom();
  /// Slot 0: the manager deletes the atoms it owns through this.
  virtual ~CUndoAtom();
  /// Slot 1: a new heap copy of this atom, which the manager will own (used
  /// by the reference form of AddUndoNode). Null adds no atom, though that
  /// add still raises the dirty flag and fires the set-dirty callback once.
  virtual CUndoAtom* Clone() = 0;
  /// Slot 2: performs the action backwards (`redo` 0, from Undo) or forwards
  /// again (`redo` 1, from Redo). Runs with recording disabled.
  virtual void UndoRedo(int redo) = 0;
  /// Slot 3: writes the action's description, zero-terminated, at most
  /// `size` characters including the terminator, into `buffer`. The manager
  /// calls it only with a non-null buffer and a size of at least 1.
  virtual void GetUndoText(wchar_t* buffer, unsigned int size) = 0;

  /// The undo set this atom belongs to; stamped by CUndoMgr::AddUndoNode.
  int m_nUndoSetID;
};

static_assert(sizeof(CUndoAtom) == 2 * sizeof(void*), "CUndoAtom is its virtual table and the set ID");

/// The host's undo history; see the banner above.
class ZORUTILS_API CUndoMgr {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// Told the dirty flag's new value (0 or 1, or what SetDirty or
  /// ForceSetDirty were given) and the user pointer stored with it.
  typedef void (*DirtyStatusCallback)(int dirty, void* user);
  /// Told that the dirty state may have changed; no arguments.
  typedef void (*SetDirtyCallback)(void);

  // --- Construction ----------------------------------------------------------

  /// An empty history keeping at most 400 atoms.
  CUndoMgr();
  /// An empty history keeping at most `maxUndos` atoms (0 or less keeps only
  /// the newest set). Clean, no callbacks, saved position -1.
  CUndoMgr(int maxUndos);
  /// Clears the history (deleting every atom; the callbacks fire as in
  /// ClearUndoHistory), then frees the array.
  virtual ~CUndoMgr();

  // --- Recording -------------------------------------------------------------

  /// Takes ownership of `atom`, stamps the current undo set ID on it, deletes
  /// every undone atom (the redo part), appends it and trims whole oldest sets
  /// while more than the limit's atoms are kept (never the newest set;
  /// the saved position is not shifted by a trim, so the save point of a
  /// trimmed history is approximate). The
  /// first atom of a history always reports dirty 1 to the dirty-status
  /// callback; later ones only when the document was clean. Then the
  /// set-dirty callback. Null, or recording disabled: nothing happens and the
  /// atom stays the caller's.
  void AddUndoNode(CUndoAtom* atom);
  /// Adds a copy made by `atom.Clone()`; the caller keeps its object. Fires
  /// the set-dirty callback twice (once for the add, once here). Recording
  /// disabled: nothing happens and Clone is not called.
  void AddUndoNode(CUndoAtom& atom);
  /// Adds one to the current undo set ID: atoms added from now on form a new
  /// set.
  void NextUndoSet();
  /// The ID stamped on atoms added from now on (0 at construction).
  int CurrentUndoID() const;
  /// Adds one to / takes one from the disable count, unchecked: calls must be
  /// paired. While the count is not 0, atoms are not taken.
  void DisableNewUndos();
  void EnableNewUndos();
  /// The disable count (negative after unpaired EnableNewUndos calls, which
  /// leave recording disabled too).
  int GetDisableUndoCount() const;
  /// 1 when the disable count is 0.
  int CanAddUndoNodes() const;
  /// Stores the limit on the number of atoms; nothing is trimmed until the
  /// next add.
  void SetMaxUndos(int maxUndos);

  // --- Undo and redo ---------------------------------------------------------

  /// 1 when there is a done atom to undo.
  int CanUndo();
  /// 1 when there is an undone atom to redo.
  int CanRedo();
  /// Undoes the set at the current position, newest atom first, with
  /// recording disabled, and recomputes the dirty flag: clean when back at
  /// the saved position or when everything is undone (even if the save was
  /// later; so an undo of the last done set from a clean state at the save
  /// point reports dirty 1 and then 0). Fires the set-dirty callback twice. Works
  /// whether or not recording is disabled. Nothing to undo: no calls.
  void Undo();
  /// Redoes the set after the current position, oldest atom first, with
  /// recording disabled; dirty unless it lands on the saved position. Fires
  /// the set-dirty callback once. Nothing to redo: no calls.
  void Redo();
  /// The description of what Undo would undo (the last atom of that set).
  /// Nothing to undo: the whole buffer (`size` characters) is zeroed. Null
  /// buffer or `size` 0: nothing is written.
  void GetCurrentUndoText(wchar_t* buffer, unsigned int size);
  /// The description of what Redo would redo (again the last atom of that
  /// set, so a set has one description both ways). Nothing to redo: only the
  /// first `size` bytes (half the buffer, at least one character) are zeroed,
  /// which still reads as an empty string. Null buffer or `size` 0: nothing
  /// is written.
  void GetCurrentRedoText(wchar_t* buffer, unsigned int size);

  // --- History ---------------------------------------------------------------

  /// True when that very pointer is in the list (false for null).
  bool AtomInList(CUndoAtom* atom);
  /// The newest atom in the list whatever the current position, or null when
  /// the list is empty. Still owned by the manager.
  CUndoAtom* GetLastNode();
  /// Makes `atom` the current position and its set ID the current one (atoms
  /// added next join its set), deleting every atom after it. The dirty flag
  /// and the callbacks are left alone. Null or not in the list: nothing.
  void DeleteAllNodesAfterNode(CUndoAtom* atom);
  /// Deletes every atom and frees the array; current and saved positions
  /// become 0 (the count is what CanUndo and CanRedo look at). Clears the
  /// dirty flag if set, then fires the set-dirty callback.
  void ClearUndoHistory();

  // --- Dirty state -----------------------------------------------------------

  /// The dirty flag: the document has unsaved changes.
  int Dirty() const;
  /// Stores `dirty` and reports it to the dirty-status callback only when it
  /// changes; the set-dirty callback fires in every case.
  void SetDirty(int dirty);
  /// Stores `dirty` and reports it to the dirty-status callback even when it
  /// does not change; then the set-dirty callback.
  void ForceSetDirty(int dirty);
  /// The host has saved: the current position becomes the save point, the
  /// flag is cleared if set, then the set-dirty callback.
  void OnSave();
  /// Dirty when the current position is not the saved one (indices only),
  /// clean when it is; the dirty-status callback only on a change; then the
  /// set-dirty callback.
  void UpdateDirtyStatus();
  /// Stores the dirty-status callback and the user pointer passed back to it
  /// (null switches it off).
  void SetDirtyStatusCallback(DirtyStatusCallback callback, void* user);
  /// Stores the set-dirty callback (null switches it off).
  void SetSetDirtyCallback(SetDirtyCallback callback);

private:
  CUndoMgr(const CUndoMgr&) = delete;
  CUndoMgr& operator=(const CUndoMgr&) = delete;

  void RaiseDirty();
  void ClearDirty();
  void Notify();
  // Deletes the atoms at count - 1 down to `first` and removes their elements.
  void DeleteFrom(int first);
  // Drops whole oldest sets while more than m_nMaxUndos atoms are kept.
  void TrimToLimit();

  int m_nCurrentUndoID;             // stamped on atoms added from now on
  CDynArray<CUndoAtom*> m_atoms;    // the history, oldest first; owned
  int m_nGrowBy;                    // the array's growth step (8)
  int m_nCurrentPos;                // last done atom; -1 when none
  int m_nFlag;                      // 1 from construction; no behaviour
  int m_nMaxUndos;                  // limit on the number of atoms kept
  int m_bDirty;                     // unsaved changes
  DirtyStatusCallback m_pfnDirtyStatus;
  SetDirtyCallback m_pfnSetDirty;
  void* m_pCallbackUser;            // second argument of m_pfnDirtyStatus
  int m_nSavedPos;                  // current position at the last OnSave
  int m_nDisableCount;              // atoms are not taken while not 0
};

// Virtual table, set ID, the array (data, count, capacity, growth step), four
// ints, three pointers, two ints.
#ifdef _WIN64
static_assert(sizeof(CUndoMgr) == 88, "CUndoMgr layout is fixed");
#else
static_assert(sizeof(CUndoMgr) == 60, "CUndoMgr layout is fixed");
#endif
