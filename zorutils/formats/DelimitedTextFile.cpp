// CDelimitedTextFile: the file is read whole, widened once, and split row by
// row with LoadNextLine; every field is its own malloc'ed string because
// EditField and DeleteRow free them one at a time.
#include <zorutils/formats/DelimitedTextFile.h>

#include <zorutils/formats/TextFormats_impl.h>
#include <zorutils/internal/TextInput.h>

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>

namespace {

typedef CDynArray<wchar_t*> Row;

void DestroyRow(Row* row) {
  if (!row) return;
  row->DeleteAll();
  delete row;
}

inline bool IsBreak(wchar_t c) { return c == L'\r' || c == L'\n'; }

}  // namespace

// --- Construction -------------------------------------------------------------

CDelimitedTextFile::CDelimitedTextFile() : m_filePath() {}

CDelimitedTextFile::~CDelimitedTextFile() {
  Clear();
  m_fieldNames.FreeExtra();
  m_records.FreeExtra();
}

// --- Virtual operations -----------------------------------------------------------

const wchar_t* CDelimitedTextFile::GetField(unsigned int row, const wchar_t* fieldName) const {
  if (!fieldName || !*fieldName) return nullptr;
  for (int i = 0; i < m_fieldNames.GetSize(); ++i) {
    const wchar_t* name = m_fieldNames[i];
    if (name && zor::FoldEqual(name, fieldName)) return GetField(row, static_cast<unsigned int>(i));
  }
  return nullptr;
}

bool CDelimitedTextFile::EditField(unsigned int row, unsigned int column, wchar_t* text) {
  if (row >= static_cast<unsigned int>(m_records.GetSize())) return false;
  Row* fields = m_records[static_cast<int>(row)];
  if (column >= static_cast<unsigned int>(fields->GetSize())) return false;
  wchar_t*& field = (*fields)[static_cast<int>(column)];
  const wchar_t* wanted = text ? text : L"";
  if (!field ? !*wanted : std::wcscmp(field, wanted) == 0) return false;
  wchar_t* copy = nullptr;
  if (*wanted) {
    copy = AllocString(wanted, static_cast<int>(std::wcslen(wanted)), false);
    if (!copy) return false;
  }
  std::free(field);
  field = copy;
  return true;
}

int CDelimitedTextFile::AddNewRow() {
  Row* row = new (std::nothrow) Row;
  if (!row) return -1;
  const int n = m_fieldNames.GetSize();
  if (!row->Reserve(n)) {
    delete row;
    return -1;
  }
  for (int i = 0; i < n; ++i) {
    wchar_t* empty = AllocString(L"", 0, false);
    if (!empty || !row->Add(empty)) {
      std::free(empty);
      DestroyRow(row);
      return -1;
    }
  }
  if (!m_records.Add(row)) {
    DestroyRow(row);
    return -1;
  }
  OnNewRecordAdded();
  return m_records.GetSize() - 1;
}

void CDelimitedTextFile::OnNewRecordAdded() {}

bool CDelimitedTextFile::DeleteRow(unsigned int row) {
  if (row >= static_cast<unsigned int>(m_records.GetSize())) return false;
  DestroyRow(m_records.RemoveAt(static_cast<int>(row)));
  return true;
}

// --- Files ----------------------------------------------------------------------------

bool CDelimitedTextFile::Open(const wchar_t* path, wchar_t delimiter, bool dropShortRows,
                              wchar_t quote) {
  Clear();
  zor::WideText text;
  if (!text.LoadFile(path)) return false;
  if (text.size() > 0x7FFFFFFFu) return false;
  const wchar_t* t = text.data();
  const int length = static_cast<int>(text.size());
  int position = static_cast<int>(text.start());

  Row* header = LoadNextLine(t, position, delimiter, length, quote);
  if (!header) return false;
  // The header's strings become the column names.
  for (int i = 0; i < header->GetSize(); ++i) {
    if (!m_fieldNames.Add((*header)[i])) {
      for (int j = i; j < header->GetSize(); ++j) std::free((*header)[j]);
      header->RemoveAll();
      delete header;
      Clear();
      return false;
    }
  }
  header->RemoveAll();
  delete header;

  const int columns = m_fieldNames.GetSize();
  while (Row* row = LoadNextLine(t, position, delimiter, length, quote)) {
    if (dropShortRows && row->GetSize() != columns) {
      DestroyRow(row);
      continue;
    }
    if (!m_records.Add(row)) {
      DestroyRow(row);
      Clear();
      return false;
    }
    OnNewRecordAdded();
  }

  std::wcsncpy(m_filePath, path, 259);
  m_filePath[259] = 0;
  return true;
}

