#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "korvane/util/logger.h"

namespace korvane::testing {

// Routes the logger's console lines into memory for the life of the object and restores the
// previous level and sink afterwards, so tests assert on log lines instead of parsing stdout.
class LogCapture {
 public:
  explicit LogCapture(LogLevel level = LogLevel::verbose)
      : previousLevel_(KorvaneLogger::logLevel()) {
    KorvaneLogger::setLogLevel(level);
    KorvaneLogger::setLineWriter([this](std::string_view line) {
      std::lock_guard lock(mutex_);
      lines_.emplace_back(line);
    });
  }
  ~LogCapture() {
    KorvaneLogger::setLineWriter(nullptr);
    KorvaneLogger::setTelemetrySink(nullptr);
    KorvaneLogger::setLogLevel(previousLevel_);
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<std::string> lines() const {
    std::lock_guard lock(mutex_);
    return lines_;
  }
  // The lines with their "[HH:mm:ss.SSS] " prefix removed, e.g. "[W/Tag] message".
  std::vector<std::string> messages() const {
    std::vector<std::string> out;
    for (const std::string& line : lines())
      out.push_back(line.size() > 15 ? line.substr(15) : line);
    return out;
  }
  void clear() {
    std::lock_guard lock(mutex_);
    lines_.clear();
  }
  // Some line holds `fragment`.
  bool mentions(const std::string& fragment) const {
    for (const std::string& m : messages())
      if (m.find(fragment) != std::string::npos) return true;
    return false;
  }
  // How many lines hold `fragment`.
  std::size_t count(const std::string& fragment) const {
    std::size_t n = 0;
    for (const std::string& m : messages()) n += m.find(fragment) != std::string::npos;
    return n;
  }
  bool contains(const std::string& tagged) const {
    for (const std::string& m : messages())
      if (m == tagged) return true;
    return false;
  }

 private:
  LogLevel previousLevel_;
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

}  // namespace korvane::testing
