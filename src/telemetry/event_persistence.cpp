#include "telemetry/event_persistence.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <unordered_set>

#include "korvane/util/logger.h"
#include "telemetry/event_codec.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "EventBatchService";

// C stdio rather than file streams: the streams' templates would be compiled into the iOS
// framework (about 8 KiB) for these two uses.
struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

std::optional<std::string> readWhole(const std::string& path) {
  const File in(std::fopen(path.c_str(), "rb"));
  if (!in) return std::nullopt;
  std::string text;
  char buffer[16384];
  while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, in.get()))
    text.append(buffer, count);
  if (std::ferror(in.get())) return std::nullopt;
  return text;
}

// The whole text, flushed and closed; false when any step failed.
bool writeWhole(const std::string& path, const std::string& text) {
  File out(std::fopen(path.c_str(), "wb"));
  if (!out) return false;
  const bool written = std::fwrite(text.data(), 1, text.size(), out.get()) == text.size();
  return std::fclose(out.release()) == 0 && written;
}

}  // namespace

Error persistenceErrorFileUrlNotFound() {
  return Error{"PersistenceError", 0, "Could not find documents directory", "PersistenceError"};
}
Error persistenceErrorDataCorrupted() {
  return Error{"PersistenceError", 1, "Event data is corrupted", "PersistenceError"};
}

namespace {
Error fileSystemError(const std::error_code& ec) {
  return Error{"NSCocoaErrorDomain", ec.value(), ec.message(), "Error"};
}
}  // namespace

EventPersistenceManager::FileLock::FileLock(EventPersistenceManager& owner) : owner_(owner) {
  if (owner_.fileLockHolder_.load() == std::this_thread::get_id()) return;
  lock_ = std::unique_lock(owner_.fileLock_);
  owner_.fileLockHolder_.store(std::this_thread::get_id());
}

EventPersistenceManager::FileLock::~FileLock() {
  if (lock_) owner_.fileLockHolder_.store(std::thread::id());
}

Status EventPersistenceManager::FileLock::refusal() const {
  if (lock_) return okStatus();
  return Error{"PersistenceError", 3, "The event file is in use by this thread",
               "PersistenceError"};
}

EventPersistenceManager::EventPersistenceManager(std::shared_ptr<DocumentsDirectory> documents,
                                                 std::shared_ptr<Clock> clock, std::string fileName,
                                                 std::int64_t maxFileSize,
                                                 double maxEventAgeSeconds)
    : documents_(std::move(documents)),
      clock_(std::move(clock)),
      fileName_(std::move(fileName)),
      maxFileSize_(maxFileSize),
      maxEventAgeSeconds_(maxEventAgeSeconds) {}

Result<std::string> EventPersistenceManager::fileLocation() const {
  if (!documents_) return persistenceErrorFileUrlNotFound();
  const std::filesystem::path directory = documents_->path();
  if (directory.empty()) return persistenceErrorFileUrlNotFound();
  return (directory / fileName_).string();
}

// The text goes to a temporary file beside the event file, which then replaces it in one rename:
// a crash or a full disk part-way through leaves the old file whole.
Status EventPersistenceManager::writeTextLocked(const std::string& path, const std::string& text) {
  const std::string temporary = path + ".writing";
  const bool written = writeWhole(temporary, text);
  std::error_code ec;
  if (written) std::filesystem::rename(temporary, path, ec);
  if (!written || ec) {
    std::error_code ignored;
    std::filesystem::remove(temporary, ignored);
    return Error{"PersistenceError", 2, "Could not write " + path, "PersistenceError"};
  }
  return okStatus();
}

void EventPersistenceManager::noteReplacedDamage(const Error& damage) {
  KorvaneLogger::e(kTag, "The event file was damaged and is started afresh: " + damage.description);
}

bool EventPersistenceManager::fitsSizeLimit(std::size_t bytes) const {
  return maxFileSize_ < 0 || bytes <= static_cast<std::size_t>(maxFileSize_);
}

