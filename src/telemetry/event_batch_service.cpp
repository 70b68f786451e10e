#include "telemetry/event_batch_service.h"

#include <algorithm>

#include <cmath>
#include <cstdio>

#include "korvane/util/logger.h"
#include "korvane/version.h"
#include "telemetry/event_conversion.h"
#include "util/number_text.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "EventBatchService";
constexpr const char* kBackgroundTaskName = "KorvaneSDK event batch";

// The server has seen the batch and will not take it as it is: sending it again cannot help.
bool refusedForGood(const Error& error) {
  if (error.domain == "EventBatchService" && error.code == -1) return true;  // "success": false
  const bool carriesResponse =
      std::any_of(error.userInfo.begin(), error.userInfo.end(),
                  [](const auto& entry) { return entry.first == "response"; });
  return carriesResponse && error.code >= 400 && error.code < 500 && error.code != 429;
}

bool isCritical(EventType type) {
  return type == EventType::loginSuccess || type == EventType::loginFailed ||
         type == EventType::sdkCrash;
}

std::string fixed(const char* format, double value) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, format, value);
  return buffer;
}

}  // namespace

std::shared_ptr<EventBatchService> EventBatchService::create(BatchServiceDependencies dependencies,
                                                             std::size_t batchSize,
                                                             double flushIntervalSeconds) {
  auto service = std::make_shared<EventBatchService>(Token{}, std::move(dependencies), batchSize,
                                                     flushIntervalSeconds);
  service->start();
  return service;
}

EventBatchService::EventBatchService(Token, BatchServiceDependencies dependencies,
                                     std::size_t batchSize, double flushIntervalSeconds)
    : deps_(std::move(dependencies)),
      batchSize_(batchSize),
      flushInterval_(flushIntervalSeconds),
      lastFlushMillis_(deps_.clock->nowMillis()) {}

EventBatchService::~EventBatchService() {
  std::lock_guard lock(stateLock_);
  flushTimer_.cancel();
  retryTimer_.cancel();
}

void EventBatchService::start() {
  KorvaneLogger::i(
      kTag, "Initializing EventBatchService with batch size: " + std::to_string(batchSize()) +
                ", flush interval: " + swiftNumber(flushInterval()) + "s");
  if (deps_.lifecycle) {
    std::lock_guard lock(stateLock_);
    inForeground_ = deps_.lifecycle->state() != AppState::background;
  }
  if (deps_.lifecycle) {
    std::weak_ptr<EventBatchService> weak = weak_from_this();
    lifecycleObservation_ = deps_.lifecycle->subscribe([weak](AppLifecycleEvent event) {
      auto self = weak.lock();
      if (!self) return;
      switch (event) {
        case AppLifecycleEvent::willTerminate:
          self->handleAppTermination();
          break;
        case AppLifecycleEvent::didEnterBackground:
          self->handleAppBackground();
          break;
        case AppLifecycleEvent::willEnterForeground:
          self->handleAppForeground();
          break;
        case AppLifecycleEvent::didBecomeActive:
          break;
      }
    });
  }
  // Reading the file can take long (it may hold 10 MiB), and setting up the platform's network
  // monitor may wait on the system: neither on the caller's thread, the main thread at launch.
  std::weak_ptr<EventBatchService> weak = weak_from_this();
  deps_.serial->submit([weak] {
    if (auto self = weak.lock()) self->loadAtStart();
  });
  KorvaneLogger::i(kTag, "EventBatchService initialized successfully");
}

void EventBatchService::loadAtStart() {
  if (deps_.reachability) {
    std::weak_ptr<EventBatchService> weak = weak_from_this();
    networkObservation_ = deps_.reachability->subscribe([weak](bool connected) {
      if (auto self = weak.lock()) self->networkChanged(connected);
    });
  }
  deps_.persistence->cleanupOldEvents();
  loadPersistedEvents();
  updateFlushTimer();
  const std::size_t count = deps_.queue->count();
  if (count > 0) {
    KorvaneLogger::d(kTag, "Found " + std::to_string(count) +
                               " events after initialization, checking flush conditions...");
    if (shouldFlush()) {
      KorvaneLogger::d(kTag, "Flush needed after initialization, triggering...");
      flushInBackground();
    } else {
      KorvaneLogger::d(kTag, [&] {
        return "Events loaded but flush not needed yet (count: " + std::to_string(count) +
               ", time since last: " + swiftNumber(secondsSinceLastFlush()) + "s)";
      });
    }
  }
}

