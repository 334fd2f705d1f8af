// Helpers shared by the formats tests (the XML ones and both crash sweeps).
#pragma once

#include "tests/support/TestSupport.h"

#include <string>
#include <vector>

namespace xmltest {

/// Parses `text` with LoadFromBuffer (on a private, writable copy).
inline bool Parse(CXMLFile& doc, const std::wstring& text) {
  std::vector<wchar_t> buf(text.begin(), text.end());
  buf.push_back(0);
  return doc.LoadFromBuffer(buf.data());
}

/// A string for comparisons; null becomes "<null>".
inline std::wstring S(const wchar_t* s) { return s ? std::wstring(s) : std::wstring(L"<null>"); }

/// Depth of the deepest node below `node` (a node without children is 0).
inline int Depth(const CXMLNode* node) {
  int deepest = 0;
  for (int i = 0; i < node->NumChildren(); ++i) {
    int d = Depth(node->GetChild(i)) + 1;
    if (d > deepest) deepest = d;
  }
  return deepest;
}

/// Touches every string of any tree and checks the invariants every tree
/// holds (strings null or non-empty, sequence numbers unique per parent),
/// then reads and decodes a copy of it.
inline void Walk(const CXMLNode* node) {
  auto touch = [](const wchar_t* s) { EXPECT_TRUE(!s || *s); };
  touch(node->Name());
  for (int i = 0; i < node->NumHeaderProperties(); ++i) {
    touch(node->GetHeaderProperty(i)->FieldName());
    touch(node->GetHeaderProperty(i)->Value());
  }
  std::vector<int> seen;
  for (int i = 0; i < node->NumContents(); ++i) {
    touch(node->GetContent(i)->FieldName());
    touch(node->GetContent(i)->Value());
    seen.push_back(node->GetContent(i)->SequenceNumber());
  }
  for (int i = 0; i < node->NumChildren(); ++i) {
    seen.push_back(node->GetChild(i)->SequenceNumber());
    Walk(node->GetChild(i));
  }
  std::vector<bool> used(seen.size() + 1, false);
  for (int n : seen) {
    if (n < 0) continue;  // values made by hand carry -1
    ASSERT_LT(static_cast<size_t>(n), used.size());
    EXPECT_FALSE(used[n]) << "sequence number " << n << " twice";
    used[n] = true;
  }
}
inline void CheckAnyTree(const CXMLFile& doc) {
  Walk(&doc);
  CXMLFile copy(doc);
  copy.DeHTMLAll();
  (void)copy.GetValue(L"name", true);
  (void)copy.FindNode(L"x");
}

/// `text` with its line ends made CR LF or LF (a lone CR stays), as single
/// bytes (the low byte of each unit) or as UTF-16LE with a mark.
inline std::string Encode(const std::wstring& text, bool utf16, bool crlf) {
  std::wstring lines;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == L'\r' && i + 1 < text.size() && text[i + 1] == L'\n') continue;
    if (text[i] == L'\n' && crlf) lines += L'\r';
    lines += text[i];
  }
  if (utf16) return zortest::Utf16Bytes(lines, true);
  std::string bytes;
  for (wchar_t c : lines) bytes += static_cast<char>(c & 0xFF);
  return bytes;
}

}  // namespace xmltest
