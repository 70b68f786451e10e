#import "EmbeddedOfferwallViewController.h"

@import KorvaneSDK;

@interface EmbeddedOfferwallViewController () <KorvaneOfferwallCallback>
@property(nonatomic, strong) KorvaneOfferwallView* offerwall;
@end

@implementation EmbeddedOfferwallViewController

- (void)viewDidLoad {
  [super viewDidLoad];
  self.title = @"Rewards";
  self.view.backgroundColor = UIColor.systemBackgroundColor;
  self.offerwall = [[KorvaneOfferwallView alloc] initWithFrame:CGRectZero];
  self.offerwall.translatesAutoresizingMaskIntoConstraints = NO;
  [self.view addSubview:self.offerwall];
  UILayoutGuide* safe = self.view.safeAreaLayoutGuide;
  [NSLayoutConstraint activateConstraints:@[
    [self.offerwall.topAnchor constraintEqualToAnchor:safe.topAnchor],
    [self.offerwall.bottomAnchor constraintEqualToAnchor:safe.bottomAnchor],
    [self.offerwall.leadingAnchor constraintEqualToAnchor:self.view.leadingAnchor],
    [self.offerwall.trailingAnchor constraintEqualToAnchor:self.view.trailingAnchor],
  ]];
  // The view holds its callback weakly, so this controller can be it without a retain cycle.
  [self.offerwall setCallback:self];
  [self.offerwall loadOfferwallWithPlacementId:@"home"];
}

- (void)onOpened {
  NSLog(@"embedded offerwall opened");
}

- (void)onClosed {
  [self.navigationController popViewControllerAnimated:YES];
}

- (void)onError:(NSString*)message {
  NSLog(@"embedded offerwall failed: %@", message);
}

- (void)onRewardEarned:(NSInteger)amount {
  NSLog(@"reward earned: %ld", (long)amount);
}

@end
