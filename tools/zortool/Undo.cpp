// zortool undo: a short scripted editing session on a one-line document,
// printing after each step the text, what Undo and Redo would do and whether
// there are unsaved changes, as a host's title bar and Edit menu would.
#include <zorutils/zorutils.h>

#include "Tool.h"

#include <cwchar>
#include <string>

namespace {

std::wstring g_document;
std::wstring g_events;  // what the dirty-status callback heard during a step

// Inserting `text` at `at`; undone by taking it out again.
class CInsertAtom : public CUndoAtom {
public:
  CInsertAtom(size_t at, const std::wstring& text) : m_at(at), m_text(text) {}
  CUndoAtom* Clone() override { return new CInsertAtom(m_at, m_text); }
  void UndoRedo(int redo) override {
    if (redo) g_document.insert(m_at, m_text);
    else g_document.erase(m_at, m_text.size());
  }
  void GetUndoText(wchar_t* buffer, unsigned int size) override {
    swprintf(buffer, size, L"Typing \"%ls\"", m_text.c_str());
  }

private:
  size_t m_at;
  std::wstring m_text;
};

// Removing `count` characters at `at`; undone by putting them back.
class CDeleteAtom : public CUndoAtom {
public:
  CDeleteAtom(size_t at, const std::wstring& text) : m_at(at), m_text(text) {}
  CUndoAtom* Clone() override { return new CDeleteAtom(m_at, m_text); }
  void UndoRedo(int redo) override {
    if (redo) g_document.erase(m_at, m_text.size());
    else g_document.insert(m_at, m_text);
  }
  void GetUndoText(wchar_t* buffer, unsigned int size) override {
    swprintf(buffer, size, L"Deleting \"%ls\"", m_text.c_str());
  }

private:
  size_t m_at;
  std::wstring m_text;
};

void OnDirty(int dirty, void*) { g_events += dirty ? L" [title gets *]" : L" [title loses *]"; }

// Does the edit and records it, as a host's edit command would.
void Type(CUndoMgr& undo, const std::wstring& text) {
  const size_t at = g_document.size();
  g_document += text;
  undo.AddUndoNode(new CInsertAtom(at, text));
}

void Delete(CUndoMgr& undo, size_t at, size_t count) {
  const std::wstring gone = g_document.substr(at, count);
  g_document.erase(at, count);
  undo.AddUndoNode(new CDeleteAtom(at, gone));
}

void Show(CUndoMgr& undo, const wchar_t* step) {
  wchar_t undoText[128], redoText[128];
  undo.GetCurrentUndoText(undoText, 128);
  undo.GetCurrentRedoText(redoText, 128);
  wchar_t line[512];
  swprintf(line, 512, L"%-22ls \"%ls\"%ls\n%24lsdirty %d, Undo: %ls, Redo: %ls%ls\n", step, g_document.c_str(),
           undo.Dirty() ? L" *" : L"", L"", undo.Dirty(), undo.CanUndo() ? undoText : L"-",
           undo.CanRedo() ? redoText : L"-", g_events.c_str());
  Out(line);
  g_events.clear();
}

}  // namespace

int UndoSession(int argc, wchar_t**) {
  if (argc > 2) return BadArgs(L"undo", L"takes no arguments");
  CUndoMgr undo;
  undo.SetDirtyStatusCallback(OnDirty, nullptr);
  g_document.clear();
  Type(undo, L"Hello");
  Show(undo, L"type \"Hello\"");
  undo.NextUndoSet();
  Type(undo, L" world");
  Show(undo, L"type \" world\"");
  undo.OnSave();
  Show(undo, L"save");
  // Two edits made by one command form one set: undone and redone together.
  undo.NextUndoSet();
  Delete(undo, 5, 6);
  Type(undo, L", zortool");
  Show(undo, L"replace (one set)");
  undo.Undo();
  Show(undo, L"undo");
  undo.Undo();
  Show(undo, L"undo");
  undo.Redo();
  Show(undo, L"redo");
  undo.NextUndoSet();
  Type(undo, L"!");
  Show(undo, L"type \"!\" (drops redo)");
  undo.Undo();
  undo.Undo();
  undo.Undo();
  Show(undo, L"undo three times");
  undo.Undo();
  Show(undo, L"undo (nothing left)");
  return 0;
}
