#pragma once

#include "korvane/platform/platform_services.h"

namespace korvane::ios {

// Every port on Apple's frameworks: NSURLSession, standard user defaults, the documents
// directory, the main dispatch queue and run loop, ATT and the advertising identifier,
// SystemConfiguration reachability, UIApplication's lifecycle and URL opening, NSException
// handling, and the offerwall's WebKit and UIKit screens.
PlatformServices makePlatformServices();

}  // namespace korvane::ios
