#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace korvane {

struct QuizEvent {
  std::string id;
  std::string title;
  std::optional<std::string> description;
  std::string imageUrl;
  std::string landingUrl;
  std::string point;  // the reward as the server words it
  std::optional<std::string> status;
  std::optional<bool> completed;
  std::optional<std::int64_t> impressionOrder;
  std::optional<std::string> placementId;
};

struct QuizResponse {
  std::optional<bool> success;
  std::optional<std::string> titleText;
  std::optional<std::string> completedImageUrl;
  std::optional<std::int64_t> completedImageWidth;
  std::optional<std::int64_t> completedImageHeight;
  std::vector<QuizEvent> events;
  std::optional<std::string> message;
};

enum class MissionType { normal, offerwallPromotion };
const char* rawValue(MissionType type);  // "normal", "offerwall_promotion"

struct Mission {
  std::string id;
  std::string title;
  std::string description;
  std::string imageUrl;
  std::string landingUrl;
  std::string point;
  std::optional<std::string> status;
  std::optional<std::int64_t> progress;
  std::optional<std::int64_t> total;
  std::optional<MissionType> type;
  std::optional<std::int64_t> impressionOrder;
  std::optional<std::string> placementId;
};

struct MissionResponse {
  std::optional<bool> success;
  std::vector<Mission> events;
  std::int64_t current = 0;
  std::int64_t total = 0;
  std::optional<std::string> rewardUrl;
  std::optional<std::string> message;
  std::optional<std::string> titleText;
  std::optional<std::string> descriptionText;
  std::optional<std::string> bottomText;
  std::optional<std::string> rewardIconUrl;
  std::optional<std::string> bottomIconUrl;
};

struct MissionProgress {
  std::int64_t current = 0;
  std::int64_t total = 0;
};

struct BannerInfoResponse {
  bool success = false;
  std::optional<std::string> imageUrl;
  std::optional<std::int64_t> imageWidth;
  std::optional<std::int64_t> imageHeight;
  std::optional<std::string> titleText;
  std::optional<std::string> linkType;
  std::optional<std::string> internalLinkUrl;
  std::optional<std::string> externalLinkUrl;
};

struct PlacementUrlResponse {
  bool success = false;
  std::optional<std::string> url;
  std::optional<std::string> message;
};

}  // namespace korvane
