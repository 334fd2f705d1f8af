// CUndoMgr: scripts that pin every call a host sees (each deliberate quirk by
// name), and the texts for the Undo and Redo menu items.
#include "tests/support/TestSupport.h"

#include <zorutils/undo/UndoMgr.h>

namespace {

using V = std::vector<int>;

// Everything the atoms and the two callbacks saw, in order.
struct Journal {
  int nextSerial = 1, live = 0, notifies = 0;
  V calls, destroyed, dirty;  // calls: serials undone, negated when redone
  void Clear() { calls.clear(), destroyed.clear(), dirty.clear(), notifies = 0; }
};
Journal* g_journal;  // the set-dirty callback has no user pointer

class Atom : public CUndoAtom {
public:
  explicit Atom(Journal* j, CUndoMgr* recordsInto = nullptr) : serial(j->nextSerial++), m_j(j), m_mgr(recordsInto) { ++j->live; }
  ~Atom() override { m_j->destroyed.push_back(serial), --m_j->live; }  // twice shows in both
  CUndoAtom* Clone() override { return new Atom(m_j); }
  void UndoRedo(int redo) override {
    m_j->calls.push_back(redo ? -serial : serial);
    if (!m_mgr) return;
    Atom stray(m_j);  // an atom that records what it does: never while it runs
    m_mgr->AddUndoNode(stray);
  }
  void GetUndoText(wchar_t* buffer, unsigned int size) override {
    if (size == 0) return ADD_FAILURE() << "asked for a text of no characters";
    if (unsigned(_snwprintf(buffer, size, L"atom %d", serial)) >= size) buffer[size - 1] = 0;  // cut: still terminated
  }
  const int serial;
  Journal* const m_j;
  CUndoMgr* const m_mgr;
};

CUndoMgr* NewManager(Journal& j, int maxUndos = 400) {
  auto* mgr = new CUndoMgr(maxUndos);
  g_journal = &j;
  mgr->SetDirtyStatusCallback([](int d, void* user) { static_cast<Journal*>(user)->dirty.push_back(d); }, &j);
  mgr->SetSetDirtyCallback([] { ++g_journal->notifies; });
  return mgr;
}

// Each a short script on a fresh manager. n: new set of one atom, +: atom
// into the current set, r: new set by reference, h: new set of one atom that
// tries to record while it runs, 0: a null atom, u: undo, R: redo, s: save,
// c: clear the history, f: force dirty, d: delete all after the first atom,
// D/E: disable/enable recording, x: destroy the manager, |: forget so far.
// Atoms not taken are deleted by the script. After the last '|': the
// dirty-status calls, the number of set-dirty calls, serials undone
// (negative: redone) and deleted.
struct Quirk { const char *name, *script; int maxUndos; V dirty; int notifies; V calls, destroyed; };

const Quirk kQuirks[] = {
    {"FirstAtomReportsDirtyEvenWhenAlreadyDirty", "f|nn", 9, {1}, 2, {}, {}},
    {"ByReferenceAddNotifiesTwice", "|r", 9, {1}, 2, {}, {1}},
    {"UndoNotifiesTwiceRedoOnceSetsNewestFirstThenOldestFirst", "n++|uR", 9, {0, 1}, 3, {3, 2, 1, -1, -2, -3}, {}},
    {"UndoingEverythingIsCleanEvenAfterALaterSave", "nns|uu", 9, {1, 0}, 4, {2, 1}, {}},
    {"TrimmingLeavesTheSaveIndexUnshifted", "nnns|nuRR", 3, {1, 0}, 4, {4, -4}, {1}},
    {"ClearedHistoryTakesPositionZeroAsTheSavePoint", "nnc|nuR", 9, {1, 0}, 4, {3, -3}, {}},
    {"LimitNeverDropsTheNewestSet", "n|n++++uu", 3, {0}, 7, {6, 5, 4, 3, 2}, {1}},
    {"LimitOfZeroKeepsOnlyTheNewestSetAndReportsItsFirstAtom", "n+|n", 0, {1}, 1, {}, {1, 2}},
    {"DestroyingWhileDirtyReportsCleanAndDeletesUndoneAtoms", "n+nu|x", 9, {0}, 1, {}, {1, 2, 3}},
    {"AddAfterUndoDeletesTheUndoneAtoms", "nn+u|n", 9, {}, 1, {}, {3, 2}},
    {"DeleteAllNodesAfterNodeMovesWithoutRedoingAndJoinsItsSet", "n+nuu|d+u", 9, {1, 0}, 3, {4, 1}, {3, 2}},
    {"AtomsRunWithRecordingOff", "h|uR", 9, {0, 1}, 3, {1, -1}, {2, 3}},
    {"DisablingIsCountedAndEnablingUnchecked", "0|DDEn0EEn", 9, {}, 0, {}, {1, 2}},
};

class Quirks : public testing::TestWithParam<Quirk> {};

TEST_P(Quirks, Hold) {
  const Quirk& q = GetParam();
  Journal j;
  CUndoMgr* mgr = NewManager(j, q.maxUndos);
  CUndoAtom* first = nullptr;
  for (const char* p = q.script; *p; ++p) {
    if (*p == 'n' || *p == 'r' || *p == 'h') mgr->NextUndoSet();
    if (*p == 'n' || *p == '+' || *p == 'h') {
      auto* atom = new Atom(&j, *p == 'h' ? mgr : nullptr);
      mgr->AddUndoNode(atom);
      if (!mgr->AtomInList(atom)) delete atom;
      else if (!first) first = atom;
    }
    if (*p == 'r') { Atom mine(&j); mgr->AddUndoNode(mine); }
    *p == 'u' ? mgr->Undo() : *p == 'R' ? mgr->Redo() : *p == 's' ? mgr->OnSave() : *p == 'c' ? mgr->ClearUndoHistory()
        : *p == 'f' ? mgr->ForceSetDirty(1) : *p == 'd' ? mgr->DeleteAllNodesAfterNode(first)
        : *p == 'D' ? mgr->DisableNewUndos() : *p == 'E' ? mgr->EnableNewUndos()
        : *p == '0' ? mgr->AddUndoNode(static_cast<CUndoAtom*>(nullptr)) : void();
    if (*p == 'x') delete mgr, mgr = nullptr;
    if (*p == '|') j.Clear();
  }
  EXPECT_EQ(q.dirty, j.dirty);
  EXPECT_EQ(q.notifies, j.notifies);
  EXPECT_EQ(q.calls, j.calls);
  EXPECT_EQ(q.destroyed, j.destroyed);
  delete mgr;
  EXPECT_EQ(0, j.live);
}

INSTANTIATE_TEST_SUITE_P(UndoMgr, Quirks, testing::ValuesIn(kQuirks),
                         [](const testing::TestParamInfo<Quirk>& info) { return std::string(info.param.name); });

// Both texts come from the last atom of the set they would act on. With
// nothing to describe, the undo text clears the whole buffer and the redo
// text only `size` bytes of it. The default limit is 400 atoms.
TEST(UndoMgr, TextsComeFromTheSetsLastAtomAndTheRedoFallbackClearsSizeBytes) {
  Journal j;
  CUndoMgr* mgr = NewManager(j);
  const auto texts = [&](unsigned size) {  // both buffers of 12 as they were left
    std::wstring both;
    for (auto get : {&CUndoMgr::GetCurrentUndoText, &CUndoMgr::GetCurrentRedoText}) {
      wchar_t buf[12];
      wmemset(buf, 0xCCCC, 12), (mgr->*get)(buf, size), both += std::wstring(buf, 12) + L"|";
    }
    return both;
  };
  const auto text = [](std::wstring s, size_t zeros = 1) { return (s + std::wstring(zeros, 0)).append(12 - s.size() - zeros, 0xCCCC) + L"|"; };
  EXPECT_EQ(text(L"", 10) + text(L"", 5), texts(10));
  mgr->AddUndoNode(new Atom(&j));
  EXPECT_TRUE(mgr->AtomInList(mgr->GetLastNode())) << "the first atom, at index 0";
  mgr->NextUndoSet(), mgr->AddUndoNode(new Atom(&j)), mgr->AddUndoNode(new Atom(&j));
  EXPECT_EQ(text(L"", 0) + text(L"", 0), texts(0)) << "the atom is never asked for no characters";
  EXPECT_EQ(text(L"atom 3") + text(L"", 6), texts(12));
  EXPECT_EQ(text(L"atom 1") + text(L"atom 3"), (mgr->Undo(), texts(12)));
  EXPECT_EQ(text(L"", 12) + text(L"atom 1"), (mgr->Undo(), texts(12)));
  for (int i = 0; i < 400; ++i) mgr->NextUndoSet(), mgr->AddUndoNode(new Atom(&j));
  EXPECT_EQ((V{3, 2, 1}), j.destroyed) << "the undone atoms, and none trimmed at 400";
  mgr->NextUndoSet(), mgr->AddUndoNode(new Atom(&j));
  EXPECT_EQ((V{3, 2, 1, 4}), j.destroyed);
  delete mgr;
}

}  // namespace
