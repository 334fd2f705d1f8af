// The forgiving tag scanner behind CXMLNode::Load, and the UTF-8 pass.
//
// One pass over the text: each tag is found once, its opening and closing
// recognised, its name cut into one shared TFieldResult, and the tag handed
// on to the child it starts (the child takes it as its own opening tag
// instead of scanning for it again). Contents and children met while an
// element is open wait on two shared stacks and move into the element's
// arrays in one step when it is done, so each array is allocated once at its
// exact size. A document's parse takes everything from its arena
// (XMLArena_impl.h); CXMLNode::Load on its own from the heap.
#include <zorutils/formats/XMLNode.h>

#include <zorfutls/zorfutls.h>
#include <zorutils/formats/XMLNode_impl.h>
#include <zorutils/internal/WideScan.h>

#include <cstdlib>
#include <cwchar>
#include <new>

using zor::xml::FoldAZ;
using zor::xml::NamesEqual;
using zor::xml::XMLArena;

namespace {

// Blank, tab, CR or LF: one comparison for everything above the blank.
inline bool IsWhite(wchar_t c) {
  const unsigned long long kWhite = (1ull << L' ') | (1ull << L'\t') | (1ull << L'\r') | (1ull << L'\n');
  return c <= L' ' && ((1ull << c) & kWhite) != 0;
}

// '>', '"' or '\'': what ends the search for a tag's closing.
inline bool ClosesOrQuotes(wchar_t c) {
  const unsigned long long kSet = (1ull << L'>') | (1ull << L'"') | (1ull << L'\'');
  return c < 64 && ((1ull << c) & kSet) != 0;
}

// The limit of a DOCTYPE token, in characters.
const size_t kDocTypeToken = 1023;

using TagSpan = XMLParser::TagSpan;

// Finds the next tag at or after `pos`. Returns the position of its '<' or
// kXMLNoTag. Fills the kinds of `field`; the name is left to ParseFieldID.
unsigned int ScanTag(const wchar_t* text, unsigned int length, unsigned int pos, TFieldResult& field,
                     TagSpan& span) {
  unsigned int i = pos;
  for (;;) {
    // Tags mostly follow each other or short texts: a few units one by one
    // before the vector scan.
    for (const unsigned int stop = i + 16 < length ? i + 16 : length; i < stop && text[i] != L'<';) ++i;
    if (i < length && text[i] != L'<') i += static_cast<unsigned int>(zor::FindUnitWithin(text + i, length - i, L'<'));
    if (i >= length) return kXMLNoTag;
    if (i + 4 < length && text[i + 1] == L'!' && text[i + 2] == L'-' && text[i + 3] == L'-') {
      // Inside a comment only "-->" counts.
      unsigned int j = i + 4;
      while (j + 2 < length && !(text[j] == L'-' && text[j + 1] == L'-' && text[j + 2] == L'>')) ++j;
      if (j + 2 >= length) return kXMLNoTag;
      i = j + 3;
      continue;
    }
    unsigned int open = 1;
    field.startKind = kXMLStartTag;
    if (i + 1 < length && text[i + 1] == L'?') {
      field.startKind = kXMLDeclaration;
      open = 2;
    } else if (i + 1 < length && text[i + 1] == L'/') {
      field.startKind = kXMLEndTag;
      open = 2;
    } else if (i + 9 <= length && text[i + 1] == L'!') {
      static const wchar_t kDocType[] = L"doctype";
      unsigned int k = 0;
      while (k < 7 && FoldAZ(text[i + 2 + k]) == kDocType[k]) ++k;
      if (k == 7) {
        field.startKind = kXMLDocType;
        open = 9;
      }
    }
    // The closing, outside quotes; inside a quote only the same quote ends
    // it. The first '>' outside quotes closes the tag; a '?' or '/' right in
    // front of it (behind the opening) makes it "?>" or "/>".
    const unsigned int inner = i + open;
    unsigned int j = inner;
    for (;;) {
      for (const unsigned int stop = j + 16 < length ? j + 16 : length; j < stop && !ClosesOrQuotes(text[j]);) ++j;
      if (j < length && !ClosesOrQuotes(text[j]))
        j += static_cast<unsigned int>(zor::FindAnyOf3Within(text + j, length - j, L'>', L'"', L'\''));
      if (j >= length) return kXMLNoTag;  // an opening that never closes ends the scan
      const wchar_t c = text[j];
      if (c != L'>') {
        ++j;
        for (const unsigned int stop = j + 16 < length ? j + 16 : length; j < stop && text[j] != c;) ++j;
        if (j < length && text[j] != c) j += static_cast<unsigned int>(zor::FindUnitWithin(text + j, length - j, c));
        if (j >= length) return kXMLNoTag;
        ++j;
        continue;
      }
      const wchar_t before = j > inner ? text[j - 1] : 0;
      if (before == L'?' || before == L'/') {
        field.endKind = before == L'?' ? kXMLEndDeclaration : kXMLEndEmpty;
        span = {inner, j - 1, j + 1};
      } else {
        field.endKind = kXMLEndTagClose;
        span = {inner, j, j + 1};
      }
      return i;
    }
  }
}

// Calls f(nameStart, nameLength, valueStart, valueLength) for each attribute
// of a tag's inner text, with both cut and trimmed; pairs left empty are
// skipped.
template <class F>
void ForEachAttribute(const wchar_t* text, unsigned int length, F f) {
  unsigned int j = 0;
  while (j < length && !IsWhite(text[j])) ++j;  // the tag name
  auto cutAndTrim = [](unsigned int& start, unsigned int& n, const wchar_t* t) {
    if (n > static_cast<unsigned int>(kXMLMaxAttribute)) n = kXMLMaxAttribute;
    while (n > 0 && IsWhite(t[start])) ++start, --n;
    while (n > 0 && IsWhite(t[start + n - 1])) --n;
  };
  for (;;) {
    while (j < length && IsWhite(text[j])) ++j;
    if (j >= length) return;
    unsigned int nameStart = j;
    while (j < length && text[j] != L'=') ++j;
    if (j >= length) return;
    unsigned int nameLength = j - nameStart;
    while (j < length && text[j] != L'"') ++j;
    if (j >= length) return;
    unsigned int valueStart = ++j;
    while (j < length && text[j] != L'"') ++j;
    if (j >= length) return;  // an unclosed value is dropped
    unsigned int valueLength = j - valueStart;
    ++j;
    cutAndTrim(nameStart, nameLength, text);
    cutAndTrim(valueStart, valueLength, text);
    if (nameLength > 0 && valueLength > 0) f(nameStart, nameLength, valueStart, valueLength);
  }
}

// Whether a string holds a character that can start a UTF-8 sequence: only
// then can decoding change it.
bool HasUTF8Lead(const wchar_t* s) {
  for (; *s; ++s)
    if (*s >= 192 && *s <= 253) return true;
  return false;
}

void DecodeString(wchar_t* s, wchar_t* work, int workChars) {
  if (s && HasUTF8Lead(s) && CXMLNode::DecodeUTF8ToBuffer(s, work, workChars)) wcscpy(s, work);
}

}  // namespace

