#import "AppDelegate.h"

#import "SceneDelegate.h"

@import KorvaneSDK;

// The SDK starts at launch; the window comes with the scene (Info.plist's scene manifest names
// SceneDelegate).
@implementation AppDelegate

- (BOOL)application:(UIApplication*)application
    didFinishLaunchingWithOptions:(NSDictionary<UIApplicationLaunchOptionsKey, id>*)launchOptions {
  [KorvaneSdk setLogLevel:KorvaneLogLevelInfo];
  KorvaneSdkConfig* config = [[[KorvaneSdkConfigBuilder alloc] initWithAppKey:@"demo-app-key"
                                                                    appSecret:@"demo-app-secret"]
                                 setEnvironment:KorvaneSdkConfigEnvironmentStaging]
                                 .build;
  [KorvaneSdk.shared initializeWithApplication:application sdkConfig:config];
  return YES;
}

@end
