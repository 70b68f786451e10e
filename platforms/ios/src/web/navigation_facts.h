#pragma once

#include <optional>
#include <string>

#include "korvane/platform/web_view.h"

namespace korvane::ios {

// How WebKit on iOS describes a navigation (WKNavigationType): only what the navigation looks
// like. A script's click on a link arrives as link activation, and a person's tap on a button
// whose script sets the location arrives as "other", so none of these says whether a person
// started it.
enum class IosNavigationType {
  linkActivated,
  formSubmitted,
  backForward,
  reload,
  formResubmitted,
  other
};

// What a WKNavigationAction reports, in plain values.
struct IosNavigationFacts {
  std::string url;
  IosNavigationType type = IosNavigationType::other;
  bool targetIsMainFrame = true;     // targetFrame.isMainFrame; a new window's has none
  std::optional<FrameFacts> source;  // sourceFrame with its securityOrigin, when WebKit gives it
};

// The frame's security origin as the core reads origins: "scheme://host[:port]", empty when
// opaque (no scheme or no host).
std::string originText(const std::string& scheme, const std::string& host, int port);

// The port's memory of its own loads: which decision is the SDK's own, the request the port
// asked for and the main frame's decisions until that load commits (its server redirects).
class IosNavigationTranslator {
 public:
  // The port asked WebKit to load `url` (empty: an address the port cannot name, as going back).
  void asked(const std::string& url);
  // The main frame's document committed, or its load failed.
  void settled() { ownLoad_ = false; }
  // What the core is told. The person's touches are reported apart (personTouched); the
  // navigation type never counts as one.
  NavigationAction translate(const IosNavigationFacts& facts);

 private:
  std::optional<std::string> asked_;
  bool ownLoad_ = false;
};

}  // namespace korvane::ios
