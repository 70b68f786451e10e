#import "web/portrait_navigation_controller.h"

@implementation KorvanePortraitNavigationController

- (void)viewDidLoad {
  [super viewDidLoad];
  self.overrideUserInterfaceStyle = UIUserInterfaceStyleLight;
}

- (UIInterfaceOrientationMask)supportedInterfaceOrientations {
  return self.topViewController ? self.topViewController.supportedInterfaceOrientations
                                : UIInterfaceOrientationMaskPortrait;
}

- (UIInterfaceOrientation)preferredInterfaceOrientationForPresentation {
  return self.topViewController
             ? self.topViewController.preferredInterfaceOrientationForPresentation
             : UIInterfaceOrientationPortrait;
}

- (BOOL)shouldAutorotate {
  return self.topViewController ? self.topViewController.shouldAutorotate : NO;
}

- (nullable UIViewController*)childViewControllerForStatusBarStyle {
  return self.topViewController;
}

@end
