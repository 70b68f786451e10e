#pragma once

#import <Foundation/Foundation.h>

#include <memory>

#include "korvane/platform/storage.h"

namespace korvane::ios {

// User defaults on one NSUserDefaults (thread-safe by itself).
class UserDefaultsStore final : public KeyValueStore {
 public:
  explicit UserDefaultsStore(NSUserDefaults* defaults);

  // The SDK's own suite, "com.korvane.sdk", where it keeps its values.
  static std::shared_ptr<UserDefaultsStore> sdkSuite();
  // The app's standard defaults, where earlier versions kept them (read once to move them).
  static std::shared_ptr<UserDefaultsStore> appStandard();

  std::optional<std::string> getString(const std::string& key) const override;
  void setString(const std::string& key, const std::string& value) override;
  void remove(const std::string& key) override;

 private:
  NSUserDefaults* defaults_;
};

// The app's documents directory from NSFileManager, created when missing. An empty path when the
// system names none, which the event file reports as "Could not find documents directory".
class AppDocumentsDirectory final : public DocumentsDirectory {
 public:
  std::filesystem::path path() const override;
};

}  // namespace korvane::ios
