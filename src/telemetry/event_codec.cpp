#include "telemetry/event_codec.h"

#include <algorithm>
#include <string_view>

#include "backend/json_writer.h"
#include "backend/record_codec.h"
#include "korvane/util/json_value.h"
#include "util/base64.h"

namespace korvane {

using json::Json;

Status read(const Json& value, Event& out, const std::string& path) {
  json::ObjectReader reader(value, path);
  std::string type;
  reader.required("eventId", out.eventId)
      .required("type", type)
      .optional("customEventName", out.customEventName)
      .required("timestamp", out.timestamp)
      .required("category", out.category);
  if (!reader.status()) return reader.status();
  const std::optional<EventType> parsed = eventTypeFromRawValue(type);
  if (!parsed)
    return json::corrupted(json::childPath(path, "type"), "unknown event type \"" + type + "\"");
  out.type = *parsed;
  out.payload.reset();
  if (const Json* payload = reader.find("payload"); payload && !payload->is_null()) {
    out.payload = json::objectFromBase64(*payload);
    if (!out.payload)
      return json::corrupted(json::childPath(path, "payload"),
                             "payload is not base64 of a JSON object");
  }
  return okStatus();
}

Json toJson(const Event& event) {
  Json j = Json::object();
  j["eventId"] = event.eventId;
  j["type"] = rawValue(event.type);
  if (event.customEventName) j["customEventName"] = *event.customEventName;
  j["timestamp"] = event.timestamp;
  j["category"] = event.category;
  if (event.payload) j["payload"] = json::objectToBase64(*event.payload);
  return j;
}

void writeEvent(json::JsonWriter& w, const Event& event) {
  w.beginObject();
  w.field("eventId", event.eventId);
  w.field("type", rawValue(event.type));
  if (event.customEventName) w.field("customEventName", *event.customEventName);
  w.key("timestamp");
  w.number(event.timestamp);
  w.field("category", event.category);
  if (event.payload) w.field("payload", json::objectToBase64(*event.payload));
  w.endObject();
}

std::string encodeEvent(const Event& event) {
  std::string out;
  json::JsonWriter w(out);
  writeEvent(w, event);
  return out;
}

std::string encodeEventFile(const std::vector<Event>& events) {
  std::string out;
  out.reserve(events.size() * 260 + 2);
  json::JsonWriter w(out);
  w.beginArray();
  for (const Event& event : events) writeEvent(w, event);
  w.endArray();
  return out;
}

Result<std::vector<Event>> decodeEventFile(std::string_view text) {
  return json::decode<std::vector<Event>>(text);
}

Result<SalvagedEventFile> salvageEventFile(std::string_view text) {
  Result<Json> parsed = json::parse(text);
  if (!parsed) return parsed.error();
  const Json& records = parsed.value();
  if (!records.is_array()) return json::wrongType("", "an array");
  SalvagedEventFile file;
  file.events.reserve(records.size());
  for (std::size_t i = 0; i < records.size(); ++i) {
    Event event;
    Status status = read(records[i], event, "[" + std::to_string(i) + "]");
    if (status)
      file.events.push_back(std::move(event));
    else if (file.damaged++ == 0)
      file.firstDamage = status.error();
  }
  return file;
}

namespace {

// Checks an event file as it streams past, with the same rules as decoding (the nesting limit
// included) but without building anything: a file is read whole before every single-event save.
class EventFileValidator final : public nlohmann::json_sax<Json> {
 public:
  std::size_t events = 0;
  double oldestTimestamp = std::numeric_limits<double>::infinity();
  std::optional<Error> failure;  // why the file was refused, once it was

