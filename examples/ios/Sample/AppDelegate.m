#import "AppDelegate.h"

#import "OffersViewController.h"

@import KorvaneSDK;

@implementation AppDelegate

- (BOOL)application:(UIApplication*)application
    didFinishLaunchingWithOptions:(NSDictionary<UIApplicationLaunchOptionsKey, id>*)launchOptions {
  [KorvaneSdk setLogLevel:KorvaneLogLevelInfo];
  KorvaneSdkConfig* config = [[[KorvaneSdkConfigBuilder alloc] initWithAppKey:@"demo-app-key"
                                                                    appSecret:@"demo-app-secret"]
                                 setEnvironment:KorvaneSdkConfigEnvironmentStaging]
                                 .build;
  [KorvaneSdk.shared initializeWithApplication:application sdkConfig:config];

  self.window = [[UIWindow alloc] initWithFrame:UIScreen.mainScreen.bounds];
  self.window.rootViewController = [[UINavigationController alloc]
      initWithRootViewController:[[OffersViewController alloc] init]];
  [self.window makeKeyAndVisible];
  return YES;
}

@end
