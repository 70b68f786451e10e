#import <KorvaneSDK/KorvaneOfferwallCallback.h>
#import <KorvaneSDK/KorvaneSDKDefines.h>
#import <UIKit/UIKit.h>
#import <WebKit/WebKit.h>

NS_ASSUME_NONNULL_BEGIN

/// The full-screen offerwall: one page per controller, inner pages as further controllers. The
/// facade's open methods create, configure and present it; an app may also create one, set
/// `baseUrl` (and the other fields) before its view loads and present it full screen itself.
/// Main thread only. Portrait only, with the dark status bar.
KORVANE_EXPORT
@interface KorvaneOfferwallViewController : UIViewController

/// The page's address, before its query items.
@property(nonatomic, copy, nullable) NSString* baseUrl;
/// The user the page is loaded for.
@property(nonatomic, copy, nullable) NSString* userId;
/// The app key the page is loaded with.
@property(nonatomic, copy, nullable) NSString* appKey;
/// The placement the page belongs to.
@property(nonatomic, copy, nullable) NSString* placementId;
/// YES for a page opened from another offerwall page.
@property(nonatomic) BOOL isSubWebView;
/// "offerwall", or "quiz" when opened for a quiz (with `quizId` and `quizTitle`).
@property(nonatomic, copy) NSString* contextType;
/// The quiz opened, for a quiz page.
@property(nonatomic, copy, nullable) NSString* quizId;
/// The quiz's title, for a quiz page.
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
/// The web view showing the page, once the view has loaded.
@property(nonatomic, readonly, nullable) WKWebView* webView;

/// The close and back buttons: dismisses this page; the root also dismisses its inner pages,
/// reports onClosed once and records the closing.
- (void)closeOfferwall;
/// The bar's back button: closes as `closeOfferwall` does.
- (void)backButtonTapped;
/// The bar's reload button: reloads the page.
- (void)refreshButtonTapped;
/// Reloads the page.
- (void)refreshWebView;

/// Shared by every controller, since one offerwall is shown at a time. The facade's open methods
/// set them; `hasFiredOnClosed` says whether this opening already reported onClosed.
@property(class, nonatomic, nullable) id<KorvaneOfferwallCallback> offerwallCallback;
/// The event callback of the current opening.
@property(class, nonatomic, nullable) id<KorvaneOfferwallEventCallback> eventCallback;
/// Whether this opening already reported onClosed.
@property(class, nonatomic) BOOL hasFiredOnClosed;

/// An offerwall page with nothing set; set `baseUrl` before the view loads.
- (instancetype)initWithNibName:(nullable NSString*)nibNameOrNil
                         bundle:(nullable NSBundle*)nibBundleOrNil NS_DESIGNATED_INITIALIZER;
/// An offerwall page from a storyboard or archive.
- (nullable instancetype)initWithCoder:(NSCoder*)coder NS_DESIGNATED_INITIALIZER;

@end

NS_ASSUME_NONNULL_END
