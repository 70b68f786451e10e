#pragma once

#include <memory>

#include "korvane/platform/main_thread.h"
#include "korvane/platform/url_opener.h"

namespace korvane::linux_host {

// Opens URLs with the desktop's default handler for their scheme (GIO); a URL can be opened
// when some application handles its scheme.
class GioUrlOpener final : public UrlOpener {
 public:
  explicit GioUrlOpener(std::shared_ptr<MainThread> mainThread);
  bool canOpen(const std::string& url) const override;
  void open(const std::string& url, std::function<void(bool opened)> completion) override;

 private:
  std::shared_ptr<MainThread> mainThread_;
};

}  // namespace korvane::linux_host
