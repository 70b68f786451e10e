#pragma once

#include <functional>
#include <memory>
#include <string>

#include "korvane/offerwall/offerwall_callback.h"

namespace korvane {

class OfferwallViewImpl;
class Screen;
class SdkContext;

// The embeddable offerwall: a stack of pages with fades and inner-scroll memory. The last
// "close" reports onClosed once and leaves the page for the host to remove (the host destroys
// the view). Main thread only.
class KorvaneOfferwallView {
  struct Token {
    explicit Token() = default;
  };

 public:
  // Makes the page at the bottom of the stack inside what the app placed in its layout: on iOS
  // the view, on Linux a GTK container (linux_host::offerwallPageIn). Without one the view shows
  // in a full-screen page of its own.
  using FirstPageMaker = std::function<std::unique_ptr<Screen>()>;

  // On the process-wide SDK (KorvaneSdk::shared()), read once, now.
  static std::shared_ptr<KorvaneOfferwallView> create(FirstPageMaker makeFirstPage = nullptr);
  // On the context the SDK makes its own views with.
  static std::shared_ptr<KorvaneOfferwallView> create(std::shared_ptr<const SdkContext> context,
                                                      FirstPageMaker makeFirstPage = nullptr);
  KorvaneOfferwallView(Token, std::shared_ptr<const SdkContext> context,
                       FirstPageMaker makeFirstPage);
  ~KorvaneOfferwallView();

  void setCallback(std::shared_ptr<OfferwallCallback> callback);
  void setEventCallback(std::shared_ptr<OfferwallEventCallback> callback);
  void loadOfferwall(const std::string& baseUrl, const std::string& userId,
                     const std::string& appKey, const std::string& placementId);
  // Needs an initialised SDK and a logged-in user; the address comes from the backend. Errors
  // are reported later from the main thread, never during the call. The placement being loaded
  // or shown is not loaded again, nor one whose load failed; one refused because the SDK was not
  // ready is loaded once it is (its refusal is reported once).
  void loadOfferwall(const std::string& placementId);

  std::size_t stackSize() const;
  bool hasClosed() const;

 private:
  std::shared_ptr<OfferwallViewImpl> impl_;
};

}  // namespace korvane
