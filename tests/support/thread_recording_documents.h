#pragma once

#include <filesystem>
#include <mutex>
#include <thread>
#include <vector>

#include "korvane/platform/storage.h"

namespace korvane::testing {

// A documents directory that remembers which thread asked for it, each time. Every operation on
// the event file asks for the directory first, so these are the threads the file was read and
// written on.
class ThreadRecordingDocuments final : public DocumentsDirectory {
 public:
  explicit ThreadRecordingDocuments(std::filesystem::path path) : path_(std::move(path)) {}

  std::filesystem::path path() const override {
    {
      std::lock_guard lock(mutex_);
      threads_.push_back(std::this_thread::get_id());
    }
    std::error_code ignored;
    std::filesystem::create_directories(path_, ignored);
    return path_;
  }
  std::vector<std::thread::id> threads() const {
    std::lock_guard lock(mutex_);
    return threads_;
  }

 private:
  std::filesystem::path path_;
  mutable std::mutex mutex_;
  mutable std::vector<std::thread::id> threads_;
};

}  // namespace korvane::testing
