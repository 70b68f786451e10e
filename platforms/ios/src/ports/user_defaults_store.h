#pragma once

#include "korvane/platform/storage.h"

namespace korvane::ios {

// User defaults on NSUserDefaults.standardUserDefaults (thread-safe by itself).
class UserDefaultsStore final : public KeyValueStore {
 public:
  std::optional<std::string> getString(const std::string& key) const override;
  void setString(const std::string& key, const std::string& value) override;
  void remove(const std::string& key) override;
};

// The app's documents directory from NSFileManager, created when missing. An empty path when the
// system names none, which the event file reports as "Could not find documents directory".
class AppDocumentsDirectory final : public DocumentsDirectory {
 public:
  std::filesystem::path path() const override;
};

}  // namespace korvane::ios