double EventBatchService::secondsSinceLastFlush() const {
  return static_cast<double>(deps_.clock->nowMillis() - lastFlushMillis_.load()) / 1000.0;
}

bool EventBatchService::shouldFlush() const {
  return deps_.queue->count() >= batchSize() || secondsSinceLastFlush() >= flushInterval();
}

void EventBatchService::loadPersistedEvents(bool counted) {
  // Read and removed in one step: nothing written in between is removed unread.
  // Only what the queue has room for: the rest stays in the file for a later load.
  // Up to half the queue, so that a load does not leave it where events would be parked again.
  const std::size_t capacity = deps_.queue->count() + deps_.queue->room();
  const std::size_t room =
      deps_.queue->count() >= capacity / 2 ? 0 : capacity / 2 - deps_.queue->count();
  Result<std::vector<Event>> loaded = deps_.persistence->takeEvents(room);
  if (!loaded) {
    KorvaneLogger::e(kTag, "Failed to load persisted events: " + loaded.error().description);
    return;
  }
  const std::size_t count = loaded.value().size();
  // A full take may have left more behind: they come in when the queue drains again.
  parked_ = count == room;
  if (count == 0) {
    KorvaneLogger::d(kTag, "No persisted events to load");
    return;
  }
  KorvaneLogger::d(kTag, "Loading " + std::to_string(count) + " persisted events");
  // Older than anything tracked while the file was read, so they go ahead of it.
  const std::vector<Event> noRoom = deps_.queue->prepend(std::move(loaded).value());
  if (!noRoom.empty()) {
    // Events tracked meanwhile took the room that was measured: these wait in the file again.
    Status kept = persistMerged(noRoom);
    if (!kept) KorvaneLogger::e(kTag, "Failed to persist events: " + kept.error().description);
    KorvaneLogger::w(kTag, "Left " + std::to_string(noRoom.size()) +
                               " persisted events in the event file: the queue filled up while "
                               "they were read");
  }
  if (!noRoom.empty()) parked_ = true;
  if (counted) accepted_ += count - noRoom.size();
  // The file may keep events the queue had no room for; takeEvents logs how many.
  KorvaneLogger::d(kTag, "Queued " + std::to_string(count - noRoom.size()) + " persisted events");
}

EventBatchService::Tally EventBatchService::tally() const {
  return {accepted_.load(), delivered_.load(), deps_.queue->count()};
}

void EventBatchService::trackEvent(Event event) {
  if (!enabled_.load()) {
    KorvaneLogger::d(kTag, "Telemetry is off: event dropped");
    return;
  }
  const EventType type = event.type;
  const double timestamp = event.timestamp;
  const bool critical = isCritical(type);
  std::optional<Event> copy;
  if (critical) copy = event;
  deps_.queue->enqueue(std::move(event));
  ++accepted_;
  KorvaneLogger::d(kTag, [&] {
    return "Event added to queue. Queue size: " + std::to_string(deps_.queue->count()) +
           ", Event type: " + rawValue(type) + ", Timestamp: " + formatLocalTimestamp(timestamp);
  });
  if (critical) {
    Status saved = deps_.persistence->saveEvent(*copy);
    if (!saved)
      KorvaneLogger::e(kTag, "Failed to persist critical event: " + saved.error().description);
  }
  if (shouldFlush()) {
    KorvaneLogger::d(kTag, "Flush needed. Triggering flush...");
    flushInBackground();
  } else {
    KorvaneLogger::d(kTag, [&] {
      return "Flush not needed yet. Queue size: " + std::to_string(deps_.queue->count()) +
             ", Time since last flush: " + swiftNumber(secondsSinceLastFlush()) + "s";
    });
  }
  parkIfPilingUp();
  // An event can only make the timer wanted: when it runs already there is nothing to decide.
  if (!timerArmed_.load(std::memory_order_acquire)) updateFlushTimer();
}

