#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "context/sdk_context.h"
#include "korvane/offerwall/offerwall_callback.h"

namespace korvane {

class PresentationAnchor;

// What the adjoe PlaytimeWeb offerwall is opened with.
struct PlaytimeWebInputs {
  std::string baseUrl;
  std::string userId;
  std::optional<std::string> advertisingId;
  std::optional<std::string> placement;
  std::optional<std::string> genderWord;
  std::optional<std::int64_t> age;
};

// Who asked for adjoe: the app, or an offerwall page, whose offerwall stays on screen under adjoe
// and gets its callbacks back when adjoe ends.
enum class AdjoeOpener { app, page };

// Builds adjoe's PlaytimeWeb address and opens it in the SDK's offerwall.
class KorvaneAdjoeManager {
 public:
  // KorvaneSdk::openAdjoeOfferwall: the checks, then the opening on the main thread.
  static void openOfferwall(const Context& context, PresentationAnchor* presenting,
                            const std::string& placementId,
                            std::shared_ptr<OfferwallCallback> callback, AdjoeOpener opener);
  // The base address with its query replaced by user_id, idfa, placement, gender and age (each
  // only when given); nothing when the base does not parse.
  static std::optional<std::string> buildPlaytimeWebUrl(const PlaytimeWebInputs& inputs);
  // Logs the inputs and the address, sends "adjoe_webview_opened" at once, then opens the
  // address as the facade's openOfferwallWithUrl does, with the native bar.
  static void open(const Context& context, PresentationAnchor* presenting,
                   const PlaytimeWebInputs& inputs, std::shared_ptr<OfferwallCallback> callback,
                   AdjoeOpener opener = AdjoeOpener::app);
};

}  // namespace korvane
