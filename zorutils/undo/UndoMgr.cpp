// CUndoMgr: the position moves over one owned list of atoms; every notification
// is fired from exactly the places listed in the header, because hosts count
// them (title-bar asterisks, menu refreshes).
#include <zorutils/undo/UndoMgr.h>

#include <cstring>

namespace {

const int kDefaultMaxUndos = 400;
const int kGrowBy = 8;

// The set ID an atom carries; only called on non-null atoms.
inline int SetOf(const CUndoAtom* atom) { return atom->m_nUndoSetID; }

}  // namespace

// --- CUndoAtom ----------------------------------------------------------------

CUndoAtom::CUndoAtom() : m_nUndoSetID(0) {}

CUndoAtom::~CUndoAtom() {}

// --- Construction ---------------------------------------------------------------

CUndoMgr::CUndoMgr() : CUndoMgr(kDefaultMaxUndos) {}

CUndoMgr::CUndoMgr(int maxUndos)
    : m_nCurrentUndoID(0),
      m_nGrowBy(kGrowBy),
      m_nCurrentPos(-1),
      m_nFlag(1),
      m_nMaxUndos(maxUndos),
      m_bDirty(0),
      m_pfnDirtyStatus(nullptr),
      m_pfnSetDirty(nullptr),
      m_pCallbackUser(nullptr),
      m_nSavedPos(-1),
      m_nDisableCount(0) {}

CUndoMgr::~CUndoMgr() {
  ClearUndoHistory();
  m_atoms.FreeExtra();
}

// --- Notifications ----------------------------------------------------------------

void CUndoMgr::RaiseDirty() {
  m_bDirty = 1;
  if (m_pfnDirtyStatus) m_pfnDirtyStatus(1, m_pCallbackUser);
}

void CUndoMgr::ClearDirty() {
  m_bDirty = 0;
  if (m_pfnDirtyStatus) m_pfnDirtyStatus(0, m_pCallbackUser);
}

void CUndoMgr::Notify() {
  if (m_pfnSetDirty) m_pfnSetDirty();
}

// --- Recording --------------------------------------------------------------------

void CUndoMgr::DeleteFrom(int first) {
  if (first < 0) first = 0;
  for (int i = m_atoms.GetSize() - 1; i >= first; --i) {
    // Out of the list before its destructor runs, so a destructor that looks
    // at the manager never finds a dangling pointer.
    CUndoAtom* atom = m_atoms.RemoveAt(i);
    delete atom;
  }
}

void CUndoMgr::TrimToLimit() {
  int count = m_atoms.GetSize();
  int k = 0;
  do {
    const int pos = m_nCurrentPos;
    if (k >= count || !m_atoms[k] || pos < 0 || pos >= count || !m_atoms[pos]) break;
    const int newest = SetOf(m_atoms[pos]);
    const int set = SetOf(m_atoms[k]);
    // The newest set stays even when it alone is over the limit: dropping it
    // would leave the host nothing to undo for the command it just recorded.
    if (set == newest) break;
    // The ID is read before each delete, never from an atom already deleted.
    while (k < pos && m_atoms[k] && SetOf(m_atoms[k]) == set) {
      delete m_atoms[k];
      m_atoms[k] = nullptr;
      ++k;
    }
  } while (count - k > m_nMaxUndos);
  if (k > 0) {
    // Elements 0..k-1 go in one move; the tail then holds stale copies, and
    // taking the last k elements off only lowers the count.
    CUndoAtom** data = m_atoms.GetData();
    std::memmove(data, data + k, sizeof(CUndoAtom*) * static_cast<size_t>(count - k));
    for (int i = 0; i < k; ++i) m_atoms.RemoveAt(m_atoms.GetSize() - 1);
    count = m_atoms.GetSize();
    m_nCurrentPos = count > 0 ? count - 1 : 0;
    // The saved position is left alone though the indices have shifted: the
    // save point of a trimmed history is approximate by design.
  }
}

