#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "korvane/util/json_value.h"

namespace korvane::testing {

// A token of the small JavaScript subset the SDK's reply scripts are written in.
struct JsToken {
  enum class Kind { identifier, string, number, punctuator };
  Kind kind;
  std::string text;  // strings decoded to UTF-8; everything else as written
};

// Reads `source` strictly: ASCII identifiers, '...' and "..." strings with the usual escapes,
// JSON-style numbers, the punctuators ( ) { } [ ] ; , . : = === && - and ASCII blanks. Anything
// else (comments, regular expressions, templates, other operators, raw line separators inside
// strings, bytes that are not UTF-8) fails, so a script that passes splits into exactly these
// tokens for any JavaScript engine too.
std::optional<std::vector<JsToken>> tokenizeStrictJs(std::string_view source);

// What fills a pattern's holes: "@NAME" inside identifiers and strings, a string that is exactly
// "@TEXT", and "@JSON", a JSON value written with JSON's own tokens.
struct ScriptHoles {
  std::string name;
  std::string text;
  JsonValue json;
};

// Whether `script` is `pattern` token for token once the holes are filled; `why` says where it
// differs. The patterns below restate the reply scripts' documented shapes.
bool matchesScriptPattern(std::string_view script, std::string_view pattern,
                          const ScriptHoles& holes, std::string* why = nullptr);

inline constexpr const char* kUserInfoReplyPattern =
    "if (window.onUserInfoReceived) { window.onUserInfoReceived(@JSON); }";
inline constexpr const char* kAppInstalledReplyPattern =
    "(function() { try { if (typeof window.@NAME === 'function') { window.@NAME(@JSON);"
    " console.log('[KorvaneBridge] Called @NAME with result:', @JSON); } else {"
    " console.warn('[KorvaneBridge] Callback @NAME is not a function'); } } catch (e) {"
    " console.error('[KorvaneBridge] Error calling @NAME:', e); } })();";
inline constexpr const char* kDataResponsePattern =
    "(function() { try { var callback = window._korvane_callback_@NAME;"
    " if (callback && typeof callback === 'function') { callback(@JSON);"
    " delete window._korvane_callback_@NAME;"
    " console.log('[KorvaneBridge] Data request fulfilled: @NAME'); } else {"
    " console.warn('[KorvaneBridge] No callback found for request: @NAME'); } } catch (e) {"
    " console.error('[KorvaneBridge] Error executing data callback:', e); } })();";
inline constexpr const char* kAdvertisingIdPattern =
    "if(window.KorvaneConfig) { window.KorvaneConfig.ifa = '@TEXT'; }";

}  // namespace korvane::testing
