#pragma once

#include <deque>
#include <functional>
#include <mutex>
#include <vector>

#include "korvane/platform/platform_services.h"
#include "manual_clock.h"
#include "manual_main_thread.h"
#include "memory_key_value_store.h"

namespace korvane::testing {

// Records every request and answers it at once with whatever `respond` returns (a 200 with
// "{}" when no responder is set).
class FakeHttpClient final : public HttpClient {
 public:
  std::function<HttpResult(const HttpRequest&)> respond;

  void send(HttpRequest request, std::function<void(HttpResult)> completion) override {
    HttpResult result = respond ? respond(request) : HttpResult(HttpResponse{200, {}, "{}"});
    {
      std::lock_guard lock(mutex_);
      requests_.push_back(std::move(request));
    }
    completion(std::move(result));
  }
  std::vector<HttpRequest> requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<HttpRequest> requests_;
};

class FakeDeviceProbe final : public DeviceProbe {
 public:
  std::optional<std::string> hardware = "iPhone14,2";
  std::string generic = "iPhone";
  std::string os = "17.4";
  std::optional<std::string> region = "KR";
  std::optional<std::string> language = "ko";
  std::optional<ScreenPixels> screen = ScreenPixels{1170, 2532};
  std::optional<ScreenPoints> points = ScreenPoints{390, 844};
  std::optional<std::string> receipt;

  std::optional<std::string> hardwareIdentifier() const override { return hardware; }
  std::string genericModel() const override { return generic; }
  std::string osVersion() const override { return os; }
  std::optional<std::string> regionCode() const override { return region; }
  std::optional<std::string> languageCode() const override { return language; }
  std::optional<ScreenPixels> screenPixels() const override { return screen; }
  std::optional<ScreenPoints> screenPoints() const override { return points; }
  std::optional<std::string> storeReceiptPath() const override { return receipt; }
};

// Tracking permission the test controls; a prompt stays open until answer() is called.
class FakeTracking final : public TrackingAuthorization {
 public:
  long currentStatus = tracking_status::kNotDetermined;
  std::string identifier = "6D92078A-8246-4BA4-AE5B-76104861E7DC";
  int prompts = 0;
  mutable int reads = 0;  // of the advertising identifier

  long status() const override { return currentStatus; }
  std::string advertisingIdentifier() const override {
    ++reads;
    return currentStatus == tracking_status::kAuthorized ? identifier
                                                         : "00000000-0000-0000-0000-000000000000";
  }
  void requestAuthorization(std::function<void(long)> completion) override {
    ++prompts;
    pending_.push_back(std::move(completion));
  }
  void answer(long status) {
    currentStatus = status;
    auto waiting = std::move(pending_);
    for (auto& completion : waiting) completion(status);
  }

 private:
  std::vector<std::function<void(long)>> pending_;
};

// An observer list whose subscriptions may end on any thread, as the real ports allow: a
// service's last owner can be a background queue.
template <typename... Args>
class FakeObservers {
 public:
  Subscription add(std::function<void(Args...)> observer) {
    std::lock_guard lock(mutex_);
    const int id = nextId_++;
    observers_.emplace_back(id, std::move(observer));
    return Subscription([this, id] {
      std::lock_guard held(mutex_);
      std::erase_if(observers_, [id](const auto& o) { return o.first == id; });
    });
  }
  void call(Args... args) {
    decltype(observers_) current;
    {
      std::lock_guard lock(mutex_);
      current = observers_;
    }
    for (auto& [id, observer] : current) observer(args...);
  }
  std::size_t count() const {
    std::lock_guard lock(mutex_);
    return observers_.size();
  }

 private:
  mutable std::mutex mutex_;
  int nextId_ = 0;
  std::vector<std::pair<int, std::function<void(Args...)>>> observers_;
};

class FakeLifecycle final : public AppLifecycle {
 public:
  AppState currentState = AppState::active;

  AppState state() const override { return currentState; }
  Subscription subscribe(std::function<void(AppLifecycleEvent)> observer) override {
    return observers_.add(std::move(observer));
  }
  void send(AppLifecycleEvent event) {
    if (event == AppLifecycleEvent::didBecomeActive) currentState = AppState::active;
    if (event == AppLifecycleEvent::didEnterBackground) currentState = AppState::background;
    observers_.call(event);
  }
  std::size_t observerCount() const { return observers_.count(); }