void CUndoMgr::AddUndoNode(CUndoAtom* atom) {
  if (!atom || m_nDisableCount != 0) return;
  atom->m_nUndoSetID = m_nCurrentUndoID;

  // A new action after some undos makes the undone ones unreachable.
  DeleteFrom(m_nCurrentPos + 1);

  m_atoms.Add(atom);
  const int count = m_atoms.GetSize();
  m_nCurrentPos = count > 0 ? count - 1 : 0;

  if (count > m_nMaxUndos) TrimToLimit();

  // The first atom of a history reports dirty even to a document that
  // already was: hosts rely on that call to enable their Save command.
  if (m_atoms.GetSize() == 1 || m_bDirty != 1) RaiseDirty();
  Notify();
}

void CUndoMgr::AddUndoNode(CUndoAtom& atom) {
  if (m_nDisableCount != 0) return;
  AddUndoNode(atom.Clone());
  if (m_bDirty != 1) RaiseDirty();
  // A second notification on top of the one inside the add: hosts have
  // always seen two for a by-reference add.
  Notify();
}

void CUndoMgr::NextUndoSet() {
  // Wraps instead of overflowing; a history never lives that long.
  m_nCurrentUndoID = static_cast<int>(static_cast<unsigned int>(m_nCurrentUndoID) + 1u);
}

int CUndoMgr::CurrentUndoID() const { return m_nCurrentUndoID; }

void CUndoMgr::DisableNewUndos() { ++m_nDisableCount; }

void CUndoMgr::EnableNewUndos() { --m_nDisableCount; }

int CUndoMgr::GetDisableUndoCount() const { return m_nDisableCount; }

int CUndoMgr::CanAddUndoNodes() const { return m_nDisableCount == 0 ? 1 : 0; }

void CUndoMgr::SetMaxUndos(int maxUndos) { m_nMaxUndos = maxUndos; }

// --- Undo and redo ------------------------------------------------------------------

int CUndoMgr::CanUndo() { return m_atoms.GetSize() > 0 && m_nCurrentPos >= 0 ? 1 : 0; }

int CUndoMgr::CanRedo() { return m_nCurrentPos + 1 < m_atoms.GetSize() ? 1 : 0; }

void CUndoMgr::Undo() {
  if (m_nCurrentPos < 0 || m_nCurrentPos >= m_atoms.GetSize() || !m_atoms[m_nCurrentPos]) return;
  // Whatever the atoms do to the document while being undone is not new
  // history.
  ++m_nDisableCount;
  const int set = SetOf(m_atoms[m_nCurrentPos]);
  int last = set;
  do {
    // Bounds re-read each step: an atom's UndoRedo may have reached back into
    // the manager.
    if (m_nCurrentPos < 0 || m_nCurrentPos >= m_atoms.GetSize()) break;
    if (CUndoAtom* atom = m_atoms[m_nCurrentPos]) atom->UndoRedo(0);
    --m_nCurrentPos;
    if (m_nCurrentPos >= 0 && m_nCurrentPos < m_atoms.GetSize() && m_atoms[m_nCurrentPos])
      last = SetOf(m_atoms[m_nCurrentPos]);
  } while (last == set);

  UpdateDirtyStatus();
  if (m_nSavedPos != m_nCurrentPos && m_nCurrentPos >= 0) {
    SetDirty(1);
  } else {
    // All undone counts as clean even when the save point lies later: the
    // document is back to what it was before any recorded action.
    if (m_bDirty) ClearDirty();
    Notify();
  }
  --m_nDisableCount;
}

void CUndoMgr::Redo() {
  const int first = m_nCurrentPos + 1;
  if (first < 0 || first >= m_atoms.GetSize() || !m_atoms[first]) return;
  m_nCurrentPos = first;
  ++m_nDisableCount;
  const int set = SetOf(m_atoms[first]);
  int last = set;
  do {
    if (m_nCurrentPos < 0 || m_nCurrentPos >= m_atoms.GetSize()) break;
    if (CUndoAtom* atom = m_atoms[m_nCurrentPos]) atom->UndoRedo(1);
    ++m_nCurrentPos;
    if (m_nCurrentPos >= m_atoms.GetSize()) break;
    if (m_atoms[m_nCurrentPos]) last = SetOf(m_atoms[m_nCurrentPos]);
  } while (last == set);
  // Back onto the last atom of the redone set.
  --m_nCurrentPos;
  UpdateDirtyStatus();
  --m_nDisableCount;
}

