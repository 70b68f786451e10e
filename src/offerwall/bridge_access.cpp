#include "offerwall/bridge_access.h"

#include <algorithm>

#include "api/url_text.h"
#include "korvane/core/korvane_sdk.h"

namespace korvane {

bool BridgeTrust::trusts(std::string_view reportedOrigin) const {
  const std::optional<std::string> origin = url::origin(reportedOrigin);
  return origin && std::find(origins.begin(), origins.end(), *origin) != origins.end();
}

BridgeTrust bridgeTrustForOfferwall(const std::optional<std::string>& address) {
  KorvaneSdk& sdk = KorvaneSdk::shared();
  BridgeTrust trust;
  if (std::optional<KorvaneSdkConfig> config = sdk.getConfig()) {
    trust.policyEnabled = config->bridgeOriginPolicyEnabled();
    trust.origins = config->trustedOrigins();
  }
  std::optional<std::string> hub;
  std::optional<std::string> adjoe;
  if (std::optional<AppData> app = sdk.validatedAppData()) {
    hub = url::origin(app->korvaneHubUrl);
    if (app->adjoeOfferwallUrl) adjoe = url::origin(*app->adjoeOfferwallUrl);
  }
  std::optional<std::string> own = address ? url::origin(*address) : std::nullopt;
  if (own && own == adjoe && own != hub) own.reset();
  for (const std::optional<std::string>& origin : {hub, own}) {
    if (origin &&
        std::find(trust.origins.begin(), trust.origins.end(), *origin) == trust.origins.end())
      trust.origins.push_back(*origin);
  }
  return trust;
}

bool isHarmlessBridgeMessage(std::string_view type) {
  return type == "close" || type == "retry";
}

std::optional<std::string> bridgeRefusal(const BridgeTrust& trust, const std::string& type,
                                         const ScriptMessage& sender) {
  if (!trust.policyEnabled || isHarmlessBridgeMessage(type)) return std::nullopt;
  const bool trustedOrigin = trust.trusts(sender.frameOrigin);
  if (sender.mainFrame && trustedOrigin) return std::nullopt;
  const std::string origin = sender.frameOrigin.empty() ? "(opaque)" : sender.frameOrigin;
  return "🚫 Bridge message '" + type + "' refused: " +
         (sender.mainFrame ? "origin " + origin + " is not trusted"
                           : "sent from a sub frame (origin " + origin + ")");
}

}  // namespace korvane
