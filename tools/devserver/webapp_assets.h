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

}  // namespace korvane::devserver
