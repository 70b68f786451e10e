#import "web/uikit_screens.h"

#import "web/portrait_navigation_controller.h"

#import <objc/objc-sync.h>
#import <objc/runtime.h>

#include "korvane/util/logger.h"
#import "web/offerwall_controller_internal.h"

namespace korvane::ios {
namespace {

constexpr std::string_view kTag = "KorvaneOfferwallViewController";

NSTimeInterval seconds(std::chrono::milliseconds duration) {
  return static_cast<double>(duration.count()) / 1000.0;
}

// The controller at the top of what `base` presents: presenting from anything lower would fail.
UIViewController* _Nullable topOf(UIViewController* _Nullable base) {
  UIViewController* top = base;
  while (top.presentedViewController && !top.presentedViewController.isBeingDismissed)
    top = top.presentedViewController;
  return top;
}

// The key window of the scene the person uses: with several scenes (iPad) another one's key
// window may be in the background.
UIViewController* _Nullable keyWindowRoot() {
  UIWindow* fallback = nil;
  for (UIScene* scene in UIApplication.sharedApplication.connectedScenes) {
    if (![scene isKindOfClass:UIWindowScene.class]) continue;
    for (UIWindow* window in ((UIWindowScene*)scene).windows) {
      if (!window.isKeyWindow) continue;
      if (scene.activationState == UISceneActivationStateForegroundActive)
        return window.rootViewController;
      if (!fallback) fallback = window;
    }
  }
  return fallback.rootViewController;
}

UIViewController* _Nullable controllerOf(UIView* _Nullable view) {
  for (UIResponder* responder = view; responder; responder = responder.nextResponder)
    if ([responder isKindOfClass:UIViewController.class]) return (UIViewController*)responder;
  return nil;
}

UIViewController* _Nullable presentingControllerFor(PresentationAnchor* _Nullable over) {
  // An app's controller or a page's, or the view an embedded page fills.
  id object = over ? (__bridge id)over->platformObject() : nil;
  UIViewController* base = [object isKindOfClass:UIViewController.class] ? object
                           : [object isKindOfClass:UIView.class]         ? controllerOf(object)
                                                                         : nil;
  return topOf(base ? base : keyWindowRoot());
}

// A presentation or dismissal runs in the stack of presentations `controller` is part of:
// UIKit drops a dismissal asked for then, and never runs its completion.
BOOL transitionRuns(UIViewController* _Nullable controller) {
  if (!controller) return NO;
  if (controller.transitionCoordinator) return YES;
  UIViewController* bottom = controller;
  while (bottom.presentingViewController) bottom = bottom.presentingViewController;
  for (UIViewController* each = bottom; each; each = each.presentedViewController)
    if (each.isBeingPresented || each.isBeingDismissed) return YES;
  return NO;
}

// What UIKit presents for the page: its navigation controller when it is in one.
UIViewController* _Nullable shownFor(UIViewController* _Nullable controller) {
  return controller.navigationController ? controller.navigationController : controller;
}

// nil for no handler.
void (^_Nullable blockFor(std::function<void()> handler))(void) {
  if (!handler) return nil;
  return ^{
    handler();
  };
}

}  // namespace

void UIKitScreen::removeWebView() {
  [port_.view() removeFromSuperview];
}

void UIKitScreen::fade(double alpha, std::chrono::milliseconds duration,
                       std::function<void()> done) {
  WKWebView* view = port_.view();
  auto finished = std::make_shared<std::function<void()>>(std::move(done));
  [UIView animateWithDuration:seconds(duration)
      animations:^{
        view.alpha = static_cast<CGFloat>(alpha);
      }
      completion:^(BOOL) {
        if (*finished) (*finished)();
      }];
}

ControllerScreen::ControllerScreen(::KorvaneOfferwallViewController* controller,
                                   const ScreenOptions& options)
    : controller_(controller) {
  [controller bindWebView:port_.view() options:options];
}

ControllerScreen::~ControllerScreen() {
  ::KorvaneOfferwallViewController* controller = controller_;
  controller.closeHandler = nil;
  controller.refreshHandler = nil;
  controller.dismissedHandler = nil;
}

void ControllerScreen::setCloseHandler(std::function<void()> handler) {
  controller_.closeHandler = blockFor(std::move(handler));
}

void ControllerScreen::setRefreshHandler(std::function<void()> handler) {
  controller_.refreshHandler = blockFor(std::move(handler));
}

void ControllerScreen::setDismissedHandler(std::function<void()> handler) {
  controller_.dismissedHandler = blockFor(std::move(handler));
}

bool ControllerScreen::dismiss(bool animated, std::function<void()> done) {
  auto finished = std::make_shared<std::function<void()>>(std::move(done));
  ::KorvaneOfferwallViewController* controller = controller_;
  const auto finish = ^{
    if (*finished) (*finished)();
  };
  if (!controller) {
    finish();
    return true;
  }
  if (controller.parentViewController && !controller.navigationController) {
    // A page embedded in another page (the slide-up replacement) leaves its parent.
    controller.dismissingBySdk = YES;
    [controller willMoveToParentViewController:nil];
    [controller.view removeFromSuperview];
    [controller removeFromParentViewController];
    finish();
    return true;
  }
  UIViewController* shown = shownFor(controller);
  UIViewController* presenting = shown.presentingViewController;
  if (!presenting) {
    finish();
    return true;
  }
  // Asked now, UIKit would drop it: the core asks again once the transition has ended.
  if (transitionRuns(shown)) return false;
  controller.dismissingBySdk = YES;
  // Dismissing from the presenting side takes this page and whatever it presents along.
  [presenting dismissViewControllerAnimated:animated completion:finish];
  return true;
}

void ControllerScreen::afterTransition(std::function<void()> then) {
  auto pending = std::make_shared<std::function<void()>>(std::move(then));
  const std::weak_ptr<const void> alive = lifetime();
  void (^run)(void) = ^{
    if (!alive.expired() && *pending) (*pending)();
  };
  UIViewController* shown = shownFor(controller_);
  if (!transitionRuns(shown)) return run();
  id<UIViewControllerTransitionCoordinator> coordinator = shown.transitionCoordinator;
  if (!coordinator) {
    // A transition elsewhere in the stack, with no coordinator of this page's: look again soon.
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, 50 * NSEC_PER_MSEC), dispatch_get_main_queue(),
                   run);
    return;
  }
  // The completion runs while UIKit still ends the transition: go on from the next turn. A
  // coordinator that takes nothing more never runs it: look again soon instead.
  const BOOL queued =
      [coordinator animateAlongsideTransition:nil
                                   completion:^(id<UIViewControllerTransitionCoordinatorContext>) {
                                     dispatch_async(dispatch_get_main_queue(), run);
                                   }];
  if (!queued)
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, 50 * NSEC_PER_MSEC), dispatch_get_main_queue(),
                   run);
}

