// XMLArena: the blocks a document's parsed tree lives in (not part of the
// library's interface).
//
// A parse into a CXMLFile takes its nodes, values, their strings and the
// nodes' arrays from the document's arena by bumping a pointer: objects from
// the bottom of a chunk, strings from its top, so that neither pads the
// other. Clearing the document gives all of it back at once and the chunks
// serve the next parse.
//
// What hosts may do with parsed objects still works, one object at a time:
// - Deleting an object of an arena (directly, or through Clear of its parent)
//   frees only the strings and arrays it holds outside the arena; the arena
//   counts its live objects (`refs`, plus one while a document uses it).
// - A setter that stores a heap string into an arena object, an array that
//   grows (CDynArray copies borrowed storage out), and objects handed over
//   with EmptyChildrenNoDelete mark the arena "dirty": the next Clear of the
//   document then deletes its tree object by object, and when handed-over
//   objects are still alive the document leaves the arena to them (it is
//   freed with the last of them) and starts a new one.
// - Addresses are looked up in a process-wide registry of chunks, under one
//   lock: operator delete, the setters and the destructors ask it whether a
//   pointer lies in an arena.
//
// With ZOR_XML_ARENA_BLOCKS (the guard-heap build) every object and string
// of an arena is a heap block of its own, registered the same way, so that
// the guard heap still sees an overrun of a single node or string; the
// arena's bookkeeping is the same.
#pragma once

#include <windows.h>

#include <cstddef>
#include <vector>

class CXMLNode;

namespace zor {
namespace xml {

class XMLArena {
public:
  /// The arena of the document `doc`, created (for a parse of `textLength`
  /// characters) when it has none or when its last one was given up.
  static XMLArena* ForDocument(const CXMLNode* doc, size_t textLength);
  /// The arena `doc` uses, or null.
  static XMLArena* OfDocument(const CXMLNode* doc);
  /// The document lets go of its arena (it is freed once nothing of it lives).
  static void LeaveDocument(const CXMLNode* doc);
  /// The arena whose memory holds `p`, or null (null for a null `p`).
  static XMLArena* Of(const void* p);
  /// Marks the arena holding `object` (if any) dirty.
  static void Touch(const void* object);
  /// operator delete of nodes and values: releases an object of an arena,
  /// frees any other.
  static void FreeObject(void* object);

  /// Room for an object of `bytes` (a multiple of 8), counted as live.
  void* NewObject(size_t bytes) {
    void* p = Bottom(bytes);
    if (p) ++m_refs;
    return p;
  }
  /// Room for `count` pointers of a node's array (not counted).
  void** NewArray(size_t count) { return static_cast<void**>(Bottom(count * sizeof(void*))); }
  /// Room for a string of `units` code units (its terminator included).
  wchar_t* NewText(size_t units) {
#ifndef ZOR_XML_ARENA_BLOCKS
    const size_t bytes = units * sizeof(wchar_t);
    if (m_current < m_chunks.size()) {
      Chunk& c = m_chunks[m_current];
      if (c.top - c.bottom >= bytes) {
        c.top -= bytes;
        return reinterpret_cast<wchar_t*>(c.base + c.top);
      }
    }
#endif
    return NewTextSlow(units);
  }
  /// Gives back the end of the string at `text` (of `units`, just made by
  /// NewText) beyond its first `keep` units; the string may move. Returns
  /// where it now is.
  wchar_t* ShrinkText(wchar_t* text, size_t units, size_t keep);
  /// One live object fewer; the last one out of an arena no document uses
  /// frees it.
  void Release();

  bool Dirty() const { return m_dirty; }
  /// Whether anything but the document holds a reference.
  bool HasOutsideObjects() const { return m_refs > 1; }
  /// Whether `p` lies in one of this arena's blocks (no lock: for the
  /// document that owns the arena).
  bool Contains(const void* p) const;
  /// Forgets everything allocated (the document's tree is gone) and keeps
  /// the blocks for the next parse.
  void Reset();

private:
  struct Chunk {
    char* base;
    size_t size;
    size_t bottom;  // objects below this
    size_t top;     // strings from here up
  };

  XMLArena() = default;
  ~XMLArena();
  XMLArena(const XMLArena&) = delete;
  XMLArena& operator=(const XMLArena&) = delete;

  /// A chunk with at least `bytes` free (objects and strings together);
  /// null when memory runs out.
  Chunk* Room(size_t bytes);
  /// Records a new block in the registry and the chunk list; false, with
  /// neither changed, when that takes memory there is none of.
  bool Adopt(char* base, size_t size);
  /// `bytes` from the bottom of a chunk.
  void* Bottom(size_t bytes) {
#ifndef ZOR_XML_ARENA_BLOCKS
    if (m_current < m_chunks.size()) {
      Chunk& c = m_chunks[m_current];
      if (c.top - c.bottom >= bytes) {
        void* p = c.base + c.bottom;
        c.bottom += bytes;
        return p;
      }
    }
#endif
    return BottomSlow(bytes);
  }
  void* BottomSlow(size_t bytes);
  wchar_t* NewTextSlow(size_t units);
  void FreeAll();

  std::vector<Chunk> m_chunks;
  size_t m_current = 0;
  size_t m_firstChunk = 0;  // bytes of the first chunk, from the text's length
  volatile LONG m_refs = 1;
  bool m_dirty = false;
};

}  // namespace xml
}  // namespace zor