void EventPersistenceManager::noteDropped(std::size_t agedOut, std::size_t overSize) {
  if (agedOut + overSize == 0) return;
  droppedCount_ += agedOut + overSize;
  KorvaneLogger::w(kTag, "Dropped " + std::to_string(agedOut + overSize) +
                             " events from the event file (" + std::to_string(agedOut) +
                             " older than " + std::to_string(std::llround(maxEventAgeSeconds_)) +
                             " s, " + std::to_string(overSize) + " past its " +
                             std::to_string(maxFileSize_) + "-byte limit)");
}

// A record that no longer decodes (an unknown type after a downgrade, a hand-edited field)
// costs only itself: its neighbours load, and the next write leaves it out.
void EventPersistenceManager::noteDamagedRecords(std::size_t damaged,
                                                 const std::optional<Error>& first) {
  if (damaged == 0) return;
  droppedCount_ += damaged;
  KorvaneLogger::w(kTag, "Dropped " + std::to_string(damaged) +
                             " damaged events from the event file: " +
                             (first ? first->description : std::string()));
}

bool EventPersistenceManager::isYoung(double timestamp) const {
  // Strictly younger than the maximum age: an event exactly that old is dropped.
  return (static_cast<double>(clock_->nowMillis()) - timestamp) / 1000.0 < maxEventAgeSeconds_;
}

// Keeps the file within its limits: events past the maximum age go, then the oldest until the
// text fits in maxFileSize. What goes is counted and logged; an empty result removes the file.
Status EventPersistenceManager::writeLocked(const std::string& path,
                                            const std::vector<Event>& events,
                                            std::size_t agedOutBefore) {
  std::vector<const Event*> young;
  for (const Event& event : events)
    if (isYoung(event.timestamp)) young.push_back(&event);
  const std::size_t agedOut = agedOutBefore + (events.size() - young.size());

  std::vector<std::string> texts;
  texts.reserve(young.size());
  std::size_t bytes = 2;  // the brackets
  for (const Event* event : young) {
    texts.push_back(encodeEvent(*event));
    bytes += texts.back().size() + (texts.size() > 1 ? 1 : 0);
  }
  std::vector<bool> kept(young.size(), true);
  std::size_t overSize = 0;
  if (!fitsSizeLimit(bytes)) {
    std::vector<std::size_t> byAge(young.size());
    for (std::size_t i = 0; i < byAge.size(); ++i) byAge[i] = i;
    std::stable_sort(byAge.begin(), byAge.end(), [&](std::size_t a, std::size_t b) {
      return young[a]->timestamp < young[b]->timestamp;
    });
    for (std::size_t i : byAge) {
      if (fitsSizeLimit(bytes)) break;
      kept[i] = false;
      bytes -= texts[i].size() + (young.size() - overSize > 1 ? 1 : 0);
      ++overSize;
    }
  }
  noteDropped(agedOut, overSize);
  if (overSize == young.size()) return removeLocked(path);
  std::string text = "[";
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (!kept[i]) continue;
    if (text.size() > 1) text += ',';
    text += texts[i];
  }
  text += ']';
  return writeTextLocked(path, text);
}

