// CXMLNode: one element of an XML tree, and the forgiving tag scanner that
// fills it.
//
// An element owns its children (in document order), its header properties
// (the attributes, in the order written) and its contents (the text runs
// between its tags, untrimmed). While an element is parsed one counter numbers
// its contents and its children together in the order they are met, so text,
// child, text get 0, 1, 2. Name look-ups fold only A-Z to a-z.
//
// The scanner never reports a syntax error: malformed input gives some tree.
// It knows four openings ("<?", "</", "<!DOCTYPE", "<", tried in that order)
// and three closings ("?>", "/>", ">"), skips "<!-- ... -->" comments, and
// ignores closings inside quotes. The first tag an element meets is its own
// opening tag; an end tag with its name (any case) closes it; every other tag,
// an unmatched end tag included, starts a child.
//
// Decisions this scanner takes where markup is malformed:
// - White space inside a tag is a blank, tab, CR or LF (so a name or an
//   attribute may be followed by a line break).
// - Inside a quoted part of a tag only the same kind of quote ends it, so an
//   apostrophe in "it's" does not hide the tag's closing.
// - "<!DOCTYPE" is recognised in any case of its letters.
// - An opening without a closing, and a comment without its "-->", end the
//   scan: the text behind them is not parsed.
// - Nesting is bounded by kXMLMaxDepth, because every tree operation
//   (destruction, copies, look-ups) recurses once per level and a hostile
//   document could otherwise exhaust the stack (a tree at the bound needs
//   well under 256 KB of stack). An element at the bound starts no children:
//   the tags that would start them are dropped, and the text around them
//   stays contents of that element.
// - A node's length (NodeLength) is the number of characters it spans, from
//   its opening '<' to behind its closing tag, or to where its parse stopped.
//
// Storage: as with CXMLValue, the nodes a document parses live in blocks the
// document owns and behave as any other; the class allocates its objects
// itself, so `new` and `delete` work on either side of the library.
#pragma once

#include <zorutils/Export.h>
#include <zorutils/containers/DynArray.h>
#include <zorutils/formats/XMLValue.h>

/// Size in characters of each text buffer of a TFieldResult.
const int kXMLFieldChars = 4096;
/// The longest tag name a TFieldResult keeps; longer names are cut.
const int kXMLMaxTagName = 4094;
/// The longest attribute name or value LoadHeaderProperties keeps.
const int kXMLMaxAttribute = 4095;
/// The deepest nesting the parser builds; the root is at depth 0.
const int kXMLMaxDepth = 1000;
/// GetNextFieldInfo's answer when no further tag follows.
const unsigned int kXMLNoTag = 0xFFFFFFFFu;

/// Start kinds (index into the opening table) and end kinds (closing table).
enum TXMLStartKind { kXMLDeclaration = 0, kXMLEndTag = 1, kXMLDocType = 2, kXMLStartTag = 3 };
enum TXMLEndKind { kXMLEndDeclaration = 0, kXMLEndEmpty = 1, kXMLEndTagClose = 2 };

/// What the scanner found in one tag.
struct TFieldResult {
  /// The tag name: the characters after any leading white space up to the
  /// first white space, at most kXMLMaxTagName of them, terminated.
  wchar_t tagName[kXMLFieldChars];
  /// The first quoted text inside the tag (without its quotes), at most
  /// kXMLFieldChars - 1 characters, terminated; empty when there is none.
  wchar_t quotedValue[kXMLFieldChars];
  /// TXMLStartKind and TXMLEndKind of the tag.
  int startKind;
  int endKind;
  /// Whether white space outside quotes is followed later by something else.
  bool hasAttributes;
};

/// Called once per tag while a document is parsed, with the tag's position
/// and the total (both in characters of the text) and the user pointer.
typedef void (*XMLProgressProc)(unsigned int position, unsigned int total, void* user);

class ZORUTILS_API CXMLNode {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  // --- Construction -------------------------------------------------------------

  /// No name, sequence number -1, no callback, flags clear.
  CXMLNode();
  /// A deep copy (see operator=).
  CXMLNode(const CXMLNode& other);
  /// Frees the whole subtree.
  ~CXMLNode();
  /// Clear(), then copies the name, sequence number, progress callback and
  /// user data, file size, node length and de-HTML-ify flag, and deep copies
  /// of every header property, content and child. Assigning a node's own
  /// descendant to it is safe; self-assignment does nothing. Objects that
  /// cannot be allocated are left out of the copy.
  CXMLNode& operator=(const CXMLNode& other);

  // --- Accessors (no side effects) ---------------------------------------------------

  // Counts, and the objects by index: null for a negative or out-of-range
  // index. The node keeps owning what they return.

