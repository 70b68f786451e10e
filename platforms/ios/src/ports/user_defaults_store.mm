#import "ports/user_defaults_store.h"

#import <Foundation/Foundation.h>

#import "support/objc_text.h"

namespace korvane::ios {

std::optional<std::string> UserDefaultsStore::getString(const std::string& key) const {
  // stringForKey: also turns a stored number into text; anything else reads as absent.
  return toOptionalString([NSUserDefaults.standardUserDefaults stringForKey:toNSString(key)]);
}

void UserDefaultsStore::setString(const std::string& key, const std::string& value) {
  [NSUserDefaults.standardUserDefaults setObject:toNSString(value) forKey:toNSString(key)];
}

void UserDefaultsStore::remove(const std::string& key) {
  [NSUserDefaults.standardUserDefaults removeObjectForKey:toNSString(key)];
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
