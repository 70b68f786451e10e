#include "korvane/telemetry/event_persistence.h"

#include <cctype>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unordered_set>

#include "korvane/core/logger.h"
#include "telemetry/event_codec.h"

namespace korvane {
namespace {

constexpr std::size_t kTrimTrigger = 1000;  // trimming starts once the file held this many
constexpr std::size_t kTrimKeep = 500;      // and keeps this many of the newest

std::optional<std::string> readWhole(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  std::stringstream text;
  text << in.rdbuf();
  return std::move(text).str();
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

Status EventPersistenceManager::writeTextLocked(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
  if (!out.flush())
    return Error{"PersistenceError", 2, "Could not write " + path, "PersistenceError"};
  return okStatus();
}

Status EventPersistenceManager::writeLocked(const std::string& path,
                                            const std::vector<Event>& events) {
  return writeTextLocked(path, encodeEventFile(events));
}

Status EventPersistenceManager::saveEvent(const Event& event) {
  FileLock lock(*this);
  if (Status refused = lock.refusal(); !refused) return refused.error();
  Result<std::string> path = fileLocation();
  if (!path) return path.error();
  std::optional<std::string> text = readWhole(path.value());
  const std::optional<std::size_t> existing = text ? validEventCount(*text) : std::nullopt;
  if (!existing) text.reset();  // a damaged file is started afresh
  if (existing && *existing >= kTrimTrigger) {
    std::vector<Event> events = decodeEventFile(*text).value();
    events.push_back(event);
    events.erase(events.begin(), events.end() - static_cast<std::ptrdiff_t>(kTrimKeep));
    return writeLocked(path.value(), events);
  }
  // The usual case: the file's own text stays as it is and the new event is added at its end.
  std::string updated = text ? std::move(*text) : std::string("[]");
  while (!updated.empty() && std::isspace(static_cast<unsigned char>(updated.back())))
    updated.pop_back();
  updated.pop_back();  // the closing bracket of a well-formed array
  if (existing.value_or(0) > 0) updated += ',';
  updated += encodeEvent(event);
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
  Result<std::vector<Event>> decoded = decodeEventFile(*text);
  if (!decoded) {
    loaded.damage = decoded.error();
    return loaded;
  }
  // Strictly younger than the maximum age: an event exactly that old is dropped.
  const double now = static_cast<double>(clock_->nowMillis());
  loaded.total = decoded.value().size();
  for (Event& event : decoded.value())
    if ((now - event.timestamp) / 1000.0 < maxEventAgeSeconds_)
      loaded.young.push_back(std::move(event));
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
  std::vector<Event> kept = std::move(loaded.value().young);  // a damaged file starts afresh
  std::unordered_set<std::string> ids;
  for (const Event& event : kept) ids.insert(event.eventId);
  for (const Event& event : events)
    if (ids.insert(event.eventId).second) kept.push_back(event);
  return writeLocked(loaded.value().path, kept);
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
  if (remaining.size() == loaded.value().total) return okStatus();
  if (remaining.empty()) return removeLocked(loaded.value().path);
  return writeLocked(loaded.value().path, remaining);
}

Result<std::vector<Event>> EventPersistenceManager::takeEvents() {
  FileLock lock(*this);
  if (Status refused = lock.refusal(); !refused) return refused.error();
  Result<Loaded> loaded = loadLocked();
  if (!loaded) return loaded.error();
  if (loaded.value().damage) return *loaded.value().damage;
  if (!loaded.value().exists) return std::vector<Event>();
  if (Status removed = removeLocked(loaded.value().path); !removed) return removed.error();
  return std::move(loaded.value().young);
}

void EventPersistenceManager::cleanupOldEvents() {
  FileLock lock(*this);
  Result<Loaded> loaded = lock.refusal() ? loadLocked() : Result<Loaded>(lock.refusal().error());
  Status status = !loaded                 ? Status(loaded.error())
                  : loaded.value().damage ? Status(*loaded.value().damage)
                                          : okStatus();
  if (status && loaded.value().young.size() < loaded.value().total)
    status = writeLocked(loaded.value().path, loaded.value().young);
  if (!status)
    KorvaneLogger::e("EventBatchService",
                     "Failed to cleanup old events: " + status.error().description);
}

}  // namespace korvane
