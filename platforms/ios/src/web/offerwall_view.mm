#import <KorvaneSDK/KorvaneOfferwallView.h>

#include "korvane/offerwall/offerwall_view.h"
#include "korvane/util/logger.h"
#import "objc/callback_bridges.h"
#import "support/first_use.h"
#import "support/objc_text.h"
#import "web/uikit_screens.h"

using korvane::ios::toStdString;

@implementation KorvaneOfferwallView {
  std::shared_ptr<korvane::KorvaneOfferwallView> _view;
}

+ (void)initialize {
  korvane::ios::prepareForFirstUse();
}

- (instancetype)initWithFrame:(CGRect)frame {
  if ((self = [super initWithFrame:frame])) [self makeCoreView];
  return self;
}

- (nullable instancetype)initWithCoder:(NSCoder*)coder {
  if ((self = [super initWithCoder:coder])) [self makeCoreView];
  return self;
}

// The stack's bottom page goes into this view; the pages above it are stacked over it.
- (void)makeCoreView {
  // The pages are white whatever the app's appearance.
  self.overrideUserInterfaceStyle = UIUserInterfaceStyleLight;
  __weak KorvaneOfferwallView* weakSelf = self;
  _view = korvane::KorvaneOfferwallView::create([weakSelf] {
    KorvaneOfferwallView* strongSelf = weakSelf;
    std::unique_ptr<korvane::Screen> page;
    if (strongSelf) page = std::make_unique<korvane::ios::StackedScreen>(strongSelf);
    return page;
  });
}

- (void)setCallback:(nullable id<KorvaneOfferwallCallback>)callback {
  _view->setCallback(korvane::ios::weakBridge(callback));
}

- (void)setEventCallback:(nullable id<KorvaneOfferwallEventCallback>)eventCallback {
  _view->setEventCallback(korvane::ios::weakBridge(eventCallback));
}

- (void)loadOfferwallWithBaseUrl:(NSString*)baseUrl
                          userId:(NSString*)userId
                          appKey:(NSString*)appKey
                     placementId:(NSString*)placementId {
  // Web views live on the main thread: a load asked for elsewhere is moved there.
  if (!NSThread.isMainThread) {
    korvane::KorvaneLogger::w("KorvaneOfferwallView",
                              "Load called off the main thread; moved there");
    dispatch_async(dispatch_get_main_queue(), ^{
      [self loadOfferwallWithBaseUrl:baseUrl userId:userId appKey:appKey placementId:placementId];
    });
    return;
  }
  _view->loadOfferwall(toStdString(baseUrl), toStdString(userId), toStdString(appKey),
                       toStdString(placementId));
}

- (void)loadOfferwallWithPlacementId:(NSString*)placementId {
  if (!NSThread.isMainThread) {
    korvane::KorvaneLogger::w("KorvaneOfferwallView",
                              "Load called off the main thread; moved there");
    dispatch_async(dispatch_get_main_queue(), ^{
      [self loadOfferwallWithPlacementId:placementId];
    });
    return;
  }
  _view->loadOfferwall(toStdString(placementId));
}

@end
