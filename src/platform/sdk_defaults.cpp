#include "korvane/platform/sdk_defaults.h"

#include <array>
#include <string_view>

#include "korvane/util/logger.h"

namespace korvane {
namespace {

// Every key the SDK ever wrote into the app's defaults.
constexpr std::array<const char*, 2> kKeysKeptInTheAppsDefaults = {"device_id", "currentUserId"};

// The earlier SDK's device ids were upper-case UUIDs; an app's own "device_id" of another form is
// the app's, and adopting it would send the app's identifier as the SDK's.
bool earlierSdkWroteIt(const char* key, const std::string& value) {
  if (std::string_view(key) != "device_id") return true;
  if (value.size() != 36) return false;
  for (std::size_t i = 0; i < value.size(); ++i) {
    const char c = value[i];
    const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
    if (dash ? c != '-' : !((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'))) return false;
  }
  return true;
}

}  // namespace

const char* const SdkDefaultsStore::kMovedMarkerKey = "legacyKeysMoved";

SdkDefaultsStore::SdkDefaultsStore(std::shared_ptr<KeyValueStore> own,
                                   std::shared_ptr<const KeyValueStore> earlier)
    : own_(std::move(own)), earlier_(std::move(earlier)) {}

void SdkDefaultsStore::moveOnce() const {
  std::call_once(moved_, [this] {
    if (own_->getString(kMovedMarkerKey)) return;  // an earlier launch did it
    if (earlier_) {
      for (const char* key : kKeysKeptInTheAppsDefaults) {
        if (own_->getString(key)) continue;
        if (std::optional<std::string> value = earlier_->getString(key);
            value && earlierSdkWroteIt(key, *value)) {
          own_->setString(key, *value);
          KorvaneLogger::d("SdkDefaults",
                           std::string("Moved \"") + key + "\" into the SDK's own defaults");
        }
      }
    }
    own_->setString(kMovedMarkerKey, "1");
  });
}

std::optional<std::string> SdkDefaultsStore::getString(const std::string& key) const {
  moveOnce();
  return own_->getString(key);
}

void SdkDefaultsStore::setString(const std::string& key, const std::string& value) {
  moveOnce();
  own_->setString(key, value);
}

void SdkDefaultsStore::remove(const std::string& key) {
  moveOnce();
  own_->remove(key);
}

}  // namespace korvane
