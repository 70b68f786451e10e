#include "korvane/util/json_value.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "korvane/util/json_object_builder.h"

namespace korvane {
namespace {

constexpr const char* kDomain = "JsonParsing";

// Passes parser events on to `Inner` and stops the parse at the first array or object that would
// stand deeper than kMaxJsonDepth, before anything that deep exists.
template <typename Inner>
class DepthLimit {
 public:
  using number_integer_t = JsonValue::number_integer_t;
  using number_unsigned_t = JsonValue::number_unsigned_t;
  using number_float_t = JsonValue::number_float_t;
  using string_t = JsonValue::string_t;
  using binary_t = JsonValue::binary_t;

  explicit DepthLimit(Inner& inner) : inner_(inner) {}

  bool null() { return inner_.null(); }
  bool boolean(bool value) { return inner_.boolean(value); }
  bool number_integer(number_integer_t value) { return inner_.number_integer(value); }
  bool number_unsigned(number_unsigned_t value) { return inner_.number_unsigned(value); }
  bool number_float(number_float_t value, const string_t& text) {
    return inner_.number_float(value, text);
  }
  bool string(string_t& value) { return inner_.string(value); }
  bool binary(binary_t& value) { return inner_.binary(value); }
  bool key(string_t& name) { return inner_.key(name); }
  bool start_object(std::size_t size) { return enter() && inner_.start_object(size); }
  bool end_object() {
    --depth_;
    return inner_.end_object();
  }
  bool start_array(std::size_t size) { return enter() && inner_.start_array(size); }
  bool end_array() {
    --depth_;
    return inner_.end_array();
  }
  bool parse_error(std::size_t position, const std::string& token,
                   const JsonValue::exception& error) {
    return inner_.parse_error(position, token, error);
  }

  bool tooDeep() const { return tooDeep_; }

 private:
  bool enter() {
    if (depth_ == kMaxJsonDepth) {
      tooDeep_ = true;
      return false;
    }
    ++depth_;
    return true;
  }

  Inner& inner_;
  std::size_t depth_ = 0;
  bool tooDeep_ = false;
};

// Builds nothing: for checking text alone.
class Nothing final : public nlohmann::json_sax<JsonValue> {
 public:
  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(number_integer_t) override { return true; }
  bool number_unsigned(number_unsigned_t) override { return true; }
  bool number_float(number_float_t, const string_t&) override { return true; }
  bool string(string_t&) override { return true; }
  bool binary(binary_t&) override { return true; }
  bool start_object(std::size_t) override { return true; }
  bool key(string_t&) override { return true; }
  bool end_object() override { return true; }
  bool start_array(std::size_t) override { return true; }
  bool end_array() override { return true; }
  bool parse_error(std::size_t, const std::string&, const JsonValue::exception&) override {
    return false;
  }
};

// Builds the value the parser's events describe. Each object is filled through a
// JsonObjectBuilder, so that an object of many keys costs time in proportion to its text, as an
// array does.
class TreeBuilder final : public nlohmann::json_sax<JsonValue> {
 public:
  explicit TreeBuilder(JsonValue& root) : root_(root) {}

  bool null() override { return put(nullptr); }
  bool boolean(bool value) override { return put(value); }
  bool number_integer(number_integer_t value) override { return put(value); }
  bool number_unsigned(number_unsigned_t value) override { return put(value); }
  bool number_float(number_float_t value, const string_t&) override { return put(value); }
  // The parser clears its text before the next token: the text can be taken, not copied.
  bool string(string_t& value) override { return put(std::move(value)); }
  bool binary(binary_t& value) override { return put(std::move(value)); }
  bool start_object(std::size_t) override {
    JsonValue& object = place(JsonValue::object());
    open_.push_back(Open{nullptr, JsonObjectBuilder(object)});
    return true;
  }
  bool key(string_t& name) override {
    nextValue_ = &(*open_.back().object)[std::move(name)];
    return true;
  }
  bool end_object() override {
    open_.pop_back();
    return true;
  }
  bool start_array(std::size_t) override {
    JsonValue& array = place(JsonValue::array());
    open_.push_back(Open{array.get_ptr<JsonValue::array_t*>(), std::nullopt});
    return true;
  }
  bool end_array() override {
    open_.pop_back();
    return true;
  }
  bool parse_error(std::size_t, const std::string&, const JsonValue::exception&) override {
    return false;
  }

 private:
  // An array or an object still open, the innermost last. Only the innermost one grows, so what
  // points into the outer ones stays valid.
  struct Open {
    JsonValue::array_t* array;
    std::optional<JsonObjectBuilder> object;
  };

  template <typename Value>
  bool put(Value&& value) {
    place(JsonValue(std::forward<Value>(value)));
    return true;
  }

  // Where a new value goes: the root, the open array's end, or the key just read.
  JsonValue& place(JsonValue&& value) {
    if (open_.empty()) return root_ = std::move(value);
    if (JsonValue::array_t* array = open_.back().array)
      return array->emplace_back(std::move(value));
    return *nextValue_ = std::move(value);
  }

  JsonValue& root_;
  std::vector<Open> open_;
  JsonValue* nextValue_ = nullptr;
};

Error malformed() {
  return Error{kDomain, kJsonErrorMalformed, "the given data was not valid JSON", "DecodingError"};
}

Error tooDeep() {
  return Error{kDomain, kJsonErrorTooDeep,
               "the given data nests deeper than " + std::to_string(kMaxJsonDepth) + " levels",
               "DecodingError"};
}

}  // namespace

Result<JsonValue> parseDepthLimitedJson(std::string_view text) {
  JsonValue value;
  TreeBuilder builder(value);
  DepthLimit limited(builder);
  if (JsonValue::sax_parse(text.begin(), text.end(), &limited)) return value;
  return limited.tooDeep() ? tooDeep() : malformed();
}

bool isDepthLimitedJson(std::string_view text) {
  Nothing nothing;
  DepthLimit limited(nothing);
  return JsonValue::sax_parse(text.begin(), text.end(), &limited);
}

bool isWithinJsonDepth(const JsonValue& value) {
  std::vector<std::pair<const JsonValue*, std::size_t>> pending{{&value, 1}};
  while (!pending.empty()) {
    const auto [next, depth] = pending.back();
    pending.pop_back();
    if (!next->is_structured()) continue;
    if (depth > kMaxJsonDepth) return false;
    for (const JsonValue& child : *next) pending.emplace_back(&child, depth + 1);
  }
  return true;
}

}  // namespace korvane
