#import "OffersViewController.h"

#import "EmbeddedOfferwallViewController.h"

@import KorvaneSDK;

@interface OffersViewController () <KorvaneSdkLoginListener,
                                    KorvaneOfferwallCallback,
                                    KorvaneMissionEventsListener>
@property(nonatomic, strong) UILabel* status;
@property(nonatomic, strong) KorvaneMission* missions;
@end

@implementation OffersViewController

- (void)viewDidLoad {
  [super viewDidLoad];
  self.title = @"KorvaneSDK sample";
  self.view.backgroundColor = UIColor.systemBackgroundColor;

  self.status = [[UILabel alloc] init];
  self.status.numberOfLines = 0;
  self.status.text = @"Initialising...";
  UIStackView* column = [[UIStackView alloc] initWithArrangedSubviews:@[
    self.status,
    [self button:@"Log in" action:@selector(logIn)],
    [self button:@"Open offerwall" action:@selector(openOfferwall)],
    [self button:@"Embedded offerwall" action:@selector(openEmbeddedOfferwall)],
    [self button:@"Load missions" action:@selector(loadMissions)],
    [self button:@"Load banner" action:@selector(loadBanner)],
  ]];
  column.axis = UILayoutConstraintAxisVertical;
  column.spacing = 12;
  column.translatesAutoresizingMaskIntoConstraints = NO;
  [self.view addSubview:column];
  UILayoutGuide* safe = self.view.safeAreaLayoutGuide;
  [NSLayoutConstraint activateConstraints:@[
    [column.topAnchor constraintEqualToAnchor:safe.topAnchor constant:24],
    [column.leadingAnchor constraintEqualToAnchor:safe.leadingAnchor constant:24],
    [column.trailingAnchor constraintEqualToAnchor:safe.trailingAnchor constant:-24],
  ]];

  self.missions = [[KorvaneMission alloc] init];
  [self.missions setEventsListener:self];
}

- (UIButton*)button:(NSString*)title action:(SEL)action {
  UIButton* button = [UIButton buttonWithType:UIButtonTypeSystem];
  [button setTitle:title forState:UIControlStateNormal];
  [button addTarget:self action:action forControlEvents:UIControlEventTouchUpInside];
  return button;
}

- (void)show:(NSString*)text {
  self.status.text = text;
}

#pragma mark - Steps

- (void)logIn {
  if (!KorvaneSdk.shared.isInitialized)
    return [self show:@"The backend has not validated the app yet."];
  KorvaneSdkUser* user = [[KorvaneSdkUser alloc] initWithUserId:@"sample-user"
                                                    genderValue:1
                                                      birthYear:1994];
  [KorvaneSdk.shared loginWithKorvaneSdkUser:user listener:self];
}

- (void)openOfferwall {
  [KorvaneSdk.shared openOfferwallWithPresentingViewController:self
                                                   placementId:@"home"
                                                      callback:self
                                                 eventCallback:nil];
}

- (void)openEmbeddedOfferwall {
  [self.navigationController pushViewController:[[EmbeddedOfferwallViewController alloc] init]
                                       animated:YES];
}

- (void)loadMissions {
  __weak OffersViewController* weakSelf = self;
  [self.missions
      loadWithOnSuccess:^(NSArray<KorvaneMissionItem*>* missions,
                          KorvaneMissionProgress* progress) {
        [weakSelf show:[NSString stringWithFormat:@"%lu missions, %ld of %ld done",
                                                  (unsigned long)missions.count,
                                                  (long)progress.current, (long)progress.total]];
      }
      onFailure:^(NSError* error) {
        [weakSelf show:error.localizedDescription];
      }
      shouldStoreCallbacks:NO];
}

- (void)loadBanner {
  __weak OffersViewController* weakSelf = self;
  [KorvaneBanner.shared getBannerWithPlacementId:@"home-banner"
      onSuccess:^(KorvaneBannerInfoResponse* banner) {
        [weakSelf
            show:[NSString stringWithFormat:@"Banner: %@", banner.titleText ?: @"(no title)"]];
      }
      onFailure:^(NSError* error) {
        [weakSelf show:[NSString stringWithFormat:@"No banner: %@", error.localizedDescription]];
      }];
}

#pragma mark - KorvaneSdkLoginListener

- (void)onSuccess {
  [self show:@"Logged in."];
}

- (void)onFailure:(KorvaneLoginError)error {
  [self show:[NSString stringWithFormat:@"Login refused: %@", KorvaneLoginErrorDescription(error)]];
}

#pragma mark - KorvaneOfferwallCallback

- (void)onOpened {
  [self show:@"Offerwall opened."];
}

- (void)onClosed {
  [self show:@"Offerwall closed."];
}

- (void)onError:(NSString*)message {
  [self show:message];
}

- (void)onRewardEarned:(NSInteger)amount {
  [self show:[NSString stringWithFormat:@"Reward: %ld", (long)amount]];
}

#pragma mark - KorvaneMissionEventsListener

- (void)onClickedMission:(KorvaneMissionItem*)mission {
}

- (void)onImpressedMission:(KorvaneMissionItem*)mission {
}

- (void)onCompletedMission:(KorvaneMissionItem*)mission {
  [self show:[NSString stringWithFormat:@"Mission done: %@", mission.title]];
}

- (void)onProgressedMission:(KorvaneMissionItem*)mission {
}

- (void)onRefreshedWithUnitId:(NSString*)unitId {
  [self loadMissions];
}

@end
