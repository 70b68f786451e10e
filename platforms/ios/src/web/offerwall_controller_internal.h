#pragma once

#import <KorvaneSDK/KorvaneOfferwallViewController.h>

#include <memory>

#include "korvane/offerwall/offerwall_view_controller.h"
#include "korvane/platform/screen_presenter.h"

NS_ASSUME_NONNULL_BEGIN

@interface KorvaneOfferwallViewController ()

// A page the core controls (a facade opening, an inner page): shows that controller's fields.
- (instancetype)initWithCoreController:
    (std::weak_ptr<korvane::KorvaneOfferwallViewController>)controller;
// The page's web view and chrome, put in place once the view has loaded.
- (void)bindWebView:(WKWebView*)webView options:(const korvane::ScreenOptions&)options;

@property(nonatomic, copy, nullable) void (^closeHandler)(void);
@property(nonatomic, copy, nullable) void (^refreshHandler)(void);
// Runs when the page left the screen by other means than the SDK's own dismissal.
@property(nonatomic, copy, nullable) void (^dismissedHandler)(void);
// Set while the SDK itself dismisses the page.
@property(nonatomic) BOOL dismissingBySdk;

@end

NS_ASSUME_NONNULL_END
