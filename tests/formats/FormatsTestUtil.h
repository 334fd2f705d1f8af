// Helpers shared by the formats tests: XML trees as text and the fuzzers'
// samples in every encoding the readers detect.
#pragma once

#include "tests/support/TestSupport.h"

#include <initializer_list>

namespace ftest {

/// Parses `text` with LoadFromBuffer (on a private, writable copy).
inline bool Parse(CXMLFile& doc, const std::wstring& text) {
  std::vector<wchar_t> buf(text.c_str(), text.c_str() + text.size() + 1);
  return doc.LoadFromBuffer(buf.data());
}

/// A string for comparisons; null becomes "<null>".
inline std::wstring S(const wchar_t* s) { return s ? std::wstring(s) : std::wstring(L"<null>"); }

/// A tree as text: name{attribute=value,...}(item item ...), the items taken
/// by sequence number, contents quoted ('text'), a number held by nothing "?".
inline std::wstring Dump(const CXMLNode& n) {
  std::wstring s = S(n.Name());
  for (int i = 0; i < n.NumHeaderProperties(); ++i)
    s += (i ? L"," : L"{") + S(n.GetHeaderProperty(i)->FieldName()) + L"=" + S(n.GetHeaderProperty(i)->Value());
  if (n.NumHeaderProperties()) s += L"}";
  for (int k = 0; k <= n.HighestSequenceNumber(); ++k) {
    const wchar_t* text = n.GetContentStringBySequenceNumber(k);
    const CXMLNode* child = n.GetChildBySequenceNumber(k);
    s += (k ? L" " : L"(") + (text ? L"'" + std::wstring(text) + L"'" : child ? Dump(*child) : L"?");
  }
  return n.HighestSequenceNumber() < 0 ? s : s + L")";
}

/// The tree of `text` as the document builds it, made the long way: parsed
/// into a plain node (whose objects come from the heap), then decoded from
/// UTF-8 when its first "xml" node declares that.
inline std::wstring TwoPassDump(const std::wstring& text, bool deHTMLify) {
  CXMLNode plain;
  plain.SetShouldDeHTMLify(deHTMLify);
  unsigned int at = 0;
  if (text.empty() || !plain.Load(text.c_str(), at, static_cast<unsigned int>(text.size()), 999999)) return Dump(plain);
  if (const CXMLNode* xml = plain.FindNode(L"XML")) {
    for (int i = 0; i < xml->NumHeaderProperties(); ++i) {
      const CXMLValue* v = xml->GetHeaderProperty(i);
      if (!v->FieldName() || _wcsicmp(v->FieldName(), L"encoding") != 0) continue;
      if (v->Value() && _wcsnicmp(v->Value(), L"UTF-8", 5) == 0 && wcslen(v->Value()) >= 5) {
        std::vector<wchar_t> work(plain.GetLongestString(true) + 1);
        plain.DecodeUTF8(work.data(), static_cast<int>(work.size()));
      }
      break;
    }
  }
  return Dump(plain);
}

/// Each text as single bytes (the low byte of each unit) and as UTF-16LE
/// with and without a mark.
inline std::vector<std::string> Variants(std::initializer_list<const wchar_t*> texts) {
  std::vector<std::string> samples;
  for (const std::wstring t : texts)
    samples.insert(samples.end(),
                   {std::string(t.begin(), t.end()), zortest::Utf16Bytes(t, true), zortest::Utf16Bytes(t, false)});
  return samples;
}

/// The tokens, and each as UTF-16LE too.
inline std::vector<std::string> WithUtf16(std::vector<std::string> tokens) {
  for (size_t i = 0, n = tokens.size(); i < n; ++i)
    tokens.push_back(zortest::Utf16Bytes(std::wstring(tokens[i].begin(), tokens[i].end()), false));
  return tokens;
}

/// The text a reader takes from a file's bytes: UTF-16LE after an optional mark (an odd last
/// byte pairs with a zero byte) or single bytes widened, either up to its first zero character.
inline std::wstring TextOf(const std::string& bytes) {
  const std::string b = bytes + std::string(4, '\0');
  const unsigned char* p = reinterpret_cast<const unsigned char*>(b.data());
  const bool wide = StringIsUnicode(p, static_cast<int>(bytes.size()), false);
  std::wstring text;
  for (size_t i = wide && StringHasUnicodeHeader(p) ? 2 : 0; p[i] || (wide && p[i + 1]); i += wide ? 2 : 1)
    text += wide ? static_cast<wchar_t>(p[i] | p[i + 1] << 8) : static_cast<wchar_t>(p[i]);
  return text;
}

}  // namespace ftest
