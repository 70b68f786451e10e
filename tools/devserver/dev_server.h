#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "korvane/backend/telemetry_records.h"
#include "korvane/util/json_value.h"

namespace httplib {
class Server;
}

namespace korvane::devserver {

// An application the backend knows.
struct App {
  std::string appKey;
  std::string appSecret;
  std::string appName;
  bool isActive = true;
  std::optional<std::int64_t> trackEventBatchCount;
  std::optional<std::int64_t> trackEventBatchIntervalMs;
  bool adjoeEnabled = false;
  std::optional<std::string> adjoeSdkHash;
  // The off switch the validation answer carries: "sdkEnabled" (sent only when set) and
  // "disabledFeatures" (sent only when not empty).
  std::optional<bool> sdkEnabled;
  std::vector<std::string> disabledFeatures;
  JsonValue config = JsonValue::object();
};

// Every request as it arrived: its headers, the body as received and as decoded (gunzipped).
struct RecordedRequest {
  std::string method;
  std::string path;
  std::string target;  // path with the raw query, as on the wire
  std::vector<std::pair<std::string, std::string>> query;  // decoded, in wire order
  std::vector<std::pair<std::string, std::string>> headers;
  std::string rawBody;
  std::string body;
  int status = 0;  // what the server answered (0 when the connection was dropped)

  std::optional<std::string> header(std::string_view name) const;
};

// How an endpoint, a page or a file misbehaves, for the next `times` requests (negative: until
// cleared). A page or a file takes the delay, the status and the dropped connection.
struct Fault {
  int status = 0;                      // answer with this status and an error body
  std::chrono::milliseconds delay{0};  // wait this long first
  bool dropConnection = false;         // send headers, then close mid-body
  bool malformedBody = false;          // answer 200 with a body that is not JSON
  int times = -1;
};

// What a hostile or broken backend answers every SDK endpoint with, instead of its record.
enum class HostileAnswer {
  none,              // the endpoint's own answer
  deepJson,          // arrays nested 100,000 deep under "app", "user" and "events"
  deepConfig,        // validate and login: an app whose base64 "config" nests 100,000 deep
  hugeBody,          // 100 MiB of JSON text
  endlessBody,       // a chunked body that goes on until the client stops reading
  wrongContentType,  // an HTML error page as text/html, as a captive portal or proxy answers
  invalidUtf8,       // JSON whose strings hold bytes that are not UTF-8
  gzipBomb,          // Content-Encoding: gzip that inflates without end
};
inline constexpr int kHostileNesting = 100000;

struct Options {
  std::string host = "127.0.0.1";
  int port = 0;                   // 0: any free port
  std::filesystem::path dataDir;  // may hold apps.json (an array of apps)
};

// The SDK's backend, for development and tests: validate, login, content and telemetry
// endpoints on 127.0.0.1, with request recording and fault injection.
class DevServer {
 public:
  explicit DevServer(Options options = {});
  ~DevServer();
  DevServer(const DevServer&) = delete;
  DevServer& operator=(const DevServer&) = delete;

  // Binds and serves on a background thread; returns the port, or 0 when binding failed.
  int start();
  void stop();
  std::string baseUrl() const;
  int port() const { return port_; }

  // Adds the app, or replaces the one with the same key.
  void addApp(App app);
  // Endpoint paths as the SDK calls them, e.g. "/v1/api/sdk/event/batch", or the path of anything
  // else the server answers: a page or redirect (see setPage), an attacker page, a file of the
  // web app. A fault on a redirect's path comes before its delay.
  void setFault(const std::string& path, Fault fault);
  // Every request for `path` is answered `delay` late, until the faults are cleared (a slow
  // page keeps its load, and its frame's or window's, under way that long).
  void setDelay(const std::string& path, std::chrono::milliseconds delay);
  void clearFaults();
  // Refuse unknown apps with a body the SDK cannot decode instead of a JSON refusal.
  void setUndecodableRefusals(bool undecodable);
  // Every SDK endpoint answers this way until set back to HostileAnswer::none.
  void setHostileAnswer(HostileAnswer answer);

  // Serves `html` at `path`, which starts with "/pages/"; a path ending in ".js" is served as a
  // script (module scripts need that type).
  void setPage(const std::string& path, std::string html);
  // Answers requests for `path` (under "/pages/") with a 302 to `location`, `delay` late.
  void setRedirect(const std::string& path, std::string location,
                   std::chrono::milliseconds delay = {});
  // Every origin also serves the attacker pages of tools/devserver/hostile at "/hostile/<name>";
  // what they send to "/hostile/report" (query and body) is recorded like any request.

  std::vector<RecordedRequest> requests() const;
  std::vector<RecordedRequest> requestsTo(const std::string& path) const;
  void clearRequests();
  // Every event accepted through the single-event and batch endpoints, in arrival order.
  std::vector<TrackEventRequest> deliveredEvents() const;
  // Blocks until at least `count` events were delivered or `timeout` passed.
  bool waitForEvents(std::size_t count, std::chrono::milliseconds timeout) const;

  static App demoApp();

 private:
  struct State;
  void installRoutes();

  Options options_;
  std::unique_ptr<httplib::Server> server_;
  std::shared_ptr<State> state_;
  std::thread thread_;
  int port_ = 0;
};

}  // namespace korvane::devserver
