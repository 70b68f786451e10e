#include "offerwall/bridge_scripts.h"

namespace korvane {

const std::string& postMessagePolyfillScript() {
  static const std::string script = R"JS((function() {
    if (!window.webkit || !window.webkit.messageHandlers) { return; }
    var handlers = window.webkit.messageHandlers;
    var post = function(message) {
        try {
            var text = typeof message === 'string' ? message : JSON.stringify(message);
            window.webkit.messageHandlers.korvaneNative.postMessage(text);
        } catch (e) {
            console.error('[KorvaneSDK] bridge error', e);
        }
    };
    try {
        var proto = Object.getPrototypeOf(handlers) || Object.prototype;
        Object.defineProperty(proto, 'postMessage', {
            configurable: true,
            get: function() { return this === handlers ? post : undefined; }
        });
        console.log('[KorvaneSDK] Polyfill installed on prototype');
    } catch (e) {
        try {
            Object.defineProperty(Object.prototype, 'postMessage', {
                configurable: true,
                get: function() { return this === window.webkit.messageHandlers ? post : undefined; }
            });
            console.log('[KorvaneSDK] Polyfill installed on Object.prototype (fallback)');
        } catch (e2) {
            console.log('[KorvaneSDK] Failed to install polyfill');
        }
    }
})();)JS";
  return script;
}

namespace {

bool isAsciiLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isIdentifierPart(char c) {
  return isAsciiLetter(c) || (c >= '0' && c <= '9') || c == '_' || c == '$';
}

// JSON is a JavaScript expression except that older engines end a string at U+2028 and U+2029,
// so those two are escaped; text that is not UTF-8 becomes U+FFFD instead of an exception.
std::string scriptJson(const JsonValue& value) {
  std::string text =
      value.dump(-1, ' ', /*ensure_ascii=*/false, JsonValue::error_handler_t::replace);
  for (std::size_t at = text.find("\xE2\x80"); at != std::string::npos;
       at = text.find("\xE2\x80", at + 1)) {
    if (at + 2 >= text.size()) break;
    const char last = text[at + 2];
    if (last == '\xA8' || last == '\xA9')
      text.replace(at, 3, last == '\xA8' ? "\\u2028" : "\\u2029");
  }
  return text;
}

// `text` as the inside of a single-quoted JavaScript string literal.
std::string singleQuotedContent(const std::string& text) {
  // The JSON string form already escapes quotes, backslashes and controls; a single-quoted
  // literal reads it the same once its double quotes are bare and its single quotes escaped.
  const std::string json = scriptJson(JsonValue(text));
  std::string out;
  out.reserve(json.size());
  for (std::size_t i = 1; i + 1 < json.size(); ++i) {
    const char c = json[i];
    if (c == '\\' && json[i + 1] == '"') {
      out += '"';
      ++i;
    } else if (c == '\\') {
      out += c;
      out += json[++i];
    } else if (c == '\'') {
      out += "\\'";
    } else {
      out += c;
    }
  }
  return out;
}

}  // namespace

bool isPlainIdentifier(std::string_view name) {
  if (name.empty() || !(isAsciiLetter(name[0]) || name[0] == '_' || name[0] == '$')) return false;
  return isIdentifierSafe(name);
}

bool isIdentifierSafe(std::string_view requestId) {
  if (requestId.empty()) return false;
  for (const char c : requestId)
    if (!isIdentifierPart(c)) return false;
  return true;
}

std::string advertisingIdScript(const std::string& advertisingId) {
  return "if(window.KorvaneConfig) { window.KorvaneConfig.ifa = '" +
         singleQuotedContent(advertisingId) + "'; }";
}

std::string forDocumentsOf(const std::vector<std::string>& origins, const std::string& script) {
  if (origins.empty()) return "undefined";
  // Plain comparisons only: a page can replace the functions a script would call, not these.
  std::string test;
  for (const std::string& origin : origins) {
    if (!test.empty()) test += " || ";
    test += "location.origin === " + scriptJson(JsonValue(origin));
  }
  return "if (" + test + ") {\n" + script + "\n}";
}

std::string userInfoReplyScript(const JsonValue& userInfo) {
  return "if (window.onUserInfoReceived) {\n    window.onUserInfoReceived(" + scriptJson(userInfo) +
         ");\n}";
}

std::string appInstalledResultJson(bool installed, const std::string& identifier) {
  return std::string("{\n    \"installed\": ") + (installed ? "true" : "false") +
         ",\n    \"identifier\": " + scriptJson(JsonValue(identifier)) + "\n}";
}

