#include "dev_server.h"

#include <httplib.h>
#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <condition_variable>
#include <fstream>
#include <sstream>

#include "backend/record_codec.h"
#include "gunzip.h"
#include "offerwall/bridge_scripts.h"
#include "util/base64.h"
#include "webapp_assets.h"

namespace korvane::devserver {
namespace {

using json::Json;

constexpr const char* kPrefix = "/v1/api/sdk";

std::string percentDecode(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() &&
        std::isxdigit(static_cast<unsigned char>(text[i + 1])) &&
        std::isxdigit(static_cast<unsigned char>(text[i + 2]))) {
      out += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

std::vector<std::pair<std::string, std::string>> parseQuery(const std::string& target) {
  std::vector<std::pair<std::string, std::string>> items;
  const std::size_t question = target.find('?');
  if (question == std::string::npos) return items;
  std::string_view query(target);
  query.remove_prefix(question + 1);
  while (!query.empty()) {
    const std::size_t amp = query.find('&');
    const std::string_view item = query.substr(0, amp);
    const std::size_t eq = item.find('=');
    items.emplace_back(percentDecode(item.substr(0, eq)),
                       eq == std::string_view::npos ? "" : percentDecode(item.substr(eq + 1)));
    if (amp == std::string_view::npos) break;
    query.remove_prefix(amp + 1);
  }
  return items;
}

std::optional<std::string> queryValue(const RecordedRequest& r, std::string_view name) {
  for (const auto& [key, value] : r.query)
    if (key == name) return value;
  return std::nullopt;
}

Json failure(const std::string& message) {
  return Json{{"success", false}, {"message", message}};
}

App appFromJson(const Json& j) {
  App app;
  app.appKey = j.value("appKey", "");
  app.appSecret = j.value("appSecret", "");
  app.appName = j.value("appName", app.appKey);
  app.isActive = j.value("isActive", true);
  if (j.contains("trackEventBatchCount"))
    app.trackEventBatchCount = j["trackEventBatchCount"].get<std::int64_t>();
  if (j.contains("trackEventBatchIntervalMs"))
    app.trackEventBatchIntervalMs = j["trackEventBatchIntervalMs"].get<std::int64_t>();
  app.adjoeEnabled = j.value("adjoeEnabled", false);
  if (j.contains("adjoeSdkHash")) app.adjoeSdkHash = j["adjoeSdkHash"].get<std::string>();
  if (j.contains("sdkEnabled") && j["sdkEnabled"].is_boolean())
    app.sdkEnabled = j["sdkEnabled"].get<bool>();
  if (j.contains("disabledFeatures") && j["disabledFeatures"].is_array())
    for (const Json& name : j["disabledFeatures"])
      if (name.is_string()) app.disabledFeatures.push_back(name.get<std::string>());
  if (j.contains("config") && j["config"].is_object()) app.config = j["config"];
  return app;
}

// The demo user's missions: three, the first already done, in impression order.
MissionResponse missionList(const std::string& base) {
  MissionResponse response;
  response.success = true;
  response.current = 1;
  response.total = 3;
  response.titleText = "오늘의 미션";
  response.descriptionText = "미션을 완료하고 포인트를 받으세요";
  response.rewardUrl = base + "reward.html";
  const char* titles[] = {"앱 설치하기", "퀴즈 풀기", "출석 체크"};
  for (int i = 0; i < 3; ++i) {
    Mission mission;
    mission.id = "mission-" + std::to_string(i + 1);
    mission.title = titles[i];
    mission.description = "Complete step " + std::to_string(i + 1);
    mission.imageUrl = base + "images/mission" + std::to_string(i + 1) + ".svg";
    mission.landingUrl = base + "mission.html?missionId=" + mission.id;
    mission.point = std::to_string(100 * (i + 1));
    mission.status = i == 0 ? "completed" : "pending";
    mission.progress = i == 0 ? 1 : 0;
    mission.total = 1;
    mission.type = i == 2 ? MissionType::offerwallPromotion : MissionType::normal;
    mission.impressionOrder = i + 1;
    mission.placementId = "mission-placement";
    response.events.push_back(std::move(mission));
  }
  return response;
}

QuizResponse quizList(const std::string& base) {
  QuizResponse response;
  response.success = true;
  response.titleText = "오늘의 퀴즈";
  response.completedImageUrl = base + "images/quiz-done.svg";
  response.completedImageWidth = 320;
  response.completedImageHeight = 180;
  for (int i = 0; i < 2; ++i) {
    QuizEvent quiz;
    quiz.id = "quiz-" + std::to_string(i + 1);
    quiz.title = "Quiz " + std::to_string(i + 1);
    quiz.imageUrl = base + "images/quiz" + std::to_string(i + 1) + ".svg";
    quiz.landingUrl = base + "quiz.html?quizId=" + quiz.id;
    quiz.point = "50";
    quiz.completed = false;
    quiz.impressionOrder = i + 1;
    quiz.placementId = "quiz-placement";
    response.events.push_back(std::move(quiz));
  }
  return response;
}

// A square with the image's name, in a colour the name picks.
std::string placeholderImage(const std::string& name) {
  const char* colours[] = {"#5b3df5", "#ff8a3d", "#22b07d", "#3d8bff", "#e0457b"};
  const std::size_t pick = std::hash<std::string>{}(name) % std::size(colours);
  std::string label;
  for (char c : name)
    if (std::isalnum(static_cast<unsigned char>(c))) label += c;
  return std::string("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"104\" height=\"104\">") +
         "<rect width=\"104\" height=\"104\" rx=\"24\" fill=\"" + colours[pick] + "\"/>" +
         "<text x=\"52\" y=\"60\" font-size=\"16\" font-family=\"sans-serif\" " +
         "text-anchor=\"middle\" fill=\"#fff\">" + label.substr(0, 8) + "</text></svg>";
}

// A request for a page, as recorded: its query items and headers.
RecordedRequest recordOfPageRequest(const httplib::Request& req) {
  RecordedRequest record;
  record.method = req.method;
  record.path = req.path;
  record.target = req.target;
  for (const auto& [name, value] : req.params) record.query.emplace_back(name, value);
  for (const auto& [name, value] : req.headers) record.headers.emplace_back(name, value);
  return record;
}

std::string contentType(std::string_view name) {
  if (name.ends_with(".css")) return "text/css";
  if (name.ends_with(".js")) return "text/javascript";
  if (name.ends_with(".ts")) return "text/plain";
  if (name.ends_with(".md")) return "text/markdown";
  if (name.ends_with(".json")) return "application/json";
  return "text/html";
}

// Arrays nested `depth` deep: "[[[...]]]".
std::string nestedArrays(int depth) {
  return std::string(static_cast<std::size_t>(depth), '[') +
         std::string(static_cast<std::size_t>(depth), ']');
}

// Objects nested `depth` deep: {"a":{"a":...{}}}.
std::string nestedObjects(int depth) {
  std::string text;
  text.reserve(static_cast<std::size_t>(depth) * 6 + 2);
  for (int i = 0; i < depth; ++i) text += "{\"a\":";
  text += "{}";
  text.append(static_cast<std::size_t>(depth), '}');
  return text;
}

// A content type the HTTP layer leaves alone: it compresses "application/json" bodies by itself,
// which would hide what these answers put on the wire.
constexpr const char* kRawJson = "application/json; charset=utf-8";
constexpr std::size_t kHugeBodyBytes = 100u * 1024u * 1024u;
// Endless answers stop here all the same, so that a client without a limit of its own fails a
// test instead of taking the machine's memory.
constexpr std::size_t kEndlessSafetyStop = 256u * 1024u * 1024u;
constexpr std::size_t kChunk = 64u * 1024u;

// 100 MiB of JSON: {"success":true,"message":"xxx...x"}, made piece by piece.
void answerHugeBody(httplib::Response& res) {
  static const std::string head = R"({"success":true,"message":")";
  static const std::string tail = R"("})";
  res.set_content_provider(kHugeBodyBytes, kRawJson,
                           [](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                             std::string piece(std::min(length, kChunk), 'x');
                             for (std::size_t i = 0; i < piece.size(); ++i) {
                               const std::size_t at = offset + i;
                               if (at < head.size()) piece[i] = head[at];
                               if (at >= kHugeBodyBytes - tail.size())
                                 piece[i] = tail[at - (kHugeBodyBytes - tail.size())];
                             }
                             return sink.write(piece.data(), piece.size());
                           });
}

