#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace korvane {

// Small persistent string settings (the platform's user defaults). Writes are visible to the
// next read at once and survive the process.
class KeyValueStore {
 public:
  virtual ~KeyValueStore() = default;
  virtual std::optional<std::string> getString(const std::string& key) const = 0;
  virtual void setString(const std::string& key, const std::string& value) = 0;
  virtual void remove(const std::string& key) = 0;
};

// The app's documents directory, where the event file lives. It exists once this returns.
class DocumentsDirectory {
 public:
  virtual ~DocumentsDirectory() = default;
  virtual std::filesystem::path path() const = 0;
};

}  // namespace korvane
