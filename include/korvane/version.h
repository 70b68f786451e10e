#pragma once

namespace korvane {

// The SDK's version and the product token it appends to user agents.
inline constexpr const char* kSdkVersion = "1.0.52-rc.2";
inline constexpr const char* kSdkUserAgentToken = "KorvaneSDK/1.0.52-rc.2";
// The platform word the backend receives; the product reports itself as an iOS SDK on every host.
inline constexpr const char* kPlatformName = "iOS";

}  // namespace korvane
