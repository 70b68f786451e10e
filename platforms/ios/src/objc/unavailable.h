#pragma once

#import <Foundation/Foundation.h>

// For the plain initialisers the headers mark unavailable, reached anyway (from Objective-C
// through a cast, or by a subclass): a fault with a message that says what to use instead.
#define KORVANE_UNAVAILABLE_INITIALIZER(advice)                                         \
  do {                                                                                  \
    [NSException raise:NSInternalInconsistencyException                                 \
                format:@"-[%@ %@] is unavailable: %@", NSStringFromClass([self class]), \
                       NSStringFromSelector(_cmd), advice];                             \
    __builtin_unreachable();                                                            \
  } while (0)
