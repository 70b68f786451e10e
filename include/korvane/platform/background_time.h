#pragma once

#include <string>

#include "korvane/platform/subscription.h"

namespace korvane {

// Time the system grants the app to finish work begun in the foreground after it leaves it. The
// grant lasts until the returned Subscription is reset or destroyed; ending it twice, or after the
// system took it back, does nothing. Safe from any thread.
class BackgroundTime {
 public:
  virtual ~BackgroundTime() = default;
  [[nodiscard]] virtual Subscription begin(const std::string& name) = 0;
};

}  // namespace korvane
