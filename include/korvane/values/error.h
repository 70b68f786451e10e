#pragma once

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace korvane {

// An error as a value: the domain and code say what failed, the description is what a person reads.
// Transport failures use the URL-loading domain and its codes so that every platform reports them
// alike and the core can decide retries and offline pages from them.
struct Error {
  std::string domain;
  long code = 0;
  std::string description;
  // The error's type as telemetry names it (for example "NetworkError" or "GzipError").
  std::string typeName = "Error";
  // Extra named details, such as the HTTP response behind a failed call ("response").
  std::vector<std::pair<std::string, std::string>> userInfo = {};

  bool isNetworkError() const { return domain == kUrlLoadingDomain; }
  friend bool operator==(const Error&, const Error&) = default;

  static constexpr const char* kUrlLoadingDomain = "NSURLErrorDomain";
};

// Either a value or an Error. Small stand-in for std::expected, which C++20 lacks.
template <typename T>
class Result {
 public:
  Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}
  Result(Error error) : state_(std::in_place_index<1>, std::move(error)) {}

  bool ok() const { return state_.index() == 0; }
  explicit operator bool() const { return ok(); }
  const T& value() const& { return std::get<0>(state_); }
  T& value() & { return std::get<0>(state_); }
  T&& value() && { return std::get<0>(std::move(state_)); }
  const Error& error() const { return std::get<1>(state_); }

 private:
  std::variant<T, Error> state_;
};

// Success carries nothing.
struct Unit {
  friend bool operator==(Unit, Unit) = default;
};
using Status = Result<Unit>;
inline Status okStatus() {
  return Unit{};
}

}  // namespace korvane
