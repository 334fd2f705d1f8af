// XMLArena: the blocks a document's parsed tree lives in.
#include <zorutils/formats/XMLArena_impl.h>

#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <map>
#include <new>

namespace zor {
namespace xml {

namespace {

// Chunks after the first; a string or array larger than a quarter of this
// gets a chunk of its own.
const size_t kChunkBytes = 256 * 1024 - 256;
const size_t kGranule = 4096;
// Chunks of documents that are gone wait for the next document up to this
// much: pages the system hands out fresh cost a fault each on first touch,
// which would otherwise be a third of a large parse.
const size_t kSpareBytes = sizeof(void*) == 8 ? size_t(64) << 20 : size_t(16) << 20;

// Every chunk (or, with ZOR_XML_ARENA_BLOCKS, every block) of every arena,
// by address, and the arena each document uses. Never destroyed: trees may
// be deleted while the process ends.
struct Registry {
  Registry() {
    InitializeCriticalSection(&lock);
    spare.reserve(kSpareBytes / kChunkBytes);  // keeping a chunk never allocates
  }
  CRITICAL_SECTION lock;
  std::map<uintptr_t, std::pair<uintptr_t, XMLArena*>> ranges;  // begin -> (end, arena)
  std::map<const CXMLNode*, XMLArena*> documents;
  std::vector<char*> spare;  // chunks of kChunkBytes
};

Registry& Reg() {
  static Registry* registry = new Registry;
  return *registry;
}

class Locked {
public:
  Locked() { EnterCriticalSection(&Reg().lock); }
  ~Locked() { LeaveCriticalSection(&Reg().lock); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;
};

void Register(const void* base, size_t size, XMLArena* arena) {
  Locked locked;
  const uintptr_t b = reinterpret_cast<uintptr_t>(base);
  Reg().ranges[b] = std::make_pair(b + size, arena);
}

void Unregister(const void* base) {
  Locked locked;
  Reg().ranges.erase(reinterpret_cast<uintptr_t>(base));
}

size_t RoundUp(size_t n, size_t to) { return (n + to - 1) / to * to; }

}  // namespace

XMLArena* XMLArena::ForDocument(const CXMLNode* doc, size_t textLength) {
  Locked locked;
  XMLArena** slot = nullptr;
  try {
    slot = &Reg().documents[doc];
  } catch (const std::bad_alloc&) {
    return nullptr;  // the parse falls back to the heap
  }
  XMLArena*& arena = *slot;
  if (!arena) {
    arena = new (std::nothrow) XMLArena;
    if (!arena) {
      Reg().documents.erase(doc);
      return nullptr;
    }
    // A tree takes about five bytes per character of its text: a small
    // reply gets a small first chunk.
    size_t first = RoundUp(textLength * 5 + 1, kGranule);
    arena->m_firstChunk = first < kChunkBytes ? first : kChunkBytes;
  }
  return arena;
}

XMLArena* XMLArena::OfDocument(const CXMLNode* doc) {
  Locked locked;
  auto it = Reg().documents.find(doc);
  return it == Reg().documents.end() ? nullptr : it->second;
}

void XMLArena::LeaveDocument(const CXMLNode* doc) {
  XMLArena* arena = nullptr;
  {
    Locked locked;
    auto it = Reg().documents.find(doc);
    if (it == Reg().documents.end()) return;
    arena = it->second;
    Reg().documents.erase(it);
  }
  arena->Release();
}

XMLArena* XMLArena::Of(const void* p) {
  if (!p) return nullptr;
  const uintptr_t at = reinterpret_cast<uintptr_t>(p);
  Locked locked;
  auto& ranges = Reg().ranges;
  auto it = ranges.upper_bound(at);
  if (it == ranges.begin()) return nullptr;
  --it;
  return at < it->second.first ? it->second.second : nullptr;
}

void XMLArena::Touch(const void* object) {
  if (XMLArena* arena = Of(object)) arena->m_dirty = true;
}

void XMLArena::FreeObject(void* object) {
  if (XMLArena* arena = Of(object)) {
    arena->Release();
  } else {
    std::free(object);
  }
}

bool XMLArena::Contains(const void* p) const { return Of(p) == this; }

void XMLArena::Release() {
  if (InterlockedDecrement(&m_refs) == 0) delete this;
}

XMLArena::~XMLArena() { FreeAll(); }

// The registry's map and the chunk list allocate as they grow. Out of memory
// their std::bad_alloc must not leave the library: the block is refused
// instead, and the parser meets a null as from any failed allocation.
bool XMLArena::Adopt(char* base, size_t size) {
  try {
    Register(base, size, this);
  } catch (const std::bad_alloc&) {
    return false;
  }
  try {
    m_chunks.push_back(Chunk{base, size, 0, size});
  } catch (const std::bad_alloc&) {
    Unregister(base);
    return false;
  }
  return true;
}

#ifdef ZOR_XML_ARENA_BLOCKS

// One heap block per allocation, so that the guard heap bounds each.
XMLArena::Chunk* XMLArena::Room(size_t bytes) {
  char* block = static_cast<char*>(std::malloc(bytes ? bytes : 1));
  if (!block) return nullptr;
  if (!Adopt(block, bytes)) {
    std::free(block);
    return nullptr;
  }
  return &m_chunks.back();
}

void* XMLArena::BottomSlow(size_t bytes) {
  Chunk* c = Room(bytes);
  return c ? c->base : nullptr;
}

wchar_t* XMLArena::NewTextSlow(size_t units) {
  Chunk* c = Room(units * sizeof(wchar_t));
  return c ? reinterpret_cast<wchar_t*>(c->base) : nullptr;
}

wchar_t* XMLArena::ShrinkText(wchar_t* text, size_t, size_t) { return text; }

void XMLArena::FreeAll() {
  for (const Chunk& c : m_chunks) {
    Unregister(c.base);
    std::free(c.base);
  }
  m_chunks.clear();
}

void XMLArena::Reset() {
  FreeAll();
  m_dirty = false;
  m_refs = 1;
}

#else

XMLArena::Chunk* XMLArena::Room(size_t bytes) {
  for (; m_current < m_chunks.size(); ++m_current) {
    Chunk& c = m_chunks[m_current];
    if (c.top - c.bottom >= bytes) return &c;
    // A large piece gets a chunk of its own rather than ending this one.
    if (bytes > kChunkBytes / 4) break;
  }
  size_t size = m_chunks.empty() ? m_firstChunk : kChunkBytes;
  if (size < bytes) size = RoundUp(bytes, kGranule);
  char* base = nullptr;
  if (size == kChunkBytes) {
    Locked locked;
    if (!Reg().spare.empty()) {
      base = Reg().spare.back();
      Reg().spare.pop_back();
    }
  }
  if (!base) base = static_cast<char*>(std::malloc(size));
  if (!base) return nullptr;
  const size_t current = m_current;
  if (!Adopt(base, size)) {
    std::free(base);
    return nullptr;
  }
  if (bytes > kChunkBytes / 4 && current < m_chunks.size() - 1) {
    // Keep filling the chunk in use; the large one is full soon enough.
    m_current = current;
  } else {
    m_current = m_chunks.size() - 1;
  }
  return &m_chunks.back();
}

void* XMLArena::BottomSlow(size_t bytes) {
  Chunk* c = Room(bytes);
  if (!c) return nullptr;
  void* p = c->base + c->bottom;
  c->bottom += bytes;
  return p;
}

wchar_t* XMLArena::NewTextSlow(size_t units) {
  Chunk* c = Room(units * sizeof(wchar_t));
  if (!c) return nullptr;
  c->top -= units * sizeof(wchar_t);
  return reinterpret_cast<wchar_t*>(c->base + c->top);
}

wchar_t* XMLArena::ShrinkText(wchar_t* text, size_t units, size_t keep) {
  if (keep >= units || m_current >= m_chunks.size()) return text;
  Chunk& c = m_chunks[m_current];
  // Only the string last taken from the top of the chunk in use can shrink.
  if (reinterpret_cast<char*>(text) != c.base + c.top) return text;
  const size_t drop = units - keep;
  wmemmove(text + drop, text, keep);
  c.top += drop * sizeof(wchar_t);
  return text + drop;
}

void XMLArena::FreeAll() {
  for (const Chunk& c : m_chunks) {
    Unregister(c.base);
    bool kept = false;
    if (c.size == kChunkBytes) {
      Locked locked;
      if ((Reg().spare.size() + 1) * kChunkBytes <= kSpareBytes) {
        Reg().spare.push_back(c.base);
        kept = true;
      }
    }
    if (!kept) std::free(c.base);
  }
  m_chunks.clear();
  m_current = 0;
}

void XMLArena::Reset() {
  for (Chunk& c : m_chunks) {
    c.bottom = 0;
    c.top = c.size;
  }
  m_current = 0;
  m_dirty = false;
  m_refs = 1;
}

#endif

}  // namespace xml
}  // namespace zor
