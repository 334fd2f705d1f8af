// CXMLNode: the tree operations and look-ups. The scanner that fills the tree
// is in XMLParser.cpp.
//
// Every recursive operation here goes one stack frame per level; the parser
// bounds the depth (kXMLMaxDepth) so that none of them can exhaust a stack.
#include <zorutils/formats/XMLNode.h>

#include <zorutils/formats/XMLNode_impl.h>
#include <zorutils/text/HtmlEntities.h>

#include <cstdlib>
#include <cwchar>
#include <new>

using zor::xml::CopyText;
using zor::xml::NamesEqual;
using zor::xml::XMLArena;

namespace {

void DeHTMLifyText(wchar_t* s) {
  if (s) DeHTMLifyString(s, static_cast<unsigned int>(wcslen(s) + 1));
}

unsigned int Longer(unsigned int longest, const wchar_t* s) {
  if (!s) return longest;
  size_t n = wcslen(s);
  return n > longest ? static_cast<unsigned int>(n) : longest;
}

// Deep copies of `count` values appended to `to` (count taken up front so
// that copying a node's values onto itself terminates).
void AppendValueCopies(CDynArray<CXMLValue*>& to, const CDynArray<CXMLValue*>& from, int count) {
  to.Reserve(to.GetSize() + count);
  for (int i = 0; i < count; ++i) {
    CXMLValue* copy = new CXMLValue(*from[i]);
    if (copy && !to.Add(copy)) delete copy;
  }
}

void AppendNodeCopies(CDynArray<CXMLNode*>& to, const CDynArray<CXMLNode*>& from, int count) {
  to.Reserve(to.GetSize() + count);
  for (int i = 0; i < count; ++i) {
    CXMLNode* copy = new CXMLNode(*from[i]);
    if (copy && !to.Add(copy)) delete copy;
  }
}

// Moves every element of `from` to the end of `to` (`from` keeps its block
// and count: the caller forgets them).
template <class T>
void TakeAll(CDynArray<T>& to, CDynArray<T>& from) {
  to.Reserve(to.GetSize() + from.GetSize());
  for (int i = 0; i < from.GetSize(); ++i) to.Add(from[i]);
}

}  // namespace

// --- Construction -----------------------------------------------------------------------

CXMLNode::CXMLNode()
    : m_name(nullptr),
      m_sequenceNumber(-1),
      m_progressCallback(nullptr),
      m_progressUser(nullptr),
      m_fileSize(0),
      m_nodeLength(0),
      m_shouldDeHTMLify(false) {}

CXMLNode::CXMLNode(const CXMLNode& other) : CXMLNode() {
  XMLParser::CopyTree(this, other);
  CopySettings(other);
}

CXMLNode::~CXMLNode() { Clear(); }

CXMLNode& CXMLNode::operator=(const CXMLNode& other) {
  if (this == &other) return *this;
  // Everything of `other` is copied before Clear(): `other` may be one of our
  // own descendants, which Clear() destroys. After it, only the copy is read.
  CXMLNode copy;
  XMLParser::CopyTree(&copy, other);
  copy.CopySettings(other);
  Clear();
  m_name = copy.m_name;
  copy.m_name = nullptr;
  TakeAll(m_headerProperties, copy.m_headerProperties);
  TakeAll(m_contents, copy.m_contents);
  TakeAll(m_children, copy.m_children);
  copy.RemoveAllNoTouch();
  CopySettings(copy);
  XMLArena::Touch(this);  // heap objects in a parsed node
  return *this;
}

void XMLParser::CopyTree(CXMLNode* to, const CXMLNode& from) {
  to->m_name = CopyText(from.m_name);
  AppendValueCopies(to->m_headerProperties, from.m_headerProperties, from.m_headerProperties.GetSize());
  AppendValueCopies(to->m_contents, from.m_contents, from.m_contents.GetSize());
  const int children = from.m_children.GetSize();
  to->m_children.Reserve(children);
  for (int i = 0; i < children; ++i) {
    const CXMLNode* source = from.m_children[i];
    CXMLNode* copy = new CXMLNode;
    if (!copy) continue;
    CopyTree(copy, *source);
    copy->CopySettings(*source);
    if (!to->m_children.Add(copy)) delete copy;
  }
}

