// Observable: a sorted map from message identifier to a list of observers,
// with removals deferred while any delivery is in progress so that the lists
// a delivery walks never change under it.
#include <zorutils/containers/Observer.h>

#include <zorutils/internal/Handles.h>

#include <cstdarg>
#include <new>

namespace {
const unsigned int kObserverListStep = 10;
}

Observable::Observable() : m_bAlive(1), m_nDeliveryDepth(0) { InitializeCriticalSection(&m_cs); }

Observable::~Observable() {
  EnterCriticalSection(&m_cs);
  m_nDeliveryDepth = 0;  // nothing can be delivering any more
  RemoveAllObservers();
  m_removedObservers.RemoveAll();
  m_bAlive = 0;
  LeaveCriticalSection(&m_cs);
  DeleteCriticalSection(&m_cs);
}

Observable::Observable(const Observable& other)
    : m_bAlive(other.m_bAlive), m_subscriptions(), m_removedObservers(other.m_removedObservers),
      m_nDeliveryDepth(other.m_nDeliveryDepth) {
  m_subscriptions = other.m_subscriptions;
  InitializeCriticalSection(&m_cs);
}

Observable& Observable::operator=(const Observable& other) {
  if (&other == this) return *this;
  m_bAlive = other.m_bAlive;
  m_subscriptions = other.m_subscriptions;
  m_removedObservers = other.m_removedObservers;
  m_nDeliveryDepth = other.m_nDeliveryDepth;
  return *this;
}

CMyArrayList* Observable::ListFor(int message) {
  long found = 0;
  int index = 0;
  void* list = m_subscriptions.ElemBySortValue(message, &index, &found);
  return list && found == message ? static_cast<CMyArrayList*>(list) : nullptr;
}

void Observable::AddObserver(Observer* o) {
  if (!o) return;
  zor::CsLock lock(m_cs);
  o->StartObserving(this);
}

void Observable::RegisterObservations(Observer* o, ...) {
  // Usually called from StartObserving inside AddObserver's lock; taking the
  // (re-entrant) lock again also covers hosts that call it directly.
  zor::CsLock lock(m_cs);
  va_list ids;
  va_start(ids, o);
  for (int id = va_arg(ids, int); id >= 0; id = va_arg(ids, int)) {
    if (!o) continue;  // still read up to the terminator
    CMyArrayList* list = ListFor(id);
    if (!list) {
      list = new (std::nothrow) CMyArrayList(kObserverListStep);
      if (!list) continue;
      m_subscriptions.AddSorted(list, id);
    }
    if (!list->Member(o)) list->AppendToTail(o, 0);
  }
  va_end(ids);
}

void Observable::RemoveObserver(Observer* o) {
  if (!m_bAlive) return;
  zor::CsLock lock(m_cs);
  if (m_nDeliveryDepth > 0) {
    if (!m_removedObservers.Member(o)) m_removedObservers.AppendToTail(o, 0);
    return;
  }
  for (int i = 0; i < m_subscriptions.GetCount(); ++i) {
    auto* list = static_cast<CMyArrayList*>(m_subscriptions.Index(i, nullptr));
    if (list) list->Remove(o);
  }
}

void Observable::RemoveAllObservers() {
  if (!m_bAlive) return;
  zor::CsLock lock(m_cs);
  const int lists = m_subscriptions.GetCount();
  if (m_nDeliveryDepth > 0) {
    // A delivery is walking one of these lists: skip everyone from now on
    // and let the outermost delivery take them out.
    for (int i = 0; i < lists; ++i) {
      auto* list = static_cast<CMyArrayList*>(m_subscriptions.Index(i, nullptr));
      for (int k = 0; list && k < list->GetCount(); ++k) {
        void* o = list->Index(k, nullptr);
        if (!m_removedObservers.Member(o)) m_removedObservers.AppendToTail(o, 0);
      }
    }
    return;
  }
  for (int i = 0; i < lists; ++i) delete static_cast<CMyArrayList*>(m_subscriptions.Index(i, nullptr));
  m_subscriptions.RemoveAll();
}

void Observable::SendNotification(int message, void* data) {
  zor::CsLock lock(m_cs);
  if (m_nDeliveryDepth == 0) FreeRemovedObservers();
  ++m_nDeliveryDepth;
  if (CMyArrayList* list = ListFor(message)) {
    // Handlers may subscribe others (appended beyond `count`) but removals
    // wait, so the first `count` entries stay put for the whole loop.
    const int count = list->GetCount();
    for (int i = 0; i < count; ++i) {
      auto* o = static_cast<Observer*>(list->Index(i, nullptr));
      if (o && !m_removedObservers.Member(o)) o->ReceiveNotification(message, data);
    }
  }
  if (--m_nDeliveryDepth == 0) FreeRemovedObservers();
}

void Observable::FreeRemovedObservers() {
  zor::CsLock lock(m_cs);
  if (m_nDeliveryDepth > 0 || m_removedObservers.NumNodes() == 0) return;
  for (int r = 0; r < m_removedObservers.NumNodes(); ++r) {
    void* o = m_removedObservers.Index(r, nullptr);
    for (int i = 0; i < m_subscriptions.GetCount(); ++i) {
      auto* list = static_cast<CMyArrayList*>(m_subscriptions.Index(i, nullptr));
      if (list) list->Remove(o);
    }
  }
  m_removedObservers.RemoveAll();
}