// While nothing may send, or sends are slower than tracking, events pile up in the queue, and its
// bound would push the oldest out: past half the queue, all but one batch of them wait in the
// event file instead, and come back when a send has drained the queue.
void EventBatchService::parkIfPilingUp() {
  const std::size_t count = deps_.queue->count();
  if (count < (count + deps_.queue->room()) / 2) return;
  if (parking_.exchange(true)) return;
  std::weak_ptr<EventBatchService> weak = weak_from_this();
  deps_.serial->submit([weak] {
    auto self = weak.lock();
    if (!self) return;
    self->park();
    self->parking_ = false;
  });
}

void EventBatchService::park() {
  const std::size_t count = deps_.queue->count();
  if (count <= batchSize()) return;
  std::vector<Event> oldest = deps_.queue->dequeue(count - batchSize());
  Status saved = persistMerged(oldest);
  if (!saved) {
    KorvaneLogger::e(kTag, "Failed to persist events: " + saved.error().description);
    // Back where they were: the bound decides as it would have.
    deps_.queue->prepend(std::move(oldest));
    return;
  }
  parked_ = true;
  KorvaneLogger::d(kTag, "Moved " + std::to_string(oldest.size()) +
                             " waiting events to the event file until sending drains the queue");
}

// After a send that left the queue short of a batch, what waits in the file comes next.
void EventBatchService::unparkWhenDrained() {
  if (!parked_ || deps_.queue->count() >= batchSize()) return;
  if (parking_.exchange(true)) return;
  std::weak_ptr<EventBatchService> weak = weak_from_this();
  deps_.serial->submit([weak] {
    auto self = weak.lock();
    if (!self) return;
    if (self->parked_) self->loadPersistedEvents(/*counted=*/false);
    self->parking_ = false;
    if (self->shouldFlush()) self->flushInBackground();
    self->updateFlushTimer();
  });
}

std::optional<std::string> EventBatchService::heldBack(Trigger trigger) {
  std::lock_guard lock(stateLock_);
  switch (turn_) {
    case SendTurn::anyTrigger:
      return std::nullopt;
    case SendTurn::retry:
      return "Not sending now: the scheduled retry sends next";
    case SendTurn::timerOnly:
      if (trigger == Trigger::timer) return std::nullopt;
      return "Not sending now: sends keep failing, the flush timer sends next";
    case SendTurn::waitingForNetwork:
      return "Not sending now: waiting for the network or the return to the foreground";
  }
  return std::nullopt;
}

void EventBatchService::flushInBackground(Trigger trigger) {
  if (std::optional<std::string> why = heldBack(trigger)) {
    KorvaneLogger::d(kTag, *why);
    return;
  }
  std::weak_ptr<EventBatchService> weak = weak_from_this();
  deps_.executor->submit([weak, trigger] {
    auto self = weak.lock();
    if (!self) return;
    // A send that failed since the submission may have handed the turn on.
    if (std::optional<std::string> why = self->heldBack(trigger)) {
      KorvaneLogger::d(kTag, *why);
      return;
    }
    self->flush();
  });
}

void EventBatchService::networkChanged(bool connected) {
  if (connected) return resumeSending("the network path changed");
  bool offline = false;
  {
    std::lock_guard lock(stateLock_);
    offline = turn_ == SendTurn::timerOnly;
    if (offline) turn_ = SendTurn::waitingForNetwork;
  }
  // Timer ticks would only fail now.
  if (offline) updateFlushTimer();
}

// After three failures in a row: any trigger may send again, and what waited goes at once.
void EventBatchService::resumeSending(const char* because) {
  bool resumed = false;
  {
    std::lock_guard lock(stateLock_);
    resumed = turn_ == SendTurn::waitingForNetwork || turn_ == SendTurn::timerOnly;
    if (resumed) turn_ = SendTurn::anyTrigger;
  }
  if (!resumed) return;
  KorvaneLogger::d(kTag, std::string("Sending resumes: ") + because);
  updateFlushTimer();
  if (deps_.queue->count() > 0) flushInBackground();
}

// ---- Flush timer --------------------------------------------------------------------------------

