// JSON objects of many keys from outside the process: read whole, in order, with the library's
// meaning of a repeated key; and bridge messages longer than their limit refused unread.
#include <gtest/gtest.h>

#include <random>

#include "fake_platform.h"
#include "korvane/backend/api_service.h"
#include "korvane/util/json_object_builder.h"
#include "log_capture.h"
#include "signed_in_sdk.h"
#include "telemetry/event_codec.h"
#include "util/base64.h"
#include "util/keyed_hash.h"

namespace korvane {
namespace {

// {"k0":0,"k1":1,...} with `keys` keys, then each key in `repeats` again with its value negated.
std::string wideObject(std::size_t keys, const std::vector<std::size_t>& repeats = {}) {
  std::string text = "{";
  const auto add = [&](std::size_t key, long long value) {
    if (text.size() > 1) text += ',';
    text += "\"k" + std::to_string(key) + "\":" + std::to_string(value);
  };
  for (std::size_t key = 0; key < keys; ++key) add(key, static_cast<long long>(key));
  for (std::size_t key : repeats) add(key, -static_cast<long long>(key));
  return text + "}";
}

// Whether `object` is wideObject(keys, repeats) read whole: every key once, in first-seen order,
// a repeated key's value the last one given.
::testing::AssertionResult isWideObject(const JsonValue& object, std::size_t keys,
                                        const std::vector<std::size_t>& repeats = {}) {
  if (!object.is_object() || object.size() != keys)
    return ::testing::AssertionFailure() << "an object of " << object.size() << " keys";
  std::vector<bool> repeated(keys);
  for (std::size_t key : repeats) repeated[key] = true;
  std::size_t position = 0;
  for (const auto& [key, value] : object.items()) {
    const long long expected =
        repeated[position] ? -static_cast<long long>(position) : static_cast<long long>(position);
    if (key != "k" + std::to_string(position) || value != expected)
      return ::testing::AssertionFailure() << "at " << position << ": " << key << "=" << value;
    ++position;
  }
  return ::testing::AssertionSuccess();
}

TEST(WideJson, ARepeatedKeyKeepsItsFirstPlaceAndTakesTheLastValue) {
  const std::pair<std::string, std::string> cases[] = {
      {R"({"b":1,"a":2,"b":3})", R"({"b":3,"a":2})"},
      {R"({"a":{"x":1},"b":0,"a":[2]})", R"({"a":[2],"b":0})"},
      {R"({"a":[1],"a":{"x":1,"x":2,"y":3,"x":4}})", R"({"a":{"x":4,"y":3}})"},
      {R"({"":1,"":2,"k\u0000":3,"k":4})", R"({"":2,"k\u0000":3,"k":4})"},
      {R"([{"a":1,"a":2},{"a":3}])", R"([{"a":2},{"a":3}])"},
      {wideObject(40, {5, 39, 5}), ""},
      {wideObject(5000, {0, 4999, 17, 17, 2500}), ""},
  };
  for (const auto& [text, expected] : cases) {
    const Result<JsonValue> read = parseDepthLimitedJson(text);
    ASSERT_TRUE(read.ok()) << text;
    // The library's own parser is the reference for what a repeated key means.
    EXPECT_EQ(read.value().dump(), JsonValue::parse(text).dump()) << text.substr(0, 80);
    if (!expected.empty()) {
      EXPECT_EQ(read.value().dump(), expected);
    }
  }
  EXPECT_TRUE(
      isWideObject(parseDepthLimitedJson(wideObject(5000, {17, 2500})).value(), 5000, {17, 2500}));
}

// Random keys with many repeats, into objects that already hold some keys or none: the builder
// leaves each object as the library's own operator[] does, across the sizes where it starts its
// index and grows it.
TEST(WideJson, TheBuilderFillsAnObjectAsTheLibrarysOwnInsertionDoes) {
  std::mt19937 random(7);
  for (const std::size_t existing : {0u, 3u, 20u}) {
    for (const std::size_t inserts : {1u, 7u, 8u, 9u, 17u, 100u, 1000u, 5000u}) {
      JsonValue reference = JsonValue::object();
      for (std::size_t i = 0; i < existing; ++i) reference["e" + std::to_string(i)] = i;
      JsonValue built = reference;
      JsonObjectBuilder builder(built);
      std::uniform_int_distribution<std::size_t> pick(0, inserts / 2 + existing);
      for (std::size_t i = 0; i < inserts; ++i) {
        const std::size_t n = pick(random);
        const std::string key = (n < existing ? "e" : "k") + std::to_string(n);
        reference[key] = i;
        builder[key] = i;
      }
      EXPECT_EQ(built.dump(), reference.dump()) << existing << " + " << inserts;
    }
  }
  JsonValue notAnObject = JsonValue::array({1});
  JsonObjectBuilder{notAnObject}["a"] = 1;
  EXPECT_EQ(notAnObject.dump(), R"({"a":1})");
}

TEST(WideJson, TwoHundredThousandKeysAreReadWhole) {
  const std::vector<std::size_t> repeats = {0, 199999, 31337, 100000};
  const Result<JsonValue> read = parseDepthLimitedJson(wideObject(200000, repeats));
  ASSERT_TRUE(read.ok());
  EXPECT_TRUE(isWideObject(read.value(), 200000, repeats));
  EXPECT_TRUE(isDepthLimitedJson(wideObject(200000, repeats)));
  // Width does not count as depth, and depth is still refused inside a wide object.
  EXPECT_TRUE(isWithinJsonDepth(read.value()));
  std::string deepInside = wideObject(1000);
  deepInside.insert(deepInside.size() - 1,
                    ",\"deep\":" + std::string(64, '[') + std::string(64, ']'));
  EXPECT_EQ(parseDepthLimitedJson(deepInside).error().code, kJsonErrorTooDeep);
}

// The published SipHash-2-4 test vectors (key 00 01 ... 0f, message 00 01 ... of each length),
// which pin the rounds that keyedHash runs fewer of.
TEST(WideJson, SipHashMatchesItsReferenceVectors) {
  const SipKey key{0x0706050403020100u, 0x0f0e0d0c0b0a0908u};
  std::string message;
  for (char byte = 0; byte < 15; ++byte) message += byte;
  const std::pair<std::size_t, std::uint64_t> vectors[] = {
      {0, 0x726fdb47dd0e0e31u}, {1, 0x74f839c593dc67fdu},  {7, 0xab0200f58b01d137u},
      {8, 0x93f5f5799a932462u}, {15, 0xa129ca6149be45e5u},
  };
  for (const auto& [length, hash] : vectors)
    EXPECT_EQ((sipHash<2, 4>(key, std::string_view(message).substr(0, length))), hash) << length;
}

// Wide objects through the ways in that read them: backend answers, their base64 configuration
// and the event file.
class WideJsonDoorTest : public ::testing::Test {
 public:
  WideJsonDoorTest()
      : http_(std::make_shared<testing::FakeHttpClient>()),
        api_("https://api.example.io", KorvaneSdkConfig::Builder("key", "secret").build(), http_) {}