wchar_t* XMLParser::NewText(XMLParser* parser, const wchar_t* s, size_t n, bool isFinal) {
  if (!s || !n) return nullptr;
  XMLArena* arena = parser ? parser->arena : nullptr;
  wchar_t* copy = arena ? arena->NewText(n + 1) : static_cast<wchar_t*>(std::malloc((n + 1) * sizeof(wchar_t)));
  if (!copy) return nullptr;
  if (parser && parser->decode && !isFinal) {
    // Copied up to the first unit that may lead a UTF-8 sequence, decoded
    // from there (an emptied text stays "", not null); the room decoding
    // saved goes back to the arena.
    size_t k = zor::CopyBelow(s, n, copy, 192);
    // Units above 253 lead nothing: copied on.
    while (k < n && s[k] > 253) {
      copy[k] = s[k];
      ++k;
      k += zor::CopyBelow(s + k, n - k, copy + k, 192);
    }
    if (k < n) {
      bool changed = false;
      const size_t m = k + zor::xml::DecodeUTF8Units(s + k, n - k, copy + k, changed);
      copy[m] = 0;
      return arena ? arena->ShrinkText(copy, n + 1, m + 1) : copy;
    }
  } else if (n < 32) {  // most texts are a few characters: no runtime call for those
    for (size_t i = 0; i < n; ++i) copy[i] = s[i];
  } else {
    wmemcpy(copy, s, n);
  }
  copy[n] = 0;
  return copy;
}

