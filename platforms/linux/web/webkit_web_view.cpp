#include "korvane/linux/webkit_web_view.h"

#include <gio/gio.h>
#include <webkit2/webkit2.h>

#include <algorithm>
#include <string>

#include <nlohmann/json.hpp>

#include "korvane/version.h"

namespace korvane::linux_host {

// What signal handlers reach; it outlives the port while WebKit may still call in.
struct WebKitWebViewPort::Signals {
  std::weak_ptr<WebViewDelegate> delegate;
  bool loadFailed = false;
  bool loadAsked = false;  // the port asked for a load whose first decision is still to come
  std::string askedUrl;    // that load's address, as WebKit spells it; empty: whichever comes
  bool ownLoad = false;    // that load started and has not committed
  std::shared_ptr<WebViewDelegate> target() const { return delegate.lock(); }
};

namespace {

using Signals = WebKitWebViewPort::Signals;

Signals& signalsOf(gpointer data) {
  return **static_cast<std::shared_ptr<Signals>*>(data);
}

gboolean onDecidePolicy(WebKitWebView*, WebKitPolicyDecision* decision,
                        WebKitPolicyDecisionType type, gpointer data) {
  if (type != WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION &&
      type != WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION)
    return FALSE;
  Signals& signals = signalsOf(data);
  auto delegate = signals.target();
  if (!delegate) return FALSE;
  // A new window's address is decided once, when WebKit asks for the window ("create").
  if (type == WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION) {
    webkit_policy_decision_use(decision);
    return TRUE;
  }
  auto* navigation = WEBKIT_NAVIGATION_POLICY_DECISION(decision);
  WebKitNavigationAction* action =
      webkit_navigation_policy_decision_get_navigation_action(navigation);
  WebKitURIRequest* request = webkit_navigation_action_get_request(action);
  NavigationAction asked;
  asked.url = webkit_uri_request_get_uri(request);
  // WebKitGTK says neither which frame navigates nor which document asked. What is known is the
  // SDK's own: the first decision of a load the port asked for, and the server redirects while
  // that load has not committed. Everything else has no known asker and counts as no main frame's.
  const bool redirect = webkit_navigation_action_is_redirect(action);
  const bool askedFor =
      signals.loadAsked && (signals.askedUrl.empty() || signals.askedUrl == asked.url);
  asked.fromSdk = askedFor || (redirect && signals.ownLoad);
  asked.mainFrame = asked.fromSdk;
  if (askedFor) {
    signals.ownLoad = true;
    signals.loadAsked = false;
  }
  if (delegate->decidePolicy(asked) == NavigationPolicy::allow) {
    webkit_policy_decision_use(decision);
  } else {
    webkit_policy_decision_ignore(decision);
  }
  return TRUE;
}

// target="_blank" and window.open: the delegate takes the address; no window is made.
GtkWidget* onCreate(WebKitWebView*, WebKitNavigationAction* action, gpointer data) {
  if (auto delegate = signalsOf(data).target()) {
    NavigationAction asked;
    asked.url = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
    asked.mainFrame = false;
    delegate->requestNewWindow(asked);
  }
  return nullptr;
}

void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer data) {
  Signals& signals = signalsOf(data);
  if (event == WEBKIT_LOAD_STARTED) signals.loadFailed = false;
  if (event == WEBKIT_LOAD_STARTED) signals.loadAsked = false;
  if (event == WEBKIT_LOAD_COMMITTED || event == WEBKIT_LOAD_FINISHED) signals.ownLoad = false;
  if (event != WEBKIT_LOAD_FINISHED || signals.loadFailed) return;
  if (auto delegate = signals.target()) delegate->didFinishNavigation();
}

gboolean onLoadFailed(WebKitWebView*, WebKitLoadEvent event, gchar*, GError* error, gpointer data) {
  Signals& signals = signalsOf(data);
  signals.loadFailed = true;
  signals.ownLoad = false;
  // WebKitGTK reports every failure before the commit, after redirects too, as at the start.
  if (auto delegate = signals.target()) {
    delegate->didFailNavigation(
        urlLoadingError(g_quark_to_string(error->domain), error->code, error->message),
        event == WEBKIT_LOAD_STARTED);
  }
  return TRUE;  // never WebKit's own error page
}

// A person's click, touch or key press ended on the web view, as GTK delivers it; the handler
// runs before WebKit's own, so the core hears of it before the page acts on it.
gboolean onButtonReleased(GtkWidget*, GdkEventButton* event, gpointer data) {
  if (event->button == GDK_BUTTON_PRIMARY)
    if (auto delegate = signalsOf(data).target()) delegate->personTouched();
  return FALSE;
}

gboolean onTouched(GtkWidget*, GdkEvent* event, gpointer data) {
  if (event->type == GDK_TOUCH_END)
    if (auto delegate = signalsOf(data).target()) delegate->personTouched();
  return FALSE;
}

gboolean onKeyReleased(GtkWidget*, GdkEventKey* event, gpointer data) {
  const guint key = event->keyval;
  if (key == GDK_KEY_Return || key == GDK_KEY_KP_Enter || key == GDK_KEY_space)
    if (auto delegate = signalsOf(data).target()) delegate->personTouched();
  return FALSE;
}

void onProcessTerminated(WebKitWebView*, WebKitWebProcessTerminationReason, gpointer data) {
  if (auto delegate = signalsOf(data).target()) delegate->webContentProcessDidTerminate();
}

// Every dialog is answered without showing one, as a web view without panels of its own does on
// iOS: alerts go to the delegate, confirm() says no, prompt() gives null, and a page may always
// be left.
gboolean onScriptDialog(WebKitWebView*, WebKitScriptDialog* dialog, gpointer data) {
  switch (webkit_script_dialog_get_dialog_type(dialog)) {
    case WEBKIT_SCRIPT_DIALOG_ALERT:
      if (auto delegate = signalsOf(data).target())
        delegate->runAlert(webkit_script_dialog_get_message(dialog), [] {});
      break;
    case WEBKIT_SCRIPT_DIALOG_CONFIRM:
      webkit_script_dialog_confirm_set_confirmed(dialog, FALSE);
      break;
    case WEBKIT_SCRIPT_DIALOG_BEFORE_UNLOAD_CONFIRM:
      webkit_script_dialog_confirm_set_confirmed(dialog, TRUE);
      break;
    case WEBKIT_SCRIPT_DIALOG_PROMPT:
      break;
  }
  return TRUE;
}

// The SDK's script world: page scripts cannot see its objects, only the shared DOM.
constexpr const char* kBridgeWorld = "korvane-bridge";

// A script with the handler's name and its event type put in as string literals.
std::string withHandler(std::string script, const std::string& handler) {
  const auto put = [&](std::string_view placeholder, const std::string& text) {
    script.replace(
        script.find(placeholder), placeholder.size(),
        nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
  };
  put("$NAME", handler);
  put("$TYPE", "korvane-script-message:" + handler);
  return script;
}

// In the page's world: window.webkit.messageHandlers.<name>.postMessage hands the message to the
// SDK's world through an event on this frame's document. What it needs is taken before any page
// script runs.
std::string relayScript(const std::string& handler) {
  return withHandler(R"JS((function() {
  var name = $NAME, type = $TYPE;
  var doc = document, dispatch = EventTarget.prototype.dispatchEvent, Custom = CustomEvent;
  var webkit = window.webkit;
  if (!webkit || !webkit.messageHandlers) {
    webkit = { messageHandlers: Object.create(Object.create(Object.prototype)) };
    Object.defineProperty(window, 'webkit', { value: webkit, configurable: true });
  }
  webkit.messageHandlers[name] = { postMessage: function(body) {
    dispatch.call(doc, new Custom(type, { detail: body }));
  } };
})();)JS",
                     handler);
}

