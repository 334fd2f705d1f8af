// Observable and Observer: sorted subscriptions, removals deferred during (nested) deliveries
// and removal from another thread while deliveries run.
#include "tests/support/TestSupport.h"

#include <atomic>
#include <thread>

namespace {

struct PeekObservable : Observable {
  // "message:subscribers" of every per-message list, in map order.
  std::string Lists() {
    std::string s;
    long message = 0;
    for (int i = 0; i < m_subscriptions.GetCount(); ++i) {
      auto* list = static_cast<CMyArrayList*>(m_subscriptions.Index(i, &message));
      s += std::to_string(message) + ":" + std::to_string(list->GetCount()) + " ";
    }
    return s;
  }
};

// Subscribes to up to two messages; writes its name, the message and whether
// the data was the trace itself to the trace on every call, then runs an optional action.
struct Recorder : Observer {
  Recorder(std::string* trace, char name, int first, int second = -1) : trace(trace), name(name), first(first), second(second) {}
  void ReceiveNotification(int message, void* data) override {
    *trace += name + std::to_string(message) + (data == trace ? "* " : " ");
    if (onReceive) onReceive(message);
  }
  void StartObserving(Observable* subject) override { subject->RegisterObservations(this, first, second, -1); }
  std::string* trace;
  char name;
  int first, second;  // -1: none
  std::function<void(int)> onReceive;
};

TEST(Observer, SubscriptionsAreSortedByMessageAndDeliveredInSubscriptionOrder) {
  PeekObservable subject;
  std::string trace;
  Recorder a(&trace, 'a', 7), b(&trace, 'b', 7), c(&trace, 'c', 3, 7);
  subject.AddObserver(nullptr);
  for (Recorder* o : {&b, &c, &a}) subject.AddObserver(o);
  subject.RegisterObservations(&a, 3, 1, 7, -7, 5);  // any negative ends the list; 7 is listed once
  EXPECT_EQ(subject.Lists(), "1:1 3:2 7:3 ");
  subject.SendNotification(7, &trace);
  subject.SendNotification(5, nullptr);  // nobody listens: nothing happens
  EXPECT_EQ(trace, "b7* c7* a7* ");
  subject.RemoveObserver(&a);  // outside a delivery: at once, from every list, which all stay
  EXPECT_EQ(subject.Lists(), "1:0 3:1 7:2 ");
  subject.RemoveAllObservers();
  EXPECT_EQ(subject.Lists(), "");
}

TEST(Observer, RemovalsDuringDeliveriesSkipAtOnceAndWaitForTheOutermostToEnd) {
  PeekObservable subject;
  std::string trace;
  Recorder self(&trace, 's', 1, 2), other(&trace, 'o', 1, 2), victim(&trace, 'v', 1), late(&trace, 'l', 1);
  self.onReceive = [&](int message) {
    if (message != 1) return;
    subject.RemoveObserver(&self);
    subject.RemoveObserver(&victim);
    subject.AddObserver(&late);  // joins the list, not this delivery
    EXPECT_EQ(subject.Lists(), "1:4 2:2 ");
    subject.SendNotification(2, nullptr);  // nested: self is skipped already
  };
  for (Recorder* o : {&self, &other, &victim}) subject.AddObserver(o);
  subject.SendNotification(1, nullptr);
  EXPECT_EQ(trace, "s1 o2 o1 ");
  EXPECT_EQ(subject.Lists(), "1:2 2:1 ");  // taken out once the outermost ended

  trace.clear();
  other.onReceive = [&](int) { subject.RemoveAllObservers(); };
  subject.SendNotification(1, nullptr);
  EXPECT_EQ(trace, "o1 ");
  EXPECT_EQ(subject.Lists(), "1:0 2:0 ");
}

// Once RemoveObserver has returned, even on another thread than the deliveries,
// the host may destroy the observer: no call may reach it afterwards.
struct Guarded : Observer {
  void ReceiveNotification(int, void*) override { lateCalls += removed.load(); }
  void StartObserving(Observable* s) override { s->RegisterObservations(this, 1, 2, -1); }
  std::atomic<bool> removed{false};
  std::atomic<int> lateCalls{0};
};

TEST(Observer, NoDeliveryReachesAnObserverAfterItsRemovalFromAnotherThread) {
  PeekObservable subject;
  std::vector<Guarded> observers(40);
  for (Guarded& o : observers) subject.AddObserver(&o);
  std::atomic<bool> stop{false};
  std::atomic<int> sends{0};
  std::thread sender([&] {
    for (; !stop.load(); ++sends) subject.SendNotification(1 + sends.load() % 2, nullptr);
  });
  for (size_t i = 0; i < observers.size(); ++i) {
    while (sends.load() < static_cast<int>(i + 1) * 10) Sleep(0);
    subject.RemoveObserver(&observers[i]);
    observers[i].removed = true;
  }
  stop = true;
  sender.join();
  for (size_t i = 0; i < observers.size(); ++i) EXPECT_EQ(observers[i].lateCalls.load(), 0) << i;
  EXPECT_EQ(subject.Lists(), "1:0 2:0 ");
}

}  // namespace
