// adjoe's web offerwall (PlaytimeWeb), opened in the SDK's own offerwall.
#include "placements/adjoe_manager.h"

#include <ctime>

#include "korvane/backend/device_utils.h"
#include "korvane/util/logger.h"
#include "offerwall/offerwall_opening.h"
#include "util/url_text.h"

namespace korvane {
namespace {

constexpr std::string_view kTag = "KorvaneAdjoeManager";
constexpr const char* kRule = "========================================";
constexpr const char* kThinRule = "----------------------------------------";

bool present(const std::optional<std::string>& text) {
  return text && !text->empty();
}

// The year of `now` on the device's calendar (local time).
int localYear(std::chrono::system_clock::time_point now) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  std::tm local{};
  localtime_r(&seconds, &local);
  return local.tm_year + 1900;
}

}  // namespace

std::optional<std::string> KorvaneAdjoeManager::buildPlaytimeWebUrl(
    const PlaytimeWebInputs& inputs) {
  if (!url::isValid(inputs.baseUrl)) {
    KorvaneLogger::e(kTag, "Invalid base URL: " + inputs.baseUrl);
    return std::nullopt;
  }
  std::vector<std::pair<std::string, std::string>> items{{"user_id", inputs.userId}};
  if (present(inputs.advertisingId)) {
    items.emplace_back("idfa", *inputs.advertisingId);
    KorvaneLogger::d(kTag, "  ✅ IDFA included: " + *inputs.advertisingId);
  } else {
    KorvaneLogger::w(kTag, "  ⚠️ IDFA not available");
  }
  if (present(inputs.placement)) {
    items.emplace_back("placement", *inputs.placement);
    KorvaneLogger::d(kTag, "  ✅ Placement: " + *inputs.placement);
  }
  if (present(inputs.genderWord)) {
    items.emplace_back("gender", *inputs.genderWord);
    KorvaneLogger::d(kTag, "  ✅ Gender: " + *inputs.genderWord);
  }
  if (inputs.age) {
    items.emplace_back("age", std::to_string(*inputs.age));
    KorvaneLogger::d(kTag, "  ✅ Age: " + std::to_string(*inputs.age));
  }
  const std::string built = url::withQuery(url::withoutQuery(inputs.baseUrl), items);
  KorvaneLogger::d(kTag, "  🔗 Built adjoe URL: " + built);
  return built;
}

void KorvaneAdjoeManager::open(const Context& context, PresentationAnchor* presenting,
                               const PlaytimeWebInputs& inputs,
                               std::shared_ptr<OfferwallCallback> callback, AdjoeOpener opener) {
  const auto orNil = [](const auto& value) -> std::string {
    if (!value) return "nil";
    if constexpr (std::is_same_v<std::decay_t<decltype(*value)>, std::string>) {
      return *value;
    } else {
      return std::to_string(*value);
    }
  };
  for (const std::string& line :
       {std::string(kRule), std::string("🔍 [ADJOE] Opening PlaytimeWeb - RAW INPUT VALUES"),
        std::string(kThinRule), "  Base URL: " + inputs.baseUrl, "  User ID: " + inputs.userId,
        "  IDFA: " + orNil(inputs.advertisingId), "  Placement: " + orNil(inputs.placement),
        "  Gender (raw): " + orNil(inputs.genderWord), "  Age (raw): " + orNil(inputs.age),
        std::string(kRule)})
    KorvaneLogger::v(kTag, line);
  const std::string url = buildPlaytimeWebUrl(inputs).value_or("");
  for (const std::string& line :
       {std::string(kRule), std::string("🔗 [ADJOE] FINAL PlaytimeWeb URL"), std::string(kRule),
        url, std::string(kRule)})
    KorvaneLogger::v(kTag, line);

  const bool idfaIncluded = present(inputs.advertisingId);
  const bool idfaIsZero = idfaIncluded && *inputs.advertisingId == kZeroAdvertisingId;
  context->tracker()->sendImmediately(
      "adjoe_webview_opened", "adjoe",
      JsonValue{{"placement_id", inputs.placement.value_or("")},
                {"idfa_included", idfaIncluded ? "true" : "false"},
                {"idfa_is_zero", idfaIsZero ? "true" : "false"}},
      [](const Status& sent) {
        if (sent) {
          KorvaneLogger::d(kTag, "✅ Adjoe event tracked successfully");
        } else {
          KorvaneLogger::w(kTag, "Failed to track adjoe event: " + sent.error().description);
        }
      });
  // No event callback of its own; the callbacks it replaces come back when a page opened it.
  const bool restart = callback != nullptr;
  offerwall::openOfferwallWithUrl(context, url, inputs.placement.value_or(""), presenting,
                                  {std::move(callback), std::shared_ptr<OfferwallEventCallback>(),
                                   restart, opener == AdjoeOpener::page},
                                  false, true);
}