// In the SDK's world, in every frame: passes each message on with what this world sees of the
// frame. A body that is not a string arrives here as a copy, and goes on as its JSON text.
std::string listenerScript(const std::string& handler) {
  return withHandler(R"JS((function() {
  var handler = window.webkit.messageHandlers[$NAME];
  document.addEventListener($TYPE, function(event) {
    var body = event.detail, isString = typeof body === 'string';
    if (!isString) {
      try { body = JSON.stringify(body); } catch (e) { body = undefined; }
      if (typeof body !== 'string') body = 'null';
    }
    try {
      handler.postMessage({ body: body, isString: isString,
                            mainFrame: window.top === window, origin: self.origin });
    } catch (e) {}
  });
})();)JS",
                     handler);
}

std::string stringProperty(JSCValue* object, const char* name) {
  JSCValue* value = jsc_value_object_get_property(object, name);
  std::string text;
  if (value && jsc_value_is_string(value)) {
    gchar* chars = jsc_value_to_string(value);
    text = chars ? chars : "";
    g_free(chars);
  }
  if (value) g_object_unref(value);
  return text;
}

bool booleanProperty(JSCValue* object, const char* name) {
  JSCValue* value = jsc_value_object_get_property(object, name);
  const bool flag = value && jsc_value_is_boolean(value) && jsc_value_to_boolean(value);
  if (value) g_object_unref(value);
  return flag;
}

