// CUndoMgr: short scripts that pin the order and number of every call a host
// sees (the deliberate quirks each by name), recording on and off, and the
// texts offered for the Undo and Redo menu items.
#include "tests/support/TestSupport.h"

#include <zorutils/undo/UndoMgr.h>

#include <functional>
#include <map>

namespace {

using V = std::vector<int>;

// Everything the atoms and the two callbacks saw, in order.
struct Journal {
  int nextSerial = 1, live = 0, notifies = 0;
  std::vector<std::pair<int, int>> calls;  // (serial, redo flag) per UndoRedo
  V destroyed, dirty;
  std::map<int, int> destroyCount;
  void Clear() { calls.clear(), destroyed.clear(), dirty.clear(), notifies = 0; }
};
Journal* g_journal;  // the set-dirty callback has no user pointer

class Atom : public CUndoAtom {
public:
  explicit Atom(Journal* j) : serial(j->nextSerial++), m_j(j) { ++j->live; }
  ~Atom() override {
    if (m_j->destroyCount[serial]++) ADD_FAILURE() << "atom " << serial << " deleted twice";
    m_j->destroyed.push_back(serial), --m_j->live;
  }
  CUndoAtom* Clone() override { return new Atom(m_j); }
  void UndoRedo(int redo) override {
    m_j->calls.emplace_back(serial, redo);
    if (hook) hook(redo);
  }
  void GetUndoText(wchar_t* buffer, unsigned int size) override {
    if (size == 0) return ADD_FAILURE() << "asked for a text of no characters";
    _snwprintf(buffer, size, L"atom %d", serial);
    buffer[size - 1] = 0;
  }
  const int serial;
  std::function<void(int)> hook;

private:
  Journal* m_j;
};

void Attach(CUndoMgr& mgr, Journal& j) {
  g_journal = &j;
  mgr.SetDirtyStatusCallback([](int d, void* user) { static_cast<Journal*>(user)->dirty.push_back(d); }, &j);
  mgr.SetSetDirtyCallback([] { ++g_journal->notifies; });
}

// Each a short script on a fresh manager. n: new set of one atom, +: atom
// into the current set, r: new set by reference, u: undo, R: redo, s: save,
// c: clear the history, f: force dirty, d: delete all after the first atom,
// x: destroy the manager, |: forget what was seen so far.
struct Quirk {
  const char* name;
  int maxUndos;
  const char* script;
  V dirty;       // dirty-status calls after the last '|'
  int notifies;  // set-dirty calls after the last '|'
  V calls;       // serials undone (negative: redone) after the last '|'
  V destroyed;   // after the last '|'
};

const Quirk kQuirks[] = {
    {"FirstAtomReportsDirtyEvenWhenAlreadyDirty", 9, "f|nn", {1}, 2, {}, {}},
    {"ByReferenceAddNotifiesTwice", 9, "|r", {1}, 2, {}, {1}},
    {"UndoNotifiesTwiceRedoOnceSetsNewestFirstThenOldestFirst", 9, "n++|uR", {0, 1}, 3, {3, 2, 1, -1, -2, -3}, {}},
    {"UndoingEverythingIsCleanEvenAfterALaterSave", 9, "nns|uu", {1, 0}, 4, {2, 1}, {}},
    {"TrimmingLeavesTheSaveIndexUnshifted", 3, "nnns|nuRR", {1, 0}, 4, {4, -4}, {1}},
    {"ClearedHistoryTakesPositionZeroAsTheSavePoint", 9, "nnc|nuR", {1, 0}, 4, {3, -3}, {}},
    {"LimitNeverDropsTheNewestSet", 3, "n|n++++uu", {0}, 7, {6, 5, 4, 3, 2}, {1}},
    {"LimitOfZeroKeepsOnlyTheNewestSetAndReportsItsFirstAtom", 0, "n+|n", {1}, 1, {}, {1, 2}},
    {"DestroyingWhileDirtyReportsCleanAndDeletesUndoneAtoms", 9, "n+nu|x", {0}, 1, {}, {1, 2, 3}},
    {"AddAfterUndoDeletesTheUndoneAtoms", 9, "nn+u|n", {}, 1, {}, {3, 2}},
    {"DeleteAllNodesAfterNodeMovesWithoutRedoingAndJoinsItsSet", 9, "n+nuu|d+u", {1, 0}, 3, {4, 1}, {3, 2}},
};

class Quirks : public testing::TestWithParam<Quirk> {};

TEST_P(Quirks, Hold) {
  const Quirk& q = GetParam();
  Journal j;
  auto* mgr = new CUndoMgr(q.maxUndos);
  Attach(*mgr, j);
  CUndoAtom* first = nullptr;
  for (const char* p = q.script; *p; ++p) {
    switch (*p) {
      case 'r': {
        mgr->NextUndoSet();
        Atom mine(&j);
        mgr->AddUndoNode(mine);
        break;
      }
      case 'n': mgr->NextUndoSet(); [[fallthrough]];
      case '+':
        mgr->AddUndoNode(new Atom(&j));
        first = first ? first : mgr->GetLastNode();
        break;
      case 'd': mgr->DeleteAllNodesAfterNode(first); break;
      case 'u': mgr->Undo(); break;
      case 'R': mgr->Redo(); break;
      case 's': mgr->OnSave(); break;
      case 'c': mgr->ClearUndoHistory(); break;
      case 'f': mgr->ForceSetDirty(1); break;
      case 'x': delete mgr, mgr = nullptr; break;
      default: j.Clear();
    }
  }
  V calls;
  for (const auto& c : j.calls) calls.push_back(c.second ? -c.first : c.first);
  EXPECT_EQ(q.dirty, j.dirty);
  EXPECT_EQ(q.notifies, j.notifies);
  EXPECT_EQ(q.calls, calls);
  EXPECT_EQ(q.destroyed, j.destroyed);
  delete mgr;
}

INSTANTIATE_TEST_SUITE_P(UndoMgr, Quirks, testing::ValuesIn(kQuirks),
                         [](const testing::TestParamInfo<Quirk>& info) { return std::string(info.param.name); });

TEST(UndoMgr, RecordingIsOffWhileAtomsRunOrWhileDisabledAndEnableIsUnchecked) {
  Journal j;
  CUndoMgr mgr;  // the default limit: 400 atoms
  Attach(mgr, j);
  for (int i = 0; i < 401; ++i) mgr.NextUndoSet(), mgr.AddUndoNode(new Atom(&j));
  EXPECT_EQ(V{1}, j.destroyed);
  auto* a = static_cast<Atom*>(mgr.GetLastNode());
  a->hook = [&](int) {
    EXPECT_EQ(1, mgr.GetDisableUndoCount());
    Atom stray(&j);
    mgr.AddUndoNode(stray);
  };
  mgr.Undo(), mgr.Redo();
  EXPECT_EQ(a, mgr.GetLastNode()) << "nothing recorded while the atom ran";
  mgr.AddUndoNode(static_cast<CUndoAtom*>(nullptr));
  mgr.DisableNewUndos(), mgr.DisableNewUndos(), mgr.EnableNewUndos();
  Atom notTaken(&j);
  mgr.AddUndoNode(&notTaken);
  EXPECT_EQ(a, mgr.GetLastNode());
  mgr.EnableNewUndos(), mgr.EnableNewUndos();  // one too many: off again
  EXPECT_EQ((V{-1, 0, 400}), (V{mgr.GetDisableUndoCount(), mgr.CanAddUndoNodes(), j.live - 1}));
}

// Both texts come from the last atom of the set they would act on. With
// nothing to describe, the undo text clears the whole buffer and the redo
// text only `size` bytes of it.
TEST(UndoMgr, TextsComeFromTheSetsLastAtomAndTheRedoFallbackClearsSizeBytes) {
  Journal j;
  CUndoMgr mgr;
  wchar_t buf[12];
  for (auto get : {&CUndoMgr::GetCurrentUndoText, &CUndoMgr::GetCurrentRedoText}) {
    wmemset(buf, 0xCCCC, 12);
    (mgr.*get)(buf, 10);
    const int cleared = get == &CUndoMgr::GetCurrentUndoText ? 10 : 5;
    for (int i = 0; i < 12; ++i) EXPECT_EQ(i < cleared ? 0 : 0xCCCC, buf[i]) << i;
  }
  Atom* first = new Atom(&j);
  mgr.AddUndoNode(first);
  EXPECT_TRUE(first == mgr.GetLastNode() && mgr.AtomInList(first));
  mgr.NextUndoSet(), mgr.AddUndoNode(new Atom(&j)), mgr.AddUndoNode(new Atom(&j));
  mgr.GetCurrentUndoText(buf, 0);  // the atom is never asked for no characters
  const auto texts = [&] {
    std::wstring both;
    for (auto get : {&CUndoMgr::GetCurrentUndoText, &CUndoMgr::GetCurrentRedoText})
      (mgr.*get)(buf, 12), both += buf + std::wstring(L"|");
    return both;
  };
  EXPECT_EQ(L"atom 3||", texts());
  mgr.Undo();
  EXPECT_EQ(L"atom 1|atom 3|", texts());
  mgr.Undo();
  EXPECT_EQ(L"|atom 1|", texts());
  mgr.GetCurrentRedoText(buf, 0);
}

}  // namespace
