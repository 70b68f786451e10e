#pragma once

#include <string>

#include "korvane/core/json_value.h"

namespace korvane {

// The handler pages post to, and the other names accepted from it.
inline constexpr const char* kBridgeHandlerName = "korvaneNative";

// Injected at document start into every frame: lets pages written for other bridges call
// window.webkit.messageHandlers.postMessage(message) and reach "korvaneNative".
const std::string& postMessagePolyfillScript();
// Evaluated after every finished load: defines window.KorvaneBridge.
const std::string& korvaneBridgeScript();
// Tells a page that defines window.KorvaneConfig the advertising identifier.
std::string advertisingIdScript(const std::string& advertisingId);

// Replies, evaluated in the page that asked.
std::string userInfoReplyScript(const JsonValue& userInfo);
// The JSON text the app-installed reply carries (the identifier is inserted as it stands).
std::string appInstalledResultJson(bool installed, const std::string& identifier);
std::string appInstalledReplyScript(const std::string& callbackName, bool installed,
                                    const std::string& identifier);
std::string dataResponseScript(const std::string& requestId, const JsonValue& response);

// The page shown when the offerwall cannot be reached; its close button posts {"type":"close"}.
const std::string& offlinePageHtml();

}  // namespace korvane
