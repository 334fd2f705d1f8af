// Observable and Observer: publish/subscribe keyed by integer message
// identifiers.
//
// Observers subscribe to chosen messages; SendNotification calls every
// subscriber of one message, in subscription order, on the sending thread and
// with the observable's lock held. Removals made while a delivery is in
// progress (by a handler, itself included, or by code the handler calls) are
// deferred: the removed observer is skipped at once and taken out of every
// list when the outermost delivery ends. Because delivery holds the lock, a
// RemoveObserver from another thread waits for the delivery to finish; once
// it returns, the observer is never called again and may be destroyed.
//
// Decisions where the classic behaviour was unsafe or unspecified:
// - RemoveAllObservers during a delivery is deferred like RemoveObserver
//   (every observer is skipped from then on and taken out when the outermost
//   delivery ends; the emptied per-message lists stay until then), so that a
//   handler cannot pull a list out from under the delivery that called it.
// - FreeRemovedObservers does nothing while a delivery is in progress.
// - Copies share the per-message lists (shallow, as the classic class did)
//   but each object keeps a critical section of its own; copying a live
//   observable is not supported: never let both copies be destroyed.
#pragma once

#include <zorutils/Export.h>
#include <zorutils/containers/ArrayList.h>
#include <zorutils/containers/MyList.h>

#include <windows.h>

class Observable;

/// What a subscriber implements. Not exported: host classes derive from it.
class Observer {
public:
  /// Called for each delivered message with the sender's `data` as given,
  /// on the sending thread and with the observable's lock held.
  virtual void ReceiveNotification(int message, void* data) = 0;
  /// Called by Observable::AddObserver; expected to call
  /// subject->RegisterObservations(this, id, ..., -1).
  virtual void StartObserving(Observable* subject) = 0;

protected:
  // Observers are never deleted through this interface.
  ~Observer() {}
};

class ZORUTILS_API Observable {
  friend struct zor::Layouts;  // the compile-time layout table
public:
  /// No subscriptions.
  Observable();
  /// Removes every observer (the observers themselves are not touched).
  virtual ~Observable();
  /// Shallow; see the header comment.
  Observable(const Observable& other);
  Observable& operator=(const Observable& other);

  /// Calls o->StartObserving(this) under the lock; null is ignored.
  void AddObserver(Observer* o);
  /// Subscribes `o` to each following message identifier (int, 0 or more) up
  /// to the first negative one, which must end the list (without it the
  /// walk reads past the arguments). Subscribing twice to one message has no
  /// further effect; an identifier whose list cannot be allocated is skipped.
  /// Null `o` is ignored (the identifiers are still read).
  void RegisterObservations(Observer* o, ...);
  /// Unsubscribes `o` from every message; deferred during a delivery. The
  /// per-message lists stay in the map, possibly empty.
  void RemoveObserver(Observer* o);
  /// Deletes every per-message list (deferred during a delivery).
  void RemoveAllObservers();
  /// Calls ReceiveNotification(message, data) on each subscriber of
  /// `message` that has not been removed, in subscription order; nothing for
  /// a message nobody subscribed to. Observers subscribed by a handler during
  /// the delivery get the next message, not this one. Deliveries may nest.
  void SendNotification(int message, void* data);
  /// Takes the observers whose removal was deferred out of every list; does
  /// nothing while a delivery is in progress.
  void FreeRemovedObservers();

protected:
  // The per-message list of `message`, or null. With the lock held.
  CMyArrayList* ListFor(int message);

  int m_bAlive;                  // 1 until the destructor has cleaned up
  CMyArrayList m_subscriptions;  // item: CMyArrayList of Observer*, value: message id
  CMyList m_removedObservers;    // removals deferred during a delivery
  CRITICAL_SECTION m_cs;
  int m_nDeliveryDepth;          // SendNotification calls in progress
};

static_assert(sizeof(Observable) == (sizeof(void*) == 4 ? 88 : 144),
              "Observable: flag, map, removed list, critical section and depth");