void EventBatchService::updateFlushTimer(bool restart) {
  std::optional<double> armedFor;
  {
    std::lock_guard lock(stateLock_);
    const bool eventsWait = deps_.queue->count() > 0;
    const bool wanted = eventsWait && inForeground_ && enabled_.load() &&
                        (turn_ == SendTurn::anyTrigger || turn_ == SendTurn::timerOnly);
    if (timerArmed_ && (!wanted || restart)) {
      flushTimer_.cancel();
      timerArmed_ = false;
    }
    if (wanted && !timerArmed_) armedFor = armFlushTimerLocked();
  }
  if (!armedFor) return;
  const double base = flushInterval();
  KorvaneLogger::d(kTag, [&] {
    return "Starting flush timer with interval: " + swiftNumber(base) + "s (±20% jitter)";
  });
  KorvaneLogger::d(kTag, [&] {
    return "Scheduling next flush in " + fixed("%.1f", *armedFor) +
           "s (base: " + swiftNumber(base) + "s)";
  });
}

double EventBatchService::armFlushTimerLocked() {
  const double base = flushInterval();
  const double jitter = base * kFlushJitterFraction;
  const double period = base + deps_.random->uniform(-jitter, jitter);
  std::weak_ptr<EventBatchService> weak = weak_from_this();
  const std::uint64_t generation = ++timerGeneration_;
  flushTimer_ = deps_.mainThread->postAfter(
      std::chrono::milliseconds(static_cast<std::int64_t>(std::llround(period * 1000.0))),
      [weak, generation] {
        if (auto self = weak.lock()) self->tick(generation);
      });
  timerArmed_ = true;
  return period;
}

void EventBatchService::tick(std::uint64_t generation) {
  {
    std::lock_guard lock(stateLock_);
    // A timer cancelled while it was already on its way to run.
    if (generation != timerGeneration_ || !timerArmed_) return;
    timerArmed_ = false;
  }
  const std::size_t count = deps_.queue->count();
  KorvaneLogger::d(kTag, [&] {
    return "Timer fired. Queue size: " + std::to_string(count) +
           ", Time since last flush: " + swiftNumber(secondsSinceLastFlush()) + "s";
  });
  if (count > 0) {
    KorvaneLogger::d(kTag,
                     "Timer: Events in queue: " + std::to_string(count) + ", triggering flush...");
    flushInBackground(Trigger::timer);
  } else {
    KorvaneLogger::d(kTag, "Timer: Queue is empty, skipping flush");
  }
  // Runs on while events wait; the send stops it once it has emptied the queue.
  updateFlushTimer();
}

// ---- Sending ------------------------------------------------------------------------------------

void EventBatchService::flush(std::function<void(Status)> done) {
  if (!enabled_.load()) {
    KorvaneLogger::d(kTag, "Telemetry is off: nothing sent");
    if (done) done(okStatus());
    return;
  }
  bool busy = false;
  {
    std::lock_guard lock(stateLock_);
    busy = isProcessing_;
    isProcessing_ = true;
  }
  if (busy) {
    KorvaneLogger::d(kTag, "Flush already in progress, skipping...");
    if (done) done(okStatus());
    return;
  }
  std::vector<Event> events = deps_.queue->dequeue(batchSize());
  if (events.empty()) {
    KorvaneLogger::d(kTag, "No events to flush");
    {
      std::lock_guard lock(stateLock_);
      isProcessing_ = false;
    }
    updateFlushTimer();
    if (done) done(okStatus());
    return;
  }
  KorvaneLogger::d(kTag, "Flush started. Events to send: " + std::to_string(events.size()));
  send(std::move(events), std::move(done));
}