std::optional<std::string> appInstalledReplyScript(const std::string& name, bool installed,
                                                   const std::string& identifier) {
  if (!isPlainIdentifier(name)) return std::nullopt;
  const std::string json = appInstalledResultJson(installed, identifier);
  return "(function() {\n    try {\n        if (typeof window." + name +
         " === 'function') {\n            window." + name + "(" + json +
         ");\n            console.log('[KorvaneBridge] Called " + name + " with result:', " + json +
         ");\n        } else {\n            console.warn('[KorvaneBridge] Callback " + name +
         " is not a function');\n        }\n    } catch (e) {\n        "
         "console.error('[KorvaneBridge] Error calling " +
         name + ":', e);\n    }\n})();";
}

std::optional<std::string> dataResponseScript(const std::string& requestId,
                                              const JsonValue& response) {
  if (!isIdentifierSafe(requestId)) return std::nullopt;
  return "(function() {\n    try {\n        var callback = window._korvane_callback_" + requestId +
         ";\n        if (callback && typeof callback === 'function') {\n            callback(" +
         scriptJson(response) + ");\n            delete window._korvane_callback_" + requestId +
         ";\n            console.log('[KorvaneBridge] Data request fulfilled: " + requestId +
         "');\n        } else {\n            console.warn('[KorvaneBridge] No callback found for "
         "request: " +
         requestId +
         "');\n        }\n    } catch (e) {\n        console.error('[KorvaneBridge] Error "
         "executing "
         "data callback:', e);\n    }\n})();";
}

const std::string& offlinePageHtml() {
  static const std::string html = R"HTML(<!DOCTYPE html>
<html lang="ko">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1.0, maximum-scale=1.0, user-scalable=no">
<style>
  * { margin: 0; padding: 0; box-sizing: border-box; }
  body {
    font-family: -apple-system, BlinkMacSystemFont, "Segoe UI", sans-serif;
    background: #ffffff;
    min-height: 100vh;
    display: flex;
    align-items: center;
    justify-content: center;
    padding: 20px;
  }
  .card {
    background: #ffffff;
    width: 100%;
    max-width: 380px;
    border-radius: 24px;
    box-shadow: 0 10px 40px rgba(0, 0, 0, 0.08);
    padding: 40px 28px;
    text-align: center;
    animation: slideUp 0.5s ease-out;
  }
  @keyframes slideUp {
    from { opacity: 0; transform: translateY(30px); }
    to { opacity: 1; transform: translateY(0); }
  }
  .badge {
    width: 90px;
    height: 90px;
    margin: 0 auto 24px;
    border-radius: 50%;
    background: linear-gradient(135deg, #f093fb 0%, #f5576c 100%);
    display: flex;
    align-items: center;
    justify-content: center;
    font-size: 44px;
  }
  h1 { font-size: 26px; font-weight: bold; color: #2d3436; margin-bottom: 12px; }
  p { font-size: 17px; color: #636e72; line-height: 1.5; margin-bottom: 32px; }
  button {
    width: 100%;
    padding: 16px;
    border: none;
    border-radius: 14px;
    background: linear-gradient(135deg, #667eea 0%, #764ba2 100%);
    color: #ffffff;
    font-size: 17px;
    font-weight: 600;
  }
  button:disabled { opacity: 0.6; }
  .spinner {
    display: none;
    width: 24px;
    height: 24px;
    margin: 0 auto 16px;
    border: 3px solid #dfe6e9;
    border-top-color: #667eea;
    border-radius: 50%;
    animation: spin 0.8s linear infinite;
  }
  @keyframes spin { to { transform: rotate(360deg); } }
</style>
</head>
<body>
  <div class="card">
    <div class="badge">🌐</div>
    <h1>연결할 수 없음</h1>
    <p>인터넷 연결을 확인한 후<br>다시 시도해 주세요</p>
    <div class="spinner" id="spinner"></div>
    <button onclick="closeOfferwall()">닫기</button>
  </div>
<script>
  function closeOfferwall() {
    if (window.webkit && window.webkit.messageHandlers && window.webkit.messageHandlers.korvaneNative) {
      window.webkit.messageHandlers.korvaneNative.postMessage(JSON.stringify({ type: 'close' }));
    } else {
      window.history.back();
    }
  }
  function retry() {
    document.getElementById('spinner').style.display = 'block';
    var buttons = document.querySelectorAll('button');
    for (var i = 0; i < buttons.length; i++) { buttons[i].disabled = true; }
    setTimeout(function() {
      if (window.webkit && window.webkit.messageHandlers && window.webkit.messageHandlers.korvaneNative) {
        window.webkit.messageHandlers.korvaneNative.postMessage(JSON.stringify({ type: 'retry' }));
      } else {
        window.location.reload();
      }
    }, 300);
  }
</script>
</body>
</html>
)HTML";
  return html;
}

}  // namespace korvane
