#pragma once

#import <Foundation/Foundation.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "korvane/util/json_value.h"

NS_ASSUME_NONNULL_BEGIN

namespace korvane::ios {

// An app's dictionary as a JSON object. Strings, numbers (booleans stay booleans), NSNull,
// arrays and string-keyed dictionaries convert as they are; dates become ISO 8601 text, data
// base64 text, URLs and UUIDs their text. Anything else, a key that is not text, and nesting
// deeper than 32 levels (which a collection that contains itself reaches) are left out with one
// warning line naming `context`. nil gives nothing.
std::optional<JsonValue> jsonObjectFrom(NSDictionary* _Nullable dictionary,
                                        std::string_view context);

// Any value an app or WebKit hands over, by the same rules; nothing when it is left out.
std::optional<JsonValue> jsonValueFrom(id _Nullable value, std::string_view context);

// The JSON text of a value WebKit hands over, by the same rules ("null" for what is left out);
// nothing when the text would be longer than `maxBytes`, in which case the conversion stops as
// soon as that is certain.
std::optional<std::string> jsonTextFrom(id _Nullable value, std::string_view context,
                                        std::size_t maxBytes);

// A JSON value for the app: objects as dictionaries, arrays, strings, numbers, booleans, NSNull.
id foundationFrom(const JsonValue& value);
// A JSON object as a dictionary; anything else gives an empty one.
NSDictionary<NSString*, id>* dictionaryFrom(const JsonValue& object);

}  // namespace korvane::ios

NS_ASSUME_NONNULL_END