void KorvaneAdjoeManager::openOfferwall(const Context& context, PresentationAnchor* presenting,
                                        const std::string& placementId,
                                        std::shared_ptr<OfferwallCallback> callback,
                                        AdjoeOpener opener) {
  const SessionFacts& session = *context->session();
  std::shared_ptr<MainThread> mainThread = context->platform().mainThread;
  // Offerwall callbacks run on the main thread, refusals included, whatever thread called.
  const auto refuse = [&callback, &mainThread](const char* logged, const char* reported) {
    KorvaneLogger::w(kTag, logged);
    if (!callback) return;
    if (mainThread && !mainThread->isCurrent()) {
      mainThread->post([callback, text = std::string(reported)] { callback->onError(text); });
    } else {
      callback->onError(reported);
    }
  };
  if (std::optional<Error> off = session.refusal(SdkFeature::offerwall))
    return refuse(off->description.c_str(), off->description.c_str());
  if (!session.isInitialized())
    return refuse("SDK not initialized", "SDK not initialized. Please initialize the SDK first.");
  std::optional<KorvaneSdkUser> user = session.currentUser();
  if (!user) return refuse("User not logged in", "User not logged in. Please login first.");
  std::optional<AppData> app = session.validatedAppData();
  std::optional<KorvaneSdkConfig> config = session.config();
  // The server's word wins over the host's configuration, both ways.
  const bool enabled =
      app && app->adjoeEnabled ? *app->adjoeEnabled : config && config->adjoeEnabled();
  if (!enabled)
    return refuse("Adjoe is not enabled",
                  "Adjoe is not enabled. Please enable it via server configuration.");
  if (!app || !present(app->adjoeOfferwallUrl))
    return refuse("Adjoe offerwall URL not available",
                  "Adjoe offerwall URL not available. Please check server configuration.");

  context->tasks()->submit([context, held = HeldAnchor(presenting), placementId, callback,
                            baseUrl = *app->adjoeOfferwallUrl, user = *user, opener] {
    context->platform().mainThread->post([=] {
      if (offerwall::presentingScreenLost(held, kTag, callback)) return;
      PlaytimeWebInputs inputs;
      inputs.baseUrl = baseUrl;
      inputs.userId = user.userId();
      inputs.advertisingId = context->device()->cachedAdvertisingId().value_or(kZeroAdvertisingId);
      inputs.placement = placementId;
      if (user.gender()) inputs.genderWord = adjoeGenderWord(*user.gender());
      if (user.birthYear()) {
        // Two int years cannot overflow a 64-bit difference.
        inputs.age = std::int64_t{localYear(context->platform().clock->now())} - *user.birthYear();
      }
      KorvaneAdjoeManager::open(context, held.get(), inputs, callback, opener);
      context->tracker()->trackEvent(EventType::custom, "adjoe",
                                     JsonValue{{"event_name", "adjoe_offerwall_opened"},
                                               {"source", "sdk_api_web"},
                                               {"placementId", placementId}});
    });
  });
}

}  // namespace korvane
