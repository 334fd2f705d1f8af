// Undo test support: atoms that journal every UndoRedo call, clone, text
// request and destruction, and a recorder counting the manager's two
// callbacks, so tests can pin the order and number of every call a host sees.
#pragma once

#include "../support/TestSupport.h"

#include <zorutils/undo/UndoMgr.h>

#include <algorithm>
#include <map>

namespace undotest {

/// What happened to the atoms of one test, in order.
struct Journal {
  int nextSerial = 1, live = 0;
  std::vector<std::pair<int, int>> calls;  // (serial, redo flag) per UndoRedo
  std::vector<int> destroyed, cloned;      // serials, in order
  std::map<int, int> destroyCount;         // serial -> destructions
  std::vector<unsigned int> textSizes;     // sizes GetUndoText was given
  std::vector<int> Calls(int redo) const {  // serials undone (0) or redone (1)
    std::vector<int> out;
    for (const auto& c : calls)
      if (c.second == redo) out.push_back(c.first);
    return out;
  }
};

/// An atom named by a serial, with text L"atom <serial>". An optional hook
/// runs inside UndoRedo (to reach back into `mgr`).
class TestAtom : public CUndoAtom {
public:
  explicit TestAtom(Journal* j) : m_j(j), m_serial(j->nextSerial++) { ++j->live; }
  ~TestAtom() override {
    if (m_j->destroyCount[m_serial]++ != 0) ADD_FAILURE() << "atom " << m_serial << " destroyed twice";
    m_j->destroyed.push_back(m_serial);
    --m_j->live;
  }
  CUndoAtom* Clone() override {
    m_j->cloned.push_back(m_serial);
    return new TestAtom(m_j);
  }
  void UndoRedo(int redo) override {
    m_j->calls.emplace_back(m_serial, redo);
    if (hook) hook(this, redo);
  }
  void GetUndoText(wchar_t* buffer, unsigned int size) override {
    m_j->textSizes.push_back(size);
    if (!buffer || size == 0) return;
    std::wstring text = Text(m_serial);
    size_t n = std::min<size_t>(text.size(), size - 1);
    wmemcpy(buffer, text.c_str(), n);
    buffer[n] = 0;
  }
  static std::wstring Text(int serial) { return L"atom " + std::to_wstring(serial); }
  int serial() const { return m_serial; }

  void (*hook)(TestAtom* self, int redo) = nullptr;
  CUndoMgr* mgr = nullptr;

private:
  Journal* m_j;
  int m_serial;
};

/// The two manager callbacks, counted. The set-dirty callback takes no user
/// pointer, so there is one recorder per process, reset by each test.
struct Recorder {
  std::vector<int> dirty;    // values given to the dirty-status callback
  std::vector<void*> users;  // user pointers given with them
  int setDirty = 0;          // set-dirty notifications

  void Reset() { *this = Recorder(); }
  static Recorder& Get() { return instance; }
  static Recorder instance;
  static void Attach(CUndoMgr& mgr, void* user = nullptr) {
    mgr.SetDirtyStatusCallback([](int d, void* u) { Get().dirty.push_back(d), Get().users.push_back(u); }, user);
    mgr.SetSetDirtyCallback([] { ++Get().setDirty; });
  }
};

inline Recorder Recorder::instance;

}  // namespace undotest
