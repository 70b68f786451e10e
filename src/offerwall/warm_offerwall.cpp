#include "offerwall/warm_offerwall.h"

#include "korvane/util/logger.h"
#include "offerwall/offerwall_opening.h"
#include "offerwall/offscreen_offerwall.h"

namespace korvane::offerwall {
namespace {

constexpr std::string_view kTag = "KorvaneSdk";

}  // namespace

std::shared_ptr<WarmOfferwall> WarmOfferwall::create(Context context) {
  auto warm = std::make_shared<WarmOfferwall>(std::move(context));
  if (const auto& pressure = warm->context_->platform().memoryPressure) {
    warm->memoryWatch_ = pressure->subscribe([weak = std::weak_ptr<WarmOfferwall>(warm)] {
      if (auto self = weak.lock()) self->drop("the system is short of memory");
    });
  }
  return warm;
}

std::int64_t WarmOfferwall::nowMillis() const {
  const auto& clock = context_->platform().clock;
  return clock ? clock->nowMillis() : 0;
}

bool WarmOfferwall::keep(const WarmKey& key) {
  if (page_ && key_ == key && isOffScreen(*page_) && !stale()) {
    KorvaneLogger::d(kTag, "The offerwall of placement " + key.placementId + " is kept already");
    return true;
  }
  drop("another page is kept instead");
  auto page = offerwallFor(context_, key.url);
  page->placementId = key.placementId;
  page->userId = key.userId;
  std::weak_ptr<WarmOfferwall> weak = weak_from_this();
  const KorvaneOfferwallViewController* which = page.get();
  const bool loading = loadOffScreen(*page, [weak, which] {
    auto self = weak.lock();
    if (self && self->page_.get() == which) self->drop("its load failed or it closed itself");
  });
  if (!loading) {
    KorvaneLogger::w(kTag, "This platform keeps no offerwall page off screen; nothing preloaded");
    return false;
  }
  page_ = std::move(page);
  key_ = key;
  keptAtMillis_ = nowMillis();
  if (const auto& mainThread = context_->platform().mainThread) {
    expiry_ = mainThread->postAfter(kLifetime, [weak, which] {
      auto self = weak.lock();
      if (self && self->page_.get() == which) self->drop("it was kept for 10 minutes");
    });
  }
  KorvaneLogger::i(kTag, "Preloading the offerwall of placement " + key.placementId);
  return true;
}

std::shared_ptr<KorvaneOfferwallViewController> WarmOfferwall::take(const WarmKey& key) {
  if (!page_) return nullptr;
  if (key_.userId != key.userId) {
    drop("it was loaded for another user");
    return nullptr;
  }
  if (stale()) {
    drop("it was kept for 10 minutes");
    return nullptr;
  }
  if (key_ != key || !isOffScreen(*page_)) return nullptr;
  KorvaneLogger::i(kTag, "Showing the preloaded offerwall of placement " + key.placementId);
  expiry_.cancel();
  return std::exchange(page_, nullptr);
}

bool WarmOfferwall::stale() const {
  return nowMillis() - keptAtMillis_ >= std::chrono::milliseconds(kLifetime).count();
}

void WarmOfferwall::drop(std::string_view why) {
  if (!page_) return;
  KorvaneLogger::i(kTag, "Letting the preloaded offerwall go: " + std::string(why));
  release();
}

void WarmOfferwall::dropUnlessFor(const std::string& userId) {
  if (page_ && key_.userId != userId) drop("another user logged in");
}

void WarmOfferwall::release() {
  expiry_.cancel();
  page_.reset();
  key_ = {};
}

}  // namespace korvane::offerwall
