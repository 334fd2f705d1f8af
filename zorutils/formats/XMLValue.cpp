// CXMLValue: a named text of an XML tree.
#include <zorutils/formats/XMLValue.h>

#include <zorutils/formats/XMLNode_impl.h>
#include <zorutils/text/HtmlEntities.h>

#include <malloc.h>

#include <cstdlib>
#include <cwchar>

using zor::xml::CopyChars;
using zor::xml::CopyText;

CXMLValue::CXMLValue() : m_fieldName(nullptr), m_value(nullptr), m_sequenceNumber(-1) {}

CXMLValue::CXMLValue(const CXMLValue& other)
    : m_fieldName(CopyText(other.m_fieldName)),
      m_value(CopyText(other.m_value)),
      m_sequenceNumber(other.m_sequenceNumber) {}

CXMLValue& CXMLValue::operator=(const CXMLValue& other) {
  if (this == &other) return *this;
  wchar_t* name = CopyText(other.m_fieldName);
  wchar_t* value = CopyText(other.m_value);
  const bool nameInline = IsInline(m_fieldName), valueInline = IsInline(m_value);
  if (!nameInline) std::free(m_fieldName);
  if (!valueInline) std::free(m_value);
  m_fieldName = name;
  m_value = value;
  m_sequenceNumber = other.m_sequenceNumber;
  return *this;
}

CXMLValue::~CXMLValue() {
  const bool nameInline = IsInline(m_fieldName), valueInline = IsInline(m_value);
  if (!nameInline) std::free(m_fieldName);
  if (!valueInline) std::free(m_value);
}

void* CXMLValue::operator new(std::size_t size) noexcept { return std::malloc(size); }
void* CXMLValue::operator new(std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }
void CXMLValue::operator delete(void* block) noexcept { std::free(block); }

wchar_t* CXMLValue::InlineText() const {
  return reinterpret_cast<wchar_t*>(reinterpret_cast<char*>(const_cast<CXMLValue*>(this)) + sizeof(CXMLValue));
}

bool CXMLValue::IsInline(const wchar_t* text) const {
  // The first inline string sits right behind the object, where no string
  // of a block of its own can be. A second one follows it, and exists only
  // while the first (the field name) is still in place: only then is the
  // object known to be a block of its own heap, whose size bounds the test.
  if (!text) return false;
  const wchar_t* first = InlineText();
  if (text == first) return true;
  if (m_fieldName != first || text < first) return false;
  const char* end = reinterpret_cast<const char*>(this) + _msize(const_cast<CXMLValue*>(this));
  return reinterpret_cast<const char*>(text) < end;
}

void CXMLValue::SetFieldName(const wchar_t* name) {
  wchar_t* copy = CopyText(name);  // before freeing: `name` may be our own text
  if (IsInline(m_fieldName)) {
    // A value stored behind an inline field name is recognised through it:
    // it moves to a block of its own first.
    if (m_value && m_value != InlineText() && IsInline(m_value)) m_value = CopyText(m_value);
  } else {
    std::free(m_fieldName);
  }
  m_fieldName = copy;
}

void CXMLValue::SetValue(const wchar_t* text, int length) {
  wchar_t* copy = nullptr;
  if (text) copy = length < 1 ? CopyText(text) : CopyChars(text, wcsnlen(text, static_cast<size_t>(length)));
  if (!IsInline(m_value)) std::free(m_value);
  m_value = copy;
}

void CXMLValue::DeHTMLify() {
  if (m_fieldName) DeHTMLifyString(m_fieldName, static_cast<unsigned int>(wcslen(m_fieldName) + 1));
  if (m_value) DeHTMLifyString(m_value, static_cast<unsigned int>(wcslen(m_value) + 1));
}
