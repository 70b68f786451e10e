#include "backend/record_codec.h"

namespace korvane {

const char* rawValue(MissionType type) {
  return type == MissionType::offerwallPromotion ? "offerwall_promotion" : "normal";
}

using namespace json;

Status read(const Json& value, QuizEvent& out, const std::string& path) {
  return ObjectReader(value, path)
      .required("id", out.id)
      .required("title", out.title)
      .optional("description", out.description)
      .required("imageUrl", out.imageUrl)
      .required("landingUrl", out.landingUrl)
      .required("point", out.point)
      .optional("status", out.status)
      .optional("completed", out.completed)
      .optional("impressionOrder", out.impressionOrder)
      .optional("placementId", out.placementId)
      .status();
}

Json toJson(const QuizEvent& value) {
  Json j = Json::object();
  j["id"] = value.id;
  j["title"] = value.title;
  putOptional(j, "description", value.description);
  j["imageUrl"] = value.imageUrl;
  j["landingUrl"] = value.landingUrl;
  j["point"] = value.point;
  putOptional(j, "status", value.status);
  putOptional(j, "completed", value.completed);
  putOptional(j, "impressionOrder", value.impressionOrder);
  putOptional(j, "placementId", value.placementId);
  return j;
}

Status read(const Json& value, QuizResponse& out, const std::string& path) {
  return ObjectReader(value, path)
      .optional("success", out.success)
      .optional("titleText", out.titleText)
      .optional("completedImageUrl", out.completedImageUrl)
      .optional("completedImageWidth", out.completedImageWidth)
      .optional("completedImageHeight", out.completedImageHeight)
      .required("events", out.events)
      .optional("message", out.message)
      .status();
}

Json toJson(const QuizResponse& value) {
  Json j = Json::object();
  putOptional(j, "success", value.success);
  putOptional(j, "titleText", value.titleText);
  putOptional(j, "completedImageUrl", value.completedImageUrl);
  putOptional(j, "completedImageWidth", value.completedImageWidth);
  putOptional(j, "completedImageHeight", value.completedImageHeight);
  j["events"] = Json::array();
  for (const QuizEvent& event : value.events) j["events"].push_back(toJson(event));
  putOptional(j, "message", value.message);
  return j;
}

Status read(const Json& value, MissionType& out, const std::string& path) {
  if (!value.is_string()) return wrongType(path, "text");
  const std::string& text = value.get_ref<const std::string&>();
  if (text == "normal") {
    out = MissionType::normal;
  } else if (text == "offerwall_promotion") {
    out = MissionType::offerwallPromotion;
  } else {
    return corrupted(path, "unknown mission type \"" + text + "\"");
  }
  return okStatus();
}

Status read(const Json& value, Mission& out, const std::string& path) {
  return ObjectReader(value, path)
      .required("id", out.id)
      .required("title", out.title)
      .required("description", out.description)
      .required("imageUrl", out.imageUrl)
      .required("landingUrl", out.landingUrl)
      .required("point", out.point)
      .optional("status", out.status)
      .optional("progress", out.progress)
      .optional("total", out.total)
      .optional("type", out.type)
      .optional("impressionOrder", out.impressionOrder)
      .optional("placementId", out.placementId)
      .status();
}

Json toJson(const Mission& value) {
  Json j = Json::object();
  j["id"] = value.id;
  j["title"] = value.title;
  j["description"] = value.description;
  j["imageUrl"] = value.imageUrl;
  j["landingUrl"] = value.landingUrl;
  j["point"] = value.point;
  putOptional(j, "status", value.status);
  putOptional(j, "progress", value.progress);
  putOptional(j, "total", value.total);
  if (value.type) j["type"] = rawValue(*value.type);
  putOptional(j, "impressionOrder", value.impressionOrder);
  putOptional(j, "placementId", value.placementId);
  return j;
}

Status read(const Json& value, MissionResponse& out, const std::string& path) {
  return ObjectReader(value, path)
      .optional("success", out.success)
      .required("events", out.events)
      .required("current", out.current)
      .required("total", out.total)
      .optional("rewardUrl", out.rewardUrl)
      .optional("message", out.message)
      .optional("titleText", out.titleText)
      .optional("descriptionText", out.descriptionText)
      .optional("bottomText", out.bottomText)
      .optional("rewardIconUrl", out.rewardIconUrl)
      .optional("bottomIconUrl", out.bottomIconUrl)
      .status();
}

Json toJson(const MissionResponse& value) {
  Json j = Json::object();
  putOptional(j, "success", value.success);
  j["events"] = Json::array();
  for (const Mission& mission : value.events) j["events"].push_back(toJson(mission));
  j["current"] = value.current;
  j["total"] = value.total;
  putOptional(j, "rewardUrl", value.rewardUrl);
  putOptional(j, "message", value.message);
  putOptional(j, "titleText", value.titleText);
  putOptional(j, "descriptionText", value.descriptionText);
  putOptional(j, "bottomText", value.bottomText);
  putOptional(j, "rewardIconUrl", value.rewardIconUrl);
  putOptional(j, "bottomIconUrl", value.bottomIconUrl);
  return j;
}

Status read(const Json& value, BannerInfoResponse& out, const std::string& path) {
  return ObjectReader(value, path)
      .required("success", out.success)
      .optional("imageUrl", out.imageUrl)
      .optional("imageWidth", out.imageWidth)
      .optional("imageHeight", out.imageHeight)
      .optional("titleText", out.titleText)
      .optional("linkType", out.linkType)
      .optional("internalLinkUrl", out.internalLinkUrl)
      .optional("externalLinkUrl", out.externalLinkUrl)
      .status();
}

Json toJson(const BannerInfoResponse& value) {
  Json j = Json::object();
  j["success"] = value.success;
  putOptional(j, "imageUrl", value.imageUrl);
  putOptional(j, "imageWidth", value.imageWidth);
  putOptional(j, "imageHeight", value.imageHeight);
  putOptional(j, "titleText", value.titleText);
  putOptional(j, "linkType", value.linkType);
  putOptional(j, "internalLinkUrl", value.internalLinkUrl);
  putOptional(j, "externalLinkUrl", value.externalLinkUrl);
  return j;
}

Status read(const Json& value, PlacementUrlResponse& out, const std::string& path) {
  return ObjectReader(value, path)
      .required("success", out.success)
      .optional("url", out.url)
      .optional("message", out.message)
      .status();
}

Json toJson(const PlacementUrlResponse& value) {
  Json j = Json::object();
  j["success"] = value.success;
  putOptional(j, "url", value.url);
  putOptional(j, "message", value.message);
  return j;
}

}  // namespace korvane