// A JSON string that never closes, sent as long as the client reads.
void answerEndlessBody(httplib::Response& res) {
  auto sent = std::make_shared<std::size_t>(0);
  res.set_chunked_content_provider(kRawJson, [sent](std::size_t, httplib::DataSink& sink) {
    const std::string piece = *sent == 0
                                  ? R"({"success":true,"message":")" + std::string(kChunk, 'x')
                                  : std::string(kChunk, 'x');
    if (!sink.write(piece.data(), piece.size())) return false;
    *sent += piece.size();
    if (*sent >= kEndlessSafetyStop) sink.done();
    return true;
  });
}

// gzip of zeros made as it is sent: about a kilobyte on the wire for every MiB it inflates to.
void answerGzipBomb(httplib::Response& res) {
  struct Deflater {
    z_stream stream{};
    std::size_t inflated = 0;
    bool ready = deflateInit2(&stream, 9, Z_DEFLATED, 15 + 16, 9, Z_DEFAULT_STRATEGY) == Z_OK;
    ~Deflater() { deflateEnd(&stream); }
  };
  auto deflater = std::make_shared<Deflater>();
  res.set_header("Content-Encoding", "gzip");
  res.set_chunked_content_provider(kRawJson, [deflater](std::size_t, httplib::DataSink& sink) {
    if (!deflater->ready) return false;
    static const std::string zeros(1024u * 1024u, '0');
    const bool last = deflater->inflated + zeros.size() >= kEndlessSafetyStop;
    z_stream& z = deflater->stream;
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(zeros.data()));
    z.avail_in = static_cast<uInt>(zeros.size());
    char out[16384];
    int status = Z_OK;
    do {
      z.next_out = reinterpret_cast<Bytef*>(out);
      z.avail_out = sizeof out;
      status = deflate(&z, last ? Z_FINISH : Z_SYNC_FLUSH);
      const std::size_t produced = sizeof out - z.avail_out;
      if (produced > 0 && !sink.write(out, produced)) return false;
    } while (z.avail_out == 0 || (last && status != Z_STREAM_END));
    deflater->inflated += zeros.size();
    if (last) sink.done();
    return true;
  });
}

