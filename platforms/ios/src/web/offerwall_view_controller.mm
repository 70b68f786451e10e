#import "web/offerwall_controller_internal.h"

#import <WebKit/WebKit.h>

#include <memory>

#include "korvane/backend/device_utils.h"
#include "korvane/util/control_labels.h"
#import "objc/callback_bridges.h"
#import "support/first_use.h"
#import "support/objc_text.h"
#import "web/uikit_screens.h"

using CoreController = korvane::KorvaneOfferwallViewController;
using korvane::ios::toNSString;
using korvane::ios::toNullableNSString;
using korvane::ios::toOptionalString;
using korvane::ios::toStdString;

@implementation KorvaneOfferwallViewController {
  // The core's controller: made here for a page the app creates and presents itself, otherwise
  // the one that asked for this page (held weakly: it keeps the page, not the other way round).
  std::shared_ptr<CoreController> _owned;
  std::weak_ptr<CoreController> _core;
  // Behind a pointer: the runtime keeps each instance variable's type encoding in the binary,
  // and an optional's would name every field of the options.
  std::unique_ptr<const korvane::ScreenOptions> _options;
  __weak WKWebView* _boundWebView;
  UIView* _navigationBar;
  BOOL _pageInstalled;
}

+ (void)initialize {
  korvane::ios::prepareForFirstUse();
}

- (instancetype)initWithNibName:(nullable NSString*)nibNameOrNil
                         bundle:(nullable NSBundle*)nibBundleOrNil {
  if ((self = [super initWithNibName:nibNameOrNil bundle:nibBundleOrNil])) [self makeOwnController];
  return self;
}

- (nullable instancetype)initWithCoder:(NSCoder*)coder {
  if ((self = [super initWithCoder:coder])) [self makeOwnController];
  return self;
}

- (instancetype)initWithCoreController:(std::weak_ptr<CoreController>)controller {
  if ((self = [self initWithNibName:nil bundle:nil])) {
    _owned.reset();
    _core = std::move(controller);
  }
  return self;
}

- (void)makeOwnController {
  _owned = CoreController::create();
  _core = _owned;
}

// UIKit lets go of pages without an appearance callback (one covered by a page the app
// dismissed, one it never showed): the core hears of it here, or the page would live on there.
// The core's offerwall state is the main thread's: a page let go of elsewhere reports from there.
- (void)dealloc {
  void (^handler)(void) = self.dismissedHandler;
  if (!handler || self.dismissingBySdk) return;
  if (NSThread.isMainThread) {
    handler();
  } else {
    dispatch_async(dispatch_get_main_queue(), handler);
  }
}

#pragma mark - Fields

// Reads and writes go to the core's controller; a page whose controller is gone reads as empty.
- (std::shared_ptr<CoreController>)core {
  return _core.lock();
}

#define KORVANE_OPTIONAL_TEXT_FIELD(name, setter)                    \
  -(nullable NSString*)name {                                        \
    auto core = self.core;                                           \
    return core ? toNullableNSString(core->name) : nil;              \
  }                                                                  \
  -(void)setter : (nullable NSString*)value {                        \
    if (auto core = self.core) core->name = toOptionalString(value); \
  }
#define KORVANE_FLAG_FIELD(name, setter)           \
  -(BOOL)name {                                    \
    auto core = self.core;                         \
    return core && core->name;                     \
  }                                                \
  -(void)setter : (BOOL)value {                    \
    if (auto core = self.core) core->name = value; \
  }

KORVANE_OPTIONAL_TEXT_FIELD(baseUrl, setBaseUrl)
KORVANE_OPTIONAL_TEXT_FIELD(userId, setUserId)
KORVANE_OPTIONAL_TEXT_FIELD(appKey, setAppKey)
KORVANE_OPTIONAL_TEXT_FIELD(placementId, setPlacementId)
KORVANE_FLAG_FIELD(isSubWebView, setIsSubWebView)
- (NSString*)contextType {
  auto core = self.core;
  return core ? toNSString(core->contextType) : @"offerwall";
}
- (void)setContextType:(NSString*)contextType {
  if (auto core = self.core) core->contextType = toStdString(contextType);
}
KORVANE_OPTIONAL_TEXT_FIELD(quizId, setQuizId)
KORVANE_OPTIONAL_TEXT_FIELD(quizTitle, setQuizTitle)
- (NSString*)advertisingId {
  auto core = self.core;
  return toNSString(core ? core->advertisingId() : std::string(korvane::kZeroAdvertisingId));
}
KORVANE_FLAG_FIELD(showNavigationBar, setShowNavigationBar)
KORVANE_FLAG_FIELD(useNativeNavigationBar, setUseNativeNavigationBar)
- (nullable UIView*)navigationBar {
  return _navigationBar;
}
- (nullable WKWebView*)webView {
  return _boundWebView;
}

