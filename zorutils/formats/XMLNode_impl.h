// Helpers shared by the XML model and parser sources (not part of the
// library's interface).
#pragma once

#include <zorutils/formats/XMLArena_impl.h>
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

/// Whether `node` has an attribute "encoding" that begins with "UTF-8"
/// (A-Z folded): the first such attribute decides.
inline bool DeclaresUTF8(const CXMLNode* node) {
  for (int i = 0; i < node->NumHeaderProperties(); ++i) {
    const CXMLValue* v = node->GetHeaderProperty(i);
    if (!v->FieldName() || !NamesEqual(v->FieldName(), L"encoding")) continue;
    const wchar_t* value = v->Value();
    if (!value) return false;
    static const wchar_t kUtf8[] = L"utf-8";
    for (int k = 0; k < 5; ++k)
      if (FoldAZ(value[k]) != kUtf8[k]) return false;  // stops at a shorter value's zero
    return true;
  }
  return false;
}

/// The UTF-8 decoding of DecodeUTF8ToBuffer over the `length` units at `in`
/// into `out`, which may be `in` itself (the output never overtakes the
/// input). Returns the units written (no terminator); `changed` tells
/// whether they differ from the input.
size_t DecodeUTF8Units(const wchar_t* in, size_t length, wchar_t* out, bool& changed);

/// Frees a string of a node or value unless it lives in a document's blocks.
inline void FreeText(wchar_t* s) {
  if (s && !XMLArena::Of(s)) std::free(s);
}

}  // namespace xml
}  // namespace zor

// The state of one parse, shared by all the elements it fills; also the
// model's helpers that need its members.
struct XMLParser {
  using XMLArena = zor::xml::XMLArena;

  // With an arena every object, string and array of the parse comes from
  // it; without one (CXMLNode::Load) from the heap.
  XMLParser(const wchar_t* t, unsigned int n, XMLArena* a) : text(t), length(n), arena(a) {
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
  unsigned int NextTag(unsigned int pos);
  // CXMLNode::Load for `node`; with `haveTag` the tag just scanned (in
  // `field`, at `tagStart`) is the node's opening tag.
  bool LoadElement(CXMLNode* node, unsigned int& position, int maxTags, int depth, bool haveTag,
                   unsigned int tagStart);

  // Fills the empty node `to` with deep copies of everything `from` holds
  // (one small stack frame per level).
  static void CopyTree(CXMLNode* to, const CXMLNode& from);
  // A value with copies of its non-empty texts (an empty one stays null),
  // from the parse's arena or the heap (a null `parser`), the value decoded
  // from UTF-8 when the parse does that; so is the name unless `nameIsFinal`
  // (a content's name is its element's, decoded already). Null when memory
  // runs out.
  static CXMLValue* NewValue(XMLParser* parser, const wchar_t* name, size_t nameLength, const wchar_t* value,
                             size_t valueLength, bool nameIsFinal = false);
  // A node named with a copy of `name` (null when empty).
  static CXMLNode* NewNode(XMLParser* parser, const wchar_t* name, size_t nameLength);
  // A copy of `n` characters, terminated (null for none), decoded likewise.
  static wchar_t* NewText(XMLParser* parser, const wchar_t* s, size_t n, bool isFinal = false);
  // Whether the document's root is an "xml" node that declares UTF-8: from
  // then on every string is decoded as it is stored (the same answer as
  // CXMLNode::DecodeUTF8 on the finished tree, at no extra pass). The
  // root's own strings, made before, are decoded here in place.
  void StartDecodingIfDeclared(CXMLNode* root);
  // Appends `count` elements to `to`: into borrowed arena storage when `to`
  // is still empty, else into the array's own block.
  template <class T>
  static void Append(XMLArena* arena, CDynArray<T*>& to, T* const* items, int count);
  // CXMLNode::LoadHeaderProperties and ParseDocTypeDeclaration, from `arena`.
  static void LoadAttributes(CXMLNode* node, XMLParser* parser, const wchar_t* text, unsigned int length);
  static void LoadDocType(CXMLNode* node, XMLParser* parser, const wchar_t* text, unsigned int length);
  // Empties a document's tree: what its arena holds goes with the arena
  // (reset for the next parse), the rest object by object.
  static void ClearDocument(CXMLNode* doc);

  const wchar_t* text;
  unsigned int length;
  XMLArena* arena;
  TFieldResult* field;
  // Set by the document (when it does not de-HTML-ify while parsing: that
  // must come before the decoding): the root may turn decoding on.
  bool mayDecode = false;
  bool decode = false;
  TagSpan span = {0, 0, 0};
  size_t tagNameLength = 0;       // of field->tagName, from NextTag
  unsigned int tagNameStart = 0;  // where the name stands in the text
  unsigned int noTagFrom = kXMLNoTag;
  CDynArray<CXMLNode*> pendingChildren;
  CDynArray<CXMLValue*> pendingContents;
};