// Replaces an endpoint's answer (`body`, already made) with the hostile one.
void answerHostile(HostileAnswer mode, Json body, httplib::Response& res) {
  switch (mode) {
    case HostileAnswer::none:
      break;
    case HostileAnswer::deepJson: {
      const std::string deep = nestedArrays(kHostileNesting);
      res.set_content(R"({"success":true,"message":"nested","app":)" + deep + R"(,"user":)" + deep +
                          R"(,"events":)" + deep + "}",
                      kRawJson);
      return;
    }
    case HostileAnswer::deepConfig:
      // Only records with an app carry a configuration; the others answer as usual.
      if (body.contains("app") && body["app"].is_object())
        body["app"]["config"] = base64::encode(nestedObjects(kHostileNesting));
      break;
    case HostileAnswer::hugeBody:
      return answerHugeBody(res);
    case HostileAnswer::endlessBody:
      return answerEndlessBody(res);
    case HostileAnswer::wrongContentType:
      res.set_content("<!doctype html><html><body><h1>502 Bad Gateway</h1></body></html>",
                      "text/html");
      return;
    case HostileAnswer::invalidUtf8:
      res.set_content(
          "{\"success\":true,\"message\":\"\xff\xfe\xc3\x28\xed\xa0\x80\","
          "\"app\":{\"appKey\":\"\xc0\xaf\",\"appName\":\"\x80\"}}",
          kRawJson);
      return;
    case HostileAnswer::gzipBomb:
      return answerGzipBomb(res);
  }
  res.set_content(json::dump(body), "application/json");
}

}  // namespace