void EventBatchService::send(std::vector<Event> events, std::function<void(Status)> done) {
  EventBatch batch;
  batch.batchId = deps_.random->makeUuid();
  batch.batchTimestamp = formatIso8601(deps_.clock->now());
  batch.sdkVersion = kSdkVersion;
  batch.platform = kPlatformName;
  batch.events = toTrackEventRequests(events, deps_.context());
  KorvaneLogger::d(
      kTag, "Sending batch with " + std::to_string(batch.events.size()) + " events to server...");

  Result<std::shared_ptr<ApiService>> api = deps_.api();
  if (!api) return finishSend(events, Status(api.error()), done);
  // Held until the answer is handled: the app may leave the foreground while the batch is out.
  auto backgroundTime = std::make_shared<Subscription>(
      deps_.backgroundTime ? deps_.backgroundTime->begin(kBackgroundTaskName) : Subscription());
  // The completion keeps the service alive until the answer is handled, so a batch in flight
  // is never dropped on the floor.
  auto self = shared_from_this();
  api.value()->trackEventBatch(batch, [self, events = std::move(events), done,
                                       backgroundTime](Result<EventBatchResponse> result) {
    struct EndWhenHandled {
      Subscription& held;
      ~EndWhenHandled() { held.reset(); }
    } end{*backgroundTime};
    if (!result) return self->finishSend(events, Status(result.error()), done);
    const EventBatchResponse& response = result.value();
    const std::string failedCount = std::to_string(response.failedEventIds.size());
    if (!response.success) {
      KorvaneLogger::d(kTag, "Batch failed: success=false, failed events: " + failedCount);
      return self->finishSend(
          events,
          Status(Error{"EventBatchService", -1, "Batch processing failed on server", "NSError"}),
          done);
    }
    KorvaneLogger::d(
        kTag, "Batch sent successfully! Processed: " + std::to_string(response.processedCount) +
                  ", Failed: " + failedCount);
    self->finishSend(events, okStatus(), done);
  });
}

void EventBatchService::finishSend(const std::vector<Event>& events, const Status& outcome,
                                   const std::function<void(Status)>& done) {
  if (outcome) {
    retryCount_ = 0;
    {
      std::lock_guard lock(stateLock_);
      turn_ = SendTurn::anyTrigger;
      retryTimer_.cancel();
    }
    KorvaneLogger::d(kTag, "Batch sent successfully!");
    lastFlushMillis_ = deps_.clock->nowMillis();
    delivered_ += events.size();
    {
      std::lock_guard lock(stateLock_);
      if (!refusals_.empty())
        for (const Event& event : events) refusals_.erase(event.eventId);
    }
    forgetPersisted(events);
  } else {
    KorvaneLogger::e(kTag, "Failed to send batch: " + outcome.error().description);
    handleFailure(events, outcome.error());
  }
  {
    std::lock_guard lock(stateLock_);
    isProcessing_ = false;
  }
  if (outcome) unparkWhenDrained();
  // Stops the timer once the queue is empty, or hands it to a retry or to the wait.
  updateFlushTimer();
  if (done) done(outcome);
}

// The file may hold events that exist nowhere else (the queue written at backgrounding while a
// batch was in flight, or left there by a foreground that skipped loading): new events are added
// to them, never written over them.
Status EventBatchService::persistMerged(const std::vector<Event>& events) {
  return deps_.persistence->mergeEvents(events);
}

// Sent events that an earlier failure also wrote to the file leave it, so that the next load
// does not send them twice.
void EventBatchService::forgetPersisted(const std::vector<Event>& sent) {
  Status written = deps_.persistence->forgetEvents(sent);
  if (!written) KorvaneLogger::e(kTag, "Failed to persist events: " + written.error().description);
}

// One event the backend cannot take would otherwise hold its batch in the queue and the file
// until age or the queue's bound pushed it out, costing a send at every trigger.
std::vector<Event> EventBatchService::withoutRepeatedRefusals(const std::vector<Event>& refused,
                                                              const Error& error) {
  std::vector<Event> kept;
  std::vector<Event> dropped;
  {
    std::lock_guard lock(stateLock_);
    for (const Event& event : refused) {
      if (++refusals_[event.eventId] < kMaxRefusals) {
        kept.push_back(event);
      } else {
        refusals_.erase(event.eventId);
        dropped.push_back(event);
      }
    }
  }
  if (dropped.empty()) return kept;
  KorvaneLogger::w(kTag, "Dropped " + std::to_string(dropped.size()) +
                             " events the server refused " + std::to_string(kMaxRefusals) +
                             " times: " + error.description);
  forgetPersisted(dropped);
  return kept;
}

