// A long randomized editing session against a plain reference model of the
// history (a vector of serials and set IDs, a position, a save point and the
// dirty flag). After every step the manager must agree with the model on what
// was undone or redone, which atoms were deleted, every callback it fired, and
// what the host can see; by the end every atom is deleted exactly once.
#include <zorutils/undo/UndoMgr.h>

#include "UndoTestAtoms.h"

#include "../support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

using undotest::Journal;
using undotest::Recorder;
using undotest::TestAtom;

namespace {

// The reference: what a host expects of the history, written out plainly.
struct Model {
  struct Entry {
    TestAtom* atom;
    int serial;
    int set;
  };
  std::vector<Entry> list;
  int pos = -1;
  int saved = -1;
  int dirty = 0;
  int currentId = 0;
  int maxUndos;
  int disable = 0;

  // Expectations of the step being checked.
  std::vector<std::pair<int, int>> calls;
  std::vector<int> destroyed;
  std::vector<int> dirtyCalls;
  int notifies = 0;

  explicit Model(int limit) : maxUndos(limit) {}

  int count() const { return static_cast<int>(list.size()); }
  void Raise() { dirty = 1; dirtyCalls.push_back(1); }
  void Clear() { dirty = 0; dirtyCalls.push_back(0); }
  void Update() {
    if (saved != pos) {
      if (dirty != 1) Raise();
    } else if (dirty) {
      Clear();
    }
    ++notifies;
  }
  void Drop(int from) {
    while (count() > std::max(from, 0)) {
      destroyed.push_back(list.back().serial);
      list.pop_back();
    }
  }

  void Add(TestAtom* atom) {
    Drop(pos + 1);
    list.push_back({atom, atom->serial(), currentId});
    pos = count() - 1;
    if (count() > maxUndos) {
      // Whole oldest sets go while too many atoms are left; never the newest.
      size_t k = 0;
      while (list[k].set != list[pos].set) {
        int set = list[k].set;
        while (list[k].set == set) destroyed.push_back(list[k++].serial);
        if (count() - static_cast<int>(k) <= maxUndos) break;
      }
      list.erase(list.begin(), list.begin() + static_cast<long>(k));
      pos = count() - 1;
    }
    if (count() == 1 || dirty != 1) Raise();
    ++notifies;
  }
  void Undo() {
    if (pos < 0 || pos >= count()) return;
    int set = list[pos].set;
    while (pos >= 0 && list[pos].set == set) calls.emplace_back(list[pos--].serial, 0);
    Update();
    if (saved != pos && pos >= 0) {
      if (dirty != 1) Raise();
    } else if (dirty) {
      Clear();
    }
    ++notifies;
  }
  void Redo() {
    if (pos + 1 >= count()) return;
    int set = list[pos + 1].set;
    while (pos + 1 < count() && list[pos + 1].set == set) calls.emplace_back(list[++pos].serial, 1);
    Update();
  }
  void Save() {
    saved = pos;
    if (dirty) Clear();
    ++notifies;
  }
  void ClearHistory() {
    for (const Entry& e : list) destroyed.push_back(e.serial);
    list.clear();
    pos = 0;
    saved = 0;
    if (dirty) Clear();
    ++notifies;
  }
  void DeleteAfter(int index) {
    pos = index;
    currentId = list[index].set;
    Drop(index + 1);
  }
  // The serial whose text Undo / Redo would show, or 0 for none.
  int UndoTextSerial() const { return count() > 0 && pos >= 0 ? list[pos].serial : 0; }
  int RedoTextSerial() const {
    if (pos + 1 >= count()) return 0;
    int last = pos + 1;
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

  int created = 0;
  {
    CUndoMgr mgr(12);
    Model model(12);
    Recorder::Attach(mgr, &model);
    std::vector<TestAtom*> heldByUs;  // atoms handed over while disabled

    for (int step = 0; step < steps; ++step) {
      SCOPED_TRACE("step " + std::to_string(step));
      model.calls.clear();
      model.destroyed.clear();
      model.dirtyCalls.clear();
      model.notifies = 0;
      j.calls.clear();
      j.destroyed.clear();
      rec.Reset();

      int op = roll(100);
      if (op < 30) {  // a command of one to three atoms, most in a new set
        if (roll(3) != 0) {
          mgr.NextUndoSet();
          ++model.currentId;
        }
        int n = 1 + roll(3);
        for (int i = 0; i < n; ++i) {
          if (model.disable) {
            TestAtom* a = new TestAtom(&j);
            ++created;
            mgr.AddUndoNode(a);
            heldByUs.push_back(a);
          } else if (roll(4) == 0) {
            TestAtom mine(&j);
            mgr.AddUndoNode(mine);
            TestAtom* copy = static_cast<TestAtom*>(mgr.GetLastNode());
            ASSERT_NE(&mine, copy);
            model.Add(copy);
            ++model.notifies;  // the by-reference add's own notification
            model.destroyed.push_back(mine.serial());
            created += 2;
          } else {
            TestAtom* a = new TestAtom(&j);
            ++created;
            mgr.AddUndoNode(a);
            model.Add(a);
          }
        }
      } else if (op < 55) {
        mgr.Undo();
        model.Undo();
      } else if (op < 75) {
        mgr.Redo();
        model.Redo();
      } else if (op < 82) {
        mgr.OnSave();
        model.Save();
      } else if (op < 86) {
        int limit = roll(20) == 0 ? roll(3) : 2 + roll(30);
        mgr.SetMaxUndos(limit);
        model.maxUndos = limit;
      } else if (op < 90) {  // recording off or back on, always paired
        if (model.disable) {
          mgr.EnableNewUndos();
          model.disable = 0;
          for (TestAtom* a : heldByUs) {
            model.destroyed.push_back(a->serial());
            delete a;
          }
          heldByUs.clear();
        } else {
          mgr.DisableNewUndos();
          model.disable = 1;
        }
      } else if (op < 94) {
        if (model.count() > 0 && roll(5) != 0) {
          int index = roll(model.count());
          mgr.DeleteAllNodesAfterNode(model.list[index].atom);
          model.DeleteAfter(index);
        } else {
          TestAtom stranger(&j);
          ++created;
          mgr.DeleteAllNodesAfterNode(&stranger);
          model.destroyed.push_back(stranger.serial());
        }
      } else if (op < 98) {
        int value = roll(2);
        if (roll(2)) {
          mgr.SetDirty(value);
          if (value != model.dirty) {
            model.dirty = value;
            model.dirtyCalls.push_back(value);
          }
        } else {
          mgr.ForceSetDirty(value);
          model.dirty = value;
          model.dirtyCalls.push_back(value);
        }
        ++model.notifies;
      } else if (roll(4) == 0) {
        mgr.ClearUndoHistory();
        model.ClearHistory();
      } else {
        mgr.NextUndoSet();
        ++model.currentId;
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
      for (const Model::Entry& e : model.list) {
        ASSERT_TRUE(mgr.AtomInList(e.atom));
        ASSERT_EQ(e.set, e.atom->m_nUndoSetID);
      }
      // The invariants, on the model the manager has just matched: the
      // position is in range and ends its set.
      ASSERT_GE(model.pos, -1);
      ASSERT_LT(model.pos, std::max(model.count(), 1));
      if (model.pos >= 0 && model.pos + 1 < model.count()) {
        ASSERT_NE(model.list[model.pos].set, model.list[model.pos + 1].set);
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
  EXPECT_EQ(created, j.nextSerial - 1);
  for (int serial = 1; serial < j.nextSerial; ++serial) ASSERT_EQ(1, j.DestroyedCount(serial)) << serial;
}

}  // namespace
