#include "korvane/linux/linux_storage.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>

#include <nlohmann/json.hpp>

#include "korvane/util/json_value.h"
#include "korvane/util/logger.h"

namespace korvane::linux_host {
namespace {
constexpr std::string_view kTag = "FileKeyValueStore";
}

std::filesystem::path defaultDataDirectory() {
  if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg && *xdg)
    return std::filesystem::path(xdg) / "korvane";
  if (const char* home = std::getenv("HOME"); home && *home)
    return std::filesystem::path(home) / ".local" / "share" / "korvane";
  std::error_code ec;  // a working directory that is gone leaves a relative path
  return std::filesystem::current_path(ec) / "korvane-data";
}

FileKeyValueStore::FileKeyValueStore(std::filesystem::path file) : file_(std::move(file)) {
  std::ifstream in(file_, std::ios::binary);
  if (!in) return;
  std::stringstream text;
  text << in.rdbuf();
  const Result<JsonValue> json = parseDepthLimitedJson(text.str());
  if (!json || !json.value().is_object()) {
    KorvaneLogger::w(kTag, "Ignoring unreadable settings file " + file_.string() +
                               (json ? "" : ": " + json.error().description));
    return;
  }
  for (const auto& [key, value] : json.value().items())
    if (value.is_string()) values_[key] = value.get<std::string>();
}

std::optional<std::string> FileKeyValueStore::getString(const std::string& key) const {
  std::lock_guard lock(mutex_);
  const auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  return found->second;
}

void FileKeyValueStore::setString(const std::string& key, const std::string& value) {
  std::lock_guard lock(mutex_);
  values_[key] = value;
  persistLocked();
}

void FileKeyValueStore::remove(const std::string& key) {
  std::lock_guard lock(mutex_);
  if (values_.erase(key) > 0) persistLocked();
}

void FileKeyValueStore::persistLocked() const {
  std::error_code ec;
  std::filesystem::create_directories(file_.parent_path(), ec);
  const std::filesystem::path temporary = file_.string() + ".tmp";
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    // Host text need not be UTF-8: bytes that are not become U+FFFD rather than an exception.
    out << nlohmann::json(values_).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    if (!out.flush()) {
      KorvaneLogger::w(kTag, "Could not write settings file " + temporary.string());
      return;
    }
  }
  std::filesystem::rename(temporary, file_, ec);
  if (ec) KorvaneLogger::w(kTag, "Could not replace settings file: " + ec.message());
}

FixedDocumentsDirectory::FixedDocumentsDirectory(std::filesystem::path path)
    : path_(std::move(path)) {}

std::filesystem::path FixedDocumentsDirectory::path() const {
  std::error_code ec;
  std::filesystem::create_directories(path_, ec);
  return path_;
}

}  // namespace korvane::linux_host