void EventBatchService::handleFailure(const std::vector<Event>& failed, const Error& error) {
  const std::vector<Event> events =
      refusedForGood(error) ? withoutRepeatedRefusals(failed, error) : failed;
  for (const Event& event : events) deps_.queue->enqueue(event);
  KorvaneLogger::d(kTag, "Re-enqueued " + std::to_string(events.size()) + " events for retry");
  Status persisted = persistMerged(events);
  if (persisted)
    KorvaneLogger::d(kTag, "Persisted " + std::to_string(events.size()) + " events to disk");
  else
    KorvaneLogger::e(kTag, "Failed to persist events: " + persisted.error().description);

  if (!isRetryable(error)) {
    KorvaneLogger::w(kTag, "Error is not retryable: " + error.description);
    return;
  }
  const int attempt = ++retryCount_;
  KorvaneLogger::d(kTag, "Will retry (" + std::to_string(attempt) + "/" +
                             std::to_string(kMaxRetryCount) + ")...");
  // Only a successful send resets the count: after giving up, later failures give up at once.
  if (attempt > kMaxRetryCount - 1) {
    // Offline, sending again before the network or the user comes back could only fail; with
    // the network there the backend may recover any time, and the timer paces the attempts.
    const bool offline = deps_.reachability && !deps_.reachability->isConnected();
    {
      std::lock_guard lock(stateLock_);
      turn_ = offline ? SendTurn::waitingForNetwork : SendTurn::timerOnly;
      retryTimer_.cancel();
    }
    KorvaneLogger::w(kTag, "Max retry count reached. Giving up.");
    KorvaneLogger::d(kTag, offline ? "Sending waits for the network or the return to the foreground"
                                   : "Until a send succeeds only the flush timer sends");
    return;
  }
  scheduleRetry(attempt);
}

// The retry owns the next attempt: no other trigger sends until it has run.
void EventBatchService::scheduleRetry(int attempt) {
  if (!enabled_.load()) return;  // turned off while the batch was out
  const double ceiling = std::min(kRetryBaseDelay * std::pow(2.0, attempt - 1), kRetryMaxDelay);
  const double delay = deps_.random->uniform(0.0, ceiling);
  KorvaneLogger::d(kTag, "Retrying flush after " + fixed("%.2f", delay) +
                             "s (backoff ceiling: " + fixed("%.1f", ceiling) + "s)...");
  std::weak_ptr<EventBatchService> weak = weak_from_this();
  std::lock_guard lock(stateLock_);
  turn_ = SendTurn::retry;
  retryTimer_.cancel();
  retryTimer_ = deps_.mainThread->postAfter(
      std::chrono::milliseconds(static_cast<std::int64_t>(std::llround(delay * 1000.0))), [weak] {
        auto self = weak.lock();
        if (!self) return;
        {
          std::lock_guard held(self->stateLock_);
          if (self->turn_ == SendTurn::retry) self->turn_ = SendTurn::anyTrigger;
        }
        self->flushInBackground();
      });
}

bool EventBatchService::isRetryable(const Error& error) const {
  if (error.isNetworkError()) {
    switch (error.code) {
      case -1001:  // timed out
      case -1004:  // cannot connect to host
      case -1005:  // network connection lost
      case -1009:  // not connected to the internet
        KorvaneLogger::d(kTag, "Will retry - Network error: " + error.description);
        return true;
      default:
        KorvaneLogger::d(kTag, "Won't retry - URLError: " + std::to_string(error.code));
        return false;
    }
  }
  const bool carriesResponse =
      std::any_of(error.userInfo.begin(), error.userInfo.end(),
                  [](const auto& entry) { return entry.first == "response"; });
  if (carriesResponse) {
    const long status = error.code;
    if (status >= 500 || status == 429) {
      KorvaneLogger::d(
          kTag, "Will retry - HTTP " + std::to_string(status) + " (server error or rate limit)");
      return true;
    }
    if (status >= 400)
      KorvaneLogger::d(kTag, "Won't retry - HTTP " + std::to_string(status) +
                                 " (client error, check endpoint or request)");
    return false;
  }
  KorvaneLogger::d(kTag, "Won't retry - Unknown error type");
  return false;
}

// ---- Configuration and lifecycle ---------------------------------------------------------------

