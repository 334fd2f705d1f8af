// CUndoMgr, case by case: the fixed edges and the deliberate quirks a host
// relies on. Counts and ownership over long histories are checked step by
// step against a reference model in UndoSessionTest.cpp.
#include "UndoTestAtoms.h"

#include <cstring>

using namespace undotest;

namespace {

using V = std::vector<int>;

class UndoMgr : public ::testing::Test {
protected:
  void SetUp() override {
    Recorder::Get().Reset();
    Recorder::Attach(mgr);
  }
  // Starts a new set of `n` atoms; returns them.
  std::vector<TestAtom*> AddSet(CUndoMgr& mgr, int n) {
    std::vector<TestAtom*> atoms;
    mgr.NextUndoSet();
    for (int i = 0; i < n; ++i) atoms.push_back(new TestAtom(&j)), mgr.AddUndoNode(atoms.back());
    return atoms;
  }
  static Recorder& rec() { return Recorder::Get(); }

  Journal j;    // outlives every manager of a test
  CUndoMgr mgr;  // default limit, both callbacks recorded
};

TEST_F(UndoMgr, DefaultIsEmptyCleanAndKeeps400Atoms) {
  EXPECT_EQ((V{0, 0, 0, 0, 1, 0}), (V{mgr.CanUndo(), mgr.CanRedo(), mgr.Dirty(), mgr.CurrentUndoID(),
                                      mgr.CanAddUndoNodes(), mgr.GetDisableUndoCount()}));
  EXPECT_EQ(nullptr, mgr.GetLastNode());
  std::vector<TestAtom*> atoms;
  for (int i = 0; i < 401; ++i) atoms.push_back(AddSet(mgr, 1)[0]);
  EXPECT_EQ(V{1}, j.destroyed);  // only the oldest, only at the 401st add
  EXPECT_EQ(400, j.live);
  EXPECT_TRUE(mgr.AtomInList(atoms[1]));
}

TEST_F(UndoMgr, LimitNeverDropsTheNewestSetAndZeroOrLessKeepsOnlyIt) {
  CUndoMgr big(3);
  AddSet(big, 1);
  AddSet(big, 5);  // the fourth atom drops the old set; all five stay
  EXPECT_EQ(V{1}, j.destroyed);
  big.Undo();
  EXPECT_EQ((V{6, 5, 4, 3, 2}), j.Calls(0));
  for (int limit : {0, -5}) {
    j.destroyed.clear();
    CUndoMgr tiny(limit);
    int first = AddSet(tiny, 2)[0]->serial();
    TestAtom* last = AddSet(tiny, 1)[0];
    EXPECT_EQ((V{first, first + 1}), j.destroyed) << limit;
    EXPECT_EQ(last, tiny.GetLastNode());
  }
}

TEST_F(UndoMgr, TrimmingLeavesTheSaveIndexUnshifted) {
  // Deliberate: after a trim the save point is an index into the shifted
  // list, so landing on that index reads as clean though the atoms differ.
  CUndoMgr mgr(3);
  for (int i = 0; i < 3; ++i) AddSet(mgr, 1);
  mgr.OnSave();    // saved position 2
  AddSet(mgr, 1);  // trims one: position 2 again
  EXPECT_EQ(1, mgr.Dirty());
  mgr.Undo();
  EXPECT_EQ(1, mgr.Dirty());
  mgr.Redo();
  EXPECT_EQ(0, mgr.Dirty());
}

TEST_F(UndoMgr, FirstAtomReportsDirtyEvenWhenAlreadyDirty) {
  int user = 0;
  Recorder::Attach(mgr, &user);
  mgr.ForceSetDirty(1);
  TestAtom* a = new TestAtom(&j);
  a->m_nUndoSetID = 77;
  mgr.AddUndoNode(a);
  EXPECT_EQ((V{1, 1}), rec().dirty);
  EXPECT_EQ(&user, rec().users.back());
  EXPECT_EQ(0, a->m_nUndoSetID) << "stamped with the current set ID";
  AddSet(mgr, 1);
  EXPECT_EQ((V{1, 1}), rec().dirty);  // already dirty, not the first atom
  EXPECT_EQ(3, rec().setDirty);
}

TEST_F(UndoMgr, AddByReferenceClonesAndNotifiesTwice) {
  TestAtom mine(&j);
  {
    CUndoMgr mgr;
    Recorder::Attach(mgr);
    mgr.AddUndoNode(mine);
    EXPECT_EQ(V{mine.serial()}, j.cloned);
    EXPECT_EQ(V{1}, rec().dirty);
    EXPECT_EQ(2, rec().setDirty);
    EXPECT_FALSE(mgr.AtomInList(&mine));
    EXPECT_NE(nullptr, mgr.GetLastNode());
  }
  EXPECT_EQ(V{mine.serial() + 1}, j.destroyed) << "the manager deletes its copy only";
}

TEST_F(UndoMgr, AtomsNotTakenStayTheCallersAndEnableIsUnchecked) {
  mgr.AddUndoNode(static_cast<CUndoAtom*>(nullptr));
  EXPECT_FALSE(mgr.AtomInList(nullptr));
  mgr.DisableNewUndos();
  TestAtom byRef(&j);
  mgr.AddUndoNode(byRef);
  EXPECT_TRUE(j.cloned.empty()) << "no copy is asked for while disabled";
  EXPECT_EQ(nullptr, mgr.GetLastNode());
  EXPECT_EQ(0, rec().setDirty);
  mgr.EnableNewUndos();
  mgr.EnableNewUndos();  // one Enable too many disables recording again
  EXPECT_EQ(-1, mgr.GetDisableUndoCount());
  EXPECT_EQ(0, mgr.CanAddUndoNodes());
}

TEST_F(UndoMgr, SetIsUndoneNewestFirstRedoneOldestFirstNotifyingTwiceThenOnce) {
  mgr.Undo();
  mgr.Redo();
  EXPECT_EQ(0, rec().setDirty) << "nothing to do: no notification";
  AddSet(mgr, 1);   // serial 1
  AddSet(mgr, 3);   // 2, 3, 4
  rec().Reset();
  mgr.Undo();
  EXPECT_EQ((V{4, 3, 2}), j.Calls(0));
  EXPECT_EQ(2, rec().setDirty);
  EXPECT_EQ(1, mgr.CanUndo());  // stops on the previous set
  mgr.Redo();
  EXPECT_EQ((V{2, 3, 4}), j.Calls(1));
  EXPECT_EQ(3, rec().setDirty);
  mgr.Undo();
  mgr.Undo();
  mgr.Undo();  // nothing left: no call
  EXPECT_EQ((V{4, 3, 2, 4, 3, 2, 1}), j.Calls(0));
}

TEST_F(UndoMgr, AtomsRunWithRecordingDisabledAndMayClearTheHistory) {
  TestAtom* a = AddSet(mgr, 1)[0];
  a->mgr = &mgr;
  a->hook = [](TestAtom* self, int) {
    EXPECT_EQ(1, self->mgr->GetDisableUndoCount());
    CUndoAtom* stray = self->Clone();
    self->mgr->AddUndoNode(stray);
    if (self->mgr->AtomInList(stray)) ADD_FAILURE() << "recorded while running";
    else delete stray;
  };
  mgr.Undo();
  mgr.Redo();
  EXPECT_EQ((V{1}), j.Calls(0));  // the hook ran both ways
  EXPECT_EQ((V{1}), j.Calls(1));
  EXPECT_EQ(0, mgr.GetDisableUndoCount());
  auto set = AddSet(mgr, 3);
  set[1]->mgr = &mgr;
  set[1]->hook = [](TestAtom* self, int) { self->mgr->ClearUndoHistory(); };
  mgr.Undo();  // the middle atom deletes itself and the rest mid-loop
  EXPECT_EQ(0, j.live);
  EXPECT_EQ(0, mgr.CanUndo() + mgr.CanRedo());
}

TEST_F(UndoMgr, UndoingEverythingCountsAsCleanEvenAfterALaterSave) {
  AddSet(mgr, 2);
  mgr.OnSave();  // saved position 1
  rec().Reset();
  mgr.Undo();  // straight to -1: raised by the update, then cleared
  EXPECT_EQ((V{1, 0}), rec().dirty);
  EXPECT_EQ(2, rec().setDirty);
  mgr.Redo();  // back onto the saved position
  EXPECT_EQ((V{1, 0}), rec().dirty);
  AddSet(mgr, 1);
  mgr.OnSave();  // saved position 2: redoing one set from all-undone is dirty
  mgr.Undo();
  mgr.Undo();
  EXPECT_EQ(0, mgr.Dirty());
  rec().Reset();
  mgr.Redo();
  EXPECT_EQ(V{1}, rec().dirty);
  EXPECT_EQ(1, rec().setDirty);
}

TEST_F(UndoMgr, ClearedHistoryTakesPositionZeroAsTheSavePoint) {
  AddSet(mgr, 2);
  rec().Reset();
  mgr.ClearUndoHistory();
  EXPECT_EQ(0, j.live);
  EXPECT_EQ(V{0}, rec().dirty);
  EXPECT_EQ(1, rec().setDirty);
  EXPECT_EQ(nullptr, mgr.GetLastNode());
  AddSet(mgr, 1);  // saved 0 (a fresh manager has -1): redoing onto 0 is clean
  mgr.Undo();
  mgr.Redo();
  EXPECT_EQ(0, mgr.Dirty());
}

TEST_F(UndoMgr, DestroyingWhileDirtyReportsCleanAndDeletesEveryAtom) {
  for (bool dirty : {true, false}) {
    {
      CUndoMgr mgr;
      Recorder::Attach(mgr);
      if (dirty) AddSet(mgr, 2), AddSet(mgr, 1), mgr.Undo();  // an undone atom goes too
      rec().Reset();
    }
    EXPECT_EQ(dirty ? V{0} : V{}, rec().dirty);
    EXPECT_EQ(1, rec().setDirty);
  }
  EXPECT_EQ(0, j.live);
  EXPECT_EQ(3u, j.destroyed.size());
}

TEST_F(UndoMgr, CallbacksCanBeSwitchedOff) {
  mgr.SetDirtyStatusCallback(nullptr, nullptr);
  mgr.SetSetDirtyCallback(nullptr);
  AddSet(mgr, 1);
  mgr.Undo();
  mgr.Redo();
  mgr.ForceSetDirty(1);
  mgr.OnSave();
  EXPECT_TRUE(rec().dirty.empty());
  EXPECT_EQ(0, rec().setDirty);
}

TEST_F(UndoMgr, DeleteAllNodesAfterNodeMovesWithoutRedoingAndJoinsItsSet) {
  TestAtom* first = AddSet(mgr, 1)[0];  // set 1, serial 1
  AddSet(mgr, 2);                       // set 2, serials 2 and 3
  mgr.Undo();
  mgr.Undo();  // nothing done
  mgr.DeleteAllNodesAfterNode(nullptr);
  mgr.NextUndoSet();
  mgr.DeleteAllNodesAfterNode(first);  // forward onto `first`, set 2 deleted
  EXPECT_EQ((V{3, 2}), j.destroyed);
  EXPECT_TRUE(j.Calls(1).empty()) << "moving the position never redoes";
  EXPECT_EQ(1, mgr.CanUndo());
  EXPECT_EQ(1, mgr.CurrentUndoID());
  TestAtom* joined = new TestAtom(&j);  // joins the cut set: one Undo takes both
  mgr.AddUndoNode(joined);
  mgr.Undo();
  EXPECT_EQ((V{3, 2, 1, joined->serial(), 1}), j.Calls(0));
}

TEST_F(UndoMgr, TextFallbacksZeroTheWholeUndoBufferButOnlySizeBytesOfTheRedoBuffer) {
  AddSet(mgr, 1);
  mgr.Undo();  // nothing to undo, then nothing to redo
  wchar_t buf[12];
  std::memset(buf, 0xCC, sizeof buf);
  mgr.GetCurrentUndoText(buf, 10);
  for (int i = 0; i < 11; ++i) EXPECT_EQ(i < 10 ? 0 : 0xCCCC, buf[i]) << i;
  mgr.Redo();
  std::memset(buf, 0xCC, sizeof buf);
  mgr.GetCurrentRedoText(buf, 10);
  for (int i = 0; i < 12; ++i) EXPECT_EQ(i < 5 ? 0 : 0xCCCC, buf[i]) << i;
  buf[0] = buf[1] = 0xCCCC;
  mgr.GetCurrentRedoText(buf, 1);  // one character: still reads as empty
  EXPECT_EQ(0, buf[0]);
  EXPECT_EQ(0xCCCC, buf[1]);
  EXPECT_TRUE(j.textSizes.empty());
}

TEST_F(UndoMgr, TextGettersPassTheSizeAndLeaveNullOrEmptyBuffersAlone) {
  CUndoMgr empty;
  AddSet(mgr, 1);
  AddSet(mgr, 1);
  mgr.Undo();  // something to undo and to redo
  wchar_t buf[4] = {0xCCCC, 0xCCCC};
  for (CUndoMgr* m : {&mgr, &empty}) {
    m->GetCurrentUndoText(nullptr, 10), m->GetCurrentRedoText(nullptr, 10);
    m->GetCurrentUndoText(buf, 0), m->GetCurrentRedoText(buf, 0);
  }
  EXPECT_EQ(0xCCCC, buf[0]);
  EXPECT_TRUE(j.textSizes.empty());
  mgr.GetCurrentUndoText(buf, 4);
  EXPECT_EQ(std::wstring(L"ato"), buf);
  mgr.GetCurrentRedoText(buf, 1);
  EXPECT_EQ(0, buf[0]);
  EXPECT_EQ((std::vector<unsigned int>{4u, 1u}), j.textSizes);
}

}  // namespace
