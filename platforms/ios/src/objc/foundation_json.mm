#import "objc/foundation_json.h"

#include <cstdint>
#include <string>

#include "korvane/util/json_object_builder.h"
#include "korvane/util/logger.h"
#import "support/objc_text.h"

namespace korvane::ios {
namespace {

constexpr int kMaxDepth = 32;

// Where a value stands, for the warning line: built into text only for a value left out.
struct Path {
  const Path* parent = nullptr;
  NSString* _Nullable key = nil;  // else an array index
  NSUInteger index = 0;

  std::string text() const {
    if (!parent) return toStdString(key);
    const std::string above = parent->text();
    if (key) return above.empty() ? toStdString(key) : above + "." + toStdString(key);
    return above + "[" + std::to_string(index) + "]";
  }
};

struct Converter {
  explicit Converter(std::string_view where, std::size_t maxBytes = SIZE_MAX)
      : context(where), budget(maxBytes) {}

  std::string_view context;
  std::string leftOut;  // the first value left out, for the one warning line
  // Bytes of JSON text the value may still come to. What is counted never exceeds the text that
  // is written, so conversion stops as soon as the text is sure to be too long.
  std::size_t budget;
  bool overBudget = false;

  void skip(const Path& path, const std::string& why) {
    if (leftOut.empty()) leftOut = path.text() + " " + why;
  }

  bool spend(std::size_t bytes) {
    if (bytes > budget) overBudget = true;
    budget = overBudget ? 0 : budget - bytes;
    return !overBudget;
  }

  std::optional<JsonValue> text(NSString* string) {
    // No string has more UTF-16 units than its UTF-8 bytes.
    if (!spend(string.length + 2)) return std::nullopt;
    return JsonValue(toStdString(string));
  }

  JsonValue number(NSNumber* number) {
    if (CFGetTypeID((__bridge CFTypeRef)number) == CFBooleanGetTypeID()) return number.boolValue;
    switch (number.objCType[0]) {
      case 'f':
      case 'd':
        return number.doubleValue;
      case 'Q':
      case 'L':
      case 'I':
      case 'S':
      case 'C':
        return static_cast<std::uint64_t>(number.unsignedLongLongValue);
      default:
        if ([number isKindOfClass:NSDecimalNumber.class]) return number.doubleValue;
        return static_cast<std::int64_t>(number.longLongValue);
    }
  }

  std::optional<JsonValue> value(id object, int depth, const Path& path) {
    if (overBudget) return std::nullopt;
    if ([object isKindOfClass:NSString.class]) return text(object);
    if ([object isKindOfClass:NSNumber.class]) {
      if (!spend(1)) return std::nullopt;
      return number(object);
    }
    if ([object isKindOfClass:NSNull.class]) {
      if (!spend(4)) return std::nullopt;
      return JsonValue(nullptr);
    }
    if ([object isKindOfClass:NSDate.class])
      return text([[[NSISO8601DateFormatter alloc] init] stringFromDate:object]);
    if ([object isKindOfClass:NSData.class]) {
      if (!spend(([(NSData*)object length] + 2) / 3 * 4 + 2)) return std::nullopt;
      return JsonValue(toStdString([(NSData*)object base64EncodedStringWithOptions:0]));
    }
    if ([object isKindOfClass:NSURL.class]) return text([object absoluteString]);
    if ([object isKindOfClass:NSUUID.class]) return text([object UUIDString]);
    if (depth >= kMaxDepth) {
      skip(path, "(nested too deeply)");
      return std::nullopt;
    }
    if ([object isKindOfClass:NSArray.class]) return array(object, depth + 1, path);
    if ([object isKindOfClass:NSDictionary.class]) return dictionary(object, depth + 1, path);
    skip(path, "(" + toStdString(NSStringFromClass([object class])) + ")");
    return std::nullopt;
  }