CXMLValue* XMLParser::NewValue(XMLParser* parser, const wchar_t* name, size_t nameLength, const wchar_t* value,
                               size_t valueLength, bool nameIsFinal) {
  XMLArena* arena = parser ? parser->arena : nullptr;
  void* block = arena ? arena->NewObject(sizeof(CXMLValue)) : CXMLValue::operator new(sizeof(CXMLValue));
  if (!block) return nullptr;
  CXMLValue* v = ::new (block) CXMLValue;
  v->m_fieldName = NewText(parser, name, nameLength, nameIsFinal);
  v->m_value = NewText(parser, value, valueLength);
  return v;
}

CXMLNode* XMLParser::NewNode(XMLParser* parser, const wchar_t* name, size_t nameLength) {
  XMLArena* arena = parser ? parser->arena : nullptr;
  void* block = arena ? arena->NewObject(sizeof(CXMLNode)) : CXMLNode::operator new(sizeof(CXMLNode));
  if (!block) return nullptr;
  CXMLNode* node = ::new (block) CXMLNode;
  node->m_name = NewText(parser, name, nameLength);
  return node;
}

void XMLParser::StartDecodingIfDeclared(CXMLNode* root) {
  if (!mayDecode || !root->m_name || !NamesEqual(root->m_name, L"xml") || !zor::xml::DeclaresUTF8(root)) return;
  decode = true;
  auto inPlace = [](wchar_t* t) {
    if (!t) return;
    bool changed = false;
    t[zor::xml::DecodeUTF8Units(t, wcslen(t), t, changed)] = 0;
  };
  inPlace(root->m_name);
  for (int i = 0; i < root->m_headerProperties.GetSize(); ++i) {
    inPlace(root->m_headerProperties[i]->m_fieldName);
    inPlace(root->m_headerProperties[i]->m_value);
  }
}

template <class T>
void XMLParser::Append(XMLArena* arena, CDynArray<T*>& to, T* const* items, int count) {
  if (count <= 0) return;
  if (arena && to.GetSize() == 0 && !to.GetData()) {
    if (void** block = arena->NewArray(static_cast<size_t>(count))) {
      for (int i = 0; i < count; ++i) block[i] = items[i];
      to.Borrow(reinterpret_cast<T**>(block), count);
      return;
    }
  }
  // A block of the array's own inside a parsed node: its document must
  // then free it one by one.
  if (arena) XMLArena::Touch(&to);
  to.Reserve(to.GetSize() + count);
  for (int i = 0; i < count; ++i)
    if (!to.Add(items[i])) delete items[i];
}

void XMLParser::ClearDocument(CXMLNode* doc) {
  XMLArena* arena = XMLArena::OfDocument(doc);
  if (!arena) {
    doc->Clear();
    return;
  }
  if (arena->Dirty()) {
    // Changed or handed over since the parse: object by object.
    doc->Clear();
    if (arena->HasOutsideObjects()) {
      XMLArena::LeaveDocument(doc);  // the handed-over objects keep it
    } else {
      arena->Reset();
    }
    return;
  }
  // Untouched: everything parsed goes with the arena. Only what the host
  // added to the root itself (which lies outside it) is deleted one by one.
  doc->FreeName();
  auto drop = [arena](auto& items) {
    if (!items.IsBorrowed()) {
      for (int i = 0; i < items.GetSize(); ++i)
        if (!arena->Contains(items[i])) delete items[i];
    }
    items.RemoveAll();
    items.FreeExtra();
  };
  drop(doc->m_children);
  drop(doc->m_headerProperties);
  drop(doc->m_contents);
  arena->Reset();
}

unsigned int XMLParser::NextTag(unsigned int pos) {
  if (pos == noTagFrom) return kXMLNoTag;
  unsigned int at = ScanTag(text, length, pos, *field, span);
  if (at == kXMLNoTag) {
    noTagFrom = pos;
    return at;
  }
  // The name and whether attributes follow (the quoted value of the public
  // ParseFieldID is of no use here): after the name, which ends at white
  // space, anything that is not white space.
  TFieldResult& f = *field;
  unsigned int j = span.innerStart;
  const unsigned int end = span.innerEnd;
  while (j < end && IsWhite(text[j])) ++j;
  tagNameStart = j;
  unsigned int n = 0;
  for (; j < end && !IsWhite(text[j]); ++j)
    if (n < static_cast<unsigned int>(kXMLMaxTagName)) f.tagName[n++] = text[j];
  f.tagName[n] = 0;
  f.quotedValue[0] = 0;
  while (j < end && IsWhite(text[j])) ++j;
  f.hasAttributes = j < end;
  tagNameLength = n;
  return at;
}

