#pragma once

#include "korvane/platform/platform_services.h"

namespace korvane::ios {

// Every port on Apple's frameworks: NSURLSession, the SDK's own user-defaults suite, the documents
// directory, the main dispatch queue and run loop, ATT and the advertising identifier,
// SystemConfiguration reachability, UIApplication's lifecycle and URL opening, NSException
// handling, the offerwall's WebKit and UIKit screens, and the core's background work on dispatch
// queues.
PlatformServices makePlatformServices();

}  // namespace korvane::ios
