// CIniFileReader: an INI document (bracketed section headers, key = value
// lines) read whole into memory, looked up by section and key, edited, and
// written back as UTF-16LE.
//
// Reading: UTF-16LE (with or without a byte-order mark) or single-byte text,
// widened byte by byte with no code page; widening of single-byte text stops
// at its first zero byte, so the rest of such a file reads as zero units.
// Sections and keys keep file order unless sorted. Names match
// case-insensitively with only A-Z folded (the "C" locale's _wcsicmp).
//
// The parser's deliberate habits, which hosts (the promo scripts) rely on:
//  - a header without "]" keeps taking characters, line breaks included,
//    until a "]" comes; names keep inner and outer blanks ("[ a ]");
//  - a line without "=" is dropped; "key =" keeps the key with an empty
//    value; a value line with an empty key ("= text") fails the whole load,
//    while a lone "=" (no key, no value) is dropped;
//  - a value is quoted only when its line's last non-blank character is a
//    double quote; quotes inside are kept as written, there are no escapes;
//  - an unquoted value loses leading and trailing spaces (not tabs);
//  - keys that stand before the first header are read, but not saved.
//
// Decisions where the format leaves room:
//  - the parser's work buffer holds 8,191 characters: a key or value line
//    that collects more fails the load (false) instead of overrunning it, and
//    so does a stored value of 8,191 characters (the historic limit). The
//    line without "=" counts as a key while it is collected, so a single
//    line of more than 8,191 characters without "=" also fails the load;
//  - InitFromBuffer with null data fails after its Reset;
//  - SetValue matches a section name cut to 63 characters, as it is stored,
//    so a long name set twice makes one section, not two (GetString and
//    SectionExists do not cut: a name over 63 characters finds nothing);
//  - files over about 1 GB (0x3FFFFFF0 bytes) are refused by Init.
//
// Capacities (GetString's outChars) are in wchar_t code units and include the
// terminator; a cut can fall between the two halves of a surrogate pair.
//
// Not thread-safe: one thread at a time per object.
#pragma once

#include <zorutils/Export.h>
#include <zorutils/containers/DynArray.h>

// The section and entry records (IniFileReader_impl.h): a section holds a
// name of at most 63 characters (zero-filled; the empty name is the unnamed
// section), its entries, and whether they are kept sorted; an entry holds an
// owned key (null for a missing key, never empty) and an owned value (null
// for the empty value).
struct TIniSection;
struct TIniEntry;

class ZORUTILS_API CIniFileReader {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// An empty reader: no file name, no sections, not sorted, not initialised.
  CIniFileReader();
  /// Frees the file name and every section.
  ~CIniFileReader();

  // --- Loading -----------------------------------------------------------

  /// Reads the file at `path` whole and parses it (InitFromBuffer); stores
  /// `path` as the file name first. False for a null or empty path (the
  /// file name then stays), a file that cannot be opened or read or is over
  /// about 1 GB, an empty file (zero bytes) or a failed parse. Clears
  /// Initialized() first and sets it only on success. When the file cannot be
  /// read the sections loaded before stay; a failed parse keeps what
  /// InitFromBuffer keeps.
  bool Init(const wchar_t* path, bool keepSorted);
  /// Parses `byteCount` bytes (UTF-16LE or single-byte text; no terminator
  /// needed, an odd last byte of UTF-16 is ignored) after Reset(). Does not
  /// touch the file name or set Initialized(). 0 bytes: true, no sections.
  /// False on a value line with an empty key, an over-long key or value,
  /// null data or allocation failure; the sections read so far then stay.
  /// With `keepSorted`, sorts at the end (and switches keep-sorted on).
  bool InitFromBuffer(const unsigned char* data, unsigned int byteCount, bool keepSorted);

  // --- Look-up and editing ---------------------------------------------------

