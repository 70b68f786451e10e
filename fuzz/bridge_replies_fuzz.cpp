// Reply scripts built from page-supplied text: each must be exactly the intended single call, as
// read by a strict tokenizer (anything outside the replies' JavaScript subset fails), with the
// page's text arriving as data; names that are not plain identifiers get no script at all.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "offerwall/bridge_scripts.h"
#include "script_shape.h"

namespace {

using korvane::JsonValue;
using korvane::testing::matchesScriptPattern;

[[noreturn]] void failed(const char* what, const std::string& script, const std::string& why) {
  std::fprintf(stderr, "%s is not the intended call: %s\n%s\n", what, why.c_str(), script.c_str());
  std::abort();
}

// The value a page receives for `value`: the same, with bytes that are not UTF-8 replaced.
JsonValue delivered(const JsonValue& value) {
  return JsonValue::parse(value.dump(-1, ' ', false, JsonValue::error_handler_t::replace));
}

// Checked here on its own, not with the code under test.
bool plainIdentifier(const std::string& text, bool mayStartWithDigit) {
  if (text.empty()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '$';
    const bool digit = c >= '0' && c <= '9';
    if (!letter && !(digit && (i > 0 || mayStartWithDigit))) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const std::string name = input.ConsumeRandomLengthString(64);
  const std::string identifier = input.ConsumeRandomLengthString(256);
  const std::string requestId = input.ConsumeRandomLengthString(64);
  const std::string text = input.ConsumeRandomLengthString(256);
  const bool installed = input.ConsumeBool();
  const std::string rest = input.ConsumeRemainingBytesAsString();
  JsonValue response = JsonValue::parse(rest, nullptr, false);
  if (response.is_discarded()) response = JsonValue{{"text", rest}};
  std::string why;

  const JsonValue result{{"installed", installed}, {"identifier", delivered(identifier)}};
  const JsonValue resultJson =
      JsonValue::parse(korvane::appInstalledResultJson(installed, identifier), nullptr, false);
  if (resultJson != result) failed("the app-installed JSON", resultJson.dump(), "wrong value");
  const std::optional<std::string> appInstalled =
      korvane::appInstalledReplyScript(name, installed, identifier);
  if (appInstalled.has_value() != plainIdentifier(name, false))
    failed("the app-installed reply", appInstalled.value_or(""), "refusal disagrees: " + name);
  if (appInstalled &&
      !matchesScriptPattern(*appInstalled, korvane::testing::kAppInstalledReplyPattern,
                            {name, "", result}, &why))
    failed("the app-installed reply", *appInstalled, why);

  const std::optional<std::string> dataResponse = korvane::dataResponseScript(requestId, response);
  if (dataResponse.has_value() != plainIdentifier(requestId, true))
    failed("the data response", dataResponse.value_or(""), "refusal disagrees: " + requestId);
  if (dataResponse && !matchesScriptPattern(*dataResponse, korvane::testing::kDataResponsePattern,
                                            {requestId, "", delivered(response)}, &why))
    failed("the data response", *dataResponse, why);

  const JsonValue info{{"userId", text}, {"gender", identifier}, {"birthYear", response}};
  const std::string userInfo = korvane::userInfoReplyScript(info);
  if (!matchesScriptPattern(userInfo, korvane::testing::kUserInfoReplyPattern,
                            {"", "", delivered(info)}, &why))
    failed("the user-info reply", userInfo, why);

  const std::string advertisingId = korvane::advertisingIdScript(text);
  if (!matchesScriptPattern(advertisingId, korvane::testing::kAdvertisingIdPattern,
                            {"", delivered(JsonValue(text)).get<std::string>(), {}}, &why))
    failed("the advertising-id script", advertisingId, why);
  return 0;
}