 private:
  FakeObservers<AppLifecycleEvent> observers_;
};

// Records what the SDK asked the system to open. Opens complete at once with `opens`, or never
// when `neverComplete` is set.
class FakeUrlOpener final : public UrlOpener {
 public:
  bool opens = true;
  bool neverComplete = false;
  bool canOpen(const std::string&) const override { return opens; }
  void open(const std::string& url, std::function<void(bool)> completion) override {
    opened.push_back(url);
    if (neverComplete) {
      pending.push_back(std::move(completion));
    } else if (completion) {
      completion(opens);
    }
  }
  std::vector<std::string> opened;
  std::vector<std::function<void(bool)>> pending;
};

// The person, asked before a page opens something unasked: answers `yes` at once, or holds the
// answer when `holds` is set. Records the questions in order.
class FakePersonPrompt final : public PersonPrompt {
 public:
  bool yes = false;
  bool holds = false;
  void ask(WebView&, const PersonQuestion& question, std::function<void(bool)> answer) override {
    asked.push_back(question);
    if (holds) {
      held.push_back(std::move(answer));
    } else if (answer) {
      answer(yes);
    }
  }
  std::vector<PersonQuestion> asked;
  std::vector<std::function<void(bool)>> held;
};

// A network path the test switches: set() changes it and tells the observers, as the
// platform's change notifications do.
class FakeReachability final : public Reachability {
 public:
  bool connected = true;
  bool isConnected() const override { return connected; }
  Subscription subscribe(std::function<void(bool)> observer) override {
    return observers_.add(std::move(observer));
  }
  void set(bool nowConnected) {
    connected = nowConnected;
    observers_.call(nowConnected);
  }
  std::size_t observerCount() const { return observers_.count(); }

 private:
  FakeObservers<bool> observers_;
};

// Memory warnings the test raises: warn() calls every observer at once, as the system's
// notification does on the main thread.
class FakeMemoryPressure final : public MemoryPressure {
 public:
  Subscription subscribe(std::function<void()> observer) override {
    return observers_.add(std::move(observer));
  }
  void warn() { observers_.call(); }
  std::size_t observerCount() const { return observers_.count(); }

 private:
  FakeObservers<> observers_;
};

// The fakes wired together as one platform.
struct FakePlatform {
  std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
  std::shared_ptr<ManualMainThread> mainThread = std::make_shared<ManualMainThread>(*clock);
  std::shared_ptr<FixedRandom> random = std::make_shared<FixedRandom>();
  std::shared_ptr<MemoryKeyValueStore> userDefaults = std::make_shared<MemoryKeyValueStore>();
  std::shared_ptr<FakeHttpClient> http = std::make_shared<FakeHttpClient>();
  std::shared_ptr<FakeDeviceProbe> device = std::make_shared<FakeDeviceProbe>();
  std::shared_ptr<FakeTracking> tracking = std::make_shared<FakeTracking>();
  std::shared_ptr<FakeLifecycle> lifecycle = std::make_shared<FakeLifecycle>();
  std::shared_ptr<FakeUrlOpener> urlOpener = std::make_shared<FakeUrlOpener>();
  std::shared_ptr<FakeReachability> reachability = std::make_shared<FakeReachability>();
  std::shared_ptr<FakePersonPrompt> prompt = std::make_shared<FakePersonPrompt>();
  std::shared_ptr<FakeMemoryPressure> memoryPressure = std::make_shared<FakeMemoryPressure>();

  PlatformServices services() const {
    PlatformServices s;
    s.http = http;
    s.userDefaults = userDefaults;
    s.mainThread = mainThread;
    s.clock = clock;
    s.random = random;
    s.device = device;
    s.tracking = tracking;
    s.lifecycle = lifecycle;
    s.urlOpener = urlOpener;
    s.reachability = reachability;
    s.prompt = prompt;
    s.memoryPressure = memoryPressure;
    return s;
  }
};

}  // namespace korvane::testing
