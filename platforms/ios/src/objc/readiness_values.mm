#import "objc/readiness_internal.h"

#import "objc/unavailable.h"
#import "support/objc_text.h"

using korvane::ios::toNSString;

namespace {

KorvaneSdkFailureReason toObjc(std::optional<korvane::SdkFailureReason> reason) {
  if (!reason) return KorvaneSdkFailureReasonNone;
  switch (*reason) {
    case korvane::SdkFailureReason::refusedKeys:
      return KorvaneSdkFailureReasonRefusedKeys;
    case korvane::SdkFailureReason::network:
      return KorvaneSdkFailureReasonNetwork;
    case korvane::SdkFailureReason::server:
      return KorvaneSdkFailureReasonServer;
    case korvane::SdkFailureReason::malformedAnswer:
      return KorvaneSdkFailureReasonMalformedAnswer;
    case korvane::SdkFailureReason::disabled:
      return KorvaneSdkFailureReasonDisabled;
  }
  return KorvaneSdkFailureReasonNone;
}

KorvaneSdkState toObjc(korvane::SdkState state) {
  switch (state) {
    case korvane::SdkState::notStarted:
      return KorvaneSdkStateNotStarted;
    case korvane::SdkState::validating:
      return KorvaneSdkStateValidating;
    case korvane::SdkState::ready:
      return KorvaneSdkStateReady;
    case korvane::SdkState::failed:
      return KorvaneSdkStateFailed;
  }
  return KorvaneSdkStateFailed;
}

KorvaneOfferwallUnavailableReason toObjc(
    std::optional<korvane::OfferwallUnavailableReason> reason) {
  using Reason = korvane::OfferwallUnavailableReason;
  if (!reason) return KorvaneOfferwallUnavailableReasonNone;
  switch (*reason) {
    case Reason::notInitialized:
      return KorvaneOfferwallUnavailableReasonNotInitialized;
    case Reason::validationFailed:
      return KorvaneOfferwallUnavailableReasonValidationFailed;
    case Reason::disabledByServer:
      return KorvaneOfferwallUnavailableReasonDisabledByServer;
    case Reason::noOfferwallAddress:
      return KorvaneOfferwallUnavailableReasonNoOfferwallAddress;
    case Reason::noUser:
      return KorvaneOfferwallUnavailableReasonNoUser;
    case Reason::offline:
      return KorvaneOfferwallUnavailableReasonOffline;
  }
  return KorvaneOfferwallUnavailableReasonNone;
}

}  // namespace

@implementation KorvaneSdkStatus

- (instancetype)init {
  KORVANE_UNAVAILABLE_INITIALIZER(@"the SDK makes statuses");
}

- (instancetype)initWithStatus:(const korvane::SdkStatus&)status {
  if ((self = [super init])) {
    _state = toObjc(status.state);
    _failureReason = toObjc(status.reason);
    _message = toNSString(status.message);
  }
  return self;
}

- (NSString*)description {
  return [NSString stringWithFormat:@"<KorvaneSdkStatus state=%ld reason=%ld %@>", (long)_state,
                                    (long)_failureReason, _message];
}

@end

@implementation KorvaneOfferwallAvailability

- (instancetype)init {
  KORVANE_UNAVAILABLE_INITIALIZER(@"the SDK answers availability");
}

- (instancetype)initWithAvailability:(const korvane::OfferwallAvailability&)availability {
  if ((self = [super init])) {
    _isReady = availability.isReady();
    _unavailableReason = toObjc(availability.unavailable);
    _reasonDescription =
        toNSString(availability.unavailable ? korvane::describe(*availability.unavailable) : "");
  }
  return self;
}

@end

@implementation KorvaneObservation {
  korvane::Subscription _subscription;
  NSLock* _lock;
}

- (instancetype)init {
  KORVANE_UNAVAILABLE_INITIALIZER(@"the SDK makes observations");
}

- (instancetype)initWithSubscription:(korvane::Subscription)subscription {
  if ((self = [super init])) {
    _subscription = std::move(subscription);
    _lock = [[NSLock alloc] init];
  }
  return self;
}

- (void)cancel {
  [_lock lock];
  korvane::Subscription ending = std::move(_subscription);
  [_lock unlock];
  ending.reset();
}

@end
