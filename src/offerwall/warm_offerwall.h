#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "context/sdk_context.h"
#include "korvane/offerwall/offerwall_view_controller.h"
#include "korvane/platform/main_thread.h"
#include "korvane/platform/subscription.h"

namespace korvane::offerwall {

// What a kept page was loaded for. An opening takes it only when all of it still holds.
struct WarmKey {
  std::string placementId;
  std::string url;  // the offerwall address validation gave
  std::string userId;
  bool operator==(const WarmKey&) const = default;
};

// Keeps at most one offerwall page loaded off screen for the next opening of its placement (see
// loadOffScreen). The page goes when another user's page is asked for, on the system's memory
// warning, when it failed or closed itself unseen, and kLifetime after it was kept. Main thread
// only, except that it may be made anywhere.
class WarmOfferwall : public std::enable_shared_from_this<WarmOfferwall> {
 public:
  // A kept page's address carries the time it was composed and the session, and its content ages
  // on the server: ten minutes keeps a page that is opened soon after the app shows its button,
  // and lets one go long before its offers are stale.
  static constexpr std::chrono::minutes kLifetime{10};

  // Listens for memory warnings on `context`'s platform.
  static std::shared_ptr<WarmOfferwall> create(Context context);
  explicit WarmOfferwall(Context context) : context_(std::move(context)) {}

  // Loads the page for `key` off screen, replacing a page kept for anything else; a page already
  // kept for `key` stays as it is. False when the platform keeps no page off screen.
  bool keep(const WarmKey& key);
  // The page kept for `key`, still fit to show, which the caller presents (it is no longer kept);
  // null otherwise. A page kept for another user, or past its lifetime, goes.
  std::shared_ptr<KorvaneOfferwallViewController> take(const WarmKey& key);
  // Lets the kept page go, with one line saying why.
  void drop(std::string_view why);
  // Lets the kept page go unless it was loaded for `userId`.
  void dropUnlessFor(const std::string& userId);
  bool holds() const { return page_ != nullptr; }

 private:
  std::int64_t nowMillis() const;
  bool stale() const;
  void release();

  Context context_;
  std::shared_ptr<KorvaneOfferwallViewController> page_;
  WarmKey key_;
  std::int64_t keptAtMillis_ = 0;
  TaskHandle expiry_;
  Subscription memoryWatch_;
};

}  // namespace korvane::offerwall
