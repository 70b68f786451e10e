#import "ports/user_defaults_store.h"

#import <Foundation/Foundation.h>

#import "support/objc_text.h"

namespace korvane::ios {

UserDefaultsStore::UserDefaultsStore(NSUserDefaults* defaults) : defaults_(defaults) {}

std::shared_ptr<UserDefaultsStore> UserDefaultsStore::sdkSuite() {
  // Only nil for the app's own bundle identifier or the global domain, which this name is not;
  // the standard defaults stand in rather than losing the settings.
  NSUserDefaults* suite = [[NSUserDefaults alloc] initWithSuiteName:@"com.korvane.sdk"];
  return std::make_shared<UserDefaultsStore>(suite ? suite : NSUserDefaults.standardUserDefaults);
}

std::shared_ptr<UserDefaultsStore> UserDefaultsStore::appStandard() {
  return std::make_shared<UserDefaultsStore>(NSUserDefaults.standardUserDefaults);
}

std::optional<std::string> UserDefaultsStore::getString(const std::string& key) const {
  // stringForKey: also turns a stored number into text; anything else reads as absent.
  return toOptionalString([defaults_ stringForKey:toNSString(key)]);
}

void UserDefaultsStore::setString(const std::string& key, const std::string& value) {
  [defaults_ setObject:toNSString(value) forKey:toNSString(key)];
}

void UserDefaultsStore::remove(const std::string& key) {
  [defaults_ removeObjectForKey:toNSString(key)];
}

std::filesystem::path AppDocumentsDirectory::path() const {
  NSFileManager* files = NSFileManager.defaultManager;
  NSURL* directory =
      [files URLsForDirectory:NSDocumentDirectory inDomains:NSUserDomainMask].firstObject;
  if (!directory.fileURL) return {};
  [files createDirectoryAtURL:directory withIntermediateDirectories:YES attributes:nil error:nil];
  return std::filesystem::path(directory.fileSystemRepresentation);
}

}  // namespace korvane::ios
