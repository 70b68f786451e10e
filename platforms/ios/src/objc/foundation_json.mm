#import "objc/foundation_json.h"

#include <string>

#include "korvane/core/logger.h"
#import "support/objc_text.h"

namespace korvane::ios {
namespace {

constexpr int kMaxDepth = 32;

struct Converter {
  std::string_view context;
  std::string leftOut;  // the first value left out, for the one warning line

  void skip(const std::string& what) {
    if (leftOut.empty()) leftOut = what;
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

  std::optional<JsonValue> value(id object, int depth, const std::string& path) {
    if ([object isKindOfClass:NSString.class]) return JsonValue(toStdString(object));
    if ([object isKindOfClass:NSNumber.class]) return number(object);
    if ([object isKindOfClass:NSNull.class]) return JsonValue(nullptr);
    if ([object isKindOfClass:NSDate.class])
      return JsonValue(toStdString([[[NSISO8601DateFormatter alloc] init] stringFromDate:object]));
    if ([object isKindOfClass:NSData.class])
      return JsonValue(toStdString([(NSData*)object base64EncodedStringWithOptions:0]));
    if ([object isKindOfClass:NSURL.class]) return JsonValue(toStdString([object absoluteString]));
    if ([object isKindOfClass:NSUUID.class]) return JsonValue(toStdString([object UUIDString]));
    if (depth >= kMaxDepth) {
      skip(path + " (nested too deeply)");
      return std::nullopt;
    }
    if ([object isKindOfClass:NSArray.class]) {
      JsonValue array = JsonValue::array();
      NSUInteger index = 0;
      for (id element in (NSArray*)object) {
        const std::string at = path + "[" + std::to_string(index++) + "]";
        if (std::optional<JsonValue> converted = value(element, depth + 1, at))
          array.push_back(std::move(*converted));
      }
      return array;
    }
    if ([object isKindOfClass:NSDictionary.class]) return dictionary(object, depth + 1, path);
    skip(path + " (" + toStdString(NSStringFromClass([object class])) + ")");
    return std::nullopt;
  }

  JsonValue dictionary(NSDictionary* dictionary, int depth, const std::string& path) {
    JsonValue object = JsonValue::object();
    for (id key in dictionary) {
      if (![key isKindOfClass:NSString.class]) {
        skip(path + " key " + toStdString([key description]));
        continue;
      }
      const std::string name = toStdString(key);
      const std::string at = path.empty() ? name : path + "." + name;
      if (std::optional<JsonValue> converted = value(dictionary[key], depth, at))
        object[name] = std::move(*converted);
    }
    return object;
  }
};

}  // namespace

std::optional<JsonValue> jsonObjectFrom(NSDictionary* _Nullable dictionary,
                                        std::string_view context) {
  if (!dictionary) return std::nullopt;
  Converter converter{context, {}};
  JsonValue object = converter.dictionary(dictionary, 1, "");
  if (!converter.leftOut.empty()) {
    KorvaneLogger::w("KorvaneSdk", std::string(context) +
                                       ": left out what is not a JSON value: " + converter.leftOut);
  }
  return object;
}

std::optional<JsonValue> jsonValueFrom(id _Nullable value, std::string_view context) {
  if (!value) return JsonValue(nullptr);
  Converter converter{context, {}};
  std::optional<JsonValue> converted = converter.value(value, 1, "value");
  if (!converter.leftOut.empty()) {
    KorvaneLogger::w("KorvaneSdk", std::string(context) +
                                       ": left out what is not a JSON value: " + converter.leftOut);
  }
  return converted;
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
