#import <KorvaneSDK/KorvaneOfferwallCallback.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>
#import <UIKit/UIKit.h>

@class WKWebView;

NS_ASSUME_NONNULL_BEGIN

/// The full-screen offerwall: one page per controller, inner pages as further controllers. The
/// facade's open methods create, configure and present it; an app may also create one, set
/// `baseUrl` (and the other fields) before its view loads and present it full screen itself.
/// Main thread only. Portrait only, with the dark status bar.
KORVANE_EXPORT
@interface KorvaneOfferwallViewController : UIViewController

@property(nonatomic, copy, nullable) NSString* baseUrl;
@property(nonatomic, copy, nullable) NSString* userId;
@property(nonatomic, copy, nullable) NSString* appKey;
@property(nonatomic, copy, nullable) NSString* placementId;
/// YES for a page opened from another offerwall page.
@property(nonatomic) BOOL isSubWebView;
/// "offerwall", or "quiz" when opened for a quiz (with `quizId` and `quizTitle`).
@property(nonatomic, copy) NSString* contextType;
@property(nonatomic, copy, nullable) NSString* quizId;
@property(nonatomic, copy, nullable) NSString* quizTitle;
/// The advertising identifier the page was loaded with ("00000000-0000-0000-0000-000000000000"
/// until it is known).
@property(nonatomic, readonly, copy) NSString* advertisingId;
/// A bar with a back button and a reload button over the top of the page.
@property(nonatomic) BOOL showNavigationBar;
/// The enclosing navigation controller's bar with close and reload items.
@property(nonatomic) BOOL useNativeNavigationBar;
/// The custom bar, once built.
@property(nonatomic, readonly, nullable) UIView* navigationBar;
@property(nonatomic, readonly, nullable) WKWebView* webView;

/// The close and back buttons: dismisses this page; the root also dismisses its inner pages,
/// reports onClosed once and records the closing.
- (void)closeOfferwall;
- (void)backButtonTapped;
- (void)refreshButtonTapped;
- (void)refreshWebView;

/// Shared by every controller, since one offerwall is shown at a time. The facade's open methods
/// set them; `hasFiredOnClosed` says whether this opening already reported onClosed.
@property(class, nonatomic, nullable) id<KorvaneOfferwallCallback> offerwallCallback;
@property(class, nonatomic, nullable) id<KorvaneOfferwallEventCallback> eventCallback;
@property(class, nonatomic) BOOL hasFiredOnClosed;

- (instancetype)initWithNibName:(nullable NSString*)nibNameOrNil
                         bundle:(nullable NSBundle*)nibBundleOrNil NS_DESIGNATED_INITIALIZER;
- (nullable instancetype)initWithCoder:(NSCoder*)coder NS_DESIGNATED_INITIALIZER;

@end

NS_ASSUME_NONNULL_END
