#pragma once

#include <nlohmann/json.hpp>

namespace korvane {

// Any JSON value; objects keep their keys in insertion order. Event payloads and the server's
// free-form configuration are held as this.
using JsonValue = nlohmann::ordered_json;

}  // namespace korvane