bool XMLParser::LoadElement(CXMLNode* node, unsigned int& position, int maxTags, int depth, bool haveTag,
                            unsigned int tagStart) {
  const int childBase = pendingChildren.GetSize();
  const int contentBase = pendingContents.GetSize();
  int sequence = 0;
  bool metOpen = false;
  bool result = true;  // also the answer after maxTags tags
  unsigned int openedAt = position;
  const wchar_t* rawName = nullptr;
  size_t rawLength = 0;
  const size_t kUnmeasured = ~static_cast<size_t>(0);
  size_t nameLength = kUnmeasured;  // of the node's name, once it holds contents
  for (int tags = 0; tags < maxTags; ++tags) {
    if (haveTag) {
      haveTag = false;
    } else {
      tagStart = NextTag(position);
      if (tagStart == kXMLNoTag) {
        result = metOpen;
        break;
      }
      if (node->m_progressCallback) node->m_progressCallback(tagStart, node->m_fileSize, node->m_progressUser);
    }
    TFieldResult& f = *field;
    if (!metOpen) {
      // The node's own opening tag.
      metOpen = true;
      openedAt = tagStart;
      if (!node->m_name) node->m_name = NewText(this, f.tagName, tagNameLength);
      if (f.startKind == kXMLDocType) {
        if (!node->m_name || wcscmp(node->m_name, L"DOCTYPE") != 0) node->SetName(L"DOCTYPE");
        LoadDocType(node, this, text + tagStart, span.innerEnd - tagStart);
      } else if (f.hasAttributes) {
        LoadAttributes(node, this, text + span.innerStart, span.innerEnd - span.innerStart);
      }
      if (depth == 0) StartDecodingIfDeclared(node);
      if (decode) {
        // The name is stored decoded; end tags are matched against it as
        // written in the opening tag.
        rawName = text + tagNameStart;
        rawLength = tagNameLength;
      }
      position = span.tagEnd;
      if (f.endKind == kXMLEndEmpty || f.startKind == kXMLDocType) break;
      continue;
    }
    if (node->IsMeaningfulString(text, position, tagStart)) {
      if (nameLength == kUnmeasured) nameLength = node->m_name ? zor::WideLength(node->m_name) : 0;
      CXMLValue* content = NewValue(this, node->m_name, nameLength, text + position, tagStart - position, true);
      if (content) {
        content->m_sequenceNumber = sequence++;
        if (!pendingContents.Add(content)) delete content;
      }
    }
    if (f.startKind == kXMLEndTag &&
        (rawName ? zor::FoldEqualN(f.tagName, rawName, rawLength) : NamesEqual(node->m_name, f.tagName))) {
      position = span.tagEnd;
      break;
    }
    if (depth >= kXMLMaxDepth) {
      // Too deep to nest further: the tag is dropped.
      position = span.tagEnd;
      continue;
    }
    // The child's name is known already: the tag in hand is its opening tag.
    CXMLNode* child = f.startKind == kXMLDocType ? NewNode(this, L"DOCTYPE", 7)
                                                 : NewNode(this, f.tagName, tagNameLength);
    if (!child) {
      position = span.tagEnd;
      continue;
    }
    child->m_progressCallback = node->m_progressCallback;
    child->m_progressUser = node->m_progressUser;
    child->m_fileSize = node->m_fileSize;
    child->m_shouldDeHTMLify = node->m_shouldDeHTMLify;
    position = tagStart;
    if (!LoadElement(child, position, maxTags, depth + 1, true, tagStart)) {
      delete child;
      continue;
    }
    child->m_sequenceNumber = sequence++;
    if (child->m_shouldDeHTMLify) child->DeHTMLify(false);
    if (!pendingChildren.Add(child)) delete child;
  }
  // Move what was met into the node's arrays, each grown once.
  const int contents = pendingContents.GetSize() - contentBase;
  if (contents > 0) {
    Append(arena, node->m_contents, pendingContents.GetData() + contentBase, contents);
    while (pendingContents.GetSize() > contentBase) pendingContents.RemoveAt(pendingContents.GetSize() - 1);
  }
  const int children = pendingChildren.GetSize() - childBase;
  if (children > 0) {
    Append(arena, node->m_children, pendingChildren.GetData() + childBase, children);
    while (pendingChildren.GetSize() > childBase) pendingChildren.RemoveAt(pendingChildren.GetSize() - 1);
  }
  if (metOpen) node->m_nodeLength = position - openedAt;
  return result;
}

