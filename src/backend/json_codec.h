#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "korvane/values/error.h"

// Strict JSON decoding for backend records: a required key that is missing or null, or any key
// whose value has the wrong type, fails the whole record with an error naming the key's path.
namespace korvane::json {

using Json = nlohmann::ordered_json;

Error missingKey(const std::string& path);
Error wrongType(const std::string& path, std::string_view expected);
Error corrupted(const std::string& path, std::string_view why);

// Parses text with parseDepthLimitedJson; malformed or too deeply nested JSON is a decoding
// error, never an exception.
Result<Json> parse(std::string_view text);

std::string childPath(const std::string& parent, std::string_view key);

// Primitive readers. Integers accept only whole numbers in range (3.0 is 3, 3.5 is an error).
Status read(const Json& value, std::string& out, const std::string& path);
Status read(const Json& value, bool& out, const std::string& path);
Status read(const Json& value, std::int64_t& out, const std::string& path);
Status read(const Json& value, double& out, const std::string& path);

template <typename T>
Status read(const Json& value, std::vector<T>& out, const std::string& path) {
  if (!value.is_array()) return wrongType(path, "an array");
  out.clear();
  out.reserve(value.size());
  for (std::size_t i = 0; i < value.size(); ++i) {
    T element{};
    Status status = read(value[i], element, path + "[" + std::to_string(i) + "]");
    if (!status) return status;
    out.push_back(std::move(element));
  }
  return okStatus();
}

// Reads the keys of one object in turn and keeps the first failure.
class ObjectReader {
 public:
  ObjectReader(const Json& value, std::string path);

  template <typename T>
  ObjectReader& required(std::string_view key, T& out) {
    if (!failure_) {
      const Json* field = find(key);
      if (!field || field->is_null())
        failure_ = missingKey(childPath(path_, key));
      else
        keep(read(*field, out, childPath(path_, key)));
    }
    return *this;
  }

  template <typename T>
  ObjectReader& optional(std::string_view key, std::optional<T>& out) {
    if (!failure_) {
      const Json* field = find(key);
      if (field && !field->is_null()) {
        T value{};
        if (keep(read(*field, value, childPath(path_, key)))) out = std::move(value);
      }
    }
    return *this;
  }

  // Reads `key` with `readValue(field, path)`, where field is null when the key is absent.
  template <typename ReadValue>
  ObjectReader& custom(std::string_view key, ReadValue&& readValue) {
    if (!failure_) keep(readValue(find(key), childPath(path_, key)));
    return *this;
  }

  // The raw value under `key`, or null when absent.
  const Json* find(std::string_view key) const;
  Status status() const { return failure_ ? Status(*failure_) : okStatus(); }

 private:
  bool keep(const Status& status) {
    if (!status) failure_ = status.error();
    return status.ok();
  }

  const Json* object_;
  std::string path_;
  std::optional<Error> failure_;
};

// Decodes a whole body into T with `read(const Json&, T&, path)`.
template <typename T>
Result<T> decode(std::string_view body) {
  Result<Json> parsed = parse(body);
  if (!parsed) return parsed.error();
  T out{};
  Status status = read(parsed.value(), out, "");
  if (!status) return status.error();
  return out;
}

// Compact JSON text as the platform's encoder writes it (no white space).
std::string dump(const Json& value);

}  // namespace korvane::json