std::optional<std::string> RecordedRequest::header(std::string_view name) const {
  for (const auto& [key, value] : headers)
    if (std::equal(key.begin(), key.end(), name.begin(), name.end(), [](char a, char b) {
          return std::tolower(static_cast<unsigned char>(a)) ==
                 std::tolower(static_cast<unsigned char>(b));
        }))
      return value;
  return std::nullopt;
}

struct DevServer::State {
  mutable std::mutex mutex;
  mutable std::condition_variable eventsArrived;
  std::vector<App> apps;
  std::map<std::string, Fault> faults;
  bool undecodableRefusals = false;
  HostileAnswer hostile = HostileAnswer::none;
  std::vector<RecordedRequest> requests;
  std::vector<TrackEventRequest> events;
  std::map<std::string, std::string> pages;
  struct Redirect {
    std::string location;
    std::chrono::milliseconds delay{0};
  };
  std::map<std::string, Redirect> redirects;
  std::string baseUrl;

  std::optional<App> findApp(const std::string& key) const {
    std::lock_guard lock(mutex);
    for (const App& app : apps)
      if (app.appKey == key) return app;
    return std::nullopt;
  }

  std::optional<Fault> takeFault(const std::string& path) {
    std::lock_guard lock(mutex);
    auto found = faults.find(path);
    if (found == faults.end() || found->second.times == 0) return std::nullopt;
    if (found->second.times > 0) --found->second.times;
    return found->second;
  }

  // A fault set for a page, a file or a redirect: its delay, then its status or its dropped
  // connection. True when the fault answered the request; the caller records it either way.
  bool answerWithFault(const httplib::Request& req, httplib::Response& res,
                       RecordedRequest& record) {
    const std::optional<Fault> fault = takeFault(req.path);
    if (!fault) return false;
    if (fault->delay.count() > 0) std::this_thread::sleep_for(fault->delay);
    if (fault->dropConnection) {
      record.status = 0;
      res.set_content_provider(1024, "text/html",
                               [](std::size_t, std::size_t, httplib::DataSink&) { return false; });
      return true;
    }
    if (fault->status == 0) return false;
    record.status = res.status = fault->status;
    res.set_content("injected failure", "text/plain");
    return true;
  }

  Json appData(const App& app) const {
    AppData data;
    data.appKey = app.appKey;
    data.appName = app.appName;
    data.isActive = app.isActive;
    data.korvaneHubUrl = baseUrl + "/offerwall/";
    data.trackEventBatchCount = app.trackEventBatchCount;
    data.trackEventBatchIntervalMs = app.trackEventBatchIntervalMs;
    data.adjoeEnabled = app.adjoeEnabled;
    data.adjoeSdkHash = app.adjoeSdkHash;
    data.adjoeOfferwallUrl = baseUrl + "/offerwall/adjoe.html";
    data.sdkEnabled = app.sdkEnabled;
    data.disabledFeatures = app.disabledFeatures;
    data.config = app.config;
    return toJson(data);
  }
};

App DevServer::demoApp() {
  App app;
  app.appKey = "demo-app-key";
  app.appSecret = "demo-app-secret";
  app.appName = "Korvane Demo";
  app.adjoeEnabled = true;
  app.adjoeSdkHash = "demo-adjoe-hash";
  app.config = Json{{"theme", "light"}, {"rewardName", "포인트"}};
  return app;
}

DevServer::DevServer(Options options)
    : options_(std::move(options)),
      server_(std::make_unique<httplib::Server>()),
      state_(std::make_shared<State>()) {
  // Answers are written in pieces; without this, a reused connection waits out delayed ACKs.
  server_->set_tcp_nodelay(true);
  // Stopping waits for idle keep-alive connections (a web view keeps some open) to time out.
  server_->set_keep_alive_timeout(1);
  const std::filesystem::path appsFile = options_.dataDir / "apps.json";
  std::error_code ec;
  if (!options_.dataDir.empty() && std::filesystem::exists(appsFile, ec)) {
    std::ifstream in(appsFile);
    const Json apps = Json::parse(in, nullptr, false);
    if (apps.is_array())
      for (const Json& app : apps) addApp(appFromJson(app));
  } else {
    addApp(demoApp());
  }
  installRoutes();
}

