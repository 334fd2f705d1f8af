// CXMLValue: a named text of an XML tree.
#include <zorutils/formats/XMLValue.h>

#include <zorutils/formats/XMLArena_impl.h>
#include <zorutils/formats/XMLNode_impl.h>
#include <zorutils/text/HtmlEntities.h>

#include <cstdlib>
#include <cwchar>

using zor::xml::CopyChars;
using zor::xml::CopyText;
using zor::xml::FreeText;
using zor::xml::XMLArena;

CXMLValue::CXMLValue() : m_fieldName(nullptr), m_value(nullptr), m_sequenceNumber(-1) {}

CXMLValue::CXMLValue(const CXMLValue& other)
    : m_fieldName(CopyText(other.m_fieldName)),
      m_value(CopyText(other.m_value)),
      m_sequenceNumber(other.m_sequenceNumber) {}

CXMLValue& CXMLValue::operator=(const CXMLValue& other) {
  if (this == &other) return *this;
  wchar_t* name = CopyText(other.m_fieldName);
  wchar_t* value = CopyText(other.m_value);
  FreeText(m_fieldName);
  FreeText(m_value);
  m_fieldName = name;
  m_value = value;
  m_sequenceNumber = other.m_sequenceNumber;
  XMLArena::Touch(this);  // heap strings in a parsed value
  return *this;
}

CXMLValue::~CXMLValue() {
  FreeText(m_fieldName);
  FreeText(m_value);
}

void* CXMLValue::operator new(std::size_t size) noexcept { return std::malloc(size); }
void* CXMLValue::operator new(std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }

void CXMLValue::operator delete(void* block) noexcept {
  // A parsed value goes back to its document's blocks with them.
  XMLArena::FreeObject(block);
}

void CXMLValue::SetFieldName(const wchar_t* name) {
  wchar_t* copy = CopyText(name);  // before freeing: `name` may be our own text
  FreeText(m_fieldName);
  m_fieldName = copy;
  if (copy) XMLArena::Touch(this);
}

void CXMLValue::SetValue(const wchar_t* text, int length) {
  wchar_t* copy = nullptr;
  if (text) copy = length < 1 ? CopyText(text) : CopyChars(text, wcsnlen(text, static_cast<size_t>(length)));
  FreeText(m_value);
  m_value = copy;
  if (copy) XMLArena::Touch(this);
}

void CXMLValue::DeHTMLify() {
  if (m_fieldName) DeHTMLifyString(m_fieldName, static_cast<unsigned int>(wcslen(m_fieldName) + 1));
  if (m_value) DeHTMLifyString(m_value, static_cast<unsigned int>(wcslen(m_value) + 1));
}
