// Backend records: which bodies decode, what they decode to, and the exact encoded form.
#include <gtest/gtest.h>

#include "backend/record_codec.h"
#include "backend/telemetry_json.h"
#include "util/base64.h"

namespace korvane {
namespace {

using json::Json;

template <typename T>
bool decodes(const std::string& body) {
  return json::decode<T>(body).ok();
}

const std::string kApp = R"("app":{"appKey":"k","appName":"n","korvaneHubUrl":"https://hub/")";

struct DecodeCase {
  const char* name;
  std::function<bool(const std::string&)> decoder;
  std::string body;
  bool ok;
};

TEST(BackendRecords, WhichBodiesDecode) {
  const std::string configObject = base64::encode(R"({"a":1})");
  const DecodeCase cases[] = {
      {"refusal without app", decodes<ValidateAppResponse>,
       R"({"success":false,"message":"bad key"})", true},
      {"success missing", decodes<ValidateAppResponse>, R"({"message":"x"})", false},
      {"success as text", decodes<ValidateAppResponse>, R"({"success":"true"})", false},
      {"app without hub url", decodes<ValidateAppResponse>,
       R"({"success":true,"app":{"appKey":"k","appName":"n"}})", false},
      {"hub url null", decodes<ValidateAppResponse>,
       R"({"success":true,"app":{"appKey":"k","appName":"n","korvaneHubUrl":null}})", false},
      {"optional null", decodes<ValidateAppResponse>,
       R"({"success":true,"message":null,)" + kApp + R"(,"isActive":null}})", true},
      {"optional of wrong type", decodes<ValidateAppResponse>,
       R"({"success":true,)" + kApp + R"(,"isActive":"yes"}})", false},
      {"batch count 20.0", decodes<ValidateAppResponse>,
       R"({"success":true,)" + kApp + R"(,"trackEventBatchCount":20.0}})", true},
      {"batch count 2.5", decodes<ValidateAppResponse>,
       R"({"success":true,)" + kApp + R"(,"trackEventBatchCount":2.5}})", false},
      {"config as object", decodes<ValidateAppResponse>,
       R"({"success":true,)" + kApp + R"(,"config":{"a":1}}})", true},
      {"config as base64", decodes<ValidateAppResponse>,
       R"({"success":true,)" + kApp + R"(,"config":")" + configObject + R"("}})", true},
      {"not json", decodes<ValidateAppResponse>, R"({"success":tru)", false},
      {"top level array", decodes<ValidateAppResponse>, R"([true])", false},
      {"user without status", decodes<LoginResponse>, R"({"success":true,"user":{"user_id":"u"}})",
       true},
      {"user without user_id", decodes<LoginResponse>, R"({"success":true,"user":{"userId":"u"}})",
       false},
      {"quiz without events", decodes<QuizResponse>, R"({"success":true})", false},
      {"quiz point as number", decodes<QuizResponse>,
       R"({"events":[{"id":"1","title":"t","imageUrl":"i","landingUrl":"l","point":50}]})", false},
      {"quiz minimal", decodes<QuizResponse>,
       R"({"events":[{"id":"1","title":"t","imageUrl":"i","landingUrl":"l","point":"50"}]})", true},
      {"mission promotion type", decodes<MissionResponse>,
       R"({"events":[{"id":"1","title":"t","description":"d","imageUrl":"i","landingUrl":"l","point":"1","type":"offerwall_promotion"}],"current":0,"total":1})",
       true},
      {"mission unknown type", decodes<MissionResponse>,
       R"({"events":[{"id":"1","title":"t","description":"d","imageUrl":"i","landingUrl":"l","point":"1","type":"daily"}],"current":0,"total":1})",
       false},
      {"mission without total", decodes<MissionResponse>, R"({"events":[],"current":0})", false},
      {"banner success only", decodes<BannerInfoResponse>, R"({"success":false})", true},
      {"placement url", decodes<PlacementUrlResponse>, R"({"success":true,"url":"https://x"})",
       true},
      {"batch response", decodes<EventBatchResponse>,
       R"({"success":true,"processedCount":2,"failedEventIds":["a"]})", true},
      {"batch response ids as text", decodes<EventBatchResponse>,
       R"({"success":true,"processedCount":2,"failedEventIds":"a"})", false},
      {"huge integer", decodes<EventBatchResponse>,
       R"({"success":true,"processedCount":18446744073709551615,"failedEventIds":[]})", false},
  };
  for (const DecodeCase& c : cases) EXPECT_EQ(c.decoder(c.body), c.ok) << c.name;
}

TEST(BackendRecords, ConfigIsKeptOnlyWhenItIsBase64OfAnObject) {
  const std::pair<std::string, bool> cases[] = {
      {'"' + base64::encode(R"({"theme":"dark","n":[1,2]})") + '"', true},
      {'"' + base64::encode("[1,2]") + '"', false},
      {'"' + base64::encode("{broken") + '"', false},
      {R"("not base64!")", false},
      {R"({"theme":"dark"})", false},
      {"12", false},
  };
  for (const auto& [config, kept] : cases) {
    Result<ValidateAppResponse> r = json::decode<ValidateAppResponse>(
        R"({"success":true,)" + kApp + R"(,"config":)" + config + "}}");
    ASSERT_TRUE(r.ok()) << config;
    EXPECT_EQ(r.value().app->config.has_value(), kept) << config;
  }
  const auto r =
      json::decode<ValidateAppResponse>(R"({"success":true,)" + kApp + R"(,"config":")" +
                                        base64::encode(R"({"theme":"dark"})") + R"("}})");
  EXPECT_EQ(r.value().app->config->at("theme"), "dark");
}

