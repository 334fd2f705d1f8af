// CXMLValue: one named text of an XML tree: an attribute of an element, or a
// run of text content inside it.
//
// For an attribute the field name is the attribute's name; for a text content
// it is the name of the element holding the text. The sequence number places
// a content among its element's contents and children (document order); it is
// -1 for attributes and for values made by hand. Strings are owned; a null or
// empty text is kept as null.
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
  /// Copies field name, value and sequence number.
  CXMLValue(const CXMLValue& other);
  CXMLValue& operator=(const CXMLValue& other);
  ~CXMLValue();

  /// The field name or the value; null when unset.
  const wchar_t* FieldName() const { return m_fieldName; }
  const wchar_t* Value() const { return m_value; }
  int SequenceNumber() const { return m_sequenceNumber; }
  void SetSequenceNumber(int number) { m_sequenceNumber = number; }

  /// Copies `name`; null (or empty) clears.
  void SetFieldName(const wchar_t* name);
  /// Copies the first `length` characters of `text` and terminates them; a
  /// `length` below 1 copies the whole text. The copy also stops at the
  /// text's own terminator, so a `length` beyond it never reads past the end.
  /// Null (or an empty result) clears.
  void SetValue(const wchar_t* text, int length = 0);
  /// Replaces HTML references (DeHTMLifyString) in the field name and value.
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
