#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "korvane/offerwall/offerwall_callback.h"

namespace korvane {

class OfferwallControllerImpl;
class PresentationAnchor;
class Screen;
struct ScreenOptions;
class SdkContext;

// The full-screen offerwall: one page per controller, inner pages as further controllers. Set
// the fields, then present. Main thread only. Callbacks are shared by all controllers of the SDK's
// session, since one offerwall is shown at a time: onClosed is reported at most once until a launch
// installs a new callback.
class KorvaneOfferwallViewController {
  struct Token {
    explicit Token() = default;
  };

 public:
  // On the process-wide SDK (KorvaneSdk::shared()), read once, now.
  static std::shared_ptr<KorvaneOfferwallViewController> create();
  // On the context the SDK makes its own pages with.
  static std::shared_ptr<KorvaneOfferwallViewController> create(
      std::shared_ptr<const SdkContext> context);
  explicit KorvaneOfferwallViewController(Token) {}
  ~KorvaneOfferwallViewController();

  std::optional<std::string> baseUrl;
  std::optional<std::string> userId;
  std::optional<std::string> appKey;
  std::optional<std::string> placementId;
  bool isSubWebView = false;
  std::string contextType = "offerwall";
  std::optional<std::string> quizId;
  std::optional<std::string> quizTitle;
  bool showNavigationBar = false;
  bool useNativeNavigationBar = false;

  // Shows it full screen over `over` (the host's top screen when null), inside a navigation
  // container when `inNavigationContainer`; the page starts loading at once. False when the
  // platform refused to present it: nothing was shown and nothing of it stays. False as well,
  // changing nothing, for a controller that is shown already.
  bool present(PresentationAnchor* over = nullptr, bool inNavigationContainer = false);
  // For a controller the platform already shows (an iOS view controller the app presented
  // itself): runs the page in the screen `makeScreen` makes for these options, at once.
  void attachScreen(std::function<std::unique_ptr<Screen>(const ScreenOptions&)> makeScreen);
  // The close and back buttons: dismisses this page; the root also dismisses its inner pages,
  // reports onClosed once and records "offerwall_closed".
  void closeOfferwall();
  void refreshWebView();
  // On screen and not yet dismissed.
  bool isPresented() const;
  std::string advertisingId() const;

  // The shared callbacks of the process-wide SDK's session (KorvaneSdk::shared()).
  static void setOfferwallCallback(std::shared_ptr<OfferwallCallback> callback);
  static std::shared_ptr<OfferwallCallback> offerwallCallback();
  static void setEventCallback(std::shared_ptr<OfferwallEventCallback> callback);
  static std::shared_ptr<OfferwallEventCallback> eventCallback();
  static bool hasFiredOnClosed();
  static void setHasFiredOnClosed(bool fired);
  // Inner pages currently shown, oldest first.
  static std::vector<Weak<KorvaneOfferwallViewController>> activeSubControllers();

 private:
  friend class OfferwallControllerImpl;
  std::shared_ptr<OfferwallControllerImpl> impl_;
};

}  // namespace korvane