DevServer::~DevServer() {
  stop();
}

int DevServer::start() {
  port_ = options_.port == 0
              ? server_->bind_to_any_port(options_.host)
              : (server_->bind_to_port(options_.host, options_.port) ? options_.port : -1);
  if (port_ <= 0) return port_ = 0;
  {
    std::lock_guard lock(state_->mutex);
    state_->baseUrl = baseUrl();
  }
  thread_ = std::thread([this] { server_->listen_after_bind(); });
  // The socket is already listening, so early connections wait in its backlog.
  return port_;
}

void DevServer::stop() {
  if (thread_.joinable()) {
    // A stop that comes before the loop has started is lost, so wait for it first.
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!server_->is_running() && std::chrono::steady_clock::now() < until)
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    server_->stop();
    thread_.join();
  }
}

std::string DevServer::baseUrl() const {
  return "http://" + options_.host + ":" + std::to_string(port_);
}

void DevServer::addApp(App app) {
  std::lock_guard lock(state_->mutex);
  for (App& known : state_->apps)
    if (known.appKey == app.appKey) {
      known = std::move(app);
      return;
    }
  state_->apps.push_back(std::move(app));
}

void DevServer::setFault(const std::string& path, Fault fault) {
  std::lock_guard lock(state_->mutex);
  state_->faults[path] = fault;
}

void DevServer::clearFaults() {
  std::lock_guard lock(state_->mutex);
  state_->faults.clear();
}

void DevServer::setUndecodableRefusals(bool undecodable) {
  std::lock_guard lock(state_->mutex);
  state_->undecodableRefusals = undecodable;
}

void DevServer::setHostileAnswer(HostileAnswer answer) {
  std::lock_guard lock(state_->mutex);
  state_->hostile = answer;
}

void DevServer::setPage(const std::string& path, std::string html) {
  std::lock_guard lock(state_->mutex);
  state_->pages[path] = std::move(html);
}

void DevServer::setRedirect(const std::string& path, std::string location,
                            std::chrono::milliseconds delay) {
  std::lock_guard lock(state_->mutex);
  state_->redirects[path] = {std::move(location), delay};
}

void DevServer::setDelay(const std::string& path, std::chrono::milliseconds delay) {
  Fault slow;
  slow.delay = delay;
  setFault(path, slow);
}

std::vector<RecordedRequest> DevServer::requests() const {
  std::lock_guard lock(state_->mutex);
  return state_->requests;
}

std::vector<RecordedRequest> DevServer::requestsTo(const std::string& path) const {
  std::vector<RecordedRequest> matching;
  for (RecordedRequest& r : requests())
    if (r.path == path) matching.push_back(std::move(r));
  return matching;
}

void DevServer::clearRequests() {
  std::lock_guard lock(state_->mutex);
  state_->requests.clear();
  state_->events.clear();
}

std::vector<TrackEventRequest> DevServer::deliveredEvents() const {
  std::lock_guard lock(state_->mutex);
  return state_->events;
}

bool DevServer::waitForEvents(std::size_t count, std::chrono::milliseconds timeout) const {
  std::unique_lock lock(state_->mutex);
  return state_->eventsArrived.wait_for(lock, timeout,
                                        [&] { return state_->events.size() >= count; });
}

