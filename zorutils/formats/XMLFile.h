// CXMLFile: an XML document read from a file or a wide buffer. The document
// is at the same time its root node: the first tag of the text names it, so
// with a declaration the root is the "xml" node (its attributes being the
// declaration's) and the document element is its child; without one the
// document element is the root itself.
//
// When the "xml" node declares an encoding starting with "UTF-8", every
// string of the tree is decoded from UTF-8 after parsing (the file's bytes
// were widened one to one). Entities are not decoded unless de-HTML-ify is
// set (SetShouldDeHTMLify) or DeHTMLAll is called.
#pragma once

#include <zorutils/Export.h>
#include <zorutils/formats/XMLNode.h>

class ZORUTILS_API CXMLFile : public CXMLNode {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  CXMLFile();
  /// Copies the tree and the file's callback, user data and flag.
  CXMLFile(const CXMLFile& other);
  CXMLFile& operator=(const CXMLFile& other);
  ~CXMLFile();

  /// Reads the whole file at `path` and parses it: UTF-16LE when
  /// StringIsUnicode says so (a byte-order mark is skipped), else single-byte
  /// text widened byte by byte (up to the first zero byte). False, with its
  /// log line, for a null, empty or missing path, a file that cannot be
  /// opened or read, an empty file, or a failed allocation; otherwise the
  /// answer of LoadFromBuffer.
  bool Open(const wchar_t* path);
  /// Parses `text` (zero-terminated) into this tree, replacing what it held.
  /// False only for a null or empty text; any other text gives some tree and
  /// true (a text without tags leaves an empty root).
  bool LoadFromBuffer(wchar_t* text);

  /// Handed to the root before each parse.
  void SetProgressCallback(XMLProgressProc callback, void* user) {
    m_fileProgressCallback = callback;
    m_fileProgressUser = user;
  }
  void SetShouldDeHTMLify(bool on) { m_fileShouldDeHTMLify = on; }
  /// Replaces HTML references in every string of the tree.
  void DeHTMLAll() { CXMLNode::DeHTMLify(true); }

  /// The root node's look-ups and accessors.
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
