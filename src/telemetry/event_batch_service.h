#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "korvane/backend/api_service.h"
#include "korvane/platform/platform_services.h"
#include "korvane/util/executor.h"
#include "telemetry/event_persistence.h"
#include "telemetry/event_queue.h"
#include "telemetry/send_context.h"

namespace korvane {

// Accepts events and sends them in batches.
class EventBatchServiceProtocol {
 public:
  virtual ~EventBatchServiceProtocol() = default;
  virtual void trackEvent(Event event) = 0;
  // Sends at most one batch; `done` gets the outcome (success when there was nothing to send
  // or another send was already running).
  virtual void flush(std::function<void(Status)> done = nullptr) = 0;
};

struct BatchServiceDependencies {
  std::shared_ptr<EventQueueProtocol> queue;
  std::shared_ptr<EventPersistenceProtocol> persistence;
  // The network layer: the API service, or why there is none yet.
  std::function<Result<std::shared_ptr<ApiService>>()> api;
  // Session, user, device and advertising ids, read once per batch.
  std::function<SendContext()> context;
  std::shared_ptr<MainThread> mainThread;
  std::shared_ptr<Clock> clock;
  std::shared_ptr<RandomSource> random;
  std::shared_ptr<AppLifecycle> lifecycle;  // may be null: no background/foreground handling
  // May be null: the network is then taken to be there, so after three failures in a row the
  // flush timer paces the attempts rather than a wait for the network.
  std::shared_ptr<Reachability> reachability;
  // Sends run here.
  std::shared_ptr<Executor> executor;
  // The SDK's serial queue: the event file is cleaned up and first read there, after whatever was
  // submitted before, so that creating the service reads no file on the caller's thread.
  std::shared_ptr<Executor> serial;
  // May be null: sends then get no extra time when the app leaves the foreground.
  std::shared_ptr<BackgroundTime> backgroundTime;
};

// Sends telemetry in batches: when `batchSize` events wait, on a ±20% jittered timer on the main
// thread, and on return to the foreground. The timer runs only while events wait in the
// foreground and nothing else owns the next attempt: the first event arms it, and a send that
// empties the queue stops it. Failed batches go back to the queue and to the event file and are
// retried (timeouts, lost connections, 5xx, 429) with full-jitter backoff; while a retry is
// scheduled it alone sends. After the third failure in a row only the timer sends while the
// network is there, and nothing while the device is offline until the network comes back or the
// app returns to the foreground, each of which tries again at once (a flush the host asks for
// always sends). Unsent events are written to the event file on background and termination
// and read back at start (on the serial queue, ahead of anything tracked meanwhile) and on
// foreground. Each send holds background time from its start to its answer, so a batch in
// flight when the app leaves the foreground is finished rather than suspended mid-request.
// Safe from any thread; at most one send runs at a time.
class EventBatchService : public EventBatchServiceProtocol,
                          public std::enable_shared_from_this<EventBatchService> {
  struct Token {
    explicit Token() = default;
  };

 public:
  // Builds the service and observes the lifecycle; the serial queue then starts observing the
  // network, and cleans the event file up and loads it.
  static std::shared_ptr<EventBatchService> create(BatchServiceDependencies dependencies,
                                                   std::size_t batchSize = 20,
                                                   double flushIntervalSeconds = 30.0);
  EventBatchService(Token, BatchServiceDependencies dependencies, std::size_t batchSize,
                    double flushIntervalSeconds);
  ~EventBatchService() override;

  void trackEvent(Event event) override;
  // Sends a batch whatever the service waits for: the host asked.
  void flush(std::function<void(Status)> done = nullptr) override;
  bool shouldFlush() const;
  // Applies server settings: a size of at least 1, an interval above 0 seconds.
  void updateBatchConfiguration(std::optional<std::int64_t> batchSize,
                                std::optional<double> flushIntervalSeconds);
  // Off (the server's switch): nothing is accepted or sent and no timer runs; what is queued
  // stays queued. On again: as before.
  void setEnabled(bool enabled);
  void handleAppBackground();
  void handleAppForeground();
  void handleAppTermination();

  std::size_t batchSize() const { return batchSize_.load(); }
  double flushInterval() const { return flushInterval_.load(); }
  int retryCount() const { return retryCount_.load(); }
  EventPersistenceProtocol& persistence() { return *deps_.persistence; }

  // Events this service took on (tracked, or loaded from the event file) and events a backend
  // acknowledged. Once the queue is empty and nothing is in flight, the difference is what was
  // lost (or is waiting in the event file).
  struct Tally {
    std::size_t accepted = 0;
    std::size_t delivered = 0;
    std::size_t queued = 0;
  };
  Tally tally() const;

  static constexpr int kMaxRetryCount = 3;
  // A batch the server refuses for good (HTTP 4xx other than 429, or "success": false) is sent
  // again like any failed batch, but its events are dropped at their third refusal.
  static constexpr int kMaxRefusals = 3;
  static constexpr double kRetryBaseDelay = 5.0;
  static constexpr double kRetryMaxDelay = 60.0;
  static constexpr double kFlushJitterFraction = 0.2;
  // A server interval outside this range is brought into it: shorter would keep the main thread
  // busy with ticks, longer would overflow the platform timers' arithmetic.
  static constexpr double kMinFlushIntervalSeconds = 1.0;
  static constexpr double kMaxFlushIntervalSeconds = 86400.0;

 private:
  // Who may send next: any trigger; the scheduled retry; after three failures in a row with the
  // network there, the flush timer (not every tracked event); after three with the device
  // offline, nobody until the network or the foreground comes back.
  enum class SendTurn { anyTrigger, retry, timerOnly, waitingForNetwork };
  enum class Trigger { event, timer };

  void start();
  void loadAtStart();
  // `counted`: the events are new to this service (not ones it parked in the file itself).
  void loadPersistedEvents(bool counted = true);
  void parkIfPilingUp();
  void park();
  void unparkWhenDrained();
  // Arms the flush timer when events wait in the foreground and the timer may send (neither a
  // retry nor the network owns the next attempt); stops it otherwise. `restart` arms it afresh
  // with the current interval when it runs.
  void updateFlushTimer(bool restart = false);
  double armFlushTimerLocked();  // returns the period
  void tick(std::uint64_t generation);
  // Sends in the background unless the turn is someone else's.
  void flushInBackground(Trigger trigger = Trigger::event);
  std::optional<std::string> heldBack(Trigger trigger);
  void networkChanged(bool connected);
  void resumeSending(const char* because);
  void send(std::vector<Event> events, std::function<void(Status)> done);
  void finishSend(const std::vector<Event>& events, const Status& outcome,
                  const std::function<void(Status)>& done);
  void handleFailure(const std::vector<Event>& events, const Error& error);
  std::vector<Event> withoutRepeatedRefusals(const std::vector<Event>& refused, const Error& error);
  void scheduleRetry(int attempt);
  void forgetPersisted(const std::vector<Event>& sent);
  Status persistMerged(const std::vector<Event>& events);
  bool isRetryable(const Error& error) const;
  double secondsSinceLastFlush() const;

  BatchServiceDependencies deps_;
  std::atomic<std::size_t> batchSize_;
  std::atomic<double> flushInterval_;
  std::atomic<std::int64_t> lastFlushMillis_;
  std::atomic<int> retryCount_{0};
  std::atomic<std::size_t> accepted_{0};
  std::atomic<std::size_t> delivered_{0};
  std::atomic<bool> parked_{false};   // the file may hold events that belong in the queue
  std::atomic<bool> parking_{false};  // a park or an unpark waits on the serial queue
  std::atomic<bool> enabled_{true};

  // Guards what follows. Nothing is logged while it is held: an error log can become an event
  // that comes back here.
  std::mutex stateLock_;
  bool isProcessing_ = false;
  SendTurn turn_ = SendTurn::anyTrigger;
  bool inForeground_ = true;
  TaskHandle flushTimer_;
  std::uint64_t timerGeneration_ = 0;    // tells the armed timer's tick from a stale one
  std::atomic<bool> timerArmed_{false};  // written under the lock, read without it by trackEvent
  TaskHandle retryTimer_;
  std::unordered_map<std::string, int> refusals_;  // by event id, until sent or dropped

  Subscription lifecycleObservation_;
  Subscription networkObservation_;
};

}  // namespace korvane
