#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "context/sdk_context.h"
#include "korvane/platform/web_view.h"

namespace korvane {

// The origins whose pages may use the whole bridge in one offerwall (a page and every page it
// opens share it). Origins are in url::origin's normal form.
struct BridgeTrust {
  bool policyEnabled = true;
  std::vector<std::string> origins;

  bool trusts(std::string_view reportedOrigin) const;
  // Adds an origin already in normal form, once.
  void add(const std::string& origin);
};

// What an offerwall opened at `address` trusts: the origins the app added, the origin of the
// offerwall address validation gave (the hub), and the origin of `address` itself, which the app
// or the SDK's own backend chose (openOfferwallWithUrl, placement, mission, reward and quiz
// pages). adjoe's PlaytimeWeb is the exception: it is another company's offerwall and needs none
// of the bridge's powers, so its origin is trusted only when the app adds it (or it is the hub's).
BridgeTrust bridgeTrustForOfferwall(const SessionFacts& session,
                                    const std::optional<std::string>& address);

// The message any page or frame may send: it only closes the page that sent it.
bool isHarmlessBridgeMessage(std::string_view type);

// Whether a server redirect of the offerwall's own load from origin `from` to origin `to` (both in
// normal form) stays with the same site, so that `to` is trusted as `from` is: only http upgraded
// to https and a leading "www." added to or dropped from the same host, on default ports. An
// explicit port other than the scheme's default is another site.
bool redirectKeepsTrust(std::string_view from, std::string_view to);

// The warning for a redirect of the offerwall's own load to an origin it does not trust.
std::string untrustedRedirectWarning(const std::string& origin);

// Nothing when a message of `type` from `sender` is honoured; otherwise the one warning to log.
// With the policy on, only a trusted origin's main frame gets more than "close"; "retry" comes
// from a trusted origin's main frame or, while the page shows it, the SDK's own offline page (the
// main frame of an opaque origin).
std::optional<std::string> bridgeRefusal(const BridgeTrust& trust, const std::string& type,
                                         const ScriptMessage& sender, bool offlinePageShown);

}  // namespace korvane