  bool null() override { return scalar(Kind::null); }
  bool boolean(bool) override { return scalar(Kind::other); }
  bool number_integer(number_integer_t value) override {
    return number(static_cast<double>(value));
  }
  bool number_unsigned(number_unsigned_t value) override {
    return number(static_cast<double>(value));
  }
  bool number_float(number_float_t value, const string_t&) override { return number(value); }
  bool binary(binary_t&) override { return scalar(Kind::other); }
  bool string(string_t& value) override {
    if (depth_ == 1) return refuse(json::wrongType(element(), "an object"));
    if (depth_ != 2) return true;
    return set(key_, value);
  }
  bool start_object(std::size_t) override {
    if (depth_ == 1)
      fields_ = Fields{};
    else if (depth_ == 2)
      scalar(Kind::other);  // a nested value under an event key
    else if (depth_ == 0)
      return refuse(json::wrongType("", "an array"));
    return enter();
  }
  bool key(string_t& name) override {
    if (depth_ == 2) key_ = name;
    return true;
  }
  bool end_object() override {
    if (--depth_ != 1) return true;
    const Fields& f = fields_;
    const char* wrong = !f.eventId     ? "eventId"
                        : !f.type      ? "type"
                        : !f.timestamp ? "timestamp"
                        : !f.category  ? "category"
                        : !f.nameOk    ? "customEventName"
                        : !f.payloadOk ? "payload"
                                       : nullptr;
    if (wrong) return refuse(json::corrupted(json::childPath(element(), wrong), "no valid value"));
    ++events;
    return true;
  }
  bool start_array(std::size_t) override {
    if (depth_ == 1) return refuse(json::wrongType(element(), "an object"));
    if (depth_ == 2) scalar(Kind::other);
    return enter();
  }
  bool end_array() override {
    --depth_;
    return true;
  }
  bool parse_error(std::size_t, const std::string&, const Json::exception&) override {
    return refuse(json::corrupted("", "the given data was not valid JSON"));
  }

 private:
  enum class Kind { null, number, other };
  struct Fields {
    bool eventId = false, type = false, timestamp = false, category = false, nameOk = true,
         payloadOk = true;
  };

  // Every timestamp counts towards the oldest, even one a repeated key later replaces: the
  // summary may only err towards older.
  bool number(double value) {
    if (depth_ == 2 && key_ == "timestamp") oldestTimestamp = std::min(oldestTimestamp, value);
    return scalar(Kind::number);
  }

  bool refuse(Error why) {
    if (!failure) failure = std::move(why);
    return false;
  }
  bool enter() {
    if (depth_ == kMaxJsonDepth)
      return refuse(json::corrupted(
          "", "the given data nests deeper than " + std::to_string(kMaxJsonDepth) + " levels"));
    ++depth_;
    return true;
  }
  // The path of the event being read, as decoding names it.
  std::string element() const { return "[" + std::to_string(events) + "]"; }

  // A non-string value; the last value of a repeated key is the one that counts.
  bool scalar(Kind kind) {
    if (depth_ == 1) return refuse(json::wrongType(element(), "an object"));
    if (depth_ != 2) return true;
    if (key_ == "eventId")
      fields_.eventId = false;
    else if (key_ == "type")
      fields_.type = false;
    else if (key_ == "timestamp")
      fields_.timestamp = kind == Kind::number;
    else if (key_ == "category")
      fields_.category = false;
    else if (key_ == "customEventName")
      fields_.nameOk = kind == Kind::null;
    else if (key_ == "payload")
      fields_.payloadOk = kind == Kind::null;
    return true;
  }

  bool set(const std::string& key, const std::string& value) {
    if (key == "eventId")
      fields_.eventId = true;
    else if (key == "type")
      fields_.type = eventTypeFromRawValue(value).has_value();
    else if (key == "timestamp")
      fields_.timestamp = false;
    else if (key == "category")
      fields_.category = true;
    else if (key == "customEventName")
      fields_.nameOk = true;
    else if (key == "payload")
      fields_.payloadOk = isBase64Object(value);
    return true;
  }

  // What json::objectFromBase64 accepts: a leading byte-order mark, then an object.
  static bool isBase64Object(const std::string& text) {
    const std::optional<std::string> bytes = base64::decode(text);
    if (!bytes) return false;
    std::string_view json = *bytes;
    if (json.starts_with("\xEF\xBB\xBF")) json.remove_prefix(3);
    const std::size_t first = json.find_first_not_of(" \t\r\n");
    return first != std::string_view::npos && json[first] == '{' && isDepthLimitedJson(*bytes);
  }

  std::size_t depth_ = 0;
  std::string key_;
  Fields fields_;
};

}  // namespace

Result<EventFileSummary> summarizeEventFile(std::string_view text) {
  EventFileValidator validator;
  // Decoding skips a leading UTF-8 byte-order mark; so must this, or a save would discard a file
  // that loads.
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos)
    return json::corrupted("", "the given data was not valid JSON");
  if (text[first] != '[') return json::wrongType("", "an array");
  if (!Json::sax_parse(text.begin(), text.end(), &validator))
    return validator.failure.value_or(json::corrupted("", "the given data was not valid JSON"));
  return EventFileSummary{validator.events, validator.oldestTimestamp};
}

std::optional<std::size_t> validEventCount(std::string_view text) {
  const Result<EventFileSummary> summary = summarizeEventFile(text);
  if (!summary) return std::nullopt;
  return summary.value().events;
}

}  // namespace korvane