void onScriptMessage(WebKitUserContentManager*, WebKitJavascriptResult* result, gpointer data) {
  auto* entry = static_cast<std::pair<std::shared_ptr<Signals>, std::string>*>(data);
  auto delegate = entry->first->target();
  if (!delegate) return;
  // Only the SDK's listener can post here, always with this shape.
  JSCValue* value = webkit_javascript_result_get_js_value(result);
  if (!jsc_value_is_object(value)) return;
  ScriptMessage message;
  message.handlerName = entry->second;
  message.body = stringProperty(value, "body");
  // WebKitGTK tells a string's length only by converting it; the conversion is linear, the
  // reading the core would do next is what must not see a long body.
  if (message.body.size() > kMaxScriptMessageBytes)
    return warnOverlongScriptMessage("WebKitWebView", message.handlerName);
  message.isString = booleanProperty(value, "isString");
  message.mainFrame = booleanProperty(value, "mainFrame");
  message.frameOrigin = stringProperty(value, "origin");
  if (message.frameOrigin == "null") message.frameOrigin.clear();  // an opaque origin
  delegate->didReceiveScriptMessage(message);
}

void freeHandlerEntry(gpointer data, GClosure*) {
  std::unique_ptr<std::pair<std::shared_ptr<Signals>, std::string>>(
      static_cast<std::pair<std::shared_ptr<Signals>, std::string>*>(data));
}

void freeSignals(gpointer data, GClosure*) {
  std::unique_ptr<std::shared_ptr<Signals>>(static_cast<std::shared_ptr<Signals>*>(data));
}

template <typename Handler>
void connect(gpointer instance, const char* signal, Handler handler,
             const std::shared_ptr<Signals>& signals) {
  g_signal_connect_data(instance, signal, G_CALLBACK(handler),
                        std::make_unique<std::shared_ptr<Signals>>(signals).release(), freeSignals,
                        GConnectFlags(0));
}

}  // namespace

Error urlLoadingError(const char* domain, int code, const std::string& message) {
  const std::string name = domain ? domain : "";
  long urlCode = -1;
  if ((name == "WebKitNetworkError" && code == WEBKIT_NETWORK_ERROR_CANCELLED) ||
      (name == "WebKitPolicyError" &&
       code == WEBKIT_POLICY_ERROR_FRAME_LOAD_INTERRUPTED_BY_POLICY_CHANGE) ||
      (name == "g-io-error-quark" && code == G_IO_ERROR_CANCELLED)) {
    urlCode = -999;
  } else if (name == "g-io-error-quark" &&
             (code == G_IO_ERROR_CONNECTION_REFUSED || code == G_IO_ERROR_HOST_UNREACHABLE ||
              code == G_IO_ERROR_NETWORK_UNREACHABLE || code == G_IO_ERROR_NOT_CONNECTED)) {
    urlCode = -1009;
  } else if (name == "g-resolver-error-quark") {
    urlCode = -1009;
  } else if (name == "g-io-error-quark" && code == G_IO_ERROR_TIMED_OUT) {
    urlCode = -1001;
  } else if (name == "g-io-error-quark" &&
             (code == G_IO_ERROR_CONNECTION_CLOSED || code == G_IO_ERROR_BROKEN_PIPE)) {
    urlCode = -1005;
  }
  return Error{Error::kUrlLoadingDomain, urlCode, message, "WebKitError"};
}

