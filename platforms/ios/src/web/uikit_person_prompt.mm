#import "web/uikit_person_prompt.h"

#import <UIKit/UIKit.h>

#include <memory>

#import "support/objc_text.h"
#import "web/wk_web_view_port.h"

namespace korvane::ios {
namespace {

UIViewController* _Nullable controllerShowing(UIView* view) {
  for (UIResponder* responder = view; responder; responder = responder.nextResponder)
    if ([responder isKindOfClass:UIViewController.class])
      return static_cast<UIViewController*>(responder);
  return nil;
}

}  // namespace

void UIKitPersonPrompt::ask(WebView& over, const PersonQuestion& question,
                            std::function<void(bool yes)> answer) {
  id view = (__bridge id)over.platformObject();
  UIViewController* presenter =
      [view isKindOfClass:UIView.class] ? controllerShowing((UIView*)view) : nil;
  while (presenter.presentedViewController && !presenter.presentedViewController.isBeingDismissed)
    presenter = presenter.presentedViewController;
  if (!presenter || presenter.isBeingDismissed || presenter.isBeingPresented ||
      presenter.view.window == nil) {
    if (answer) answer(false);
    return;
  }
  // Either button answers once; the alert cannot be dismissed otherwise.
  auto once = std::make_shared<std::function<void(bool)>>(std::move(answer));
  void (^reply)(BOOL) = ^(BOOL yes) {
    std::function<void(bool)> pending = std::move(*once);
    *once = nullptr;
    if (pending) pending(yes);
  };
  UIAlertController* alert =
      [UIAlertController alertControllerWithTitle:toNSString(question.title)
                                          message:toNSString(question.message)
                                   preferredStyle:UIAlertControllerStyleAlert];
  [alert addAction:[UIAlertAction actionWithTitle:toNSString(question.cancel)
                                            style:UIAlertActionStyleCancel
                                          handler:^(UIAlertAction*) {
                                            reply(NO);
                                          }]];
  [alert addAction:[UIAlertAction actionWithTitle:toNSString(question.confirm)
                                            style:UIAlertActionStyleDefault
                                          handler:^(UIAlertAction*) {
                                            reply(YES);
                                          }]];
  [presenter presentViewController:alert animated:YES completion:nil];
}

}  // namespace korvane::ios
