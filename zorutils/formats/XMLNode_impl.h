// Helpers shared by the XML model and parser sources (not part of the
// library's interface).
#pragma once

#include <zorutils/formats/XMLNode.h>
#include <zorutils/internal/NameMatch.h>

#include <cstdlib>
#include <cwchar>

namespace zor {
namespace xml {

inline wchar_t FoldAZ(wchar_t c) { return static_cast<wchar_t>(FoldUnit(c)); }

/// Name equality with only A-Z folded; a null name counts as empty.
inline bool NamesEqual(const wchar_t* a, const wchar_t* b) { return FoldEqual(a ? a : L"", b ? b : L""); }

/// The same over `n` characters of `b` (which holds no zero among them)
/// against the whole of `a`.
inline bool NamesEqualN(const wchar_t* a, const wchar_t* b, size_t n) { return FoldEqualN(a ? a : L"", b, n); }

/// A malloc'ed copy of `n` characters, terminated; null only for a null
/// text or when memory runs out. An empty text stays empty: copies and
/// setters must not turn "" into "no text".
inline wchar_t* CopyChars(const wchar_t* s, size_t n) {
  if (!s) return nullptr;
  wchar_t* copy = static_cast<wchar_t*>(std::malloc((n + 1) * sizeof(wchar_t)));
  if (!copy) return nullptr;
  std::wmemcpy(copy, s, n);
  copy[n] = 0;
  return copy;
}

inline wchar_t* CopyText(const wchar_t* s) { return s ? CopyChars(s, std::wcslen(s)) : nullptr; }

}  // namespace xml
}  // namespace zor

// The state of one parse, shared by all the elements it fills; also the
// model's helpers that need its members.
struct XMLParser {
  XMLParser(const wchar_t* t, unsigned int n) : text(t), length(n) {
    field = static_cast<TFieldResult*>(std::malloc(sizeof(TFieldResult)));
  }
  ~XMLParser() { std::free(field); }
  XMLParser(const XMLParser&) = delete;
  XMLParser& operator=(const XMLParser&) = delete;

  struct TagSpan {
    unsigned int innerStart;  // behind the opening text
    unsigned int innerEnd;    // at the closing text
    unsigned int tagEnd;      // behind the closing text
  };

  // The next tag from `pos`, name parsed; remembers a position from which
  // no tag follows, so that the open elements above an unclosed end do not
  // each scan the rest of the text again.
  unsigned int NextTag(CXMLNode* node, unsigned int pos);
  // CXMLNode::Load for `node`; with `haveTag` the tag just scanned (in
  // `field`, at `tagStart`) is the node's opening tag.
  bool LoadElement(CXMLNode* node, unsigned int& position, int maxTags, int depth, bool haveTag,
                   unsigned int tagStart);

  // Fills the empty node `to` with deep copies of everything `from` holds
  // (one small stack frame per level).
  static void CopyTree(CXMLNode* to, const CXMLNode& from);
  // A value whose non-empty texts share its heap block: the field name
  // right behind the object and the value behind it, or the only text
  // right behind the object. Null when memory runs out.
  static CXMLValue* NewValue(const wchar_t* name, size_t nameLength, const wchar_t* value, size_t valueLength);
  // A node whose (non-empty) name shares its heap block.
  static CXMLNode* NewNode(const wchar_t* name, size_t nameLength);

  const wchar_t* text;
  unsigned int length;
  TFieldResult* field;
  TagSpan span = {0, 0, 0};
  unsigned int noTagFrom = kXMLNoTag;
  CDynArray<CXMLNode*> pendingChildren;
  CDynArray<CXMLValue*> pendingContents;
};
