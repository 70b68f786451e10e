#pragma once

#import <UIKit/UIKit.h>

NS_ASSUME_NONNULL_BEGIN

// The system bar's container for an offerwall page. UIKit asks the presented container, not the
// page inside it, for orientations and the status bar, so it answers as the page does: portrait,
// light, dark status bar text.
@interface KorvanePortraitNavigationController : UINavigationController
@end

NS_ASSUME_NONNULL_END
