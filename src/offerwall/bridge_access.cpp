#include "offerwall/bridge_access.h"

#include <algorithm>

#include "util/url_text.h"

namespace korvane {

bool BridgeTrust::trusts(std::string_view reportedOrigin) const {
  const std::optional<std::string> origin = url::origin(reportedOrigin);
  return origin && std::find(origins.begin(), origins.end(), *origin) != origins.end();
}

void BridgeTrust::add(const std::string& origin) {
  if (std::find(origins.begin(), origins.end(), origin) == origins.end()) origins.push_back(origin);
}

namespace {

struct OriginParts {
  std::string_view scheme;
  std::string_view host;
  bool explicitPort = false;
};

// Splits an origin in normal form; the default port is already dropped from it.
std::optional<OriginParts> partsOf(std::string_view origin) {
  const std::size_t separator = origin.find("://");
  if (separator == std::string_view::npos) return std::nullopt;
  OriginParts parts{origin.substr(0, separator), origin.substr(separator + 3)};
  const std::size_t bracket = parts.host.rfind(']');
  const std::size_t colon = parts.host.rfind(':');
  if (colon != std::string_view::npos && (bracket == std::string_view::npos || colon > bracket)) {
    parts.host = parts.host.substr(0, colon);
    parts.explicitPort = true;
  }
  return parts;
}

bool isWebScheme(std::string_view scheme) {
  return scheme == "http" || scheme == "https";
}

}  // namespace

bool redirectKeepsTrust(std::string_view from, std::string_view to) {
  const std::optional<OriginParts> a = partsOf(from);
  const std::optional<OriginParts> b = partsOf(to);
  if (!a || !b || a->explicitPort || b->explicitPort) return false;
  if (!isWebScheme(a->scheme) || !isWebScheme(b->scheme)) return false;
  if (a->scheme == "https" && b->scheme == "http") return false;
  const auto withWww = [](std::string_view longer, std::string_view shorter) {
    return longer.size() == shorter.size() + 4 && longer.substr(0, 4) == "www." &&
           longer.substr(4) == shorter;
  };
  return a->host == b->host || withWww(a->host, b->host) || withWww(b->host, a->host);
}

std::string untrustedRedirectWarning(const std::string& origin) {
  return "🚫 Offerwall address redirected to origin " + origin +
         ", which is not trusted: its pages get only \"close\" from the bridge. "
         "An app that trusts it adds it with KorvaneSdkConfig::Builder::addTrustedOrigin(\"" +
         origin + "\") (-addTrustedOrigin: in Objective-C)";
}

BridgeTrust bridgeTrustForOfferwall(const SessionFacts& session,
                                    const std::optional<std::string>& address) {
  BridgeTrust trust;
  if (std::optional<KorvaneSdkConfig> config = session.config()) {
    trust.policyEnabled = config->bridgeOriginPolicyEnabled();
    trust.origins = config->trustedOrigins();
  }
  std::optional<std::string> hub;
  std::optional<std::string> adjoe;
  if (std::optional<AppData> app = session.validatedAppData()) {
    hub = url::origin(app->korvaneHubUrl);
    if (app->adjoeOfferwallUrl) adjoe = url::origin(*app->adjoeOfferwallUrl);
  }
  std::optional<std::string> own = address ? url::origin(*address) : std::nullopt;
  if (own && own == adjoe && own != hub) own.reset();
  for (const std::optional<std::string>& origin : {hub, own})
    if (origin) trust.add(*origin);
  return trust;
}

bool isHarmlessBridgeMessage(std::string_view type) {
  return type == "close";
}

std::optional<std::string> bridgeRefusal(const BridgeTrust& trust, const std::string& type,
                                         const ScriptMessage& sender, bool offlinePageShown) {
  if (!trust.policyEnabled || isHarmlessBridgeMessage(type)) return std::nullopt;
  const bool trustedOrigin = trust.trusts(sender.frameOrigin);
  if (sender.mainFrame && trustedOrigin) return std::nullopt;
  const std::string origin = sender.frameOrigin.empty() ? "(opaque)" : sender.frameOrigin;
  if (type == "retry" && sender.mainFrame && sender.frameOrigin.empty() && offlinePageShown)
    return std::nullopt;
  return "🚫 Bridge message '" + type + "' refused: " +
         (sender.mainFrame ? "origin " + origin + " is not trusted"
                           : "sent from a sub frame (origin " + origin + ")");
}

}  // namespace korvane
