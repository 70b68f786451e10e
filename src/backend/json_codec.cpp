#include "backend/json_codec.h"

#include <cmath>
#include <limits>

#include "korvane/util/json_value.h"

namespace korvane::json {
namespace {
constexpr const char* kDomain = "NSCocoaErrorDomain";
constexpr long kValueNotFound = 4865;
constexpr long kDataCorrupted = 4864;

std::string shown(const std::string& path) {
  return path.empty() ? "the top level" : "\"" + path + "\"";
}
}  // namespace

Error missingKey(const std::string& path) {
  return Error{
      kDomain, kValueNotFound,
      "The data couldn’t be read because it is missing. (no value for " + shown(path) + ")",
      "DecodingError"};
}

Error wrongType(const std::string& path, std::string_view expected) {
  return Error{kDomain, kDataCorrupted,
               "The data couldn’t be read because it isn’t in the correct format. (expected " +
                   std::string(expected) + " at " + shown(path) + ")",
               "DecodingError"};
}

Error corrupted(const std::string& path, std::string_view why) {
  return Error{kDomain, kDataCorrupted,
               "The data couldn’t be read because it isn’t in the correct format. (" +
                   std::string(why) + " at " + shown(path) + ")",
               "DecodingError"};
}

Result<Json> parse(std::string_view text) {
  Result<Json> value = parseDepthLimitedJson(text);
  if (!value) return corrupted("", value.error().description);
  return value;
}

std::string childPath(const std::string& parent, std::string_view key) {
  return parent.empty() ? std::string(key) : parent + "." + std::string(key);
}

Status read(const Json& value, std::string& out, const std::string& path) {
  if (!value.is_string()) return wrongType(path, "text");
  out = value.get<std::string>();
  return okStatus();
}

Status read(const Json& value, bool& out, const std::string& path) {
  if (!value.is_boolean()) return wrongType(path, "a boolean");
  out = value.get<bool>();
  return okStatus();
}

Status read(const Json& value, std::int64_t& out, const std::string& path) {
  if (value.is_number_integer()) {
    if (value.is_number_unsigned() &&
        value.get<std::uint64_t>() >
            static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
      return wrongType(path, "an integer in range");
    out = value.get<std::int64_t>();
    return okStatus();
  }
  if (value.is_number_float()) {
    const double d = value.get<double>();
    if (std::trunc(d) == d && d >= -9.2e18 && d <= 9.2e18) {
      out = static_cast<std::int64_t>(d);
      return okStatus();
    }
  }
  return wrongType(path, "an integer");
}

Status read(const Json& value, double& out, const std::string& path) {
  if (!value.is_number()) return wrongType(path, "a number");
  out = value.get<double>();
  return okStatus();
}

ObjectReader::ObjectReader(const Json& value, std::string path)
    : object_(&value), path_(std::move(path)) {
  if (!value.is_object()) failure_ = wrongType(path_, "an object");
}

const Json* ObjectReader::find(std::string_view key) const {
  if (!object_->is_object()) return nullptr;
  const auto found = object_->find(key);
  return found == object_->end() ? nullptr : &*found;
}

std::string dump(const Json& value) {
  return value.dump(-1, ' ', /*ensure_ascii=*/false, Json::error_handler_t::replace);
}

}  // namespace korvane::json