void CUndoMgr::GetCurrentUndoText(wchar_t* buffer, unsigned int size) {
  if (!buffer || size == 0) return;
  if (CanUndo() && m_nCurrentPos < m_atoms.GetSize() && m_atoms[m_nCurrentPos]) {
    m_atoms[m_nCurrentPos]->GetUndoText(buffer, size);
    return;
  }
  std::memset(buffer, 0, sizeof(wchar_t) * static_cast<size_t>(size));
}

void CUndoMgr::GetCurrentRedoText(wchar_t* buffer, unsigned int size) {
  if (!buffer || size == 0) return;
  if (CanRedo() && m_nCurrentPos + 1 >= 0) {
    buffer[0] = 0;
    const int first = m_nCurrentPos + 1;
    const CUndoAtom* head = m_atoms[first];
    if (!head) return;
    const int set = SetOf(head);
    int last = first;
    while (last + 1 < m_atoms.GetSize() && m_atoms[last + 1] && SetOf(m_atoms[last + 1]) == set) ++last;
    m_atoms[last]->GetUndoText(buffer, size);
    return;
  }
  // Clears `size` bytes, not characters: half the buffer, as hosts have always
  // seen. At least the first whole character, so the text reads as empty.
  size_t bytes = size;
  if (bytes < sizeof(wchar_t)) bytes = sizeof(wchar_t);
  std::memset(buffer, 0, bytes);
}

// --- History --------------------------------------------------------------------------

bool CUndoMgr::AtomInList(CUndoAtom* atom) { return atom && m_atoms.Find(atom) >= 0; }

CUndoAtom* CUndoMgr::GetLastNode() {
  const int count = m_atoms.GetSize();
  return count > 0 ? m_atoms[count - 1] : nullptr;
}

void CUndoMgr::DeleteAllNodesAfterNode(CUndoAtom* atom) {
  if (!atom || m_atoms.IsEmpty()) return;
  const int index = m_atoms.Find(atom);
  if (index < 0) return;
  m_nCurrentPos = index;
  m_nCurrentUndoID = SetOf(atom);
  DeleteFrom(index + 1);
}

void CUndoMgr::ClearUndoHistory() {
  // Each entry is nulled before its atom is deleted, so a destructor that
  // looks at the manager never meets a dangling pointer.
  const int count = m_atoms.GetSize();
  CUndoAtom** atoms = m_atoms.GetData();
  for (int i = 0; i < count; ++i) {
    CUndoAtom* atom = atoms[i];
    atoms[i] = nullptr;
    delete atom;
  }
  m_atoms.RemoveAll();
  m_atoms.FreeExtra();
  m_nCurrentPos = 0;
  m_nSavedPos = 0;
  if (m_bDirty) ClearDirty();
  Notify();
}

// --- Dirty state -------------------------------------------------------------------------

int CUndoMgr::Dirty() const { return m_bDirty; }

void CUndoMgr::SetDirty(int dirty) {
  if (dirty != m_bDirty) {
    m_bDirty = dirty;
    if (m_pfnDirtyStatus) m_pfnDirtyStatus(dirty, m_pCallbackUser);
  }
  Notify();
}

void CUndoMgr::ForceSetDirty(int dirty) {
  m_bDirty = dirty;
  if (m_pfnDirtyStatus) m_pfnDirtyStatus(dirty, m_pCallbackUser);
  Notify();
}

void CUndoMgr::OnSave() {
  m_nSavedPos = m_nCurrentPos;
  if (m_bDirty) ClearDirty();
  Notify();
}

void CUndoMgr::UpdateDirtyStatus() {
  if (m_nSavedPos != m_nCurrentPos) {
    if (m_bDirty != 1) RaiseDirty();
  } else if (m_bDirty) {
    ClearDirty();
  }
  Notify();
}

void CUndoMgr::SetDirtyStatusCallback(DirtyStatusCallback callback, void* user) {
  m_pfnDirtyStatus = callback;
  m_pCallbackUser = user;
}

void CUndoMgr::SetSetDirtyCallback(SetDirtyCallback callback) { m_pfnSetDirty = callback; }
