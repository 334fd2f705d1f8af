// Observable and Observer: sorted subscriptions, deferred removal during
// deliveries (by the handler itself, by another handler, nested sends), and
// removal from another thread while deliveries run.
#include "tests/support/TestSupport.h"

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace {

struct PeekObservable : Observable {
  // Message identifiers of the per-message lists, in map order.
  std::vector<long> Messages() {
    std::vector<long> out;
    long v = 0;
    for (int i = 0; i < m_subscriptions.GetCount(); ++i) {
      m_subscriptions.Index(i, &v);
      out.push_back(v);
    }
    return out;
  }
  int Subscribers(int message) {
    CMyArrayList* list = ListFor(message);
    return list ? list->GetCount() : -1;
  }
};

// Registers for the messages it is given; records calls; runs an optional
// action from its handler.
struct Recorder : Observer {
  explicit Recorder(std::vector<int> ids = {}) : ids(std::move(ids)) {}
  void ReceiveNotification(int message, void* data) override {
    calls.push_back(message);
    lastData = data;
    if (onReceive) onReceive(message);
  }
  void StartObserving(Observable* subject) override {
    // At most four identifiers, ended by -1.
    int v[4] = {-1, -1, -1, -1};
    for (size_t i = 0; i < ids.size() && i < 4; ++i) v[i] = ids[i];
    subject->RegisterObservations(this, v[0], v[1], v[2], v[3], -1);
  }
  std::vector<int> ids;
  std::vector<int> calls;
  void* lastData = nullptr;
  std::function<void(int)> onReceive;
};

TEST(Observer, RegistrationKeepsMessagesSortedAndStopsAtNegative) {
  PeekObservable subject;
  Recorder a;
  subject.RegisterObservations(&a, 3, 1, -1, 5);
  EXPECT_EQ(subject.Messages(), (std::vector<long>{1, 3}));
  subject.RegisterObservations(&a, 2, 3, -7);  // any negative ends the list
  EXPECT_EQ(subject.Messages(), (std::vector<long>{1, 2, 3}));
  EXPECT_EQ(subject.Subscribers(3), 1);  // registered twice, listed once
  subject.SendNotification(3, &a);
  EXPECT_EQ(a.calls, (std::vector<int>{3}));
  EXPECT_EQ(a.lastData, &a);
  subject.SendNotification(4, nullptr);  // nobody listens: nothing happens
  EXPECT_EQ(a.calls.size(), 1u);
  subject.AddObserver(nullptr);
}

TEST(Observer, DeliversInSubscriptionOrder) {
  Observable subject;
  std::vector<int> order;
  Recorder a({7}), b({7}), c({7, 8});
  a.onReceive = [&](int) { order.push_back(1); };
  b.onReceive = [&](int) { order.push_back(2); };
  c.onReceive = [&](int) { order.push_back(3); };
  subject.AddObserver(&b);
  subject.AddObserver(&c);
  subject.AddObserver(&a);
  subject.SendNotification(7, nullptr);
  EXPECT_EQ(order, (std::vector<int>{2, 3, 1}));
}

TEST(Observer, RemovalOutsideDeliveryLeavesEmptyLists) {
  PeekObservable subject;
  Recorder a({1, 2});
  subject.AddObserver(&a);
  subject.RemoveObserver(&a);
  EXPECT_EQ(subject.Messages(), (std::vector<long>{1, 2}));
  EXPECT_EQ(subject.Subscribers(1), 0);
  subject.SendNotification(1, nullptr);
  EXPECT_TRUE(a.calls.empty());
  subject.RemoveAllObservers();
  EXPECT_TRUE(subject.Messages().empty());
}

TEST(Observer, HandlerRemovingItselfIsSkippedInNestedSendsAndTakenOutAtTheEnd) {
  PeekObservable subject;
  Recorder self({1, 2}), other({1, 2});
  int nested = 0;
  self.onReceive = [&](int message) {
    if (message != 1) return;
    subject.RemoveObserver(&self);
    EXPECT_EQ(subject.Subscribers(1), 2);  // deferred while delivering
    subject.SendNotification(2, nullptr);  // nested: self is skipped already
    ++nested;
  };
  subject.AddObserver(&self);
  subject.AddObserver(&other);
  subject.SendNotification(1, nullptr);
  EXPECT_EQ(nested, 1);
  EXPECT_EQ(self.calls, (std::vector<int>{1}));
  EXPECT_EQ(other.calls, (std::vector<int>{2, 1}));  // the nested one first
  EXPECT_EQ(subject.Subscribers(1), 1);  // gone once the outermost ended
  EXPECT_EQ(subject.Subscribers(2), 1);
  subject.SendNotification(1, nullptr);
  EXPECT_EQ(self.calls.size(), 1u);
}

TEST(Observer, HandlerRemovingALaterObserverSkipsItAtOnce) {
  PeekObservable subject;
  Recorder first({4}), second({4}), third({4});
  first.onReceive = [&](int) { subject.RemoveObserver(&second); };
  subject.AddObserver(&first);
  subject.AddObserver(&second);
  subject.AddObserver(&third);
  subject.SendNotification(4, nullptr);
  EXPECT_TRUE(second.calls.empty());
  EXPECT_EQ(third.calls.size(), 1u);
  EXPECT_EQ(subject.Subscribers(4), 2);
}

TEST(Observer, RemoveAllFromAHandlerIsDeferredSafely) {
  PeekObservable subject;
  Recorder a({1}), b({1});
  a.onReceive = [&](int) { subject.RemoveAllObservers(); };
  subject.AddObserver(&a);
  subject.AddObserver(&b);
  subject.SendNotification(1, nullptr);
  EXPECT_EQ(a.calls.size(), 1u);
  EXPECT_TRUE(b.calls.empty());
  EXPECT_EQ(subject.Subscribers(1), 0);
}

TEST(Observer, HandlerMaySubscribeOthersWithoutThemJoiningThisDelivery) {
  PeekObservable subject;
  Recorder late({1}), a({1});
  a.onReceive = [&](int) { subject.AddObserver(&late); };
  subject.AddObserver(&a);
  subject.SendNotification(1, nullptr);
  EXPECT_TRUE(late.calls.empty());
  subject.SendNotification(1, nullptr);
  EXPECT_EQ(late.calls.size(), 1u);
}

// Observers that count calls made after their removal has returned: once
// RemoveObserver returns the host may destroy the observer.
struct Guarded : Observer {
  void ReceiveNotification(int, void*) override {
    if (removed.load()) ++lateCalls;
    ++calls;
    if (selfRemoveAt > 0 && calls == selfRemoveAt) subject->RemoveObserver(this);
  }
  void StartObserving(Observable* s) override { s->RegisterObservations(this, 1, 2, -1); }
  Observable* subject = nullptr;
  std::atomic<bool> removed{false};
  std::atomic<int> lateCalls{0};
  int calls = 0;
  int selfRemoveAt = 0;
};

TEST(Observer, ObserversRemovedFromAnotherThreadAndFromTheirHandlersDuringDeliveries) {
  PeekObservable subject;
  const int count = 40;
  std::vector<Guarded> observers(count);
  for (int i = 0; i < count; ++i) {
    observers[i].subject = &subject;
    if (i % 2) observers[i].selfRemoveAt = 5 + i * 7;  // odd ones leave by themselves
    subject.AddObserver(&observers[i]);
  }
  std::atomic<bool> stop{false};
  std::atomic<int> sends{0};
  std::thread sender([&] {
    while (!stop.load()) {
      subject.SendNotification(1 + sends.load() % 2, nullptr);
      ++sends;
    }
  });
  // The even ones are removed from here while deliveries run.
  for (int i = 0; i < count; i += 2) {
    while (sends.load() < (i + 1) * 10) Sleep(0);
    subject.RemoveObserver(&observers[i]);
    observers[i].removed = true;
  }
  while (sends.load() < 5000) Sleep(0);
  stop = true;
  sender.join();
  for (int i = 0; i < count; ++i) EXPECT_EQ(observers[i].lateCalls.load(), 0) << i;
  for (int i = 1; i < count; i += 2) EXPECT_EQ(observers[i].calls, observers[i].selfRemoveAt) << i;
  EXPECT_EQ(subject.Subscribers(1), 0);
  EXPECT_EQ(subject.Subscribers(2), 0);
}

}  // namespace