void EventBatchService::updateBatchConfiguration(std::optional<std::int64_t> batchSize,
                                                 std::optional<double> flushIntervalSeconds) {
  bool changed = false;
  if (batchSize && *batchSize >= 1 && static_cast<std::size_t>(*batchSize) != this->batchSize()) {
    batchSize_ = static_cast<std::size_t>(*batchSize);
    KorvaneLogger::d(kTag, "Updated batch size to: " + std::to_string(*batchSize));
    changed = true;
  }
  if (flushIntervalSeconds && *flushIntervalSeconds > 0) {
    const double clamped =
        std::clamp(*flushIntervalSeconds, kMinFlushIntervalSeconds, kMaxFlushIntervalSeconds);
    if (clamped != *flushIntervalSeconds)
      KorvaneLogger::w(kTag, "Flush interval " + swiftNumber(*flushIntervalSeconds) +
                                 " seconds is out of range; using " + swiftNumber(clamped) +
                                 " seconds");
    flushIntervalSeconds = clamped;
  }
  if (flushIntervalSeconds && *flushIntervalSeconds > 0 &&
      *flushIntervalSeconds != flushInterval()) {
    flushInterval_ = *flushIntervalSeconds;
    KorvaneLogger::d(
        kTag, "Updated flush interval to: " + swiftNumber(*flushIntervalSeconds) + " seconds");
    updateFlushTimer(/*restart=*/true);
    changed = true;
  }
  if (!changed) return;
  KorvaneLogger::d(kTag,
                   "Batch configuration updated - Size: " + std::to_string(this->batchSize()) +
                       ", Interval: " + swiftNumber(flushInterval()) + "s");
  if (deps_.queue->count() >= this->batchSize()) flushInBackground();
}

void EventBatchService::setEnabled(bool enabled) {
  if (enabled_.exchange(enabled) == enabled) return;
  if (!enabled) {
    std::lock_guard lock(stateLock_);
    retryTimer_.cancel();
    if (turn_ == SendTurn::retry) turn_ = SendTurn::anyTrigger;
  }
  updateFlushTimer();
}

void EventBatchService::handleAppBackground() {
  {
    std::lock_guard lock(stateLock_);
    inForeground_ = false;
  }
  updateFlushTimer();
  if (deps_.queue->count() == 0) return;
  // Taken out first, so nothing tracked meanwhile is lost between the write and the emptying.
  std::vector<Event> events = deps_.queue->dequeue(SIZE_MAX);
  KorvaneLogger::i(kTag,
                   "App backgrounded. Persisting " + std::to_string(events.size()) + " events");
  for (const Event& event : events)
    KorvaneLogger::d(kTag, [&] {
      return std::string("Persisting event: ") + rawValue(event.type) + " at " +
             formatLocalTimestamp(event.timestamp);
    });
  Status saved = persistMerged(events);
  if (!saved) {
    // Keep them in memory rather than lose them.
    KorvaneLogger::e(kTag, "Failed to persist events: " + saved.error().description);
    for (Event& event : events) deps_.queue->enqueue(std::move(event));
  }
}

void EventBatchService::handleAppForeground() {
  KorvaneLogger::i(kTag, "App foregrounded");
  bool resumed = false;
  {
    std::lock_guard lock(stateLock_);
    inForeground_ = true;
    resumed = turn_ == SendTurn::waitingForNetwork || turn_ == SendTurn::timerOnly;
    if (resumed) turn_ = SendTurn::anyTrigger;
  }
  if (resumed) KorvaneLogger::d(kTag, "Sending resumes: the app is back in the foreground");
  const std::size_t count = deps_.queue->count();
  if (count > 0)
    KorvaneLogger::d(kTag, "Queue not empty (" + std::to_string(count) + " events), skipping load");
  else
    loadPersistedEvents();
  updateFlushTimer();
  if (shouldFlush()) {
    KorvaneLogger::i(kTag, "Flush needed on foreground, triggering...");
    flushInBackground();
  }
}

void EventBatchService::handleAppTermination() {
  std::vector<Event> events = deps_.queue->snapshot();
  if (events.empty()) return;
  KorvaneLogger::i(kTag,
                   "App terminating. Persisting " + std::to_string(events.size()) + " events");
  persistMerged(events);
}

}  // namespace korvane
