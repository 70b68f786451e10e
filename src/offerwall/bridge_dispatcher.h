#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "context/sdk_context.h"
#include "korvane/offerwall/offerwall_callback.h"
#include "korvane/platform/main_thread.h"
#include "korvane/platform/url_opener.h"
#include "korvane/platform/web_view.h"
#include "korvane/util/json_value.h"
#include "korvane/values/error.h"
#include "offerwall/bridge_access.h"

namespace korvane {

// Which page host received a message; the two differ in a few rules and log texts.
enum class BridgeHostKind { controller, embeddedView };

struct BridgeMessage {
  std::string type;
  JsonValue data = JsonValue::object();
  // The origins a reply carrying the user's data may reach: the sender's own. Empty with the
  // origin policy off (any document).
  std::vector<std::string> replyOrigins{};
};

// Reads a script message: only the bridge's handler names, only string bodies holding a JSON
// object with a text "type" ("data" defaults to an empty object). Logs what it received.
std::optional<BridgeMessage> parseBridgeMessage(const ScriptMessage& message, BridgeHostKind kind,
                                                std::string_view tag);

// What a page host does for the bridge. Called on the main thread.
class BridgeHost {
 public:
  virtual ~BridgeHost() = default;
  virtual void openPage(const std::string& url) = 0;
  virtual void closePage() = 0;
  virtual void retry() = 0;
  virtual void replacePage(const std::string& url) = 0;
  // closeOpenWebView without an address.
  virtual void replacePageWithoutUrl() = 0;
  virtual void openAdjoeOfferwall(const std::string& placementId,
                                  std::shared_ptr<OfferwallCallback> callback) = 0;
  virtual void evaluate(const std::string& script,
                        std::function<void(Result<std::string>)> completion) = 0;
  virtual std::shared_ptr<OfferwallEventCallback> eventCallback() const = 0;
  virtual bool isSubPage() const = 0;
  virtual std::string contextType() const = 0;
  virtual std::optional<std::string> quizId() const = 0;
  // Whether the page shows the SDK's own offline page (loaded by the SDK, not navigated to).
  virtual bool showsOfflinePage() const = 0;
};

// Runs bridge messages for one host: the sixteen types in their documented order, every action
// posted to the main thread holding the host weakly, replies evaluated in the page. A message the
// sender may not send (see bridgeRefusal) is refused with one warning before anything happens.
class BridgeDispatcher : public std::enable_shared_from_this<BridgeDispatcher> {
 public:
  // Tracks, answers and reaches the placements through `context`.
  BridgeDispatcher(BridgeHostKind kind, std::string tag, std::weak_ptr<BridgeHost> host,
                   Context context, std::shared_ptr<const BridgeTrust> trust);

  void receive(const ScriptMessage& message);
  const BridgeTrust& trust() const { return *trust_; }

 private:
  void dispatch(const BridgeMessage& message);

  // How long checkAppInstalled waits for the system before answering "not installed".
  static constexpr std::chrono::milliseconds kAppCheckFallback{2000};

  // Runs `action` on the main thread if the host still exists.
  void onMain(std::function<void(BridgeHost&)> action);
  void externalOpenBrowser(const JsonValue& data);
  void trackEvent(const JsonValue& data);
  void openAdjoe(const JsonValue& data);
  void checkAppInstalled(const JsonValue& data, const std::vector<std::string>& replyTo);
  void replyAppInstalled(const std::string& callbackName, bool installed,
                         const std::string& identifier, const std::vector<std::string>& replyTo);
  void quizCompleted(const JsonValue& data);
  void quizStarted();
  void missionMessage(const std::string& type, const JsonValue& data);
  void getUserInfo(const std::vector<std::string>& replyTo);
  void customEvent(const JsonValue& data);
  void dataRequest(const JsonValue& data, const std::vector<std::string>& replyTo);
  // A reply for the sender's document only (see forDocumentsOf).
  std::string forSender(const std::vector<std::string>& replyTo, const std::string& script) const;

  BridgeHostKind kind_;
  std::string tag_;
  std::weak_ptr<BridgeHost> host_;
  Context context_;
  std::shared_ptr<MainThread> mainThread_;
  std::shared_ptr<UrlOpener> urlOpener_;
  std::shared_ptr<PlacementMessages> placements_;
  // The page's, which grows when a redirect of the offerwall's own load stays with its site.
  std::shared_ptr<const BridgeTrust> trust_;
};

// A field of a message's data as text; nothing when absent or not text.
std::optional<std::string> textField(const JsonValue& data, const char* key);

}  // namespace korvane