  std::optional<JsonValue> array(NSArray* elementsIn, int depth, const Path& path) {
    if (!spend(2)) return std::nullopt;  // []
    JsonValue list = JsonValue::array();
    JsonValue::array_t& elements = list.get_ref<JsonValue::array_t&>();
    NSUInteger index = 0;
    for (id element in elementsIn) {
      const Path at{&path, nil, index++};
      std::optional<JsonValue> converted = value(element, depth, at);
      if (overBudget || (converted && !elements.empty() && !spend(1))) return std::nullopt;
      if (converted) elements.push_back(std::move(*converted));
    }
    return list;
  }

  std::optional<JsonValue> dictionary(NSDictionary* dictionary, int depth, const Path& path) {
    if (!spend(2)) return std::nullopt;  // {}
    JsonValue object = JsonValue::object();
    // Keys go in through the builder: the object's own insertion compares each with all before.
    JsonObjectBuilder keys(object);
    bool first = true;
    for (id key in dictionary) {
      if (![key isKindOfClass:NSString.class]) {
        skip(path, "key " + toStdString([key description]));
        continue;
      }
      const Path at{&path, key, 0};
      std::optional<JsonValue> converted = value(dictionary[key], depth, at);
      if (overBudget) return std::nullopt;
      if (!converted) continue;
      // "key": and a comma before every entry but the first.
      if (!spend([(NSString*)key length] + 3 + (first ? 0 : 1))) return std::nullopt;
      keys[toStdString(key)] = std::move(*converted);
      first = false;
    }
    return object;
  }

  void warnAboutLeftOut() const {
    if (leftOut.empty()) return;
    KorvaneLogger::w("KorvaneSdk",
                     std::string(context) + ": left out what is not a JSON value: " + leftOut);
  }
};

}  // namespace

std::optional<JsonValue> jsonObjectFrom(NSDictionary* _Nullable dictionary,
                                        std::string_view context) {
  if (!dictionary) return std::nullopt;
  Converter converter(context);
  const Path root;
  std::optional<JsonValue> object = converter.dictionary(dictionary, 1, root);
  converter.warnAboutLeftOut();
  return object;
}

std::optional<JsonValue> jsonValueFrom(id _Nullable value, std::string_view context) {
  if (!value) return JsonValue(nullptr);
  Converter converter(context);
  const Path root{nullptr, @"value", 0};
  std::optional<JsonValue> converted = converter.value(value, 1, root);
  converter.warnAboutLeftOut();
  return converted;
}

std::optional<std::string> jsonTextFrom(id _Nullable value, std::string_view context,
                                        std::size_t maxBytes) {
  Converter converter(context, maxBytes);
  const Path root{nullptr, @"value", 0};
  std::optional<JsonValue> converted =
      value ? converter.value(value, 1, root) : std::optional<JsonValue>(JsonValue(nullptr));
  if (converter.overBudget) return std::nullopt;
  converter.warnAboutLeftOut();
  std::string text = converted.value_or(JsonValue(nullptr))
                         .dump(-1, ' ', false, JsonValue::error_handler_t::replace);
  if (text.size() > maxBytes) return std::nullopt;
  return text;
}

id foundationFrom(const JsonValue& value) {
  switch (value.type()) {
    case JsonValue::value_t::object:
      return dictionaryFrom(value);
    case JsonValue::value_t::array: {
      NSMutableArray* array = [NSMutableArray arrayWithCapacity:value.size()];
      for (const JsonValue& element : value) [array addObject:foundationFrom(element)];
      return array;
    }
    case JsonValue::value_t::string:
      return toNSString(value.get_ref<const std::string&>());
    case JsonValue::value_t::boolean:
      return value.get<bool>() ? @YES : @NO;
    case JsonValue::value_t::number_integer:
      return @(value.get<std::int64_t>());
    case JsonValue::value_t::number_unsigned:
      return @(value.get<std::uint64_t>());
    case JsonValue::value_t::number_float:
      return @(value.get<double>());
    default:
      return NSNull.null;
  }
}

NSDictionary<NSString*, id>* dictionaryFrom(const JsonValue& object) {
  NSMutableDictionary<NSString*, id>* dictionary = [NSMutableDictionary dictionary];
  if (!object.is_object()) return dictionary;
  for (const auto& [key, element] : object.items())
    dictionary[toNSString(key)] = foundationFrom(element);
  return dictionary;
}

}  // namespace korvane::ios
