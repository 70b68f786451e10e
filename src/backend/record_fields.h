#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "backend/json_codec.h"
#include "backend/json_writer.h"

// One field list per backend record drives its decoding and its encoding (and, for the telemetry
// bodies, the encoder straight to text), so each key is spelled once. A field names its key and
// its member: a std::optional member is an optional key (absent or null leaves it empty; left
// out when empty), any other member is required. Keys are read in list order up to the first
// failure and written in list order.
namespace korvane::json {

// The member is read and written as its type says: records by their own read and toJson,
// enumerations by their raw value, vectors as arrays. Another form is a type with
//   static Status read(const Json* field, Member& out, const std::string& path)  (null: absent)
//   static std::optional<Json> toJson(const Member& value)                     (none: left out)
// and, for the text encoder, static void write(JsonWriter& w, const Member& value).
struct PlainForm {};

template <typename Record, typename Member, typename Form>
struct Field {
  std::string_view key;
  Member Record::* member;
};

template <typename Form = PlainForm, typename Record, typename Member>
constexpr Field<Record, Member, Form> field(std::string_view key, Member Record::* member) {
  return {key, member};
}

template <typename T>
inline constexpr bool isOptional = false;
template <typename T>
inline constexpr bool isOptional<std::optional<T>> = true;
template <typename T>
inline constexpr bool isVector = false;
template <typename T>
inline constexpr bool isVector<std::vector<T>> = true;

// Decoding.

template <typename Record, typename Member, typename Form>
void readField(ObjectReader& reader, const Field<Record, Member, Form>& field, Record& out) {
  Member& member = out.*field.member;
  if constexpr (!std::is_same_v<Form, PlainForm>)
    reader.custom(field.key, [&member](const Json* value, const std::string& path) {
      return Form::read(value, member, path);
    });
  else if constexpr (isOptional<Member>)
    reader.optional(field.key, member);
  else
    reader.required(field.key, member);
}

template <typename Record, typename... Fields>
Status readFields(const Json& value, Record& out, const std::string& path,
                  const std::tuple<Fields...>& fields) {
  ObjectReader reader(value, path);
  std::apply([&](const auto&... each) { (readField(reader, each, out), ...); }, fields);
  return reader.status();
}

// Encoding to a JSON document.

template <typename T>
Json jsonOf(const T& value) {
  if constexpr (requires { toJson(value); }) {
    return toJson(value);
  } else if constexpr (requires { rawValue(value); }) {
    return rawValue(value);
  } else if constexpr (isVector<T>) {
    Json array = Json::array();
    for (const auto& element : value) array.push_back(jsonOf(element));
    return array;
  } else {
    return value;
  }
}

template <typename Record, typename Member, typename Form>
void writeField(Json& object, const Field<Record, Member, Form>& field, const Record& value) {
  const Member& member = value.*field.member;
  const std::string key(field.key);
  if constexpr (!std::is_same_v<Form, PlainForm>) {
    if (std::optional<Json> json = Form::toJson(member)) object[key] = std::move(*json);
  } else if constexpr (isOptional<Member>) {
    if (member) object[key] = jsonOf(*member);
  } else {
    object[key] = jsonOf(member);
  }
}

template <typename Record, typename... Fields>
Json writeFields(const Record& value, const std::tuple<Fields...>& fields) {
  Json object = Json::object();
  std::apply([&](const auto&... each) { (writeField(object, each, value), ...); }, fields);
  return object;
}

// Encoding straight to text, for records on hot paths. Text values and arrays are written here;
// a nested record needs a writeText(JsonWriter&, const Record&) of its own.

inline void writeText(JsonWriter& w, const std::string& text) {
  w.value(text);
}

template <typename T>
void writeText(JsonWriter& w, const std::vector<T>& values) {
  w.beginArray();
  for (const T& value : values) writeText(w, value);
  w.endArray();
}

template <typename Record, typename Member, typename Form>
void writeTextField(JsonWriter& w, const Field<Record, Member, Form>& field, const Record& value) {
  const Member& member = value.*field.member;
  if constexpr (!std::is_same_v<Form, PlainForm>) {
    w.key(field.key);
    Form::write(w, member);
  } else if constexpr (isOptional<Member>) {
    if (member) {
      w.key(field.key);
      writeText(w, *member);
    }
  } else {
    w.key(field.key);
    writeText(w, member);
  }
}

template <typename Record, typename... Fields>
void writeTextFields(JsonWriter& w, const Record& value, const std::tuple<Fields...>& fields) {
  w.beginObject();
  std::apply([&](const auto&... each) { (writeTextField(w, each, value), ...); }, fields);
  w.endObject();
}

}  // namespace korvane::json