#pragma mark - The page

- (void)viewDidLoad {
  [super viewDidLoad];
  // The pages are white: the bar, its controls and the status bar stay light in dark mode too.
  self.overrideUserInterfaceStyle = UIUserInterfaceStyleLight;
  self.view.backgroundColor = UIColor.whiteColor;
  if (_owned && !_boundWebView) {
    // Created and presented by the app: the core builds the page's screen on this controller.
    __weak KorvaneOfferwallViewController* weakSelf = self;
    _owned->attachScreen([weakSelf](const korvane::ScreenOptions& options) {
      KorvaneOfferwallViewController* strongSelf = weakSelf;
      std::unique_ptr<korvane::Screen> screen;
      if (strongSelf)
        screen = std::make_unique<korvane::ios::ControllerScreen>(strongSelf, options);
      return screen;
    });
  }
  [self installPage];
}

- (void)bindWebView:(WKWebView*)webView options:(const korvane::ScreenOptions&)options {
  _boundWebView = webView;
  _options = std::make_unique<const korvane::ScreenOptions>(options);
  if (self.isViewLoaded) [self installPage];
}

// The web view first, pinned to the safe area's top; then the bar, which covers the page's top
// when it is the custom one.
- (void)installPage {
  WKWebView* webView = _boundWebView;
  if (_pageInstalled || !webView || !_options) return;
  _pageInstalled = YES;
  webView.translatesAutoresizingMaskIntoConstraints = NO;
  [self.view addSubview:webView];
  [NSLayoutConstraint activateConstraints:@[
    [webView.leadingAnchor constraintEqualToAnchor:self.view.leadingAnchor],
    [webView.trailingAnchor constraintEqualToAnchor:self.view.trailingAnchor],
    [webView.bottomAnchor constraintEqualToAnchor:self.view.bottomAnchor],
    [webView.topAnchor constraintEqualToAnchor:self.view.safeAreaLayoutGuide.topAnchor],
  ]];
  if (_options->inNavigationContainer && _options->showNavigationBar) {
    [self configureNativeBar];
  } else if (_options->showNavigationBar) {
    [self buildCustomBar];
  }
}

- (void)configureNativeBar {
  self.navigationItem.title = toNSString(_options->title);
  self.navigationItem.leftBarButtonItem =
      [[UIBarButtonItem alloc] initWithImage:[UIImage systemImageNamed:@"xmark"]
                                       style:UIBarButtonItemStylePlain
                                      target:self
                                      action:@selector(closeTapped)];
  self.navigationItem.rightBarButtonItem =
      [[UIBarButtonItem alloc] initWithImage:[UIImage systemImageNamed:@"arrow.clockwise"]
                                       style:UIBarButtonItemStylePlain
                                      target:self
                                      action:@selector(refreshTapped)];
  const korvane::ControlLabels labels = korvane::controlLabels(_options->backTitle);
  self.navigationItem.leftBarButtonItem.accessibilityLabel = toNSString(labels.close);
  self.navigationItem.rightBarButtonItem.accessibilityLabel = toNSString(labels.reload);
}

- (void)buildCustomBar {
  UIView* bar = [[UIView alloc] init];
  bar.backgroundColor = UIColor.whiteColor;
  bar.translatesAutoresizingMaskIntoConstraints = NO;
  UIView* separator = [[UIView alloc] init];
  separator.backgroundColor = UIColor.separatorColor;
  separator.translatesAutoresizingMaskIntoConstraints = NO;
  UIButton* back = [UIButton buttonWithType:UIButtonTypeSystem];
  [back setTitle:toNSString(_options->backTitle) forState:UIControlStateNormal];
  [back addTarget:self action:@selector(closeTapped) forControlEvents:UIControlEventTouchUpInside];
  back.translatesAutoresizingMaskIntoConstraints = NO;
  UIButton* refresh = [UIButton buttonWithType:UIButtonTypeSystem];
  [refresh setImage:[UIImage systemImageNamed:@"arrow.clockwise"] forState:UIControlStateNormal];
  [refresh addTarget:self
                action:@selector(refreshTapped)
      forControlEvents:UIControlEventTouchUpInside];
  refresh.translatesAutoresizingMaskIntoConstraints = NO;
  const korvane::ControlLabels labels = korvane::controlLabels(_options->backTitle);
  back.accessibilityLabel = toNSString(labels.back);
  refresh.accessibilityLabel = toNSString(labels.reload);
  [bar addSubview:separator];
  [bar addSubview:back];
  [bar addSubview:refresh];
  [self.view addSubview:bar];
  [NSLayoutConstraint activateConstraints:@[
    [bar.topAnchor constraintEqualToAnchor:self.view.safeAreaLayoutGuide.topAnchor],
    [bar.leadingAnchor constraintEqualToAnchor:self.view.leadingAnchor],
    [bar.trailingAnchor constraintEqualToAnchor:self.view.trailingAnchor],
    [bar.heightAnchor constraintEqualToConstant:44],
    [separator.leadingAnchor constraintEqualToAnchor:bar.leadingAnchor],
    [separator.trailingAnchor constraintEqualToAnchor:bar.trailingAnchor],
    [separator.bottomAnchor constraintEqualToAnchor:bar.bottomAnchor],
    [separator.heightAnchor constraintEqualToConstant:0.5],
    [back.leadingAnchor constraintEqualToAnchor:bar.leadingAnchor constant:16],
    [back.centerYAnchor constraintEqualToAnchor:bar.centerYAnchor],
    [refresh.trailingAnchor constraintEqualToAnchor:bar.trailingAnchor constant:-16],
    [refresh.centerYAnchor constraintEqualToAnchor:bar.centerYAnchor],
  ]];
  _navigationBar = bar;
}

