#pragma once

#include <memory>
#include <mutex>

#include "korvane/platform/storage.h"

namespace korvane {

// The SDK's own settings store over a store of its own (on iOS the "com.korvane.sdk" suite),
// with a one-time move of the SDK's keys out of the store where earlier versions kept them (the
// app's own defaults). The move runs once, at first use, and is remembered in the SDK's store:
// values already in the SDK's store win, the earlier store is only read, never written or
// cleared (a key of the same name there may be the app's own). Thread-safe if `own` is.
class SdkDefaultsStore final : public KeyValueStore {
 public:
  SdkDefaultsStore(std::shared_ptr<KeyValueStore> own,
                   std::shared_ptr<const KeyValueStore> earlier);

  std::optional<std::string> getString(const std::string& key) const override;
  void setString(const std::string& key, const std::string& value) override;
  void remove(const std::string& key) override;

  // The key in the SDK's store that records that the move is done.
  static const char* const kMovedMarkerKey;

 private:
  void moveOnce() const;

  std::shared_ptr<KeyValueStore> own_;
  std::shared_ptr<const KeyValueStore> earlier_;
  mutable std::once_flag moved_;
};

}  // namespace korvane
