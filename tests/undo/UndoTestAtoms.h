// Test atoms for the undo manager: each records its UndoRedo calls, clones,
// text requests and its destruction in a journal, and the two manager
// callbacks are counted in one recorder, so tests can pin the order and the
// number of every call a host would see.
#pragma once

#include <gtest/gtest.h>

#include <zorutils/undo/UndoMgr.h>

#include <cwchar>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace undotest {

/// What happened to the atoms of one test, in order.
struct Journal {
  int nextSerial = 1;
  std::vector<std::pair<int, int>> calls;  // (serial, redo flag) per UndoRedo
  std::vector<int> destroyed;              // serials in order of destruction
  std::map<int, int> destroyCount;         // serial -> destructions
  std::vector<int> cloned;                 // serials asked for a copy
  std::vector<unsigned int> textSizes;     // sizes GetUndoText was given
  int live = 0;

  int NewSerial() { return nextSerial++; }
  /// Serials undone (redo 0) or redone (redo 1), in call order.
  std::vector<int> Calls(int redo) const {
    std::vector<int> out;
    for (const auto& c : calls)
      if (c.second == redo) out.push_back(c.first);
    return out;
  }
  int DestroyedCount(int serial) const {
    auto it = destroyCount.find(serial);
    return it == destroyCount.end() ? 0 : it->second;
  }
};

/// An atom named by a serial; its text is L"atom <serial>". An optional hook
/// runs inside UndoRedo (to reach back into the manager).
class TestAtom : public CUndoAtom {
public:
  typedef void (*Hook)(TestAtom* self, int redo);

  explicit TestAtom(Journal* journal) : m_journal(journal), m_serial(journal->NewSerial()) { ++m_journal->live; }
  ~TestAtom() override {
    if (m_journal->DestroyedCount(m_serial) != 0) ADD_FAILURE() << "atom " << m_serial << " destroyed twice";
    m_journal->destroyed.push_back(m_serial);
    ++m_journal->destroyCount[m_serial];
    --m_journal->live;
  }
  CUndoAtom* Clone() override {
    m_journal->cloned.push_back(m_serial);
    return new TestAtom(m_journal);
  }
  void UndoRedo(int redo) override {
    m_journal->calls.emplace_back(m_serial, redo);
    if (hook) hook(this, redo);
  }
  void GetUndoText(wchar_t* buffer, unsigned int size) override {
    m_journal->textSizes.push_back(size);
    if (!buffer || size == 0) return;
    std::wstring text = Text(m_serial);
    size_t n = text.size() < size - 1 ? text.size() : size - 1;
    wmemcpy(buffer, text.c_str(), n);
    buffer[n] = 0;
  }

  static std::wstring Text(int serial) { return L"atom " + std::to_wstring(serial); }
  int serial() const { return m_serial; }

  Hook hook = nullptr;
  CUndoMgr* mgr = nullptr;  // for hooks

private:
  Journal* m_journal;
  int m_serial;
};

/// The two manager callbacks, counted. The set-dirty callback takes no user
/// pointer, so the recorder is one per process, reset by each test.
struct Recorder {
  std::vector<int> dirty;       // values given to the dirty-status callback
  std::vector<void*> users;     // user pointers given with them
  int setDirty = 0;             // set-dirty notifications

  void Reset() {
    dirty.clear();
    users.clear();
    setDirty = 0;
  }
  static Recorder& Get() {
    static Recorder r;
    return r;
  }
  static void OnDirtyStatus(int dirty, void* user) {
    Get().dirty.push_back(dirty);
    Get().users.push_back(user);
  }
  static void OnSetDirty() { ++Get().setDirty; }
  /// Hooks both callbacks of `mgr` to the recorder, with `user`.
  static void Attach(CUndoMgr& mgr, void* user = nullptr) {
    mgr.SetDirtyStatusCallback(&Recorder::OnDirtyStatus, user);
    mgr.SetSetDirtyCallback(&Recorder::OnSetDirty);
  }
};

}  // namespace undotest
