#include "web/navigation_facts.h"

namespace korvane::ios {

std::string originText(const std::string& scheme, const std::string& host, int port) {
  if (scheme.empty() || host.empty()) return {};
  std::string text = scheme + "://" + host;
  if (port != 0) text += ":" + std::to_string(port);
  return text;
}

void IosNavigationTranslator::asked(const std::string& url) {
  asked_ = url;
  ownLoad_ = false;
}

NavigationAction IosNavigationTranslator::translate(const IosNavigationFacts& facts) {
  NavigationAction action;
  action.url = facts.url;
  action.mainFrame = facts.targetIsMainFrame;
  action.source = facts.source;
  const bool askedFor =
      facts.targetIsMainFrame && asked_ && (asked_->empty() || *asked_ == facts.url);
  if (askedFor) {
    asked_.reset();
    ownLoad_ = true;
  }
  action.fromSdk = askedFor || (facts.targetIsMainFrame && ownLoad_);
  return action;
}

}  // namespace korvane::ios
