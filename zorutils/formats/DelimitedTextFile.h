// CDelimitedTextFile: a comma- or tab-separated table whose first line names
// the columns, held in memory as rows of wide strings, edited, and written
// back.
//
// Reading: UTF-16LE (with or without a byte-order mark) or single-byte text
// widened byte by byte with no code page (widening stops at the first zero
// byte). A quote character toggles an in-quotes state in which the delimiter
// does not split; a line break always ends the row, so fields never span
// lines. A field wrapped in quotes loses them; there are no escapes, so
// doubled quotes inside stay two characters. Empty lines give no rows.
//
// Writing: UTF-16LE code units without a byte-order mark, and each line ends
// with the two single bytes 0D 0A (one UTF-16 unit U+0A0D, not CR LF in
// UTF-16). Readers of these files expect exactly that layout. With the double
// quote as quote character, double quotes inside a row's field are written as
// U+201D so that the file reads back unsplit.
//
// Hosts may derive: the editing operations are virtual and OnNewRecordAdded
// runs after each row is added. The destructor is not virtual (the virtual
// table holds exactly the five operations below, in this order): destroy a
// derived object through its own type.
//
// Decisions where the format leaves room:
//  - AddNewCol returns the new column's index, or -1 for a null name or when
//    memory runs out; a null value gives every row an empty string. The value
//    is appended at each row's end, so in a row shorter than the header (read
//    without dropping short rows) it lands in that row's next free column;
//  - the file path is cut to 259 characters when longer;
//  - files over about 1 GB (0x3FFFFFF0 bytes) are refused by Open;
//  - AllocString's flag is kept for callers of the old signature and has no
//    effect.
//
// Not thread-safe: one thread at a time per object.
#pragma once

#include <zorutils/Export.h>
#include <zorutils/containers/DynArray.h>

class ZORUTILS_API CDelimitedTextFile {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// An empty table with no columns and an empty file path.
  CDelimitedTextFile();
  /// Frees every column name and row.
  ~CDelimitedTextFile();

  // --- Virtual operations (slot order is part of the interface) -------------

  /// The field of `row` in the first column named `fieldName`
  /// (case-insensitive, A-Z folded only), or null when there is no such row
  /// or column, for a null or empty name, and for a field emptied with
  /// EditField.
  virtual const wchar_t* GetField(unsigned int row, const wchar_t* fieldName) const;
  /// Makes the field a copy of `text` (null for an empty or null text). False
  /// when row or column is out of range, when `text` equals the field exactly
  /// (case-sensitive), when the field is null and `text` empty, or when memory
  /// runs out (the field is then unchanged). `text` is only read.
  virtual bool EditField(unsigned int row, unsigned int column, wchar_t* text);
  /// Appends a row of NumFields() empty strings, calls OnNewRecordAdded, and
  /// returns the row's index; -1 when memory runs out.
  virtual int AddNewRow();
  /// Runs after each row read by Open and each AddNewRow; does nothing here.
  virtual void OnNewRecordAdded();
  /// Frees row `row`'s strings and removes it; false when out of range.
  virtual bool DeleteRow(unsigned int row);

  // --- Files --------------------------------------------------------------------

  /// Replaces the table with the file at `path`: its first line names the
  /// columns, every further non-empty line is a row (followed by a call to
  /// OnNewRecordAdded). With `dropShortRows`, rows whose field count differs
  /// from the number of columns are left out. `quote` 0 means no quoting.
  /// False for a null or empty path, a file that cannot be opened or read, one
  /// over about 1 GB, an empty file or one whose first line has no field; the
  /// table is then empty and the file path unchanged.
  bool Open(const wchar_t* path, wchar_t delimiter, bool dropShortRows, wchar_t quote);
  /// Writes the table to `path` (replacing the file): the column names first
  /// when `writeHeader`, then every row; each non-null field wrapped in
  /// `quote` (unless 0), fields separated by `delimiter`. Stores `path` as the
  /// file path when none is set. Column names are written as they are (no
  /// U+201D replacement). False for a null or empty path, when the file
  /// cannot be created or memory runs out; a write that fails after the file
  /// was created (a full disk) is not reported.
  bool Save(wchar_t* path, wchar_t delimiter, bool writeHeader, wchar_t quote);
  /// The row that starts at `position` in `text` (which must hold `length`
  /// code units; no terminator is needed), as a new array of new strings the
  /// caller owns (destroy the strings with free and the array with delete),
  /// and moves `position` past the line end and any CRs and LFs after it, or
  /// to `length` at the end of the text. At a line end the last field counts
  /// even when empty; at the end of the text only when it has text. Null,
  /// with `position` unchanged, at or past the end (so also for a negative
  /// `length`), for null text or a negative position; null too when memory
  /// runs out (`position` may then have moved on).
  CDynArray<wchar_t*>* LoadNextLine(const wchar_t* text, int& position, wchar_t delimiter,
                                    int length, wchar_t quote);

  // --- Access ----------------------------------------------------------------------

  /// The field text, or null when row or column is out of range (a field
  /// emptied with EditField is null too).
  const wchar_t* GetField(unsigned int row, unsigned int column) const;
  /// The first column whose name equals `name` case-insensitively (A-Z
  /// folded only), or -1, also for a null or empty name.
  int GetFieldIndex(const wchar_t* name);
  /// The column's name, or null out of range.
  const wchar_t* FieldName(unsigned int column);
  /// The number of columns (column names).
  int NumFields();
  /// The number of rows, header not counted.
  int NumRecords();
  /// The path set by the last successful Open (or by the first Save when
  /// none was set), at most 259 characters; empty when none. Clear keeps it.
  const wchar_t* FilePath();

  // --- Editing ----------------------------------------------------------------------

  /// Appends a column named `name` with `value` in every existing row; see
  /// the header comment for the result.
  int AddNewCol(wchar_t* name, wchar_t* value);
  /// Frees every column name and row (the file path stays).
  void Clear();
  /// A new malloc'ed copy of `length` code units of `text` (which must hold
  /// that many; zeros inside are copied), terminated; an empty
  /// string for a length of 0; null for null text, a negative length or when
  /// memory runs out.
  wchar_t* AllocString(const wchar_t* text, int length, bool unused);

private:
  CDelimitedTextFile(const CDelimitedTextFile&) = delete;
  CDelimitedTextFile& operator=(const CDelimitedTextFile&) = delete;

  wchar_t m_filePath[260];
  CDynArray<wchar_t*> m_fieldNames;
  CDynArray<CDynArray<wchar_t*>*> m_records;
};

static_assert(sizeof(CDelimitedTextFile) ==
                  sizeof(void*) + 260 * sizeof(wchar_t) + 2 * sizeof(CDynArray<wchar_t*>),
              "CDelimitedTextFile's layout is part of the exported interface");
