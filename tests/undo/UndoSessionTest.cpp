// A long randomized editing session against a plain reference model of the
// history. After every step the manager must agree with the model on what was
// undone or redone, which atoms were deleted, every callback it fired, and
// what the host can see; by the end every atom is deleted exactly once.
#include "UndoTestAtoms.h"

#include <random>

using namespace undotest;

namespace {

// The reference: what a host expects of the history, written out plainly.
struct Model {
  struct Entry {
    TestAtom* atom;
    int serial, set;
  };
  std::vector<Entry> list;
  int pos = -1, saved = -1, dirty = 0, currentId = 0, maxUndos = 12, disable = 0;
  // Expectations of the step being checked.
  std::vector<std::pair<int, int>> calls;
  std::vector<int> destroyed, dirtyCalls;
  int notifies = 0;

  void Begin() { calls.clear(), destroyed.clear(), dirtyCalls.clear(), notifies = 0; }
  int count() const { return static_cast<int>(list.size()); }
  void Report(int d) { dirty = d, dirtyCalls.push_back(d); }
  // Raises the flag (unless already raised) or clears it (if set); notifies.
  void Settle(bool raise) {
    if (raise ? dirty != 1 : dirty != 0) Report(raise ? 1 : 0);
    ++notifies;
  }
  void Drop(int from) {
    for (; count() > std::max(from, 0); list.pop_back()) destroyed.push_back(list.back().serial);
  }
  void Add(TestAtom* atom) {
    Drop(pos + 1);
    list.push_back({atom, atom->serial(), currentId});
    pos = count() - 1;
    if (count() > maxUndos) {  // whole oldest sets go while too many are left; never the newest
      size_t k = 0;
      while (list[k].set != list[pos].set) {
        for (int set = list[k].set; list[k].set == set;) destroyed.push_back(list[k++].serial);
        if (count() - static_cast<int>(k) <= maxUndos) break;
      }
      list.erase(list.begin(), list.begin() + static_cast<long>(k));
      pos = count() - 1;
    }
    if (count() == 1 || dirty != 1) Report(1);
    ++notifies;
  }
  void Undo() {
    if (pos < 0 || pos >= count()) return;
    for (int set = list[pos].set; pos >= 0 && list[pos].set == set;) calls.emplace_back(list[pos--].serial, 0);
    Settle(saved != pos);
    Settle(saved != pos && pos >= 0);
  }
  void Redo() {
    if (pos + 1 >= count()) return;
    for (int set = list[pos + 1].set; pos + 1 < count() && list[pos + 1].set == set;)
      calls.emplace_back(list[++pos].serial, 1);
    Settle(saved != pos);
  }
  void ClearHistory() {
    for (const Entry& e : list) destroyed.push_back(e.serial);
    list.clear();
    pos = saved = 0;
    Settle(false);
  }
  // The serial whose text Undo / Redo would show, or 0 for none.
  int UndoTextSerial() const { return count() > 0 && pos >= 0 ? list[pos].serial : 0; }
  int RedoTextSerial() const {
    int last = pos + 1;
    if (last >= count()) return 0;
    while (last + 1 < count() && list[last + 1].set == list[pos + 1].set) ++last;
    return list[last].serial;
  }
};

std::wstring TextOf(int serial) { return serial ? TestAtom::Text(serial) : std::wstring(); }

TEST(UndoSession, RandomSessionMatchesTheReferenceModel) {
  const int steps = zortest::HeapChecked() ? 4000 : 50000;
  Recorder& rec = Recorder::Get();
  rec.Reset();
  Journal j;
  std::mt19937 rng(20261123);
  auto roll = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };
  {
    CUndoMgr mgr(12);
    Model model;
    Recorder::Attach(mgr, &model);
    std::vector<TestAtom*> heldByUs;  // atoms handed over while disabled
    for (int step = 0; step < steps; ++step) {
      SCOPED_TRACE("step " + std::to_string(step));
      model.Begin(), j.calls.clear(), j.destroyed.clear(), rec.Reset();

      int op = roll(100);
      if (op < 30) {  // a command of one to three atoms, most in a new set
        if (roll(3) != 0) mgr.NextUndoSet(), ++model.currentId;
        for (int i = 0, n = 1 + roll(3); i < n; ++i) {
          if (model.disable) {
            heldByUs.push_back(new TestAtom(&j));
            mgr.AddUndoNode(heldByUs.back());
          } else if (roll(4) == 0) {  // by reference: the manager keeps a copy
            TestAtom mine(&j);
            mgr.AddUndoNode(mine);
            ASSERT_NE(&mine, mgr.GetLastNode());
            model.Add(static_cast<TestAtom*>(mgr.GetLastNode()));
            ++model.notifies;  // the by-reference add's own notification
            model.destroyed.push_back(mine.serial());
          } else {
            TestAtom* a = new TestAtom(&j);
            mgr.AddUndoNode(a);
            model.Add(a);
          }
        }
      } else if (op < 55) {
        mgr.Undo(), model.Undo();
      } else if (op < 75) {
        mgr.Redo(), model.Redo();
      } else if (op < 82) {
        mgr.OnSave(), model.saved = model.pos, model.Settle(false);
      } else if (op < 86) {
        model.maxUndos = roll(20) == 0 ? roll(3) : 2 + roll(30);
        mgr.SetMaxUndos(model.maxUndos);
      } else if (op < 90) {  // recording off or back on, always paired
        model.disable ? mgr.EnableNewUndos() : mgr.DisableNewUndos();
        model.disable = !model.disable;
        for (TestAtom* a : heldByUs) model.destroyed.push_back(a->serial()), delete a;
        heldByUs.clear();
      } else if (op < 94) {
        if (model.count() > 0 && roll(5) != 0) {
          int index = roll(model.count());
          mgr.DeleteAllNodesAfterNode(model.list[static_cast<size_t>(index)].atom);
          model.pos = index, model.currentId = model.list[static_cast<size_t>(index)].set;
          model.Drop(index + 1);
        } else {  // an atom not in the list: nothing happens
          TestAtom stranger(&j);
          mgr.DeleteAllNodesAfterNode(&stranger);
          model.destroyed.push_back(stranger.serial());
        }
      } else if (op < 98) {
        int value = roll(2);
        bool force = roll(2) == 0;
        force ? mgr.ForceSetDirty(value) : mgr.SetDirty(value);
        if (force || value != model.dirty) model.Report(value);
        ++model.notifies;
      } else if (roll(4) == 0) {
        mgr.ClearUndoHistory(), model.ClearHistory();
      } else {
        mgr.NextUndoSet(), ++model.currentId;
      }

      // What happened in this step.
      ASSERT_EQ(model.calls, j.calls);
      ASSERT_EQ(model.destroyed, j.destroyed);
      ASSERT_EQ(model.dirtyCalls, rec.dirty);
      for (void* u : rec.users) ASSERT_EQ(&model, u);
      ASSERT_EQ(model.notifies, rec.setDirty);
      // What the host can see now.
      ASSERT_EQ(model.dirty, mgr.Dirty());
      ASSERT_EQ(model.count() > 0 && model.pos >= 0 ? 1 : 0, mgr.CanUndo());
      ASSERT_EQ(model.pos + 1 < model.count() ? 1 : 0, mgr.CanRedo());
      ASSERT_EQ(model.currentId, mgr.CurrentUndoID());
      ASSERT_EQ(model.disable, mgr.GetDisableUndoCount());
      ASSERT_EQ(model.count() ? model.list.back().atom : nullptr, mgr.GetLastNode());
      ASSERT_EQ(model.count() + static_cast<int>(heldByUs.size()), j.live);
      for (const Model::Entry& e : model.list) ASSERT_TRUE(mgr.AtomInList(e.atom) && e.set == e.atom->m_nUndoSetID);
      // The invariants, on the model the manager has just matched: the
      // position is in range and ends its set.
      ASSERT_GE(model.pos, -1);
      ASSERT_LT(model.pos, std::max(model.count(), 1));
      if (model.pos >= 0 && model.pos + 1 < model.count()) {
        ASSERT_NE(model.list[static_cast<size_t>(model.pos)].set, model.list[static_cast<size_t>(model.pos) + 1].set);
      }
      wchar_t buf[32];
      mgr.GetCurrentUndoText(buf, 32);
      ASSERT_EQ(TextOf(model.UndoTextSerial()), std::wstring(buf));
      mgr.GetCurrentRedoText(buf, 32);
      ASSERT_EQ(TextOf(model.RedoTextSerial()), std::wstring(buf));
    }
    if (model.disable) mgr.EnableNewUndos();
    for (TestAtom* a : heldByUs) delete a;
  }
  // Every atom ever made was deleted exactly once, by whoever owned it.
  EXPECT_EQ(0, j.live);
  for (int serial = 1; serial < j.nextSerial; ++serial) ASSERT_EQ(1, j.destroyCount[serial]) << serial;
}

}  // namespace
