// Helpers shared by the XML tests.
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

/// Touches every string of the tree and checks the invariants any tree
/// holds: strings null or non-empty, sequence numbers unique per parent.
inline void Walk(const CXMLNode* node, size_t* strings) {
  auto touch = [&](const wchar_t* s) {
    if (!s) return;
    ++*strings;
    EXPECT_GT(wcslen(s), 0u);
  };
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
    Walk(node->GetChild(i), strings);
  }
  std::vector<bool> used(seen.size() + 1, false);
  for (int n : seen) {
    if (n < 0) continue;  // values made by hand carry -1
    ASSERT_LT(static_cast<size_t>(n), used.size());
    EXPECT_FALSE(used[n]) << "sequence number " << n << " twice";
    used[n] = true;
  }
}

}  // namespace xmltest
