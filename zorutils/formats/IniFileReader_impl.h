// The records CIniFileReader keeps its document in. Internal: hosts reach
// them only through the reader.
#pragma once

#include <zorutils/containers/DynArray.h>

#include <cstddef>
#include <cstdlib>
#include <cwchar>
#include <new>

/// One key = value line: fields key, value, in that order. Both strings are
/// owned by the entry. To halve the allocations of a load, the parser puts
/// the key and the value it read into the entry's own block, right behind
/// the record (key first); every entry has such an inline area of at least
/// two units, so a pointer at its start can only be an inline string, never a
/// separate malloc'ed one. Strings set later (SetValue) are separate blocks.
struct TIniEntry {
  wchar_t* key;
  wchar_t* value;

  TIniEntry() : key(nullptr), value(nullptr) {}
  ~TIniEntry() {
    if (!KeyIsInline()) std::free(key);
    if (!ValueIsInline()) std::free(value);
  }
  TIniEntry(const TIniEntry&) = delete;
  TIniEntry& operator=(const TIniEntry&) = delete;

  /// A record with room for `inlineUnits` (at least 2) units behind it; null
  /// when memory runs out.
  static void* operator new(size_t size, size_t inlineUnits, const std::nothrow_t&) noexcept {
    if (inlineUnits < 2) inlineUnits = 2;
    return std::malloc(size + inlineUnits * sizeof(wchar_t));
  }
  static void* operator new(size_t size, const std::nothrow_t& nothrow) noexcept {
    return operator new(size, 2, nothrow);
  }
  static void operator delete(void* p) noexcept { std::free(p); }
  static void operator delete(void* p, size_t, const std::nothrow_t&) noexcept { std::free(p); }
  static void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }

  /// A new entry holding copies of `klen` units of `k` and `vlen` units of
  /// `v` in its own block (a length of 0 stores null).
  static TIniEntry* Create(const wchar_t* k, size_t klen, const wchar_t* v, size_t vlen) {
    TIniEntry* e = new (klen + 1 + vlen + 1, std::nothrow) TIniEntry;
    if (!e) return nullptr;
    wchar_t* p = e->Inline();
    if (klen) {
      std::wmemcpy(p, k, klen);
      p[klen] = 0;
      e->key = p;
      p += klen + 1;
    }
    if (vlen) {
      std::wmemcpy(p, v, vlen);
      p[vlen] = 0;
      e->value = p;
    }
    return e;
  }

  /// Replaces the value by a copy of `v` (null for null or empty).
  void SetValue(const wchar_t* v) {
    if (ValueIsInline()) value = nullptr;  // the inline copy stays, unused
    std::free(value);
    value = nullptr;
    if (!v || !*v) return;
    const size_t n = std::wcslen(v);
    value = static_cast<wchar_t*>(std::malloc((n + 1) * sizeof(wchar_t)));
    if (value) std::wmemcpy(value, v, n + 1);
  }

private:
  wchar_t* Inline() { return reinterpret_cast<wchar_t*>(this + 1); }
  const wchar_t* Inline() const { return reinterpret_cast<const wchar_t*>(this + 1); }
  bool KeyIsInline() const { return key && key == Inline(); }
  bool ValueIsInline() const {
    if (!value) return false;
    return value == (KeyIsInline() ? key + std::wcslen(key) + 1 : Inline());
  }
};

/// One section: fields name, entries, sorted, in that order. Once sorted,
/// key look-ups use binary search and every later insertion re-sorts.
struct TIniSection {
  wchar_t name[64];
  CDynArray<TIniEntry*> entries;
  bool sorted;

  TIniSection() : name(), sorted(false) {}
  ~TIniSection() { entries.DeleteAll(); }
  TIniSection(const TIniSection&) = delete;
  TIniSection& operator=(const TIniSection&) = delete;
};
