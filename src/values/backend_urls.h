#pragma once

#include <string_view>

// Where the SDK's backend lives. Every other place that needs these values reads them from here.
namespace korvane::backend {

inline constexpr std::string_view kProductionApiBaseUrl = "https://api.korvane.io";
inline constexpr std::string_view kStagingApiBaseUrl = "https://api.staging.korvane.io";
// Requests whose URL contains "." followed by this domain get the SDK's credentials and user
// agent from the request interceptor.
inline constexpr std::string_view kRegisteredDomain = "korvane.io";

}  // namespace korvane::backend
