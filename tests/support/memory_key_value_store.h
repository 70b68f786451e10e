#pragma once

#include <map>
#include <mutex>

#include "korvane/platform/storage.h"

namespace korvane::testing {

class MemoryKeyValueStore final : public KeyValueStore {
 public:
  std::optional<std::string> getString(const std::string& key) const override {
    std::lock_guard lock(mutex_);
    auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional<std::string>(found->second);
  }
  void setString(const std::string& key, const std::string& value) override {
    std::lock_guard lock(mutex_);
    values_[key] = value;
  }
  void remove(const std::string& key) override {
    std::lock_guard lock(mutex_);
    values_.erase(key);
  }

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::string> values_;
};

}  // namespace korvane::testing
