#include "offerwall/bridge_dispatcher.h"

#include <atomic>

#include "backend/json_codec.h"
#include "korvane/util/logger.h"
#include "offerwall/bridge_scripts.h"
#include "offerwall/outside_opening.h"
#include "util/url_text.h"

namespace korvane {
namespace {

bool acceptedHandler(const std::string& name) {
  return name == "korvaneNative" || name == "KorVane" || name == "KorvaneBridge";
}

JsonValue objectField(const JsonValue& data, const char* key) {
  const auto it = data.find(key);
  return it != data.end() && it->is_object() ? *it : JsonValue::object();
}

}  // namespace

std::optional<std::string> textField(const JsonValue& data, const char* key) {
  const auto it = data.find(key);
  if (it == data.end() || !it->is_string()) return std::nullopt;
  return it->get<std::string>();
}

std::optional<BridgeMessage> parseBridgeMessage(const ScriptMessage& message, BridgeHostKind kind,
                                                std::string_view tag) {
  if (!acceptedHandler(message.handlerName) || !message.isString) return std::nullopt;
  // The port should have refused it already; the core does not count on that.
  if (message.body.size() > kMaxScriptMessageBytes) {
    warnOverlongScriptMessage(tag, message.handlerName);
    return std::nullopt;
  }
  KorvaneLogger::d(tag, (kind == BridgeHostKind::controller ? "Received webkit message from "
                                                            : "Received webkit message: ") +
                            message.handlerName);
  KorvaneLogger::d(tag, "📨 Received message from WebView: " + message.body);
  Result<JsonValue> read = parseDepthLimitedJson(message.body);
  if (!read && read.error().code == kJsonErrorTooDeep)
    KorvaneLogger::e(tag,
                     "The message nests deeper than " + std::to_string(kMaxJsonDepth) + " levels");
  const std::optional<std::string> type =
      read && read.value().is_object() ? textField(read.value(), "type") : std::nullopt;
  if (!type) {
    KorvaneLogger::e(tag, "❌ Failed to parse JS message: " + message.body);
    return std::nullopt;
  }
  // "data" is moved out, not copied: nothing is copied before the sender is checked.
  BridgeMessage parsed{*type};
  JsonValue& object = read.value();
  if (const auto data = object.find("data"); data != object.end() && data->is_object())
    parsed.data = std::move(*data);
  KorvaneLogger::d(tag, [&] {
    return "✅ Parsed message - type: '" + parsed.type + "', data: " + json::dump(parsed.data);
  });
  return parsed;
}

BridgeDispatcher::BridgeDispatcher(BridgeHostKind kind, std::string tag,
                                   std::weak_ptr<BridgeHost> host, Context context,
                                   std::shared_ptr<const BridgeTrust> trust)
    : kind_(kind),
      tag_(std::move(tag)),
      host_(std::move(host)),
      context_(std::move(context)),
      mainThread_(context_->platform().mainThread),
      urlOpener_(context_->platform().urlOpener),
      placements_(context_->placements()),
      trust_(std::move(trust)) {}

void BridgeDispatcher::receive(const ScriptMessage& message) {
  std::optional<BridgeMessage> parsed = parseBridgeMessage(message, kind_, tag_);
  if (!parsed) return;
  const auto host = host_.lock();
  const bool offline = host && host->showsOfflinePage();
  if (std::optional<std::string> refusal = bridgeRefusal(*trust_, parsed->type, message, offline))
    return KorvaneLogger::w(tag_, *refusal);
  if (trust_->policyEnabled) {
    if (std::optional<std::string> origin = url::origin(message.frameOrigin))
      parsed->replyOrigins.push_back(*origin);
  }
  dispatch(*parsed);
}

void BridgeDispatcher::onMain(std::function<void(BridgeHost&)> action) {
  mainThread_->post([host = host_, action = std::move(action)] {
    if (auto alive = host.lock()) action(*alive);
  });
}

void BridgeDispatcher::dispatch(const BridgeMessage& message) {
  const std::string& type = message.type;
  const JsonValue& data = message.data;
  const bool controller = kind_ == BridgeHostKind::controller;
  if (type == "openWebView") {
    const std::optional<std::string> url = textField(data, "url");
    if (!url || url->empty()) return KorvaneLogger::w(tag_, "openWebView: No URL provided");
    KorvaneLogger::d(tag_, "Opening sub WebView: " + *url);
    onMain([url = *url](BridgeHost& host) { host.openPage(url); });
  } else if (type == "close") {
    if (controller) KorvaneLogger::d(tag_, "Handling close message");
    onMain([](BridgeHost& host) { host.closePage(); });
  } else if (type == "retry") {
    onMain([](BridgeHost& host) { host.retry(); });
  } else if (type == "closeOpenWebView") {
    const std::optional<std::string> url = textField(data, "url");
    if (auto host = host_.lock(); host && controller) {
      KorvaneLogger::d(tag_, std::string("Handling closeOpenWebView - isSubWebView: ") +
                                 (host->isSubPage() ? "true" : "false") +
                                 ", url: " + url.value_or(""));
    }
    if (!url || url->empty()) return onMain([](BridgeHost& host) { host.replacePageWithoutUrl(); });
    onMain([url = *url](BridgeHost& host) { host.replacePage(url); });
  } else if (type == "externalOpenBrowser") {
    externalOpenBrowser(data);
  } else if (type == "trackEvent") {
    trackEvent(data);
  } else if (type == "openAdjoeOfferwall") {
    openAdjoe(data);
  } else if (type == "checkAppInstalled") {
    checkAppInstalled(data, message.replyOrigins);
  } else if (type == "quizCompleted") {
    quizCompleted(data);
  } else if (type == "quizStarted") {
    quizStarted();
  } else if (type == "missionCompleted" || type == "missionProgressed" ||
             type == "missionRefreshed") {
    missionMessage(type, data);
  } else if (type == "getUserInfo") {
    getUserInfo(message.replyOrigins);
  } else if (type == "customEvent") {
    customEvent(data);
  } else if (type == "dataRequest") {
    dataRequest(data, message.replyOrigins);
  } else {
    KorvaneLogger::w(tag_, "Unknown message type: " + type);
  }
}

void BridgeDispatcher::externalOpenBrowser(const JsonValue& data) {
  const std::optional<std::string> url = textField(data, "url");
  if (!url || url->empty()) return KorvaneLogger::w(tag_, "externalOpenBrowser: No URL provided");
  KorvaneLogger::d(tag_, "Opening external browser: " + *url);
  onMain([opener = urlOpener_, tag = tag_, url = *url](BridgeHost&) {
    if (url::isValid(url) && !mayOpenOutside(url, OutsideOpening::browser))
      return KorvaneLogger::w(tag, outsideOpeningRefusal(url));
    if (opener && url::isValid(url) && opener->canOpen(url)) {
      opener->open(url, nullptr);
    } else {
      KorvaneLogger::w(tag, "Cannot open URL: " + url);
    }
  });
}

void BridgeDispatcher::trackEvent(const JsonValue& data) {
  const std::optional<std::string> name = textField(data, "eventName");
  if (!name) {
    return KorvaneLogger::w(tag_, kind_ == BridgeHostKind::controller
                                      ? "trackEvent: Missing required field (eventName)"
                                      : "trackEvent: Missing eventName");
  }
  context_->tracker()->trackEventWithCustomName(*name, "custom", objectField(data, "payload"));
  KorvaneLogger::d(tag_, "Event tracked from WebView - Name: " + *name);
}

void BridgeDispatcher::openAdjoe(const JsonValue& data) {
  const std::string placementId = textField(data, "placementId").value_or("default");
  const bool controller = kind_ == BridgeHostKind::controller;
  KorvaneLogger::d(tag_, controller
                             ? "Opening adjoe offerwall from WebView: placementId=" + placementId
                             : "Opening adjoe offerwall from embedded view: " + placementId);
  // The page's own adjoe opening reports nothing to the app; it is only logged.
  const std::string suffix = controller ? " from WebView" : "";
  auto callback = std::make_shared<OfferwallCallbackImpl>(
      [tag = tag_, suffix] { KorvaneLogger::d(tag, "Adjoe offerwall opened" + suffix); },
      [tag = tag_, suffix] { KorvaneLogger::d(tag, "Adjoe offerwall closed" + suffix); },
      [tag = tag_, suffix](const std::string& message) {
        KorvaneLogger::d(tag, "Adjoe offerwall error" + suffix + ": " + message);
      },
      [tag = tag_, suffix](int amount) {
        KorvaneLogger::d(tag, "Adjoe reward earned" + suffix + ": " + std::to_string(amount));
      });
  onMain([placementId, callback](BridgeHost& host) {
    host.openAdjoeOfferwall(placementId, callback);
  });
}

std::string BridgeDispatcher::forSender(const std::vector<std::string>& replyTo,
                                        const std::string& script) const {
  return trust_->policyEnabled ? forDocumentsOf(replyTo, script) : script;
}

void BridgeDispatcher::replyAppInstalled(const std::string& callbackName, bool installed,
                                         const std::string& identifier,
                                         const std::vector<std::string>& replyTo) {
  std::optional<std::string> script = appInstalledReplyScript(callbackName, installed, identifier);
  if (!script) return;  // the name was refused when the message arrived
  onMain([tag = tag_, callbackName, reply = forSender(replyTo, *script)](BridgeHost& host) {
    host.evaluate(reply, [tag, callbackName](const Result<std::string>& outcome) {
      if (outcome) {
        KorvaneLogger::d(tag, "App installed result sent to " + callbackName + " successfully");
      } else {
        KorvaneLogger::e(tag,
                         "Failed to send app installed result: " + outcome.error().description);
      }
    });
  });
}

void BridgeDispatcher::checkAppInstalled(const JsonValue& data,
                                         const std::vector<std::string>& replyTo) {
  std::string callbackName = textField(data, "callback").value_or("");
  if (callbackName.empty()) callbackName = "onAppInstalledResult";
  // The name becomes a global name in the reply, so anything else could run the page's own code.
  if (!isPlainIdentifier(callbackName)) {
    return KorvaneLogger::w(
        tag_, "checkAppInstalled: Callback name is not a plain identifier: " + callbackName);
  }
  const std::optional<std::string> identifier = textField(data, "identifier");
  if (!identifier || identifier->empty()) {
    KorvaneLogger::w(tag_, "checkAppInstalled: Missing identifier");
    return replyAppInstalled(callbackName, false, "", replyTo);
  }
  const bool controller = kind_ == BridgeHostKind::controller;
  mainThread_->post([self = shared_from_this(), callbackName, id = *identifier, controller,
                     replyTo] {
    if (!url::isValid(id) || !self->urlOpener_) {
      KorvaneLogger::w(self->tag_, "Invalid URL scheme: " + id);
      return self->replyAppInstalled(callbackName, false, id, replyTo);
    }
    if (!mayOpenOutside(id, OutsideOpening::app)) {
      KorvaneLogger::w(self->tag_, outsideOpeningRefusal(id));
      return self->replyAppInstalled(callbackName, false, id, replyTo);
    }
    // Whichever comes first answers: the system's completion or the fallback.
    auto answered = std::make_shared<std::atomic<bool>>(false);
    TaskHandle fallback = self->mainThread_->postAfter(
        kAppCheckFallback, [self, answered, callbackName, id, controller, replyTo] {
          if (answered->exchange(true)) return;
          KorvaneLogger::w(self->tag_, controller
                                           ? "⏱️ Timeout fallback triggered: completion handler not "
                                             "called for " +
                                                 id
                                           : "⏱️ Timeout fallback triggered for " + id);
          self->replyAppInstalled(callbackName, false, id, replyTo);
        });
    self->urlOpener_->open(
        id, [self, answered, fallback, callbackName, id, controller, replyTo](bool opened) {
          if (answered->exchange(true)) return;
          fallback.cancel();
          if (opened) {
            KorvaneLogger::d(self->tag_, "✅ Successfully launched app: " + id);
          } else {
            KorvaneLogger::w(self->tag_, (controller ? "❌ App not installed or failed to launch: "
                                                     : "❌ App not installed or failed: ") +
                                             id);
          }
          self->replyAppInstalled(callbackName, opened, id, replyTo);
        });
  });
}

void BridgeDispatcher::quizCompleted(const JsonValue& data) {
  const auto host = host_.lock();
  if (!host) return;
  if (kind_ == BridgeHostKind::controller) {
    if (host->contextType() != "quiz") return;
    KorvaneLogger::d(tag_, "[iOS SDK - WebView] handleQuizCompleted 호출됨!");
    KorvaneLogger::d(tag_, "[iOS SDK - WebView] 받은 데이터: " + json::dump(data));
  } else {
    KorvaneLogger::d(tag_, "Quiz completed");
  }
  // The embedded view tells the quiz without the controller's lines about it.
  const bool controller = kind_ == BridgeHostKind::controller;
  onMain([tag = tag_, placements = placements_, data, controller](BridgeHost&) {
    if (controller) KorvaneLogger::d(tag, "[iOS SDK - WebView] Quiz 완료 알림...");
    const bool told = placements && placements->quizCompleted(data);
    if (!controller) return;
    if (told) {
      KorvaneLogger::d(tag, "[iOS SDK - WebView] Quiz 완료 알림 완료!");
    } else {
      KorvaneLogger::w(tag, "[iOS SDK - WebView] Quiz instance 또는 event를 찾을 수 없음");
    }
  });
}

void BridgeDispatcher::quizStarted() {
  const auto host = host_.lock();
  if (!host) return;
  if (kind_ == BridgeHostKind::controller && host->contextType() != "quiz") return;
  KorvaneLogger::d(tag_, "Quiz started");
  context_->tracker()->trackEvent(EventType::quizStarted, "quiz",
                                  JsonValue{{"quiz_id", host->quizId().value_or("")}});
}

void BridgeDispatcher::missionMessage(const std::string& type, const JsonValue& data) {
  if (type == "missionRefreshed") {
    KorvaneLogger::d(tag_, "[missionRefreshed] Called from WebView");
    std::optional<std::string> unitId = textField(data, "unitId");
    // The bridge's missionRefreshed() sends "" for no unit: the app hears nil, every list.
    if (unitId && unitId->empty()) unitId.reset();
    const char* source = kind_ == BridgeHostKind::controller ? "webview" : "embedded_webview";
    return onMain([tag = tag_, context = context_, unitId, source](BridgeHost&) {
      context->tracker()->trackEvent(EventType::custom, "mission",
                                     JsonValue{{"action", "refreshed"}, {"source", source}});
      if (context->placements()) context->placements()->missionsRefreshed(context, unitId);
      KorvaneLogger::d(tag, "[missionRefreshed] Processed successfully (unitId: " +
                                unitId.value_or("nil") + ")");
    });
  }
  const bool completed = type == "missionCompleted";
  KorvaneLogger::d(tag_, completed ? "Mission completed" : "Mission progressed");
  const std::string missionId = textField(data, "missionId").value_or("");
  onMain([tag = tag_, tracker = context_->tracker(), placements = placements_, missionId,
          completed](BridgeHost&) {
    if (!completed) {
      tracker->trackEvent(EventType::missionProgressed, "mission",
                          JsonValue{{"mission_id", missionId}});
    }
    KorvaneLogger::d(tag, completed ? "[iOS SDK - WebView] Mission 완료 알림..."
                                    : "[iOS SDK - WebView] Mission 진행 알림...");
    const bool found = placements && (completed ? placements->missionCompleted(missionId)
                                                : placements->missionProgressed(missionId));
    if (found) {
      KorvaneLogger::d(tag, completed ? "[iOS SDK - WebView] Mission 완료 알림 완료!"
                                      : "[iOS SDK - WebView] Mission 진행 알림 완료!");
    } else {
      KorvaneLogger::w(tag, "[iOS SDK - WebView] Mission instance 또는 mission을 찾을 수 없음");
    }
  });
}

void BridgeDispatcher::getUserInfo(const std::vector<std::string>& replyTo) {
  onMain([self = shared_from_this(), session = context_->session(), replyTo](BridgeHost& host) {
    const std::optional<KorvaneSdkUser> user = session->currentUser();
    JsonValue info{{"userId", user ? user->userId() : std::string()},
                   {"gender", user && user->gender() ? stringValue(*user->gender()) : ""},
                   {"birthYear", nullptr}};
    if (user && user->birthYear()) info["birthYear"] = *user->birthYear();
    host.evaluate(self->forSender(replyTo, userInfoReplyScript(info)), nullptr);
  });
}

void BridgeDispatcher::customEvent(const JsonValue& data) {
  KorvaneLogger::d(tag_, "🎯 handleCustomEvent called with data: " + json::dump(data));
  const std::optional<std::string> eventType = textField(data, "eventType");
  if (!eventType) {
    return KorvaneLogger::w(tag_,
                            "❌ customEvent: Missing eventType field in data: " + json::dump(data));
  }
  const JsonValue payload = objectField(data, "payload");
  KorvaneLogger::d(
      tag_, "✅ Custom event parsed - type='" + *eventType + "', payload=" + json::dump(payload));
  const auto host = host_.lock();
  if (!host || !host->eventCallback()) {
    return KorvaneLogger::w(tag_,
                            "⚠️ eventCallback is nil! Custom event will not be forwarded to app.");
  }
  KorvaneLogger::d(tag_, "📤 Forwarding custom event to app callback...");
  onMain([tag = tag_, eventType = *eventType, payload](BridgeHost& alive) {
    std::shared_ptr<OfferwallEventCallback> callback = alive.eventCallback();
    if (!callback) return;
    KorvaneLogger::d(tag, "🔔 Calling eventCallback.onCustomEvent()");
    callback->onCustomEvent(eventType, payload);
    KorvaneLogger::d(tag, "✅ eventCallback.onCustomEvent() called");
  });
}

void BridgeDispatcher::dataRequest(const JsonValue& data, const std::vector<std::string>& replyTo) {
  const std::optional<std::string> requestId = textField(data, "requestId");
  const std::optional<std::string> requestType = textField(data, "requestType");
  if (!requestId || !requestType) {
    return KorvaneLogger::w(tag_,
                            "dataRequest: Missing required fields (requestId or requestType)");
  }
  // The id becomes part of a global name in the reply; the app is not asked for what cannot be
  // answered safely.
  if (!isIdentifierSafe(*requestId)) {
    return KorvaneLogger::w(tag_,
                            "dataRequest: Request id is not a plain identifier: " + *requestId);
  }
  const JsonValue params = objectField(data, "params");
  KorvaneLogger::d(tag_, "Data request received: id='" + *requestId + "', type='" + *requestType +
                             "', params=" + json::dump(params));
  const auto host = host_.lock();
  std::shared_ptr<OfferwallEventCallback> callback = host ? host->eventCallback() : nullptr;
  std::optional<JsonValue> response =
      callback ? callback->onDataRequest(*requestId, *requestType, params) : std::nullopt;
  if (!response) {
    return KorvaneLogger::d(tag_,
                            "No data returned for request '" + *requestId + "' from parent app");
  }
  std::optional<std::string> script = dataResponseScript(*requestId, *response);
  if (!script) return;
  onMain([tag = tag_, id = *requestId, reply = forSender(replyTo, *script)](BridgeHost& alive) {
    alive.evaluate(reply, [tag, id](const Result<std::string>& outcome) {
      if (outcome) {
        KorvaneLogger::d(tag, "Data response sent for request '" + id + "'");
      } else {
        KorvaneLogger::e(tag, "Failed to send data response for request '" + id + "' - " +
                                  outcome.error().description);
      }
    });
  });
}

}  // namespace korvane