void CXMLNode::CopySettings(const CXMLNode& other) {
  m_sequenceNumber = other.m_sequenceNumber;
  m_progressCallback = other.m_progressCallback;
  m_progressUser = other.m_progressUser;
  m_fileSize = other.m_fileSize;
  m_nodeLength = other.m_nodeLength;
  m_shouldDeHTMLify = other.m_shouldDeHTMLify;
}

// --- Accessors ---------------------------------------------------------------------------

const wchar_t* CXMLNode::GetContentString(int index) const {
  CXMLValue* v = m_contents.GetAt(index);
  return v ? v->Value() : nullptr;
}

void CXMLNode::SetName(const wchar_t* name) {
  wchar_t* copy = CopyText(name);  // before freeing: `name` may be our own text
  FreeName();
  m_name = copy;
  if (copy) XMLArena::Touch(this);
}

void CXMLNode::FreeName() {
  zor::xml::FreeText(m_name);
  m_name = nullptr;
}

void* CXMLNode::operator new(std::size_t size) noexcept { return std::malloc(size); }
void* CXMLNode::operator new(std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }

void CXMLNode::operator delete(void* block) noexcept {
  // A parsed node goes back to its document's blocks with them.
  XMLArena::FreeObject(block);
}

// --- Look-ups -----------------------------------------------------------------------------

CXMLNode* CXMLNode::FindNode(const wchar_t* name) const {
  if (!name || !*name) return nullptr;
  if (m_name && NamesEqual(m_name, name)) return const_cast<CXMLNode*>(this);
  for (int i = 0; i < m_children.GetSize(); ++i)
    if (CXMLNode* found = m_children[i]->FindNode(name)) return found;
  return nullptr;
}

CXMLNode* CXMLNode::GetChildByName(const wchar_t* name) const {
  if (!name || !*name) return nullptr;
  for (int i = 0; i < m_children.GetSize(); ++i)
    if (m_children[i]->m_name && NamesEqual(m_children[i]->m_name, name)) return m_children[i];
  return nullptr;
}

CXMLNode* CXMLNode::GetChildBySequenceNumber(int number) const {
  for (int i = 0; i < m_children.GetSize(); ++i)
    if (m_children[i]->m_sequenceNumber == number) return m_children[i];
  return nullptr;
}

const wchar_t* CXMLNode::GetValue(const wchar_t* name, bool recurse, int index) const {
  if (!name || !*name) return nullptr;
  for (int i = 0; i < m_headerProperties.GetSize(); ++i) {
    const CXMLValue* v = m_headerProperties[i];
    if (v->m_fieldName && NamesEqual(v->m_fieldName, name)) return v->m_value;
  }
  if (CXMLNode* child = GetChildByName(name)) return child->GetContentString(index);
  if (!recurse) return nullptr;
  for (int i = 0; i < m_children.GetSize(); ++i)
    if (const wchar_t* found = m_children[i]->GetValue(name, true, index)) return found;
  return nullptr;
}

CXMLNode* CXMLNode::GetChildFollowingValue(const wchar_t* value) const {
  if (!value || !*value) return nullptr;
  // The last child has no follower, so it is never tested.
  for (int i = 0; i + 1 < m_children.GetSize(); ++i) {
    const wchar_t* first = m_children[i]->GetContentString(0);
    if (first && NamesEqual(first, value)) return m_children[i + 1];
  }
  return nullptr;
}

const wchar_t* CXMLNode::GetValueFollowingValue(const wchar_t* value) const {
  CXMLNode* next = GetChildFollowingValue(value);
  return next ? next->GetContentString(0) : nullptr;
}

CXMLValue* CXMLNode::GetValueBySequenceNumber(int number) const {
  for (int i = 0; i < m_contents.GetSize(); ++i)
    if (m_contents[i]->m_sequenceNumber == number) return m_contents[i];
  return nullptr;
}

