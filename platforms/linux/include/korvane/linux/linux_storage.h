#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "korvane/platform/storage.h"

namespace korvane::linux_host {

// The directory the Linux host keeps the SDK's files in: the given one, else
// $XDG_DATA_HOME/korvane, else ~/.local/share/korvane, else ./korvane-data.
std::filesystem::path defaultDataDirectory();

// User defaults kept as a JSON object in one file. Every write replaces the file atomically
// (write to a temporary file, then rename), so a crash leaves the old or the new contents.
// A missing or unreadable file reads as empty.
class FileKeyValueStore final : public KeyValueStore {
 public:
  explicit FileKeyValueStore(std::filesystem::path file);

  std::optional<std::string> getString(const std::string& key) const override;
  void setString(const std::string& key, const std::string& value) override;
  void remove(const std::string& key) override;

 private:
  void persistLocked() const;

  std::filesystem::path file_;
  mutable std::mutex mutex_;
  std::map<std::string, std::string> values_;
};

// A fixed documents directory, created when first asked for.
class FixedDocumentsDirectory final : public DocumentsDirectory {
 public:
  explicit FixedDocumentsDirectory(std::filesystem::path path);
  std::filesystem::path path() const override;

 private:
  std::filesystem::path path_;
};

}  // namespace korvane::linux_host