// --- CXMLNode: parsing ------------------------------------------------------------------

bool CXMLNode::Load(const wchar_t* text, unsigned int& position, unsigned int length, int maxTags) {
  if (!text || length == 0) {
    Log(L"Leaving CXMLFile::Load, no data");
    return false;
  }
  XMLParser parser(text, length, nullptr);
  if (!parser.field) return false;
  XMLArena::Touch(this);  // heap objects in a parsed node
  return parser.LoadElement(this, position, maxTags, 0, false, 0);
}

unsigned int CXMLNode::GetNextFieldInfo(const wchar_t* text, unsigned int length, unsigned int position,
                                        unsigned int& tagEnd, TFieldResult& result) {
  if (!text) return kXMLNoTag;
  TagSpan span;
  unsigned int at = ScanTag(text, length, position, result, span);
  if (at == kXMLNoTag) return at;
  ParseFieldID(text, span.innerStart, span.innerEnd - span.innerStart, result);
  tagEnd = span.tagEnd;
  return at;
}

void CXMLNode::ParseFieldID(const wchar_t* text, unsigned int start, unsigned int count, TFieldResult& result) {
  result.tagName[0] = 0;
  result.quotedValue[0] = 0;
  result.hasAttributes = false;
  if (!text) return;
  const unsigned int end = start + count;
  unsigned int j = start;
  while (j < end && IsWhite(text[j])) ++j;
  unsigned int n = 0;
  for (; j < end && !IsWhite(text[j]); ++j)
    if (n < static_cast<unsigned int>(kXMLMaxTagName)) result.tagName[n++] = text[j];
  result.tagName[n] = 0;
  // The rest: does anything follow white space (outside quotes), and the
  // first quoted text.
  wchar_t quote = 0;
  bool sawWhite = false, collecting = false, gotQuoted = false;
  unsigned int q = 0;
  for (; j < end; ++j) {
    const wchar_t c = text[j];
    if (quote) {
      if (c == quote) {
        quote = 0;
        if (collecting) {
          collecting = false;
          if (result.hasAttributes) break;  // nothing more to learn
        }
      } else if (collecting && q < static_cast<unsigned int>(kXMLFieldChars - 1)) {
        result.quotedValue[q++] = c;
      }
      continue;
    }
    if (IsWhite(c)) {
      sawWhite = true;
      continue;
    }
    if (sawWhite) result.hasAttributes = true;
    if (c == L'"' || c == L'\'') {
      quote = c;
      if (!gotQuoted) collecting = gotQuoted = true;
    } else if (result.hasAttributes && gotQuoted) {
      break;
    }
  }
  result.quotedValue[q] = 0;
}

void CXMLNode::LoadHeaderProperties(const wchar_t* text, unsigned int length) {
  XMLArena::Touch(this);
  XMLParser::LoadAttributes(this, nullptr, text, length);
}

void XMLParser::LoadAttributes(CXMLNode* node, XMLParser* parser, const wchar_t* text, unsigned int length) {
  if (!text) return;
  XMLArena* arena = parser ? parser->arena : nullptr;
  // Tags rarely carry many attributes: a small array on the stack, a heap
  // one for the others.
  CXMLValue* local[16] = {};
  CDynArray<CXMLValue*> more;
  int count = 0;
  ForEachAttribute(text, length, [&](unsigned int ns, unsigned int nn, unsigned int vs, unsigned int vn) {
    CXMLValue* v = NewValue(parser, text + ns, nn, text + vs, vn);
    if (!v) return;
    if (count < 16) {
      local[count++] = v;
    } else if (!more.Add(v)) {
      delete v;
    }
  });
  if (more.GetSize() > 0) {
    CDynArray<CXMLValue*> all;
    all.Reserve(count + more.GetSize());
    for (int i = 0; i < count; ++i) all.Add(local[i]);
    for (int i = 0; i < more.GetSize(); ++i) all.Add(more[i]);
    Append(arena, node->m_headerProperties, all.GetData(), all.GetSize());
  } else {
    Append(arena, node->m_headerProperties, local, count);
  }
}