StackedScreen::StackedScreen(UIView* container) : container_(container) {
  WKWebView* view = port_.view();
  view.frame = container.bounds;
  view.autoresizingMask = UIViewAutoresizingFlexibleWidth | UIViewAutoresizingFlexibleHeight;
  [container addSubview:view];
}

bool StackedScreen::dismiss(bool, std::function<void()> done) {
  [port_.view() removeFromSuperview];
  if (done) done();
  return true;
}

}  // namespace korvane::ios

// Keeps an app view controller's anchor for exactly as long as the controller lives.
@interface KorvaneAnchorBox : NSObject {
 @public
  std::unique_ptr<korvane::ios::HostControllerAnchor> anchor;
}
@end

@implementation KorvaneAnchorBox
@end

namespace korvane::ios {

PresentationAnchor* anchorFor(UIViewController* _Nullable candidate) {
  if (!candidate) return nullptr;
  UIViewController* controller = (UIViewController* _Nonnull)candidate;
  static char key;
  // The facade may be called from any thread: one anchor per controller all the same.
  objc_sync_enter(controller);
  KorvaneAnchorBox* box = objc_getAssociatedObject(controller, &key);
  if (!box) {
    box = [[KorvaneAnchorBox alloc] init];
    box->anchor = std::make_unique<HostControllerAnchor>(controller);
    objc_setAssociatedObject(controller, &key, box, OBJC_ASSOCIATION_RETAIN_NONATOMIC);
  }
  objc_sync_exit(controller);
  return box->anchor.get();
}

namespace {

// Presents `shown` full screen over `over`, unless UIKit would refuse it.
bool presentOver(UIViewController* shown, PresentationAnchor* _Nullable over) {
  shown.modalPresentationStyle = UIModalPresentationFullScreen;
  UIViewController* presenting = presentingControllerFor(over);
  if (!presenting || !presenting.viewIfLoaded.window) {
    KorvaneLogger::e(kTag, "No view controller on screen to present the offerwall from");
    return false;
  }
  // UIKit would refuse it and simply let the page go: say so instead of showing nothing.
  if (presenting.presentedViewController || transitionRuns(presenting)) {
    KorvaneLogger::e(kTag,
                     "A presentation or dismissal is in progress; the offerwall is not shown");
    return false;
  }
  [presenting presentViewController:shown animated:YES completion:nil];
  return shown.presentingViewController != nil;  // refused all the same when nil
}

}  // namespace

std::unique_ptr<Screen> UIKitScreenPresenter::presentFullScreen(PresentationAnchor* _Nullable over,
                                                                const ScreenOptions& options) {
  auto* page = [[::KorvaneOfferwallViewController alloc] initWithCoreController:options.controller];
  auto screen = std::make_unique<ControllerScreen>(page, options);
  UIViewController* shown = page;
  if (options.inNavigationContainer)
    shown = [[KorvanePortraitNavigationController alloc] initWithRootViewController:page];
  if (!presentOver(shown, over)) return nullptr;
  return screen;
}

// Full screen without a navigation container: the facade's openings are presented so.
std::unique_ptr<Screen> UIKitScreenPresenter::prepareFullScreen(const ScreenOptions& options) {
  if (options.inNavigationContainer) return nullptr;
  auto* page = [[::KorvaneOfferwallViewController alloc] initWithCoreController:options.controller];
  auto screen = std::make_unique<ControllerScreen>(page, options);
  screen->holdUntilPresented();
  [page loadViewIfNeeded];
  // The page lays out now at the size it will show at (the app's window), so that showing it lays
  // nothing out again.
  if (UIWindow* window = keyWindowRoot().viewIfLoaded.window) {
    page.view.frame = window.bounds;
    [page.view layoutIfNeeded];
  }
  return screen;
}

bool UIKitScreenPresenter::presentPrepared(Screen& prepared, PresentationAnchor* _Nullable over) {
  auto& screen = static_cast<ControllerScreen&>(prepared);
  ::KorvaneOfferwallViewController* page = screen.controller();
  if (!page || page.presentingViewController || !presentOver(page, over)) return false;
  screen.presented();
  return true;
}

std::unique_ptr<Screen> UIKitScreenPresenter::embedSlidingUp(Screen& parent,
                                                             std::chrono::milliseconds duration,
                                                             std::function<void()> done) {
  ::KorvaneOfferwallViewController* host = static_cast<ControllerScreen&>(parent).controller();
  auto* child = [[::KorvaneOfferwallViewController alloc]
      initWithCoreController:std::weak_ptr<korvane::KorvaneOfferwallViewController>()];
  auto screen = std::make_unique<ControllerScreen>(child, ScreenOptions{});
  auto finished = std::make_shared<std::function<void()>>(std::move(done));
  if (!host) {
    if (*finished) (*finished)();
    return screen;
  }
  // Starts just below the visible area and slides up over it.
  const CGRect bounds = host.view.bounds;
  [host addChildViewController:child];
  child.view.frame = CGRectOffset(bounds, 0, bounds.size.height);
  child.view.autoresizingMask = UIViewAutoresizingFlexibleWidth | UIViewAutoresizingFlexibleHeight;
  [host.view addSubview:child.view];
  __weak ::KorvaneOfferwallViewController* weakHost = host;
  [UIView animateWithDuration:seconds(duration)
      delay:0
      options:UIViewAnimationOptionCurveEaseOut
      animations:^{
        child.view.frame = bounds;
      }
      completion:^(BOOL) {
        [child didMoveToParentViewController:weakHost];
        if (*finished) (*finished)();
      }];
  return screen;
}

std::unique_ptr<Screen> UIKitScreenPresenter::stackOver(Screen& parent) {
  UIView* container = static_cast<StackedScreen&>(parent).container();
  return std::make_unique<StackedScreen>(container ? container : [[UIView alloc] init]);
}

}  // namespace korvane::ios