// Each handler is taken into a local first: running it may end the screen that set it.
- (void)closeTapped {
  void (^handler)(void) = self.closeHandler;
  if (handler) handler();
}

- (void)refreshTapped {
  void (^handler)(void) = self.refreshHandler;
  if (handler) handler();
}

// VoiceOver's escape gesture (a two-finger Z) closes the page as its close button does, also when
// it shows no bar.
- (BOOL)accessibilityPerformEscape {
  if (!self.closeHandler) return NO;
  [self closeTapped];
  return YES;
}

- (void)viewDidDisappear:(BOOL)animated {
  [super viewDidDisappear:animated];
  if (self.dismissingBySdk || !self.isLeavingForGood) return;
  // The app dismissed the offerwall itself (or the person swiped it away): the page ends as if
  // its close button had been used.
  void (^handler)(void) = self.dismissedHandler;
  if (handler) handler();
}

- (BOOL)isLeavingForGood {
  if (self.isBeingDismissed || self.isMovingFromParentViewController ||
      self.navigationController.isBeingDismissed)
    return YES;
  for (UIViewController* below = self.presentingViewController; below;
       below = below.presentingViewController) {
    if (below.isBeingDismissed) return YES;
  }
  return NO;
}

#pragma mark - Actions

- (void)closeOfferwall {
  if (auto core = self.core) core->closeOfferwall();
}

- (void)backButtonTapped {
  [self closeOfferwall];
}

- (void)refreshButtonTapped {
  [self refreshWebView];
}

- (void)refreshWebView {
  if (auto core = self.core) core->refreshWebView();
}

#pragma mark - Presentation

// Portrait, which the pages are made for. An app that allows no portrait at all (a landscape
// game) would have UIKit refuse the presentation with an exception: its own orientations then.
- (UIInterfaceOrientationMask)supportedInterfaceOrientations {
  const UIInterfaceOrientationMask allowed = [UIApplication.sharedApplication
      supportedInterfaceOrientationsForWindow:self.viewIfLoaded.window];
  return (allowed & UIInterfaceOrientationMaskPortrait) ? UIInterfaceOrientationMaskPortrait
                                                        : allowed;
}

- (UIInterfaceOrientation)preferredInterfaceOrientationForPresentation {
  const UIInterfaceOrientationMask allowed = self.supportedInterfaceOrientations;
  if (allowed & UIInterfaceOrientationMaskPortrait) return UIInterfaceOrientationPortrait;
  return (allowed & UIInterfaceOrientationMaskLandscapeRight) ? UIInterfaceOrientationLandscapeRight
                                                              : UIInterfaceOrientationLandscapeLeft;
}

- (BOOL)shouldAutorotate {
  return NO;
}

- (BOOL)prefersStatusBarHidden {
  return NO;
}

- (UIStatusBarStyle)preferredStatusBarStyle {
  return UIStatusBarStyleDarkContent;
}

#pragma mark - Shared callbacks

+ (nullable id<KorvaneOfferwallCallback>)offerwallCallback {
  return korvane::ios::unbridged(CoreController::offerwallCallback());
}

+ (void)setOfferwallCallback:(nullable id<KorvaneOfferwallCallback>)offerwallCallback {
  CoreController::setOfferwallCallback(korvane::ios::bridge(offerwallCallback));
}

+ (nullable id<KorvaneOfferwallEventCallback>)eventCallback {
  return korvane::ios::unbridged(CoreController::eventCallback());
}

+ (void)setEventCallback:(nullable id<KorvaneOfferwallEventCallback>)eventCallback {
  CoreController::setEventCallback(korvane::ios::bridge(eventCallback));
}

+ (BOOL)hasFiredOnClosed {
  return CoreController::hasFiredOnClosed();
}

+ (void)setHasFiredOnClosed:(BOOL)hasFiredOnClosed {
  CoreController::setHasFiredOnClosed(hasFiredOnClosed);
}

@end
