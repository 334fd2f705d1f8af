// CUndoMgr: order of UndoRedo calls over a set, who deletes which atom and
// when, the dirty flag against the save point, and exactly how often each of
// the two callbacks fires (hosts count them).
#include <zorutils/undo/UndoMgr.h>

#include "UndoTestAtoms.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

using undotest::Journal;
using undotest::Recorder;
using undotest::TestAtom;

namespace {

class UndoMgr : public ::testing::Test {
protected:
  void SetUp() override { Recorder::Get().Reset(); }
  TestAtom* Atom() { return new TestAtom(&j); }
  // Adds `n` atoms to the current set; returns them.
  std::vector<TestAtom*> AddSet(CUndoMgr& mgr, int n) {
    std::vector<TestAtom*> atoms;
    mgr.NextUndoSet();
    for (int i = 0; i < n; ++i) {
      atoms.push_back(Atom());
      mgr.AddUndoNode(atoms.back());
    }
    return atoms;
  }
  static Recorder& rec() { return Recorder::Get(); }
  static std::vector<int> V(std::initializer_list<int> v) { return std::vector<int>(v); }

  Journal j;  // outlives every manager made in a test body
};

std::wstring UndoText(CUndoMgr& mgr) {
  wchar_t buf[64];
  mgr.GetCurrentUndoText(buf, 64);
  return buf;
}

std::wstring RedoText(CUndoMgr& mgr) {
  wchar_t buf[64];
  mgr.GetCurrentRedoText(buf, 64);
  return buf;
}

// --- Construction and limits ---------------------------------------------------------

TEST_F(UndoMgr, DefaultConstructionIsEmptyCleanAndKeeps400Atoms) {
  CUndoMgr mgr;
  EXPECT_EQ(0, mgr.CanUndo());
  EXPECT_EQ(0, mgr.CanRedo());
  EXPECT_EQ(nullptr, mgr.GetLastNode());
  EXPECT_EQ(0, mgr.Dirty());
  EXPECT_EQ(0, mgr.CurrentUndoID());
  EXPECT_EQ(1, mgr.CanAddUndoNodes());
  EXPECT_EQ(0, mgr.GetDisableUndoCount());

  std::vector<TestAtom*> atoms;
  for (int i = 0; i < 400; ++i) atoms.push_back(AddSet(mgr, 1)[0]);
  const int oldest = atoms[0]->serial();
  atoms.push_back(AddSet(mgr, 1)[0]);
  EXPECT_EQ(std::vector<int>{oldest}, j.destroyed);
  EXPECT_EQ(400, j.live);
  EXPECT_TRUE(mgr.AtomInList(atoms[1]));
  EXPECT_EQ(atoms[400], mgr.GetLastNode());
}

TEST_F(UndoMgr, LimitDropsOldestWholeSetsFirst) {
  CUndoMgr mgr(3);
  std::vector<int> serials;
  for (int i = 0; i < 5; ++i) serials.push_back(AddSet(mgr, 1)[0]->serial());
  EXPECT_EQ(V({serials[0], serials[1]}), j.destroyed);
  EXPECT_EQ(3, j.live);

  // Sets of two: going past 4 atoms drops both atoms of the oldest set.
  CUndoMgr pairs(4);
  j.destroyed.clear();
  auto a = AddSet(pairs, 2);
  int a0 = a[0]->serial(), a1 = a[1]->serial();
  AddSet(pairs, 2);
  EXPECT_TRUE(j.destroyed.empty());
  AddSet(pairs, 1);
  EXPECT_EQ(V({a0, a1}), j.destroyed);
}

TEST_F(UndoMgr, NewestSetIsNeverDroppedEvenOverTheLimit) {
  CUndoMgr mgr(3);
  int old = AddSet(mgr, 1)[0]->serial();
  auto big = AddSet(mgr, 4);  // the add of the fourth drops the old set
  EXPECT_EQ(std::vector<int>{old}, j.destroyed);
  TestAtom* sixth = Atom();
  mgr.AddUndoNode(sixth);  // same set: five atoms, limit 3
  EXPECT_EQ(5, j.live);
  EXPECT_EQ(sixth, mgr.GetLastNode());
  mgr.Undo();
  EXPECT_EQ(V({sixth->serial(), big[3]->serial(), big[2]->serial(), big[1]->serial(), big[0]->serial()}),
            j.Calls(0));
  EXPECT_EQ(0, mgr.CanUndo());
}

TEST_F(UndoMgr, LimitZeroOrNegativeKeepsOnlyTheNewestSet) {
  for (int limit : {0, -5}) {
    j.destroyed.clear();
    CUndoMgr mgr(limit);
    int first = AddSet(mgr, 2)[0]->serial();
    auto second = AddSet(mgr, 1);
    EXPECT_EQ(V({first, first + 1}), j.destroyed) << limit;
    EXPECT_EQ(second[0], mgr.GetLastNode());
    EXPECT_EQ(1, mgr.CanUndo());
  }
}

TEST_F(UndoMgr, SetMaxUndosTrimsOnlyAtTheNextAdd) {
  CUndoMgr mgr(10);
  for (int i = 0; i < 5; ++i) AddSet(mgr, 1);
  mgr.SetMaxUndos(2);
  EXPECT_TRUE(j.destroyed.empty());
  AddSet(mgr, 1);
  EXPECT_EQ(V({1, 2, 3, 4}), j.destroyed);
  EXPECT_EQ(2, j.live);
}

TEST_F(UndoMgr, TrimmingLeavesTheSaveIndexUnshifted) {
  // Deliberate: after a trim the save point is an index into the shifted
  // list, so landing on that index reads as clean though the atoms differ.
  CUndoMgr mgr(3);
  for (int i = 0; i < 3; ++i) AddSet(mgr, 1);
  mgr.OnSave();  // saved position 2
  AddSet(mgr, 1);  // trims one: position 2 again
  EXPECT_EQ(1, mgr.Dirty());
  mgr.Undo();
  EXPECT_EQ(1, mgr.Dirty());
  mgr.Redo();
  EXPECT_EQ(0, mgr.Dirty());
}

// --- Adding and ownership -----------------------------------------------------------------

TEST_F(UndoMgr, FirstAtomReportsDirtyEvenWhenAlreadyDirty) {
  CUndoMgr mgr;
  int user = 0;
  Recorder::Attach(mgr, &user);
  mgr.ForceSetDirty(1);
  EXPECT_EQ(V({1}), rec().dirty);
  mgr.AddUndoNode(Atom());
  EXPECT_EQ(V({1, 1}), rec().dirty);
  EXPECT_EQ(&user, rec().users.back());
  mgr.AddUndoNode(Atom());
  EXPECT_EQ(V({1, 1}), rec().dirty);  // already dirty, not the first atom
  EXPECT_EQ(3, rec().setDirty);
}

TEST_F(UndoMgr, AddStampsTheCurrentSetId) {
  CUndoMgr mgr;
  TestAtom* a = Atom();
  a->m_nUndoSetID = 77;
  mgr.AddUndoNode(a);
  EXPECT_EQ(0, a->m_nUndoSetID);
  mgr.NextUndoSet();
  mgr.NextUndoSet();
  EXPECT_EQ(2, mgr.CurrentUndoID());
  TestAtom* b = Atom();
  mgr.AddUndoNode(b);
  EXPECT_EQ(2, b->m_nUndoSetID);
}

TEST_F(UndoMgr, AddByReferenceClonesAndNotifiesTwice) {
  TestAtom mine(&j);
  {
    CUndoMgr mgr;
    Recorder::Attach(mgr);
    mgr.AddUndoNode(mine);
    EXPECT_EQ(std::vector<int>{mine.serial()}, j.cloned);
    EXPECT_EQ(V({1}), rec().dirty);
    EXPECT_EQ(2, rec().setDirty);
    EXPECT_FALSE(mgr.AtomInList(&mine));
    EXPECT_NE(nullptr, mgr.GetLastNode());
    EXPECT_NE(&mine, mgr.GetLastNode());
    EXPECT_EQ(2, j.live);
  }
  // The manager deleted its copy only; ours lives on.
  EXPECT_EQ(std::vector<int>{mine.serial() + 1}, j.destroyed);
  EXPECT_EQ(1, j.live);
}

TEST_F(UndoMgr, NullAtomIsIgnoredSilently) {
  CUndoMgr mgr;
  Recorder::Attach(mgr);
  mgr.AddUndoNode(static_cast<CUndoAtom*>(nullptr));
  EXPECT_EQ(0, rec().setDirty);
  EXPECT_TRUE(rec().dirty.empty());
  EXPECT_EQ(nullptr, mgr.GetLastNode());
  EXPECT_FALSE(mgr.AtomInList(nullptr));
}

TEST_F(UndoMgr, AtomsAddedWhileDisabledStayTheCallers) {
  CUndoMgr mgr;
  Recorder::Attach(mgr);
  mgr.DisableNewUndos();
  mgr.DisableNewUndos();
  mgr.EnableNewUndos();
  EXPECT_EQ(1, mgr.GetDisableUndoCount());
  EXPECT_EQ(0, mgr.CanAddUndoNodes());

  TestAtom* a = Atom();
  mgr.AddUndoNode(a);
  TestAtom byRef(&j);
  mgr.AddUndoNode(byRef);
  EXPECT_FALSE(mgr.AtomInList(a));
  EXPECT_TRUE(j.cloned.empty());
  EXPECT_TRUE(j.destroyed.empty());
  EXPECT_EQ(0, rec().setDirty);
  EXPECT_EQ(0, mgr.Dirty());
  delete a;  // still ours

  mgr.EnableNewUndos();
  EXPECT_EQ(1, mgr.CanAddUndoNodes());
  TestAtom* b = Atom();
  mgr.AddUndoNode(b);
  EXPECT_TRUE(mgr.AtomInList(b));

  // Unchecked: one Enable too many disables recording again.
  mgr.EnableNewUndos();
  EXPECT_EQ(-1, mgr.GetDisableUndoCount());
  EXPECT_EQ(0, mgr.CanAddUndoNodes());
}

TEST_F(UndoMgr, AddAfterUndoDestroysTheUndoneAtomsAtOnce) {
  CUndoMgr mgr;
  auto first = AddSet(mgr, 1);
  auto second = AddSet(mgr, 2);
  const std::vector<int> newestFirst = {second[1]->serial(), second[0]->serial()};
  mgr.Undo();
  EXPECT_EQ(1, mgr.CanRedo());
  EXPECT_TRUE(j.destroyed.empty());
  AddSet(mgr, 1);
  EXPECT_EQ(newestFirst, j.destroyed);
  EXPECT_EQ(0, mgr.CanRedo());
  EXPECT_TRUE(mgr.AtomInList(first[0]));
}

// --- Undo and redo ------------------------------------------------------------------

TEST_F(UndoMgr, SetIsUndoneNewestFirstAndRedoneOldestFirst) {
  CUndoMgr mgr;
  auto before = AddSet(mgr, 1);
  auto set = AddSet(mgr, 3);
  const int a = set[0]->serial(), b = set[1]->serial(), c = set[2]->serial();
  EXPECT_EQ(TestAtom::Text(c), UndoText(mgr));
  mgr.Undo();
  EXPECT_EQ(V({c, b, a}), j.Calls(0));
  EXPECT_EQ(1, mgr.CanUndo());  // stops on the previous set
  EXPECT_EQ(TestAtom::Text(before[0]->serial()), UndoText(mgr));
  EXPECT_EQ(TestAtom::Text(c), RedoText(mgr));
  mgr.Redo();
  EXPECT_EQ(V({a, b, c}), j.Calls(1));
  EXPECT_EQ(0, mgr.CanRedo());
  EXPECT_EQ(TestAtom::Text(c), UndoText(mgr));
  mgr.Undo();
  mgr.Undo();
  EXPECT_EQ(V({c, b, a, c, b, a, before[0]->serial()}), j.Calls(0));
  EXPECT_EQ(0, mgr.CanUndo());
  mgr.Undo();  // nothing left: no call
  EXPECT_EQ(7u, j.Calls(0).size());
}

TEST_F(UndoMgr, UndoNotifiesTwiceRedoOnceNothingToDoNotAtAll) {
  CUndoMgr mgr;
  Recorder::Attach(mgr);
  mgr.Undo();
  mgr.Redo();
  EXPECT_EQ(0, rec().setDirty);
  AddSet(mgr, 1);
  rec().Reset();
  mgr.Undo();
  EXPECT_EQ(2, rec().setDirty);
  mgr.Redo();
  EXPECT_EQ(3, rec().setDirty);
  mgr.Redo();
  EXPECT_EQ(3, rec().setDirty);
}

TEST_F(UndoMgr, AtomsRunWithRecordingDisabled) {
  CUndoMgr mgr;
  TestAtom* a = AddSet(mgr, 1)[0];
  a->mgr = &mgr;
  static int seenCount;
  static bool added;
  seenCount = -99;
  added = true;
  a->hook = [](TestAtom* self, int) {
    seenCount = self->mgr->GetDisableUndoCount();
    CUndoAtom* stray = self->Clone();
    self->mgr->AddUndoNode(stray);
    added = self->mgr->AtomInList(stray);
    if (!added) delete stray;
  };
  mgr.Undo();
  EXPECT_EQ(1, seenCount);
  EXPECT_FALSE(added);
  EXPECT_EQ(0, mgr.GetDisableUndoCount());
  seenCount = -99;
  mgr.Redo();
  EXPECT_EQ(1, seenCount);
  EXPECT_FALSE(added);
  EXPECT_EQ(0, mgr.GetDisableUndoCount());
  EXPECT_EQ(a, mgr.GetLastNode());
}

TEST_F(UndoMgr, AtomClearingTheHistoryDuringUndoIsSurvived) {
  CUndoMgr mgr;
  auto set = AddSet(mgr, 3);
  set[1]->mgr = &mgr;
  set[1]->hook = [](TestAtom* self, int) { self->mgr->ClearUndoHistory(); };
  mgr.Undo();  // the second atom deletes itself and the rest mid-loop
  EXPECT_EQ(0, j.live);
  EXPECT_EQ(0, mgr.CanUndo());
  EXPECT_EQ(0, mgr.CanRedo());
}

// --- Dirty state against the save point --------------------------------------------

TEST_F(UndoMgr, SaveThenUndoIsDirtyRedoIsClean) {
  CUndoMgr mgr;
  Recorder::Attach(mgr);
  for (int i = 0; i < 3; ++i) AddSet(mgr, 1);
  mgr.OnSave();
  EXPECT_EQ(0, mgr.Dirty());
  rec().Reset();
  mgr.Undo();
  EXPECT_EQ(1, mgr.Dirty());
  EXPECT_EQ(V({1}), rec().dirty);
  mgr.Redo();
  EXPECT_EQ(0, mgr.Dirty());
  EXPECT_EQ(V({1, 0}), rec().dirty);
}

TEST_F(UndoMgr, UndoingEverythingCountsAsCleanEvenAfterALaterSave) {
  CUndoMgr mgr;
  Recorder::Attach(mgr);
  AddSet(mgr, 2);
  mgr.OnSave();  // saved position 1
  rec().Reset();
  mgr.Undo();  // straight to -1: raised by the update, then cleared
  EXPECT_EQ(0, mgr.Dirty());
  EXPECT_EQ(V({1, 0}), rec().dirty);
  EXPECT_EQ(2, rec().setDirty);
  mgr.Redo();  // back onto the saved position
  EXPECT_EQ(0, mgr.Dirty());
  EXPECT_EQ(V({1, 0}), rec().dirty);
}

TEST_F(UndoMgr, RedoFromAllUndoneIsDirtyWhenSavedLater) {
  CUndoMgr mgr;
  Recorder::Attach(mgr);
  AddSet(mgr, 1);
  AddSet(mgr, 1);
  AddSet(mgr, 1);
  mgr.OnSave();  // saved position 2
  mgr.Undo();
  mgr.Undo();
  mgr.Undo();
  EXPECT_EQ(0, mgr.Dirty());
  rec().Reset();
  mgr.Redo();  // position 0, saved 2
  EXPECT_EQ(1, mgr.Dirty());
  EXPECT_EQ(V({1}), rec().dirty);
  EXPECT_EQ(1, rec().setDirty);
}

TEST_F(UndoMgr, NeverSavedUndoAllIsCleanRedoIsDirty) {
  CUndoMgr mgr;
  Recorder::Attach(mgr);
  AddSet(mgr, 1);
  rec().Reset();
  mgr.Undo();  // position -1 equals the initial saved position -1
  EXPECT_EQ(0, mgr.Dirty());
  EXPECT_EQ(V({0}), rec().dirty);
  mgr.Redo();
  EXPECT_EQ(1, mgr.Dirty());
  EXPECT_EQ(V({0, 1}), rec().dirty);
}

TEST_F(UndoMgr, SetDirtyReportsChangesForceSetDirtyReportsAlways) {
  CUndoMgr mgr;
  int user = 0;
  Recorder::Attach(mgr, &user);
  mgr.SetDirty(0);
  EXPECT_TRUE(rec().dirty.empty());
  EXPECT_EQ(1, rec().setDirty);
  mgr.SetDirty(1);
  mgr.SetDirty(1);
  EXPECT_EQ(V({1}), rec().dirty);
  EXPECT_EQ(3, rec().setDirty);
  mgr.ForceSetDirty(1);
  mgr.ForceSetDirty(0);
  EXPECT_EQ(V({1, 1, 0}), rec().dirty);
  EXPECT_EQ(5, rec().setDirty);
  for (void* u : rec().users) EXPECT_EQ(&user, u);
  EXPECT_EQ(0, mgr.Dirty());
}

TEST_F(UndoMgr, CallbacksCanBeSwitchedOff) {
  CUndoMgr mgr;
  Recorder::Attach(mgr);
  mgr.SetDirtyStatusCallback(nullptr, nullptr);
  mgr.SetSetDirtyCallback(nullptr);
  AddSet(mgr, 1);
  mgr.Undo();
  mgr.Redo();
  mgr.OnSave();
  EXPECT_TRUE(rec().dirty.empty());
  EXPECT_EQ(0, rec().setDirty);
}

// --- Clearing, destruction, truncation -------------------------------------------------

TEST_F(UndoMgr, ClearedHistoryTakesPositionZeroAsTheSavePoint) {
  CUndoMgr mgr;
  Recorder::Attach(mgr);
  AddSet(mgr, 2);
  rec().Reset();
  mgr.ClearUndoHistory();
  EXPECT_EQ(0, j.live);
  EXPECT_EQ(V({0}), rec().dirty);
  EXPECT_EQ(1, rec().setDirty);
  EXPECT_EQ(0, mgr.CanUndo());
  EXPECT_EQ(0, mgr.CanRedo());
  EXPECT_EQ(nullptr, mgr.GetLastNode());
  // Saved position 0 (a fresh manager has -1): redoing onto index 0 is clean.
  AddSet(mgr, 1);
  mgr.Undo();
  mgr.Redo();
  EXPECT_EQ(0, mgr.Dirty());
}

TEST_F(UndoMgr, DestroyingWhileDirtyReportsCleanAndDeletesEveryAtom) {
  {
    CUndoMgr mgr;
    Recorder::Attach(mgr);
    AddSet(mgr, 2);
    AddSet(mgr, 1);
    mgr.Undo();  // an undone atom goes too
    rec().Reset();
  }
  EXPECT_EQ(V({0}), rec().dirty);
  EXPECT_EQ(1, rec().setDirty);
  EXPECT_EQ(0, j.live);
  EXPECT_EQ(3u, j.destroyed.size());

  rec().Reset();
  {
    CUndoMgr clean;
    Recorder::Attach(clean);
  }
  EXPECT_TRUE(rec().dirty.empty());
  EXPECT_EQ(1, rec().setDirty);
}

TEST_F(UndoMgr, DeleteAllNodesAfterNodeCutsAndJoinsItsSet) {
  CUndoMgr mgr;
  Recorder::Attach(mgr);
  auto first = AddSet(mgr, 2);
  auto second = AddSet(mgr, 2);
  EXPECT_EQ(2, mgr.CurrentUndoID());
  const std::vector<int> cut = {second[1]->serial(), second[0]->serial(), first[1]->serial()};
  rec().Reset();
  mgr.DeleteAllNodesAfterNode(first[0]);
  EXPECT_EQ(cut, j.destroyed);
  EXPECT_EQ(first[0], mgr.GetLastNode());
  EXPECT_EQ(1, mgr.CurrentUndoID());
  EXPECT_TRUE(rec().dirty.empty());
  EXPECT_EQ(0, rec().setDirty);
  EXPECT_EQ(0, mgr.CanRedo());
  // The next atom joins the cut set, so one Undo takes both.
  TestAtom* joined = Atom();
  mgr.AddUndoNode(joined);
  mgr.Undo();
  EXPECT_EQ(V({joined->serial(), first[0]->serial()}), j.Calls(0));
}

TEST_F(UndoMgr, DeleteAllNodesAfterNodeMovesPositionWithoutRedoing) {
  CUndoMgr mgr;
  AddSet(mgr, 1);
  auto second = AddSet(mgr, 1);
  AddSet(mgr, 1);
  mgr.Undo();
  mgr.Undo();
  mgr.DeleteAllNodesAfterNode(second[0]);
  EXPECT_TRUE(j.Calls(1).empty());
  EXPECT_EQ(TestAtom::Text(second[0]->serial()), UndoText(mgr));
  EXPECT_EQ(0, mgr.CanRedo());
}

TEST_F(UndoMgr, DeleteAllNodesAfterForeignOrNullAtomChangesNothing) {
  CUndoMgr mgr;
  TestAtom foreign(&j);
  mgr.DeleteAllNodesAfterNode(&foreign);  // empty list
  auto set = AddSet(mgr, 2);
  mgr.Undo();
  mgr.DeleteAllNodesAfterNode(&foreign);
  mgr.DeleteAllNodesAfterNode(nullptr);
  EXPECT_TRUE(j.destroyed.empty());
  EXPECT_EQ(1, mgr.CurrentUndoID());
  EXPECT_EQ(1, mgr.CanRedo());
  EXPECT_EQ(0, mgr.CanUndo());
  EXPECT_EQ(set[1], mgr.GetLastNode());
}

// --- Text getters ---------------------------------------------------------------------

TEST_F(UndoMgr, UndoTextFallbackZeroesTheWholeBuffer) {
  CUndoMgr mgr;
  wchar_t buf[12];
  std::memset(buf, 0xCC, sizeof buf);
  mgr.GetCurrentUndoText(buf, 10);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(0, buf[i]) << i;
  EXPECT_EQ(0xCCCC, buf[10]);
}

TEST_F(UndoMgr, RedoTextFallbackZeroesOnlySizeBytes) {
  CUndoMgr mgr;
  AddSet(mgr, 1);  // nothing to redo
  wchar_t buf[12];
  std::memset(buf, 0xCC, sizeof buf);
  mgr.GetCurrentRedoText(buf, 10);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(0, buf[i]) << i;
  for (int i = 5; i < 12; ++i) EXPECT_EQ(0xCCCC, buf[i]) << i;
  EXPECT_TRUE(j.textSizes.empty());
}

TEST_F(UndoMgr, RedoTextFallbackClearsAWholeCharacterOfAOneCharacterBuffer) {
  CUndoMgr mgr;
  wchar_t buf[2] = {0xCCCC, 0xCCCC};
  mgr.GetCurrentRedoText(buf, 1);
  EXPECT_EQ(0, buf[0]);
  EXPECT_EQ(0xCCCC, buf[1]);
}

TEST_F(UndoMgr, TextGettersLeaveNullAndZeroSizedBuffersAlone) {
  CUndoMgr mgr;
  AddSet(mgr, 1);
  AddSet(mgr, 1);
  mgr.Undo();  // something to undo and to redo
  mgr.GetCurrentUndoText(nullptr, 10);
  mgr.GetCurrentRedoText(nullptr, 10);
  wchar_t buf[2] = {0xCCCC, 0xCCCC};
  mgr.GetCurrentUndoText(buf, 0);
  mgr.GetCurrentRedoText(buf, 0);
  EXPECT_EQ(0xCCCC, buf[0]);
  EXPECT_TRUE(j.textSizes.empty());
  CUndoMgr empty;
  empty.GetCurrentUndoText(nullptr, 10);
  empty.GetCurrentRedoText(nullptr, 10);
  empty.GetCurrentUndoText(buf, 0);
  empty.GetCurrentRedoText(buf, 0);
  EXPECT_EQ(0xCCCC, buf[0]);
}

TEST_F(UndoMgr, TextGettersPassTheCallersSizeToTheAtom) {
  CUndoMgr mgr;
  AddSet(mgr, 1);
  AddSet(mgr, 1);
  mgr.Undo();
  wchar_t buf[4];
  mgr.GetCurrentUndoText(buf, 4);
  EXPECT_EQ(std::wstring(L"ato"), buf);
  mgr.GetCurrentRedoText(buf, 1);
  EXPECT_EQ(0, buf[0]);
  EXPECT_EQ(std::vector<unsigned int>({4u, 1u}), j.textSizes);
}

}  // namespace