Status EventPersistenceManager::saveEvent(const Event& event) {
  FileLock lock(*this);
  if (Status refused = lock.refusal(); !refused) return refused.error();
  Result<std::string> path = fileLocation();
  if (!path) return path.error();
  std::optional<std::string> text = readWhole(path.value());
  std::optional<EventFileSummary> existing;
  if (text) {
    Result<EventFileSummary> summary = summarizeEventFile(*text);
    if (summary) existing = summary.value();
  }
  const std::string added = encodeEvent(event);
  const std::size_t count = existing ? existing->events : 0;
  // No bound on the count: the size and age bounds already bound the file, and a file that grew
  // during an outage keeps what may exist nowhere else until loads drain it.
  const bool withinLimits = (!text || (existing && isYoung(existing->oldestTimestamp))) &&
                            isYoung(event.timestamp) &&
                            fitsSizeLimit((text ? text->size() : 2) + 1 + added.size());
  if (!withinLimits) {
    std::vector<Event> events;
    if (text) {
      // Also where the check refused the file: its records are read one by one.
      Result<SalvagedEventFile> salvaged = salvageEventFile(*text);
      if (salvaged) {
        noteDamagedRecords(salvaged.value().damaged, salvaged.value().firstDamage);
        events = std::move(salvaged.value().events);
      } else {
        noteReplacedDamage(salvaged.error());
      }
    }
    events.push_back(event);
    return writeLocked(path.value(), events);
  }
  // The usual case: the file's own text stays as it is and the new event is added at its end.
  std::string updated = text ? std::move(*text) : std::string("[]");
  while (!updated.empty() && std::isspace(static_cast<unsigned char>(updated.back())))
    updated.pop_back();
  updated.pop_back();  // the closing bracket of a well-formed array
  if (count > 0) updated += ',';
  updated += added;
  updated += ']';
  return writeTextLocked(path.value(), updated);
}

Status EventPersistenceManager::saveEvents(const std::vector<Event>& events) {
  FileLock lock(*this);
  if (Status refused = lock.refusal(); !refused) return refused.error();
  Result<std::string> path = fileLocation();
  if (!path) return path.error();
  return writeLocked(path.value(), events);
}

Result<EventPersistenceManager::Loaded> EventPersistenceManager::loadLocked() {
  Result<std::string> path = fileLocation();
  if (!path) return path.error();
  std::error_code ec;
  const std::filesystem::file_status status = std::filesystem::status(path.value(), ec);
  Loaded loaded;
  loaded.path = path.value();
  if (status.type() == std::filesystem::file_type::not_found) return loaded;
  if (ec) return fileSystemError(ec);
  loaded.exists = true;
  std::optional<std::string> text = readWhole(path.value());
  if (!text) return persistenceErrorDataCorrupted();
  Result<SalvagedEventFile> decoded = salvageEventFile(*text);
  if (!decoded) {
    loaded.damage = decoded.error();
    return loaded;
  }
  loaded.total = decoded.value().events.size();
  loaded.bytes = text->size();
  loaded.damaged = decoded.value().damaged;
  loaded.firstDamage = std::move(decoded.value().firstDamage);
  for (Event& event : decoded.value().events)
    if (isYoung(event.timestamp)) loaded.young.push_back(std::move(event));
  // Counted now: callers move the young events out before they write.
  loaded.agedOut = loaded.total - loaded.young.size();
  return loaded;
}

Result<std::vector<Event>> EventPersistenceManager::loadEvents() {
  FileLock lock(*this);
  if (Status refused = lock.refusal(); !refused) return refused.error();
  Result<Loaded> loaded = loadLocked();
  if (!loaded) return loaded.error();
  if (loaded.value().damage) return *loaded.value().damage;
  return std::move(loaded.value().young);
}

Status EventPersistenceManager::clearEvents() {
  FileLock lock(*this);
  if (Status refused = lock.refusal(); !refused) return refused.error();
  Result<std::string> path = fileLocation();
  if (!path) return path.error();
  return removeLocked(path.value());
}

Status EventPersistenceManager::removeLocked(const std::string& path) {
  std::error_code ec;
  std::filesystem::remove(path, ec);
  if (ec) return fileSystemError(ec);
  return okStatus();
}

Status EventPersistenceManager::mergeEvents(const std::vector<Event>& events) {
  FileLock lock(*this);
  if (Status refused = lock.refusal(); !refused) return refused.error();
  Result<Loaded> loaded = loadLocked();
  if (!loaded) return loaded.error();
  if (loaded.value().damage) noteReplacedDamage(*loaded.value().damage);
  std::vector<Event> kept = std::move(loaded.value().young);
  const std::size_t before = kept.size();
  std::unordered_set<std::string> ids;
  for (const Event& event : kept) ids.insert(event.eventId);
  for (const Event& event : events)
    if (ids.insert(event.eventId).second) kept.push_back(event);
  // A batch that fails again is already in the file: rewriting it would change nothing but wear.
  if (kept.size() == before && loaded.value().damaged == 0) return okStatus();
  noteDamagedRecords(loaded.value().damaged, loaded.value().firstDamage);
  return writeLocked(loaded.value().path, kept, loaded.value().agedOut);
}

