#include "korvane/linux/curl_http_client.h"

#include <curl/curl.h>

#include <cerrno>
#include <deque>
#include <map>
#include <mutex>

#include "korvane/util/logger.h"

namespace korvane::linux_host {

struct CurlHttpClient::Transfer {
  HttpRequest request;
  std::function<void(HttpResult)> completion;
  CURL* easy = nullptr;
  curl_slist* headers = nullptr;
  HttpHeaders responseHeaders;
  std::string responseBody;
  bool bodyTooLarge = false;     // the body passed the limit and the transfer was ended
  bool redirectRefused = false;  // a redirect left the request's origin and was not followed
  char errorText[CURL_ERROR_SIZE] = {};

  ~Transfer() {
    curl_slist_free_all(headers);
    if (easy) curl_easy_cleanup(easy);
  }
};

namespace {

constexpr std::string_view kTag = "HttpClient";

// libcurl hands over the body already inflated (it asks for gzip), so the limit counts the bytes
// the host would keep, not the bytes on the wire: a small compressed body cannot grow past it.
std::size_t onBody(char* data, std::size_t size, std::size_t count, void* user) {
  auto* transfer = static_cast<CurlHttpClient::Transfer*>(user);
  const std::size_t length = size * count;
  if (length > kMaxResponseBodyBytes - transfer->responseBody.size()) {
    transfer->bodyTooLarge = true;
    return CURL_WRITEFUNC_ERROR;  // ends the transfer with CURLE_WRITE_ERROR
  }
  transfer->responseBody.append(data, length);
  return length;
}

std::size_t onHeader(char* data, std::size_t size, std::size_t count, void* user) {
  auto* transfer = static_cast<CurlHttpClient::Transfer*>(user);
  std::string_view line(data, size * count);
  while (!line.empty() && (line.back() == '\r' || line.back() == '\n')) line.remove_suffix(1);
  if (line.rfind("HTTP/", 0) == 0) {
    transfer->responseHeaders.clear();  // a new response (redirect, 100 Continue) starts over
  } else if (const std::size_t colon = line.find(':'); colon != std::string_view::npos) {
    std::string_view value = line.substr(colon + 1);
    while (!value.empty() && value.front() == ' ') value.remove_prefix(1);
    transfer->responseHeaders.emplace_back(std::string(line.substr(0, colon)), std::string(value));
  }
  return size * count;
}

// Runs before every request of a transfer: the request's own address goes, a redirect libcurl is
// about to follow goes on only where the client follows redirects.
int beforeEachRequest(void* user, char*, char*, int, int) {
  auto* transfer = static_cast<CurlHttpClient::Transfer*>(user);
  const char* current = nullptr;
  curl_easy_getinfo(transfer->easy, CURLINFO_EFFECTIVE_URL, &current);
  if (current &&
      (transfer->request.url == current || followsRedirect(transfer->request.url, current)))
    return CURL_PREREQFUNC_OK;
  transfer->redirectRefused = true;
  return CURL_PREREQFUNC_ABORT;
}

long toCurlMillis(std::chrono::milliseconds value) {
  return value.count() > 0 ? static_cast<long>(value.count()) : 0L;
}

void configure(CurlHttpClient::Transfer& t) {
  CURL* easy = t.easy;
  const HttpRequest& r = t.request;
  curl_easy_setopt(easy, CURLOPT_URL, r.url.c_str());
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(easy, CURLOPT_MAXREDIRS, 16L);
  curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
  curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
  curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, t.errorText);
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, onBody);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, &t);
  curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, onHeader);
  curl_easy_setopt(easy, CURLOPT_HEADERDATA, &t);
  curl_easy_setopt(easy, CURLOPT_PREREQFUNCTION, beforeEachRequest);
  curl_easy_setopt(easy, CURLOPT_PREREQDATA, &t);
  // The request's own limit bounds connecting and any stall; the resource limit the whole call.
  curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, toCurlMillis(r.timeout));
  curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
  curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME,
                   std::max(1L, static_cast<long>((r.timeout.count() + 999) / 1000)));
  curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, toCurlMillis(r.resourceTimeout));

  if (r.method == "GET") {
    curl_easy_setopt(easy, CURLOPT_HTTPGET, 1L);
  } else {
    if (r.method != "POST") curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, r.method.c_str());
    curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(r.body.size()));
    curl_easy_setopt(easy, CURLOPT_POSTFIELDS, r.body.data());
  }
  for (const auto& [name, value] : r.headers)
    t.headers = curl_slist_append(t.headers, (name + ": " + value).c_str());
  // No "Expect: 100-continue" round trip before bodies.
  t.headers = curl_slist_append(t.headers, "Expect:");
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, t.headers);
}

}  // namespace

