// CXMLValue: one named text of an XML tree: an attribute of an element, or a
// run of text content inside it.
//
// For an attribute the field name is the attribute's name; for a text content
// it is the name of the element holding the text. The sequence number places
// a content among its element's contents and children (document order); it is
// -1 for attributes and for values made by hand. Strings are owned. The
// parser stores no empty text (null instead); the setters and copies keep an
// empty text as an empty string and only null as null.
//
// Storage: values a document parses, and their strings, live in blocks the
// document owns (see CXMLFile); such a value is still deleted, copied and
// given new texts as any other, and a string set later is a heap block of its
// own. The class allocates its objects itself (from the library's C runtime
// heap), so `new` and `delete` of CXMLValue may be used on either side of the
// library boundary.
#pragma once

#include <zorutils/Export.h>

#include <cstddef>
#include <new>

class ZORUTILS_API CXMLValue {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// No field name, no value, sequence number -1.
  CXMLValue();
  /// Copies field name, value and sequence number (a text that cannot be
  /// copied for lack of memory becomes null).
  CXMLValue(const CXMLValue& other);
  /// The same copy; self-assignment does nothing.
  CXMLValue& operator=(const CXMLValue& other);
  /// Frees both strings.
  ~CXMLValue();

  /// The field name or the value; null when unset. Valid until the text is
  /// replaced or the value destroyed.
  const wchar_t* FieldName() const { return m_fieldName; }
  const wchar_t* Value() const { return m_value; }
  /// The place among the element's contents and children; -1 when none.
  int SequenceNumber() const { return m_sequenceNumber; }
  void SetSequenceNumber(int number) { m_sequenceNumber = number; }

  /// Copies `name` (which may be this value's own text); null clears, an
  /// empty text is kept as an empty string.
  void SetFieldName(const wchar_t* name);
  /// Copies the first `length` characters of `text` and terminates them; a
  /// `length` below 1 copies the whole text. The copy also stops at the
  /// text's own terminator, so a `length` beyond it never reads past the end.
  /// Null clears; an empty text is kept as an empty string.
  void SetValue(const wchar_t* text, int length = 0);
  /// Replaces HTML references (DeHTMLifyString, "%20" too) in the field name
  /// and value, in place (the texts never grow).
  void DeHTMLify();

  /// Allocation from the library's heap; null (no exception) when memory
  /// runs out.
  static void* operator new(std::size_t size) noexcept;
  static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;
  static void operator delete(void* block) noexcept;

private:
  friend class CXMLNode;
  friend struct XMLParser;

  wchar_t* m_fieldName;
  wchar_t* m_value;
  int m_sequenceNumber;
};

static_assert(sizeof(CXMLValue) == 3 * sizeof(void*), "CXMLValue: two string pointers and an int");