WebKitWebViewPort::WebKitWebViewPort() : signals_(std::make_shared<Signals>()) {
  WebKitUserContentManager* content = webkit_user_content_manager_new();
  view_ = WEBKIT_WEB_VIEW(webkit_web_view_new_with_user_content_manager(content));
  g_object_unref(content);
  g_object_ref_sink(view_);
  WebKitSettings* settings = webkit_web_view_get_settings(view_);
  webkit_settings_set_enable_javascript(settings, TRUE);
  webkit_settings_set_javascript_can_open_windows_automatically(settings, FALSE);
  webkit_settings_set_media_playback_requires_user_gesture(settings, FALSE);
  const std::string agent =
      std::string(webkit_settings_get_user_agent(settings)) + " " + kSdkUserAgentToken;
  webkit_settings_set_user_agent(settings, agent.c_str());
  GdkRGBA white{1, 1, 1, 1};
  webkit_web_view_set_background_color(view_, &white);
  connect(view_, "decide-policy", onDecidePolicy, signals_);
  connect(view_, "load-changed", onLoadChanged, signals_);
  connect(view_, "create", onCreate, signals_);
  connect(view_, "load-failed", onLoadFailed, signals_);
  connect(view_, "web-process-terminated", onProcessTerminated, signals_);
  connect(view_, "script-dialog", onScriptDialog, signals_);
  connect(view_, "button-release-event", onButtonReleased, signals_);
  connect(view_, "touch-event", onTouched, signals_);
  connect(view_, "key-release-event", onKeyReleased, signals_);
}

WebKitWebViewPort::~WebKitWebViewPort() {
  // Handlers still connected find no delegate from here on; their data goes with the view.
  signals_->delegate.reset();
  WebKitUserContentManager* content = webkit_web_view_get_user_content_manager(view_);
  g_signal_handlers_disconnect_matched(content, G_SIGNAL_MATCH_FUNC, 0, 0, nullptr,
                                       reinterpret_cast<gpointer>(onScriptMessage), nullptr);
  for (const Handler& handler : handlers_) {
    webkit_user_content_manager_unregister_script_message_handler_in_world(
        content, handler.name.c_str(), kBridgeWorld);
    webkit_user_script_unref(handler.relay);
    webkit_user_script_unref(handler.listener);
  }
  webkit_web_view_stop_loading(view_);
  GtkWidget* widget = GTK_WIDGET(view_);
  if (GtkWidget* parent = gtk_widget_get_parent(widget))
    gtk_container_remove(GTK_CONTAINER(parent), widget);
  gtk_widget_destroy(widget);
  g_object_unref(view_);
}

GtkWidget* WebKitWebViewPort::widget() const {
  return GTK_WIDGET(view_);
}

void WebKitWebViewPort::setDelegate(std::weak_ptr<WebViewDelegate> delegate) {
  signals_->delegate = std::move(delegate);
}

void WebKitWebViewPort::addUserScript(const std::string& script) {
  WebKitUserScript* user =
      webkit_user_script_new(script.c_str(), WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES,
                             WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, nullptr, nullptr);
  webkit_user_content_manager_add_script(webkit_web_view_get_user_content_manager(view_), user);
  webkit_user_script_unref(user);
}

void WebKitWebViewPort::addScriptMessageHandler(const std::string& name) {
  WebKitUserContentManager* content = webkit_web_view_get_user_content_manager(view_);
  const std::string signal = "script-message-received::" + name;
  g_signal_connect_data(
      content, signal.c_str(), G_CALLBACK(onScriptMessage),
      std::make_unique<std::pair<std::shared_ptr<Signals>, std::string>>(signals_, name).release(),
      freeHandlerEntry, GConnectFlags(0));
  if (!webkit_user_content_manager_register_script_message_handler_in_world(content, name.c_str(),
                                                                            kBridgeWorld))
    return;
  Handler handler{
      name,
      webkit_user_script_new(relayScript(name).c_str(), WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES,
                             WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, nullptr, nullptr),
      webkit_user_script_new_for_world(
          listenerScript(name).c_str(), WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES,
          WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, kBridgeWorld, nullptr, nullptr)};
  webkit_user_content_manager_add_script(content, handler.listener);
  webkit_user_content_manager_add_script(content, handler.relay);
  handlers_.push_back(handler);
}

