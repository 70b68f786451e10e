// JSON from outside the process nested ever deeper: pages, backend answers, the configuration
// inside them and files. Up to 64 levels are read as before; deeper text is refused as an error
// wherever it arrives, and never overflows the stack.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>

#include "backend/record_codec.h"
#include "fake_platform.h"
#include "korvane/backend/api_service.h"
#include "korvane/linux/linux_storage.h"
#include "log_capture.h"
#include "offerwall/bridge_dispatcher.h"
#include "telemetry/event_codec.h"
#include "util/base64.h"

namespace korvane {
namespace {

namespace fs = std::filesystem;

// `levels` arrays and objects inside one another, alternating, around a 1.
std::string nested(std::size_t levels) {
  std::string open;
  std::string close;
  for (std::size_t i = 0; i < levels; ++i) {
    open += i % 2 == 0 ? "[" : R"({"a":)";
    close += i % 2 == 0 ? ']' : '}';
  }
  std::reverse(close.begin(), close.end());
  return open + "1" + close;
}

const std::string kApp = R"({"appKey":"k","appName":"n","korvaneHubUrl":"https://hub/")";

class DeepJsonTest : public ::testing::Test {
 public:
  DeepJsonTest()
      : http_(std::make_shared<testing::FakeHttpClient>()),
        api_("https://api.example.io", KorvaneSdkConfig::Builder("key", "secret").build(), http_) {
    fs::create_directories(dir_);
  }
  ~DeepJsonTest() override { fs::remove_all(dir_); }

  void answer(std::string body) {
    http_->respond = [body = std::move(body)](const HttpRequest&) {
      return HttpResult(HttpResponse{200, {}, body});
    };
  }
  template <typename T>
  Result<T> call(std::function<void(ApiCompletion<T>)> send) {
    std::optional<Result<T>> result;
    send([&](Result<T> r) { result = std::move(r); });
    return std::move(*result);
  }
  Result<ValidateAppResponse> validate() {
    return call<ValidateAppResponse>([&](auto done) { api_.validateApp(std::move(done)); });
  }
  Result<LoginResponse> login() {
    return call<LoginResponse>([&](auto done) { api_.login(LoginRequest{}, std::move(done)); });
  }

  fs::path dir_ = fs::temp_directory_path() / ("korvane-deep-" + std::to_string(::getpid()));
  std::shared_ptr<testing::FakeHttpClient> http_;
  ApiServiceImpl api_;
};

// One way in for JSON: takes a text nested `depth` levels in all (its own wrapping included)
// and says whether it was read.
struct Door {
  const char* name;
  std::function<bool(DeepJsonTest&, std::size_t depth)> read;
};

const Door kDoors[] = {
    {"BridgeMessage",
     [](DeepJsonTest&, std::size_t depth) {
       const ScriptMessage message{"korvaneNative",
                                   R"({"type":"x","data":{"a":)" + nested(depth - 2) + "}}"};
       return parseBridgeMessage(message, BridgeHostKind::controller, "T").has_value();
     }},
    {"ValidateAnswer",
     [](DeepJsonTest& t, std::size_t depth) {
       t.answer(R"({"success":true,"extra":)" + nested(depth - 1) + "}");
       return t.validate().ok();
     }},
    {"LoginAnswer",
     [](DeepJsonTest& t, std::size_t depth) {
       t.answer(R"({"success":true,"extra":)" + nested(depth - 1) + "}");
       return t.login().ok();
     }},
    {"UndecodableAnswerShownForDiagnosis",
     [](DeepJsonTest& t, std::size_t depth) {
       testing::LogCapture log(LogLevel::verbose);
       t.answer(R"({"success":"no","app":)" + nested(depth - 1) + "}");
       EXPECT_FALSE(t.validate().ok());
       return log.mentions("Response as Dictionary: ");
     }},
    {"Base64Configuration",
     [](DeepJsonTest& t, std::size_t depth) {
       const std::string config = base64::encode(R"({"a":)" + nested(depth - 1) + "}");
       t.answer(R"({"success":true,"app":)" + kApp + R"(,"config":")" + config + R"("}})");
       const Result<ValidateAppResponse> r = t.validate();
       EXPECT_TRUE(r.ok()) << "a configuration that cannot be read is left out";
       return r.ok() && r.value().app->config.has_value();
     }},
    {"EventFile",
     [](DeepJsonTest&, std::size_t depth) {
       const std::string file =
           R"([{"eventId":"A","type":"custom","timestamp":1,"category":"c","x":)" +
           nested(depth - 2) + "}]";
       const bool decoded = decodeEventFile(file).ok();
       EXPECT_EQ(validEventCount(file).has_value(), decoded) << "check and decoder agree";
       return decoded;
     }},
    {"SettingsFile",
     [](DeepJsonTest& t, std::size_t depth) {
       std::ofstream(t.dir_ / "settings.json") << R"({"k":"v","x":)" + nested(depth - 1) + "}";
       return linux_host::FileKeyValueStore(t.dir_ / "settings.json").getString("k").has_value();
     }},
};

void PrintTo(const Door& door, std::ostream* out) {
  *out << door.name;
}

class DeepJsonDoorTest : public DeepJsonTest, public ::testing::WithParamInterface<Door> {};

TEST_P(DeepJsonDoorTest, ReadsSixtyFourLevelsAndRefusesDeeperText) {
  testing::LogCapture quiet(LogLevel::none);
  for (const std::size_t depth : {3u, 63u, 64u, 65u, 100000u})
    EXPECT_EQ(GetParam().read(*this, depth), depth <= 64) << "at depth " << depth;
}

INSTANTIATE_TEST_SUITE_P(EveryDoor, DeepJsonDoorTest, ::testing::ValuesIn(kDoors),
                         [](const ::testing::TestParamInfo<Door>& door) {
                           return std::string(door.param.name);
                         });

TEST_F(DeepJsonTest, RefusalsSayWhy) {
  testing::LogCapture log(LogLevel::verbose);
  // As deep as a message within the length limit can be.
  const ScriptMessage message{"korvaneNative", R"({"type":"x","data":)" + nested(50000) + "}"};
  EXPECT_FALSE(parseBridgeMessage(message, BridgeHostKind::controller, "T"));
  EXPECT_TRUE(log.contains("[E/T] ❌ Failed to parse JS message: " + message.body));
  EXPECT_TRUE(log.contains("[E/T] The message nests deeper than 64 levels"));

  answer(nested(100000));
  const Result<ValidateAppResponse> r = validate();
  ASSERT_FALSE(r.ok());
  EXPECT_EQ(r.error().description,
            "The data couldn’t be read because it isn’t in the correct format. (the given data "
            "nests deeper than 64 levels at the top level)");
}

}  // namespace
}  // namespace korvane