Status EventPersistenceManager::forgetEvents(const std::vector<Event>& events) {
  FileLock lock(*this);
  if (Status refused = lock.refusal(); !refused) return refused.error();
  Result<Loaded> loaded = loadLocked();
  if (!loaded) return loaded.error();
  if (loaded.value().damage) return okStatus();  // none of these can be in it
  std::unordered_set<std::string> ids;
  for (const Event& event : events) ids.insert(event.eventId);
  std::vector<Event> remaining;
  for (Event& event : loaded.value().young)
    if (!ids.contains(event.eventId)) remaining.push_back(std::move(event));
  if (remaining.size() == loaded.value().total && loaded.value().damaged == 0) return okStatus();
  noteDamagedRecords(loaded.value().damaged, loaded.value().firstDamage);
  return writeLocked(loaded.value().path, remaining, loaded.value().agedOut);
}

Result<std::vector<Event>> EventPersistenceManager::takeEvents(std::size_t maxCount) {
  FileLock lock(*this);
  if (Status refused = lock.refusal(); !refused) return refused.error();
  Result<Loaded> loaded = loadLocked();
  if (!loaded) return loaded.error();
  if (loaded.value().damage) {
    // Nothing in it can ever load: said once, here, rather than at every later load.
    noteReplacedDamage(*loaded.value().damage);
    if (Status removed = removeLocked(loaded.value().path); !removed) return removed.error();
    return std::vector<Event>();
  }
  if (!loaded.value().exists) return std::vector<Event>();
  std::vector<Event>& young = loaded.value().young;
  if (young.size() <= maxCount) {
    if (Status removed = removeLocked(loaded.value().path); !removed) return removed.error();
    noteDamagedRecords(loaded.value().damaged, loaded.value().firstDamage);
    noteDropped(loaded.value().agedOut, 0);
    return std::move(young);
  }
  // The newer events wait in the file rather than push older ones out of a full queue.
  const auto firstLeft = young.begin() + static_cast<std::ptrdiff_t>(maxCount);
  const std::vector<Event> left(std::make_move_iterator(firstLeft),
                                std::make_move_iterator(young.end()));
  young.erase(firstLeft, young.end());
  noteDamagedRecords(loaded.value().damaged, loaded.value().firstDamage);
  if (Status kept = writeLocked(loaded.value().path, left, loaded.value().agedOut); !kept)
    return kept.error();
  KorvaneLogger::i(kTag, "Took " + std::to_string(maxCount) + " of " +
                             std::to_string(maxCount + left.size()) +
                             " events from the event file, leaving " + std::to_string(left.size()) +
                             " for a later load");
  return std::move(young);
}

void EventPersistenceManager::cleanupOldEvents() {
  FileLock lock(*this);
  Result<Loaded> loaded = lock.refusal() ? loadLocked() : Result<Loaded>(lock.refusal().error());
  Status status = loaded ? okStatus() : Status(loaded.error());
  // A damaged file is left to the load that follows, which says so once and starts it afresh.
  if (status && loaded.value().damage) return;
  const bool overLimits = status && (loaded.value().agedOut > 0 || loaded.value().damaged > 0 ||
                                     !fitsSizeLimit(loaded.value().bytes));
  if (overLimits) {
    noteDamagedRecords(loaded.value().damaged, loaded.value().firstDamage);
    status = writeLocked(loaded.value().path, loaded.value().young, loaded.value().agedOut);
  }
  if (!status)
    KorvaneLogger::e(kTag, "Failed to cleanup old events: " + status.error().description);
}

}  // namespace korvane
