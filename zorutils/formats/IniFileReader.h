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
//    value; a value line with an empty key ("= text") fails the whole load;
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
//    so a long name set twice makes one section, not two.
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
  /// `path` as the file name first. False for a null or empty path, a file
  /// that cannot be opened, an empty file (zero bytes) or a failed parse.
  /// Sets Initialized() only on success.
  bool Init(const wchar_t* path, bool keepSorted);
  /// Parses `byteCount` bytes (UTF-16LE or single-byte text) after Reset().
  /// False on a value line with an empty key, an over-long key or value,
  /// null data or allocation failure; the sections read so far then stay.
  /// With `keepSorted`, sorts at the end (and switches keep-sorted on).
  bool InitFromBuffer(const unsigned char* data, unsigned int byteCount, bool keepSorted);

  // --- Look-up and editing ---------------------------------------------------

  /// Copies the value of `key` in `section` (null: the unnamed section) into
  /// `out`, cut to `outChars` - 1 characters and terminated; when the key is
  /// missing or its value empty, `defaultValue` (cut the same way) instead.
  /// True when the section exists, even if the key does not. False, with
  /// `out` untouched, for a null key, a null `out` or `outChars` of 0.
  /// Sections are searched from the one found last, then the one after it,
  /// then from the first: reading in file order is cheap, and with duplicate
  /// section names the one found last wins until another section is read.
  bool GetString(const wchar_t* section, const wchar_t* key, const wchar_t* defaultValue,
                 wchar_t* out, unsigned int outChars);
  /// Sets `key` in `section` (both created when missing; an empty or null
  /// value stores the empty value). False, logging
  /// "CIniFileReader::SetValue: departing, NULL input", for a null or empty
  /// section or key.
  bool SetValue(const wchar_t* section, const wchar_t* key, const wchar_t* value);
  /// Writes the whole document to the file name as UTF-16LE with a mark:
  /// "[name]" lines, "key = value" lines (value in double quotes when it
  /// starts or ends with a space), two empty lines after every section.
  /// Entries of the unnamed section are not written. False when there is no
  /// file name or the file cannot be created.
  bool Save();

  // --- Attributes -------------------------------------------------------------

  /// Replaces the stored file name; null or empty leaves none (true). False
  /// only when memory runs out.
  bool SetFileName(const wchar_t* path);
  /// The stored file name, or null.
  const wchar_t* FileName() const;
  /// Frees every section and entry; keeps the file name and keep-sorted flag.
  void Reset();
  /// The same operation as Reset.
  void ClearValues();
  /// Sorts sections by name and each section's entries by key (an exchange
  /// sort: quadratic, fine for the few hundred entries of a section), marks
  /// every section sorted and switches keep-sorted on.
  void Sort();
  /// Stores the flag only; setting it does not sort.
  void SetKeepSorted(bool keepSorted);
  bool KeepSorted() const;
  bool Initialized() const;
  int NumSections() const;
  /// The name of section `index`, or null out of range.
  const wchar_t* SectionName(unsigned int index) const;
  /// True when a section of that name exists (case-insensitive). The empty
  /// name asks for the unnamed section; null gives false.
  bool SectionExists(const wchar_t* name) const;

protected:
  /// Scans `text` from `start` to `end`, stopping at the first CR or LF.
  /// True when the last non-blank (space, tab) character there is a double
  /// quote. `innerQuotes` gets the number of double quotes that are followed
  /// on the line by some further non-blank character.
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