TEST(BackendRecords, EncodingKeepsTheDocumentedKeyOrderAndOmitsAbsentValues) {
  AppData app;
  app.appKey = "k";
  app.appName = "n";
  app.korvaneHubUrl = "https://hub/";
  app.trackEventBatchIntervalMs = 2000;
  app.config = Json{{"b", 1}};
  app.adjoeEnabled = false;
  EXPECT_EQ(
      json::dump(toJson(app)),
      R"({"appKey":"k","appName":"n","korvaneHubUrl":"https://hub/","trackEventBatchIntervalMs":2000,)"
      R"("adjoeEnabled":false,"config":")" +
          base64::encode(R"({"b":1})") + R"("})");

  LoginRequest login;
  login.userId = "u1";
  login.birthYear = "1990";
  login.loginInfo = {"user_login",    "1.0.52-rc.2",
                     "1700000000000", "S",
                     std::nullopt,    "D",
                     "0000",          "iOS",
                     "17.4",          Json{{"user_id", "u1"}, {"category", "authentication"}}};
  login.deviceInfo.deviceId = "D";
  login.deviceInfo.deviceModel = "iPhone14,2";
  login.deviceInfo.osVersion = "17.4";
  login.deviceInfo.installer = "appstore";
  login.deviceInfo.screenWidth = 1170;
  EXPECT_EQ(
      json::dump(toJson(login)),
      R"({"userId":"u1","birthYear":"1990","loginInfo":{"name":"user_login","sdkVersion":"1.0.52-rc.2",)"
      R"("timestamp":"1700000000000","sessionId":"S","deviceId":"D","ifa":"0000","platform":"iOS",)"
      R"("osVersion":"17.4","parameters":{"user_id":"u1","category":"authentication"}},)"
      R"("deviceInfo":{"deviceId":"D","deviceModel":"iPhone14,2","manufacturer":"Apple","platform":"iOS",)"
      R"("osVersion":"17.4","installer":"appstore","screenWidth":1170}})");

  TrackEventRequest event{"mission_clicked",
                          "1.0.52-rc.2",
                          "2026-01-02 03:04:05",
                          "S",
                          std::nullopt,
                          "D",
                          "I",
                          "iOS",
                          "17.4",
                          {{"missionId", "m1"}, {"progress", "3"}}};
  EventBatch batch{"B", "2026-01-02T03:04:05Z", "1.0.52-rc.2", "iOS", {event}};
  EXPECT_EQ(
      json::dump(toJson(batch)),
      R"({"batchId":"B","batchTimestamp":"2026-01-02T03:04:05Z","sdkVersion":"1.0.52-rc.2","platform":"iOS",)"
      R"("events":[{"name":"mission_clicked","sdkVersion":"1.0.52-rc.2","timestamp":"2026-01-02 03:04:05",)"
      R"("sessionId":"S","deviceId":"D","ifa":"I","platform":"iOS","osVersion":"17.4",)"
      R"("parameters":{"missionId":"m1","progress":"3"}}]})");
}