const wchar_t* CXMLNode::GetContentStringBySequenceNumber(int number) const {
  CXMLValue* v = GetValueBySequenceNumber(number);
  return v ? v->Value() : nullptr;
}

int CXMLNode::HighestSequenceNumber() const {
  int highest = -1;
  for (int i = 0; i < m_children.GetSize(); ++i)
    if (m_children[i]->m_sequenceNumber > highest) highest = m_children[i]->m_sequenceNumber;
  for (int i = 0; i < m_contents.GetSize(); ++i)
    if (m_contents[i]->m_sequenceNumber > highest) highest = m_contents[i]->m_sequenceNumber;
  return highest;
}

// --- Tree operations ---------------------------------------------------------------------

bool CXMLNode::AddHeaderProperty(const wchar_t* name, const wchar_t* value) {
  if (!name || !*name || !value || !*value) return false;
  CXMLValue* v = XMLParser::NewValue(nullptr, name, wcslen(name), value, wcslen(value));
  if (!v) return false;
  XMLArena::Touch(this);
  if (!m_headerProperties.Add(v)) {
    delete v;
    return false;
  }
  return true;
}

void CXMLNode::Clear() {
  FreeName();
  m_children.DeleteAll();
  m_children.FreeExtra();
  m_headerProperties.DeleteAll();
  m_headerProperties.FreeExtra();
  m_contents.DeleteAll();
  m_contents.FreeExtra();
}

void CXMLNode::EmptyChildrenNoDelete() {
  // Parsed objects handed over outlive their document's next parse: their
  // blocks are then left to them.
  for (int i = 0; i < m_children.GetSize(); ++i) XMLArena::Touch(m_children[i]);
  for (int i = 0; i < m_headerProperties.GetSize(); ++i) XMLArena::Touch(m_headerProperties[i]);
  for (int i = 0; i < m_contents.GetSize(); ++i) XMLArena::Touch(m_contents[i]);
  RemoveAllNoTouch();
}

void CXMLNode::RemoveAllNoTouch() {
  m_children.RemoveAll();
  m_children.FreeExtra();
  m_headerProperties.RemoveAll();
  m_headerProperties.FreeExtra();
  m_contents.RemoveAll();
  m_contents.FreeExtra();
}

void CXMLNode::CopyContents(const CXMLNode& other) {
  // Counts first: `other` may be this node or contain it.
  const int properties = other.m_headerProperties.GetSize();
  const int contents = other.m_contents.GetSize();
  const int children = other.m_children.GetSize();
  XMLArena::Touch(this);
  AppendValueCopies(m_headerProperties, other.m_headerProperties, properties);
  // Deliberately into the header properties: hosts merge a node's texts
  // with its attributes this way.
  AppendValueCopies(m_headerProperties, other.m_contents, contents);
  AppendNodeCopies(m_children, other.m_children, children);
}

void CXMLNode::DeHTMLify(bool recurse) {
  DeHTMLifyText(m_name);
  for (int i = 0; i < m_headerProperties.GetSize(); ++i) m_headerProperties[i]->DeHTMLify();
  for (int i = 0; i < m_contents.GetSize(); ++i) m_contents[i]->DeHTMLify();
  if (recurse)
    for (int i = 0; i < m_children.GetSize(); ++i) m_children[i]->DeHTMLify(true);
}

unsigned int CXMLNode::GetLongestString(bool recurse) const {
  unsigned int longest = Longer(0, m_name);
  for (int i = 0; i < m_headerProperties.GetSize(); ++i) {
    longest = Longer(longest, m_headerProperties[i]->m_fieldName);
    longest = Longer(longest, m_headerProperties[i]->m_value);
  }
  for (int i = 0; i < m_contents.GetSize(); ++i) {
    longest = Longer(longest, m_contents[i]->m_fieldName);
    longest = Longer(longest, m_contents[i]->m_value);
  }
  if (recurse) {
    for (int i = 0; i < m_children.GetSize(); ++i) {
      unsigned int child = m_children[i]->GetLongestString(true);
      if (child > longest) longest = child;
    }
  }
  return longest;
}
