// CXMLFile: an XML document read from a file or a wide buffer. The document
// is at the same time its root node: the first tag of the text names it, so
// with a declaration the root is the "xml" node (its attributes being the
// declaration's) and the document element is its child; without one the
// document element is the root itself.
//
// When the first node named "xml" (the declaration; else any element of that
// name, found depth-first) has an "encoding" attribute starting with "UTF-8"
// (any case), every string of the tree is decoded from UTF-8 after parsing
// (the file's bytes were widened one to one). Entities are not decoded unless
// de-HTML-ify is set (SetShouldDeHTMLify) or DeHTMLAll is called; the flag
// treats every node as the parser adds it as a child, so the root's own
// name, attributes and texts are left for DeHTMLAll.
//
// Positions, lengths and the file size are in wchar_t characters of the
// widened text. Not thread-safe: one thread at a time per document.
#pragma once

#include <zorutils/Export.h>
#include <zorutils/formats/XMLNode.h>

class ZORUTILS_API CXMLFile : public CXMLNode {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// An empty document: no tree, no callback, de-HTML-ify off.
  CXMLFile();
  /// Copies the tree (as CXMLNode's copy does) and the file's callback, user
  /// data and flag; the copy owns its own nodes.
  CXMLFile(const CXMLFile& other);
  CXMLFile& operator=(const CXMLFile& other);
  /// Frees the whole tree; nodes and values handed out by index die with it.
  ~CXMLFile();

  /// Reads the whole file at `path` and parses it: UTF-16LE when
  /// StringIsUnicode says so (a byte-order mark is skipped), else single-byte
  /// text widened byte by byte (up to the first zero byte). False, with its
  /// log line, for a null, empty or missing path, a file that cannot be
  /// opened or read, an empty file, a file over about 1 GB (0x3FFFFFF0
  /// bytes; logged as a failed allocation) or a failed allocation, and the
  /// tree held before stays; otherwise the answer of LoadFromBuffer.
  bool Open(const wchar_t* path);
  /// Parses `text` (zero-terminated; only read) into this tree, replacing
  /// what it held. False only for a null or empty text, which leaves the tree
  /// as it was; any other text gives some tree and true (a text without tags
  /// leaves an empty root). Logs "Leaving CXMLFile::Open, normal exit".
  bool LoadFromBuffer(wchar_t* text);

  /// Handed to the root before each parse (see CXMLNode::SetProgressCallback;
  /// the total is the text's length in characters).
  void SetProgressCallback(XMLProgressProc callback, void* user) {
    m_fileProgressCallback = callback;
    m_fileProgressUser = user;
  }
  /// Handed to the root before each parse; takes effect at the next one.
  void SetShouldDeHTMLify(bool on) { m_fileShouldDeHTMLify = on; }
  /// Replaces HTML references in every string of the tree, root included.
  void DeHTMLAll() { CXMLNode::DeHTMLify(true); }

  /// The root node's look-ups and accessors (see CXMLNode; null for bad
  /// indexes and null or empty names).
  int NumChildren() const { return CXMLNode::NumChildren(); }
  int NumRootHeaderProperties() const { return CXMLNode::NumHeaderProperties(); }
  CXMLNode* GetChild(int index) const { return CXMLNode::GetChild(index); }
  /// Content `index` of the root, or null.
  CXMLValue* GetValue(unsigned int index) const { return CXMLNode::GetContent(static_cast<int>(index)); }
  const wchar_t* GetValue(const wchar_t* name, bool recurse) const {
    return CXMLNode::GetValue(name, recurse, 0);
  }
  CXMLNode* FindNode(const wchar_t* name) const { return CXMLNode::FindNode(name); }
  CXMLNode* GetChildByName(const wchar_t* name) const { return CXMLNode::GetChildByName(name); }
  CXMLNode* GetChildFollowingValue(const wchar_t* value) const {
    return CXMLNode::GetChildFollowingValue(value);
  }
  const wchar_t* GetValueFollowingValue(const wchar_t* value) const {
    return CXMLNode::GetValueFollowingValue(value);
  }

private:
  XMLProgressProc m_fileProgressCallback;
  void* m_fileProgressUser;
  /// Where the last parse of the root stopped (a character position).
  unsigned int m_parserPosition;
  bool m_fileShouldDeHTMLify;
};

static_assert(sizeof(CXMLFile) == (sizeof(void*) == 8 ? 120 : 80), "CXMLFile's layout is fixed");
