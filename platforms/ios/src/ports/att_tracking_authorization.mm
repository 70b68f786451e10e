#import "ports/att_tracking_authorization.h"

#import <AdSupport/AdSupport.h>
#import <AppTrackingTransparency/AppTrackingTransparency.h>

#include "korvane/backend/device_utils.h"
#include "korvane/util/logger.h"
#import "support/objc_text.h"

namespace korvane::ios {

long AttTrackingAuthorization::status() const {
  return static_cast<long>(ATTrackingManager.trackingAuthorizationStatus);
}

std::string AttTrackingAuthorization::advertisingIdentifier() const {
  NSUUID* identifier = ASIdentifierManager.sharedManager.advertisingIdentifier;
  return identifier ? toStdString(identifier.UUIDString.uppercaseString) : kZeroAdvertisingId;
}

void AttTrackingAuthorization::requestAuthorization(std::function<void(long)> completion) {
  auto done = std::make_shared<std::function<void(long)>>(std::move(completion));
  if (![NSBundle.mainBundle objectForInfoDictionaryKey:@"NSUserTrackingUsageDescription"]) {
    KorvaneLogger::w("DeviceUtils",
                     "NSUserTrackingUsageDescription is missing from the app's Info.plist; "
                     "tracking permission is not requested");
    if (*done) (*done)(status());
    return;
  }
  [ATTrackingManager requestTrackingAuthorizationWithCompletionHandler:^(
                         ATTrackingManagerAuthorizationStatus granted) {
    if (*done) (*done)(static_cast<long>(granted));
  }];
}

}  // namespace korvane::ios
