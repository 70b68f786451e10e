#include "backend/record_codec.h"

#include <array>

#include "korvane/raw_value_lists.h"

namespace korvane {

namespace {
#define KORVANE_RAW_VALUE(name, raw) raw,
constexpr std::array kMissionTypeRawValues = {KORVANE_MISSION_TYPES(KORVANE_RAW_VALUE)};
#undef KORVANE_RAW_VALUE
static_assert(kMissionTypeRawValues.size() ==
              static_cast<std::size_t>(MissionType::offerwallPromotion) + 1);
}  // namespace

const char* rawValue(MissionType type) {
  return kMissionTypeRawValues[static_cast<std::size_t>(type)];
}

using namespace json;

namespace {

constexpr auto kQuizEventFields = std::tuple{field("id", &QuizEvent::id),
                                             field("title", &QuizEvent::title),
                                             field("description", &QuizEvent::description),
                                             field("imageUrl", &QuizEvent::imageUrl),
                                             field("landingUrl", &QuizEvent::landingUrl),
                                             field("point", &QuizEvent::point),
                                             field("status", &QuizEvent::status),
                                             field("completed", &QuizEvent::completed),
                                             field("impressionOrder", &QuizEvent::impressionOrder),
                                             field("placementId", &QuizEvent::placementId)};

constexpr auto kQuizResponseFields =
    std::tuple{field("success", &QuizResponse::success),
               field("titleText", &QuizResponse::titleText),
               field("completedImageUrl", &QuizResponse::completedImageUrl),
               field("completedImageWidth", &QuizResponse::completedImageWidth),
               field("completedImageHeight", &QuizResponse::completedImageHeight),
               field("events", &QuizResponse::events),
               field("message", &QuizResponse::message)};

constexpr auto kMissionFields = std::tuple{field("id", &Mission::id),
                                           field("title", &Mission::title),
                                           field("description", &Mission::description),
                                           field("imageUrl", &Mission::imageUrl),
                                           field("landingUrl", &Mission::landingUrl),
                                           field("point", &Mission::point),
                                           field("status", &Mission::status),
                                           field("progress", &Mission::progress),
                                           field("total", &Mission::total),
                                           field("type", &Mission::type),
                                           field("impressionOrder", &Mission::impressionOrder),
                                           field("placementId", &Mission::placementId)};

constexpr auto kMissionResponseFields =
    std::tuple{field("success", &MissionResponse::success),
               field("events", &MissionResponse::events),
               field("current", &MissionResponse::current),
               field("total", &MissionResponse::total),
               field("rewardUrl", &MissionResponse::rewardUrl),
               field("message", &MissionResponse::message),
               field("titleText", &MissionResponse::titleText),
               field("descriptionText", &MissionResponse::descriptionText),
               field("bottomText", &MissionResponse::bottomText),
               field("rewardIconUrl", &MissionResponse::rewardIconUrl),
               field("bottomIconUrl", &MissionResponse::bottomIconUrl)};

constexpr auto kBannerInfoResponseFields =
    std::tuple{field("success", &BannerInfoResponse::success),
               field("imageUrl", &BannerInfoResponse::imageUrl),
               field("imageWidth", &BannerInfoResponse::imageWidth),
               field("imageHeight", &BannerInfoResponse::imageHeight),
               field("titleText", &BannerInfoResponse::titleText),
               field("linkType", &BannerInfoResponse::linkType),
               field("internalLinkUrl", &BannerInfoResponse::internalLinkUrl),
               field("externalLinkUrl", &BannerInfoResponse::externalLinkUrl)};

constexpr auto kPlacementUrlResponseFields = std::tuple{
    field("success", &PlacementUrlResponse::success), field("url", &PlacementUrlResponse::url),
    field("message", &PlacementUrlResponse::message)};

}  // namespace

Status read(const Json& value, MissionType& out, const std::string& path) {
  if (!value.is_string()) return wrongType(path, "text");
  const std::string& text = value.get_ref<const std::string&>();
  if (text == rawValue(MissionType::normal)) {
    out = MissionType::normal;
  } else if (text == rawValue(MissionType::offerwallPromotion)) {
    out = MissionType::offerwallPromotion;
  } else {
    return corrupted(path, "unknown mission type \"" + text + "\"");
  }
  return okStatus();
}

Status read(const Json& value, QuizEvent& out, const std::string& path) {
  return readFields(value, out, path, kQuizEventFields);
}
Json toJson(const QuizEvent& value) {
  return writeFields(value, kQuizEventFields);
}

Status read(const Json& value, QuizResponse& out, const std::string& path) {
  return readFields(value, out, path, kQuizResponseFields);
}
Json toJson(const QuizResponse& value) {
  return writeFields(value, kQuizResponseFields);
}

Status read(const Json& value, Mission& out, const std::string& path) {
  return readFields(value, out, path, kMissionFields);
}
Json toJson(const Mission& value) {
  return writeFields(value, kMissionFields);
}

Status read(const Json& value, MissionResponse& out, const std::string& path) {
  return readFields(value, out, path, kMissionResponseFields);
}
Json toJson(const MissionResponse& value) {
  return writeFields(value, kMissionResponseFields);
}

Status read(const Json& value, BannerInfoResponse& out, const std::string& path) {
  return readFields(value, out, path, kBannerInfoResponseFields);
}
Json toJson(const BannerInfoResponse& value) {
  return writeFields(value, kBannerInfoResponseFields);
}

Status read(const Json& value, PlacementUrlResponse& out, const std::string& path) {
  return readFields(value, out, path, kPlacementUrlResponseFields);
}
Json toJson(const PlacementUrlResponse& value) {
  return writeFields(value, kPlacementUrlResponseFields);
}

}  // namespace korvane
