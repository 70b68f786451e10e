#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "korvane/platform/web_view.h"

namespace korvane {

// What a page host knows when it composes the offerwall address.
struct OfferwallPage {
  std::optional<std::string> baseUrl;
  std::optional<std::string> userId;
  std::optional<std::string> appKey;
  std::optional<std::string> placementId;
  std::string contextType = "offerwall";
  std::optional<std::string> quizId;
  std::optional<std::string> quizTitle;
  std::string advertisingId = "00000000-0000-0000-0000-000000000000";
};

// The device side of the address, gathered once per load.
struct OfferwallDevice {
  std::string deviceId;
  std::string osVersion;
  std::string deviceModel;
  long screenWidth = 0;
  long screenHeight = 0;
  std::string sessionId;
  std::int64_t timestampMillis = 0;
};

// The base address with its own query items kept and the offerwall's appended in their fixed
// order; the quiz items only for the full-screen host. Nothing (and a log line) when the base
// address is not a URL.
std::optional<std::string> composeOfferwallUrl(const OfferwallPage& page,
                                               const OfferwallDevice& device,
                                               bool includeQuizItems);

// The request for a composed address: 60 s timeout and the app key, user and advertising id
// headers when they have values.
WebRequest offerwallRequest(const std::string& url, const OfferwallPage& page);

// A request for an address exactly as given (sub pages, retry): no headers, 60 s timeout.
WebRequest plainRequest(const std::string& url);

}  // namespace korvane