TransportErrorKind transportErrorKind(int curlCode, long osErrno) {
  switch (curlCode) {
    case CURLE_OPERATION_TIMEDOUT:
      return TransportErrorKind::timedOut;
    case CURLE_COULDNT_CONNECT:
      return (osErrno == ENETUNREACH || osErrno == ENETDOWN) ? TransportErrorKind::notConnected
                                                             : TransportErrorKind::cannotConnect;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
      return TransportErrorKind::cannotConnect;
    case CURLE_GOT_NOTHING:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_PARTIAL_FILE:
      return TransportErrorKind::connectionLost;
    case CURLE_ABORTED_BY_CALLBACK:
      return TransportErrorKind::cancelled;
    default:
      return TransportErrorKind::other;
  }
}

// Everything the worker thread touches. Shared with the worker, so that destroying the client
// from inside a completion (on the worker itself) leaves it valid until the worker has left.
struct CurlHttpClient::Engine {
  CURLM* multi = curl_multi_init();
  std::mutex mutex;
  std::deque<std::unique_ptr<Transfer>> pending;
  bool stopping = false;
  std::map<CURL*, std::unique_ptr<Transfer>> active;  // worker thread only

  ~Engine() {
    for (auto& [easy, transfer] : active) curl_multi_remove_handle(multi, easy);
    active.clear();
    pending.clear();
    curl_multi_cleanup(multi);
  }

  bool stopRequested() {
    std::lock_guard lock(mutex);
    return stopping;
  }

  void startPending() {
    std::deque<std::unique_ptr<Transfer>> starting;
    {
      std::lock_guard lock(mutex);
      starting.swap(pending);
    }
    for (auto& transfer : starting) {
      transfer->easy = curl_easy_init();
      configure(*transfer);
      curl_multi_add_handle(multi, transfer->easy);
      CURL* easy = transfer->easy;
      active.emplace(easy, std::move(transfer));
    }
  }

  void finishDone() {
    int queued = 0;
    while (CURLMsg* message = curl_multi_info_read(multi, &queued)) {
      if (message->msg != CURLMSG_DONE) continue;
      CURL* easy = message->easy_handle;
      const CURLcode code = message->data.result;
      curl_multi_remove_handle(multi, easy);
      auto found = active.find(easy);
      std::unique_ptr<Transfer> transfer = std::move(found->second);
      active.erase(found);
      if (code == CURLE_OK) {
        long status = 0;
        curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
        transfer->completion(HttpResponse{static_cast<int>(status),
                                          std::move(transfer->responseHeaders),
                                          std::move(transfer->responseBody)});
      } else if (transfer->bodyTooLarge) {
        KorvaneLogger::e(kTag, responseTooLargeMessage() + ": " + transfer->request.method + " " +
                                   transfer->request.url);
        transfer->completion(TransportError{TransportErrorKind::other, static_cast<long>(code),
                                            responseTooLargeMessage()});
      } else if (transfer->redirectRefused) {
        KorvaneLogger::e(kTag, redirectRefusedMessage() + ": " + transfer->request.method + " " +
                                   transfer->request.url);
        transfer->completion(TransportError{TransportErrorKind::other, static_cast<long>(code),
                                            redirectRefusedMessage()});
      } else {
        long osErrno = 0;
        curl_easy_getinfo(easy, CURLINFO_OS_ERRNO, &osErrno);
        std::string text = transfer->errorText[0] ? transfer->errorText : curl_easy_strerror(code);
        transfer->completion(TransportError{transportErrorKind(code, osErrno),
                                            static_cast<long>(code), std::move(text)});
      }
      if (stopRequested()) return;  // the client is gone: drop the rest
    }
  }

  void run() {
    while (!stopRequested()) {
      startPending();
      int running = 0;
      curl_multi_perform(multi, &running);
      finishDone();
      if (stopRequested()) return;
      curl_multi_poll(multi, nullptr, 0, 1000, nullptr);
    }
  }
};

CurlHttpClient::CurlHttpClient() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
  engine_ = std::make_shared<Engine>();
  worker_ = std::thread([engine = engine_] { engine->run(); });
}

CurlHttpClient::~CurlHttpClient() {
  {
    std::lock_guard lock(engine_->mutex);
    engine_->stopping = true;
  }
  curl_multi_wakeup(engine_->multi);
  if (worker_.get_id() == std::this_thread::get_id())
    worker_.detach();
  else
    worker_.join();
}

void CurlHttpClient::send(HttpRequest request, std::function<void(HttpResult)> completion) {
  auto transfer = std::make_unique<Transfer>();
  transfer->request = std::move(request);
  transfer->completion = std::move(completion);
  {
    std::lock_guard lock(engine_->mutex);
    engine_->pending.push_back(std::move(transfer));
  }
  curl_multi_wakeup(engine_->multi);
}

}  // namespace korvane::linux_host