  std::shared_ptr<testing::FakeHttpClient> http_;
  ApiServiceImpl api_;
};

TEST_F(WideJsonDoorTest, BackendAnswersAndTheEventFileAreReadWhole) {
  testing::LogCapture quiet(LogLevel::none);
  const std::string wide = wideObject(100000, {5});
  http_->respond = [&](const HttpRequest&) {
    return HttpResult(
        HttpResponse{200,
                     {},
                     R"({"extra":)" + wide +
                         R"(,"success":true,"app":{"appKey":"k",)"
                         R"("appName":"n","korvaneHubUrl":"https://hub/","config":")" +
                         base64::encode(wide) + R"("}})"});
  };
  std::optional<Result<ValidateAppResponse>> validated;
  api_.validateApp([&](Result<ValidateAppResponse> r) { validated = std::move(r); });
  ASSERT_TRUE(validated && validated->ok());
  ASSERT_TRUE(validated->value().app && validated->value().app->config);
  EXPECT_TRUE(isWideObject(*validated->value().app->config, 100000, {5}));

  const std::string file = R"([{"eventId":"A","type":"custom","timestamp":1,"category":"c",)"
                           R"("payload":")" +
                           base64::encode(wide) + R"("}])";
  const Result<std::vector<Event>> events = decodeEventFile(file);
  ASSERT_TRUE(events.ok());
  ASSERT_EQ(events.value().size(), 1u);
  EXPECT_TRUE(isWideObject(events.value()[0].payload.value(), 100000, {5}));
  EXPECT_EQ(validEventCount(file), 1u);
}

class HeardEvents final : public OfferwallEventCallback {
 public:
  void onCustomEvent(const std::string&, const JsonValue& payload) override {
    payloads.push_back(payload);
  }
  std::optional<JsonValue> onDataRequest(const std::string&, const std::string&,
                                         const JsonValue&) override {
    return std::nullopt;
  }
  std::vector<JsonValue> payloads;
};

class WideBridgeTest : public testing::SignedInSdk {
 protected:
  void SetUp() override {
    SignedInSdk::SetUp();
    KorvaneOfferwallViewController::setEventCallback(events_);
    controller_ = KorvaneOfferwallViewController::create();
    controller_->baseUrl = "https://hub.example/";
    controller_->present();
    settle();
  }
  // A customEvent message whose payload is wideObject(keys), padded to `bytes` in all.
  static std::string customEvent(std::size_t keys, std::size_t bytes) {
    std::string message =
        R"({"type":"customEvent","data":{"eventType":"wide","payload":)" + wideObject(keys) + "}}";
    message.insert(1, bytes - message.size(), ' ');
    return message;
  }
  void post(const std::string& body) {
    log_.clear();
    screen(0).view.post(body);
    settle();
  }

  std::shared_ptr<HeardEvents> events_ = std::make_shared<HeardEvents>();
  std::shared_ptr<KorvaneOfferwallViewController> controller_;
};

TEST_F(WideBridgeTest, AMessageOfTheLongestLengthIsReadWholeAndALongerOneIsRefusedUnread) {
  post(customEvent(15000, kMaxScriptMessageBytes));
  ASSERT_EQ(events_->payloads.size(), 1u);
  EXPECT_TRUE(isWideObject(events_->payloads[0], 15000));

  for (const std::size_t bytes : {kMaxScriptMessageBytes + 1, 4 * kMaxScriptMessageBytes}) {
    post(customEvent(15000, bytes));
    EXPECT_EQ(events_->payloads.size(), 1u) << bytes;
    EXPECT_EQ(log_.messages(),
              std::vector<std::string>{"[W/KorvaneOfferwallViewController] Refused a message to "
                                       "korvaneNative: longer than 262144 bytes"});
  }
}

}  // namespace
}  // namespace korvane
