#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "korvane/platform/clock.h"
#include "korvane/platform/storage.h"
#include "korvane/telemetry/event.h"
#include "korvane/values/error.h"

namespace korvane {

// "Could not find documents directory" and "Event data is corrupted".
Error persistenceErrorFileUrlNotFound();
Error persistenceErrorDataCorrupted();

// Events kept on disk across backgrounding, termination and crashes. Safe from any thread.
class EventPersistenceProtocol {
 public:
  virtual ~EventPersistenceProtocol() = default;
  // Adds one event to the file at once (a damaged file is replaced; damaged records leave it).
  virtual Status saveEvent(const Event& event) = 0;
  // Makes `events` the whole content of the file.
  virtual Status saveEvents(const std::vector<Event>& events) = 0;
  // The file's events younger than the maximum age; empty when there is no file.
  virtual Result<std::vector<Event>> loadEvents() = 0;
  virtual Status clearEvents() = 0;
  // Rewrites the file without events past the maximum age; failures are only logged, and a
  // damaged file is left to takeEvents.
  virtual void cleanupOldEvents() = 0;

  // Each of these reads and rewrites the file as one step that no other operation of this
  // store can come between, so concurrent writers never undo each other.
  // Adds the events the file does not hold yet (by identifier) after its own; a damaged file is
  // replaced. When every event is there already, the file is not written at all.
  virtual Status mergeEvents(const std::vector<Event>& events) = 0;
  // Removes these events (by identifier); the file goes when nothing is left in it.
  virtual Status forgetEvents(const std::vector<Event>& events) = 0;
  // The file's oldest `maxCount` events younger than the maximum age, taken out of it: the rest
  // stay for a later call, and the file goes when nothing is left. A file that cannot be read is
  // an error and stays; one that is not an event list goes, logged as damaged.
  virtual Result<std::vector<Event>> takeEvents(std::size_t maxCount) = 0;
};

// The event file: a JSON array of events (oldest first, payloads as base64 of their JSON) named
// `fileName` in the documents directory. Every write keeps it within its limits: events past the
// maximum age leave, then the oldest until the text fits in `maxFileSize` bytes; what leaves is
// counted and logged. There is no bound on the number of events. The file exists only while it
// holds events.
class EventPersistenceManager final : public EventPersistenceProtocol {
 public:
  EventPersistenceManager(std::shared_ptr<DocumentsDirectory> documents,
                          std::shared_ptr<Clock> clock,
                          std::string fileName = "korvane_events.json",
                          std::int64_t maxFileSize = 10485760, double maxEventAgeSeconds = 604800);

  Status saveEvent(const Event& event) override;
  Status saveEvents(const std::vector<Event>& events) override;
  Result<std::vector<Event>> loadEvents() override;
  Status clearEvents() override;
  void cleanupOldEvents() override;
  Status mergeEvents(const std::vector<Event>& events) override;
  Status forgetEvents(const std::vector<Event>& events) override;
  Result<std::vector<Event>> takeEvents(std::size_t maxCount) override;

  std::int64_t maxFileSize() const { return maxFileSize_; }
  // How many events the size and age limits, or damage to their records, have pushed out of the
  // file so far.
  std::size_t droppedCount() const { return droppedCount_.load(); }

 private:
  struct Loaded {
    std::string path;
    std::vector<Event> young;  // events within the maximum age, in file order
    std::size_t total = 0;     // events in the file
    std::size_t agedOut = 0;   // events past the maximum age, counted as loaded
    bool exists = false;
    std::optional<Error> damage;  // the file is there but is not an event list
    std::size_t bytes = 0;        // of its text
    std::size_t damaged = 0;      // records that did not decode, not in `young` or `total`
    std::optional<Error> firstDamage;
  };
  Result<std::string> fileLocation() const;
  Result<Loaded> loadLocked();
  Status writeLocked(const std::string& path, const std::vector<Event>& events,
                     std::size_t agedOutBefore = 0);
  bool isYoung(double timestamp) const;
  bool fitsSizeLimit(std::size_t bytes) const;  // a negative maxFileSize means no limit
  static void noteReplacedDamage(const Error& damage);
  void noteDropped(std::size_t agedOut, std::size_t overSize);
  void noteDamagedRecords(std::size_t damaged, const std::optional<Error>& first);
  Status writeTextLocked(const std::string& path, const std::string& text);
  Status removeLocked(const std::string& path);

  // fileLock_ held for one operation. An operation started on the thread that already holds it
  // (the crash handler running on a thread that died inside one) is refused rather than left
  // waiting for itself.
  class FileLock {
   public:
    explicit FileLock(EventPersistenceManager& owner);
    ~FileLock();
    Status refusal() const;

   private:
    EventPersistenceManager& owner_;
    std::unique_lock<std::mutex> lock_;
  };

  std::shared_ptr<DocumentsDirectory> documents_;
  std::shared_ptr<Clock> clock_;
  const std::string fileName_;
  const std::int64_t maxFileSize_;
  const double maxEventAgeSeconds_;
  std::mutex fileLock_;
  std::atomic<std::thread::id> fileLockHolder_;
  std::atomic<std::size_t> droppedCount_{0};
};

}  // namespace korvane
