// CXMLFile: reading a document from a file or a buffer into the root node.
#include <zorutils/formats/XMLFile.h>

#include <zorfutls/zorfutls.h>
#include <zorutils/formats/XMLNode_impl.h>
#include <zorutils/internal/WideScan.h>
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

CXMLFile::~CXMLFile() {
  XMLParser::ClearDocument(this);
  zor::xml::XMLArena::LeaveDocument(this);
}

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
  // One block for the widened text: the file's bytes are read into its upper
  // part (at an even offset, so that UTF-16 text is used where it lies, with
  // at least four zero bytes behind it: even an odd-length UTF-16 text then
  // ends in a zero character), and single bytes are widened in place.
  const size_t offset = (static_cast<size_t>(bytes) + 1) & ~static_cast<size_t>(1);
  const size_t blockBytes = 2 * static_cast<size_t>(bytes) + 6;
  MallocPtr<unsigned char> block;
  if (static_cast<unsigned long long>(length) <= kMaxFileBytes)
    block.reset(static_cast<unsigned char*>(std::malloc(blockBytes)));
  if (!block) {
    LogFmt(L"Leaving CXMLFile::Open, can't alloc buffer of %u bytes", bytes);
    return false;
  }
  unsigned char* data = block.get() + offset;
  if (fread(data, 1, bytes, file.file) != bytes) {
    Log(L"Leaving CXMLFile::Open, couldn't read from file");
    return false;
  }
  for (size_t k = offset + bytes; k < blockBytes; ++k) block.get()[k] = 0;
  if (StringIsUnicode(data, static_cast<int>(bytes), false)) {
    wchar_t* text = reinterpret_cast<wchar_t*>(data);
    if (StringHasUnicodeHeader(data)) ++text;
    return LoadFromBuffer(text);
  }
  // Up to the first zero byte. Unit i is written over bytes 2i and 2i + 1,
  // which lie below byte `offset` + i, the one it is read from (i < offset):
  // nothing is overwritten before it is read.
  wchar_t* text = reinterpret_cast<wchar_t*>(block.get());
  unsigned int i = 0;
  for (; i < bytes && data[i]; ++i) text[i] = data[i];
  text[i] = 0;
  return LoadFromBuffer(text);
}

bool CXMLFile::LoadFromBuffer(wchar_t* text) {
  if (!text || !*text) return false;
  size_t length = zor::WideLength(text);
  if (length > 0xFFFFFFF0u) length = 0xFFFFFFF0u;
  m_fileSize = static_cast<unsigned int>(length);
  XMLParser::ClearDocument(this);
  m_sequenceNumber = 0;
  m_nodeLength = 0;
  m_progressCallback = m_fileProgressCallback;
  m_progressUser = m_fileProgressUser;
  m_shouldDeHTMLify = m_fileShouldDeHTMLify;
  unsigned int position = 0;
  bool decoded = false;
  {
    // The tree goes into the document's own blocks (the heap when they
    // cannot be had).
    XMLParser parser(text, m_fileSize, zor::xml::XMLArena::ForDocument(this, length));
    parser.mayDecode = !m_shouldDeHTMLify;
    if (parser.field) parser.LoadElement(this, position, 999999, 0, false, 0);
    decoded = parser.decode;
  }
  m_parserPosition = position;
  const CXMLNode* xml = decoded ? nullptr : CXMLNode::FindNode(L"XML");
  if (xml && zor::xml::DeclaresUTF8(xml)) {
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