  /// The number of direct child elements.
  int NumChildren() const { return m_children.GetSize(); }
  CXMLNode* GetChild(int index) const { return m_children.GetAt(index); }
  /// The number of attributes (header properties).
  int NumHeaderProperties() const { return m_headerProperties.GetSize(); }
  CXMLValue* GetHeaderProperty(int index) const { return m_headerProperties.GetAt(index); }
  /// The number of text runs (contents).
  int NumContents() const { return m_contents.GetSize(); }
  CXMLValue* GetContent(int index) const { return m_contents.GetAt(index); }
  /// The value of content `index`, or null (also out of range).
  const wchar_t* GetContentString(int index) const;
  /// The element's name, or null.
  const wchar_t* Name() const { return m_name; }
  /// Copies `name` (which may be this node's own name); null clears, an
  /// empty text is kept as an empty string.
  void SetName(const wchar_t* name);
  /// The place among the parent's contents and children (document order);
  /// -1 for a node never added by the parser, 0 for a document's root.
  int SequenceNumber() const { return m_sequenceNumber; }
  void SetSequenceNumber(int number) { m_sequenceNumber = number; }
  /// The characters the element spans in the parsed text (see above); 0
  /// before a parse.
  unsigned int NodeLength() const { return m_nodeLength; }
  /// The flag SetShouldDeHTMLify stores.
  bool ShouldDeHTMLify() const { return m_shouldDeHTMLify; }
  /// When set, the parser runs every child through DeHTMLify(false) as it is
  /// added.
  void SetShouldDeHTMLify(bool on) { m_shouldDeHTMLify = on; }
  /// The callback (null: none) gets (character position of the tag's '<',
  /// file size, user) once per tag the parse meets (comments not counted),
  /// on the parsing thread; the children a parse creates inherit it.
  void SetProgressCallback(XMLProgressProc callback, void* user) {
    m_progressCallback = callback;
    m_progressUser = user;
  }
  /// The total handed to the progress callback (characters; a document sets
  /// its text length). Nothing else uses it.
  void SetFileSize(unsigned int size) { m_fileSize = size; }

  // --- Look-ups (null or empty names give null) ---------------------------------------

  /// This node if its name matches, else the first match among the children,
  /// each searched depth-first (pre-order).
  CXMLNode* FindNode(const wchar_t* name) const;
  /// The first direct child whose name matches.
  CXMLNode* GetChildByName(const wchar_t* name) const;
  /// The first direct child with sequence number `number`, or null.
  CXMLNode* GetChildBySequenceNumber(int number) const;
  /// The value of the first header property named `name`; else content
  /// `index` of the first direct child named `name` (null when it has no such
  /// content); else, with `recurse`, the first non-null answer of the
  /// children asked in order. So attributes shadow elements, and a direct
  /// child shadows deeper ones.
  const wchar_t* GetValue(const wchar_t* name, bool recurse = false, int index = 0) const;
  /// For key-value lists written as sibling elements: the child right after
  /// the first child whose first content equals `value` (A-Z folded). Needs
  /// two children at least; the last child is never tested. Null when none.
  CXMLNode* GetChildFollowingValue(const wchar_t* value) const;
  /// The first content of that following child (null when none).
  const wchar_t* GetValueFollowingValue(const wchar_t* value) const;
  /// The direct content with sequence number `number` (null when none), or
  /// its text.
  CXMLValue* GetValueBySequenceNumber(int number) const;
  const wchar_t* GetContentStringBySequenceNumber(int number) const;
  /// The largest sequence number of the direct children and contents, or -1.
  int HighestSequenceNumber() const;

  // --- Tree operations --------------------------------------------------------------------

  /// Appends an attribute (copies of both texts, sequence number -1), even
  /// when one of that name exists. False when either text is null or empty,
  /// or memory runs out.
  bool AddHeaderProperty(const wchar_t* name, const wchar_t* value);
  /// Frees the name, every child (with its subtree), header property and
  /// content; the arrays become empty. Sequence number, callback, flags and
  /// lengths stay.
  void Clear();
  /// Forgets children, header properties and contents without destroying
  /// them, for when their ownership was handed to another node.
  void EmptyChildrenNoDelete();
  /// Appends deep copies of `other`'s header properties and then of its
  /// contents, both to this node's header properties (the contents
  /// deliberately land there), then deep copies of its children to this
  /// node's children. Does not clear this node nor copy name or sequence.
  /// `other` may be this node or one of its descendants.
  void CopyContents(const CXMLNode& other);
  /// Replaces HTML references in the name and in field name and value of
  /// every header property and content, in place; with `recurse`, in the
  /// whole subtree (DeHTMLifyString: "%20" becomes a blank too). Running it
  /// twice decodes twice ("&amp;amp;" becomes "&").
  void DeHTMLify(bool recurse);
  /// The length in characters (no terminator) of the longest string of this
  /// node (name, field names and values), with `recurse` of its whole
  /// subtree; 0 when it holds none.
  unsigned int GetLongestString(bool recurse) const;

  /// Allocation from the library's heap; null (no exception) when memory
  /// runs out.
  static void* operator new(std::size_t size) noexcept;
  static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
  static void operator delete(void* block) noexcept;

