// CXMLFile: reading a document from a file or a buffer into the root node.
#include <zorutils/formats/XMLFile.h>

#include <zorfutls/zorfutls.h>
#include <zorutils/formats/XMLNode_impl.h>
#include <zorutils/text/StringUtils.h>

#include <io.h>
#include <shlwapi.h>

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <memory>

namespace {

// The largest file Open reads: its widened text must stay addressable as
// unsigned int characters and allocatable on a 32-bit system.
const unsigned long long kMaxFileBytes = 0x3FFFFFF0ull;

struct FreeDeleter {
  void operator()(void* p) const { std::free(p); }
};
template <class T>
using MallocPtr = std::unique_ptr<T, FreeDeleter>;

struct FileCloser {
  explicit FileCloser(FILE* f) : file(f) {}
  ~FileCloser() {
    if (file) fclose(file);
  }
  FileCloser(const FileCloser&) = delete;
  FileCloser& operator=(const FileCloser&) = delete;
  FILE* file;
};

// Whether the "xml" node's "encoding" attribute starts with "UTF-8".
bool DeclaresUTF8(const CXMLNode* xml) {
  for (int i = 0; i < xml->NumHeaderProperties(); ++i) {
    const CXMLValue* v = xml->GetHeaderProperty(i);
    if (!v->FieldName() || !zor::xml::NamesEqual(v->FieldName(), L"encoding")) continue;
    const wchar_t* value = v->Value();
    if (!value) return false;
    static const wchar_t kUtf8[] = L"utf-8";
    for (int k = 0; k < 5; ++k)
      if (zor::xml::FoldAZ(value[k]) != kUtf8[k]) return false;  // stops at a shorter value's zero
    return true;
  }
  return false;
}

}  // namespace

CXMLFile::CXMLFile()
    : m_fileProgressCallback(nullptr), m_fileProgressUser(nullptr), m_parserPosition(0), m_fileShouldDeHTMLify(false) {}

CXMLFile::CXMLFile(const CXMLFile& other)
    : CXMLNode(other),
      m_fileProgressCallback(other.m_fileProgressCallback),
      m_fileProgressUser(other.m_fileProgressUser),
      m_parserPosition(other.m_parserPosition),
      m_fileShouldDeHTMLify(other.m_fileShouldDeHTMLify) {}

CXMLFile& CXMLFile::operator=(const CXMLFile& other) {
  CXMLNode::operator=(other);
  m_fileProgressCallback = other.m_fileProgressCallback;
  m_fileProgressUser = other.m_fileProgressUser;
  m_parserPosition = other.m_parserPosition;
  m_fileShouldDeHTMLify = other.m_fileShouldDeHTMLify;
  return *this;
}

CXMLFile::~CXMLFile() {}

bool CXMLFile::Open(const wchar_t* path) {
  LogFmt(L"Entered CXMLFile::Open, file <%s>", path ? path : L"");
  if (!path || !*path || !PathFileExistsW(path)) {
    Log(L"Leaving CXMLFile::Open, blank file name");
    return false;
  }
  FileCloser file(_wfopen(path, L"rb"));
  if (!file.file) {
    Log(L"Leaving CXMLFile::Open, can't open file");
    return false;
  }
  // The length from the handle: no seeking on the freshly opened stream.
  const long long length = _filelengthi64(_fileno(file.file));
  if (length < 1) {
    Log(L"Leaving CXMLFile::Open, file length < 1");
    return false;
  }
  const unsigned int bytes = static_cast<unsigned int>(length);
  // Four zero bytes behind the data, so that even an odd-length UTF-16 text
  // ends in a zero character.
  MallocPtr<unsigned char> data;
  if (static_cast<unsigned long long>(length) <= kMaxFileBytes)
    data.reset(static_cast<unsigned char*>(std::malloc(static_cast<size_t>(bytes) + 4)));
  if (!data) {
    LogFmt(L"Leaving CXMLFile::Open, can't alloc buffer of %u bytes", bytes);
    return false;
  }
  if (fread(data.get(), 1, bytes, file.file) != bytes) {
    Log(L"Leaving CXMLFile::Open, couldn't read from file");
    return false;
  }
  for (unsigned int k = 0; k < 4; ++k) data.get()[bytes + k] = 0;
  if (StringIsUnicode(data.get(), static_cast<int>(bytes), false)) {
    wchar_t* text = reinterpret_cast<wchar_t*>(data.get());
    if (StringHasUnicodeHeader(data.get())) ++text;
    return LoadFromBuffer(text);
  }
  MallocPtr<wchar_t> widened(static_cast<wchar_t*>(std::malloc((static_cast<size_t>(bytes) + 1) * sizeof(wchar_t))));
  if (!widened) {
    LogFmt(L"Leaving CXMLFile::Open, can't alloc buffer of %u bytes", bytes);
    return false;
  }
  ConvertSingleByteToUnicode(reinterpret_cast<const char*>(data.get()), bytes, widened.get(), bytes + 1, true);
  data.reset();  // the bytes are no longer needed
  return LoadFromBuffer(widened.get());
}

bool CXMLFile::LoadFromBuffer(wchar_t* text) {
  if (!text || !*text) return false;
  size_t length = wcslen(text);
  if (length > 0xFFFFFFF0u) length = 0xFFFFFFF0u;
  m_fileSize = static_cast<unsigned int>(length);
  Clear();
  m_sequenceNumber = 0;
  m_nodeLength = 0;
  m_progressCallback = m_fileProgressCallback;
  m_progressUser = m_fileProgressUser;
  m_shouldDeHTMLify = m_fileShouldDeHTMLify;
  unsigned int position = 0;
  Load(text, position, m_fileSize, 999999);
  m_parserPosition = position;
  const CXMLNode* xml = CXMLNode::FindNode(L"XML");
  if (xml && DeclaresUTF8(xml)) {
    const unsigned int longest = GetLongestString(true);
    wchar_t* work = static_cast<wchar_t*>(std::malloc((static_cast<size_t>(longest) + 1) * sizeof(wchar_t)));
    if (work) {
      DecodeUTF8(work, static_cast<int>(longest + 1));
      std::free(work);
    }
  }
  Log(L"Leaving CXMLFile::Open, normal exit");
  return true;
}