TEST(BackendRecords, WhatTheSdkWritesTheBackendReadsBack) {
  Mission mission{"m", "t", "d", "i", "l", "100", "pending", 1, 3, MissionType::offerwallPromotion,
                  2,   "p"};
  MissionResponse missions{true,         {mission},    1,           3,
                           "r",          std::nullopt, "title",     std::nullopt,
                           std::nullopt, std::nullopt, std::nullopt};
  const Result<MissionResponse> back = json::decode<MissionResponse>(json::dump(toJson(missions)));
  ASSERT_TRUE(back.ok());
  EXPECT_EQ(json::dump(toJson(back.value())), json::dump(toJson(missions)));

  TrackEventRequest event{"n", "v", "t", "s", "u", "d", "i", "iOS", "17", {{"z", "1"}, {"a", "2"}}};
  const Result<TrackEventRequest> eventBack =
      json::decode<TrackEventRequest>(json::dump(toJson(event)));
  ASSERT_TRUE(eventBack.ok());
  EXPECT_EQ(eventBack.value().parameters, event.parameters) << "payload order survives";
  EXPECT_EQ(eventBack.value().userId, "u");
}

TEST(Base64, RoundTripsAndRejectsWhatThePlatformRejects) {
  for (std::string bytes : {std::string(), std::string("f"), std::string("fo"), std::string("foo"),
                            std::string("\0\xff\x10", 3), std::string(1000, 'x')})
    EXPECT_EQ(base64::decode(base64::encode(bytes)), bytes);
  for (const char* bad : {"Zm9", "Zm9v\n", "Zm 9v", "Zm9v====", "Z===", "Zm-_"})
    EXPECT_EQ(base64::decode(bad), std::nullopt) << bad;
}

}  // namespace
}  // namespace korvane

namespace korvane {
namespace {

// The telemetry bodies are written without a document; they must be the very same JSON.
TEST(TelemetryBodies, DirectWriterMatchesTheRecordEncoding) {
  const std::string tricky[] = {
      "plain", "quote\" back\\slash", "ctl\x01\x1f\n\r\t\b\f", "한국어 ✓ 😀", "", "/slash"};
  for (const std::string& text : tricky) {
    TrackEventRequest event{text, "v", text,  "s",  text,
                            "d",  "i", "iOS", "17", {{text, text}, {"k", "v"}}};
    EXPECT_EQ(encodeTrackEventBody(event), json::dump(toJson(event))) << text;
    TrackEventRequest anonymous = event;
    anonymous.userId.reset();
    EventBatch batch{"B", text, "v", "iOS", {event, anonymous}};
    EXPECT_EQ(encodeBatchBody(batch), json::dump(toJson(batch))) << text;
  }
  EXPECT_EQ(encodeBatchBody(EventBatch{}), json::dump(toJson(EventBatch{})));
  TrackEventRequest broken{"bad\xFFname", "v", "t", "s", std::nullopt, "d", "i", "iOS", "17", {}};
  EXPECT_TRUE(json::parse(encodeTrackEventBody(broken)).ok())
      << "malformed text still gives valid JSON";
}

}  // namespace
}  // namespace korvane