void WebKitWebViewPort::removeScriptMessageHandler(const std::string& name) {
  const auto it = std::find_if(handlers_.begin(), handlers_.end(),
                               [&](const Handler& handler) { return handler.name == name; });
  if (it == handlers_.end()) return;
  WebKitUserContentManager* content = webkit_web_view_get_user_content_manager(view_);
  webkit_user_content_manager_remove_script(content, it->relay);
  webkit_user_content_manager_remove_script(content, it->listener);
  webkit_user_script_unref(it->relay);
  webkit_user_script_unref(it->listener);
  handlers_.erase(it);
  const std::string signal = "script-message-received::" + name;
  guint id = 0;
  GQuark detail = 0;
  if (g_signal_parse_name(signal.c_str(), G_OBJECT_TYPE(content), &id, &detail, FALSE)) {
    g_signal_handlers_disconnect_matched(
        content, GSignalMatchType(G_SIGNAL_MATCH_ID | G_SIGNAL_MATCH_DETAIL), id, detail, nullptr,
        nullptr, nullptr);
  }
  webkit_user_content_manager_unregister_script_message_handler_in_world(content, name.c_str(),
                                                                         kBridgeWorld);
}

void WebKitWebViewPort::load(const WebRequest& request) {
  WebKitURIRequest* uri = webkit_uri_request_new(request.url.c_str());
  // Headers travel with this first request only, which is all the offerwall needs.
  if (SoupMessageHeaders* headers = webkit_uri_request_get_http_headers(uri)) {
    for (const auto& [name, value] : request.headers)
      soup_message_headers_append(headers, name.c_str(), value.c_str());
  }
  signals_->loadAsked = true;
  signals_->askedUrl = webkit_uri_request_get_uri(uri);
  webkit_web_view_load_request(view_, uri);
  g_object_unref(uri);
}

void WebKitWebViewPort::loadHtml(const std::string& html,
                                 const std::optional<std::string>& baseUrl) {
  signals_->loadAsked = true;
  signals_->askedUrl = baseUrl ? std::string() : "about:blank";
  webkit_web_view_load_html(view_, html.c_str(), baseUrl ? baseUrl->c_str() : nullptr);
}

void WebKitWebViewPort::evaluateJavaScript(const std::string& script,
                                           std::function<void(Result<std::string>)> completion) {
  using Completion = std::function<void(Result<std::string>)>;
  auto finished = [](GObject* source, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Completion> done(static_cast<Completion*>(data));
    GError* error = nullptr;
    JSCValue* value =
        webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, &error);
    if (!*done) {
      if (error) g_error_free(error);
      if (value) g_object_unref(value);
      return;
    }
    if (!value) {
      Error failure{"WKErrorDomain", error ? error->code : -1,
                    error ? error->message : "JavaScript evaluation failed", "WebKitError"};
      if (error) g_error_free(error);
      return (*done)(failure);
    }
    gchar* json = jsc_value_is_undefined(value) ? nullptr : jsc_value_to_json(value, 0);
    std::string text = json ? json : "null";
    g_free(json);
    g_object_unref(value);
    (*done)(text);
  };
  webkit_web_view_evaluate_javascript(
      view_, script.c_str(), -1, nullptr, nullptr, nullptr, finished,
      std::make_unique<Completion>(std::move(completion)).release());
}

void WebKitWebViewPort::reload() {
  signals_->loadAsked = true;
  const gchar* shown = webkit_web_view_get_uri(view_);
  signals_->askedUrl = shown ? shown : "";
  webkit_web_view_reload(view_);
}
void WebKitWebViewPort::stopLoading() {
  webkit_web_view_stop_loading(view_);
}
bool WebKitWebViewPort::canGoBack() const {
  return webkit_web_view_can_go_back(view_);
}
void WebKitWebViewPort::goBack() {
  signals_->loadAsked = true;
  signals_->askedUrl.clear();
  webkit_web_view_go_back(view_);
}

std::optional<std::string> WebKitWebViewPort::currentUrl() const {
  const gchar* uri = webkit_web_view_get_uri(view_);
  if (!uri) return std::nullopt;
  return std::string(uri);
}

}  // namespace korvane::linux_host
