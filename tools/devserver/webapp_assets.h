#pragma once

#include <string_view>
#include <vector>

namespace korvane::devserver {

// One file of the sample offerwall web app (tools/devserver/webapp), built into the server.
struct WebAsset {
  std::string_view name;  // e.g. "index.html"
  std::string_view content;
};

const std::vector<WebAsset>& webAssets();

// The bridge kit's files (web/bridge-kit: the module, the mock host, their declarations, the
// page author's README), served at /bridge-kit/<name>.
const std::vector<WebAsset>& bridgeKitAssets();

// The attacker pages of tools/devserver/hostile, served at /hostile/<name> on every origin.
const std::vector<WebAsset>& hostileAssets();

}  // namespace korvane::devserver
