#import <UIKit/UIKit.h>

// The sample's one screen: a button per step of a typical integration.
@interface OffersViewController : UIViewController
@end