CDynArray<wchar_t*>* CDelimitedTextFile::LoadNextLine(const wchar_t* text, int& position,
                                                      wchar_t delimiter, int length,
                                                      wchar_t quote) {
  if (!text || position < 0 || position >= length) return nullptr;
  Row* row = new (std::nothrow) Row;
  if (!row) return nullptr;

  // Adds the field [start, end) to the row, less the quotes around it: a
  // leading quote moves the start on by one, a trailing one shortens the
  // field by one more than that (so a lone quote gives an empty field).
  bool failed = false;
  auto store = [&](int start, int end) {
    int len = end - start;
    if (quote && len > 0) {
      int lead = 0;
      if (text[start] == quote) lead = 1;
      if (text[end - 1] == quote)
        len -= lead + 1;
      else
        len -= lead;
      start += lead;
      if (len < 0) len = 0;
    }
    wchar_t* field = AllocString(text + start, len, false);
    if (!field || !row->Add(field)) {
      std::free(field);
      failed = true;
    }
  };

  bool inQuotes = false;
  int start = position;
  int i = position;
  for (; i < length; ++i) {
    const wchar_t c = text[i];
    if (quote && c == quote) {
      inQuotes = !inQuotes;
    } else if (IsBreak(c)) {
      // The line end stores the last field even when empty; then every CR
      // and LF that follows is skipped, so empty lines give no rows.
      store(start, i);
      while (i < length && IsBreak(text[i])) ++i;
      position = i;
      if (failed) {
        DestroyRow(row);
        return nullptr;
      }
      return row;
    } else if (c == delimiter && !inQuotes) {
      store(start, i);
      if (failed) break;
      start = i + 1;
    }
  }
  position = length;
  // At the end of the text the last field counts only when it has text.
  if (!failed && i > start) store(start, i);
  if (failed || row->IsEmpty()) {
    DestroyRow(row);
    return nullptr;
  }
  return row;
}

bool CDelimitedTextFile::Save(wchar_t* path, wchar_t delimiter, bool writeHeader, wchar_t quote) {
  if (!path || !*path) return false;
  zor::ByteWriter out;
  // Each line ends with the single bytes 0D 0A (not CR LF in UTF-16).
  const unsigned char lineEnd[2] = {0x0D, 0x0A};
  auto writeLine = [&](const Row& fields, bool isRecord) {
    const int n = fields.GetSize();
    for (int i = 0; i < n; ++i) {
      const wchar_t* field = fields[i];
      if (field) {
        if (quote) out.Unit(quote);
        if (isRecord && quote == L'"') {
          // An inner double quote would end the field on reading.
          const wchar_t* from = field;
          for (const wchar_t* p = field; *p; ++p) {
            if (*p != L'"') continue;
            out.Units(from, static_cast<size_t>(p - from));
            out.Unit(L'\x201D');
            from = p + 1;
          }
          out.Text(from);
        } else {
          out.Text(field);
        }
        if (quote) out.Unit(quote);
      }
      if (i + 1 < n) out.Unit(delimiter);
    }
    out.Bytes(lineEnd, 2);
  };
  if (writeHeader) writeLine(m_fieldNames, false);
  for (int r = 0; r < m_records.GetSize(); ++r) writeLine(*m_records[r], true);
  if (!out.SaveTo(path)) return false;
  if (!m_filePath[0]) {
    std::wcsncpy(m_filePath, path, 259);
    m_filePath[259] = 0;
  }
  return true;
}

// --- Access -------------------------------------------------------------------------------

const wchar_t* CDelimitedTextFile::GetField(unsigned int row, unsigned int column) const {
  if (row >= static_cast<unsigned int>(m_records.GetSize())) return nullptr;
  const Row* fields = m_records[static_cast<int>(row)];
  if (column >= static_cast<unsigned int>(fields->GetSize())) return nullptr;
  return (*fields)[static_cast<int>(column)];
}

int CDelimitedTextFile::GetFieldIndex(const wchar_t* name) {
  if (!name || !*name) return -1;
  for (int i = 0; i < m_fieldNames.GetSize(); ++i) {
    const wchar_t* field = m_fieldNames[i];
    if (field && zor::FoldEqual(field, name)) return i;
  }
  return -1;
}

const wchar_t* CDelimitedTextFile::FieldName(unsigned int column) {
  if (column >= static_cast<unsigned int>(m_fieldNames.GetSize())) return nullptr;
  return m_fieldNames[static_cast<int>(column)];
}

int CDelimitedTextFile::NumFields() { return m_fieldNames.GetSize(); }

int CDelimitedTextFile::NumRecords() { return m_records.GetSize(); }

const wchar_t* CDelimitedTextFile::FilePath() { return m_filePath; }

// --- Editing ---------------------------------------------------------------------------------

int CDelimitedTextFile::AddNewCol(wchar_t* name, wchar_t* value) {
  if (!name) return -1;
  wchar_t* copy = AllocString(name, static_cast<int>(std::wcslen(name)), false);
  if (!copy || !m_fieldNames.Add(copy)) {
    std::free(copy);
    return -1;
  }
  const wchar_t* v = value ? value : L"";
  const int vlen = static_cast<int>(std::wcslen(v));
  for (int r = 0; r < m_records.GetSize(); ++r) {
    wchar_t* field = AllocString(v, vlen, false);
    if (!field || !m_records[r]->Add(field)) {
      std::free(field);
      return -1;
    }
  }
  return m_fieldNames.GetSize() - 1;
}

void CDelimitedTextFile::Clear() {
  m_fieldNames.DeleteAll();
  for (int r = 0; r < m_records.GetSize(); ++r) DestroyRow(m_records[r]);
  m_records.RemoveAll();
}

wchar_t* CDelimitedTextFile::AllocString(const wchar_t* text, int length, bool) {
  if (!text || length < 0) return nullptr;
  wchar_t* s = static_cast<wchar_t*>(std::malloc((static_cast<size_t>(length) + 1) * sizeof(wchar_t)));
  if (!s) return nullptr;
  if (length > 0) std::wmemcpy(s, text, static_cast<size_t>(length));
  s[length] = 0;
  return s;
}
