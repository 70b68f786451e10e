#import <UIKit/UIKit.h>

// The offerwall embedded in the app's own layout, under the app's title.
@interface EmbeddedOfferwallViewController : UIViewController
@end
