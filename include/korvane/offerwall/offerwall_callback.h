#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "korvane/util/json_value.h"

namespace korvane {

// What the host application hears about one offerwall opening, on the main thread. onClosed
// comes at most once per opening.
class OfferwallCallback {
 public:
  virtual ~OfferwallCallback() = default;
  virtual void onOpened() = 0;
  virtual void onClosed() = 0;
  virtual void onError(const std::string& message) = 0;
  virtual void onRewardEarned(int amount) = 0;
  // The host's own object this callback forwards to, where a platform layer bridges one (an
  // Objective-C object on iOS), so that the platform can give it back; null otherwise.
  virtual void* platformObject() const { return nullptr; }
};

// Custom events pages send to the host application, and data requests it answers at once
// (nothing means "no data": the page's callback is then never called).
class OfferwallEventCallback {
 public:
  virtual ~OfferwallEventCallback() = default;
  virtual void onCustomEvent(const std::string& eventType, const JsonValue& payload) = 0;
  virtual std::optional<JsonValue> onDataRequest(const std::string& requestId,
                                                 const std::string& requestType,
                                                 const JsonValue& params) = 0;
  // As OfferwallCallback::platformObject().
  virtual void* platformObject() const { return nullptr; }
};

// An OfferwallCallback made of four closures; absent ones do nothing.
class OfferwallCallbackImpl final : public OfferwallCallback {
 public:
  OfferwallCallbackImpl(std::function<void()> onOpenedHandler,
                        std::function<void()> onClosedHandler,
                        std::function<void(const std::string&)> onErrorHandler,
                        std::function<void(int)> onRewardEarnedHandler)
      : onOpenedHandler_(std::move(onOpenedHandler)),
        onClosedHandler_(std::move(onClosedHandler)),
        onErrorHandler_(std::move(onErrorHandler)),
        onRewardEarnedHandler_(std::move(onRewardEarnedHandler)) {}

  void onOpened() override {
    if (onOpenedHandler_) onOpenedHandler_();
  }
  void onClosed() override {
    if (onClosedHandler_) onClosedHandler_();
  }
  void onError(const std::string& message) override {
    if (onErrorHandler_) onErrorHandler_(message);
  }
  void onRewardEarned(int amount) override {
    if (onRewardEarnedHandler_) onRewardEarnedHandler_(amount);
  }

 private:
  std::function<void()> onOpenedHandler_;
  std::function<void()> onClosedHandler_;
  std::function<void(const std::string&)> onErrorHandler_;
  std::function<void(int)> onRewardEarnedHandler_;
};

// A weakly held object, for lists that must not keep their members alive.
template <typename T>
struct Weak {
  std::weak_ptr<T> value;
};

}  // namespace korvane
