#pragma once

#include "korvane/platform/background_time.h"

namespace korvane::ios {

// Background time as UIApplication background tasks. The system's expiry ends the task too;
// whichever comes first ends it, the other does nothing.
class UIKitBackgroundTime final : public BackgroundTime {
 public:
  Subscription begin(const std::string& name) override;
};

}  // namespace korvane::ios