bool CXMLNode::IsMeaningfulString(const wchar_t* text, unsigned int from, unsigned int to) const {
  if (!text) return false;
  for (unsigned int i = from; i < to; ++i)
    if (text[i] != L' ' && text[i] >= 14) return true;
  return false;
}

void CXMLNode::ParseDocTypeDeclaration(const wchar_t* text, unsigned int length) {
  XMLArena::Touch(this);
  XMLParser::LoadDocType(this, nullptr, text, length);
}

void XMLParser::LoadDocType(CXMLNode* node, XMLParser* parser, const wchar_t* text, unsigned int length) {
  if (!text) return;
  XMLArena* arena = parser ? parser->arena : nullptr;
  // The tag's first token is the keyword itself, which is not kept.
  unsigned int j = 0;
  while (j < length && IsWhite(text[j])) ++j;
  if (j >= length) return;
  while (j < length && !IsWhite(text[j])) ++j;
  if (j >= length) return;
  wchar_t token[kDocTypeToken + 1];
  size_t n = 0;
  int sequence = 0;
  bool inDouble = false, inSingle = false;
  CDynArray<CXMLValue*> tokens;
  auto emit = [&]() {
    if (n == 0) return;
    CXMLValue* v = NewValue(parser, nullptr, 0, token, n);
    if (v) {
      v->m_sequenceNumber = sequence++;
      if (!tokens.Add(v)) delete v;
    }
    n = 0;
  };
  for (; j < length; ++j) {
    const wchar_t c = text[j];
    if (c == L'\r' || c == L'\n') continue;
    if (c == L'"') {
      inDouble = !inDouble;
      if (!inDouble) emit();
    } else if (c == L'\'') {
      inSingle = !inSingle;
      if (!inSingle) emit();
    } else if (c == L' ' && !inDouble && !inSingle) {
      emit();
    } else if (n < kDocTypeToken) {
      token[n++] = c;
    }
  }
  // A token still open here is deliberately not added.
  Append(arena, node->m_contents, tokens.GetData(), tokens.GetSize());
}

// --- UTF-8 ---------------------------------------------------------------------------------

size_t zor::xml::DecodeUTF8Units(const wchar_t* in, size_t length, wchar_t* out, bool& changed) {
  // Every step reads a unit before it writes one at an index no higher, so
  // `out` may be `in`.
  size_t o = 0;
  for (size_t i = 0; i < length;) {
    const wchar_t c = in[i];
    if (c >= 192 && c <= 223 && i + 1 < length && (in[i + 1] & 0x80)) {
      out[o++] = static_cast<wchar_t>(((c & 31) << 6) + (in[i + 1] & 63));
      i += 2;
      changed = true;
    } else if (c >= 224 && c <= 239 && i + 2 < length && (in[i + 1] & 0x80) && (in[i + 2] & 0x80)) {
      out[o++] = static_cast<wchar_t>((c << 12) + ((in[i + 1] & 63) << 6) + (in[i + 2] & 63));
      i += 3;
      changed = true;
    } else if (c >= 240 && c <= 253) {
      // Four-byte sequences are not decoded: the lead goes, the rest stays.
      ++i;
      changed = true;
    } else {
      out[o++] = in[i++];
    }
  }
  return o;
}

bool CXMLNode::DecodeUTF8ToBuffer(const wchar_t* in, wchar_t* out, int outChars) {
  if (!in || !out || outChars < 1) return false;
  const size_t length = wcslen(in);
  if (static_cast<size_t>(outChars) < length + 1) return false;
  bool changed = false;
  out[zor::xml::DecodeUTF8Units(in, length, out, changed)] = 0;
  return changed;
}

void CXMLNode::DecodeUTF8(wchar_t* work, int workChars) {
  if (!work || workChars < 1) return;
  for (int i = 0; i < m_children.GetSize(); ++i) m_children[i]->DecodeUTF8(work, workChars);
  DecodeString(m_name, work, workChars);
  for (int i = 0; i < m_headerProperties.GetSize(); ++i) {
    DecodeString(m_headerProperties[i]->m_fieldName, work, workChars);
    DecodeString(m_headerProperties[i]->m_value, work, workChars);
  }
  for (int i = 0; i < m_contents.GetSize(); ++i) {
    DecodeString(m_contents[i]->m_fieldName, work, workChars);
    DecodeString(m_contents[i]->m_value, work, workChars);
  }
}
