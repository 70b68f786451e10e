#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "korvane/util/json_value.h"

namespace korvane {

// The handler pages post to, and the other names accepted from it.
inline constexpr const char* kBridgeHandlerName = "korvaneNative";

// Injected at document start into every frame: lets pages written for other bridges call
// window.webkit.messageHandlers.postMessage(message) and reach "korvaneNative".
const std::string& postMessagePolyfillScript();
// Evaluated after every finished load: defines window.KorvaneBridge. The text is
// korvane_bridge.js beside this file, compiled in by the build.
const std::string& korvaneBridgeScript();
// Tells a page that defines window.KorvaneConfig the advertising identifier (as a string
// literal, whatever the text holds).
std::string advertisingIdScript(const std::string& advertisingId);

// `script` made to run only in a document of one of `origins` (in url::origin's normal form),
// as that document's own location says when it runs: what the SDK writes into a page (the
// advertising id, replies with the user's data) reaches no other document, even one that
// replaced the page after the SDK decided. The location of a document cannot be changed by its
// scripts. Without origins it runs nowhere.
std::string forDocumentsOf(const std::vector<std::string>& origins, const std::string& script);

// Whether `name` may stand in a reply as a global name: an ASCII JavaScript identifier.
bool isPlainIdentifier(std::string_view name);
// Whether a request id may be appended to a global name: ASCII identifier characters only.
bool isIdentifierSafe(std::string_view requestId);

// Replies, evaluated in the page that asked. Page-supplied text never leaves a string literal,
// and text that is not UTF-8 is carried with U+FFFD in its place; none of these throws.
std::string userInfoReplyScript(const JsonValue& userInfo);
// The JSON text the app-installed reply carries.
std::string appInstalledResultJson(bool installed, const std::string& identifier);
// Nothing when the callback name is not a plain identifier.
std::optional<std::string> appInstalledReplyScript(const std::string& callbackName, bool installed,
                                                   const std::string& identifier);
// Nothing when the request id is not identifier-safe.
std::optional<std::string> dataResponseScript(const std::string& requestId,
                                              const JsonValue& response);

// The page shown when the offerwall cannot be reached; its close button posts {"type":"close"}.
const std::string& offlinePageHtml();

}  // namespace korvane