  // --- Parsing --------------------------------------------------------------------------------

  /// Parses one element of `text` (`length` characters, which it must hold;
  /// no terminator needed) from `position` and leaves `position` behind it.
  /// What it finds is added to this node, which is not cleared first (a name
  /// it has already stays). At most `maxTags` tags are taken for this element
  /// itself (each child counts one); after them, and at once for `maxTags` of
  /// 0 or less, the answer is true. False (logged "Leaving CXMLFile::Load, no
  /// data") for a null text or a length of 0; false, unlogged, when no
  /// opening tag follows `position` (also at or past `length`) or memory for
  /// the scanner runs out.
  bool Load(const wchar_t* text, unsigned int& position, unsigned int length, int maxTags);
  /// Finds the next tag at or after `position`, skipping comments, fills
  /// `result` and sets `tagEnd` behind the tag's closing. Returns the position
  /// of the tag's '<', or kXMLNoTag when no complete tag follows (`tagEnd`
  /// then unchanged, `result` possibly part filled), also for null text or a
  /// position at or past `length`.
  unsigned int GetNextFieldInfo(const wchar_t* text, unsigned int length, unsigned int position,
                                unsigned int& tagEnd, TFieldResult& result);
  /// Fills tag name, quoted value and has-attributes of `result` from the
  /// `count` characters of a tag's inner text at `start` (which `text` must
  /// hold); the kinds are left alone. Null text: empty name and value, no
  /// attributes.
  void ParseFieldID(const wchar_t* text, unsigned int start, unsigned int count, TFieldResult& result);
  /// Adds the attributes of a tag's inner text (`length` characters: the tag
  /// name, then name="value" pairs). Names end at '=', values are delimited
  /// by double quotes only; both are cut to kXMLMaxAttribute characters and
  /// trimmed of white space; pairs with an empty name or value, and a last
  /// value without its closing quote, are dropped. Appends to the attributes
  /// already held; null text adds nothing.
  void LoadHeaderProperties(const wchar_t* text, unsigned int length);
  /// Whether some character in [from, to) is neither U+0020 nor a code below
  /// 14 (tab, CR, LF...). False for null text or an empty range.
  bool IsMeaningfulString(const wchar_t* text, unsigned int from, unsigned int to) const;
  /// Adds the tokens of a "<!DOCTYPE" tag's text (`length` characters from its
  /// '<') as contents without field name, numbered from 0. The keyword is
  /// skipped; tokens end at an unquoted blank or at a closing quote; CR and
  /// LF are ignored; tokens are cut to 1,023 characters. A token still open
  /// at the end is deliberately not added. Null text adds nothing.
  void ParseDocTypeDeclaration(const wchar_t* text, unsigned int length);
  /// Decodes UTF-8 read byte by byte (DecodeUTF8ToBuffer) in every string of
  /// the subtree: children first, then the name, then field name and value of
  /// each header property and content. `work` must hold the longest string
  /// plus its terminator (`workChars` in characters); longer strings are left
  /// as they are. Null `work` or `workChars` below 1: nothing is done.
  void DecodeUTF8(wchar_t* work, int workChars);
  /// Decodes `in` into `out`, each character read as one byte: a lead from
  /// 192 to 223 with one continuation (a character whose low byte has its top
  /// bit set), or from 224 to 239 with two, becomes one character; a lead from
  /// 240 to 253 is dropped (its continuations are copied); everything else,
  /// characters above 255 included, is copied. True when the output differs
  /// from the input. False for null pointers, an empty `in` (`out` made empty)
  /// or an `out` smaller than the length of `in` plus one (`outChars` counts
  /// characters with the terminator; `out` is then untouched). `out` may be
  /// `in` itself: the output never overtakes the input.
  static bool DecodeUTF8ToBuffer(const wchar_t* in, wchar_t* out, int outChars);

protected:
  friend struct XMLParser;

  /// Copies sequence number, callback, user data, file size, node length and
  /// the de-HTML-ify flag.
  void CopySettings(const CXMLNode& other);
  /// Frees the name unless it lives in a document's blocks; sets it null.
  void FreeName();
  /// EmptyChildrenNoDelete without marking handed-over objects.
  void RemoveAllNoTouch();

  CDynArray<CXMLNode*> m_children;
  CDynArray<CXMLValue*> m_headerProperties;
  CDynArray<CXMLValue*> m_contents;
  wchar_t* m_name;
  int m_sequenceNumber;
  XMLProgressProc m_progressCallback;
  void* m_progressUser;
  unsigned int m_fileSize;
  unsigned int m_nodeLength;
  bool m_shouldDeHTMLify;
};

static_assert(sizeof(CDynArray<void*>) == sizeof(void*) + 2 * sizeof(int), "a pointer and two ints");
static_assert(sizeof(CXMLNode) == (sizeof(void*) == 8 ? 96 : 64), "CXMLNode's layout is fixed");