void DevServer::installRoutes() {
  std::shared_ptr<State> state = state_;

  // Every SDK endpoint goes through here: record, inject faults, check headers and the app,
  // decode the body, then let `handle` answer.
  using Handler = std::function<Json(RecordedRequest&, const App&, int& status)>;
  auto endpoint = [state](bool validate, Handler handle) {
    return [state, validate, handle](const httplib::Request& req, httplib::Response& res) {
      RecordedRequest record;
      record.method = req.method;
      record.path = req.path;
      record.target = req.target;
      record.query = parseQuery(req.target);
      for (const auto& [name, value] : req.headers) record.headers.emplace_back(name, value);
      record.rawBody = req.body;
      record.body = req.body;

      auto answer = [&](int status, const std::string& body,
                        const char* type = "application/json") {
        record.status = status;
        res.status = status;
        res.set_content(body, type);
      };
      auto finish = [&] {
        std::lock_guard lock(state->mutex);
        state->requests.push_back(std::move(record));
      };

      if (std::optional<Fault> fault = state->takeFault(req.path)) {
        if (fault->delay.count() > 0) std::this_thread::sleep_for(fault->delay);
        if (fault->dropConnection) {
          record.status = 0;
          finish();
          res.set_content_provider(
              1024, "application/json",
              [](std::size_t, std::size_t, httplib::DataSink&) { return false; });
          return;
        }
        if (fault->status != 0) {
          answer(fault->status, json::dump(failure("injected failure")));
          return finish();
        }
        if (fault->malformedBody) {
          answer(200, "{\"success\": tru");
          return finish();
        }
      }

      for (const char* name : {"Content-Type", "x-korvane-app-key", "x-korvane-app-secret",
                               "x-korvane-sdk-version", "x-korvane-platform"}) {
        if (!record.header(name)) {
          answer(400, json::dump(failure(std::string("missing header ") + name)));
          return finish();
        }
      }
      if (record.header("Content-Type") != "application/json") {
        answer(400, json::dump(failure("Content-Type must be application/json")));
        return finish();
      }
      // The HTTP layer may already have inflated the body; only a body that still carries the
      // gzip magic is inflated here.
      const bool stillCompressed = req.body.size() >= 2 &&
                                   static_cast<unsigned char>(req.body[0]) == 0x1f &&
                                   static_cast<unsigned char>(req.body[1]) == 0x8b;
      if (record.header("Content-Encoding") == "gzip" && stillCompressed) {
        std::optional<std::string> inflated = testing::gunzip(req.body);
        if (!inflated) {
          answer(400, json::dump(failure("corrupt gzip body")));
          return finish();
        }
        record.body = std::move(*inflated);
      }
      const std::optional<App> app = state->findApp(*record.header("x-korvane-app-key"));
      if (!app || app->appSecret != *record.header("x-korvane-app-secret")) {
        bool undecodable = false;
        {
          std::lock_guard lock(state->mutex);
          undecodable = state->undecodableRefusals;
        }
        if (undecodable)
          answer(401, "Unauthorized", "text/plain");
        else
          answer(401, json::dump(
                          failure(validate ? "Invalid app key or secret" : "Unknown application")));
        return finish();
      }
      int status = 200;
      Json body = handle(record, *app, status);
      HostileAnswer hostile = HostileAnswer::none;
      {
        std::lock_guard lock(state->mutex);
        hostile = state->hostile;
      }
      if (hostile != HostileAnswer::none) {
        record.status = res.status = 200;
        answerHostile(hostile, std::move(body), res);
        return finish();
      }
      answer(status, json::dump(body));
      finish();
    };
  };

  // Decodes the body as T, or answers 400 with the reason.
  auto withBody = [](auto decodeInto) {
    return [decodeInto](RecordedRequest& r, const App& app, int& status) -> Json {
      return decodeInto(r, app, status);
    };
  };

  std::string prefix = kPrefix;
  server_->Get(
      prefix + "/validate", endpoint(true, [state](RecordedRequest&, const App& app, int&) {
        return Json{{"success", true}, {"app", state->appData(app)}, {"message", "App validated"}};
      }));

  server_->Post(prefix + "/login",
                endpoint(false, withBody([state](RecordedRequest& r, const App& app, int& status) {
                           Result<LoginRequest> login = json::decode<LoginRequest>(r.body);
                           if (!login) {
                             status = 400;
                             return failure(login.error().description);
                           }
                           return Json{
                               {"success", true},
                               {"app", state->appData(app)},
                               {"user", {{"user_id", login.value().userId}, {"status", "active"}}}};
                         })));

  server_->Post(prefix + "/event",
                endpoint(false, [state](RecordedRequest& r, const App&, int& status) {
                  Result<TrackEventRequest> event = json::decode<TrackEventRequest>(r.body);
                  if (!event) {
                    status = 400;
                    return failure(event.error().description);
                  }
                  {
                    std::lock_guard lock(state->mutex);
                    state->events.push_back(std::move(event).value());
                  }
                  state->eventsArrived.notify_all();
                  return Json{{"success", true}};
                }));

  server_->Post(prefix + "/event/batch",
                endpoint(false, [state](RecordedRequest& r, const App&, int& status) {
                  Result<EventBatch> batch = json::decode<EventBatch>(r.body);
                  if (!batch) {
                    status = 400;
                    return failure(batch.error().description);
                  }
                  const std::size_t count = batch.value().events.size();
                  {
                    std::lock_guard lock(state->mutex);
                    for (TrackEventRequest& event : batch.value().events)
                      state->events.push_back(std::move(event));
                  }
                  state->eventsArrived.notify_all();
                  return toJson(EventBatchResponse{true, static_cast<std::int64_t>(count), {}});
                }));

  server_->Get(prefix + "/mission", endpoint(false, [state](RecordedRequest&, const App&, int&) {
                 return toJson(missionList(state->baseUrl + "/offerwall/"));
               }));

  server_->Get(prefix + "/quiz", endpoint(false, [state](RecordedRequest&, const App&, int&) {
                 return toJson(quizList(state->baseUrl + "/offerwall/"));
               }));

  server_->Get(prefix + "/banner", endpoint(false, [state](RecordedRequest& r, const App&, int&) {
                 BannerInfoResponse banner;
                 // "no-fill" is the placement without a banner.
                 banner.success = queryValue(r, "placementId") != "no-fill";
                 if (!banner.success) return toJson(banner);
                 banner.imageUrl = state->baseUrl + "/offerwall/images/banner.svg";
                 banner.imageWidth = 320;
                 banner.imageHeight = 100;
                 banner.titleText = "포인트 받고 쇼핑하기";
                 banner.linkType = "internal";
                 banner.internalLinkUrl = state->baseUrl + "/offerwall/?placement=" +
                                          queryValue(r, "placementId").value_or("");
                 banner.externalLinkUrl = "https://www.example.com/";
                 return toJson(banner);
               }));

  server_->Get(
      prefix + "/placement-url", endpoint(false, [state](RecordedRequest& r, const App&, int&) {
        const std::optional<std::string> placement = queryValue(r, "placementId");
        if (!placement || placement->empty())
          return toJson(PlacementUrlResponse{false, std::nullopt, "placementId is required"});
        return toJson(PlacementUrlResponse{
            true, state->baseUrl + "/offerwall/?placement=" + *placement, std::nullopt});
      }));

  // The HTTP layer refuses bodies it cannot inflate before any route runs; say why.
  server_->set_error_handler([state](const httplib::Request& req, httplib::Response& res) {
    if (res.status != 400 || !res.body.empty() ||
        req.get_header_value("Content-Encoding") != "gzip")
      return;
    res.set_content(json::dump(failure("corrupt gzip body")), "application/json");
    RecordedRequest record;
    record.method = req.method;
    record.path = req.path;
    record.target = req.target;
    record.status = 400;
    for (const auto& [name, value] : req.headers) record.headers.emplace_back(name, value);
    std::lock_guard lock(state->mutex);
    state->requests.push_back(std::move(record));
  });

  // Pages tests and tools put up; every request for one is recorded with its query and headers.
  server_->Get(R"(/pages/.*)", [state](const httplib::Request& req, httplib::Response& res) {
    RecordedRequest record = recordOfPageRequest(req);
    // A slow resource keeps the page that uses it loading.
    if (state->answerWithFault(req, res, record)) {
      std::lock_guard lock(state->mutex);
      state->requests.push_back(std::move(record));
      return;
    }
    std::chrono::milliseconds redirectDelay{0};
    {
      std::lock_guard lock(state->mutex);
      if (const auto redirect = state->redirects.find(req.path); redirect != state->redirects.end())
        redirectDelay = redirect->second.delay;
    }
    if (redirectDelay.count() > 0) std::this_thread::sleep_for(redirectDelay);
    std::lock_guard lock(state->mutex);
    const auto page = state->pages.find(req.path);
    const auto redirect = state->redirects.find(req.path);
    record.status = redirect != state->redirects.end() ? 302
                    : page == state->pages.end()       ? 404
                                                       : 200;
    if (redirect != state->redirects.end()) {
      res.set_redirect(redirect->second.location, 302);
    } else if (page == state->pages.end()) {
      res.status = 404;
      res.set_content("not found", "text/plain");
    } else {
      res.set_content(page->second, contentType(req.path) + "; charset=utf-8");
    }
    state->requests.push_back(std::move(record));
  });

  // Embedded files at a stable path on every origin the server has; requests are recorded.
  const auto serveAssets = [state](const std::vector<WebAsset>& assets) {
    return [state, &assets](const httplib::Request& req, httplib::Response& res) {
      RecordedRequest record = recordOfPageRequest(req);
      if (state->answerWithFault(req, res, record)) {
        std::lock_guard lock(state->mutex);
        state->requests.push_back(std::move(record));
        return;
      }
      const std::string name = req.matches[1].str();
      record.status = 404;
      res.status = 404;
      res.set_content("not found", "text/plain");
      for (const WebAsset& asset : assets) {
        if (asset.name != name) continue;
        record.status = 200;
        res.status = 200;
        res.set_content(std::string(asset.content), contentType(name) + "; charset=utf-8");
      }
      std::lock_guard lock(state->mutex);
      state->requests.push_back(std::move(record));
    };
  };
  // The bridge kit for page authors, and the attacker pages.
  server_->Get(R"(/bridge-kit/(.+))", serveAssets(bridgeKitAssets()));
  server_->Get(R"(/hostile/(.+))", serveAssets(hostileAssets()));
  // The SDK's own bridge script, where the mock host looks for it: its path in the repository,
  // ../../src/offerwall/ from the kit, resolves to /src/offerwall/ from /bridge-kit/.
  static const std::vector<WebAsset> sdkScripts = {{"korvane_bridge.js", korvaneBridgeScript()}};
  server_->Get(R"(/src/offerwall/(.+))", serveAssets(sdkScripts));

  // What the attacker pages send home, with its body.
  server_->Post("/hostile/report", [state](const httplib::Request& req, httplib::Response& res) {
    RecordedRequest record = recordOfPageRequest(req);
    record.rawBody = record.body = req.body;
    record.status = 204;
    res.status = 204;
    std::lock_guard lock(state->mutex);
    state->requests.push_back(std::move(record));
  });

  // The sample offerwall web app, its data and images; requests are recorded like pages.
  server_->Get(R"(/offerwall/(.*))", [state](const httplib::Request& req, httplib::Response& res) {
    RecordedRequest record = recordOfPageRequest(req);
    if (state->answerWithFault(req, res, record)) {
      std::lock_guard lock(state->mutex);
      state->requests.push_back(std::move(record));
      return;
    }
    const std::string name = req.matches[1].str().empty() ? "index.html" : req.matches[1].str();
    const std::string base = state->baseUrl + "/offerwall/";
    std::optional<std::pair<std::string, std::string>> body;  // content, type
    if (name == "data/missions.json") {
      body.emplace(json::dump(toJson(missionList(base))), "application/json");
    } else if (name == "data/quizzes.json") {
      body.emplace(json::dump(toJson(quizList(base))), "application/json");
    } else if (name.starts_with("images/") && name.ends_with(".svg")) {
      body.emplace(placeholderImage(name.substr(7, name.size() - 11)), "image/svg+xml");
    } else {
      for (const WebAsset& asset : webAssets())
        if (asset.name == name) body.emplace(std::string(asset.content), contentType(name));
    }
    record.status = body ? 200 : 404;
    if (body) {
      res.set_content(body->first, body->second + "; charset=utf-8");
    } else {
      res.status = 404;
      res.set_content("not found", "text/plain");
    }
    std::lock_guard lock(state->mutex);
    state->requests.push_back(std::move(record));
  });
}

}  // namespace korvane::devserver
