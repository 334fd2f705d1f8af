// CMyList and CMegaList: thin members over the shared linked-list template.
#include <zorutils/containers/MyList.h>

#include <zorutils/containers/MyList_impl.h>

namespace {
using OpsLong = zor::LinkedListOps<CMyList, _tNode_t, long>;
using OpsDouble = zor::LinkedListOps<CMegaList, _tMegaNode_t, double>;
}  // namespace

// --- CMyList ---------------------------------------------------------------------

CMyList::CMyList() { OpsLong::Clear(*this); }
CMyList::CMyList(const CMyList& other) { OpsLong::CopyMembers(*this, other); }
CMyList& CMyList::operator=(const CMyList& other) {
  OpsLong::CopyMembers(*this, other);
  return *this;
}
CMyList::~CMyList() { RemoveAll(); }

int CMyList::AddSorted(void* item, long value, bool afterEquals) {
  return OpsLong::AddSorted(*this, item, value, afterEquals);
}
int CMyList::AppendToTail(void* item, long value) { return OpsLong::AppendToTail(*this, item, value); }
int CMyList::InsertNewHead(void* item, long value) { return OpsLong::InsertNewHead(*this, item, value); }
// No value argument: the node's sort value is 0.
int CMyList::InsertAfter(void* item, int index) { return OpsLong::InsertAfter(*this, item, 0, index); }

void* CMyList::ElemBySortValue(long value, int* index, long* foundValue) {
  return OpsLong::ElemBySortValue(*this, value, index, foundValue);
}
void* CMyList::Index(int index, long* value) { return OpsLong::Index(*this, index, value); }
_tNode_t* CMyList::NodeByIndex(int index) { return OpsLong::NodeByIndex(*this, index); }
int CMyList::Member(void* item) { return OpsLong::Member(*this, item); }
bool CMyList::Remove(void* item) { return OpsLong::Remove(*this, item); }
void CMyList::RemoveByIndex(int index) { OpsLong::RemoveByIndex(*this, index); }
bool CMyList::RemoveByNode(_tNode_t* node) { return OpsLong::RemoveByNode(*this, node); }
void CMyList::RemoveAll() { OpsLong::RemoveAll(*this); }
int CMyList::NumNodes() { return m_nCount; }

// --- CMegaList ---------------------------------------------------------------------

CMegaList::CMegaList() { OpsDouble::Clear(*this); }
CMegaList::CMegaList(const CMegaList& other) { OpsDouble::CopyMembers(*this, other); }
CMegaList& CMegaList::operator=(const CMegaList& other) {
  OpsDouble::CopyMembers(*this, other);
  return *this;
}
CMegaList::~CMegaList() { RemoveAll(); }

int CMegaList::AddSorted(void* item, double value, bool afterEquals) {
  return OpsDouble::AddSorted(*this, item, value, afterEquals);
}
int CMegaList::AppendToTail(void* item, double value) { return OpsDouble::AppendToTail(*this, item, value); }
int CMegaList::InsertNewHead(void* item, double value) { return OpsDouble::InsertNewHead(*this, item, value); }
int CMegaList::InsertAfter(void* item, double value, int index) {
  return OpsDouble::InsertAfter(*this, item, value, index);
}

void* CMegaList::ElemBySortValue(double value, int* index, double* foundValue) {
  return OpsDouble::ElemBySortValue(*this, value, index, foundValue);
}
void* CMegaList::Index(int index, double* value) { return OpsDouble::Index(*this, index, value); }
_tMegaNode_t* CMegaList::NodeByIndex(int index) { return OpsDouble::NodeByIndex(*this, index); }
int CMegaList::Member(void* item) { return OpsDouble::Member(*this, item); }
bool CMegaList::Remove(void* item) { return OpsDouble::Remove(*this, item); }
void CMegaList::RemoveByIndex(int index) { OpsDouble::RemoveByIndex(*this, index); }
bool CMegaList::RemoveByNode(_tMegaNode_t* node) { return OpsDouble::RemoveByNode(*this, node); }
void CMegaList::RemoveAll() { OpsDouble::RemoveAll(*this); }
int CMegaList::NumNodes() { return m_nCount; }