  /// Copies the value of `key` in `section` (null or empty: the unnamed
  /// section, which holds the keys before the first header) into `out`, cut
  /// to `outChars` - 1 units and terminated; when the key or the section is
  /// missing or the value empty, `defaultValue` (cut the same way; null gives
  /// an empty text) instead, and then all `outChars` units are written
  /// (zero-filled). True when the section exists, even if the key does not;
  /// false when it does not. False, with `out` untouched, for a null key, a
  /// null `out` or `outChars` of 0.
  /// Sections are searched from the one found last, then the one after it,
  /// then from the first: reading in file order is cheap, and with duplicate
  /// section names the one found last wins until another section is read.
  bool GetString(const wchar_t* section, const wchar_t* key, const wchar_t* defaultValue,
                 wchar_t* out, unsigned int outChars);
  /// Sets `key` in `section` (both created when missing, the section name cut
  /// to 63 characters; an empty or null value stores the empty value, which
  /// GetString answers with its default). The first section and key of that
  /// name (case-insensitive) are the ones changed. False, logging
  /// "CIniFileReader::SetValue: departing, NULL input", for a null or empty
  /// section or key; false when memory runs out for a new section or entry.
  bool SetValue(const wchar_t* section, const wchar_t* key, const wchar_t* value);
  /// Writes the whole document to the file name as UTF-16LE with a mark:
  /// "[name]" lines, "key = value" lines (value in double quotes when it
  /// starts or ends with a space), two empty lines after every section.
  /// Entries of the unnamed section are not written. Sorts first when
  /// keep-sorted is on. Nothing is escaped: a key holding "=", a value holding
  /// a line break, or one that begins and ends with a double quote does not
  /// read back the same. False when there is no file name, the file cannot be
  /// created or memory runs out; a write that fails after the file was
  /// created (a full disk) is not reported.
  bool Save();

  // --- Attributes -------------------------------------------------------------

  /// Replaces the stored file name; null or empty leaves none (true). False
  /// only when memory runs out.
  bool SetFileName(const wchar_t* path);
  /// The stored file name, or null.
  const wchar_t* FileName() const;
  /// Frees every section and entry and clears Initialized(); keeps the file
  /// name and keep-sorted flag.
  void Reset();
  /// The same operation as Reset.
  void ClearValues();
  /// Sorts sections by name and each section's entries by key (an exchange
  /// sort: quadratic, fine for the few hundred entries of a section), marks
  /// every section sorted and switches keep-sorted on.
  void Sort();
  /// Stores the flag only; setting it does not sort. While it is on, SetValue
  /// and Save keep sections and entries sorted.
  void SetKeepSorted(bool keepSorted);
  /// The keep-sorted flag (also switched on by Sort and a sorted load).
  bool KeepSorted() const;
  /// True after a successful Init, until the next Reset, load or failed Init.
  bool Initialized() const;
  /// The number of sections (the unnamed one included when it holds keys).
  int NumSections() const;
  /// The name of section `index` (at most 63 characters; empty for the
  /// unnamed section), or null out of range. Valid until the next load or
  /// Reset.
  const wchar_t* SectionName(unsigned int index) const;
  /// True when a section of that name exists (case-insensitive). The empty
  /// name asks for the unnamed section; null gives false.
  bool SectionExists(const wchar_t* name) const;

protected:
  /// Scans `text` from index `start` up to, not including, `end` (code
  /// units), stopping at the first CR or LF. True when the last non-blank
  /// (space, tab) character there is a double quote. `innerQuotes` gets the
  /// number of double quotes that are followed on the line by some further
  /// non-blank character. False with `innerQuotes` 0 for null text or an
  /// empty stretch.
  bool CheckForClosingQuote(const wchar_t* text, unsigned long start, unsigned long end,
                            int& innerQuotes);

private:
  CIniFileReader(const CIniFileReader&) = delete;
  CIniFileReader& operator=(const CIniFileReader&) = delete;

  // After Reset: adds the unnamed section, parses, cleans up and sorts as
  // InitFromBuffer describes.
  bool Load(const wchar_t* text, unsigned long start, unsigned long count, bool keepSorted);
  // Parses `count` units from `begin` into the sections; false as for
  // InitFromBuffer (before the final clean-up).
  bool Parse(const wchar_t* text, unsigned long begin, unsigned long count);
  int FindSectionFrom(const wchar_t* name) const;

  wchar_t* m_fileName;
  CDynArray<TIniSection*> m_sections;
  int m_lastSection;
  bool m_keepSorted;
  bool m_initialized;
};

static_assert(sizeof(CIniFileReader) == (sizeof(void*) == 8 ? 32 : 24),
              "CIniFileReader's layout is part of the exported interface");
