#pragma once

#include <functional>
#include <string>

namespace korvane {

// Hands URLs to the system (browser, store, other apps). The completion says whether the system
// opened it and runs on the main thread.
class UrlOpener {
 public:
  virtual ~UrlOpener() = default;
  virtual bool canOpen(const std::string& url) const = 0;
  virtual void open(const std::string& url, std::function<void(bool opened)> completion) = 0;
};

}  // namespace korvane
